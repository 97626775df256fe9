#include "KolmFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmBlob.h"

using namespace Kolm;

namespace {

std::string text_of(const String &str) { return std::string(str.get(), str.size()); }

class FileTest : public testing::Test {
protected:
    FileTest() {
        char name[] = "/tmp/ostrevan_file_XXXXXX";
        folder = mkdtemp(name);
        path = folder + "/file";
    }
    ~FileTest() override {
        unlink(path.c_str());
        rmdir(folder.c_str());
    }
    void write_file(const std::string &text) {
        FILE *file = fopen(path.c_str(), "wb");
        fwrite(text.data(), 1, text.size(), file);
        fclose(file);
    }
    std::string read_file() {
        FILE *file = fopen(path.c_str(), "rb");
        std::string text;
        for(int c; (c = getc(file)) != EOF;) text += char(c);
        fclose(file);
        return text;
    }

    std::string folder;
    std::string path;
    CapturedLog log;
};

} // namespace

TEST_F(FileTest, reads_what_is_there) {
    write_file("hello\nworld\n");
    File file;
    EXPECT_FALSE(file.isOpened());
    ASSERT_TRUE(file.open(path.c_str(), "rb"));
    EXPECT_TRUE(file.isOpened() && !file.isMapped());
    EXPECT_EQ(file.getSize(), 12u);
    EXPECT_EQ(text_of(file.getName()), path);
    EXPECT_EQ(text_of(file.readLine()), "hello");
    EXPECT_EQ(file.tell(), 6u);
    EXPECT_TRUE(file.isAvailable());
    EXPECT_EQ(text_of(file.gets()), "world\n");
    EXPECT_FALSE(file.isAvailable());
    EXPECT_EQ(file.write("x", 1), 0u);
    ASSERT_TRUE(file.open(file.getName().get(), "rb")); // again, by its own name
    EXPECT_EQ(file.readu8(), 'h');
    file.close();
    EXPECT_FALSE(file.isOpened());
    EXPECT_EQ(log.text(), "");
}

TEST_F(FileTest, tells_why_it_can_not_open) {
    File file;
    EXPECT_FALSE(file.open(path.c_str(), "rb"));
    EXPECT_EQ(log.lines.size(), 1u);
    EXPECT_EQ(log.take(), "File::open(): can't open \"" + path + "\" file\nNo such file or directory\n");
    EXPECT_FALSE(file.open(folder.c_str(), "rb"));
    EXPECT_EQ(log.take(), "File::open(): can't open \"" + folder + "\" file\nIs a directory\n");
    EXPECT_FALSE(file.open(-1, "none", "rb"));
    EXPECT_EQ(log.take(), "File::open(): can't open \"none\" file\nBad file descriptor\n");
    EXPECT_FALSE(file.isOpened());
    write_file("");
    EXPECT_TRUE(file.open(path.c_str(), "rb"));
    EXPECT_FALSE(file.isAvailable());
}

// Random operations on a file and on a blob must not differ.
TEST_F(FileTest, behaves_as_a_blob) {
    std::mt19937 random(5);
    File file;
    Blob blob;
    ASSERT_TRUE(file.open(path.c_str(), "w+b"));
    for(int i = 0; i < 20000; i++) {
        const uint32_t size = random() % 60;
        char a[64], b[64];
        switch(random() % 7) {
        case 0: ASSERT_EQ(file.seek(size * 3), blob.seek(size * 3)) << i; break;
        case 1: ASSERT_EQ(file.seekBack(size * 2), blob.seekBack(size * 2)) << i; break;
        case 2: ASSERT_EQ(file.seekCur(int64_t(size) - 30), blob.seekCur(int64_t(size) - 30)) << i; break;
        case 3: ASSERT_EQ(file.read(a, size), blob.read(b, size)) << i; break;
        case 4: {
            uint32_t value = random() >> random() % 32;
            ASSERT_TRUE(file.writeu32e(value) && blob.writeu32e(value));
            break;
        }
        case 5: {
            bool x = true, y = true;
            ASSERT_EQ(file.readu32e(&x), blob.readu32e(&y)) << i;
            ASSERT_EQ(x, y);
            break;
        }
        case 6: ASSERT_EQ(file.isAvailable(), blob.isAvailable()) << i; break;
        }
        ASSERT_EQ(file.tell(), blob.tell()) << i;
    }
    ASSERT_TRUE(file.flush());
    EXPECT_EQ(read_file(), std::string(reinterpret_cast<const char *>(blob.getData()), blob.getSize()));
}

TEST_F(FileTest, a_zlib_stream_that_ends_the_file_decodes) {
    const std::string text(100000, 'z');
    File file;
    ASSERT_TRUE(file.open(path.c_str(), "w+b"));
    Blob src(reinterpret_cast<const uint8_t *>(text.data()), text.size());
    EXPECT_TRUE(file.encodeZip(src));
    file.seek(0);
    Blob dest;
    bool status = true;
    EXPECT_EQ(dest.decodeZip(file, 0, &status), text.size());
    EXPECT_TRUE(status);
    EXPECT_EQ(log.text(), "");
}

TEST_F(FileTest, reads_pipes_and_descriptors) {
    File file;
    ASSERT_TRUE(file.popen("echo one; echo two", "r"));
    EXPECT_EQ(text_of(file.getName()), "");
    EXPECT_EQ(file.getSize(), 0u);
    EXPECT_EQ(text_of(file.readLine()), "one");
    EXPECT_TRUE(file.isAvailable());
    EXPECT_EQ(text_of(file.gets()), "two\n");
    EXPECT_FALSE(file.seek(0));
    ASSERT_TRUE(file.popen(("cat > " + path).c_str(), "w"));
    EXPECT_FALSE(file.isAvailable());
    EXPECT_TRUE(file.puts("three"));
    file.close();
    EXPECT_EQ(read_file(), "three");
    // an empty name does not make a pipe of it
    ASSERT_TRUE(file.open(::open(path.c_str(), O_RDONLY), "", "rb"));
    EXPECT_EQ(text_of(file.gets()), "three");
    file.close();
    EXPECT_EQ(log.text(), "");
}

TEST_F(FileTest, copies_open_the_file_again) {
    File file;
    ASSERT_TRUE(file.open(path.c_str(), "w+b"));
    file.puts("0123456789");
    file.seek(4);
    File copy(file);
    ASSERT_TRUE(copy.isOpened());
    EXPECT_EQ(copy.tell(), 4u);
    EXPECT_EQ(copy.readu8(), '4');
    EXPECT_EQ(file.tell(), 4u);
    Stream *stream = file.move();
    EXPECT_FALSE(file.isOpened());
    EXPECT_EQ(stream->readu8(), '4');
    delete stream;
    ASSERT_TRUE(file.popen("true", "r"));
    EXPECT_FALSE(File(file).isOpened());
}

TEST_F(FileTest, asks_the_file_system) {
    EXPECT_FALSE(File::isFile(path.c_str()));
    EXPECT_EQ(File::getSize(path.c_str()), 0u);
    EXPECT_EQ(File::getMTime(path.c_str()), 0u);
    write_file("12345");
    EXPECT_TRUE(File::isFile(path.c_str()));
    EXPECT_FALSE(File::isFile(folder.c_str()));
    EXPECT_FALSE(File::isFile(nullptr));
    EXPECT_EQ(File::getSize(path.c_str()), 5u);
    EXPECT_NEAR(double(File::getMTime(path.c_str())), double(time(nullptr)), 100.0);
    EXPECT_TRUE(File::remove(path.c_str()));
    EXPECT_FALSE(File::isFile(path.c_str()));
    EXPECT_FALSE(File::remove(path.c_str()));
    EXPECT_EQ(log.take(), "File::remove(): can't remove \"" + path + "\" file\nNo such file or directory\n");
}

TEST_F(FileTest, a_closed_file_must_not_be_used) {
    File file;
    EXPECT_ASSERTION(file.read(nullptr, 1), "isOpened() && \"File::read(): is not opened\"");
    EXPECT_ASSERTION(file.seek(0), "isOpened() && \"File::seek(): is not opened\"");
    EXPECT_ASSERTION(file.getSize(), "isOpened() && \"File::getSize(): is not opened\"");
}
