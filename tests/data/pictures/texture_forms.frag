#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
layout(set = 0, binding = 0) uniform sampler s_sampler;
layout(set = 1, binding = 0) uniform texture2D s_texture;
void main() {
    vec4 a = texture(sampler2D(s_texture, s_sampler), s_texcoord * 2.0);
    vec4 b = textureLod(sampler2D(s_texture, s_sampler), s_texcoord, 1.5);
    vec4 c = textureGrad(sampler2D(s_texture, s_sampler), s_texcoord, vec2(0.25, 0.0), vec2(0.0, 0.125));
    vec4 d = textureOffset(sampler2D(s_texture, s_sampler), s_texcoord, ivec2(1, -1));
    out_color = a * 0.4 + b * 0.3 + c * 0.2 + d * 0.1;
}
