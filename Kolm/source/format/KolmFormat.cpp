// Tables of the pixel formats, all derived from KolmFormat.inc at compile time.

#include "KolmFormat.h"

#include "KolmFloat.h"

namespace Kolm {

namespace {

// Letters of the list.
constexpr uint16_t C = FormatFlagColor;
constexpr uint16_t D = FormatFlagDepth;
constexpr uint16_t S = FormatFlagStencil;
constexpr uint16_t P = FormatFlagPixel;
constexpr uint16_t M = FormatFlagMixed;
constexpr uint16_t B = FormatFlagBlock;
constexpr uint16_t I = FormatFlagSigned;
constexpr uint16_t U = FormatFlagUnsigned;
constexpr uint16_t F = FormatFlagFloat;
constexpr uint16_t N = FormatFlagNorm;
constexpr uint16_t SR = FormatFlagSRGB;
constexpr uint16_t B8 = FormatFlag8Bit;
constexpr uint16_t B16 = FormatFlag16Bit;
constexpr uint16_t B24 = FormatFlag24Bit;
constexpr uint16_t B32 = FormatFlag32Bit;
constexpr uint16_t B64 = FormatFlag64Bit;
constexpr uint16_t BitsMask = B8 | B16 | B24 | B32 | B64;

} // namespace

constexpr const char *const format_names[NumFormats] = {
    "Unknown",
#define FORMAT(NO, NAME, GLSL, COMPS, BYTES, BW, BH, FLAGS, FAMILY) #NAME,
#include "KolmFormat.inc"
};

constexpr const char *const glsl_format_names[NumFormats] = {
    nullptr,
#define FORMAT(NO, NAME, GLSL, COMPS, BYTES, BW, BH, FLAGS, FAMILY) GLSL,
#include "KolmFormat.inc"
};

constexpr uint16_t format_flags[NumFormats] = {
    0,
#define FORMAT(NO, NAME, GLSL, COMPS, BYTES, BW, BH, FLAGS, FAMILY) FLAGS,
#include "KolmFormat.inc"
};

constexpr uint8_t format_components[NumFormats] = {
    0,
#define FORMAT(NO, NAME, GLSL, COMPS, BYTES, BW, BH, FLAGS, FAMILY) COMPS,
#include "KolmFormat.inc"
};

constexpr uint8_t format_sizes[NumFormats] = {
    0,
#define FORMAT(NO, NAME, GLSL, COMPS, BYTES, BW, BH, FLAGS, FAMILY) BYTES,
#include "KolmFormat.inc"
};

constexpr uint8_t format_data[NumFormats] = {
    0,
#define FORMAT(NO, NAME, GLSL, COMPS, BYTES, BW, BH, FLAGS, FAMILY) Format##FAMILY,
#include "KolmFormat.inc"
};

namespace {

constexpr uint8_t format_numbers[NumFormats] = {
    0,
#define FORMAT(NO, NAME, GLSL, COMPS, BYTES, BW, BH, FLAGS, FAMILY) NO,
#include "KolmFormat.inc"
};

constexpr uint8_t format_widths[NumFormats] = {
    0,
#define FORMAT(NO, NAME, GLSL, COMPS, BYTES, BW, BH, FLAGS, FAMILY) BW,
#include "KolmFormat.inc"
};

constexpr uint8_t format_heights[NumFormats] = {
    0,
#define FORMAT(NO, NAME, GLSL, COMPS, BYTES, BW, BH, FLAGS, FAMILY) BH,
#include "KolmFormat.inc"
};

constexpr bool rows_in_order() {
    for(uint32_t i = 0; i < NumFormats; i++) {
        if(format_numbers[i] != i) return false;
    }
    return true;
}
constexpr bool families_agree() {
    for(uint32_t i = 0; i < NumFormats; i++) {
        const uint32_t family = format_data[i];
        if(format_data[family] != family || format_sizes[family] != format_sizes[i]) return false;
        if(format_widths[family] != format_widths[i] || format_heights[family] != format_heights[i]) return false;
    }
    return true;
}
static_assert(rows_in_order(), "KolmFormat.inc: a row stands at the wrong number");
static_assert(families_agree(), "KolmFormat.inc: one family, two layouts");

// The plain row of these flags and channels. RGBA stands in front of BGRA in the list, so that it wins.
constexpr uint8_t find_plain(uint32_t flags, uint32_t components) {
    for(uint32_t i = FormatColorBegin; i <= FormatColorBack; i++) {
        if(format_flags[i] == (C | P | flags) && format_components[i] == components) return uint8_t(i);
    }
    return 0;
}

// What the rules below ask of a row.
struct Row {
    constexpr explicit Row(uint32_t format)
        : format(uint8_t(format)), flags(format_flags[format]), components(format_components[format]) {}

    constexpr bool is_plain() const { return (flags & (C | P)) == (C | P); }
    constexpr bool is_packed() const { return (flags & (M | B)) != 0; }
    constexpr bool is_block() const { return (flags & B) != 0; }
    constexpr bool is_bgra() const { return format == FormatBGRAu8n || format == FormatBGRAu8ns; }
    constexpr bool is_integer() const { return (flags & (I | U)) != 0; }
    constexpr bool is_float() const { return (flags & F) != 0; }
    constexpr bool is_srgb() const { return (flags & SR) != 0; }
    constexpr bool has_bits(uint32_t bits) const { return (flags & bits) != 0; }
    constexpr uint8_t plain(uint32_t f) const { return find_plain(f, components); }

    uint8_t format;
    uint16_t flags;
    uint8_t components;
};

constexpr uint8_t get_pixel(const Row &row) {
    if(!row.is_packed()) return row.format;
    if(row.format == FormatRGBf21) return FormatRGBAf32; // the one row that gains a channel
    return row.plain(row.flags & ~(C | M | B));
}

constexpr uint8_t get_norm(const Row &row) {
    if(row.format == FormatRGBu10Au2) return FormatRGBu10Au2n;
    if(!row.is_plain() || !row.has_bits(B8 | B16) || row.has_bits(N)) return row.format;
    if(row.is_float()) return row.plain(U | N | B16); // deliberate: halves have an unsigned form
    return row.plain((row.flags & ~(C | P)) | N);
}

// The sRGB row stands right behind its row.
constexpr uint8_t get_srgb(const Row &row) {
    if(row.format == FormatUnknown || row.format + 1 == NumFormats || row.is_srgb()) return row.format;
    const Row next(row.format + 1u);
    const bool same = (next.flags == (row.flags | SR) && next.components == row.components);
    return same ? next.format : row.format;
}

constexpr uint8_t get_sign(const Row &row, uint32_t sign) {
    if(row.is_srgb() || row.is_bgra()) return row.format;
    if(row.is_plain()) return row.plain((row.flags & ~(C | P | I | U | F)) | sign);
    const bool pair = (row.format >= FormatBC4Ri8n && row.format <= FormatBC5RGu8n) ||
                      (row.format >= FormatEACRi8n && row.format <= FormatEACRGu8n);
    if(!pair || row.has_bits(sign)) return row.format;
    return uint8_t((sign == I) ? row.format - 1 : row.format + 1); // the signed row stands first
}

constexpr uint8_t get_float(const Row &row) {
    if(row.is_block()) {
        if(row.is_float()) return get_pixel(row);
        return get_sign(row, I); // kept: unsigned BC4, BC5 and EAC rows map to their signed rows
    }
    if(!row.is_plain() || !row.is_integer()) return row.format;
    return row.plain(F | (row.has_bits(B64) ? B64 : B32));
}

constexpr uint8_t get_8bit(const Row &row) {
    if(row.format == FormatRGBu10Au2) return FormatRGBAu8;
    if(row.format == FormatRGBu10Au2n) return FormatRGBAu8n;
    if(row.is_block() && row.is_float()) return row.format;
    if(row.is_packed()) return get_pixel(row);
    if(!row.is_plain() || row.is_float() || row.has_bits(B8)) return row.format;
    return row.plain((row.flags & (I | U | N)) | B8);
}

constexpr uint8_t get_16bit(const Row &row) {
    if(row.is_bgra()) return row.format;
    if(row.is_packed()) return row.plain(row.is_float() ? F | B16 : U | N | B16);
    if(!row.is_plain() || row.has_bits(B16)) return row.format;
    return row.plain((row.flags & (I | U | F | N)) | B16);
}

constexpr uint8_t get_32bit(const Row &row) {
    if(row.is_bgra()) return row.format;
    if(!row.is_packed() && (!row.is_plain() || row.has_bits(B32))) return row.format;
    return row.plain((row.flags & (I | U | F)) | B32);
}

} // namespace

// A table of 128 targets: X(0) to X(127).
#define TARGETS8(X, N) X(N), X(N + 1), X(N + 2), X(N + 3), X(N + 4), X(N + 5), X(N + 6), X(N + 7)
#define TARGETS32(X, N) TARGETS8(X, N), TARGETS8(X, N + 8), TARGETS8(X, N + 16), TARGETS8(X, N + 24)
#define TARGETS(X) TARGETS32(X, 0), TARGETS32(X, 32), TARGETS32(X, 64), TARGETS32(X, 96)

#define TARGET(I) get_pixel(Row(I))
constexpr uint8_t to_pixel_format[NumFormats] = {TARGETS(TARGET)};
#undef TARGET
#define TARGET(I) get_norm(Row(I))
constexpr uint8_t to_norm_format[NumFormats] = {TARGETS(TARGET)};
#undef TARGET
#define TARGET(I) get_srgb(Row(I))
constexpr uint8_t to_srgb_format[NumFormats] = {TARGETS(TARGET)};
#undef TARGET
#define TARGET(I) get_sign(Row(I), FormatFlagSigned)
constexpr uint8_t to_signed_format[NumFormats] = {TARGETS(TARGET)};
#undef TARGET
#define TARGET(I) get_sign(Row(I), FormatFlagUnsigned)
constexpr uint8_t to_unsigned_format[NumFormats] = {TARGETS(TARGET)};
#undef TARGET
#define TARGET(I) get_float(Row(I))
constexpr uint8_t to_float_format[NumFormats] = {TARGETS(TARGET)};
#undef TARGET
#define TARGET(I) get_8bit(Row(I))
constexpr uint8_t to_8bit_format[NumFormats] = {TARGETS(TARGET)};
#undef TARGET
#define TARGET(I) get_16bit(Row(I))
constexpr uint8_t to_16bit_format[NumFormats] = {TARGETS(TARGET)};
#undef TARGET
#define TARGET(I) get_32bit(Row(I))
constexpr uint8_t to_32bit_format[NumFormats] = {TARGETS(TARGET)};
#undef TARGET

#define BLOCK(I) format_widths[FormatBlockBegin + I]
constexpr uint8_t block_format_widths[FormatBlockBack - FormatBlockBegin + 1] = {
    TARGETS32(BLOCK, 0), TARGETS8(BLOCK, 32), TARGETS8(BLOCK, 40), BLOCK(48), BLOCK(49)};
#undef BLOCK
#define BLOCK(I) format_heights[FormatBlockBegin + I]
constexpr uint8_t block_format_heights[FormatBlockBack - FormatBlockBegin + 1] = {
    TARGETS32(BLOCK, 0), TARGETS8(BLOCK, 32), TARGETS8(BLOCK, 40), BLOCK(48), BLOCK(49)};
#undef BLOCK

namespace {

constexpr bool targets_exist() {
    for(uint32_t i = FormatColorBegin; i < NumFormats; i++) {
        if(!to_pixel_format[i] || !to_norm_format[i] || !to_srgb_format[i] || !to_signed_format[i]) return false;
        if(!to_unsigned_format[i] || !to_float_format[i]) return false;
        if(!to_8bit_format[i] || !to_16bit_format[i] || !to_32bit_format[i]) return false;
    }
    return true;
}
static_assert(targets_exist(), "a rule names a row that the list does not have");

char to_lower(char c) { return (c >= 'A' && c <= 'Z') ? char(c + ('a' - 'A')) : c; }

bool is_same_text(const char *a, const char *b) {
    while(*a && to_lower(*a) == to_lower(*b)) {
        a++;
        b++;
    }
    return to_lower(*a) == to_lower(*b);
}

template<class Type> Type load(const void *src) {
    Type value;
    memcpy(&value, src, sizeof(value));
    return value;
}
template<class Type> void store(void *dst, Type value) { memcpy(dst, &value, sizeof(value)); }

// Cut toward zero within the range of the type. The value behind the range is a power of two, so that it is exact.
template<class Type> Type saturate(float32_t value) {
    constexpr uint32_t bits = sizeof(Type) * 8 - (std::is_signed_v<Type> ? 1 : 0);
    constexpr Type max_value = Type(~uint64_t(0) >> (64 - bits));
    constexpr Type min_value = std::is_signed_v<Type> ? Type(-max_value - 1) : Type(0);
    constexpr float32_t behind = float32_t(uint64_t(1) << (bits - 1)) * 2.0f;
    if(value != value) return 0;
    if(value >= behind) return max_value;
    if(value <= float32_t(min_value)) return min_value;
    return Type(value);
}

} // namespace

Format findFormatName(const char *name) {
    if(name == nullptr || name[0] == 0 || name[1] == 0) return FormatUnknown;
    const char c0 = to_lower(name[0]);
    const char c1 = to_lower(name[1]);
    uint32_t begin = FormatColorBegin;
    uint32_t back = FormatColorBack;
    if(c0 == 'b' && c1 == 'c') {
        begin = FormatBCBegin;
        back = FormatBCBack;
    } else if(c0 == 'a' && c1 == 's') {
        begin = FormatASTCBegin;
        back = FormatASTCBack;
    } else if(c0 == 'd') {
        begin = FormatDepthBegin;
        back = FormatDepthBack;
    } else if(c0 == 'e') {
        begin = FormatETCBegin;
        back = FormatETCBack;
    } else if(c0 != 'r' && c0 != 'b') {
        return FormatUnknown;
    }
    for(uint32_t i = begin; i <= back; i++) {
        if(is_same_text(format_names[i], name)) return Format(i);
    }
    return FormatUnknown;
}

Format findGLSLFormatName(const char *name) {
    if(name == nullptr) return FormatUnknown;
    for(uint32_t i = 0; i <= FormatRGf11Bf10; i++) {
        if(glsl_format_names[i] && strcmp(glsl_format_names[i], name) == 0) return Format(i);
    }
    return FormatUnknown;
}

Format toFormatComponents(Format format, uint32_t count) {
    static constexpr Format rows[] = {FormatUnknown, FormatRu8, FormatRGu8, FormatRGBu8, FormatRGBAu8};
    Format ret = (count < array_size(rows)) ? rows[count] : FormatUnknown;
    if(isFloatFormat(format)) ret = toFloatFormat(ret);
    if(isSignedFormat(format)) ret = toSignedFormat(ret);
    if(isUnsignedFormat(format)) ret = toUnsignedFormat(ret);
    if(is16BitFormat(format)) ret = to16BitFormat(ret);
    if(is32BitFormat(format)) ret = to32BitFormat(ret);
    if(isNormFormat(format)) ret = toNormFormat(ret);
    if(isSRGBFormat(format)) ret = toSRGBFormat(ret);
    return ret;
}

uint32_t getPixelFormatValue(Format format, float32_t *dst, const void *src, uint32_t stride) {
    const uint32_t components = getFormatComponents(format);
    if(src == nullptr || !isPixelFormat(format)) {
        for(uint32_t i = 0; i < components; i++) dst[i] = 0.0f;
        return components;
    }
    const uint8_t *s = static_cast<const uint8_t *>(src);
    const uint32_t flags = format_flags[format];
    const auto get = [&](uint32_t size, auto convert) {
        const uint32_t step = stride ? stride : size;
        for(uint32_t i = 0; i < components; i++) dst[i] = convert(s + size_t(step) * i);
        return components;
    };
    switch(flags & (I | U | F | N | BitsMask)) {
    case I | N | B8: return get(1, [](const uint8_t *p) { return load<int8_t>(p) * 0.007843138f + 0.003921569f; });
    case U | N | B8: return get(1, [](const uint8_t *p) { return *p * 0.003921569f; });
    case I | N | B16: return get(2, [](const uint8_t *p) { return load<int16_t>(p) * 3.0518044e-5f + 1.5259022e-5f; });
    case U | N | B16: return get(2, [](const uint8_t *p) { return load<uint16_t>(p) * 1.5259022e-5f; });
    case I | B8: return get(1, [](const uint8_t *p) { return float32_t(load<int8_t>(p)); });
    case U | B8: return get(1, [](const uint8_t *p) { return float32_t(*p); });
    case I | B16: return get(2, [](const uint8_t *p) { return float32_t(load<int16_t>(p)); });
    case U | B16: return get(2, [](const uint8_t *p) { return float32_t(load<uint16_t>(p)); });
    case U | B24: return get(4, [](const uint8_t *p) { return float32_t(load<uint32_t>(p) & 0x00FFFFFF); });
    case I | B32: return get(4, [](const uint8_t *p) { return float32_t(load<int32_t>(p)); });
    case U | B32: return get(4, [](const uint8_t *p) { return float32_t(load<uint32_t>(p)); });
    case I | B64: return get(8, [](const uint8_t *p) { return float32_t(load<int64_t>(p)); });
    case U | B64: return get(8, [](const uint8_t *p) { return float32_t(load<uint64_t>(p)); });
    case F | B16: return get(2, [](const uint8_t *p) { return float16_t::fromBits(load<uint16_t>(p)).get(); });
    case F | B32: return get(4, [](const uint8_t *p) { return load<float32_t>(p); });
    case F | B64: return get(8, [](const uint8_t *p) { return float32_t(load<float64_t>(p)); });
    }
    return components;
}

uint32_t setPixelFormatValue(Format format, void *dst, const float32_t *src, uint32_t stride) {
    if(!isPixelFormat(format)) return 0;
    const uint32_t components = getFormatComponents(format);
    uint8_t *d = static_cast<uint8_t *>(dst);
    const uint32_t flags = format_flags[format];
    const auto set = [&](auto type, auto convert) {
        using Type = decltype(type);
        const uint32_t step = stride ? stride : uint32_t(sizeof(Type));
        for(uint32_t i = 0; i < components; i++) store<Type>(d + size_t(step) * i, convert(src[i]));
        return components;
    };
    switch(flags & (I | U | F | N | BitsMask)) {
    case I | N | B8: return set(int8_t(), [](float32_t v) { return saturate<int8_t>(v * 127.5f - 0.5f); });
    case U | N | B8: return set(uint8_t(), [](float32_t v) { return saturate<uint8_t>(v * 255.0f); });
    case I | N | B16: return set(int16_t(), [](float32_t v) { return saturate<int16_t>(v * 32767.5f - 0.5f); });
    case U | N | B16: return set(uint16_t(), [](float32_t v) { return saturate<uint16_t>(v * 65535.0f); });
    case I | B8: return set(int8_t(), saturate<int8_t>);
    case U | B8: return set(uint8_t(), saturate<uint8_t>);
    case I | B16: return set(int16_t(), saturate<int16_t>);
    case U | B16: return set(uint16_t(), saturate<uint16_t>);
    case U | B24: { // the byte above the depth stays: it is the stencil or unused
        const uint32_t value = min(saturate<uint32_t>(src[0]), 0x00FFFFFFu);
        store<uint32_t>(d, (load<uint32_t>(d) & 0xFF000000) | value);
        return components;
    }
    case I | B32: return set(int32_t(), saturate<int32_t>);
    case U | B32: return set(uint32_t(), saturate<uint32_t>);
    case I | B64: return set(int64_t(), saturate<int64_t>);
    case U | B64: return set(uint64_t(), saturate<uint64_t>);
    case F | B16: return set(float16_t(), [](float32_t v) { return float16_t(v); });
    case F | B32: return set(float32_t(), [](float32_t v) { return v; });
    case F | B64: return set(float64_t(), [](float32_t v) { return float64_t(v); });
    }
    return components;
}

} // namespace Kolm
