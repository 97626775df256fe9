// arrays as parameters: in, inout
// expect: 000010e1 00000598 0000085f
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

int total(int v[4]) { return v[0] + v[1] * 10 + v[2] * 100 + v[3] * 1000; }
void shift_left(inout int v[4]) {
    int first = v[0];
    for (int i = 0; i < 3; i++) v[i] = v[i + 1];
    v[3] = first;
}
void main() {
    int v[4] = int[4](inputs[1], inputs[2], inputs[3], inputs[4]);
    results[0] = uint(total(v));
    shift_left(v);
    results[1] = uint(total(v));
    shift_left(v);
    results[2] = uint(total(v));
}
