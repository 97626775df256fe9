// The format table against a list written from names alone, and the small floats against plain arithmetic.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "KolmFloat.h"
#include "KolmFormat.h"
#include "KolmSize.h"
#include "KolmSlice.h"

using namespace Kolm;

namespace {

std::vector<std::vector<std::string>> read_rows() {
    std::ifstream file(OSTREVAN_TEST_DATA "/format/formats.txt");
    std::vector<std::vector<std::string>> rows;
    for(std::string line; std::getline(file, line);) {
        if(line.empty() || line[0] == '#') continue;
        std::istringstream words(line);
        rows.emplace_back();
        for(std::string word; words >> word;) rows.back().push_back(word);
    }
    return rows;
}

} // namespace

TEST(Format, targets_of_all_rows) {
    static Format (*const tables[])(Format) = {toPixelFormat,  toNormFormat,     toSRGBFormat,
                                               toSignedFormat, toUnsignedFormat, toFloatFormat,
                                               to8BitFormat,   to16BitFormat,    to32BitFormat};
    const auto rows = read_rows();
    ASSERT_EQ(rows.size(), size_t(NumFormats - 1));
    for(uint32_t i = 1; i < NumFormats; i++) {
        const auto &row = rows[i - 1];
        EXPECT_EQ(row[0], getFormatName(Format(i)));
        for(uint32_t t = 0; t < 9; t++)
            EXPECT_EQ(row[t + 1], getFormatName(tables[t](Format(i)))) << row[0] << " table " << t;
    }
    for(const auto table : tables) EXPECT_EQ(table(FormatUnknown), FormatUnknown);
}

// Everything that a plain or block name says about its row.
TEST(Format, columns_agree_with_names) {
    for(uint32_t i = 1; i < NumFormats; i++) {
        const Format format = Format(i);
        const std::string name = getFormatName(format);
        if(isMixedFormat(format)) continue;
        SCOPED_TRACE(name);
        EXPECT_EQ(isDepthFormat(format), name[0] == 'D');
        EXPECT_EQ(isStencilFormat(format), name.find("Su8") != std::string::npos);
        EXPECT_EQ(isBlockFormat(format), name.find("BC") == 0 || name.find("E") == 0 || name.find("A") == 0);
        EXPECT_EQ(isSRGBFormat(format), name.back() == 's' && name.substr(name.size() - 2) == "ns");
        EXPECT_EQ(isNormFormat(format), name.find('n') != std::string::npos);
        if(!isPlainFormat(format) || isDepthFormat(format)) continue;
        const size_t channels = name.find_first_of("iuf");
        const uint32_t bits = uint32_t(std::stoul(name.substr(channels + 1)));
        EXPECT_EQ(getFormatComponents(format), channels);
        EXPECT_EQ(getFormatPixelSize(format), channels * bits / 8);
        EXPECT_EQ(isSignedFormat(format), name[channels] == 'i');
        EXPECT_EQ(isUnsignedFormat(format), name[channels] == 'u');
        EXPECT_EQ(isFloatFormat(format), name[channels] == 'f');
        EXPECT_EQ(is8BitFormat(format), bits == 8);
        EXPECT_EQ(is16BitFormat(format), bits == 16);
        EXPECT_EQ(is32BitFormat(format), bits == 32);
        EXPECT_EQ(is64BitFormat(format), bits == 64);
        EXPECT_EQ(getFormatBlockSize(format), 0u);
    }
    EXPECT_EQ(getFormatBlockWidth(FormatASTC85RGBAf16), 8u);
    EXPECT_EQ(getFormatBlockHeight(FormatASTC85RGBAf16), 5u);
    EXPECT_EQ(getFormatBlockSize(FormatBC1RGBAu8ns), 8u);
    EXPECT_EQ(getFormatPixelSize(FormatBC1RGBAu8ns), 0u);
    EXPECT_EQ(getFormatPixelSize(FormatDu16Su8), 4u);
    EXPECT_EQ(getFormatPixelSize(FormatDf32Su8), 8u);
    EXPECT_TRUE(isColorFormat(FormatASTC88RGBAf16) && !isColorFormat(FormatDu16) && isPixelFormat(FormatDu16));
    EXPECT_TRUE(isETC2Format(FormatEACRi8n) && isBC15Format(FormatBC5RGu8n) && isBC67Format(FormatBC6RGBf16s));
}

TEST(Format, names) {
    for(uint32_t i = 1; i < NumFormats; i++) {
        const Format format = Format(i);
        EXPECT_EQ(findFormatName(getFormatName(format)), isMixedFormat(format) ? FormatUnknown : format);
    }
    static const struct {
        const char *name;
        Format format;
    } names[] = {
        {"rgbau8n", FormatRGBAu8n}, {"RGBAU8N", FormatRGBAu8n}, {"rgbau4n", FormatUnknown}, {"", FormatUnknown},
        {"R", FormatUnknown},       {"Unknown", FormatUnknown}, {"rgbau8", FormatRGBAu8},   {"rgbau8nn", FormatUnknown},
        {"bgrau8n", FormatBGRAu8n}, {"du24su8", FormatDu24Su8}, {nullptr, FormatUnknown},
    };
    for(const auto &row : names) EXPECT_EQ(findFormatName(row.name), row.format) << (row.name ? row.name : "null");
}

TEST(Format, glsl_names) {
    EXPECT_STREQ(getGLSLFormatName(FormatRGBAi8), "rgba8u");
    EXPECT_STREQ(getGLSLFormatName(FormatRGBAu8ns), "rgba8");
    EXPECT_STREQ(getGLSLFormatName(FormatRGBu8), "unknown");
    EXPECT_STREQ(getGLSLFormatName(FormatUnknown), "unknown");
    EXPECT_EQ(findGLSLFormatName("rgba8"), FormatRGBAu8n);
    EXPECT_EQ(findGLSLFormatName("r11f_g11f_b10f"), FormatRGf11Bf10);
    EXPECT_EQ(findGLSLFormatName("RGBA8"), FormatUnknown);
    EXPECT_EQ(findGLSLFormatName("unknown"), FormatUnknown);
    EXPECT_EQ(findGLSLFormatName(nullptr), FormatUnknown);
}

TEST(Format, components) {
    EXPECT_EQ(toFormatComponents(FormatRGBAu8n, 1), FormatRu8n);
    EXPECT_EQ(toFormatComponents(FormatRu8n, 4), FormatRGBAu8n);
    EXPECT_EQ(toFormatComponents(FormatRGBAu8ns, 3), FormatRGBu8ns);
    EXPECT_EQ(toFormatComponents(FormatRGBAu8ns, 1), FormatRu8n);
    EXPECT_EQ(toFormatComponents(FormatRf16, 2), FormatRGf16);
    EXPECT_EQ(toFormatComponents(FormatRGi16n, 4), FormatRGBAi16n);
    EXPECT_EQ(toFormatComponents(FormatRGBi32, 1), FormatRi32);
    EXPECT_EQ(toFormatComponents(FormatRGBAf64, 1), FormatRf32);
    EXPECT_EQ(toFormatComponents(FormatRGBAu8, 5), FormatUnknown);
}

TEST(Format, pixel_values) {
    const float one[4] = {1.0f, 1.0f, 1.0f, 1.0f};
    const float under[4] = {-2.0f, -2.0f, -2.0f, -2.0f};
    const float nan[4] = {NAN, NAN, NAN, NAN};
    for(uint32_t i = 1; i < NumFormats; i++) {
        const Format format = Format(i);
        uint8_t data[32] = {};
        float value[4] = {5, 5, 5, 5};
        SCOPED_TRACE(getFormatName(format));
        const uint32_t count = setPixelFormatValue(format, data, one);
        EXPECT_EQ(count, isPixelFormat(format) ? getFormatComponents(format) : 0);
        EXPECT_EQ(getPixelFormatValue(format, value, data), getFormatComponents(format));
        for(uint32_t c = 0; c < getFormatComponents(format); c++)
            EXPECT_FLOAT_EQ(value[c], isPixelFormat(format) ? 1.0f : 0.0f);
        setPixelFormatValue(format, data, under);
        getPixelFormatValue(format, value, data);
        if(isPixelFormat(format)) {
            const float expected = isUnsignedFormat(format) ? 0.0f : isNormFormat(format) ? -1.0f : -2.0f;
            EXPECT_NEAR(value[0], expected, 1e-6f);
        }
        setPixelFormatValue(format, data, nan);
        if(isIntegerFormat(format) && isPlainFormat(format) && !isNormFormat(format)) {
            getPixelFormatValue(format, value, data);
            EXPECT_EQ(value[0], 0.0f);
        }
        getPixelFormatValue(format, value, nullptr);
        EXPECT_EQ(value[0], 0.0f);
    }
    // All bytes survive a round trip through floats, signed ones too.
    for(uint32_t v = 0; v < 256; v++) {
        const uint8_t src = uint8_t(v);
        uint8_t dst = 0;
        float value;
        for(const Format format : {FormatRu8n, FormatRi8n, FormatRu8, FormatRi8}) {
            getPixelFormatValue(format, &value, &src);
            setPixelFormatValue(format, &dst, &value);
            EXPECT_EQ(dst, src) << getFormatName(format);
        }
    }
    const uint16_t strided[4] = {10, 0, 20, 0};
    float value[2];
    EXPECT_EQ(getPixelFormatValue(FormatRGu16, value, strided, 4), 2u);
    EXPECT_EQ(value[1], 20.0f);
    uint32_t depth = 0xAB000000;
    const float top = 1e20f;
    setPixelFormatValue(FormatDu24Su8, &depth, &top);
    EXPECT_EQ(depth, 0xABFFFFFFu);
}

TEST(Float, halfs) {
    static const struct {
        float value;
        uint16_t bits;
    } rows[] = {
        {65520.0f, 0x7BFF},        {65536.0f, 0x7C00},         {1.9999999f, 0x3FFF},       {6e-8f, 0x0001},
        {1e-8f, 0x0000},           {ldexpf(1.5f, 98), 0x7E00}, {ldexpf(1.5f, 97), 0x7C00}, {-0.0f, 0x8000},
        {-2.0f, 0xC000},           {INFINITY, 0x7C00},         {-INFINITY, 0xFC00},        {0.00006103515625f, 0x0400},
        {0.000060975552f, 0x03FF},
    };
    for(const auto &row : rows) EXPECT_EQ(float16_t(row.value).bits, row.bits) << row.value;
    EXPECT_TRUE(std::isnan(float16_t(NAN).get()));
    for(uint32_t i = 0; i < 0x10000; i++) {
        const float16_t half = float16_t::fromBits(uint16_t(i));
        const int exponent = int(i >> 10) & 31;
        const int mantissa = int(i & 1023);
        if(exponent == 31) continue;
        const double expected = exponent ? std::ldexp(1024 + mantissa, exponent - 25) : std::ldexp(mantissa, -24);
        ASSERT_EQ(double(half.get()), (i & 0x8000) ? -expected : expected) << i;
        ASSERT_EQ(float16_t(half.get()).bits, i);
        if(exponent) {
            ASSERT_EQ(half.getFast(), half.get());
            float16_t fast;
            fast.setFast(half.get());
            ASSERT_EQ(fast.bits, i);
        }
    }
    EXPECT_EQ(float16_t::zero.getFast(), ldexpf(1.0f, -15));
    EXPECT_EQ(float16_t::half.get(), 0.5f);
    EXPECT_EQ(float16_t::two.get(), 2.0f);
}

TEST(Float, triples) {
    for(uint32_t i = 0; i < 0x200000; i++) {
        const float21_t value = float21_t::fromBits(i);
        const int exponent = int(i >> 14) & 63;
        const int mantissa = int(i & 0x3FFF);
        if(exponent == 63) continue;
        const double expected = exponent ? std::ldexp(0x4000 + mantissa, exponent - 45) : std::ldexp(mantissa, -44);
        ASSERT_EQ(double(value.get()), (i & 0x100000) ? -expected : expected) << i;
        ASSERT_EQ(float21_t(value.get()).bits, i);
    }
    EXPECT_EQ(float21_t(ldexpf(1.5f, 40)).bits, 0xFC000u);
    EXPECT_EQ(float21_t(ldexpf(1.5f, 66)).bits, 0xFC000u | 0x2000u);
    EXPECT_EQ(float21_t(1e-20f).bits, 0u);
    EXPECT_EQ(float21_t(1.99999f).bits, (31u << 14) | 0x3FFFu);
    EXPECT_EQ(float21_t::one.getFast(), 1.0f);
}

TEST(Slice, sizes_and_bases) {
    const Slice slice(Face(1, 5), Layer(2, 3), Mipmap(0, 4));
    EXPECT_EQ(Slice(Layer(7)).setSize(slice), Slice(Face(0, 5), Layer(7, 3), Mipmap(0, 4)));
    EXPECT_EQ(slice.setSize(Slice().setLayer(0, 0)), slice);
    EXPECT_EQ(slice.addBase(Slice(Face(4), Layer(1), Mipmap(3))), Slice(Face(5, 1), Layer(3, 2), Mipmap(3, 1)));
    EXPECT_EQ(slice.addBase(Slice(Layer(3))), slice);
    EXPECT_EQ(Slice(), Slice(Face(0, 1), Layer(0, 1), Mipmap(0, 1)));
}

TEST(Size, inside) {
    const Size size(8, 4);
    EXPECT_TRUE(size.inside(Origin(7, 3)) && !size.inside(Origin(8, 0)) && !size.inside(Origin(0, 0, 1)));
    EXPECT_TRUE(size.inside(Region(2, 1, 6, 3)));
    EXPECT_FALSE(size.inside(Region(2, 1, 7, 3)));
    EXPECT_FALSE(size.inside(Region(1, 0, 0xFFFFFFFF, 1)));
}
