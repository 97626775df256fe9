#include "VKKernel.h"

#include "KolmLog.h"
#include "VKPipelineCache.h"
#include "VKShader.h"

namespace Kolm {

VKKernel::VKKernel(VKContext *context, const Kernel *kernel)
    : Kernel(context->getAdapter()->getIndex(), kernel), adapter(context->getAdapter()), context(context->retain()),
      bindings(context, "VKKernel") {}

VKKernel::~VKKernel() {
    release();
    VKContext::release(context);
}

void VKKernel::clear() {
    release();
    Kernel::clear();
}

void VKKernel::release() {
    context->releasePipeline(pipeline_state);
    pipeline_state = VK_NULL_HANDLE;
    subgroup_size = 0;
    bindings.release();
}

void VKKernel::setName(const char *name) {
    Kernel::setName(name);
    adapter->setObjectName(VK_OBJECT_TYPE_PIPELINE, reinterpret_cast<uint64_t>(pipeline_state), object_name.get());
}

Shader *VKKernel::create_shader(Kernel *) { return new VKShader(context); }

// Subgroup size to demand: what the shader asks for, if the device can grant it for groups of that many threads.
static uint32_t get_subgroup_size(const VKAdapter &adapter, const VKShader &shader) {
    const uint32_t size = shader.getSubgroupSize();
    const VkPhysicalDeviceSubgroupSizeControlProperties &properties = adapter.getSubgroupSizeProperties();
    if(!adapter.getSubgroupSizeFeatures().subgroupSizeControl || !is_pow2(size)) return 0;
    if(size < properties.minSubgroupSize || size > properties.maxSubgroupSize) return 0;
    if((properties.requiredSubgroupSizeStages & VK_SHADER_STAGE_COMPUTE_BIT) == 0) return 0;
    const uint64_t threads = uint64_t(shader.getGroupSize(0)) * shader.getGroupSize(1) * shader.getGroupSize(2);
    return (threads <= uint64_t(size) * properties.maxComputeWorkgroupSubgroups) ? size : 0;
}

bool VKKernel::create_pipeline() {
    const VKShader &shader = *cast<VKShader>(compute_shader);
    const VkPhysicalDeviceLimits &limits = adapter->getLimits();
    const uint64_t threads = uint64_t(group_size[0]) * group_size[1] * group_size[2];
    if(group_size[0] > limits.maxComputeWorkGroupSize[0] || group_size[1] > limits.maxComputeWorkGroupSize[1] ||
       group_size[2] > limits.maxComputeWorkGroupSize[2] || threads > limits.maxComputeWorkGroupInvocations) {
        Log::printf(Log::Error, "VKKernel::create(): %ux%ux%u group of threads is above the limit of %u\n",
                    group_size[0], group_size[1], group_size[2], limits.maxComputeWorkGroupInvocations);
        return false;
    }

    auto info = vk_record<VkComputePipelineCreateInfo>(VK_STRUCTURE_TYPE_COMPUTE_PIPELINE_CREATE_INFO);
    info.layout = bindings.getPipelineLayout();
    info.stage = vk_record<VkPipelineShaderStageCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO);
    info.stage.stage = VK_SHADER_STAGE_COMPUTE_BIT;
    info.stage.module = shader.getShader();
    info.stage.pName = shader.getEntryName().get();
    auto subgroup_info = vk_record<VkPipelineShaderStageRequiredSubgroupSizeCreateInfo>(
        VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_REQUIRED_SUBGROUP_SIZE_CREATE_INFO);
    subgroup_size = uint8_t(get_subgroup_size(*adapter, shader));
    if(subgroup_size) {
        subgroup_info.requiredSubgroupSize = subgroup_size;
        info.stage.pNext = &subgroup_info;
        // Full subgroups need a width of whole subgroups.
        if(adapter->getSubgroupSizeFeatures().computeFullSubgroups && group_size[0] % subgroup_size == 0)
            info.stage.flags |= VK_PIPELINE_SHADER_STAGE_CREATE_REQUIRE_FULL_SUBGROUPS_BIT;
    }
    VKPipelineCache cache(adapter, "VKKernel");
    Blob key;
    if(cache.begin(key) &&
       (!saveState(key) || !shader.saveState(key) || !key.writeu8(subgroup_size) || !cache.create(key)))
        return false;
    VkPipeline pipeline = VK_NULL_HANDLE;
    VkResult result = vkCreateComputePipelines(adapter->getDevice(), cache.get(), 1, &info, nullptr, &pipeline);
    if(result < 0 && cache.isHit() && cache.recreate())
        result = vkCreateComputePipelines(adapter->getDevice(), cache.get(), 1, &info, nullptr, &pipeline);
    if(VK::error(result)) {
        Log::printf(Log::Error, "VKKernel::create(): can't create pipeline state\n");
        return false;
    }
    pipeline_state = pipeline;
    cache.save(); // a program that can't be kept is still one
    return true;
}

bool VKKernel::create() {
    release();
    if(compute_shader == nullptr) {
        Log::printf(Log::Error, "VKKernel::create(): compute shader is null\n");
        return false;
    }
    const VKShader *shader = cast<VKShader>(compute_shader);
    if(!shader->isCreated() || !shader->isCompute()) {
        Log::printf(Log::Error, "VKKernel::create(): compute shader is not created\n");
        return false;
    }
    // The group size is part of the kernel's state, so it comes before anything that is looked up by that.
    for(uint32_t i = 0; i < 3; i++) group_size[i] = uint16_t(min(shader->getGroupSize(i), 65535u));
    if(!bindings.create(*this, VK_SHADER_STAGE_COMPUTE_BIT) || !bindings.check(*shader) || !create_pipeline()) {
        release();
        return false;
    }
    if(object_name) setName(String(object_name).get());
    return true;
}

} // namespace Kolm
