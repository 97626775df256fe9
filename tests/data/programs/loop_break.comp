// break out of the inner of two loops
// expect: 0000010a
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int s = 0;
    for (int i = 0; i < 10; i++) {
        for (int j = 0; j < 10; j++) {
            if (j > i) break;
            s += i * j;
        }
        if (s > 200) break;
    }
    results[0] = uint(s);
}
