// object and function macros, conditions and line continuations
// expect: 00000000 00000002 00000006 0000000c 00000063
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

#define SIZE 4
#define SQUARE(x) ((x) * (x))
#define ADD(a, b) \
    ((a) + \
     (b))
#if SIZE > 3 && defined(SQUARE)
#define PICK(i) SQUARE(inputs[i])
#else
#define PICK(i) 0
#endif
#ifdef MISSING
#error this text is not compiled
#endif
void main() {
    for (int i = 0; i < SIZE; i++) results[i] = uint(ADD(PICK(i), i)); // a comment
    /* and
       another */ results[SIZE] = 99u;
}
