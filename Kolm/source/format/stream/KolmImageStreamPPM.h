// Portable pixmaps, greymaps and bitmaps.

#pragma once

#include "KolmImageStream.h"

namespace Kolm {

/// Loads P1 to P6 with any top value, which becomes that of 8 or 16 bits. Saves 2D images of one layer with one or
/// three unsigned channels as P5 and P6.
class ImageStreamPPM : public ImageStream {
public:
    ImageStreamPPM();

    bool info(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool load(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool save(Stream &stream, const Image &image, Image::Flags flags, uint32_t quality) override;
};

} // namespace Kolm
