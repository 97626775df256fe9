// Searches of the EAC block and the ETC2 colour block. Included by the file of each instruction set.

#pragma once

#include "KolmCoderBytes.h"
#include "KolmCoderKernels.h"
#include "KolmCoderTablesETC2.h"

namespace Kolm {

namespace {

namespace ETC2 {

// Fields of a block count from its last bit, the first byte being on top.
KOLM_INLINE void write_word(uint8_t *dst, uint64_t word) {
    word = __builtin_bswap64(word);
    memcpy(dst, &word, sizeof(word));
}

/*
 * bytes
 */

struct AlphaSearch {
    int32_t num; // values of the block, each once, with how often it comes
    int16_t values[NumLanes];
    int16_t counts[NumLanes];
    int16_t base_min, base_max;   // of the base
    int16_t entry_min, entry_max; // of the palette's entries
    Shorts modifiers[8];          // lane t holds table t

    int32_t error;
    int32_t base;
    int32_t multiplier;
    int32_t table;
};

// Errors stop counting here.
constexpr int16_t error_top = 16383;

// One base and multiplier for each of the sixteen tables.
KOLM_INLINE void try_alphas(AlphaSearch &search, const Shorts &base, const Shorts &multiplier) {
    Shorts entries[8];
    for(uint32_t k = 0; k < 8; k++)
        entries[k] =
            lanes_clamp(base + search.modifiers[k] * multiplier, Shorts(search.entry_min), Shorts(search.entry_max));
    Shorts sum(int16_t(0));
    for(int32_t i = 0; i < search.num; i++) {
        const Shorts value(search.values[i]);
        Shorts distance = lanes_abs(entries[0] - value);
        for(uint32_t k = 1; k < 8; k++) distance = lanes_min(distance, lanes_abs(entries[k] - value));
        distance = lanes_min(distance, Shorts(int16_t(127)));
        const Shorts square = lanes_min(distance * distance, Shorts(error_top));
        for(int32_t k = 0; k < search.counts[i]; k++) sum = lanes_min(sum + square, Shorts(error_top));
        if((i & 3) == 3 && lanes_smallest(sum) >= search.error) return;
    }
    const int16_t error = lanes_smallest(sum);
    if(error >= search.error) return;
    int16_t bases[NumLanes], multipliers[NumLanes];
    base.store(bases);
    multiplier.store(multipliers);
    search.error = error;
    search.table = int32_t(lanes_find(sum, error));
    search.base = bases[search.table];
    search.multiplier = multipliers[search.table];
}

void encode_alpha(uint8_t *dst, const uint8_t *src, bool wide, uint32_t flags) {
    const bool is_signed = (flags & CoderSigned) != 0;
    int32_t pixels[NumLanes];
    AlphaSearch search;
    search.num = 0;
    int32_t min_value = 255, max_value = -128;
    for(uint32_t i = 0; i < NumLanes; i++) {
        pixels[i] = is_signed ? int32_t(int8_t(src[i])) : int32_t(src[i]);
        min_value = smaller(min_value, pixels[i]);
        max_value = larger(max_value, pixels[i]);
    }
    const auto append = [&](int32_t v) KOLM_LAMBDA {
        int32_t i = 0;
        while(i < search.num && search.values[i] != v) i++;
        if(i == search.num) {
            search.values[i] = int16_t(v);
            search.counts[i] = 0;
            search.num++;
        }
        search.counts[i]++;
    };
    // The extremes first: they fail early.
    append(max_value);
    append(min_value);
    search.counts[0]--;
    if(search.num == 2) search.counts[1]--;
    for(uint32_t i = 0; i < NumLanes; i++) append(pixels[i]);
    search.base_min = is_signed ? -127 : 0;
    search.base_max = is_signed ? 127 : 255;
    search.entry_min = is_signed ? -128 : 0;
    search.entry_max = is_signed ? 127 : 255;
    search.error = 0x7FFFFFFF;
    search.table = 0;
    search.multiplier = 0;
    search.base = limit(max_value, int32_t(search.base_min), int32_t(search.base_max));
    if(min_value != max_value) {
        int16_t spans[NumLanes], sums[NumLanes], columns[8][NumLanes];
        for(uint32_t t = 0; t < NumLanes; t++) {
            for(uint32_t k = 0; k < 8; k++) columns[k][t] = eac_modifiers[t][k];
            spans[t] = int16_t(eac_modifiers[t][7] - eac_modifiers[t][3]);
            sums[t] = int16_t(eac_modifiers[t][7] + eac_modifiers[t][3]);
        }
        for(uint32_t k = 0; k < 8; k++) search.modifiers[k] = Shorts::load(columns[k]);
        const int32_t range = max_value - min_value;
        const int32_t middle = max_value + min_value;
        const int32_t steps = (flags & CoderBest) ? 4 : (flags & CoderFast) ? 1 : 2;
        const int32_t radius = (flags & CoderBest) ? 6 : (flags & CoderFast) ? 0 : 1;
        const int32_t lowest = (flags & CoderBest) ? -1 : 0;
        for(int32_t m = lowest; m < lowest + steps; m++) {
            int16_t multipliers[NumLanes], bases[NumLanes];
            for(uint32_t t = 0; t < NumLanes; t++) {
                const int32_t nearest = (steps == 1) ? (range * 2 + spans[t]) / (spans[t] * 2) : range / spans[t] + m;
                multipliers[t] = int16_t(limit(nearest, 1, 15));
                bases[t] = int16_t((middle - sums[t] * multipliers[t]) >> 1);
            }
            const Shorts multiplier = Shorts::load(multipliers);
            const Shorts base = Shorts::load(bases);
            for(int32_t b = 0; b <= radius * 2 && search.error; b++) {
                const int32_t offset = (b & 1) ? (b + 1) / 2 : -b / 2;
                try_alphas(search,
                           lanes_clamp(base + int16_t(offset), Shorts(search.base_min), Shorts(search.base_max)),
                           multiplier);
            }
        }
    }
    int32_t entries[8];
    for(uint32_t k = 0; k < 8; k++) {
        const int32_t modifier = eac_modifiers[search.table][k];
        if(search.multiplier)
            entries[k] = search.base + modifier * search.multiplier;
        else
            entries[k] = wide ? search.base + ((modifier + (is_signed ? 0 : 4)) >> 3) : search.base;
        entries[k] = limit(entries[k], int32_t(search.entry_min), int32_t(search.entry_max));
    }
    uint64_t word =
        (uint64_t(search.base & 0xFF) << 56) | (uint64_t(search.multiplier) << 52) | (uint64_t(search.table) << 48);
    for(uint32_t i = 0; i < NumLanes; i++) {
        const int32_t value = pixels[(i & 3) * 4 + (i >> 2)];
        uint64_t index = 0;
        int32_t best = 0x7FFFFFFF;
        for(uint32_t k = 0; k < 8; k++) {
            const int32_t d = (entries[k] < value) ? value - entries[k] : entries[k] - value;
            if(d >= best) continue;
            best = d;
            index = k;
        }
        word |= index << (45 - i * 3);
    }
    write_word(dst, word);
}

/*
 * colour
 */

struct ColorBlock {
    Floats c[3];      // channels
    float weights[3]; // of the metric
    Floats opaque;    // 1 and 0
    bool alpha;       // some pixels are transparent
    bool alpha_form;  // the format has no individual form
    float error;      // of the best block so far
    uint64_t word;
};

// Pixels of the second half, beside and below.
alignas(64) constexpr int32_t half_masks[2][NumLanes] = {
    {0, 0, -1, -1, 0, 0, -1, -1, 0, 0, -1, -1, 0, 0, -1, -1},
    {0, 0, 0, 0, 0, 0, 0, 0, -1, -1, -1, -1, -1, -1, -1, -1},
};

KOLM_INLINE int32_t extend_4(int32_t v) { return v * 17; }
KOLM_INLINE int32_t extend_5(int32_t v) { return (v << 3) | (v >> 2); }
KOLM_INLINE int32_t extend_6(int32_t v) { return (v << 2) | (v >> 4); }
KOLM_INLINE int32_t extend_7(int32_t v) { return (v << 1) | (v >> 6); }
KOLM_INLINE int32_t quantize(float v, int32_t top) {
    return int32_t(limit(v, 0.0f, 255.0f) * (float(top) / 255.0f) + 0.5f);
}

// Places of the indices: low and high bits lie 16 bits apart, in columns.
KOLM_INLINE uint64_t get_color_indices(const Ints &indices) {
    int32_t values[NumLanes];
    indices.store(values);
    uint64_t ret = 0;
    for(uint32_t i = 0; i < NumLanes; i++) {
        const uint32_t bit = (i & 3) * 4 + (i >> 2);
        ret |= uint64_t(values[i] & 1) << bit;
        ret |= uint64_t(values[i] >> 1) << (bit + 16);
    }
    return ret;
}

// Squared distance of all pixels from a colour for each.
KOLM_INLINE Floats get_distances(const ColorBlock &block, const Floats &r, const Floats &g, const Floats &b) {
    const Floats dr = (block.c[0] - r) * block.weights[0];
    const Floats dg = (block.c[1] - g) * block.weights[1];
    const Floats db = (block.c[2] - b) * block.weights[2];
    return dr * dr + dg * dg + db * db;
}

// Two halves with one base colour and table each.
struct Halves {
    float error[2];
    int32_t table[2];
    int32_t base[2][3]; // as stored, of four or five bits
};

struct HalfIndices {
    Floats distances;
    Ints indices;
};
KOLM_INLINE HalfIndices get_half_indices(const ColorBlock &block, const Floats base[3], const Floats modifiers[4]) {
    const Floats lo(0.0f), hi(255.0f);
    HalfIndices ret;
    for(int32_t k = 0; k < 4; k++) {
        if(block.alpha && k == 2) continue;
        const Floats d =
            get_distances(block, lanes_clamp(base[0] + modifiers[k], lo, hi),
                          lanes_clamp(base[1] + modifiers[k], lo, hi), lanes_clamp(base[2] + modifiers[k], lo, hi));
        if(k == 0) {
            ret.distances = d;
            ret.indices = Ints(0);
        } else {
            ret.indices = select(d < ret.distances, Ints(k), ret.indices);
            ret.distances = lanes_min(ret.distances, d);
        }
    }
    if(block.alpha) {
        ret.distances = ret.distances * block.opaque;
        ret.indices = select(block.opaque < Floats(0.5f), Ints(2), ret.indices);
    }
    return ret;
}

KOLM_INLINE float get_modifier(const ColorBlock &block, int32_t table, int32_t index) {
    return (block.alpha && (index & 1) == 0) ? 0.0f : float(etc_modifiers[table][index]);
}

KOLM_INLINE int32_t extend(bool differential, int32_t v) { return differential ? extend_5(v) : extend_4(v); }

// Best table of each half for its base, of the tables with a bit in \p tables.
KOLM_INLINE void get_color_error(Halves &halves, const ColorBlock &block, const Ints &mask, bool differential,
                                 uint32_t tables = 0xFF) {
    Floats base[3];
    for(uint32_t c = 0; c < 3; c++)
        base[c] = select(mask, Floats(float(extend(differential, halves.base[1][c]))),
                         Floats(float(extend(differential, halves.base[0][c]))));
    halves.error[0] = halves.error[1] = 1e30f;
    for(int32_t t = 0; t < 8; t++) {
        if(((tables >> t) & 1) == 0) continue;
        Floats modifiers[4];
        for(int32_t k = 0; k < 4; k++) modifiers[k] = Floats(get_modifier(block, t, k));
        const HalfIndices half = get_half_indices(block, base, modifiers);
        const float all = lanes_sum(half.distances);
        const float second = lanes_sum(select(mask, half.distances, Floats(0.0f)));
        const float errors[2] = {all - second, second};
        for(uint32_t i = 0; i < 2; i++) {
            if(errors[i] >= halves.error[i]) continue;
            halves.error[i] = errors[i];
            halves.table[i] = t;
        }
    }
}

KOLM_INLINE bool is_difference(const int32_t a[3], const int32_t b[3]) {
    for(uint32_t c = 0; c < 3; c++) {
        if(b[c] - a[c] < -4 || b[c] - a[c] > 3) return false;
    }
    return true;
}

// Indices of the halves' tables.
KOLM_INLINE HalfIndices get_indices(const ColorBlock &block, const Halves &halves, const Ints &mask, bool differential,
                                    Floats modifiers[4]) {
    Floats base[3];
    for(uint32_t c = 0; c < 3; c++)
        base[c] = select(mask, Floats(float(extend(differential, halves.base[1][c]))),
                         Floats(float(extend(differential, halves.base[0][c]))));
    for(int32_t k = 0; k < 4; k++)
        modifiers[k] = select(mask, Floats(get_modifier(block, halves.table[1], k)),
                              Floats(get_modifier(block, halves.table[0], k)));
    return get_half_indices(block, base, modifiers);
}

void take_halves(ColorBlock &block, const Halves &halves, bool flip, bool differential) {
    const float error = halves.error[0] + halves.error[1];
    if(error >= block.error) return;
    Floats modifiers[4];
    const Ints mask = Ints::load(half_masks[flip]);
    const HalfIndices half = get_indices(block, halves, mask, differential, modifiers);
    block.error = error;
    uint64_t word = get_color_indices(half.indices);
    for(uint32_t c = 0; c < 3; c++) {
        const uint64_t a = uint64_t(halves.base[0][c]);
        const uint64_t b = uint64_t(halves.base[1][c]);
        if(differential)
            word |= (a << (59 - c * 8)) | (((b - a) & 7) << (56 - c * 8));
        else
            word |= (a << (60 - c * 8)) | (b << (56 - c * 8));
    }
    word |= uint64_t(halves.table[0]) << 37;
    word |= uint64_t(halves.table[1]) << 34;
    // The bit of the differential form tells opaque blocks where there is no individual one.
    const bool bit = block.alpha_form ? !block.alpha : differential;
    word |= uint64_t(bit) << 33;
    word |= uint64_t(flip) << 32;
    block.word = word;
}

// Base that the indices ask for: the mean of what the modifiers leave.
KOLM_INLINE bool refit_halves(Halves &moved, const ColorBlock &block, const Halves &halves, const Ints &mask,
                              bool differential) {
    Floats modifiers[4];
    const HalfIndices half = get_indices(block, halves, mask, differential, modifiers);
    Floats modifier = modifiers[0];
    for(int32_t k = 1; k < 4; k++) modifier = select(half.indices == Ints(k), modifiers[k], modifier);
    const int32_t top = differential ? 31 : 15;
    const Floats opaque = block.alpha ? block.opaque : Floats(1.0f);
    const float num = lanes_sum(opaque);
    const float num_second = lanes_sum(select(mask, opaque, Floats(0.0f)));
    moved = halves;
    bool changed = false;
    for(uint32_t c = 0; c < 3; c++) {
        const Floats rest = (block.c[c] - modifier) * opaque;
        const float all = lanes_sum(rest);
        const float second = lanes_sum(select(mask, rest, Floats(0.0f)));
        const float counts[2] = {num - num_second, num_second};
        const float sums[2] = {all - second, second};
        for(uint32_t i = 0; i < 2; i++) {
            if(counts[i] > 0.5f) moved.base[i][c] = quantize(sums[i] / counts[i], top);
            changed |= (moved.base[i][c] != halves.base[i][c]);
        }
    }
    return changed;
}

// Each half takes the other base if it is better, as far as both still fit one block.
KOLM_INLINE bool merge_halves(Halves &halves, const Halves &moved, bool differential) {
    bool better = false;
    for(uint32_t i = 0; i < 2; i++) {
        if(moved.error[i] >= halves.error[i]) continue;
        if(differential && !is_difference(i ? halves.base[0] : moved.base[0], i ? moved.base[1] : halves.base[1]))
            continue;
        halves.error[i] = moved.error[i];
        halves.table[i] = moved.table[i];
        for(uint32_t c = 0; c < 3; c++) halves.base[i][c] = moved.base[i][c];
        better = true;
    }
    return better;
}

// The quantized means of both halves, each with its best table.
void start_halves(Halves &halves, const ColorBlock &block, const float means[2][3], bool flip, bool differential) {
    const Ints mask = Ints::load(half_masks[flip]);
    const int32_t top = differential ? 31 : 15;
    for(uint32_t c = 0; c < 3; c++) {
        halves.base[0][c] = quantize(means[0][c], top);
        halves.base[1][c] = quantize(means[1][c], top);
        // Too far apart: both move to the middle.
        if(!differential) continue;
        while(halves.base[1][c] - halves.base[0][c] > 3) {
            halves.base[1][c]--;
            if(halves.base[1][c] - halves.base[0][c] > 3) halves.base[0][c]++;
        }
        while(halves.base[1][c] - halves.base[0][c] < -4) {
            halves.base[1][c]++;
            if(halves.base[1][c] - halves.base[0][c] < -4) halves.base[0][c]--;
        }
    }
    get_color_error(halves, block, mask, differential);
}

// Tables of both halves and their neighbours.
KOLM_INLINE uint32_t get_near_tables(const Halves &halves) {
    const uint32_t tables = (1u << halves.table[0]) | (1u << halves.table[1]);
    return (tables | (tables << 1) | (tables >> 1)) & 0xFF;
}

// Rounds of a fit to the indices and of moves by one, with one channel or all of them.
void improve_halves(Halves &halves, const ColorBlock &block, bool flip, bool differential, uint32_t rounds) {
    const Ints mask = Ints::load(half_masks[flip]);
    const int32_t top = differential ? 31 : 15;
    for(uint32_t round = 0; round < rounds; round++) {
        bool better = false;
        Halves moved;
        if(refit_halves(moved, block, halves, mask, differential) &&
           (!differential || is_difference(moved.base[0], moved.base[1]))) {
            get_color_error(moved, block, mask, differential, get_near_tables(halves));
            better |= merge_halves(halves, moved, differential);
        }
        for(int32_t k = 0; k < 8; k++) {
            const int32_t step = (k & 1) ? 1 : -1;
            moved = halves;
            for(int32_t i = 0; i < 2; i++) {
                for(int32_t c = 0; c < 3; c++) {
                    if((k >> 1) == c || k >= 6) moved.base[i][c] = limit(halves.base[i][c] + step, 0, top);
                }
            }
            get_color_error(moved, block, mask, differential, get_near_tables(halves));
            better |= merge_halves(halves, moved, differential);
        }
        if(!better) break;
    }
}

// Sets the free bits of a field and its difference so that their sum is in range or not.
KOLM_INLINE uint64_t set_range(uint64_t word, uint32_t channel, uint64_t free_bits, bool inside) {
    const uint32_t shift = 56 - channel * 8;
    uint64_t bits = 0;
    do {
        const uint64_t ret = word | bits;
        const int32_t value = int32_t((ret >> (shift + 3)) & 31);
        const int32_t sum = value + int32_t(((ret >> shift) & 7) ^ 4) - 4;
        if((sum >= 0 && sum <= 31) == inside) return ret;
        bits = (bits - free_bits) & free_bits;
    } while(bits);
    return word;
}

// A plane through the colours: the corner and the ends of both edges.
void try_planar(ColorBlock &block, uint32_t rounds) {
    static constexpr int32_t tops[3] = {63, 127, 63};
    Floats x, y;
    {
        float xs[NumLanes], ys[NumLanes];
        for(uint32_t i = 0; i < NumLanes; i++) {
            xs[i] = float(i & 3);
            ys[i] = float(i >> 2);
        }
        x = Floats::load(xs);
        y = Floats::load(ys);
    }
    int32_t ends[3][3]; // channel; corner, right, below
    float errors[3];
    const auto get_error = [&](uint32_t c, const int32_t *values) KOLM_LAMBDA {
        const auto get = [c](int32_t v) KOLM_LAMBDA { return (c == 1) ? extend_7(v) : extend_6(v); };
        const int32_t o = get(values[0]);
        const int32_t h = get(values[1]);
        const int32_t v = get(values[2]);
        // Quarters, exact in floats; cut as a shift would.
        const Ints sum = to_ints(x * float(h - o) + y * float(v - o) + float(4 * o + 2)) >> 2;
        const Floats value = to_floats(lanes_clamp(sum, Ints(0), Ints(255)));
        const Floats d = (block.c[c] - value) * block.weights[c];
        return lanes_sum(d * d);
    };
    for(uint32_t c = 0; c < 3; c++) {
        // Least squares on the grid: deviations of x and y from 1.5 have the sum of squares 20.
        const float mean = lanes_sum(block.c[c]) * (1.0f / 16.0f);
        const float dx = lanes_sum(block.c[c] * (x - 1.5f)) * (1.0f / 20.0f);
        const float dy = lanes_sum(block.c[c] * (y - 1.5f)) * (1.0f / 20.0f);
        const float corner = mean - 1.5f * (dx + dy);
        ends[c][0] = quantize(corner, tops[c]);
        ends[c][1] = quantize(corner + 4.0f * dx, tops[c]);
        ends[c][2] = quantize(corner + 4.0f * dy, tops[c]);
        errors[c] = get_error(c, ends[c]);
        for(uint32_t round = 0; round < rounds; round++) {
            bool better = false;
            for(uint32_t k = 0; k < 6; k++) {
                int32_t values[3] = {ends[c][0], ends[c][1], ends[c][2]};
                values[k >> 1] = limit(values[k >> 1] + ((k & 1) ? 1 : -1), 0, tops[c]);
                const float error = get_error(c, values);
                if(error >= errors[c]) continue;
                errors[c] = error;
                memcpy(ends[c], values, sizeof(values));
                better = true;
            }
            if(!better) break;
        }
    }
    const float error = errors[0] + errors[1] + errors[2];
    if(error >= block.error) return;
    block.error = error;
    const auto get = [&](uint32_t c, uint32_t k, uint32_t shift, uint32_t bits)
                         KOLM_LAMBDA { return (uint64_t(ends[c][k]) >> shift) & ((1u << bits) - 1); };
    uint64_t word = (1ull << 33) | (get(0, 0, 0, 6) << 57) | (get(1, 0, 6, 1) << 56) | (get(1, 0, 0, 6) << 49) |
                    (get(2, 0, 5, 1) << 48) | (get(2, 0, 3, 2) << 43) | (get(2, 0, 0, 3) << 39) |
                    (get(0, 1, 1, 5) << 34) | (get(0, 1, 0, 1) << 32) | (get(1, 1, 0, 7) << 25) |
                    (get(2, 1, 0, 6) << 19) | (get(0, 2, 0, 6) << 13) | (get(1, 2, 0, 7) << 6) | get(2, 2, 0, 6);
    word = set_range(word, 0, 1ull << 63, true);
    word = set_range(word, 1, 1ull << 55, true);
    block.word = set_range(word, 2, (7ull << 45) | (1ull << 42), false);
}

// T and H blocks: four paint colours from two of four bits a channel and a distance.
struct Paints {
    int32_t base[2][3];
    int32_t distance;
    float error;
    Ints indices;
};
KOLM_INLINE void get_paint_error(Paints &paints, const ColorBlock &block, bool h_form, int32_t distance) {
    const float d = float(etc_distances[distance]);
    Floats best;
    Ints indices(0);
    for(int32_t k = 0; k < 4; k++) {
        const int32_t *base = h_form ? paints.base[k >> 1] : paints.base[k ? 1 : 0];
        const float m = h_form ? ((k & 1) ? -d : d) : (k == 1) ? d : (k == 3) ? -d : 0.0f;
        const float r = limit(float(extend_4(base[0])) + m, 0.0f, 255.0f);
        const float g = limit(float(extend_4(base[1])) + m, 0.0f, 255.0f);
        const float b = limit(float(extend_4(base[2])) + m, 0.0f, 255.0f);
        const Floats distances = get_distances(block, Floats(r), Floats(g), Floats(b));
        if(k == 0) {
            best = distances;
        } else {
            indices = select(distances < best, Ints(k), indices);
            best = lanes_min(best, distances);
        }
    }
    const float error = lanes_sum(best);
    if(error >= paints.error) return;
    paints.error = error;
    paints.distance = distance;
    paints.indices = indices;
}

KOLM_INLINE int32_t get_order(const int32_t base[3]) { return (base[0] << 8) | (base[1] << 4) | base[2]; }

void take_paints(ColorBlock &block, Paints &paints, bool h_form) {
    if(paints.error >= block.error) return;
    uint64_t word = 1ull << 33;
    if(!h_form) {
        const int32_t *a = paints.base[0];
        const int32_t *b = paints.base[1];
        word |= (uint64_t(a[0] >> 2) << 59) | (uint64_t(a[0] & 3) << 56) | (uint64_t(a[1]) << 52) |
                (uint64_t(a[2]) << 48) | (uint64_t(b[0]) << 44) | (uint64_t(b[1]) << 40) | (uint64_t(b[2]) << 36);
        word |= (uint64_t(paints.distance >> 1) << 34) | (uint64_t(paints.distance & 1) << 32);
        word = set_range(word, 0, (7ull << 61) | (1ull << 58), false);
    } else {
        // The order of the colours is the distance's lowest bit.
        const bool order = get_order(paints.base[0]) >= get_order(paints.base[1]);
        uint32_t swapped = 0;
        if(order != ((paints.distance & 1) != 0)) {
            if(get_order(paints.base[0]) == get_order(paints.base[1])) return;
            for(uint32_t c = 0; c < 3; c++) exchange(paints.base[0][c], paints.base[1][c]);
            swapped = 2;
        }
        paints.indices = paints.indices ^ int32_t(swapped);
        const int32_t *a = paints.base[0];
        const int32_t *b = paints.base[1];
        word |= (uint64_t(a[0]) << 59) | (uint64_t(a[1] >> 1) << 56) | (uint64_t(a[1] & 1) << 52) |
                (uint64_t(a[2] >> 3) << 51) | (uint64_t(a[2] & 7) << 47) | (uint64_t(b[0]) << 43) |
                (uint64_t(b[1]) << 39) | (uint64_t(b[2]) << 35);
        word |= (uint64_t(paints.distance >> 2) << 34) | (uint64_t((paints.distance >> 1) & 1) << 32);
        word = set_range(word, 0, 1ull << 63, true);
        word = set_range(word, 1, (7ull << 53) | (1ull << 50), false);
    }
    block.error = paints.error;
    block.word = word | get_color_indices(paints.indices);
}

// Means of two clusters, from the pixels that lie farthest from the mean and from each other.
KOLM_INLINE void get_clusters(float clusters[2][3], const ColorBlock &block) {
    const auto find = [&block](const float *c) KOLM_LAMBDA {
        const Floats d = get_distances(block, Floats(c[0]), Floats(c[1]), Floats(c[2]));
        return lanes_find(d, lanes_largest(d)) & (NumLanes - 1);
    };
    float pixels[3][NumLanes];
    float color[3];
    for(uint32_t c = 0; c < 3; c++) {
        block.c[c].store(pixels[c]);
        color[c] = lanes_sum(block.c[c]) * (1.0f / 16.0f);
    }
    for(uint32_t i = 0; i < 2; i++) {
        const uint32_t pixel = find(i ? clusters[0] : color);
        for(uint32_t c = 0; c < 3; c++) clusters[i][c] = pixels[c][pixel];
    }
    for(uint32_t round = 0; round < 3; round++) {
        const Floats d0 = get_distances(block, Floats(clusters[0][0]), Floats(clusters[0][1]), Floats(clusters[0][2]));
        const Floats d1 = get_distances(block, Floats(clusters[1][0]), Floats(clusters[1][1]), Floats(clusters[1][2]));
        const Ints mask = d1 < d0;
        const float num = lanes_sum(select(mask, Floats(1.0f), Floats(0.0f)));
        if(num < 0.5f || num > 15.5f) return;
        for(uint32_t c = 0; c < 3; c++) {
            const float all = lanes_sum(block.c[c]);
            const float second = lanes_sum(select(mask, block.c[c], Floats(0.0f)));
            clusters[0][c] = (all - second) / (16.0f - num);
            clusters[1][c] = second / num;
        }
    }
}

void try_paints(ColorBlock &block, uint32_t rounds) {
    float clusters[2][3];
    get_clusters(clusters, block);
    for(uint32_t form = 0; form < 3; form++) {
        const bool h_form = (form == 2);
        Paints paints;
        paints.error = 1e30f;
        for(uint32_t c = 0; c < 3; c++) {
            paints.base[0][c] = quantize(clusters[form & 1][c], 15);
            paints.base[1][c] = quantize(clusters[1 - (form & 1)][c], 15);
        }
        for(int32_t d = 0; d < 8; d++) get_paint_error(paints, block, h_form, d);
        for(uint32_t round = 0; round < rounds; round++) {
            bool better = false;
            for(uint32_t k = 0; k < 16; k++) {
                const int32_t step = (k & 1) ? 1 : -1;
                Paints moved = paints;
                for(uint32_t c = 0; c < 3; c++) {
                    int32_t &base = moved.base[(k >> 1) & 1][c];
                    if((k >> 2) == c || (k >> 2) == 3) base = limit(base + step, 0, 15);
                }
                const int32_t first = larger(paints.distance - 1, 0);
                const int32_t last = smaller(paints.distance + 1, 7);
                for(int32_t d = first; d <= last; d++) get_paint_error(moved, block, h_form, d);
                if(moved.error >= paints.error) continue;
                paints = moved;
                better = true;
            }
            if(!better) break;
        }
        take_paints(block, paints, h_form);
    }
}

void encode_color(uint8_t *dst, const uint8_t *src, uint32_t flags) {
    ColorBlock block;
    int32_t words[NumLanes];
    memcpy(words, src, sizeof(words));
    const Ints pixels = Ints::load(words);
    block.c[0] = to_floats(pixels & 0xFF);
    block.c[1] = to_floats((pixels >> 8) & 0xFF);
    block.c[2] = to_floats((pixels >> 16) & 0xFF);
    block.weights[0] = (flags & CoderPerceptual) ? 3.0f : 1.0f;
    block.weights[1] = (flags & CoderPerceptual) ? 6.0f : 1.0f;
    block.weights[2] = 1.0f;
    block.alpha_form = (flags & CoderAlpha) != 0;
    block.alpha = false;
    block.opaque = Floats(1.0f);
    if(block.alpha_form) {
        block.opaque = to_floats((pixels >> 31) & 1);
        block.alpha = (lanes_sum(block.opaque) < 15.5f);
    }
    block.error = 1e30f;
    block.word = 0;

    const bool fast = (flags & CoderFast) != 0;
    const bool best = (flags & CoderBest) != 0;
    const Floats opaque = block.opaque;
    Halves halves[4];
    float errors[4];
    float least = 1e30f;
    for(uint32_t flip = 0; flip < 2; flip++) {
        const Ints mask = Ints::load(half_masks[flip]);
        const float num = lanes_sum(opaque);
        const float num_second = lanes_sum(select(mask, opaque, Floats(0.0f)));
        float means[2][3];
        bool close = true;
        for(uint32_t c = 0; c < 3; c++) {
            const Floats value = block.c[c] * opaque;
            const float all = lanes_sum(value);
            const float second = lanes_sum(select(mask, value, Floats(0.0f)));
            means[0][c] = (num - num_second > 0.5f) ? (all - second) / (num - num_second) : 0.0f;
            means[1][c] = (num_second > 0.5f) ? second / num_second : 0.0f;
            if(num_second < 0.5f) means[1][c] = means[0][c];
            if(num - num_second < 0.5f) means[0][c] = means[1][c];
            const float difference = means[1][c] - means[0][c];
            close = close && difference > -34.0f && difference < 26.0f;
        }
        for(uint32_t k = 0; k < 2; k++) {
            const bool differential = (k == 0);
            const uint32_t i = flip * 2 + k;
            errors[i] = 1e30f;
            if(block.alpha_form ? !differential : (fast && differential != close)) continue;
            start_halves(halves[i], block, means, flip != 0, differential);
            errors[i] = halves[i].error[0] + halves[i].error[1];
            least = smaller(least, errors[i]);
        }
    }
    // Forms that start far behind do not catch up.
    const float bound = best ? least * 2.0f : least * 1.3f;
    for(uint32_t i = 0; i < 4; i++) {
        if(errors[i] >= 1e30f || errors[i] > bound) continue;
        const bool flip = (i >> 1) != 0;
        const bool differential = (i & 1) == 0;
        if(!fast) improve_halves(halves[i], block, flip, differential, best ? 8 : 1);
        take_halves(block, halves[i], flip, differential);
    }
    if(!block.alpha) {
        try_planar(block, best ? 4 : fast ? 0 : 1);
        if(!fast) try_paints(block, best ? 4 : 0);
    }
    write_word(dst, block.word);
}

} // namespace ETC2

} // namespace

} // namespace Kolm
