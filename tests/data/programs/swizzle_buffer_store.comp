// swizzled and indexed stores into vectors of a buffer
// expect: 459d3800 462dfc00
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

layout(std430, binding = 2) buffer Data { vec4 data[]; };
void main() {
    data[0] = vec4(0.0);
    data[1] = vec4(9.0);
    data[0].yw = vec2(3.0, 5.0);
    data[0].x = 1.0;
    data[inputs[1]].zyx = data[0].xyw;
    data[1][inputs[3]] += 2.0;
    results[0] = floatBitsToUint(data[0].x + data[0].y * 10.0 + data[0].z * 100.0 + data[0].w * 1000.0);
    results[1] = floatBitsToUint(data[1].x + data[1].y * 10.0 + data[1].z * 100.0 + data[1].w * 1000.0);
}
