// packing and unpacking of small formats
// expect: 40ff0080 c0003800 7fffc000 8000ffff 7f004081 c0000000 3f800000 3f800000 3f800000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    float x = float(inputs[1]) * 0.5;
    results[0] = packUnorm4x8(vec4(x, 0.0, 1.0, 0.25)); results[1] = packHalf2x16(vec2(x, -2.0));
    results[2] = packSnorm2x16(vec2(-x, 1.0)); results[3] = packUnorm2x16(vec2(1.0, x)); results[4] = packSnorm4x8(vec4(-1.0, x, 0.0, 1.0));
    results[5] = floatBitsToUint(unpackHalf2x16(results[1]).y); results[6] = floatBitsToUint(unpackUnorm4x8(0xFF00FF00u).y);
    results[7] = floatBitsToUint(unpackSnorm2x16(0x80017FFFu).x); results[8] = floatBitsToUint(unpackUnorm2x16(0xFFFF0000u).y);
}
