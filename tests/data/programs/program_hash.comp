// an integer hash over its input
// expect: b5ec49ec caa35597 3310a04f 8beb840a 6ac39dd3 b915edf4 6ebd068b dd149350 6f67d27a 4ddc4b89 85ef6473 e1cbf2a8
// expect: 4860eb9e d7381af4 ac0f2411 5582fa21 fcf56658
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

uint rotl(uint x, int r) { return (x << r) | (x >> (32 - r)); }
void main() {
    uint h = 0x9747b28cu;
    for (int i = 0; i < 16; i++) {
        uint k = uint(inputs[i]) * 0xcc9e2d51u;
        k = rotl(k, 15) * 0x1b873593u;
        h = rotl(h ^ k, 13) * 5u + 0xe6546b64u;
        results[i] = h;
    }
    h ^= h >> 16; h *= 0x85ebca6bu; h ^= h >> 13; h *= 0xc2b2ae35u; h ^= h >> 16;
    results[16] = h;
}
