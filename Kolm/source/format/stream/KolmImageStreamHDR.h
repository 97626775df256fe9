// Radiance pictures.

#pragma once

#include "KolmImageStream.h"

namespace Kolm {

/// Loads RGBE pixels, run-length coded or not, from any corner, as RGBf32. Saves 2D images of one layer with three or
/// four 32-bit float channels; alpha is dropped.
class ImageStreamHDR : public ImageStream {
public:
    ImageStreamHDR();

    bool info(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool load(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool save(Stream &stream, const Image &image, Image::Flags flags, uint32_t quality) override;
};

} // namespace Kolm
