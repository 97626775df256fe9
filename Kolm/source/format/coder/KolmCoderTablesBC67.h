// Tables of the BC6 and BC7 formats.

#pragma once

#include <stdint.h>

namespace Kolm {

constexpr uint32_t BC6Modes = 14;
constexpr uint32_t BC6Subsets = 2;
constexpr uint32_t BC6Partitions = 32;
constexpr uint32_t BC6FastPartitions = 16; ///< those that a fast search looks at
constexpr uint32_t BC6PartitionModes = 10; ///< the first modes have two subsets

struct BC6Mode {
    uint8_t value;      // mode bits
    uint8_t value_bits; // their number
    uint8_t bits;       // of the base colour
    uint8_t deltas[3];  // of the other colours
    bool transformed;   // the other colours are differences
};

/// In the order of the format's tables.
inline constexpr BC6Mode bc6_modes[BC6Modes] = {
    {0x00, 2, 10, {5, 5, 5}, true}, {0x01, 2, 7, {6, 6, 6}, true},      {0x02, 5, 11, {5, 4, 4}, true},
    {0x06, 5, 11, {4, 5, 4}, true}, {0x0A, 5, 11, {4, 4, 5}, true},     {0x0E, 5, 9, {5, 5, 5}, true},
    {0x12, 5, 8, {6, 5, 5}, true},  {0x16, 5, 8, {5, 6, 5}, true},      {0x1A, 5, 8, {5, 5, 6}, true},
    {0x1E, 5, 6, {6, 6, 6}, false}, {0x03, 5, 10, {10, 10, 10}, false}, {0x07, 5, 11, {9, 9, 9}, true},
    {0x0B, 5, 12, {8, 8, 8}, true}, {0x0F, 5, 16, {4, 4, 4}, true},
};

/// Fields behind the mode bits, from the lowest bit upward: channel, number of the colour, then one bit or the highest
/// and the lowest of several. Bits above 9 go on in the order of ASCII: ":" is bit 10 and "?" is bit 15.
inline constexpr const char *bc6_fields[BC6Modes] = {
    "g24 b24 b34 r09:0 g09:0 b09:0 r14:0 g34 g23:0 g14:0 b30 g33:0 b14:0 b31 b23:0 r24:0 b32 r34:0 b33",
    "g25 g34 g35 r06:0 b30 b31 b24 g06:0 b25 b32 g24 b06:0 b33 b35 b34 r15:0 g23:0 g15:0 g33:0 b15:0 b23:0 r25:0 r35:0",
    "r09:0 g09:0 b09:0 r14:0 r0: g23:0 g13:0 g0: b30 g33:0 b13:0 b0: b31 b23:0 r24:0 b32 r34:0 b33",
    "r09:0 g09:0 b09:0 r13:0 r0: g34 g23:0 g14:0 g0: g33:0 b13:0 b0: b31 b23:0 r23:0 b30 b32 r33:0 g24 b33",
    "r09:0 g09:0 b09:0 r13:0 r0: b24 g23:0 g13:0 g0: b30 g33:0 b14:0 b0: b23:0 r23:0 b31 b32 r33:0 b34 b33",
    "r08:0 b24 g08:0 g24 b08:0 b34 r14:0 g34 g23:0 g14:0 b30 g33:0 b14:0 b31 b23:0 r24:0 b32 r34:0 b33",
    "r07:0 g34 b24 g07:0 b32 g24 b07:0 b33 b34 r15:0 g23:0 g14:0 b30 g33:0 b14:0 b31 b23:0 r25:0 r35:0",
    "r07:0 b30 b24 g07:0 g25 g24 b07:0 g35 b34 r14:0 g34 g23:0 g15:0 g33:0 b14:0 b31 b23:0 r24:0 b32 r34:0 b33",
    "r07:0 b31 b24 g07:0 b25 g24 b07:0 b35 b34 r14:0 g34 g23:0 g14:0 b30 g33:0 b15:0 b23:0 r24:0 b32 r34:0 b33",
    "r05:0 g34 b30 b31 b24 g05:0 g25 b25 b32 g24 b05:0 g35 b33 b35 b34 r15:0 g23:0 g15:0 g33:0 b15:0 b23:0 r25:0 r35:0",
    "r09:0 g09:0 b09:0 r19:0 g19:0 b19:0",
    "r09:0 g09:0 b09:0 r18:0 r0: g18:0 g0: b18:0 b0:",
    "r09:0 g09:0 b09:0 r17:0 r0; r0: g17:0 g0; g0: b17:0 b0; b0:",
    "r09:0 g09:0 b09:0 r13:0 r0? r0> r0= r0< r0; r0: g13:0 g0? g0> g0= g0< g0; g0: b13:0 b0? b0> b0= b0< b0; b0:",
};

/// Where each bit behind the mode bits goes: channel * 64 + colour * 16 + bit; the list ends before 0xFF.
struct BC6Offsets {
    uint8_t bits[BC6Modes][76];

    constexpr BC6Offsets() : bits{} {
        for(uint32_t m = 0; m < BC6Modes; m++) {
            uint32_t size = 0;
            for(const char *s = bc6_fields[m]; *s; s++) {
                const uint32_t base = uint32_t(*s == 'r' ? 0 : *s == 'g' ? 64 : 128) + uint32_t(s[1] - '0') * 16;
                const uint32_t high = uint32_t(s[2] - '0');
                s += 3;
                if(*s == ':') {
                    for(uint32_t i = 0; i <= high; i++) bits[m][size++] = uint8_t(base + i);
                    s += 2;
                } else {
                    bits[m][size++] = uint8_t(base + high);
                }
                if(*s == 0) break;
            }
            bits[m][size] = 0xFF;
        }
    }
};
inline constexpr BC6Offsets bc6_offsets;

/// The same as runs of rising bits, for reading: the first bit and the length, which is 0 behind the last run.
struct BC6Runs {
    uint8_t bits[BC6Modes][40];
    uint8_t sizes[BC6Modes][40];

    constexpr BC6Runs() : bits{}, sizes{} {
        for(uint32_t m = 0; m < BC6Modes; m++) {
            uint32_t num = 0;
            for(const uint8_t *bit = bc6_offsets.bits[m]; *bit != 0xFF; bit++) {
                if(num && *bit == bits[m][num - 1] + sizes[m][num - 1]) {
                    sizes[m][num - 1]++;
                } else {
                    bits[m][num] = *bit;
                    sizes[m][num++] = 1;
                }
            }
        }
    }
};
inline constexpr BC6Runs bc6_runs;

struct BC7Mode {
    uint8_t subsets;
    uint8_t partition_bits;
    uint8_t rotation_bits;
    uint8_t selector_bits;
    uint8_t color_bits;
    uint8_t alpha_bits;
    uint8_t pbits; // 0, 1 for each subset, 2 for each endpoint
    uint8_t index_bits;
    uint8_t index_bits_2; // of the second set of indices, or 0
};

inline constexpr BC7Mode bc7_modes[8] = {
    {3, 4, 0, 0, 4, 0, 2, 3, 0}, {2, 6, 0, 0, 6, 0, 1, 3, 0}, {3, 6, 0, 0, 5, 0, 0, 2, 0}, {2, 6, 0, 0, 7, 0, 2, 2, 0},
    {1, 0, 2, 1, 5, 6, 0, 2, 3}, {1, 0, 2, 0, 7, 8, 0, 2, 2}, {1, 0, 0, 0, 7, 7, 2, 4, 0}, {2, 6, 0, 0, 5, 5, 2, 2, 0},
};

/// Weights of 2, 3 and 4 bits of index.
inline constexpr uint8_t bc67_weights[3][16] = {
    {0, 21, 43, 64},
    {0, 9, 18, 27, 37, 46, 55, 64},
    {0, 4, 9, 13, 17, 21, 26, 30, 34, 38, 43, 47, 51, 55, 60, 64},
};

/// Subsets of the pixels, two bits each, for two and for three subsets.
inline constexpr uint32_t bc67_partitions[2][64] = {
    {
        0x50505050, 0x40404040, 0x54545454, 0x54505040, 0x50404000, 0x55545450, 0x55545040, 0x54504000,
        0x50400000, 0x55555450, 0x55544000, 0x54400000, 0x55555440, 0x55550000, 0x55555500, 0x55000000,
        0x55150100, 0x00004054, 0x15010000, 0x00405054, 0x00004050, 0x15050100, 0x05010000, 0x40505054,
        0x00404050, 0x05010100, 0x14141414, 0x05141450, 0x01155440, 0x00555500, 0x15014054, 0x05414150,
        0x44444444, 0x55005500, 0x11441144, 0x05055050, 0x05500550, 0x11114444, 0x41144114, 0x44111144,
        0x15055054, 0x01055040, 0x05041050, 0x05455150, 0x14414114, 0x50050550, 0x41411414, 0x00141400,
        0x00041504, 0x00105410, 0x10541000, 0x04150400, 0x50410514, 0x41051450, 0x05415014, 0x14054150,
        0x41050514, 0x41505014, 0x40011554, 0x54150140, 0x50505500, 0x00555050, 0x15151010, 0x54540404,
    },
    {
        0xAA685050, 0x6A5A5040, 0x5A5A4200, 0x5450A0A8, 0xA5A50000, 0xA0A05050, 0x5555A0A0, 0x5A5A5050,
        0xAA550000, 0xAA555500, 0xAAAA5500, 0x90909090, 0x94949494, 0xA4A4A4A4, 0xA9A59450, 0x2A0A4250,
        0xA5945040, 0x0A425054, 0xA5A5A500, 0x55A0A0A0, 0xA8A85454, 0x6A6A4040, 0xA4A45000, 0x1A1A0500,
        0x0050A4A4, 0xAAA59090, 0x14696914, 0x69691400, 0xA08585A0, 0xAA821414, 0x50A4A450, 0x6A5A0200,
        0xA9A58000, 0x5090A0A8, 0xA8A09050, 0x24242424, 0x00AA5500, 0x24924924, 0x24499224, 0x50A50A50,
        0x500AA550, 0xAAAA4444, 0x66660000, 0xA5A0A5A0, 0x50A050A0, 0x69286928, 0x44AAAA44, 0x66666600,
        0xAA444444, 0x54A854A8, 0x95809580, 0x96969600, 0xA85454A8, 0x80959580, 0xAA141414, 0x96960000,
        0xAAAA1414, 0xA05050A0, 0xA0A5A5A0, 0x96000000, 0x40804080, 0xA9A8A9A8, 0xAAAAAA44, 0x2A4A5254,
    },
};

/// Pixels whose index lacks its top bit: of the second of two subsets, of the second and the third of three. That of
/// the first subset is pixel 0.
inline constexpr uint8_t bc67_anchors[3][64] = {
    {15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 2,  8, 2, 2, 8,
     8,  15, 2,  8,  2,  2,  8,  8,  2,  2,  15, 15, 6,  8,  2,  8,  15, 15, 2, 8, 2, 2,
     2,  15, 15, 6,  6,  2,  6,  8,  15, 15, 2,  2,  15, 15, 15, 15, 15, 2,  2, 15},
    {3,  3,  15, 15, 8, 3,  15, 15, 8,  8,  6, 6,  6, 5,  3, 3,  3,  3,  8,  15, 3,  3,
     6,  10, 5,  8,  8, 6,  8,  5,  15, 15, 8, 15, 3, 5,  6, 10, 8,  15, 15, 3,  15, 5,
     15, 15, 15, 15, 3, 15, 5,  5,  5,  8,  5, 10, 5, 10, 8, 13, 15, 12, 3,  3},
    {15, 8, 8, 3,  15, 15, 3,  8,  15, 15, 15, 15, 15, 15, 15, 8,  15, 8,  15, 3,  15, 8,
     15, 8, 3, 15, 6,  10, 15, 15, 10, 8,  15, 3,  15, 10, 10, 8,  9,  10, 6,  15, 8,  15,
     3,  6, 6, 8,  15, 3,  15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 3,  15, 15, 8},
};

/// Pixel without the top bit of its index. Each file has its own, whatever instructions it is compiled with.
static constexpr uint32_t getAnchor(uint32_t subsets, uint32_t partition, uint32_t subset) {
    if(subset == 0) return 0;
    return bc67_anchors[(subsets == 2) ? 0 : subset][partition];
}

} // namespace Kolm
