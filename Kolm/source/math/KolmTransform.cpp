// Work on arrays. Halves go through the processor's own conversion where it has one that can be brought to cut, eight at
// a time; what that does differently, NaNs and floats beyond the halves, is sent through the lanes instead.

#include "KolmTransform.h"

#if defined(__x86_64__)
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace Kolm {

namespace {

void to_half(float16_t *dst, const float32_t *src, size_t num) {
    size_t i = 0;
    for(; i + 8 <= num; i += 8) float16x8_t(float32x4_t::load(src + i), float32x4_t::load(src + i + 4)).store(dst + i);
    for(; i < num; i++) dst[i].set(src[i]);
}
void to_float(float32_t *dst, const float16_t *src, size_t num) {
    size_t i = 0;
    for(; i + 4 <= num; i += 4) float32x4_t(float16x4_t::load(src + i)).store(dst + i);
    for(; i < num; i++) dst[i] = src[i].get();
}

#if defined(__x86_64__)

bool has_half_instructions() {
    static const bool ret = [] {
        uint32_t eax, ebx, ecx = 0, edx;
        return __builtin_cpu_supports("avx2") && __get_cpuid(1, &eax, &ebx, &ecx, &edx) && (ecx & bit_F16C);
    }();
    return ret;
}

__attribute__((target("avx2,f16c"))) void to_half_f16c(float16_t *dst, const float32_t *src, size_t num) {
    const __m256i magnitude = _mm256_set1_epi32(0x7FFFFFFF);
    const __m256i last = _mm256_set1_epi32((143 << 23) - 1); // below 65536, which instructions would cut to 65504
    size_t i = 0;
    for(; i + 8 <= num; i += 8) {
        const __m256 v = _mm256_loadu_ps(src + i);
        const __m256i large = _mm256_cmpgt_epi32(_mm256_and_si256(_mm256_castps_si256(v), magnitude), last);
        if(KOLM_LIKELY(_mm256_testz_si256(large, large)))
            _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + i), _mm256_cvtps_ph(v, _MM_FROUND_TO_ZERO));
        else
            to_half(dst + i, src + i, 8);
    }
    to_half(dst + i, src + i, num - i);
}
__attribute__((target("avx2,f16c"))) void to_float_f16c(float32_t *dst, const float16_t *src, size_t num) {
    const __m128i magnitude = _mm_set1_epi16(0x7FFF);
    const __m128i last = _mm_set1_epi16(0x7C00); // above are the NaNs, which instructions would make quiet
    size_t i = 0;
    for(; i + 8 <= num; i += 8) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(src + i));
        const __m128i nan = _mm_cmpgt_epi16(_mm_and_si128(v, magnitude), last);
        if(KOLM_LIKELY(_mm_testz_si128(nan, nan)))
            _mm256_storeu_ps(dst + i, _mm256_cvtph_ps(v));
        else
            to_float(dst + i, src + i, 8);
    }
    to_float(dst + i, src + i, num - i);
}

#endif

const Vector3f &at(const Vector3f *ptr, size_t offset) {
    return *reinterpret_cast<const Vector3f *>(reinterpret_cast<const uint8_t *>(ptr) + offset);
}
Vector3f &at(Vector3f *ptr, size_t offset) {
    return *reinterpret_cast<Vector3f *>(reinterpret_cast<uint8_t *>(ptr) + offset);
}

// One vector after the other, its three results in three lanes. The columns stay in registers.
template<bool Translate, class Finish>
void transform(Vector3f *dst, const Vector3f *src, size_t num, const Matrix4x3f &m, size_t dst_stride,
               size_t src_stride, Finish finish) {
    const float32x4_t c0 = float32x4_t(m.getColumn(0), 0.0f), c1 = float32x4_t(m.getColumn(1), 0.0f);
    const float32x4_t c2 = float32x4_t(m.getColumn(2), 0.0f), c3 = float32x4_t(m.getColumn(3), 0.0f);
    for(size_t i = 0; i < num; i++) {
        const Vector3f &v = at(src, i * src_stride);
        float32x4_t sum = (c0 * v.x + c1 * v.y) + c2 * v.z;
        if(Translate) sum += c3;
        at(dst, i * dst_stride) = finish(Vector3f(sum.x(), sum.y(), sum.z()));
    }
}

} // namespace

void floatToHalf(float16_t *dst, const float32_t *src, size_t num) {
#if defined(__x86_64__)
    if(has_half_instructions()) return to_half_f16c(dst, src, num);
#endif
    to_half(dst, src, num);
}
void halfToFloat(float32_t *dst, const float16_t *src, size_t num) {
#if defined(__x86_64__)
    if(has_half_instructions()) return to_float_f16c(dst, src, num);
#endif
    to_float(dst, src, num);
}

void transformPoints(Vector3f *dst, const Vector3f *src, size_t num, const Matrix4x3f &m, size_t dst_stride,
                     size_t src_stride) {
    transform<true>(dst, src, num, m, dst_stride, src_stride, [](const Vector3f &v) { return v; });
}
void transformDirections(Vector3f *dst, const Vector3f *src, size_t num, const Matrix4x3f &m, size_t dst_stride,
                         size_t src_stride) {
    transform<false>(dst, src, num, m, dst_stride, src_stride, [](const Vector3f &v) { return v; });
}
void transformNormals(Vector3f *dst, const Vector3f *src, size_t num, const Matrix4x3f &m, size_t dst_stride,
                      size_t src_stride) {
    transform<false>(dst, src, num, normalMatrix(m), dst_stride, src_stride,
                     [](const Vector3f &v) { return normalize(v); });
}

} // namespace Kolm
