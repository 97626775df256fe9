// an explicit-stack quick sort of an array
// expect: 00000000 00000003 00000004 00000006 00000007 0000000a 0000000b 0000000d 0000000e 00000011 00000014 00000015
// expect: 00000017 00000018 0000001b 0000001e 0000001f 00000021 00000022 00000025 00000028 00000029 0000002c 0000002f
// expect: 00000030 00000032 00000033 00000036 00000039 0000003a 0000003c 0000003d
#version 450
layout(local_size_x = 1) in;
layout(std430, binding = 0) buffer Results { uint results[]; };
layout(std430, binding = 1) readonly buffer Inputs { int inputs[]; };

void main() {
    int a[32];
    for (int i = 0; i < 32; i++) a[i] = (inputs[i] * 37 + 11) % 64;
    int stack[32];
    int top = 0;
    stack[top++] = 0; stack[top++] = 31;
    while (top > 0) {
        int hi = stack[--top];
        int lo = stack[--top];
        if (lo >= hi) continue;
        int p = a[(lo + hi) / 2];
        int i = lo, j = hi;
        while (i <= j) {
            while (a[i] < p) i++;
            while (a[j] > p) j--;
            if (i <= j) { int t = a[i]; a[i] = a[j]; a[j] = t; i++; j--; }
        }
        stack[top++] = lo; stack[top++] = j;
        stack[top++] = i; stack[top++] = hi;
    }
    for (int i = 0; i < 32; i++) results[i] = uint(a[i]);
}
