// mat2x4: constructor, columns, elements, products with vectors and with its transpose
// expect: 41400000 41800000 41a00000 41f00000 41a00000 41e80000 - - 41840000 428e0000 43390000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    mat2x4 m = mat2x4(1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0);
    m[1][3] += float(inputs[3]);
    m[0] *= 2.0;
    vec4 a = m * vec2(1.0, 2.0);
    vec2 b = vec4(1.0) * m;
    mat2x4 k = m * 0.5 + m;
    mat4x4 t = m * transpose(m);
    for (int i = 0; i < 4; i++) results[i] = floatBitsToUint(a[i]);
    for (int i = 0; i < 2; i++) results[4 + i] = floatBitsToUint(b[i]);
    results[8] = floatBitsToUint(k[1][3]);
    results[9] = floatBitsToUint(t[0][3]);
    results[10] = floatBitsToUint(t[3][3]);
}
