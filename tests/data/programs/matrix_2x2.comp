// mat2x2: constructor, columns, elements, products with vectors and with its transpose
// expect: 41000000 41900000 - - 40c00000 41200000 - - 41280000 41e80000 42820000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    mat2x2 m = mat2x2(1.0, 2.0, 3.0, 4.0);
    m[1][1] += float(inputs[3]);
    m[0] *= 2.0;
    vec2 a = m * vec2(1.0, 2.0);
    vec2 b = vec2(1.0) * m;
    mat2 k = m * 0.5 + m;
    mat2x2 t = m * transpose(m);
    for (int i = 0; i < 2; i++) results[i] = floatBitsToUint(a[i]);
    for (int i = 0; i < 2; i++) results[4 + i] = floatBitsToUint(b[i]);
    results[8] = floatBitsToUint(k[1][1]);
    results[9] = floatBitsToUint(t[0][1]);
    results[10] = floatBitsToUint(t[1][1]);
}
