// VKTextureTable.h: a table of textures on Vulkan.

#pragma once

#include "KolmTextureTable.h"

#include "VKTable.h"

namespace Kolm {

/// Whole textures are written into the set when they are put into a slot, and have to be readable when a shader reads
/// them: after every operation of a device they are. A texture that is created anew has to be put there again.
class VKTextureTable : public TextureTable {
public:
    explicit VKTextureTable(VKContext *context);
    ~VKTextureTable() override;

    Platform getPlatform() const override { return PlatformVK; }

    void clear() override;
    bool isCreated() const override { return table.getSet() != VK_NULL_HANDLE; }
    void setName(const char *name) override;
    bool create(Texture::Type type, uint32_t size) override;

    /// Writes the slots, which hold the textures already. Emptied slots keep what they had; nothing may read them.
    bool set(uint32_t index, Texture **textures, uint32_t num);

    VkDescriptorSet getDescriptorSet() const { return table.getSet(); }
    VkDescriptorSetLayout getLayout() const { return table.getLayout(); }

private:
    VKTable table;
};

} // namespace Kolm
