// Conversion of pixels between formats: Image::toFormat and what works on single elements.
//
// Each loop runs flat over all data with no test inside that depends on the format; the variants are chosen once. The
// plain loops are written so that compilers turn them into vector code, which needs their higher level here.

#include <math.h>

#include "KolmColor.h"
#include "KolmGamma.h"
#include "KolmImage.h"
#include "KolmImageCoder.h"
#include "KolmLog.h"

namespace Kolm {

namespace {

constexpr float32_t unpack_8 = 0.003921569f;
constexpr float32_t unpack_16 = 1.5259022e-5f;
constexpr float32_t unpack_32 = 2.3283064e-10f;

template<class Type> constexpr bool is_float = std::is_same_v<Type, float32_t> || std::is_same_v<Type, float16_t>;
template<class Type>
constexpr float32_t unpack_scale = (sizeof(Type) == 1)   ? unpack_8
                                   : (sizeof(Type) == 2) ? unpack_16
                                                         : unpack_32;
template<class Type> constexpr Type top_value = Type(~Type(0));

/*
 * elements
 */

// float16_t::get() without branches: the product is exact, for subnormal halves too.
inline float32_t from_half(uint32_t half) {
    const uint32_t value = floatToBits(bitsToFloat((half & 0x7FFF) << 13) * 0x1p112f);
    const uint32_t special = ((half & 0x7C00) == 0x7C00) ? 0x7F800000 : 0;
    return bitsToFloat(value | special | ((half & 0x8000) << 16));
}

// float16_t::set() without branches.
inline uint16_t to_half(float32_t value) {
    const uint32_t bits = floatToBits(value);
    const uint32_t magnitude = bits & 0x7FFFFFFF;
    const uint32_t normal = (magnitude - (112u << 23)) >> 13;
    const float32_t small = bitsToFloat((magnitude < (113u << 23)) ? magnitude : 0);
    const uint32_t subnormal = uint32_t(int32_t(small * 0x1p24f));
    const uint32_t kept = (magnitude >= (225u << 23)) ? (magnitude >> 13) & 0x03FF : 0;
    uint32_t half = (magnitude < (113u << 23)) ? subnormal : normal;
    half = (magnitude < (143u << 23)) ? half : (0x7C00 | kept);
    return uint16_t(half | ((bits >> 16) & 0x8000));
}

inline float32_t load(float32_t v) { return v; }
inline float32_t load(float16_t v) { return from_half(v.bits); }
inline float32_t load(uint8_t v) { return float32_t(v); }
inline float32_t load(uint16_t v) { return float32_t(v); }
inline float32_t load(uint32_t v) { return float32_t(v); }

// Cut toward zero and saturated; NaN is 0.
template<class Type> inline Type store(float32_t v) {
    if constexpr(std::is_same_v<Type, float32_t>) {
        return v;
    } else if constexpr(std::is_same_v<Type, float16_t>) {
        return float16_t::fromBits(to_half(v));
    } else if constexpr(sizeof(Type) == 4) {
        const float32_t x = (v > 0.0f) ? v : 0.0f;
        return (x < 4294967296.0f) ? Type(x) : top_value<Type>;
    } else {
        float32_t x = (v > 0.0f) ? v : 0.0f;
        x = (x < float32_t(top_value<Type>)) ? x : float32_t(top_value<Type>);
        return Type(int32_t(x));
    }
}

// Linear value of an sRGB integer, by the constants of its width.
inline float32_t decode_srgb(uint8_t v) {
    const float32_t c = v * 0.003921569f;
    return (c < 0.04044994f) ? v * 0.00030352699f : powf(v * 0.003717127f + 0.052132703f, 2.4f);
}
inline float32_t decode_srgb(uint16_t v) {
    const float32_t c = v * 1.5259022e-5f;
    return (c < 0.04044994f) ? v * 1.1810389e-6f : powf(v * 1.4463529e-5f + 0.052132703f, 2.4f);
}

// sRGB integer of a linear value, cut. One and more give exactly the top value: 1.055 - 0.055 is less than one.
template<class Type> inline Type encode_srgb_exact(float32_t x) {
    if(!(x > 0.0f)) return 0;
    if(x >= 1.0f) return top_value<Type>;
    return store<Type>(Color::linearToSRGB(x) * float32_t(top_value<Type>));
}

// The 8-bit form as a table: the code at the start of a range of floats, and the floats where the code steps. Ranges
// are 128 to an octave, so that none holds two steps; below the first one the code is 0.
class EncoderSRGB {
public:
    EncoderSRGB() {
        uint32_t bits = 0;
        for(uint32_t i = 1; i < 256; i++) {
            uint32_t lo = bits;
            uint32_t hi = one_bits;
            while(lo < hi) {
                const uint32_t middle = lo + (hi - lo) / 2;
                if(encode_srgb_exact<uint8_t>(bitsToFloat(middle)) < i)
                    lo = middle + 1;
                else
                    hi = middle;
            }
            steps[i] = bitsToFloat(lo);
            bits = lo;
        }
        steps[0] = 0.0f;
        steps[256] = bitsToFloat(infinity_bits);
        for(uint32_t i = 0; i <= num_ranges; i++)
            codes[i] = encode_srgb_exact<uint8_t>(bitsToFloat(first_bits + (i << shift)));
    }
    /// Clamped as integers, which positive floats compare as; a NaN is 0.
    uint8_t get(float32_t x) const {
        int32_t bits = int32_t(floatToBits(x));
        bits &= -int32_t(bits <= int32_t(infinity_bits));
        bits = (bits > int32_t(first_bits)) ? bits : int32_t(first_bits);
        bits = (bits < int32_t(one_bits)) ? bits : int32_t(one_bits);
        const uint32_t code = codes[(uint32_t(bits) - first_bits) >> shift];
        return uint8_t(code + (bitsToFloat(uint32_t(bits)) >= steps[code + 1]));
    }
    static const EncoderSRGB &get_encoder() {
        static const EncoderSRGB encoder;
        return encoder;
    }

private:
    static constexpr uint32_t one_bits = 0x3F800000;
    static constexpr uint32_t infinity_bits = 0x7F800000;
    static constexpr uint32_t first_bits = one_bits - (12u << 23);
    static constexpr uint32_t shift = 16;
    static constexpr uint32_t num_ranges = (one_bits - first_bits) >> shift;
    float32_t steps[257];
    uint8_t codes[num_ranges + 1]; // the last one is that of 1
};

/*
 * loops
 */

struct Range {
    float32_t bias;
    float32_t scale;
};

template<class Dst, class Src, class Func> void convert_all(Dst *dst, const Src *src, size_t size, Func func) {
    for(size_t i = 0; i < size; i++) dst[i] = func(src[i]);
}

// Components 0 to 2 through one function and component 3 through another.
template<uint32_t Components, class Dst, class Src, class Color, class Alpha>
void convert_pixels(Dst *dst, const Src *src, size_t size, Color color, Alpha alpha) {
    for(size_t i = 0; i < size; i += Components) {
        for(uint32_t c = 0; c < min(Components, 3u); c++) dst[i + c] = color(src[i + c]);
        if constexpr(Components == 4) dst[i + 3] = alpha(src[i + 3]);
    }
}
template<class Dst, class Src, class Color, class Alpha>
void convert_pixels(Dst *dst, const Src *src, size_t size, uint32_t components, Color color, Alpha alpha) {
    if(components == 4)
        convert_pixels<4>(dst, src, size, color, alpha);
    else if(components == 3)
        convert_pixels<3>(dst, src, size, color, alpha);
    else
        convert_all(dst, src, size, color);
}

// The same where it is less work to take component 3 through both: flat loops over pieces that stay in the nearest cache.
template<class Dst, class Src, class Color, class Alpha>
void convert_flat(Dst *dst, const Src *src, size_t size, uint32_t components, Color color, Alpha alpha) {
    constexpr size_t piece = 1024;
    for(size_t begin = 0; begin < size; begin += piece) {
        const size_t end = min(begin + piece, size);
        for(size_t i = begin; i < end; i++) dst[i] = color(src[i]);
        if(components == 4) {
            for(size_t i = begin + 3; i < end; i += 4) dst[i] = alpha(src[i]);
        }
    }
}

// Bytes are few enough for a table of all results.
template<class Dst, class Func>
void convert_table(Dst *dst, const uint8_t *src, size_t size, uint32_t components, Func color, float32_t alpha_scale) {
    Dst colors[256];
    Dst alphas[256];
    for(uint32_t i = 0; i < 256; i++) {
        colors[i] = color(uint8_t(i));
        alphas[i] = store<Dst>(float32_t(i) * alpha_scale);
    }
    convert_pixels(
        dst, src, size, components, [&colors](uint8_t v) { return colors[v]; },
        [&alphas](uint8_t v) { return alphas[v]; });
}

// Integer to a wider or narrower integer that is normalised: the ends of the range map to the ends.
template<class Dst, class Src> Dst convert_norm(Src v) {
    if constexpr(sizeof(Dst) == 2 && sizeof(Src) == 1)
        return Dst(v | (v << 8));
    else if constexpr(sizeof(Dst) > sizeof(Src))
        return Dst(v * Dst(top_value<Dst> / top_value<Src>));
    else
        return Dst(v / (top_value<Src> / top_value<Dst>));
}

template<class Dst, class Src>
void convert_integers(Dst *dst, Format dst_format, const Src *src, Format src_format, size_t size) {
    const uint32_t components = getFormatComponents(src_format);
    if(isSRGBFormat(src_format)) {
        if constexpr(sizeof(Src) == 1) {
            Dst colors[256];
            for(uint32_t i = 0; i < 256; i++) {
                const float32_t x = decode_srgb(uint8_t(i));
                colors[i] = (x >= 1.0f) ? top_value<Dst> : store<Dst>(x * float32_t(top_value<Dst>));
            }
            convert_pixels(
                dst, src, size, components, [&colors](Src v) { return colors[v]; }, convert_norm<Dst, Src>);
        }
    } else if(isSRGBFormat(dst_format)) {
        if constexpr(sizeof(Dst) == 1) {
            const EncoderSRGB &encoder = EncoderSRGB::get_encoder();
            convert_pixels(
                dst, src, size, components, [&encoder](Src v) { return encoder.get(load(v) * unpack_scale<Src>); },
                convert_norm<Dst, Src>);
        }
    } else if(isNormFormat(dst_format)) {
        convert_all(dst, src, size, [](Src v) { return convert_norm<Dst, Src>(v); });
    } else {
        convert_all(dst, src, size, [](Src v) { return Dst(v); });
    }
}

template<class Dst, class Src>
void convert_to_floats(Dst *dst, const Src *src, Format src_format, size_t size, Image::Flags flags) {
    const uint32_t components = getFormatComponents(src_format);
    const bool norm = isNormFormat(src_format);
    if(isSRGBFormat(src_format) || ((flags & Image::FlagSRGB) && norm)) {
        if constexpr(sizeof(Src) == 1) {
            const auto color = [](Src v) { return store<Dst>(decode_srgb(v)); };
            convert_table(dst, src, size, components, color, unpack_8);
        } else if constexpr(sizeof(Src) == 2) {
            convert_pixels(
                dst, src, size, components, [](Src v) { return store<Dst>(decode_srgb(v)); },
                [](Src v) { return store<Dst>(load(v) * unpack_16); });
        }
    } else if((flags & Image::FlagGamma) && norm) {
        const auto color = [](Src v) { return store<Dst>(fast_power(load(v) * unpack_scale<Src>, gamma_decode)); };
        const auto alpha = [](Src v) { return store<Dst>(load(v) * unpack_scale<Src>); };
        if constexpr(sizeof(Src) == 1)
            convert_table(dst, src, size, components, color, unpack_8);
        else
            convert_flat(dst, src, size, components, color, alpha);
    } else {
        const float32_t scale = norm ? unpack_scale<Src> : 1.0f;
        convert_all(dst, src, size, [scale](Src v) { return store<Dst>(load(v) * scale); });
    }
}

// Extremes of all elements, with 0 among them.
template<class Src> Range get_range(const Src *src, size_t size, float32_t steps, bool normalize) {
    Range range = {0.0f, steps};
    if(!normalize) return range;
    float32_t min_value = 0.0f;
    float32_t max_value = 0.0f;
    for(size_t i = 0; i < size; i++) {
        const float32_t v = load(src[i]);
        min_value = (v < min_value) ? v : min_value;
        max_value = (v > max_value) ? v : max_value;
    }
    if(min_value < max_value) {
        range.bias = -min_value;
        range.scale = steps / (max_value - min_value);
    }
    return range;
}

template<class Dst, class Src>
void convert_from_floats(Dst *dst, Format dst_format, const Src *src, size_t size, Image::Flags flags) {
    // One step more than the top value: 1.0 saturates and 0.5 is the exact middle.
    constexpr float32_t steps = float32_t(top_value<Dst>) + ((sizeof(Dst) < 4) ? 1.0f : 0.0f);
    const uint32_t components = getFormatComponents(dst_format);
    const bool norm = isNormFormat(dst_format);
    const Range range = get_range(src, size, steps, flags & Image::FlagNormalize);
    const float32_t unit = range.scale * (1.0f / steps);
    const auto plain = [range](Src v) { return store<Dst>((load(v) + range.bias) * range.scale); };
    if(norm && (isSRGBFormat(dst_format) || (flags & Image::FlagSRGB))) {
        const auto alpha = [range, unit](Src v) {
            return store<Dst>((load(v) + range.bias) * unit * float32_t(top_value<Dst>));
        };
        if constexpr(sizeof(Dst) == 1) {
            const EncoderSRGB &encoder = EncoderSRGB::get_encoder();
            convert_pixels(
                dst, src, size, components,
                [&encoder, range, unit](Src v) { return encoder.get((load(v) + range.bias) * unit); }, alpha);
        } else {
            convert_pixels(
                dst, src, size, components,
                [range, unit](Src v) { return encode_srgb_exact<Dst>((load(v) + range.bias) * unit); }, alpha);
        }
    } else if(norm && (flags & Image::FlagGamma)) {
        convert_flat(
            dst, src, size, components,
            [range, unit](Src v) {
                return store<Dst>(fast_power((load(v) + range.bias) * unit, gamma_encode) * steps);
            },
            plain);
    } else if(norm) {
        convert_all(dst, src, size, plain);
    } else {
        const float32_t bias = range.bias;
        convert_all(dst, src, size, [bias](Src v) { return store<Dst>(load(v) + bias); });
    }
}

// Missing colour channels are 0, a missing alpha takes the given value.
template<class Type, uint32_t DstComponents, uint32_t SrcComponents>
void convert_components(Type *dst, const Type *src, size_t pixels, Type alpha) {
    for(size_t i = 0; i < pixels; i++) {
        for(uint32_t c = 0; c < DstComponents; c++)
            dst[i * DstComponents + c] = (c < SrcComponents) ? src[i * SrcComponents + c] : (c == 3) ? alpha : Type(0);
    }
}
template<class Type, uint32_t DstComponents>
void convert_components(Type *dst, const Type *src, size_t pixels, uint32_t src_components, Type alpha) {
    switch(src_components) {
    case 1: return convert_components<Type, DstComponents, 1>(dst, src, pixels, alpha);
    case 2: return convert_components<Type, DstComponents, 2>(dst, src, pixels, alpha);
    case 3: return convert_components<Type, DstComponents, 3>(dst, src, pixels, alpha);
    case 4: return convert_components<Type, DstComponents, 4>(dst, src, pixels, alpha);
    }
}

// Calls func(element) with an element of the row's type: only rows whose elements lie tight.
template<class Func> bool with_element(Format format, Func func) {
    if(isu8Format(format)) return func(uint8_t());
    if(isu16Format(format)) return func(uint16_t());
    if(isu32Format(format)) return func(uint32_t());
    if(isf16Format(format)) return func(float16_t());
    if(isf32Format(format)) return func(float32_t());
    return false;
}

// Depth rows with padding or stencil are addressable but their elements are not tight.
bool is_tight(Format format) {
    return (isColorFormat(format) && isPlainFormat(format)) || format == FormatDu16 || format == FormatDf32;
}
// Rows of one family without coders are still copies of each other.
bool has_coders(Format src, Format dst) {
    const bool missing =
        (isBlockFormat(src) && !ImageCoder::check(src)) || (isBlockFormat(dst) && !ImageCoder::check(dst));
    return !missing || !isSameFormats(src, dst);
}
bool is_bgra(Format format) { return format == FormatBGRAu8n || format == FormatBGRAu8ns; }

// Exchanges two bytes of each word.
void swap_bytes(uint32_t *dst, const uint32_t *src, size_t size, uint32_t c0, uint32_t c1) {
    const uint32_t s0 = c0 * 8;
    const uint32_t s1 = c1 * 8;
    const uint32_t mask = ~((0xFFu << s0) | (0xFFu << s1));
    for(size_t i = 0; i < size; i++) {
        const uint32_t v = src[i];
        dst[i] = (v & mask) | (((v >> s0) & 0xFF) << s1) | (((v >> s1) & 0xFF) << s0);
    }
}

template<class Type, uint32_t Components> void swap_components(Type *data, size_t size, uint32_t c0, uint32_t c1) {
    for(size_t i = 0; i < size; i += Components) swap(data[i + c0], data[i + c1]);
}
template<class Type> void swap_components(void *data, size_t size, uint32_t components, uint32_t c0, uint32_t c1) {
    Type *ptr = static_cast<Type *>(data);
    switch(components) {
    case 2: return swap_components<Type, 2>(ptr, size / sizeof(Type), c0, c1);
    case 3: return swap_components<Type, 3>(ptr, size / sizeof(Type), c0, c1);
    case 4: return swap_components<Type, 4>(ptr, size / sizeof(Type), c0, c1);
    }
}

} // namespace

/// The steps of Image::toFormat. Each gives false if it does not take the pair of formats.
class ImageConvert {
public:
    // Copy under another format of the same layout.
    static void retag(Image &dst, const Image &src, Format format) {
        dst = src;
        if(dst.isAllocated()) dst.image_format = format;
    }

    // Turns unsigned elements into signed ones and back, keeping their order.
    static void to_xor_format(Image &image) {
        const size_t size = image.getDataSize();
        switch(image.get_element_size()) {
        case 1: return flip<uint8_t>(image.image_data, size);
        case 2: return flip<uint16_t>(image.image_data, size);
        case 4: return flip<uint32_t>(image.image_data, size);
        case 8: return flip<uint64_t>(image.image_data, size);
        }
    }

    static bool create(Image &dst, const Image &src, Format format) {
        const Image::Flags flags = src.hasMipmaps() ? Image::FlagMipmaps : Image::FlagNone;
        return dst.create(src.image_type, format, src.getSize(), src.image_layers, flags | Image::FlagNoClear);
    }

    static void to_rgba(Image &dst, const Image &src, Format format) {
        if(!create(dst, src, format)) return;
        swap_bytes(reinterpret_cast<uint32_t *>(dst.image_data), reinterpret_cast<const uint32_t *>(src.image_data),
                   src.getDataSize() / 4, 0, 2);
    }

    // Equal channels, elements of another width.
    static bool to_element(Image &dst, const Image &src, Format format, Image::Flags flags) {
        const Format src_format = src.image_format;
        return with_element(src_format, [&](auto s) {
            return with_element(format, [&](auto d) {
                using Src = decltype(s);
                using Dst = decltype(d);
                if constexpr(sizeof(Src) == sizeof(Dst)) {
                    return false;
                } else {
                    if(!create(dst, src, format)) return true;
                    const size_t size = src.getDataSize() / sizeof(Src);
                    Dst *out = reinterpret_cast<Dst *>(dst.image_data);
                    const Src *in = reinterpret_cast<const Src *>(src.image_data);
                    if constexpr(is_float<Src> && is_float<Dst>)
                        convert_all(out, in, size, [](Src v) { return store<Dst>(load(v)); });
                    else if constexpr(is_float<Src>)
                        convert_from_floats(out, format, in, size, flags);
                    else if constexpr(is_float<Dst>)
                        convert_to_floats(out, in, src_format, size, flags);
                    else
                        convert_integers(out, format, in, src_format, size);
                    return true;
                }
            });
        });
    }

    // Elements as they are, another number of channels.
    static bool to_components(Image &dst, const Image &src, uint32_t components) {
        const Format format = toFormatComponents(src.image_format, components);
        if(format == FormatUnknown || !create(dst, src, format)) return false;
        switch(src.get_element_size()) {
        case 1: return fill_components(dst, src, uint8_t(dst.isSignedFormat() ? 0 : 0xFF));
        case 2:
            if(dst.isFloatFormat()) return fill_components(dst, src, float16_t::one.bits);
            return fill_components(dst, src, uint16_t(dst.isSignedFormat() ? 0 : 0xFFFF));
        case 4:
            if(dst.isFloatFormat()) return fill_components(dst, src, floatToBits(1.0f));
            return fill_components(dst, src, uint32_t(dst.isSignedFormat() ? 0 : 0xFFFFFFFF));
        }
        return false;
    }

    // Block source or target. A block target of a block source is decoded and encoded again.
    static bool to_block(Image &dst, const Image &src, Format format, Image::Flags flags, Async *async) {
        if(src.isBlockFormat()) {
            ImageCoder *coder = ImageCoder::get(src.image_format);
            if(!coder) return false;
            dst = coder->decode(FormatUnknown, src, flags, async);
            return dst.isAllocated();
        }
        ImageCoder *coder = ImageCoder::get(format);
        if(!coder) return false;
        dst = coder->encode(format, src, flags, async);
        return dst.isAllocated();
    }

private:
    template<class Type> static void flip(uint8_t *data, size_t size) {
        constexpr Type top = Type(Type(1) << (sizeof(Type) * 8 - 1));
        Type *ptr = reinterpret_cast<Type *>(data);
        for(size_t i = 0; i < size / sizeof(Type); i++) ptr[i] = Type(ptr[i] ^ top);
    }

    template<class Type> static bool fill_components(Image &dst, const Image &src, Type alpha) {
        Type *d = reinterpret_cast<Type *>(dst.image_data);
        const Type *s = reinterpret_cast<const Type *>(src.image_data);
        const size_t pixels = src.getDataSize() / src.getPixelSize();
        switch(dst.getComponents()) {
        case 1: convert_components<Type, 1>(d, s, pixels, src.getComponents(), alpha); break;
        case 2: convert_components<Type, 2>(d, s, pixels, src.getComponents(), alpha); break;
        case 3: convert_components<Type, 3>(d, s, pixels, src.getComponents(), alpha); break;
        case 4: convert_components<Type, 4>(d, s, pixels, src.getComponents(), alpha); break;
        }
        return true;
    }
};

bool Image::swap(uint32_t c0, uint32_t c1) {
    if(!isAllocated() || !isColorFormat() || !isPlainFormat()) {
        Log::printf(Log::Error, "Image::swap(): can't swap %s image\n", getDescription().get());
        return false;
    }
    if(c0 >= getComponents() || c1 >= getComponents()) {
        Log::printf(Log::Error, "Image::swap(): invalid components %u and %u for %s image\n", c0, c1,
                    getDescription().get());
        return false;
    }
    if(c0 == c1) return true;
    const size_t size = getDataSize();
    if(getPixelSize() == 4 && getComponents() == 4) {
        uint32_t *data = reinterpret_cast<uint32_t *>(image_data);
        swap_bytes(data, data, size / 4, c0, c1);
        return true;
    }
    switch(get_element_size()) {
    case 1: swap_components<uint8_t>(image_data, size, getComponents(), c0, c1); break;
    case 2: swap_components<uint16_t>(image_data, size, getComponents(), c0, c1); break;
    case 4: swap_components<uint32_t>(image_data, size, getComponents(), c0, c1); break;
    case 8: swap_components<uint64_t>(image_data, size, getComponents(), c0, c1); break;
    }
    return true;
}

Image Image::toFormat(Format format, Flags flags, Async *async) const {
    KOLM_ASSERT(format < NumFormats && "Image::toFormat(): unknown image format");
    if(isAllocated() && image_format == format) return *this;
    if(flags & FlagFast) flags = flags & ~uint32_t(FlagBest);

    Image ret;
    const auto recurse = [&ret, format, flags, async]() {
        return (ret.image_format == format || !ret.isAllocated()) ? std::move(ret) : ret.toFormat(format, flags, async);
    };
    if(isAllocated() && is_bgra(image_format) && !is_bgra(format)) {
        ImageConvert::to_rgba(ret, *this, isSRGBFormat() ? FormatRGBAu8ns : FormatRGBAu8n);
        return recurse();
    }
    if(isAllocated() && is_tight(image_format) && is_tight(format)) {
        const bool same_components = getComponents() == getFormatComponents(format);
        const bool same_size = getPixelSize() == getFormatPixelSize(format);
        if(same_components && same_size) {
            if(isIntegerFormat() && Kolm::isIntegerFormat(format)) {
                ImageConvert::retag(ret, *this, format);
                if(isSignedFormat() != Kolm::isSignedFormat(format) && ret.isAllocated())
                    ImageConvert::to_xor_format(ret);
                return ret;
            }
        } else if(same_components) {
            if(ImageConvert::to_element(ret, *this, format, flags)) return ret;
        } else if(!is64BitFormat()) {
            if(ImageConvert::to_components(ret, *this, getFormatComponents(format))) return recurse();
            if(!ret.isAllocated()) return ret;
        }
    }
    const bool same_family = isAllocated() && isSameFormats(image_format, format);
    if(isAllocated() && (isBlockFormat() || Kolm::isBlockFormat(format)) && has_coders(image_format, format)) {
        if(ImageConvert::to_block(ret, *this, format, flags, async))
            return (format == FormatUnknown) ? std::move(ret) : recurse();
    } else if(same_family) {
        ImageConvert::retag(ret, *this, format);
        return ret;
    }
    Log::printf(Log::Error, "Image::toFormat(): can't convert %s to %s\n", getDescription().get(),
                Kolm::getFormatName(format));
    return Image();
}

} // namespace Kolm
