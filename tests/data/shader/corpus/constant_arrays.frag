#version 450
int[] a = int[](1, 2, 3); int b[] = { 4, 5 }; const vec2[2] c = vec2[2](vec2(1), vec2(2)); float[2][2] d = float[2][2](float[2](1.0,2.0), float[2](3.0,4.0));
struct Light { vec3 pos; float r; }; const Light L = Light(vec3(1.0), 2.0); const Light LS[2] = Light[](Light(vec3(1.0), 2.0), Light(vec3(3.0), 4.0));
layout(location = 0) out vec4 color;
void main() { color = vec4(a[1] + b.length(), c[1], d[1][0]) + vec4(L.pos * LS[1].r, 1.0); for(int i = 0; i < LS.length(); i++) color.x += LS[i].r; }
