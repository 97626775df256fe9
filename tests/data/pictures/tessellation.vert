#version 450
void main() {
    int i = gl_VertexIndex % 3;
    gl_Position = vec4(float(i & 1) * 1.6 - 0.8, float(i >> 1) * 1.6 - 0.8, 0.0, 1.0);
}
