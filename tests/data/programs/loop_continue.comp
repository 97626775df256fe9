// continue in all three kinds of loop
// expect: 00000064 00000093 00000024
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int a = 0, b = 0, c = 0;
    for (int i = 0; i < 20; i++) {
        if ((i & 1) == 0) continue;
        a += i;
    }
    int i = 0;
    while (i < 20) {
        i++;
        if (i % 3 == 0) continue;
        b += i;
    }
    i = 0;
    do {
        i += 2;
        if (i == 6) continue;
        c += i;
    } while (i < inputs[12]);
    results[0] = uint(a); results[1] = uint(b); results[2] = uint(c);
}
