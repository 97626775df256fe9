// Textures and images of tests on a device.

#pragma once

#include <algorithm>
#include <random>

#include "GpuTest.h"
#include "KolmImage.h"
#include "VKTexture.h"

namespace Kolm {

/// Textures on the software driver, with images of random bytes beside them.
class TextureGpuTest : public GpuTest {
protected:
    using TexturePtr = std::unique_ptr<Texture>;
    TexturePtr createTexture(Texture::Type type, Format format, const Size &size, uint32_t layers,
                             Texture::Flags flags) {
        return TexturePtr(device->createTexture(type, format, size, layers, flags));
    }
    static VKTexture *vk(const TexturePtr &texture) { return static_cast<VKTexture *>(texture.get()); }

    static constexpr Texture::Flags source = Texture::FlagSource;
    static constexpr Texture::Flags mipmaps = Texture::FlagMipmaps;

    std::mt19937 random{1};

    void fill(Image &image) {
        uint8_t *data = image.getData();
        for(size_t i = 0, size = image.getDataSize(); i < size; i++) data[i] = uint8_t(random());
        clear_padding(image);
    }
    /// Bytes of depth pixels that mean nothing come back as zeros.
    static void clear_padding(Image &image) {
        const size_t size = image.getDataSize();
        uint8_t *data = image.getData();
        for(size_t i = 0; i < size; i += image.getPixelSize()) {
            switch(image.getFormat()) {
            case FormatDu16Su8:
            case FormatDu24: data[i + 3] = 0; break;
            case FormatDf32Su8: data[i + 5] = data[i + 6] = data[i + 7] = 0; break;
            default: return;
            }
        }
    }
    static Image get_image(const Texture &texture) {
        const Image::Flags flags = texture.hasMipmaps() ? Image::FlagMipmaps : Image::FlagNone;
        return Image(Image::Type(texture.getType()), texture.getFormat(), texture.getSize(), texture.getLayers(),
                     flags);
    }
    Image read(const TexturePtr &texture) {
        Image image = get_image(*texture);
        EXPECT_TRUE(device->getTexture(texture.get(), image));
        return image;
    }
    static uint32_t get_unit_size(const Image &image) { return std::max(image.getPixelSize(), image.getBlockSize()); }
};

} // namespace Kolm
