// scalars, vectors and arrays of a std140 block stand where they should
// expect: 42440000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

layout(std140, binding = 2) buffer Block { float a; vec3 b; float c; vec2 d; float e[3]; ivec2 f; int g; };
void main() {
    a = 1.0; b = vec3(2.0, 3.0, 4.0); c = 5.0; d = vec2(6.0, 7.0); f = ivec2(8, 9); g = 10;
    for (int i = 0; i < 3; i++) e[i] = 11.0 + float(inputs[i]);
    results[0] = floatBitsToUint(a + b.z + c + d.y + e[2] + float(f.y + g));
}
