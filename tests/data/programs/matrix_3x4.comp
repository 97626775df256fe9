// mat3x4: constructor, columns, elements, products with vectors and with its transpose
// expect: 421c0000 42380000 42540000 428a0000 41a00000 41d00000 42340000 - 41b40000 433f0000 43b08000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    mat3x4 m = mat3x4(1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0, 10.0, 11.0, 12.0);
    m[2][3] += float(inputs[3]);
    m[0] *= 2.0;
    vec4 a = m * vec3(1.0, 2.0, 3.0);
    vec3 b = vec4(1.0) * m;
    mat3x4 k = m * 0.5 + m;
    mat4x4 t = m * transpose(m);
    for (int i = 0; i < 4; i++) results[i] = floatBitsToUint(a[i]);
    for (int i = 0; i < 3; i++) results[4 + i] = floatBitsToUint(b[i]);
    results[8] = floatBitsToUint(k[2][3]);
    results[9] = floatBitsToUint(t[0][3]);
    results[10] = floatBitsToUint(t[3][3]);
}
