// precision qualifiers and statements change nothing
// expect: 41000000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

precision highp float;
precision mediump int;
highp float scale(mediump float x) { lowp float y = x * 2.0; return y; }
void main() {
    highp int i = inputs[4];
    results[0] = floatBitsToUint(scale(float(i)));
}
