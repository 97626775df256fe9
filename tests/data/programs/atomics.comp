// atomic functions on shared memory and on a buffer
// expect: 00000040 ffffffff 00000000 000000bd 0000004d 00000042 00000000 00000000 000007e0 ffffffec
#version 450
layout(local_size_x = 64) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

shared uint counter;
shared int lowest;
void main() {
    uint id = gl_LocalInvocationIndex;
    if (id == 0u) { counter = 0u; lowest = 1000; for (int i = 0; i < 8; i++) results[i] = 0u; }
    barrier();
    atomicAdd(counter, uint(inputs[id]));
    atomicMin(lowest, inputs[id] - 20);
    atomicAdd(results[0], 1u);
    atomicOr(results[1], 1u << (id & 31u));
    atomicXor(results[2], id);
    atomicMax(results[3], id * 3u);
    if (id == 5u) results[6] = atomicExchange(results[4], 77u);
    if (id == 6u) results[7] = atomicCompSwap(results[5], 0u, 66u);
    barrier();
    if (id == 0u) { results[8] = counter; results[9] = uint(lowest); }
}
