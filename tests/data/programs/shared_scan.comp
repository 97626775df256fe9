// an inclusive prefix sum in shared memory
// expect: 0000001c 00000078 00000114 000001f0 0000030c 00000468 00000604 000007e0
#version 450
layout(local_size_x = 64) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

shared uint data[2][64];
void main() {
    uint id = gl_LocalInvocationID.x;
    uint src = 0u;
    data[0][id] = uint(inputs[id]);
    barrier();
    for (uint step = 1u; step < 64u; step <<= 1) {
        uint v = data[src][id];
        if (id >= step) v += data[src][id - step];
        src = 1u - src;
        data[src][id] = v;
        barrier();
    }
    if ((id & 7u) == 7u) results[id >> 3] = data[src][id];
}
