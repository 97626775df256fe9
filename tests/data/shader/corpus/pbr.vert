#version 450

layout(location = 0) in vec3 inPos;
layout(location = 1) in vec3 inNormal;
layout(location = 2) in vec2 inUV;
layout(location = 3) in vec4 inTangent;

layout(location = 0) out vec3 outWorldPos;
layout(location = 1) out vec3 outNormal;
layout(location = 2) out vec2 outUV;
layout(location = 3) out vec4 outTangent;

layout(set = 0, binding = 0) uniform Scene {
    mat4 viewProjection;
    vec4 camera;
} scene;

layout(push_constant) uniform Push {
    mat4 model;
    vec2 uvScale;
    vec2 uvOffset;
} push;

out gl_PerVertex {
    vec4 gl_Position;
};

void main() {
    vec4 world = push.model * vec4(inPos, 1.0);
    outWorldPos = world.xyz / world.w;
    outNormal = mat3(push.model) * inNormal;
    outTangent = vec4(mat3(push.model) * inTangent.xyz, inTangent.w);
    outUV = inUV * push.uvScale + push.uvOffset;
    gl_Position = scene.viewProjection * world;
}
