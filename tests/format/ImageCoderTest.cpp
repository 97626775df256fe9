// Decoding of blocks beside plain decoders, and how Image::toFormat reaches the coders.

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "CapturedLog.h"
#include "KolmAsync.h"
#include "KolmBlob.h"
#include "KolmCoderKernels.h"
#include "KolmFloat.h"
#include "KolmImage.h"
#include "KolmImageCoder.h"
#include "PlainBlocks.h"

using namespace Kolm;

namespace {

void decode_plain(plain::Pixels &pixels, Format format, const uint8_t *block) {
    switch(format) {
    case FormatBC1RGBu8n:
    case FormatBC1RGBu8ns: return plain::decode_bc1(pixels, block, true, false);
    case FormatBC1RGBAu8n:
    case FormatBC1RGBAu8ns: return plain::decode_bc1(pixels, block, false, false);
    case FormatBC2RGBAu8n:
    case FormatBC2RGBAu8ns:
        plain::decode_bc1(pixels, block + 8, true, true);
        return plain::decode_bc2_alpha(pixels, block);
    case FormatBC3RGBAu8n:
    case FormatBC3RGBAu8ns:
        plain::decode_bc1(pixels, block + 8, true, true);
        return plain::decode_bc4(pixels, block, 3, false);
    case FormatBC4Ri8n:
    case FormatBC4Ru8n: return plain::decode_bc4(pixels, block, 0, format == FormatBC4Ri8n);
    case FormatBC5RGi8n:
    case FormatBC5RGu8n:
        plain::decode_bc4(pixels, block, 0, format == FormatBC5RGi8n);
        return plain::decode_bc4(pixels, block + 8, 1, format == FormatBC5RGi8n);
    case FormatBC6RGBf16s:
    case FormatBC6RGBf16u: return plain::decode_bc6(pixels, block, format == FormatBC6RGBf16s);
    case FormatBC7RGBAu8n:
    case FormatBC7RGBAu8ns: return plain::decode_bc7(pixels, block);
    case FormatEACRi8n:
    case FormatEACRu8n: return plain::decode_eac(pixels, block, 0, 11, format == FormatEACRi8n);
    case FormatEACRGi8n:
    case FormatEACRGu8n:
        plain::decode_eac(pixels, block, 0, 11, format == FormatEACRGi8n);
        return plain::decode_eac(pixels, block + 8, 1, 11, format == FormatEACRGi8n);
    case FormatETC2RGBu8n:
    case FormatETC2RGBu8ns: return plain::decode_etc2(pixels, block, false);
    case FormatETC2RGBAu8n:
    case FormatETC2RGBAu8ns:
        plain::decode_etc2(pixels, block + 8, false);
        return plain::decode_eac(pixels, block, 3, 8, false);
    default: return plain::decode_etc2(pixels, block, true);
    }
}

std::vector<Format> get_formats() {
    std::vector<Format> ret;
    for(uint32_t i = FormatBCBegin; i <= FormatETCBack; i++) ret.push_back(Format(i));
    return ret;
}

// Block rows with a name, for messages.
Image make_image(Format format, uint32_t width, uint32_t height, uint32_t seed) {
    Image image;
    EXPECT_TRUE(image.create2D(format, width, height));
    std::mt19937 random(seed);
    for(size_t i = 0; i < image.getDataSize(); i++) image.getData()[i] = uint8_t(random());
    return image;
}

// Structured blocks: gradients, edges and noise of several strengths.
Image make_picture(Format format, uint32_t width, uint32_t height) {
    Image image;
    EXPECT_TRUE(image.create2D(FormatRGBAu8n, width, height));
    std::mt19937 random(1);
    for(uint32_t y = 0; y < height; y++) {
        for(uint32_t x = 0; x < width; x++) {
            uint8_t *pixel = image.getData(Origin(x, y));
            for(uint32_t c = 0; c < 4; c++) {
                const float wave = 0.5f + 0.35f * std::sin(float(x) * (0.07f + 0.02f * float(c)) + float(c)) *
                                              std::cos(float(y) * (0.05f + 0.03f * float(c)));
                const float edge = ((x / 11 + y / 7 + c) % 3 == 0) ? 0.15f : 0.0f;
                const float noise = float(random() % 1000) * 0.00005f * float(x * 4 / width);
                pixel[c] = uint8_t(std::min((wave + edge + noise) * 240.0f, 255.0f));
            }
            if(y < height / 2) pixel[3] = 255;
        }
    }
    if(isFloatFormat(format)) {
        Image floats = image.toFormat(FormatRGBAf32).toFormat(FormatRGBf32);
        float *data = reinterpret_cast<float *>(floats.getData());
        for(size_t i = 0; i < floats.getDataSize() / 4; i++) {
            data[i] = data[i] * data[i] * 8.0f;
            if(format == FormatBC6RGBf16s && (i / 3 / 5) % 7 == 0) data[i] = -data[i];
        }
        return floats.toFormat(FormatRGBf16);
    }
    return image.toFormat(toPixelFormat(format));
}

uint32_t get_value(const Image &image, uint32_t pixel, uint32_t channel) {
    const uint8_t *data = image.getData() + size_t(pixel) * image.getPixelSize();
    if(!image.isf16Format()) return data[channel];
    uint16_t half;
    memcpy(&half, data + channel * 2, 2);
    return half;
}

} // namespace

TEST(ImageCoder, decodes_random_blocks_as_plain_decoders_do) {
    constexpr uint32_t columns = 320, rows = 320;
    for(const Format format : get_formats()) {
        SCOPED_TRACE(getFormatName(format));
        Image blocks = make_image(format, columns * 4, rows * 4, format);
        const uint32_t size = blocks.getBlockSize();
        if(format == FormatBC7RGBAu8n) {
            // All modes as often as each other, and the one that is none.
            for(uint32_t i = 0; i < columns * rows; i++) {
                uint8_t &first = blocks.getData()[size_t(i) * size];
                const uint32_t mode = i % 9;
                first = uint8_t((first >> mode << mode & ~((1u << (mode + 1)) - 1)) | (mode < 8 ? 1u << mode : 0));
            }
        }
        const Image pixels = blocks.toFormat(FormatUnknown);
        ASSERT_EQ(pixels.getFormat(), toPixelFormat(format));
        const uint32_t mask = pixels.isf16Format() ? 0xFFFF : 0xFF;
        for(uint32_t i = 0; i < columns * rows; i++) {
            plain::Pixels expected;
            decode_plain(expected, format, blocks.getData() + size_t(i) * size);
            for(uint32_t j = 0; j < 16; j++) {
                const uint32_t pixel = ((i / columns) * 4 + j / 4) * columns * 4 + (i % columns) * 4 + j % 4;
                for(uint32_t c = 0; c < pixels.getComponents(); c++)
                    ASSERT_EQ(get_value(pixels, pixel, c), uint32_t(expected[j][c]) & mask)
                        << "block " << i << " pixel " << j << " channel " << c;
            }
        }
    }
}

TEST(ImageCoder, decodes_known_bytes) {
    const auto decode = [](Format format, std::vector<uint8_t> bytes) {
        Image image;
        image.create2D(format, 4);
        memcpy(image.getData(), bytes.data(), bytes.size());
        const Image pixels = image.toFormat(FormatUnknown);
        std::vector<uint8_t> ret(pixels.getData(), pixels.getData() + pixels.getDataSize());
        return ret;
    };
    const std::vector<uint8_t> four = decode(FormatBC1RGBAu8n, {0x00, 0xF8, 0xE0, 0x07, 0xE4, 0xE4, 0xE4, 0xE4});
    const uint8_t row_4[16] = {255, 0, 0, 255, 0, 255, 0, 255, 170, 85, 0, 255, 85, 170, 0, 255};
    const std::vector<uint8_t> three = decode(FormatBC1RGBAu8n, {0xE0, 0x07, 0x00, 0xF8, 0xE4, 0xE4, 0xE4, 0xE4});
    const uint8_t row_3[16] = {0, 255, 0, 255, 255, 0, 0, 255, 128, 128, 0, 255, 0, 0, 0, 0};
    for(uint32_t y = 0; y < 4; y++) {
        EXPECT_EQ(memcmp(four.data() + y * 16, row_4, 16), 0);
        EXPECT_EQ(memcmp(three.data() + y * 16, row_3, 16), 0);
    }
    // The fourth colour without alpha is black; BC3 has no 3-colour form.
    const std::vector<uint8_t> black = decode(FormatBC1RGBu8n, {0xE0, 0x07, 0x00, 0xF8, 0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(black, std::vector<uint8_t>(48, 0));
    // Ends of -128 and -127 are the same number, but in the order of eight steps.
    EXPECT_EQ(decode(FormatBC4Ri8n, {0x81, 0x80, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}), std::vector<uint8_t>(16, 0x81));
    EXPECT_EQ(decode(FormatBC4Ri8n, {0x80, 0x81, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}), std::vector<uint8_t>(16, 0x7F));
    // Modes that are none: transparent black, and black in each of the reserved ones.
    std::vector<uint8_t> block(16, 0xFF);
    block[0] = 0;
    EXPECT_EQ(decode(FormatBC7RGBAu8n, block), std::vector<uint8_t>(64, 0));
    for(const uint8_t mode : {0x13, 0x17, 0x1B, 0x1F}) {
        block[0] = uint8_t(0xE0 | mode);
        EXPECT_EQ(decode(FormatBC6RGBf16u, block), std::vector<uint8_t>(96, 0));
    }
}

TEST(ImageCoder, writes_only_valid_pixels) {
    static const struct {
        Image::Type type;
        Size size;
        uint32_t layers;
    } shapes[] = {
        {Image::Type2D, Size(1, 1), 1},    {Image::Type2D, Size(5, 3), 1},     {Image::Type2D, Size(13, 2), 3},
        {Image::Type3D, Size(7, 6, 5), 1}, {Image::TypeCube, Size(10, 10), 2}, {Image::Type2D, Size(64, 1), 1},
    };
    Async async;
    ASSERT_TRUE(async.init(2));
    for(const Format format : get_formats()) {
        for(const auto &shape : shapes) {
            SCOPED_TRACE(getFormatName(format));
            Image pixels;
            ASSERT_TRUE(pixels.create(shape.type, toPixelFormat(format), shape.size, shape.layers, Image::FlagMipmaps));
            for(size_t i = 0; i < pixels.getDataSize(); i++) pixels.getData()[i] = uint8_t(i * 7 + (i >> 5) * 3);
            const Image blocks = pixels.toFormat(format);
            ASSERT_EQ(blocks.getFormat(), format);
            EXPECT_EQ(blocks.getMipmaps(), pixels.getMipmaps());
            EXPECT_EQ(blocks.getSize(), pixels.getSize());
            const Image decoded = blocks.toFormat(FormatUnknown);
            ASSERT_EQ(decoded.getDataSize(), pixels.getDataSize());
            // The same bytes with workers.
            EXPECT_EQ(pixels.toFormat(format, Image::FlagNone, &async).compare(blocks), 0);
            EXPECT_EQ(blocks.toFormat(FormatUnknown, Image::FlagNone, &async).compare(decoded), 0);
            // A level is what its pixels alone give.
            const uint32_t last = pixels.getMipmaps() - 1;
            const Slice slice{Face(pixels.getFaces() - 1), Layer(pixels.getLayers() - 1), Mipmap(last / 2)};
            if(pixels.is3DType()) continue;
            EXPECT_EQ(pixels.getSlice(slice).toFormat(format).compare(blocks.getSlice(slice)), 0);
        }
    }
}

TEST(ImageCoder, depth_slices_are_walked) {
    for(const Format format : {FormatBC1RGBu8n, FormatBC7RGBAu8n, FormatETC2RGBu8n}) {
        Image pixels;
        ASSERT_TRUE(pixels.create3D(toPixelFormat(format), 6, 5, 3));
        for(uint32_t z = 0; z < 3; z++) {
            for(uint32_t i = 0; i < 30; i++)
                memset(pixels.getData(Origin(i % 6, i / 6, z)), int(z * 85 + 40), pixels.getComponents());
        }
        const Image decoded = pixels.toFormat(format).toFormat(FormatUnknown);
        for(size_t i = 0; i < pixels.getDataSize(); i++)
            ASSERT_NEAR(decoded.getData()[i], pixels.getData()[i], 5) << getFormatName(format) << " " << i;
    }
}

TEST(ImageCoder, all_kernels_give_the_same_bytes) {
    const CoderKernels *plain = getCoderKernels(0);
    ASSERT_NE(plain, nullptr);
    const Image picture = make_picture(FormatBC7RGBAu8n, 64, 64);
    const Image halfs = make_picture(FormatBC6RGBf16s, 64, 64);
    std::mt19937 random(3);
    for(uint32_t i = 0; i < 300; i++) {
        uint8_t pixels[64], bytes[16];
        uint16_t half_pixels[48];
        for(uint32_t j = 0; j < 16; j++) {
            const Origin origin((i % 16) * 4 + j % 4, ((i / 16) % 16) * 4 + j / 4);
            memcpy(pixels + j * 4, picture.getData(origin), 4);
            memcpy(half_pixels + j * 3, halfs.getData(origin), 6);
        }
        if(i % 5 == 0) {
            for(uint8_t &v : pixels) v = uint8_t(random());
            for(uint16_t &v : half_pixels) v = uint16_t(random());
        }
        for(uint32_t j = 0; j < 16; j++) bytes[j] = pixels[j * 4 + 1];
        for(uint32_t flags : {0u, uint32_t(CoderFast), uint32_t(CoderBest), uint32_t(CoderBest | CoderPerceptual)}) {
            if(i % 3 == 0) flags |= CoderAlpha;
            const auto run = [&](const CoderKernels &kernels, std::vector<uint8_t> &ret) {
                ret.assign(64, 0);
                kernels.encode_bc_color(ret.data(), pixels, flags);
                kernels.encode_bc_alpha(ret.data() + 8, bytes, 255, flags);
                kernels.encode_etc_color(ret.data() + 16, pixels, flags);
                kernels.encode_eac(ret.data() + 24, bytes, true, flags);
                kernels.encode_bc7(ret.data() + 32, pixels, flags);
                kernels.encode_bc6(ret.data() + 48, half_pixels, flags | ((i & 1) ? CoderSigned : CoderNone));
            };
            std::vector<uint8_t> expected, found;
            run(*plain, expected);
            for(uint32_t k = 1; const CoderKernels *kernels = getCoderKernels(k); k++) {
                run(*kernels, found);
                ASSERT_EQ(found, expected) << kernels->name << " block " << i << " flags " << flags;
            }
        }
    }
}

TEST(ImageCoder, registry_knows_its_formats) {
    for(uint32_t i = 0; i < NumFormats; i++) {
        const Format format = Format(i);
        EXPECT_EQ(ImageCoder::check(format), i >= FormatBCBegin && i <= FormatETCBack) << getFormatName(format);
    }
    CapturedLog log;
    EXPECT_EQ(ImageCoder::get(FormatASTC44RGBAu8n), nullptr);
    EXPECT_EQ(log.take(), "ImageCoder::get(): can't find ASTC44RGBAu8n image format\n");
    const std::string names = ImageCoder::getEncodeFormats().get();
    EXPECT_EQ(names.substr(0, 26), "BC1RGBu8n BC1RGBu8ns BC1RG");
    EXPECT_STREQ(ImageCoder::getDecodeFormats().get(), names.c_str());
}

TEST(ImageCoder, image_conversion_reaches_the_coders) {
    CapturedLog log;
    const Image picture = make_picture(FormatBC7RGBAu8n, 20, 12);
    // The source is converted to the pixels of the target first, and the other way round.
    const Image six = picture.toFormat(FormatBC6RGBf16u);
    ASSERT_EQ(six.getFormat(), FormatBC6RGBf16u);
    EXPECT_EQ(six.toFormat(FormatUnknown).getFormat(), FormatRGBf16);
    const Image four = picture.toFormat(FormatBC4Ru8n);
    EXPECT_EQ(four.toFormat(FormatRGBAu8n).getFormat(), FormatRGBAu8n);
    // Blocks to blocks go through pixels; a BGRA source is swapped first.
    EXPECT_EQ(picture.toFormat(FormatBC7RGBAu8n).toFormat(FormatETC2RGBAu8n).getFormat(), FormatETC2RGBAu8n);
    Image bgra;
    bgra.create2D(FormatBGRAu8n, 4);
    for(uint32_t i = 0; i < 16; i++) bgra.getData()[i * 4] = 255;
    EXPECT_EQ(bgra.toFormat(FormatBC1RGBu8n).toFormat(FormatUnknown).getData()[2], 255);
    // The bytes of pixels count, whatever transfer function either side has.
    EXPECT_EQ(memcmp(picture.toFormat(FormatBC7RGBAu8ns).getData(), picture.toFormat(FormatBC7RGBAu8n).getData(),
                     picture.toFormat(FormatBC7RGBAu8n).getDataSize()),
              0);
    EXPECT_EQ(log.take(), "");
    // Formats without a coder: between rows of one family as they are, otherwise a line.
    Image astc;
    astc.create2D(FormatASTC44RGBAu8n, 8);
    EXPECT_EQ(astc.toFormat(FormatASTC44RGBAu8ns).getFormat(), FormatASTC44RGBAu8ns);
    EXPECT_EQ(log.take(), "");
    EXPECT_FALSE(astc.toFormat(FormatRGBAu8n).isLoaded());
    EXPECT_EQ(log.take(), "ImageCoder::get(): can't find ASTC44RGBAu8n image format\n"
                          "Image::toFormat(): can't convert 2D ASTC44RGBAu8n 8x8 to RGBAu8n\n");
    Image described;
    described.create2D(FormatBC1RGBu8n, 8, 8, Image::FlagNoAllocate);
    EXPECT_FALSE(described.toFormat(FormatRGBAu8n).isLoaded());
    EXPECT_EQ(log.take(), "Image::toFormat(): can't convert 2D BC1RGBu8n 8x8 to RGBAu8n\n");
}

TEST(ImageCoder, files_of_blocks_are_saved_and_loaded) {
    const Image picture = make_picture(FormatBC7RGBAu8n, 37, 18);
    for(const char *name : {"x.dds", "x.ktx", "x.image"}) {
        for(const Format format : {FormatBC1RGBAu8n, FormatBC3RGBAu8n, FormatBC7RGBAu8n, FormatETC2RGBAu8n}) {
            if(isETC2Format(format) && strcmp(name, "x.dds") == 0) continue;
            SCOPED_TRACE(std::string(name) + " " + getFormatName(format));
            const Image blocks = picture.toFormat(format);
            Blob blob(name);
            ASSERT_TRUE(blocks.save(blob));
            blob.seek(0);
            Image loaded;
            ASSERT_TRUE(loaded.load(blob));
            EXPECT_EQ(loaded.compare(blocks), 0);
            const Image pixels = loaded.toFormat(FormatRGBAu8n);
            EXPECT_EQ(pixels.compare(blocks.toFormat(FormatRGBAu8n)), 0);
        }
    }
}
