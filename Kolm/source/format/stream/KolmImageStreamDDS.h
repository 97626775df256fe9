// DDS files, old and new headers.

#pragma once

#include "KolmImageStream.h"

namespace Kolm {

/// Loads the formats of old and new headers, chains of any length; 8-bit channels of old headers come out as RGBA
/// whatever their order. Saves colour formats that the format has a code for, always with the new header.
class ImageStreamDDS : public ImageStream {
public:
    ImageStreamDDS();

    bool info(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool load(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async) override;
    bool save(Stream &stream, const Image &image, Image::Flags flags, uint32_t quality) override;

private:
    struct PixelFormat {
        uint32_t dwSize;
        uint32_t dwFlags;
        uint32_t dwFourCC;
        uint32_t dwBitCount;
        uint32_t dwRBitMask;
        uint32_t dwGBitMask;
        uint32_t dwBBitMask;
        uint32_t dwABitMask;
    };
    struct Header {
        uint32_t dwSize;
        uint32_t dwFlags;
        uint32_t dwHeight;
        uint32_t dwWidth;
        uint32_t dwPitchOrLinearSize;
        uint32_t dwDepth;
        uint32_t dwMipMapCount;
        uint32_t dwReserved1[11];
        PixelFormat ddspf;
        uint32_t dwCaps;
        uint32_t dwCaps2;
        uint32_t dwCaps3;
        uint32_t dwCaps4;
        uint32_t dwReserved2;
    };
    struct Header10 {
        uint32_t dwDXGIFormat;
        uint32_t dwResourceDimension;
        uint32_t dwMiscFlag;
        uint32_t dwArraySize;
        uint32_t dwMiscFlags2;
    };
    struct Description;

    static Format get_mask_format(const PixelFormat &pf);
    static void restore_components(Image &image, const PixelFormat &pf);
    bool create(Stream &stream, Image &image, Image::Flags flags, Description &desc);
};

} // namespace Kolm
