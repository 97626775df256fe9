// Plain decoders of block formats, written from the descriptions of the formats. They share nothing with the library:
// pixels come one by one, bits are picked singly, and the partition tables were read off another decoder's output.

#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace plain {

// Subset 1 of two: bit i is pixel i.
inline const uint16_t two_subsets[64] = {
    0xCCCC, 0x8888, 0xEEEE, 0xECC8, 0xC880, 0xFEEC, 0xFEC8, 0xEC80, 0xC800, 0xFFEC, 0xFE80, 0xE800, 0xFFE8,
    0xFF00, 0xFFF0, 0xF000, 0xF710, 0x008E, 0x7100, 0x08CE, 0x008C, 0x7310, 0x3100, 0x8CCE, 0x088C, 0x3110,
    0x6666, 0x366C, 0x17E8, 0x0FF0, 0x718E, 0x399C, 0xAAAA, 0xF0F0, 0x5A5A, 0x33CC, 0x3C3C, 0x55AA, 0x9696,
    0xA55A, 0x73CE, 0x13C8, 0x324C, 0x3BDC, 0x6996, 0xC33C, 0x9966, 0x0660, 0x0272, 0x04E4, 0x4E40, 0x2720,
    0xC936, 0x936C, 0x39C6, 0x639C, 0x9336, 0x9CC6, 0x817E, 0xE718, 0xCCF0, 0x0FCC, 0x7744, 0xEE22,
};
// Subsets of three, pixel by pixel.
inline const char *const three_subsets[64] = {
    "0011001102212222", "0001001122112221", "0000200122112211", "0222002200110111", "0000000011221122",
    "0011001100220022", "0022002211111111", "0011001122112211", "0000000011112222", "0000111111112222",
    "0000111122222222", "0012001200120012", "0112011201120112", "0122012201220122", "0011011211221222",
    "0011200122002220", "0001001101121122", "0111001120012200", "0000112211221122", "0022002200221111",
    "0111011102220222", "0001000122212221", "0000001101220122", "0000110022102210", "0122012200110000",
    "0012001211222222", "0110122112210110", "0000011012211221", "0022110211020022", "0110011020022222",
    "0011012201220011", "0000200022112221", "0000000211221222", "0222002200120011", "0011001200220222",
    "0120012001200120", "0000111122220000", "0120120120120120", "0120201212010120", "0011220011220011",
    "0011112222000011", "0101010122222222", "0000000021212121", "0022112200221122", "0022001100220011",
    "0220122102201221", "0101222222220101", "0000212121212121", "0101010101012222", "0222011102220111",
    "0002111200021112", "0000211221122112", "0222011101110222", "0002111211120002", "0110011001102222",
    "0000000021122112", "0110011022222222", "0022001100110022", "0022112211220022", "0000000000002112",
    "0002000100020001", "0222122202221222", "0101222222222222", "0111201122012220",
};
inline const uint8_t two_anchors[64] = {
    15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 2,  8, 2,  2, 8,
    8,  15, 2,  8,  2,  2,  8,  8,  2,  2,  15, 15, 6,  8,  2,  8,  15, 15, 2, 8,  2, 2,
    2,  15, 15, 6,  6,  2,  6,  8,  15, 15, 2,  2,  15, 15, 15, 15, 15, 2,  2, 15,
};
inline const uint8_t three_anchors_1[64] = {
    3, 3,  15, 15, 8, 3,  15, 15, 8,  8, 6,  6, 6,  5,  3,  3,  3, 3,  8, 15, 3, 3, 6, 10, 5, 8,  8, 6,  8,  5,  15, 15,
    8, 15, 3,  5,  6, 10, 8,  15, 15, 3, 15, 5, 15, 15, 15, 15, 3, 15, 5, 5,  5, 8, 5, 10, 5, 10, 8, 13, 15, 12, 3,  3,
};
inline const uint8_t three_anchors_2[64] = {
    15, 8, 8, 3,  15, 15, 3,  8,  15, 15, 15, 15, 15, 15, 15, 8,  15, 8,  15, 3,  15, 8,
    15, 8, 3, 15, 6,  10, 15, 15, 10, 8,  15, 3,  15, 10, 10, 8,  9,  10, 6,  15, 8,  15,
    3,  6, 6, 8,  15, 3,  15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 3,  15, 15, 8,
};

/// Channels of 16 pixels; halfs are their bits.
using Pixels = std::array<std::array<int, 4>, 16>;

struct Bits {
    const uint8_t *data;
    int place = 0;
    int one() {
        const int ret = (data[place / 8] >> (place % 8)) & 1;
        place++;
        return ret;
    }
    int get(int count) {
        int ret = 0;
        for(int i = 0; i < count; i++) ret += one() << i;
        return ret;
    }
};

/*
 * BC1 to BC5
 */

inline int nearest(int numerator, int denominator) { return (2 * numerator + denominator) / (2 * denominator); }

// black: index 3 of the 3-colour form is opaque. four: there is no such form.
inline void decode_bc1(Pixels &pixels, const uint8_t *block, bool black, bool four) {
    int c[2], rgb[4][4];
    for(int i = 0; i < 2; i++) {
        c[i] = block[i * 2] + block[i * 2 + 1] * 256;
        const int parts[3] = {c[i] / 2048, c[i] / 32 % 64, c[i] % 32};
        rgb[i][0] = parts[0] * 8 + parts[0] / 4;
        rgb[i][1] = parts[1] * 4 + parts[1] / 16;
        rgb[i][2] = parts[2] * 8 + parts[2] / 4;
        rgb[i][3] = 255;
    }
    const bool three = c[0] <= c[1] && !four;
    for(int k = 0; k < 3; k++) {
        rgb[2][k] = three ? (rgb[0][k] + rgb[1][k] + 1) / 2 : nearest(2 * rgb[0][k] + rgb[1][k], 3);
        rgb[3][k] = three ? 0 : nearest(rgb[0][k] + 2 * rgb[1][k], 3);
    }
    rgb[2][3] = 255;
    rgb[3][3] = (three && !black) ? 0 : 255;
    for(int i = 0; i < 16; i++) {
        for(int k = 0; k < 4; k++) pixels[i][k] = rgb[(block[4 + i / 4] >> (i % 4 * 2)) & 3][k];
    }
}

inline void decode_bc4(Pixels &pixels, const uint8_t *block, int channel, bool is_signed) {
    int a = block[0], b = block[1], lo = 0, hi = 255;
    if(is_signed) {
        a = int8_t(block[0]);
        b = int8_t(block[1]);
        lo = -127;
        hi = 127;
    }
    const bool eight = a > b;
    a = std::max(a, lo);
    b = std::max(b, lo);
    int entries[8] = {a, b, 0, 0, 0, 0, lo, hi};
    const int steps = eight ? 7 : 5;
    for(int i = 1; i < steps; i++) {
        const int sum = (steps - i) * (a - lo) + i * (b - lo);
        entries[i + 1] = nearest(sum, steps) + lo;
    }
    Bits bits{block, 16};
    for(int i = 0; i < 16; i++) pixels[i][channel] = entries[bits.get(3)];
}

inline void decode_bc2_alpha(Pixels &pixels, const uint8_t *block) {
    Bits bits{block};
    for(int i = 0; i < 16; i++) pixels[i][3] = bits.get(4) * 255 / 15;
}

/*
 * BC6 and BC7
 */

inline const int weights_2[4] = {0, 21, 43, 64};
inline const int weights_3[8] = {0, 9, 18, 27, 37, 46, 55, 64};
inline const int weights_4[16] = {0, 4, 9, 13, 17, 21, 26, 30, 34, 38, 43, 47, 51, 55, 60, 64};
inline int get_weight(int bits, int index) {
    return bits == 2 ? weights_2[index] : bits == 3 ? weights_3[index] : weights_4[index];
}
inline int get_subset(int subsets, int partition, int pixel) {
    if(subsets == 1) return 0;
    return (subsets == 2) ? (two_subsets[partition] >> pixel) & 1 : three_subsets[partition][pixel] - '0';
}
inline bool is_anchor(int subsets, int partition, int pixel) {
    if(pixel == 0) return true;
    if(subsets == 2) return pixel == two_anchors[partition];
    return subsets == 3 && (pixel == three_anchors_1[partition] || pixel == three_anchors_2[partition]);
}

// The published header fields: w and x are the ends of the first subset, y and z those of the second; d is the
// partition. Single bits by number, whole fields as high:low.
inline const char *const bc6_headers[14] = {
    "gy4 by4 bz4 rw9:0 gw9:0 bw9:0 rx4:0 gz4 gy3:0 gx4:0 bz0 gz3:0 bx4:0 bz1 by3:0 ry4:0 bz2 rz4:0 bz3",
    "gy5 gz4 gz5 rw6:0 bz0 bz1 by4 gw6:0 by5 bz2 gy4 bw6:0 bz3 bz5 bz4 rx5:0 gy3:0 gx5:0 gz3:0 bx5:0 by3:0 ry5:0 rz5:0",
    "rw9:0 gw9:0 bw9:0 rx4:0 rw10 gy3:0 gx3:0 gw10 bz0 gz3:0 bx3:0 bw10 bz1 by3:0 ry4:0 bz2 rz4:0 bz3",
    "rw9:0 gw9:0 bw9:0 rx3:0 rw10 gz4 gy3:0 gx4:0 gw10 gz3:0 bx3:0 bw10 bz1 by3:0 ry3:0 bz0 bz2 rz3:0 gy4 bz3",
    "rw9:0 gw9:0 bw9:0 rx3:0 rw10 by4 gy3:0 gx3:0 gw10 bz0 gz3:0 bx4:0 bw10 by3:0 ry3:0 bz1 bz2 rz3:0 bz4 bz3",
    "rw8:0 by4 gw8:0 gy4 bw8:0 bz4 rx4:0 gz4 gy3:0 gx4:0 bz0 gz3:0 bx4:0 bz1 by3:0 ry4:0 bz2 rz4:0 bz3",
    "rw7:0 gz4 by4 gw7:0 bz2 gy4 bw7:0 bz3 bz4 rx5:0 gy3:0 gx4:0 bz0 gz3:0 bx4:0 bz1 by3:0 ry5:0 rz5:0",
    "rw7:0 bz0 by4 gw7:0 gy5 gy4 bw7:0 gz5 bz4 rx4:0 gz4 gy3:0 gx5:0 gz3:0 bx4:0 bz1 by3:0 ry4:0 bz2 rz4:0 bz3",
    "rw7:0 bz1 by4 gw7:0 by5 gy4 bw7:0 bz5 bz4 rx4:0 gz4 gy3:0 gx4:0 bz0 gz3:0 bx5:0 by3:0 ry4:0 bz2 rz4:0 bz3",
    "rw5:0 gz4 bz0 bz1 by4 gw5:0 gy5 by5 bz2 gy4 bw5:0 gz5 bz3 bz5 bz4 rx5:0 gy3:0 gx5:0 gz3:0 bx5:0 by3:0 ry5:0 rz5:0",
    "rw9:0 gw9:0 bw9:0 rx9:0 gx9:0 bx9:0",
    "rw9:0 gw9:0 bw9:0 rx8:0 rw10 gx8:0 gw10 bx8:0 bw10",
    "rw9:0 gw9:0 bw9:0 rx7:0 rw11 rw10 gx7:0 gw11 gw10 bx7:0 bw11 bw10",
    ("rw9:0 gw9:0 bw9:0 rx3:0 rw15 rw14 rw13 rw12 rw11 rw10 gx3:0 gw15 gw14 gw13 gw12 gw11 gw10 bx3:0 bw15 bw14 bw13 "
     "bw12 bw11 bw10"),
};

inline int sign_extend(int v, int bits) { return (v >= (1 << (bits - 1))) ? v - (1 << bits) : v; }

inline int unquantize_bc6(int v, int bits, bool is_signed) {
    if(!is_signed) {
        if(bits >= 15) return v;
        return v == 0 ? 0 : v == (1 << bits) - 1 ? 0xFFFF : ((v << 16) + 0x8000) >> bits;
    }
    if(bits >= 16) return v;
    const int m = std::abs(v);
    const int u = m == 0 ? 0 : m >= (1 << (bits - 1)) - 1 ? 0x7FFF : ((m << 15) + 0x4000) >> (bits - 1);
    return v < 0 ? -u : u;
}

inline void decode_bc6(Pixels &pixels, const uint8_t *block, bool is_signed) {
    static const int mode_bits[14] = {0, 1, 2, 6, 10, 14, 18, 22, 26, 30, 3, 7, 11, 15};
    static const int base_bits[14] = {10, 7, 11, 11, 11, 9, 8, 8, 8, 6, 10, 11, 12, 16};
    static const int delta_bits[14][3] = {{5, 5, 5},    {6, 6, 6}, {5, 4, 4}, {4, 5, 4}, {4, 4, 5},
                                          {5, 5, 5},    {6, 5, 5}, {5, 6, 5}, {5, 5, 6}, {6, 6, 6},
                                          {10, 10, 10}, {9, 9, 9}, {8, 8, 8}, {4, 4, 4}};
    Bits bits{block};
    int mode_value = bits.get(2);
    if(mode_value > 1) mode_value += bits.get(3) * 4;
    const int mode = int(std::find(mode_bits, mode_bits + 14, mode_value) - mode_bits);
    for(auto &pixel : pixels) pixel = {0, 0, 0, 0};
    if(mode == 14) return;
    int ends[4][3] = {};
    std::istringstream header(bc6_headers[mode]);
    for(std::string text; header >> text;) {
        const int channel = (text[0] == 'r') ? 0 : (text[0] == 'g') ? 1 : 2;
        int &end = ends[text[1] - 'w'][channel];
        const int high = std::stoi(text.substr(2));
        if(text.find(':') != std::string::npos)
            end += bits.get(high + 1);
        else
            end += bits.one() << high;
    }
    const int subsets = (mode < 10) ? 2 : 1;
    const int partition = (subsets == 2) ? bits.get(5) : 0;
    for(int c = 0; c < 3; c++) {
        if(is_signed) ends[0][c] = sign_extend(ends[0][c], base_bits[mode]);
        for(int i = 1; i < subsets * 2; i++) {
            if(mode != 9 && mode != 10) {
                ends[i][c] = (ends[0][c] + sign_extend(ends[i][c], delta_bits[mode][c])) & ((1 << base_bits[mode]) - 1);
            }
            if(is_signed) ends[i][c] = sign_extend(ends[i][c], base_bits[mode]);
        }
        for(int i = 0; i < subsets * 2; i++) ends[i][c] = unquantize_bc6(ends[i][c], base_bits[mode], is_signed);
    }
    for(int i = 0; i < 16; i++) {
        const int size = (subsets == 2) ? 3 : 4;
        const int w = get_weight(size, bits.get(size - is_anchor(subsets, partition, i)));
        const int s = get_subset(subsets, partition, i) * 2;
        for(int c = 0; c < 3; c++) {
            const int v = (ends[s][c] * (64 - w) + ends[s + 1][c] * w + 32) >> 6;
            pixels[i][c] = is_signed ? (std::abs(v) * 31 / 32) | (v < 0 ? 0x8000 : 0) : v * 31 / 64;
        }
    }
}

inline void decode_bc7(Pixels &pixels, const uint8_t *block) {
    struct Mode {
        int subsets, partition, rotation, selector, color, alpha, end_pbits, shared_pbits, index, index_2;
    };
    static const Mode modes[8] = {{3, 4, 0, 0, 4, 0, 1, 0, 3, 0}, {2, 6, 0, 0, 6, 0, 0, 1, 3, 0},
                                  {3, 6, 0, 0, 5, 0, 0, 0, 2, 0}, {2, 6, 0, 0, 7, 0, 1, 0, 2, 0},
                                  {1, 0, 2, 1, 5, 6, 0, 0, 2, 3}, {1, 0, 2, 0, 7, 8, 0, 0, 2, 2},
                                  {1, 0, 0, 0, 7, 7, 1, 0, 4, 0}, {2, 6, 0, 0, 5, 5, 1, 0, 2, 0}};
    for(auto &pixel : pixels) pixel = {0, 0, 0, 0};
    Bits bits{block};
    int number = 0;
    while(number < 8 && !bits.one()) number++;
    if(number == 8) return;
    const Mode &mode = modes[number];
    const int partition = bits.get(mode.partition);
    const int rotation = bits.get(mode.rotation);
    const int selector = bits.get(mode.selector);
    int ends[6][4];
    for(int c = 0; c < 4; c++) {
        for(int i = 0; i < mode.subsets * 2; i++) ends[i][c] = bits.get(c < 3 ? mode.color : mode.alpha);
    }
    int pbits[6] = {};
    for(int i = 0; i < mode.subsets * 2; i++) {
        if(mode.end_pbits) pbits[i] = bits.one();
        if(mode.shared_pbits) pbits[i] = (i % 2) ? pbits[i - 1] : bits.one();
    }
    for(int i = 0; i < mode.subsets * 2; i++) {
        for(int c = 0; c < 4; c++) {
            int size = (c < 3) ? mode.color : mode.alpha;
            if(size == 0) {
                ends[i][c] = 255;
                continue;
            }
            if(mode.end_pbits || mode.shared_pbits) {
                ends[i][c] = ends[i][c] * 2 + pbits[i];
                size++;
            }
            ends[i][c] = (ends[i][c] << (8 - size)) | (ends[i][c] >> (2 * size - 8));
        }
    }
    int indices[2][16];
    for(int i = 0; i < 16; i++) indices[0][i] = bits.get(mode.index - is_anchor(mode.subsets, partition, i));
    for(int i = 0; i < 16; i++) indices[1][i] = mode.index_2 ? bits.get(mode.index_2 - (i == 0)) : indices[0][i];
    const int sizes[2] = {mode.index, mode.index_2 ? mode.index_2 : mode.index};
    for(int i = 0; i < 16; i++) {
        const int s = get_subset(mode.subsets, partition, i) * 2;
        for(int c = 0; c < 4; c++) {
            const int set = (c < 3) ? selector : 1 - selector;
            const int w = get_weight(sizes[set], indices[set][i]);
            pixels[i][c] = (ends[s][c] * (64 - w) + ends[s + 1][c] * w + 32) >> 6;
        }
        if(rotation) std::swap(pixels[i][3], pixels[i][rotation - 1]);
    }
}

/*
 * ETC2 and EAC
 */

inline const int etc_steps[8][2] = {{2, 8}, {5, 17}, {9, 29}, {13, 42}, {18, 60}, {24, 80}, {33, 106}, {47, 183}};
inline const int etc_paint_distances[8] = {3, 6, 11, 16, 23, 32, 41, 64};
inline const int eac_steps[16][4] = {{3, 6, 9, 15}, {3, 7, 10, 13}, {2, 5, 8, 13}, {2, 4, 6, 13},
                                     {3, 6, 8, 12}, {3, 7, 9, 11},  {4, 7, 8, 11}, {3, 5, 8, 11},
                                     {2, 6, 8, 10}, {2, 5, 8, 10},  {2, 4, 8, 10}, {2, 5, 7, 10},
                                     {3, 4, 7, 10}, {1, 2, 3, 10},  {4, 6, 8, 9},  {3, 5, 7, 9}};

// Bits high to low of the 64, as the format's description counts them.
inline int field(const uint8_t *block, int high, int low) {
    uint64_t word = 0;
    for(int i = 0; i < 8; i++) word = word * 256 + block[i];
    return int((word >> low) & ((uint64_t(1) << (high - low + 1)) - 1));
}
inline int to_byte(int v) { return std::clamp(v, 0, 255); }

// bits: 8 for bytes, 11 for values of which the eight bits on top remain.
inline void decode_eac(Pixels &pixels, const uint8_t *block, int channel, int bits, bool is_signed) {
    const int base = is_signed ? std::max<int>(int8_t(block[0]), -127) : block[0];
    const int multiplier = block[1] / 16;
    for(int x = 0; x < 4; x++) {
        for(int y = 0; y < 4; y++) {
            const int shift = 45 - (x * 4 + y) * 3;
            const int index = field(block, shift + 2, shift);
            // Positive steps are the negative ones less one.
            const int step = eac_steps[block[1] % 16][index % 4];
            const int modifier = (index < 4) ? -step : step - 1;
            int v;
            if(bits == 8)
                v = to_byte(base + modifier * multiplier);
            else if(is_signed)
                v = std::clamp(base * 8 + modifier * (multiplier ? multiplier * 8 : 1), -1023, 1023) >> 3;
            else
                v = std::clamp(base * 8 + 4 + modifier * (multiplier ? multiplier * 8 : 1), 0, 2047) >> 3;
            pixels[y * 4 + x][channel] = v;
        }
    }
}

inline void decode_etc2(Pixels &pixels, const uint8_t *b, bool punch) {
    const bool diff = field(b, 33, 33);
    const bool transparent = punch && !diff;
    const int r = field(b, 63, 59), g = field(b, 55, 51), bl = field(b, 47, 43);
    const int r2 = r + sign_extend(field(b, 58, 56), 3);
    const int g2 = g + sign_extend(field(b, 50, 48), 3);
    const int b2 = bl + sign_extend(field(b, 42, 40), 3);
    const auto outside = [](int v) { return v < 0 || v > 31; };
    const auto e4 = [](int v) { return v * 16 + v; };
    const auto e5 = [](int v) { return v * 8 + v / 4; };
    const auto e6 = [](int v) { return v * 4 + v / 16; };
    const auto e7 = [](int v) { return v * 2 + v / 64; };
    const auto index = [b](int x, int y) {
        const int i = x * 4 + y;
        return field(b, i, i) + field(b, i + 16, i + 16) * 2;
    };
    const bool other = diff || punch;
    if(other && !outside(r2) && !outside(g2) && outside(b2)) {
        const int o[3] = {e6(field(b, 62, 57)), e7(field(b, 56, 56) * 64 + field(b, 54, 49)),
                          e6(field(b, 48, 48) * 32 + field(b, 44, 43) * 8 + field(b, 41, 39))};
        const int h[3] = {e6(field(b, 38, 34) * 2 + field(b, 32, 32)), e7(field(b, 31, 25)), e6(field(b, 24, 19))};
        const int v[3] = {e6(field(b, 18, 13)), e7(field(b, 12, 6)), e6(field(b, 5, 0))};
        for(int i = 0; i < 16; i++) {
            for(int c = 0; c < 3; c++)
                pixels[i][c] = to_byte((i % 4 * (h[c] - o[c]) + i / 4 * (v[c] - o[c]) + 4 * o[c] + 2) >> 2);
            pixels[i][3] = 255;
        }
        return;
    }
    int paints[2][4][3];
    int half_of[16] = {};
    if(other && (outside(r2) || outside(g2))) {
        const bool t = outside(r2);
        int c[2][3], d;
        if(t) {
            const int values[2][3] = {{field(b, 60, 59) * 4 + field(b, 57, 56), field(b, 55, 52), field(b, 51, 48)},
                                      {field(b, 47, 44), field(b, 43, 40), field(b, 39, 36)}};
            for(int i = 0; i < 6; i++) c[i / 3][i % 3] = e4(values[i / 3][i % 3]);
            d = etc_paint_distances[field(b, 35, 34) * 2 + field(b, 32, 32)];
        } else {
            const int values[2][3] = {
                {field(b, 62, 59), field(b, 58, 56) * 2 + field(b, 52, 52), field(b, 51, 51) * 8 + field(b, 49, 47)},
                {field(b, 46, 43), field(b, 42, 39), field(b, 38, 35)}};
            for(int i = 0; i < 6; i++) c[i / 3][i % 3] = e4(values[i / 3][i % 3]);
            const int first = values[0][0] * 256 + values[0][1] * 16 + values[0][2];
            const int second = values[1][0] * 256 + values[1][1] * 16 + values[1][2];
            d = etc_paint_distances[field(b, 34, 34) * 4 + field(b, 32, 32) * 2 + (first >= second)];
        }
        for(int k = 0; k < 3; k++) {
            paints[0][0][k] = t ? c[0][k] : to_byte(c[0][k] + d);
            paints[0][1][k] = to_byte(t ? c[1][k] + d : c[0][k] - d);
            paints[0][2][k] = t ? c[1][k] : to_byte(c[1][k] + d);
            paints[0][3][k] = to_byte(c[1][k] - d);
        }
    } else {
        const int bases[2][3] = {{other ? e5(r) : e4(field(b, 63, 60)), other ? e5(g) : e4(field(b, 55, 52)),
                                  other ? e5(bl) : e4(field(b, 47, 44))},
                                 {other ? e5(r2) : e4(field(b, 59, 56)), other ? e5(g2) : e4(field(b, 51, 48)),
                                  other ? e5(b2) : e4(field(b, 43, 40))}};
        const int tables[2] = {field(b, 39, 37), field(b, 36, 34)};
        for(int i = 0; i < 16; i++) half_of[i] = field(b, 32, 32) ? i / 8 : i % 4 / 2;
        for(int half = 0; half < 2; half++) {
            const int *steps = etc_steps[tables[half]];
            const int modifiers[4] = {transparent ? 0 : steps[0], steps[1], transparent ? 0 : -steps[0], -steps[1]};
            for(int p = 0; p < 4; p++) {
                for(int k = 0; k < 3; k++) paints[half][p][k] = to_byte(bases[half][k] + modifiers[p]);
            }
        }
    }
    for(int i = 0; i < 16; i++) {
        const int p = index(i % 4, i / 4);
        const bool hole = transparent && p == 2;
        for(int k = 0; k < 3; k++) pixels[i][k] = hole ? 0 : paints[half_of[i]][p][k];
        pixels[i][3] = hole ? 0 : 255;
    }
}

} // namespace plain
