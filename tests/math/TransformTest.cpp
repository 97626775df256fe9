// Work on arrays beside the same work on single values, and the sums that every processor must arrive at.

#include "KolmMatrix4x4.h"
#include "KolmTransform.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

using namespace Kolm;

TEST(Transform, halves) {
    std::mt19937 random(13);
    std::vector<float> floats(1003);
    std::vector<uint16_t> bits(1003);
    for(int round = 0; round < 200; round++) {
        for(float &f : floats) {
            const uint32_t any = uint32_t(random());
            // Mostly floats that are halves, now and then what takes the slow way.
            f = (round & 1) ? bitsToFloat(any)
                            : std::ldexp(float(int32_t(any)), -int(random() % 50) - ((round & 2) ? 16 : 0));
        }
        // Every length behind the blocks, and odd addresses.
        const size_t offset = size_t(round % 5), num = floats.size() - 5 - size_t(round % 17);
        std::vector<float16_t> halves(num + 8, float16_t::fromBits(0x1234));
        floatToHalf(halves.data() + offset, floats.data() + 5 - offset, num);
        for(size_t i = 0; i < num; i++)
            ASSERT_EQ(halves[offset + i].bits, float16_t(floats[5 - offset + i]).bits) << floats[5 - offset + i];
        ASSERT_EQ(halves[offset + num].bits, 0x1234);
    }
    std::vector<float16_t> all(65536);
    for(uint32_t i = 0; i < 65536; i++) all[i] = float16_t::fromBits(uint16_t(i * 40503)); // NaNs among the others
    std::vector<float> back(65536 + 1, 42.0f);
    halfToFloat(back.data(), all.data(), 65536);
    for(uint32_t i = 0; i < 65536; i++) ASSERT_EQ(floatToBits(back[i]), floatToBits(all[i].get())) << i;
    EXPECT_EQ(back.back(), 42.0f);
    halfToFloat(back.data(), all.data() + 1, 3);
    for(uint32_t i = 0; i < 3; i++) EXPECT_EQ(floatToBits(back[i]), floatToBits(all[i + 1].get()));
}

TEST(Transform, points) {
    std::mt19937 random(17);
    std::normal_distribution<float> normal;
    Matrix4x3f m;
    for(float &v : m.m) v = normal(random);
    struct Vertex {
        Vector3f position;
        uint32_t color = 7;
        Vector3f normal;
    };
    std::vector<Vertex> vertices(101);
    for(Vertex &v : vertices) v.position = v.normal = Vector3f(normal(random), normal(random), normal(random));
    std::vector<Vertex> result = vertices;
    std::vector<Vector3f> tight(vertices.size());
    transformPoints(&result[0].position, &vertices[0].position, vertices.size(), m, sizeof(Vertex), sizeof(Vertex));
    transformNormals(&result[0].normal, &result[0].normal, vertices.size(), m, sizeof(Vertex), sizeof(Vertex));
    transformDirections(tight.data(), &vertices[0].position, vertices.size(), m, sizeof(Vector3f), sizeof(Vertex));
    for(size_t i = 0; i < vertices.size(); i++) {
        EXPECT_TRUE(result[i].position == m * vertices[i].position && result[i].color == 7) << i;
        EXPECT_TRUE(result[i].normal == transformNormal(m, vertices[i].normal)) << i;
        EXPECT_TRUE(tight[i] == transformDirection(m, vertices[i].position)) << i;
    }
}

// One number over all that is defined to the last bit: it is the same on x86 and Arm, in every build.
TEST(Transform, the_same_bits_everywhere) {
    uint64_t hash = 14695981039346656037u, state = 1;
    const auto add = [&hash](const auto &v) {
        uint8_t bytes[sizeof(v)];
        memcpy(bytes, &v, sizeof(v));
        for(uint8_t b : bytes) hash = (hash ^ b) * 1099511628211u;
    };
    const auto number = [&state] {
        state = state * 6364136223846793005u + 1442695040888963407u;
        return double(int64_t(state) >> 11) * 0x1p-52;
    };
    const auto run = [&](auto type) {
        using T = decltype(type);
        const auto vector = [&] {
            Vector3<T> v;
            for(T &c : v.v) c = T(number()); // one after the other: arguments have no order
            return v;
        };
        for(int round = 0; round < 500; round++) {
            Vector3<T> t = vector(), s = vector(), u = vector();
            const double angle = number() * 1000.0, y = number(), x = number();
            const T k = T(number());
            Quaternion<T> q(t, angle), r(s, u);
            Matrix4x3<T> m = Matrix4x3<T>(t, q, s) * Matrix4x3<T>::rotate(u, angle);
            add(q), add(r), add(m), add(slerp(q, r, k)), add(q.getXYZ());
            add(inverse(m)), add(normalMatrix(m)), add(transformNormal(m, u));
            const Matrix4x4<T> p =
                Matrix4x4<T>::perspectiveReversed(90.0 + x * 80.0, 1.5, 0.1, 100.0) * Matrix4x4<T>::lookAt(t, s, u);
            add(p), add(inverse(p)), add(determinant(p)), add(project(p, u));
            add(decompose(m, t, q, s)), add(t), add(q), add(s);
            add(Math::atan2(y, x)), add(Math::acos(x));
        }
    };
    run(float());
    run(double());
    EXPECT_EQ(hash, 8057125343053464412u);
}
