// conversions between all scalar types
// expect: fffffff9 00000001 3f800000 4ecb4178 00000003 00000004 000000bf 00000002 3f800000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    float f = -float(inputs[7]) - 0.75;
    results[0] = uint(int(f));
    results[1] = uint(int(bool(f)));
    results[2] = floatBitsToUint(float(f < 0.0));
    results[3] = floatBitsToUint(float(uint(inputs[60]) * 100000000u));
    results[4] = uint(3.99);
    results[5] = uint(int(uint(-1)) + 5);
    ivec3 i = ivec3(vec3(1.9, -1.9, 2.1));
    results[6] = uint(i.x + i.y * 10 + i.z * 100);
    bvec2 b = bvec2(ivec2(inputs[0], inputs[1]));
    results[7] = uint(b.x) + uint(b.y) * 2u;
    vec2 v = vec2(bvec2(true, false));
    results[8] = floatBitsToUint(v.x + v.y * 10.0);
}
