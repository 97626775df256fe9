// What a name stands for: callbacks, blocks, files and search paths, and the stream that is opened of each.

#include "KolmSource.h"

#include <atomic>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <zlib.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmBlob.h"
#include "KolmFile.h"

using namespace Kolm;

namespace {

std::string text_of(const String &str) { return std::string(str.get(), str.size()); }
const uint8_t *bytes_of(const char *text) { return reinterpret_cast<const uint8_t *>(text); }

// A store of rows with 200 bytes of the zlib stream in each.
std::vector<uint8_t> pack_rows(const std::string &text) {
    uLongf size = compressBound(uLong(text.size()));
    std::vector<uint8_t> packed(size), rows;
    compress(packed.data(), &size, bytes_of(text.c_str()), uLong(text.size()));
    for(size_t i = 0; i < size; i += 200) {
        const size_t num = std::min<size_t>(200, size - i);
        rows.push_back(uint8_t(254 - num));
        rows.insert(rows.end(), packed.begin() + i, packed.begin() + i + num);
        rows.resize((rows.size() + 255) / 256 * 256);
    }
    rows.insert(rows.end(), 256, 255);
    return rows;
}

class SourceTest : public testing::Test {
protected:
    SourceTest() {
        char name[] = "/tmp/ostrevan_source_XXXXXX";
        folder = mkdtemp(name);
        mkdir((folder + "/a").c_str(), 0755);
        mkdir((folder + "/b").c_str(), 0755);
    }
    ~SourceTest() override {
        Source::clearBlocks();
        Source::clearPaths();
        Source::clearCallbacks();
        EXPECT_EQ(system(("rm -rf " + folder).c_str()), 0);
    }
    std::string write_file(const std::string &name, const std::string &text) {
        File file;
        file.open((folder + "/" + name).c_str(), "wb");
        file.write(text.data(), text.size());
        return folder + "/" + name;
    }
    static std::string read(const std::string &name, bool search = true) {
        Source source;
        return source.open(name.c_str(), search, false) ? text_of(source.gets()) : "none";
    }

    std::string folder;
    CapturedLog log;
};

} // namespace

TEST_F(SourceTest, looks_in_callbacks_blocks_files_and_paths) {
    const std::string file = write_file("file", "file");
    write_file("a/only_a", "a");
    write_file("b/only_b", "b");
    write_file("a/both", "a");
    write_file("b/both", "b");
    Source::addPath((folder + "/a").c_str());
    Source::addPath((folder + "/b/").c_str());

    EXPECT_EQ(read(file), "file");
    EXPECT_EQ(read("only_a") + read("only_b") + read("both"), "aba");
    EXPECT_EQ(read("only_a", false), "none");
    EXPECT_EQ(read("a"), "none"); // a folder
    EXPECT_EQ(text_of(Source::find("only_b")), folder + "/b/only_b");
    EXPECT_EQ(text_of(Source::find(file.c_str())), file);
    EXPECT_TRUE(Source::find("absent").empty() && Source::find("").empty() && Source::find(nullptr).empty());
    EXPECT_TRUE(Source::isSource(file.c_str()));
    EXPECT_FALSE(Source::isSource("only_a") || Source::isSource(folder.c_str()) || Source::isSource(nullptr));
    EXPECT_TRUE(Source::removePath((folder + "/a").c_str()));
    EXPECT_FALSE(Source::removePath((folder + "/a").c_str()));
    EXPECT_EQ(read("only_a") + read("both"), "noneb");

    // a block stands before a file of its name, a callback before both
    Source::setBlock(file.c_str(), bytes_of("block"), 5);
    EXPECT_EQ(read(file) + read(file, false), "blockfile");
    const uint32_t first = Source::addCallback([&](const char *name) -> Stream * {
        if(name != file) return nullptr;
        Blob *blob = new Blob(bytes_of("callback"), 8, name);
        blob->seek(0);
        return blob;
    });
    const uint32_t second = Source::addCallback([&](const char *name) -> Stream * {
        if(strncmp(name, "archive:", 8)) return nullptr;
        File *inner = new File();
        if(!inner->open(file.c_str(), "rb")) return nullptr;
        return inner;
    });
    EXPECT_EQ(read(file) + read("archive:x") + read(file, false), "callbackfilefile");
    EXPECT_TRUE(Source::isSource("archive:x") && !Source::isSource("x"));
    EXPECT_TRUE(first && second && Source::removeCallback(first) && !Source::removeCallback(first));
    EXPECT_EQ(read(file) + read("archive:x"), "blockfile");
    Source::clearCallbacks();
    EXPECT_TRUE(Source::isBlock(file.c_str()) && Source::removeBlock(file.c_str()));
    EXPECT_FALSE(Source::isBlock(file.c_str()) || Source::removeBlock(file.c_str()) || Source::isBlock(nullptr));
    EXPECT_EQ(read(file) + read("archive:x"), "filenone");
    EXPECT_EQ(log.text(), "");
}

TEST_F(SourceTest, reads_the_same_from_all_kinds) {
    std::string text;
    for(int i = 0; i < 3000; i++) text += std::to_string(i * 7919);
    const std::vector<uint8_t> rows = pack_rows(text);
    Source::setBlock("memory", bytes_of(text.c_str()), text.size());
    Source::setBlock("rows", reinterpret_cast<const uint8_t(*)[256]>(rows.data()));
    Source::addCallback([&](const char *name) -> Stream * {
        return strcmp(name, "callback") ? nullptr : new Blob(bytes_of(text.c_str()), text.size());
    });
    const std::string file = write_file("file", text);
    for(const std::string &name : {std::string("memory"), std::string("rows"), std::string("callback"), file}) {
        SCOPED_TRACE(name);
        Source source;
        ASSERT_TRUE(source.open(name.c_str()));
        EXPECT_EQ(text_of(source.getName()), name);
        EXPECT_EQ(source.getSize(), text.size());
        EXPECT_EQ(source.isMapped(), name != file);
        if(source.isMapped()) {
            EXPECT_EQ(memcmp(source.getData(), text.data(), text.size()), 0);
        }
        char part[4] = {};
        EXPECT_TRUE(source.seek(5000) && source.read(part, 3) == 3 && source.tell() == 5003);
        EXPECT_EQ(part, text.substr(5000, 3));
        EXPECT_TRUE(source.seekCur(-2003) && source.tell() == 3000);
        EXPECT_TRUE(source.seekBack(10) && source.tell() == text.size() - 10);

        Source copy(source); // opened once more
        EXPECT_TRUE(source.seek(1));
        EXPECT_EQ(text_of(copy.gets()), text.substr(text.size() - 10));
        EXPECT_EQ(source.tell(), 1u);
        Source taken(std::move(source));
        EXPECT_FALSE(source.isOpened());
        EXPECT_EQ(text_of(taken.gets()), text.substr(1));
        EXPECT_FALSE(taken.isAvailable());
        EXPECT_EQ(taken.write("x", 1), 0u);

        EXPECT_FALSE(taken.seek(text.size() + 1));
        EXPECT_FALSE(taken.seekCur(1));
        EXPECT_EQ(taken.tell(), text.size());
        EXPECT_FALSE(taken.seekBack(text.size() + 1));
        EXPECT_FALSE(taken.seekCur(INT64_MIN));
        EXPECT_EQ(taken.tell(), 0u);
        EXPECT_FALSE(taken.seekCur(INT64_MAX));
        taken.seek(text.size());
        EXPECT_TRUE(taken.open(taken.getName().get())); // by its own name
        EXPECT_EQ(taken.tell(), 0u);
        taken.close();
        EXPECT_TRUE(!taken.isOpened() && taken.getName().empty());
    }
    Source::setBlock("empty", nullptr, 0);
    EXPECT_EQ(read("empty"), "");
}

TEST_F(SourceTest, tells_what_can_not_be_opened) {
    Source source;
    EXPECT_FALSE(source.open("absent"));
    EXPECT_EQ(log.take(), "Source::open(): can't open \"absent\" source\n");
    EXPECT_FALSE(source.open("absent", true, false) || source.open("", true, false) ||
                 source.open(nullptr, true, false));
    EXPECT_EQ(log.take(), "");
    const std::vector<uint8_t> rows(256, 255); // a store without a zlib stream
    Source::setBlock("damaged", reinterpret_cast<const uint8_t(*)[256]>(rows.data()));
    EXPECT_FALSE(source.open("damaged", true, false));
    EXPECT_NE(log.take().find("Blob::setData(): can't set data\n"), std::string::npos);
    if(geteuid()) {
        const std::string file = write_file("secret", "");
        chmod(file.c_str(), 0);
        EXPECT_FALSE(source.open(file.c_str()));
        EXPECT_EQ(log.take(), "File::open(): can't open \"" + file + "\" file\nPermission denied\n");
    }
    EXPECT_ASSERTION(source.read(nullptr, 0), "isOpened() && \"Source::read(): is not opened\"");
}

// Run under the thread sanitizer, this is what shows a registry that is read without its lock.
TEST_F(SourceTest, opens_on_many_threads) {
    std::vector<std::thread> threads;
    std::atomic<int> num{0};
    for(int t = 0; t < 4; t++) {
        threads.emplace_back([&, t] {
            const std::string name = "block" + std::to_string(t);
            for(int i = 0; i < 200; i++) {
                Source::setBlock(name.c_str(), bytes_of("text"), 4);
                const uint32_t id = Source::addCallback([](const char *) -> Stream * { return nullptr; });
                Source::addPath(name.c_str());
                if(read(name) == "text") num++;
                Source::removePath(name.c_str());
                Source::removeCallback(id);
                Source::removeBlock(name.c_str());
            }
        });
    }
    for(std::thread &thread : threads) thread.join();
    EXPECT_EQ(num, 800);
}
