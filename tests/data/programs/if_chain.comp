// chains of else if, with and without braces
// expect: 00000001 00000002 00000019 00000003 00000004
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

int grade(int x) {
    if (x < 10) return 1;
    else if (x < 20) { return 2; }
    else if (x < 30) if (x == 25) return 25; else return 3;
    else return 4;
}
void main() {
    results[0] = uint(grade(inputs[5])); results[1] = uint(grade(inputs[15]));
    results[2] = uint(grade(inputs[25])); results[3] = uint(grade(inputs[26])); results[4] = uint(grade(inputs[40]));
}
