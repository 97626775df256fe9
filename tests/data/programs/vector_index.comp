// vectors and matrix columns indexed by runtime values
// expect: 45b17000 3f800000 461eb800
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    vec4 v = vec4(5.0, 6.0, 7.0, 8.0);
    mat3 m = mat3(1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0);
    float s = 0.0;
    for (int i = 0; i < 4; i++) s = s * 10.0 + v[i];
    v[inputs[2]] = 1.0;
    for (int i = 0; i < 3; i++) m[i][(i + 1) % 3] = 0.0;
    float t = 0.0;
    for (int c = 0; c < 3; c++) for (int r = 0; r < 3; r++) t = t * 3.0 + m[c][r];
    results[0] = floatBitsToUint(s); results[1] = floatBitsToUint(v.z); results[2] = floatBitsToUint(t);
}
