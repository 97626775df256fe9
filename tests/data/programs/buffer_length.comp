// length of a runtime array
// expect: 00000040 000007e0
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    results[0] = uint(inputs.length());
    int s = 0;
    for (int i = 0; i < inputs.length(); i++) s += inputs[i];
    results[1] = uint(s);
}
