// one step of the game of life on a small board in an array
// expect: 000000c7 0000001c 000000e3 00000018 000000c7 00000038 000000c7 00000014
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

int at(int board[64], int x, int y) { return board[((y + 8) & 7) * 8 + ((x + 8) & 7)]; }
void main() {
    int board[64];
    for (int i = 0; i < 64; i++) board[i] = (inputs[i] * inputs[i] % 11 < 4) ? 1 : 0;
    for (int y = 0; y < 8; y++) {
        uint row = 0u;
        for (int x = 0; x < 8; x++) {
            int n = 0;
            for (int dy = -1; dy <= 1; dy++)
                for (int dx = -1; dx <= 1; dx++)
                    if (dx != 0 || dy != 0) n += at(board, x + dx, y + dy);
            bool alive = at(board, x, y) == 1;
            if (n == 3 || (alive && n == 2)) row |= 1u << uint(x);
        }
        results[y] = row;
    }
}
