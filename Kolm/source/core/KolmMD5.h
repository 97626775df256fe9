// KolmMD5.h: the MD5 digest of RFC 1321, fed in pieces.

#pragma once

#include "KolmBase.h"

namespace Kolm {

/// MD5 over all bytes given to update(). The words of finish() show the digest's first bytes in their top bits.
class MD5 {
public:
    static constexpr uint32_t NumWords = 4;

    void update(const void *src, size_t size);
    void finish(uint32_t *hash);

private:
    void add_blocks(const uint8_t *src, size_t num);

    uint32_t state[4] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    uint64_t length = 0; // bytes
    uint8_t block[64];   // the last length % 64 bytes
};

} // namespace Kolm
