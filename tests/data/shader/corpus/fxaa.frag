#version 450
layout(location = 0) in vec2 uv;
layout(location = 0) out vec4 color;
layout(binding = 0) uniform sampler2D image;
layout(push_constant) uniform Push { vec2 texel; } push;

#define REDUCE_MIN (1.0/128.0)
#define REDUCE_MUL (1.0/8.0)
#define SPAN_MAX 8.0
#define LUMA(c) dot((c), vec3(0.299, 0.587, 0.114))

void main() {
    vec3 nw = textureOffset(image, uv, ivec2(-1, -1)).rgb;
    vec3 ne = textureOffset(image, uv, ivec2(1, -1)).rgb;
    vec3 sw = textureOffset(image, uv, ivec2(-1, 1)).rgb;
    vec3 se = textureOffset(image, uv, ivec2(1, 1)).rgb;
    vec4 m = texture(image, uv);
    float lNW = LUMA(nw), lNE = LUMA(ne), lSW = LUMA(sw), lSE = LUMA(se), lM = LUMA(m.rgb);
    float lMin = min(lM, min(min(lNW, lNE), min(lSW, lSE)));
    float lMax = max(lM, max(max(lNW, lNE), max(lSW, lSE)));
    vec2 dir;
    dir.x = -((lNW + lNE) - (lSW + lSE));
    dir.y = ((lNW + lSW) - (lNE + lSE));
    float reduce = max((lNW + lNE + lSW + lSE) * (0.25 * REDUCE_MUL), REDUCE_MIN);
    float rcp = 1.0 / (min(abs(dir.x), abs(dir.y)) + reduce);
    dir = min(vec2(SPAN_MAX), max(vec2(-SPAN_MAX), dir * rcp)) * push.texel;
    vec3 a = 0.5 * (texture(image, uv + dir * (1.0 / 3.0 - 0.5)).xyz + texture(image, uv + dir * (2.0 / 3.0 - 0.5)).xyz);
    vec3 b = a * 0.5 + 0.25 * (texture(image, uv + dir * -0.5).xyz + texture(image, uv + dir * 0.5).xyz);
    float l = LUMA(b);
    color = (l < lMin || l > lMax) ? vec4(a, m.a) : vec4(b, m.a);
}
