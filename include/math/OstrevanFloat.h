// Small floats: the IEEE half and the 21-bit float of packed triples. Both cut off bits that do not fit.

#pragma once

#include <string.h>

#include <base/OstrevanBase.h>

namespace Ostrevan {

inline uint32_t floatToBits(float32_t value) {
    uint32_t bits;
    memcpy(&bits, &value, sizeof(bits));
    return bits;
}
inline float32_t bitsToFloat(uint32_t bits) {
    float32_t value;
    memcpy(&value, &bits, sizeof(value));
    return value;
}

/// IEEE half: sign at bit 15, five exponent bits with bias 15, ten mantissa bits.
struct float16_t {
    float16_t() = default;
    explicit float16_t(float32_t value) { set(value); }

    /// Cuts the mantissa. Floats from 2 to the power 98 upward keep their top mantissa bits under the exponent of
    /// infinity, large finite ones among them: kept.
    void set(float32_t value) {
        const uint32_t i = floatToBits(value);
        const uint32_t sign = (i >> 16) & 0x8000;
        const uint32_t magnitude = i & 0x7FFFFFFF;
        const uint32_t exponent = magnitude >> 23;
        const uint32_t mantissa = magnitude & 0x007FFFFF;
        uint32_t h;
        if(exponent - 113 <= 142 - 113)
            h = (magnitude - (112u << 23)) >> 13;
        else if((magnitude >> 24) < 51)
            h = 0;
        else if(exponent <= 112)
            h = (mantissa | 0x00800000) >> (126 - exponent);
        else
            h = 0x7C00 | ((exponent >= 225) ? (mantissa >> 13) : 0);
        bits = uint16_t(sign | h);
    }
    /// Exact.
    float32_t get() const {
        const uint32_t sign = uint32_t(bits & 0x8000) << 16;
        uint32_t exponent = (bits >> 10) & 31;
        uint32_t mantissa = bits & 0x03FF;
        if(exponent == 31) return bitsToFloat(sign | 0x7F800000 | (mantissa << 13));
        if(exponent == 0) {
            if(mantissa == 0) return bitsToFloat(sign);
            exponent = 1;
            while((mantissa & 0x0400) == 0) {
                mantissa <<= 1;
                exponent--; // wraps below 0 and comes back with the bias
            }
            mantissa &= 0x03FF;
        }
        return bitsToFloat(sign | ((exponent + 112) << 23) | (mantissa << 13));
    }

    /// Without tests: only for values that are normal halves.
    void setFast(float32_t value) {
        const uint32_t i = floatToBits(value);
        bits = uint16_t(((i >> 16) & 0x8000) | (((i & 0x7FFFFFFF) - 0x38000000) >> 13));
    }
    /// Without tests: only for normal halves. Zero reads as 2 to the power -15.
    float32_t getFast() const {
        return bitsToFloat((uint32_t(bits & 0x8000) << 16) | ((uint32_t(bits & 0x7FFF) << 13) + 0x38000000));
    }

    bool operator==(const float16_t &f) const { return bits == f.bits; }
    bool operator!=(const float16_t &f) const { return bits != f.bits; }

    static const float16_t zero;
    static const float16_t half;
    static const float16_t one;
    static const float16_t two;

    static constexpr float16_t fromBits(uint16_t bits) {
        float16_t ret;
        ret.bits = bits;
        return ret;
    }

    uint16_t bits = 0;
};

inline constexpr float16_t float16_t::zero = float16_t::fromBits(0x0000);
inline constexpr float16_t float16_t::half = float16_t::fromBits(0x3800);
inline constexpr float16_t float16_t::one = float16_t::fromBits(0x3C00);
inline constexpr float16_t float16_t::two = float16_t::fromBits(0x4000);

/// 21-bit float in the low bits of a word: sign at bit 20, six exponent bits with bias 31, 14 mantissa bits.
struct float21_t {
    float21_t() = default;
    explicit float21_t(float32_t value) { set(value); }

    void set(float32_t value) {
        const uint32_t i = floatToBits(value);
        const uint32_t sign = (i >> 11) & 0x100000;
        const uint32_t magnitude = i & 0x7FFFFFFF;
        const uint32_t exponent = magnitude >> 23;
        const uint32_t mantissa = magnitude & 0x007FFFFF;
        uint32_t h;
        if(exponent - 97 <= 158 - 97)
            h = (magnitude - (96u << 23)) >> 9;
        else if(exponent < 83)
            h = 0;
        else if(exponent <= 96)
            h = (mantissa | 0x00800000) >> (106 - exponent);
        else
            h = 0x0FC000 | ((exponent >= 193) ? (mantissa >> 9) : 0);
        bits = sign | h;
    }
    /// Exact.
    float32_t get() const {
        const uint32_t sign = (bits & 0x100000) << 11;
        uint32_t exponent = (bits >> 14) & 63;
        uint32_t mantissa = bits & 0x3FFF;
        if(exponent == 63) return bitsToFloat(sign | 0x7F800000 | (mantissa << 9));
        if(exponent == 0) {
            if(mantissa == 0) return bitsToFloat(sign);
            exponent = 1;
            while((mantissa & 0x4000) == 0) {
                mantissa <<= 1;
                exponent--;
            }
            mantissa &= 0x3FFF;
        }
        return bitsToFloat(sign | ((exponent + 96) << 23) | (mantissa << 9));
    }

    /// Without tests: only for values that are normal in 21 bits.
    void setFast(float32_t value) {
        const uint32_t i = floatToBits(value);
        bits = ((i >> 11) & 0x100000) | ((((i & 0x7FFFFFFF) - 0x30000000) >> 9) & 0x0FFFFF);
    }
    float32_t getFast() const {
        return bitsToFloat(((bits & 0x100000) << 11) | (((bits & 0x0FFFFF) << 9) + 0x30000000));
    }

    bool operator==(const float21_t &f) const { return bits == f.bits; }
    bool operator!=(const float21_t &f) const { return bits != f.bits; }

    static const float21_t zero;
    static const float21_t half;
    static const float21_t one;
    static const float21_t two;

    static constexpr float21_t fromBits(uint32_t bits) {
        float21_t ret;
        ret.bits = bits;
        return ret;
    }

    uint32_t bits = 0;
};

inline constexpr float21_t float21_t::zero = float21_t::fromBits(0);
inline constexpr float21_t float21_t::half = float21_t::fromBits(30u << 14);
inline constexpr float21_t float21_t::one = float21_t::fromBits(31u << 14);
inline constexpr float21_t float21_t::two = float21_t::fromBits(32u << 14);

} // namespace Ostrevan
