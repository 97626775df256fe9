// Bit fields of 128-bit blocks, from the lowest bit of the first byte upward, and pixels of part of a block.

#pragma once

#include "KolmBase.h"

namespace Kolm {

/// Reads fields in order. Behind the last bit it gives zeros.
class BlockReader {
public:
    explicit BlockReader(const uint8_t *src) {
        memcpy(&lo, src, sizeof(lo));
        memcpy(&hi, src + sizeof(lo), sizeof(hi));
    }
    /// Field of 1 to 32 bits.
    uint32_t get(uint32_t bits) {
        const uint32_t ret = uint32_t(lo & ((1ull << bits) - 1));
        lo = (lo >> bits) | (hi << (64 - bits));
        hi >>= bits;
        return ret;
    }

private:
    uint64_t lo;
    uint64_t hi;
};

/// Copies the valid part of 4x4 pixels, of \p pixel_size bytes each, to rows of pixels.
template<uint32_t pixel_size, class Type>
inline void storePixels(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, const Type *src) {
    static_assert(sizeof(Type) >= pixel_size);
    for(uint32_t y = 0; y < height; y++, dst += stride, src += 4) {
        for(uint32_t x = 0; x < width; x++) memcpy(dst + x * pixel_size, &src[x], pixel_size);
    }
}

/// The same for words of four bytes, of which pixels of three bytes take the first ones.
inline void storeColors(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                        const uint32_t *src) {
    if(width == 4 && height == 4 && pixel == 4) {
        for(uint32_t y = 0; y < 4; y++) memcpy(dst + stride * y, src + y * 4, 16);
    } else if(width == 4 && height == 4) {
        for(uint32_t y = 0; y < 4; y++, src += 4) {
            const uint64_t lo = (src[0] & 0xFFFFFF) | (uint64_t(src[1] & 0xFFFFFF) << 24) | (uint64_t(src[2]) << 48);
            const uint32_t hi = ((src[2] >> 16) & 0xFF) | (src[3] << 8);
            memcpy(dst + stride * y, &lo, sizeof(lo));
            memcpy(dst + stride * y + sizeof(lo), &hi, sizeof(hi));
        }
    } else if(pixel == 4) {
        storePixels<4>(dst, width, height, stride, src);
    } else {
        storePixels<3>(dst, width, height, stride, src);
    }
}

/// Pixels of three or four bytes as 16 words of four; missing alpha is opaque, missing pixels are the first one.
inline void loadColors(uint8_t dst[64], uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                       const uint8_t *src) {
    if(width == 4 && height == 4 && pixel == 4) {
        for(uint32_t y = 0; y < 4; y++) memcpy(dst + y * 16, src + stride * y, 16);
        return;
    }
    for(uint32_t i = 0; i < 16; i++) {
        const uint32_t x = i & 3;
        const uint32_t y = i >> 2;
        const uint8_t *s = (x < width && y < height) ? src + y * stride + x * pixel : src;
        const uint32_t alpha = (pixel == 4) ? s[3] : 255;
        const uint32_t color = s[0] | (uint32_t(s[1]) << 8) | (uint32_t(s[2]) << 16) | (alpha << 24);
        memcpy(dst + i * 4, &color, 4);
    }
}

/// Single bytes of pixels; missing ones are the first.
inline void loadBytes(uint8_t dst[16], uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                      const uint8_t *src) {
    for(uint32_t i = 0; i < 16; i++) {
        const uint32_t x = i & 3;
        const uint32_t y = i >> 2;
        dst[i] = (x < width && y < height) ? src[y * stride + x * pixel] : src[0];
    }
}

} // namespace Kolm
