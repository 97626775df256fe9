// a curve evaluated by repeated interpolation in arrays of vectors
// expect about: 00000000 00000000 40800000 40000000 40a00000 40000000 40800000 41800000 00000000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

vec3 curve(vec3 points[5], float t) {
    for (int n = 4; n > 0; n--)
        for (int i = 0; i < n; i++) points[i] = mix(points[i], points[i + 1], t);
    return points[0];
}
void main() {
    vec3 points[5];
    for (int i = 0; i < 5; i++) points[i] = vec3(float(i), float(inputs[i] * inputs[i]), float(4 - i));
    for (int k = 0; k < 3; k++) {
        vec3 p = curve(points, float(k) * 0.5);
        results[k * 3] = floatBitsToUint(p.x); results[k * 3 + 1] = floatBitsToUint(p.y); results[k * 3 + 2] = floatBitsToUint(p.z);
    }
}
