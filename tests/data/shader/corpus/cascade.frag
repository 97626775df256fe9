#version 450
layout(set = 0, binding = 1) uniform sampler2DArray shadowMap;
layout(set = 0, binding = 3) uniform sampler2DArrayShadow compareMap;
layout(location = 0) in vec3 inPos;
layout(location = 0) out vec4 outFragColor;
layout(set = 0, binding = 2) uniform UBO { vec4 cascadeSplits; mat4 inverseViewMat; vec3 lightDir; float _pad; int colorCascades; } ubo;
layout(set = 0, binding = 4) uniform CVPM { mat4 matrices[4]; } cascadeViewProjMatrices;
const mat4 biasMat = mat4(0.5, 0.0, 0.0, 0.0, 0.0, 0.5, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.5, 0.5, 0.0, 1.0);
float textureProj(vec4 shadowCoord, vec2 offset, uint cascadeIndex) {
    float shadow = 1.0;
    float bias = 0.005;
    if(shadowCoord.z > -1.0 && shadowCoord.z < 1.0) {
        float dist = texture(shadowMap, vec3(shadowCoord.st + offset, cascadeIndex)).r;
        if(shadowCoord.w > 0 && dist < shadowCoord.z - bias) shadow = 0.3;
    }
    return shadow * texture(compareMap, vec4(shadowCoord.xy, cascadeIndex, shadowCoord.z));
}
void main() {
    uint cascadeIndex = 0;
    for(uint i = 0; i < 4 - 1; ++i) { if(inPos.z < ubo.cascadeSplits[i]) { cascadeIndex = i + 1; } }
    vec4 shadowCoord = (biasMat * cascadeViewProjMatrices.matrices[cascadeIndex]) * vec4(inPos, 1.0);
    float shadow = textureProj(shadowCoord / shadowCoord.w, vec2(0.0), cascadeIndex);
    outFragColor = vec4(vec3(shadow), 1.0);
    if(ubo.colorCascades == 1) {
        switch(cascadeIndex) {
        case 0: outFragColor.rgb *= vec3(1.0f, 0.25f, 0.25f); break;
        case 1: outFragColor.rgb *= vec3(0.25f, 1.0f, 0.25f); break;
        case 2: outFragColor.rgb *= vec3(0.25f, 0.25f, 1.0f); break;
        case 3: outFragColor.rgb *= vec3(1.0f, 1.0f, 0.25f); break;
        }
    }
}
