#version 450
layout(local_size_x=8,local_size_y=8) in;
struct Node { vec3 lo; uint left; vec3 hi; uint right; }; struct Ray { vec3 o, d; }; struct Hit { float t; uint id; };
layout(std430, binding=0) readonly buffer Nodes { Node nodes[]; }; layout(binding=1, rgba32f) uniform writeonly image2D img;
bool box(const Ray r, vec3 lo, vec3 hi, inout float t) { vec3 inv = 1.0 / r.d; vec3 a = (lo - r.o) * inv, b = (hi - r.o) * inv; vec3 mn = min(a, b), mx = max(a, b); float t0 = max(max(mn.x, mn.y), mn.z), t1 = min(min(mx.x, mx.y), mx.z); t = t0; return t1 >= max(t0, 0.0); }
Hit trace(Ray r) { Hit h = Hit(1e30, 0xFFFFFFFFu); uint stack[32]; int sp = 0; stack[sp++] = 0u; while (sp > 0) { uint i = stack[--sp]; Node n = nodes[i]; float t; if (!box(r, n.lo, n.hi, t) || t > h.t) continue; if ((n.left & 0x80000000u) != 0u) { h.t = t; h.id = i; } else { stack[sp++] = n.left; stack[sp++] = n.right; } } return h; }
void main() { Ray r; r.o = vec3(0); r.d = normalize(vec3(gl_GlobalInvocationID.xy, 1)); Hit h = trace(r); imageStore(img, ivec2(gl_GlobalInvocationID), vec4(h.t, uintBitsToFloat(h.id), 0, isnan(h.t) || isinf(h.t) ? 1 : 0)); }
