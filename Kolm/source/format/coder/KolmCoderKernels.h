// The searches of the block encoders: one set of functions per instruction set, all with the same results.
//
// A kernel takes one full block; unused places of blocks at the edge repeat the first pixel.

#pragma once

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
};

/// The fastest set that the processor runs.
const CoderKernels &getCoderKernels();
/// All sets that the processor runs, the plain one first; null behind the last.
const CoderKernels *getCoderKernels(uint32_t index);

} // namespace Kolm
