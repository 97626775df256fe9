// Searches of the BC1 colour block and the BC4 byte block. Included by the file of each instruction set.

#pragma once

#include "KolmCoderBytes.h"
#include "KolmCoderKernels.h"

namespace Kolm {

namespace {

namespace BC15 {

/*
 * colour
 */

// Pixels by channel, times the weights of the metric; exact in floats.
struct ColorBlock {
    Floats c[3];
    float weights[3];
    Ints opaque;     // mask of the pixels that count
    bool alpha;      // some do not: the 3-colour form
    Floats opaque_1; // 1 and 0
};

struct ColorResult {
    uint32_t error = 0xFFFFFFFF;
    uint32_t color_0 = 0;
    uint32_t color_1 = 0;
    Ints indices;
};

KOLM_INLINE uint32_t expand_5(uint32_t v) { return (v << 3) | (v >> 2); }
KOLM_INLINE uint32_t expand_6(uint32_t v) { return (v << 2) | (v >> 4); }

KOLM_INLINE uint32_t compress_color(const float *c) {
    const uint32_t r = uint32_t(c[0] * (31.0f / 255.0f) + 0.5f);
    const uint32_t g = uint32_t(c[1] * (63.0f / 255.0f) + 0.5f);
    const uint32_t b = uint32_t(c[2] * (31.0f / 255.0f) + 0.5f);
    return (r << 11) | (g << 5) | b;
}

// Palette of two ends; the 3-colour form is that of blocks with transparent pixels.
KOLM_INLINE void create_colors(float colors[3][4], uint32_t c0, uint32_t c1, bool alpha, const float weights[3]) {
    const uint32_t ends[2][3] = {
        {expand_5(c0 >> 11), expand_6((c0 >> 5) & 63), expand_5(c0 & 31)},
        {expand_5(c1 >> 11), expand_6((c1 >> 5) & 63), expand_5(c1 & 31)},
    };
    for(uint32_t i = 0; i < 3; i++) {
        const uint32_t a = ends[0][i];
        const uint32_t b = ends[1][i];
        colors[i][0] = float(a) * weights[i];
        colors[i][1] = float(b) * weights[i];
        colors[i][2] = float(alpha ? (a + b + 1) >> 1 : (2 * a + b + 1) / 3) * weights[i];
        colors[i][3] = float(alpha ? 0 : (a + 2 * b + 1) / 3) * weights[i];
    }
}

// Takes the two ends if their error is the least so far.
KOLM_INLINE bool try_colors(ColorResult &result, const ColorBlock &block, uint32_t c0, uint32_t c1) {
    float colors[3][4];
    create_colors(colors, c0, c1, block.alpha, block.weights);
    const auto get_distance = [&](uint32_t i) KOLM_LAMBDA {
        const Floats r = block.c[0] - colors[0][i];
        const Floats g = block.c[1] - colors[1][i];
        const Floats b = block.c[2] - colors[2][i];
        return r * r + g * g + b * b;
    };
    const Floats d0 = get_distance(0);
    const Floats d1 = get_distance(1);
    const Floats d2 = get_distance(2);
    const Ints m01 = d1 < d0;
    Floats best = lanes_min(d0, d1);
    Ints indices = m01 & 1;
    if(block.alpha) {
        const Ints m2 = d2 < best;
        best = lanes_min(best, d2);
        indices = select(m2, Ints(2), indices);
        best = best * block.opaque_1;
        indices = select(block.opaque, indices, Ints(3));
    } else {
        const Floats d3 = get_distance(3);
        const Ints m23 = d3 < d2;
        const Floats best_23 = lanes_min(d2, d3);
        const Ints m = best_23 < best;
        best = lanes_min(best, best_23);
        indices = select(m, Ints(2) - m23, indices);
    }
    const uint32_t error = uint32_t(lanes_sum(to_ints(best)));
    if(error >= result.error) return false;
    result.error = error;
    result.color_0 = c0;
    result.color_1 = c1;
    result.indices = indices;
    return true;
}

// Least squares ends for the indices of a result, as 5-6-5 colours. False if the indices do not fix two ends.
KOLM_INLINE bool refit_colors(uint32_t &c0, uint32_t &c1, const ColorBlock &block, const ColorResult &result) {
    // Share of the first end: 1 and 0, then 1/2 or 2/3 and 1/3.
    const Floats i = to_floats(result.indices);
    Floats a;
    if(block.alpha)
        a = select(result.indices == Ints(2), Floats(0.5f), Floats(1.0f) - i) * block.opaque_1;
    else
        a = select(Ints(1) < result.indices, Floats(4.0f / 3.0f) - i * (1.0f / 3.0f), Floats(1.0f) - i);
    Floats b = Floats(1.0f) - a;
    if(block.alpha) b = b * block.opaque_1;
    const float aa = lanes_sum(a * a);
    const float ab = lanes_sum(a * b);
    const float bb = lanes_sum(b * b);
    const float det = aa * bb - ab * ab;
    if(!(det > 0.01f)) return false;
    const float scale = 1.0f / det;
    float ends[2][3];
    for(uint32_t k = 0; k < 3; k++) {
        const float ax = lanes_sum(a * block.c[k]);
        const float bx = lanes_sum(b * block.c[k]);
        const float unit = scale / block.weights[k];
        ends[0][k] = limit((ax * bb - bx * ab) * unit, 0.0f, 255.0f);
        ends[1][k] = limit((bx * aa - ax * ab) * unit, 0.0f, 255.0f);
    }
    c0 = compress_color(ends[0]);
    c1 = compress_color(ends[1]);
    return true;
}

KOLM_INLINE void improve_colors(ColorResult &result, const ColorBlock &block, uint32_t steps) {
    for(uint32_t i = 0; i < steps; i++) {
        uint32_t c0, c1;
        if(!refit_colors(c0, c1, block, result)) return;
        if(c0 == result.color_0 && c1 == result.color_1) return;
        if(!try_colors(result, block, c0, c1)) return;
    }
}

// Moves each channel of each end by one as long as it helps.
KOLM_INLINE void descend_colors(ColorResult &result, const ColorBlock &block, uint32_t rounds) {
    static constexpr uint32_t shifts[3] = {11, 5, 0};
    static constexpr uint32_t tops[3] = {31, 63, 31};
    for(uint32_t i = 0; i < rounds; i++) {
        bool better = false;
        for(uint32_t k = 0; k < 12; k++) {
            const uint32_t channel = k % 3;
            const uint32_t end = (k / 3) & 1;
            const uint32_t ends[2] = {result.color_0, result.color_1};
            const uint32_t value = (ends[end] >> shifts[channel]) & tops[channel];
            if(value == ((k < 6) ? tops[channel] : 0)) continue;
            const uint32_t step = 1u << shifts[channel];
            const uint32_t moved = (k < 6) ? ends[end] + step : ends[end] - step;
            better |= try_colors(result, block, end ? ends[0] : moved, end ? moved : ends[1]);
        }
        if(!better) return;
    }
}

// Ends for the pixels of greatest distance, by squares or by absolute differences. Pixel i meets pixel i + k for
// every k up to half the block, so that each pair comes once or twice.
struct Pairs {
    uint32_t first[2];
    uint32_t second[2];
};
KOLM_INLINE void find_pairs(Pairs &pairs, const ColorBlock &block, bool fast) {
    float channels[3][NumLanes * 2];
    float opaque[NumLanes * 2];
    for(uint32_t k = 0; k < 3; k++) {
        block.c[k].store(channels[k]);
        block.c[k].store(channels[k] + NumLanes);
    }
    if(block.alpha) {
        block.opaque_1.store(opaque);
        block.opaque_1.store(opaque + NumLanes);
    }
    Floats best_2(-1.0f), best_1(-1.0f);
    Floats step_2(0.0f), step_1(0.0f);
    for(uint32_t i = 1; i <= NumLanes / 2; i++) {
        const Floats r = block.c[0] - Floats::load(channels[0] + i);
        const Floats g = block.c[1] - Floats::load(channels[1] + i);
        const Floats b = block.c[2] - Floats::load(channels[2] + i);
        Floats d = r * r + g * g + b * b;
        if(block.alpha) d = d * (block.opaque_1 * Floats::load(opaque + i));
        const Ints m = best_2 < d;
        best_2 = lanes_max(best_2, d);
        step_2 = select(m, Floats(float(i)), step_2);
        if(fast) continue;
        d = lanes_abs(r) + lanes_abs(g) + lanes_abs(b);
        if(block.alpha) d = d * (block.opaque_1 * Floats::load(opaque + i));
        const Ints m1 = best_1 < d;
        best_1 = lanes_max(best_1, d);
        step_1 = select(m1, Floats(float(i)), step_1);
    }
    const auto get = [](const Floats &best, const Floats &step, uint32_t &first, uint32_t &second) KOLM_LAMBDA {
        float steps[NumLanes];
        step.store(steps);
        first = lanes_find(best, lanes_largest(best)) & (NumLanes - 1);
        second = (first + uint32_t(steps[first])) & (NumLanes - 1);
    };
    get(best_2, step_2, pairs.first[0], pairs.second[0]);
    pairs.first[1] = pairs.first[0];
    pairs.second[1] = pairs.second[0];
    if(!fast) get(best_1, step_1, pairs.first[1], pairs.second[1]);
}

KOLM_INLINE void write_colors(uint8_t *dst, const ColorResult &result, bool alpha) {
    uint32_t c0 = result.color_0;
    uint32_t c1 = result.color_1;
    int32_t values[NumLanes];
    result.indices.store(values);
    uint32_t indices = 0;
    for(uint32_t i = 0; i < 16; i++) indices |= uint32_t(values[i]) << (i * 2);
    if(alpha) {
        // Ends of the 3-colour form are in rising order; only indices 0 and 1 change places.
        if(c0 > c1) {
            exchange(c0, c1);
            indices ^= ~(indices >> 1) & 0x55555555;
        }
    } else if(c0 < c1) {
        exchange(c0, c1);
        indices ^= 0x55555555;
    } else if(c0 == c1) {
        indices = 0;
    }
    dst[0] = uint8_t(c0);
    dst[1] = uint8_t(c0 >> 8);
    dst[2] = uint8_t(c1);
    dst[3] = uint8_t(c1 >> 8);
    memcpy(dst + 4, &indices, 4);
}

// Ends whose mixture 2/3 to 1/3 comes nearest to a byte.
struct SingleTable {
    uint8_t ends[256][2];
    explicit constexpr SingleTable(uint32_t bits) : ends{} {
        const uint32_t size = 1u << bits;
        for(uint32_t v = 0; v < 256; v++) {
            uint32_t best = 0xFFFFFFFF;
            const uint32_t middle = (v * (size - 1) + 127) / 255;
            const uint32_t begin = (middle > 6) ? middle - 6 : 0;
            const uint32_t end = (middle + 7 < size) ? middle + 7 : size;
            for(uint32_t a = begin; a < end; a++) {
                for(uint32_t b = begin; b < end; b++) {
                    const uint32_t x = (bits == 5) ? (a << 3) | (a >> 2) : (a << 2) | (a >> 4);
                    const uint32_t y = (bits == 5) ? (b << 3) | (b >> 2) : (b << 2) | (b >> 4);
                    const uint32_t mixture = (2 * x + y + 1) / 3;
                    const uint32_t distance = (mixture < v) ? v - mixture : mixture - v;
                    const uint32_t spread = (a < b) ? b - a : a - b;
                    if(distance * 64 + spread >= best) continue;
                    best = distance * 64 + spread;
                    ends[v][0] = uint8_t(a);
                    ends[v][1] = uint8_t(b);
                }
            }
        }
    }
};
constexpr SingleTable single_5(5);
constexpr SingleTable single_6(6);

void encode_color(uint8_t *dst, const uint8_t *src, uint32_t flags) {
    ColorBlock block;
    uint32_t words[NumLanes];
    memcpy(words, src, sizeof(words));
    uint32_t different = 0;
    block.alpha = false;
    if(flags & CoderAlpha) {
        int32_t opaque[NumLanes];
        uint32_t num = 0;
        uint32_t first = 0;
        for(uint32_t i = NumLanes; i-- > 0;) {
            const bool set = (src[i * 4 + 3] >= 128);
            opaque[i] = set ? -1 : 0;
            num += set;
            if(set) first = i;
        }
        if(num == 0) {
            memset(dst, 0, 4);
            memset(dst + 4, 0xFF, 4);
            return;
        }
        block.alpha = (num < NumLanes);
        block.opaque = Ints::load(opaque);
        block.opaque_1 = to_floats(block.opaque & 1);
        for(uint32_t i = 0; i < NumLanes; i++) different |= (words[i] ^ words[first]) & 0xFFFFFF & uint32_t(opaque[i]);
    } else {
        for(uint32_t i = 1; i < NumLanes; i++) different |= (words[i] ^ words[0]) & 0xFFFFFF;
    }
    if(different == 0 && !block.alpha) {
        ColorResult result;
        result.color_0 = uint32_t(single_5.ends[src[0]][0] << 11) | uint32_t(single_6.ends[src[1]][0] << 5) |
                         single_5.ends[src[2]][0];
        result.color_1 = uint32_t(single_5.ends[src[0]][1] << 11) | uint32_t(single_6.ends[src[1]][1] << 5) |
                         single_5.ends[src[2]][1];
        result.indices = Ints(2);
        write_colors(dst, result, false);
        return;
    }
    const bool perceptual = (flags & CoderPerceptual) != 0;
    block.weights[0] = perceptual ? 3.0f : 1.0f;
    block.weights[1] = perceptual ? 6.0f : 1.0f;
    block.weights[2] = 1.0f;
    const Ints pixels = Ints::load(reinterpret_cast<const int32_t *>(words));
    block.c[0] = to_floats(pixels & 0xFF) * block.weights[0];
    block.c[1] = to_floats((pixels >> 8) & 0xFF) * block.weights[1];
    block.c[2] = to_floats((pixels >> 16) & 0xFF) * block.weights[2];

    Pairs pairs;
    find_pairs(pairs, block, (flags & CoderFast) != 0);
    ColorResult result;
    const auto try_pair = [&](uint32_t k) KOLM_LAMBDA {
        const uint8_t *a = src + pairs.first[k] * 4;
        const uint8_t *b = src + pairs.second[k] * 4;
        const float colors[2][3] = {{float(a[0]), float(a[1]), float(a[2])}, {float(b[0]), float(b[1]), float(b[2])}};
        ColorResult candidate;
        try_colors(candidate, block, compress_color(colors[0]), compress_color(colors[1]));
        if(flags & CoderBest)
            improve_colors(candidate, block, 8);
        else if(!(flags & CoderFast))
            improve_colors(candidate, block, 1);
        if(candidate.error < result.error) result = candidate;
    };
    try_pair(0);
    if(pairs.first[1] != pairs.first[0] || pairs.second[1] != pairs.second[0]) try_pair(1);
    if(flags & CoderBest) {
        descend_colors(result, block, 8);
        improve_colors(result, block, 4);
    }
    write_colors(dst, result, block.alpha);
}

/*
 * bytes
 */

// The values of a block, each once, with how often it comes; the extremes first.
struct AlphaBlock {
    uint32_t num;
    int16_t values[NumLanes];
    int16_t counts[NumLanes];
};

struct AlphaResult {
    int32_t error;
    int32_t alpha_0;
    int32_t alpha_1;
    bool eight;
};

// Errors stop counting here. The two ends of the range alone do better.
constexpr int16_t error_top = 16383;

// Nearest entry's squared distance, summed over the pixels, of sixteen palettes with one first end. Those that are not
// valid get the top.
template<bool eight>
KOLM_INLINE Shorts get_alpha_errors(const AlphaBlock &block, int32_t alpha_0, const Shorts &alpha_1,
                                    const Shorts &valid, int32_t top, int32_t limit_error) {
    Shorts alphas[6];
    constexpr int32_t num = eight ? 6 : 4;
    // Sums of at most 1788: the quotients are exact.
    for(int32_t k = 0; k < num; k++)
        alphas[k] = scale_shorts(alpha_1 * int16_t(k + 1) + int16_t((num - k) * alpha_0 + (num + 1) / 2),
                                 uint16_t(65536 / (num + 1) + 1));
    Shorts sum = select(valid, Shorts(int16_t(0)), Shorts(error_top));
    for(uint32_t i = 0; i < block.num; i++) {
        const Shorts value(block.values[i]);
        Shorts distance =
            lanes_min(lanes_abs(alpha_1 - value),
                      Shorts(int16_t(larger(alpha_0 - int32_t(block.values[i]), int32_t(block.values[i]) - alpha_0))));
        for(int32_t k = 0; k < num; k++) distance = lanes_min(distance, lanes_abs(alphas[k] - value));
        if(!eight) {
            const int32_t ends_distance = smaller(int32_t(block.values[i]), top - int32_t(block.values[i]));
            distance = lanes_min(distance, Shorts(int16_t(ends_distance)));
        }
        // 127 times 127 and the top stay within a short.
        distance = lanes_min(distance, Shorts(int16_t(127)));
        const Shorts square = lanes_min(distance * distance, Shorts(error_top));
        for(int32_t k = 0; k < block.counts[i]; k++) sum = lanes_min(sum + square, Shorts(error_top));
        if((i & 3) == 3 && lanes_smallest(sum) >= limit_error) break;
    }
    return sum;
}

alignas(32) constexpr int16_t lane_numbers[NumLanes] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

// Sums of squares of what lies above and below a value, up to the top: no palette between two ends does better than its
// ends allow. Both are monotone. The 6-value palette has the two ends of the range as well, which may be nearer.
struct AlphaBounds {
    int16_t above[256];
    int16_t below[256];
};
// Those of the places within a radius of a value, or of all if some of these wrap around.
KOLM_INLINE void get_bounds(int16_t bounds[256], const AlphaBlock &block, bool above, bool eight, int32_t middle,
                            int32_t radius, int32_t top) {
    const bool wraps = middle < radius || middle + radius > 255;
    const int32_t begin = wraps ? 0 : (middle - radius) & ~15;
    const int32_t end = wraps ? 256 : middle + radius + 1;
    for(int32_t i = begin; i < end; i += int32_t(NumLanes)) {
        const Shorts places = Shorts::load(lane_numbers) + int16_t(i);
        Shorts sum(int16_t(0));
        for(uint32_t k = 0; k < block.num; k++) {
            const Shorts value(block.values[k]);
            const int32_t other = eight ? 127 : smaller(smaller(int32_t(block.values[k]), top - block.values[k]), 127);
            const Shorts distance =
                lanes_clamp(above ? value - places : places - value, Shorts(int16_t(0)), Shorts(int16_t(other)));
            const Shorts square = lanes_min(distance * distance, Shorts(error_top));
            for(int32_t n = 0; n < block.counts[k]; n++) sum = lanes_min(sum + square, Shorts(error_top));
        }
        sum.store(bounds + i);
    }
}

// All pairs around the two ends in order; the first of the least errors stays.
template<bool eight>
void search_alphas(AlphaResult &result, const AlphaBlock &block, const AlphaBounds &bounds, int32_t base_0,
                   int32_t base_1, int32_t radius, int32_t top) {
    for(int32_t i = -radius; i <= radius; i++) {
        if(result.error == 0) return;
        const int32_t alpha_0 = (base_0 + i) & 255;
        if(alpha_0 > top) continue;
        // The second ends that the form and the bounds allow, from lo to hi.
        const bool wraps = base_1 < radius || base_1 + radius > 255;
        const int32_t first = wraps ? 0 : base_1 - radius;
        const int32_t last = wraps ? top : smaller(base_1 + radius, top);
        int32_t lo = eight ? first : larger(alpha_0, first);
        int32_t hi = eight ? smaller(alpha_0 - 1, last) : last;
        const auto is_bounded = [&](int32_t alpha_1) KOLM_LAMBDA {
            const int32_t error =
                eight ? bounds.above[alpha_0] + bounds.below[alpha_1] : bounds.below[alpha_0] + bounds.above[alpha_1];
            return error >= result.error;
        };
        if(eight)
            while(hi >= lo && is_bounded(hi)) hi--;
        else
            while(hi >= lo && is_bounded(lo)) lo++;
        if(hi < lo) continue;
        for(int32_t j = -radius; j <= radius; j += int32_t(NumLanes)) {
            const Shorts lanes = Shorts::load(lane_numbers);
            const Shorts alpha_1 = (lanes + int16_t(base_1 + j)) & int16_t(255);
            const Shorts valid = (lanes < Shorts(int16_t(radius - j + 1))) & (alpha_1 < Shorts(int16_t(hi + 1))) &
                                 (Shorts(int16_t(lo - 1)) < alpha_1);
            if(!lanes_any(valid)) continue;
            Shorts errors = get_alpha_errors<eight>(block, alpha_0, alpha_1, valid, top, result.error);
            const int32_t error = lanes_smallest(errors);
            if(error >= result.error) continue;
            int16_t ends[NumLanes];
            alpha_1.store(ends);
            result.error = error;
            result.alpha_0 = alpha_0;
            result.alpha_1 = ends[lanes_find(errors, int16_t(error))];
            result.eight = eight;
        }
    }
}

// The error of a good palette, found by moving each end in turn: what is no better need not be looked at.
template<bool eight>
KOLM_INLINE int32_t find_bound(const AlphaBlock &block, int32_t alpha_0, int32_t alpha_1, int32_t radius, int32_t top) {
    int32_t ret = 0x7FFF;
    int32_t ends[2] = {alpha_0, alpha_1};
    for(uint32_t round = 0; round < 4; round++) {
        // Sixteen places of the second end; the ends of a palette may change places.
        const int32_t step = larger((radius * 2 + 15) / 16 >> (round & ~1u), 1);
        const Shorts lanes = Shorts::load(lane_numbers);
        const Shorts moved =
            lanes_clamp(lanes * int16_t(step) + int16_t(ends[1] - step * 8), Shorts(int16_t(0)), Shorts(int16_t(top)));
        // Those within the search: they are in the order of the form.
        const int32_t lo = ((round & 1) ? alpha_0 : alpha_1) - radius;
        const int32_t hi = ((round & 1) ? alpha_0 : alpha_1) + radius;
        const bool falls = eight != ((round & 1) != 0);
        Shorts valid = (Shorts(int16_t(lo - 1)) < moved) & (moved < Shorts(int16_t(hi + 1)));
        if(falls)
            valid = valid & (moved < Shorts(int16_t(eight ? ends[0] : ends[0] + 1)));
        else
            valid = valid & (Shorts(int16_t(eight ? ends[0] : ends[0] - 1)) < moved);
        const Shorts errors = get_alpha_errors<eight>(block, ends[0], moved, valid, top, 0x7FFF);
        const int32_t error = lanes_smallest(errors);
        if(error < ret) {
            int16_t values[NumLanes];
            moved.store(values);
            ret = error;
            ends[1] = values[lanes_find(errors, int16_t(error))];
        }
        exchange(ends[0], ends[1]);
    }
    return ret;
}

void encode_alpha(uint8_t *dst, const uint8_t *src, uint32_t top_value, uint32_t flags) {
    const int32_t top = int32_t(top_value);
    int32_t min_value = 255, max_value = 0, inner_min = 256, inner_max = -1;
    uint8_t counts[256] = {};
    for(uint32_t i = 0; i < NumLanes; i++) {
        const int32_t v = src[i];
        counts[v]++;
        min_value = smaller(min_value, v);
        max_value = larger(max_value, v);
        if(v == 0 || v == top) continue;
        inner_min = smaller(inner_min, v);
        inner_max = larger(inner_max, v);
    }
    if(min_value == max_value) {
        memset(dst, 0, 8);
        dst[0] = uint8_t(min_value);
        dst[1] = uint8_t(min_value);
        return;
    }
    AlphaBlock block;
    block.num = 0;
    const auto append = [&](int32_t v) KOLM_LAMBDA {
        if(counts[v] == 0) return;
        block.values[block.num] = int16_t(v);
        block.counts[block.num++] = counts[v];
        counts[v] = 0;
    };
    append(max_value);
    append(min_value);
    for(uint32_t i = 0; i < NumLanes; i++) append(src[i]);

    const auto get_radius = [flags](int32_t range)
                                KOLM_LAMBDA { return (flags & CoderFast) ? (7 + range) / 8 : (3 + range) / 4; };
    AlphaBounds bounds;
    int32_t radius = get_radius(max_value - min_value);
    get_bounds(bounds.above, block, true, true, max_value, radius, top);
    get_bounds(bounds.below, block, false, true, min_value, radius, top);
    AlphaResult result = {find_bound<true>(block, max_value, min_value, radius, top) + 1, max_value, min_value, true};
    search_alphas<true>(result, block, bounds, max_value, min_value, radius, top);
    if(result.error) {
        if(inner_max < 0) {
            result = {0, 0, top, false};
        } else {
            radius = get_radius(inner_max - inner_min);
            get_bounds(bounds.below, block, false, false, inner_min, radius, top);
            get_bounds(bounds.above, block, true, false, inner_max, radius, top);
            const int32_t bound = find_bound<false>(block, inner_min, inner_max, radius, top) + 1;
            result.error = smaller(result.error, bound);
            search_alphas<false>(result, block, bounds, inner_min, inner_max, radius, top);
        }
    }

    int32_t alphas[8] = {result.alpha_0, result.alpha_1};
    const int32_t num = result.eight ? 6 : 4;
    for(int32_t k = 0; k < num; k++)
        alphas[k + 2] = ((num - k) * result.alpha_0 + (k + 1) * result.alpha_1 + (num + 1) / 2) / (num + 1);
    if(!result.eight) {
        alphas[6] = 0;
        alphas[7] = top;
    }
    uint64_t indices = 0;
    for(uint32_t i = 0; i < NumLanes; i++) {
        const int32_t v = src[i];
        uint64_t index = 0;
        int32_t best = 0x7FFFFFFF;
        for(uint32_t k = 0; k < 8; k++) {
            const int32_t d = (alphas[k] < v) ? v - alphas[k] : alphas[k] - v;
            if(d < best) {
                best = d;
                index = k;
            }
        }
        indices |= index << (i * 3);
    }
    dst[0] = uint8_t(result.alpha_0);
    dst[1] = uint8_t(result.alpha_1);
    memcpy(dst + 2, &indices, 6);
}

} // namespace BC15

} // namespace

} // namespace Kolm
