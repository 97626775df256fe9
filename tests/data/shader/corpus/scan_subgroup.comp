#version 450
#extension GL_KHR_shader_subgroup_basic : require
#extension GL_KHR_shader_subgroup_arithmetic : require
#extension GL_KHR_shader_subgroup_ballot : require
#extension GL_KHR_shader_subgroup_shuffle : enable
layout(local_size_x = 256) in;
layout(std430, binding = 0) buffer Data { uint data[]; };
layout(std430, binding = 1) buffer Totals { uint totals[]; };
shared uint sums[256];

void main() {
    uint i = gl_GlobalInvocationID.x;
    uint value = i < data.length() ? data[i] : 0u;
    uint scan = subgroupInclusiveAdd(value);
    if(gl_SubgroupInvocationID == gl_SubgroupSize - 1u) sums[gl_SubgroupID] = scan;
    barrier();
    if(gl_SubgroupID == 0u && gl_SubgroupInvocationID < gl_NumSubgroups) {
        uint s = sums[gl_SubgroupInvocationID];
        sums[gl_SubgroupInvocationID] = subgroupExclusiveAdd(s);
    }
    barrier();
    scan += sums[gl_SubgroupID];
    if(i < uint(data.length())) data[i] = scan - value;
    if(gl_LocalInvocationID.x == gl_WorkGroupSize.x - 1u) totals[gl_WorkGroupID.x] = scan;
}
