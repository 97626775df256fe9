#version 450

layout(location = 0) in vec3 inPosition;
layout(location = 1) in vec2 inTexCoord;
layout(location = 2) in vec3 inColor;
layout(location = 3) in vec3 inNormal;

layout(binding = 0) uniform Scene {
    mat4 projection;
    mat4 view;
    mat4 model;
    mat4 lightSpace;
    vec4 lightPosition;
    float zNear;
    float zFar;
} scene;

layout(location = 0) out vec3 outNormal;
layout(location = 1) out vec3 outColor;
layout(location = 2) out vec3 outView;
layout(location = 3) out vec3 outLight;
layout(location = 4) out vec4 outShadow;

out gl_PerVertex {
    vec4 gl_Position;
};

const mat4 bias = mat4(
    0.5, 0.0, 0.0, 0.0,
    0.0, 0.5, 0.0, 0.0,
    0.0, 0.0, 1.0, 0.0,
    0.5, 0.5, 0.0, 1.0);

void main() {
    outColor = inColor;
    outNormal = inNormal;
    gl_Position = scene.projection * scene.view * scene.model * vec4(inPosition.xyz, 1.0);
    vec4 pos = scene.model * vec4(inPosition, 1.0);
    outNormal = mat3(scene.model) * inNormal;
    outLight = normalize(scene.lightPosition.xyz - inPosition);
    outView = -pos.xyz;
    outShadow = (bias * scene.lightSpace * scene.model) * vec4(inPosition, 1.0);
}
