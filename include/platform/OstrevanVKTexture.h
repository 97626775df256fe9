// Vulkan's side of a texture.

#pragma once

#include <platform/OstrevanTexture.h>
#include <platform/OstrevanVK.h>

namespace Ostrevan {

/// Texture on Vulkan.
class OSTREVAN_API VKTexture : public Texture {
    OSTREVAN_HANDLE(VKTexture)
public:
    VKTexture();
    /// View of the texture, which does not keep it alive. One of another platform is refused with one line.
    explicit VKTexture(const Texture &texture);

    using Texture::create;
    /// Wraps an image of the caller, who destroys it. It was made with the usages that \p flags ask for and is in
    /// \p layout, a VkImageLayout.
    bool create(Type type, Format format, const Size &size, uint32_t layers, Flags flags, VkImage image,
                uint32_t layout);

    VkImage getVKTexture() const;
    /// View of the whole texture for sampling.
    VkImageView getVKTextureView() const;
    /// View of a part for sampling, which lives as long as the image; null and one line on failure.
    VkImageView getVKTextureView(const Slice &slice);
    /// As VkFormat.
    uint32_t getPixelFormat() const;
    /// Layout that the texture was left in last, as VkImageLayout.
    uint32_t getTextureLayout() const;
};

} // namespace Ostrevan
