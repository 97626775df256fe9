#include "VKTraversal.h"

#include "KolmLog.h"
#include "VKBuffer.h"
#include "VKPipelineCache.h"
#include "VKShader.h"

namespace Kolm {

VKTraversal::VKTraversal(VKContext *context, const Traversal *traversal)
    : Traversal(context->getAdapter()->getIndex(), traversal), adapter(context->getAdapter()),
      context(context->retain()), bindings(context, "VKTraversal") {}

VKTraversal::~VKTraversal() {
    release();
    VKContext::release(context);
}

void VKTraversal::clear() {
    release();
    Traversal::clear();
}

void VKTraversal::release() {
    context->releasePipeline(pipeline_state);
    pipeline_state = VK_NULL_HANDLE;
    bindings.release();
    delete shader_group_buffer;
    shader_group_buffer = nullptr;
    group_records.release();
    group_stride = 0;
}

void VKTraversal::setName(const char *name) {
    Traversal::setName(name);
    adapter->setObjectName(VK_OBJECT_TYPE_PIPELINE, reinterpret_cast<uint64_t>(pipeline_state), object_name.get());
}

Shader *VKTraversal::create_shader(Traversal *) { return new VKShader(context); }

bool VKTraversal::check_shaders(const Array<Shader *> &shaders) const {
    for(const Shader *shader : shaders) {
        if(cast<VKShader>(shader)->isCreated()) continue;
        Log::printf(Log::Error, "VKTraversal::create(): %s shader is not created\n", shader->getTypeName());
        return false;
    }
    return true;
}

bool VKTraversal::create() {
    release();
    Array<Shader *> shaders; // in the order of the stages
    getShaders(shaders);
    const uint32_t max_depth = adapter->getRayTracingPipelineProperties().maxRayRecursionDepth;
    if(raygen_shader == nullptr) {
        Log::printf(Log::Error, "VKTraversal::create(): raygen shader is null\n");
        return false;
    }
    if(!adapter->getRayTracingPipelineFeatures().rayTracingPipeline) {
        Log::printf(Log::Error, "VKTraversal::create(): traversals are not supported\n");
        return false;
    }
    if(recursion_depth > max_depth) {
        Log::printf(Log::Error, "VKTraversal::create(): recursion depth %u is above the limit of %u\n", recursion_depth,
                    max_depth);
        return false;
    }
    bool status = check_shaders(shaders) && bindings.create(*this, VKShader::getStageFlags(Shader::MaskTracing));
    for(uint32_t i = 0; i < shaders.size() && status; i++) status = bindings.check(*cast<VKShader>(shaders[i]));
    if(!status || !create_pipeline(shaders)) {
        release();
        return false;
    }
    if(object_name) setName(String(object_name).get());
    return true;
}

bool VKTraversal::create_pipeline(const Array<Shader *> &shaders) {
    Array<VkPipelineShaderStageCreateInfo> stages(shaders.size());
    for(uint32_t i = 0; i < shaders.size(); i++) {
        const VKShader &shader = *cast<VKShader>(shaders[i]);
        stages[i] = vk_record<VkPipelineShaderStageCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO);
        stages[i].stage = VkShaderStageFlagBits(VKShader::getStageFlags(Shader::Mask(1u << shader.getType())));
        stages[i].module = shader.getShader();
        stages[i].pName = shader.getEntryName().get();
    }

    // Groups take the stages one after another.
    Array<VkRayTracingShaderGroupCreateInfoKHR> groups;
    uint32_t num_stages = 0;
    const auto append = [&](VkRayTracingShaderGroupTypeKHR type) -> VkRayTracingShaderGroupCreateInfoKHR & {
        VkRayTracingShaderGroupCreateInfoKHR &group = groups.append();
        group =
            vk_record<VkRayTracingShaderGroupCreateInfoKHR>(VK_STRUCTURE_TYPE_RAY_TRACING_SHADER_GROUP_CREATE_INFO_KHR);
        group.type = type;
        group.generalShader = group.closestHitShader = VK_SHADER_UNUSED_KHR;
        group.anyHitShader = group.intersectionShader = VK_SHADER_UNUSED_KHR;
        return group;
    };
    for(uint32_t i = 0; i < 1 + raymiss_shaders.size(); i++)
        append(VK_RAY_TRACING_SHADER_GROUP_TYPE_GENERAL_KHR).generalShader = num_stages++;
    for(const TraversalGroup &src : traversal_shaders) {
        VkRayTracingShaderGroupCreateInfoKHR &group =
            append(src.intersection_shader ? VK_RAY_TRACING_SHADER_GROUP_TYPE_PROCEDURAL_HIT_GROUP_KHR
                                           : VK_RAY_TRACING_SHADER_GROUP_TYPE_TRIANGLES_HIT_GROUP_KHR);
        if(src.closest_shader) group.closestHitShader = num_stages++;
        if(src.firsthit_shader) group.anyHitShader = num_stages++;
        if(src.intersection_shader) group.intersectionShader = num_stages++;
    }

    auto info = vk_record<VkRayTracingPipelineCreateInfoKHR>(VK_STRUCTURE_TYPE_RAY_TRACING_PIPELINE_CREATE_INFO_KHR);
    info.stageCount = stages.size();
    info.pStages = stages.get();
    info.groupCount = groups.size();
    info.pGroups = groups.get();
    // The rays of the ray generation shader are the first level.
    info.maxPipelineRayRecursionDepth =
        min(max(uint32_t(recursion_depth), 1u), adapter->getRayTracingPipelineProperties().maxRayRecursionDepth);
    info.layout = bindings.getPipelineLayout();

    VKPipelineCache cache(adapter, "VKTraversal");
    Blob key;
    if(cache.begin(key)) {
        bool status = saveState(key);
        for(const auto &group : groups) {
            for(const uint32_t stage :
                {group.generalShader, group.closestHitShader, group.anyHitShader, group.intersectionShader})
                status &= key.writeu32(stage);
        }
        for(uint32_t i = 0; i < shaders.size(); i++) status &= shaders[i]->saveState(key);
        if(!status || !cache.create(key)) return false;
    }
    VkPipeline pipeline = VK_NULL_HANDLE;
    const auto create = [&]() {
        return vkCreateRayTracingPipelinesKHR(adapter->getDevice(), VK_NULL_HANDLE, cache.get(), 1, &info, nullptr,
                                              &pipeline);
    };
    VkResult result = create();
    if(result < 0 && cache.isHit() && cache.recreate()) result = create();
    if(VK::error(result)) {
        Log::printf(Log::Error, "VKTraversal::create(): can't create pipeline state\n");
        return false;
    }
    pipeline_state = pipeline;
    cache.save(); // a program that can't be kept is still one
    return load_handles(groups.size());
}

// The first record of each kind has to be aligned, so all are.
bool VKTraversal::load_handles(uint32_t num_groups) {
    const VkPhysicalDeviceRayTracingPipelinePropertiesKHR &properties = adapter->getRayTracingPipelineProperties();
    const uint32_t size = properties.shaderGroupHandleSize;
    const uint32_t alignment = max(properties.shaderGroupBaseAlignment, 1u);
    group_stride = (size + alignment - 1) / alignment * alignment;
    Array<uint8_t> handles(size * num_groups);
    if(VK::error(vkGetRayTracingShaderGroupHandlesKHR(adapter->getDevice(), pipeline_state, 0, num_groups,
                                                      handles.size(), handles.get()))) {
        Log::printf(Log::Error, "VKTraversal::create(): can't get shader group handles\n");
        return false;
    }
    group_records.resize(group_stride * num_groups);
    memset(group_records.get(), 0, group_records.size());
    for(uint32_t i = 0; i < num_groups; i++)
        memcpy(group_records.get() + group_stride * i, handles.get() + size * i, size);
    return true;
}

bool VKTraversal::createGroups(VKContext *ctx) {
    if(shader_group_buffer) return true;
    VKBuffer *buffer = new VKBuffer(context);
    if(buffer->create(ctx, Buffer::FlagBinding | Buffer::FlagAddress, group_records.get(), group_records.size(),
                      FormatUnknown)) {
        shader_group_buffer = buffer;
        return true;
    }
    delete buffer;
    return false;
}

VkStridedDeviceAddressRegionKHR VKTraversal::getRegion(uint32_t first, uint32_t num) const {
    if(num == 0) return {};
    return {shader_group_buffer->getDeviceAddress() + group_stride * first, group_stride, group_stride * num};
}

} // namespace Kolm
