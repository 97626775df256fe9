// a function declared first and defined behind its caller
// expect: 00f1ecd3 00000218
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

uint fold(uint x, uint n);
void main() {
    results[0] = fold(uint(inputs[5]), 3u);
    results[1] = fold(uint(inputs[9]), 0u);
}
uint fold(uint x, uint n) {
    uint h = 17u;
    for (uint i = 0u; i <= n; i++) h = h * 31u + x + i;
    return h;
}
