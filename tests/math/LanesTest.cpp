// Each lane of every operation beside the plain formula, bit for bit. Built a second time for AVX2.

#include "KolmLanes.h"

#include "ChildProcess.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

using namespace Kolm;

namespace {

// Four of each kind of value: random bits, small numbers, the ends of the ranges.
class LanesTest : public testing::Test {
protected:
    void SetUp() override {
#if defined(__AVX2__)
        if(!__builtin_cpu_supports("avx2")) GTEST_SKIP() << "built for AVX2";
#endif
    }

    uint32_t make() {
        static const float floats[] = {0.0f,
                                       1.0f,
                                       0.5f,
                                       0.99999994f,
                                       1.5f,
                                       2.5f,
                                       8388607.5f,
                                       8388608.0f,
                                       16777216.0f,
                                       2147483520.0f,
                                       2147483648.0f,
                                       4294967040.0f,
                                       4294967296.0f,
                                       65504.0f,
                                       65519.996f,
                                       65520.0f,
                                       65535.996f,
                                       65536.0f,
                                       6.1035156e-5f,
                                       6.0975552e-5f,
                                       5.9604645e-8f,
                                       5.9604641e-8f,
                                       2.9802322e-8f,
                                       1e-38f,
                                       1e-45f,
                                       3.4028235e38f,
                                       3.1691265e29f,
                                       std::numeric_limits<float>::infinity(),
                                       std::numeric_limits<float>::quiet_NaN()};
        switch(random() % 4) {
        case 0: return uint32_t(random());
        case 1: return floatToBits(floats[random() % std::size(floats)]) | (uint32_t(random()) & 0x80000000);
        case 2: return floatToBits(std::ldexp(float(int32_t(random())), -int(random() % 64)));
        default: return uint32_t(random() % 17) - 8;
        }
    }

    uint32x4_t make4() {
        uint32x4_t ret(0u);
        for(uint32_t i = 0; i < 4; i++) ret.set(i, make());
        return ret;
    }

    std::mt19937 random{5};
};

constexpr int rounds = 100000;

// NaNs of arithmetic differ in sign and payload from one processor to the next; all others have one form.
template<class Type> bool same(Type a, Type b) {
    if(a != a && b != b) return true;
    return memcmp(&a, &b, sizeof(Type)) == 0;
}

#define EXPECT_LANES(LANES, TYPE, PLAIN)                                                                     \
    do {                                                                                                     \
        const auto lanes = LANES;                                                                            \
        for(uint32_t i = 0; i < 4; i++) {                                                                    \
            const auto x = a.get(i), y = b.get(i);                                                           \
            ASSERT_TRUE(same<TYPE>(lanes.get(i), PLAIN))                                                     \
                << #LANES << " of " << x << " and " << y << ": " << lanes.get(i) << ", not " << TYPE(PLAIN); \
            (void)x, (void)y;                                                                                \
        }                                                                                                    \
    } while(0)

int32_t mask(bool v) { return v ? -1 : 0; }

// Cut toward zero within a range, 0 for a NaN.
template<class Int> Int cut(float v) {
    if(v != v) return 0;
    const double limited =
        std::min(std::max(double(v), double(std::numeric_limits<Int>::min())), double(std::numeric_limits<Int>::max()));
    return Int(limited);
}

} // namespace

TEST_F(LanesTest, integers) {
    for(int round = 0; round < rounds; round++) {
        const uint32_t shift = random() % 32;
        {
            const int32x4_t a(make4());
            const int32x4_t b = (round & 1) ? a.shuffle<2, 1, 3, 0>() : int32x4_t(int32_t(make()));
            EXPECT_LANES(a + b, int32_t, int32_t(uint32_t(x) + uint32_t(y)));
            EXPECT_LANES(a - b, int32_t, int32_t(uint32_t(x) - uint32_t(y)));
            EXPECT_LANES(a * b, int32_t, int32_t(uint32_t(x) * uint32_t(y)));
            EXPECT_LANES(-a, int32_t, int32_t(-uint32_t(x)));
            EXPECT_LANES(a & b, int32_t, x & y);
            EXPECT_LANES(a | b, int32_t, x | y);
            EXPECT_LANES(a ^ b, int32_t, x ^ y);
            EXPECT_LANES(~a, int32_t, ~x);
            EXPECT_LANES(a << shift, int32_t, int32_t(uint32_t(x) << shift));
            EXPECT_LANES(a >> shift, int32_t, x >> shift);
            EXPECT_LANES(a == b, int32_t, mask(x == y));
            EXPECT_LANES(a != b, int32_t, mask(x != y));
            EXPECT_LANES(a < b, int32_t, mask(x < y));
            EXPECT_LANES(a > b, int32_t, mask(x > y));
            EXPECT_LANES(a <= b, int32_t, mask(x <= y));
            EXPECT_LANES(a >= b, int32_t, mask(x >= y));
            EXPECT_LANES(min(a, b), int32_t, std::min(x, y));
            EXPECT_LANES(max(a, b), int32_t, std::max(x, y));
            EXPECT_LANES(abs(a), int32_t, int32_t((x < 0) ? -uint32_t(x) : uint32_t(x)));
            EXPECT_LANES(select(a < b, a, b), int32_t, (x < y) ? x : y);
            EXPECT_LANES(float32x4_t(a), float, float(x));
            bool none = true, every = true;
            for(uint32_t i = 0; i < 4; i++) none &= !(a.get(i) < b.get(i)), every &= (a.get(i) < b.get(i));
            ASSERT_EQ(any(a < b), !none);
            ASSERT_EQ(all(a < b), every);
        }
        {
            const uint32x4_t a = make4();
            const uint32x4_t b = (round & 1) ? a.shuffle<1, 1, 0, 2>() : uint32x4_t(make());
            EXPECT_LANES(a + b, uint32_t, x + y);
            EXPECT_LANES(a - b, uint32_t, x - y);
            EXPECT_LANES(a * b, uint32_t, x * y);
            EXPECT_LANES((a & b) | (a ^ b), uint32_t, x | y);
            EXPECT_LANES(~a, uint32_t, ~x);
            EXPECT_LANES(a << shift, uint32_t, x << shift);
            EXPECT_LANES(a >> shift, uint32_t, x >> shift);
            EXPECT_LANES(a == b, int32_t, mask(x == y));
            EXPECT_LANES(a < b, int32_t, mask(x < y));
            EXPECT_LANES(a >= b, int32_t, mask(x >= y));
            EXPECT_LANES(min(a, b), uint32_t, std::min(x, y));
            EXPECT_LANES(max(a, b), uint32_t, std::max(x, y));
            EXPECT_LANES(float32x4_t(a), float, float(x));
            EXPECT_LANES(int32x4_t(a), int32_t, int32_t(x));
        }
    }
}

TEST_F(LanesTest, floats) {
    for(int round = 0; round < rounds; round++) {
        const float32x4_t a = float32x4_t::fromBits(int32x4_t(make4()));
        const float32x4_t b = (round & 1) ? a.shuffle<3, 2, 1, 0>() : float32x4_t(bitsToFloat(make()));
        const float k = b.x();
        EXPECT_LANES(a + b, float, x + y);
        EXPECT_LANES(a - b, float, x - y);
        EXPECT_LANES(a * b, float, x *y);
        EXPECT_LANES(a / b, float, x / y);
        EXPECT_LANES(a * k, float, x *k);
        EXPECT_LANES(-a, float, -x);
        EXPECT_LANES(a == b, int32_t, mask(x == y));
        EXPECT_LANES(a != b, int32_t, mask(x != y));
        EXPECT_LANES(a < b, int32_t, mask(x < y));
        EXPECT_LANES(a > b, int32_t, mask(x > y));
        EXPECT_LANES(a <= b, int32_t, mask(x <= y));
        EXPECT_LANES(a >= b, int32_t, mask(x >= y));
        EXPECT_LANES(min(a, b), float, (y < x) ? y : x);
        EXPECT_LANES(max(a, b), float, (x < y) ? y : x);
        EXPECT_LANES(abs(a), float, std::fabs(x));
        EXPECT_LANES(sqrt(a), float, std::sqrt(x));
        EXPECT_LANES(trunc(a), float, std::trunc(x));
        EXPECT_LANES(floor(a), float, std::floor(x));
        EXPECT_LANES(ceil(a), float, std::ceil(x));
        EXPECT_LANES(select(a < b, a, b).asInt(), int32_t, int32_t(floatToBits((x < y) ? x : y)));
        EXPECT_LANES(int32x4_t(a), int32_t, cut<int32_t>(x));
        EXPECT_LANES(uint32x4_t(a), uint32_t, cut<uint32_t>(x));
        ASSERT_TRUE(same(dot(a, b), dot(a.getVector(), b.getVector())));
        // Halves, NaNs by their bits.
        const float16x4_t half(a);
        const float16x8_t halves(a, b);
        for(uint32_t i = 0; i < 4; i++) {
            ASSERT_EQ(half.get(i).bits, float16_t(a.get(i)).bits) << a.get(i);
            ASSERT_EQ(halves.get(i).bits, float16_t(a.get(i)).bits);
            ASSERT_EQ(halves.get(i + 4).bits, float16_t(b.get(i)).bits);
        }
        ASSERT_TRUE(halves.lo() == half && (halves.hi() == half) == (float16x4_t(b) == half));
    }
}

TEST_F(LanesTest, every_half) {
    for(uint32_t i = 0; i < 65536; i += 4) {
        const float16_t bits[4] = {float16_t::fromBits(uint16_t(i)), float16_t::fromBits(uint16_t(i + 1)),
                                   float16_t::fromBits(uint16_t(i + 2)), float16_t::fromBits(uint16_t(i + 3))};
        const float32x4_t v(float16x4_t::load(bits));
        for(uint32_t k = 0; k < 4; k++) ASSERT_EQ(uint32_t(v.asInt().get(k)), floatToBits(bits[k].get())) << i + k;
    }
}

TEST_F(LanesTest, moves) {
    const float values[] = {9, 0, 1, 2, 3, 4, 5, 6, 7, 8, 10, 11, 12, 13, 14, 15, 16};
    float32x4_t a = float32x4_t::load(values + 1), b = float32x4_t::load(values + 5); // unaligned
    float32x4_t c = float32x4_t::load(values + 9), d = float32x4_t::load(values + 13);
    transpose(a, b, c, d);
    const float32x4_t rows[] = {a, b, c, d};
    for(uint32_t i = 0; i < 4; i++) {
        for(uint32_t k = 0; k < 4; k++) EXPECT_EQ(rows[i].get(k), values[1 + k * 4 + i]);
    }
    float stored[5] = {};
    a.set(2, 42.0f);
    a.store(stored + 1);
    EXPECT_EQ(stored[3], 42.0f);
    EXPECT_EQ(stored[0], 0.0f);
    float16x8_t h(float16_t::one);
    h.set(5, float16_t::two);
    EXPECT_EQ(h.hi().y().bits, float16_t::two.bits);
    EXPECT_EQ(h.lo().w().bits, float16_t::one.bits);
    EXPECT_ASSERTION(a.get(4), "index < 4 && \"Lanes::get(): invalid index\"");
}
