#version 450

// Metal and roughness, one light of each kind.
layout(location = 0) in vec3 inWorldPos;
layout(location = 1) in vec3 inNormal;
layout(location = 2) in vec2 inUV;
layout(location = 3) in vec4 inTangent;
layout(location = 0) out vec4 outColor;

layout(set = 0, binding = 0) uniform Scene {
    mat4 view_projection;
    vec4 camera;
    vec4 lights[4];
    vec3 ambient;
    float exposure;
} scene;

layout(set = 1, binding = 0) uniform sampler2D albedoMap;
layout(set = 1, binding = 1) uniform sampler2D normalMap;
layout(set = 1, binding = 2) uniform sampler2D ormMap;

const float PI = 3.14159265359;
const vec3 F0_DIELECTRIC = vec3(0.04);

struct Surface {
    vec3 albedo;
    vec3 normal;
    float occlusion;
    float roughness;
    float metallic;
};

float distribution(float NdotH, float roughness) {
    float a = roughness * roughness;
    float a2 = a * a;
    float d = NdotH * NdotH * (a2 - 1.0) + 1.0;
    return a2 / (PI * d * d);
}

float geometry(float NdotV, float NdotL, float roughness) {
    float r = roughness + 1.0;
    float k = (r * r) / 8.0;
    float v = NdotV / (NdotV * (1.0 - k) + k);
    float l = NdotL / (NdotL * (1.0 - k) + k);
    return v * l;
}

vec3 fresnel(float cosTheta, vec3 F0) { return F0 + (1.0 - F0) * pow(clamp(1.0 - cosTheta, 0.0, 1.0), 5.0); }

Surface readSurface() {
    Surface s;
    s.albedo = pow(texture(albedoMap, inUV).rgb, vec3(2.2));
    vec3 orm = texture(ormMap, inUV).rgb;
    s.occlusion = orm.r;
    s.roughness = max(orm.g, 0.045);
    s.metallic = orm.b;
    vec3 N = normalize(inNormal);
    vec3 T = normalize(inTangent.xyz);
    vec3 B = cross(N, T) * inTangent.w;
    mat3 TBN = mat3(T, B, N);
    s.normal = normalize(TBN * (texture(normalMap, inUV).xyz * 2.0 - 1.0));
    return s;
}

void main() {
    Surface s = readSurface();
    vec3 V = normalize(scene.camera.xyz - inWorldPos);
    vec3 F0 = mix(F0_DIELECTRIC, s.albedo, s.metallic);
    vec3 Lo = vec3(0.0);
    for(int i = 0; i < scene.lights.length(); i++) {
        vec3 toLight = scene.lights[i].xyz - inWorldPos;
        float dist = length(toLight);
        vec3 L = toLight / dist;
        vec3 H = normalize(V + L);
        float NdotL = max(dot(s.normal, L), 0.0);
        if(NdotL <= 0.0) continue;
        float NdotV = max(dot(s.normal, V), 1e-4);
        float NdotH = max(dot(s.normal, H), 0.0);
        vec3 F = fresnel(max(dot(H, V), 0.0), F0);
        vec3 specular = distribution(NdotH, s.roughness) * geometry(NdotV, NdotL, s.roughness) * F /
                        max(4.0 * NdotV * NdotL, 1e-3);
        vec3 kD = (vec3(1.0) - F) * (1.0 - s.metallic);
        Lo += (kD * s.albedo / PI + specular) * scene.lights[i].w / (dist * dist) * NdotL;
    }
    vec3 color = scene.ambient * s.albedo * s.occlusion + Lo;
    color = vec3(1.0) - exp(-color * scene.exposure);
    outColor = vec4(pow(color, vec3(1.0 / 2.2)), 1.0);
}
