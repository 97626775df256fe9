// names that hide outer ones in loops and blocks
// expect: 00000151 00000005
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int x = inputs[5];
    int s = 0;
    for (int x = 0; x < 3; x++) { int s2 = x * 10; s += s2; { int x = 100; s += x; } }
    { int x = 7; s += x; }
    results[0] = uint(s); results[1] = uint(x);
}
