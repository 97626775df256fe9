#version 450
#extension GL_KHR_shader_subgroup_arithmetic : enable
#extension GL_KHR_shader_subgroup_ballot : enable
layout(local_size_x = 256) in;
layout(std430, binding = 0) readonly buffer Input { float inputs[]; };
layout(std430, binding = 1) buffer Output { float sum; uint count; } outputs;
shared float partial[256];
void main() {
    float v = inputs[gl_GlobalInvocationID.x];
    float s = subgroupAdd(v);
    uvec4 mask = subgroupBallot(v > 0.0);
    if(subgroupElect()) { partial[gl_SubgroupID] = s; atomicAdd(outputs.count, subgroupBallotBitCount(mask)); }
    memoryBarrierShared();
    barrier();
    if(gl_LocalInvocationIndex == 0u) {
        float total = 0.0;
        for(uint i = 0u; i < gl_NumSubgroups; i++) total += partial[i];
        outputs.sum = total;
    }
}
