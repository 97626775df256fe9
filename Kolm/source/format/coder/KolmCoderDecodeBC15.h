// Decoding of runs of full BC1 to BC5 blocks. Included by the file of each instruction set.
//
// A block's palette fits one register, so that its pixels are lookups of bytes: four rows of them for each block.

#pragma once

#include "KolmCoderBytes.h"
#include "KolmCoderKernels.h"

namespace Kolm {

namespace {

namespace BC15 {

// Places of the bytes of four pixels in a palette of four colours of four bytes, by the eight bits of their indices.
struct ColorPlaces {
    uint8_t places[256][16];
    explicit constexpr ColorPlaces(uint32_t pixel) : places{} {
        for(uint32_t i = 0; i < 256; i++) {
            for(uint32_t j = 0; j < 16; j++) {
                const uint32_t x = j / pixel;
                places[i][j] = uint8_t((x < 4) ? ((i >> (x * 2)) & 3) * 4 + j % pixel : 0x80);
            }
        }
    }
};
alignas(64) constexpr ColorPlaces color_places_3(3);
alignas(64) constexpr ColorPlaces color_places_4(4);

// Four colours of four bytes. Without the 3-colour form the order of the ends does not matter.
template<CoderBlocks blocks> KOLM_INLINE Bytes create_palette(const uint8_t *src) {
    constexpr bool has_three = (blocks == CoderBC1 || blocks == CoderBC1Alpha);
    constexpr Bytes spread = {0, 1, 0, 1, 0, 1, 0x80, 0x80, 2, 3, 2, 3, 2, 3, 0x80, 0x80};
    uint32_t ends;
    memcpy(&ends, src, 4);
    const uint32_t c0 = ends & 0xFFFF;
    const uint32_t c1 = ends >> 16;
    // The fields move to the top of their words; the products repeat their upper bits below.
    constexpr Words moves = {1, 32, 2048, 0, 1, 32, 2048, 0};
    constexpr Words fields = {0xF800, 0xFC00, 0xF800, 0, 0xF800, 0xFC00, 0xF800, 0};
    constexpr Words scales = {264, 260, 264, 0, 264, 260, 264, 0};
    const Dwords word = Dwords{} + ends;
    const Words a = multiply_high((Words(lookup(Bytes(word), spread)) * moves) & fields, scales);
    constexpr Bytes turn = {8, 9, 10, 11, 12, 13, 14, 15, 0, 1, 2, 3, 4, 5, 6, 7};
    const Words b = Words(lookup(Bytes(a), turn));
    constexpr uint32_t opaque = 0xFF000000;
    if(!has_three || c0 > c1) {
        const Words mixed = multiply_high(a + a + b + 1, Words{} + 21846); // thirds
        return pack_words(a, mixed) | Bytes(Dwords{opaque, opaque, opaque, opaque});
    }
    const Words half = ((a + b + 1) >> 1) & Words{0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0};
    constexpr uint32_t black = (blocks == CoderBC1Alpha) ? 0 : opaque;
    return pack_words(a, half) | Bytes(Dwords{opaque, opaque, opaque, black});
}

// Eight numbers between two bytes, each once in a word.
KOLM_INLINE Words create_alphas(uint32_t alpha_0, uint32_t alpha_1, uint32_t top, bool eight) {
    const Words a = Words{} + uint16_t(alpha_0);
    const Words b = Words{} + uint16_t(alpha_1);
    if(eight) {
        constexpr Words shares_a = {7, 0, 6, 5, 4, 3, 2, 1};
        constexpr Words shares_b = {0, 7, 1, 2, 3, 4, 5, 6};
        return multiply_high(a * shares_a + b * shares_b + 3, Words{} + 9363);
    }
    constexpr Words shares_a = {5, 0, 4, 3, 2, 1, 0, 0};
    constexpr Words shares_b = {0, 5, 1, 2, 3, 4, 0, 0};
    return multiply_high(a * shares_a + b * shares_b + 2, Words{} + 13108) | Words{0, 0, 0, 0, 0, 0, 0, uint16_t(top)};
}

// Sixteen bytes of a block.
template<bool is_signed> KOLM_INLINE Bytes decode_alpha(const uint8_t *src) {
    Words alphas;
    if(is_signed) {
        // -128 stands for -127, but the order of the ends is that of the bytes. Counted from -127.
        const int32_t a = int8_t(src[0]);
        const int32_t b = int8_t(src[1]);
        alphas = create_alphas(uint32_t(larger(a, -127) + 127), uint32_t(larger(b, -127) + 127), 254, a > b);
        alphas = (alphas - 127) & 0xFF;
    } else {
        alphas = create_alphas(src[0], src[1], 255, src[0] > src[1]);
    }
    // Each word gets the bytes that hold its three bits, which then move to its top.
    constexpr Bytes places[2] = {
        {2, 3, 2, 3, 2, 3, 3, 4, 3, 4, 3, 4, 4, 5, 4, 5},
        {5, 6, 5, 6, 5, 6, 6, 7, 6, 7, 6, 7, 7, 7, 7, 7},
    };
    constexpr Words moves = {1 << 13, 1 << 10, 1 << 7, 1 << 12, 1 << 9, 1 << 6, 1 << 11, 1 << 8};
    uint64_t words[2] = {0, 0};
    memcpy(words, src, 8);
    const Bytes block = load_vector<Bytes>(words);
    const Words lo = (Words(lookup(block, places[0])) * moves) >> 13;
    const Words hi = (Words(lookup(block, places[1])) * moves) >> 13;
    return lookup(pack_words(alphas, alphas), pack_words(lo, hi));
}

KOLM_INLINE Bytes decode_alpha4(const uint8_t *src) {
    Bytes ret;
    for(uint32_t i = 0; i < 8; i++) {
        ret[i * 2] = uint8_t((src[i] & 15) * 17);
        ret[i * 2 + 1] = uint8_t((src[i] >> 4) * 17);
    }
    return ret;
}

template<CoderBlocks blocks> void decode_colors(uint8_t *dst, size_t stride, const uint8_t *src, uint32_t num) {
    constexpr uint32_t pixel = (blocks == CoderBC1) ? 3 : 4;
    constexpr bool has_alpha = (blocks == CoderBC2 || blocks == CoderBC3);
    constexpr uint32_t size = has_alpha ? 16 : 8;
    for(uint32_t x = 0; x < num; x++, src += size, dst += 4 * pixel) {
        const uint8_t *color = src + size - 8;
        const Bytes palette = create_palette<blocks>(color);
        Bytes alphas = {};
        if(blocks == CoderBC2) alphas = decode_alpha4(src);
        if(blocks == CoderBC3) alphas = decode_alpha<false>(src);
        for(uint32_t y = 0; y < 4; y++) {
            const uint8_t *places =
                (pixel == 3) ? color_places_3.places[color[4 + y]] : color_places_4.places[color[4 + y]];
            Bytes row = lookup(palette, load_vector<Bytes>(places));
            if(has_alpha) {
                const uint8_t n = uint8_t(y * 4);
                const Bytes alpha_places = {0x80,           0x80,          0x80, n,    0x80,           0x80, 0x80,
                                            uint8_t(n + 1), 0x80,          0x80, 0x80, uint8_t(n + 2), 0x80, 0x80,
                                            0x80,           uint8_t(n + 3)};
                row = (row & Bytes(Dwords{} + 0xFFFFFF)) | lookup(alphas, alpha_places);
            }
            uint8_t *out = dst + stride * y;
            // Four bytes too many, but for the last block: the next one writes over them.
            if(pixel == 4 || x + 1 < num) {
                store_vector(out, row);
            } else {
                memcpy(out, &row, 12);
            }
        }
    }
}

template<bool is_signed, uint32_t channels>
void decode_bytes(uint8_t *dst, size_t stride, const uint8_t *src, uint32_t num) {
    for(uint32_t x = 0; x < num; x++, src += 8 * channels, dst += 4 * channels) {
        const Bytes first = decode_alpha<is_signed>(src);
        if(channels == 1) {
            const Dwords rows = Dwords(first);
            for(uint32_t y = 0; y < 4; y++) {
                const uint32_t row = rows[y];
                memcpy(dst + stride * y, &row, 4);
            }
            continue;
        }
        const Bytes second = decode_alpha<is_signed>(src + 8);
        // The two channels by turns.
        constexpr Bytes places[2][2] = {
            {{0, 0x80, 1, 0x80, 2, 0x80, 3, 0x80, 4, 0x80, 5, 0x80, 6, 0x80, 7, 0x80},
             {0x80, 0, 0x80, 1, 0x80, 2, 0x80, 3, 0x80, 4, 0x80, 5, 0x80, 6, 0x80, 7}},
            {{8, 0x80, 9, 0x80, 10, 0x80, 11, 0x80, 12, 0x80, 13, 0x80, 14, 0x80, 15, 0x80},
             {0x80, 8, 0x80, 9, 0x80, 10, 0x80, 11, 0x80, 12, 0x80, 13, 0x80, 14, 0x80, 15}},
        };
        for(uint32_t i = 0; i < 2; i++) {
            uint64_t rows[2];
            store_vector(rows, lookup(first, places[i][0]) | lookup(second, places[i][1]));
            memcpy(dst + stride * (i * 2), &rows[0], 8);
            memcpy(dst + stride * (i * 2 + 1), &rows[1], 8);
        }
    }
}

void decode(uint8_t *dst, size_t stride, const uint8_t *src, uint32_t num, CoderBlocks blocks) {
    switch(blocks) {
    case CoderBC1: return decode_colors<CoderBC1>(dst, stride, src, num);
    case CoderBC1Alpha: return decode_colors<CoderBC1Alpha>(dst, stride, src, num);
    case CoderBC2: return decode_colors<CoderBC2>(dst, stride, src, num);
    case CoderBC3: return decode_colors<CoderBC3>(dst, stride, src, num);
    case CoderBC4: return decode_bytes<false, 1>(dst, stride, src, num);
    case CoderBC4Signed: return decode_bytes<true, 1>(dst, stride, src, num);
    case CoderBC5: return decode_bytes<false, 2>(dst, stride, src, num);
    case CoderBC5Signed: return decode_bytes<true, 2>(dst, stride, src, num);
    }
}

} // namespace BC15

} // namespace

} // namespace Kolm
