// shifts and bitwise operators on both signs
// expect: fffffff6 3ffffff6 fffffb00 0000000c 0000006d 000000d2 ffffffd2 000002c9 00000050
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int a = -inputs[40];
    uint b = uint(inputs[45]);
    results[0] = uint(a >> 2); results[1] = uint(a) >> 2; results[2] = uint(a << 5);
    results[3] = b & 12u; results[4] = b | 64u; results[5] = b ^ 0xFFu; results[6] = ~b;
    a &= 0xFF; a |= 0x300; a ^= 0x111;
    results[7] = uint(a);
    b <<= 3; b >>= 1; b %= 100u;
    results[8] = b;
}
