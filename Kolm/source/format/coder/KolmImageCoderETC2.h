// ETC2 and EAC: colours from a base and a table of luminance steps, bytes and 11-bit values likewise.

#pragma once

#include "KolmImageCoder.h"

namespace Kolm {

/// Coder of FormatEACRi8n to FormatETC2RGBu8Au1ns. The 11 bits of EAC become the 8 bits on top.
class ImageCoderETC2 : public ImageCoder {
public:
    /// What a format's block holds.
    enum Capabilities : uint32_t {
        HasR8 = 1 << 0,
        HasG8 = 1 << 1,
        HasA8 = 1 << 2,
        HasA1 = 1 << 3,
        HasRGB8 = 1 << 4,
        HasRG8 = HasR8 | HasG8,
        HasRGBA8 = HasRGB8 | HasA8,
        HasRGB8A1 = HasRGB8 | HasA1,
    };

    ImageCoderETC2();

    Image decode(Format format, const Image &image, Image::Flags flags, Async *async) override;
    Image encode(Format format, const Image &image, Image::Flags flags, Async *async) override;

private:
    static uint32_t get_capabilities(Format format);

    // One block. Only the first width and height pixels are written or read; stride and pixel are the bytes between
    // rows and between pixels.
    static void decode_alpha(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                             const uint8_t *src, bool wide, bool is_signed);
    static void encode_alpha(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                             const uint8_t *src, bool wide, bool is_signed, Image::Flags flags);
    static void decode_color(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                             const uint8_t *src, uint32_t capabilities);
    static void encode_color(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                             const uint8_t *src, uint32_t capabilities, Image::Flags flags);
};

} // namespace Kolm
