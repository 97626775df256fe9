// Pixels as plain blocks of bytes, for moves that do not look into them.

#pragma once

#include "KolmBase.h"

namespace Kolm {

/// A pixel of any size, so that moves are plain assignments.
template<uint32_t Size> struct Pixel { uint8_t data[Size]; };

/// Calls func with a pixel of \p size bytes.
template<class Func> void with_pixel(uint32_t size, Func func) {
    switch(size) {
    case 1: return func(Pixel<1>());
    case 2: return func(Pixel<2>());
    case 3: return func(Pixel<3>());
    case 4: return func(Pixel<4>());
    case 6: return func(Pixel<6>());
    case 8: return func(Pixel<8>());
    case 12: return func(Pixel<12>());
    case 16: return func(Pixel<16>());
    case 24: return func(Pixel<24>());
    case 32: return func(Pixel<32>());
    }
    KOLM_ASSERT(0 && "Image::with_pixel(): unknown image format");
}

} // namespace Kolm
