// Pixel formats and what can be asked of them.

#pragma once

#include <base/OstrevanBase.h>

namespace Ostrevan {

/// Pixel format. Names are channels, then i signed, u unsigned or f float, then bits, then n for normalised and ns for
/// normalised with sRGB transfer. The numbers are persistent in files.
enum Format : uint32_t {
    FormatUnknown = 0,

    // One addressable value per channel.
    FormatRi8 = 1,
    FormatRu8 = 2,
    FormatRi8n = 3,
    FormatRu8n = 4,
    FormatRGi8 = 5,
    FormatRGu8 = 6,
    FormatRGi8n = 7,
    FormatRGu8n = 8,
    FormatRGBi8 = 9,
    FormatRGBu8 = 10,
    FormatRGBi8n = 11,
    FormatRGBu8n = 12,
    FormatRGBu8ns = 13,
    FormatRGBAi8 = 14,
    FormatRGBAu8 = 15,
    FormatRGBAi8n = 16,
    FormatRGBAu8n = 17,
    FormatRGBAu8ns = 18,
    FormatBGRAu8n = 19,
    FormatBGRAu8ns = 20,
    FormatRi16 = 21,
    FormatRu16 = 22,
    FormatRi16n = 23,
    FormatRu16n = 24,
    FormatRf16 = 25,
    FormatRGi16 = 26,
    FormatRGu16 = 27,
    FormatRGi16n = 28,
    FormatRGu16n = 29,
    FormatRGf16 = 30,
    FormatRGBi16 = 31,
    FormatRGBu16 = 32,
    FormatRGBi16n = 33,
    FormatRGBu16n = 34,
    FormatRGBf16 = 35,
    FormatRGBAi16 = 36,
    FormatRGBAu16 = 37,
    FormatRGBAi16n = 38,
    FormatRGBAu16n = 39,
    FormatRGBAf16 = 40,
    FormatRi32 = 41,
    FormatRu32 = 42,
    FormatRf32 = 43,
    FormatRGi32 = 44,
    FormatRGu32 = 45,
    FormatRGf32 = 46,
    FormatRGBi32 = 47,
    FormatRGBu32 = 48,
    FormatRGBf32 = 49,
    FormatRGBAi32 = 50,
    FormatRGBAu32 = 51,
    FormatRGBAf32 = 52,
    FormatRi64 = 53,
    FormatRu64 = 54,
    FormatRf64 = 55,
    FormatRGi64 = 56,
    FormatRGu64 = 57,
    FormatRGf64 = 58,
    FormatRGBi64 = 59,
    FormatRGBu64 = 60,
    FormatRGBf64 = 61,
    FormatRGBAi64 = 62,
    FormatRGBAu64 = 63,
    FormatRGBAf64 = 64,

    // Packed channels.
    FormatRGBAu4n = 65,
    FormatRGBu5Au1n = 66,
    FormatRu5Gu6Bu5n = 67,
    FormatRGBu10Au2 = 68,
    FormatRGBu10Au2n = 69,
    FormatRGf11Bf10 = 70,
    FormatRGBf21 = 71,

    // BC blocks of 4x4 pixels.
    FormatBC1RGBu8n = 72,
    FormatBC1RGBu8ns = 73,
    FormatBC1RGBAu8n = 74,
    FormatBC1RGBAu8ns = 75,
    FormatBC2RGBAu8n = 76,
    FormatBC2RGBAu8ns = 77,
    FormatBC3RGBAu8n = 78,
    FormatBC3RGBAu8ns = 79,
    FormatBC4Ri8n = 80,
    FormatBC4Ru8n = 81,
    FormatBC5RGi8n = 82,
    FormatBC5RGu8n = 83,
    FormatBC6RGBf16s = 84,
    FormatBC6RGBf16u = 85,
    FormatBC7RGBAu8n = 86,
    FormatBC7RGBAu8ns = 87,

    // EAC and ETC2 blocks of 4x4 pixels.
    FormatEACRi8n = 88,
    FormatEACRu8n = 89,
    FormatEACRGi8n = 90,
    FormatEACRGu8n = 91,
    FormatETC2RGBu8n = 92,
    FormatETC2RGBu8ns = 93,
    FormatETC2RGBAu8n = 94,
    FormatETC2RGBAu8ns = 95,
    FormatETC2RGBu8Au1n = 96,
    FormatETC2RGBu8Au1ns = 97,

    // ASTC blocks; the digits are width and height.
    FormatASTC44RGBAu8n = 98,
    FormatASTC44RGBAu8ns = 99,
    FormatASTC44RGBAf16 = 100,
    FormatASTC54RGBAu8n = 101,
    FormatASTC54RGBAu8ns = 102,
    FormatASTC54RGBAf16 = 103,
    FormatASTC55RGBAu8n = 104,
    FormatASTC55RGBAu8ns = 105,
    FormatASTC55RGBAf16 = 106,
    FormatASTC65RGBAu8n = 107,
    FormatASTC65RGBAu8ns = 108,
    FormatASTC65RGBAf16 = 109,
    FormatASTC66RGBAu8n = 110,
    FormatASTC66RGBAu8ns = 111,
    FormatASTC66RGBAf16 = 112,
    FormatASTC85RGBAu8n = 113,
    FormatASTC85RGBAu8ns = 114,
    FormatASTC85RGBAf16 = 115,
    FormatASTC86RGBAu8n = 116,
    FormatASTC86RGBAu8ns = 117,
    FormatASTC86RGBAf16 = 118,
    FormatASTC88RGBAu8n = 119,
    FormatASTC88RGBAu8ns = 120,
    FormatASTC88RGBAf16 = 121,

    // Depth and stencil.
    FormatDu16 = 122,
    FormatDu16Su8 = 123,
    FormatDu24 = 124,
    FormatDu24Su8 = 125,
    FormatDf32 = 126,
    FormatDf32Su8 = 127,

    NumFormats = 128,

    FormatColorBegin = FormatRi8,
    FormatColorBack = FormatRGBAf64,
    FormatMixedBegin = FormatRGBAu4n,
    FormatMixedBack = FormatRGBf21,
    FormatBCBegin = FormatBC1RGBu8n,
    FormatBCBack = FormatBC7RGBAu8ns,
    FormatETCBegin = FormatEACRi8n,
    FormatETCBack = FormatETC2RGBu8Au1ns,
    FormatASTCBegin = FormatASTC44RGBAu8n,
    FormatASTCBack = FormatASTC88RGBAf16,
    FormatBlockBegin = FormatBC1RGBu8n,
    FormatBlockBack = FormatASTC88RGBAf16,
    FormatDepthBegin = FormatDu16,
    FormatDepthBack = FormatDf32Su8,
};

/// Name without "Format", such as "RGBAu8n".
OSTREVAN_API const char *getFormatName(Format format);
/// Format of a name in any case, FormatUnknown if there is none. Names of packed formats are not found.
OSTREVAN_API Format findFormatName(const char *name);
/// Layout qualifier of a GLSL image, "unknown" where GLSL has none.
OSTREVAN_API const char *getGLSLFormatName(Format format);
/// First plain or packed format of a layout qualifier, FormatUnknown if there is none.
OSTREVAN_API Format findGLSLFormatName(const char *name);

/// True for plain, packed and block colour formats.
OSTREVAN_API bool isColorFormat(Format format);
OSTREVAN_API bool isDepthFormat(Format format);
OSTREVAN_API bool isStencilFormat(Format format);
/// True for formats with one addressable value per channel, depth formats among them.
OSTREVAN_API bool isPixelFormat(Format format);
OSTREVAN_API bool isPlainFormat(Format format);
/// True for packed channels, and for blocks.
OSTREVAN_API bool isMixedFormat(Format format);
OSTREVAN_API bool isBlockFormat(Format format);

OSTREVAN_API bool isNormFormat(Format format);
OSTREVAN_API bool isSRGBFormat(Format format);
OSTREVAN_API bool isSignedFormat(Format format);
OSTREVAN_API bool isUnsignedFormat(Format format);
OSTREVAN_API bool isIntegerFormat(Format format);
OSTREVAN_API bool isFloatFormat(Format format);

OSTREVAN_API bool isi8Format(Format format);
OSTREVAN_API bool isu8Format(Format format);
OSTREVAN_API bool is8BitFormat(Format format);
OSTREVAN_API bool isi16Format(Format format);
OSTREVAN_API bool isu16Format(Format format);
OSTREVAN_API bool isf16Format(Format format);
OSTREVAN_API bool is16BitFormat(Format format);
OSTREVAN_API bool isi32Format(Format format);
OSTREVAN_API bool isu32Format(Format format);
OSTREVAN_API bool isf32Format(Format format);
OSTREVAN_API bool is32BitFormat(Format format);
OSTREVAN_API bool isi64Format(Format format);
OSTREVAN_API bool isu64Format(Format format);
OSTREVAN_API bool isf64Format(Format format);
OSTREVAN_API bool is64BitFormat(Format format);

OSTREVAN_API bool isBC15Format(Format format);
OSTREVAN_API bool isBC67Format(Format format);
OSTREVAN_API bool isETC2Format(Format format);
OSTREVAN_API bool isASTCFormat(Format format);

/// The nearest format of another kind, the format itself where there is none.
OSTREVAN_API Format toPixelFormat(Format format);
OSTREVAN_API Format toNormFormat(Format format);
OSTREVAN_API Format toSRGBFormat(Format format);
OSTREVAN_API Format toSignedFormat(Format format);
OSTREVAN_API Format toUnsignedFormat(Format format);
OSTREVAN_API Format toFloatFormat(Format format);
OSTREVAN_API Format to8BitFormat(Format format);
OSTREVAN_API Format to16BitFormat(Format format);
OSTREVAN_API Format to32BitFormat(Format format);
/// Format of \p count channels with the properties of \p format. 64 bits are not carried over.
OSTREVAN_API Format toFormatComponents(Format format, uint32_t count);

OSTREVAN_API uint32_t getFormatComponents(Format format);
/// Bytes of one pixel, 0 for block formats.
OSTREVAN_API uint32_t getFormatPixelSize(Format format);
/// Bytes, width and height of one block, 0 for all but block formats.
OSTREVAN_API uint32_t getFormatBlockSize(Format format);
OSTREVAN_API uint32_t getFormatBlockWidth(Format format);
OSTREVAN_API uint32_t getFormatBlockHeight(Format format);

/// True for formats with the same memory layout, perhaps of another interpretation.
OSTREVAN_API bool isSameFormats(Format a, Format b);

/// Reads one pixel as floats and returns the number of components. \p stride is the step between components in
/// bytes, 0 for tight ones. Null \p src and formats that are not addressable give zeros, and still the number.
OSTREVAN_API uint32_t getPixelFormatValue(Format format, float32_t *dst, const void *src, uint32_t stride = 0);
/// Writes one pixel and returns the number of components: 0, and nothing is written, for formats that are not
/// addressable. Integers are cut toward zero and saturate; NaN is 0.
OSTREVAN_API uint32_t setPixelFormatValue(Format format, void *dst, const float32_t *src, uint32_t stride = 0);

} // namespace Ostrevan
