// Resizing where at least one axis grows: bilinear and Catmull-Rom interpolation.
//
// A source row is stretched along x once and kept for the target rows that need it; along y, whole rows are mixed.

#include <math.h>

#include "KolmImageResize.h"
#include "KolmImageTasks.h"
#include "KolmLanes.h"

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
    static constexpr bool is_inside = true; // nothing leaves the range of the taps by more than roundings
    explicit LinearFilter(float64_t t = 0.0) : f(Real(t)) {}
    template<class Taps> auto get(const Taps &taps) const {
        const auto a = taps(1);
        return a + (taps(2) - a) * f;
    }
    Real f;
};
template<class Real> struct CubicFilter {
    static constexpr uint32_t first = 0;
    static constexpr uint32_t count = 4;
    static constexpr bool is_inside = false;
    explicit CubicFilter(float64_t t = 0.0)
        : a(Real(((-0.5 * t + 1.0) * t - 0.5) * t)), c(Real(((-1.5 * t + 2.0) * t + 0.5) * t)),
          d(Real((0.5 * t - 0.5) * t * t)) {}
    template<class Taps> auto get(const Taps &taps) const {
        const auto b = taps(1);
        return b + ((taps(2) - b) * c + ((taps(0) - b) * a + (taps(3) - b) * d));
    }
    Real a, c, d;
};

// A target row of stretched ones. Rows may be the same one.
template<class Type, class Real, class RealFilter>
void mix_rows(Type *__restrict out, const Real *const rows[4], RealFilter filter, size_t size) {
    const Real *r0 = rows[0], *r1 = rows[1], *r2 = rows[2], *r3 = rows[3];
    for(size_t x = 0; x < size; x++) {
        const Real v = filter.get([=](uint32_t i) {
            return (i == 0) ? r0[x] : (i == 1) ? r1[x] : (i == 2) ? r2[x] : r3[x];
        });
        if constexpr(RealFilter::is_inside && sizeof(Type) < 4)
            out[x] = Element<Type>::store_inside(v);
        else
            out[x] = Element<Type>::store(v);
    }
}

template<uint32_t Components, class Real, class RealFilter>
void stretch_row(Real *out, const Real *row, const MagnifyTaps *taps, const RealFilter *filters, uint32_t width) {
    for(uint32_t x = 0; x < width; x++, out += Components) {
        const uint32_t *index = taps[x].index;
        if constexpr(Components == 4 && std::is_same_v<Real, float32_t>) {
            filters[x].get([=](uint32_t i) { return float32x4_t::load(row + size_t(index[i]) * 4); }).store(out);
        } else {
            for(uint32_t c = 0; c < Components; c++)
                out[c] = filters[x].get([=](uint32_t i) { return row[size_t(index[i]) * Components + c]; });
        }
    }
}

template<template<class> class Filter, class Type, uint32_t Components>
void magnify(ImagePlane dst, const ImagePlane &src, Async *async) {
    using Real = typename Element<Type>::Real;
    using RealFilter = Filter<Real>;
    Array<MagnifyTaps> x_taps, y_taps;
    get_taps(x_taps, src.width, dst.width);
    get_taps(y_taps, src.height, dst.height);
    const uint32_t row_size = dst.width * Components;
    Array<RealFilter> x_filters;
    x_filters.reserve(dst.width);
    for(const MagnifyTaps &taps : x_taps) x_filters.append(RealFilter(taps.fraction));

    const uint32_t band = ((dst.height + 127) >> 6) & 0x3FFFFFE;
    run_rows(async, dst.height, band, [&](uint32_t begin, uint32_t end) {
        // Slots of stretched rows; those of one target row are at most RealFilter::count different ones.
        Array<Real> buffer(row_size * RealFilter::count);
        Array<Real> line(src.width * Components);
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
                    const Type *elements = src.row<Type>(row);
                    for(size_t x = 0; x < line.size(); x++) line.get()[x] = Real(elements[x]);
                    stretch_row<Components>(buffer.get() + size_t(row_size) * slot, line.get(), x_taps.get(),
                                            x_filters.get(), dst.width);
                }
                rows[RealFilter::first + i] = buffer.get() + size_t(row_size) * slot;
            }
            mix_rows(reinterpret_cast<Type *>(dst.data + dst.stride * y), rows, RealFilter(taps.fraction), row_size);
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
