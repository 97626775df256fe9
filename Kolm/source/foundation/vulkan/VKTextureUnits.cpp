#include "VKTextureUnits.h"

namespace Kolm {

// Bytes of depth in a buffer and of an image's pixel, where stencil follows. The byte that fills a word of 24 bits up is
// undefined when it comes from the device.
static void get_depth(Format format, uint32_t &size, uint32_t &bytes) {
    switch(format) {
    case FormatDu16:
    case FormatDu16Su8: size = bytes = 2; break;
    case FormatDu24:
    case FormatDu24Su8:
        size = 4;
        bytes = 3;
        break;
    default: size = bytes = 4; break;
    }
}

TextureUnits::TextureUnits(const Texture &texture) : texture(texture) {
    width = max(texture.getBlockWidth(), 1u);
    height = max(texture.getBlockHeight(), 1u);
    size = max(texture.getPixelSize(), texture.getBlockSize());
    planes[0].size = planes[0].bytes = size;
    if(texture.isDepthFormat()) {
        planes[0].aspect = VK_IMAGE_ASPECT_DEPTH_BIT;
        get_depth(texture.getFormat(), planes[0].size, planes[0].bytes);
        if(texture.isStencilFormat()) {
            planes[1].aspect = VK_IMAGE_ASPECT_STENCIL_BIT;
            planes[1].size = planes[1].bytes = 1;
            planes[1].offset = planes[0].bytes;
            num_planes = 2;
        }
    }
    // Offsets of copies are multiples of the unit and of a word.
    alignment = planes[0].size;
    while(alignment % 4) alignment *= 2;
    if(16 % alignment == 0) alignment = 16;
}

void TextureUnits::setRegion(VkBufferImageCopy &copy, const Origin &origin, const Size &num, uint32_t mipmap) const {
    copy.imageOffset = {int32_t(origin.x), int32_t(origin.y), int32_t(origin.z)};
    // Blocks at the edge of a level have pixels outside of it.
    copy.imageExtent.width = min(num.width * width, texture.getWidth(mipmap) - origin.x);
    copy.imageExtent.height = min(num.height * height, texture.getHeight(mipmap) - origin.y);
    copy.imageExtent.depth = num.depth;
}

void TextureUnits::setPlane(uint32_t index, uint8_t *dest, const uint8_t *src, size_t num) const {
    const Plane &plane = planes[index];
    if(plane.bytes == size) {
        memcpy(dest, src, num * size);
        return;
    }
    src += plane.offset;
    for(size_t i = 0; i < num; i++, src += size, dest += plane.size) {
        for(uint32_t j = 0; j < plane.bytes; j++) dest[j] = src[j];
        for(uint32_t j = plane.bytes; j < plane.size; j++) dest[j] = 0;
    }
}

void TextureUnits::getPlane(uint32_t index, uint8_t *dest, const uint8_t *src, size_t num) const {
    const Plane &plane = planes[index];
    if(plane.bytes == size) {
        memcpy(dest, src, num * size);
        return;
    }
    const uint32_t end = plane.offset + plane.bytes;
    const bool last = (index + 1 == num_planes);
    for(size_t i = 0; i < num; i++, src += plane.size, dest += size) {
        for(uint32_t j = 0; j < plane.bytes; j++) dest[plane.offset + j] = src[j];
        for(uint32_t j = end; last && j < size; j++) dest[j] = 0;
    }
}

} // namespace Kolm
