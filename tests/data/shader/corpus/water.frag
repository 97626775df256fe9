#version 450
layout(location = 0) in vec3 world;
layout(location = 1) in vec3 normal;
layout(location = 2) noperspective in float foam;
layout(location = 0) out vec4 color;
layout(binding = 1) uniform sampler2D refraction;
layout(binding = 2) uniform samplerCube sky;
layout(binding = 3) uniform sampler2D depth;
layout(binding = 4) uniform Eye { vec4 position; vec4 tint; mat4 inverseProjection; } eye;

void main() {
    vec3 v = normalize(eye.position.xyz - world);
    vec3 n = gl_FrontFacing ? normal : -normal;
    vec2 screen = gl_FragCoord.xy / vec2(textureSize(refraction, 0));
    vec4 behind = eye.inverseProjection * vec4(screen * 2.0 - 1.0, textureLod(depth, screen, 0.0).r, 1.0);
    float thickness = length(behind.xyz / behind.w - world);
    vec3 absorb = exp(-thickness * (1.0 - eye.tint.rgb));
    vec3 below = texture(refraction, screen + refract(-v, n, 1.0 / 1.33).xz * 0.02).rgb * absorb;
    vec3 above = textureLod(sky, reflect(-v, n), 0.0).rgb;
    float f = 0.02 + 0.98 * pow(1.0 - max(dot(n, v), 0.0), 5.0);
    color = vec4(mix(mix(below, above, f), vec3(0.9), foam), 1.0);
}
