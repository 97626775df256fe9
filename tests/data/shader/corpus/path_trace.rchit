#version 460
#extension GL_EXT_ray_tracing : require
#extension GL_EXT_nonuniform_qualifier : require

struct Vertex {
    vec4 position;
    vec4 normal;
    vec2 uv;
    vec2 pad;
};
struct Material {
    vec3 color;
    float roughness;
    vec3 emission;
    int map;
};
struct Hit {
    vec3 radiance;
    vec3 throughput;
    vec3 origin;
    vec3 direction;
    uint seed;
    bool done;
};

layout(location = 0) rayPayloadInEXT Hit hit;
hitAttributeEXT vec2 attribs;
layout(binding = 3, set = 0, std430) readonly buffer Vertices { Vertex v[]; } vertices[];
layout(binding = 4, set = 0, std430) readonly buffer Indices { uint i[]; } indices[];
layout(binding = 5, set = 0, std430) readonly buffer Materials { Material m[]; } materials;
layout(binding = 6, set = 0) uniform sampler2D maps[];

void onb(in vec3 n, out vec3 t, out vec3 b) {
    if(abs(n.x) > abs(n.z))
        t = vec3(-n.y, n.x, 0.0);
    else
        t = vec3(0.0, -n.z, n.y);
    t = normalize(t);
    b = cross(n, t);
}

float rnd(inout uint seed) {
    seed ^= seed << 13;
    seed ^= seed >> 17;
    seed ^= seed << 5;
    return float(seed >> 8) * (1.0 / 16777216.0);
}

void main() {
    int object = gl_InstanceCustomIndexEXT;
    ivec3 id = ivec3(indices[nonuniformEXT(object)].i[3 * gl_PrimitiveID + 0],
                     indices[nonuniformEXT(object)].i[3 * gl_PrimitiveID + 1],
                     indices[nonuniformEXT(object)].i[3 * gl_PrimitiveID + 2]);
    Vertex v0 = vertices[nonuniformEXT(object)].v[id.x];
    Vertex v1 = vertices[nonuniformEXT(object)].v[id.y];
    Vertex v2 = vertices[nonuniformEXT(object)].v[id.z];
    vec3 bary = vec3(1.0 - attribs.x - attribs.y, attribs.x, attribs.y);
    vec3 normal = v0.normal.xyz * bary.x + v1.normal.xyz * bary.y + v2.normal.xyz * bary.z;
    normal = normalize(vec3(normal * gl_WorldToObjectEXT));
    vec2 uv = v0.uv * bary.x + v1.uv * bary.y + v2.uv * bary.z;
    Material m = materials.m[object];
    vec3 albedo = m.color;
    if(m.map >= 0) albedo *= texture(maps[nonuniformEXT(m.map)], uv).rgb;
    hit.radiance = m.emission;
    hit.origin = gl_WorldRayOriginEXT + gl_WorldRayDirectionEXT * gl_HitTEXT;
    float r1 = rnd(hit.seed), r2 = rnd(hit.seed);
    float sq = sqrt(1.0 - r2), phi = 2.0 * 3.14159265 * r1;
    vec3 t, b;
    onb(normal, t, b);
    vec3 diffuse = vec3(cos(phi) * sq, sin(phi) * sq, sqrt(r2));
    diffuse = diffuse.x * t + diffuse.y * b + diffuse.z * normal;
    hit.direction = normalize(mix(reflect(gl_WorldRayDirectionEXT, normal), diffuse, m.roughness));
    hit.throughput *= albedo;
    hit.done = false;
}
