// Image::getResized: what is resampled, and by which pass.

#include "KolmImageResize.h"

#include "KolmImageTasks.h"
#include "KolmLog.h"
#include "KolmPixel.h"

namespace Kolm {

ImageFootprints::ImageFootprints(uint32_t src_size, uint32_t dst_size) {
    scale = float64_t(src_size) / float64_t(dst_size);
    items.resize(dst_size);
    float64_t carry = 0.0;
    uint64_t begin = 0;
    for(uint32_t i = 0; i < dst_size; i++) {
        const int64_t n = max(int64_t(carry + scale + 0.5), int64_t(1));
        Item &item = items[i];
        item.begin = uint32_t(min(begin, uint64_t(src_size - 1)));
        item.size = uint32_t(min(uint64_t(n), uint64_t(src_size - item.begin)));
        item.center = uint32_t(min(begin + uint64_t((n - 1) >> 1), uint64_t(src_size - 1)));
        max_size = max(max_size, item.size);
        carry += scale - float64_t(n);
        begin += uint64_t(n);
    }
}

void get_magnify_points(Array<uint32_t> &points, uint32_t src_size, uint32_t dst_size) {
    const float64_t scale = float64_t(src_size) / float64_t(dst_size);
    points.resize(dst_size);
    for(uint32_t i = 0; i < dst_size; i++) points[i] = min(uint32_t(scale * i), src_size - 1);
}

void get_minify_points(Array<uint32_t> &points, const ImageFootprints &footprints) {
    points.resize(footprints.items.size());
    for(uint32_t i = 0; i < points.size(); i++) points[i] = footprints.items[i].center;
}

void resize_point(ImagePlane dst, const ImagePlane &src, uint32_t pixel_size, const Array<uint32_t> &x_points,
                  const Array<uint32_t> &y_points, Async *async) {
    with_pixel(pixel_size, [&](auto pixel) {
        using Type = decltype(pixel);
        const uint32_t *points = x_points.get();
        run_rows(async, dst.height, 32, [&](uint32_t begin, uint32_t end) {
            for(uint32_t y = begin; y < end; y++) {
                const Type *s = src.row<Type>(y_points[y]);
                Type *d = reinterpret_cast<Type *>(dst.data + dst.stride * y);
                for(uint32_t x = 0; x < dst.width; x++) d[x] = s[points[x]];
            }
        });
    });
}

namespace {

// Scratch rows and tables of taps are arrays, which count in 32 bits.
constexpr uint32_t max_extent = 1u << 26;

// The extent that keeps the proportions where none is given.
uint32_t get_scaled(uint32_t extent, uint32_t other, uint32_t other_extent) {
    return uint32_t(clamp(uint64_t(extent) * other / other_extent, uint64_t(1), uint64_t(UINT32_MAX)));
}

void resize_plane(ImagePlane dst, const ImagePlane &src, const Image &image, Image::Filter min_filter,
                  Image::Filter mag_filter, Image::Flags flags, Async *async) {
    const uint32_t pixel_size = image.getPixelSize();
    Array<uint32_t> x_points, y_points;
    if(dst.width > src.width || dst.height > src.height) {
        if(mag_filter != Image::FilterPoint) return resize_magnify(dst, src, image.getFormat(), mag_filter, async);
        get_magnify_points(x_points, src.width, dst.width);
        get_magnify_points(y_points, src.height, dst.height);
        return resize_point(dst, src, pixel_size, x_points, y_points, async);
    }
    if(min_filter == Image::FilterPoint) {
        get_minify_points(x_points, ImageFootprints(src.width, dst.width));
        get_minify_points(y_points, ImageFootprints(src.height, dst.height));
        return resize_point(dst, src, pixel_size, x_points, y_points, async);
    }
    const bool gamma = (flags & Image::FlagGamma);
    if(min_filter == Image::FilterSinc) return resize_sinc(dst, src, image.getFormat(), gamma, async);
    return resize_minify(dst, src, image.getFormat(), min_filter, gamma, async);
}

} // namespace

Image Image::getResized(const Size &size, Filter min_filter, Filter mag_filter, Flags flags, Async *async) const {
    if(!isAllocated()) return Image();
    if(size == getSize()) return *this;

    // A level that is there already is not computed anew.
    Image ret;
    if(const uint32_t mipmap = findMipmap(size)) {
        const Slice levels = getSlice(mipmap);
        if(ret.create(image_type, image_format, size, image_layers, FlagMipmaps | FlagNoClear))
            ret.copy(*this, ret.getSlice(), levels);
        return ret;
    }

    const bool plain = (is2DType() || isCubeType()) && isColorFormat() && !isBlockFormat();
    if(!plain || (size.width == 0 && size.height == 0)) {
        Log::printf(Log::Error, "Image::getResized(): can't resize %s image\n", getDescription().get());
        return Image();
    }
    const bool point = (min_filter == FilterPoint && mag_filter == FilterPoint);
    if(!point && (isf16Format() || isMixedFormat())) {
        const Format format = isMixedFormat() ? toPixelFormat(image_format) : to32BitFormat(image_format);
        ret = toFormat(format, FlagNone, async);
        if(ret.isAllocated()) ret = ret.getResized(size, min_filter, mag_filter, flags, async);
        return ret.isAllocated() ? ret.toFormat(image_format, FlagNone, async) : Image();
    }

    const uint32_t width = size.width ? size.width : get_scaled(image_width, size.height, image_height);
    const uint32_t height = size.height ? size.height : get_scaled(image_height, size.width, image_width);
    if(max(max(width, height), max(image_width, image_height)) > max_extent) {
        Log::printf(Log::Error, "Image::getResized(): can't resize %s image\n", getDescription().get());
        return Image();
    }
    const bool magnify = (width > image_width || height > image_height);
    if(magnify) {
        KOLM_ASSERT((mag_filter == FilterPoint || mag_filter == FilterLinear || mag_filter == FilterCubic) &&
                    "Image::getResized(): unknown mag filter");
    } else {
        KOLM_ASSERT((min_filter == FilterPoint || min_filter == FilterBox || min_filter == FilterMax ||
                     min_filter == FilterMin || min_filter == FilterSinc) &&
                    "Image::getResized(): unknown min filter");
    }
    const bool known = !is64BitFormat() || (magnify ? mag_filter : min_filter) == FilterPoint;
    KOLM_ASSERT((known || isMixedFormat()) && "Image::getResized(): unknown image format");
    KOLM_ASSERT((!isMixedFormat() || point) && "Image::getResized(): unknown image mixed format");

    if(!ret.create(image_type, image_format, Size(width, height), image_layers, FlagNoClear)) return Image();
    for(uint32_t layer = 0; layer < image_layers; layer++) {
        for(uint32_t face = 0; face < image_faces; face++) {
            const ImagePlane src = {get_level(face, layer, 0), get_stride(0, 1), image_width, image_height};
            const ImagePlane dst = {ret.get_level(face, layer, 0), ret.get_stride(0, 1), width, height};
            resize_plane(dst, src, *this, min_filter, mag_filter, flags, async);
        }
    }
    return ret;
}

} // namespace Kolm
