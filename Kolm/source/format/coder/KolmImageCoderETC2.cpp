// ETC2 and EAC: decoding, and the walk over blocks for encoding. The searches are in KolmCoderETC2.h.

#include "KolmImageCoderETC2.h"

#include "KolmCoderBits.h"
#include "KolmCoderKernels.h"
#include "KolmCoderTablesETC2.h"

namespace Kolm {

static ImageCoderETC2 image_coder_etc2;

namespace {

// The block's 64 bits, the first byte on top.
uint64_t load_word(const uint8_t *src) {
    uint64_t word = 0;
    memcpy(&word, src, sizeof(word));
    return __builtin_bswap64(word);
}

uint32_t clamp_byte(int32_t value) { return uint32_t(clamp(value, 0, 255)); }
uint32_t pack_color(int32_t r, int32_t g, int32_t b) {
    return clamp_byte(r) | (clamp_byte(g) << 8) | (clamp_byte(b) << 16) | 0xFF000000;
}
int32_t extend_4(uint64_t v) { return int32_t(v & 15) * 17; }
int32_t extend_5(uint64_t v) { return int32_t(((v & 31) << 3) | ((v & 31) >> 2)); }
int32_t extend_6(uint64_t v) { return int32_t(((v & 63) << 2) | ((v & 63) >> 4)); }
int32_t extend_7(uint64_t v) { return int32_t(((v & 127) << 1) | ((v & 127) >> 6)); }

// A number of three bits with sign.
int32_t get_difference(uint64_t v) { return int32_t((v & 7) ^ 4) - 4; }

// Index of a pixel: its low and high bits lie 16 bits apart, in columns.
uint32_t get_index(uint64_t word, uint32_t x, uint32_t y) {
    const uint32_t i = x * 4 + y;
    return uint32_t((word >> i) & 1) | uint32_t((word >> (i + 15)) & 2);
}

void decode_planar(uint32_t pixels[16], uint64_t word) {
    const int32_t ro = extend_6(word >> 57);
    const int32_t go = extend_7(((word >> 56) & 1) << 6 | ((word >> 49) & 63));
    const int32_t bo = extend_6(((word >> 48) & 1) << 5 | ((word >> 43) & 3) << 3 | ((word >> 39) & 7));
    const int32_t rh = extend_6(((word >> 34) & 31) << 1 | ((word >> 32) & 1));
    const int32_t gh = extend_7(word >> 25);
    const int32_t bh = extend_6(word >> 19);
    const int32_t rv = extend_6(word >> 13);
    const int32_t gv = extend_7(word >> 6);
    const int32_t bv = extend_6(word);
    for(int32_t y = 0; y < 4; y++) {
        for(int32_t x = 0; x < 4; x++) {
            const auto get = [x, y](int32_t o, int32_t h, int32_t v) {
                return (x * (h - o) + y * (v - o) + 4 * o + 2) >> 2;
            };
            pixels[y * 4 + x] = pack_color(get(ro, rh, rv), get(go, gh, gv), get(bo, bh, bv));
        }
    }
}

// T and H blocks: four paint colours. The third is transparent in blocks with such pixels.
void decode_paints(uint32_t pixels[16], const uint32_t paints[4], uint64_t word, bool transparent) {
    for(uint32_t y = 0; y < 4; y++) {
        for(uint32_t x = 0; x < 4; x++) {
            const uint32_t index = get_index(word, x, y);
            pixels[y * 4 + x] = (transparent && index == 2) ? 0 : paints[index];
        }
    }
}

void decode_t(uint32_t pixels[16], uint64_t word, bool transparent) {
    const int32_t r0 = extend_4(((word >> 59) & 3) << 2 | ((word >> 56) & 3));
    const int32_t g0 = extend_4(word >> 52);
    const int32_t b0 = extend_4(word >> 48);
    const int32_t r1 = extend_4(word >> 44);
    const int32_t g1 = extend_4(word >> 40);
    const int32_t b1 = extend_4(word >> 36);
    const int32_t d = etc_distances[((word >> 34) & 3) << 1 | ((word >> 32) & 1)];
    const uint32_t paints[4] = {pack_color(r0, g0, b0), pack_color(r1 + d, g1 + d, b1 + d), pack_color(r1, g1, b1),
                                pack_color(r1 - d, g1 - d, b1 - d)};
    decode_paints(pixels, paints, word, transparent);
}

void decode_h(uint32_t pixels[16], uint64_t word, bool transparent) {
    const int32_t r0 = extend_4(word >> 59);
    const int32_t g0 = extend_4(((word >> 56) & 7) << 1 | ((word >> 52) & 1));
    const int32_t b0 = extend_4(((word >> 51) & 1) << 3 | ((word >> 47) & 7));
    const int32_t r1 = extend_4(word >> 43);
    const int32_t g1 = extend_4(word >> 39);
    const int32_t b1 = extend_4(word >> 35);
    // The order of the two colours is the lowest bit of the distance.
    const bool order = (r0 << 16 | g0 << 8 | b0) >= (r1 << 16 | g1 << 8 | b1);
    const int32_t d = etc_distances[((word >> 34) & 1) << 2 | ((word >> 32) & 1) << 1 | uint32_t(order)];
    const uint32_t paints[4] = {pack_color(r0 + d, g0 + d, b0 + d), pack_color(r0 - d, g0 - d, b0 - d),
                                pack_color(r1 + d, g1 + d, b1 + d), pack_color(r1 - d, g1 - d, b1 - d)};
    decode_paints(pixels, paints, word, transparent);
}

void decode_halves(uint32_t pixels[16], const int32_t base[2][3], uint64_t word, bool transparent) {
    const bool flip = (word >> 32) & 1;
    uint32_t colors[2][4];
    for(uint32_t i = 0; i < 2; i++) {
        const int16_t *modifiers = etc_modifiers[(word >> (i ? 34 : 37)) & 7];
        for(uint32_t j = 0; j < 4; j++) {
            const int32_t m = (transparent && (j & 1) == 0) ? 0 : modifiers[j];
            colors[i][j] = pack_color(base[i][0] + m, base[i][1] + m, base[i][2] + m);
        }
        if(transparent) colors[i][2] = 0;
    }
    for(uint32_t y = 0; y < 4; y++) {
        for(uint32_t x = 0; x < 4; x++) pixels[y * 4 + x] = colors[(flip ? y : x) >> 1][get_index(word, x, y)];
    }
}

} // namespace

ImageCoderETC2::ImageCoderETC2() : ImageCoder(FlagDecodeEncode, FormatEACRi8n, FormatETC2RGBu8Au1ns) {}

uint32_t ImageCoderETC2::get_capabilities(Format format) {
    switch(format) {
    case FormatEACRi8n:
    case FormatEACRu8n: return HasR8;
    case FormatEACRGi8n:
    case FormatEACRGu8n: return HasRG8;
    case FormatETC2RGBu8n:
    case FormatETC2RGBu8ns: return HasRGB8;
    case FormatETC2RGBAu8n:
    case FormatETC2RGBAu8ns: return HasRGBA8;
    default: return HasRGB8A1;
    }
}

void ImageCoderETC2::decode_alpha(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                                  const uint8_t *src, bool wide, bool is_signed) {
    const uint64_t word = load_word(src);
    const int32_t multiplier = int32_t((word >> 52) & 15);
    const int8_t *modifiers = eac_modifiers[(word >> 48) & 15];
    uint8_t values[8];
    for(uint32_t i = 0; i < 8; i++) {
        const int32_t m = modifiers[i];
        if(!wide)
            values[i] = uint8_t(clamp_byte(int32_t(word >> 56) + m * multiplier));
        else if(is_signed)
            values[i] = uint8_t(
                clamp(max(int32_t(int8_t(src[0])), -127) * 8 + m * (multiplier ? multiplier * 8 : 1), -1023, 1023) >>
                3);
        else
            values[i] =
                uint8_t(clamp(int32_t(word >> 56) * 8 + 4 + m * (multiplier ? multiplier * 8 : 1), 0, 2047) >> 3);
    }
    for(uint32_t y = 0; y < height; y++) {
        for(uint32_t x = 0; x < width; x++) dst[y * stride + x * pixel] = values[(word >> (45 - (x * 4 + y) * 3)) & 7];
    }
}

void ImageCoderETC2::encode_alpha(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                                  const uint8_t *src, bool wide, bool is_signed, Image::Flags flags) {
    uint8_t alphas[16];
    loadBytes(alphas, width, height, stride, pixel, src);
    const uint32_t sign = is_signed ? uint32_t(CoderSigned) : 0;
    getCoderKernels().encode_eac(dst, alphas, wide, get_flags(flags) | sign);
}

void ImageCoderETC2::decode_color(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                                  const uint8_t *src, uint32_t capabilities) {
    const uint64_t word = load_word(src);
    uint32_t pixels[16];
    // Blocks with transparent pixels have no individual form: its bit tells whether they are opaque.
    const bool differential = (word >> 33) & 1;
    const bool transparent = (capabilities & HasA1) && !differential;
    int32_t base[2][3];
    if(!differential && !transparent) {
        for(uint32_t i = 0; i < 3; i++) {
            base[0][i] = extend_4(word >> (60 - i * 8));
            base[1][i] = extend_4(word >> (56 - i * 8));
        }
        decode_halves(pixels, base, word, false);
    } else {
        // A sum out of range selects the other forms: in red T, in green H, in blue planar.
        uint32_t overflow = 3;
        for(uint32_t i = 3; i-- > 0;) {
            const int32_t value = int32_t((word >> (59 - i * 8)) & 31);
            const int32_t sum = value + get_difference(word >> (56 - i * 8));
            base[0][i] = extend_5(uint64_t(value));
            base[1][i] = extend_5(uint64_t(sum) & 31);
            if(sum < 0 || sum > 31) overflow = i;
        }
        switch(overflow) {
        case 0: decode_t(pixels, word, transparent); break;
        case 1: decode_h(pixels, word, transparent); break;
        case 2: decode_planar(pixels, word); break;
        default: decode_halves(pixels, base, word, transparent); break;
        }
    }
    storeColors(dst, width, height, stride, pixel, pixels);
}

void ImageCoderETC2::encode_color(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                                  const uint8_t *src, uint32_t capabilities, Image::Flags flags) {
    uint8_t colors[64];
    loadColors(colors, width, height, stride, pixel, src);
    const uint32_t alpha = (capabilities & HasA1) ? uint32_t(CoderAlpha) : 0;
    getCoderKernels().encode_etc_color(dst, colors, get_flags(flags) | alpha);
}

Image ImageCoderETC2::decode(Format format, const Image &image, Image::Flags flags, Async *async) {
    const uint32_t capabilities = get_capabilities(image.getFormat());
    const bool is_signed = image.isSignedFormat();
    Image ret;
    if(!create(ret, image, toPixelFormat(image.getFormat()))) return ret;
    const uint32_t size = image.getBlockSize();
    const uint32_t pixel = ret.getPixelSize();
    const auto decode_row = [=](const Row &row) {
        const uint8_t *src = row.blocks;
        uint8_t *dst = row.pixels;
        for(uint32_t x = 0; x < row.width; x += 4, src += size, dst += 4 * pixel) {
            const uint32_t width = min(row.width - x, 4u);
            if(capabilities & HasRGB8) {
                decode_color(dst, width, row.height, row.stride, pixel, src + size - 8, capabilities);
                if(capabilities & HasA8) decode_alpha(dst + 3, width, row.height, row.stride, pixel, src, false, false);
            } else {
                for(uint32_t i = 0; i < pixel; i++)
                    decode_alpha(dst + i, width, row.height, row.stride, pixel, src + i * 8, true, is_signed);
            }
        }
    };
    for_each_row(image, ret, decode_row, async);
    if(format != FormatUnknown && format != ret.getFormat()) return ret.toFormat(format, flags, async);
    return ret;
}

Image ImageCoderETC2::encode(Format format, const Image &image, Image::Flags flags, Async *async) {
    const uint32_t capabilities = get_capabilities(format);
    const bool is_signed = Kolm::isSignedFormat(format);
    Image converted, ret;
    const Image *pixels = get_pixels(format, image, converted, async);
    if(!pixels || !create(ret, image, format)) return ret;
    const uint32_t size = ret.getBlockSize();
    const uint32_t pixel = pixels->getPixelSize();
    const auto encode_row = [=](const Row &row) {
        const uint8_t *src = row.pixels;
        uint8_t *dst = row.blocks;
        for(uint32_t x = 0; x < row.width; x += 4, dst += size, src += 4 * pixel) {
            const uint32_t width = min(row.width - x, 4u);
            if(capabilities & HasRGB8) {
                if(capabilities & HasA8)
                    encode_alpha(dst, width, row.height, row.stride, pixel, src + 3, false, false, flags);
                encode_color(dst + size - 8, width, row.height, row.stride, pixel, src, capabilities, flags);
            } else {
                for(uint32_t i = 0; i < pixel; i++)
                    encode_alpha(dst + i * 8, width, row.height, row.stride, pixel, src + i, true, is_signed, flags);
            }
        }
    };
    for_each_row(ret, *pixels, encode_row, async);
    return ret;
}

} // namespace Kolm
