// Storage, editing and searching against std::string, with random work.

#include "ChildProcess.h"
#include "KolmString.h"
#include "PrintString.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>

using namespace Kolm;

static std::string text(const String &str) {
    EXPECT_EQ(str.get()[str.size()], '\0');
    return std::string(str.get(), str.size());
}

static int sign(int value) { return (value > 0) - (value < 0); }

// Every kind of storage holds the same texts.
template<class Type> class StringModel : public testing::Test {};
using StringTypes = testing::Types<String, StringStack<8>, StringStack<64>>;
TYPED_TEST_SUITE(StringModel, StringTypes);

TYPED_TEST(StringModel, random_edits) {
    const size_t memory = Allocator::getMemory();
    {
        std::mt19937 random(17);
        TypeParam str, other;
        std::string model, other_model;
        const auto number = [&](size_t limit) { return uint32_t(random() % (limit + 1)); };
        const auto word = [&]() {
            std::string ret;
            for(uint32_t i = number(random() % 16 ? 6 : 90); i > 0; i--) ret += char('a' + random() % 3);
            return ret;
        };
        for(uint32_t step = 0; step < 100000; step++) {
            const std::string w = word();
            const uint32_t pos = number(model.size());
            const uint32_t len = number(model.size() - pos);
            switch(random() % 20) {
            case 0: str.append('x'), model += 'x'; break;
            case 1: str += w.c_str(), model += w; break;
            case 2: str.append(w.c_str(), uint32_t(w.size())), model += w; break;
            case 3: str.insert(pos, w.c_str()), model.insert(pos, w); break;
            case 4: str.remove(pos, len), model.erase(pos, len); break;
            case 5: str.removeBack(len), model.resize(model.size() - len); break;
            case 6: str.reverse(pos, len), std::reverse(model.begin() + pos, model.begin() + pos + len); break;
            case 7: str.resize(pos, 'r'), model.resize(pos, 'r'); break;
            case 8:
                str.resize(uint32_t(model.size()) + len, 'g', step & 1), model.resize(model.size() + len, 'g');
                break;
            case 9: str.shrink(); break;
            case 10: str.swap(other), model.swap(other_model); break;
            case 11: other = str, other_model = model; break;
            case 12: str = w.c_str(), model = w; break;
            case 13: str = std::move(other), model = other_model, other_model.clear(); break;
            case 14: str.append(char('0' + step % 10), len), model.append(len, char('0' + step % 10)); break;
            // The text's own bytes, before and behind the place that changes.
            case 15: str.append(str.get() + pos, len), model.append(std::string(model, pos, len)); break;
            case 16: str.insert(pos, str.get(), len), model.insert(pos, std::string(model, 0, len)); break;
            case 17: str.copy(str.get() + pos, len), model = model.substr(pos, len); break;
            case 18: str.append(str), model += std::string(model); break;
            case 19: step % 3 ? str.clear() : str.release(), model.clear(); break;
            }
            if(model.size() > 500) {
                str.resize(20);
                model.resize(20);
            }
            ASSERT_EQ(text(str), model) << step;
            ASSERT_EQ(text(other), other_model) << step;
        }
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(String, random_searches) {
    std::mt19937 random(3);
    for(uint32_t step = 0; step < 20000; step++) {
        std::string a, b;
        for(uint32_t i = random() % 40; i > 0; i--) a += char(random() % 8 ? 'a' + random() % 2 : 200 + random() % 2);
        for(uint32_t i = random() % 4; i > 0; i--) b += char(random() % 8 ? 'a' + random() % 2 : 200);
        const String s0(a.data(), uint32_t(a.size()));
        const String s1(b.data(), uint32_t(b.size()));
        const uint32_t pos = uint32_t(random() % (a.size() + 1));

        EXPECT_EQ(s0.find(s1, pos), uint32_t(a.find(b, pos)));
        EXPECT_EQ(s0.find(b.c_str(), pos), uint32_t(a.find(b, pos)));
        EXPECT_EQ(s0.rfind(s1, pos), uint32_t(a.rfind(b, pos)));
        EXPECT_EQ(s0.rfind(b.c_str()), uint32_t(a.rfind(b)));
        EXPECT_EQ(s0.find('b', pos), uint32_t(a.find('b', pos)));
        EXPECT_EQ(s0.rfind('b', pos), uint32_t(a.rfind('b', pos)));
        EXPECT_EQ(s0.count('a', pos), uint32_t(std::count(a.begin() + pos, a.end(), 'a')));
        EXPECT_EQ(s0.begins(b.c_str(), String::NotFound, pos), a.compare(pos, b.size(), b) == 0);
        EXPECT_EQ(s0.contains(b.c_str()), a.find(b) != std::string::npos);
        EXPECT_EQ(sign(s0.compare(s1)), sign(a.compare(b)));
        EXPECT_EQ(sign(s0.compare(b.c_str(), String::NotFound, pos)), sign(a.compare(pos, a.size(), b)));
        EXPECT_EQ(s0 == s1, a == b);
        EXPECT_EQ(s0 < b.c_str(), a < b);
        EXPECT_EQ(a.c_str() > s1, a > b);
        EXPECT_EQ(text(s0 + s1), a + b);
        EXPECT_EQ(text(a.c_str() + s1), a + b);
    }
    EXPECT_EQ(String("aaaaa").count("aa"), 2u);
    EXPECT_EQ(String("abc").count(""), 0u);
}

TEST(String, capacities) {
    // Requested size and capacity of a string that is made from nothing.
    static const uint32_t rows[][2] = {{1, 64}, {41, 64}, {42, 64}, {43, 65}, {64, 97}, {100, 151}, {1000000, 1500001}};
    for(const auto &row : rows) {
        String str;
        str.reserve(row[0]);
        EXPECT_EQ(str.getCapacity(), row[1]) << row[0];
        EXPECT_EQ(String(std::string(row[0], 'x').c_str()).getCapacity(), row[1]) << row[0];
    }
    EXPECT_EQ(StringStack<64>().getCapacity(), 63u);
    EXPECT_EQ(sizeof(String), 16u);

    // The last byte that fits inside, and the first that doesn't.
    StringStack<32> stack(31, 'x');
    EXPECT_FALSE(stack.allocator());
    stack.append('y');
    EXPECT_TRUE(stack.allocator());
    EXPECT_EQ(stack.getCapacity(), 64u);
}

TEST(String, empty_strings_allocate_nothing) {
    const size_t allocations = Allocator::getAllocations();
    String str;
    str.clear();
    str.release();
    str.append("");
    str.copy(nullptr);
    str.resize(0);
    str.removeBack(0);
    str.printf("%s", "");
    String other(std::move(str));
    other.swap(str);
    EXPECT_STREQ(other.get(), "");
    EXPECT_EQ(other.memory(), 0u);
    EXPECT_STREQ(String::null.get(), "");
    EXPECT_EQ(Allocator::getAllocations(), allocations);
}

TEST(String, moves_between_kinds) {
    // Heap blocks change hands, inline bytes are copied; the source stays usable.
    const std::string long_text(100, 'l');
    for(const std::string &src : {std::string("short"), long_text}) {
        StringStack<32> stack(src.c_str());
        const char *data = stack.get();
        String str(std::move(stack));
        EXPECT_EQ(text(str), src);
        EXPECT_EQ(str.get() == data, src == long_text);
        EXPECT_TRUE(stack.empty());
        stack = "again";
        EXPECT_EQ(text(stack), "again");
        EXPECT_FALSE(stack.allocator());
        stack = std::move(str);
        EXPECT_EQ(text(stack), src);
        EXPECT_TRUE(str.empty());
    }
}

TEST(String, external_memory) {
    char buffer[8] = "abc#def";
    String str;
    str.init(buffer, sizeof(buffer), 3);
    EXPECT_STREQ(str.get(), "abc");
    str.append("1234");
    EXPECT_STREQ(buffer, "abc1234");
    str.append('5');
    EXPECT_STREQ(str.get(), "abc12345");
    EXPECT_STREQ(buffer, "abc1234");
    String view;
    view.init(str);
    EXPECT_EQ(view.get(), str.get());
    String copy(view);
    EXPECT_NE(copy.get(), str.get());
    EXPECT_EQ(copy, "abc12345");
}

TEST(String, hashes) {
    EXPECT_EQ(String().toHashu32(), 131u);
    EXPECT_EQ(String("a").toHashu32(), 17389u);
    EXPECT_EQ(String("abc").toHashu32(), 302921748u);
    EXPECT_EQ(String("xyabc").toHashu32(2), 302921748u);
    EXPECT_EQ(String("\xFF").toHashu64(), 132u * 131 + 255);
    EXPECT_EQ(String("abcdefghijk").toHashu32(), uint32_t(String("abcdefghijk").toHashu64()));
}

TEST(String, colours) {
    static const struct {
        const char *src;
        uint32_t color;
    } rows[] = {
        {"#f80", 0xFF0088FF}, {"#ff8000", 0xFF0080FF}, {"#ff8000c", 0x0C00F80F}, {"#ff800040", 0xFF400080},
        {"red", 0xFF00FFFF},  {"", 0xFF00FFFF},        {"#", 0xFF000000},        {"#0b1f2e", 0xFF2E1F0B},
    };
    for(const auto &row : rows) EXPECT_EQ(String(row.src).toRGBAu8(), row.color) << row.src;
    EXPECT_EQ(String("color=#f80").toRGBAu8(6), 0xFF0088FF);
}

TEST(String, assertions) {
    String str("abc");
    EXPECT_ASSERTION(str.toHashu32(4), "pos <= length && \"String::toHashu32(): invalid position\"");
    EXPECT_ASSERTION(str.distance("", false, 4), "pos <= length && \"String::distance(): invalid position\"");
    EXPECT_ASSERTION(str.match("", 0, 4), "pos <= length && \"String::match(): invalid position\"");
    EXPECT_ASSERTION(str.find('a', ~0u), "pos <= length && \"String::find(): invalid position\"");
    EXPECT_ASSERTION(str.substring(4), "pos <= length && \"String::substring(): invalid position\"");
    EXPECT_ASSERTION(str[3] = 'x', "index < length && \"String::operator[](): invalid index\"");
    EXPECT_ASSERTION(str.remove(2, 2), "len <= length - pos && \"String::remove(): invalid length\"");
    EXPECT_ASSERTION(str.reserve(0x7FFFFFFF), "size < 0x7FFFFFFF && \"String::reserve(): invalid size\"");
    EXPECT_ASSERTION(String::tou32("1", 7), "is_radix(radix) && \"String::tou32(): unknown radix\"");
    EXPECT_ASSERTION(String::fromi32(1, 17), "radix > 0 && radix <= 16 && \"String::fromi32(): invalid radix\"");
    EXPECT_ASSERTION(String::fromf32(1.0f, 17), "num < (sizeof(multipliers) / sizeof(multipliers[0])) && "
                                                "\"String::fromf32(): invalid digits\"");
}
