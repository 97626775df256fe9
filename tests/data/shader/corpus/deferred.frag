#version 450

layout(binding = 1) uniform sampler2D samplerPosition;
layout(binding = 2) uniform sampler2D samplerNormal;
layout(binding = 3) uniform sampler2D samplerAlbedo;
layout(location = 0) in vec2 inUV;
layout(location = 0) out vec4 outFragcolor;

struct Light {
    vec4 position;
    vec3 color;
    float radius;
};

layout(binding = 4) uniform UBO {
    Light lights[6];
    vec4 viewPos;
    int displayDebugTarget;
} ubo;

void main() {
    vec3 fragPos = texture(samplerPosition, inUV).rgb;
    vec3 normal = texture(samplerNormal, inUV).rgb;
    vec4 albedo = texture(samplerAlbedo, inUV);
    if(ubo.displayDebugTarget > 0) {
        switch(ubo.displayDebugTarget) {
        case 1: outFragcolor.rgb = fragPos; break;
        case 2: outFragcolor.rgb = normal; break;
        case 3: outFragcolor.rgb = albedo.rgb; break;
        case 4: outFragcolor.rgb = albedo.aaa; break;
        }
        outFragcolor.a = 1.0;
        return;
    }
    vec3 fragcolor = albedo.rgb * 0.0;
    for(int i = 0; i < 6; ++i) {
        vec3 L = ubo.lights[i].position.xyz - fragPos;
        float dist = length(L);
        vec3 V = ubo.viewPos.xyz - fragPos;
        V = normalize(V);
        L = normalize(L);
        float atten = ubo.lights[i].radius / (pow(dist, 2.0) + 1.0);
        vec3 N = normalize(normal);
        float NdotL = max(0.0, dot(N, L));
        vec3 diff = ubo.lights[i].color * albedo.rgb * NdotL * atten;
        vec3 R = reflect(-L, N);
        float NdotR = max(0.0, dot(R, V));
        vec3 spec = ubo.lights[i].color * albedo.a * pow(NdotR, 16.0) * atten;
        fragcolor += diff + spec;
    }
    outFragcolor = vec4(fragcolor, 1.0);
}
