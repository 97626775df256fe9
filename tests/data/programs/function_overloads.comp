// overloads chosen by the types of their arguments
// expect: 00000001 00000002 00000003 00000004 00000005 00000006 00000007 00000008 00000009
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

int kind(int x) { return 1; }
int kind(uint x) { return 2; }
int kind(float x) { return 3; }
int kind(vec2 x) { return 4; }
int kind(ivec2 x) { return 5; }
int kind(int x, int y) { return 6; }
int kind(vec3 x, float y) { return 7; }
int kind(mat2 x) { return 8; }
int kind(bool x) { return 9; }
void main() {
    int i = inputs[1];
    results[0] = uint(kind(i));
    results[1] = uint(kind(uint(i)));
    results[2] = uint(kind(float(i)));
    results[3] = uint(kind(vec2(i)));
    results[4] = uint(kind(ivec2(i)));
    results[5] = uint(kind(i, i));
    results[6] = uint(kind(vec3(i), 1.0));
    results[7] = uint(kind(mat2(1.0)));
    results[8] = uint(kind(i > 0));
}
