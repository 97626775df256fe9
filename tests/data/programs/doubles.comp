// double precision arithmetic
// expect about: 000a2c2a 00000001 3eaaaaab
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    double a = double(inputs[1]) / 3.0lf;
    double b = a * 3.0lf - 1.0lf;
    dvec2 v = dvec2(a, 2.0lf);
    results[0] = uint(v.y * 1000000.0lf * a);
    results[1] = uint(abs(b) < 1e-12lf ? 1 : 0);
    results[2] = floatBitsToUint(float(a));
}
