#version 450
layout(location = 0) in vec3 n; layout(location = 0) out vec4 o; layout(location = 1) out uint id; layout(location = 2) out ivec2 iv;
layout(depth_greater) out float gl_FragDepth;
vec3 f(vec3 v) { return v; }
vec3 f(vec2 v) { return vec3(v, 0.0); }
float f(float v);
mat3 rot(float a) { float s = sin(a), c = cos(a); return mat3(c, s, 0., -s, c, 0., 0., 0., 1.); }
void main() { o.rgb = f(n) + f(n.xy) * f(1.0); o.a = 1.; o.xyz *= rot(n.x); id = 3u; iv = ivec2(gl_FragCoord.xy); gl_FragDepth = gl_FragCoord.z + .1; if (!gl_FrontFacing) o = -o; }
float f(float v) { return v * v; }
