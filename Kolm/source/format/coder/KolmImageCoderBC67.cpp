// BC6 and BC7: decoding, and the walk over blocks for encoding. The searches are in KolmCoderBC6.h and KolmCoderBC7.h.

#include "KolmImageCoderBC67.h"

#include "KolmCoderBits.h"
#include "KolmCoderKernels.h"
#include "KolmCoderTablesBC67.h"

namespace Kolm {

static ImageCoderBC67 image_coder_bc67;

namespace {

// Mode of the low bits of a BC6 block, BC6Modes for a reserved one.
uint32_t find_mode(uint32_t bits) {
    const uint32_t value = (bits & 2) ? (bits & 31) : (bits & 3);
    for(uint32_t i = 0; i < BC6Modes; i++) {
        if(bc6_modes[i].value == value) return i;
    }
    return BC6Modes;
}

int32_t extend_sign(int32_t value, uint32_t bits) {
    const int32_t sign = 1 << (bits - 1);
    return ((value & ((1 << bits) - 1)) ^ sign) - sign;
}

// Endpoint as a number of 16 bits, or of 15 bits and a sign.
int32_t unquantize(int32_t value, uint32_t bits, bool is_signed) {
    if(is_signed) {
        if(bits >= 16) return value;
        const int32_t magnitude = (value < 0) ? -value : value;
        int32_t ret = ((magnitude << 15) + 0x4000) >> (bits - 1);
        if(magnitude == 0) ret = 0;
        if(magnitude >= (1 << (bits - 1)) - 1) ret = 0x7FFF;
        return (value < 0) ? -ret : ret;
    }
    if(bits >= 15) return value;
    if(value == 0) return 0;
    if(value == (1 << bits) - 1) return 0xFFFF;
    return ((value << 16) + 0x8000) >> bits;
}

// Half float of an interpolated number.
uint16_t get_half(int32_t value, bool is_signed) {
    if(!is_signed) return uint16_t((value * 31) >> 6);
    return (value < 0) ? uint16_t(((-value * 31) >> 5) | 0x8000) : uint16_t((value * 31) >> 5);
}

struct Half3 {
    uint16_t c[3];
};

// Nearest even spread of a value of few bits over eight.
uint32_t extend_bits(uint32_t value, uint32_t bits) {
    value <<= 8 - bits;
    return value | (value >> bits);
}

} // namespace

ImageCoderBC67::ImageCoderBC67() : ImageCoder(FlagDecodeEncode, FormatBC6RGBf16s, FormatBC7RGBAu8ns) {}

void ImageCoderBC67::decode_color6(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, const uint8_t *src,
                                   bool is_signed) {
    Half3 pixels[16] = {};
    BlockReader reader(src);
    const uint32_t index = find_mode(src[0]);
    if(index < BC6Modes) {
        const BC6Mode &mode = bc6_modes[index];
        const uint32_t subsets = (index < BC6PartitionModes) ? 2 : 1;
        reader.get(mode.value_bits);
        int32_t colors[3][4] = {};
        for(uint32_t i = 0; bc6_runs.sizes[index][i]; i++) {
            const uint32_t bit = bc6_runs.bits[index][i];
            colors[bit >> 6][(bit >> 4) & 3] |= int32_t(reader.get(bc6_runs.sizes[index][i]) << (bit & 15));
        }
        for(uint32_t c = 0; c < 3; c++) {
            if(is_signed) colors[c][0] = extend_sign(colors[c][0], mode.bits);
            for(uint32_t i = 1; i < subsets * 2; i++) {
                if(mode.transformed) {
                    const int32_t sum = colors[c][0] + extend_sign(colors[c][i], mode.deltas[c]);
                    colors[c][i] = sum & ((1 << mode.bits) - 1);
                }
                if(is_signed) colors[c][i] = extend_sign(colors[c][i], mode.bits);
            }
            for(uint32_t i = 0; i < subsets * 2; i++) colors[c][i] = unquantize(colors[c][i], mode.bits, is_signed);
        }
        const uint32_t partition = (subsets == 2) ? reader.get(5) : 0;
        const uint32_t mask = (subsets == 2) ? bc67_partitions[0][partition] : 0;
        const uint32_t anchor = (subsets == 2) ? getAnchor(2, partition, 1) : 0;
        const uint32_t index_bits = (subsets == 2) ? 3 : 4;
        for(uint32_t i = 0; i < 16; i++) {
            const uint32_t subset = (mask >> (i * 2)) & 1;
            const uint32_t bits = (i == 0 || i == anchor) ? index_bits - 1 : index_bits;
            const int32_t weight = bc67_weights[index_bits - 2][reader.get(bits)];
            for(uint32_t c = 0; c < 3; c++) {
                const int32_t *ends = colors[c] + subset * 2;
                pixels[i].c[c] = get_half((ends[0] * (64 - weight) + ends[1] * weight + 32) >> 6, is_signed);
            }
        }
    }
    storePixels<6>(dst, width, height, stride, pixels);
}

void ImageCoderBC67::encode_color6(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, const uint8_t *src,
                                   bool is_signed, Image::Flags flags) {
    uint16_t colors[48];
    for(uint32_t i = 0; i < 16; i++) {
        const uint32_t x = i & 3;
        const uint32_t y = i >> 2;
        memcpy(colors + i * 3, (x < width && y < height) ? src + y * stride + x * 6 : src, 6);
    }
    const uint32_t sign = is_signed ? uint32_t(CoderSigned) : 0;
    getCoderKernels().encode_bc6(dst, colors, get_flags(flags) | sign);
}

void ImageCoderBC67::decode_color7(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, const uint8_t *src) {
    uint32_t pixels[16] = {};
    if(src[0]) {
        const uint32_t index = uint32_t(__builtin_ctz(src[0]));
        const BC7Mode &mode = bc7_modes[index];
        BlockReader reader(src);
        reader.get(index + 1);
        const uint32_t partition = mode.partition_bits ? reader.get(mode.partition_bits) : 0;
        const uint32_t rotation = mode.rotation_bits ? reader.get(mode.rotation_bits) : 0;
        const uint32_t selector = mode.selector_bits ? reader.get(mode.selector_bits) : 0;
        const uint32_t ends = mode.subsets * 2;
        uint32_t colors[6][4];
        for(uint32_t c = 0; c < 3; c++) {
            for(uint32_t i = 0; i < ends; i++) colors[i][c] = reader.get(mode.color_bits);
        }
        for(uint32_t i = 0; i < ends; i++) colors[i][3] = mode.alpha_bits ? reader.get(mode.alpha_bits) : 255;
        uint32_t color_bits = mode.color_bits;
        uint32_t alpha_bits = mode.alpha_bits;
        if(mode.pbits) {
            uint32_t pbit = 0;
            for(uint32_t i = 0; i < ends; i++) {
                if(mode.pbits == 2 || (i & 1) == 0) pbit = reader.get(1);
                for(uint32_t c = 0; c < (alpha_bits ? 4u : 3u); c++) colors[i][c] = (colors[i][c] << 1) | pbit;
            }
            color_bits++;
            if(alpha_bits) alpha_bits++;
        }
        for(uint32_t i = 0; i < ends; i++) {
            for(uint32_t c = 0; c < 3; c++) colors[i][c] = extend_bits(colors[i][c], color_bits);
            if(alpha_bits) colors[i][3] = extend_bits(colors[i][3], alpha_bits);
        }
        uint32_t mask = 0;
        if(mode.subsets > 1) mask = bc67_partitions[mode.subsets - 2][partition];
        uint32_t anchors = 1;
        for(uint32_t i = 1; i < mode.subsets; i++) anchors |= 1u << getAnchor(mode.subsets, partition, i);

        uint8_t indices[16];
        uint8_t indices_2[16];
        for(uint32_t i = 0; i < 16; i++) indices[i] = uint8_t(reader.get(mode.index_bits - ((anchors >> i) & 1)));
        memcpy(indices_2, indices, sizeof(indices));
        uint32_t bits = mode.index_bits;
        uint32_t bits_2 = mode.index_bits;
        if(mode.index_bits_2) {
            bits_2 = mode.index_bits_2;
            for(uint32_t i = 0; i < 16; i++) indices_2[i] = uint8_t(reader.get(bits_2 - (i == 0)));
        }
        const uint8_t *color_indices = selector ? indices_2 : indices;
        const uint8_t *alpha_indices = selector ? indices : indices_2;
        const uint8_t *color_weights = bc67_weights[(selector ? bits_2 : bits) - 2];
        const uint8_t *alpha_weights = bc67_weights[(selector ? bits : bits_2) - 2];
        for(uint32_t i = 0; i < 16; i++) {
            const uint32_t subset = (mask >> (i * 2)) & 3;
            const uint32_t *a = colors[subset * 2];
            const uint32_t *b = colors[subset * 2 + 1];
            uint32_t color[4];
            for(uint32_t c = 0; c < 4; c++) {
                const uint32_t w = (c < 3) ? color_weights[color_indices[i]] : alpha_weights[alpha_indices[i]];
                color[c] = (a[c] * (64 - w) + b[c] * w + 32) >> 6;
            }
            if(rotation) swap(color[3], color[rotation - 1]);
            pixels[i] = color[0] | (color[1] << 8) | (color[2] << 16) | (color[3] << 24);
        }
    }
    storeColors(dst, width, height, stride, 4, pixels);
}

void ImageCoderBC67::encode_color7(uint8_t *dst, uint32_t width, uint32_t height, size_t stride, const uint8_t *src,
                                   Image::Flags flags) {
    uint8_t colors[64];
    loadColors(colors, width, height, stride, 4, src);
    getCoderKernels().encode_bc7(dst, colors, get_flags(flags));
}

Image ImageCoderBC67::decode(Format format, const Image &image, Image::Flags flags, Async *async) {
    Image ret;
    if(!create(ret, image, toPixelFormat(image.getFormat()))) return ret;
    const bool half = image.isFloatFormat();
    const bool is_signed = (image.getFormat() == FormatBC6RGBf16s);
    const uint32_t pixel = ret.getPixelSize();
    const auto decode_row = [=](const Row &row) {
        const uint8_t *src = row.blocks;
        uint8_t *dst = row.pixels;
        for(uint32_t x = 0; x < row.width; x += 4, src += 16, dst += 4 * pixel) {
            const uint32_t width = min(row.width - x, 4u);
            if(half)
                decode_color6(dst, width, row.height, row.stride, src, is_signed);
            else
                decode_color7(dst, width, row.height, row.stride, src);
        }
    };
    for_each_row(image, ret, decode_row, async);
    if(format != FormatUnknown && format != ret.getFormat()) return ret.toFormat(format, flags, async);
    return ret;
}

Image ImageCoderBC67::encode(Format format, const Image &image, Image::Flags flags, Async *async) {
    Image converted, ret;
    const Image *pixels = get_pixels(format, image, converted, async);
    if(!pixels || !create(ret, image, format)) return ret;
    const bool half = Kolm::isFloatFormat(format);
    const bool is_signed = (format == FormatBC6RGBf16s);
    const uint32_t pixel = pixels->getPixelSize();
    const auto encode_row = [=](const Row &row) {
        const uint8_t *src = row.pixels;
        uint8_t *dst = row.blocks;
        for(uint32_t x = 0; x < row.width; x += 4, dst += 16, src += 4 * pixel) {
            const uint32_t width = min(row.width - x, 4u);
            if(half)
                encode_color6(dst, width, row.height, row.stride, src, is_signed, flags);
            else
                encode_color7(dst, width, row.height, row.stride, src, flags);
        }
    };
    for_each_row(ret, *pixels, encode_row, async);
    return ret;
}

} // namespace Kolm
