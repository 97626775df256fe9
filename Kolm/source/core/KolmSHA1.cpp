#include "KolmSHA1.h"

// Clang knows the digest instructions of Arm only where the whole build may use them.
#if defined(__aarch64__) && (!defined(__clang__) || defined(__ARM_FEATURE_SHA2))
#define KOLM_SHA1_ARM
#endif

#if defined(__x86_64__)
#include <immintrin.h>
#elif defined(KOLM_SHA1_ARM)
#include <arm_neon.h>
#include <sys/auxv.h>
#endif

namespace Kolm {

namespace {

uint32_t rotate(uint32_t value, uint32_t bits) { return value << bits | value >> (32 - bits); }

uint32_t load_word(const uint8_t *src) {
    uint32_t ret;
    memcpy(&ret, src, sizeof(ret));
    return __builtin_bswap32(ret);
}

void add_blocks_plain(uint32_t *state, const uint8_t *src, size_t num) {
    for(; num; num--, src += 64) {
        uint32_t words[80];
        for(uint32_t i = 0; i < 16; i++) words[i] = load_word(src + i * 4);
        for(uint32_t i = 16; i < 80; i++)
            words[i] = rotate(words[i - 3] ^ words[i - 8] ^ words[i - 14] ^ words[i - 16], 1);
        uint32_t a = state[0], b = state[1], c = state[2], d = state[3], e = state[4];
        const auto step = [&](uint32_t f, uint32_t k) {
            const uint32_t t = rotate(a, 5) + f + e + k;
            e = d;
            d = c;
            c = rotate(b, 30);
            b = a;
            a = t;
        };
        for(uint32_t i = 0; i < 20; i++) step(d ^ (b & (c ^ d)), 0x5A827999 + words[i]);
        for(uint32_t i = 20; i < 40; i++) step(b ^ c ^ d, 0x6ED9EBA1 + words[i]);
        for(uint32_t i = 40; i < 60; i++) step((b & c) + (d & (b ^ c)), 0x8F1BBCDC + words[i]);
        for(uint32_t i = 60; i < 80; i++) step(b ^ c ^ d, 0xCA62C1D6 + words[i]);
        state[0] += a;
        state[1] += b;
        state[2] += c;
        state[3] += d;
        state[4] += e;
    }
}

// The digest instructions work on four steps at a time: `abcd` in one register, the fifth word travels with the
// message words, which are scheduled four by four in a ring of four registers.

#if defined(__x86_64__)

template<int Function>
__attribute__((target("sha,sse4.1"), always_inline)) inline void add_steps(__m128i &abcd, __m128i &e, __m128i &next_e,
                                                                           const __m128i &words) {
    e = _mm_sha1nexte_epu32(e, words);
    next_e = abcd;
    abcd = _mm_sha1rnds4_epu32(abcd, e, Function);
}

__attribute__((target("sha,sse4.1"), always_inline)) inline void schedule(__m128i &w0, const __m128i &w1,
                                                                          const __m128i &w2, const __m128i &w3) {
    w0 = _mm_sha1msg2_epu32(_mm_xor_si128(_mm_sha1msg1_epu32(w0, w1), w2), w3);
}

__attribute__((target("sha,sse4.1"))) void add_blocks_native(uint32_t *state, const uint8_t *src, size_t num) {
    const __m128i swap = _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F);
    __m128i abcd = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(state)), 0x1B);
    __m128i e0 = _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0);
    for(; num; num--, src += 64) {
        const __m128i abcd_in = abcd, e_in = e0;
        __m128i w[4];
        for(int i = 0; i < 4; i++)
            w[i] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(src) + i), swap);
        __m128i e1 = abcd;
        e0 = _mm_add_epi32(e0, w[0]);
        abcd = _mm_sha1rnds4_epu32(abcd, e0, 0);
        // Steps 4 to 79: the words of each four steps replace those of sixteen steps before.
#define KOLM_SHA1_STEPS(I, F)                                                      \
    if(I >= 4) schedule(w[I % 4], w[(I + 1) % 4], w[(I + 2) % 4], w[(I + 3) % 4]); \
    if(I % 2)                                                                      \
        add_steps<F>(abcd, e1, e0, w[I % 4]);                                      \
    else                                                                           \
        add_steps<F>(abcd, e0, e1, w[I % 4]);
        KOLM_SHA1_STEPS(1, 0)
        KOLM_SHA1_STEPS(2, 0) KOLM_SHA1_STEPS(3, 0) KOLM_SHA1_STEPS(4, 0) KOLM_SHA1_STEPS(5, 1) KOLM_SHA1_STEPS(6, 1)
            KOLM_SHA1_STEPS(7, 1) KOLM_SHA1_STEPS(8, 1) KOLM_SHA1_STEPS(9, 1) KOLM_SHA1_STEPS(10, 2)
                KOLM_SHA1_STEPS(11, 2) KOLM_SHA1_STEPS(12, 2) KOLM_SHA1_STEPS(13, 2) KOLM_SHA1_STEPS(14, 2)
                    KOLM_SHA1_STEPS(15, 3) KOLM_SHA1_STEPS(16, 3) KOLM_SHA1_STEPS(17, 3) KOLM_SHA1_STEPS(18, 3)
                        KOLM_SHA1_STEPS(19, 3)
#undef KOLM_SHA1_STEPS
                            e0 = _mm_sha1nexte_epu32(e0, e_in);
        abcd = _mm_add_epi32(abcd, abcd_in);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i *>(state), _mm_shuffle_epi32(abcd, 0x1B));
    state[4] = static_cast<uint32_t>(_mm_extract_epi32(e0, 3));
}

bool has_native() {
    __builtin_cpu_init();
    uint32_t a = 0, b = 0, c = 0, d = 0;
    __asm__("cpuid" : "=a"(a), "=b"(b), "=c"(c), "=d"(d) : "a"(7), "c"(0));
    return (b >> 29 & 1) && __builtin_cpu_supports("sse4.1");
}

#elif defined(KOLM_SHA1_ARM)

__attribute__((target("+crypto"))) void add_blocks_native(uint32_t *state, const uint8_t *src, size_t num) {
    static constexpr uint32_t constants[4] = {0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xCA62C1D6};
    uint32x4_t abcd = vld1q_u32(state);
    uint32_t e = state[4];
    for(; num; num--, src += 64) {
        const uint32x4_t abcd_in = abcd;
        const uint32_t e_in = e;
        uint32x4_t w[4];
        for(uint32_t i = 0; i < 4; i++) w[i] = vreinterpretq_u32_u8(vrev32q_u8(vld1q_u8(src + i * 16)));
        for(uint32_t i = 0; i < 20; i++) {
            uint32x4_t &words = w[i % 4];
            if(i >= 4) words = vsha1su1q_u32(vsha1su0q_u32(words, w[(i + 1) % 4], w[(i + 2) % 4]), w[(i + 3) % 4]);
            const uint32x4_t sum = vaddq_u32(words, vdupq_n_u32(constants[i / 5]));
            const uint32_t next_e = vsha1h_u32(vgetq_lane_u32(abcd, 0));
            if(i < 5)
                abcd = vsha1cq_u32(abcd, e, sum);
            else if(i >= 10 && i < 15)
                abcd = vsha1mq_u32(abcd, e, sum);
            else
                abcd = vsha1pq_u32(abcd, e, sum);
            e = next_e;
        }
        abcd = vaddq_u32(abcd, abcd_in);
        e += e_in;
    }
    vst1q_u32(state, abcd);
    state[4] = e;
}

bool has_native() { return (getauxval(AT_HWCAP) >> 5 & 1) != 0; } // HWCAP_SHA1

#else

constexpr auto add_blocks_native = add_blocks_plain;
bool has_native() { return false; }

#endif

} // namespace

SHA1::SHA1() {
    static const bool is_native = has_native();
    add_blocks = is_native ? add_blocks_native : add_blocks_plain;
}

void SHA1::setPlain() { add_blocks = add_blocks_plain; }

void SHA1::update(const void *data, size_t size) {
    const uint8_t *src = static_cast<const uint8_t *>(data);
    const size_t used = length % 64;
    length += size;
    if(used) {
        const size_t num = min(size, 64 - used);
        if(num) memcpy(block + used, src, num);
        src += num;
        size -= num;
        if(used + num < 64) return;
        add_blocks(state, block, 1);
    }
    if(size / 64) add_blocks(state, src, size / 64);
    if(size % 64) memcpy(block, src + (size - size % 64), size % 64);
}

void SHA1::finish(uint32_t *hash) {
    const uint64_t bits = __builtin_bswap64(length * 8);
    static constexpr uint8_t padding[64] = {0x80};
    update(padding, (length % 64 < 56) ? 56 - length % 64 : 120 - length % 64);
    update(&bits, sizeof(bits));
    memcpy(hash, state, sizeof(state));
}

} // namespace Kolm
