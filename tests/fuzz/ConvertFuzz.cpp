// Fuzz entry of image operations: images of any type, format and content through conversion, resampling and the
// operations on parts. What is refused leaves an empty image and a line; what succeeds has the promised shape.
//
// Eight bytes choose type, format, sizes, operation and its arguments; the rest is the image's content.

#include <stdlib.h>
#include <string.h>

#include "KolmImage.h"
#include "KolmLog.h"

using namespace Kolm;

#define CHECK(EXPR) ((EXPR) ? void(0) : abort())

static uint32_t lines = 0;

static bool count_lines(Log::Level level, size_t, const char *, void *) {
    lines += (level <= Log::Error);
    return true;
}

static void convert(const Image &image, Format format, Image::Flags flags) {
    lines = 0;
    const Image ret = image.toFormat(format, flags);
    CHECK(ret.isAllocated() ? ret.getFormat() == format : lines > 0);
    if(ret.isAllocated()) CHECK(ret.getSize() == image.getSize() && ret.getMipmaps() == image.getMipmaps());
}

static void resize(const Image &image, const Size &size, uint32_t filters, Image::Flags flags) {
    static const Image::Filter min_filters[] = {Image::FilterPoint, Image::FilterBox, Image::FilterSinc,
                                                Image::FilterMax, Image::FilterMin};
    static const Image::Filter mag_filters[] = {Image::FilterPoint, Image::FilterLinear, Image::FilterCubic};
    if(image.is64BitFormat() && (filters % 5 || filters % 3)) return; // ends the process
    lines = 0;
    const Image ret = image.getResized(size, min_filters[filters % 5], mag_filters[filters % 3], flags);
    CHECK(ret.isAllocated() ? ret.getFormat() == image.getFormat() : lines > 0);
    if(ret.isAllocated()) CHECK((size.width == 0 || ret.getWidth() == size.width));
}

static void filter(const Image &image, uint32_t filters, Image::Flags flags) {
    static const Image::Filter mip_filters[] = {Image::FilterPoint, Image::FilterBox, Image::FilterMax,
                                                Image::FilterMin};
    const Image::Filter filter = mip_filters[filters % 4];
    if(filter != Image::FilterPoint && (image.isMixedFormat() || image.is64BitFormat())) return; // ends the process
    lines = 0;
    const Image ret = image.getMipmapped(filter, flags);
    CHECK(ret.isAllocated() || lines > 0);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if(size < 8) return 0;
    Log::setCallback(count_lines);
    const Image::Type type = Image::Type(Image::Type2D + data[0] % 3);
    const Format format = Format(1 + data[1] % (NumFormats - 1));
    const uint32_t width = 1 + data[2] % 24;
    const uint32_t height = (type == Image::TypeCube) ? width : 1 + data[3] % 24;
    const uint32_t depth = (type == Image::Type3D) ? 1 + data[3] / 24 % 6 : 1;
    const uint32_t layers = (type == Image::Type3D) ? 1 : 1 + (data[4] >> 6);
    Image image;
    if(!image.create(type, format, Size(width, height, depth), layers,
                     (data[4] & 1) ? Image::FlagMipmaps : Image::FlagNone))
        return 0;
    memcpy(image.getData(), data + 8, (size - 8 < image.getDataSize()) ? size - 8 : image.getDataSize());
    const Image::Flags flags = Image::Flags(data[5] | uint32_t(data[4] & 6) << 7) &
                               (Image::FlagFast | Image::FlagPerceptual | Image::FlagPanorama | Image::FlagNormalize |
                                Image::FlagGamma | Image::FlagSRGB);
    const uint32_t a = data[6], b = data[7];
    const Slice slice(Layer(a & 3), Face(a >> 2 & 7), Mipmap(a >> 5));
    switch((data[4] >> 3) & 7) {
    case 0:
    case 1: convert(image, Format(1 + a % (NumFormats - 1)), flags); break;
    case 2: resize(image, Size(a % 32, b % 32), a ^ b, flags); break;
    case 3: filter(image, a, flags); break;
    case 4: image.toType(Image::Type(a % Image::NumTypes), flags); break;
    case 5: CHECK(image.getRotated(int32_t(a) - 128).getRotated(128 - int32_t(a)) == image || lines > 0); break;
    case 6:
        image.getComponent(a % 5);
        image.swap(a % 5, b % 5);
        image.getSlice(slice);
        break;
    case 7:
        image.getRegion(Region(a % 32, b % 32, 1 + a / 32, 1 + b / 32), slice);
        image.copy(image, Origin(int32_t(a % 32), int32_t(b % 32)), slice, slice);
        image.flipX(Region(a % 32, b % 32, 1 + a / 32, 1 + b / 32), slice);
        image.flipY(Region(a % 32, b % 32, 1 + a / 32, 1 + b / 32), slice);
        break;
    }
    return 0;
}
