// in parameters are copies: writing them changes nothing outside
// expect: 00000070 00000006 3f800000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

int clobber(int a, in vec2 b) { a = a * 2; b.x = 100.0; return a + int(b.x); }
void main() {
    int a = inputs[6];
    vec2 b = vec2(1.0, 2.0);
    int r = clobber(a, b);
    results[0] = uint(r); results[1] = uint(a); results[2] = floatBitsToUint(b.x);
}
