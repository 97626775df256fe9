// operator precedence over many levels
// expect: 00000027 ffffffd8 00000005 0000000f 00000001 ffffffa6
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int a = inputs[2], b = inputs[3], c = inputs[5], d = inputs[7];
    results[0] = uint(a + b * c - d / a % b << 1 & 0xFF | a ^ c);
    results[1] = uint(-a * -b + ~c - (d - a) * (b + c));
    results[2] = uint((a < b) == (c < d) ? a + b : c - d);
    results[3] = uint(a | b & c ^ d << 2 >> 1);
    results[4] = uint(a + b > c - d && a * b < c * d || a == d ? 1 : 0);
    results[5] = uint(((((a + b) * c) - d) / (a - b)) * (((c))));
}
