// component comparisons with any, all and not
// expect: 0000000d 00000001 00000002
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    ivec4 a = ivec4(1, 5, 3, 7), b = ivec4(inputs[3]);
    bvec4 lt = lessThan(a, b), eq = equal(a, b);
    results[0] = uint(lt.x) + uint(lt.y) * 2u + uint(eq.z) * 4u + uint(any(lt)) * 8u + uint(all(eq)) * 16u;
    results[1] = uint(all(not(greaterThan(vec3(1.0), vec3(2.0, 1.0, 3.0)))));
    results[2] = uint(any(notEqual(a, b))) * 2u;
}
