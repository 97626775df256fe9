// mat4x4: constructor, columns, elements, products with vectors and with its transpose
// expect: 42b60000 42cc0000 42e20000 43080000 41a00000 41d00000 42280000 42740000 41e40000 43cd8000 441e4000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    mat4x4 m = mat4x4(1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0, 10.0, 11.0, 12.0, 13.0, 14.0, 15.0, 16.0);
    m[3][3] += float(inputs[3]);
    m[0] *= 2.0;
    vec4 a = m * vec4(1.0, 2.0, 3.0, 4.0);
    vec4 b = vec4(1.0) * m;
    mat4 k = m * 0.5 + m;
    mat4x4 t = m * transpose(m);
    for (int i = 0; i < 4; i++) results[i] = floatBitsToUint(a[i]);
    for (int i = 0; i < 4; i++) results[4 + i] = floatBitsToUint(b[i]);
    results[8] = floatBitsToUint(k[3][3]);
    results[9] = floatBitsToUint(t[0][3]);
    results[10] = floatBitsToUint(t[3][3]);
}
