#version 450
layout (constant_id = 0) const uint BLOCK_SIZE = 64;
layout(local_size_x = 64) in;
layout(binding = 0) readonly buffer A { float a[]; }; layout(binding = 1) writeonly buffer B { float b[]; }; layout(binding = 2) buffer C { ivec2 size; float c[]; } cc;
shared float tmp[BLOCK_SIZE];
void main() {
    const uint tid = gl_LocalInvocationID.x; const uint gid = gl_GlobalInvocationID.x;
    tmp[tid] = a[gid]; memoryBarrierShared(); barrier();
    for (uint s = BLOCK_SIZE / 2; s > 0; s >>= 1) { if (tid < s) { tmp[tid] += tmp[tid + s]; } barrier(); }
    if (tid == 0) b[gl_WorkGroupID.x] = tmp[0];
    uint n = uint(cc.c.length()); cc.c[min(gid, n - 1u)] = float(n);
}
