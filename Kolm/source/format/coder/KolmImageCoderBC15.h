// BC1 to BC5: colours between two 5-6-5 endpoints, and bytes between two 8-bit endpoints.

#pragma once

#include "KolmImageCoder.h"

namespace Kolm {

/// Coder of FormatBC1RGBu8n to FormatBC5RGu8n.
class ImageCoderBC15 : public ImageCoder {
public:
    /// What a format's block holds.
    enum Capabilities : uint32_t {
        HasR8 = 1 << 0,
        HasG8 = 1 << 1,
        HasA8 = 1 << 2,
        HasA4 = 1 << 3,
        HasA1 = 1 << 4,
        HasRGB8 = 1 << 5,
        HasBlack = 1 << 6, ///< the fourth colour of the 3-colour form is opaque black
        HasRG8 = HasR8 | HasG8,
        HasRGBA8 = HasRGB8 | HasA8,
        HasRGB8A4 = HasRGB8 | HasA4,
        HasRGB8A1 = HasRGB8 | HasA1,
    };

    ImageCoderBC15();

    Image decode(Format format, const Image &image, Image::Flags flags, Async *async) override;
    Image encode(Format format, const Image &image, Image::Flags flags, Async *async) override;

private:
    static uint32_t get_capabilities(Format format);

    // One block. Only the first width and height pixels are read; stride and pixel are the bytes between rows and
    // between pixels.
    static void encode_alpha4(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                              const uint8_t *src);
    static void encode_alpha(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                             const uint8_t *src, bool is_signed, Image::Flags flags);
    static void encode_color(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                             const uint8_t *src, uint32_t capabilities, Image::Flags flags);
};

} // namespace Kolm
