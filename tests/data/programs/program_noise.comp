// value noise with an integer hash
// expect about: 3f3b6877 3f38b805 3f342c5c 3f34a7e0 3f4dd183 3f68e02a 3f6806b7 3f561fbe
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

float hash(ivec2 p) {
    uint h = uint(p.x) * 374761393u + uint(p.y) * 668265263u;
    h = (h ^ (h >> 13)) * 1274126177u;
    return float(h >> 8) / 16777216.0;
}
float noise(vec2 p) {
    ivec2 i = ivec2(floor(p));
    vec2 f = fract(p);
    vec2 u = f * f * (3.0 - 2.0 * f);
    return mix(mix(hash(i), hash(i + ivec2(1, 0)), u.x), mix(hash(i + ivec2(0, 1)), hash(i + ivec2(1, 1)), u.x), u.y);
}
void main() {
    for (int i = 0; i < 8; i++) results[i] = floatBitsToUint(noise(vec2(float(inputs[i]) * 0.37, 1.25)));
}
