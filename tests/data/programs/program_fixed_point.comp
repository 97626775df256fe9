// a matrix power in fixed-point arithmetic
// expect: 0000006d 000000b2 ffffff44 0000006d
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

struct M { int a; int b; int c; int d; };
M mul(M x, M y) { return M((x.a * y.a + x.b * y.c) >> 8, (x.a * y.b + x.b * y.d) >> 8, (x.c * y.a + x.d * y.c) >> 8, (x.c * y.b + x.d * y.d) >> 8); }
void main() {
    M m = M(inputs[63] * 4, inputs[20], -inputs[20], inputs[63] * 4);
    M r = M(256, 0, 0, 256);
    int n = 13;
    while (n > 0) { if ((n & 1) != 0) r = mul(r, m); m = mul(m, m); n >>= 1; }
    results[0] = uint(r.a); results[1] = uint(r.b); results[2] = uint(r.c); results[3] = uint(r.d);
}
