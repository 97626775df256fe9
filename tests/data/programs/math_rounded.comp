// transcendental functions
// expect about: 3f48881d 3f1f21d4 3fa14cde 401d6a24 bdd7c743 3f44b80e 3f72dce9 3f86ec81 3feedb42 be1ba6b4 3f8f6034 3ee6ee18
// expect about: 3f3b99b6 4004fc35 3c80adfc 424e43ca 3f8364e7 3f375f4c 3ed9ba5f
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    float x = float(inputs[3]) * 0.3;
    results[0] = floatBitsToUint(sin(x)); results[1] = floatBitsToUint(cos(x)); results[2] = floatBitsToUint(tan(x));
    results[3] = floatBitsToUint(exp(x)); results[4] = floatBitsToUint(log(x)); results[5] = floatBitsToUint(pow(x, 2.5));
    results[6] = floatBitsToUint(sqrt(x)); results[7] = floatBitsToUint(inversesqrt(x)); results[8] = floatBitsToUint(exp2(x));
    results[9] = floatBitsToUint(log2(x)); results[10] = floatBitsToUint(asin(x)); results[11] = floatBitsToUint(acos(x));
    results[12] = floatBitsToUint(atan(x)); results[13] = floatBitsToUint(atan(x, -0.5));
    results[14] = floatBitsToUint(radians(x)); results[15] = floatBitsToUint(degrees(x));
    results[16] = floatBitsToUint(sinh(x)); results[17] = floatBitsToUint(tanh(x));
    results[18] = floatBitsToUint(smoothstep(0.0, 2.0, x));
}
