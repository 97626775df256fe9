// a structure that holds an array, indexed by a runtime value
// expect: 00001f51 00000011
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

struct Table { int values[6]; int count; };
void main() {
    Table t;
    t.count = 6;
    for (int i = 0; i < t.count; i++) t.values[i] = i * i + inputs[1];
    int sum = 0;
    for (int i = 5; i >= 0; i--) sum = sum * 3 + t.values[i];
    results[0] = uint(sum);
    results[1] = uint(t.values[inputs[4]]);
}
