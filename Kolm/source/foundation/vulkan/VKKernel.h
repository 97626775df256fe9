// VKKernel.h: a compute pipeline and its descriptor layouts, made from the parameters of a kernel.
// Rests on VKLayouts and VKShader. Hides the arrangement of sets and which buffers have dynamic offsets.

#pragma once

#include "KolmKernel.h"

#include "VKContext.h"

namespace Kolm {

/// Set numbers are dense over the kinds that the kernel has, in this order: samplers, images (textures and surfaces),
/// buffers (uniforms and storages), tracings, texels, then one set for each table. A kernel that has buffers alone
/// binds them as set 0.
class VKKernel : public Kernel {
public:
    enum SetType { SetSampler = 0, SetImage, SetBuffer, SetTracing, SetTexel, NumSets };
    static constexpr uint32_t NoSet = ~0u;

    VKKernel(VKContext *context, const Kernel *kernel);
    ~VKKernel() override;

    Platform getPlatform() const override { return PlatformVK; }

    void clear() override;
    bool isCreated() const override { return pipeline_state != VK_NULL_HANDLE; }
    void setName(const char *name) override;
    bool create() override;

    /// Drops the pipeline and the layouts; parameters and shader stay, and create() may be called again.
    void release();

    /// Layout of a kind, null if the kernel has none of it.
    VkDescriptorSetLayout getSetLayout(SetType type) const { return set_layouts[type]; }
    /// Number of the kind's set, NoSet if the kernel has none of it.
    uint32_t getSetIndex(SetType type) const { return set_indices[type]; }
    uint32_t getNumSetLayouts() const { return num_set_layouts; }
    VkPipelineLayout getPipelineLayout() const { return pipeline_layout; }
    VkPipeline getPipeline() const { return pipeline_state; }
    /// Bits of the slots with dynamic offsets. The others have theirs in the descriptor.
    uint32_t getDynamicUniforms() const { return dynamic_uniforms; }
    uint32_t getDynamicStorages() const { return dynamic_storages; }

protected:
    Shader *create_shader(Kernel *kernel) override;

private:
    VkDescriptorSetLayout get_sampler_layout();
    VkDescriptorSetLayout get_image_layout();
    VkDescriptorSetLayout get_buffer_layout();
    VkDescriptorSetLayout get_tracing_layout();
    VkDescriptorSetLayout get_texel_layout();
    VkDescriptorSetLayout get_table_layout(uint32_t index);
    VkPipelineLayout get_pipeline_layout(const VkDescriptorSetLayout *layouts, uint32_t num);
    bool check_overlap() const;
    bool has_binding(uint32_t set, uint32_t binding) const;
    bool check_bindings() const;
    bool create_layouts();
    bool create_pipeline();

    VKAdapter *adapter = nullptr;
    VKContext *context = nullptr;
    uint8_t subgroup_size = 0; // that the pipeline demands, 0 for the driver's choice
    VkDescriptorSetLayout set_layouts[NumSets] = {};
    VkDescriptorSetLayout table_layouts[NumTables] = {};
    uint32_t set_indices[NumSets] = {NoSet, NoSet, NoSet, NoSet, NoSet};
    uint32_t num_set_layouts = 0;
    uint32_t dynamic_uniforms = 0;
    uint32_t dynamic_storages = 0;
    bool has_layouts = false; // counted by VKLayouts
    VkPipelineLayout pipeline_layout = VK_NULL_HANDLE;
    VkPipeline pipeline_state = VK_NULL_HANDLE;
};

} // namespace Kolm
