// Trigonometry in degrees beside the C library's long doubles.

#include "KolmMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace Kolm;

namespace {

constexpr long double pi = 3.14159265358979323846264338327950288L;
constexpr double infinity = std::numeric_limits<double>::infinity();

// Units in the last place of the exact result.
double ulps(double v, long double exact) {
    const double near = double(exact);
    const double ulp = std::nextafter(std::abs(near), infinity) - std::abs(near);
    return double(std::abs((long double)(v)-exact) / ulp);
}

} // namespace

TEST(Math, sine_and_cosine_are_within_two_ulps) {
    std::mt19937_64 random(1);
    double worst = 0.0;
    for(int i = 0; i < 200000; i++) {
        const double angle = std::ldexp(double(int64_t(random())), -int(random() % 40) - 24);
        double s, c;
        Math::sinCos(angle, s, c);
        // The rest to a quarter turn is exact in degrees, so that the oracle sees all of it.
        const long double x = std::remainder(angle, 90.0) * (pi / 180.0L);
        long double sin = std::sin(x), cos = std::cos(x);
        const int quarter = int(std::nearbyint((std::fmod(angle, 360.0) - std::remainder(angle, 90.0)) / 90.0)) & 3;
        if(quarter & 1) std::swap(sin, cos), cos = -cos;
        if(quarter & 2) sin = -sin, cos = -cos;
        worst = std::max({worst, ulps(s, sin), ulps(c, cos)});
        double minus_s, minus_c;
        Math::sinCos(-angle, minus_s, minus_c);
        ASSERT_TRUE(minus_s == -s && minus_c == c) << angle;
    }
    EXPECT_LE(worst, 2.0);
}

TEST(Math, quarter_turns_are_exact) {
    static const double sines[] = {0.0, 1.0, 0.0, -1.0};
    for(int i = -1000; i < 1000; i++) {
        double s, c;
        Math::sinCos(i * 90.0, s, c);
        EXPECT_EQ(s, sines[i & 3]) << i;
        EXPECT_EQ(c, sines[(i + 1) & 3]) << i;
        EXPECT_EQ(Math::tan(i * 90.0), (i & 1) ? infinity : 0.0) << i;
        EXPECT_NEAR(Math::tan(i * 90.0 + 45.0), (i & 1) ? -1.0 : 1.0, 1e-15) << i;
    }
    for(double angle : {infinity, -infinity, std::nan("")}) {
        double s, c;
        Math::sinCos(angle, s, c);
        EXPECT_TRUE(std::isnan(s) && std::isnan(c));
    }
}

TEST(Math, arcs_are_within_three_ulps) {
    std::mt19937_64 random(2);
    std::normal_distribution<double> normal;
    double worst = 0.0;
    for(int i = 0; i < 200000; i++) {
        const double y = std::ldexp(normal(random), int(random() % 20) - 10), x = normal(random);
        worst =
            std::max(worst, ulps(Math::atan2(y, x), std::atan2((long double)(y), (long double)(x)) * (180.0L / pi)));
        const double v = std::fmod(y, 1.0);
        EXPECT_NEAR(Math::asin(v), std::asin(v) * 180.0 / M_PI, 1e-13);
        EXPECT_NEAR(Math::acos(v), std::acos(v) * 180.0 / M_PI, 1e-13);
    }
    EXPECT_LE(worst, 3.0);
    EXPECT_TRUE(std::isnan(Math::asin(1.5)) && std::isnan(Math::acos(-1.5)));
    // Zeros and infinities as the C library has them.
    const double values[] = {0.0, -0.0, 1.0, -1.0, infinity, -infinity, 5e-324};
    for(double y : values) {
        for(double x : values) {
            const double ours = Math::atan2(y, x), theirs = std::atan2(y, x) * 180.0 / M_PI;
            EXPECT_NEAR(ours, theirs, 1e-13) << y << " " << x;
            EXPECT_EQ(std::signbit(ours), std::signbit(theirs)) << y << " " << x;
        }
    }
}
