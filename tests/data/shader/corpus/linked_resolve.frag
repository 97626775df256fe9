#version 450
#define MAX_FRAGMENTS 16
struct Node { vec4 color; float depth; uint next; };
layout(location = 0) out vec4 result;
layout(set = 0, binding = 0, r32ui) uniform readonly uimage2D heads;
layout(set = 0, binding = 1) readonly buffer Nodes { Node nodes[]; };

void main() {
    Node list[MAX_FRAGMENTS];
    int count = 0;
    uint next = imageLoad(heads, ivec2(gl_FragCoord.xy)).r;
    while(next != 0xffffffffu && count < MAX_FRAGMENTS) {
        list[count] = nodes[next];
        next = list[count++].next;
    }
    for(int i = 1; i < count; ++i) {
        Node insert = list[i];
        int j = i;
        while(j > 0 && insert.depth > list[max(j - 1, 0)].depth) {
            list[j] = list[j - 1];
            --j;
        }
        list[j] = insert;
    }
    result = vec4(0.025, 0.025, 0.025, 1.0);
    for(int i = 0; i < count; i++) result = mix(result, list[i].color, list[i].color.a);
}
