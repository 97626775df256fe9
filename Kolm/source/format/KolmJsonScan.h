// Sixteen bytes of a text at a time: where the first byte of a kind stands.
//
// One interface, a version for each instruction set, and a plain one that the tests compare with. A mask holds `Step` bits
// for each byte, the first byte lowest.

#pragma once

#include "KolmBase.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#endif

namespace Kolm {

struct JsonBytesPlain {
    using Mask = uint32_t;
    static constexpr uint32_t Step = 1;

    static JsonBytesPlain load(const char *src) {
        JsonBytesPlain ret;
        memcpy(ret.bytes, src, 16);
        return ret;
    }
    void store(char *dest) const { memcpy(dest, bytes, 16); }
    /// Bytes that are not white space.
    Mask text() const {
        return mask([](uint8_t c) { return c != ' ' && c != '\n' && c != '\r' && c != '\t'; });
    }
    /// Bytes that are not digits.
    Mask others() const {
        return mask([](uint8_t c) { return uint8_t(c - '0') > 9; });
    }
    /// Quotes, backslashes and control characters, and with \p Solidus that too.
    template<bool Solidus> Mask special() const {
        return mask([](uint8_t c) { return c < ' ' || c == '"' || c == '\\' || (Solidus && c == '/'); });
    }

private:
    template<class Test> Mask mask(Test test) const {
        Mask ret = 0;
        for(uint32_t i = 0; i < 16; i++) ret |= Mask(test(bytes[i])) << i;
        return ret;
    }

    uint8_t bytes[16];
};

#if defined(__SSE2__)

struct JsonBytes {
    using Mask = uint32_t;
    static constexpr uint32_t Step = 1;

    static JsonBytes load(const char *src) { return {_mm_loadu_si128(reinterpret_cast<const __m128i *>(src))}; }
    void store(char *dest) const { _mm_storeu_si128(reinterpret_cast<__m128i *>(dest), bytes); }
    Mask text() const {
        const __m128i blank = _mm_or_si128(equal(' '), equal('\t'));
        return mask(_mm_or_si128(blank, _mm_or_si128(equal('\n'), equal('\r')))) ^ 0xFFFF;
    }
    Mask others() const {
        const __m128i value = _mm_sub_epi8(bytes, _mm_set1_epi8('0'));
        return mask(_mm_cmpeq_epi8(_mm_min_epu8(value, _mm_set1_epi8(9)), value)) ^ 0xFFFF;
    }
    template<bool Solidus> Mask special() const {
        const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(0x1F)), bytes);
        __m128i ret = _mm_or_si128(control, _mm_or_si128(equal('"'), equal('\\')));
        if(Solidus) ret = _mm_or_si128(ret, equal('/'));
        return mask(ret);
    }

    __m128i bytes;

private:
    __m128i equal(char c) const { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); }
    static Mask mask(__m128i v) { return uint32_t(_mm_movemask_epi8(v)); }
};

#elif defined(__ARM_NEON)

struct JsonBytes {
    using Mask = uint64_t;
    static constexpr uint32_t Step = 4;

    static JsonBytes load(const char *src) { return {vld1q_u8(reinterpret_cast<const uint8_t *>(src))}; }
    void store(char *dest) const { vst1q_u8(reinterpret_cast<uint8_t *>(dest), bytes); }
    Mask text() const {
        return mask(vmvnq_u8(vorrq_u8(vorrq_u8(equal(' '), equal('\t')), vorrq_u8(equal('\n'), equal('\r')))));
    }
    Mask others() const { return mask(vcgtq_u8(vsubq_u8(bytes, vdupq_n_u8('0')), vdupq_n_u8(9))); }
    template<bool Solidus> Mask special() const {
        uint8x16_t ret = vorrq_u8(vcltq_u8(bytes, vdupq_n_u8(' ')), vorrq_u8(equal('"'), equal('\\')));
        if(Solidus) ret = vorrq_u8(ret, equal('/'));
        return mask(ret);
    }

    uint8x16_t bytes;

private:
    uint8x16_t equal(char c) const { return vceqq_u8(bytes, vdupq_n_u8(uint8_t(c))); }
    static Mask mask(uint8x16_t v) {
        return vget_lane_u64(vreinterpret_u64_u8(vshrn_n_u16(vreinterpretq_u16_u8(v), 4)), 0);
    }
};

#else

using JsonBytes = JsonBytesPlain;

#endif

/// Number of the first byte in a mask that is not 0.
template<class Bytes = JsonBytes> inline uint32_t first_byte(typename Bytes::Mask mask) {
    return uint32_t(__builtin_ctzll(mask)) / Bytes::Step;
}

} // namespace Kolm
