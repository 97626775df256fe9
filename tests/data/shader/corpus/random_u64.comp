#version 450
#extension GL_ARB_gpu_shader_int64 : require
layout(local_size_x = 64) in;
layout(std430, binding = 0) buffer States { uint64_t states[]; };
layout(std430, binding = 1) writeonly buffer Numbers { uvec2 numbers[]; };
layout(push_constant) uniform Push { uint rounds; };

uint64_t mix64(uint64_t x) {
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9UL;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebUL;
    return x ^ (x >> 31);
}

void main() {
    uint i = gl_GlobalInvocationID.x;
    uint64_t s = states[i];
    uint64_t r = 0UL;
    for(uint k = 0u; k < rounds; k++) {
        s += 0x9e3779b97f4a7c15UL;
        r ^= mix64(s);
    }
    states[i] = s;
    int64_t d = int64_t(r) - int64_t(s);
    numbers[i] = uvec2(uint(r & 0xFFFFFFFFUL), uint(r >> 32)) ^ uvec2(d < 0L ? 1u : 0u, 0u);
}
