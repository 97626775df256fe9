// an explicit-stack quick sort of an array
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
