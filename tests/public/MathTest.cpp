// The math types as an application uses them: those parts that stand in the library itself.

#include <Ostrevan.h>
#include <gtest/gtest.h>

#include <cmath>

using namespace Ostrevan;

TEST(PublicMath, a_camera_sees_a_point) {
    const Matrix4x4f projection = Matrix4x4f::perspective(90.0, 2.0, 0.1, 100.0);
    const Matrix4x3f view = Matrix4x3f::lookAt(Vector3f(0, 0, 5), Vector3f::zero, Vector3f(0, 1, 0));
    const Matrix4x3f model(Vector3f(1, 2, 0), Quaternionf(Vector3f(0, 0, 1), 90.0), Vector3f(2.0f));
    // (1, 0, 0) is scaled to 2, turned up and moved to (1, 4, 0), 5 in front of the camera.
    const Vector3f point = project(projection * view * model, Vector3f(1, 0, 0));
    EXPECT_TRUE(isEqual(point.xy, Vector2f(1.0f / 10.0f, 4.0f / 5.0f), 1e-6f));
    EXPECT_TRUE(point.z > 0.9f && point.z < 1.0f);
    const BoundBoxf box = model * BoundBoxf(Vector3f(-1), Vector3f(1));
    EXPECT_TRUE(box.inside(model * Vector3f::one) && isEqual(box.getCenter(), Vector3f(1, 2, 0), 1e-6f));
}

TEST(PublicMath, functions_of_the_library) {
    double sin, cos;
    Math::sinCos(450.0, sin, cos);
    EXPECT_TRUE(sin == 1.0 && cos == 0.0);
    EXPECT_NEAR(Math::tan(45.0), 1.0, 1e-15);
    EXPECT_TRUE(Math::atan2(1.0, -1.0) == 135.0 && Math::asin(1.0) == 90.0 && Math::acos(-1.0) == 180.0);

    Vector3f points[5], moved[5], turned[5], normals[5];
    for(uint32_t i = 0; i < 5; i++) points[i] = Vector3f(float(i), 1.0f, -float(i));
    const Matrix4x3f m = Matrix4x3f::translate(Vector3f(1, 2, 3)) * Matrix4x3f::rotateX(30.0);
    transformPoints(moved, points, 5, m);
    transformDirections(turned, points, 5, m);
    transformNormals(normals, points, 5, m);
    float16_t halves[5];
    float floats[5];
    floatToHalf(halves, points[0].v, 5);
    halfToFloat(floats, halves, 5);
    for(uint32_t i = 0; i < 5; i++) {
        EXPECT_TRUE(isEqual(moved[i], m * points[i], 1e-6f));
        EXPECT_TRUE(isEqual(turned[i], transformDirection(m, points[i]), 1e-6f));
        EXPECT_TRUE(isEqual(normals[i], transformNormal(m, points[i]), 1e-6f));
        EXPECT_EQ(floats[i], points[i / 3].v[i % 3]);
    }
}
