#version 450

// Lists of lights for each tile of the screen.
#define TILE 16
#define MAX_LIGHTS 64

layout(local_size_x = TILE, local_size_y = TILE, local_size_z = 1) in;

struct PointLight {
    vec3 position;
    float radius;
    vec3 color;
    float intensity;
};

layout(std430, set = 0, binding = 0) readonly buffer Lights {
    uint count;
    PointLight lights[];
} lightBuffer;
layout(std430, set = 0, binding = 1) writeonly buffer Tiles { uint tiles[]; } tileBuffer;
layout(set = 0, binding = 2) uniform sampler2D depthImage;
layout(push_constant) uniform Push {
    mat4 projection;
    mat4 view;
    ivec2 screen;
    float near;
    float far;
} push;

shared uint minDepth;
shared uint maxDepth;
shared uint visibleCount;
shared uint visible[MAX_LIGHTS];

void main() {
    if(gl_LocalInvocationIndex == 0u) {
        minDepth = 0xFFFFFFFFu;
        maxDepth = 0u;
        visibleCount = 0u;
    }
    barrier();
    ivec2 pixel = ivec2(gl_GlobalInvocationID.xy);
    float depth = texelFetch(depthImage, min(pixel, push.screen - 1), 0).r;
    float linear = push.near * push.far / (push.far - depth * (push.far - push.near));
    uint bits = floatBitsToUint(linear);
    atomicMin(minDepth, bits);
    atomicMax(maxDepth, bits);
    barrier();
    float zMin = uintBitsToFloat(minDepth);
    float zMax = uintBitsToFloat(maxDepth);
    vec2 scale = vec2(push.screen) / float(2 * TILE);
    vec2 bias = scale - vec2(gl_WorkGroupID.xy);
    vec4 planes[4];
    planes[0] = vec4(push.projection[0][0] * scale.x, 0.0, bias.x, 0.0);
    planes[1] = vec4(-push.projection[0][0] * scale.x, 0.0, 1.0 - bias.x, 0.0);
    planes[2] = vec4(0.0, push.projection[1][1] * scale.y, bias.y, 0.0);
    planes[3] = vec4(0.0, -push.projection[1][1] * scale.y, 1.0 - bias.y, 0.0);
    const uint groupSize = gl_WorkGroupSize.x * gl_WorkGroupSize.y;
    for(uint i = gl_LocalInvocationIndex; i < lightBuffer.count; i += groupSize) {
        vec4 center = push.view * vec4(lightBuffer.lights[i].position, 1.0);
        float radius = lightBuffer.lights[i].radius;
        bool inside = center.z + radius > zMin && center.z - radius < zMax;
        for(int k = 0; k < 4 && inside; ++k) inside = dot(planes[k] / length(planes[k].xyz), center) > -radius;
        if(!inside) continue;
        uint slot = atomicAdd(visibleCount, 1u);
        if(slot < uint(MAX_LIGHTS)) visible[slot] = i;
    }
    barrier();
    uint tile = gl_WorkGroupID.y * gl_NumWorkGroups.x + gl_WorkGroupID.x;
    uint total = min(visibleCount, uint(MAX_LIGHTS));
    for(uint i = gl_LocalInvocationIndex; i < total; i += groupSize)
        tileBuffer.tiles[tile * uint(MAX_LIGHTS + 1) + i + 1u] = visible[i];
    if(gl_LocalInvocationIndex == 0u) tileBuffer.tiles[tile * uint(MAX_LIGHTS + 1)] = total;
}
