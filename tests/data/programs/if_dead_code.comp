// statements behind return and break are never reached
// expect: 00000006
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

int pick(int x) {
    if (x > 3) { return 1; }
    else { return 2; }
    return 3;
}
void main() {
    int n = 0;
    for (int i = 0; i < 5; i++) {
        n += pick(inputs[i + 2]);
        if (i == 3) { break; }
    }
    results[0] = uint(n);
}
