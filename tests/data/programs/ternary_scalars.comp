// nested conditional operators over integers and floats
// expect: 000000d2 000000d3 000000de 0000007b 00000086 00000087
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    for (int i = 0; i < 6; i++) {
        int x = inputs[i];
        int r = (x < 2) ? 10 + x : (x < 4) ? 20 + x : 30 + x;
        float f = (x > 2) ? 1.5 : -2.5;
        results[i] = uint(r) + ((f > 0.0) ? 100u : 200u);
    }
}
