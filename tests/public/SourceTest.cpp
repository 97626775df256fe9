// Sources as an application registers and opens them.

#include <core/OstrevanBlob.h>
#include <core/OstrevanFile.h>
#include <core/OstrevanSource.h>
#include <gtest/gtest.h>
#include <platform/OstrevanShaderCompiler.h>

using namespace Ostrevan;

static Blob make_blob(const char *text) {
    Blob blob;
    blob.puts(text);
    blob.seek(0);
    return blob;
}

TEST(PublicSource, opens_what_was_registered) {
    Source source;
    EXPECT_TRUE(!source && !source.isOpened());
    EXPECT_FALSE(source.open("block", true, false));
    Source::setBlock("block", reinterpret_cast<const uint8_t *>("bytes"), 5);
    ASSERT_TRUE(source.open("block"));
    EXPECT_EQ(source.readu8(), 'b');
    Source copy = source.clonePtr();
    EXPECT_TRUE(copy != source && copy.gets() == "ytes" && source.tell() == 1);
    Stream stream = source;
    EXPECT_TRUE(stream.getName() == "block");
    EXPECT_TRUE(Source::removeBlock("block") && !Source::isSource("block"));
    EXPECT_TRUE(source.gets() == "ytes"); // an opened source stays

    EXPECT_TRUE(Source::find("test_public").empty());
    Source::addPath(OSTREVAN_BINARIES);
    EXPECT_TRUE(Source::find("test_public") == OSTREVAN_BINARIES "/test_public");
    EXPECT_TRUE(source.open(String("test_public")) && source.readu32() == 0x464C457Fu);
    EXPECT_TRUE(Source::removePath(OSTREVAN_BINARIES) && !source.open("test_public", true, false));
}

TEST(PublicSource, callbacks_feed_the_preprocessor) {
    const Blob kept = make_blob("#define VALUE 3u\n");
    const uint32_t id = Source::addCallback([&](const char *name) -> Stream {
        if(strcmp(name, "archive/value.h") == 0) return kept.clonePtr();
        if(strcmp(name, "unused") == 0) return Blob();
        return Stream();
    });
    Source source;
    EXPECT_TRUE(source.open("archive/value.h") && source.gets() == "#define VALUE 3u\n");
    EXPECT_FALSE(source.open("unused", true, false));
    EXPECT_TRUE(Shader::preprocessor("#include <archive/value.h>\nVALUE").begins("3u"));
    EXPECT_TRUE(Source::removeCallback(id));
    EXPECT_FALSE(Source::isSource("archive/value.h"));
}
