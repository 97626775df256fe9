// conditions from comparisons, logic and integers made bool
// expect: 00000037
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int a = inputs[3], b = inputs[5];
    uint r = 0u;
    if (a < b && b < 10) r |= 1u;
    if (a > b || a == 3) r |= 2u;
    if (!(a == b)) r |= 4u;
    if (bool(a)) r |= 16u;
    bool f = a <= 3;
    bool g = f && !(b >= 6);
    if (g == true) r |= 32u;
    results[0] = r;
}
