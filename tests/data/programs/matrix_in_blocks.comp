// matrices in std140 and std430 blocks keep their strides
// expect: 41a00000 41b00000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

layout(std140, binding = 2) buffer First { mat3 a; float b; mat2x4 c; float d; };
layout(std430, binding = 3) buffer Second { mat2 e; mat4x3 f; float g; };
void main() {
    a = mat3(float(inputs[1]));
    b = 5.0;
    c = mat2x4(1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0);
    d = 6.0;
    e = mat2(1.0, 2.0, 3.0, 4.0);
    f[3] = vec3(7.0, 8.0, 9.0);
    g = 10.0;
    results[0] = floatBitsToUint(a[1][1] + b + c[1][3] + d);
    results[1] = floatBitsToUint(e[1].x + f[3][2] + g);
}
