// Trigonometry in degrees from basic operations alone, so that it gives the same bits on every processor.
//
// Degrees are reduced to a quarter turn without any error, which radians cannot be. What is left is a power series whose
// terms end below the last bit, worked out in doubles.

#include "KolmMath.h"

namespace Kolm {

namespace {

// Sine and cosine of x in radians, within pi / 4: Taylor's series to the terms x^17 / 17! and x^18 / 18!.
float64_t sin_series(float64_t x) {
    const float64_t z = x * x;
    float64_t s = 1.0 / 355687428096000.0;
    s = s * z - 1.0 / 1307674368000.0;
    s = s * z + 1.0 / 6227020800.0;
    s = s * z - 1.0 / 39916800.0;
    s = s * z + 1.0 / 362880.0;
    s = s * z - 1.0 / 5040.0;
    s = s * z + 1.0 / 120.0;
    s = s * z - 1.0 / 6.0;
    return x + x * (z * s);
}
float64_t cos_series(float64_t x) {
    const float64_t z = x * x;
    float64_t s = -1.0 / 6402373705728000.0;
    s = s * z + 1.0 / 20922789888000.0;
    s = s * z - 1.0 / 87178291200.0;
    s = s * z + 1.0 / 479001600.0;
    s = s * z - 1.0 / 3628800.0;
    s = s * z + 1.0 / 40320.0;
    s = s * z - 1.0 / 720.0;
    s = s * z + 1.0 / 24.0;
    // What 1 - z / 2 lost when it was rounded goes into the small rest.
    const float64_t half = z * 0.5;
    const float64_t head = 1.0 - half;
    return head + (((1.0 - head) - half) + z * z * s);
}

// Angle in degrees whose tangent is t, from 0 to 1: the table at the nearest eighth, and the series of the arc tangent
// for what is left, which is within 1 / 16.
float64_t atan_degrees(float64_t t) {
    static constexpr float64_t eighths[] = {
        0.0,
        7.1250163489017975620,
        14.036243467926478583,
        20.556045219583464308,
        26.565051177077989352,
        32.005383208083495607,
        36.869897645844021297,
        41.185925165709645809,
        45.0,
    };
    const uint32_t index = uint32_t(t * 8.0 + 0.5);
    const float64_t c = float64_t(index) * 0.125;
    const float64_t u = (t - c) / (1.0 + t * c);
    const float64_t z = u * u;
    float64_t s = -1.0 / 15.0;
    s = s * z + 1.0 / 13.0;
    s = s * z - 1.0 / 11.0;
    s = s * z + 1.0 / 9.0;
    s = s * z - 1.0 / 7.0;
    s = s * z + 1.0 / 5.0;
    s = s * z - 1.0 / 3.0;
    return eighths[index] + (u + u * (z * s)) * Math::RadiansToDegrees;
}

} // namespace

void Math::sinCos(float64_t angle, float64_t &sin, float64_t &cos) {
    if(!(abs(angle) <= 1.7976931348623157e308)) {
        sin = cos = __builtin_nan("");
        return;
    }
    // The remainder by 360, and its distance to the nearest multiple of 90: both exact.
    const float64_t turn = (abs(angle) < 360.0) ? angle : __builtin_fmod(angle, 360.0);
    const int32_t quarter = int32_t(turn * (1.0 / 90.0) + ((turn < 0.0) ? -0.5 : 0.5));
    const float64_t x = toRadians(turn - float64_t(quarter) * 90.0);
    const float64_t s = sin_series(x), c = cos_series(x);
    switch(quarter & 3) { // no negative zeros but that of the angle -0

    case 0: sin = s, cos = c; break;
    case 1: sin = c, cos = 0.0 - s; break;
    case 2: sin = 0.0 - s, cos = -c; break;
    default: sin = -c, cos = s; break;
    }
}

float64_t Math::tan(float64_t angle) {
    float64_t s, c;
    sinCos(angle, s, c);
    return (c == 0.0) ? __builtin_inf() : s / c;
}

float64_t Math::atan2(float64_t y, float64_t x) {
    if(!(x == x) || !(y == y)) return __builtin_nan("");
    float64_t ax = abs(x), ay = abs(y);
    const float64_t infinity = __builtin_inf();
    if(ax == infinity && ay == infinity) ax = ay = 1.0;
    float64_t angle = 0.0;
    if(ay <= ax)
        angle = (ay == 0.0) ? 0.0 : atan_degrees(ay / ax);
    else
        angle = 90.0 - atan_degrees(ax / ay);
    if(__builtin_signbit(x)) angle = 180.0 - angle;
    return __builtin_copysign(angle, y);
}

float64_t Math::asin(float64_t v) { return atan2(v, sqrt((1.0 - v) * (1.0 + v))); }
float64_t Math::acos(float64_t v) { return atan2(sqrt((1.0 - v) * (1.0 + v)), v); }

} // namespace Kolm
