// BC1 to BC5: decoding, and the walk over blocks for encoding. The searches are in KolmCoderBC15.h.

#include "KolmImageCoderBC15.h"

#include "KolmCoderBits.h"
#include "KolmCoderKernels.h"

namespace Kolm {

static ImageCoderBC15 image_coder_bc15;

ImageCoderBC15::ImageCoderBC15() : ImageCoder(FlagDecodeEncode, FormatBC1RGBu8n, FormatBC5RGu8n) {}

uint32_t ImageCoderBC15::get_capabilities(Format format) {
    switch(format) {
    case FormatBC1RGBu8n:
    case FormatBC1RGBu8ns: return HasRGB8 | HasBlack;
    case FormatBC1RGBAu8n:
    case FormatBC1RGBAu8ns: return HasRGB8A1;
    case FormatBC2RGBAu8n:
    case FormatBC2RGBAu8ns: return HasRGB8A4;
    case FormatBC3RGBAu8n:
    case FormatBC3RGBAu8ns: return HasRGBA8;
    case FormatBC4Ri8n:
    case FormatBC4Ru8n: return HasR8;
    default: return HasRG8;
    }
}

void ImageCoderBC15::create_alphas(uint8_t alphas[8], uint32_t alpha_0, uint32_t alpha_1, uint32_t top, bool eight) {
    const uint32_t a = alpha_0;
    const uint32_t b = alpha_1;
    alphas[0] = uint8_t(a);
    alphas[1] = uint8_t(b);
    if(eight) {
        for(uint32_t i = 1; i < 7; i++) alphas[i + 1] = uint8_t(((7 - i) * a + i * b + 3) / 7);
    } else {
        for(uint32_t i = 1; i < 5; i++) alphas[i + 1] = uint8_t(((5 - i) * a + i * b + 2) / 5);
        alphas[6] = 0;
        alphas[7] = uint8_t(top);
    }
}

void ImageCoderBC15::decode_alpha4(uint32_t pixels[16], const uint8_t *src) {
    for(uint32_t i = 0; i < 16; i++) {
        const uint32_t alpha = ((src[i >> 1] >> ((i & 1) * 4)) & 15) * 17;
        pixels[i] = (pixels[i] & 0xFFFFFF) | (alpha << 24);
    }
}

void ImageCoderBC15::encode_alpha4(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                                   const uint8_t *src) {
    uint8_t alphas[16];
    loadBytes(alphas, width, height, stride, pixel, src);
    for(uint8_t &alpha : alphas) alpha = uint8_t((alpha * 15 + 127) / 255);
    for(uint32_t i = 0; i < 8; i++) dst[i] = uint8_t(alphas[i * 2] | (alphas[i * 2 + 1] << 4));
}

void ImageCoderBC15::create_alphas(uint8_t alphas[8], const uint8_t *src, bool is_signed) {
    if(is_signed) {
        // -128 stands for -127, but the order of the ends is that of the bytes.
        const int32_t a = int8_t(src[0]);
        const int32_t b = int8_t(src[1]);
        create_alphas(alphas, uint32_t(max(a, -127) + 127), uint32_t(max(b, -127) + 127), 254, a > b);
        for(uint32_t i = 0; i < 8; i++) alphas[i] = uint8_t(alphas[i] - 127);
    } else {
        create_alphas(alphas, src[0], src[1], 255, src[0] > src[1]);
    }
}

void ImageCoderBC15::decode_alpha(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                                  const uint8_t *src, bool is_signed) {
    uint8_t alphas[8];
    create_alphas(alphas, src, is_signed);
    uint64_t indices = 0;
    memcpy(&indices, src + 2, 6);
    for(uint32_t y = 0; y < height; y++, dst += stride) {
        const uint32_t row = uint32_t(indices >> (y * 12));
        for(uint32_t x = 0; x < width; x++) dst[x * pixel] = alphas[(row >> (x * 3)) & 7];
    }
}

void ImageCoderBC15::decode_alpha(uint32_t pixels[16], const uint8_t *src) {
    uint8_t alphas[8];
    create_alphas(alphas, src, false);
    uint64_t indices = 0;
    memcpy(&indices, src + 2, 6);
    for(uint32_t i = 0; i < 16; i++, indices >>= 3)
        pixels[i] = (pixels[i] & 0xFFFFFF) | (uint32_t(alphas[indices & 7]) << 24);
}

void ImageCoderBC15::encode_alpha(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                                  const uint8_t *src, bool is_signed, Image::Flags flags) {
    uint8_t alphas[16];
    loadBytes(alphas, width, height, stride, pixel, src);
    if(is_signed) {
        for(uint8_t &alpha : alphas) alpha = uint8_t(max(int32_t(int8_t(alpha)), -127) + 127);
    }
    getCoderKernels().encode_bc_alpha(dst, alphas, is_signed ? 254 : 255, get_flags(flags));
    if(is_signed) {
        dst[0] = uint8_t(dst[0] - 127);
        dst[1] = uint8_t(dst[1] - 127);
    }
}

void ImageCoderBC15::decode_color(uint32_t pixels[16], const uint8_t *src, uint32_t capabilities) {
    const uint32_t c0 = src[0] | (src[1] << 8);
    const uint32_t c1 = src[2] | (src[3] << 8);
    uint32_t indices = 0;
    memcpy(&indices, src + 4, 4);
    const uint32_t r0 = ((c0 >> 11) << 3) | (c0 >> 13);
    const uint32_t g0 = ((c0 >> 3) & 0xFC) | ((c0 >> 9) & 3);
    const uint32_t b0 = ((c0 << 3) & 0xF8) | ((c0 >> 2) & 7);
    const uint32_t r1 = ((c1 >> 11) << 3) | (c1 >> 13);
    const uint32_t g1 = ((c1 >> 3) & 0xFC) | ((c1 >> 9) & 3);
    const uint32_t b1 = ((c1 << 3) & 0xF8) | ((c1 >> 2) & 7);
    const auto pack = [](uint32_t r, uint32_t g, uint32_t b) { return r | (g << 8) | (b << 16) | 0xFF000000; };
    uint32_t colors[4];
    colors[0] = pack(r0, g0, b0);
    colors[1] = pack(r1, g1, b1);
    if(c0 > c1 || (capabilities & (HasA1 | HasBlack)) == 0) {
        colors[2] = pack((2 * r0 + r1 + 1) / 3, (2 * g0 + g1 + 1) / 3, (2 * b0 + b1 + 1) / 3);
        colors[3] = pack((r0 + 2 * r1 + 1) / 3, (g0 + 2 * g1 + 1) / 3, (b0 + 2 * b1 + 1) / 3);
    } else {
        colors[2] = pack((r0 + r1 + 1) >> 1, (g0 + g1 + 1) >> 1, (b0 + b1 + 1) >> 1);
        colors[3] = (capabilities & HasA1) ? 0 : 0xFF000000;
    }
    for(uint32_t i = 0; i < 16; i++) pixels[i] = colors[(indices >> (i * 2)) & 3];
}

void ImageCoderBC15::encode_color(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                                  const uint8_t *src, uint32_t capabilities, Image::Flags flags) {
    uint8_t colors[64];
    loadColors(colors, width, height, stride, pixel, src);
    const uint32_t alpha = (capabilities & HasA1) ? uint32_t(CoderAlpha) : 0;
    getCoderKernels().encode_bc_color(dst, colors, get_flags(flags) | alpha);
}

Image ImageCoderBC15::decode(Format format, const Image &image, Image::Flags flags, Async *async) {
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
                uint32_t pixels[16];
                decode_color(pixels, src + size - 8, capabilities);
                if(capabilities & HasA8)
                    decode_alpha(pixels, src);
                else if(capabilities & HasA4)
                    decode_alpha4(pixels, src);
                storeColors(dst, width, row.height, row.stride, pixel, pixels);
            } else {
                for(uint32_t i = 0; i < pixel; i++)
                    decode_alpha(dst + i, width, row.height, row.stride, pixel, src + i * 8, is_signed);
            }
        }
    };
    for_each_row(image, ret, decode_row, async);
    if(format != FormatUnknown && format != ret.getFormat()) return ret.toFormat(format, flags, async);
    return ret;
}

Image ImageCoderBC15::encode(Format format, const Image &image, Image::Flags flags, Async *async) {
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
                    encode_alpha(dst, width, row.height, row.stride, pixel, src + 3, false, flags);
                else if(capabilities & HasA4)
                    encode_alpha4(dst, width, row.height, row.stride, pixel, src + 3);
                encode_color(dst + size - 8, width, row.height, row.stride, pixel, src, capabilities, flags);
            } else {
                for(uint32_t i = 0; i < pixel; i++)
                    encode_alpha(dst + i * 8, width, row.height, row.stride, pixel, src + i, is_signed, flags);
            }
        }
    };
    for_each_row(ret, *pixels, encode_row, async);
    return ret;
}

} // namespace Kolm
