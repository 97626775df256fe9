// a std140 uniform block with arrays of vectors
// expect: 4040b800 fc05c000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

layout(std140, binding = 2) uniform Params { vec4 scale; ivec4 table[4]; float bias; };
void main() {
    results[0] = floatBitsToUint(scale.x + scale.w + bias);
    int s = 0;
    for (int i = 0; i < 4; i++) s += table[i].y + table[i][inputs[2]];
    results[1] = uint(s);
}
