#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
layout(std140, set = 2, binding = 0) uniform Parameters { vec4 values[4]; mat4 transform; ivec4 numbers; };
void main() {
    mat2 m = mat2(cos(s_texcoord.x), sin(s_texcoord.x), -sin(s_texcoord.x), cos(s_texcoord.x));
    mat3 n = mat3(transform);
    vec2 p = m * (s_texcoord - 0.5);
    vec3 q = transpose(n) * vec3(p, 1.0);
    out_color = vec4(p, determinant(n) * 0.1, dot(q, inverse(n)[0]));
}
