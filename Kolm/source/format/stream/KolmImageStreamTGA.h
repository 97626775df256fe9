// TGA files.

#pragma once

#include "KolmImageStream.h"

namespace Kolm {

/// Loads grey, palette and true colour files, raw and run-length coded, from any corner. Saves 2D images of one layer
/// with 8-bit unsigned channels, raw.
class ImageStreamTGA : public ImageStream {
public:
    ImageStreamTGA();

    bool info(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool load(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool save(Stream &stream, const Image &image, Image::Flags flags, uint32_t quality) override;
};

} // namespace Kolm
