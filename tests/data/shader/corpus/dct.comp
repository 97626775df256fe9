#version 450
layout(local_size_x = 8, local_size_y = 8) in;
layout(binding = 0, r8ui) uniform readonly uimage2D plane;
layout(std430, binding = 1) writeonly buffer Blocks { ivec4 blocks[]; };
layout(std140, binding = 2) uniform Quant { ivec4 table[16]; };
shared mat4 cosines[2];
shared float work[8][8];

const float first[8] = { 0.35355339, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5 };
const uvec2 zigzag[4] = { uvec2(0u, 0u), uvec2(1u, 0u), uvec2(0u, 1u), uvec2(0u, 2u) };

float wave(uint k, uint n) { return first[k] * cos((2.0 * float(n) + 1.0) * float(k) * 0.19634954); }

void main() {
    uvec2 l = gl_LocalInvocationID.xy;
    float pixel = float(imageLoad(plane, ivec2(gl_GlobalInvocationID.xy)).r) - 128.0;
    work[l.y][l.x] = pixel;
    barrier();
    float row = 0.0;
    for(uint n = 0u; n < 8u; n++) row += work[l.y][n] * wave(l.x, n);
    barrier();
    work[l.y][l.x] = row;
    barrier();
    float value = 0.0;
    for(uint n = 0u; n < 8u; n++) value += work[n][l.x] * wave(l.y, n);
    uint i = l.y * 8u + l.x;
    int q = int(round(value / float(table[i >> 2][i & 3u])));
    uint block = (gl_WorkGroupID.y * gl_NumWorkGroups.x + gl_WorkGroupID.x) * 16u;
    blocks[block + (i >> 2)][i & 3u] = q;
    if(i < 4u && zigzag[i].x == 0u) cosines[0][i] = vec4(value);
}
