// bit fields, counts and searches
// expect: 000000d2 00000004 00000168 b4b4b4b4 00000010 00000003 0000001d 00000005 40490fdb 3fc00000 00000002
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    uint u = uint(inputs[45]) * 0x01010101u;
    int i = -inputs[45];
    results[0] = bitfieldExtract(u, 4, 8); results[1] = uint(bitfieldExtract(i, 2, 4)); results[2] = bitfieldInsert(0u, u, 3, 7);
    results[3] = bitfieldReverse(u); results[4] = uint(bitCount(u)); results[5] = uint(findLSB(uint(inputs[40])));
    results[6] = uint(findMSB(u)); results[7] = uint(findMSB(i));
    results[8] = floatBitsToUint(uintBitsToFloat(0x40490fdbu)); results[9] = uint(floatBitsToInt(1.5));
    results[10] = uint(bitCount(uvec2(u, 3u)).y);
}
