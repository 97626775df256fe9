// Image::getMipmapped: each level from the one above, by 2x2 texels, in 3D by 2x2x2.

#include "KolmImage.h"
#include "KolmImageElement.h"
#include "KolmImageTasks.h"
#include "KolmLog.h"

namespace Kolm {

namespace {

constexpr uint32_t band_rows = 32; // target rows of one task

// One level with all its depth slices, rows counted through.
struct Level {
    template<class Type> const Type *row(uint32_t y, uint32_t z) const {
        return reinterpret_cast<const Type *>(data + stride * (y + size_t(z) * size.height));
    }
    uint8_t *data;
    size_t stride;
    Size size;
};

// Mean of 4 or 8 texels, cut toward zero: the product with 0.25 or 0.125 is exact. Floats are summed as doubles, so
// that equal ones give exactly their value, the largest too.
template<class Type, uint32_t Count> struct BoxFilter {
    static Type get(const Type *v) {
        using Sum = std::conditional_t<Element<Type>::is_float, float64_t,
                                       std::conditional_t<(sizeof(Type) < 4), int32_t, typename Element<Type>::Wide>>;
        Sum sum = (Sum(v[0]) + Sum(v[1])) + (Sum(v[2]) + Sum(v[3]));
        if constexpr(Count == 8) sum += (Sum(v[4]) + Sum(v[5])) + (Sum(v[6]) + Sum(v[7]));
        if constexpr(Element<Type>::is_float)
            return Type(sum * (1.0 / Count));
        else if constexpr(Element<Type>::is_signed)
            return Type(sum / Sum(Count));
        else
            return Type(std::make_unsigned_t<Sum>(sum) / Count);
    }
};
template<class Type, uint32_t Count> struct GammaFilter {
    static Type get(const Type *v) {
        float32_t linear[Count];
        for(uint32_t i = 0; i < Count; i++) linear[i] = Element<Type>::decode(v[i]);
        return Element<Type>::encode(BoxFilter<float32_t, Count>::get(linear));
    }
};
template<class Type, uint32_t Count> struct MaxFilter {
    static Type get(const Type *v) {
        Type ret = v[0];
        for(uint32_t i = 1; i < Count; i++) ret = (v[i] > ret) ? v[i] : ret;
        return ret;
    }
};
template<class Type, uint32_t Count> struct MinFilter {
    static Type get(const Type *v) {
        Type ret = v[0];
        for(uint32_t i = 1; i < Count; i++) ret = (v[i] < ret) ? v[i] : ret;
        return ret;
    }
};

// Texels behind the end of a level, which only levels of one texel across have, are its last ones.
template<template<class, uint32_t> class Filter, class Type, uint32_t Components, uint32_t Count>
void filter_row(Type *dst, uint32_t width, const Type *const *rows, uint32_t src_width) {
    constexpr uint32_t row_count = Count / 2;
    const size_t next = (src_width > 1) ? Components : 0;
    for(uint32_t x = 0; x < width; x++) {
        for(uint32_t c = 0; c < Components; c++) {
            const size_t pos = size_t(x) * Components * 2 + c;
            Type v[Count];
            for(uint32_t i = 0; i < row_count; i++) {
                v[i * 2] = rows[i][pos];
                v[i * 2 + 1] = rows[i][pos + next];
            }
            if constexpr(std::is_same_v<Filter<Type, Count>, GammaFilter<Type, Count>>) {
                dst[size_t(x) * Components + c] =
                    (c < 3) ? Filter<Type, Count>::get(v) : BoxFilter<Type, Count>::get(v);
            } else {
                dst[size_t(x) * Components + c] = Filter<Type, Count>::get(v);
            }
        }
    }
}

template<template<class, uint32_t> class Filter, class Type, uint32_t Components>
void filter_level(const Level &dst, const Level &src, bool volume, uint32_t row) {
    const uint32_t y = row % dst.size.height;
    const uint32_t z = row / dst.size.height;
    const uint32_t y0 = y * 2, y1 = min(y * 2 + 1, src.size.height - 1);
    const uint32_t z0 = z * 2, z1 = min(z * 2 + 1, src.size.depth - 1);
    Type *out = reinterpret_cast<Type *>(dst.data + dst.stride * row);
    const Type *rows[4] = {src.row<Type>(y0, z0), src.row<Type>(y1, z0), src.row<Type>(y0, z1), src.row<Type>(y1, z1)};
    if(volume)
        filter_row<Filter, Type, Components, 8>(out, dst.size.width, rows, src.size.width);
    else
        filter_row<Filter, Type, Components, 4>(out, dst.size.width, rows, src.size.width);
}

// One of the four texels of a footprint, by turns, so that no corner is preferred over the image.
void point_level(const Level &dst, const Level &src, uint32_t pixel_size, uint32_t row) {
    const uint32_t y = row % dst.size.height;
    const uint32_t z = row / dst.size.height;
    uint8_t *out = dst.data + dst.stride * row;
    for(uint32_t x = 0; x < dst.size.width; x++) {
        const uint32_t index = ((x ^ y) >> 1) & 3;
        const uint32_t sx = min(x * 2 + (index & 1), src.size.width - 1);
        const uint32_t sy = min(y * 2 + (index >> 1), src.size.height - 1);
        memcpy(out + size_t(x) * pixel_size, src.row<uint8_t>(sy, z * 2) + size_t(sx) * pixel_size, pixel_size);
    }
}

template<template<class, uint32_t> class Filter>
bool filter_rows(const Level &dst, const Level &src, Format format, bool volume, uint32_t begin, uint32_t end) {
    return with_elements(format, [&](auto element, auto components) {
        for(uint32_t i = begin; i < end; i++) filter_level<Filter, decltype(element), components>(dst, src, volume, i);
    });
}

void do_mipmaps(const Level &dst, const Level &src, const Image &image, Image::Filter filter, bool gamma,
                Async *async) {
    const bool volume = image.is3DType();
    const Format format = image.getFormat();
    run_rows(async, dst.size.height * dst.size.depth, band_rows, [&](uint32_t begin, uint32_t end) {
        if(filter == Image::FilterPoint) {
            for(uint32_t i = begin; i < end; i++) point_level(dst, src, image.getPixelSize(), i);
        } else if(filter == Image::FilterMax) {
            filter_rows<MaxFilter>(dst, src, format, volume, begin, end);
        } else if(filter == Image::FilterMin) {
            filter_rows<MinFilter>(dst, src, format, volume, begin, end);
        } else if(gamma) {
            filter_rows<GammaFilter>(dst, src, format, volume, begin, end);
        } else {
            filter_rows<BoxFilter>(dst, src, format, volume, begin, end);
        }
    });
}

} // namespace

Image Image::getMipmapped(Filter filter, Flags flags, Async *async) const {
    if(!isAllocated() || !isColorFormat() || isBlockFormat()) {
        Log::printf(Log::Error, "Image::getMipmapped(): can't create mipmaps for %s image\n", getDescription().get());
        return Image();
    }
    KOLM_ASSERT((filter == FilterPoint || filter == FilterBox || filter == FilterMax || filter == FilterMin) &&
                "Image::getMipmapped(): unknown filter");

    // Averages are those of light. A BGRA row has no wider one, and is averaged as it is.
    const Format wide = isMixedFormat()                      ? toPixelFormat(image_format)
                        : isf16Format()                      ? to32BitFormat(image_format)
                        : (is8BitFormat() && isSRGBFormat()) ? to16BitFormat(image_format)
                                                             : image_format;
    if(filter != FilterPoint && wide != image_format) {
        Image ret = toFormat(wide, FlagNone, async);
        if(ret.isAllocated()) ret = ret.getMipmapped(filter, flags, async);
        if(ret.isAllocated()) ret = ret.toFormat(image_format, FlagNone, async);
        if(isMixedFormat())
            KOLM_ASSERT(ret.isAllocated() && "Image::getMipmapped(): can't convert mixed image");
        else if(isf16Format())
            KOLM_ASSERT(ret.isAllocated() && "Image::getMipmapped(): can't convert f16 image");
        else
            KOLM_ASSERT(ret.isAllocated() && "Image::getMipmapped(): can't convert 8-bit image");
        // The way there and back cuts twice: the largest level is the source's.
        const Slice level = Slice(Face(0, image_faces), Layer(0, image_layers));
        ret.copy(*this, level, level);
        return ret;
    }
    KOLM_ASSERT((!is64BitFormat() || filter == FilterPoint) && "Image::getMipmapped(): unknown image format");

    Image ret;
    if(!ret.create(image_type, image_format, getSize(), image_layers, FlagMipmaps | FlagNoClear)) return Image();
    const Slice level = Slice(Face(0, image_faces), Layer(0, image_layers));
    ret.copy(*this, level, level);
    for(uint32_t layer = 0; layer < image_layers; layer++) {
        for(uint32_t face = 0; face < image_faces; face++) {
            for(uint32_t m = 1; m < ret.image_mipmaps; m++) {
                const Level src = {ret.get_level(face, layer, m - 1), ret.get_stride(m - 1, 1), ret.getSize(m - 1)};
                const Level dst = {ret.get_level(face, layer, m), ret.get_stride(m, 1), ret.getSize(m)};
                do_mipmaps(dst, src, *this, filter, (flags & FlagGamma), async);
            }
        }
    }
    return ret;
}

} // namespace Kolm
