// mat4x2: constructor, columns, elements, products with vectors and with its transpose
// expect: 424c0000 42940000 - - 40c00000 40e00000 41300000 41900000 41840000 42fe0000 433d0000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    mat4x2 m = mat4x2(1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0);
    m[3][1] += float(inputs[3]);
    m[0] *= 2.0;
    vec2 a = m * vec4(1.0, 2.0, 3.0, 4.0);
    vec4 b = vec2(1.0) * m;
    mat4x2 k = m * 0.5 + m;
    mat2x2 t = m * transpose(m);
    for (int i = 0; i < 2; i++) results[i] = floatBitsToUint(a[i]);
    for (int i = 0; i < 4; i++) results[4 + i] = floatBitsToUint(b[i]);
    results[8] = floatBitsToUint(k[3][1]);
    results[9] = floatBitsToUint(t[0][1]);
    results[10] = floatBitsToUint(t[1][1]);
}
