// switch with fall-through, shared labels and default in the middle
// expect: 0000000a 00000014 00000014 00000023 00000005 00000005 00000005 00000046 00000005
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

int pick(int x) {
    int r = 0;
    switch (x) {
    case 0: r = 10; break;
    case 1:
    case 2: r = 20; break;
    case 3: r = 30;
    default: r += 5; break;
    case 7: { r = 70; break; }
    }
    return r;
}
void main() {
    for (int i = 0; i < 9; i++) results[i] = uint(pick(inputs[i]));
}
