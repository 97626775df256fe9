// BC1 to BC5: the walks over blocks. The searches are in KolmCoderBC15.h, the decoder in KolmCoderDecodeBC15.h.

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

void ImageCoderBC15::encode_alpha4(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                                   const uint8_t *src) {
    uint8_t alphas[16];
    loadBytes(alphas, width, height, stride, pixel, src);
    for(uint8_t &alpha : alphas) alpha = uint8_t((alpha * 15 + 127) / 255);
    for(uint32_t i = 0; i < 8; i++) dst[i] = uint8_t(alphas[i * 2] | (alphas[i * 2 + 1] << 4));
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

void ImageCoderBC15::encode_color(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, uint32_t pixel,
                                  const uint8_t *src, uint32_t capabilities, Image::Flags flags) {
    uint8_t colors[64];
    loadColors(colors, width, height, stride, pixel, src);
    const uint32_t alpha = (capabilities & HasA1) ? uint32_t(CoderAlpha) : 0;
    getCoderKernels().encode_bc_color(dst, colors, get_flags(flags) | alpha);
}

static CoderBlocks get_blocks(Format format) {
    switch(format) {
    case FormatBC1RGBu8n:
    case FormatBC1RGBu8ns: return CoderBC1;
    case FormatBC1RGBAu8n:
    case FormatBC1RGBAu8ns: return CoderBC1Alpha;
    case FormatBC2RGBAu8n:
    case FormatBC2RGBAu8ns: return CoderBC2;
    case FormatBC3RGBAu8n:
    case FormatBC3RGBAu8ns: return CoderBC3;
    case FormatBC4Ri8n: return CoderBC4Signed;
    case FormatBC4Ru8n: return CoderBC4;
    case FormatBC5RGi8n: return CoderBC5Signed;
    default: return CoderBC5;
    }
}

Image ImageCoderBC15::decode(Format format, const Image &image, Image::Flags flags, Async *async) {
    const CoderBlocks type = get_blocks(image.getFormat());
    const CoderKernels &kernels = getCoderKernels();
    Image ret;
    if(!create(ret, image, toPixelFormat(image.getFormat()))) return ret;
    const uint32_t size = image.getBlockSize();
    const uint32_t pixel = ret.getPixelSize();
    const auto decode_row = [=, &kernels](const Row &row) {
        const uint32_t full = (row.height == 4) ? row.width / 4 : 0;
        kernels.decode_bc(row.pixels, row.stride, row.blocks, full, type);
        for(uint32_t x = full * 4; x < row.width; x += 4) {
            uint8_t pixels[64];
            kernels.decode_bc(pixels, 4 * pixel, row.blocks + x / 4 * size, 1, type);
            for(uint32_t y = 0; y < row.height; y++)
                memcpy(row.pixels + row.stride * y + x * pixel, pixels + y * 4 * pixel, min(row.width - x, 4u) * pixel);
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
