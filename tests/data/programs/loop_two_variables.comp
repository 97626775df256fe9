// a for loop over two variables with a comma in its step
// expect: 00000046
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int s = 0;
    for (int i = 0, j = 10; i < j; i++, j--) s += i * j;
    results[0] = uint(s);
}
