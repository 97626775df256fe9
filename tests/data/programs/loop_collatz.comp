// a while loop whose length depends on its input
// expect: 00000000 00000001 00000007 00000002 00000005 00000008 00000010 00000003 00000013 00000006 0000000e 00000009
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

int collatz(int n) {
    int steps = 0;
    while (n != 1) {
        n = ((n & 1) == 0) ? n / 2 : 3 * n + 1;
        steps++;
    }
    return steps;
}
void main() {
    for (int i = 1; i <= 12; i++) results[i - 1] = uint(collatz(inputs[i]));
}
