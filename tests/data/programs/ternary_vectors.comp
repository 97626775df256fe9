// conditional operator over vectors with a scalar condition
// expect: 40c00000 0000004e
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    vec3 a = vec3(1.0, 2.0, 3.0), b = vec3(4.0, 5.0, 6.0);
    vec3 c = (inputs[1] == 1) ? a : b;
    vec3 d = (inputs[1] == 2) ? a : b;
    uvec2 e = (c.x < d.x) ? uvec2(7u, 8u) : uvec2(9u);
    results[0] = floatBitsToUint(c.x + d.y);
    results[1] = e.x * 10u + e.y;
}
