// The searches of the block encoders and the fast decoders: one set of functions per instruction set, all with the same
// results.
//
// Kernels take full blocks; unused places of blocks at the edge repeat the first pixel.

#pragma once

#include <stddef.h>
#include <stdint.h>

namespace Kolm {

enum CoderFlags : uint32_t {
    CoderNone = 0,
    CoderFast = 1 << 0,
    CoderBest = 1 << 1,
    CoderPerceptual = 1 << 2, ///< differences of red, green and blue times 3, 6 and 1
    CoderAlpha = 1 << 3,      ///< pixels with alpha below 128 are transparent
    CoderSigned = 1 << 4,
};

/// What the blocks of BC1 to BC5 hold.
enum CoderBlocks : uint32_t {
    CoderBC1, ///< without alpha: the fourth colour of the 3-colour form is opaque black
    CoderBC1Alpha,
    CoderBC2,
    CoderBC3,
    CoderBC4,
    CoderBC4Signed,
    CoderBC5,
    CoderBC5Signed,
};

struct CoderKernels {
    const char *name;
    /// BC1 colour block of 8 bytes from 16 RGBA pixels.
    void (*encode_bc_color)(uint8_t *dst, const uint8_t *src, uint32_t flags);
    /// BC4 block of 8 bytes from 16 bytes of 0 to \p top.
    void (*encode_bc_alpha)(uint8_t *dst, const uint8_t *src, uint32_t top, uint32_t flags);
    /// BC6 block of 16 bytes from 16 RGB pixels of half floats.
    void (*encode_bc6)(uint8_t *dst, const uint16_t *src, uint32_t flags);
    /// BC7 block of 16 bytes from 16 RGBA pixels.
    void (*encode_bc7)(uint8_t *dst, const uint8_t *src, uint32_t flags);
    /// ETC2 colour block of 8 bytes from 16 RGBA pixels.
    void (*encode_etc_color)(uint8_t *dst, const uint8_t *src, uint32_t flags);
    /// EAC block of 8 bytes from 16 bytes; with \p wide for 11 bits, otherwise for 8.
    void (*encode_eac)(uint8_t *dst, const uint8_t *src, bool wide, uint32_t flags);
    /// Pixels of \p num full blocks beside each other, to four rows that lie \p stride bytes apart.
    void (*decode_bc)(uint8_t *dst, size_t stride, const uint8_t *src, uint32_t num, CoderBlocks blocks);
};

/// The fastest set that the processor runs.
const CoderKernels &getCoderKernels();
/// All sets that the processor runs, the plain one first; null behind the last.
const CoderKernels *getCoderKernels(uint32_t index);

} // namespace Kolm
