// Documents: what is taken and what is refused with which message, trees and their memory, what is saved.

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmBlob.h"
#include "KolmFile.h"
#include "KolmJson.h"
#include "KolmJsonScan.h"
#include "PrintString.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <thread>
#include <vector>

#if defined(OSTREVAN_NLOHMANN)
#include <nlohmann/json.hpp>
#endif

using namespace Kolm;

namespace {

std::string save(const Json &json, bool compact = true) {
    Blob blob;
    if(!json.save(blob, compact)) return "no result";
    return std::string(reinterpret_cast<const char *>(blob.getData()), blob.getSize());
}

bool create(Json &json, const std::string &text) { return json.create(text.data(), text.size()); }

std::string resave(const std::string &text, bool compact = true) {
    Json json;
    return create(json, text) ? save(json, compact) : "not loaded";
}

std::string repeat(const char *text, uint32_t num) {
    std::string ret;
    while(num--) ret += text;
    return ret;
}

} // namespace

// -- Texts --

TEST(Json, takes_what_the_standard_allows) {
    static const struct {
        const char *text, *saved;
    } rows[] = {
        {"{}", "{}"},
        {"[]", "[]"},
        {" [ ] ", "[]"},
        {"null", "null"},
        {"\ttrue\r\n", "true"},
        {" false", "false"},
        {"0", "0"},
        {"-0", "-0"},
        {"[-0.0, 1E5,1e-7 ,2.50E+00]", "[-0.0,1E5,1e-7,2.50E+00]"},
        {"123456789012345678901234567890", "123456789012345678901234567890"},
        {"12345678901234567.12345678901234567e12345678901234567",
         "12345678901234567.12345678901234567e12345678901234567"},
        {"\"\"", "\"\""},
        {"[\"a\",\"\",\"bc\"]", "[\"a\",\"\",\"bc\"]"},
        {"{\"a\":1,\"b\":{\"c\":[true,null]},\"a\":2}", "{\"a\":1,\"b\":{\"c\":[true,null]},\"a\":2}"},
        {"{ \"a\" : 1 , \"b\" : [ 1 , 2 ] }", "{\"a\":1,\"b\":[1,2]}"},
        {"\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"", "\"\\\"\\\\\\/\\b\\f\\n\\r\\t\""},
        {"\"a/b\"", "\"a\\/b\""},
        {"\"\\u0000\\u0001\\u001f\\u0020\\u007F\"", "\"\\u0000\\u0001\\u001f \x7F\""},
        {"\"\\u00e9\\u20AC\\ud83d\\ude00\\uDBFF\\uDFFF\"", "\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF\""},
        // halves of pairs
        {"\"\\ud83d\"", "\"\xEF\xBF\xBD\""},
        {"\"\\ude00x\"", "\"\xEF\xBF\xBDx\""},
        {"\"\\ud83d\\ud83d\\ude00\"", "\"\xEF\xBF\xBD\xF0\x9F\x98\x80\""},
        {"\"\\ud83d\\n\"", "\"\xEF\xBF\xBD\\n\""},
        {"\"a\\\nb\\\r\nc\"", "\"abc\""},
        {"\"an escape\\nbefore and behind \\tlong runs of plain text\"",
         "\"an escape\\nbefore and behind \\tlong runs of plain text\""},
        {"[[[[]]],{\"a\":{}}]", "[[[[]]],{\"a\":{}}]"},
    };
    for(const auto &row : rows) EXPECT_EQ(resave(row.text), row.saved) << row.text;
    Json json;
    ASSERT_TRUE(json.create("\"\\u00e9\\ud83d\\ude00\""));
    EXPECT_EQ(std::string(json.getData().get()), "\xC3\xA9\xF0\x9F\x98\x80");
    ASSERT_TRUE(json.create("[\"a\\u0000b\", true, null, 1.50]"));
    EXPECT_EQ(json.getChild(0)->getData().size(), 3u);
    EXPECT_EQ(json.getChild(1)->getData(), "true");
    EXPECT_EQ(json.getChild(2)->getData(), "null");
    EXPECT_EQ(json.getChild(3)->getData(), "1.50");
    // Names without letters can be read, but there is no way to write them.
    CapturedLog log;
    EXPECT_TRUE(json.create("{\"\":1}"));
    EXPECT_EQ(save(json), "no result");
    EXPECT_EQ(log.take(), "Json::save(): empty object element name\n");
}

TEST(Json, refuses_the_rest_with_line_and_message) {
    static const struct {
        const char *text, *message;
    } rows[] = {
        {"", "premature end of file\n1: "},
        {" \n ", "premature end of file\n2: "},
        {"[1,2,]", "extra ',' symbol\n1: ]"},
        {"{\"a\":1,}", "extra ',' symbol\n1: }"},
        {"[1,\n2,\n]\n", "extra ',' symbol\n3: ]"},
        {"{\"a\":1", "premature end of file\n1: "},
        {"[", "premature end of file\n1: "},
        {"[1,", "premature end of file\n1: "},
        {"{\"a\"", "premature end of file\n1: "},
        {"{\"a\":\n", "premature end of file\n2: "},
        {"{\n\"a\":\n[1\n", "premature end of file\n4: "},
        {"[1}", "expecting object\n1: }"},
        {"{\"a\":1]", "expecting array\n1: ]"},
        {"[}", "expecting object\n1: }"},
        {"{]", "expecting array\n1: ]"},
        {"[,1]", "invalid symbol\n1: ,1]"},
        {"[1,,2]", "invalid symbol\n1: ,2]"},
        {"]", "invalid symbol\n1: ]"},
        {"{\"a\":}", "invalid symbol\n1: }"},
        {"[1]]", "invalid symbol\n1: ]"},
        {"1 2", "invalid symbol\n1: 2"},
        {"{} x", "invalid symbol\n1: x"},
        {"\"a\" \n\n]", "invalid symbol\n3: ]"},
        {"[1 2]", "expecting ','\n1: 2]"},
        {"[\"a\"1]", "expecting ','\n1: 1]"},
        {"[1\n\n;2] \n3", "expecting ','\n3: ;2] "},
        {"[1;2]", "expecting ','\n1: ;2]"},
        {"{\"a\":1 \"b\"}", "expecting ','\n1: \"b\"}"},
        {"{\"a\" 1}", "expecting ':'\n1: 1}"},
        {"{a:1}", "expecting string\n1: a:1}"},
        {"{1:1}", "expecting string\n1: 1:1}"},
        {"{,}", "expecting string\n1: ,}"},
        // numbers
        {"[- 5]", "can't skip float\n- 5]\n1: - 5]"},
        {"[-]", "can't skip float\n-]\n1: -]"},
        {"[01]", "expecting ','\n1: 1]"},
        {"[-01]", "expecting ','\n1: 1]"},
        {"[1.]", "expecting ','\n1: .]"},
        {"[1e]", "expecting ','\n1: e]"},
        {"[1e+]", "expecting ','\n1: e+]"},
        {"[0x10]", "expecting ','\n1: x10]"},
        {"1.2.3", "invalid symbol\n1: .3"},
        {"[.5]", "unexpected token \".5\"\n1: .5]"},
        {"[+1]", "unexpected token \"+1\"\n1: +1]"},
        {"[Infinity]", "unexpected token \"Infinity\"\n1: Infinity]"},
        // words
        {"nul", "unexpected token \"nul\"\n1: nul"},
        {"[True]", "unexpected token \"True\"\n1: True]"},
        {"[truex]", "unexpected token \"truex\"\n1: truex]"},
        {"['a']", "unexpected token \"'a'\"\n1: 'a']"},
        {"// text\n1", "unexpected token \"//\"\n1: // text"},
        // strings
        {"\"abc", "can't read string\n1: "},
        {"[\"a\nb\"]", "can't read string\n1: "},
        {"\"a\tb\"", "can't read string\n1: \tb\""},
        {"\"a\\", "can't read string\n1: \\"},
        {"{\"a", "can't read string\n1: "},
        {"[\n\"\\n\\n\\\n\\n\n\"]", "can't read string\n3: "},
        {"\"\\x41\"", "unexpected token \"\\x\"\n1: \\x41\""},
        {"\"\\'\"", "unexpected token \"\\'\"\n1: \\'\""},
        {"\"\\\xC3\xA9\"", "unexpected token \"\\\xC3\xA9\"\n1: \\\xC3\xA9\""},
        {"\"\\u12G4\"", "unexpected token \"\\u12G4\"\n1: 12G4\""},
        {"\"\\u12\"", "unexpected token \"\\u12\"\n1: 12\""},
        {"\"\\ud83d\\u12\"", "unexpected token \"\\u12\"\n1: \\u12\""},
        {"\f1", "invalid symbol\n1: \f1"},
        {"[\x01]", "invalid symbol\n1: \x01]"},
    };
    CapturedLog log;
    for(const auto &row : rows) {
        Json json("name", Json::TypeArray);
        json.addChild("child", Json::TypeBool);
        EXPECT_FALSE(create(json, row.text)) << row.text;
        EXPECT_EQ(log.size(), 1u);
        EXPECT_EQ(log.take(), std::string("Json::create(): ") + row.message + "\n") << row.text;
        EXPECT_TRUE(json.isUnknown() && json.getNumChildren() == 0 && json.getName().empty() && json.getData().empty());
    }
    // A zero byte is no end.
    for(const std::string &text :
        {std::string("[1]\0", 4), std::string("[1\0]", 4), std::string("[\0]", 3), std::string("{\0}", 3),
         std::string("1\0"
                     "2",
                     3)}) {
        Json json;
        EXPECT_FALSE(create(json, text));
        EXPECT_EQ(log.take().substr(0, 31), "Json::create(): invalid symbol\n");
    }
    Json json;
    EXPECT_FALSE(create(json, std::string("\"a\0b\"", 5)));
    EXPECT_EQ(log.take(), "Json::create(): can't read string\n1: \n");
    // A line is cut, wherever it ends.
    EXPECT_FALSE(create(json, "[" + repeat("x", 100000)));
    EXPECT_LT(log.take().size(), 512u);
    EXPECT_FALSE(create(json, "[1 " + repeat("2", 100000)));
    EXPECT_LT(log.take().size(), 512u);
}

TEST(Json, refuses_every_part_of_a_text) {
    const std::string text =
        "{\"a\": [1.5e3, -2, \"x\\u00e9\\n\", {}], \"b\\\\\": {\"c\": null, \"d\": [true, false]}}";
    CapturedLog log;
    for(size_t size = 1; size <= text.size(); size++) {
        Json json;
        // a block without room behind the text
        char *memory = static_cast<char *>(Allocator::allocate(text.data(), size));
        EXPECT_EQ(json.create(memory, size, true), size == text.size()) << size;
        EXPECT_EQ(log.size(), size < text.size() ? 1u : 0u);
        log.clear();
        EXPECT_EQ(create(json, text.substr(0, size)), size == text.size());
        log.clear();
    }
    // and every text with one byte changed either ends well or not at all
    for(size_t i = 0; i < text.size(); i++) {
        for(const char c : {'\0', '"', '\\', '{', ']', ',', '1', ' ', '\xFF'}) {
            std::string changed = text;
            changed[i] = c;
            Json json;
            if(!create(json, changed)) continue;
            EXPECT_EQ(resave(save(json)), save(json)) << changed;
        }
    }
}

TEST(Json, nesting_has_a_limit) {
    CapturedLog log;
    for(const uint32_t depth : {1u, 1000u, 2048u})
        EXPECT_EQ(resave(repeat("[", depth) + repeat("]", depth)), repeat("[", depth) + repeat("]", depth));
    for(const uint32_t depth : {2049u, 3000u, 100000u}) {
        EXPECT_EQ(resave(repeat("[", depth) + repeat("]", depth)), "not loaded");
        EXPECT_EQ(log.take().substr(0, 32), "Json::create(): stack overflow\n1");
        EXPECT_EQ(resave(repeat("{\"a\":", depth)), "not loaded");
        EXPECT_EQ(log.take().substr(0, 32), "Json::create(): stack overflow\n1");
    }
    EXPECT_EQ(log.size(), 0u);
    // Trees that were built have none.
    const size_t memory = Allocator::getMemory();
    {
        Json root(Json::TypeArray);
        Json *json = &root;
        for(uint32_t i = 0; i < 200000; i++) json = json->addChild("", Json::TypeArray);
        EXPECT_EQ(json->getRoot(), &root);
        EXPECT_EQ(save(root).size(), 400002u);
        const Json copy(root);
        EXPECT_EQ(save(copy), save(root));
        EXPECT_EQ(json->getPathName().size(), 400000u);
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(Json, encodings) {
    const std::string text = "{\"\xC3\xA9\xF0\x9F\x98\x80\":\"\xE2\x82\xAC \\u00e9\"}";
    std::u16string wide = u"\uFEFF{\"\u00E9\U0001F600\":\"\u20AC \\u00e9\"}";
    std::string little, big;
    for(const char16_t c : wide) {
        little += {char(c & 255), char(c >> 8)};
        big += {char(c >> 8), char(c & 255)};
    }
    for(const std::string &marked : {"\xEF\xBB\xBF" + text, little, big, " \n\xEF\xBB\xBF" + text})
        EXPECT_EQ(resave(marked), resave(text));
    CapturedLog log;
    EXPECT_EQ(resave("\xEF\xBB\xBF"), "not loaded");
    EXPECT_EQ(log.take(), "Json::create(): premature end of file\n1: \n");
    EXPECT_EQ(resave("\xFF\xFE"), "not loaded");
    EXPECT_EQ(log.take(), "Json::create(): premature end of file\n1: \n");
    // half a unit, a zero unit
    EXPECT_EQ(resave(little + "\x20"), "not loaded");
    EXPECT_EQ(log.take(), "Json::create(): can't convert text\n");
    EXPECT_EQ(resave(little + std::string("\0\0 ", 4)), "not loaded");
    EXPECT_EQ(log.take(), "Json::create(): can't convert text\n");
    // Without a mark UTF-16 is not recognised.
    EXPECT_EQ(resave(little.substr(2)), "not loaded");
    log.clear();
    // Bytes that are not UTF-8 stay as they are.
    EXPECT_EQ(resave("\"\xFF\xC3\""), "\"\xFF\xC3\"");
}

TEST(Json, files_and_streams) {
    CapturedLog log;
    const std::string path = testing::TempDir() + "/json_test.json";
    Json json;
    EXPECT_FALSE(json.load("/none/such.json"));
    EXPECT_NE(log.take().find("Json::load(): can't open \"/none/such.json\" file\n"), std::string::npos);
    EXPECT_FALSE(json.save("/none/such.json"));
    EXPECT_NE(log.take().find("Json::save(): can't create \"/none/such.json\" file\n"), std::string::npos);
    std::string text = "[0";
    while(text.size() < 300000) text += ",\n " + std::to_string(text.size());
    text += "]";
    {
        File file;
        ASSERT_TRUE(file.open(path.c_str(), "wb"));
        ASSERT_EQ(file.write(text.data(), text.size()), text.size());
    }
    ASSERT_TRUE(json.load(path.c_str()));
    EXPECT_EQ(save(json), resave(text));
    // A pipe has no size.
    File pipe;
    ASSERT_TRUE(pipe.popen(("cat " + path).c_str(), "r"));
    Json piped;
    EXPECT_TRUE(piped.load(pipe));
    EXPECT_EQ(save(piped), save(json));
    ASSERT_TRUE(json.save(path.c_str()));
    ASSERT_TRUE(piped.load(path.c_str()));
    EXPECT_EQ(save(piped), save(json));
    // The rest of a stream.
    Blob blob("stream");
    blob.write("abc[1,]", 7);
    blob.seek(3);
    EXPECT_FALSE(json.load(blob));
    EXPECT_EQ(log.take(), "Json::create(): extra ',' symbol\n1: ]\nJson::load(): can't load \"stream\" stream\n");
    // A stream that takes nothing more.
    if(File full; full.open("/dev/full", "wb")) {
        EXPECT_FALSE(piped.save(full) && full.flush());
        log.clear();
    }
    remove(path.c_str());
    EXPECT_ASSERTION(Json().create("", 0, true), "size && \"Json::create(): invalid size\"");
}

// -- Saving --

TEST(Json, layout) {
    static const struct {
        const char *text, *saved;
    } rows[] = {
        {"[1,2,3]", "[ 1, 2, 3 ]"},
        {"[]", "[ ]"},
        {"{}", "{ }"},
        {"{\"a\":1}", "{ \"a\": 1 }"},
        {"5", "5"},
        {"{\"a\":[1,2]}", "{ \"a\": [ 1, 2 ] }"},
        {"{\"a\":{\"b\":{\"c\":[]}}}", "{ \"a\": { \"b\": { \"c\": [ ] } } }"},
        {"{\"a\":1,\"b\":[1,2,3]}", "{\n\t\"a\": 1,\n\t\"b\": [ 1, 2, 3 ]\n}"},
        {"[[],1]", "[\n\t[ ],\n\t1\n]"},
        {"[1,[2]]", "[ 1, [ 2 ] ]"},
        {"[1,{\"a\":1,\"b\":2}]", "[\n\t1,\n\t{\n\t\t\"a\": 1,\n\t\t\"b\": 2\n\t}\n]"},
        {"{\"a\":[0,[1,[[2]]]]}",
         "{\n\t\"a\": [\n\t\t0,\n\t\t[\n\t\t\t1,\n\t\t\t[\n\t\t\t\t[ 2 ]\n\t\t\t]\n\t\t]\n\t]\n}"},
    };
    for(const auto &row : rows) {
        EXPECT_EQ(resave(row.text, false), row.saved);
        EXPECT_EQ(resave(row.saved), row.text);
    }
    // A root with a name.
    Json json("a/b", Json::TypeArray);
    json.addChild("")->setData(1);
    EXPECT_EQ(save(json), "{\"a\\/b\":[1]}");
    EXPECT_EQ(save(json, false), "{\n\t\"a\\/b\": [ 1 ]\n}");
    json.getChild(0)->setType(Json::TypeArray);
    EXPECT_EQ(save(json, false), "{\n\t\"a\\/b\": [\n\t\t[ ]\n\t]\n}");
    // An element within a tree is saved alone.
    Json root;
    root.addChild("x")->setData("y");
    EXPECT_EQ(save(*root.getChild("x")), "\"y\"");
}

TEST(Json, strings_of_all_bytes_and_lengths) {
    std::mt19937 random(1);
    for(uint32_t size = 0; size < 200; size++) {
        std::string text;
        for(uint32_t i = 0; i < size; i++) text += char((random() % 8) ? 'a' + random() % 26 : random() % 256);
        std::string expected = "\"";
        for(const char c : text) {
            static const std::string special = "\b\t\n\f\r\"\\/", letters = "btnfr\"\\/";
            const size_t index = special.find(c);
            char code[8];
            snprintf(code, sizeof(code), "\\u%04x", uint8_t(c));
            expected += (index != std::string::npos) ? std::string("\\") + letters[index]
                        : (uint8_t(c) < 32)          ? code
                                                     : std::string(1, c);
        }
        expected += "\"";
        Json json;
        json.setData(String(text.data(), size));
        EXPECT_EQ(save(json), expected);
        EXPECT_EQ(resave(expected), expected);
    }
    for(const uint32_t size : {4095u, 4096u, 4097u, 70000u, 200000u}) {
        Json json(Json::TypeArray);
        json.addChild("")->setData(repeat("/", size).c_str());
        json.addChild("")->setData(repeat("x", size).c_str());
        EXPECT_EQ(save(json), "[\"" + repeat("\\/", size) + "\",\"" + repeat("x", size) + "\"]");
    }
}

TEST(Json, bad_trees_are_not_saved) {
    CapturedLog log;
    Json json;
    EXPECT_EQ(save(json), "no result");
    EXPECT_EQ(log.take(), "Json::save(): unknown element type\n");
    json.addChild("a", Json::TypeObject)->addChild("b");
    EXPECT_EQ(save(json), "no result");
    EXPECT_EQ(log.take(), "Json::save(): unknown element type\n");
    json.setType(Json::TypeArray);
    EXPECT_EQ(save(json), "no result");
    EXPECT_EQ(log.take(), "Json::save(): non-empty array element name\n");
    json.setType(Json::TypeString);
    EXPECT_EQ(save(json), "no result");
    EXPECT_EQ(log.take(), "Json::save(): can't save element with children and data\n");
    json.setType(Json::TypeObject);
    json.getChild("a")->setType(Json::TypeNumber);
    EXPECT_EQ(save(json, false), "no result");
    EXPECT_EQ(log.take(), "Json::save(): can't save element with children and data\n");
    json.getChild("a")->clear();
    json.getChild("a")->setType(Json::TypeNumber);
    json.addChild("", Json::TypeBool);
    EXPECT_EQ(save(json, false), "no result");
    EXPECT_EQ(log.take(), "Json::save(): empty object element name\n");
    json.getChild(1)->setName("b");
    EXPECT_EQ(save(json), "{\"a\":0,\"b\":false}"); // values that were never set
}

// -- Values --

TEST(Json, values) {
    Json json;
    json.setData(true);
    EXPECT_TRUE(json.isBool() && json.getDataBool() && json.getData() == "true");
    json.setData(-12);
    EXPECT_TRUE(json.isNumber() && json.getDatai32() == -12 && json.getNumber() == -12.0 && json.getDataBool());
    EXPECT_EQ(json.getString(), "");
    json.setData(uint64_t(18446744073709551615ull));
    EXPECT_EQ(json.getDatau64(), 18446744073709551615ull);
    json.setData(int64_t(INT64_MIN));
    EXPECT_EQ(json.getDatai64(), INT64_MIN);
    json.setData(0.1f);
    EXPECT_EQ(json.getData(), "0.1");
    EXPECT_EQ(json.getDataf32(), 0.1f);
    for(const float64_t value : {5e-324, 1.7976931348623157e308, 0.1, -1.0 / 3.0, 1e22, 9007199254740993.0}) {
        json.setData(value);
        EXPECT_EQ(json.getDataf64(), value);
        EXPECT_EQ(resave(save(json)), save(json));
    }
    for(const float64_t value : {INFINITY, -INFINITY, NAN}) {
        json.setData(value);
        EXPECT_TRUE(json.isNull() && save(json) == "null");
    }
    json.setData("0x1F");
    EXPECT_TRUE(json.isString() && json.getDatau32() == 31 && json.getString() == "0x1F" && json.getNumber() == 0.0);
    json.setData("ff");
    EXPECT_EQ(json.getDatau32(16), 255u);
    json.setData(static_cast<const char *>(nullptr));
    EXPECT_TRUE(json.isNull());
    // Integers with a fraction or an exponent.
    static const struct {
        const char *text;
        int32_t i;
        uint32_t u;
        int64_t l;
        uint64_t m;
    } rows[] = {
        {"1e3", 1000, 1000, 1000, 1000},
        {"-2.9", -2, 0, -2, 0},
        {"1e300", INT32_MAX, UINT32_MAX, INT64_MAX, UINT64_MAX},
        {"-1e300", INT32_MIN, 0, INT64_MIN, 0},
        {"4294967295.0", INT32_MAX, UINT32_MAX, 4294967295, 4294967295},
        {"abc", 0, 0, 0, 0},
    };
    for(const auto &row : rows) {
        json.setData(row.text);
        EXPECT_EQ(json.getDatai32(), row.i);
        EXPECT_EQ(json.getDatau32(), row.u);
        EXPECT_EQ(json.getDatai64(), row.l);
        EXPECT_EQ(json.getDatau64(), row.m);
    }
    json.setData(Array<int32_t>({1, -2}));
    EXPECT_EQ(save(json), "[1,-2]");
    const float64_t floats[] = {0.5, NAN};
    json.setData(floats, 2);
    EXPECT_EQ(save(json), "[0.5,null]");
    EXPECT_STREQ(json.getTypeName(), "array");
    EXPECT_STREQ(Json::getTypeName(Json::Type(77)), "unknown");
}

TEST(Json, paths) {
    Json json;
    ASSERT_TRUE(json.create("{\"a\": {\"b\": 5, \"c d\": [10, {\"e\": \"text\"}, [true]]}, \"7\": \"seven\", \"x\": "
                            "18446744073709551615}"));
    EXPECT_EQ(json.getData("a/b", 7), 5);
    EXPECT_EQ(json.getData("/a/b", 7), 5);
    EXPECT_EQ(json.getData("/a/x", 7), 7);
    EXPECT_EQ(json.getData("./a/b", 7u), 5u);
    EXPECT_EQ(json.getData("a/b/c", int64_t(-7)), -7);
    EXPECT_EQ(json.getData("x", uint64_t(1)), 18446744073709551615ull);
    EXPECT_EQ(json.getData("a/c d/0", 0.5f), 10.0f);
    EXPECT_EQ(json.getData("a/c d/3", 0.5), 0.5);
    EXPECT_EQ(json.getData("a/c d/2/0", false), true);
    EXPECT_EQ(json.getData("a/c d/1/e", "none"), "text");
    EXPECT_EQ(json.getData("a/c d/1/f", "none"), "none");
    EXPECT_EQ(json.getData("7", String("none")), "seven");
    Json *json_b = json.getChild("a/b");
    EXPECT_EQ(json_b->getChild("/7")->getData(), "seven");
    EXPECT_EQ(json_b->getChild(""), json_b);
    EXPECT_EQ(json_b->getChild("/"), &json);
    EXPECT_EQ(json_b->getChild("."), json_b);
    EXPECT_EQ(json.getChild("0"), nullptr); // has a name
    EXPECT_EQ(json.getChild("a/c d/99999999999"), nullptr);
    EXPECT_EQ(json.getChild("a/c d/1x"), nullptr);
    EXPECT_TRUE(json.isChild("a") && !json.isChild("b") && !json.isChild(nullptr));
    EXPECT_EQ(json.findChild("x"), 2u);
    Json *last = json.getChild("a/c d/2/0");
    EXPECT_EQ(last->getPathName(), "/a/c d/2/0");
    EXPECT_EQ(json.getPathName(), "/");
    EXPECT_EQ(json.getChild(last->getPathName().get()), last);
}

// -- Trees --

TEST(Json, children) {
    Json root;
    Json *a = root.addChild("a");
    EXPECT_TRUE(root.isObject()); // by its first child
    a->setData(1);
    EXPECT_EQ(root.addChild("a", Json::TypeString, true), a);
    EXPECT_TRUE(a->isString());
    EXPECT_NE(root.addChild("a", Json::TypeNull), a);
    EXPECT_EQ(root.getNumChildren(), 2u);
    Json *list = new Json(&root, "list");
    Json *item = list->addChild("");
    EXPECT_TRUE(list->isArray() && item->getRoot() == &root && list->getParent() == &root);
    // Names that would occur twice.
    Json *b = new Json("list", Json::TypeNull);
    EXPECT_FALSE(root.addChild(b, true));
    EXPECT_EQ(b->getParent(), nullptr);
    EXPECT_TRUE(list->setParent(&root, true)); // not against itself
    EXPECT_TRUE(root.addChild(b));
    EXPECT_EQ(root.findChild("list"), 2u);
    EXPECT_EQ(root.removeChild(list), list);
    EXPECT_EQ(root.findChild("list"), 2u);
    EXPECT_EQ(root.getChild(2), b);
    delete b; // leaves its parent
    EXPECT_EQ(root.getNumChildren(), 2u);
    root.removeChild(0u);
    EXPECT_EQ(save(root), "{\"a\":null}");
    EXPECT_ASSERTION(list->setParent(item), "json != this && \"Json::setParent(): invalid parent\"");
    EXPECT_ASSERTION(root.removeChild(list),
                     "child && child->parent == this && \"Json::removeChild(): invalid child\"");
    EXPECT_ASSERTION(root.removeChild(5u), "index < children.size() && \"Json::removeChild(): invalid index\"");
    delete list;
    root.releaseChildren();
    EXPECT_EQ(save(root), "{}");
}

TEST(Json, what_leaves_a_tree_lives_on) {
    const size_t memory = Allocator::getMemory(), allocations = Allocator::getAllocations();
    {
        const std::string text =
            "{\"a\":{\"b\":[\"one\",\"two\",\"three\",\"four\",\"five\",{\"six\":6}],\"empty\":\"\"},\"c\":\"d\"}";
        Json *root = new Json;
        ASSERT_TRUE(create(*root, text));
        Json *a = root->removeChild(root->getChild("a"));
        Json copy(*root), moved(std::move(*root->getChild("c")));
        {
            CapturedLog log;
            EXPECT_EQ(save(*root), "no result"); // "c" is empty now
        }
        Json other;
        other.addChild("list", Json::TypeArray);
        ASSERT_TRUE(a->getChild("b/5")->setParent(other.getChild("list")));
        delete root;
        EXPECT_EQ(save(*a), "{\"a\":{\"b\":[\"one\",\"two\",\"three\",\"four\",\"five\"],\"empty\":\"\"}}");
        EXPECT_EQ(save(copy), "{\"c\":\"d\"}");
        EXPECT_EQ(save(moved), "{\"c\":\"d\"}");
        a->getChild("empty")->setData("filled");
        // A parsed tree within another, moved, taken out and parsed anew.
        Json *inner = new Json("inner");
        ASSERT_TRUE(create(*inner, text));
        inner->setName("inner");
        other.addChild(inner);
        ASSERT_TRUE(create(*inner->getChild("a/b"), "[{\"x\":\"y\"}]"));
        EXPECT_EQ(save(other),
                  "{\"list\":[{\"six\":6}],\"inner\":{\"a\":{\"b\":[{\"x\":\"y\"}],\"empty\":\"\"},\"c\":\"d\"}}");
        Json *deep = inner->getChild("a/b");
        deep->setParent(nullptr);
        Json taken;
        taken.move(*inner);
        EXPECT_TRUE(inner->isUnknown() && inner->getName() == "inner");
        delete inner;
        EXPECT_EQ(save(taken), "{\"inner\":{\"a\":{\"empty\":\"\"},\"c\":\"d\"}}");
        EXPECT_EQ(taken.getChild("c")->getParent(), &taken);
        taken = other;
        other.clear();
        EXPECT_EQ(save(taken), "{\"list\":[{\"six\":6}]}");
        EXPECT_EQ(save(*deep), "{\"b\":[{\"x\":\"y\"}]}");
        // Values and lists that outgrow their place.
        Json grown;
        ASSERT_TRUE(grown.create("{\"a\":\"b\",\"c\":[1]}"));
        grown.getChild("a")->setData("a much longer text than there was");
        for(int32_t i = 2; i < 9; i++) grown.getChild("c")->addChild("")->setData(i);
        EXPECT_EQ(save(grown), "{\"a\":\"a much longer text than there was\",\"c\":[1,2,3,4,5,6,7,8]}");
        ASSERT_TRUE(grown.create("[1]")); // over the old one
        const Json &itself = grown;
        grown = itself;
        EXPECT_EQ(save(grown), "[1]");
        delete a;
        delete deep;
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
    EXPECT_EQ(Allocator::getAllocations(), allocations);
}

TEST(Json, elements_of_many_threads) {
    const size_t memory = Allocator::getMemory();
    {
        std::vector<std::thread> threads;
        std::vector<std::vector<Json *>> trees(4);
        const auto make = [&](uint32_t index) {
            for(uint32_t i = 0; i < 60; i++) {
                Json *json = new Json;
                EXPECT_TRUE(create(*json, "[[" + repeat("1,{\"a\":2},", 100 + i * 7) + "3]]"));
                trees[index].push_back(json);
                if(i % 3 == 0) delete json->removeChild(json->getChild(0));
            }
        };
        for(uint32_t i = 0; i < 4; i++) threads.emplace_back(make, i);
        for(std::thread &thread : threads) thread.join();
        threads.clear();
        // deleted by others than made them
        for(uint32_t i = 0; i < 4; i++) {
            threads.emplace_back([&, i] {
                for(uint32_t j = 0; j < 240; j++) {
                    if(j % 4 == i) delete trees[j / 60][j % 60];
                }
            });
        }
        for(std::thread &thread : threads) thread.join();
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(Json, scanning_is_the_same_on_all_processors) {
    std::mt19937 random(1);
    const auto expand = [](auto mask, auto bytes) {
        uint32_t ret = 0;
        for(uint32_t i = 0; i < 16; i++) ret |= uint32_t((mask >> (i * bytes.Step)) & 1) << i;
        return ret;
    };
    for(uint32_t i = 0; i < 20000; i++) {
        char text[16];
        for(char &c : text) c = (i % 2) ? char(random()) : " \t\n\r09/:\"\\\x1F\x7Fz"[random() % 13];
        const JsonBytes fast = JsonBytes::load(text);
        const JsonBytesPlain plain = JsonBytesPlain::load(text);
        ASSERT_EQ(expand(fast.text(), fast), plain.text());
        ASSERT_EQ(expand(fast.others(), fast), plain.others());
        ASSERT_EQ(expand(fast.special<false>(), fast), plain.special<false>());
        ASSERT_EQ(expand(fast.special<true>(), fast), plain.special<true>());
        if(!plain.others()) continue;
        ASSERT_EQ(first_byte<JsonBytes>(fast.others()), first_byte<JsonBytesPlain>(plain.others()));
    }
}

// -- Beside another reader --

#if defined(OSTREVAN_NLOHMANN)

namespace {

std::string make_string(std::mt19937 &random) {
    static const char *pieces[] = {"a",
                                   "name",
                                   "\\n",
                                   "\\\"",
                                   "\\\\",
                                   "\\/",
                                   "/",
                                   "\\u00e9",
                                   "\\ud83d\\ude00",
                                   "\xC3\xA9",
                                   "a longer piece of text",
                                   " "};
    std::string text = "\"x";
    for(uint32_t i = random() % 6; i > 0; i--) text += pieces[random() % std::size(pieces)];
    return text + "\"";
}

std::string make_document(std::mt19937 &random, uint32_t depth) {
    static const char *blanks[] = {"", "", "", " ", "\n", "\r\n\t", "                    "};
    static const char *values[] = {"null",   "true",         "false", "0",   "-1",
                                   "1.5e-3", "123456789012", "-0.25", "3E2", "1e-320"};
    const auto blank = [&] { return std::string(blanks[random() % std::size(blanks)]); };
    const uint32_t kind = random() % (depth ? 4 : 2);
    if(kind == 0) return values[random() % std::size(values)];
    if(kind == 1) return make_string(random);
    std::string text = (kind == 2) ? "[" : "{";
    text += blank();
    const uint32_t num = random() % 7;
    for(uint32_t i = 0; i < num; i++) {
        if(i) text += "," + blank();
        if(kind == 3) text += make_string(random) + blank() + ":" + blank();
        text += make_document(random, depth - 1) + blank();
    }
    return text + ((kind == 2) ? "]" : "}");
}

} // namespace

TEST(Json, agrees_with_another_reader) {
    std::mt19937 random(1);
    for(uint32_t i = 0; i < 2000; i++) {
        const std::string text = make_document(random, 5);
        const auto expected = nlohmann::json::parse(text);
        Json json;
        ASSERT_TRUE(create(json, text)) << text;
        for(const bool compact : {true, false}) {
            const std::string saved = save(json, compact);
            const auto again = nlohmann::json::parse(saved, nullptr, false);
            ASSERT_EQ(again, expected) << text << "\n" << saved;
        }
    }
}

TEST(Json, refuses_what_another_reader_refuses) {
    std::mt19937 random(2);
    CapturedLog log;
    uint32_t taken = 0;
    for(uint32_t i = 0; i < 20000; i++) {
        // ASCII only, as invalid UTF-8 is taken here; no backslash before a newline, no values beyond doubles
        std::string text = make_document(random, 3);
        for(uint32_t j = 1 + random() % 2; j > 0; j--) {
            const size_t pos = random() % text.size();
            static const char bytes[] = "\"\\{}[],:0123456789-+.eEutrfn \n\x01";
            switch(random() % 3) {
            case 0: text[pos] = bytes[random() % (sizeof(bytes) - 1)]; break;
            case 1: text.insert(pos, 1, bytes[random() % (sizeof(bytes) - 1)]); break;
            case 2: text.erase(pos, 1); break;
            }
            if(text.empty()) text = "1";
        }
        bool skip = (text.find("\\\n") != std::string::npos || text.find("\\\r") != std::string::npos);
        for(const char c : text) skip = skip || (c & 0x80);
        if(skip) continue;
        bool expected = true;
        try {
            (void)nlohmann::json::parse(text).size();
        } catch(const nlohmann::json::out_of_range &) {
            continue; // thrown at the number, whatever follows
        } catch(const nlohmann::json::parse_error &error) {
            // lone surrogates
            expected = (std::string(error.what()).find("surrogate") != std::string::npos);
            if(expected) continue;
        }
        Json json;
        ASSERT_EQ(create(json, text), expected) << text;
        taken += expected;
        log.clear();
    }
    EXPECT_GT(taken, 2000u);
}

#endif
