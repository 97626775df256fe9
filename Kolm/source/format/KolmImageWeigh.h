// Weighted sums of bytes in fixed point: the inner loops of windowed resampling, plain and with the vector instructions
// that every processor of an architecture has. All versions give equal results.
//
// Weights have 14 bits behind the point and sum to one. The row between has 6 bits behind the point.

#pragma once

#include "KolmBase.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#endif

namespace Kolm {

constexpr int32_t weigh_one = 1 << 14;
constexpr int32_t weigh_row_shift = 8;
constexpr int32_t weigh_shift = 14 + 6;

/// The end of the sums: cut toward zero and saturated.
template<class Type> inline Type weigh_store(int32_t total) {
    constexpr int32_t low = (Type(-1) < Type(0)) ? -128 : 0;
    constexpr int32_t top = (Type(-1) < Type(0)) ? 127 : 255;
    return Type(clamp(total / (1 << weigh_shift), low, top));
}

template<class Type>
void weigh_rows_plain(int16_t *dst, const Type *src, size_t stride, const int16_t *weights, uint32_t count,
                      size_t begin, size_t end) {
    const uint8_t *data = reinterpret_cast<const uint8_t *>(src);
    for(size_t x = begin; x < end; x++) {
        int32_t total = 1 << (weigh_row_shift - 1);
        for(uint32_t k = 0; k < count; k++) total += int32_t(Type(data[stride * k + x])) * weights[k];
        dst[x] = int16_t(clamp(total >> weigh_row_shift, -32768, 32767));
    }
}

inline int32_t weigh_values(const int16_t *src, const int16_t *weights, uint32_t count) {
    int32_t total = 0;
    for(uint32_t k = 0; k < count; k++) total += int32_t(src[k]) * weights[k];
    return total;
}

inline void weigh_pixels_plain(int32_t *total, const int16_t *src, const int16_t *weights, uint32_t count) {
    for(uint32_t c = 0; c < 4; c++) total[c] = 0;
    for(uint32_t k = 0; k < count; k++) {
        for(uint32_t c = 0; c < 4; c++) total[c] += int32_t(src[k * 4 + c]) * weights[k];
    }
}

/// Weighs \p count rows of \p size bytes, \p stride bytes apart, into one. With an odd count one more weight is read;
/// it is 0.
template<class Type>
void weigh_rows(int16_t *dst, const Type *src, size_t stride, const int16_t *weights, uint32_t count, size_t size) {
    constexpr bool is_signed = Type(-1) < Type(0);
    size_t x = 0;
#if defined(__SSE2__)
    const uint8_t *data = reinterpret_cast<const uint8_t *>(src);
    const __m128i zero = _mm_setzero_si128();
    for(; x + 16 <= size; x += 16) {
        __m128i sums[4];
        for(__m128i &sum : sums) sum = _mm_set1_epi32(1 << (weigh_row_shift - 1));
        for(uint32_t k = 0; k < count; k += 2) {
            const uint8_t *row = data + stride * k + x;
            int32_t pair;
            memcpy(&pair, weights + k, sizeof(pair));
            const __m128i w = _mm_set1_epi32(pair);
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(row));
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>((k + 1 < count) ? row + stride : row));
            const __m128i parts[2] = {_mm_unpacklo_epi8(a, b), _mm_unpackhi_epi8(a, b)};
            for(uint32_t i = 0; i < 2; i++) {
                __m128i lo, hi;
                if constexpr(is_signed) {
                    lo = _mm_srai_epi16(_mm_unpacklo_epi8(zero, parts[i]), 8);
                    hi = _mm_srai_epi16(_mm_unpackhi_epi8(zero, parts[i]), 8);
                } else {
                    lo = _mm_unpacklo_epi8(parts[i], zero);
                    hi = _mm_unpackhi_epi8(parts[i], zero);
                }
                sums[i * 2] = _mm_add_epi32(sums[i * 2], _mm_madd_epi16(lo, w));
                sums[i * 2 + 1] = _mm_add_epi32(sums[i * 2 + 1], _mm_madd_epi16(hi, w));
            }
        }
        for(__m128i &sum : sums) sum = _mm_srai_epi32(sum, weigh_row_shift);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + x), _mm_packs_epi32(sums[0], sums[1]));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + x + 8), _mm_packs_epi32(sums[2], sums[3]));
    }
#elif defined(__ARM_NEON)
    const uint8_t *data = reinterpret_cast<const uint8_t *>(src);
    for(; x + 16 <= size; x += 16) {
        int32x4_t sums[4];
        for(int32x4_t &sum : sums) sum = vdupq_n_s32(1 << (weigh_row_shift - 1));
        for(uint32_t k = 0; k < count; k++) {
            const uint8x16_t row = vld1q_u8(data + stride * k + x);
            int16x8_t lo, hi;
            if constexpr(is_signed) {
                lo = vmovl_s8(vget_low_s8(vreinterpretq_s8_u8(row)));
                hi = vmovl_s8(vget_high_s8(vreinterpretq_s8_u8(row)));
            } else {
                lo = vreinterpretq_s16_u16(vmovl_u8(vget_low_u8(row)));
                hi = vreinterpretq_s16_u16(vmovl_u8(vget_high_u8(row)));
            }
            sums[0] = vmlal_n_s16(sums[0], vget_low_s16(lo), weights[k]);
            sums[1] = vmlal_n_s16(sums[1], vget_high_s16(lo), weights[k]);
            sums[2] = vmlal_n_s16(sums[2], vget_low_s16(hi), weights[k]);
            sums[3] = vmlal_n_s16(sums[3], vget_high_s16(hi), weights[k]);
        }
        for(uint32_t i = 0; i < 4; i++) vst1_s16(dst + x + i * 4, vqmovn_s32(vshrq_n_s32(sums[i], weigh_row_shift)));
    }
#endif
    weigh_rows_plain(dst, src, stride, weights, count, x, size);
}

/// Weighs \p count pixels of four lanes. With an odd count one more pixel and weight is read; the weight is 0.
inline void weigh_pixels(int32_t *total, const int16_t *src, const int16_t *weights, uint32_t count) {
#if defined(__SSE2__)
    __m128i sum = _mm_setzero_si128();
    for(uint32_t k = 0; k < count; k += 2) {
        int32_t pair;
        memcpy(&pair, weights + k, sizeof(pair));
        const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i *>(src + k * 4));
        const __m128i lanes = _mm_unpacklo_epi16(pixels, _mm_srli_si128(pixels, 8));
        sum = _mm_add_epi32(sum, _mm_madd_epi16(lanes, _mm_set1_epi32(pair)));
    }
    _mm_storeu_si128(reinterpret_cast<__m128i *>(total), sum);
#elif defined(__ARM_NEON)
    int32x4_t sum = vdupq_n_s32(0);
    for(uint32_t k = 0; k < count; k++) sum = vmlal_n_s16(sum, vld1_s16(src + k * 4), weights[k]);
    vst1q_s32(total, sum);
#else
    weigh_pixels_plain(total, src, weights, count);
#endif
}

} // namespace Kolm
