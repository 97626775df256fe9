#version 450
layout(local_size_x = 256) in;
layout(std430, set = 0, binding = 0) readonly buffer KeysIn { uvec4 keys[]; } keysIn;
layout(std430, set = 0, binding = 1) buffer Counts { uint counts[]; } counts;
layout(push_constant) uniform Push { uint shift, blocks, total; } push;
shared uint bins[16][16];

void main() {
    const uint lane = gl_LocalInvocationID.x & 15u, row = gl_LocalInvocationID.x >> 4u;
    bins[row][lane] = 0u;
    barrier();
    for(uint i = gl_GlobalInvocationID.x; i < push.total; i += gl_NumWorkGroups.x * gl_WorkGroupSize.x) {
        uvec4 k = keysIn.keys[i];
        uvec4 digits = (k >> push.shift) & 15u;
        for(int c = 0; c < 4; ++c) atomicAdd(bins[digits[c]][lane], 1u);
    }
    barrier();
    if(gl_LocalInvocationID.x < 16u) {
        uint sum = 0u;
        for(int c = 0; c < 16; c++) sum += bins[gl_LocalInvocationID.x][c];
        counts.counts[gl_LocalInvocationID.x * push.blocks + gl_WorkGroupID.x] = sum;
    }
}
