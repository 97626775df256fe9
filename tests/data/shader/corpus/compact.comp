#version 450
#extension GL_KHR_shader_subgroup_ballot : require
#extension GL_KHR_shader_subgroup_vote : require
layout(local_size_x = 64) in;
struct Draw { uint count, instances, first; int offset; uint base; };
layout(std430, binding = 0) readonly buffer Boxes { vec4 boxes[]; };
layout(std430, binding = 1) writeonly buffer Draws { Draw draws[]; };
layout(std430, binding = 2) coherent buffer Count { uint drawCount; uint pad[3]; };
layout(push_constant) uniform Push { vec4 plane[5]; uint total; } push;

void main() {
    uint i = gl_GlobalInvocationID.x;
    bool keep = i < push.total;
    vec4 box = keep ? boxes[min(i, push.total - 1u)] : vec4(0.0);
    for(int k = 0; k < 5; k++) keep = keep && dot(push.plane[k].xyz, box.xyz) + push.plane[k].w > -box.w;
    if(!subgroupAny(keep)) return;
    uvec4 votes = subgroupBallot(keep);
    uint count = subgroupBallotBitCount(votes);
    uint first = 0u;
    if(subgroupElect()) first = atomicAdd(drawCount, count);
    first = subgroupBroadcastFirst(first);
    if(keep) {
        Draw d = Draw(36u, 1u, 0u, 0, i);
        if(subgroupAll(keep)) d.instances = 1u;
        draws[first + subgroupBallotExclusiveBitCount(votes)] = d;
    }
}
