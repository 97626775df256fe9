// Forwarding of the math functions that do not stand in headers.

#include "OstrevanMathKolm.h"

namespace Ostrevan {

void Math::sinCos(float64_t angle, float64_t &sin, float64_t &cos) { Kolm::Math::sinCos(angle, sin, cos); }
float64_t Math::tan(float64_t angle) { return Kolm::Math::tan(angle); }
float64_t Math::atan2(float64_t y, float64_t x) { return Kolm::Math::atan2(y, x); }
float64_t Math::asin(float64_t v) { return Kolm::Math::asin(v); }
float64_t Math::acos(float64_t v) { return Kolm::Math::acos(v); }

void floatToHalf(float16_t *dst, const float32_t *src, size_t num) { Kolm::floatToHalf(getCorePtr(dst), src, num); }
void halfToFloat(float32_t *dst, const float16_t *src, size_t num) { Kolm::halfToFloat(dst, getCorePtr(src), num); }

void transformPoints(Vector3f *dst, const Vector3f *src, size_t num, const Matrix4x3f &m, size_t dst_stride,
                     size_t src_stride) {
    Kolm::transformPoints(getCorePtr(dst), getCorePtr(src), num, getCore(m), dst_stride, src_stride);
}
void transformDirections(Vector3f *dst, const Vector3f *src, size_t num, const Matrix4x3f &m, size_t dst_stride,
                         size_t src_stride) {
    Kolm::transformDirections(getCorePtr(dst), getCorePtr(src), num, getCore(m), dst_stride, src_stride);
}
void transformNormals(Vector3f *dst, const Vector3f *src, size_t num, const Matrix4x3f &m, size_t dst_stride,
                      size_t src_stride) {
    Kolm::transformNormals(getCorePtr(dst), getCorePtr(src), num, getCore(m), dst_stride, src_stride);
}

} // namespace Ostrevan
