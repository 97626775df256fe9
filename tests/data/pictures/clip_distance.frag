#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
void main() { out_color = vec4(s_texcoord, 0.5, 1.0); }
