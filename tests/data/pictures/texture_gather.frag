#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
layout(set = 0, binding = 0) uniform sampler s_sampler;
layout(set = 1, binding = 0) uniform texture2D s_texture;
void main() {
    vec4 r = textureGather(sampler2D(s_texture, s_sampler), s_texcoord);
    vec4 g = textureGather(sampler2D(s_texture, s_sampler), s_texcoord, 1);
    vec4 b = textureGatherOffset(sampler2D(s_texture, s_sampler), s_texcoord, ivec2(1, 1), 2);
    out_color = vec4(dot(r, vec4(0.25)), g.x - g.z, b.y, b.w);
}
