#version 450
layout(location = 0) in vec4 s_color;
layout(location = 0) out vec4 out_color;
void main() { out_color = s_color + vec4(float(gl_PrimitiveID & 7)); }
