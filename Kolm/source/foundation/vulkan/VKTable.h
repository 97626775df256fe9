// VKTable.h: the descriptor set that both kinds of tables have: one binding, written while it may be in use.
// Rests on VKLayouts, whose cache gives tables and kernels of one size the same layout.

#pragma once

#include "VKLayouts.h"

namespace Kolm {

/// A set that lives as long as its table, in a pool of its own. Slots that are not written must not be read.
class VKTable {
public:
    VKTable(VKContext *context, VkDescriptorType type);
    ~VKTable();

    /// Binding of a table of \p size entries, which is the one of its set; kernels that take the table use it too.
    static VKLayouts::Binding getBinding(VkDescriptorType type, uint32_t size) {
        return {0, type, size, VK_SHADER_STAGE_ALL};
    }
    /// Whether the device has tables of that many entries.
    static bool isSupported(const VKAdapter *adapter, VkDescriptorType type, uint32_t size);
    /// The same with a line, before anything is allocated for a table. \p name is its class, for messages.
    bool check(const char *name, uint32_t size) const;
    bool create(const char *name, uint32_t size);
    void release();
    void setName(const char *name);

    VKContext *getContext() const { return context; }
    VkDescriptorSet getSet() const { return descriptor; }
    VkDescriptorSetLayout getLayout() const { return layout; }

    /// Write of entries from \p index on; the caller fills in what they are.
    VkWriteDescriptorSet getWrite(uint32_t index, uint32_t num) const;

private:
    VKAdapter *adapter = nullptr;
    VKContext *context = nullptr;
    VkDescriptorType type;
    bool has_layouts = false; // counted by VKLayouts
    VkDescriptorSetLayout layout = VK_NULL_HANDLE;
    VkDescriptorPool pool = VK_NULL_HANDLE;
    VkDescriptorSet descriptor = VK_NULL_HANDLE;
};

} // namespace Kolm
