#version 450
layout(local_size_x = 4) in; layout(std430, binding = 0) buffer Data { float v[4][4]; mat4 m[]; } data[2];
const int K = 3; const float kern[K * K] = float[K * K](1, 2, 1, 2, 4, 2, 1, 2, 1); float g(float a[K * K], int i) { return a[i]; }
void fill(out float a[4]) { for (int i = 0; i < a.length(); ++i) a[i] = float(i); }
void main() { float a[4]; fill(a); data[1].v[2] = a; data[0].m[1][2] = vec4(a[0], a[1], a[2], a[3]); float loc[4] = data[0].v[1]; data[0].v[3][1] = g(kern, 4) + loc[2]; float b[2][3]; b[1][2] = 1.0; b[0] = b[1]; if (a == loc) data[0].v[0][0] = 1.0; }
