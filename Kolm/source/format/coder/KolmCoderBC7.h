// Search of the BC7 block. Included by the file of each instruction set.
//
// Partitions are ranked by what lines through their subsets would leave. For the best ones of each mode the lines are
// cut to the mode's precision, the pixels are put on them, and the lines are fitted again to the indices found.

#pragma once

#include "KolmCoderAxis.h"
#include "KolmCoderKernels.h"

namespace Kolm {

namespace {

namespace BC7 {

struct Block {
    AxisPixels pixels; // times the weights
    float weights[4];
    float scales[4]; // their inverse
    bool opaque;
    uint32_t flags;
};

// Colours of a subset's two ends as stored, with their last bits.
struct Ends {
    uint8_t c[2][4];
    uint8_t pbits[2];
};

struct Result {
    float error = 1e30f;
    uint32_t mode = 0;
    uint32_t partition = 0;
    uint32_t rotation = 0;
    uint32_t selector = 0;
    Ends ends[3];
    Ints indices;
    Ints indices_2; // of the second set: alpha, or with a selector the colours
};

KOLM_INLINE uint32_t extend(uint32_t v, uint32_t bits) {
    v <<= 8 - bits;
    return v | (v >> bits);
}

// Nearest value of so many bits, with a given last bit if pbit is not negative, and its place in 0 to 255.
KOLM_INLINE uint32_t quantize(float v, uint32_t bits, int32_t pbit, float &out) {
    const float clamped = limit(v, 0.0f, 255.0f);
    if(pbit < 0) {
        const uint32_t ret = uint32_t(clamped * (float((1u << bits) - 1) / 255.0f) + 0.5f);
        out = float(extend(ret, bits));
        return ret;
    }
    const float top = float((1u << (bits + 1)) - 1);
    const float value = (clamped * (top / 255.0f) - float(pbit)) * 0.5f + 0.5f;
    const uint32_t ret = uint32_t(limit(value, 0.0f, float((1u << bits) - 1)));
    out = float(extend(ret * 2 + uint32_t(pbit), bits + 1));
    return ret;
}

// Ends at the mode's precision, their colours in out.
template<uint32_t channels>
KOLM_INLINE void encode_colors(Ends &ends, float out[2][4], const AxisLine &line, const Block &block, uint32_t bits,
                               uint32_t alpha_bits, uint32_t pbits) {
    float colors[2][4];
    for(uint32_t i = 0; i < 2; i++) {
        for(uint32_t c = 0; c < channels; c++) colors[i][c] = line.ends[i][c] * block.scales[c];
    }
    const auto try_end = [&](uint32_t i, int32_t pbit, uint8_t *c, float *o) KOLM_LAMBDA {
        float error = 0.0f;
        for(uint32_t k = 0; k < channels; k++) {
            c[k] = uint8_t(quantize(colors[i][k], (k == 3) ? alpha_bits : bits, pbit, o[k]));
            const float d = (o[k] - limit(colors[i][k], 0.0f, 255.0f)) * block.weights[k];
            error += d * d;
        }
        // Opaque blocks stay so: their alpha is the last bit's.
        if(channels == 3 && alpha_bits) {
            c[3] = uint8_t((1u << alpha_bits) - 1);
            if(pbit == 0) error += 1e6f;
        }
        return error;
    };
    if(pbits == 0) {
        for(uint32_t i = 0; i < 2; i++) try_end(i, -1, ends.c[i], out[i]);
        ends.pbits[0] = ends.pbits[1] = 0;
        return;
    }
    uint8_t c[2][2][4];
    float o[2][2][4];
    float errors[2][2];
    for(uint32_t i = 0; i < 2; i++) {
        for(int32_t p = 0; p < 2; p++) errors[i][p] = try_end(i, p, c[i][p], o[i][p]);
    }
    uint32_t best[2];
    for(uint32_t i = 0; i < 2; i++) best[i] = (errors[i][1] < errors[i][0]) ? 1 : 0;
    if(pbits == 1) best[0] = best[1] = (errors[0][1] + errors[1][1] < errors[0][0] + errors[1][0]) ? 1 : 0;
    for(uint32_t i = 0; i < 2; i++) {
        ends.pbits[i] = uint8_t(best[i]);
        memcpy(ends.c[i], c[i][best[i]], 4);
        memcpy(out[i], o[i][best[i]], sizeof(out[i]));
    }
}

// Pixels put on the lines of their subsets.
struct Placement {
    Floats errors;
    Floats steps; // the indices
};

template<uint32_t channels>
KOLM_INLINE Placement place_pixels(const Block &block, const Floats a[4], const Floats b[4], uint32_t index_bits) {
    const float top = float((1u << index_bits) - 1);
    Floats dot(0.0f), length(1e-10f);
    Floats delta[4];
    for(uint32_t c = 0; c < channels; c++) {
        delta[c] = (b[c] - a[c]);
        const Floats weighted = delta[c] * block.weights[c];
        dot = dot + (block.pixels.c[c] - a[c] * block.weights[c]) * weighted;
        length = length + weighted * weighted;
    }
    Floats place;
    for(uint32_t i = 0; i < place.Num; i++) place.v[i] = dot.v[i] / length.v[i];
    place = lanes_clamp(place * top + 0.5f, Floats(0.0f), Floats(top));
    Placement ret;
    ret.steps = to_floats(to_ints(place));
    // The format's weights are the even steps of 64, rounded.
    const Floats weight = to_floats(to_ints(ret.steps * (64.0f / top) + 0.5f));
    ret.errors = Floats(0.0f);
    for(uint32_t c = 0; c < channels; c++) {
        const Ints color = to_ints(a[c] * 64.0f + delta[c] * weight + 32.0f) >> 6;
        const Floats d = block.pixels.c[c] - to_floats(color) * block.weights[c];
        ret.errors = ret.errors + d * d;
    }
    return ret;
}

// Lines of least squares for the indices of each subset.
template<uint32_t channels>
KOLM_INLINE void refit_lines(AxisLine lines[3], const Block &block, const Floats masks[3], uint32_t subsets,
                             const Floats &steps, uint32_t index_bits) {
    const float top = float((1u << index_bits) - 1);
    const Floats weight = to_floats(to_ints(steps * (64.0f / top) + 0.5f));
    const Floats b_all = weight * (1.0f / 64.0f);
    const Floats a_all = Floats(1.0f) - b_all;
    for(uint32_t s = 0; s < subsets; s++) {
        const Floats a = (subsets == 1) ? a_all : a_all * masks[s];
        const Floats b = (subsets == 1) ? b_all : b_all * masks[s];
        const float aa = lanes_sum(a * a_all);
        const float ab = lanes_sum(a * b_all);
        const float bb = lanes_sum(b * b_all);
        const float det = aa * bb - ab * ab;
        if(!(det > 0.001f)) continue;
        const float scale = 1.0f / det;
        for(uint32_t c = 0; c < channels; c++) {
            const float ax = lanes_sum(a * block.pixels.c[c]);
            const float bx = lanes_sum(b * block.pixels.c[c]);
            lines[s].ends[0][c] = (ax * bb - bx * ab) * scale;
            lines[s].ends[1][c] = (bx * aa - ax * ab) * scale;
        }
    }
}

template<uint32_t channels>
KOLM_INLINE void spread_colors(Floats a[4], Floats b[4], const float colors[3][2][4], const Floats masks[3],
                               uint32_t subsets) {
    for(uint32_t c = 0; c < channels; c++) {
        a[c] = Floats(colors[0][0][c]);
        b[c] = Floats(colors[0][1][c]);
        for(uint32_t s = 1; s < subsets; s++) {
            const Ints mask = Floats(0.5f) < masks[s];
            a[c] = select(mask, Floats(colors[s][0][c]), a[c]);
            b[c] = select(mask, Floats(colors[s][1][c]), b[c]);
        }
    }
}

// One mode with one partition, from given lines; false if it is not better than the result.
template<uint32_t channels>
void try_mode(Result &result, const Block &block, uint32_t index, uint32_t partition, const AxisLine start[3],
              const Floats masks[3], uint32_t refits, uint32_t moves) {
    const BC7Mode &mode = bc7_modes[index];
    AxisLine lines[3];
    memcpy(lines, start, sizeof(lines));
    float best_error = 1e30f;
    Ends ends[3], best_ends[3];
    float colors[3][2][4];
    Floats best_steps(0.0f);
    for(uint32_t round = 0; round <= refits; round++) {
        for(uint32_t s = 0; s < mode.subsets; s++)
            encode_colors<channels>(ends[s], colors[s], lines[s], block, mode.color_bits, mode.alpha_bits, mode.pbits);
        Floats a[4], b[4];
        spread_colors<channels>(a, b, colors, masks, mode.subsets);
        const Placement placement = place_pixels<channels>(block, a, b, mode.index_bits);
        const float error = lanes_sum(placement.errors);
        if(error >= best_error) break;
        best_error = error;
        best_steps = placement.steps;
        memcpy(best_ends, ends, sizeof(ends));
        if(round == refits || error == 0.0f) break;
        // Far from the best so far: a refit does not make up for it.
        if(error > result.error * 1.6f) return;
        refit_lines<channels>(lines, block, masks, mode.subsets, placement.steps, mode.index_bits);
    }
    if(moves && best_error < result.error * 1.25f) {
        // Each channel of each end up and down by one.
        const uint32_t num = mode.subsets * 2 * channels;
        for(uint32_t round = 0; round < moves; round++) {
            bool better = false;
            for(uint32_t k = 0; k < num * 2; k++) {
                const uint32_t s = (k >> 1) / (2 * channels);
                const uint32_t e = ((k >> 1) / channels) & 1;
                const uint32_t c = (k >> 1) % channels;
                const uint32_t bits = (c == 3) ? mode.alpha_bits : mode.color_bits;
                memcpy(ends, best_ends, sizeof(ends));
                const int32_t value = int32_t(ends[s].c[e][c]) + ((k & 1) ? 1 : -1);
                if(value < 0 || value >= (1 << bits)) continue;
                ends[s].c[e][c] = uint8_t(value);
                for(uint32_t i = 0; i < mode.subsets; i++) {
                    for(uint32_t j = 0; j < 2; j++) {
                        for(uint32_t n = 0; n < channels; n++) {
                            const uint32_t size = (n == 3) ? mode.alpha_bits : mode.color_bits;
                            const uint32_t v = ends[i].c[j][n];
                            colors[i][j][n] =
                                float(mode.pbits ? extend(v * 2 + ends[i].pbits[j], size + 1) : extend(v, size));
                        }
                    }
                }
                Floats a[4], b[4];
                spread_colors<channels>(a, b, colors, masks, mode.subsets);
                const Placement placement = place_pixels<channels>(block, a, b, mode.index_bits);
                const float error = lanes_sum(placement.errors);
                if(error >= best_error) continue;
                best_error = error;
                best_steps = placement.steps;
                memcpy(best_ends, ends, sizeof(ends));
                better = true;
            }
            if(!better) break;
        }
    }
    if(best_error >= result.error) return;
    result.error = best_error;
    result.mode = index;
    result.partition = partition;
    result.rotation = 0;
    result.selector = 0;
    memcpy(result.ends, best_ends, sizeof(best_ends));
    result.indices = to_ints(best_steps);
}

// Modes 4 and 5: a line through three channels, and one channel by itself.
void try_separate(Result &result, const Block &block, uint32_t index, uint32_t rotation, uint32_t selector,
                  uint32_t refits) {
    const BC7Mode &mode = bc7_modes[index];
    Block turned = block;
    if(rotation) {
        exchange(turned.pixels.c[3], turned.pixels.c[rotation - 1]);
        exchange(turned.weights[3], turned.weights[rotation - 1]);
        exchange(turned.scales[3], turned.scales[rotation - 1]);
    }
    const uint32_t color_bits = selector ? mode.index_bits_2 : mode.index_bits;
    const uint32_t alpha_bits = selector ? mode.index_bits : mode.index_bits_2;
    const Floats masks[3] = {Floats(1.0f), Floats(0.0f), Floats(0.0f)};
    Ends best = {};
    AxisLine lines[3];
    get_axis_color<3>(lines[0], turned.pixels, masks[0]);
    float color_error = 1e30f;
    Floats color_steps(0.0f);
    for(uint32_t round = 0; round <= refits; round++) {
        Ends ends;
        float colors[3][2][4];
        encode_colors<3>(ends, colors[0], lines[0], turned, mode.color_bits, 0, 0);
        Floats a[4], b[4];
        spread_colors<3>(a, b, colors, masks, 1);
        const Placement placement = place_pixels<3>(turned, a, b, color_bits);
        const float error = lanes_sum(placement.errors);
        if(error >= color_error) break;
        color_error = error;
        color_steps = placement.steps;
        for(uint32_t i = 0; i < 2; i++) memcpy(best.c[i], ends.c[i], 3);
        if(round == refits) break;
        refit_lines<3>(lines, turned, masks, 1, placement.steps, color_bits);
    }
    if(color_error >= result.error) return;

    // The one channel as a block of its own.
    Block single = turned;
    single.pixels.c[0] = turned.pixels.c[3];
    single.weights[0] = turned.weights[3];
    single.scales[0] = turned.scales[3];
    lines[0].ends[0][0] = -lanes_largest(Floats(0.0f) - single.pixels.c[0]);
    lines[0].ends[1][0] = lanes_largest(single.pixels.c[0]);
    float alpha_error = 1e30f;
    Floats alpha_steps(0.0f);
    for(uint32_t round = 0; round <= refits; round++) {
        Ends ends;
        float colors[3][2][4];
        encode_colors<1>(ends, colors[0], lines[0], single, mode.alpha_bits, 0, 0);
        Floats a[4], b[4];
        spread_colors<1>(a, b, colors, masks, 1);
        const Placement placement = place_pixels<1>(single, a, b, alpha_bits);
        const float error = lanes_sum(placement.errors);
        if(error >= alpha_error) break;
        alpha_error = error;
        alpha_steps = placement.steps;
        for(uint32_t i = 0; i < 2; i++) best.c[i][3] = ends.c[i][0];
        if(round == refits) break;
        refit_lines<1>(lines, single, masks, 1, placement.steps, alpha_bits);
    }
    if(color_error + alpha_error >= result.error) return;
    result.error = color_error + alpha_error;
    result.mode = index;
    result.partition = 0;
    result.rotation = rotation;
    result.selector = selector;
    result.ends[0] = best;
    result.indices = to_ints(selector ? alpha_steps : color_steps);
    result.indices_2 = to_ints(selector ? color_steps : alpha_steps);
}

// Best partitions of the modes with two or three subsets.
template<uint32_t channels>
void try_partitions(Result &result, const Block &block, uint32_t subsets, uint32_t num, const uint8_t *modes,
                    uint32_t num_modes, uint32_t count, uint32_t refits, uint32_t moves) {
    float estimates[64];
    uint8_t partitions[64];
    const uint32_t bits = bc7_modes[modes[0]].index_bits;
    const float top = float((1u << bits) - 1);
    estimate_partitions<channels>(estimates, block.pixels, subsets, num, 1.0f / (top * top));
    sort_partitions(partitions, estimates, num, count);
    for(uint32_t i = 0; i < count; i++) {
        // Estimates run a little high: steps do not fall evenly.
        if(estimates[i] * 0.7f > result.error) break;
        Floats masks[3];
        AxisLine lines[3];
        for(uint32_t s = 0; s < subsets; s++) {
            masks[s] = get_subset_mask(subsets, partitions[i], s);
            get_axis_color<channels>(lines[s], block.pixels, masks[s]);
        }
        for(uint32_t m = 0; m < num_modes; m++) {
            if(modes[m] == 0 && partitions[i] >= 16) continue;
            try_mode<channels>(result, block, modes[m], partitions[i], lines, masks, refits, moves);
        }
    }
}

void write_block(uint8_t *dst, const Result &result) {
    const BC7Mode &mode = bc7_modes[result.mode];
    int32_t indices[NumLanes], indices_2[NumLanes];
    result.indices.store(indices);
    result.indices_2.store(indices_2);
    Ends ends[3];
    memcpy(ends, result.ends, sizeof(ends));
    // The top bit of each subset's first index is 0: otherwise the ends change places.
    const int32_t top = (1 << mode.index_bits) - 1;
    const uint32_t mask = (mode.subsets > 1) ? bc67_partitions[mode.subsets - 2][result.partition] : 0;
    for(uint32_t s = 0; s < mode.subsets; s++) {
        const uint32_t anchor = getAnchor(mode.subsets, result.partition, s);
        if(indices[anchor] <= top / 2) continue;
        for(uint32_t i = 0; i < NumLanes; i++) {
            if(((mask >> (i * 2)) & 3) == s) indices[i] = top - indices[i];
        }
        const bool first_is_alpha = mode.index_bits_2 && result.selector;
        for(uint32_t c = 0; c < 4; c++) {
            if(!mode.index_bits_2 || (c == 3) == first_is_alpha) exchange(ends[s].c[0][c], ends[s].c[1][c]);
        }
        exchange(ends[s].pbits[0], ends[s].pbits[1]);
    }
    if(mode.index_bits_2) {
        const int32_t top_2 = (1 << mode.index_bits_2) - 1;
        if(indices_2[0] > top_2 / 2) {
            for(uint32_t i = 0; i < NumLanes; i++) indices_2[i] = top_2 - indices_2[i];
            const bool second_is_alpha = !result.selector;
            for(uint32_t c = 0; c < 4; c++) {
                if((c == 3) == second_is_alpha) exchange(ends[0].c[0][c], ends[0].c[1][c]);
            }
        }
    }
    BlockWriter writer;
    writer.put(1u << result.mode, result.mode + 1);
    writer.put(result.partition, mode.partition_bits);
    writer.put(result.rotation, mode.rotation_bits);
    writer.put(result.selector, mode.selector_bits);
    for(uint32_t c = 0; c < (mode.alpha_bits ? 4u : 3u); c++) {
        for(uint32_t s = 0; s < mode.subsets; s++) {
            writer.put(ends[s].c[0][c], (c == 3) ? mode.alpha_bits : mode.color_bits);
            writer.put(ends[s].c[1][c], (c == 3) ? mode.alpha_bits : mode.color_bits);
        }
    }
    for(uint32_t s = 0; s < mode.subsets; s++) {
        if(mode.pbits) writer.put(ends[s].pbits[0], 1);
        if(mode.pbits == 2) writer.put(ends[s].pbits[1], 1);
    }
    for(uint32_t i = 0; i < NumLanes; i++) {
        const uint32_t subset = (mask >> (i * 2)) & 3;
        const bool anchor = (i == getAnchor(mode.subsets, result.partition, subset));
        writer.put(uint32_t(indices[i]), mode.index_bits - uint32_t(anchor));
    }
    if(mode.index_bits_2) {
        for(uint32_t i = 0; i < NumLanes; i++) writer.put(uint32_t(indices_2[i]), mode.index_bits_2 - uint32_t(i == 0));
    }
    writer.store(dst);
}

// One colour in mode 5: seven bits and the first step between the ends reach every byte; alpha has all its bits.
void write_single(uint8_t *dst, const uint8_t *color) {
    Result result;
    result.mode = 5;
    for(uint32_t c = 0; c < 3; c++) {
        uint32_t best = 0xFFFFFFFF;
        for(int32_t a = larger(color[c] / 2 - 2, 0); a <= smaller(color[c] / 2 + 2, 127); a++) {
            for(int32_t b = larger(a - 2, 0); b <= smaller(a + 2, 127); b++) {
                const uint32_t mixture = (extend(uint32_t(a), 7) * 43 + extend(uint32_t(b), 7) * 21 + 32) >> 6;
                const uint32_t d = (mixture < color[c]) ? color[c] - mixture : mixture - color[c];
                if(d >= best) continue;
                best = d;
                result.ends[0].c[0][c] = uint8_t(a);
                result.ends[0].c[1][c] = uint8_t(b);
            }
        }
    }
    result.ends[0].c[0][3] = color[3];
    result.ends[0].c[1][3] = color[3];
    result.ends[0].pbits[0] = result.ends[0].pbits[1] = 0;
    result.indices = Ints(1);
    result.indices_2 = Ints(0);
    write_block(dst, result);
}

template<uint32_t channels> void search(Result &result, const Block &block) {
    const bool fast = (block.flags & CoderFast) != 0;
    const bool best = (block.flags & CoderBest) != 0;
    const uint32_t refits = best ? 3 : fast ? 1 : 2;
    const uint32_t moves = best ? 2 : 0;

    const Floats masks[3] = {Floats(1.0f), Floats(0.0f), Floats(0.0f)};
    AxisLine lines[3];
    get_axis_color<channels>(lines[0], block.pixels, masks[0]);
    try_mode<channels>(result, block, 6, 0, lines, masks, refits, moves);
    if(channels == 4) {
        try_separate(result, block, 5, 0, 0, refits);
        if(!fast) {
            try_separate(result, block, 4, 0, 0, refits);
            try_separate(result, block, 4, 0, 1, refits);
        }
    }
    if(best || (!fast && channels == 4)) {
        for(uint32_t rotation = 1; rotation < 4; rotation++) {
            try_separate(result, block, 5, rotation, 0, refits);
            if(!best) continue;
            try_separate(result, block, 4, rotation, 0, refits);
            try_separate(result, block, 4, rotation, 1, refits);
        }
    }
    // In a hurry a mean square of two for each channel is good enough for one line.
    if(result.error <= (fast ? 6.0f * float(NumLanes) : 0.0f)) return;
    if constexpr(channels == 3) {
        static constexpr uint8_t two[2] = {1, 3};
        static constexpr uint8_t three[2] = {2, 0};
        try_partitions<3>(result, block, 2, 64, two, fast ? 1 : 2, best ? 16 : fast ? 1 : 4, refits, moves);
        if(best) try_partitions<3>(result, block, 3, 64, three, 2, 12, refits, moves);
    } else {
        static constexpr uint8_t two[1] = {7};
        try_partitions<4>(result, block, 2, 64, two, 1, best ? 16 : fast ? 1 : 6, refits, moves);
    }
}

void encode(uint8_t *dst, const uint8_t *src, uint32_t flags) {
    int32_t words[NumLanes];
    memcpy(words, src, sizeof(words));
    uint32_t different = 0;
    uint32_t alpha = 0xFFFFFFFF;
    for(uint32_t i = 0; i < NumLanes; i++) {
        different |= uint32_t(words[i] ^ words[0]);
        alpha &= uint32_t(words[i]);
    }
    if(different == 0) {
        write_single(dst, src);
        return;
    }
    Block block;
    block.flags = flags;
    block.opaque = (alpha >> 24) == 255;
    const bool perceptual = (flags & CoderPerceptual) != 0;
    const float weights[4] = {perceptual ? 3.0f : 1.0f, perceptual ? 6.0f : 1.0f, 1.0f, 1.0f};
    const Ints pixels = Ints::load(words);
    for(int32_t c = 0; c < 4; c++) {
        block.weights[c] = weights[c];
        block.scales[c] = 1.0f / weights[c];
        block.pixels.c[c] = to_floats((pixels >> (c * 8)) & 0xFF) * weights[c];
    }
    Result result;
    result.indices_2 = Ints(0);
    if(block.opaque)
        search<3>(result, block);
    else
        search<4>(result, block);
    write_block(dst, result);
}

} // namespace BC7

} // namespace

} // namespace Kolm
