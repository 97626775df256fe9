// KolmSHA1.h: the SHA-1 digest of FIPS 180-4, fed in pieces. Hides which instructions the processor has for it.

#pragma once

#include "KolmBase.h"

namespace Kolm {

/// SHA-1 over all bytes given to update(). The words of finish() show the digest's first bytes in their top bits.
class SHA1 {
public:
    static constexpr uint32_t NumWords = 5;

    SHA1();

    void update(const void *src, size_t size);
    void finish(uint32_t *hash);

    /// Keeps to the plain code, which tests compare with the instructions of the processor.
    void setPlain();

private:
    using AddBlocks = void (*)(uint32_t *state, const uint8_t *src, size_t num);

    AddBlocks add_blocks;
    uint32_t state[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    uint64_t length = 0; // bytes
    uint8_t block[64];   // the last length % 64 bytes
};

} // namespace Kolm
