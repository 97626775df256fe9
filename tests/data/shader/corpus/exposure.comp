#version 450
layout(local_size_x = 256) in;
layout(set = 0, binding = 0) buffer Histogram { uint bins[256]; } histogram;
layout(set = 0, binding = 1, r16f) uniform image2D target;
layout(push_constant) uniform Push { vec4 params; uint pixels; } push;
shared float sums[256];

void main() {
    uint i = gl_LocalInvocationIndex;
    uint count = histogram.bins[i];
    sums[i] = float(count * i);
    histogram.bins[i] = 0;
    barrier();
    for(uint cutoff = (256u >> 1); cutoff > 0u; cutoff >>= 1) {
        if(uint(i) < cutoff) sums[i] += sums[i + cutoff];
        memoryBarrierShared();
        barrier();
    }
    if(i != 0u) return;
    float weighted = sums[0] / max(float(push.pixels) - float(count), 1.0) - 1.0;
    float lum = exp2(weighted / 254.0 * push.params.y + push.params.x);
    float last = imageLoad(target, ivec2(0, 0)).x;
    imageStore(target, ivec2(0), vec4(last + (lum - last) * push.params.z, 0, 0, 0));
}
