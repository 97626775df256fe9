#version 450
layout(local_size_x = 64) in;
struct Node { vec3 lo; int left; vec3 hi; int right; };
layout(std430, binding = 0) coherent buffer Nodes { Node nodes[]; };
layout(std430, binding = 1) readonly buffer Parents { int parents[]; };
layout(std430, binding = 2) coherent buffer Flags { uint flags[]; };
layout(push_constant) uniform Push { int leaves; int inner; };

void main() {
    int id = int(gl_GlobalInvocationID.x);
    if(id >= leaves) return;
    int node = parents[id + inner];
    while(node != -1) {
        // the second of two children goes on
        if(atomicExchange(flags[node], 1u) == 0u) return;
        memoryBarrierBuffer();
        Node a = nodes[nodes[node].left], b = nodes[nodes[node].right];
        nodes[node].lo = min(a.lo, b.lo);
        nodes[node].hi = max(a.hi, b.hi);
        memoryBarrierBuffer();
        node = parents[node];
    }
}
