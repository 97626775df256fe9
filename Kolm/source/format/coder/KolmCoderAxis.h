// Lines through the colours of a subset by principal axis, and estimates of what each partition leaves. Included by the
// file of each instruction set.

#pragma once

#include "KolmCoderTablesBC67.h"
#include "KolmCoderVector.h"

namespace Kolm {

namespace {

/// Pixels by channel, times the weights of the metric.
struct AxisPixels {
    Floats c[4];
};

struct Covariance {
    float num;
    float mean[4];
    float matrix[4][4];
};

KOLM_INLINE void clear_covariance(Covariance &covariance) { memset(&covariance, 0, sizeof(covariance)); }

// Mean and covariance of the pixels of a mask of 1 and 0.
template<uint32_t channels>
KOLM_INLINE void add_covariance(Covariance &covariance, const AxisPixels &pixels, const Floats &mask) {
    covariance.num = lanes_sum(mask);
    Floats rest[4];
    for(uint32_t c = 0; c < channels; c++) {
        covariance.mean[c] = lanes_sum(pixels.c[c] * mask) / covariance.num;
        rest[c] = (pixels.c[c] - covariance.mean[c]) * mask;
    }
    for(uint32_t a = 0; a < channels; a++) {
        for(uint32_t b = a; b < channels; b++) {
            covariance.matrix[a][b] = lanes_sum(rest[a] * rest[b]);
            covariance.matrix[b][a] = covariance.matrix[a][b];
        }
    }
}

// Main axis by repeated multiplication, of length 1; false if all pixels are equal.
template<uint32_t channels> KOLM_INLINE bool get_principal_axis(float axis[4], const Covariance &covariance) {
    uint32_t widest = 0;
    for(uint32_t c = 1; c < channels; c++) {
        if(covariance.matrix[c][c] > covariance.matrix[widest][widest]) widest = c;
    }
    if(!(covariance.matrix[widest][widest] > 1e-6f)) return false;
    const float scale = 1.0f / covariance.matrix[widest][widest];
    for(uint32_t c = 0; c < channels; c++) axis[c] = covariance.matrix[widest][c] * scale;
    for(uint32_t round = 0; round < 5; round++) {
        float next[4];
        float largest = 0.0f;
        for(uint32_t a = 0; a < channels; a++) {
            next[a] = 0.0f;
            for(uint32_t b = 0; b < channels; b++) next[a] += covariance.matrix[a][b] * axis[b];
            const float magnitude = (next[a] < 0.0f) ? -next[a] : next[a];
            if(magnitude > largest) largest = magnitude;
        }
        if(!(largest > 1e-20f)) return false;
        for(uint32_t a = 0; a < channels; a++) axis[a] = next[a] / largest;
    }
    float length = 0.0f;
    for(uint32_t c = 0; c < channels; c++) length += axis[c] * axis[c];
    length = 1.0f / __builtin_sqrtf(length);
    for(uint32_t c = 0; c < channels; c++) axis[c] *= length;
    return true;
}

/// Ends of a line through the colours of a subset.
struct AxisLine {
    float ends[2][4];
};

// Places of the pixels on the axis, from the mean.
template<uint32_t channels>
KOLM_INLINE Floats get_axis_distance(const AxisPixels &pixels, const Covariance &covariance, const float axis[4]) {
    Floats ret = (pixels.c[0] - covariance.mean[0]) * axis[0];
    for(uint32_t c = 1; c < channels; c++) ret = ret + (pixels.c[c] - covariance.mean[c]) * axis[c];
    return ret;
}

// Colours at the extreme places.
template<uint32_t channels>
KOLM_INLINE void get_axis_color(AxisLine &line, const AxisPixels &pixels, const Floats &mask) {
    Covariance covariance;
    clear_covariance(covariance);
    add_covariance<channels>(covariance, pixels, mask);
    float axis[4];
    float lo = 0.0f, hi = 0.0f;
    if(get_principal_axis<channels>(axis, covariance)) {
        const Floats distance = get_axis_distance<channels>(pixels, covariance, axis) * mask;
        lo = -lanes_largest(Floats(0.0f) - distance);
        hi = lanes_largest(distance);
    } else {
        for(uint32_t c = 0; c < channels; c++) axis[c] = 0.0f;
    }
    for(uint32_t c = 0; c < channels; c++) {
        line.ends[0][c] = covariance.mean[c] + axis[c] * lo;
        line.ends[1][c] = covariance.mean[c] + axis[c] * hi;
    }
}

/// Masks of 1 and 0: of subset 1 of two, and of subsets 1 and 2 of three, by pixel and partition; and their counts.
struct AxisMasks {
    float masks[3][NumLanes][64];
    float counts[3][64];

    constexpr AxisMasks() : masks{}, counts{} {
        for(uint32_t i = 0; i < 64; i++) {
            for(uint32_t j = 0; j < NumLanes; j++) {
                const uint32_t two = (bc67_partitions[0][i] >> (j * 2)) & 3;
                const uint32_t three = (bc67_partitions[1][i] >> (j * 2)) & 3;
                const bool set[3] = {two == 1, three == 1, three == 2};
                for(uint32_t k = 0; k < 3; k++) {
                    masks[k][j][i] = set[k] ? 1.0f : 0.0f;
                    if(set[k]) counts[k][i] += 1.0f;
                }
            }
        }
    }
};
alignas(64) constexpr AxisMasks axis_masks;

// Sums of sixteen partitions: the channels, and their products.
template<uint32_t channels> struct AxisSums {
    static constexpr uint32_t Products = channels * (channels + 1) / 2;
    Floats num;
    Floats c[channels];
    Floats products[Products];
};

// What a line leaves of the variance, and its share of the variance on the line.
template<uint32_t channels> KOLM_INLINE Floats get_residual(const AxisSums<channels> &sums, float share) {
    const Floats one(1.0f);
    Floats scale = one;
    for(uint32_t i = 0; i < scale.Num; i++) scale.v[i] = one.v[i] / sums.num.v[i];
    Floats matrix[channels][channels];
    Floats trace(0.0f);
    uint32_t k = 0;
    for(uint32_t a = 0; a < channels; a++) {
        for(uint32_t b = a; b < channels; b++, k++) {
            matrix[a][b] = sums.products[k] - sums.c[a] * sums.c[b] * scale;
            matrix[b][a] = matrix[a][b];
        }
        trace = trace + matrix[a][a];
    }
    // Any start that is not across the axis will do; the sums of rows lean to the widest channels.
    Floats axis[channels];
    for(uint32_t a = 0; a < channels; a++) axis[a] = matrix[a][a];
    for(uint32_t round = 0; round < 3; round++) {
        Floats next[channels];
        Floats largest(1e-10f);
        for(uint32_t a = 0; a < channels; a++) {
            next[a] = matrix[a][0] * axis[0];
            for(uint32_t b = 1; b < channels; b++) next[a] = next[a] + matrix[a][b] * axis[b];
            largest = lanes_max(largest, lanes_abs(next[a]));
        }
        for(uint32_t a = 0; a < channels; a++) {
            for(uint32_t i = 0; i < largest.Num; i++) axis[a].v[i] = next[a].v[i] / largest.v[i];
        }
    }
    Floats top(0.0f), bottom(1e-10f);
    for(uint32_t a = 0; a < channels; a++) {
        Floats next = matrix[a][0] * axis[0];
        for(uint32_t b = 1; b < channels; b++) next = next + matrix[a][b] * axis[b];
        top = top + next * axis[a];
        bottom = bottom + axis[a] * axis[a];
    }
    Floats largest;
    for(uint32_t i = 0; i < top.Num; i++) largest.v[i] = top.v[i] / bottom.v[i];
    return lanes_max(trace - largest, Floats(0.0f)) + largest * share;
}

template<uint32_t channels>
KOLM_INLINE void add_sums(AxisSums<channels> &sums, const float pixels[NumLanes][4], uint32_t set, uint32_t first) {
    sums.num = Floats::load(axis_masks.counts[set] + first);
    for(uint32_t c = 0; c < channels; c++) sums.c[c] = Floats(0.0f);
    for(uint32_t k = 0; k < sums.Products; k++) sums.products[k] = Floats(0.0f);
    for(uint32_t i = 0; i < NumLanes; i++) {
        const Floats mask = Floats::load(axis_masks.masks[set][i] + first);
        Floats values[channels];
        uint32_t k = 0;
        for(uint32_t a = 0; a < channels; a++) {
            values[a] = mask * pixels[i][a];
            sums.c[a] = sums.c[a] + values[a];
        }
        for(uint32_t a = 0; a < channels; a++) {
            for(uint32_t b = a; b < channels; b++, k++) sums.products[k] = sums.products[k] + values[a] * pixels[i][b];
        }
    }
}
template<uint32_t channels>
KOLM_INLINE void subtract_sums(AxisSums<channels> &sums, const AxisSums<channels> &a, const AxisSums<channels> &b) {
    sums.num = a.num - b.num;
    for(uint32_t c = 0; c < channels; c++) sums.c[c] = a.c[c] - b.c[c];
    for(uint32_t k = 0; k < sums.Products; k++) sums.products[k] = a.products[k] - b.products[k];
}

/// Estimated errors of the first \p num partitions of two or three subsets. \p share is the part of the variance on
/// the lines that their steps leave.
template<uint32_t channels>
void estimate_partitions(float estimates[64], const AxisPixels &pixels, uint32_t subsets, uint32_t num, float share) {
    // About the block's mean, where the products keep their digits.
    float values[NumLanes][4];
    AxisSums<channels> total;
    total.num = Floats(float(NumLanes));
    Floats rest[channels];
    for(uint32_t c = 0; c < channels; c++) {
        rest[c] = pixels.c[c] - lanes_sum(pixels.c[c]) * (1.0f / float(NumLanes));
        total.c[c] = Floats(0.0f);
        float channel[NumLanes];
        rest[c].store(channel);
        for(uint32_t i = 0; i < NumLanes; i++) values[i][c] = channel[i];
    }
    uint32_t k = 0;
    for(uint32_t a = 0; a < channels; a++) {
        for(uint32_t b = a; b < channels; b++, k++) total.products[k] = Floats(lanes_sum(rest[a] * rest[b]));
    }
    for(uint32_t first = 0; first < num; first += NumLanes) {
        AxisSums<channels> one, two, rest_sums;
        add_sums<channels>(one, values, (subsets == 2) ? 0 : 1, first);
        subtract_sums<channels>(rest_sums, total, one);
        Floats estimate = get_residual<channels>(one, share);
        if(subsets == 3) {
            add_sums<channels>(two, values, 2, first);
            subtract_sums<channels>(rest_sums, rest_sums, two);
            estimate = estimate + get_residual<channels>(two, share);
        }
        estimate = estimate + get_residual<channels>(rest_sums, share);
        estimate.store(estimates + first);
    }
}

/// Moves the \p count smallest of \p num estimates to the front of a list of partitions.
KOLM_INLINE void sort_partitions(uint8_t partitions[64], float estimates[64], uint32_t num, uint32_t count) {
    for(uint32_t i = 0; i < num; i++) partitions[i] = uint8_t(i);
    for(uint32_t i = 0; i < count; i++) {
        uint32_t best = i;
        for(uint32_t j = i + 1; j < num; j++) {
            if(estimates[j] < estimates[best]) best = j;
        }
        exchange(estimates[i], estimates[best]);
        exchange(partitions[i], partitions[best]);
    }
}

KOLM_INLINE Floats get_subset_mask(uint32_t subsets, uint32_t partition, uint32_t subset) {
    if(subsets == 1) return Floats(1.0f);
    float mask[NumLanes];
    for(uint32_t i = 0; i < NumLanes; i++)
        mask[i] = (((bc67_partitions[subsets - 2][partition] >> (i * 2)) & 3) == subset) ? 1.0f : 0.0f;
    return Floats::load(mask);
}

/// Writes fields from the lowest bit of the first byte upward.
class BlockWriter {
public:
    KOLM_INLINE void put(uint32_t value, uint32_t bits) {
        if(bits == 0) return;
        const uint64_t field = value & ((1ull << bits) - 1);
        if(size < 64) words[0] |= field << size;
        if(size < 64 && size + bits > 64) words[1] |= field >> (64 - size);
        if(size >= 64) words[1] |= field << (size - 64);
        size += bits;
    }
    KOLM_INLINE void store(uint8_t *dst) const { memcpy(dst, words, sizeof(words)); }

private:
    uint64_t words[2] = {0, 0};
    uint32_t size = 0;
};

} // namespace

} // namespace Kolm
