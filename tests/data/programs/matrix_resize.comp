// matrices made from a scalar and from matrices of other sizes
// expect: 40400000 40400000 40e00000 44324000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    float s = float(inputs[3]);
    mat4 d = mat4(s);
    mat2 small = mat2(d);
    mat3 m = mat3(1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0);
    mat4 large = mat4(m);
    mat3 from_columns = mat3(vec3(s), vec3(0.0, 1.0, 2.0), m[2]);
    results[0] = floatBitsToUint(d[2][2] + d[2][1]);
    results[1] = floatBitsToUint(small[1][1] + small[0][1]);
    results[2] = floatBitsToUint(large[3][3] + large[2][3] + large[1][2]);
    results[3] = floatBitsToUint(from_columns[0][2] + from_columns[1][1] * 10.0 + from_columns[2][0] * 100.0);
}
