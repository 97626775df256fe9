#version 460
#extension GL_EXT_ray_tracing : enable
struct Query {
    vec2 uv;
    vec3 color;
};
layout(location = 0) rayPayloadInEXT vec3 value;
layout(location = 1) callableDataEXT Query query;
layout(binding = 0, set = 0) uniform accelerationStructureEXT scene;
layout(location = 2) rayPayloadEXT bool shadowed;
hitAttributeEXT vec2 attribs;

void main() {
    query.uv = attribs;
    executeCallableEXT(uint(gl_InstanceCustomIndexEXT) % 3u, 1);
    value = query.color;
    vec3 p = (gl_ObjectToWorldEXT * vec4(gl_ObjectRayOriginEXT + gl_ObjectRayDirectionEXT * gl_HitTEXT, 1.0)).xyz;
    shadowed = true;
    traceRayEXT(scene, gl_RayFlagsTerminateOnFirstHitEXT | gl_RayFlagsOpaqueEXT | gl_RayFlagsSkipClosestHitShaderEXT,
                0xFF, 1, 0, 1, p, 1e-3, vec3(0.0, 1.0, 0.0), 1e4, 2);
    if(shadowed) value *= 0.3;
}
