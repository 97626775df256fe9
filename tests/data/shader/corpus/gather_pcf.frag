#version 450
layout(location = 0) in vec4 shadow;
layout(location = 0) out vec4 color;
layout(binding = 0) uniform sampler2DShadow map;
layout(binding = 1) uniform sampler2D color_map;
layout(binding = 2) uniform samplerCubeShadow point;

const ivec2 spots[4] = ivec2[4](ivec2(-1, -1), ivec2(1, -1), ivec2(-1, 1), ivec2(1, 1));

void main() {
    vec3 p = shadow.xyz / shadow.w;
    vec4 sum = textureGather(map, p.xy, p.z);
    sum += textureGatherOffset(map, p.xy, p.z, ivec2(1, 0));
    float lit = dot(sum, vec4(0.125));
    lit = mix(lit, textureProj(map, shadow), 0.25);
    lit *= texture(point, vec4(normalize(p), length(p)));
    vec4 red = textureGatherOffsets(color_map, p.xy, spots, 0);
    vec4 blue = textureGather(color_map, p.xy, 2);
    color = vec4(red.wzx * lit, blue.y);
}
