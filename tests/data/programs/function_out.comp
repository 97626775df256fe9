// out and inout parameters of scalars
// expect: 00000009 00000002 00000026
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void divide(int a, int b, out int quotient, out int remainder) { quotient = a / b; remainder = a - quotient * b; }
void add_to(inout uint x, uint y) { x += y; }
void main() {
    int q, r;
    divide(inputs[47], inputs[5], q, r);
    uint x = 10u;
    add_to(x, uint(q));
    add_to(x, x);
    results[0] = uint(q); results[1] = uint(r); results[2] = x;
}
