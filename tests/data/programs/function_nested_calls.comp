// calls as arguments of calls
// expect about: 40a00000 40b00000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

float sq(float x) { return x * x; }
float hyp(float a, float b) { return sqrt(sq(a) + sq(b)); }
float mixed(float a, float b, float t) { return a * (1.0 - t) + b * t; }
void main() {
    results[0] = floatBitsToUint(hyp(hyp(0.0, 3.0), sq(2.0)));
    results[1] = floatBitsToUint(mixed(sq(float(inputs[2])), hyp(6.0, 8.0), 0.25));
}
