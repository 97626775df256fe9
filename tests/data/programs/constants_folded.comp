// global constants that depend on each other
// expect: 00000014 0000000d 40c90fdb 40400000 0000000f 00000001
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

const int A = 3;
const int B = A * 4 + (1 << 3);
const uint MASK = (1u << 5) - 1u;
const float PI = 3.14159265;
const float TWO_PI = PI * 2.0;
const vec3 AXIS = vec3(0.0, 1.0, 0.0);
const bool ON = true;
void main() {
    int a[B - 14];
    for (int i = 0; i < a.length(); i++) a[i] = i * A;
    results[0] = uint(B); results[1] = MASK & uint(inputs[45]);
    results[2] = floatBitsToUint(TWO_PI); results[3] = floatBitsToUint(dot(AXIS, vec3(2.0, 3.0, 4.0)));
    results[4] = uint(a[5]); results[5] = ON ? 1u : 0u;
}
