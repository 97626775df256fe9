// Patterns, distances, paths, encodings and units.

#include "KolmString.h"
#include "PrintString.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

using namespace Kolm;

static std::string text(const String &str) { return std::string(str.get(), str.size()); }

// The wildcard test in the plainest form: tries everything.
static bool match_whole(const char *p, const char *p_end, const char *s) {
    if(p == p_end) return *s == '\0';
    if(*p == '*') {
        for(;; s++) {
            if(match_whole(p + 1, p_end, s)) return true;
            if(*s == '\0') return false;
        }
    }
    return *s && (*p == '?' || *p == *s) && match_whole(p + 1, p_end, s + 1);
}

static bool match(const std::string &pattern, const std::string &str) {
    size_t begin = 0;
    for(;;) {
        const size_t end = std::min(pattern.find('|', begin), pattern.size());
        const char *p = pattern.c_str() + begin;
        const char *p_end = pattern.c_str() + end;
        const bool last = (end == pattern.size());
        const bool star = std::string(p, p_end).find('*') != std::string::npos;
        if(star || last) {
            if(match_whole(p, p_end, str.c_str())) return true;
        } else if(end > begin && match_whole(p, p_end, str.substr(0, end - begin).c_str())) {
            return true;
        }
        if(last) return false;
        begin = end + 1;
    }
}

TEST(StringText, patterns) {
    static const struct {
        const char *pattern, *src;
        bool ret;
    } rows[] = {
        {"a*c", "abbc", true},    {"a*c", "ac", true},
        {"a*c", "abcd", false},   {"foo|bar", "foobaz", true},
        {"foo|bar", "bar", true}, {"bar|foo", "foobaz", false},
        {"*.txt", "a.txt", true}, {"*.txt", "a.txt.gz", false},
        {"a?c", "ac", false},     {"?", "", false},
        {"", "", true},           {"", "a", false},
        {"*", "", true},          {"|a", "b", false},
        {"b|", "", true},         {"*a*|x", "bab", true},
    };
    for(const auto &row : rows) EXPECT_EQ(String(row.src).match(row.pattern), row.ret) << row.pattern << " " << row.src;
    EXPECT_TRUE(String("dir/file.txt").match("*.txt~", 5, 4));

    std::mt19937 random(29);
    for(uint32_t i = 0; i < 100000; i++) {
        std::string pattern, str;
        for(uint32_t n = random() % 7; n > 0; n--) pattern += "ab*?|ab"[random() % 7];
        for(uint32_t n = random() % 7; n > 0; n--) str += "ab"[random() % 2];
        ASSERT_EQ(String(str.c_str()).match(pattern.c_str()), match(pattern, str)) << pattern << " " << str;
    }
    // Many stars over a long text that fails at its end.
    std::string stars;
    for(uint32_t i = 0; i < 50; i++) stars += "*a";
    EXPECT_FALSE(String(std::string(20000, 'a').c_str()).match((stars + "*b").c_str()));
}

static uint32_t levenshtein(const std::string &a, const std::string &b) {
    std::vector<std::vector<uint32_t>> cells(a.size() + 1, std::vector<uint32_t>(b.size() + 1));
    for(size_t i = 0; i <= a.size(); i++) {
        for(size_t j = 0; j <= b.size(); j++) {
            if(i == 0 || j == 0) {
                cells[i][j] = uint32_t(i + j);
            } else {
                cells[i][j] = std::min(std::min(cells[i - 1][j], cells[i][j - 1]) + 1,
                                       cells[i - 1][j - 1] + (a[i - 1] != b[j - 1]));
            }
        }
    }
    return cells[a.size()][b.size()];
}

TEST(StringText, distances) {
    EXPECT_EQ(String("kitten").distance("sitting"), 3u);
    EXPECT_EQ(String("abc").distance("xxabc", true), 1u);
    EXPECT_EQ(String("xxabc").distance("abc", true), 2u);
    EXPECT_EQ(String("abc").distance("xyz", true, 3), 3u);
    std::mt19937 random(31);
    for(uint32_t i = 0; i < 5000; i++) {
        std::string a, b;
        for(uint32_t n = random() % 12; n > 0; n--) a += char('a' + random() % 3);
        for(uint32_t n = random() % 12; n > 0; n--) b += char('a' + random() % 3);
        ASSERT_EQ(String(a.c_str()).distance(b.c_str()), levenshtein(a, b)) << a << " " << b;
        uint32_t least = levenshtein(a, b);
        for(size_t k = 1; k + a.size() < b.size(); k++) least = std::min(least, levenshtein(a, b.substr(k)));
        ASSERT_EQ(String(a.c_str()).distance(b.c_str(), true), least) << a << " " << b;
    }
    // One table for all tails.
    const std::string half(3000, 'x'), whole(30000, 'y');
    EXPECT_EQ(String(half.c_str()).distance(whole.c_str(), true), 3001u);
}

TEST(StringText, derived) {
    EXPECT_EQ(String("a-b-c").replace('-', '+', 2), "a-b+c");
    EXPECT_EQ(String("one two one").replace("one", "three"), "three two three");
    EXPECT_EQ(String("aaa").replace("aa", "b"), "ba");
    EXPECT_EQ(String("abc").replace("", "x"), "abc");
    EXPECT_EQ(String("abc").substring(1), "bc");
    EXPECT_EQ(String("abc").substring(1, 1), "b");
    EXPECT_EQ(String("it's a \xC3\xA9t\xC3\xA9 day-trip").capitalize(), "It's A \xC3\xA9t\xC3\xA9 Day-Trip");
    EXPECT_EQ(String("aZ\xC3\x89").lower(), "az\xC3\x89");
    EXPECT_EQ(String("aZ[`{@").upper(), "AZ[`{@");
}

static std::string join(const StringArray &array) {
    std::string ret;
    for(const String &str : array) ret += "<" + text(str) + ">";
    return ret;
}

TEST(StringText, splitting) {
    const size_t memory = Allocator::getMemory();
    {
        EXPECT_EQ(join(String("a,b;,c").split(",;")), "<a><b><><c>");
        EXPECT_EQ(join(String(",a,").split(",")), "<><a><>");
        EXPECT_EQ(join(String(",a,,b,").split(",", true)), "<a><b>");
        EXPECT_EQ(join(String("").split(",")), "");
        EXPECT_EQ(join(String("abc").split(nullptr)), "<abc>");
        StringArray array("x y", " ");
        StringArray copy(array);
        array.split(array[1], "y");
        EXPECT_EQ(join(array), "<><>");
        EXPECT_EQ(join(copy), "<x><y>");
        copy = std::move(array);
        EXPECT_EQ(copy.size(), 2u);
        EXPECT_TRUE(array.empty());
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(StringText, paths) {
    static const struct {
        const char *path, *pathname, *dirname, *basename, *extension, *renamed;
    } rows[] = {
        {"dir/sub/file.tar.gz", "dir/sub/", "dir/sub", "file.tar.gz", "gz", "dir/sub/file.tar.png"},
        {"archive.tar/file", "archive.tar/", "archive.tar", "file", "", "archive.tar/file.png"},
        {"c:file.txt", "c:", "c", "file.txt", "txt", "c:file.png"},
        {"a\\b.c", "a\\", "a", "b.c", "c", "a\\b.png"},
        {"/root", "/", "/", "root", "", "/root.png"},
        {"name", "", "", "name", "", "name.png"},
        {"dir/", "dir/", "dir", "", "", "dir/.png"},
        {"", "", "", "", "", ".png"},
    };
    for(const auto &row : rows) {
        const String path(row.path);
        EXPECT_EQ(text(path.pathname()), row.pathname);
        EXPECT_EQ(text(path.dirname()), row.dirname);
        EXPECT_EQ(text(path.basename()), row.basename);
        EXPECT_EQ(text(path.extension()), row.extension);
        EXPECT_EQ(text(path.extension("png")), row.renamed);
        EXPECT_EQ(text(path.extension(".png")), row.renamed);
    }
    EXPECT_EQ(String("a/b.c").extension(""), "a/b");

    static const struct {
        const char *from, *to, *relname;
    } names[] = {
        {"a/b/scene.mesh", "a/b/image.png", "image.png"},
        {"a/b/scene.mesh", "a/c/image.png", "../c/image.png"},
        {"a/b/c/scene.mesh", "image.png", "../../../image.png"},
        {"scene.mesh", "a/image.png", "a/image.png"},
        {"/a/b/x", "/a/c/d/y", "../c/d/y"},
        {"./a//b/x", "a/b/y", "y"},
        {"c:\\a\\x", "c:\\b\\y", "../b/y"},
        {"c:/a/x", "d:/b/y", "d:/b/y"},
        {"/a/x", "b/y", "b/y"},
        {"a/", "a/", ""},
    };
    for(const auto &row : names) EXPECT_EQ(text(String::relname(row.from, row.to)), row.relname) << row.from;
}

TEST(StringText, encodings_of_all_characters) {
    std::u32string all;
    for(uint32_t c = 1; c <= 0x10FFFF; c++) {
        if(c < 0xD800 || c > 0xDFFF) all += char32_t(c);
    }
    const auto *codes = reinterpret_cast<const uint32_t *>(all.data());
    const String utf8 = String::fromUtf32(codes, uint32_t(all.size()));
    EXPECT_EQ(utf8.size(), 127u + 1920 * 2 + (63488 - 2048) * 3 + 1048576 * 4);
    const Array<uint16_t> utf16 = utf8.toUtf16();
    EXPECT_EQ(utf16.size(), 127u + 1920 + 63488 - 2048 + 1048576 * 2);
    EXPECT_TRUE(String::fromUtf16(utf16.get(), utf16.size()) == utf8);
    const Array<uint32_t> utf32 = utf8.toUtf32();
    ASSERT_EQ(utf32.size(), all.size());
    EXPECT_EQ(memcmp(utf32.get(), codes, all.size() * 4), 0);
    // Spelt by hand.
    EXPECT_EQ(String(L"\u00e9\u20ac\U0001f600"), "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(utf8.find("\xF4\x8F\xBF\xBF"), utf8.size() - 4);
}

TEST(StringText, ill_formed_encodings) {
    static const struct {
        const char *src;
        std::vector<uint32_t> codes;
    } rows[] = {
        {"a\x80z", {'a', 0xFFFD, 'z'}},
        {"\xC0\x80", {0xFFFD, 0xFFFD}},
        {"\xE0\x80\x80", {0xFFFD, 0xFFFD, 0xFFFD}},
        {"\xED\xA0\x80", {0xFFFD, 0xFFFD, 0xFFFD}},
        {"\xF4\x90\x80\x80", {0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}},
        {"\xE2\x82", {0xFFFD}},
        {"\xE2\x82z", {0xFFFD, 'z'}},
        {"\xF0\x9F\x98\xF0\x9F\x98\x80", {0xFFFD, 0x1F600}},
        {"\xFF\xFE", {0xFFFD, 0xFFFD}},
    };
    for(const auto &row : rows) {
        const Array<uint32_t> codes = String(row.src).toUtf32();
        EXPECT_EQ(std::vector<uint32_t>(codes.get(), codes.get() + codes.size()), row.codes) << row.src;
    }
    const uint16_t units[] = {0xD800, 'a', 0xDC00, 0xD83D, 0xDE00, 0xD83D};
    EXPECT_EQ(String::fromUtf16(units, 6), "\xEF\xBF\xBD"
                                           "a\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD");
    const uint32_t codes[] = {0xD800, 0x110000, 'a', 0};
    EXPECT_EQ(String::fromUtf32(codes), "\xEF\xBF\xBD\xEF\xBF\xBD"
                                        "a");

    EXPECT_EQ(String::fromUrl("a%20b%2Fc+d%zz%4"), "a b/c+d%zz%4");
    EXPECT_EQ(String::fromUrl("%C3%a9%"), "\xC3\xA9%");
}

TEST(StringText, units_printed) {
    static const struct {
        String ret;
        const char *text;
    } rows[] = {
        {String::fromBytes(1023, 1), "1023 B"},
        {String::fromBytes(1024, 1), "1.0 KB"},
        {String::fromBytes(1572864), "1.5 MB"},
        {String::fromBytes(1ull << 30, 0), "1 GB"},
        {String::fromBytes(5ull << 50), "5120.0 TB"},
        {String::fromNumber(999), "999"},
        {String::fromNumber(1500000), "1.5 M"},
        {String::fromNumber(2000000000), "2.0 B"},
        {String::fromFrequency(50), "50 Hz"},
        {String::fromFrequency(2400000000), "2.4 GHz"},
        {String::fromLength(0.005), "5.0 mm"},
        {String::fromLength(-0.25), "-25.0 cm"},
        {String::fromLength(1.75), "1.75 m"},
        {String::fromLength(1500.0), "1.5 km"},
        {String::fromTime(999), "999 us"},
        {String::fromTime(1500), "1.5 ms"},
        {String::fromTime(59999999, 0), "60 s"},
        {String::fromTime(5400000000), "90.0 m"},
        {String::fromTime(86400000000), "1 day"},
        {String::fromTime(2 * 86400000000), "2 days"},
        {String::fromTime(31536000000000 - 1), "364 days"},
        {String::fromTime(31536000000000), "1 year"},
        {String::fromTime(63072000000000 - 1), "1 year"},
        {String::fromTime(63072000000000), "2 years"},
        {String::fromAngle(-12.5, 1), "-12\u00b030'0.0\""},
        {String::fromAngle(59.9999999, 1), "60\u00b00'0.0\""},
    };
    for(const auto &row : rows) EXPECT_EQ(text(row.ret), row.text);
}

TEST(StringText, units_read) {
    static const struct {
        uint64_t (*func)(const char *, uint32_t *);
        const char *src;
        uint64_t value;
        uint32_t consumed;
    } rows[] = {
        {String::toBytes, "1.5 MB", 1572864, 6},
        {String::toBytes, "10k", 10240, 3},
        {String::toBytes, " 2gB;", 2147483648, 4},
        {String::toBytes, "1023 B", 1023, 6},
        {String::toBytes, "10kx", 0, 0},
        {String::toBytes, "10bx", 0, 0},
        {String::toBytes, "10 apples", 10, 2},
        {String::toBytes, "1e30", ~0ull, 4},
        {String::toBytes, "-5", 0, 2},
        {String::toBytes, "nonsense", 0, 0},
        {String::toBytes, "kb", 0, 0},
        {String::toBytes, "", 0, 0},
        {String::toBytes, "9007199254740993", 9007199254740993, 16},
        {String::toBytes, "9999999999999999T", ~0ull, 17},
        {String::toNumber, "1.5 B", 1500000000, 5},
        {String::toNumber, "3k", 3000, 2},
        {String::toNumber, "7", 7, 1},
        {String::toFrequency, "2.4 GHz", 2400000000, 7},
        {String::toFrequency, "50 hz", 50, 5},
        {String::toFrequency, "50 h", 50, 2},
        {String::toFrequency, "50 Gh", 0, 0},
    };
    for(const auto &row : rows) {
        uint32_t consumed = ~0u;
        EXPECT_EQ(row.func(row.src, &consumed), row.value) << row.src;
        EXPECT_EQ(consumed, row.consumed) << row.src;
    }
    static const struct {
        const char *src;
        float64_t value;
        uint32_t consumed;
    } lengths[] = {{"5 mm", 0.005, 4}, {"2.5cm", 0.025, 5}, {"3 M", 3.0, 3},  {"1.5 km", 1500.0, 6},
                   {"7", 7.0, 1},      {"5 kg", 0.0, 0},    {"5 mx", 0.0, 0}, {"5 in", 5.0, 1}};
    for(const auto &row : lengths) {
        uint32_t consumed = ~0u;
        EXPECT_DOUBLE_EQ(String::toLength(row.src, &consumed), row.value) << row.src;
        EXPECT_EQ(consumed, row.consumed) << row.src;
    }
    // What is printed reads back.
    for(uint64_t value = 1; value < (1ull << 62); value *= 7) {
        EXPECT_NEAR(float64_t(String::toBytes(String::fromBytes(value, 6).get())), float64_t(value), value * 1e-6);
        EXPECT_NEAR(float64_t(String::toNumber(String::fromNumber(value, 6).get())), float64_t(value), value * 1e-6);
        EXPECT_NEAR(float64_t(String::toFrequency(String::fromFrequency(value, 6).get())), float64_t(value),
                    value * 1e-6);
    }
}
