// a do loop runs its body before the test
// expect: 00000007 00000002
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int n = 0;
    do { n += 7; } while (inputs[0] != 0);
    results[0] = uint(n);
    int k = inputs[5];
    do k--; while (k > 2);
    results[1] = uint(k);
}
