// Forwarding of the format functions.

#include "OstrevanFormatKolm.h"

namespace Ostrevan {

#define FORMAT_FUNCTION(TYPE, NAME) \
    TYPE NAME(Format format) { return TYPE(Kolm::NAME(getCore(format))); }

FORMAT_FUNCTION(bool, isColorFormat)
FORMAT_FUNCTION(bool, isDepthFormat)
FORMAT_FUNCTION(bool, isStencilFormat)
FORMAT_FUNCTION(bool, isPixelFormat)
FORMAT_FUNCTION(bool, isPlainFormat)
FORMAT_FUNCTION(bool, isMixedFormat)
FORMAT_FUNCTION(bool, isBlockFormat)
FORMAT_FUNCTION(bool, isNormFormat)
FORMAT_FUNCTION(bool, isSRGBFormat)
FORMAT_FUNCTION(bool, isSignedFormat)
FORMAT_FUNCTION(bool, isUnsignedFormat)
FORMAT_FUNCTION(bool, isIntegerFormat)
FORMAT_FUNCTION(bool, isFloatFormat)
FORMAT_FUNCTION(bool, isi8Format)
FORMAT_FUNCTION(bool, isu8Format)
FORMAT_FUNCTION(bool, is8BitFormat)
FORMAT_FUNCTION(bool, isi16Format)
FORMAT_FUNCTION(bool, isu16Format)
FORMAT_FUNCTION(bool, isf16Format)
FORMAT_FUNCTION(bool, is16BitFormat)
FORMAT_FUNCTION(bool, isi32Format)
FORMAT_FUNCTION(bool, isu32Format)
FORMAT_FUNCTION(bool, isf32Format)
FORMAT_FUNCTION(bool, is32BitFormat)
FORMAT_FUNCTION(bool, isi64Format)
FORMAT_FUNCTION(bool, isu64Format)
FORMAT_FUNCTION(bool, isf64Format)
FORMAT_FUNCTION(bool, is64BitFormat)
FORMAT_FUNCTION(bool, isBC15Format)
FORMAT_FUNCTION(bool, isBC67Format)
FORMAT_FUNCTION(bool, isETC2Format)
FORMAT_FUNCTION(bool, isASTCFormat)

FORMAT_FUNCTION(Format, toPixelFormat)
FORMAT_FUNCTION(Format, toNormFormat)
FORMAT_FUNCTION(Format, toSRGBFormat)
FORMAT_FUNCTION(Format, toSignedFormat)
FORMAT_FUNCTION(Format, toUnsignedFormat)
FORMAT_FUNCTION(Format, toFloatFormat)
FORMAT_FUNCTION(Format, to8BitFormat)
FORMAT_FUNCTION(Format, to16BitFormat)
FORMAT_FUNCTION(Format, to32BitFormat)

FORMAT_FUNCTION(uint32_t, getFormatComponents)
FORMAT_FUNCTION(uint32_t, getFormatPixelSize)
FORMAT_FUNCTION(uint32_t, getFormatBlockSize)
FORMAT_FUNCTION(uint32_t, getFormatBlockWidth)
FORMAT_FUNCTION(uint32_t, getFormatBlockHeight)

#undef FORMAT_FUNCTION

const char *getFormatName(Format format) { return Kolm::getFormatName(getCore(format)); }
Format findFormatName(const char *name) { return Format(Kolm::findFormatName(name)); }
const char *getGLSLFormatName(Format format) { return Kolm::getGLSLFormatName(getCore(format)); }
Format findGLSLFormatName(const char *name) { return Format(Kolm::findGLSLFormatName(name)); }

Format toFormatComponents(Format format, uint32_t count) {
    return Format(Kolm::toFormatComponents(getCore(format), count));
}
bool isSameFormats(Format a, Format b) { return Kolm::isSameFormats(getCore(a), getCore(b)); }

uint32_t getPixelFormatValue(Format format, float32_t *dst, const void *src, uint32_t stride) {
    return Kolm::getPixelFormatValue(getCore(format), dst, src, stride);
}
uint32_t setPixelFormatValue(Format format, void *dst, const float32_t *src, uint32_t stride) {
    return Kolm::setPixelFormatValue(getCore(format), dst, src, stride);
}

} // namespace Ostrevan
