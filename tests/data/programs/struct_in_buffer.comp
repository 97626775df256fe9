// an array of structures in a storage buffer
// expect: 41f80000 00004c32
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

struct Body { vec3 position; float mass; ivec4 extra; };
layout(std430, binding = 2) buffer Bodies { Body bodies[]; };
void main() {
    for (int i = 0; i < 4; i++) {
        bodies[i].position = vec3(float(i), float(i * 2), 0.5);
        bodies[i].mass = float(inputs[i]) + 0.25;
        bodies[i].extra = ivec4(i, i + 1, i + 2, i + 3);
    }
    float m = 0.0;
    ivec4 e = ivec4(0);
    for (int i = 0; i < 4; i++) { m += bodies[i].mass * bodies[i].position.y; e += bodies[i].extra; }
    results[0] = floatBitsToUint(m);
    results[1] = uint(e.x + e.y * 10 + e.z * 100 + e.w * 1000);
}
