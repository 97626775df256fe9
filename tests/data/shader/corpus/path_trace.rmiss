#version 460
#extension GL_EXT_ray_tracing : require

struct Hit {
    vec3 radiance;
    vec3 throughput;
    vec3 origin;
    vec3 direction;
    uint seed;
    bool done;
};
layout(location = 0) rayPayloadInEXT Hit hit;

layout(push_constant) uniform Sky {
    vec4 zenith;
    vec4 horizon;
    vec4 sun;
};

void main() {
    float up = clamp(gl_WorldRayDirectionEXT.y * 0.5 + 0.5, 0.0, 1.0);
    hit.radiance = mix(horizon.rgb, zenith.rgb, up);
    hit.radiance += pow(max(dot(gl_WorldRayDirectionEXT, sun.xyz), 0.0), 512.0) * sun.w;
    hit.done = true;
}
