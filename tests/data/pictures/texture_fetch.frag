#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
layout(set = 0, binding = 0) uniform sampler s_sampler;
layout(set = 1, binding = 0) uniform texture2D s_texture;
void main() {
    ivec2 size = textureSize(sampler2D(s_texture, s_sampler), 1);
    ivec2 p = ivec2(s_texcoord * vec2(size)) % size;
    out_color = texelFetch(sampler2D(s_texture, s_sampler), p, 1);
    out_color.b += float(textureQueryLevels(sampler2D(s_texture, s_sampler))) / 16.0;
}
