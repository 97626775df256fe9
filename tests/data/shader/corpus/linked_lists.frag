#version 450
layout(early_fragment_tests) in;
struct Node { vec4 color; float depth; uint next; };
layout(location = 0) in vec4 color;
layout(set = 0, binding = 0, r32ui) uniform coherent uimage2D heads;
layout(set = 0, binding = 1) buffer Nodes { Node nodes[]; };
layout(set = 0, binding = 2) buffer Counter { uint count; uint maximum; };

void main() {
    uint i = atomicAdd(count, 1u);
    if(i < maximum) {
        uint last = imageAtomicExchange(heads, ivec2(gl_FragCoord.xy), i);
        nodes[i].color = color;
        nodes[i].depth = gl_FragCoord.z;
        nodes[i].next = last;
    }
}
