// escape counts of the Mandelbrot set
// expect: 00000000 00000003 00000003 00000004 00000008 00000040 00000017 00000040 00000040 00000040 00000040 00000040
// expect: 00000040 0000000c 00000003 00000002
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

uint escape(vec2 c) {
    vec2 z = vec2(0.0);
    for (uint i = 0u; i < 64u; i++) {
        z = vec2(z.x * z.x - z.y * z.y, 2.0 * z.x * z.y) + c;
        if (dot(z, z) > 4.0) return i;
    }
    return 64u;
}
void main() {
    for (int i = 0; i < 16; i++) results[i] = escape(vec2(-2.0 + float(inputs[i]) * 0.1875, 0.25));
}
