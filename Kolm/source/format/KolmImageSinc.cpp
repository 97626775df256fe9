// Resizing with a Lanczos window of order 4 where both axes shrink: rows are weighted into one row, then its columns.
//
// Bytes are weighted in fixed point, where the weights sum exactly to one; other elements as differences to the middle
// of the footprint. Both ways a constant stays what it is although results are cut.

#include <math.h>

#include "KolmImageResize.h"
#include "KolmImageTasks.h"
#include "KolmImageWeigh.h"
#include "KolmLanes.h"

namespace Kolm {

namespace {

constexpr uint32_t band_rows = 16;
constexpr uint32_t max_taps = 512;
constexpr uint32_t max_fixed_taps = 128; // beyond, fixed weights become coarse
constexpr float64_t pi = 3.14159265358979323846;

float64_t lanczos(float64_t x) {
    if(fabs(x) <= 1e-6) return 1.0;
    return 4.0 * sin(pi * x) * sin(pi * x * 0.25) / (pi * pi * x * x);
}

// Taps of all target texels of an axis, inside the source; the weights of each sum to one.
struct SincTaps {
    SincTaps(uint32_t src_size, uint32_t dst_size);

    /// Weights of all items as the numbers that sums are made of.
    template<class Real> const Real *get() const {
        if constexpr(std::is_same_v<Real, float32_t>)
            return singles.get();
        else
            return weights.get();
    }

    struct Item {
        uint32_t begin;
        uint32_t size;
        uint32_t center; // counted from begin
        uint32_t offset; // of its weights
    };
    Array<Item> items;
    Array<float64_t> weights;
    Array<float32_t> singles; // the same
    uint32_t max_size = 0;
    bool is_fixed = true; // fixed weights fit
    Array<int16_t> fixed; // 14 bits; an even number for each item, the odd one 0
};

SincTaps::SincTaps(uint32_t src_size, uint32_t dst_size) {
    const ImageFootprints footprints(src_size, dst_size);
    const float64_t scale = footprints.scale;
    const int64_t radius = min(int64_t(scale * 4.0 + 0.5), int64_t(32));
    // With a whole scale most texels have the weights of the one before.
    const bool is_whole = (scale == floor(scale));
    float64_t values[max_taps];
    float64_t first_x = 0.0, sum = 0.0;
    uint32_t num_values = 0;
    items.resize(dst_size);
    for(uint32_t i = 0; i < dst_size; i++) {
        const ImageFootprints::Item &print = footprints.items[i];
        const int64_t first = int64_t(print.begin) - radius;
        const int64_t last = min(int64_t(print.begin) + print.size + radius, first + int64_t(max_taps));
        Item &item = items[i];
        item.begin = uint32_t(max(first, int64_t(0)));
        item.size = uint32_t(min(last, int64_t(src_size)) - item.begin);
        item.center = min(print.center - item.begin, item.size - 1);
        item.offset = weights.size();
        max_size = max(max_size, item.size);
        const auto get_x = [&](uint32_t k) {
            return (float64_t(item.begin + k) + 0.5 - (float64_t(i) + 0.5) * scale) / scale;
        };
        if(!is_whole || num_values != item.size || first_x != get_x(0)) {
            sum = 0.0;
            for(uint32_t k = 0; k < item.size; k++) {
                values[k] = lanczos(get_x(k));
                sum += values[k];
            }
            num_values = item.size;
            first_x = get_x(0);
        }
        // The rounding errors of fixed weights are carried on, so that the last one makes the sum complete.
        float64_t carry = 0.0;
        for(uint32_t k = 0; k < item.size; k++) {
            const float64_t weight = values[k] / sum;
            weights.append(weight);
            const float64_t exact = weight * weigh_one + carry;
            const float64_t rounded = floor(exact + 0.5);
            carry = exact - rounded;
            if(fabs(rounded) > 32767.0) is_fixed = false;
            fixed.append(is_fixed ? int16_t(rounded) : int16_t(0));
        }
        if(weights.size() & 1) {
            weights.append(0.0);
            fixed.append(0);
        }
    }
    if(max_size > max_fixed_taps) is_fixed = false;
    singles.resize(weights.size());
    for(uint32_t i = 0; i < weights.size(); i++) singles[i] = float32_t(weights[i]);
}

// Bytes. Four lanes for each pixel of the row between, so that a pixel is one vector.
template<class Type, uint32_t Components>
void sinc_bytes(ImagePlane dst, const ImagePlane &src, const SincTaps &x_taps, const SincTaps &y_taps, Async *async) {
    constexpr uint32_t lanes = (Components == 1) ? 1 : 4;
    run_rows(async, dst.height, band_rows, [&](uint32_t begin, uint32_t end) {
        const uint32_t size = src.width * Components;
        // One pixel behind the end: taps come in pairs.
        Array<int16_t> row_buffer((src.width + 1) * lanes);
        Array<int16_t> packed_buffer((lanes == Components) ? 0 : size);
        int16_t *row = row_buffer.get();
        memset(row, 0, row_buffer.size() * sizeof(int16_t));
        int16_t *packed = (lanes == Components) ? row : packed_buffer.get();
        for(uint32_t y = begin; y < end; y++) {
            const SincTaps::Item &item = y_taps.items[y];
            weigh_rows(packed, src.row<Type>(item.begin), src.stride, y_taps.fixed.get() + item.offset, item.size,
                       size);
            if constexpr(lanes != Components) {
                for(size_t x = 0; x < src.width; x++) {
                    for(uint32_t c = 0; c < Components; c++) row[x * 4 + c] = packed[x * Components + c];
                }
            }
            Type *d = reinterpret_cast<Type *>(dst.data + dst.stride * y);
            for(uint32_t x = 0; x < dst.width; x++, d += Components) {
                const SincTaps::Item &taps = x_taps.items[x];
                const int16_t *w = x_taps.fixed.get() + taps.offset;
                int32_t total[lanes];
                if constexpr(lanes == 1)
                    total[0] = weigh_values(row + taps.begin, w, taps.size);
                else
                    weigh_pixels(total, row + size_t(taps.begin) * 4, w, taps.size);
                for(uint32_t c = 0; c < Components; c++) d[c] = weigh_store<Type>(total[c]);
            }
        }
    });
}

template<class Real, class Row>
void add_weighted(Real *__restrict sums, const Row *__restrict row, const Row *__restrict base, Real weight,
                  uint32_t size) {
    for(size_t i = 0; i < size; i++) sums[i] += (Real(row[i]) - Real(base[i])) * weight;
}

// Weighted sum of pixels.
template<uint32_t Components, class Real>
inline void weigh_columns(Real *dst, const Real *row, const Real *weights, uint32_t size, uint32_t center) {
    if constexpr(Components == 4 && std::is_same_v<Real, float32_t>) {
        const float32x4_t base = float32x4_t::load(row + size_t(center) * 4);
        float32x4_t sum(0.0f);
        for(uint32_t k = 0; k < size; k++) sum += (float32x4_t::load(row + size_t(k) * 4) - base) * weights[k];
        (base + sum).store(dst);
    } else {
        const Real *base = row + size_t(center) * Components;
        Real sums[Components] = {};
        for(uint32_t k = 0; k < size; k++) {
            for(uint32_t c = 0; c < Components; c++) sums[c] += (row[k * Components + c] - base[c]) * weights[k];
        }
        for(uint32_t c = 0; c < Components; c++) dst[c] = base[c] + sums[c];
    }
}

// Elements are weighted as they are, or decoded to linear light and encoded again with \p Gamma.
template<bool Gamma, class Type, uint32_t Components>
void sinc(ImagePlane dst, const ImagePlane &src, const SincTaps &x_taps, const SincTaps &y_taps, Async *async) {
    using Row = std::conditional_t<Gamma, float32_t, Type>;
    using Real = std::conditional_t<Gamma, float32_t, typename Element<Type>::Real>;
    // Rows of one band that are decoded serve all of it, so bands are long without tasks.
    run_rows(async, dst.height, (Gamma && !async) ? dst.height : band_rows, [&](uint32_t begin, uint32_t end) {
        const uint32_t size = src.width * Components;
        const uint32_t dst_size = dst.width * Components;
        Array<Real> buffer(size + dst_size);
        Real *row = buffer.get();
        Real *values = row + size;
        // Decoded rows are kept as long as the next target rows may want them: slot by row number.
        const uint32_t slots = Gamma ? y_taps.max_size : 0;
        Array<Array<float32_t>> ring(slots);
        Array<uint32_t> numbers(slots);
        for(uint32_t &number : numbers) number = ~0u;

        const Row *rows[max_taps];
        for(uint32_t y = begin; y < end; y++) {
            const SincTaps::Item &item = y_taps.items[y];
            for(uint32_t k = 0; k < item.size; k++) {
                const uint32_t number = item.begin + k;
                if constexpr(Gamma) {
                    const uint32_t slot = number % slots;
                    if(numbers[slot] != number) {
                        numbers[slot] = number;
                        ring[slot].resize(size);
                        GammaRow<Type, Components>::decode(ring[slot].get(), src.row<Type>(number), size);
                    }
                    rows[k] = ring[slot].get();
                } else {
                    rows[k] = src.row<Type>(number);
                }
            }
            const Real *weights = y_taps.get<Real>() + item.offset;
            constexpr uint32_t block = 256; // elements whose sums stay in the nearest cache
            for(uint32_t x = 0; x < size; x += block) {
                const uint32_t n = min(block, size - x);
                const Row *base = rows[item.center] + x;
                Real sums[block] = {};
                for(uint32_t k = 0; k < item.size; k++) add_weighted(sums, rows[k] + x, base, weights[k], n);
                for(size_t i = 0; i < n; i++) row[x + i] = Real(base[i]) + sums[i];
            }
            for(uint32_t x = 0; x < dst.width; x++) {
                const SincTaps::Item &taps = x_taps.items[x];
                weigh_columns<Components>(values + size_t(x) * Components, row + size_t(taps.begin) * Components,
                                          x_taps.get<Real>() + taps.offset, taps.size, taps.center);
            }
            Type *d = reinterpret_cast<Type *>(dst.data + dst.stride * y);
            if constexpr(Gamma) {
                GammaRow<Type, Components>::encode(d, values, dst_size);
            } else {
                for(size_t i = 0; i < dst_size; i++) d[i] = Element<Type>::store(values[i]);
            }
        }
    });
}

} // namespace

void resize_sinc(ImagePlane dst, const ImagePlane &src, Format format, bool gamma, Async *async) {
    const SincTaps x_taps(src.width, dst.width);
    const SincTaps y_taps(src.height, dst.height);
    with_elements(format, [&](auto element, auto components) {
        using Type = decltype(element);
        if(gamma) return sinc<true, Type, components>(dst, src, x_taps, y_taps, async);
        if constexpr(sizeof(Type) == 1) {
            if(x_taps.is_fixed && y_taps.is_fixed) return sinc_bytes<Type, components>(dst, src, x_taps, y_taps, async);
        }
        sinc<false, Type, components>(dst, src, x_taps, y_taps, async);
    });
}

} // namespace Kolm
