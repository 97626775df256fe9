// a constant array of vectors, rotated and summed
// expect: 40800000 00000000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

const vec2 offsets[4] = vec2[4](vec2(-1.0, -1.0), vec2(1.0, -1.0), vec2(1.0, 1.0), vec2(-1.0, 1.0));
void main() {
    vec2 s = vec2(0.0);
    for (int i = 0; i < 4; i++) s += offsets[i].yx * float(inputs[i + 1]);
    results[0] = floatBitsToUint(s.x);
    results[1] = floatBitsToUint(s.y);
}
