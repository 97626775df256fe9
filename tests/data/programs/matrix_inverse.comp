// inverse and determinant undo a transform
// expect about: 41100000 000003e8 00000000 000003e8 41000000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    float f = float(inputs[2]);
    mat3 m = mat3(f, 1.0, 0.0, 0.0, f, 1.0, 1.0, 0.0, f);
    mat3 i = m * inverse(m);
    results[0] = floatBitsToUint(determinant(m));
    results[1] = uint(round(i[0][0] * 1000.0));
    results[2] = uint(abs(round(i[1][0] * 1000.0)));
    results[3] = uint(round(i[2][2] * 1000.0));
    mat2 o = outerProduct(vec2(1.0, f), vec2(3.0, 4.0));
    results[4] = floatBitsToUint(o[1][1]);
}
