// The passes of Image::getResized. Each works on one plane; tasks write distinct rows of the target and read only the
// source, so that results do not depend on how many there are.

#pragma once

#include "KolmArray.h"
#include "KolmImage.h"
#include "KolmImageElement.h"

namespace Kolm {

/// Source texels of each target texel along one axis that shrinks. The rounding error is carried on, so that the
/// footprints tile the source exactly; neighbours differ by one texel at most.
struct ImageFootprints {
    ImageFootprints(uint32_t src_size, uint32_t dst_size);

    struct Item {
        uint32_t begin;
        uint32_t size;   // texels inside the source, at least 1
        uint32_t center; // the middle one
    };
    Array<Item> items;
    uint32_t max_size = 1;
    float64_t scale;
};

/// Texels of a source that point sampling takes along one axis.
void get_magnify_points(Array<uint32_t> &points, uint32_t src_size, uint32_t dst_size);
void get_minify_points(Array<uint32_t> &points, const ImageFootprints &footprints);

/// Copies whole pixels of any format.
void resize_point(ImagePlane dst, const ImagePlane &src, uint32_t pixel_size, const Array<uint32_t> &x_points,
                  const Array<uint32_t> &y_points, Async *async);
/// FilterLinear and FilterCubic where at least one axis grows.
void resize_magnify(ImagePlane dst, const ImagePlane &src, Format format, Image::Filter filter, Async *async);
/// FilterBox, FilterMax and FilterMin where both axes shrink.
void resize_minify(ImagePlane dst, const ImagePlane &src, Format format, Image::Filter filter, bool gamma,
                   Async *async);
/// FilterSinc where both axes shrink.
void resize_sinc(ImagePlane dst, const ImagePlane &src, Format format, bool gamma, Async *async);

} // namespace Kolm
