// Image::toFormat against the written-out formula of each path, element by element.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "CapturedLog.h"
#include "KolmFloat.h"
#include "KolmImage.h"

using namespace Kolm;

namespace {

template<class Type> Image make(Format format, const std::vector<Type> &elements) {
    Image image;
    const uint32_t pixels = uint32_t(elements.size() * sizeof(Type) / format_sizes[format]);
    EXPECT_TRUE(image.create2D(format, pixels, 1));
    EXPECT_EQ(image.getDataSize(), elements.size() * sizeof(Type));
    memcpy(image.getData(), elements.data(), image.getDataSize());
    return image;
}

template<class Type> std::vector<Type> elements(const Image &image) {
    std::vector<Type> ret(image.isAllocated() ? image.getDataSize() / sizeof(Type) : 0);
    if(!ret.empty()) memcpy(ret.data(), image.getData(), image.getDataSize());
    return ret;
}

template<class Type> std::vector<Type> all() {
    std::vector<Type> ret;
    for(uint32_t i = 0; i < (sizeof(Type) == 1 ? 256 : 65536); i++) ret.push_back(Type(i));
    return ret;
}

std::vector<uint32_t> words() {
    std::vector<uint32_t> ret = {0, 1, 0x01010100, 0x01010101, 0xFFFFFFFE, 0xFFFFFFFF, 0x7FFFFFFF, 0x80000000};
    for(uint32_t i = 0, v = 1; i < 1000; i++) ret.push_back(v = v * 1664525 + 1013904223);
    return ret;
}

std::vector<float> floats() {
    std::vector<float> ret = {0.0f,     -0.0f,     1.0f, 0.999f, 0.5f,   -1.0f,    1e30f,      -1e30f,
                              INFINITY, -INFINITY, NAN,  2.0f,   255.0f, 65535.5f, 0.0031308f, 0.0031307f};
    for(uint32_t i = 0, v = 1; i < 4000; i++) ret.push_back(float((v = v * 1664525 + 1013904223) >> 8) / 0x1000000);
    return ret;
}

// Cut, saturated, NaN as 0.
double cut(double v, double top) { return !(v > 0) ? 0 : std::min(std::floor(v), top); }

float decode8(uint32_t v) {
    return (v * 0.003921569f < 0.04044994f) ? v * 0.00030352699f : powf(v * 0.003717127f + 0.052132703f, 2.4f);
}
float encode(float x) { return (x < 0.0031308f) ? x * 12.92f : 1.055f * powf(x, 0.41666666f) - 0.055f; }
// The top value from 1.0 on, cut below.
double encode_cut(float x, double top) { return x >= 1.0f ? top : cut(encode(x > 0 ? x : 0) * float(top), top); }

float fast_power(float x, float p) {
    if(!(x > 1e-16f)) x = 1e-16f;
    int32_t bits;
    memcpy(&bits, &x, 4);
    bits = int32_t(float(bits - 0x3F79E59D) * p) + 0x3F79E59D;
    memcpy(&x, &bits, 4);
    return x;
}

template<class Src, class Dst>
void check(Format from, Format to, const std::vector<Src> &src, std::function<Dst(Src, size_t)> expected,
           Image::Flags flags = Image::FlagNone) {
    SCOPED_TRACE(std::string(getFormatName(from)) + " to " + getFormatName(to));
    const std::vector<Dst> ret = elements<Dst>(make(from, src).toFormat(to, flags));
    ASSERT_EQ(ret.size(), src.size());
    for(size_t i = 0; i < src.size(); i++) {
        const Dst value = expected(src[i], i);
        ASSERT_EQ(memcmp(&ret[i], &value, sizeof(Dst)), 0)
            << i << ": " << double(src[i]) << " gives " << double(ret[i]);
    }
}

} // namespace

TEST(ImageConvert, integers_of_other_widths) {
    check<uint8_t, uint16_t>(FormatRu8n, FormatRu16n, all<uint8_t>(), [](uint8_t v, size_t) { return v * 257; });
    check<uint8_t, uint16_t>(FormatRGBAu8, FormatRGBAu16, all<uint8_t>(), [](uint8_t v, size_t) { return v; });
    check<uint8_t, uint32_t>(FormatRGu8n, FormatRGu32, all<uint8_t>(), [](uint8_t v, size_t) { return v; });
    check<uint16_t, uint8_t>(FormatRu16n, FormatRu8n, all<uint16_t>(), [](uint16_t v, size_t) { return v / 257; });
    check<uint16_t, uint8_t>(FormatRu16n, FormatRu8, all<uint16_t>(), [](uint16_t v, size_t) { return v & 255; });
    check<uint16_t, uint32_t>(FormatRu16n, FormatRu32, all<uint16_t>(), [](uint16_t v, size_t) { return v; });
    check<uint32_t, uint8_t>(FormatRu32, FormatRu8n, words(), [](uint32_t v, size_t) { return v / 0x01010101; });
    check<uint32_t, uint16_t>(FormatRu32, FormatRu16n, words(), [](uint32_t v, size_t) { return v / 0x10001; });
    check<uint32_t, uint16_t>(FormatRu32, FormatRu16, words(), [](uint32_t v, size_t) { return v & 0xFFFF; });
    check<uint16_t, uint8_t>(FormatRGBAu16n, FormatBGRAu8n, all<uint16_t>(),
                             [](uint16_t v, size_t) { return v / 257; });
}

TEST(ImageConvert, integers_to_floats) {
    check<uint8_t, float>(FormatRu8n, FormatRf32, all<uint8_t>(), [](uint8_t v, size_t) { return v * 0.003921569f; });
    check<uint8_t, float>(FormatRu8, FormatRf32, all<uint8_t>(), [](uint8_t v, size_t) { return v; });
    check<uint16_t, float>(FormatRu16n, FormatRf32, all<uint16_t>(),
                           [](uint16_t v, size_t) { return v * 1.5259022e-5f; });
    check<uint16_t, float>(FormatDu16, FormatRf32, all<uint16_t>(), [](uint16_t v, size_t) { return v; });
    check<uint8_t, uint16_t>(FormatRu8n, FormatRf16, all<uint8_t>(),
                             [](uint8_t v, size_t) { return float16_t(v * 0.003921569f).bits; });
    check<uint32_t, uint16_t>(FormatRu32, FormatRf16, words(),
                              [](uint32_t v, size_t) { return float16_t(float(v)).bits; });
}

TEST(ImageConvert, floats_to_integers) {
    const auto unit = [](double scale, double top) {
        return [=](float v, size_t) { return cut(double(v * float(scale)), top); };
    };
    check<float, uint8_t>(FormatRf32, FormatRu8n, floats(), unit(256, 255));
    check<float, uint16_t>(FormatRf32, FormatRu16n, floats(), unit(65536, 65535));
    check<float, uint8_t>(FormatRf32, FormatRu8, floats(), unit(1, 255));
    std::vector<uint16_t> halfs;
    for(uint32_t i = 0; i < 65536; i++) halfs.push_back(uint16_t(i));
    check<uint16_t, uint8_t>(FormatRf16, FormatRu8n, halfs,
                             [](uint16_t v, size_t) { return cut(float16_t::fromBits(v).get() * 256, 255); });
    check<uint16_t, uint32_t>(FormatRf16, FormatRu32, halfs,
                              [](uint16_t v, size_t) { return cut(float16_t::fromBits(v).get(), 4294967295.0); });
    // From -1 to 3 onto the whole range.
    const std::vector<float> range = {-1.0f, 0.0f, 1.0f, 3.0f, NAN};
    EXPECT_EQ(elements<uint8_t>(make(FormatRf32, range).toFormat(FormatRu8n, Image::FlagNormalize)),
              (std::vector<uint8_t>{0, 64, 128, 255, 0}));
    EXPECT_EQ(elements<uint8_t>(make(FormatRf32, std::vector<float>{0, 0}).toFormat(FormatRu8n, Image::FlagNormalize)),
              (std::vector<uint8_t>{0, 0}));
}

TEST(ImageConvert, floats) {
    std::vector<uint16_t> halfs;
    for(uint32_t i = 0; i < 65536; i++) halfs.push_back(uint16_t(i));
    check<uint16_t, float>(FormatRf16, FormatRf32, halfs,
                           [](uint16_t v, size_t) { return float16_t::fromBits(v).get(); });
    std::vector<float> values = floats();
    for(uint32_t i = 0, v = 1; i < 400000; i++) values.push_back(bitsToFloat(v = v * 1664525 + 1013904223));
    for(uint32_t i = 0; i < 256; i++) {
        for(const uint32_t m : {0u, 1u, 0x1FFFu, 0x2000u, 0x7FFFFFu}) values.push_back(bitsToFloat((i << 23) | m));
    }
    check<float, uint16_t>(FormatRf32, FormatRf16, values, [](float v, size_t) { return float16_t(v).bits; });
}

TEST(ImageConvert, srgb) {
    check<uint8_t, float>(FormatRGBAu8ns, FormatRGBAf32, all<uint8_t>(),
                          [](uint8_t v, size_t i) { return (i & 3) == 3 ? v * 0.003921569f : decode8(v); });
    check<uint8_t, float>(
        FormatRGBu8n, FormatRGBf32, std::vector<uint8_t>(256 * 3, 77), [](uint8_t v, size_t) { return decode8(v); },
        Image::FlagSRGB);
    check<uint8_t, uint16_t>(FormatRGBAu8ns, FormatRGBAu16n, all<uint8_t>(), [](uint8_t v, size_t i) {
        return (i & 3) == 3 ? v * 257 : v == 255 ? 65535 : cut(decode8(v) * 65535.0f, 65535);
    });
    check<uint16_t, uint8_t>(FormatRGBAu16n, FormatRGBAu8ns, all<uint16_t>(), [](uint16_t v, size_t i) {
        return (i & 3) == 3 ? v / 257 : encode_cut(v * 1.5259022e-5f, 255);
    });
    check<float, uint8_t>(FormatRGBAf32, FormatRGBAu8ns, floats(),
                          [](float v, size_t i) { return (i & 3) == 3 ? cut(v * 255.0f, 255) : encode_cut(v, 255); });
    check<float, uint16_t>(
        FormatRf32, FormatRu16n, floats(), [](float v, size_t) { return encode_cut(v, 65535); }, Image::FlagSRGB);
    check<uint16_t, float>(
        FormatRGu16n, FormatRGf32, all<uint16_t>(),
        [](uint16_t v, size_t) {
            return (v * 1.5259022e-5f < 0.04044994f) ? v * 1.1810389e-6f : powf(v * 1.4463529e-5f + 0.052132703f, 2.4f);
        },
        Image::FlagSRGB);
    // White and alpha survive the way through floats.
    const std::vector<uint8_t> white = {255, 255, 255, 255, 255, 255, 255, 1, 255, 255, 255, 128, 0, 0, 0, 77};
    EXPECT_EQ(elements<uint8_t>(make(FormatRGBAu8ns, white).toFormat(FormatRGBAf32).toFormat(FormatRGBAu8ns)), white);
}

TEST(ImageConvert, gamma) {
    check<uint8_t, float>(
        FormatRGBAu8n, FormatRGBAf32, all<uint8_t>(),
        [](uint8_t v, size_t i) { return (i & 3) == 3 ? v * 0.003921569f : fast_power(v * 0.003921569f, 2.2f); },
        Image::FlagGamma);
    check<float, uint8_t>(
        FormatRf32, FormatRu8n, std::vector<float>{0, 0.2f, 0.5f, 0.9f, 1.0f, -3.0f, NAN},
        [](float v, size_t) { return cut(fast_power(v, 0.45454544f) * 256, 255); }, Image::FlagGamma);
    check<uint8_t, float>(
        FormatRu8, FormatRf32, all<uint8_t>(), [](uint8_t v, size_t) { return v; }, Image::FlagGamma);
}

TEST(ImageConvert, retags) {
    const std::vector<uint8_t> bytes = {5, 0, 255, 128};
    EXPECT_EQ(elements<int8_t>(make(FormatRGBAu8, bytes).toFormat(FormatRGBAi8)),
              (std::vector<int8_t>{-123, -128, 127, 0}));
    EXPECT_EQ(elements<uint8_t>(make(FormatRGBAu8n, bytes).toFormat(FormatRGBAu8ns)), bytes);
    EXPECT_EQ(elements<uint8_t>(make(FormatRGBAu8n, bytes).toFormat(FormatBGRAu8n)), bytes);
    EXPECT_EQ(elements<uint8_t>(make(FormatBGRAu8n, bytes).toFormat(FormatBGRAu8ns)), bytes);
    EXPECT_EQ(elements<uint8_t>(make(FormatBGRAu8n, bytes).toFormat(FormatRGBAu8n)),
              (std::vector<uint8_t>{255, 0, 5, 128}));
    EXPECT_EQ(elements<uint16_t>(make(FormatBGRAu8n, bytes).toFormat(FormatRGu16n)),
              (std::vector<uint16_t>{0xFFFF, 0}));
    const std::vector<uint64_t> longs = {1, 0x8000000000000000};
    EXPECT_EQ(elements<uint64_t>(make(FormatRu64, longs).toFormat(FormatRi64)),
              (std::vector<uint64_t>{0x8000000000000001, 0}));
    EXPECT_EQ(make(FormatRGBu10Au2, bytes).toFormat(FormatRGBu10Au2n).getFormat(), FormatRGBu10Au2n);
    EXPECT_EQ(make(FormatBC1RGBu8n, std::vector<uint8_t>(8)).toFormat(FormatBC1RGBAu8ns).getFormat(),
              FormatBC1RGBAu8ns);
}

TEST(ImageConvert, other_components) {
    EXPECT_EQ(elements<uint8_t>(make(FormatRu8n, std::vector<uint8_t>{7, 9}).toFormat(FormatRGBAu8n)),
              (std::vector<uint8_t>{7, 0, 0, 255, 9, 0, 0, 255}));
    EXPECT_EQ(elements<uint8_t>(make(FormatRGBAu8ns, std::vector<uint8_t>{1, 2, 3, 4}).toFormat(FormatRGu8)),
              (std::vector<uint8_t>{1, 2}));
    EXPECT_EQ(elements<int16_t>(make(FormatRGi16n, std::vector<int16_t>{-1, 2}).toFormat(FormatRGBAi16n)),
              (std::vector<int16_t>{-1, 2, 0, 0}));
    EXPECT_EQ(elements<float>(make(FormatRGf32, std::vector<float>{3, 4}).toFormat(FormatRGBAf32)),
              (std::vector<float>{3, 4, 0, 1}));
    EXPECT_EQ(elements<uint16_t>(make(FormatRf16, std::vector<uint16_t>{0x3800}).toFormat(FormatRGBAf16)),
              (std::vector<uint16_t>{0x3800, 0, 0, 0x3C00}));
    EXPECT_EQ(elements<uint16_t>(make(FormatRGBu8n, std::vector<uint8_t>{1, 2, 3}).toFormat(FormatRGBAu16n)),
              (std::vector<uint16_t>{0x101, 0x202, 0x303, 0xFFFF}));
}

TEST(ImageConvert, keeps_shape) {
    Image image;
    ASSERT_TRUE(image.create(Image::TypeCube, FormatRGBu8n, Size(8, 8), 2, Image::FlagMipmaps));
    EXPECT_EQ(image.toFormat(FormatRGBAf16).getDescription(), "Cube RGBAf16 8x8 l2 m4");
    ASSERT_TRUE(image.create3D(FormatRu8n, 8, 4, 2));
    EXPECT_EQ(image.toFormat(FormatRf32).getDescription(), "3D Rf32 8x4x2");
}

TEST(ImageConvert, refuses) {
    static const struct {
        Format from, to;
    } rows[] = {
        {FormatRGBAu32, FormatRGBAf32}, {FormatRGBAi8, FormatRGBAi16},     {FormatRGBAf16, FormatRGBAu16n},
        {FormatRi64, FormatRi32},       {FormatRGBAf64, FormatRGBAf32},    {FormatRf32, FormatDf32},
        {FormatDf32Su8, FormatRf16},    {FormatDu24, FormatRu32},          {FormatDu16Su8, FormatRu8},
        {FormatRGBAu4n, FormatRGBAu8n}, {FormatRGBAu8n, FormatRGBu10Au2n}, {FormatRu8n, FormatUnknown},
        {FormatRGf64, FormatRf64},
    };
    for(const auto &row : rows) {
        CapturedLog log;
        Image image(Image::Type2D, row.from, Size(4, 4));
        EXPECT_FALSE(image.toFormat(row.to).isLoaded());
        EXPECT_EQ(log.text(), std::string("Image::toFormat(): can't convert 2D ") + getFormatName(row.from) +
                                  " 4x4 to " + getFormatName(row.to) + "\n");
    }
    CapturedLog log;
    EXPECT_FALSE(Image(Image::Type2D, FormatRu8, Size(4, 4), Image::FlagNoAllocate).toFormat(FormatRu8).isLoaded());
    EXPECT_FALSE(Image().toFormat(FormatRu8).isLoaded());
    EXPECT_EQ(log.size(), 2u);
}

// Every pair of formats either converts to the right shape or says no; nothing is read or written beyond the data.
TEST(ImageConvert, all_pairs) {
    CapturedLog log;
    for(uint32_t i = 1; i < NumFormats; i++) {
        Image image;
        ASSERT_TRUE(image.create2D(Format(i), 5, 3, 2, Image::FlagMipmaps));
        memset(image.getData(), 0x7F + int(i), image.getDataSize());
        for(uint32_t j = 0; j < NumFormats; j++) {
            for(const Image::Flags flags :
                {Image::FlagNone, Image::FlagSRGB, Image::FlagGamma | Image::FlagNormalize}) {
                const Image ret = image.toFormat(Format(j), flags);
                if(!ret.isLoaded()) continue;
                // Blocks that go nowhere are decoded.
                const Format format = (j == FormatUnknown) ? toPixelFormat(Format(i)) : Format(j);
                ASSERT_EQ(ret.getFormat(), format);
                ASSERT_EQ(ret.getSize(), image.getSize());
                ASSERT_EQ(ret.getSlice(), image.getSlice());
            }
        }
    }
}
