// The rough and fast power function of FlagGamma.

#pragma once

#include "KolmFloat.h"

namespace Kolm {

/// Power by the bits of a float, rough by up to six percent. Values below 1e-16, and NaN, count as that. Floats of one
/// sign are in order as integers, and comparisons of integers leave no branch in the loops that this is inlined into.
inline float32_t fast_power(float32_t x, float32_t p) {
    constexpr int32_t one = 0x3F79E59D;
    constexpr int32_t low = 0x24E69595;       // 1e-16
    constexpr int32_t top = 0x7F7FFFFF;       // the largest finite float
    constexpr int32_t infinity = 0x7F800000;  // NaN is behind
    constexpr int32_t max_power = 0x4E6E6B28; // 1e9
    int32_t bits = int32_t(floatToBits(x));
    bits &= -int32_t(bits <= infinity);
    bits = (bits > low) ? bits : low;
    bits = (bits < top) ? bits : top;
    int32_t power = int32_t(floatToBits(float32_t(bits - one) * p));
    power = (power < max_power) ? power : max_power;
    return bitsToFloat(uint32_t(int32_t(bitsToFloat(uint32_t(power))) + one));
}
constexpr float32_t gamma_decode = 2.2f;
constexpr float32_t gamma_encode = 0.45454544f;

} // namespace Kolm
