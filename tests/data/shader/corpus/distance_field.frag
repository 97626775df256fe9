#version 450
layout(location=0) out vec4 o; layout(location=0) in vec2 uv;
layout(push_constant) uniform PC { float time; vec2 res; } pc;
float map(in vec3 p) { vec3 q = abs(p) - vec3(.5); return length(max(q, 0.)) + min(max(q.x, max(q.y, q.z)), 0.); }
vec3 calcNormal(in vec3 p) { const vec2 e = vec2(1., -1.) * .5773 * .0005; return normalize(e.xyy * map(p + e.xyy) + e.yyx * map(p + e.yyx) + e.yxy * map(p + e.yxy) + e.xxx * map(p + e.xxx)); }
void main() { vec2 p = (2. * uv - pc.res) / pc.res.y; vec3 ro = vec3(0, 0, -3), rd = normalize(vec3(p, 2)); float t = 0.; int i; for (i = 0; i < 64 && t < 20.; ++i) { float h = map(ro + t * rd); if (h < .001) break; t += h; }
 vec3 col = vec3(0); if (t < 20.) { vec3 nn = calcNormal(ro + t * rd); col = .5 + .5 * nn; } col = sqrt(col); o = vec4(col, i > 32 ? 1. : .5); }
