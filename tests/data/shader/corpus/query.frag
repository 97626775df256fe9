#version 460
#extension GL_EXT_ray_query : enable
layout(binding = 1, set = 0) uniform accelerationStructureEXT topLevelAS;
layout(location = 0) in vec3 inWorldPos;
layout(location = 1) in vec3 inLightVec;
layout(location = 0) out vec4 outFragColor;
void main() {
    vec3 L = normalize(inLightVec);
    outFragColor = vec4(1.0);
    rayQueryEXT rayQuery;
    rayQueryInitializeEXT(rayQuery, topLevelAS, gl_RayFlagsTerminateOnFirstHitEXT, 0xFF, inWorldPos, 0.01, L, 1000.0);
    while(rayQueryProceedEXT(rayQuery)) { }
    if(rayQueryGetIntersectionTypeEXT(rayQuery, true) == gl_RayQueryCommittedIntersectionTriangleEXT) {
        outFragColor *= 0.1;
    }
}
