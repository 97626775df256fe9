// an array of structures, sorted in place by one member
// expect: 00000001 00000016 00000023 00000030 00000045 00000052 00000067 00000074
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

struct Item { int key; uint tag; };
void main() {
    Item items[8];
    for (int i = 0; i < 8; i++) { items[i].key = (inputs[i] * 5 + 3) % 8; items[i].tag = uint(i); }
    for (int i = 0; i < 8; i++) {
        for (int j = 0; j + 1 < 8 - i; j++) {
            if (items[j].key > items[j + 1].key) {
                Item t = items[j];
                items[j] = items[j + 1];
                items[j + 1] = t;
            }
        }
    }
    for (int i = 0; i < 8; i++) results[i] = uint(items[i].key) * 16u + items[i].tag;
}
