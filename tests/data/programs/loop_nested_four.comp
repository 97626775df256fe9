// four loops in each other, left at different depths
// expect: 00001e2a
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    uint n = 0u;
    for (int a = 0; a < 4; a++) {
        for (int b = 0; b < 4; b++) {
            if (b == 2) continue;
            int c = 0;
            while (c < 4) {
                c++;
                int d = 0;
                do {
                    d++;
                    if (a == 3) break;
                    n += uint(a * 64 + b * 16 + c * 4 + d);
                } while (d < inputs[3]);
                if (c == 3) break;
            }
        }
    }
    results[0] = n;
}
