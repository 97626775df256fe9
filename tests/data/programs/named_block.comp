// blocks with instance names, structures in them, and runtime array length
// expect: 0000000f 40200000 00000004
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

struct Pair { uint a; float b; };
layout(std430, binding = 2) buffer Store { uint count; Pair pairs[4]; uint tail[]; } store;
void main() {
    store.count = 4u;
    for (uint i = 0u; i < store.count; i++) store.pairs[i] = Pair(i * 2u, float(i) * 0.5);
    store.tail[1] = 9u;
    Pair p = store.pairs[inputs[3]];
    p.a += store.tail[1];
    store.pairs[0] = p;
    results[0] = store.pairs[0].a; results[1] = floatBitsToUint(store.pairs[0].b + store.pairs[2].b);
    results[2] = uint(store.pairs.length());
}
