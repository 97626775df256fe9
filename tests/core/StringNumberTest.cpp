// Numbers against <charconv>, and under a locale with a decimal comma.

#include "KolmString.h"
#include "PrintString.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <locale.h>
#include <random>
#include <stdlib.h>
#include <string>
#include <unistd.h>

using namespace Kolm;

template<class Type> static std::string charconv(Type value, int radix = 10) {
    char text[80];
    return std::string(text, std::to_chars(text, text + sizeof(text), value, radix).ptr);
}

static std::string text(const String &str) { return std::string(str.get(), str.size()); }

// Values of all lengths: random bits, cut to a random length, and the edges of the type.
template<class Type, class Func> static void each_integer(Func func) {
    std::mt19937_64 random(5);
    for(uint32_t bits = 0; bits < sizeof(Type) * 8; bits++) {
        for(int32_t i = -2; i <= 2; i++) func(Type((uint64_t(1) << bits) + uint64_t(i)));
    }
    for(uint64_t ten = 1; ten < 10000000000000000000ull; ten *= 10) {
        for(int32_t i = -1; i <= 1; i++) func(Type(ten + uint64_t(i)));
    }
    for(uint32_t i = 0; i < 20000; i++) func(Type(random() >> (random() % 64)));
    func(std::numeric_limits<Type>::min());
    func(std::numeric_limits<Type>::max());
}

TEST(StringNumber, integers) {
    each_integer<uint32_t>([](uint32_t v) {
        for(const uint32_t radix : {2, 7, 8, 10, 16}) {
            const std::string src = charconv(v, int(radix));
            ASSERT_EQ(text(String::fromu32(v, radix)), src);
            if(radix != 7) {
                uint32_t size = 0;
                ASSERT_EQ(String::tou32((" \t\r\n" + src + "!").c_str(), radix, &size), v);
                ASSERT_EQ(size, src.size() + 4);
            }
        }
    });
    each_integer<uint64_t>([](uint64_t v) {
        for(const uint32_t radix : {2, 8, 10, 11, 16}) {
            const std::string src = charconv(v, int(radix));
            ASSERT_EQ(text(String::fromu64(v, radix)), src);
            if(radix != 11) {
                ASSERT_EQ(String::tou64(src.c_str(), radix), v);
            }
        }
    });
    each_integer<int32_t>([](int32_t v) {
        const std::string src = charconv(v);
        ASSERT_EQ(text(String::fromi32(v)), src);
        ASSERT_EQ(String::toi32(src.c_str()), v);
        ASSERT_EQ(String::tou32(String::fromi32(v, 16).get(), 16), uint32_t(v));
    });
    each_integer<int64_t>([](int64_t v) {
        const std::string src = charconv(v);
        ASSERT_EQ(text(String::fromi64(v)), src);
        ASSERT_EQ(String::toi64(src.c_str()), v);
    });
}

TEST(StringNumber, integer_texts) {
    // Negative values in another radix than ten are complements, padded to 128 / radix.
    EXPECT_EQ(String::fromi32(-2, 16), "fffffffe");
    EXPECT_EQ(String::fromi64(-1, 16), "ffffffff");
    EXPECT_EQ(text(String::fromi32(-1, 2)), std::string(64, '1'));
    EXPECT_EQ(text(String::fromi32(-8, 8)), "7777777777777770");
    EXPECT_EQ(String::fromi32(255, 2), "11111111");
    EXPECT_EQ(text(String::fromu32(3, 1)), std::string(128, '0'));

    static const struct {
        const char *src;
        uint32_t radix, value, consumed;
    } rows[] = {
        {"  0x1F", 10, 31, 6},
        {"0b101", 10, 5, 5},
        {"0x", 10, 0, 2},
        {"abc", 10, 0, 0},
        {"  ", 10, 0, 2},
        {"", 10, 0, 0},
        {"4294967297", 10, 1, 10},
        {"0b1f2e", 16, 0x0b1f2e, 6},
        {"0XfFg", 16, 255, 4},
        {"129", 8, 10, 2},
        {"\v1", 10, 0, 0},
        {"\xFF"
         "1",
         10, 0, 0},
        {"102", 2, 2, 2},
    };
    for(const auto &row : rows) {
        uint32_t consumed = ~0u;
        EXPECT_EQ(String::tou32(row.src, row.radix, &consumed), row.value) << row.src;
        EXPECT_EQ(consumed, row.consumed) << row.src;
    }
    uint32_t consumed = 0;
    EXPECT_EQ(String::toi32("-0x10", 10, &consumed), -16);
    EXPECT_EQ(consumed, 5u);
    EXPECT_EQ(String::toi32("- 5", 10, &consumed), 0);
    EXPECT_EQ(String::toi32("--5"), 0);
    EXPECT_EQ(String::toi64("+7"), 7);
    EXPECT_EQ(String("size=42;").tou32(10, 5, &consumed), 42u);
    EXPECT_EQ(consumed, 2u);
}

template<class Type> static void check_float(const std::string &src, Type (*func)(const char *, uint32_t *)) {
    Type expected = 0;
    const auto ret = std::from_chars(src.data(), src.data() + src.size(), expected);
    if(ret.ec == std::errc::result_out_of_range) {
        expected = (src.find("e-") == std::string::npos) ? std::numeric_limits<Type>::infinity() : Type(0);
        if(src[0] == '-') expected = -expected;
    }
    uint32_t size = 0;
    const Type value = func(src.c_str(), &size);
    ASSERT_EQ(size, size_t(ret.ptr - src.data())) << src;
    ASSERT_EQ(memcmp(&value, &expected, sizeof(Type)), 0) << src;
}

static std::string shortest64(float64_t value) {
    String str;
    return text(String::fromf64s(str, value));
}

static std::string shortest32(float32_t value) {
    String str;
    return text(String::fromf32s(str, value));
}

TEST(StringNumber, floats_read_back_bit_for_bit) {
    std::mt19937_64 random(11);
    for(uint32_t i = 0; i < 300000; i++) {
        const uint64_t bits = random();
        float64_t value = 0.0;
        memcpy(&value, &bits, 8);
        if(!std::isfinite(value)) continue;
        check_float<float64_t>(shortest64(value), String::tof64);

        float32_t value32 = 0.0f;
        memcpy(&value32, &bits, 4);
        if(!std::isfinite(value32)) continue;
        check_float<float32_t>(shortest32(value32), String::tof32);
    }
    // Texts of people: few digits, points everywhere, small powers.
    for(uint32_t i = 0; i < 300000; i++) {
        std::string src = (random() & 1) ? "-" : "";
        for(uint32_t n = 1 + random() % 22; n > 0; n--) src += char('0' + random() % 10);
        if(random() & 1) src.insert(src.size() - random() % (src.size() - (src[0] == '-')), ".");
        if(random() & 1) src += "e" + std::to_string(int32_t(random() % 60) - 30);
        check_float<float64_t>(src, String::tof64);
        check_float<float32_t>(src, String::tof32);
    }
}

TEST(StringNumber, floats_near_the_middle) {
    std::mt19937_64 random(13);
    // Any digits with any power: the products that come close to the middle are among them.
    for(uint32_t i = 0; i < 300000; i++) {
        const std::string digits = std::to_string(random() >> (random() % 60));
        check_float<float64_t>(digits + "e" + std::to_string(int32_t(random() % 670) - 350), String::tof64);
        check_float<float32_t>(digits + "e" + std::to_string(int32_t(random() % 110) - 65), String::tof32);
    }
    // The exact middle of two neighbours, which the wider type holds, and the numbers just above and below it.
    if(std::numeric_limits<long double>::digits < 64) GTEST_SKIP() << "long double is no wider than double";
    char middle[2000];
    for(uint32_t i = 0; i < 20000; i++) {
        const uint64_t bits = random() & 0x7FFFFFFFFFFFFFFF;
        float64_t value = 0.0;
        memcpy(&value, &bits, 8);
        const float64_t next = std::nextafter(value, INFINITY);
        if(!std::isfinite(next)) continue;
        const int size = snprintf(middle, sizeof(middle), "%.1100Le", ((long double)value + (long double)next) / 2.0L);
        const std::string text(middle, size_t(size));
        check_float<float64_t>(text, String::tof64);
        const size_t e = text.find('e');
        check_float<float64_t>(text.substr(0, e) + "1" + text.substr(e), String::tof64);
        std::string below = text.substr(0, e); // the last digit that isn't zero, less one
        size_t last = below.find_last_not_of("0.");
        below[last]--;
        check_float<float64_t>(below.substr(0, last + 1) + "9" + text.substr(e), String::tof64);
    }
}

TEST(StringNumber, float_texts) {
    static const struct {
        const char *src;
        float64_t value;
        uint32_t consumed;
    } rows[] = {
        {" 2.5", 2.5, 4},
        {"+.5", 0.5, 3},
        {"5.", 5.0, 2},
        {"1e", 1.0, 1},
        {"1e+", 1.0, 1},
        {"-0", -0.0, 2},
        {".", 0.0, 0},
        {"e5", 0.0, 0},
        {"1.2.3", 1.2, 3},
        {"inf", INFINITY, 3},
        {"-Infinity", -INFINITY, 9},
        {"0x10", 0.0, 1},
        {"1e999999999999", INFINITY, 14},
        {"-1e-999999999999", -0.0, 16},
        {"0e999999999999", 0.0, 14},
        {"1e400", INFINITY, 5},
        {"9007199254740993", 9007199254740992.0, 16},
        {"2.4703282292062327e-324", 0.0, 23},
        {"2.4703282292062328e-324", 5e-324, 23},
        {"1.7976931348623158e308", 1.7976931348623157e308, 22},
        {"1.7976931348623159e308", INFINITY, 22},
        {"12-", 12.0, 2},
    };
    for(const auto &row : rows) {
        uint32_t consumed = ~0u;
        const float64_t value = String::tof64(row.src, &consumed);
        EXPECT_EQ(value, row.value) << row.src;
        EXPECT_EQ(std::signbit(value), std::signbit(row.value)) << row.src;
        EXPECT_EQ(consumed, row.consumed) << row.src;
    }
    EXPECT_TRUE(std::isnan(String::tof64("nan")));
    EXPECT_EQ(String::tof32("3.4028236e38"), INFINITY);
    // Halfway between two doubles but for the last of many digits.
    const std::string half = "9007199254740993." + std::string(2000, '0');
    EXPECT_EQ(String::tof64(half.c_str()), 9007199254740992.0);
    EXPECT_EQ(String::tof64((half + "1").c_str()), 9007199254740994.0);
    const std::string small = "0." + std::string(100000, '0') + "1e100001";
    EXPECT_EQ(String::tof64(small.c_str()), 1.0);
}

TEST(StringNumber, float_printing) {
    static const struct {
        float64_t value;
        uint32_t digits;
        bool compact, exponent;
        const char *text;
    } rows[] = {
        {1.5, 2, false, false, "1.50"},
        {1.5, 2, true, false, "1.5"},
        {2.0, 4, true, false, "2.0"},
        {0.9999, 2, false, false, "1.00"},
        {-0.0, 1, false, false, "0.0"},
        {-2.75, 0, false, false, "-3"},
        {2.5, 0, false, false, "3"},
        {1e22, 0, false, false, "10000000000000000000000"},
        {1e22, 2, false, false, "10000000000000000000000.00"},
        {4503599627370497.0, 0, false, false, "4503599627370497"},
        {123.456, 4, false, true, "123.4560"},
        {5e20, 6, false, true, "0.5e21"},
        {1e10, 6, true, true, "1.0e10"},
        {1e-10, 6, true, true, "1.0e-10"},
        {5e-324, 4, true, true, "0.4941e-323"},
        {1.5e300, 4, true, true, "1.5e300"},
        {0.0, 6, true, true, "0.0"},
        {INFINITY, 3, true, true, "inf"},
        {-INFINITY, 0, true, true, "-inf"},
        {1.7976931348623157e308, 3, true, false, "inf"},
        {NAN, 3, true, false, "-nan"},
        {0.1, 16, true, false, "0.1"},
    };
    for(const auto &row : rows) {
        EXPECT_EQ(text(String::fromf64(row.value, row.digits, row.compact, row.exponent)), row.text) << row.value;
    }
    EXPECT_EQ(String::fromf32(3.4028234e38f), "inf");
    EXPECT_EQ(text(String::fromf64(3.4028234e38, 0)), "340282339999999992395853996843190976512");
    EXPECT_EQ(String::fromf32e(1e-10f), "1.0e-10");
    EXPECT_EQ(String::fromf32(0.1f, 4, false), "0.1000");

    // Within half a unit of the last digit.
    std::mt19937_64 random(23);
    for(uint32_t i = 0; i < 100000; i++) {
        const float64_t value = std::ldexp(float64_t(random() >> 11) - 4503599627370496.0, int32_t(random() % 60) - 70);
        const uint32_t digits = random() % 13;
        const float64_t back = String::tof64(String::fromf64(value, digits, random() & 1).get());
        ASSERT_LE(std::abs(value - back), 0.5 * std::pow(0.1, digits) + 1e-15 * std::abs(value))
            << value << " " << digits;
    }
}

TEST(StringNumber, locale_has_no_say) {
    // A locale with a decimal comma, made for this test.
    const std::string folder = testing::TempDir() + "locale." + std::to_string(getpid());
    const std::string command = "mkdir -p " + folder + " && localedef -i de_DE -f UTF-8 " + folder + "/de_DE.UTF-8";
    ASSERT_EQ(system(command.c_str()), 0) << "the program localedef of the package locales is missing";
    setenv("LOCPATH", folder.c_str(), 1);
    ASSERT_NE(setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    char comma[16];
    snprintf(comma, sizeof(comma), "%.1f", 2.5);
    EXPECT_STREQ(comma, "2,5");
    EXPECT_EQ(String::format("%.3f", 1.5), "1.500");
    EXPECT_EQ(String::format("%f %e %g", 1.5, 1.5, 1.5), "1.500000 1.500000e+00 1.5");
    EXPECT_EQ(String::tof64("2.5"), 2.5);
    EXPECT_EQ(String::tof64("1.00000000000000000000001"), 1.0);
    setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
    EXPECT_EQ(system(("rm -r " + folder).c_str()), 0);
}
