// KTX files of version 1.

#pragma once

#include "KolmImageStream.h"

namespace Kolm {

/// Loads and saves colour formats that OpenGL has an internal format for. Pixels of 2D images are turned upside down
/// on loading unless the file says that its first row is the upper one, which saved files do.
class ImageStreamKTX : public ImageStream {
public:
    ImageStreamKTX();

    bool info(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool load(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool save(Stream &stream, const Image &image, Image::Flags flags, uint32_t quality) override;

private:
    struct Header {
        uint32_t gl_type;
        uint32_t gl_size;
        uint32_t gl_format;
        uint32_t gl_internal_format;
        uint32_t gl_base_internal_format;
        uint32_t pixel_width;
        uint32_t pixel_height;
        uint32_t pixel_depth;
        uint32_t num_layers;
        uint32_t num_faces;
        uint32_t num_mipmaps;
        uint32_t key_values_size;
    };

    static Format find_format(const Header &header);
    bool create(Stream &stream, Image &image, Image::Flags flags, Header &header);
    bool read(Stream &stream, Image &image, const Header &header);
};

} // namespace Kolm
