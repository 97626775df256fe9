#version 450
layout(location = 0) out vec3 s_color;
void main() {
    float a = float(gl_VertexIndex) * 2.1;
    gl_Position = vec4(cos(a) * 0.7, sin(a) * 0.7, 0.0, 1.0);
    s_color = vec3(cos(a), sin(a), 1.0);
}
