// Blob and File as an application uses them: the one class end to end, and handles that share it.

#include <core/OstrevanAllocator.h>
#include <core/OstrevanBlob.h>
#include <core/OstrevanFile.h>
#include <core/OstrevanLog.h>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "ChildProcess.h"

using namespace Ostrevan;

TEST(PublicBlob, is_shared_from_the_start) {
    Blob a;
    Blob b = a;
    EXPECT_TRUE(!a && !b && !a.isOpened());
    b.setName("x");
    EXPECT_TRUE(a && b && a == b && a.isOpened());
    EXPECT_EQ(a.getCountPtr(), 4u);
    b.clearPtr();
    EXPECT_EQ(a.getCountPtr(), 2u);
    EXPECT_TRUE(Blob("named"));
    EXPECT_TRUE(!Blob());
}

static void fill(Stream stream) { stream.puts("filled"); }

TEST(PublicBlob, lives_in_its_streams) {
    Stream stream;
    EXPECT_FALSE(stream.isOpened());
    {
        Blob blob;
        fill(blob); // makes the blob valid for both
        EXPECT_TRUE(blob);
        EXPECT_EQ(blob.getSize(), 6u);
        stream = blob;
    }
    EXPECT_EQ(stream.getCountPtr(), 1u);
    EXPECT_STREQ(stream.getClassName(), "Stream");
    stream.seek(0);
    EXPECT_EQ(stream.readu8(), 'f');
    EXPECT_EQ(memcmp(stream.getData(), "filled", 6), 0);
    Stream taken = stream.move();
    EXPECT_EQ(taken.getSize(), 6u);
    EXPECT_EQ(taken.tell(), 1u);
    EXPECT_EQ(stream.getSize(), 0u);
}

TEST(PublicBlob, comes_back_after_destruction) {
    for(int i = 0; i < 1000; i++) {
        Blob a;
        Blob b = a;
        b.setName("x");
        a.destroyPtr();
        ASSERT_TRUE(!b && b.isValidPtr());
        b.setName("y");
        ASSERT_TRUE(b.writeu32(7));
        ASSERT_EQ(b.getSize(), 4u);
    }
    Blob a, b = a;
    a.destroyPtr();
    b.setName("z");
    EXPECT_TRUE(b);
}

TEST(PublicBlob, clones_keep_position_and_content) {
    const size_t memory = Allocator::getMemory();
    {
        Blob a(reinterpret_cast<const uint8_t *>("content"), 7, "name");
        a.seek(3);
        Blob b = a.clonePtr();
        EXPECT_TRUE(a != b);
        EXPECT_EQ(b.tell(), 3u);
        EXPECT_EQ(b.getSize() + a.getSize(), 14u);
        EXPECT_NE(a.getData(), b.getData());
        EXPECT_EQ(memcmp(b.getData(), "content", 7), 0);
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(PublicBlob, forwards_typed_and_packed_data) {
    Blob blob;
    EXPECT_TRUE(blob.writei8(-1) && blob.writeu32e(300) && blob.writef64(0.5) && blob.writeString("text"));
    EXPECT_TRUE(blob.printf("%u", 5u));
    const std::vector<uint8_t> zeros(1000);
    EXPECT_NE(blob.writeZipBest(zeros.data(), 1000), 0u);
    EXPECT_NE(blob.writeLz4Fast(zeros.data(), 1000), 0u);
    blob.seek(0);
    bool status = true;
    EXPECT_EQ(blob.readi8(&status), -1);
    EXPECT_EQ(blob.readi32e(&status), 300);
    EXPECT_EQ(blob.readf64(&status), 0.5);
    EXPECT_TRUE(blob.seekCur(5));
    EXPECT_EQ(blob.readu8(&status), '5');
    std::vector<uint8_t> dest(1000, 1);
    EXPECT_EQ(blob.readZip(dest.data(), 1000), 1000u);
    EXPECT_EQ(dest, zeros);
    dest.assign(1000, 1);
    EXPECT_EQ(blob.readLz4(dest.data(), 1000), 1000u);
    EXPECT_EQ(dest, zeros);
    EXPECT_TRUE(status && !blob.isAvailable());

    Blob packed, unpacked;
    blob.seek(0);
    const size_t size = packed.encodeZipFast(blob, 0, &status);
    EXPECT_EQ(size, packed.getSize());
    packed.seek(0);
    EXPECT_EQ(unpacked.decodeZip(packed, 0, &status), blob.getSize());
    uint32_t a[5], b[5];
    blob.seek(0);
    unpacked.seek(0);
    EXPECT_TRUE(blob.getSHA1(a) && Blob::getSHA1(b, unpacked));
    EXPECT_EQ(memcmp(a, b, sizeof(a)), 0);
}

TEST(PublicBlob, speaks_in_strings) {
    Blob blob(String("first"));
    EXPECT_TRUE(blob.getName() == "first");
    blob.setName(String("second"));
    EXPECT_STREQ(blob.getName().get(), "second");
    EXPECT_TRUE(blob.puts(String("one two\nthree\n\nfour")) && blob.writeString(String("end"), '\n'));
    EXPECT_TRUE(blob.writeString(String("encoded")));
    blob.seek(0);
    bool status = true;
    String str, buffer;
    EXPECT_TRUE(blob.readToken(&status) == "one");
    EXPECT_TRUE(blob.readToken(str) && str == "two");
    EXPECT_TRUE(blob.readLine(&status) == "three");
    EXPECT_TRUE(blob.readLine(str, true) && str == "fourend");
    EXPECT_TRUE(blob.readString(&status) == "encoded");
    blob.seek(8);
    EXPECT_TRUE(blob.readString('\n', &status) == "three");
    EXPECT_TRUE(blob.readLine(str, buffer, 4) && str == "");
    EXPECT_TRUE(blob.readToken(str, buffer, 4) && str == "fourend");
    EXPECT_TRUE(status);
    blob.seek(0);
    EXPECT_EQ(blob.gets().size(), blob.getSize());

    Blob abc(reinterpret_cast<const uint8_t *>("abc"), 3);
    EXPECT_TRUE(abc.getMD5() == "900150983cd24fb0d6963f7d28e17f72" && Blob::getMD5("abc") == abc.getMD5());
    EXPECT_TRUE(Blob::getSHA1(abc.getData(), 3) == "a9993e364706816aba3e25717850c26c9cd0d89d");
    const String text = abc.encodeBase64();
    EXPECT_TRUE(text == "YWJj");
    EXPECT_TRUE(abc.decodeBase64(text) && abc.getSize() == 6);
}

TEST(PublicBlob, misuse_ends_the_process) {
    EXPECT_ASSERTION(Stream().readu8(), "0 && \"Stream\" \"Impl::ref(): is not constructed\"");
    EXPECT_ASSERTION(Blob::null.getSize(), "0 && \"Stream\" \"Impl::ref(): is not constructed\"");
    EXPECT_ASSERTION(File().readu8(), "isOpened() && \"File::read(): is not opened\"");
    Blob blob;
    Blob other = std::move(blob);
    EXPECT_ASSERTION(blob.setSize(1), "0 && \"Blob\" \"Impl::ref(): is not constructed\"");
}

TEST(PublicFile, opens_and_tells_why_not) {
    static std::string lines;
    lines.clear();
    Log::setCallback([](Log::Level, size_t, const char *text, void *) {
        lines += text;
        return true;
    });
    File file;
    EXPECT_FALSE(file.isOpened());
    EXPECT_FALSE(file.open("/nowhere/at/all", "rb"));
    EXPECT_EQ(lines, "File::open(): can't open \"/nowhere/at/all\" file\nNo such file or directory\n");
    Log::setCallback(nullptr);
    EXPECT_EQ(Log::getCallback(), nullptr);
    const char *name = OSTREVAN_BINARIES "/test_public";
    EXPECT_TRUE(file.open(name, "rb"));
    EXPECT_EQ(file.getSize(), File::getSize(name));
    File copy = file.clonePtr();
    EXPECT_EQ(file.readu32(), 0x464C457Fu); // an ELF file
    EXPECT_EQ(copy.tell(), 0u);
}

// Run under the sanitizers, this is what shows a missing order between the counters.
TEST(PublicBlob, copies_on_many_threads) {
    Blob blob;
    blob.writeu32(1);
    std::thread threads[8];
    for(std::thread &thread : threads) {
        thread = std::thread([blob] {
            for(int i = 0; i < 20000; i++) {
                Blob copy = blob;
                Stream stream = copy;
                if(!stream) abort();
            }
        });
    }
    for(std::thread &thread : threads) thread.join();
    EXPECT_EQ(blob.getCountPtr(), 2u);
}
