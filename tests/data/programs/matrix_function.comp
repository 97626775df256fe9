// a matrix returned by a function, composed and applied
// expect: c0400000 c0800000 c0800000 40400000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

mat2 rotation(float quarter) {
    float c = (quarter == 0.0) ? 1.0 : 0.0;
    float s = (quarter == 0.0) ? 0.0 : 1.0;
    return mat2(c, s, -s, c);
}
void main() {
    mat2 r = rotation(float(inputs[1]));
    mat2 rr = r * r;
    vec2 v = rr * vec2(3.0, 4.0);
    vec2 w = r * vec2(3.0, 4.0);
    results[0] = floatBitsToUint(v.x); results[1] = floatBitsToUint(v.y);
    results[2] = floatBitsToUint(w.x); results[3] = floatBitsToUint(w.y);
}
