// Search of the BC6 block. Included by the file of each instruction set.
//
// Half floats count as the integers of their bits, with sign, in which the format's lines are straight. Errors are
// squares of differences of those integers. A step of such an integer is the same ratio everywhere, so that a channel
// that is nearly dark beside bright ones can rule a saturated block without being seen. Blocks whose bright channels
// lost by it are coded again, with a channel counting less the farther it lies below the brightest one of its pixel.

#pragma once

#include "KolmCoderAxis.h"
#include "KolmCoderKernels.h"

namespace Kolm {

namespace {

namespace BC6 {

struct Block {
    AxisPixels pixels; // times the weights
    AxisPixels axis;   // the same with the dark channels of saturated pixels drawn nearer
    Floats shares[3];  // of the errors, by channel; 1 but in saturated pixels
    float weights[4];
    float scales[4];
    bool is_signed;
    bool is_saturated; // the shares differ
};

// A gap of so much, two octaves, still counts in full.
constexpr float full_gap = 2048.0f;
// Beyond it the share of differences falls by a power of the brightness, but not below the least; first a little, then
// as a display shows it.
struct Shares {
    float power;
    float least;
};
constexpr Shares shares[2] = {{0.3f / 1024.0f, 0.25f}, {0.45f / 1024.0f, 1.0f / 16.0f}};
// A bright channel that is off by so much, half an octave or more, has lost.
constexpr float lost_differences[2] = {512.0f, 768.0f};

// Ends of both subsets at a mode's precision.
struct Ends {
    int32_t c[4][3];
};

struct Result {
    float error = 1e30f;
    uint32_t mode = 0;
    uint32_t partition = 0;
    Ends ends;
    Ints indices;
};

// Interpolated numbers of 16 bits, or 15 and a sign, that give a half float.
KOLM_INLINE float quantize_f16(float v) { return v * (64.0f / 31.0f); }

KOLM_INLINE int32_t quantize_i12(float half, uint32_t bits, bool is_signed) {
    if(is_signed) {
        const float magnitude = (half < 0.0f) ? -half : half;
        const int32_t top = (1 << (bits - 1)) - 1;
        const int32_t ret =
            smaller(int32_t(quantize_f16(magnitude) * 0.5f * float(1 << (bits - 1)) * (1.0f / 32768.0f)), top);
        return (half < 0.0f) ? -ret : ret;
    }
    const int32_t top = (1 << bits) - 1;
    return limit(int32_t(quantize_f16(half) * float(1 << bits) * (1.0f / 65536.0f)), 0, top);
}

KOLM_INLINE int32_t unquantize_i12(int32_t value, uint32_t bits, bool is_signed) {
    if(is_signed) {
        if(bits >= 16) return value;
        const int32_t magnitude = (value < 0) ? -value : value;
        int32_t ret = ((magnitude << 15) + 0x4000) >> (bits - 1);
        if(magnitude == 0) ret = 0;
        if(magnitude >= (1 << (bits - 1)) - 1) ret = 0x7FFF;
        return (value < 0) ? -ret : ret;
    }
    if(bits >= 15) return value;
    if(value == 0) return 0;
    if(value == (1 << bits) - 1) return 0xFFFF;
    return ((value << 16) + 0x8000) >> bits;
}

// Ends of a mode: its precision, and differences that its fields hold.
KOLM_INLINE void quantize_colors(Ends &ends, const AxisLine *lines, const Block &block, const BC6Mode &mode,
                                 uint32_t subsets) {
    for(uint32_t s = 0; s < subsets; s++) {
        for(uint32_t e = 0; e < 2; e++) {
            for(uint32_t c = 0; c < 3; c++) {
                const float half =
                    limit(lines[s].ends[e][c] * block.scales[c], block.is_signed ? -31743.0f : 0.0f, 31743.0f);
                ends.c[s * 2 + e][c] = quantize_i12(half, mode.bits, block.is_signed);
            }
        }
    }
}
KOLM_INLINE void check_colors(Ends &ends, const BC6Mode &mode, uint32_t subsets) {
    if(!mode.transformed) return;
    for(uint32_t c = 0; c < 3; c++) {
        const int32_t half = 1 << (mode.deltas[c] - 1);
        for(uint32_t i = 1; i < subsets * 2; i++)
            ends.c[i][c] = limit(ends.c[i][c], ends.c[0][c] - half, ends.c[0][c] + half - 1);
    }
}

struct Placement {
    Floats errors;
    Floats steps;
};

// Halfs of the places between unquantized ends, in 64ths.
KOLM_INLINE Floats get_halfs(const Block &block, const Floats &a, const Floats &b, const Floats &weight) {
    const Floats value = to_floats(to_ints(a * 64.0f + (b - a) * weight + 32.0f) >> 6);
    if(!block.is_signed) return to_floats(to_ints(value * 31.0f) >> 6);
    const Floats magnitude = to_floats(to_ints(lanes_abs(value) * 31.0f) >> 5);
    return select(value < Floats(0.0f), Floats(0.0f) - magnitude, magnitude);
}

// Pixels put on the lines between unquantized ends.
KOLM_INLINE Placement place_pixels(const Block &block, const Floats a[3], const Floats b[3], uint32_t index_bits) {
    const float top = float((1u << index_bits) - 1);
    const float unit = block.is_signed ? 31.0f / 32.0f : 31.0f / 64.0f;
    Floats dot(0.0f), length(1e-10f);
    for(uint32_t c = 0; c < 3; c++) {
        const float scale = unit * block.weights[c];
        const Floats delta = (b[c] - a[c]) * scale;
        const Floats shared = delta * block.shares[c];
        dot = dot + (block.pixels.c[c] - a[c] * scale) * shared;
        length = length + delta * shared;
    }
    Floats place;
    for(uint32_t i = 0; i < place.Num; i++) place.v[i] = dot.v[i] / length.v[i];
    place = lanes_clamp(place * top + 0.5f, Floats(0.0f), Floats(top));
    Placement ret;
    ret.steps = to_floats(to_ints(place));
    const Floats weight = to_floats(to_ints(ret.steps * (64.0f / top) + 0.5f));
    ret.errors = Floats(0.0f);
    for(uint32_t c = 0; c < 3; c++) {
        const Floats half = get_halfs(block, a[c], b[c], weight);
        const Floats d = block.pixels.c[c] - half * block.weights[c];
        ret.errors = ret.errors + d * d * block.shares[c];
    }
    return ret;
}

// The ends of each pixel's subset, unquantized.
KOLM_INLINE void spread_ends(Floats a[3], Floats b[3], const Block &block, const Ends &ends, uint32_t bits,
                             uint32_t subsets, const Ints &mask) {
    for(uint32_t c = 0; c < 3; c++) {
        float values[4];
        for(uint32_t i = 0; i < subsets * 2; i++)
            values[i] = float(unquantize_i12(ends.c[i][c], bits, block.is_signed));
        a[c] = Floats(values[0]);
        b[c] = Floats(values[1]);
        if(subsets == 1) continue;
        a[c] = select(mask, Floats(values[2]), a[c]);
        b[c] = select(mask, Floats(values[3]), b[c]);
    }
}

KOLM_INLINE Placement get_color_error(const Block &block, const Ends &ends, const BC6Mode &mode, uint32_t subsets,
                                      const Ints &mask) {
    Floats a[3], b[3];
    spread_ends(a, b, block, ends, mode.bits, subsets, mask);
    return place_pixels(block, a, b, (subsets == 1) ? 4 : 3);
}

KOLM_INLINE void refit_lines(AxisLine *lines, const Block &block, const Floats *masks, uint32_t subsets,
                             const Floats &steps) {
    const float top = (subsets == 1) ? 15.0f : 7.0f;
    const Floats b_all = to_floats(to_ints(steps * (64.0f / top) + 0.5f)) * (1.0f / 64.0f);
    const Floats a_all = Floats(1.0f) - b_all;
    for(uint32_t s = 0; s < subsets; s++) {
        Floats a, b;
        float aa = 0.0f, ab = 0.0f, bb = 0.0f, scale = 0.0f;
        for(uint32_t c = 0; c < 3; c++) {
            // The shares of a saturated block make each channel a fit of its own.
            if(c == 0 || block.is_saturated) {
                a = a_all * masks[s] * block.shares[c];
                b = b_all * masks[s] * block.shares[c];
                aa = lanes_sum(a * a_all);
                ab = lanes_sum(a * b_all);
                bb = lanes_sum(b * b_all);
                const float det = aa * bb - ab * ab;
                scale = (det > 0.001f) ? 1.0f / det : 0.0f;
            }
            if(scale == 0.0f) continue;
            const float ax = lanes_sum(a * block.pixels.c[c]);
            const float bx = lanes_sum(b * block.pixels.c[c]);
            lines[s].ends[0][c] = (ax * bb - bx * ab) * scale;
            lines[s].ends[1][c] = (bx * aa - ax * ab) * scale;
        }
    }
}

// Turns the lines whose first pixel lies nearer to the second end: its index lacks the top bit.
KOLM_INLINE void turn_lines(AxisLine *lines, const Floats &steps, uint32_t subsets, uint32_t partition) {
    float values[NumLanes];
    steps.store(values);
    const float middle = (subsets == 1) ? 7.5f : 3.5f;
    for(uint32_t s = 0; s < subsets; s++) {
        if(values[(s == 0) ? 0 : getAnchor(2, partition, 1)] < middle) continue;
        for(uint32_t c = 0; c < 3; c++) exchange(lines[s].ends[0][c], lines[s].ends[1][c]);
    }
}

void try_mode(Result &result, const Block &block, uint32_t index, uint32_t partition, const AxisLine *start,
              const Floats *masks, uint32_t refits, uint32_t moves) {
    const BC6Mode &mode = bc6_modes[index];
    const uint32_t subsets = (index < BC6PartitionModes) ? 2 : 1;
    const Ints mask = Floats(0.5f) < masks[1];
    const float middle = (subsets == 1) ? 7.5f : 3.5f;
    const uint32_t anchor = (subsets == 1) ? 0 : getAnchor(2, partition, 1);
    // Errors of placements whose first indices fit.
    const auto is_anchored = [&](const Placement &placement) KOLM_LAMBDA {
        float values[NumLanes];
        placement.steps.store(values);
        return values[0] < middle && values[anchor] < middle;
    };
    AxisLine lines[2];
    memcpy(lines, start, sizeof(lines));
    float best_error = 1e30f;
    Ends best_ends = {};
    Floats best_steps(0.0f);
    for(uint32_t round = 0; round <= refits; round++) {
        Ends ends;
        quantize_colors(ends, lines, block, mode, subsets);
        check_colors(ends, mode, subsets);
        const Placement placement = get_color_error(block, ends, mode, subsets, mask);
        const float error = lanes_sum(placement.errors);
        if(error < best_error && is_anchored(placement)) {
            best_error = error;
            best_steps = placement.steps;
            best_ends = ends;
        } else if(round) {
            break;
        }
        if(round == refits || error == 0.0f || error > result.error * 2.0f) break;
        refit_lines(lines, block, masks, subsets, placement.steps);
        turn_lines(lines, placement.steps, subsets, partition);
    }
    if(best_error < result.error * 1.25f) {
        for(uint32_t round = 0; round < moves; round++) {
            bool better = false;
            for(uint32_t k = 0; k < subsets * 12; k++) {
                Ends ends = best_ends;
                const uint32_t i = (k >> 1) / 3;
                const uint32_t c = (k >> 1) % 3;
                const int32_t top = block.is_signed ? (1 << (mode.bits - 1)) - 1 : (1 << mode.bits) - 1;
                ends.c[i][c] = limit(ends.c[i][c] + ((k & 1) ? 1 : -1), block.is_signed ? -top : 0, top);
                check_colors(ends, mode, subsets);
                const Placement placement = get_color_error(block, ends, mode, subsets, mask);
                const float error = lanes_sum(placement.errors);
                if(error >= best_error || !is_anchored(placement)) continue;
                best_error = error;
                best_steps = placement.steps;
                best_ends = ends;
                better = true;
            }
            if(!better) break;
        }
    }
    if(best_error >= result.error) return;
    result.error = best_error;
    result.mode = index;
    result.partition = partition;
    result.ends = best_ends;
    result.indices = to_ints(best_steps);
}

void write_block(uint8_t *dst, const Result &result) {
    const BC6Mode &mode = bc6_modes[result.mode];
    const uint32_t subsets = (result.mode < BC6PartitionModes) ? 2 : 1;
    uint32_t fields[3][4] = {};
    for(uint32_t c = 0; c < 3; c++) {
        for(uint32_t i = 0; i < subsets * 2; i++) {
            int32_t value = result.ends.c[i][c];
            if(mode.transformed && i) value -= result.ends.c[0][c];
            fields[c][i] = uint32_t(value);
        }
    }
    BlockWriter writer;
    writer.put(mode.value, mode.value_bits);
    for(const uint8_t *bit = bc6_offsets.bits[result.mode]; *bit != 0xFF; bit++)
        writer.put((fields[*bit >> 6][(*bit >> 4) & 3] >> (*bit & 15)) & 1, 1);
    if(subsets == 2) writer.put(result.partition, 5);
    const uint32_t anchor = (subsets == 1) ? 0 : getAnchor(2, result.partition, 1);
    int32_t indices[NumLanes];
    result.indices.store(indices);
    for(uint32_t i = 0; i < NumLanes; i++)
        writer.put(uint32_t(indices[i]), ((subsets == 1) ? 4 : 3) - uint32_t(i == 0 || i == anchor));
    writer.store(dst);
}

// Lines with the first pixels of their subsets near their first ends.
KOLM_INLINE void get_lines(AxisLine *lines, const Block &block, const Floats *masks, uint32_t subsets,
                           uint32_t partition) {
    if(block.is_saturated) {
        // The order of the pixels is that of the drawn channels; the ends that belong to it are a fit.
        Floats steps(0.0f);
        const float top = (subsets == 1) ? 15.0f : 7.0f;
        for(uint32_t s = 0; s < subsets; s++) {
            AxisLine line;
            get_axis_color<3>(line, block.axis, masks[s]);
            get_axis_color<3>(lines[s], block.pixels, masks[s]);
            Floats dot(0.0f);
            float length = 1e-10f;
            for(uint32_t c = 0; c < 3; c++) {
                const float delta = line.ends[1][c] - line.ends[0][c];
                dot = dot + (block.axis.c[c] - line.ends[0][c]) * delta;
                length += delta * delta;
            }
            const Floats place = lanes_clamp(dot * (top / length) + 0.5f, Floats(0.0f), Floats(top));
            steps = steps + to_floats(to_ints(place)) * masks[s];
        }
        refit_lines(lines, block, masks, subsets, steps);
        return turn_lines(lines, steps, subsets, partition);
    }
    for(uint32_t s = 0; s < subsets; s++) {
        get_axis_color<3>(lines[s], block.pixels, masks[s]);
        const uint32_t pixel = (s == 0) ? 0 : getAnchor(2, partition, 1);
        float distances[2] = {};
        for(uint32_t c = 0; c < 3; c++) {
            float values[NumLanes];
            block.pixels.c[c].store(values);
            for(uint32_t e = 0; e < 2; e++) {
                const float d = values[pixel] - lines[s].ends[e][c];
                distances[e] += d * d;
            }
        }
        if(distances[0] <= distances[1]) continue;
        for(uint32_t c = 0; c < 3; c++) exchange(lines[s].ends[0][c], lines[s].ends[1][c]);
    }
}

// Distances of the channels below the brightest one of their pixel. True if some are far below.
KOLM_INLINE bool get_gaps(Floats gaps[3], const Block &block) {
    for(uint32_t c = 0; c < 3; c++) gaps[c] = lanes_abs(block.pixels.c[c] * block.scales[c]);
    const Floats largest = lanes_max(lanes_max(gaps[0], gaps[1]), gaps[2]);
    for(uint32_t c = 0; c < 3; c++) gaps[c] = largest - gaps[c];
    return lanes_largest(lanes_max(lanes_max(gaps[0], gaps[1]), gaps[2])) > full_gap * 2.0f;
}

// A power of two, linear between whole exponents: the bits of a float. For exponents of -126 to 0.
KOLM_INLINE Floats get_power(const Floats &exponent) {
    const Ints bits = to_ints((lanes_max(exponent, Floats(-126.0f)) + 127.0f) * float(1 << 23));
    Floats ret;
    static_assert(sizeof(ret) == sizeof(bits));
    memcpy(&ret, &bits, sizeof(ret));
    return ret;
}

// Brightness of a half on a display.
KOLM_INLINE Floats get_shown(const Floats &half) {
    const Floats ret = get_power((lanes_abs(half) - 31743.0f) * (0.45f / 1024.0f));
    return select(half < Floats(0.0f), Floats(0.0f) - ret, ret);
}

// How a result looks.
struct View {
    float lost;  // largest difference of bright channels
    float error; // as a display shows it
};
View get_view(const Block &block, const Floats gaps[3], const Result &result) {
    const BC6Mode &mode = bc6_modes[result.mode];
    const uint32_t subsets = (result.mode < BC6PartitionModes) ? 2 : 1;
    const Ints mask = Floats(0.5f) < get_subset_mask(2, result.partition, 1);
    Floats a[3], b[3];
    spread_ends(a, b, block, result.ends, mode.bits, subsets, mask);
    const float top = (subsets == 1) ? 15.0f : 7.0f;
    const Floats weight = to_floats(to_ints(to_floats(result.indices) * (64.0f / top) + 0.5f));
    Floats lost(0.0f), errors(0.0f);
    for(uint32_t c = 0; c < 3; c++) {
        const Floats value = block.pixels.c[c] * block.scales[c];
        const Floats half = get_halfs(block, a[c], b[c], weight);
        const Floats d = value - half;
        lost = lanes_max(lost, select(gaps[c] < Floats(full_gap), lanes_abs(d), Floats(0.0f)));
        const Floats seen = (get_shown(value) - get_shown(half)) * block.weights[c];
        errors = errors + seen * seen;
    }
    return {lanes_largest(lost), lanes_sum(errors)};
}

// Shares of the channels of saturated pixels.
void set_shares(Block &block, const Floats gaps[3], const Shares &shares) {
    const Floats one(1.0f);
    block.is_saturated = true;
    const Floats least = lanes_min(lanes_min(block.pixels.c[0], block.pixels.c[1]), block.pixels.c[2]);
    const bool positive = lanes_smallest(least) >= 0.0f;
    for(uint32_t c = 0; c < 3; c++) {
        const Floats gap = gaps[c];
        const Floats power = get_power(lanes_min((Floats(full_gap) - gap) * shares.power, Floats(0.0f)));
        const Floats share = lanes_max(power, Floats(shares.least));
        block.shares[c] = share * share;
        // What the shares add up to from the full gap on.
        const Floats rest = lanes_max(gap - full_gap, Floats(0.0f));
        const Floats drawn = rest - (one - share) * (1.4427f / shares.power);
        if(positive) block.axis.c[c] = block.pixels.c[c] + drawn * block.weights[c];
    }
}

void search(Result &result, const Block &block, bool fast, bool best) {
    const uint32_t refits = best ? 4 : fast ? 1 : 2;
    const uint32_t moves = best ? 2 : 0;
    Floats masks[2] = {Floats(1.0f), Floats(0.0f)};
    AxisLine lines[2] = {};
    get_lines(lines, block, masks, 1, 0);
    for(uint32_t m = BC6PartitionModes; m < BC6Modes; m++) try_mode(result, block, m, 0, lines, masks, refits, moves);
    if(result.error == 0.0f) return;
    const uint32_t num = fast ? BC6FastPartitions : BC6Partitions;
    const uint32_t count = best ? 12 : fast ? 1 : 4;
    float estimates[64];
    uint8_t partitions[64];
    estimate_partitions<3>(estimates, block.axis, 2, num, 1.0f / 49.0f);
    sort_partitions(partitions, estimates, num, count);
    for(uint32_t i = 0; i < count; i++) {
        if(estimates[i] * 0.5f > result.error) break;
        for(uint32_t s = 0; s < BC6Subsets; s++) masks[s] = get_subset_mask(2, partitions[i], s);
        get_lines(lines, block, masks, 2, partitions[i]);
        for(uint32_t m = 0; m < BC6PartitionModes; m++)
            try_mode(result, block, m, partitions[i], lines, masks, refits, moves);
    }
}

void encode(uint8_t *dst, const uint16_t *src, uint32_t flags) {
    const bool fast = (flags & CoderFast) != 0;
    const bool best = (flags & CoderBest) != 0;
    const bool perceptual = (flags & CoderPerceptual) != 0;
    Block block;
    block.is_signed = (flags & CoderSigned) != 0;
    const float weights[4] = {perceptual ? 3.0f : 1.0f, perceptual ? 6.0f : 1.0f, 1.0f, 1.0f};
    for(uint32_t c = 0; c < 4; c++) {
        block.weights[c] = weights[c];
        block.scales[c] = 1.0f / weights[c];
        block.pixels.c[c] = Floats(0.0f);
    }
    for(uint32_t c = 0; c < 3; c++) {
        float values[NumLanes];
        for(uint32_t i = 0; i < NumLanes; i++) {
            // Infinite is the largest finite number and NaN is 0; what has no sign is not below 0.
            const uint32_t half = src[i * 3 + c];
            uint32_t magnitude = half & 0x7FFF;
            if(magnitude > 0x7C00) magnitude = 0;
            magnitude = smaller(magnitude, 0x7BFFu);
            const bool negative = (half & 0x8000) != 0;
            values[i] = negative ? (block.is_signed ? -float(magnitude) : 0.0f) : float(magnitude);
        }
        block.pixels.c[c] = Floats::load(values) * weights[c];
        block.shares[c] = Floats(1.0f);
    }
    block.axis = block.pixels;
    block.is_saturated = false;
    Result result;
    result.ends = {};
    result.indices = Ints(0);
    search(result, block, fast, best);
    Floats gaps[3];
    if(get_gaps(gaps, block)) {
        View view = get_view(block, gaps, result);
        for(uint32_t i = 0; i < 2 && view.lost > lost_differences[i]; i++) {
            Result shared;
            shared.ends = {};
            shared.indices = Ints(0);
            set_shares(block, gaps, shares[i]);
            search(shared, block, fast, best);
            const View shared_view = get_view(block, gaps, shared);
            if(shared_view.error >= view.error) continue;
            view = shared_view;
            result = shared;
        }
    }
    write_block(dst, result);
}

} // namespace BC6

} // namespace

} // namespace Kolm
