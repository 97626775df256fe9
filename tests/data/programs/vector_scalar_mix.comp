// vectors with scalars on either side of an operator
// expect: c3470000 43528000 42780000 446e4000 00000018 0001ff59
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    vec3 v = vec3(1.0, 2.0, 4.0);
    float s = float(inputs[2]);
    vec3 a = s - v, b = v / s, c = s / v, d = 1.0 + v * s;
    ivec2 i = ivec2(7, 9) % 4 + inputs[1];
    uvec3 u = (uvec3(1u, 2u, 3u) << 2u) | 1u;
    results[0] = floatBitsToUint(a.x + a.y * 10.0 + a.z * 100.0);
    results[1] = floatBitsToUint(b.x + b.y * 10.0 + b.z * 100.0);
    results[2] = floatBitsToUint(c.x + c.y * 10.0 + c.z * 100.0);
    results[3] = floatBitsToUint(d.x + d.y * 10.0 + d.z * 100.0);
    results[4] = uint(i.x + i.y * 10);
    results[5] = u.x + u.y * 100u + u.z * 10000u;
}
