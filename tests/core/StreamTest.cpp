// The conventions of Stream, seen through Blob: encoded integers, strings, text, zlib and LZ4. The libraries
// themselves are the oracles of the compressed forms.

#include "KolmBlob.h"

#include <gtest/gtest.h>
#include <lz4.h>
#include <lz4hc.h>
#include <random>
#include <zlib.h>

#include "CapturedLog.h"

using namespace Kolm;

namespace {

using Bytes = std::vector<uint8_t>;

Bytes bytes_of(const Blob &blob) { return Bytes(blob.getData(), blob.getData() + blob.getSize()); }

Blob blob_of(const Bytes &bytes) { return Blob(bytes.data(), bytes.size()); }
Blob blob_of(const std::string &text) { return Blob(reinterpret_cast<const uint8_t *>(text.data()), text.size()); }

std::string text_of(const String &str) { return std::string(str.get(), str.size()); }

// Bytes that compress in part: runs, repeats and noise.
Bytes mixed_bytes(size_t size, uint32_t seed) {
    std::mt19937 random(seed);
    Bytes bytes;
    while(bytes.size() < size) {
        const size_t num = random() % 300 + 1;
        const uint32_t kind = random() % 4;
        const size_t back = bytes.empty() ? 0 : random() % std::min<size_t>(bytes.size(), 70000) + 1;
        const uint8_t value = uint8_t(random());
        for(size_t i = 0; i < num; i++)
            bytes.push_back((kind == 0)            ? uint8_t(random())
                            : (kind == 1 || !back) ? value
                                                   : bytes[bytes.size() - back]);
    }
    bytes.resize(size);
    return bytes;
}

Bytes zip_bytes(const Bytes &bytes, int level = 6) {
    uLongf size = compressBound(bytes.size());
    Bytes ret(size);
    EXPECT_EQ(compress2(ret.data(), &size, bytes.data(), bytes.size(), level), Z_OK);
    ret.resize(size);
    return ret;
}

Bytes lz4_bytes(const Bytes &bytes, bool best = false) {
    Bytes ret(LZ4_compressBound(int(bytes.size())));
    const char *src = reinterpret_cast<const char *>(bytes.data());
    char *dest = reinterpret_cast<char *>(ret.data());
    ret.resize(best ? LZ4_compress_HC(src, dest, int(bytes.size()), int(ret.size()), 9)
                    : LZ4_compress_default(src, dest, int(bytes.size()), int(ret.size())));
    return ret;
}

// Memory that can neither be mapped nor asked for its size, as a pipe, and that takes only so many bytes.
class PipeStream : public Blob {
public:
    using Blob::Blob;
    bool isMapped() const override { return false; }
    size_t getSize() const override { return 0; }
    const uint8_t *getData() const override { return nullptr; }
    size_t read(void *dest, size_t size) override { return Blob::read(dest, size); }
    size_t write(const void *src, size_t size) override { return (size <= room) ? Blob::write(src, size) : 0; }
    uint8_t *mapWrite(size_t) override { return nullptr; }
    bool read_encoded(uint64_t &value, uint32_t max) override { return Stream::read_encoded(value, max); }

    size_t room = SIZE_MAX;
};

} // namespace

TEST(Stream, encodes_integers_with_the_end_in_the_last_byte) {
    static const struct {
        uint32_t value;
        Bytes bytes;
    } rows[] = {
        {0, {0x80}},
        {127, {0xFF}},
        {128, {0x00, 0x81}},
        {16383, {0x7F, 0xFF}},
        {16384, {0x00, 0x00, 0x81}},
        {2097151, {0x7F, 0x7F, 0xFF}},
        {2097152, {0x00, 0x00, 0x00, 0x81}},
        {268435455, {0x7F, 0x7F, 0x7F, 0xFF}},
        {268435456, {0x00, 0x00, 0x00, 0x00, 0x81}},
        {0xFFFFFFFF, {0x7F, 0x7F, 0x7F, 0x7F, 0x8F}},
    };
    for(const auto &row : rows) {
        Blob blob;
        EXPECT_TRUE(blob.writeu32e(row.value));
        EXPECT_EQ(bytes_of(blob), row.bytes) << row.value;
        blob.seek(0);
        bool status = true;
        EXPECT_EQ(blob.readu32e(&status), row.value);
        EXPECT_TRUE(status && !blob.isAvailable());
    }
}

TEST(Stream, encoded_integers_come_back) {
    CapturedLog log;
    std::mt19937_64 random(1);
    PipeStream pipe;
    std::vector<uint64_t> values;
    for(int i = 0; i < 10000; i++) values.push_back(random() >> 1 >> random() % 63);
    for(const uint64_t value : values) {
        EXPECT_TRUE(pipe.writeu64e(value));
        EXPECT_TRUE(pipe.writei32e(int32_t(value)));
    }
    pipe.seek(0);
    bool status = true;
    for(const uint64_t value : values) {
        EXPECT_EQ(pipe.readu64e(&status), value);
        EXPECT_EQ(pipe.readi32e(&status), int32_t(value));
    }
    EXPECT_TRUE(status);
    EXPECT_EQ(log.size(), 0u);
    // nine bytes hold 63 bits
    EXPECT_FALSE(pipe.writei64e(-1));
    EXPECT_EQ(log.size(), 1u);
}

TEST(Stream, refuses_encoded_integers_without_end) {
    static const Bytes rows[] = {{}, {0x00}, {0x01, 0x02, 0x03, 0x04}, {0, 0, 0, 0, 0, 0x81}};
    for(const Bytes &row : rows) {
        Blob blob = blob_of(row);
        bool status = true;
        EXPECT_EQ(blob.readu32e(&status), 0u);
        EXPECT_FALSE(status) << row.size();
    }
    Blob blob = blob_of(Bytes(20, 0x01));
    bool status = true;
    blob.readu64e(&status);
    EXPECT_FALSE(status);
    EXPECT_EQ(blob.tell(), 9u);
}

TEST(Stream, values_are_little_endian_and_the_status_only_falls) {
    Blob blob;
    blob.writeu8(1);
    blob.writei16(-2);
    blob.writeu32(0x12345678);
    blob.writei64(-3);
    blob.writef32(1.5f);
    blob.writef64(-0.25);
    EXPECT_EQ(bytes_of(blob), (Bytes{1,    0xFE, 0xFF, 0x78, 0x56, 0x34, 0x12, 0xFD, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                     0xFF, 0,    0,    0xC0, 0x3F, 0,    0,    0,    0,    0,    0,    0xD0, 0xBF}));
    blob.seek(0);
    bool status = false;
    EXPECT_EQ(blob.readu8(&status), 1);
    EXPECT_EQ(blob.readi16(&status), -2);
    EXPECT_FALSE(status); // and the reads took place
    status = true;
    EXPECT_EQ(blob.readu32(&status), 0x12345678u);
    EXPECT_EQ(blob.readi64(&status), -3);
    EXPECT_EQ(blob.readf32(&status), 1.5f);
    EXPECT_EQ(blob.readf64(&status), -0.25);
    EXPECT_TRUE(status);
    blob.seekBack(3);
    EXPECT_EQ(blob.readu32(&status), 0u);
    EXPECT_FALSE(status);
    EXPECT_EQ(blob.readu8(&status), 0);
    EXPECT_FALSE(status);
}

TEST(Stream, strings_have_an_encoded_length) {
    Blob blob;
    EXPECT_TRUE(blob.writeString("ab"));
    EXPECT_TRUE(blob.writeString(static_cast<const char *>(nullptr)));
    EXPECT_TRUE(blob.writeString(String("cd"), ';'));
    EXPECT_EQ(bytes_of(blob), (Bytes{0x82, 'a', 'b', 0x80, 'c', 'd', ';'}));
    blob.seek(0);
    bool status = true;
    EXPECT_EQ(text_of(blob.readString(&status)), "ab");
    EXPECT_EQ(text_of(blob.readString(&status)), "");
    EXPECT_EQ(text_of(blob.readString(';', &status)), "cd");
    EXPECT_TRUE(status && !blob.isAvailable());
    blob.seekBack(3);
    EXPECT_EQ(text_of(blob.readString(';', &status, 1)), "c");
    EXPECT_TRUE(status);
    EXPECT_EQ(blob.readu8(), 'd');
    EXPECT_EQ(text_of(blob.readString('-', &status)), ";");
    EXPECT_FALSE(status);
}

TEST(Stream, promised_lengths_cost_no_memory) {
    CapturedLog log;
    const size_t memory = Allocator::getMemory();
    for(const bool is_pipe : {false, true}) {
        const Bytes bytes = {0x7F, 0x7F, 0x7F, 0x7F, 0x87, 'x', 'y'}; // 2 GiB
        Blob blob = blob_of(bytes);
        PipeStream pipe(bytes.data(), bytes.size());
        Stream &stream = is_pipe ? static_cast<Stream &>(pipe) : blob;
        bool status = true;
        EXPECT_EQ(stream.readString(&status).size(), 0u);
        EXPECT_FALSE(status);
        uint8_t dest[16];
        stream.seek(0);
        EXPECT_EQ(stream.readZip(dest, sizeof(dest)), 0u);
        stream.seek(0);
        EXPECT_EQ(stream.readLz4(dest, sizeof(dest)), 0u);
        stream.seek(0);
        Array<uint32_t> array;
        EXPECT_FALSE(stream.readArray(array, 0x7FFFFFFF));
        EXPECT_EQ(array.size(), 1u);
        stream.seek(0);
        status = true;
        Blob copy;
        EXPECT_EQ(stream.readStream(copy, 1000, &status), 7u);
        EXPECT_FALSE(status);
    }
    EXPECT_EQ(log.text(), "Stream::readZip(): can't read stream\nStream::readLz4(): can't read stream\n"
                          "Stream::readZip(): can't read stream\nStream::readLz4(): can't read stream\n");
    EXPECT_EQ(Allocator::getMemory(), memory);
}

TEST(Stream, reads_arrays_in_steps) {
    std::vector<uint32_t> values(100000);
    for(size_t i = 0; i < values.size(); i++) values[i] = uint32_t(i * i);
    Blob blob(reinterpret_cast<const uint8_t *>(values.data()), values.size() * 4);
    Array<uint32_t> array;
    ASSERT_TRUE(blob.readArray(array, uint32_t(values.size())));
    EXPECT_TRUE(std::equal(values.begin(), values.end(), array.get()));
    EXPECT_TRUE(blob.readArray(array, 0));
    EXPECT_EQ(array.size(), 0u);
}

TEST(Stream, reads_tokens_and_lines) {
    for(const bool is_pipe : {false, true}) {
        const auto with = [is_pipe](const std::string &text, auto func) {
            Blob blob = blob_of(text);
            PipeStream pipe(blob.getData(), blob.getSize());
            func(is_pipe ? static_cast<Stream &>(pipe) : blob);
        };
        String str;
        with("a\r\n\r\nb", [&](Stream &stream) {
            EXPECT_TRUE(stream.readLine(str));
            EXPECT_EQ(text_of(str), "a");
            EXPECT_TRUE(stream.readLine(str));
            EXPECT_EQ(text_of(str), "");
            EXPECT_TRUE(stream.readLine(str));
            EXPECT_EQ(text_of(str), "b");
            EXPECT_FALSE(stream.readLine(str));
        });
        with("\n\n\nx\n\n", [&](Stream &stream) {
            EXPECT_TRUE(stream.readLine(str, true));
            EXPECT_EQ(text_of(str), "x");
            EXPECT_FALSE(stream.readLine(str)); // the last line is empty
            EXPECT_FALSE(stream.readLine(str, true));
        });
        with("  ab\r c\t\n d", [&](Stream &stream) {
            std::string tokens;
            while(stream.readToken(str)) tokens += text_of(str) + ",";
            EXPECT_EQ(tokens, "ab,c,d,");
        });
        with("x y z", [&](Stream &stream) {
            bool status = true;
            EXPECT_EQ(text_of(stream.readToken(&status)), "x");
            EXPECT_TRUE(stream.readToken(str, true));
            EXPECT_TRUE(stream.readToken(str, false));
            EXPECT_EQ(text_of(str), "yz");
            EXPECT_TRUE(status);
            stream.readToken(&status);
            EXPECT_FALSE(status);
        });
        // read ahead by a few bytes, whatever the buffer holds at a boundary
        for(uint32_t size = 0; size < 9; size++) {
            with("one\r\n\ntwo three\n four", [&](Stream &stream) {
                String buffer;
                std::string lines, tokens;
                while(stream.readLine(str, buffer, size)) lines += text_of(str) + "|";
                EXPECT_EQ(lines, "one||two three| four|") << size;
                stream.seek(0);
                buffer.clear();
                while(stream.readToken(str, buffer, size)) tokens += text_of(str) + "|";
                EXPECT_EQ(tokens, "one|two|three|four|") << size;
            });
        }
        with("all\nof it\r", [&](Stream &stream) {
            stream.readu8();
            bool status = true;
            EXPECT_EQ(text_of(stream.gets(&status)), "ll\nof it\r");
            EXPECT_TRUE(status && !stream.isAvailable());
        });
    }
}

TEST(Stream, copies_between_streams) {
    const Bytes bytes = mixed_bytes(200000, 1);
    PipeStream src(bytes.data(), bytes.size());
    Blob dest;
    bool status = true;
    src.seek(100);
    EXPECT_EQ(dest.writeStream(src, 70000, &status), 70000u);
    EXPECT_EQ(src.readStream(dest, 0, &status), bytes.size() - 70100);
    EXPECT_TRUE(status);
    EXPECT_EQ(bytes_of(dest), Bytes(bytes.begin() + 100, bytes.end()));
    PipeStream full;
    full.room = 10;
    src.seek(0);
    EXPECT_EQ(src.readStream(full, 0, &status), 0u);
    EXPECT_FALSE(status);
}

TEST(Stream, zip_forms_agree_with_zlib) {
    CapturedLog log;
    for(const size_t size : {size_t(0), size_t(1), size_t(1000), size_t(300000)}) {
        const Bytes bytes = mixed_bytes(size, uint32_t(size));
        Blob src = blob_of(bytes);
        bool status = true;

        // a block: encoded length, then a zlib stream
        Blob block;
        const size_t written = block.writeZipBest(bytes.data(), bytes.size());
        EXPECT_EQ(written, block.getSize());
        block.seek(0);
        const uint32_t length = block.readu32e(&status);
        EXPECT_EQ(length, block.getSize() - block.tell());
        Bytes decoded(size + 1);
        uLongf decoded_size = decoded.size();
        EXPECT_EQ(uncompress(decoded.data(), &decoded_size, block.getData() + block.tell(), length), Z_OK);
        EXPECT_EQ(decoded_size, size);
        block.seek(0);
        EXPECT_EQ(block.readZip(decoded.data(), decoded.size()), size);
        decoded.resize(size);
        EXPECT_EQ(decoded, bytes);

        // the bare stream, from memory and from a pipe, whole and in small chunks
        Blob encoded;
        const size_t encoded_size = encoded.encodeZipFast(src, size, &status);
        EXPECT_EQ(encoded_size, encoded.getSize());
        decoded.resize(size + 1);
        decoded_size = decoded.size();
        EXPECT_EQ(uncompress(decoded.data(), &decoded_size, encoded.getData(), encoded.getSize()), Z_OK);
        EXPECT_EQ(decoded_size, size);
        Bytes zipped = zip_bytes(bytes);
        zipped.insert(zipped.end(), {1, 2, 3});
        for(const size_t chunk : {size_t(0), size_t(1), size_t(7), size_t(32768), size_t(1000000)}) {
            PipeStream pipe(zipped.data(), zipped.size());
            Blob out;
            EXPECT_EQ(out.decodeZip(pipe, chunk, &status), size);
            EXPECT_EQ(bytes_of(out), bytes);
        }
        EXPECT_TRUE(status);
    }
    EXPECT_EQ(log.text(), "");
}

TEST(Stream, decode_zip_tells_what_is_wrong) {
    const Bytes bytes = mixed_bytes(5000, 3);
    const Bytes zipped = zip_bytes(bytes);
    CapturedLog log;
    const auto decode = [&](const Bytes &src, size_t room = SIZE_MAX) {
        Blob blob = blob_of(src);
        PipeStream out;
        out.room = room;
        bool status = true;
        const size_t size = out.decodeZip(blob, 0, &status);
        EXPECT_EQ(size, out.tell());
        EXPECT_EQ(status, log.size() == 0);
        EXPECT_LE(log.size(), 1u);
        return std::make_pair(status, log.take());
    };
    EXPECT_EQ(decode({}).second, "Stream::decodeZip(): can't read stream\n");
    EXPECT_EQ(decode({'n', 'o', 't', ' ', 'z', 'l', 'i', 'b'}).second,
              "Stream::decodeZip(): can't inflate stream -3\n");
    EXPECT_EQ(decode(zipped, 1000).second, "Stream::decodeZip(): can't write stream\n");
    for(size_t size = 0; size < zipped.size(); size += 7) {
        EXPECT_EQ(decode(Bytes(zipped.begin(), zipped.begin() + size)).second,
                  "Stream::decodeZip(): can't read stream\n");
    }
    // Any flipped byte is found: the sum at the end covers all.
    for(size_t i = 0; i < zipped.size(); i += 3) {
        Bytes broken = zipped;
        broken[i] ^= 0x41;
        EXPECT_FALSE(decode(broken).first) << i;
    }
    Blob blob = blob_of(zipped);
    Blob out;
    bool status = true;
    out.decodeZip(blob, 0, &status, 99);
    EXPECT_EQ(log.take(), "Stream::decodeZip(): can't init inflate\n");
    EXPECT_FALSE(status);
}

TEST(Stream, zip_blocks_tell_what_is_wrong) {
    const Bytes bytes = mixed_bytes(1000, 4);
    CapturedLog log;
    Blob block;
    EXPECT_EQ(block.writeZip(bytes.data(), bytes.size(), 77), 0u);
    EXPECT_EQ(log.take(), "Stream::writeZip(): can't compress stream -2\n");
    PipeStream full;
    full.room = 1;
    EXPECT_EQ(full.writeZip(bytes.data(), bytes.size()), 0u);
    EXPECT_EQ(log.take(), "Stream::writeZip(): can't write stream\n");
    Blob src = blob_of(bytes);
    bool status = true;
    EXPECT_EQ(full.encodeZip(src, 0, &status), 0u);
    EXPECT_EQ(log.take(), "Stream::encodeZip(): can't write stream\n");
    EXPECT_FALSE(status);
    src.seek(0);
    EXPECT_EQ(block.encodeZip(src, 1001, &status), 0u);
    EXPECT_EQ(log.take(), "Stream::encodeZip(): can't read stream\n");
    src.seek(0);
    EXPECT_EQ(block.encodeZip(src, 0, &status, 77), 0u);
    EXPECT_EQ(log.take(), "Stream::encodeZip(): can't compress stream -2\n");

    block.writeZip(bytes.data(), bytes.size());
    block.seek(0);
    Bytes dest(bytes.size());
    EXPECT_EQ(block.readZip(dest.data(), dest.size() - 1), 0u);
    EXPECT_EQ(log.take(), "Stream::readZip(): can't uncompress stream -5\n");
    block.seek(0);
    block.setSize(block.getSize() - 1);
    EXPECT_EQ(block.readZip(dest.data(), dest.size()), 0u);
    EXPECT_EQ(log.take(), "Stream::readZip(): can't read stream\n");
}

TEST(Stream, lz4_forms_agree_with_the_library) {
    CapturedLog log;
    for(const size_t size : {size_t(0), size_t(1), size_t(20), size_t(1000), size_t(70000), size_t(3000000)}) {
        const Bytes bytes = mixed_bytes(size, uint32_t(size) + 1);
        Blob src = blob_of(bytes);
        bool status = true;
        for(const int32_t level : {-100, -1, 0, 9, 12}) {
            Blob block;
            const size_t written = block.writeLz4(bytes.data(), bytes.size(), level);
            EXPECT_EQ(written, block.getSize());
            block.seek(0);
            const uint32_t length = block.readu32e(&status);
            EXPECT_EQ(length, block.getSize() - block.tell());
            Bytes decoded(size + 1);
            EXPECT_EQ(LZ4_decompress_safe(reinterpret_cast<const char *>(block.getData() + block.tell()),
                                          reinterpret_cast<char *>(decoded.data()), int(length), int(decoded.size())),
                      int(size));
            decoded.resize(size);
            EXPECT_EQ(decoded, bytes);
            block.seek(0);
            EXPECT_EQ(block.readLz4(decoded.data(), size), size);
            EXPECT_EQ(decoded, bytes);
        }
        Blob encoded;
        src.seek(0);
        const size_t written = encoded.encodeLz4Best(src, 0, &status);
        EXPECT_EQ(written, encoded.getSize());
        for(const bool best : {false, true}) {
            const Bytes packed = lz4_bytes(bytes, best);
            PipeStream pipe(packed.data(), packed.size());
            Blob out;
            EXPECT_EQ(out.decodeLz4(pipe, packed.size(), &status), size);
            EXPECT_EQ(bytes_of(out), bytes);
            // through the window, for streams that give no memory, and over content that is there
            PipeStream out_pipe;
            pipe.seek(0);
            EXPECT_EQ(out_pipe.decodeLz4(pipe, packed.size(), &status), size);
            EXPECT_EQ(out_pipe.tell(), size);
            EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), out_pipe.Blob::getData()));
            out.setSize(size + 3);
            out.seek(2);
            pipe.seek(0);
            EXPECT_EQ(out.decodeLz4(pipe, packed.size(), &status), size);
            EXPECT_EQ(out.tell(), size + 2);
            EXPECT_EQ(out.getSize(), size + 3);
            EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), out.getData() + 2));
        }
        encoded.seek(0);
        Blob out;
        EXPECT_EQ(out.decodeLz4(encoded, 0, &status), size);
        EXPECT_EQ(bytes_of(out), bytes);
        EXPECT_TRUE(status);
    }
    EXPECT_EQ(log.text(), "");
}

TEST(Stream, decode_lz4_repeats_short_periods_and_long_runs) {
    CapturedLog log;
    for(size_t period = 1; period < 40; period++) {
        for(const size_t size : {size_t(100), size_t(65535), size_t(10000000)}) {
            if(size > 1000000 && period != 1 && period != 7 && period != 33) continue;
            Bytes bytes(size);
            for(size_t i = 0; i < size; i++) bytes[i] = uint8_t(i % period * 37);
            const Bytes packed = lz4_bytes(bytes);
            Blob src = blob_of(packed);
            Blob out;
            ASSERT_EQ(out.decodeLz4(src), size);
            ASSERT_EQ(bytes_of(out), bytes) << period;
            PipeStream out_pipe;
            src.seek(0);
            ASSERT_EQ(out_pipe.decodeLz4(src), size);
            ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), out_pipe.Blob::getData())) << period;
        }
    }
    EXPECT_EQ(log.text(), "");
}

TEST(Stream, decode_lz4_tells_what_is_wrong) {
    CapturedLog log;
    const auto decode = [&](const Bytes &src, size_t room = SIZE_MAX) {
        PipeStream pipe(src.data(), src.size());
        PipeStream out;
        out.room = room;
        bool status = true;
        out.decodeLz4(pipe, 0, &status);
        EXPECT_EQ(status, log.size() == 0);
        return log.take();
    };
    const std::string broken = "Stream::decodeLz4(): can't decompress stream\n";
    EXPECT_EQ(decode({}), "");
    EXPECT_EQ(decode({0x00}), "");                                  // an empty block
    EXPECT_EQ(decode({0x10, 'a', 0x00, 0x00, 0x10, 'b'}), broken);  // offset 0
    EXPECT_EQ(decode({0x10, 'a', 0x02, 0x00, 0x10, 'b'}), broken);  // offset in front of the output
    EXPECT_EQ(decode({0x10, 'a', 0x01, 0x00}), broken);             // nothing behind a match
    EXPECT_EQ(decode({0x10, 'a', 0x01}), broken);                   // half an offset
    EXPECT_EQ(decode({0x20, 'a'}), broken);                         // literals pass the end
    EXPECT_EQ(decode({0xF0, 0xFF, 0xFF}), broken);                  // a length without end
    EXPECT_EQ(decode({0x1F, 'a', 0x01, 0x00, 0xFF, 0xFF}), broken); // the same of a match
    Bytes flood = {0x1F, 'a', 0x01, 0x00};
    flood.insert(flood.end(), 40000, 0xFF); // ten million bytes out of forty thousand, then no end
    EXPECT_EQ(decode(flood), broken);
    EXPECT_EQ(decode(lz4_bytes(mixed_bytes(500000, 5)), 1000), "Stream::decodeLz4(): can't write stream\n");

    Blob src;
    Blob out;
    bool status = true;
    EXPECT_EQ(out.decodeLz4(src, 10, &status), 0u);
    EXPECT_FALSE(status);
    EXPECT_EQ(log.take(), "Stream::decodeLz4(): can't read stream\n");
}

// Broken input of all kinds: whatever happens, nothing is read or written out of bounds and the status tells.
TEST(Stream, decoders_survive_random_damage) {
    CapturedLog log;
    std::mt19937 random(7);
    const Bytes bytes = mixed_bytes(3000, 8);
    const Bytes zipped = zip_bytes(bytes);
    const Bytes packed = lz4_bytes(bytes);
    for(int i = 0; i < 10000; i++) {
        const bool is_zip = (i % 2 == 0);
        Bytes broken = is_zip ? zipped : packed;
        if(random() % 4 == 0) broken.resize(random() % broken.size());
        for(uint32_t num = random() % 4; num && !broken.empty(); num--)
            broken[random() % broken.size()] = uint8_t(random());
        Blob src = blob_of(broken);
        Blob out;
        bool status = true;
        if(is_zip)
            out.decodeZip(src, 0, &status);
        else
            out.decodeLz4(src, 0, &status);
        ASSERT_EQ(status, log.size() == 0) << i;
        ASSERT_TRUE(!is_zip || !status || bytes_of(out) == bytes) << i;
        log.clear();
        uint8_t dest[4000];
        src.seek(0);
        PipeStream out_pipe;
        if(!is_zip) out_pipe.decodeLz4(src);
        src.seek(0);
        if(is_zip)
            src.readZip(dest, sizeof(dest));
        else
            src.readLz4(dest, sizeof(dest));
        log.clear();
    }
}
