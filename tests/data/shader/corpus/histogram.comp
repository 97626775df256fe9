#version 450
layout(local_size_x = 16, local_size_y = 16) in;
layout(binding = 0, rgba16f) uniform readonly image2D hdr;
layout(binding = 1) buffer Histogram { uint bins[256]; };
layout(push_constant) uniform Push { float minLog; float inverseRange; };
shared uint local[256];

uint binOf(vec3 c) {
    float lum = dot(c, vec3(0.2125, 0.7154, 0.0721));
    if(lum < 0.005) return 0u;
    return uint(clamp((log2(lum) - minLog) * inverseRange, 0.0, 1.0) * 254.0 + 1.0);
}

void main() {
    local[gl_LocalInvocationIndex] = 0u;
    groupMemoryBarrier();
    barrier();
    uvec2 size = uvec2(imageSize(hdr));
    if(all(lessThan(gl_GlobalInvocationID.xy, size)))
        atomicAdd(local[binOf(imageLoad(hdr, ivec2(gl_GlobalInvocationID.xy)).xyz)], 1u);
    groupMemoryBarrier();
    barrier();
    atomicAdd(bins[gl_LocalInvocationIndex], local[gl_LocalInvocationIndex]);
}
