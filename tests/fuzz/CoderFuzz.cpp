// Fuzz entry of the block coders: any bytes decode, and any pixels encode.
//
// The first byte chooses the format, the second the width and height, the third the effort; the rest are blocks. What
// was decoded is encoded again, and decodes once more.

#include <stdlib.h>
#include <string.h>

#include "KolmImage.h"

using namespace Kolm;

#define CHECK(EXPR) ((EXPR) ? void(0) : abort())

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if(size < 4) return 0;
    const Format format = Format(FormatBCBegin + data[0] % (FormatETCBack - FormatBCBegin + 1));
    const Size extent(1 + (data[1] & 15), 1 + (data[1] >> 4));
    static const Image::Flags efforts[4] = {Image::FlagFast, Image::FlagNone, Image::FlagBest,
                                            Image::FlagFast | Image::FlagPerceptual};
    const Image::Flags flags = efforts[data[2] & 3];
    Image blocks;
    CHECK(blocks.create2D(format, extent, (data[2] & 4) ? Image::FlagMipmaps : Image::FlagNone));
    memcpy(blocks.getData(), data + 3, (size - 3 < blocks.getDataSize()) ? size - 3 : blocks.getDataSize());
    const Image pixels = blocks.toFormat(FormatUnknown);
    CHECK(pixels.getFormat() == toPixelFormat(format));
    const Image again = pixels.toFormat(format, flags);
    CHECK(again.getFormat() == format && again.getDataSize() == blocks.getDataSize());
    CHECK(again.toFormat(FormatUnknown).getDataSize() == pixels.getDataSize());
    return 0;
}
