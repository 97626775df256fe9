// returns inside the cases of an unsigned switch
// expect: 0000002c 00000037 00000001
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

uint name(uint x) {
    switch (x) {
    case 4u: return 44u;
    case 5u: return 55u;
    default: return 1u;
    }
    return 0u;
}
void main() {
    results[0] = name(uint(inputs[4])); results[1] = name(uint(inputs[5])); results[2] = name(uint(inputs[6]));
}
