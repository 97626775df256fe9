// Sixteen bytes, eight words: what the decoders of BC1 to BC5 and the searches of bytes need beside KolmCoderVector.h.

#pragma once

#include "KolmCoderVector.h"

#if KOLM_CODER_BYTES && defined(__x86_64__)
#include <immintrin.h>
#elif KOLM_CODER_BYTES && defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace Kolm {

namespace {

typedef uint8_t Bytes __attribute__((vector_size(16)));
typedef uint8_t HalfBytes __attribute__((vector_size(8)));
typedef uint16_t Words __attribute__((vector_size(16)));
typedef uint32_t Dwords __attribute__((vector_size(16)));

template<class Type> KOLM_INLINE Type load_vector(const void *src) {
    Type ret;
    memcpy(&ret, src, sizeof(ret));
    return ret;
}
template<class Type> KOLM_INLINE void store_vector(void *dst, const Type &v) { memcpy(dst, &v, sizeof(v)); }

// Bytes of a table by place; places from 0x80 on give 0.
KOLM_INLINE Bytes lookup(const Bytes &table, const Bytes &places) {
#if KOLM_CODER_BYTES && defined(__x86_64__)
    return Bytes(_mm_shuffle_epi8(__m128i(table), __m128i(places)));
#elif KOLM_CODER_BYTES && defined(__aarch64__)
    return Bytes(vqtbl1q_u8(uint8x16_t(table), uint8x16_t(places)));
#else
    Bytes ret;
    for(uint32_t i = 0; i < 16; i++) ret[i] = (places[i] & 0x80) ? uint8_t(0) : table[places[i] & 15];
    return ret;
#endif
}

// Upper halves of the products.
KOLM_INLINE Words multiply_high(const Words &a, const Words &b) {
#if KOLM_CODER_BYTES && defined(__x86_64__)
    return Words(_mm_mulhi_epu16(__m128i(a), __m128i(b)));
#elif KOLM_CODER_BYTES && defined(__aarch64__)
    const uint32x4_t lo = vmull_u16(vget_low_u16(uint16x8_t(a)), vget_low_u16(uint16x8_t(b)));
    const uint32x4_t hi = vmull_high_u16(uint16x8_t(a), uint16x8_t(b));
    return Words(vuzp2q_u16(vreinterpretq_u16_u32(lo), vreinterpretq_u16_u32(hi)));
#else
    Words ret;
    for(uint32_t i = 0; i < 8; i++) ret[i] = uint16_t((uint32_t(a[i]) * b[i]) >> 16);
    return ret;
#endif
}

// Words of 0 to 255 as bytes.
KOLM_INLINE Bytes pack_words(const Words &lo, const Words &hi) {
#if KOLM_CODER_BYTES && defined(__x86_64__)
    return Bytes(_mm_packus_epi16(__m128i(lo), __m128i(hi)));
#elif KOLM_CODER_BYTES && defined(__aarch64__)
    return Bytes(vcombine_u8(vmovn_u16(uint16x8_t(lo)), vmovn_u16(uint16x8_t(hi))));
#else
    Bytes ret;
    for(uint32_t i = 0; i < 8; i++) {
        ret[i] = uint8_t(lo[i]);
        ret[i + 8] = uint8_t(hi[i]);
    }
    return ret;
#endif
}

// Sixteen unsigned quotients of at most 16 bits: value * scale / 65536.
KOLM_INLINE Shorts scale_shorts(const Shorts &value, uint16_t scale) {
    Shorts ret;
#if KOLM_CODER_BYTES == 32
    ret.v[0] = PartShort(_mm256_mulhi_epu16(__m256i(value.v[0]), _mm256_set1_epi16(int16_t(scale))));
#elif KOLM_CODER_BYTES == 16
    const Words scales = Words{} + scale;
    for(uint32_t i = 0; i < 2; i++) ret.v[i] = PartShort(multiply_high(Words(value.v[i]), scales));
#else
    for(uint32_t i = 0; i < NumLanes; i++) ret.v[i] = int16_t((uint32_t(uint16_t(value.v[i])) * scale) >> 16);
#endif
    return ret;
}

// The same as for other lanes, for shorts that are not negative.
KOLM_INLINE int16_t lanes_smallest(const Shorts &a) {
#if KOLM_CODER_BYTES == 32
    const __m256i v = __m256i(a.v[0]);
    const __m128i half = _mm_min_epu16(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
    return int16_t(_mm_extract_epi16(_mm_minpos_epu16(half), 0));
#elif KOLM_CODER_BYTES && defined(__x86_64__)
    return int16_t(_mm_extract_epi16(_mm_minpos_epu16(_mm_min_epu16(__m128i(a.v[0]), __m128i(a.v[1]))), 0));
#elif KOLM_CODER_BYTES && defined(__aarch64__)
    return vminvq_s16(vminq_s16(int16x8_t(a.v[0]), int16x8_t(a.v[1])));
#else
    int16_t ret = a.v[0];
    for(uint32_t i = 1; i < NumLanes; i++) ret = (a.v[i] < ret) ? a.v[i] : ret;
    return ret;
#endif
}
// True if the mask is set in a lane.
KOLM_INLINE bool lanes_any(const Shorts &mask) {
    uint64_t words[4];
    memcpy(words, &mask, sizeof(words));
    return ((words[0] | words[1]) | (words[2] | words[3])) != 0;
}

} // namespace

} // namespace Kolm
