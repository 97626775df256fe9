#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
layout(std140, set = 2, binding = 0) uniform Parameters { vec4 values[4]; mat4 transform; ivec4 numbers; };
void main() {
    vec4 v = transform * vec4(s_texcoord, 0.5, 1.0);
    out_color = v * values[numbers.x] + values[int(s_texcoord.x * 4.0) & 3];
    out_color.w = transform[1][2] + float(numbers.y);
}
