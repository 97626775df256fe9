#version 450
layout(early_fragment_tests) in;
const int MAX_FRAGMENT_COUNT = 128;
struct Node { vec4 color; float depth; uint next; };
layout(set = 0, binding = 1) buffer GeometrySBO { uint count; uint maxNodeCount; };
layout(set = 0, binding = 2, r32ui) uniform coherent uimage2D headIndexImage;
layout(set = 0, binding = 3) buffer LinkedListSBO { Node nodes[]; };
layout(push_constant) uniform PushConsts { mat4 model; vec4 color; } pushConsts;
layout(location = 0) out vec4 outFragColor;
void main() {
    uint nodeIdx = atomicAdd(count, 1);
    if(nodeIdx < maxNodeCount) {
        uint prevHeadIdx = imageAtomicExchange(headIndexImage, ivec2(gl_FragCoord.xy), nodeIdx);
        nodes[nodeIdx].color = pushConsts.color;
        nodes[nodeIdx].depth = gl_FragCoord.z;
        nodes[nodeIdx].next = prevHeadIdx;
    }
    Node fragments[MAX_FRAGMENT_COUNT];
    int n = 0;
    uint idx = imageLoad(headIndexImage, ivec2(gl_FragCoord.xy)).r;
    while(idx != 0xffffffff && n < MAX_FRAGMENT_COUNT) { fragments[n] = nodes[idx]; idx = fragments[n].next; ++n; }
    for(uint i = 1; i < n; ++i) {
        Node insert = fragments[i];
        uint j = i;
        while(j > 0 && insert.depth > fragments[j - 1].depth) { fragments[j] = fragments[j-1]; --j; }
        fragments[j] = insert;
    }
    vec4 color = vec4(0.025, 0.025, 0.025, 1.0f);
    for(uint i = 0; i < n; ++i) color = mix(color, fragments[i].color, fragments[i].color.a);
    outFragColor = color;
}
