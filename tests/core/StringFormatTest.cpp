// The printf and scanf engines against the C library's in its "C" locale.

#include "KolmString.h"
#include "PrintString.h"

#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <string>

using namespace Kolm;

#pragma GCC diagnostic ignored "-Wformat"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-extra-args"
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wformat-truncation"
#pragma GCC diagnostic ignored "-Wformat-overflow"
#endif

static std::string text(const String &str) { return std::string(str.get(), str.size()); }

template<class... Args> static std::string peer(const char *format, Args... args) {
    char buffer[4096];
    snprintf(buffer, sizeof(buffer), format, args...);
    return buffer;
}

// All flags with some widths and precisions.
template<class Func> static void each_format(const char *conversions, const char *length, Func func) {
    for(const char *flags : {"", "-", "0", "+", " ", "#", "-0", "+0", "0#", " #", "-+#"}) {
        for(const char *width : {"", "1", "5", "23"}) {
            for(const char *precision : {"", ".", ".0", ".1", ".3", ".17"}) {
                for(const char *c = conversions; *c; c++) {
                    func(std::string("<%") + flags + width + precision + length + *c + ">");
                }
            }
        }
    }
}

TEST(StringFormat, integers) {
    each_format("diuxXo", "", [](const std::string &f) {
        for(const int v : {0, 1, -1, 42, -12345, INT_MAX, INT_MIN}) {
            ASSERT_EQ(text(String::format(f.c_str(), v)), peer(f.c_str(), v)) << f;
        }
    });
    for(const char *length : {"l", "ll", "z", "j", "t"}) {
        each_format("diuxXo", length, [](const std::string &f) {
            for(const long v : {0l, -1l, LONG_MAX, LONG_MIN}) {
                ASSERT_EQ(text(String::format(f.c_str(), v)), peer(f.c_str(), v)) << f;
            }
        });
    }
    for(const char *f : {"%hd", "%hhd", "%hu", "%hhx", "%hho"}) {
        for(const int v : {0, -1, 127, 128, 40000, -40000}) EXPECT_EQ(text(String::format(f, v)), peer(f, v)) << f;
    }
    EXPECT_EQ(String::format("%b %lb %#b %08b", 5u, 1ul << 40, 5u, 5u),
              "101 10000000000000000000000000000000000000000 0b101 00000101");
}

TEST(StringFormat, floats) {
    std::mt19937_64 random(7);
    each_format("feEgGF", "", [&](const std::string &f) {
        // The plain forms are the number functions' own, told below.
        if(f == "<%f>" || f == "<%g>") return;
        for(const double v : {0.0, -0.0, 1.0, 0.5, -2.5, 123456789.125, 1e-5, 9.9999e99, 1e300, 5e-324, 0.00012345,
                              double(INFINITY), double(-INFINITY), double(NAN), std::ldexp(double(random()), -70)}) {
            ASSERT_EQ(text(String::format(f.c_str(), v)), peer(f.c_str(), v)) << f << " " << v;
        }
    });
    EXPECT_EQ(String::format("%f %lf", 1.0, 0.1), "1.000000 0.100000");
    EXPECT_EQ(String::format("%g %lg %g", 1.0, 0.1, 5e20), "1.0 0.1 0.5e21");
    EXPECT_EQ(String::format("%.1Lf", 1.25L), "1.2");
    EXPECT_EQ(text(String::format("%.400f", 0.1)), peer("%.400f", 0.1));
    EXPECT_EQ(text(String::format("%.3f", 1e308)), peer("%.3f", 1e308));
}

TEST(StringFormat, texts) {
    const char part[3] = {'a', 'b', 'c'}; // no terminator
    EXPECT_EQ(
        text(String::format("[%s|%5s|%-5s|%.2s|%.*s|%*s|%-*s]", "abc", "abc", "abc", "abc", 3, part, 4, "x", -3, "y")),
        "[abc|  abc|abc  |ab|abc|   x|y  ]");
    EXPECT_EQ(
        String::format("%s %c%3c%% %p", static_cast<const char *>(nullptr), 'x', 'y', static_cast<void *>(nullptr)),
        "(null) x  y% 0");
    EXPECT_EQ(String::format("%p", reinterpret_cast<void *>(0x1F0)), "0x1f0");
    EXPECT_EQ(String::format("%ls", L"\u00e9"), "\u00e9");
    EXPECT_EQ(String::format("%*d|%-6d|%.*d", 5, 42, 42, 4, 42), "   42|42    |0042");
    // What is no conversion stands as it is.
    EXPECT_EQ(String::format("100%"), "100%");
    EXPECT_EQ(String::format("%y%5"), "%y%5");

    // Arguments may lie in the string that is written.
    String str("text");
    str.printf("%s-%s", str.get(), str.get() + 2);
    EXPECT_EQ(str, "text-xt");
    StringStack<16> stack("0123456789");
    stack.printf("%s%s%s", stack.get(), stack.get(), stack.get());
    EXPECT_EQ(stack, "012345678901234567890123456789");

    const std::string big(100000, 'z');
    EXPECT_EQ(text(String::format("<%s>", big.c_str())), "<" + big + ">");
}

TEST(StringFormat, scanning_agrees_with_the_c_library) {
    static const struct {
        const char *src, *format;
    } rows[] = {
        {"12 34", "%d%d"},      {"12,34", "%d,%d"},  {" -7 x", "%d %d"}, {"12345", "%2d%d"},   {"", "%d%d"},
        {"7 apples", "%d a%d"}, {"+5-5", "%d%d"},    {"1 2", "%d %*d"},  {"8%9", "%d%%%d"},    {"8 %9", "%d%%%d"},
        {"x1", "%d"},           {"3\n\t4", "%d %d"}, {"- 5", "%d"},      {"1 2 3", "%*d%d%d"}, {"5", "%d%n"},
    };
    for(const auto &row : rows) {
        int a0 = -9, b0 = -9, a1 = -9, b1 = -9;
        const int ret = sscanf(row.src, row.format, &a0, &b0);
        const uint32_t num = String(row.src).scanf(row.format, &a1, &b1);
        EXPECT_EQ(num, uint32_t(ret < 0 ? 0 : ret)) << row.src;
        EXPECT_EQ(a0, a1) << row.src << " " << row.format;
        EXPECT_EQ(b0, b1) << row.src << " " << row.format;
    }
    static const struct {
        const char *src, *format;
    } texts[] = {
        {"key = value", "%s = %s"}, {"key=value", "%[^=]=%s"}, {"abcdef", "%3s%s"},
        {"a-b", "%[a-z]%s"},        {"]x", "%[]]%s"},          {"  lead", "%s%s"},
    };
    for(const auto &row : texts) {
        char a0[16] = "", b0[16] = "", a1[16] = "", b1[16] = "";
        const int ret = sscanf(row.src, row.format, a0, b0);
        EXPECT_EQ(String(row.src).scanf(row.format, a1, b1), uint32_t(ret)) << row.src;
        EXPECT_STREQ(a0, a1);
        EXPECT_STREQ(b0, b1);
    }
}

TEST(StringFormat, scanning_of_all_types) {
    uint8_t u8 = 0;
    uint16_t u16 = 0;
    uint64_t u64 = 0;
    float32_t f32 = 0.0f;
    float64_t f64 = 0.0;
    uint32_t hex = 0, oct = 0, bin = 0;
    char c[2] = {};
    EXPECT_EQ(String("300 70000 18446744073709551615 1.5 -2.5e3 0xff 17 101 xy")
                  .scanf("%hhu %hu %lu %f %lf %x %o %b %2c", &u8, &u16, &u64, &f32, &f64, &hex, &oct, &bin, c),
              9u);
    EXPECT_EQ(u8, uint8_t(300));
    EXPECT_EQ(u16, uint16_t(70000));
    EXPECT_EQ(u64, ~0ull);
    EXPECT_EQ(f32, 1.5f);
    EXPECT_EQ(f64, -2500.0);
    EXPECT_EQ(hex, 255u);
    EXPECT_EQ(oct, 15u);
    EXPECT_EQ(bin, 5u);
    EXPECT_EQ(std::string(c, 2), "xy");
    EXPECT_EQ(String("12.75").scanf("%4lf", &f64), 1u);
    EXPECT_EQ(f64, 12.7);
}
