// functions that read and write global variables
// expect: 00000552 00001b74 00000002 00009657
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

uint state = 12345u;
int calls = 0;
uint next() { state = state * 1664525u + 1013904223u; calls++; return state >> 16; }
void main() {
    state += uint(inputs[1]);
    uint a = next();
    uint b = next();
    results[0] = a; results[1] = b; results[2] = uint(calls); results[3] = next() ^ next();
}
