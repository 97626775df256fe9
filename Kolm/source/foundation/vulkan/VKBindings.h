// VKBindings.h: the slots of a kernel, pipeline or traversal as descriptor sets.
// Rests on VKLayouts. Hides the arrangement of sets and which buffers have dynamic offsets.

#pragma once

#include "KolmParameters.h"

#include "VKContext.h"

namespace Kolm {

class VKShader;

/// Set numbers are dense over the kinds that the object has, in this order: samplers, images (textures and surfaces),
/// buffers (uniforms and storages), tracings, texels, then one set for each table. What has buffers alone binds them as
/// set 0.
class VKBindings : private NoCopy {
public:
    enum SetType { SetSampler = 0, SetImage, SetBuffer, SetTracing, SetTexel, NumSets };
    static constexpr uint32_t NoSet = ~0u;

    /// Part of an object of \p context, which outlives it. \p name is the object's class, for messages.
    VKBindings(VKContext *context, const char *name);
    ~VKBindings() { release(); }

    /// Layouts of the slots. \p stages see slots without a mask. One line and false on failure.
    bool create(const Parameters &parameters, VkShaderStageFlags stages);
    void release();
    /// Whether the sets hold every resource that the code of a shader uses.
    bool check(const VKShader &shader) const;

    /// Layout of a kind, null if there is none of it.
    VkDescriptorSetLayout getSetLayout(SetType type) const { return set_layouts[type]; }
    /// Number of the kind's set, NoSet if there is none of it.
    uint32_t getSetIndex(SetType type) const { return set_indices[type]; }
    /// Number of the first table's set.
    uint32_t getTableIndex() const { return num_sets - num_tables; }
    uint32_t getNumSets() const { return num_sets; }
    VkPipelineLayout getPipelineLayout() const { return pipeline_layout; }
    /// Bits of the slots with dynamic offsets. The others have theirs in the descriptor.
    uint32_t getDynamicUniforms() const { return dynamic_uniforms; }
    uint32_t getDynamicStorages() const { return dynamic_storages; }
    /// Whether uniforms have the lower binding numbers: dynamic offsets are in their order.
    bool isUniformFirst() const { return uniform_first; }

private:
    // Numbers in a set, and who sees them.
    struct Range {
        uint32_t set;
        uint32_t binding;
        uint32_t num;
        VkShaderStageFlags stages;
    };

    bool check_overlap(const Parameters &parameters) const;
    VkDescriptorSetLayout get_layout(const Parameters &parameters, SetType type);
    VkDescriptorSetLayout get_table_layout(const Parameters &parameters, uint32_t index) const;
    bool create_layouts(const Parameters &parameters);

    VKAdapter *adapter;
    VKContext *context;
    const char *name;
    const char *kind_name = nullptr; // of the object
    VkShaderStageFlags stages = 0;
    VkDescriptorSetLayout set_layouts[NumSets] = {};
    uint32_t set_indices[NumSets];
    uint32_t num_sets = 0;
    uint32_t num_tables = 0;
    uint32_t dynamic_uniforms = 0;
    uint32_t dynamic_storages = 0;
    bool uniform_first = true;
    bool has_layouts = false; // counted by VKLayouts
    VkPipelineLayout pipeline_layout = VK_NULL_HANDLE;
    Array<Range> ranges;
};

} // namespace Kolm
