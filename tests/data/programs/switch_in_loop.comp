// a switch inside a loop, break leaves only the switch
// expect: 005c2a25
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    uint r = 0u;
    for (int i = 0; i < 6; i++) {
        switch (inputs[i]) {
        case 1: r += 1u; break;
        case 3: r += 100u; break;
        default: r += 10000u;
        }
        r += 1000000u;
    }
    results[0] = r;
}
