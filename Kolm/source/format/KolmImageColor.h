// One texel as the lanes of its element type, and between them and memory.

#pragma once

#include "KolmColor.h"
#include "KolmFormat.h"
#include "KolmLanes.h"

#define TWIN_NAMESPACE Kolm
#define TWIN_API
#include "ImageColor.inc"

namespace Kolm {

/// Texel at \p src as lanes, and back. Both take plain formats up to 32 bits; others give false.
bool load_image_color(ImageColor &color, Format format, const void *src);
bool store_image_color(void *dst, Format format, const ImageColor &color);

} // namespace Kolm
