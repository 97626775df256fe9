// a local array filled backwards and read by computed indices
// expect: 00000002 0000000a
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int a[10];
    for (int i = 9; i >= 0; --i) a[i] = i * inputs[3] - 4;
    int s = 0;
    for (int i = 0; i < 10; i += 3) s += a[(i * 7) % 10];
    results[0] = uint(s);
    results[1] = uint(a.length());
}
