// literals in all their spellings
// expect: 0000010f 0000008e ffffffff 447a0000 3f000000 40000000 3c4ccccd ffffffff 3f800000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    results[0] = 0xFFu + 0x10u; results[1] = uint(0x7f) + 15u; results[2] = 4294967295u;
    results[3] = floatBitsToUint(1e3); results[4] = floatBitsToUint(.5f); results[5] = floatBitsToUint(2.);
    results[6] = floatBitsToUint(1.25E-2); results[7] = uint(-1); results[8] = floatBitsToUint(-0.0 + 1.0F);
}
