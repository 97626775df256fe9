// Matrices beside an independent library of column vectors, and by what must hold between them.

#include "KolmMatrix3x2.h"
#include "KolmMatrix4x4.h"

#include "ChildProcess.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#if defined(OSTREVAN_GLM)
#define GLM_ENABLE_EXPERIMENTAL
#include <glm/glm.hpp>
#include <glm/gtc/matrix_inverse.hpp>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/quaternion.hpp>
#include <glm/gtx/matrix_decompose.hpp>
#endif

using namespace Kolm;

namespace {

std::mt19937 random_bits(7);

double number(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(random_bits); }
template<class T> Vector3<T> make_vector(double size = 10.0) {
    return Vector3<T>(T(number(-size, size)), T(number(-size, size)), T(number(-size, size)));
}
template<class T> Quaternion<T> make_rotation() {
    std::normal_distribution<double> normal;
    return normalize(
        Quaternion<T>(T(normal(random_bits)), T(normal(random_bits)), T(normal(random_bits)), T(normal(random_bits))));
}
template<class T> Vector3<T> make_scale() {
    return Vector3<T>(T(number(0.1, 5)), T(number(0.1, 5)), T(number(0.1, 5)));
}
template<class T> Matrix4x3<T> make_affine() {
    Matrix4x3<T> m;
    for(T &v : m.m) v = T(number(-2, 2));
    return m;
}
template<class T> Matrix4x4<T> make_matrix() {
    Matrix4x4<T> m;
    for(T &v : m.m) v = T(number(-2, 2));
    return m;
}

// Units in which float and double results may be off.
template<class T> constexpr double eps = sizeof(T) == 4 ? 1e-5 : 1e-13;

template<class T> class MatrixTest : public testing::Test {};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(MatrixTest, Types);

} // namespace

TYPED_TEST(MatrixTest, product_by_definition) {
    using T = TypeParam;
    for(int round = 0; round < 200; round++) {
        const Matrix4x4<T> a = make_matrix<T>(), b = make_matrix<T>();
        const Matrix4x3<T> c = make_affine<T>(), d = make_affine<T>();
        const Matrix4x4<T> ab = a * b, wide_c(c), wide_d(d);
        const Matrix4x3<T> cd = c * d;
        const Vector4<T> v(T(number(-1, 1)), T(number(-1, 1)), T(number(-1, 1)), T(number(-1, 1)));
        for(uint32_t row = 0; row < 4; row++) {
            long double value = 0;
            for(uint32_t k = 0; k < 4; k++) value += (long double)(a.get(row, k)) * v[k];
            EXPECT_NEAR((a * v)[row], value, eps<T>);
            EXPECT_EQ(dot(a.getRow(row), Vector4<T>(T(0), T(0), T(1), T(0))), a.getColumn(2)[row]);
            for(uint32_t column = 0; column < 4; column++) {
                long double sum = 0;
                for(uint32_t k = 0; k < 4; k++) sum += (long double)(a.get(row, k)) * b.get(k, column);
                EXPECT_NEAR(ab.get(row, column), sum, eps<T>);
                EXPECT_EQ(transpose(a).get(column, row), a.get(row, column));
                if(row < 3) {
                    EXPECT_NEAR(cd.get(row, column), (wide_c * wide_d).get(row, column), eps<T>);
                }
            }
        }
        EXPECT_TRUE(a * d == a * wide_d && c * b == wide_c * b && Matrix4x3<T>(wide_c) == c);
        const Vector3<T> p = make_vector<T>();
        EXPECT_TRUE(isEqual(cd * p, c * (d * p), T(eps<T> * 100)));
        EXPECT_TRUE(isEqual(transformDirection(c, p), c * p - c.getTranslate(), T(eps<T> * 100)));
        EXPECT_TRUE(isEqual((c * Vector4<T>(p, T(1))).xyz, c * p, T(eps<T> * 10)));
    }
}

TYPED_TEST(MatrixTest, inverse_and_determinant) {
    using T = TypeParam;
    for(int round = 0; round < 1000; round++) {
        const Matrix4x4<T> a = make_matrix<T>();
        const Matrix4x3<T> c = make_affine<T>();
        // The error grows with the condition of the matrix.
        if(std::abs(determinant(a)) > T(0.1)) {
            EXPECT_TRUE(isEqual(a * inverse(a), Matrix4x4<T>::identity, T(eps<T> * 100))) << round;
            EXPECT_NEAR(determinant(a) * determinant(inverse(a)), 1.0, eps<T> * 100);
        }
        if(std::abs(determinant(c)) > T(0.1)) {
            EXPECT_TRUE(isEqual(inverse(c) * c, Matrix4x3<T>::identity, T(eps<T> * 100))) << round;
            const Vector3<T> tangent = make_vector<T>(), normal = cross(tangent, make_vector<T>());
            EXPECT_NEAR(dot(normalize(transformDirection(c, tangent)), transformNormal(c, normal)), 0.0, eps<T> * 10);
        }
        const Matrix3x2<T> m(a.m00, a.m01, a.m02, a.m10, a.m11, a.m12);
        if(std::abs(determinant(m)) > T(0.1)) {
            EXPECT_TRUE(isEqual(inverse(m) * m, Matrix3x2<T>::identity, T(eps<T> * 10)));
        }
    }
    // Floats as small as this still have an inverse; what has none gives zero.
    const T tiny = (sizeof(T) == 4) ? T(1e-30) : T(1e-80);
    EXPECT_TRUE(
        isEqual(inverse(Matrix4x3<T>::scale(tiny)) * Matrix4x3<T>::scale(tiny), Matrix4x3<T>::identity, T(1e-6)));
    EXPECT_TRUE(inverse(Matrix4x3<T>::scale(Vector3<T>(T(1), T(0), T(1)))) == Matrix4x3<T>::zero);
    EXPECT_TRUE(inverse(Matrix4x4<T>::zero) == Matrix4x4<T>::zero);
    EXPECT_TRUE(inverse(Matrix3x2<T>::zero) == Matrix3x2<T>::zero);
    // A flattened thing still has the normal of its plane.
    EXPECT_TRUE(transformNormal(Matrix4x3<T>::scale(Vector3<T>(T(2), T(0), T(3))), Vector3<T>(T(1), T(5), T(0))) ==
                Vector3<T>(T(0), T(1), T(0)));
}

TYPED_TEST(MatrixTest, decompose_finds_what_was_composed) {
    using T = TypeParam;
    for(int round = 0; round < 2000; round++) {
        const Vector3<T> translate = make_vector<T>();
        const Quaternion<T> rotate = make_rotation<T>();
        Vector3<T> scale = make_scale<T>();
        if(round & 1) scale.x = -scale.x;
        const Matrix4x3<T> m(translate, rotate, scale);
        EXPECT_TRUE(isEqual(m, Matrix4x3<T>::translate(translate) * Matrix4x3<T>(rotate) * Matrix4x3<T>::scale(scale),
                            T(eps<T> * 10)));
        Vector3<T> t, s;
        Quaternion<T> r;
        ASSERT_TRUE(decompose(m, t, r, s));
        EXPECT_TRUE(t == translate && isEqual(s, scale, T(eps<T> * 10))) << round;
        EXPECT_NEAR(std::abs(dot(r, rotate)), 1.0, eps<T>) << round;
        EXPECT_TRUE(isEqual(Matrix4x3<T>(t, r, s), m, T(eps<T> * 10))) << round;
    }
    // An axis without length is found from the others.
    for(uint32_t zeros = 1; zeros < 8; zeros++) {
        for(int round = 0; round < 20; round++) {
            const Quaternion<T> rotate = round ? make_rotation<T>() : Quaternion<T>();
            Vector3<T> scale = make_scale<T>(), t, s;
            for(uint32_t i = 0; i < 3; i++) {
                if(zeros & (1 << i)) scale[i] = T(0);
            }
            const Matrix4x3<T> m(Vector3<T>::one, rotate, scale);
            Quaternion<T> r;
            EXPECT_FALSE(decompose(m, t, r, s));
            EXPECT_NEAR(length(r), 1.0, eps<T>);
            EXPECT_TRUE(isEqual(Matrix4x3<T>(t, r, s), m, T(eps<T> * 10))) << zeros << " " << round;
        }
    }
    // Shear is lost, but what remains is a rotation that keeps the x axis.
    for(int round = 0; round < 200; round++) {
        const Matrix4x3<T> m = make_affine<T>();
        Vector3<T> t, s;
        Quaternion<T> r;
        ASSERT_TRUE(decompose(m, t, r, s));
        EXPECT_NEAR(length(r), 1.0, eps<T>);
        EXPECT_TRUE(isEqual(r * Vector3<T>(s.x, T(0), T(0)), m.getColumn(0), T(eps<T> * 10)));
        EXPECT_NEAR(dot(r * Vector3<T>(T(0), T(0), T(1)), m.getColumn(1)), 0.0, eps<T> * 10);
    }
    Vector3<T> t, s;
    Quaternion<T> r;
    EXPECT_FALSE(decompose(Matrix4x3<T>::scale(std::numeric_limits<T>::infinity()), t, r, s));
    EXPECT_FALSE(decompose(Matrix4x3<T>::scale(std::numeric_limits<T>::quiet_NaN()), t, r, s));
}

TYPED_TEST(MatrixTest, quaternions) {
    using T = TypeParam;
    for(int round = 0; round < 2000; round++) {
        const Quaternion<T> q = make_rotation<T>(), p = make_rotation<T>();
        const Vector3<T> v = make_vector<T>();
        EXPECT_TRUE(isEqual(q * v, Matrix4x3<T>(q) * v, T(eps<T> * 10)));
        EXPECT_TRUE(isEqual(Matrix4x3<T>(q * p), Matrix4x3<T>(q) * Matrix4x3<T>(p), T(eps<T>)));
        EXPECT_TRUE(isEqual(Matrix4x3<T>(q * T(3)), Matrix4x3<T>(q), T(eps<T>)));
        EXPECT_NEAR(std::abs(dot(Quaternion<T>(Matrix4x3<T>(q)), q)), 1.0, eps<T>);
        EXPECT_TRUE(isEqual(inverse(q * T(3)) * (q * T(3)), Quaternion<T>::identity, T(eps<T>)));

        Vector3<T> axis;
        T angle;
        q.getAxisAngle(axis, angle);
        EXPECT_TRUE(angle >= T(0) && angle <= T(180));
        EXPECT_NEAR(std::abs(dot(Quaternion<T>(axis, angle), q)), 1.0, eps<T>);
        EXPECT_TRUE(isEqual(Matrix4x3<T>::rotate(axis * T(7), angle), Matrix4x3<T>(q), T(eps<T>)));

        const Vector3<T> angles = q.getXYZ();
        EXPECT_TRUE(std::abs(angles.y) <= T(90.001));
        EXPECT_TRUE(
            isEqual(Matrix4x3<T>::rotateZ(angles.z) * Matrix4x3<T>::rotateY(angles.y) * Matrix4x3<T>::rotateX(angles.x),
                    Matrix4x3<T>(q), T(eps<T>)));
        for(T y : {T(90), T(-90)}) {
            const Quaternion<T> end = Quaternion<T>::rotateXYZ(angles.x, y, angles.z);
            const Vector3<T> found = end.getXYZ();
            EXPECT_NEAR(std::abs(dot(Quaternion<T>::rotateXYZ(found.x, found.y, found.z), end)), 1.0, eps<T>);
        }

        const Vector3<T> from = make_vector<T>();
        for(const Vector3<T> &to : {make_vector<T>(), from, -from, -from + v * T(1e-4), from + v * T(1e-4)}) {
            const Quaternion<T> turn(from, to);
            EXPECT_NEAR(length(turn), 1.0, eps<T>);
            EXPECT_TRUE(isEqual(turn * normalize(from), normalize(to), T(eps<T>))) << round;
        }

        // Equal steps of slerp() are equal rotations; the ends are the ends.
        const T k = T(number(0, 1));
        const Quaternion<T> mid = slerp(q, p, k);
        const auto angle_between = [](const Quaternion<T> &a, const Quaternion<T> &b) {
            Vector3<T> u;
            T ret;
            (conjugate(a) * b).getAxisAngle(u, ret);
            return double(ret);
        };
        const double whole = angle_between(q, p);
        EXPECT_NEAR(angle_between(q, mid), whole * k, 100 * eps<T>) << round;
        EXPECT_NEAR(angle_between(mid, p), whole * (1 - k), 100 * eps<T>) << round;
        EXPECT_TRUE(isEqual(slerp(q, p, T(0)), q, T(eps<T>)));
        EXPECT_NEAR(std::abs(dot(slerp(q, p, T(1)), p)), 1.0, eps<T>);
        EXPECT_TRUE(isEqual(slerp(q, q, k), q, T(eps<T>)) && isEqual(slerp(q, -q, k), q, T(eps<T>)));
        EXPECT_GT(dot(lerp(q, p, T(0.5)), slerp(q, p, T(0.5))), T(0.999));
    }
    EXPECT_TRUE(normalize(Quaternion<T>(0, 0, 0, 0)) == Quaternion<T>::identity);
    EXPECT_TRUE(Matrix4x3<T>(Quaternion<T>(0, 0, 0, 0)) == Matrix4x3<T>::identity);
    EXPECT_TRUE(Matrix4x3<T>::rotateZ(90.0) * Vector3<T>(T(1), T(2), T(3)) == Vector3<T>(T(-2), T(1), T(3)));
}

TYPED_TEST(MatrixTest, plane) {
    using T = TypeParam;
    const Matrix3x2<T> m = Matrix3x2<T>::translate(Vector2<T>(T(5), T(7))) * Matrix3x2<T>::rotate(90.0) *
                           Matrix3x2<T>::scale(Vector2<T>(T(2), T(3)));
    EXPECT_TRUE(m * Vector2<T>(T(1), T(1)) == Vector2<T>(T(2), T(9)));
    EXPECT_TRUE(transformDirection(m, Vector2<T>(T(1), T(1))) == Vector2<T>(T(-3), T(2)));
    EXPECT_TRUE(m.get(1, 2) == T(7) && m.getTranslate() == Vector2<T>(T(5), T(7)) && determinant(m) == T(6));
}

TYPED_TEST(MatrixTest, views_and_projections) {
    using T = TypeParam;
    using V = Vector3<T>;
    for(int round = 0; round < 500; round++) {
        const V from = make_vector<T>(), to = make_vector<T>();
        for(const V &up : {make_vector<T>(), to - from, V(T(0))}) { // the last two have to be replaced
            const Matrix4x3<T> view = Matrix4x3<T>::lookAt(from, to, up);
            EXPECT_TRUE(isEqual(view * to, V(T(0), T(0), -distance(from, to)), T(eps<T> * 100)));
            EXPECT_TRUE(isEqual(view * Matrix4x3<T>::placeTo(from, to, up), Matrix4x3<T>::identity, T(eps<T> * 10)));
            EXPECT_NEAR(determinant(view), 1.0, eps<T>);
        }
        const T left = T(number(-3, -1)), right = T(number(1, 3)), bottom = T(number(-3, -1)), top = T(number(1, 3));
        const T znear = T(number(0.1, 1)), zfar = T(number(10, 100)), far_scale = zfar / znear;
        struct {
            Matrix4x4<T> matrix;
            T near_depth, far_depth, scale;
        } rows[] = {
            {Matrix4x4<T>::frustum(left, right, bottom, top, znear, zfar), T(0), T(1), far_scale},
            {Matrix4x4<T>::frustumReversed(left, right, bottom, top, znear, zfar), T(1), T(0), far_scale},
            {Matrix4x4<T>::ortho(left, right, bottom, top, znear, zfar), T(0), T(1), T(1)},
            {Matrix4x4<T>::orthoReversed(left, right, bottom, top, znear, zfar), T(1), T(0), T(1)},
        };
        for(const auto &row : rows) {
            EXPECT_TRUE(
                isEqual(project(row.matrix, V(left, bottom, -znear)), V(T(-1), T(-1), row.near_depth), T(eps<T>)));
            EXPECT_TRUE(isEqual(project(row.matrix, V(right * row.scale, top * row.scale, -zfar)),
                                V(T(1), T(1), row.far_depth), T(eps<T>)));
        }
        const T infinity = std::numeric_limits<T>::infinity();
        EXPECT_NEAR(project(Matrix4x4<T>::perspective(60, 1, znear, infinity), V(T(0), T(0), T(-1e10))).z, 1.0, 1e-6);
        EXPECT_NEAR(project(Matrix4x4<T>::perspectiveReversed(60, 1, znear, infinity), V(T(0), T(0), -znear)).z, 1.0,
                    eps<T>);
        EXPECT_NEAR(project(Matrix4x4<T>::perspectiveReversed(60, 1, znear, infinity), V(T(0), T(0), T(-1e10))).z, 0.0,
                    1e-6);
        const T fov = T(number(10, 170)), tangent = T(std::tan(double(fov) * M_PI / 360.0));
        EXPECT_TRUE(isEqual(
            project(Matrix4x4<T>::perspective(fov, 2.0, znear, zfar), V(tangent * T(4), tangent * T(2), T(-2))).xy,
            Vector2<T>(T(1), T(1)), T(eps<T> * 10)));
    }
}

// Memory as files and shaders have it.
TEST(Matrix, order_in_memory) {
    const float values[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    Matrix4x3f a;
    a.set(values);
    EXPECT_TRUE(a.m01 == 2.0f && a.m10 == 5.0f && a.getRow(1) == Vector4f(5, 6, 7, 8) &&
                a.getTranslate() == Vector3f(4, 8, 12));
    Matrix4x4f b;
    b.set(values);
    EXPECT_TRUE(b.m10 == 2.0f && b.m01 == 5.0f && b.getColumn(1) == Vector4f(5, 6, 7, 8) &&
                b.getTranslate() == Vector3f(13, 14, 15));
    float bytes[16];
    b.get(bytes);
    EXPECT_EQ(memcmp(bytes, values, sizeof(values)), 0);
    a.setRow(2, Vector4f(1, 2, 3, 4));
    a.setColumn(0, Vector3f(7, 8, 9));
    a.set(1, 1, 42.0f);
    b.setRow(2, Vector4f(1, 2, 3, 4));
    b.setColumn(0, Vector4f(7, 8, 9, 10));
    b.setTranslate(Vector3f::one);
    EXPECT_TRUE(a == Matrix4x3f(7, 2, 3, 4, 8, 42, 7, 8, 9, 2, 3, 4));
    EXPECT_TRUE(b == Matrix4x4f(7, 5, 9, 1, 8, 6, 10, 1, 9, 2, 3, 1, 10, 8, 12, 16));
    static_assert(Matrix4x3f(Matrix4x3d::translate(Vector3d(1, 2, 3))).getTranslate() == Vector3f(1, 2, 3));
    EXPECT_TRUE(a + a == a * 2.0f && a - a == Matrix4x3f::zero);
    EXPECT_ASSERTION(a.get(3, 0), "index < Size && \"Matrix::get(): invalid index\"");
}

#if defined(OSTREVAN_GLM)

namespace {

glm::dmat4 peer(const Matrix4x4d &m) {
    glm::dmat4 ret;
    for(uint32_t column = 0; column < 4; column++) {
        for(uint32_t row = 0; row < 4; row++) ret[int(column)][int(row)] = m.get(row, column);
    }
    return ret;
}
glm::dvec3 peer(const Vector3d &v) { return {v.x, v.y, v.z}; }
glm::dquat peer(const Quaterniond &q) { return {q.w, q.x, q.y, q.z}; }

template<class T> void expect_near(const Matrix4x4<T> &ours, const glm::dmat4 &theirs, double threshold) {
    for(uint32_t column = 0; column < 4; column++) {
        for(uint32_t row = 0; row < 4; row++) {
            const double value = theirs[int(column)][int(row)];
            EXPECT_NEAR(ours.get(row, column), value, threshold * std::max(1.0, std::abs(value)))
                << row << " " << column;
        }
    }
}

} // namespace

TYPED_TEST(MatrixTest, same_as_the_peer) {
    using T = TypeParam;
    const double threshold = eps<T>;
    for(int round = 0; round < 500; round++) {
        const Matrix4x4<T> a = make_matrix<T>(), b = make_matrix<T>();
        const glm::dmat4 c = peer(Matrix4x4d(a)), d = peer(Matrix4x4d(b));
        expect_near(a * b, c * d, threshold);
        EXPECT_NEAR(determinant(a), glm::determinant(c), threshold * 100);
        if(std::abs(glm::determinant(c)) > 0.1) expect_near(inverse(a), glm::inverse(c), threshold * 10);
        const Matrix4x3<T> affine = make_affine<T>();
        if(std::abs(determinant(affine)) > T(0.1)) {
            expect_near(Matrix4x4<T>(normalMatrix(affine)),
                        glm::dmat4(glm::inverseTranspose(glm::dmat3(peer(Matrix4x4d(Matrix4x3d(affine)))))),
                        threshold * 10);
        }

        const double left = number(-3, -1), right = number(1, 3), bottom = number(-3, -1), top = number(1, 3);
        const double znear = number(0.1, 1), zfar = number(10, 100), fov = number(10, 170), aspect = number(0.5, 2);
        expect_near(Matrix4x4<T>::ortho(left, right, bottom, top, znear, zfar),
                    glm::orthoRH_ZO(left, right, bottom, top, znear, zfar), threshold);
        expect_near(Matrix4x4<T>::frustum(left, right, bottom, top, znear, zfar),
                    glm::frustumRH_ZO(left, right, bottom, top, znear, zfar), threshold);
        expect_near(Matrix4x4<T>::perspective(fov, aspect, znear, zfar),
                    glm::perspectiveRH_ZO(glm::radians(fov), aspect, znear, zfar), threshold);
        // Near and far swapped is what reversed depth means.
        expect_near(Matrix4x4<T>::perspectiveReversed(fov, aspect, znear, zfar),
                    glm::perspectiveRH_ZO(glm::radians(fov), aspect, zfar, znear), threshold);

        const Vector3<T> from = make_vector<T>(), to = make_vector<T>(), up = make_vector<T>();
        const double parallel = double(length(cross(normalize(up), normalize(from - to))));
        if(parallel > 0.1) {
            expect_near(Matrix4x4<T>::lookAt(from, to, up),
                        glm::lookAtRH(peer(Vector3d(from)), peer(Vector3d(to)), peer(Vector3d(up))), threshold * 10);
        }
        const double angle = number(-720, 720);
        expect_near(Matrix4x4<T>::rotate(up, angle),
                    glm::rotate(glm::dmat4(1.0), glm::radians(angle), peer(Vector3d(up))), threshold);

        const Quaternion<T> q = make_rotation<T>(), p = make_rotation<T>();
        expect_near(Matrix4x4<T>(Matrix4x3<T>(q * p)), glm::mat4_cast(peer(Quaterniond(q)) * peer(Quaterniond(p))),
                    threshold);
        const T k = T(number(0, 1));
        const glm::dquat middle = glm::slerp(peer(Quaterniond(q)), peer(Quaterniond(p)), double(k));
        const Quaternion<T> ours = slerp(q, p, k);
        EXPECT_NEAR(std::abs(ours.x * middle.x + ours.y * middle.y + ours.z * middle.z + ours.w * middle.w), 1.0,
                    threshold);

        const Matrix4x3<T> m(from, q, make_scale<T>());
        Vector3<T> t, s;
        Quaternion<T> r;
        ASSERT_TRUE(decompose(m, t, r, s));
        glm::dvec3 scale, translate, skew;
        glm::dvec4 perspective;
        glm::dquat rotate;
        ASSERT_TRUE(glm::decompose(peer(Matrix4x4d(Matrix4x3d(m))), scale, rotate, translate, skew, perspective));
        EXPECT_TRUE(isEqual(Vector3d(s), Vector3d(scale.x, scale.y, scale.z), threshold * 10));
        EXPECT_NEAR(std::abs(r.x * rotate.x + r.y * rotate.y + r.z * rotate.z + r.w * rotate.w), 1.0, threshold);
    }
}

#endif
