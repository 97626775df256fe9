#version 450
// Light of a cube, as it falls on a face of another.
layout(location = 0) in vec2 inUV;
layout(location = 0) out vec4 outColor;
layout(set = 0, binding = 2) uniform samplerCube environment;
layout(push_constant) uniform Options {
    layout(offset = 0) mat3 face;
    layout(offset = 64) uint samples;
    layout(offset = 68) float level;
} options;

float reversed(uint i) { return float(bitfieldReverse(i)) * 2.3283064365386963e-10; }

mat3 around(vec3 n) {
    float s = n.z < 0.0 ? -1.0 : 1.0;
    float a = -1.0 / (s + n.z);
    float b = n.x * n.y * a;
    return mat3(vec3(1.0 + s * n.x * n.x * a, s * b, -s * n.x), vec3(b, s + n.y * n.y * a, -n.y), n);
}

void main() {
    vec3 n = normalize(options.face * vec3(inUV * 2.0 - 1.0, 1.0));
    mat3 frame = around(n);
    vec3 sum = vec3(0.0);
    for(uint i = 0u; i < options.samples; i++) {
        float phi = 6.2831853 * float(i) / float(options.samples);
        float r2 = reversed(i);
        vec3 d = vec3(vec2(cos(phi), sin(phi)) * sqrt(r2), sqrt(1.0 - r2));
        sum += textureLod(environment, frame * d, options.level).rgb;
    }
    outColor = vec4(sum / float(options.samples), 1.0);
}
