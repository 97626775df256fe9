#version 450
layout(location = 0) in vec4 c; layout(location = 0) out vec4 o;
void main()
{
	vec4 v = c; v.xy += v.zw; v.zyx = v.xyz; v[2] = 3.0; v *= 2; ++v.x; v.y--; int i = 3; i <<= 2; i ^= 5; i %= 7; uint u = 3u; u |= 1u << 3; u = ~u; bool b = i > 2 && u != 0u || !(v.x < 1.0); b = b ^^ true;
	float f = b ? v.x : v.y; ivec3 iv = ivec3(v.xyz); iv = iv * 2 + 1; mat4 m = mat4(1); m[1][2] = 2; m *= 2.0; v = m * v; v = v * m; mat3 m3 = mat3(m); m3 = transpose(inverse(m3)); f += determinant(m3);
	do { f -= 1; } while (f > 3); for (int k = 0, l = 3; k < l; k++, l--) f += k; if (f > 2) ; else f = 1; { float f = 2; v.x = f; }
	switch (i) { case 0: case 1: f = 1; break; case 2: { f = 2; } break; default: f = 3; }
	o = vec4(v.rgb, f); o = mix(o, vec4(1), bvec4(true, false, true, false)); o = mix(o, vec4(0), .5); o.a = float(i) / 2; o = vec4(greaterThan(o, vec4(.5))); lowp float lp = 1.0e-3; float fl = 1e3f + .5 + 5.; int hx = 0xFF + 010; return;
}
