// a sum over a work group through shared memory and barriers
// expect: 00000820
#version 450
layout(local_size_x = 64) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

shared uint partial[64];
void main() {
    uint id = gl_LocalInvocationIndex;
    partial[id] = uint(inputs[id]) + 1u;
    barrier();
    for (uint step = 32u; step > 0u; step >>= 1) {
        if (id < step) partial[id] += partial[id + step];
        barrier();
    }
    if (id == 0u) results[0] = partial[0];
}
