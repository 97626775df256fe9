// structures as parameters and results of functions
// expect: 40400000 40c00000 40a00000 40400000 c0c00000 c0400000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

struct Ray { vec3 origin; vec3 direction; };
Ray make_ray(float x) { return Ray(vec3(x, 0.0, 1.0), vec3(0.0, x, 2.0)); }
vec3 at(Ray r, float t) { return r.origin + r.direction * t; }
void flip(inout Ray r) { r.direction = -r.direction; }
void main() {
    Ray r = make_ray(float(inputs[3]));
    vec3 p = at(r, 2.0);
    flip(r);
    vec3 q = at(r, 2.0);
    results[0] = floatBitsToUint(p.x); results[1] = floatBitsToUint(p.y); results[2] = floatBitsToUint(p.z);
    results[3] = floatBitsToUint(q.x); results[4] = floatBitsToUint(q.y); results[5] = floatBitsToUint(q.z);
}
