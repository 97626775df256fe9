// dot, cross, length, distance, normalize, reflect, refract, faceforward
// expect about: 41c80000 40a00000 40ac5345 c1000000 40c00000 3f19999a c0800000 3f0a3d71 c0000000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    vec3 a = vec3(float(inputs[3]), 0.0, 4.0), b = vec3(0.0, 2.0, 0.0);
    vec3 c = cross(a, b), n = normalize(a), r = reflect(a, vec3(0.0, 0.0, 1.0));
    results[0] = floatBitsToUint(dot(a, a)); results[1] = floatBitsToUint(length(a)); results[2] = floatBitsToUint(distance(a, b));
    results[3] = floatBitsToUint(c.x); results[4] = floatBitsToUint(c.z); results[5] = floatBitsToUint(n.x);
    results[6] = floatBitsToUint(r.z); results[7] = floatBitsToUint(refract(n, vec3(0.0, 0.0, -1.0), 0.9).x);
    results[8] = floatBitsToUint(faceforward(b, a, vec3(0.0, 0.0, 1.0)).y);
}
