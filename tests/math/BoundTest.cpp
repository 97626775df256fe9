// Bounds beside the points that they are made of.

#include "KolmRect.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

using namespace Kolm;

namespace {

template<class T> class BoundTest : public testing::Test {
protected:
    using V = Vector3<T>;
    using Box = BoundBox<T>;
    using Sphere = BoundSphere<T>;

    T number(double lo = -1.0, double hi = 1.0) { return T(std::uniform_real_distribution<double>(lo, hi)(random)); }
    V point() { return V(number(), number(), number()); }
    std::vector<V> points(size_t num) {
        const V center = point() * T(5), size = V(number(0, 1), number(0, 3), number(0, 9));
        std::vector<V> ret;
        for(size_t i = 0; i < num; i++) ret.push_back(center + point() * size);
        return ret;
    }
    Matrix4x3<T> matrix() {
        Matrix4x3<T> m;
        for(T &v : m.m) v = number(-2, 2);
        return m;
    }

    std::mt19937 random{11};
    static constexpr T eps = sizeof(T) == 4 ? T(1e-5) : T(1e-13);
};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(BoundTest, Types);

} // namespace

TYPED_TEST(BoundTest, hold_their_points) {
    using V = typename TestFixture::V;
    using Box = typename TestFixture::Box;
    using Sphere = typename TestFixture::Sphere;
    const auto eps = TestFixture::eps * 20;
    for(size_t num = 1; num < 100; num++) {
        const std::vector<V> points = this->points(num);
        const Box box(points.data(), num);
        const Sphere sphere(points.data(), num), around(box);
        const Matrix4x3<TypeParam> m = this->matrix();
        const Box moved = m * box;
        const Sphere rolled = m * sphere;
        Box exact;
        for(const V &p : points) {
            EXPECT_TRUE(box.inside(p));
            EXPECT_EQ(box.getDistance2(p), TypeParam(0));
            EXPECT_LE(distance(p, sphere.center), sphere.radius * (1 + eps));
            EXPECT_LE(distance(p, around.center), around.radius * (1 + eps));
            EXPECT_TRUE(moved.getExpanded(eps).inside(m * p));
            EXPECT_LE(distance(m * p, rolled.center), rolled.radius * (1 + eps) + eps);
            exact.expand(p);
        }
        EXPECT_TRUE(exact == box);
        EXPECT_LE(sphere.radius, around.radius * (1 + eps));
        // No ball around the points is smaller than half the largest distance, and that of the corners is tight.
        TypeParam widest(0);
        for(const V &p : points) {
            for(const V &q : points) widest = std::max(widest, distance(p, q));
        }
        EXPECT_LE(sphere.radius, widest * TypeParam(0.5 * 1.4) + eps);
        // Rotated and scaled evenly a ball stays as tight as it was.
        const Matrix4x3<TypeParam> even =
            Matrix4x3<TypeParam>::rotate(this->point(), 77.0) * Matrix4x3<TypeParam>::scale(3);
        EXPECT_NEAR((even * sphere).radius, sphere.radius * 3, eps * 10);
    }
}

TYPED_TEST(BoundTest, grow_by_each_other) {
    using V = typename TestFixture::V;
    using Box = typename TestFixture::Box;
    using Sphere = typename TestFixture::Sphere;
    for(int round = 0; round < 2000; round++) {
        const V p[4] = {this->point(), this->point(), this->point(), this->point()};
        Box a(p, 2), b(p + 2, 2), both(p, 4), sum = a;
        sum.expand(b);
        EXPECT_TRUE(sum == both);
        EXPECT_TRUE(sum.inside(a) && sum.inside(b) && sum.intersects(a));
        bool apart = false;
        for(uint32_t i = 0; i < 3; i++) apart |= a.max[i] < b.min[i] || b.max[i] < a.min[i];
        EXPECT_EQ(a.intersects(b), !apart);
        const Box common = intersection(a, b);
        EXPECT_EQ(common.isValid(), !apart);
        const V q = this->point();
        EXPECT_EQ(common.inside(q), a.inside(q) && b.inside(q));

        const Sphere s(p[0], this->number(0, 1)), t(p[1], this->number(0, 1));
        Sphere u = s;
        u.expand(t);
        EXPECT_LE(distance(u.center, s.center) + s.radius, u.radius + this->eps);
        EXPECT_LE(distance(u.center, t.center) + t.radius, u.radius + this->eps);
        EXPECT_NEAR(u.radius, std::max({s.radius, t.radius, (distance(s.center, t.center) + s.radius + t.radius) / 2}),
                    this->eps);
        EXPECT_EQ(s.intersects(t), length2(s.center - t.center) <= (s.radius + t.radius) * (s.radius + t.radius));
        EXPECT_EQ(s.intersects(a), distance(a.getNearest(s.center), s.center) <= s.radius);
    }
}

// Entry and exit against the boundary in small steps.
TYPED_TEST(BoundTest, rays) {
    using T = TypeParam;
    using V = typename TestFixture::V;
    for(int round = 0; round < 500; round++) {
        const V p[2] = {this->point(), this->point()};
        const typename TestFixture::Box box(p, 2);
        const V origin = this->point() * T(2);
        V direction = this->point();
        if(round % 3 == 0) direction[uint32_t(round / 3 % 3)] = T(0);
        T enter, leave;
        const bool hit = intersectRay(box, origin, direction, enter, leave);
        bool found = false;
        for(int i = 0; i <= 1000; i++) {
            const T t = T(i) * T(0.01);
            const bool inside = box.inside(origin + direction * t);
            found |= inside;
            if(inside) {
                EXPECT_TRUE(hit && t >= enter - T(1e-4) && t <= leave + T(1e-4)) << round;
            }
        }
        if(hit && leave - enter > T(0.02) && enter < T(9)) {
            EXPECT_TRUE(found) << round;
        }
    }
    T enter, leave;
    const typename TestFixture::Box box(V(T(0)), V(T(1)));
    EXPECT_TRUE(intersectRay(box, V(T(-1), T(1), T(0)), V(T(2), T(0), T(0)), enter, leave)); // along an edge
    EXPECT_TRUE(enter == T(0.5) && leave == T(1));
    EXPECT_FALSE(intersectRay(box, V(T(2), T(0.5), T(0.5)), V(T(1), T(0), T(0)), enter, leave)); // behind
}

TYPED_TEST(BoundTest, empty_ones_hold_nothing) {
    using V = typename TestFixture::V;
    using Box = typename TestFixture::Box;
    using Sphere = typename TestFixture::Sphere;
    const auto nan = std::numeric_limits<TypeParam>::quiet_NaN();
    const Box full(V(TypeParam(-1)), V(TypeParam(1)));
    for(const Box &box : {Box(), Box(V(TypeParam(1)), V(TypeParam(-1))), Box(V(nan), V(nan)), this->matrix() * Box()}) {
        EXPECT_FALSE(box.isValid());
        EXPECT_FALSE(box.inside(V()) || full.inside(box) || full.intersects(box) || box.intersects(full));
        EXPECT_FALSE(intersection(full, box).isValid() || Sphere(box).isValid());
        Box sum = full;
        sum.expand(box);
        EXPECT_TRUE(sum == full);
    }
    for(const Sphere &sphere : {Sphere(), Sphere(V(), nan), this->matrix() * Sphere(), Sphere(nullptr, 0)}) {
        EXPECT_FALSE(sphere.isValid() || sphere.inside(V()) || sphere.intersects(full));
        Sphere sum(V(), TypeParam(1));
        sum.expand(sphere);
        EXPECT_TRUE(sum == Sphere(V(), TypeParam(1)));
    }
    Box box;
    box.expand(V(nan, TypeParam(1), TypeParam(2)));
    EXPECT_TRUE(!box.isValid() && box.min.y == TypeParam(1));
}

TEST(Rect, sides) {
    const Rect r(1, 5, 2, 4), s(4, 9, 3, 8);
    EXPECT_TRUE(r.getSize() == Vector2f(4, 2) && r.getCenter() == Vector2f(3, 3) && r.isValid());
    EXPECT_TRUE(r.getBound() == BoundRect(Vector2f(1, 2), Vector2f(5, 4)) && Rect(r.getBound()) == r);
    EXPECT_TRUE(intersection(r, s) == Rect(4, 5, 3, 4) && r.intersects(s));
    EXPECT_FALSE(intersection(r, s + Vector2f(2, 0)).isValid() || r.intersects(s + Vector2f(1, 0)));
    EXPECT_TRUE(r.inside(1, 2) && r.inside(Vector2f(5, 4)) && !r.inside(5.1f, 3) && !r.inside(3, 1.9f));
    EXPECT_TRUE(r.inside(intersection(r, s)) && !r.inside(s));
    EXPECT_TRUE(r.getExpanded(Rect(1, 2, 3, 4)) == Rect(0, 7, -1, 8) &&
                r.getExpanded(Rect(1, 2, 3, 4)).getShrunk(Rect(1, 2, 3, 4)) == r);
    Rect sum = r;
    sum.expand(s);
    EXPECT_TRUE(sum == Rect(1, 9, 2, 8) && (r * 2.0f).right == 10.0f && !Rect().isValid());
    EXPECT_FALSE(Rect(std::numeric_limits<float>::quiet_NaN()).isValid());
}
