// sphere tracing of a small signed-distance scene
// expect about: 40090e3c 400276ae 40007a32 400276ae 40090e3c 40186606 407181f8 407aabf1
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

float sphere(vec3 p, float r) { return length(p) - r; }
float box(vec3 p, vec3 b) { vec3 d = abs(p) - b; return length(max(d, vec3(0.0))) + min(max(d.x, max(d.y, d.z)), 0.0); }
float scene(vec3 p) { return min(sphere(p - vec3(0.0, 0.0, 3.0), 1.0), box(p - vec3(1.5, 0.0, 4.0), vec3(0.5))); }
void main() {
    for (int i = 0; i < 8; i++) {
        vec3 d = normalize(vec3(float(inputs[i]) * 0.1 - 0.2, 0.05, 1.0));
        float t = 0.0;
        int steps = 0;
        for (; steps < 48; steps++) {
            float h = scene(d * t);
            if (h < 0.001) break;
            t += h;
            if (t > 20.0) break;
        }
        results[i] = floatBitsToUint(min(t, 20.0));
    }
}
