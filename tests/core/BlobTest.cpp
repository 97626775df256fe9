#include "KolmBlob.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>
#include <zlib.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmMD5.h"
#include "KolmSHA1.h"

using namespace Kolm;

namespace {

using Bytes = std::vector<uint8_t>;

Bytes bytes_of(const Blob &blob) { return Bytes(blob.getData(), blob.getData() + blob.getSize()); }
Blob blob_of(const std::string &text) { return Blob(reinterpret_cast<const uint8_t *>(text.data()), text.size()); }
std::string text_of(const String &str) { return std::string(str.get(), str.size()); }
std::string text_of(const Blob &blob) {
    return std::string(reinterpret_cast<const char *>(blob.getData()), blob.getSize());
}

// What a command of the system prints for \p text on its input, up to the first blank.
std::string run_command(const char *command, const std::string &text) {
    char name[] = "/tmp/ostrevan_blob_XXXXXX";
    const int fd = mkstemp(name);
    EXPECT_EQ(write(fd, text.data(), text.size()), ssize_t(text.size()));
    close(fd);
    FILE *pipe = popen(("(" + std::string(command) + ") < " + name).c_str(), "r");
    std::string ret;
    for(int c; pipe && (c = getc(pipe)) != EOF && c != ' ';) ret += char(c);
    if(pipe) pclose(pipe);
    unlink(name);
    return ret;
}

// The packer, by its definition.
std::vector<uint8_t> pack_rows(const Bytes &data, size_t payload) {
    Bytes rows;
    for(size_t i = 0; i < data.size(); i += payload) {
        const size_t num = std::min(payload, data.size() - i);
        Bytes row(256);
        row[0] = uint8_t(254 - num);
        std::copy(data.begin() + i, data.begin() + i + num, row.begin() + 1);
        rows.insert(rows.end(), row.begin(), row.end());
        rows.insert(rows.end(), 1, 254); // a row without payload
        rows.insert(rows.end(), 255, 0x55);
    }
    rows.insert(rows.end(), 256, 255);
    return rows;
}
const uint8_t (*rows_of(const Bytes &rows))[256] { return reinterpret_cast<const uint8_t(*)[256]>(rows.data()); }

} // namespace

TEST(Blob, writes_in_the_middle_and_at_the_end) {
    Blob blob("name");
    EXPECT_EQ(text_of(blob.getName()), "name");
    EXPECT_TRUE(blob.isOpened() && blob.isMapped() && !blob.isAvailable());
    EXPECT_EQ(blob.write("abcdef", 6), 6u);
    EXPECT_EQ(blob.getCapacity(), 10u); // (6 * 3 + 2) / 2
    blob.seek(2);
    blob.write("XY", 2);
    EXPECT_EQ(text_of(blob), "abXYef");
    EXPECT_EQ(blob.tell(), 4u);
    blob.write("12345", 5);
    EXPECT_EQ(text_of(blob), "abXY12345");
    EXPECT_FALSE(blob.isAvailable());
}

TEST(Blob, seeks_within_its_content) {
    Blob blob = blob_of("0123456789");
    static const struct {
        const char *name;
        bool (*seek)(Blob &blob);
        bool result;
        size_t position;
    } rows[] = {
        {"end", [](Blob &b) { return b.seek(10); }, true, 10},
        {"behind the end", [](Blob &b) { return b.seek(11); }, false, 10},
        {"back to the start", [](Blob &b) { return b.seekBack(10); }, true, 0},
        {"back too far", [](Blob &b) { return b.seekBack(11); }, false, 0},
        {"forward", [](Blob &b) { return b.seekCur(6); }, true, 10},
        {"forward too far", [](Blob &b) { return b.seekCur(7); }, false, 10},
        {"backward", [](Blob &b) { return b.seekCur(-4); }, true, 0},
        {"backward too far", [](Blob &b) { return b.seekCur(-5); }, false, 0},
        {"the lowest step", [](Blob &b) { return b.seekCur(INT64_MIN); }, false, 0},
        {"the highest step", [](Blob &b) { return b.seekCur(INT64_MAX); }, false, 10},
    };
    for(const auto &row : rows) {
        blob.seek(4);
        EXPECT_EQ(row.seek(blob), row.result) << row.name;
        EXPECT_EQ(blob.tell(), row.position) << row.name;
    }
}

TEST(Blob, writes_from_its_own_memory) {
    Blob blob = blob_of("0123456789");
    blob.shrink();
    blob.seekBack(0);
    for(int i = 0; i < 8; i++) blob.write(blob.getData(), blob.getSize());
    std::string text = "0123456789";
    for(int i = 0; i < 8; i++) text += text;
    EXPECT_EQ(text_of(blob), text);
    EXPECT_TRUE(blob.setData(blob.getData() + 5, 7));
    EXPECT_EQ(text_of(blob), "5678901");
}

TEST(Blob, changes_its_size_and_memory) {
    const size_t memory = Allocator::getMemory();
    {
        Blob blob = blob_of("abc");
        blob.seekBack(0);
        EXPECT_TRUE(blob.setSize(200));
        EXPECT_EQ(bytes_of(blob)[2], 'c');
        EXPECT_EQ(bytes_of(blob)[199], 0);
        EXPECT_EQ(blob.tell(), 3u);
        EXPECT_TRUE(blob.setSize(2));
        EXPECT_EQ(blob.tell(), 2u);
        EXPECT_TRUE(blob.setSize(4)); // what was cut off does not come back
        EXPECT_EQ(bytes_of(blob), (Bytes{'a', 'b', 0, 0}));
        EXPECT_TRUE(blob.setCapacity(1000));
        EXPECT_EQ(blob.getCapacity(), 1000u);
        EXPECT_TRUE(blob.setCapacity(1));
        EXPECT_EQ(blob.getCapacity(), 1000u);
        blob.shrink();
        EXPECT_EQ(blob.getCapacity(), 4u);
        blob.clear();
        EXPECT_EQ(blob.getCapacity(), 4u);
        EXPECT_EQ(blob.getSize(), 0u);
        blob.release();
        EXPECT_EQ(blob.getCapacity(), 0u);
        EXPECT_EQ(blob.getData(), nullptr);
        EXPECT_TRUE(blob.isOpened());
        EXPECT_EQ(blob.write("x", 1), 1u);
    }
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(Blob, keeps_its_content_when_memory_runs_out) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer ends the process for such sizes";
#endif
    CapturedLog log;
    Blob blob = blob_of("abc");
    EXPECT_FALSE(blob.setSize(SIZE_MAX - 100));
    EXPECT_FALSE(blob.setSize(SIZE_MAX / 2));
    EXPECT_FALSE(blob.setCapacity(SIZE_MAX / 2));
    EXPECT_EQ(log.size(), 3u);
    blob.seekBack(0);
    static const uint8_t byte = 0;
    EXPECT_EQ(blob.write(&byte, SIZE_MAX / 2), 0u);
    EXPECT_EQ(blob.write(&byte, SIZE_MAX), 0u);
    EXPECT_EQ(text_of(blob), "abc");
}

TEST(Blob, copies_and_hands_on) {
    Blob blob = blob_of("content");
    blob.setName("name");
    blob.seek(3);
    const uint8_t *data = blob.getData();
    Blob copy(blob);
    EXPECT_NE(copy.getData(), data);
    EXPECT_EQ(text_of(copy), "content");
    EXPECT_EQ(text_of(copy.getName()), "name");
    EXPECT_EQ(copy.tell(), 3u);
    EXPECT_EQ(text_of(blob), "content");

    Blob taken(blob, true);
    EXPECT_EQ(taken.getData(), data);
    EXPECT_EQ(taken.tell(), 3u);
    EXPECT_TRUE(blob.isOpened());
    EXPECT_EQ(blob.getSize(), 0u);
    EXPECT_EQ(text_of(blob.getName()), "");

    Stream *stream = taken.move();
    EXPECT_EQ(stream->getData(), data);
    EXPECT_EQ(taken.getSize(), 0u);
    EXPECT_EQ(taken.write("again", 5), 5u);
    delete stream;

    copy = taken;
    EXPECT_EQ(text_of(copy), "again");
    copy = std::move(taken);
    EXPECT_EQ(text_of(copy), "again");
    EXPECT_EQ(taken.getSize(), 0u);
}

TEST(Blob, unpacks_embedded_stores) {
    CapturedLog log;
    std::mt19937 random(1);
    for(const size_t size : {size_t(0), size_t(10), size_t(100000)}) {
        Bytes bytes(size);
        for(uint8_t &byte : bytes) byte = uint8_t(random() % 7);
        uLongf length = compressBound(size);
        Bytes zipped(length);
        compress(zipped.data(), &length, bytes.data(), size);
        zipped.resize(length);
        for(const size_t payload : {size_t(254), size_t(1)}) {
            if(payload == 1 && size > 1000) continue;
            const Bytes rows = pack_rows(zipped, payload);
            Blob blob(rows_of(rows), "store");
            EXPECT_EQ(bytes_of(blob), bytes);
            EXPECT_EQ(blob.tell(), 0u);
            EXPECT_EQ(text_of(blob.getName()), "store");
        }
        EXPECT_EQ(log.text(), "");
        const Bytes rows = pack_rows(Bytes(zipped.begin(), zipped.end() - 1), 254);
        Blob blob;
        EXPECT_FALSE(blob.setData(rows_of(rows)));
        EXPECT_EQ(log.take(), "Stream::decodeZip(): can't read stream\nBlob::setData(): can't set data\n");
    }
    const Bytes rows(256, 255);
    Blob blob = blob_of("old");
    EXPECT_FALSE(blob.setData(rows_of(rows)));
    EXPECT_EQ(blob.getSize(), 0u);
    EXPECT_EQ(log.take(), "Stream::decodeZip(): can't read stream\nBlob::setData(): can't set data\n");
}

// What the packer writes, read as numbers.
TEST(Blob, unpacks_what_the_packer_wrote) {
    const std::string packer = OSTREVAN_RUN OSTREVAN_BINARIES "/blob_pack";
    std::string text;
    for(int i = 0; i < 5000; i++) text += std::to_string(i * i % 977) + " ";
    const std::string source = run_command((packer + " test /dev/stdin /dev/stdout | tr -d ' '").c_str(), text);
    ASSERT_NE(source.find("staticconstuint8_ttest_blob_src[][256]={\n"), std::string::npos);
    Bytes rows;
    for(const char *ptr = strstr(source.c_str(), "]={") + 3; (ptr = strpbrk(ptr, "0123456789"));)
        rows.push_back(uint8_t(strtoul(ptr, const_cast<char **>(&ptr), 10)));
    ASSERT_EQ(rows.size() % 256, 0u);
    EXPECT_EQ(text_of(Blob(rows_of(rows))), text);
    EXPECT_NE(system((packer + " test /nowhere /dev/null 2>/dev/null").c_str()), 0);
}

TEST(Blob, digests_are_those_of_the_system_tools) {
    EXPECT_EQ(text_of(Blob::getMD5(String("abc"))), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(text_of(Blob::getSHA1(String("abc"))), "a9993e364706816aba3e25717850c26c9cd0d89d");
    uint32_t hash[5];
    ASSERT_TRUE(Blob::getMD5(hash, String("abc")));
    EXPECT_EQ(hash[0], 0x90015098u);
    ASSERT_TRUE(Blob::getSHA1(hash, String("abc")));
    EXPECT_EQ(hash[4], 0x9cd0d89du);
    std::mt19937 random(2);
    for(const size_t size : {0, 55, 56, 63, 64, 65, 119, 120, 1000000}) {
        std::string text(size, 0);
        for(char &c : text) c = char(random());
        Blob blob = blob_of(text);
        const std::string md5 = run_command("md5sum", text);
        const std::string sha1 = run_command("sha1sum", text);
        EXPECT_EQ(text_of(blob.getMD5()), md5);
        EXPECT_EQ(text_of(blob.getSHA1()), sha1);
        EXPECT_EQ(text_of(Blob::getMD5(blob.getData(), size)), md5);
        EXPECT_EQ(text_of(Blob::getSHA1(blob.getData(), size)), sha1);
        EXPECT_EQ(blob.tell(), 0u);
        EXPECT_EQ(text_of(Blob::getMD5(static_cast<Stream &>(blob))), md5);
        EXPECT_FALSE(blob.isAvailable());
        blob.seek(0);
        EXPECT_EQ(text_of(Blob::getSHA1(static_cast<Stream &>(blob))), sha1);
    }
    Blob blob = blob_of("xxabcyy");
    blob.seek(2);
    EXPECT_EQ(text_of(blob.getMD5(3)), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(text_of(blob.getMD5(6)), "");
    EXPECT_FALSE(blob.getSHA1(hash, 6));
    EXPECT_EQ(text_of(Blob::getSHA1(static_cast<Stream &>(blob), 3)), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(text_of(Blob::getSHA1(static_cast<Stream &>(blob), 3)), "");
}

// The instructions of the processor against the plain code, fed in pieces of all sizes.
TEST(Blob, digests_do_not_depend_on_the_pieces) {
    std::mt19937 random(3);
    Bytes bytes(20000);
    for(uint8_t &byte : bytes) byte = uint8_t(random());
    SHA1 whole, pieces;
    MD5 whole_md5, pieces_md5;
    pieces.setPlain();
    whole.update(bytes.data(), bytes.size());
    whole_md5.update(bytes.data(), bytes.size());
    for(size_t i = 0; i < bytes.size();) {
        const size_t num = std::min<size_t>(random() % 200, bytes.size() - i);
        pieces.update(bytes.data() + i, num);
        pieces_md5.update(bytes.data() + i, num);
        i += num;
    }
    uint32_t a[5], b[5];
    whole.finish(a);
    pieces.finish(b);
    EXPECT_EQ(memcmp(a, b, sizeof(a)), 0);
    whole_md5.finish(a);
    pieces_md5.finish(b);
    EXPECT_EQ(memcmp(a, b, MD5::NumWords * 4), 0);
}

TEST(Blob, base64_is_that_of_the_system_tool) {
    std::mt19937 random(4);
    for(size_t size = 0; size < 300; size += 1 + size / 40) {
        std::string text(size, 0);
        for(char &c : text) c = char(random());
        Blob blob = blob_of(text);
        const std::string encoded = run_command("base64 -w 0", text);
        EXPECT_EQ(text_of(blob.encodeBase64()), encoded);
        EXPECT_FALSE(blob.isAvailable());
        std::string spaced;
        for(char c : encoded) spaced += std::string(random() % 3, " \t\r\n"[random() % 4]) + c;
        Blob decoded;
        EXPECT_TRUE(decoded.decodeBase64(spaced.c_str()));
        EXPECT_EQ(text_of(decoded), text);
    }
    Blob large;
    EXPECT_TRUE(large.decodeBase64(std::string(400000, 'A').c_str()));
    EXPECT_EQ(large.getSize(), 300000u);
}

TEST(Blob, base64_breaks_lines_after_whole_groups) {
    Blob blob = blob_of(std::string(120, 'x'));
    const std::string text = text_of(blob.encodeBase64(0, 76));
    EXPECT_EQ(text.size(), 162u);
    EXPECT_EQ(text.find('\n'), 80u);
    EXPECT_EQ(text.rfind('\n'), 161u);
    blob.seek(1);
    EXPECT_EQ(text_of(blob.encodeBase64(4, 1)), "eHh4\neA==\n");
    EXPECT_EQ(blob.tell(), 5u);
}

TEST(Blob, base64_refuses_what_is_none) {
    CapturedLog log;
    Blob blob;
    EXPECT_FALSE(blob.decodeBase64("YWJj$"));
    EXPECT_FALSE(blob.decodeBase64("YWJjY"));
    EXPECT_FALSE(blob.decodeBase64("YW\x80Jj"));
    EXPECT_EQ(log.size(), 3u);
    EXPECT_TRUE(blob.decodeBase64("YWI")); // without padding
    EXPECT_TRUE(blob.decodeBase64("YWI=$$$"));
}
