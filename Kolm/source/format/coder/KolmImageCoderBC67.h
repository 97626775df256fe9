// BC6 and BC7: up to three lines through the colours of a block, in fourteen and eight modes.

#pragma once

#include "KolmImageCoder.h"

namespace Kolm {

/// Coder of FormatBC6RGBf16s to FormatBC7RGBAu8ns.
class ImageCoderBC67 : public ImageCoder {
public:
    ImageCoderBC67();

    Image decode(Format format, const Image &image, Image::Flags flags, Async *async) override;
    Image encode(Format format, const Image &image, Image::Flags flags, Async *async) override;

private:
    // One block. Only the first width and height pixels are written or read; stride is the bytes between rows.
    static void decode_color6(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, const uint8_t *src,
                              bool is_signed);
    static void encode_color6(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, const uint8_t *src,
                              bool is_signed, Image::Flags flags);
    static void decode_color7(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, const uint8_t *src);
    static void encode_color7(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, const uint8_t *src,
                              Image::Flags flags);
};

} // namespace Kolm
