#version 460
#extension GL_EXT_ray_query : enable
layout(local_size_x = 8, local_size_y = 4) in;
layout(set = 0, binding = 0) uniform accelerationStructureEXT scene;
layout(set = 0, binding = 1, r8) uniform writeonly image2D result;
layout(set = 0, binding = 2) uniform sampler2D positions;
layout(set = 0, binding = 3) uniform sampler2D normals;

void main() {
    ivec2 p = ivec2(gl_GlobalInvocationID.xy);
    vec3 o = texelFetch(positions, p, 0).xyz;
    vec3 n = texelFetch(normals, p, 0).xyz;
    uint hits = 0u;
    const uint count = 16u;
    for(uint i = 0u; i < count; i++) {
        vec3 d = vec3(sin(float(i) * 12.9898), cos(float(i) * 78.233), sin(float(i) * 37.719));
        d = normalize(d);
        if(dot(d, n) < 0.0) d = -d;
        rayQueryEXT q;
        rayQueryInitializeEXT(q, scene, gl_RayFlagsOpaqueEXT, 255, o + n * 1e-3, 0.0, d, 2.0);
        do {} while(rayQueryProceedEXT(q));
        if(rayQueryGetIntersectionTypeEXT(q, true) == gl_RayQueryCommittedIntersectionTriangleEXT) {
            mat4x3 m = rayQueryGetIntersectionObjectToWorldEXT(q, true);
            float t = rayQueryGetIntersectionTEXT(q, true);
            int index = rayQueryGetIntersectionInstanceCustomIndexEXT(q, true);
            if(index >= 0 && t * length(m[0]) > 0.0) hits++;
        }
    }
    imageStore(result, p, vec4(1.0 - float(hits) / float(count)));
}
