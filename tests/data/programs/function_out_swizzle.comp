// out arguments that are elements, swizzles, members and buffer words
// expect: 00000007 40000000 41100000 40c00000 41800000 41400000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

struct S { float a; vec3 b; };
void set(out float v, float x) { v = x; }
void twice(inout vec2 v) { v *= 2.0; }
void bump(inout uint v) { v += 3u; }
void main() {
    vec4 v = vec4(1.0, 2.0, 3.0, 4.0);
    float a[3];
    S s;
    set(v.y, 9.0);
    twice(v.zw);
    twice(v.wx);
    set(a[inputs[2]], 7.0);
    set(s.b.z, 5.0);
    results[0] = 4u;
    bump(results[0]);
    results[1] = floatBitsToUint(v.x); results[2] = floatBitsToUint(v.y);
    results[3] = floatBitsToUint(v.z); results[4] = floatBitsToUint(v.w);
    results[5] = floatBitsToUint(a[2] + s.b.z);
}
