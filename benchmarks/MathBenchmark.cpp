// Matrices, arrays of points and halves beside Eigen, glm and the copy of the same bytes. 1000 to 100000 values a call.

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#if defined(OSTREVAN_EIGEN)
#include <Eigen/Eigen>
#endif
#if defined(OSTREVAN_GLM)
#include <glm/glm.hpp>
#endif

#include "Compare.h"
#include "KolmMatrix4x4.h"
#include "KolmTransform.h"

using namespace Kolm;

namespace {

constexpr size_t num = 1000;
constexpr size_t num_points = 100000;

// Matrices of any library whose values stand in columns.
template<class Matrix> std::vector<Matrix> make_matrices() {
    std::mt19937 random(1);
    std::normal_distribution<float> normal;
    std::vector<Matrix> ret(num);
    for(Matrix &m : ret) {
        float values[16];
        for(float &v : values) v = normal(random);
        memcpy(static_cast<void *>(&m), values, sizeof(values));
    }
    return ret;
}

// Result i is made of matrices i and i + 1.
template<class Matrix> auto product(std::vector<Matrix> &dst, const std::vector<Matrix> &src) {
    return [&] {
        for(size_t i = 0; i + 1 < num; i++) dst[i] = src[i] * src[i + 1];
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    };
}

std::vector<Vector3f> make_points() {
    std::mt19937 random(2);
    std::normal_distribution<float> normal;
    std::vector<Vector3f> ret(num_points);
    for(Vector3f &v : ret) v = Vector3f(normal(random), normal(random), normal(random));
    return ret;
}

#if defined(OSTREVAN_EIGEN)
void multiply_eigen(benchmark::State &state) {
    auto ours = make_matrices<Matrix4x4f>();
    auto theirs = make_matrices<Eigen::Matrix4f>();
    auto ours_dst = ours;
    auto theirs_dst = theirs;
    compare(state, product(ours_dst, ours), product(theirs_dst, theirs));
}
BENCHMARK(multiply_eigen)->UseManualTime();

void inverse_eigen(benchmark::State &state) {
    auto ours = make_matrices<Matrix4x4f>();
    auto theirs = make_matrices<Eigen::Matrix4f>();
    auto ours_dst = ours;
    auto theirs_dst = theirs;
    compare(
        state,
        [&] {
            for(size_t i = 0; i < num; i++) ours_dst[i] = inverse(ours[i]);
            benchmark::ClobberMemory();
        },
        [&] {
            for(size_t i = 0; i < num; i++) theirs_dst[i] = theirs[i].inverse();
            benchmark::ClobberMemory();
        });
}
BENCHMARK(inverse_eigen)->UseManualTime();

void points_eigen(benchmark::State &state) {
    const std::vector<Vector3f> points = make_points();
    std::vector<Vector3f> ours(num_points), theirs(num_points);
    const Matrix4x3f m = Matrix4x3f::rotate(Vector3f(1, 2, 3), 40.0);
    Eigen::Matrix3f rotate;
    Eigen::Vector3f translate;
    for(int row = 0; row < 3; row++) {
        for(int column = 0; column < 3; column++) rotate(row, column) = m.get(uint32_t(row), uint32_t(column));
        translate(row) = m.get(uint32_t(row), 3);
    }
    const Eigen::Map<const Eigen::Matrix3Xf> src(points[0].v, 3, num_points);
    Eigen::Map<Eigen::Matrix3Xf> dst(theirs[0].v, 3, num_points);
    compare(
        state, [&] { transformPoints(ours.data(), points.data(), num_points, m); },
        [&] { dst.noalias() = (rotate * src).colwise() + translate; }, double(num_points * sizeof(Vector3f)));
}
BENCHMARK(points_eigen)->UseManualTime();
#endif

#if defined(OSTREVAN_GLM)
void multiply_glm(benchmark::State &state) {
    auto ours = make_matrices<Matrix4x4f>();
    auto theirs = make_matrices<glm::mat4>();
    auto ours_dst = ours;
    auto theirs_dst = theirs;
    compare(state, product(ours_dst, ours), product(theirs_dst, theirs));
}
BENCHMARK(multiply_glm)->UseManualTime();

void inverse_glm(benchmark::State &state) {
    auto ours = make_matrices<Matrix4x4f>();
    auto theirs = make_matrices<glm::mat4>();
    auto ours_dst = ours;
    auto theirs_dst = theirs;
    compare(
        state,
        [&] {
            for(size_t i = 0; i < num; i++) ours_dst[i] = inverse(ours[i]);
            benchmark::ClobberMemory();
        },
        [&] {
            for(size_t i = 0; i < num; i++) theirs_dst[i] = glm::inverse(theirs[i]);
            benchmark::ClobberMemory();
        });
}
BENCHMARK(inverse_glm)->UseManualTime();
#endif

void points_copy(benchmark::State &state) {
    const std::vector<Vector3f> points = make_points();
    std::vector<Vector3f> ours(num_points), theirs(num_points);
    const Matrix4x3f m = Matrix4x3f::rotate(Vector3f(1, 2, 3), 40.0);
    const size_t bytes = num_points * sizeof(Vector3f);
    compare(
        state, [&] { transformPoints(ours.data(), points.data(), num_points, m); },
        [&] { memcpy(static_cast<void *>(theirs.data()), points.data(), bytes); }, double(bytes));
}
BENCHMARK(points_copy)->UseManualTime();

// The limit is the traffic: 6 bytes a value, as much as a copy of three bytes.
void float_to_half_copy(benchmark::State &state) {
    const std::vector<Vector3f> points = make_points();
    const size_t count = num_points * 3;
    std::vector<float16_t> halves(count);
    std::vector<uint8_t> bytes(count * 3);
    compare(
        state, [&] { floatToHalf(halves.data(), points[0].v, count); },
        [&] { memcpy(bytes.data(), points.data(), bytes.size()); }, double(count * sizeof(float)));
}
BENCHMARK(float_to_half_copy)->UseManualTime();

void half_to_float_copy(benchmark::State &state) {
    const std::vector<Vector3f> points = make_points();
    const size_t count = num_points * 3;
    std::vector<float16_t> halves(count);
    std::vector<float> floats(count);
    std::vector<uint8_t> bytes(count * 3);
    floatToHalf(halves.data(), points[0].v, count);
    compare(
        state, [&] { halfToFloat(floats.data(), halves.data(), count); },
        [&] { memcpy(bytes.data(), points.data(), bytes.size()); }, double(count * sizeof(float)));
}
BENCHMARK(half_to_float_copy)->UseManualTime();

} // namespace
