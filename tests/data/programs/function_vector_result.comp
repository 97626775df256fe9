// a function's result is indexed, swizzled and used at once
// expect: 40c00000 41000000 42200000 41f00000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

vec4 make(float x) { return vec4(x, x * 2.0, x * 3.0, x * 4.0); }
void main() {
    float x = float(inputs[2]);
    results[0] = floatBitsToUint(make(x).z);
    results[1] = floatBitsToUint(make(x).wy.x);
    results[2] = floatBitsToUint(dot(make(x), make(1.0).wzyx));
    vec3 v = make(x).xyz + make(x).yzw;
    results[3] = floatBitsToUint(v.x + v.y + v.z);
}
