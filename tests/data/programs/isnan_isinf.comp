// special values are told apart
// expect: 00000013
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    float zero = float(inputs[0]);
    float inf = 1.0 / zero;
    float nan = zero / zero;
    results[0] = uint(isinf(inf)) + uint(isnan(nan)) * 2u + uint(isinf(nan)) * 4u + uint(isnan(1.0)) * 8u + uint(isinf(-inf)) * 16u;
}
