#version 460
#extension GL_EXT_ray_query : require
layout(location = 0) in vec3 position;
layout(location = 1) in vec3 normal;
layout(location = 0) out vec4 color;
layout(set = 0, binding = 0) uniform accelerationStructureEXT scene;
layout(push_constant) uniform Light { vec4 position; float radius; int samples; } light;

bool occluded(vec3 from, vec3 to) {
    rayQueryEXT query;
    vec3 d = to - from;
    float far = length(d);
    rayQueryInitializeEXT(query, scene, gl_RayFlagsTerminateOnFirstHitEXT, 0xFFu, from, 0.01, d / far, far - 0.01);
    while(rayQueryProceedEXT(query)) {
        if(rayQueryGetIntersectionTypeEXT(query, false) == gl_RayQueryCandidateIntersectionTriangleEXT) {
            vec2 b = rayQueryGetIntersectionBarycentricsEXT(query, false);
            if(fract(b.x * 8.0) < 0.5) rayQueryConfirmIntersectionEXT(query);
        }
    }
    return rayQueryGetIntersectionTypeEXT(query, true) != gl_RayQueryCommittedIntersectionNoneEXT;
}

void main() {
    float lit = 0.0;
    for(int i = 0; i < light.samples; i++) {
        float a = float(i) * 2.3999632;
        vec3 offset = light.radius * sqrt(float(i) / float(light.samples)) * vec3(cos(a), 0, sin(a));
        lit += occluded(position, light.position.xyz + offset) ? 0.0 : 1.0;
    }
    float n = max(dot(normalize(normal), normalize(light.position.xyz - position)), 0.0);
    color = vec4(vec3(n * lit / float(max(light.samples, 1))), 1);
}
