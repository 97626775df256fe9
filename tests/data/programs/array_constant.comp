// constant arrays with initialiser lists in constructors, read at runtime
// expect: 0000017a 40000000 0000000d
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

const int primes[8] = int[8](2, 3, 5, 7, 11, 13, 17, 19);
const float weights[5] = float[](0.0625, 0.25, 0.375, 0.25, 0.0625);
void main() {
    int s = 0;
    for (int i = 0; i < 8; i++) s += primes[i] * inputs[i];
    float w = 0.0;
    for (int i = 0; i < weights.length(); i++) w += weights[i] * float(inputs[i]);
    results[0] = uint(s);
    results[1] = floatBitsToUint(w);
    results[2] = uint(primes[inputs[5]]);
}
