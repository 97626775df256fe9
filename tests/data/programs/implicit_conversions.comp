// integers used where floats are wanted
// expect: 41d80000 40900000 40c00000 00000008
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

float half_of(float x) { return x * 0.5; }
void main() {
    float f = inputs[7];
    f += 2;
    f = f * 3;
    vec2 v = vec2(1, 2) * 2;
    results[0] = floatBitsToUint(f);
    results[1] = floatBitsToUint(half_of(inputs[9]));
    results[2] = floatBitsToUint(v.x + v.y);
    uint u = 5;
    u += 3u;
    results[3] = u;
}
