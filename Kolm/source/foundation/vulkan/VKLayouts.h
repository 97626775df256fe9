// VKLayouts.h: descriptor set layouts and pipeline layouts of an adapter, shared by all objects with equal parameters.
// Rests on VKContext. Hides the caches and their keys.

#pragma once

#include "VKCache.h"
#include "VKContext.h"

namespace Kolm {

/// One for each adapter. May be used from any thread: pipelines are created on worker threads.
class VKLayouts {
public:
    static constexpr uint32_t MaxBindings = 96;
    static constexpr uint32_t MaxSets = 13; // five fixed ones and the tables

    /// Binding of a set. `count` is the size of an array, 1 for a single resource.
    struct Binding {
        uint32_t binding;
        VkDescriptorType type;
        uint32_t count;
        VkShaderStageFlags stages;
        bool operator==(const Binding &) const = default;
    };

    static VKLayouts &get(uint32_t adapter_index);

    /// Objects that use layouts. The last release() destroys all of them, when the context's frame has passed.
    void retain() { counter++; }
    void release(VKContext *context);

    /// Layout of a set, the same one for equal bindings in the same order; null if the driver refuses it.
    /// \p update_after_bind is for tables: the set may change while it is bound, and empty slots are allowed.
    VkDescriptorSetLayout getSetLayout(VkDevice device, const Binding *bindings, uint32_t num,
                                       bool update_after_bind = false);
    VkPipelineLayout getPipelineLayout(VkDevice device, const VkDescriptorSetLayout *sets, uint32_t num);

    uint32_t getNumSets() const { return set_layouts.size(); }
    uint32_t getNumPipelines() const { return pipeline_layouts.size(); }

private:
    struct SetKey {
        Array<Binding> bindings;
        bool update_after_bind;
        uint32_t getHash() const;
        bool operator==(const SetKey &key) const;
    };
    struct PipelineKey {
        uint32_t num;
        VkDescriptorSetLayout sets[MaxSets];
        uint32_t getHash() const;
        bool operator==(const PipelineKey &key) const;
    };

    SpinLock lock;
    Atomici32 counter;
    VKCache<SetKey, VkDescriptorSetLayout> set_layouts;
    VKCache<PipelineKey, VkPipelineLayout> pipeline_layouts;
};

} // namespace Kolm
