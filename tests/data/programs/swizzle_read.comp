// reads of one to four letters in all three alphabets
// expect: 46070800 42780000 43760000 41c00000 40c00000 40400000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    vec4 v = vec4(1.0, 2.0, 3.0, 4.0) * float(inputs[2]);
    results[0] = floatBitsToUint(v.x + v.g * 10.0 + v.p * 100.0 + v.w * 1000.0);
    vec2 a = v.zx;
    vec3 b = v.bgr;
    vec4 c = v.ttst;
    results[1] = floatBitsToUint(a.x * 10.0 + a.y);
    results[2] = floatBitsToUint(b.x + b.y * 10.0 + b.z * 100.0);
    results[3] = floatBitsToUint(c.x + c.z * 10.0);
    results[4] = floatBitsToUint(v.wzyx.xy.y);
    results[5] = floatBitsToUint(vec2(3.0, 4.0).yyx.z);
}
