#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
layout(set = 0, binding = 0) uniform sampler s_sampler;
layout(set = 1, binding = 0) uniform texture2D s_texture;
void main() {
    out_color = texture(sampler2D(s_texture, s_sampler), s_texcoord * 4.0, 1.0);
    out_color.a = textureQueryLod(sampler2D(s_texture, s_sampler), s_texcoord * 4.0).y;
}
