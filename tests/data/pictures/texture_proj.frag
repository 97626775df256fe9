#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
layout(set = 0, binding = 0) uniform sampler s_sampler;
layout(set = 1, binding = 0) uniform texture2D s_texture;
void main() {
    vec3 p = vec3(s_texcoord, 0.5 + s_texcoord.x);
    out_color = textureProj(sampler2D(s_texture, s_sampler), p) + textureProjLod(sampler2D(s_texture, s_sampler), vec4(p.xy, 0.0, p.z), 2.0) * 0.5;
}
