// VKTextureUnits.h: what the copies between buffers and a texture count in, and how its pixels lie in a buffer.

#pragma once

#include "VKTexture.h"

namespace Kolm {

/// Unit of a texture: a pixel, or a block of a block format. In a buffer the aspects of depth and stencil formats are
/// planes of their own; a unit of an image holds them one behind the other.
struct TextureUnits {
    struct Plane {
        VkImageAspectFlags aspect = VK_IMAGE_ASPECT_COLOR_BIT;
        uint32_t size = 0;   // bytes of a unit in a buffer
        uint32_t bytes = 0;  // of these that mean something
        uint32_t offset = 0; // where they are in the unit of an image
    };

    explicit TextureUnits(const Texture &texture);

    /// Region of a copy: from \p origin in pixels, \p size units.
    void setRegion(VkBufferImageCopy &copy, const Origin &origin, const Size &size, uint32_t mipmap) const;
    /// Moves one plane of \p num units from image to buffer and back.
    void setPlane(uint32_t plane, uint8_t *dest, const uint8_t *src, size_t num) const;
    void getPlane(uint32_t plane, uint8_t *dest, const uint8_t *src, size_t num) const;

    const Texture &texture;
    uint32_t width = 1; // pixels of a unit
    uint32_t height = 1;
    uint32_t size = 0;      // bytes of a unit in an image
    uint32_t alignment = 4; // bytes, of copies in a buffer
    uint32_t num_planes = 1;
    Plane planes[2];
};

} // namespace Kolm
