// Documents as an application uses them: handles and who owns what, streams, values.

#include <gtest/gtest.h>

#include <core/OstrevanAllocator.h>
#include <core/OstrevanBlob.h>
#include <core/OstrevanLog.h>
#include <format/OstrevanJson.h>

#include <string>

using namespace Ostrevan;

namespace {

std::string save(const Json &json, bool compact = true) {
    Blob blob;
    EXPECT_TRUE(json.save(blob, compact));
    return std::string(reinterpret_cast<const char *>(blob.getData()), blob.getSize());
}

} // namespace

TEST(PublicJson, documents) {
    Json json;
    EXPECT_FALSE(json);
    ASSERT_TRUE(json.create("{\"a\": [1, 2.5, \"text\"], \"b\": {\"c\": true}}"));
    EXPECT_TRUE(json.isObject());
    EXPECT_EQ(json.getData("a/0", 7), 1);
    EXPECT_EQ(json.getData("a/1", 0.0), 2.5);
    EXPECT_EQ(json.getData("/a/x", 7u), 7u);
    EXPECT_EQ(json.getData("a/2", "none"), "text");
    EXPECT_EQ(json.getData("b/x", String("none")), "none");
    EXPECT_TRUE(json.getChild("b/c").getDataBool());
    EXPECT_FALSE(json.getChild("b/d"));
    EXPECT_EQ(json.getChild("a").getChild(2).getPathName(), "/a/2");
    EXPECT_EQ(json.getChild("b/c").getRoot(), json);
    EXPECT_FALSE(json.getParent());
    uint32_t num = 0;
    for(const Json &child : json.getChildren()) num += child.getNumChildren();
    EXPECT_EQ(num, 4u);
    const Json view = json;
    EXPECT_TRUE(view.getChild("a").isConstPtr() && !view.getChild("none"));

    const char text_src[] = "[\"given up\"]";
    Json given;
    EXPECT_TRUE(
        given.create(static_cast<char *>(Allocator::allocate(text_src, sizeof(text_src))), sizeof(text_src), true));
    EXPECT_EQ(given.getData("0", ""), "given up");

    Blob blob("document");
    ASSERT_TRUE(json.save(blob));
    blob.seek(0);
    Json other;
    ASSERT_TRUE(other.load(blob));
    EXPECT_EQ(save(other), "{\"a\":[1,2.5,\"text\"],\"b\":{\"c\":true}}");
    Json copy = other.clonePtr();
    copy.getChild("a").setData(Array<uint32_t>({7, 8}));
    EXPECT_EQ(save(copy), "{\"a\":[7,8],\"b\":{\"c\":true}}");
    EXPECT_EQ(save(other), save(json));
    Json child = other.getChild("b");
    child.copy(copy.getChild("a"));
    copy.clearPtr();
    EXPECT_EQ(save(other), "{\"a\":[1,2.5,\"text\"],\"b\":[7,8]}"); // keeps its name and its place

    std::string text;
    Log::setCallback(
        [](Log::Level, size_t, const char *line, void *data) {
            *static_cast<std::string *>(data) += line;
            return true;
        },
        &text);
    EXPECT_FALSE(json.create(String("[1,2,]")));
    Log::setCallback(nullptr);
    EXPECT_EQ(text, "Json::create(): extra ',' symbol\n1: ]\n");
    EXPECT_TRUE(json.isUnknown());
}

TEST(PublicJson, owners) {
    const size_t memory = Allocator::getMemory();
    {
        Json root;
        root.addChild("number", 5);
        root.addChild("text", "a text");
        Json list(&root, "list", Json::TypeArray);
        EXPECT_FALSE(list.isOwnerPtr());
        list.addChild("").setData(0.5f);
        EXPECT_EQ(save(root), "{\"number\":5,\"text\":\"a text\",\"list\":[0.5]}");
        // Given to a tree and taken back.
        Json child("child", Json::TypeNull);
        EXPECT_TRUE(child.isOwnerPtr());
        EXPECT_FALSE(root.addChild(Json("list"), true));
        EXPECT_TRUE(root.addChild(child));
        EXPECT_FALSE(child.isOwnerPtr());
        EXPECT_EQ(child.getParent(), root);
        root.removeChild(list);
        EXPECT_TRUE(list.isOwnerPtr());
        root.removeChild(0u);
        EXPECT_EQ(save(root), "{\"text\":\"a text\",\"child\":null}");
        root.destroyPtr();
        EXPECT_EQ(save(list), "{\"list\":[0.5]}");
        list.releaseChildren();
        EXPECT_EQ(list.getNumChildren(), 0u);
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
}
