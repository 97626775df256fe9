// The pixel formats and what can be asked of them. All rows stand in KolmFormat.inc; every table here is derived from
// that list. Target formats (`toFloatFormat` and the like) follow from rules over the rows and a few named exceptions.

#pragma once

#include "KolmBase.h"

namespace Kolm {

/// Pixel format. The numbers are persistent in files.
enum Format : uint32_t {
    FormatUnknown = 0,
#define FORMAT(NO, NAME, GLSL, COMPS, BYTES, BW, BH, FLAGS, FAMILY) Format##NAME = NO,
#include "KolmFormat.inc"
    NumFormats,
#define RANGE(NAME, BEGIN, BACK) Format##NAME##Begin = Format##BEGIN, Format##NAME##Back = Format##BACK,
#include "KolmFormat.inc"
};

static_assert(NumFormats == 128);
static_assert(FormatColorBegin == 1 && FormatColorBack == 64 && FormatMixedBegin == 65 && FormatMixedBack == 71);
static_assert(FormatBCBegin == 72 && FormatBCBack == 87 && FormatETCBegin == 88 && FormatETCBack == 97);
static_assert(FormatASTCBegin == 98 && FormatASTCBack == 121 && FormatBlockBegin == 72 && FormatBlockBack == 121);
static_assert(FormatDepthBegin == 122 && FormatDepthBack == 127);

/// Bits of format_flags.
enum FormatFlags : uint16_t {
    FormatFlagColor = 1 << 0,
    FormatFlagDepth = 1 << 1,
    FormatFlagStencil = 1 << 2,
    FormatFlagPixel = 1 << 3, ///< one addressable value per channel
    FormatFlagMixed = 1 << 4, ///< packed channels
    FormatFlagBlock = 1 << 5,
    FormatFlagSigned = 1 << 6,
    FormatFlagUnsigned = 1 << 7,
    FormatFlagFloat = 1 << 8,
    FormatFlagNorm = 1 << 9,
    FormatFlagSRGB = 1 << 10,
    FormatFlag8Bit = 1 << 11,
    FormatFlag16Bit = 1 << 12,
    FormatFlag24Bit = 1 << 13,
    FormatFlag32Bit = 1 << 14,
    FormatFlag64Bit = 1 << 15,
};

// Tables by format.
extern const char *const format_names[NumFormats];
extern const char *const glsl_format_names[NumFormats]; ///< image layout qualifier, or null
extern const uint16_t format_flags[NumFormats];
extern const uint8_t format_components[NumFormats];
extern const uint8_t format_sizes[NumFormats]; ///< bytes of a pixel, or of a block
extern const uint8_t block_format_widths[FormatBlockBack - FormatBlockBegin + 1];
extern const uint8_t block_format_heights[FormatBlockBack - FormatBlockBegin + 1];
extern const uint8_t format_data[NumFormats]; ///< family: equal for rows of one memory layout
extern const uint8_t to_pixel_format[NumFormats];
extern const uint8_t to_norm_format[NumFormats];
extern const uint8_t to_srgb_format[NumFormats];
extern const uint8_t to_signed_format[NumFormats];
extern const uint8_t to_unsigned_format[NumFormats];
extern const uint8_t to_float_format[NumFormats];
extern const uint8_t to_8bit_format[NumFormats];
extern const uint8_t to_16bit_format[NumFormats];
extern const uint8_t to_32bit_format[NumFormats];

/// Name without "Format", such as "RGBAu8n".
inline const char *getFormatName(Format format) { return format_names[format]; }
/// Format of a name in any case, FormatUnknown if there is none. Names of mixed rows are not found: kept.
Format findFormatName(const char *name);
/// Layout qualifier of a GLSL image, "unknown" where GLSL has none.
inline const char *getGLSLFormatName(Format format) {
    return glsl_format_names[format] ? glsl_format_names[format] : "unknown";
}
/// First plain or packed format of a layout qualifier, FormatUnknown if there is none.
Format findGLSLFormatName(const char *name);

/// True for plain, mixed and block colour rows.
inline bool isColorFormat(Format format) { return format >= FormatColorBegin && format <= FormatBlockBack; }
inline bool isDepthFormat(Format format) { return (format_flags[format] & FormatFlagDepth) != 0; }
/// True for rows with one addressable value per channel, depth rows among them.
inline bool isPixelFormat(Format format) { return (format_flags[format] & FormatFlagPixel) != 0; }
inline bool isPlainFormat(Format format) {
    return (format_flags[format] & (FormatFlagPixel | FormatFlagMixed | FormatFlagBlock)) == FormatFlagPixel;
}
inline bool isMixedFormat(Format format) { return (format_flags[format] & FormatFlagMixed) != 0; }
inline bool isBlockFormat(Format format) { return (format_flags[format] & FormatFlagBlock) != 0; }
inline bool isStencilFormat(Format format) { return (format_flags[format] & FormatFlagStencil) != 0; }
/// Row of the decoded pixels of a mixed or block row; other rows are their own.
inline Format toPixelFormat(Format format) { return Format(to_pixel_format[format]); }

inline bool isNormFormat(Format format) { return (format_flags[format] & FormatFlagNorm) != 0; }
inline bool isSRGBFormat(Format format) { return (format_flags[format] & FormatFlagSRGB) != 0; }
inline bool isSignedFormat(Format format) { return (format_flags[format] & FormatFlagSigned) != 0; }
inline bool isUnsignedFormat(Format format) { return (format_flags[format] & FormatFlagUnsigned) != 0; }
inline bool isIntegerFormat(Format format) {
    return (format_flags[format] & (FormatFlagSigned | FormatFlagUnsigned)) != 0;
}
inline bool isFloatFormat(Format format) { return (format_flags[format] & FormatFlagFloat) != 0; }
inline Format toNormFormat(Format format) { return Format(to_norm_format[format]); }
inline Format toSRGBFormat(Format format) { return Format(to_srgb_format[format]); }
inline Format toSignedFormat(Format format) { return Format(to_signed_format[format]); }
inline Format toUnsignedFormat(Format format) { return Format(to_unsigned_format[format]); }
inline Format toFloatFormat(Format format) { return Format(to_float_format[format]); }

/// True if the row has all of the flags.
inline bool hasFormatFlags(Format format, uint32_t flags) { return (format_flags[format] & flags) == flags; }

inline bool isi8Format(Format format) { return hasFormatFlags(format, FormatFlagSigned | FormatFlag8Bit); }
inline bool isu8Format(Format format) { return hasFormatFlags(format, FormatFlagUnsigned | FormatFlag8Bit); }
inline bool is8BitFormat(Format format) { return hasFormatFlags(format, FormatFlag8Bit); }
inline Format to8BitFormat(Format format) { return Format(to_8bit_format[format]); }

inline bool isi16Format(Format format) { return hasFormatFlags(format, FormatFlagSigned | FormatFlag16Bit); }
inline bool isu16Format(Format format) { return hasFormatFlags(format, FormatFlagUnsigned | FormatFlag16Bit); }
inline bool isf16Format(Format format) { return hasFormatFlags(format, FormatFlagFloat | FormatFlag16Bit); }
inline bool is16BitFormat(Format format) { return hasFormatFlags(format, FormatFlag16Bit); }
inline Format to16BitFormat(Format format) { return Format(to_16bit_format[format]); }

inline bool isi32Format(Format format) { return hasFormatFlags(format, FormatFlagSigned | FormatFlag32Bit); }
inline bool isu32Format(Format format) { return hasFormatFlags(format, FormatFlagUnsigned | FormatFlag32Bit); }
inline bool isf32Format(Format format) { return hasFormatFlags(format, FormatFlagFloat | FormatFlag32Bit); }
inline bool is32BitFormat(Format format) { return hasFormatFlags(format, FormatFlag32Bit); }
inline Format to32BitFormat(Format format) { return Format(to_32bit_format[format]); }

inline bool isi64Format(Format format) { return hasFormatFlags(format, FormatFlagSigned | FormatFlag64Bit); }
inline bool isu64Format(Format format) { return hasFormatFlags(format, FormatFlagUnsigned | FormatFlag64Bit); }
inline bool isf64Format(Format format) { return hasFormatFlags(format, FormatFlagFloat | FormatFlag64Bit); }
inline bool is64BitFormat(Format format) { return format >= FormatRi64 && format <= FormatRGBAf64; }

inline bool isBC15Format(Format format) { return format >= FormatBC1RGBu8n && format <= FormatBC5RGu8n; }
inline bool isBC67Format(Format format) { return format >= FormatBC6RGBf16s && format <= FormatBC7RGBAu8ns; }
/// True for EAC rows too.
inline bool isETC2Format(Format format) { return format >= FormatETCBegin && format <= FormatETCBack; }
inline bool isASTCFormat(Format format) { return format >= FormatASTCBegin && format <= FormatASTCBack; }

inline uint32_t getFormatComponents(Format format) { return format_components[format]; }
/// Row of \p count channels with the properties of \p format. 64 bits are not carried over.
Format toFormatComponents(Format format, uint32_t count);

/// Bytes of one pixel, 0 for block rows.
inline uint32_t getFormatPixelSize(Format format) { return isBlockFormat(format) ? 0 : format_sizes[format]; }
/// Bytes, width and height of one block in pixels, 0 for all but block rows.
inline uint32_t getFormatBlockSize(Format format) { return isBlockFormat(format) ? format_sizes[format] : 0; }
inline uint32_t getFormatBlockWidth(Format format) {
    return isBlockFormat(format) ? block_format_widths[format - FormatBlockBegin] : 0;
}
inline uint32_t getFormatBlockHeight(Format format) {
    return isBlockFormat(format) ? block_format_heights[format - FormatBlockBegin] : 0;
}

/// True for formats of one family: the same memory layout, perhaps another interpretation.
inline bool isSameFormats(Format a, Format b) { return format_data[a] == format_data[b]; }

/// Reads one pixel as floats and returns the number of components. \p stride is the step between components in
/// bytes, 0 for tight ones. Null \p src and rows that are not addressable give zeros, and still the number.
uint32_t getPixelFormatValue(Format format, float32_t *dst, const void *src, uint32_t stride = 0);
/// Writes one pixel and returns the number of components: 0, and nothing is written, for rows that are not
/// addressable. Integers are cut toward zero and saturate; NaN is 0.
uint32_t setPixelFormatValue(Format format, void *dst, const float32_t *src, uint32_t stride = 0);

} // namespace Kolm
