#version 450
layout(location = 0) in vec2 inUV;
layout(location = 1) in flat uint inStyle;
layout(location = 0) out vec4 outColor;
layout(binding = 0) uniform sampler2D atlas;

struct Style {
    vec4 fill;
    vec4 outline;
    float width;
    float softness;
};

layout(std430, binding = 1) readonly buffer Styles {
    Style styles[];
};

float median(float r, float g, float b) { return max(min(r, g), min(max(r, g), b)); }

void main() {
    const Style s = styles[inStyle];
    vec3 f = texture(atlas, inUV).rgb;
    float d = median(f.r, f.g, f.b) - 0.5;
    vec2 unit = fwidth(inUV) * vec2(textureSize(atlas, 0));
    float px = d / max(length(unit), 1e-5);
    float inside = smoothstep(-s.softness, s.softness, px);
    float border = smoothstep(-s.softness, s.softness, px + s.width);
    outColor = mix(s.outline * border, s.fill, inside);
    if(outColor.a < 1.0 / 255.0) discard;
}
