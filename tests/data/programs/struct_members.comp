// members of a local structure, read and written one by one
// expect: 00000008 00000007 00000006 bfc00000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

struct Particle {
    vec3 position;
    float mass;
    ivec2 cell;
};
void main() {
    Particle p;
    p.position = vec3(1.0, 2.0, 3.0) * float(inputs[2]);
    p.mass = p.position.x + p.position.z;
    p.cell = ivec2(p.position.yz);
    p.cell.x += inputs[3];
    p.position.y = -1.5;
    results[0] = uint(p.mass);
    results[1] = uint(p.cell.x);
    results[2] = uint(p.cell.y);
    results[3] = floatBitsToUint(p.position.y);
}
