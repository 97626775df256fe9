// The rough and fast power function of FlagGamma.

#pragma once

#include "KolmFloat.h"

namespace Kolm {

/// Power by the bits of a float, rough by up to six percent. Values below 1e-16, and NaN, count as that.
inline float32_t fast_power(float32_t x, float32_t p) {
    constexpr int32_t one = 0x3F79E59D;
    const float32_t v = (x > 1e-16f) ? x : 1e-16f;
    const int32_t bits = int32_t(min(floatToBits(v), 0x7F7FFFFFu));
    const float32_t power = min(float32_t(bits - one) * p, 1e9f);
    return bitsToFloat(uint32_t(int32_t(power) + one));
}
constexpr float32_t gamma_decode = 2.2f;
constexpr float32_t gamma_encode = 0.45454544f;

} // namespace Kolm
