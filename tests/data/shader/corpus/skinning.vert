#version 450
layout(location = 0) in vec3 inPos;
layout(location = 1) in vec4 inBoneWeights;
layout(location = 2) in ivec4 inBoneIndices;
const int MaxBones = 64;
layout(set = 0, binding = 0) uniform Camera { mat4 projection; mat4 view; };
layout(std430, set = 1, binding = 0) readonly buffer Joints { mat4 jointMatrices[]; };
layout(push_constant) uniform PushConsts { mat4 model; } primitive;
layout(location = 0) out vec3 outPos;
mat4 skin() {
    return inBoneWeights.x * jointMatrices[inBoneIndices.x] + inBoneWeights.y * jointMatrices[inBoneIndices.y] +
           inBoneWeights.z * jointMatrices[inBoneIndices.z] + inBoneWeights.w * jointMatrices[inBoneIndices.w];
}
void main(void)
{
    mat4 skinMat = skin();
    gl_Position = projection * view * primitive.model * skinMat * vec4(inPos, 1.0);
    outPos = (view * primitive.model * skinMat * vec4(inPos, 1.0)).xyz / max(gl_Position.w, 1e-6);
    gl_Position.y = -gl_Position.y;
}
