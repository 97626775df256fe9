// returns out of nested loops and conditions
// expect: 000000cb fffffffb ffffffff 0000000a 00000001
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

int find(int key) {
    for (int y = 0; y < 8; y++) {
        for (int x = 0; x < 8; x++) {
            if (inputs[y * 8 + x] == key) return y * 100 + x;
        }
        if (y == 5) return -5;
    }
    return -1;
}
int sign_of(int x) {
    if (x < 0) return -1;
    else if (x > 0) return 1;
    return 0;
}
void main() {
    results[0] = uint(find(19));
    results[1] = uint(find(63));
    results[2] = uint(sign_of(inputs[3] - 5));
    results[3] = uint(sign_of(inputs[3] - 3) + 10);
    results[4] = uint(sign_of(inputs[3]));
}
