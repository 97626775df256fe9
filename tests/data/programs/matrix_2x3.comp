// mat2x3: constructor, columns, elements, products with vectors and with its transpose
// expect: 41200000 41600000 41c00000 - 41400000 41900000 - - 41580000 42400000 42ea0000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    mat2x3 m = mat2x3(1.0, 2.0, 3.0, 4.0, 5.0, 6.0);
    m[1][2] += float(inputs[3]);
    m[0] *= 2.0;
    vec3 a = m * vec2(1.0, 2.0);
    vec2 b = vec3(1.0) * m;
    mat2x3 k = m * 0.5 + m;
    mat3x3 t = m * transpose(m);
    for (int i = 0; i < 3; i++) results[i] = floatBitsToUint(a[i]);
    for (int i = 0; i < 2; i++) results[4 + i] = floatBitsToUint(b[i]);
    results[8] = floatBitsToUint(k[1][2]);
    results[9] = floatBitsToUint(t[0][2]);
    results[10] = floatBitsToUint(t[2][2]);
}
