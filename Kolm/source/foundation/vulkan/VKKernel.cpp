#include "VKKernel.h"

#include "KolmLog.h"
#include "VKLayouts.h"
#include "VKPipelineCache.h"
#include "VKShader.h"

namespace Kolm {

VKKernel::VKKernel(VKContext *context, const Kernel *kernel)
    : Kernel(context->getAdapter()->getIndex(), kernel), adapter(context->getAdapter()), context(context->retain()) {}

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
    pipeline_layout = VK_NULL_HANDLE;
    for(uint32_t i = 0; i < NumSets; i++) {
        set_layouts[i] = VK_NULL_HANDLE;
        set_indices[i] = NoSet;
    }
    memset(table_layouts, 0, sizeof(table_layouts));
    num_set_layouts = 0;
    dynamic_uniforms = dynamic_storages = 0;
    subgroup_size = 0;
    if(has_layouts) VKLayouts::get(adapter->getIndex()).release(context);
    has_layouts = false;
}

void VKKernel::setName(const char *name) {
    Kernel::setName(name);
    adapter->setObjectName(VK_OBJECT_TYPE_PIPELINE, reinterpret_cast<uint64_t>(pipeline_state), object_name.get());
}

Shader *VKKernel::create_shader(Kernel *) { return new VKShader(context); }

namespace {

constexpr VkShaderStageFlags stage = VK_SHADER_STAGE_COMPUTE_BIT;

// Slots of one kind as bindings. An array takes the slots behind its first one.
uint32_t append_slots(VKLayouts::Binding *bindings, uint32_t offset, uint32_t num, const uint8_t *arrays,
                      VkDescriptorType type) {
    uint32_t count = 0;
    for(uint32_t i = 0; i < num;) {
        const uint32_t size = (arrays && arrays[i]) ? arrays[i] : 1;
        bindings[count++] = {offset + i, type, size, stage};
        i += size;
    }
    return count;
}

} // namespace

VkDescriptorSetLayout VKKernel::get_sampler_layout() {
    VKLayouts::Binding bindings[NumSamplers];
    const uint32_t num =
        append_slots(bindings, sampler_offset, num_samplers, sampler_arrays, VK_DESCRIPTOR_TYPE_SAMPLER);
    const VkDescriptorSetLayout layout =
        VKLayouts::get(adapter->getIndex()).getSetLayout(adapter->getDevice(), bindings, num);
    if(layout == VK_NULL_HANDLE)
        Log::printf(Log::Error, "VKKernel::get_sampler_layout(): can't create sampler layout\n");
    return layout;
}

VkDescriptorSetLayout VKKernel::get_image_layout() {
    VKLayouts::Binding bindings[NumTextures + NumSurfaces];
    uint32_t num =
        append_slots(bindings, texture_offset, num_textures, texture_arrays, VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE);
    num += append_slots(bindings + num, surface_offset, num_surfaces, surface_arrays, VK_DESCRIPTOR_TYPE_STORAGE_IMAGE);
    const VkDescriptorSetLayout layout =
        VKLayouts::get(adapter->getIndex()).getSetLayout(adapter->getDevice(), bindings, num);
    if(layout == VK_NULL_HANDLE) Log::printf(Log::Error, "VKKernel::get_image_layout(): can't create image layout\n");
    return layout;
}

// Devices have few dynamic offsets: the first slots get them, unless they are declared as fixed.
static uint32_t get_dynamic_slots(const Kernel::BindFlags *flags, uint32_t num, uint32_t max_dynamic) {
    uint32_t mask = 0;
    uint32_t count = 0;
    for(uint32_t i = 0; i < num && count < max_dynamic; i++) {
        if(flags[i] & Kernel::BindFlagFixed) continue;
        mask |= 1u << i;
        count++;
    }
    return mask;
}

VkDescriptorSetLayout VKKernel::get_buffer_layout() {
    dynamic_uniforms = get_dynamic_slots(uniform_flags, num_uniforms, adapter->max_dynamic_uniforms);
    dynamic_storages = get_dynamic_slots(storage_flags, num_storages, adapter->max_dynamic_storages);
    VKLayouts::Binding bindings[NumUniforms + NumStorages];
    uint32_t num = 0;
    for(uint32_t i = 0; i < num_uniforms; i++) {
        const bool dynamic = (dynamic_uniforms >> i) & 1;
        bindings[num++] = {uniform_offset + i,
                           dynamic ? VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC : VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, 1,
                           stage};
    }
    for(uint32_t i = 0; i < num_storages; i++) {
        const bool dynamic = (dynamic_storages >> i) & 1;
        bindings[num++] = {storage_offset + i,
                           dynamic ? VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC : VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, 1,
                           stage};
    }
    const VkDescriptorSetLayout layout =
        VKLayouts::get(adapter->getIndex()).getSetLayout(adapter->getDevice(), bindings, num);
    if(layout == VK_NULL_HANDLE) Log::printf(Log::Error, "VKKernel::get_buffer_layout(): can't create buffer layout\n");
    return layout;
}

VkDescriptorSetLayout VKKernel::get_tracing_layout() {
    VKLayouts::Binding bindings[NumTracings];
    const uint32_t num =
        append_slots(bindings, tracing_offset, num_tracings, nullptr, VK_DESCRIPTOR_TYPE_ACCELERATION_STRUCTURE_KHR);
    VkDescriptorSetLayout layout = VK_NULL_HANDLE;
    if(adapter->getAccelerationStructureFeatures().accelerationStructure)
        layout = VKLayouts::get(adapter->getIndex()).getSetLayout(adapter->getDevice(), bindings, num);
    if(layout == VK_NULL_HANDLE)
        Log::printf(Log::Error, "VKKernel::get_tracing_layout(): can't create tracing layout\n");
    return layout;
}

VkDescriptorSetLayout VKKernel::get_texel_layout() {
    VKLayouts::Binding bindings[NumTexels];
    const uint32_t num =
        append_slots(bindings, texel_offset, num_texels, nullptr, VK_DESCRIPTOR_TYPE_UNIFORM_TEXEL_BUFFER);
    const VkDescriptorSetLayout layout =
        VKLayouts::get(adapter->getIndex()).getSetLayout(adapter->getDevice(), bindings, num);
    if(layout == VK_NULL_HANDLE) Log::printf(Log::Error, "VKKernel::get_texel_layout(): can't create texel layout\n");
    return layout;
}

VkDescriptorSetLayout VKKernel::get_table_layout(uint32_t index) {
    KOLM_ASSERT(table_types[index] < NumTableTypes && "VKKernel::get_table_layout(): unknown table type");
    const VkPhysicalDeviceDescriptorIndexingFeatures &features = adapter->getDescriptorIndexingFeatures();
    const bool texture = (table_types[index] == TableTypeTexture);
    const bool supported = texture ? features.descriptorBindingSampledImageUpdateAfterBind
                                   : features.descriptorBindingStorageBufferUpdateAfterBind;
    // A table brings its set along, so its layout depends on the table alone.
    const VKLayouts::Binding binding = {0,
                                        texture ? VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE : VK_DESCRIPTOR_TYPE_STORAGE_BUFFER,
                                        table_sizes[index], VK_SHADER_STAGE_ALL};
    VkDescriptorSetLayout layout = VK_NULL_HANDLE;
    if(supported && features.descriptorBindingPartiallyBound)
        layout = VKLayouts::get(adapter->getIndex()).getSetLayout(adapter->getDevice(), &binding, 1, true);
    if(layout == VK_NULL_HANDLE) Log::printf(Log::Error, "VKKernel::get_table_layout(): can't create table layout\n");
    return layout;
}

VkPipelineLayout VKKernel::get_pipeline_layout(const VkDescriptorSetLayout *layouts, uint32_t num) {
    const VkPipelineLayout layout =
        VKLayouts::get(adapter->getIndex()).getPipelineLayout(adapter->getDevice(), layouts, num);
    if(layout == VK_NULL_HANDLE)
        Log::printf(Log::Error, "VKKernel::get_pipeline_layout(): can't create pipeline layout\n");
    return layout;
}

// Two kinds that share a set can't share binding numbers.
bool VKKernel::check_overlap() const {
    const auto is_overlap = [](uint32_t offset_0, uint32_t num_0, uint32_t offset_1, uint32_t num_1) {
        return num_0 && num_1 && offset_0 < offset_1 + num_1 && offset_1 < offset_0 + num_0;
    };
    if(is_overlap(texture_offset, num_textures, surface_offset, num_surfaces)) {
        Log::printf(Log::Error, "VKKernel::create(): texture and surface resources overlap\n");
        return false;
    }
    if(is_overlap(uniform_offset, num_uniforms, storage_offset, num_storages)) {
        Log::printf(Log::Error, "VKKernel::create(): uniform and storage resources overlap\n");
        return false;
    }
    return true;
}

bool VKKernel::has_binding(uint32_t set, uint32_t binding) const {
    const struct {
        SetType type;
        uint32_t offset;
        uint32_t num;
    } kinds[] = {
        {SetSampler, sampler_offset, num_samplers}, {SetImage, texture_offset, num_textures},
        {SetImage, surface_offset, num_surfaces},   {SetBuffer, uniform_offset, num_uniforms},
        {SetBuffer, storage_offset, num_storages},  {SetTracing, tracing_offset, num_tracings},
        {SetTexel, texel_offset, num_texels},
    };
    for(const auto &kind : kinds) {
        if(set_indices[kind.type] == set && binding >= kind.offset && binding - kind.offset < kind.num) return true;
    }
    // Tables have one binding each, behind all other sets.
    return set < num_set_layouts && set >= num_set_layouts - num_tables && binding == 0;
}

// A resource that no layout holds would be read from anywhere.
bool VKKernel::check_bindings() const {
    const Array<VKShader::Binding> &bindings = cast<VKShader>(compute_shader)->getBindings();
    for(uint32_t i = 0; i < bindings.size(); i++) {
        if(!bindings[i].used || has_binding(bindings[i].set, bindings[i].binding)) continue;
        Log::printf(Log::Error,
                    "VKKernel::create(): binding %u of set %u is used by the shader and not by the kernel\n",
                    bindings[i].binding, bindings[i].set);
        return false;
    }
    return true;
}

bool VKKernel::create_layouts() {
    const struct {
        uint32_t count;
        VkDescriptorSetLayout (VKKernel::*get_layout)();
        const char *message;
    } kinds[NumSets] = {
        {num_samplers, &VKKernel::get_sampler_layout, "VKKernel::create(): sampler layout is null\n"},
        {uint32_t(num_textures) + num_surfaces, &VKKernel::get_image_layout,
         "VKKernel::create(): image layout is null\n"},
        {uint32_t(num_uniforms) + num_storages, &VKKernel::get_buffer_layout,
         "VKKernel::create(): buffer layout is null\n"},
        {num_tracings, &VKKernel::get_tracing_layout, "VKKernel::create(): tracing layout is null\n"},
        {num_texels, &VKKernel::get_texel_layout, "VKKernel::create(): texel layout is null\n"},
    };
    uint32_t num = num_tables;
    for(const auto &kind : kinds) num += (kind.count != 0);
    const uint32_t max_sets = adapter->getLimits().maxBoundDescriptorSets;
    if(num > max_sets) {
        Log::printf(Log::Error, "VKKernel::create(): %u descriptor sets are above the limit of %u\n", num, max_sets);
        return false;
    }

    VKLayouts::get(adapter->getIndex()).retain();
    has_layouts = true;
    VkDescriptorSetLayout layouts[VKLayouts::MaxSets];
    num_set_layouts = 0;
    for(uint32_t i = 0; i < NumSets; i++) {
        const auto &kind = kinds[i];
        if(kind.count == 0) continue;
        set_layouts[i] = (this->*kind.get_layout)();
        if(set_layouts[i] == VK_NULL_HANDLE) {
            Log::print(Log::Error, kind.message);
            return false;
        }
        set_indices[i] = num_set_layouts;
        layouts[num_set_layouts++] = set_layouts[i];
    }
    for(uint32_t i = 0; i < num_tables; i++) {
        table_layouts[i] = get_table_layout(i);
        if(table_layouts[i] == VK_NULL_HANDLE) return false;
        layouts[num_set_layouts++] = table_layouts[i];
    }
    pipeline_layout = get_pipeline_layout(layouts, num_set_layouts);
    if(pipeline_layout == VK_NULL_HANDLE) {
        Log::printf(Log::Error, "VKKernel::create(): pipeline layout is null\n");
        return false;
    }
    return true;
}

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
    info.layout = pipeline_layout;
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
    if(!check_overlap() || !create_layouts() || !check_bindings() || !create_pipeline()) {
        release();
        return false;
    }
    if(object_name) setName(String(object_name).get());
    return true;
}

} // namespace Kolm
