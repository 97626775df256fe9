// several declarators with initialisers and arrays in one statement
// expect: 00007789 40800000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int a = inputs[1], b, c[3], d = a + 4;
    b = d * 2;
    c[0] = a; c[1] = b; c[2] = d;
    float x = 1.0, y = x + 2.0;
    const int k = 5, m = 6;
    results[0] = uint(c[0] + c[1] * 10 + c[2] * 100 + k * m * 1000);
    results[1] = floatBitsToUint(x + y);
}
