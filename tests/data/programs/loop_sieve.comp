// a sieve over an array of flags
// expect: 00000011 a86366c0
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    bool composite[60];
    for (int i = 0; i < 60; i++) composite[i] = false;
    int count = 0;
    uint hash = 0u;
    for (int i = 2; i < 60; i++) {
        if (composite[i]) continue;
        count++;
        hash = hash * 7u + uint(i);
        for (int j = i * i; j < 60; j += i) composite[j] = true;
    }
    results[0] = uint(count); results[1] = hash;
}
