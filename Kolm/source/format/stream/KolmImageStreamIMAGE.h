// The library's own image files: every type and format, levels stored one by one, raw or compressed.
// docs/images.md tells the bytes.

#pragma once

#include "KolmImageStream.h"

namespace Kolm {

/// Loads and saves any image. FlagFast and FlagBest compress. The offset of info and load is the first level to take,
/// so that a reduced resolution is read from the tail of a file.
class ImageStreamIMAGE : public ImageStream {
public:
    ImageStreamIMAGE();

    bool info(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool load(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool save(Stream &stream, const Image &image, Image::Flags flags, uint32_t quality) override;

    static constexpr uint32_t Magic = 0x67616D69; // "imag"
    static constexpr uint32_t Version_00 = 20200315;
    static constexpr uint32_t Version = Version_00;

private:
    bool create(Stream &stream, Image &image, Image::Flags flags, uint32_t *offset);
};

} // namespace Kolm
