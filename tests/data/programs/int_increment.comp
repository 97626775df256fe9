// prefix and postfix increments as statements and values
// expect: 0000168f 0000010e 41500000
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int a = inputs[5];
    int b = a++;
    int c = ++a;
    int d = a--;
    int e = --a;
    results[0] = uint(b * 1000 + c * 100 + d * 10 + e);
    uint arr[3];
    arr[0] = 0u; arr[1] = 5u; arr[2] = 9u;
    int i = 0;
    arr[i++] += 2u;
    arr[i]++;
    ++arr[2];
    results[1] = arr[0] * 100u + arr[1] * 10u + arr[2];
    vec2 v = vec2(1.0, 2.0);
    v++;
    v.x--;
    results[2] = floatBitsToUint(v.x * 10.0 + v.y);
}
