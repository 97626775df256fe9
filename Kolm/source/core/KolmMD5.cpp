#include "KolmMD5.h"

namespace Kolm {

namespace {

uint32_t rotate(uint32_t value, uint32_t bits) { return value << bits | value >> (32 - bits); }

uint32_t load_word(const uint8_t *src) {
    uint32_t ret;
    memcpy(&ret, src, sizeof(ret));
    return ret;
}

} // namespace

// The steps as the RFC lists them: function, order of the state, word, rotation, sine constant.
#define KOLM_MD5_F(X, Y, Z) ((Z) ^ ((X) & ((Y) ^ (Z))))
#define KOLM_MD5_G(X, Y, Z) (((X) & (Z)) + ((Y) & ~(Z)))
#define KOLM_MD5_H(X, Y, Z) ((X) ^ (Y) ^ (Z))
#define KOLM_MD5_I(X, Y, Z) ((Y) ^ ((X) | ~(Z)))
#define KOLM_MD5_STEP(F, A, B, C, D, K, S, T) A = B + rotate(A + KOLM_MD5_##F(B, C, D) + words[K] + T##u, S);

// clang-format off
#define KOLM_MD5_STEPS(X) \
    X(F,a,b,c,d, 0, 7,0xd76aa478) X(F,d,a,b,c, 1,12,0xe8c7b756) X(F,c,d,a,b, 2,17,0x242070db) X(F,b,c,d,a, 3,22,0xc1bdceee) \
    X(F,a,b,c,d, 4, 7,0xf57c0faf) X(F,d,a,b,c, 5,12,0x4787c62a) X(F,c,d,a,b, 6,17,0xa8304613) X(F,b,c,d,a, 7,22,0xfd469501) \
    X(F,a,b,c,d, 8, 7,0x698098d8) X(F,d,a,b,c, 9,12,0x8b44f7af) X(F,c,d,a,b,10,17,0xffff5bb1) X(F,b,c,d,a,11,22,0x895cd7be) \
    X(F,a,b,c,d,12, 7,0x6b901122) X(F,d,a,b,c,13,12,0xfd987193) X(F,c,d,a,b,14,17,0xa679438e) X(F,b,c,d,a,15,22,0x49b40821) \
    X(G,a,b,c,d, 1, 5,0xf61e2562) X(G,d,a,b,c, 6, 9,0xc040b340) X(G,c,d,a,b,11,14,0x265e5a51) X(G,b,c,d,a, 0,20,0xe9b6c7aa) \
    X(G,a,b,c,d, 5, 5,0xd62f105d) X(G,d,a,b,c,10, 9,0x02441453) X(G,c,d,a,b,15,14,0xd8a1e681) X(G,b,c,d,a, 4,20,0xe7d3fbc8) \
    X(G,a,b,c,d, 9, 5,0x21e1cde6) X(G,d,a,b,c,14, 9,0xc33707d6) X(G,c,d,a,b, 3,14,0xf4d50d87) X(G,b,c,d,a, 8,20,0x455a14ed) \
    X(G,a,b,c,d,13, 5,0xa9e3e905) X(G,d,a,b,c, 2, 9,0xfcefa3f8) X(G,c,d,a,b, 7,14,0x676f02d9) X(G,b,c,d,a,12,20,0x8d2a4c8a) \
    X(H,a,b,c,d, 5, 4,0xfffa3942) X(H,d,a,b,c, 8,11,0x8771f681) X(H,c,d,a,b,11,16,0x6d9d6122) X(H,b,c,d,a,14,23,0xfde5380c) \
    X(H,a,b,c,d, 1, 4,0xa4beea44) X(H,d,a,b,c, 4,11,0x4bdecfa9) X(H,c,d,a,b, 7,16,0xf6bb4b60) X(H,b,c,d,a,10,23,0xbebfbc70) \
    X(H,a,b,c,d,13, 4,0x289b7ec6) X(H,d,a,b,c, 0,11,0xeaa127fa) X(H,c,d,a,b, 3,16,0xd4ef3085) X(H,b,c,d,a, 6,23,0x04881d05) \
    X(H,a,b,c,d, 9, 4,0xd9d4d039) X(H,d,a,b,c,12,11,0xe6db99e5) X(H,c,d,a,b,15,16,0x1fa27cf8) X(H,b,c,d,a, 2,23,0xc4ac5665) \
    X(I,a,b,c,d, 0, 6,0xf4292244) X(I,d,a,b,c, 7,10,0x432aff97) X(I,c,d,a,b,14,15,0xab9423a7) X(I,b,c,d,a, 5,21,0xfc93a039) \
    X(I,a,b,c,d,12, 6,0x655b59c3) X(I,d,a,b,c, 3,10,0x8f0ccc92) X(I,c,d,a,b,10,15,0xffeff47d) X(I,b,c,d,a, 1,21,0x85845dd1) \
    X(I,a,b,c,d, 8, 6,0x6fa87e4f) X(I,d,a,b,c,15,10,0xfe2ce6e0) X(I,c,d,a,b, 6,15,0xa3014314) X(I,b,c,d,a,13,21,0x4e0811a1) \
    X(I,a,b,c,d, 4, 6,0xf7537e82) X(I,d,a,b,c,11,10,0xbd3af235) X(I,c,d,a,b, 2,15,0x2ad7d2bb) X(I,b,c,d,a, 9,21,0xeb86d391)
// clang-format on

void MD5::add_blocks(const uint8_t *src, size_t num) {
    uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
    for(; num; num--, src += 64) {
        uint32_t words[16];
        for(uint32_t i = 0; i < 16; i++) words[i] = load_word(src + i * 4);
        const uint32_t a0 = a, b0 = b, c0 = c, d0 = d;
        KOLM_MD5_STEPS(KOLM_MD5_STEP)
        a += a0;
        b += b0;
        c += c0;
        d += d0;
    }
    state[0] = a;
    state[1] = b;
    state[2] = c;
    state[3] = d;
}

void MD5::update(const void *data, size_t size) {
    const uint8_t *src = static_cast<const uint8_t *>(data);
    const size_t used = length % 64;
    length += size;
    if(used) {
        const size_t num = min(size, 64 - used);
        if(num) memcpy(block + used, src, num);
        src += num;
        size -= num;
        if(used + num < 64) return;
        add_blocks(block, 1);
    }
    add_blocks(src, size / 64);
    if(size % 64) memcpy(block, src + (size - size % 64), size % 64);
}

void MD5::finish(uint32_t *hash) {
    const uint64_t bits = length * 8;
    static constexpr uint8_t padding[64] = {0x80};
    update(padding, (length % 64 < 56) ? 56 - length % 64 : 120 - length % 64);
    update(&bits, sizeof(bits));
    for(uint32_t i = 0; i < NumWords; i++) hash[i] = __builtin_bswap32(state[i]);
}

} // namespace Kolm
