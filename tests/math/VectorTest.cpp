// Vectors of all types and sizes beside plain loops over their components.

#include "KolmVector.h"

#include "ChildProcess.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace Kolm;

namespace {

template<class V> V make(std::mt19937 &random) {
    V v;
    for(uint32_t i = 0; i < sizeof(v.v) / sizeof(v.v[0]); i++) {
        int value = int(random() % 19) - 9;
        if(value <= 0 && !std::is_signed_v<typename V::Value>) value += 20;
        v.v[i] = typename V::Value((value == 0) ? 7 : value);
    }
    return v;
}

template<class V> class VectorTest : public testing::Test {};
using Types = testing::Types<Vector2f, Vector3f, Vector4f, Vector2d, Vector3d, Vector4d, Vector2i, Vector3i, Vector4i,
                             Vector2u, Vector3u, Vector4u, Vector3<uint8_t>>;
TYPED_TEST_SUITE(VectorTest, Types);

} // namespace

TYPED_TEST(VectorTest, operators_go_by_component) {
    using V = TypeParam;
    using T = typename V::Value;
    constexpr uint32_t size = sizeof(V) / sizeof(T);
    std::mt19937 random(3);
    const T k = make<V>(random).x;
    for(int round = 0; round < 100; round++) {
        const V a = make<V>(random), b = make<V>(random);
        T product = T(0), smallest = a[0], largest = a[0];
        for(uint32_t i = 0; i < size; i++) {
            const T x = a[i], y = b[i];
            EXPECT_EQ((a + b)[i], T(x + y));
            EXPECT_EQ((a - b)[i], T(x - y));
            EXPECT_EQ((a * b)[i], T(x * y));
            EXPECT_EQ((a / b)[i], T(x / y));
            EXPECT_EQ((a + k)[i], T(x + k));
            EXPECT_EQ((k - a)[i], T(k - x));
            EXPECT_EQ((a * k)[i], T(x * k));
            EXPECT_EQ((k / a)[i], T(k / x));
            EXPECT_EQ((-a)[i], T(-x));
            EXPECT_EQ(min(a, b)[i], std::min(x, y));
            EXPECT_EQ(max(a, b)[i], std::max(x, y));
            if constexpr(std::is_integral_v<T>) {
                EXPECT_EQ((a % b)[i], T(x % y));
                EXPECT_EQ((a & b)[i], T(x & y));
                EXPECT_EQ((a | b)[i], T(x | y));
                EXPECT_EQ((a ^ b)[i], T(x ^ y));
                EXPECT_EQ((a >> T(1))[i], T(x >> 1));
            }
            product = T(product + T(x * y));
            smallest = std::min(smallest, x);
            largest = std::max(largest, x);
            V other = a;
            EXPECT_TRUE(other == a);
            other[i] = T(other[i] + 1);
            EXPECT_TRUE(other != a);
        }
        EXPECT_EQ(dot(a, b), product);
        EXPECT_EQ(minComponent(a), smallest);
        EXPECT_EQ(maxComponent(a), largest);
        V c = a;
        c += b;
        c *= k;
        EXPECT_TRUE(c == (a + b) * k);
        T values[size];
        a.get(values);
        c.set(values);
        EXPECT_TRUE(c == a);
    }
    EXPECT_ASSERTION(V()[size] = k, "index < Size && \"Vector::operator[](): invalid index\"");
}

TEST(Vector, geometry) {
    std::mt19937 random(4);
    std::normal_distribution<double> normal;
    const auto make = [&] { return Vector3d(normal(random), normal(random), normal(random)); };
    for(int i = 0; i < 1000; i++) {
        const Vector3d a = make(), b = make();
        const Vector3d c = cross(a, b);
        EXPECT_NEAR(dot(c, a), 0.0, 1e-13);
        EXPECT_NEAR(dot(c, b), 0.0, 1e-13);
        EXPECT_NEAR(length2(c), length2(a) * length2(b) - dot(a, b) * dot(a, b), 1e-10); // Lagrange
        const Vector3d n = normalize(b);
        EXPECT_NEAR(length(n), 1.0, 1e-15);
        const Vector3d r = reflect(a, n);
        EXPECT_NEAR(length(r), length(a), 1e-13);
        EXPECT_NEAR(dot(r, n), -dot(a, n), 1e-13);
        EXPECT_NEAR(cross(Vector2d(a), Vector2d(b)), c.z, 1e-14);
        EXPECT_NEAR(distance(a, b) * distance(a, b), length2(a - b), 1e-12);
    }
    EXPECT_GT(cross(Vector3d(1, 0, 0), Vector3d(0, 1, 0)).z, 0.0);
}

TEST(Vector, normalize_at_the_ends_of_the_range) {
    for(float scale : {1e-45f, 1e-38f, 1e-25f, 1e-10f, 1.0f, 1e10f, 1e25f, 1e38f}) {
        const Vector3f v = normalize(Vector3f(scale, -scale, 0.0f));
        EXPECT_NEAR(v.x, std::sqrt(0.5), 1e-6) << scale;
        EXPECT_NEAR(v.y, -std::sqrt(0.5), 1e-6) << scale;
        EXPECT_EQ(v.z, 0.0f);
    }
    for(double scale : {5e-324, 1e-200, 1e200, 1e308}) EXPECT_NEAR(normalize(Vector2d(0.0, scale)).y, 1.0, 1e-15);
    EXPECT_TRUE(normalize(Vector3f()) == Vector3f::zero);
}

TEST(Vector, values_that_compare_with_nothing) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_FALSE(Vector2f(nan, 1.0f) == Vector2f(nan, 1.0f));
    EXPECT_TRUE(Vector2f(0.0f, 1.0f) == Vector2f(-0.0f, 1.0f));
    EXPECT_TRUE(isEqual(Vector2f(inf, 1.0f), Vector2f(inf, 1.5f), 0.5f));
    EXPECT_FALSE(isEqual(Vector3f(0.0f, 1.0f, nan), Vector3f(0.0f, 1.0f, 0.0f), 9.0f));
    EXPECT_TRUE(saturate(Vector4f(nan, -1.0f, 0.25f, inf)) == Vector4f(0.0f, 0.0f, 0.25f, 1.0f));
    EXPECT_TRUE(abs(Vector2f(-0.0f, -3.0f)) == Vector2f(0.0f, 3.0f));
    EXPECT_FALSE(std::signbit(abs(Vector2f(-0.0f, -3.0f)).x));
    EXPECT_TRUE(floor(Vector2f(-0.5f, 1.5f)) == Vector2f(-1.0f, 1.0f) && ceil(Vector2d(-0.5, 1.5)) == Vector2d(0, 2));
    EXPECT_TRUE(Vector3i(Vector3d(1.9, -1.9, 5)) == Vector3i(1, -1, 5));
    EXPECT_TRUE(lerp(Vector2f(1, 2), Vector2f(3, 6), 0.5f) == Vector2f(2, 4));
}

// Work in constant expressions, and the views of a vector's first components.
TEST(Vector, parts) {
    constexpr Vector4f v(Vector3f(Vector2f(1, 2), 3), 4);
    static_assert(v == Vector4f(1, 2, 3, 4) && dot(v, v) == 30.0f && Vector2f(v) == Vector2f(1, 2));
    static_assert(clamp(Vector3i(-5, 0, 5), Vector3i(-1), Vector3i(1)) == Vector3i(-1, 0, 1));
    EXPECT_TRUE((2 * Vector2u::one).y == 2);
    Vector4d w(1, 2, 3, 4);
    w.xyz *= 2;
    w.xyz.xy += Vector2d(1);
    EXPECT_TRUE(w == Vector4d(3, 5, 6, 4));
}
