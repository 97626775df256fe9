// for loops without a start, a condition or a step
// expect: 0000433a 00000009 00000004
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int i = 0, s = 0;
    for (;;) {
        if (i >= 5) break;
        s += i;
        i++;
    }
    for (; i < 9; ) { s += 100; i += 2; }
    int j = 3;
    for (j = 10; j > inputs[4]; j -= 3) s += j * 1000;
    results[0] = uint(s); results[1] = uint(i); results[2] = uint(j);
}
