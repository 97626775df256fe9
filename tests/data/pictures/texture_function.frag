#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
layout(set = 0, binding = 0) uniform sampler s_sampler;
layout(set = 1, binding = 0) uniform texture2D s_texture;
vec4 get(vec2 texcoord, float level) {
    vec4 sum = vec4(0.0);
    for(int y = -1; y <= 1; y++) {
        for(int x = -1; x <= 1; x++) sum += textureLod(sampler2D(s_texture, s_sampler), texcoord + vec2(x, y) / 16.0, level);
    }
    return sum / 9.0;
}
void main() {
    out_color = get(s_texcoord, 0.0) + get(s_texcoord.yx, 1.0) * 0.25;
}
