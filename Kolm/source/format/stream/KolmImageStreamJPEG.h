// JPEG files through libjpeg.

#pragma once

#include "KolmImageStream.h"

namespace Kolm {

/// Loads 8-bit pictures of one to four components as libjpeg gives them: grey, RGB, and CMYK as four raw channels. What
/// a camera noted becomes the image's meta text; pixels are not turned by it. Saves plain unsigned 8-bit 2D images of
/// one layer: level 0 only, RG and RGBA as raw channels.
class ImageStreamJPEG : public ImageStream {
public:
    ImageStreamJPEG();

    bool info(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool load(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool save(Stream &stream, const Image &image, Image::Flags flags, uint32_t quality) override;

private:
    struct Reader;
    struct Writer;
    // Looks through the segments for camera data. The stream stands where it was afterwards.
    static bool read_meta_info(Stream &stream, String &meta);
};

} // namespace Kolm
