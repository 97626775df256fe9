// Scanning of texts: what is consumed, what is read, what is thrown.

#include "KolmParser.h"
#include "PrintString.h"

#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>

using namespace Kolm;

// The thrown text, or "" if nothing was thrown.
static std::string thrown(const std::function<void()> &func) {
    try {
        func();
    } catch(const String &str) {
        return str.get();
    }
    return "";
}

TEST(Parser, predicates) {
    static const struct {
        const char *src;
        bool comment, number, is_float, is_signed, is_unsigned;
    } rows[] = {
        {" // x", true, false, false, false, false}, {"\n/* x", true, false, false, false, false},
        {"/ /", false, false, false, false, false},  {" 12", false, true, false, false, true},
        {"-12", false, true, false, true, false},    {"+ 12", false, true, false, true, false},
        {"12.", false, true, true, false, false},    {"- .5", false, true, true, false, false},
        {".", false, false, false, false, false},    {"1e5", false, true, true, false, false},
        {"e5", false, false, false, false, false},   {"", false, false, false, false, false},
        {"-", false, false, false, false, false},
    };
    for(const auto &row : rows) {
        EXPECT_EQ(Parser::isComment(row.src), row.comment) << row.src;
        EXPECT_EQ(Parser::isNumber(row.src), row.number) << row.src;
        EXPECT_EQ(Parser::isFloat(row.src), row.is_float) << row.src;
        EXPECT_EQ(Parser::isSigned(row.src), row.is_signed) << row.src;
        EXPECT_EQ(Parser::isUnsigned(row.src), row.is_unsigned) << row.src;
    }
}

TEST(Parser, spaces_and_symbols) {
    uint32_t lines = 1;
    EXPECT_EQ(Parser::skipSpaces(" \t\r\n \vx", lines), 5u);
    EXPECT_EQ(lines, 2u);
    EXPECT_EQ(Parser::skipComment(" // a\nb"), 6u);
    EXPECT_EQ(Parser::skipComment("// a"), 4u);
    EXPECT_EQ(Parser::skipComment("\n/* a\n*/b", lines), 8u);
    EXPECT_EQ(lines, 4u);
    EXPECT_EQ(Parser::skipComment("/* a *"), 6u);
    EXPECT_EQ(Parser::skipComment("/*/"), 3u);
    EXPECT_EQ(Parser::skipComment("  x"), 2u);
    EXPECT_EQ(Parser::getSymbol(" \n;"), ';');
    EXPECT_EQ(Parser::getSymbol("  "), '\0');
    EXPECT_EQ(Parser::expectSymbol("\n ;x", ';', lines), 3u);
    EXPECT_EQ(lines, 5u);
    EXPECT_EQ(Parser::expectSymbol(" \r\n\n", '\n'), 3u);
    EXPECT_EQ(thrown([] { Parser::expectSymbol(" x", '\n'); }), "expecting '\n'\n");
    EXPECT_EQ(thrown([] { Parser::expectSymbol("", ';'); }), "expecting ';'\n");
    EXPECT_EQ(thrown([] { Parser::expectSymbol("", '\0'); }).substr(0, 11), "expecting '");
}

TEST(Parser, words) {
    String dest;
    EXPECT_EQ(Parser::readToken(" one,two", dest), 8u);
    EXPECT_EQ(dest, "one,two");
    EXPECT_EQ(Parser::readToken(" one,two", dest, ",;"), 4u);
    EXPECT_EQ(dest, "one");
    EXPECT_EQ(Parser::readToken(" ,two", dest, ",;", false), 2u);
    EXPECT_EQ(dest, "one,");
    EXPECT_EQ(Parser::skipToken("a b"), 1u);
    EXPECT_EQ(Parser::skipToken("a:b", ":"), 1u);
    EXPECT_EQ(Parser::skipToken("  "), 2u);
    EXPECT_EQ(Parser::expectToken(" in;", "in", ";"), 3u);
    EXPECT_EQ(thrown([] { Parser::expectToken("in;", "in"); }), "expecting \"in\"\n");
    EXPECT_EQ(Parser::readName(" _a1-b", dest), 4u);
    EXPECT_EQ(dest, "_a1");
    EXPECT_EQ(Parser::expectName(" main(", "main"), 5u);
    EXPECT_EQ(thrown([] { Parser::expectName("mainly", "main"); }), "expecting \"main\"\n");
    EXPECT_EQ(thrown([] { Parser::expectName("100%s", "100%s"); }), "expecting \"100%s\"\n");
}

// Each reader with its skipper: consumed bytes and text, or 0 for a text that it refuses.
TEST(Parser, numbers_and_literals) {
    using Skip = uint32_t (*)(const char *);
    using Read = uint32_t (*)(const char *, String &, bool);
    static const struct {
        const char *name;
        Skip skip;
        Read read;
        const char *src;
        uint32_t consumed;
        const char *text;
    } rows[] = {
        {"name", Parser::skipName, Parser::readName, "\n a_1 b", 5, "a_1"},
        {"name", Parser::skipName, Parser::readName, "1a", 0, ""},
        {"float", Parser::skipFloat, Parser::readFloat, " -1.5e-3f", 8, "-1.5e-3"},
        {"float", Parser::skipFloat, Parser::readFloat, "- .5x", 4, "-.5"},
        {"float", Parser::skipFloat, Parser::readFloat, "5.e", 2, "5."},
        {"float", Parser::skipFloat, Parser::readFloat, "12", 2, "12"},
        {"float", Parser::skipFloat, Parser::readFloat, ".e5", 0, ""},
        {"decimal", Parser::skipDecimal, Parser::readDecimal, " +12.5", 4, "+12"},
        {"decimal", Parser::skipDecimal, Parser::readDecimal, "x", 0, ""},
        {"hexadecimal", Parser::skipHexadecimal, Parser::readHexadecimal, " 0x1Fg", 5, "0x1F"},
        {"hexadecimal", Parser::skipHexadecimal, Parser::readHexadecimal, "ff ", 2, "ff"},
        {"hexadecimal", Parser::skipHexadecimal, Parser::readHexadecimal, "0xg", 1, "0"},
        {"hexadecimal", Parser::skipHexadecimal, Parser::readHexadecimal, "g", 0, ""},
        {"number", Parser::skipNumber, Parser::readNumber, "-0XA0u", 5, "-0XA0"},
        {"number", Parser::skipNumber, Parser::readNumber, "1e9", 3, "1e9"},
        {"number", Parser::skipNumber, Parser::readNumber, "- x", 0, ""},
        {"symbol", Parser::skipSymbol, Parser::readSymbol, " '\\''x", 5, "\\'"},
        {"symbol", Parser::skipSymbol, Parser::readSymbol, "'a", 0, ""},
        {"string", Parser::skipString, Parser::readString, " \"a b\"c", 6, "a b"},
        {"string", Parser::skipString, Parser::readString, "\"\"", 2, ""},
        {"string", Parser::skipString, Parser::readString, "\"a\\\"b\"", 6, "a\\\"b"},
        // A quote behind a backslash never ends a literal, not even behind two.
        {"string", Parser::skipString, Parser::readString, "\"a\\\\\"b\"", 7, "a\\\\\"b"},
        {"string", Parser::skipString, Parser::readString, "\"a\nb\"", 0, ""},
        {"string", Parser::skipString, Parser::readString, "\"a", 0, ""},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.src);
        String dest("old");
        if(row.consumed) {
            EXPECT_EQ(row.skip(row.src), row.consumed);
            EXPECT_EQ(row.read(row.src, dest, true), row.consumed);
            EXPECT_EQ(dest, row.text);
            row.read(row.src, dest, false);
            EXPECT_EQ(dest, String(row.text) + row.text);
        } else {
            // The message ends with the first line of what is left.
            const std::string rest = std::string(row.src).substr(0, std::string(row.src).find('\n'));
            EXPECT_EQ(thrown([&] { row.skip(row.src); }), std::string("can't skip ") + row.name + "\n" + rest + "\n");
            EXPECT_EQ(thrown([&] { row.read(row.src, dest, true); }),
                      std::string("can't read ") + row.name + "\n" + rest + "\n");
            EXPECT_EQ(dest, "old");
        }
    }
    // A line without end is cut.
    const std::string line(1000000, '-');
    EXPECT_LT(thrown([&] { Parser::skipName(line.c_str()); }).size(), 512u);
}

TEST(Parser, regions) {
    String dest;
    EXPECT_EQ(Parser::readRegion(" (a (b) c) d", dest, '(', ')'), 10u);
    EXPECT_EQ(dest, "a (b) c");
    EXPECT_EQ(Parser::readRegion("{}", dest, '{', '}', true, true), 2u);
    EXPECT_EQ(dest, "{}");
    EXPECT_EQ(Parser::readRegion("{ \"}\" /* } */ // }\n}", dest, '{', '}'), 20u);
    EXPECT_EQ(Parser::readRegion("[\"]", dest, '[', ']'), 3u);
    EXPECT_EQ(Parser::readRegion("$a$b", dest, '$', '$'), 3u);
    EXPECT_EQ(dest, "a");
    EXPECT_EQ(thrown([&] { Parser::readRegion(" x\ny", dest, '(', ')'); }), "can't read '(' to ')' region\nx\n");
    EXPECT_EQ(thrown([&] { Parser::readRegion("(a(b)\n", dest, '(', ')'); }),
              "invalid count of '(' and ')' symbols\n(a(b)\n");
    EXPECT_EQ(thrown([&] { Parser::readRegion("{", dest, '{', '}'); }), "invalid count of '{' and '}' symbols\n{\n");
    EXPECT_EQ(thrown([&] { Parser::readRegion("[ // ]", dest, '[', ']'); }),
              "invalid count of '[' and ']' symbols\n[ // ]\n");
}

TEST(Parser, lines) {
    String dest;
    EXPECT_EQ(Parser::readLine(" a \r\nb", dest), 5u);
    EXPECT_EQ(dest, " a ");
    EXPECT_EQ(Parser::readLine("", dest), 0u);
    EXPECT_EQ(dest, "");
    EXPECT_EQ(Parser::readLine(" \n\r\n  b\nc", dest, true), 8u);
    EXPECT_EQ(dest, "  b");
    EXPECT_EQ(Parser::readLine("c", dest, false, false), 1u);
    EXPECT_EQ(dest, "  bc");
    EXPECT_EQ(Parser::skipLine("\nx"), 1u);
    EXPECT_EQ(Parser::skipLine("\n \nx\ny", true), 5u);
    EXPECT_EQ(Parser::skipLines("a\nb\nc", 2), 4u);
    EXPECT_EQ(Parser::skipLines("a\nb", 9), 3u);
}

TEST(Parser, byte_order_marks) {
    // "a", e with acute, euro sign, a face; terminated by two or four zero bytes.
    static const char utf16le[] = "\xFF\xFE"
                                  "a\0\xE9\0\xAC\x20\x3D\xD8\x00\xDE\0";
    static const char utf16be[] = "\xFE\xFF"
                                  "\0a\0\xE9\x20\xAC\xD8\x3D\xDE\x00\0";
    static const char utf32le[] = "\xFF\xFE\0\0"
                                  "a\0\0\0\xE9\0\0\0\xAC\x20\0\0\x00\xF6\x01\0\0\0\0";
    static const char utf8[] = "\xEF\xBB\xBF"
                               "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    const char *text = utf8 + 3;
    EXPECT_TRUE(Parser::isBom(utf8) && Parser::isBom(utf16le) && Parser::isBom(utf16be));
    EXPECT_FALSE(Parser::isBom("\xFE") || Parser::isBom("") || Parser::isBom("\xEF\xBB"));
    String dest;
    EXPECT_EQ(Parser::readBom(utf8, dest), sizeof(utf8) - 1);
    EXPECT_EQ(dest, text);
    EXPECT_EQ(Parser::readBom(utf16le, dest), 12u);
    EXPECT_EQ(dest, text);
    EXPECT_EQ(Parser::readBom(utf16be, dest), 12u);
    EXPECT_EQ(dest, text);
    EXPECT_EQ(Parser::readBom(utf32le, dest, true, sizeof(utf32le)), 20u);
    EXPECT_EQ(String(dest.get(), 6), String(text, 6));
    // Cut everywhere: nothing behind the size is read, which the sanitizers watch.
    for(const auto &[data, size] : {std::pair(utf16le, sizeof(utf16le)), std::pair(utf16be, sizeof(utf16be)),
                                    std::pair(utf32le, sizeof(utf32le)), std::pair(utf8, sizeof(utf8))}) {
        for(size_t i = 0; i < size; i++) {
            char *cut = static_cast<char *>(malloc(i ? i : 1));
            memcpy(cut, data, i);
            EXPECT_LE(Parser::readBom(cut, dest, true, i), i);
            free(cut);
        }
    }
}

// No text makes a scanner read behind its end, consume more than there is, or throw anything but a String.
TEST(Parser, random_texts) {
    std::mt19937 random(41);
    const std::string alphabet = "aZ_09.xeE+-\"'\\/*(){}[]\n\r\t ,;\xFF\xFE\xEF\xBB\xBF";
    for(uint32_t step = 0; step < 100000; step++) {
        const uint32_t size = random() % 16;
        // A block of its own size, so that the sanitizers see the first byte behind it.
        char *src = static_cast<char *>(malloc(size + 1));
        for(uint32_t i = 0; i < size; i++) src[i] = alphabet[random() % alphabet.size()];
        src[size] = '\0';
        String dest;
        uint32_t lines = 0;
        const std::function<uint32_t()> scanners[] = {
            [&] { return Parser::skipSpaces(src, lines); },
            [&] { return Parser::skipComment(src, lines); },
            [&] { return Parser::expectSymbol(src, src[0], lines); },
            [&] { return Parser::readToken(src, dest, "(){}"); },
            [&] { return Parser::expectToken(src, "a"); },
            [&] { return Parser::readName(src, dest); },
            [&] { return Parser::readFloat(src, dest); },
            [&] { return Parser::readDecimal(src, dest); },
            [&] { return Parser::readHexadecimal(src, dest); },
            [&] { return Parser::readNumber(src, dest); },
            [&] { return Parser::readSymbol(src, dest); },
            [&] { return Parser::readString(src, dest); },
            [&] { return Parser::readRegion(src, dest, '(', ')'); },
            [&] { return Parser::readLine(src, dest, true); },
            [&] { return Parser::skipLines(src, 3); },
            [&] { return Parser::isBom(src) ? 0 : Parser::readBom(src, dest); },
            [&] { return Parser::readBom(src, dest, true, size); },
        };
        for(const auto &scanner : scanners) {
            thrown([&] { EXPECT_LE(scanner(), size + 0u); });
        }
        free(src);
    }
}
