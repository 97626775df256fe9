#version 450
#extension GL_EXT_control_flow_attributes : enable
layout(local_size_x = 16, local_size_y = 16) in;
layout(std430, binding = 0) readonly restrict buffer A { float a[]; };
layout(std430, binding = 1) readonly restrict buffer B { float b[]; };
layout(std430, binding = 2) writeonly restrict buffer C { float c[]; };
layout(constant_id = 0) const uint N = 64u;
const uint TILE = 16u;
shared float tileA[TILE][TILE];
shared float tileB[TILE][TILE];

void main() {
    uvec2 l = gl_LocalInvocationID.xy;
    uvec2 g = gl_GlobalInvocationID.xy;
    float sum = 0.0;
    for(uint t = 0u; t < N / TILE; t++) {
        tileA[l.y][l.x] = a[g.y * N + t * TILE + l.x];
        tileB[l.y][l.x] = b[(t * TILE + l.y) * N + g.x];
        barrier();
        [[unroll]] for(uint k = 0u; k < TILE; k++) sum = fma(tileA[l.y][k], tileB[k][l.x], sum);
        barrier();
    }
    c[g.y * N + g.x] = sum;
}
