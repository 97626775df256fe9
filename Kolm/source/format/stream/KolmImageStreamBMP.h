// BMP files.

#pragma once

#include "KolmImageStream.h"

namespace Kolm {

/// Loads palettes, run-length coded ones among them, and 16 to 32 bits with any masks. Saves 2D images of one layer with
/// 8-bit unsigned channels: grey with a palette, RGB with 24 bits, RGBA with 32.
class ImageStreamBMP : public ImageStream {
public:
    ImageStreamBMP();

    bool info(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool load(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool save(Stream &stream, const Image &image, Image::Flags flags, uint32_t quality) override;
};

} // namespace Kolm
