#version 460
#extension GL_EXT_ray_tracing : require
layout(shaderRecordEXT, std430) buffer Record {
    vec3 color;
    float roughness;
    uint maps[2];
} record;
layout(location = 0) rayPayloadInEXT vec4 value;
hitAttributeEXT vec2 attribs;

void main() {
    float facing = (gl_HitKindEXT == gl_HitKindFrontFacingTriangleEXT) ? 1.0 : 0.5;
    value = vec4(record.color * facing, record.roughness);
    if(record.maps[gl_GeometryIndexEXT & 1] != 0u) value.xy += attribs;
}
