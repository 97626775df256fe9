// Encoding of blocks: what the searches promise, and how good their pictures are.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "KolmFloat.h"
#include "KolmImage.h"

using namespace Kolm;

namespace {

std::vector<uint8_t> encode(Format format, const std::vector<uint8_t> &pixels, Image::Flags flags = Image::FlagNone) {
    Image image;
    EXPECT_TRUE(image.create2D(toPixelFormat(format), 4));
    EXPECT_EQ(image.getDataSize(), pixels.size());
    memcpy(image.getData(), pixels.data(), pixels.size());
    const Image blocks = image.toFormat(format, flags);
    return std::vector<uint8_t>(blocks.getData(), blocks.getData() + blocks.getDataSize());
}
std::vector<uint8_t> decode(Format format, const std::vector<uint8_t> &block) {
    Image image;
    EXPECT_TRUE(image.create2D(format, 4));
    memcpy(image.getData(), block.data(), block.size());
    const Image pixels = image.toFormat(FormatUnknown);
    return std::vector<uint8_t>(pixels.getData(), pixels.getData() + pixels.getDataSize());
}
uint32_t get_error(const std::vector<uint8_t> &a, const std::vector<uint8_t> &b) {
    uint32_t ret = 0;
    for(size_t i = 0; i < a.size(); i++) ret += uint32_t((a[i] - b[i]) * (a[i] - b[i]));
    return ret;
}

/*
 * the byte search, written out
 */

std::vector<int> get_entries(int a, int b, bool eight) {
    std::vector<int> ret = {a, b};
    const int steps = eight ? 7 : 5;
    for(int i = 1; i < steps; i++) ret.push_back(((steps - i) * a + i * b + steps / 2) / steps);
    if(!eight) ret.insert(ret.end(), {0, 255});
    return ret;
}
int get_palette_error(const std::vector<uint8_t> &src, int a, int b, bool eight) {
    const std::vector<int> entries = get_entries(a, b, eight);
    int ret = 0;
    for(const int v : src) {
        int best = 1 << 20;
        for(const int entry : entries) best = std::min(best, (entry - v) * (entry - v));
        ret += best;
    }
    return ret;
}
// Ends of the first palette of the least error.
std::pair<uint8_t, uint8_t> search_alphas(const std::vector<uint8_t> &src, bool fast) {
    int lo = 255, hi = 0, inner_lo = 256, inner_hi = -1;
    for(const int v : src) {
        lo = std::min(lo, v);
        hi = std::max(hi, v);
        if(v == 0 || v == 255) continue;
        inner_lo = std::min(inner_lo, v);
        inner_hi = std::max(inner_hi, v);
    }
    int error = 1 << 30;
    std::pair<uint8_t, uint8_t> ret;
    const auto radius = [fast](int range) { return fast ? (7 + range) / 8 : (3 + range) / 4; };
    const auto search = [&](int base_0, int base_1, int r, bool eight) {
        for(int i = -r; i <= r; i++) {
            for(int j = -r; j <= r && error; j++) {
                const int a = uint8_t(base_0 + i), b = uint8_t(base_1 + j);
                if(eight ? (b >= a) : (a > b)) continue;
                const int e = get_palette_error(src, a, b, eight);
                if(e >= error) continue;
                error = e;
                ret = {uint8_t(a), uint8_t(b)};
            }
        }
    };
    search(hi, lo, radius(hi - lo), true);
    if(error && inner_hi >= 0) search(inner_lo, inner_hi, radius(inner_hi - inner_lo), false);
    return ret;
}

/*
 * pictures
 */

// Smooth colours, soft and hard edges and grain, as photographs have them.
Image make_photo() {
    Image image;
    EXPECT_TRUE(image.create2D(FormatRGBAu8n, 96, 96));
    std::mt19937 random(5);
    for(uint32_t y = 0; y < 96; y++) {
        for(uint32_t x = 0; x < 96; x++) {
            uint8_t *pixel = image.getData(Origin(x, y));
            const float light = 0.55f + 0.3f * std::sin(float(x) * 0.06f) * std::cos(float(y) * 0.045f);
            const float leaf = std::sin(float(x) * 0.5f + std::sin(float(y) * 0.3f) * 2.0f) > 0.3f ? 0.8f : 1.0f;
            const float grain = float(int(random() % 17) - 8) * 0.004f;
            const float tint[3] = {0.9f + 0.1f * std::sin(float(y) * 0.05f), 0.8f,
                                   0.6f + 0.2f * std::cos(float(x) * 0.04f)};
            for(uint32_t c = 0; c < 3; c++)
                pixel[c] = uint8_t(std::fmin(std::fmax((light * leaf + grain) * tint[c], 0.0f), 1.0f) * 255.0f);
            pixel[3] = uint8_t(std::fmin(std::fmax(light * 300.0f - 20.0f, 0.0f), 255.0f));
        }
    }
    return image;
}

// Mean square error of all channels with the weights of a metric. Halfs count as the integers of their bits.
template<class Type> double get_error(const Image &a, const Image &b, const double weights[4]) {
    const Type *x = reinterpret_cast<const Type *>(a.getData());
    const Type *y = reinterpret_cast<const Type *>(b.getData());
    const size_t size = a.getDataSize() / sizeof(Type);
    double ret = 0.0;
    for(size_t i = 0; i < size; i++) {
        const double d = (double(x[i]) - double(y[i])) * weights[i % a.getComponents()];
        ret += d * d;
    }
    return ret / double(size);
}
constexpr double plain_weights[4] = {1, 1, 1, 1};
constexpr double eye_weights[4] = {3, 6, 1, 1};
double get_decibels(const Image &a, const Image &b) {
    const double top = a.isf16Format() ? 31743.0 : 255.0;
    const double error = a.isf16Format()      ? get_error<int16_t>(a, b, plain_weights)
                         : a.isSignedFormat() ? get_error<int8_t>(a, b, plain_weights)
                                              : get_error<uint8_t>(a, b, plain_weights);
    return 10.0 * std::log10(top * top / error);
}

} // namespace

TEST(ImageCoderEncode, byte_blocks_are_the_first_of_the_least_error) {
    std::mt19937 random(11);
    for(uint32_t i = 0; i < 60; i++) {
        // Narrow and wide ranges, ends near 0 and 255 where candidates wrap, few values, and both ends of the range.
        const uint32_t range = 1u << (i % 7);
        const uint32_t base = (i % 3 == 0) ? 0 : (i % 3 == 1) ? 255 - range : random() % (256 - range);
        std::vector<uint8_t> src(16);
        for(uint8_t &v : src) v = uint8_t(base + random() % (range + 1));
        if(i % 4 == 3) src[3] = 0, src[7] = 255;
        if(i % 11 == 5) std::fill(src.begin() + 4, src.end(), src[0]);
        for(const bool fast : {false, true}) {
            const std::vector<uint8_t> block = encode(FormatBC4Ru8n, src, fast ? Image::FlagFast : Image::FlagNone);
            if(*std::min_element(src.begin(), src.end()) == *std::max_element(src.begin(), src.end())) continue;
            const std::pair<uint8_t, uint8_t> expected = search_alphas(src, fast);
            ASSERT_EQ(block[0], expected.first) << i << (fast ? " fast" : "");
            ASSERT_EQ(block[1], expected.second) << i << (fast ? " fast" : "");
            const int error = get_palette_error(src, block[0], block[1], block[0] > block[1]);
            ASSERT_EQ(get_error(src, decode(FormatBC4Ru8n, block)), uint32_t(error)) << i;
        }
    }
}

TEST(ImageCoderEncode, simple_blocks_are_exact) {
    for(uint32_t v = 0; v < 256; v++) {
        const std::vector<uint8_t> src(16, uint8_t(v));
        EXPECT_EQ(encode(FormatBC4Ru8n, src), (std::vector<uint8_t>{uint8_t(v), uint8_t(v), 0, 0, 0, 0, 0, 0}));
        for(const Format format : {FormatBC4Ru8n, FormatEACRu8n}) EXPECT_EQ(decode(format, encode(format, src)), src);
        // The lowest signed byte has no place of its own in BC4, and one at the end of the range in EAC.
        const std::vector<uint8_t> low(16, uint8_t(0x81));
        EXPECT_EQ(decode(FormatBC4Ri8n, encode(FormatBC4Ri8n, src)), v == 0x80 ? low : src) << v;
        EXPECT_EQ(decode(FormatEACRi8n, encode(FormatEACRi8n, src)), src) << v;
        std::vector<uint8_t> color(64);
        for(uint32_t i = 0; i < 64; i++) color[i] = uint8_t(v + (i & 3) * 77);
        EXPECT_EQ(decode(FormatBC7RGBAu8n, encode(FormatBC7RGBAu8n, color)), color) << v;
    }
    const std::vector<uint8_t> white(48, 255);
    EXPECT_EQ(encode(FormatBC1RGBu8n, white), (std::vector<uint8_t>{0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}));
    // Both ends of the range and one value between: only the six steps hold all three.
    std::vector<uint8_t> three(16, 128);
    three[0] = three[5] = 0;
    three[9] = 255;
    const std::vector<uint8_t> block = encode(FormatBC4Ru8n, three);
    EXPECT_LE(block[0], block[1]);
    EXPECT_EQ(decode(FormatBC4Ru8n, block), three);
    // Only the ends.
    std::vector<uint8_t> two(16, 255);
    two[6] = 0;
    EXPECT_EQ(decode(FormatBC4Ru8n, encode(FormatBC4Ru8n, two)), two);
}

TEST(ImageCoderEncode, transparent_pixels_take_the_three_color_form) {
    std::vector<uint8_t> src(64);
    for(uint32_t i = 0; i < 64; i++) src[i] = uint8_t((i & 3) == 3 ? 128 : i * 3);
    std::vector<uint8_t> block = encode(FormatBC1RGBAu8n, src);
    EXPECT_GT(block[0] + block[1] * 256, block[2] + block[3] * 256);
    src[4 * 5 + 3] = 127;
    block = encode(FormatBC1RGBAu8n, src);
    EXPECT_LE(block[0] + block[1] * 256, block[2] + block[3] * 256);
    std::vector<uint8_t> pixels = decode(FormatBC1RGBAu8n, block);
    for(uint32_t i = 0; i < 16; i++) EXPECT_EQ(pixels[i * 4 + 3], i == 5 ? 0 : 255);
    // Without alpha in the format its bytes do not matter, and index 3 of equal ends would be black.
    std::vector<uint8_t> rgb(48, 0x21);
    EXPECT_LT(get_error(rgb, decode(FormatBC1RGBu8n, encode(FormatBC1RGBu8n, rgb))), 48u * 9);
    for(uint32_t i = 0; i < 16; i++) src[i * 4 + 3] = uint8_t(i);
    EXPECT_EQ(encode(FormatBC1RGBAu8n, src), (std::vector<uint8_t>{0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(decode(FormatETC2RGBu8Au1n, encode(FormatETC2RGBu8Au1n, src)), std::vector<uint8_t>(64, 0));
    // ETC2 keeps the rest of a block with a transparent pixel.
    for(uint32_t i = 0; i < 16; i++) {
        const uint8_t color[4] = {uint8_t(40 + i * 6), uint8_t(90 + i * 5), uint8_t(60 + i * 6),
                                  uint8_t(i == 7 ? 0 : 255)};
        memcpy(src.data() + i * 4, color, 4);
    }
    pixels = decode(FormatETC2RGBu8Au1n, encode(FormatETC2RGBu8Au1n, src));
    for(uint32_t i = 0; i < 16; i++) {
        EXPECT_EQ(pixels[i * 4 + 3], i == 7 ? 0 : 255);
        for(uint32_t c = 0; c < 3 && i != 7; c++) EXPECT_NEAR(pixels[i * 4 + c], src[i * 4 + c], 24);
    }
}

TEST(ImageCoderEncode, quality_is_above_its_floors) {
    // Floors lie a little below what the formats give for this picture.
    static const struct {
        Format format;
        double fast, normal, best;
    } rows[] = {
        {FormatBC1RGBu8n, 37.7, 38.6, 39.2},   {FormatBC3RGBAu8n, 38.9, 39.8, 40.4},
        {FormatBC4Ru8n, 46.8, 46.8, 46.8},     {FormatBC5RGu8n, 47.3, 47.3, 47.3},
        {FormatBC7RGBAu8n, 43.8, 44.4, 44.5},  {FormatEACRu8n, 46.1, 46.7, 47.0},
        {FormatEACRGi8n, 46.5, 47.1, 47.4},    {FormatETC2RGBu8n, 37.1, 38.2, 38.4},
        {FormatETC2RGBAu8n, 38.3, 39.4, 39.6}, {FormatBC6RGBf16u, 67.4, 67.8, 68.0},
        {FormatBC6RGBf16s, 67.0, 67.2, 67.4},
    };
    const Image photo = make_photo();
    for(const auto &row : rows) {
        SCOPED_TRACE(getFormatName(row.format));
        const bool half = isFloatFormat(row.format);
        const Image source =
            half ? photo.toFormat(FormatRGBAf32).toFormat(FormatRGBf16) : photo.toFormat(toPixelFormat(row.format));
        double decibels[3];
        const Image::Flags flags[3] = {Image::FlagFast, Image::FlagNone, Image::FlagBest};
        for(uint32_t i = 0; i < 3; i++) {
            const Image decoded = source.toFormat(row.format, flags[i]).toFormat(FormatUnknown);
            ASSERT_EQ(decoded.getFormat(), source.getFormat());
            decibels[i] = get_decibels(source, decoded);
        }
        EXPECT_GE(decibels[0], row.fast);
        EXPECT_GE(decibels[1], row.normal);
        EXPECT_GE(decibels[2], row.best);
    }
}

// In every format more effort is no worse, and the weighted metric lowers the weighted error.
TEST(ImageCoderEncode, effort_and_metric_count_in_every_format) {
    const Image photo = make_photo();
    for(uint32_t i = FormatBCBegin; i <= FormatETCBack; i++) {
        const Format format = Format(i);
        if(isSRGBFormat(format)) continue;
        SCOPED_TRACE(getFormatName(format));
        Image source = isFloatFormat(format) ? photo.toFormat(FormatRGBAf32).toFormat(FormatRGBf16)
                                             : photo.toFormat(toPixelFormat(format));
        const auto get = [&](Image::Flags flags, const double weights[4]) {
            const Image decoded = source.toFormat(format, flags).toFormat(FormatUnknown);
            return source.isf16Format()      ? get_error<int16_t>(source, decoded, weights)
                   : source.isSignedFormat() ? get_error<int8_t>(source, decoded, weights)
                                             : get_error<uint8_t>(source, decoded, weights);
        };
        const double fast = get(Image::FlagFast, plain_weights);
        const double normal = get(Image::FlagNone, plain_weights);
        const double best = get(Image::FlagBest, plain_weights);
        EXPECT_LE(normal, fast);
        EXPECT_LE(best, normal);
        // Both together are fast.
        EXPECT_EQ(get(Image::FlagFast | Image::FlagBest, plain_weights), fast);
        if(source.getComponents() < 3) continue;
        for(const Image::Flags flags : {Image::FlagFast, Image::FlagNone, Image::FlagBest})
            EXPECT_LT(get(flags | Image::FlagPerceptual, eye_weights), get(flags, eye_weights)) << flags;
    }
}

TEST(ImageCoderEncode, seven_is_far_above_one) {
    const Image photo = make_photo().toFormat(FormatRGBu8n);
    const Image one = photo.toFormat(FormatBC1RGBu8n).toFormat(FormatUnknown);
    const Image seven = photo.toFormat(FormatBC7RGBAu8n).toFormat(FormatRGBu8n);
    EXPECT_GT(get_decibels(photo, seven), get_decibels(photo, one) + 6.0);
}

TEST(ImageCoderEncode, floats_that_no_block_holds_are_cut) {
    Image image;
    ASSERT_TRUE(image.create2D(FormatRGBf16, 4));
    uint16_t *data = reinterpret_cast<uint16_t *>(image.getData());
    const uint16_t values[8] = {0x7C00, 0x7E00, 0xFC00, 0xBC00, 0x3C00, 0x0001, 0x8000, 0x7BFF};
    for(uint32_t v = 0; v < 8; v++) {
        for(uint32_t i = 0; i < 48; i++) data[i] = values[v];
        for(const Format format : {FormatBC6RGBf16u, FormatBC6RGBf16s}) {
            const Image decoded = image.toFormat(format).toFormat(FormatUnknown);
            float16_t half;
            memcpy(&half, decoded.getData(), 2);
            float expected = float16_t::fromBits(values[v]).get();
            if(std::isnan(expected)) expected = 0.0f;
            expected = std::fmin(std::fmax(expected, format == FormatBC6RGBf16s ? -65504.0f : 0.0f), 65504.0f);
            EXPECT_NEAR(half.get(), expected, std::fabs(expected) * 0.002f + 1e-5f) << v << getFormatName(format);
        }
    }
    // All at once, with garbage between.
    for(uint32_t i = 0; i < 48; i++) data[i] = values[i % 8];
    for(const Format format : {FormatBC6RGBf16u, FormatBC6RGBf16s})
        EXPECT_EQ(image.toFormat(format).toFormat(FormatUnknown).getFormat(), FormatRGBf16);
}

// Yellow with blue between nothing and a little: blue spans more of the halfs than red and green do.
TEST(ImageCoderEncode, saturated_halfs_keep_their_bright_channels) {
    static const uint16_t pixels[48] = {
        12721, 12642, 0, 15147, 15013, 0,    13395, 13216, 9488,  9161,  8604,  6946, //
        14703, 14646, 0, 14916, 14807, 0,    12886, 12642, 9918,  13649, 13483, 9946, //
        15234, 15147, 0, 14916, 14792, 9656, 15079, 14932, 11283, 15360, 15360, 0,    //
        15164, 15046, 0, 14932, 14807, 9665, 15013, 14823, 11371, 14617, 14468, 10497,
    };
    Image image;
    ASSERT_TRUE(image.create2D(FormatRGBf16, 4));
    memcpy(image.getData(), pixels, sizeof(pixels));
    for(const Format format : {FormatBC6RGBf16u, FormatBC6RGBf16s}) {
        for(const Image::Flags flags : {Image::FlagFast, Image::FlagNone, Image::FlagBest}) {
            const Image decoded = image.toFormat(format, flags).toFormat(FormatUnknown);
            const uint16_t *data = reinterpret_cast<const uint16_t *>(decoded.getData());
            double error = 0.0;
            for(uint32_t i = 0; i < 48; i++) {
                // As a display shows it, of 255.
                const double a = std::pow(float16_t::fromBits(pixels[i]).get(), 1.0 / 2.2);
                const double b = std::pow(std::fmax(float16_t::fromBits(data[i]).get(), 0.0f), 1.0 / 2.2);
                error += (a - b) * (a - b) * 255.0 * 255.0 / 48.0;
            }
            EXPECT_LT(error, (flags == Image::FlagFast) ? 700.0 : 400.0) << getFormatName(format) << " " << flags;
        }
    }
}
