#version 450

// One instance a sprite, no vertex buffer.
struct Sprite {
    vec4 rect;
    vec4 uv;
    float angle;
    uint color;
    int texture_index;
    float depth;
};

layout(std430, set = 0, binding = 0) readonly buffer Sprites { Sprite sprites[]; };
layout(set = 0, binding = 1) uniform View { mat3x2 matrix; vec2 size; } view;
layout(location = 0) out vec2 uv;
layout(location = 1) out vec4 color;
layout(location = 2) out flat int index;

const vec2 corners[6] = { vec2(0, 0), vec2(1, 0), vec2(0, 1), vec2(0, 1), vec2(1, 0), vec2(1, 1) };

void main() {
    Sprite s = sprites[gl_InstanceIndex];
    vec2 c = corners[gl_VertexIndex % 6];
    vec2 p = (c - 0.5) * s.rect.zw;
    float sn = sin(s.angle), cs = cos(s.angle);
    p = mat2(cs, sn, -sn, cs) * p + s.rect.xy;
    p = view.matrix * vec3(p, 1.0);
    gl_Position = vec4(p / view.size * 2.0 - 1.0, s.depth, 1.0);
    uv = mix(s.uv.xy, s.uv.zw, c);
    color = unpackUnorm4x8(s.color);
    index = s.texture_index;
}
