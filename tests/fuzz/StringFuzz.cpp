// Fuzz entry of the numbers, patterns, encodings and scanning of strings. Build with `clang++
// -fsanitize=fuzzer,address,undefined`.
//
// The input is two texts with a zero byte between them. Results are compared with the standard library where it has the
// same function, and with each other.

#include <charconv>
#include <stdlib.h>
#include <string>

#include "KolmString.h"

using namespace Kolm;

#define CHECK(EXPR) ((EXPR) ? void(0) : abort())

// A float of the form that both readers know.
static void check_float(const char *str) {
    uint32_t consumed = 0;
    const float64_t value = String::tof64(str, &consumed);
    CHECK(consumed <= strlen(str));
    const char *s = str;
    while(*s == ' ' || *s == '\t' || *s == '\n' || *s == '\r') s++;
    if(*s == '+' && s[1] != '-') s++;
    float64_t expected = 0.0;
    const auto ret = std::from_chars(s, str + strlen(str), expected);
    if(ret.ec == std::errc() && expected == expected && value == value)
        CHECK(value == expected && ret.ptr == str + consumed);
    String text;
    if(value == value) CHECK(String::tof64(String::fromf64s(text, value).get()) == value);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string input(reinterpret_cast<const char *>(data), size);
    const size_t middle = input.find('\0');
    const std::string t0 = input.substr(0, middle);
    const std::string t1 = (middle == std::string::npos) ? std::string() : input.substr(middle + 1).c_str();
    const String s0(t0.c_str()), s1(t1.c_str());

    uint32_t consumed = 0;
    for(const uint32_t radix : {2, 8, 10, 16}) {
        const uint64_t value = String::tou64(s0.get(), radix, &consumed);
        CHECK(consumed <= s0.size() && String::tou32(s0.get(), radix) == uint32_t(value));
        if(!t0.empty() && t0[0] >= '0' && t0[0] <= '9') {
            CHECK(uint64_t(String::toi64(("-" + t0).c_str(), radix)) == 0 - value);
        }
    }
    check_float(s0.get());
    using Unit = uint64_t (*)(const char *, uint32_t *);
    for(const Unit unit : {Unit(String::toBytes), Unit(String::toNumber), Unit(String::toFrequency)}) {
        unit(s0.get(), &consumed);
        CHECK(consumed <= s0.size());
    }
    String::toLength(s0.get(), &consumed);
    CHECK(consumed <= s0.size());
    s0.toRGBAu8();

    if(size < 512) {
        const bool matched = s0.match(s1);
        if(!s1.contains('*') && !s1.contains('?') && !s1.contains('|')) CHECK(matched == (s0 == s1));
        CHECK(s0.match((t1 + "|*").c_str()));
        CHECK(s0.distance(s1.get()) == s1.distance(s0.get()));
        s0.distance(s1.get(), true);
    }
    CHECK(s0.find(s1) == uint32_t(t0.find(t1)) && s0.rfind(s1) == uint32_t(t0.rfind(t1)));

    // Valid after one conversion, so that a second changes nothing.
    const String clean = String::fromUtf32(s0.toUtf32().get(), s0.toUtf32().size());
    CHECK(String::fromUtf16(clean.toUtf16().get(), clean.toUtf16().size()) == clean);
    CHECK(String::fromUtf32(clean.toUtf32().get(), clean.toUtf32().size()) == clean);

    const StringArray pieces = s0.split(s1.get());
    uint32_t length = pieces.size() ? pieces.size() - 1 : 0;
    for(const String &piece : pieces) length += piece.size();
    CHECK(length == s0.size());
    CHECK(s0.pathname() + s0.basename() == s0);
    String::relname(s0.get(), s1.get());
    String::fromUrl(s0.get());
    s0.replace(s1.get(), s0.get()).capitalize();

    char text[16];
    uint32_t u = 0;
    float64_t f = 0.0;
    s0.scanf("%15s%u%lf%15[a-z]%4c", text, &u, &f, text, text);
    return 0;
}
