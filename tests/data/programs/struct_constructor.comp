// structure constructors, nested, with conversions of their arguments
// expect: 00000004 0000000c 40a00000 00000038
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

struct Inner { int a; float b; };
struct Outer { Inner inner; uvec2 c; };
void main() {
    Outer o = Outer(Inner(inputs[4], 2.5), uvec2(7u, 8u));
    Inner copy = o.inner;
    copy.a *= 3;
    results[0] = uint(o.inner.a);
    results[1] = uint(copy.a);
    results[2] = floatBitsToUint(copy.b + o.inner.b);
    results[3] = o.c.x * o.c.y;
}
