// wrapping signed and unsigned arithmetic
// expect: 8000003b fffffffe 00000004 fffffffe 00000001 24924924 00000126 00000691
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int a = inputs[7] + 2147483600;
    uint b = uint(inputs[3]) - 5u;
    results[0] = uint(a + 100);
    results[1] = b;
    results[2] = b * b;
    results[3] = uint(-inputs[9] / 4);
    results[4] = uint(inputs[9] % 4);
    results[5] = b / 7u;
    results[6] = b % 1000u;
    results[7] = uint(a * a);
}
