// Colour spaces, packing and texts of Color.

#include <gtest/gtest.h>

#include <cmath>

#include "KolmColor.h"

using namespace Kolm;

TEST(Color, packing) {
    for(uint32_t i = 0; i < 256; i++) {
        const uint32_t bits = i | ((255 - i) << 8) | ((i ^ 0x55) << 16) | ((i ^ 0xAA) << 24);
        Color color;
        color.setRGBAu8(bits);
        EXPECT_EQ(color.getRGBAu8(), bits);
        EXPECT_EQ(color.getRu8(), i);
        EXPECT_EQ(color.getAu8(), i ^ 0xAA);
        EXPECT_EQ(color.getBGRAu8(), (bits & 0xFF00FF00) | ((bits >> 16) & 255) | ((bits & 255) << 16));
        EXPECT_EQ(color.getABGRu8(), __builtin_bswap32(bits));
        color.setBGRAu8(bits);
        EXPECT_EQ(color.getBGRAu8(), bits);
        color.setABGRu8(bits);
        EXPECT_EQ(color.getABGRu8(), bits);
    }
    EXPECT_EQ(Color(2.0f, -1.0f, NAN, 0.5f).getRGBAu8(), 0x7F0000FFu);
}

TEST(Color, html) {
    static const struct {
        const char *text;
        bool ret;
        uint32_t rgba;
    } rows[] = {
        {"#fA3", true, 0xFF33AAFF},    {"#102030", true, 0xFF302010}, {"#10203040", true, 0x40302010},
        {"#12345", true, 0xFF452301},  {"#", true, 0xFF000000},       {"#1020304050", true, 0x40302010},
        {"#10203x", true, 0xFF030201}, {"102030", false, 0},          {"", false, 0},
        {nullptr, false, 0},
    };
    for(const auto &row : rows) {
        Color color = Color::zero;
        EXPECT_EQ(color.setHTML(row.text), row.ret) << (row.text ? row.text : "null");
        EXPECT_EQ(color.getRGBAu8(), row.rgba) << (row.text ? row.text : "null");
    }
}

TEST(Color, hsv) {
    Color color;
    float hue, saturation, value;
    for(int h = 0; h < 360; h += 7) {
        EXPECT_TRUE(color.setHSV(float(h), 0.6f, 0.8f));
        EXPECT_EQ(color.a, 1.0f);
        EXPECT_TRUE(color.getHSV(hue, saturation, value));
        EXPECT_NEAR(hue, h, 1e-3);
        EXPECT_NEAR(saturation, 0.6f, 1e-6);
        EXPECT_NEAR(value, 0.8f, 1e-6);
    }
    static const struct {
        float hue;
        Color color;
    } rows[] = {{0, Color::red},    {60, Color::yellow},   {120, Color::green}, {180, Color::cyan},
                {240, Color::blue}, {300, Color::magenta}, {360, Color::red},   {-120, Color::blue},
                {NAN, Color::red},  {3e38f, Color::zero}};
    for(const auto &row : rows) {
        color.setHSV(row.hue, 1.0f, 1.0f);
        if(row.hue < 1e6f || std::isnan(row.hue)) {
            EXPECT_EQ(color, row.color) << row.hue;
        }
    }
    EXPECT_FALSE(color.setHSV(90.0f, 0.0f, 0.25f));
    EXPECT_EQ(color, Color(0.25f, 0.25f, 0.25f));
    EXPECT_FALSE(color.getHSV(hue, saturation, value));
    EXPECT_EQ(hue, 0.0f);
    EXPECT_FALSE(Color::black.getHSV(hue, saturation, value));
}

TEST(Color, temperature) {
    static const struct {
        float kelvin, r, g, b;
    } rows[] = {{6500, 1, 0.97872f, 0.99728f}, {10000, 0.79955f, 0.86098f, 1}, {1500, 1, 0.4195f, 0}, {0, 1, 0, 0}};
    for(const auto &row : rows) {
        Color color;
        color.setTemperature(row.kelvin);
        EXPECT_NEAR(color.r, row.r, 2e-5f);
        EXPECT_NEAR(color.g, row.g, 1e-4f) << row.kelvin;
        EXPECT_NEAR(color.b, row.b, 2e-5f);
    }
}

TEST(Color, transfer) {
    const Color color(0.5f, 0.01f, 1.0f, 0.3f);
    const Color linear = color.sRGBtoLinear();
    EXPECT_NEAR(linear.r, 0.21404f, 1e-5f);
    EXPECT_NEAR(linear.g, 0.01f / 12.92f, 1e-7f);
    EXPECT_EQ(linear.a, 0.3f);
    EXPECT_NEAR(linear.linearToSRGB().r, 0.5f, 1e-6f);
    EXPECT_NEAR(color.gammaToLinear().r, std::pow(0.5, 2.2), 1e-6);
    EXPECT_NEAR(color.gammaToLinear().linearToGamma().g, 0.01f, 1e-6f);
}
