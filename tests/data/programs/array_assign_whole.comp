// whole arrays assigned and compared element by element
// expect: 40200000 40a00000 40600000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    float a[3] = float[3](1.5, 2.5, 3.5);
    float b[3];
    b = a;
    b[1] *= float(inputs[2]);
    results[0] = floatBitsToUint(a[1]);
    results[1] = floatBitsToUint(b[1]);
    results[2] = floatBitsToUint(b[2]);
}
