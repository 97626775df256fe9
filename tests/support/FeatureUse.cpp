#include "FeatureUse.h"

#include <map>
#include <mutex>
#include <set>
#include <string>

namespace {

std::mutex mutex;
std::set<std::string> used;

// Numbers of SPIR-V.
enum Spirv : uint32_t {
    OpEntryPoint = 15,
    OpCapability = 17,
    OpTypeInt = 21,
    OpTypePointer = 32,
    OpFunctionParameter = 55,
    OpVariable = 59,
    OpImageTexelPointer = 60,
    OpAccessChain = 65,
    OpAtomicExchange = 229,
    OpAtomicXor = 242,
    OpAtomicFAddEXT = 6035,

    ClassUniform = 2,
    ClassWorkgroup = 4,
    ClassImage = 11,
    ClassStorageBuffer = 12,

    ModelFragment = 4,
    ModelCompute = 5,
    CapabilityRayQuery = 4472,
};

constexpr struct {
    uint32_t capability;
    const char *feature;
} capabilities[] = {
    {9, "shaderf16"},
    {10, "shaderf64"},
    {11, "shaderu64"},
    {22, "shaderu16"},
    {39, "shaderu8"},
    {62, "subgroupVote"},
    {63, "subgroupMath"},
    {65, "subgroupShuffle"},
    {4427, "drawIndirectIndex"},
    {5013, "fragmentStencilExport"},
    {5251, "geometryPassthrough"},
    {5254, "vertexIndexLayer"},
    {69, "vertexIndexLayer"},
    {70, "vertexIndexLayer"},
    {5284, "fragmentBarycentric"},
};

// Atomics by what they work on.
struct Atomics {
    std::map<uint32_t, uint32_t> classes; // of pointer types
    std::map<uint32_t, uint32_t> values;  // storage classes of pointers
    std::map<uint32_t, uint32_t> bits;    // of integer types

    void watch(uint32_t op, const uint32_t *words, uint32_t num) {
        if(op == OpTypeInt && num > 2) bits[words[1]] = words[2];
        if(op == OpTypePointer && num > 2) classes[words[1]] = words[2];
        if((op == OpVariable || op == OpAccessChain || op == OpImageTexelPointer || op == OpFunctionParameter) &&
           num > 2)
            values[words[2]] = classes[words[1]];
        const bool is_float = (op == OpAtomicFAddEXT);
        if(num < 4 || (!is_float && (op < OpAtomicExchange || op > OpAtomicXor))) return;
        const bool is_long = (!is_float && bits[words[1]] == 64);
        switch(values[words[3]]) {
        case ClassWorkgroup:
            if(is_float || is_long) FeatureUse::use(is_float ? "atomicGroupf32" : "atomicGroupu64");
            break;
        case ClassImage:
            FeatureUse::use(is_float ? "atomicTexturef32" : is_long ? "atomicTextureu64" : "atomicTextureu32");
            break;
        case ClassUniform:
        case ClassStorageBuffer:
            if(is_float || is_long) FeatureUse::use(is_float ? "atomicBufferf32" : "atomicBufferu64");
            break;
        }
    }
};

} // namespace

void FeatureUse::use(const char *feature) {
    std::lock_guard<std::mutex> guard(mutex);
    used.insert(feature);
}

bool FeatureUse::isUsed(const char *feature) {
    std::lock_guard<std::mutex> guard(mutex);
    return used.count(feature) != 0;
}

void FeatureUse::watchShader(const VkShaderModuleCreateInfo &info) {
    Atomics atomics;
    bool has_rays = false;
    const uint32_t num = uint32_t(info.codeSize / 4);
    for(uint32_t i = 5, size = 0; i < num; i += size) {
        const uint32_t *words = info.pCode + i;
        const uint32_t op = words[0] & 0xFFFF;
        size = words[0] >> 16;
        if(size == 0 || size > num - i) return;
        if(op == OpCapability) {
            has_rays |= (words[1] == CapabilityRayQuery);
            for(const auto &row : capabilities) {
                if(row.capability == words[1]) use(row.feature);
            }
        }
        if(op == OpEntryPoint && has_rays) {
            if(words[1] == ModelFragment) use("fragmentTracing");
            if(words[1] == ModelCompute) use("computeTracing");
        }
        atomics.watch(op, words, size);
    }
}

void FeatureUse::watchSetLayout(const VkDescriptorSetLayoutCreateInfo &info) {
    const bool is_table = (info.flags & VK_DESCRIPTOR_SET_LAYOUT_CREATE_UPDATE_AFTER_BIND_POOL_BIT);
    for(uint32_t i = 0; i < info.bindingCount; i++) {
        const VkDescriptorSetLayoutBinding &binding = info.pBindings[i];
        const bool is_image = (binding.descriptorType == VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE);
        const bool is_storage = (binding.descriptorType == VK_DESCRIPTOR_TYPE_STORAGE_BUFFER ||
                                 binding.descriptorType == VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC);
        if(is_table) use(is_image ? "textureTable" : "bufferTable");
        if(is_storage && (binding.stageFlags & VK_SHADER_STAGE_VERTEX_BIT)) use("vertexStorage");
    }
}

void FeatureUse::watchPipeline(const VkGraphicsPipelineCreateInfo &info) {
    if(info.pColorBlendState == nullptr) return;
    for(uint32_t i = 0; i < info.pColorBlendState->attachmentCount; i++) {
        const VkPipelineColorBlendAttachmentState &state = info.pColorBlendState->pAttachments[i];
        for(const VkBlendFactor factor : {state.srcColorBlendFactor, state.dstColorBlendFactor}) {
            if(state.blendEnable && factor >= VK_BLEND_FACTOR_SRC1_COLOR) use("dualSourceBlending");
        }
    }
}

void FeatureUse::watchImage(const VkImageCreateInfo &info) {
    if((info.flags & VK_IMAGE_CREATE_SPARSE_BINDING_BIT) && info.arrayLayers > 1) use("sparseArrayTexture");
}

void FeatureUse::watchView(const VkImageViewCreateInfo &info) {
    if(info.viewType == VK_IMAGE_VIEW_TYPE_CUBE_ARRAY) use("cubeArrayTexture");
}

void FeatureUse::watchBind(const VkBindSparseInfo &info) {
    if(info.bufferBindCount) use("sparseBuffer");
    if(info.imageBindCount || info.imageOpaqueBindCount) use("sparseTexture");
}
