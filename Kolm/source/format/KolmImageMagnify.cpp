// Resizing where at least one axis grows: bilinear and Catmull-Rom interpolation.
//
// A source row is stretched along x once and kept for the target rows that need it; along y, whole rows are mixed.

#include <math.h>

#include "KolmImageResize.h"
#include "KolmImageTasks.h"

namespace Kolm {

namespace {

// Where a target texel reads along one axis: the taps, the second of which counts from the fraction on.
struct MagnifyTaps {
    uint32_t index[4];
    float64_t fraction;
};

void get_taps(Array<MagnifyTaps> &taps, uint32_t src_size, uint32_t dst_size) {
    const float64_t scale = float64_t(src_size) / float64_t(dst_size);
    const auto clamp_index = [src_size](float64_t v) { return uint32_t(clamp(v, 0.0, float64_t(src_size - 1))); };
    taps.resize(dst_size);
    for(uint32_t i = 0; i < dst_size; i++) {
        const float64_t p = scale * i - 0.5;
        taps[i].index[0] = clamp_index(floor(p - 1.0));
        taps[i].index[1] = clamp_index(floor(p));
        taps[i].index[2] = clamp_index(ceil(p));
        taps[i].index[3] = clamp_index(ceil(p + 1.0));
        taps[i].fraction = p - floor(p);
    }
}

// Both polynomials are written on differences to the second tap, so that equal taps give exactly their value.
template<class Real> struct LinearFilter {
    static constexpr uint32_t first = 1;
    static constexpr uint32_t count = 2;
    explicit LinearFilter(float64_t t) : f(Real(t)) {}
    template<class Taps> Real get(const Taps &taps) const {
        const Real a = taps(1);
        return a + (Real(taps(2)) - a) * f;
    }
    Real f;
};
template<class Real> struct CubicFilter {
    static constexpr uint32_t first = 0;
    static constexpr uint32_t count = 4;
    explicit CubicFilter(float64_t t)
        : a(Real(((-0.5 * t + 1.0) * t - 0.5) * t)), c(Real(((-1.5 * t + 2.0) * t + 0.5) * t)),
          d(Real((0.5 * t - 0.5) * t * t)) {}
    template<class Taps> Real get(const Taps &taps) const {
        const Real b = taps(1);
        return b + ((Real(taps(2)) - b) * c + ((Real(taps(0)) - b) * a + (Real(taps(3)) - b) * d));
    }
    Real a, c, d;
};

template<template<class> class Filter, class Type, uint32_t Components>
void magnify(ImagePlane dst, const ImagePlane &src, Async *async) {
    using Real = typename Element<Type>::Real;
    using RealFilter = Filter<Real>;
    Array<MagnifyTaps> x_taps, y_taps;
    get_taps(x_taps, src.width, dst.width);
    get_taps(y_taps, src.height, dst.height);
    const uint32_t row_size = dst.width * Components;

    const auto stretch = [&](Real *out, uint32_t y) {
        const Type *row = src.row<Type>(y);
        const MagnifyTaps *taps = x_taps.get();
        for(uint32_t x = 0; x < dst.width; x++, out += Components) {
            const RealFilter filter(taps[x].fraction);
            const uint32_t *index = taps[x].index;
            for(uint32_t c = 0; c < Components; c++)
                out[c] = filter.get([=](uint32_t i) { return Real(row[size_t(index[i]) * Components + c]); });
        }
    };

    const uint32_t band = ((dst.height + 127) >> 6) & 0x3FFFFFE;
    run_rows(async, dst.height, band, [&](uint32_t begin, uint32_t end) {
        // Slots of stretched rows; those of one target row are at most RealFilter::count different ones.
        Array<Real> buffer(row_size * RealFilter::count);
        uint32_t slots[RealFilter::count];
        for(uint32_t &slot : slots) slot = ~0u;
        for(uint32_t y = begin; y < end; y++) {
            const MagnifyTaps &taps = y_taps[y];
            const Real *rows[4] = {};
            // A row that is needed stays in its slot; a new one takes a slot that no tap of this row needs.
            const auto is_needed = [&taps](uint32_t row) {
                for(uint32_t i = 0; i < RealFilter::count; i++) {
                    if(taps.index[RealFilter::first + i] == row) return true;
                }
                return false;
            };
            for(uint32_t i = 0; i < RealFilter::count; i++) {
                const uint32_t row = taps.index[RealFilter::first + i];
                uint32_t slot = 0;
                while(slot < RealFilter::count && slots[slot] != row) slot++;
                if(slot == RealFilter::count) {
                    slot = 0;
                    while(is_needed(slots[slot])) slot++;
                    slots[slot] = row;
                    stretch(buffer.get() + size_t(row_size) * slot, row);
                }
                rows[RealFilter::first + i] = buffer.get() + size_t(row_size) * slot;
            }
            const RealFilter filter(taps.fraction);
            const Real *r0 = rows[0], *r1 = rows[1], *r2 = rows[2], *r3 = rows[3];
            Type *out = reinterpret_cast<Type *>(dst.data + dst.stride * y);
            for(uint32_t x = 0; x < row_size; x++) {
                out[x] = Element<Type>::store(filter.get([=](uint32_t i) {
                    return (i == 0) ? r0[x] : (i == 1) ? r1[x] : (i == 2) ? r2[x] : r3[x];
                }));
            }
        }
    });
}

} // namespace

void resize_magnify(ImagePlane dst, const ImagePlane &src, Format format, Image::Filter filter, Async *async) {
    with_elements(format, [&](auto element, auto components) {
        if(filter == Image::FilterCubic)
            magnify<CubicFilter, decltype(element), components>(dst, src, async);
        else
            magnify<LinearFilter, decltype(element), components>(dst, src, async);
    });
}

} // namespace Kolm
