// an array of arrays
// expect: 0000009c 00000017
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int grid[3][4];
    for (int y = 0; y < 3; y++) for (int x = 0; x < 4; x++) grid[y][x] = y * 10 + x + inputs[0];
    int s = 0;
    for (int y = 0; y < 3; y++) s = s * 7 + grid[y][(y + inputs[1]) % 4];
    results[0] = uint(s);
    results[1] = uint(grid[inputs[2]][inputs[3]]);
}
