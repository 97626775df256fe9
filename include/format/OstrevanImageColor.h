// One texel as the lanes of its element type.

#pragma once

#include <base/OstrevanBase.h>
#include <format/OstrevanColor.h>
#include <format/OstrevanFormat.h>
#include <math/OstrevanFloat.h>

namespace Ostrevan {

/// Four lanes of a texel: i for signed formats, u for unsigned, h for half and f for float ones. Channels stand in the
/// order of memory, so that a BGRA texel has its blue in the first lane.
union alignas(16) ImageColor {
    ImageColor() : uv{0, 0, 0, 0} {}
    /// One scalar fills all lanes, two are the first lanes of a texel of two channels.
    explicit ImageColor(int32_t v) : iv{v, v, v, v} {}
    explicit ImageColor(uint32_t v) : uv{v, v, v, v} {}
    explicit ImageColor(float16_t v) : hv{v, v, v, v} {}
    explicit ImageColor(float32_t v) : fv{v, v, v, v} {}
    ImageColor(int32_t x, int32_t y) : iv{x, y, 0, 0} {}
    ImageColor(uint32_t x, uint32_t y) : uv{x, y, 0, 0} {}
    ImageColor(float16_t x, float16_t y) : uv{0, 0, 0, 0} { hv[0] = x, hv[1] = y; }
    ImageColor(float32_t x, float32_t y) : fv{x, y, 0, 0} {}
    ImageColor(int32_t x, int32_t y, int32_t z, int32_t w) : iv{x, y, z, w} {}
    ImageColor(uint32_t x, uint32_t y, uint32_t z, uint32_t w) : uv{x, y, z, w} {}
    ImageColor(float16_t x, float16_t y, float16_t z, float16_t w) : hv{x, y, z, w} {}
    ImageColor(float32_t x, float32_t y, float32_t z, float32_t w) : fv{x, y, z, w} {}
    ImageColor(const Color &color, Format format) { set(color, format); }

    /// Texel of a colour: normalised integers are scaled and cut, others cut, and both saturate. Formats that are not
    /// plain give zero.
    OSTREVAN_API void set(const Color &color, Format format);
    /// Colour of a texel; channels that the format lacks are 0, a missing alpha is 1.
    OSTREVAN_API Color get(Format format) const;

    int32_t iv[4];
    uint32_t uv[4];
    float16_t hv[4];
    float32_t fv[4];
};

static_assert(sizeof(ImageColor) == 16);

} // namespace Ostrevan
