// mat4x3: constructor, columns, elements, products with vectors and with its transpose
// expect: 428e0000 42a40000 42d20000 - 41400000 41700000 41c00000 42100000 41b40000 43790000 43bd0000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    mat4x3 m = mat4x3(1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0, 10.0, 11.0, 12.0);
    m[3][2] += float(inputs[3]);
    m[0] *= 2.0;
    vec3 a = m * vec4(1.0, 2.0, 3.0, 4.0);
    vec4 b = vec3(1.0) * m;
    mat4x3 k = m * 0.5 + m;
    mat3x3 t = m * transpose(m);
    for (int i = 0; i < 3; i++) results[i] = floatBitsToUint(a[i]);
    for (int i = 0; i < 4; i++) results[4 + i] = floatBitsToUint(b[i]);
    results[8] = floatBitsToUint(k[3][2]);
    results[9] = floatBitsToUint(t[0][2]);
    results[10] = floatBitsToUint(t[2][2]);
}
