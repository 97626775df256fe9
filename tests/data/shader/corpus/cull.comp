#version 450
struct InstanceData { vec3 pos; float scale; };
layout(binding = 0, std140) buffer Instances { InstanceData instances[]; };
struct IndexedIndirectCommand { uint indexCount; uint instanceCount; uint firstIndex; uint vertexOffset; uint firstInstance; };
layout(binding = 1, std430) writeonly buffer IndirectDraws { IndexedIndirectCommand indirectDraws[]; };
layout(binding = 2) uniform UBO { mat4 projection; mat4 modelview; vec4 cameraPos; vec4 frustumPlanes[6]; } ubo;
layout(binding = 3) buffer UBOOut { uint drawCount; uint lodCount[6]; } uboOut;
struct LOD { uint firstIndex; uint indexCount; float distance; float _pad0; };
layout(binding = 4) readonly buffer LODs { LOD lods[]; };
layout(constant_id = 0) const int MAX_LOD_LEVEL = 5;
layout(local_size_x = 16) in;
bool frustumCheck(vec4 pos, float radius) {
    for(int i = 0; i < 6; i++) {
        if(dot(pos, ubo.frustumPlanes[i]) + radius < 0.0) { return false; }
    }
    return true;
}
void main() {
    uint idx = gl_GlobalInvocationID.x;
    if(idx == 0) { atomicExchange(uboOut.drawCount, 0); }
    vec4 pos = vec4(instances[idx].pos.xyz, 1.0);
    if(frustumCheck(pos, 1.0)) {
        indirectDraws[idx].instanceCount = 1;
        atomicAdd(uboOut.drawCount, 1);
        uint lodLevel = MAX_LOD_LEVEL;
        for(uint i = 0; i < MAX_LOD_LEVEL; i++) {
            if(distance(instances[idx].pos.xyz, ubo.cameraPos.xyz) < lods[i].distance) { lodLevel = i; break; }
        }
        indirectDraws[idx].firstIndex = lods[lodLevel].firstIndex;
        indirectDraws[idx].indexCount = lods[lodLevel].indexCount;
        atomicAdd(uboOut.lodCount[lodLevel], 1);
    } else {
        indirectDraws[idx].instanceCount = 0;
    }
}
