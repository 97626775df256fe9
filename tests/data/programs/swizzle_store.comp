// stores through swizzles, plain and compound
// expect: 41600000 42b20000 42700000 41100000 00009f63
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    vec4 v = vec4(1.0, 2.0, 3.0, 4.0);
    v.xz = vec2(10.0, 30.0);
    v.wy = v.xz;
    v.x += 5.0;
    v.zy *= vec2(2.0, 3.0);
    v.yxw -= vec3(1.0);
    ivec3 i = ivec3(inputs[1], inputs[2], inputs[3]);
    i.zyx = i;
    i.yz <<= 2;
    results[0] = floatBitsToUint(v.x); results[1] = floatBitsToUint(v.y);
    results[2] = floatBitsToUint(v.z); results[3] = floatBitsToUint(v.w);
    results[4] = uint(i.x + i.y * 100 + i.z * 10000);
}
