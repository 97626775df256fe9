// The public string and parser as an application uses them.

#include <core/OstrevanAllocator.h>
#include <core/OstrevanParser.h>
#include <core/OstrevanString.h>

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace Ostrevan;

static std::string text(const String &str) {
    EXPECT_EQ(str.get()[str.size()], '\0');
    return std::string(str.get(), str.size());
}

TEST(PublicString, values) {
    const size_t memory = Allocator::getMemory();
    {
        // Short texts lie in the object itself, long ones on the heap: moves and copies of both, in all pairs.
        for(const std::string &a : {std::string(), std::string("short"), std::string(100, 'a')}) {
            for(const std::string &b : {std::string("b"), std::string(200, 'b')}) {
                String s0(a.c_str()), s1(b.c_str());
                EXPECT_EQ(s0.allocator(), a.size() > 30);
                String copy(s0);
                s0 = s1;
                EXPECT_EQ(text(s0) + text(s1) + text(copy), b + b + a);
                String moved(std::move(s1));
                EXPECT_EQ(text(moved), b);
                EXPECT_TRUE(s1.empty());
                s1 = "again";
                EXPECT_EQ(text(s1), "again");
                s1 = std::move(copy);
                EXPECT_EQ(text(s1), a);
                s1.swap(moved);
                EXPECT_EQ(text(s1) + text(moved), b + a);
                String &same = s1; // to itself
                s1 = same;
                EXPECT_EQ(text(s1 + "x" + moved), b + "x" + a);
            }
        }
        // Strings in a container of another kind are moved by their constructors.
        std::vector<String> strings;
        for(uint32_t i = 0; i < 100; i++) strings.push_back(String::fromu32(i * 1000000000u));
        for(uint32_t i = 0; i < 100; i++) EXPECT_EQ(text(strings[i]), std::to_string(i * 1000000000u));
        EXPECT_TRUE(String::null.empty());
        EXPECT_FALSE(String::null);
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(PublicString, edits_and_access) {
    String str("abc");
    str.append('d').append("ef").append("ghij", 2).append(str).append('!', 2);
    EXPECT_EQ(text(str), "abcdefghabcdefgh!!");
    str.insert(0, "<").insert(1, String(">"));
    str.remove(2, 6);
    str += '.';
    str[0] = str.back(1);
    str.removeBack();
    str.reverse(0, 2);
    EXPECT_EQ(text(str), ">!ghabcdefgh!!");
    EXPECT_EQ(str.find("gh") + str.rfind("gh") * 100 + str.count('g') * 10000, 2u + 1000 + 20000);
    EXPECT_TRUE(str.begins("gh", String::NotFound, 2) && str.contains("abc") && str.match("*abc*"));
    EXPECT_EQ(String("kitten").distance("sitting"), 3u);
    EXPECT_TRUE(String("a") < "b" && "b" > String("a") && String("a") == "a" && String("a") != String("b"));
}

TEST(PublicString, derived) {
    const Array<String> pieces = String("a,b,,c").split(",");
    ASSERT_EQ(pieces.size(), 4u);
    EXPECT_EQ(text(pieces[3]), "c");
    EXPECT_EQ(text(String("dir/file.txt").extension("png")), "dir/file.png");
    EXPECT_EQ(text(String::relname("a/b/x", "a/c/y")), "../c/y");
    EXPECT_EQ(text(String("a b").capitalize() + String("x").upper()), "A BX");
    const Array<uint32_t> codes = String("a\xE2\x82\xAC").toUtf32();
    ASSERT_EQ(codes.size(), 2u);
    EXPECT_EQ(codes[1], 0x20ACu);
    EXPECT_EQ(text(String::fromUtf32(codes.get(), codes.size())), "a\xE2\x82\xAC");
    EXPECT_EQ(String("abc").toHashu32(), 302921748u);
    EXPECT_EQ(String("#f80").toRGBAu8(), 0xFF0088FFu);
}

TEST(PublicString, formats_and_numbers) {
    String str("text");
    str.printf("%s-%.2f-%5u", str.get(), 1.5, 42u);
    EXPECT_EQ(text(str), "text-1.50-   42");
    uint32_t a = 0;
    float32_t b = 0.0f;
    EXPECT_EQ(String("7 2.5").scanf("%u %f", &a, &b), 2u);
    EXPECT_EQ(a + b, 9.5f);
    String number;
    String::fromf64(String::fromi32(number, -5).append(' '), 0.25);
    EXPECT_EQ(text(number), "-5 0.25");
    EXPECT_EQ(String::tou32("0x1F", 10, &a) + a, 31u + 4);
    EXPECT_EQ(number.tof64(3), 0.25);
    EXPECT_EQ(text(String::fromBytes(1536) + " " + String::fromTime(1500)), "1.5 KB 1.5 ms");
    EXPECT_EQ(String("2 KB").toBytes(), 2048u);
}

TEST(PublicParser, reads_and_throws_public_strings) {
    String name, value;
    const char *src = " key = 0x10 ; // done\n(a (b))";
    src += Parser::readName(src, name);
    src += Parser::expectSymbol(src, '=');
    src += Parser::readNumber(src, value);
    src += Parser::expectSymbol(src, ';');
    src += Parser::skipComment(src);
    EXPECT_EQ(text(name + value), "key0x10");
    Parser::readRegion(src, value, '(', ')');
    EXPECT_EQ(text(value), "a (b)");
    EXPECT_FALSE(Parser::isFloat("1"));

    std::string thrown;
    try {
        Parser::readName(" 1st\nsecond", name);
    } catch(const String &message) {
        thrown = text(message);
    }
    EXPECT_EQ(thrown, "can't read name\n1st\n");
    try {
        Parser::error("%s %d", "text", 5);
    } catch(const String &message) {
        thrown = text(message);
    }
    EXPECT_EQ(thrown, "text 5");
}
