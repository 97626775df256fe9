// functions whose results are exact
// expect: 3fe00000 c0000000 bf800000 3e800000 bf800000 bf800000 c0000000 40400000 bf800000 00000000 00000006 0000005d
// expect: 00000014 3f800000 3fc00000 40e00000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    float x = -float(inputs[7]) * 0.25;
    results[0] = floatBitsToUint(abs(x)); results[1] = floatBitsToUint(floor(x)); results[2] = floatBitsToUint(ceil(x));
    results[3] = floatBitsToUint(fract(x)); results[4] = floatBitsToUint(sign(x)); results[5] = floatBitsToUint(trunc(x));
    results[6] = floatBitsToUint(min(x, -2.0)); results[7] = floatBitsToUint(max(vec2(x, 3.0), vec2(0.0)).y);
    results[8] = floatBitsToUint(clamp(x, -1.0, 1.0)); results[9] = floatBitsToUint(step(0.0, x));
    results[10] = uint(abs(inputs[3] - 9)); results[11] = uint(min(inputs[3], inputs[9]) + max(inputs[3], inputs[9]) * 10);
    results[12] = uint(clamp(inputs[30], 5, 20)); results[13] = floatBitsToUint(mod(-7.0, float(inputs[4])));
    results[14] = floatBitsToUint(mix(1.0, 3.0, 0.25)); results[15] = floatBitsToUint(fma(2.0, float(inputs[3]), 1.0));
}
