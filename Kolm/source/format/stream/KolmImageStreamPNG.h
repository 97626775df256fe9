// PNG files through libpng.

#pragma once

#include "KolmImageStream.h"

namespace Kolm {

/// Loads every kind of PNG as 8 or 16 bits a channel; palettes and transparent colours are expanded. Saves plain
/// unsigned 2D images of one layer: level 0 only. FlagFast and FlagBest choose the compression level.
class ImageStreamPNG : public ImageStream {
public:
    ImageStreamPNG();

    bool info(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool load(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool save(Stream &stream, const Image &image, Image::Flags flags, uint32_t quality) override;

private:
    struct Reader;
    struct Writer;
};

} // namespace Kolm
