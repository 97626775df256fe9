// VKBufferTable.h: a table of storage buffers on Vulkan.

#pragma once

#include "KolmBufferTable.h"

#include "VKTable.h"

namespace Kolm {

/// Buffers are written into the set when they are put into a slot. A buffer that is created anew has to be put there
/// again. Barriers of entries are the caller's: Device::flushBuffers() and Compute::barrier().
class VKBufferTable : public BufferTable {
public:
    explicit VKBufferTable(VKContext *context);
    ~VKBufferTable() override;

    Platform getPlatform() const override { return PlatformVK; }

    void clear() override;
    bool isCreated() const override { return table.getSet() != VK_NULL_HANDLE; }
    void setName(const char *name) override;
    bool create(uint32_t size) override;

    /// Writes the slots, which hold the buffers already. Emptied slots keep what they had; nothing may read them.
    bool set(uint32_t index, Buffer **buffers, uint32_t num);

    VkDescriptorSet getDescriptorSet() const { return table.getSet(); }
    VkDescriptorSetLayout getLayout() const { return table.getLayout(); }

private:
    VKTable table;
};

} // namespace Kolm
