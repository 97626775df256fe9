#version 450
layout(location = 0) in vec2 s_texcoord;
layout(location = 0) out vec4 out_color;
float hash(vec2 p) {
    uvec2 q = uvec2(p) * uvec2(1597334673u, 3812015801u);
    return float((q.x ^ q.y) >> 8) / 16777216.0;
}
void main() {
    vec2 i = floor(s_texcoord * 6.0), f = fract(s_texcoord * 6.0);
    vec2 u = f * f * (3.0 - 2.0 * f);
    float v = mix(mix(hash(i), hash(i + vec2(1.0, 0.0)), u.x), mix(hash(i + vec2(0.0, 1.0)), hash(i + vec2(1.0)), u.x), u.y);
    out_color = vec4(v, smoothstep(0.3, 0.7, v), step(0.5, v), clamp(v * 2.0 - 0.5, 0.0, 1.0));
}
