// Rules of buffers: what creation and operations accept, and the one line that each refusal gives.

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "StubDevice.h"

using namespace Kolm;

namespace {

struct BufferTest : testing::Test {
    std::unique_ptr<StubBuffer> create(Buffer::Flags flags, size_t size, Format format = FormatUnknown) {
        std::unique_ptr<StubBuffer> buffer(new StubBuffer(PlatformVK, calls));
        EXPECT_TRUE(buffer->create(flags, size, format));
        calls.lines.clear();
        return buffer;
    }

    CapturedLog log;
    StubCalls calls;
};

} // namespace

TEST_F(BufferTest, has_words_for_its_flags) {
    static const struct {
        uint32_t flags;
        const char *words;
    } rows[] = {
        {0, "None"},
        {1, "Read "},
        {0x100000, "Accel "},
        {0x8404, "Source Storage Indirect "},
        {0x1FFFFF, "Read Write Source Sparse Shared Mapped Extern Interop Dynamic Uniform Storage Address Tracing "
                   "Scratch Binding Indirect Conditional Vertex Index Texel Accel "},
        {0x200000, "None"},
    };
    for(const auto &row : rows) EXPECT_STREQ(Buffer::getFlagsName(Buffer::Flags(row.flags)).get(), row.words);
    EXPECT_EQ(uint32_t(Buffer::FlagTexel), 0x80000u);

    EXPECT_STREQ(create(Buffer::FlagUniform | Buffer::FlagSource, 100)->getDescription().get(), "100 B Source Uniform");
    EXPECT_STREQ(create(Buffer::FlagNone, 1000, FormatRGBAu8n)->getDescription().get(), "1000 B None RGBAu8n");
}

TEST_F(BufferTest, refuses_flags_that_exclude_each_other) {
    static const struct {
        Buffer::Flags flags;
        const char *message;
    } rows[] = {
        {Buffer::FlagRead | Buffer::FlagWrite, "Buffer::create(): can't create buffer with Read Write flags\n"},
        {Buffer::FlagRead | Buffer::FlagSparse, "Buffer::create(): can't create buffer with Read Sparse flags\n"},
        {Buffer::FlagWrite | Buffer::FlagSparse, "Buffer::create(): can't create buffer with Write Sparse flags\n"},
        {Buffer::FlagRead | Buffer::FlagWrite | Buffer::FlagSparse,
         "Buffer::create(): can't create buffer with Read Write flags\n"},
    };
    for(const auto &row : rows) {
        StubBuffer buffer(PlatformVK, calls);
        buffer.setName("name");
        EXPECT_FALSE(buffer.create(row.flags, 16, FormatRu32));
        EXPECT_EQ(log.take(), row.message);
        EXPECT_EQ(buffer.getFlags(), Buffer::FlagNone);
        EXPECT_EQ(buffer.getSize(), 0u);
        EXPECT_TRUE(buffer.getName().empty());
    }
    EXPECT_EQ(calls.take(), "");
}

TEST_F(BufferTest, shares_memory_once) {
    StubBuffer buffer(PlatformVK, calls);
    StubBuffer empty(PlatformVK, calls);
    EXPECT_FALSE(buffer.create(nullptr));
    EXPECT_EQ(log.take(), "Buffer::create(): buffer is not created\n");
    EXPECT_FALSE(buffer.create(&empty));
    EXPECT_EQ(log.take(), "Buffer::create(): buffer is not created\n");
    auto plain = create(Buffer::FlagStorage, 16);
    EXPECT_FALSE(buffer.create(plain.get()));
    EXPECT_EQ(log.take(), "Buffer::create(): buffer has no Shared or Interop flag\n");
    auto shared = create(Buffer::FlagStorage | Buffer::FlagShared | Buffer::FlagInterop, 16, FormatRu32);
    EXPECT_TRUE(buffer.create(shared.get()));
    EXPECT_EQ(buffer.getFlags(), Buffer::FlagStorage);
    EXPECT_EQ(buffer.getFormat(), FormatRu32);
    EXPECT_EQ(buffer.getSize(), 16u);
}

TEST_F(BufferTest, checks_ranges_without_wrapping) {
    auto buffer = create(Buffer::FlagStorage, 64);
    static const struct {
        size_t offset, size;
        const char *range; // of the message, null for a good range
    } rows[] = {
        {0, 64, nullptr}, {63, 1, nullptr},
        {63, 0, nullptr}, {64, 0, "64-64"},
        {0, 65, "0-65"},  {SIZE_MAX, 1, "18446744073709551615-18446744073709551615"},
        {1, 64, "1-65"},  {8, SIZE_MAX - 3, "8-18446744073709551615"},
    };
    for(const auto &row : rows) {
        EXPECT_EQ(buffer->check(row.offset, row.size), row.range == nullptr);
        const std::string message =
            (row.range) ? std::string("Buffer::check(): invalid range ") + row.range + " for 64 B Storage buffer\n"
                        : "";
        EXPECT_EQ(log.take(), message);
    }
}

TEST_F(BufferTest, refuses_operations_with_one_reason) {
    auto device = create(Buffer::FlagStorage | Buffer::FlagSource, 64);
    auto plain = create(Buffer::FlagStorage, 64);
    auto read = create(Buffer::FlagRead, 64);
    auto sparse = create(Buffer::FlagSparse, 16384);
    const size_t zero = 0, page = 4096, odd = 100, end = 16384;

    const struct {
        const char *name;
        std::function<bool()> run;
        const char *message; // last line, null for success
    } rows[] = {
        {"set", [&] { return plain->check_set(0, 64); }, nullptr},
        {"set of a read buffer", [&] { return read->check_set(0, 4); }, "Buffer::set(): can't set 64 B Read buffer\n"},
        {"set past the end", [&] { return plain->check_set(60, 5); }, "Buffer::set(): can't set 64 B Storage buffer\n"},
        {"get", [&] { return read->check_get(0, 64); }, nullptr},
        {"get past the end", [&] { return plain->check_get(64, 0); }, "Buffer::get(): can't get 64 B Storage buffer\n"},
        {"map", [&] { return read->check_map(0, 64); }, nullptr},
        {"map of a device buffer", [&] { return plain->check_map(0, 64); },
         "Buffer::map(): can't map 64 B Storage buffer\n"},
        {"map of nothing", [&] { return read->check_map(0, 0); }, "Buffer::map(): can't map 64 B Read buffer\n"},
        {"copy", [&] { return plain->check_copy(0, device.get(), 32, 32); }, nullptr},
        {"copy within", [&] { return device->check_copy(0, device.get(), 32, 32); }, nullptr},
        {"copy onto itself", [&] { return device->check_copy(1, device.get(), 32, 32); },
         "Buffer::copy(): ranges 32-64 and 1-33 of 64 B Source Storage buffer overlap\n"},
        {"copy from no source", [&] { return device->check_copy(0, plain.get(), 0, 4); },
         "Buffer::copy(): can't copy non-source buffer\n"},
        {"copy past the source", [&] { return plain->check_copy(0, device.get(), 64, 1); },
         "Buffer::copy(): invalid src range\n"},
        {"copy past the end", [&] { return plain->check_copy(33, device.get(), 0, 32); },
         "Buffer::copy(): invalid dest range\n"},
        {"bind", [&] { return sparse->check_bind(&zero, &page, 1); }, nullptr},
        {"bind of no sparse buffer", [&] { return plain->check_bind(&zero, &page, 1); },
         "Buffer::bind(): can't bind non-sparse buffer\n"},
        {"bind of nothing", [&] { return sparse->check_bind(nullptr, nullptr, 0); },
         "Buffer::bind(): invalid number of ranges 0\n"},
        {"bind of half a page", [&] { return sparse->check_bind(&odd, &page, 1); },
         "Buffer::bind(): invalid range 100-4196 for 4096 page\n"},
        {"bind past the end", [&] { return sparse->check_bind(&end, &page, 1); },
         "Buffer::bind(): invalid range 16384-20480 for 16.0 KB Sparse buffer\n"},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.run(), row.message == nullptr);
        if(row.message == nullptr) {
            EXPECT_EQ(log.take(), "");
        } else {
            ASSERT_FALSE(log.lines.empty());
            EXPECT_EQ(log.lines.back(), row.message);
        }
        log.clear();
    }
}

TEST_F(BufferTest, folds_clear_values_into_words) {
    static const uint8_t u8[] = {1, 2, 3, 4};
    static const uint16_t u16[] = {1, 2, 1, 2, 3};
    static const uint16_t same16[] = {5, 5, 5};
    static const uint32_t u32[] = {1, 2, 3, 4};
    static const uint32_t same32[] = {7, 7, 7, 7};
    static const float f32[] = {1.0f, 1.0f, 1.0f, 1.0f};
    static const struct {
        Format format;
        const void *value;
        bool valid;
        uint32_t word;
    } rows[] = {
        {FormatUnknown, nullptr, true, 0},
        {FormatRu8, u8, true, 0x01010101},
        {FormatRGu8, u8, true, 0x02010201},
        {FormatRGBu8, u8, false, 0},
        {FormatRGBAu8n, u8, true, 0x04030201},
        {FormatRu16, u16, true, 0x00010001},
        {FormatRGu16, u16, true, 0x00020001},
        {FormatRGBu16, u16, false, 0},
        {FormatRGBu16, same16, true, 0x00050005},
        {FormatRGBAu16, u16, true, 0x00020001},
        {FormatRGBAu16, u16 + 1, false, 0},
        {FormatRu32, u32 + 1, true, 2},
        {FormatRGBu32, u32, false, 0},
        {FormatRGBu32, same32, true, 7},
        {FormatRGBAf32, f32, true, 0x3F800000},
        {FormatRu64, u32, false, 0},
        {FormatRGBu10Au2n, u32, false, 0},
        {FormatBC1RGBu8n, u32, false, 0},
        {FormatUnknown, u32, false, 0},
        {Format(200), u32, false, 0},
    };
    for(const auto &row : rows) {
        bool status = true;
        EXPECT_EQ(StubBuffer::get_clear_value(row.format, row.value, &status), row.word) << row.format;
        EXPECT_EQ(status, row.valid) << row.format;
        EXPECT_EQ(log.size(), row.valid ? 0u : 1u);
        log.clear();
    }
    StubBuffer::get_clear_value(FormatRGBu32, u32);
    EXPECT_EQ(log.take(), "Buffer::get_clear_value(): can't clear RGBu32 buffer\n");
}

TEST_F(BufferTest, asserts_what_a_caller_must_know) {
    auto buffer = create(Buffer::FlagWrite, 64);
    StubBuffer empty(PlatformVK, calls);
    const struct {
        std::function<void()> run;
        const char *text;
    } rows[] = {
        {[&] { empty.create(Buffer::FlagStorage, 0, FormatUnknown); }, "Buffer::create(): invalid buffer size"},
        {[&] { buffer->create(Buffer::FlagStorage, 4, FormatUnknown); }, "Buffer::create(): is already created"},
        {[&] { empty.check(0, 1); }, "Buffer::check(): buffer is not created"},
        {[&] { buffer->unmap(); }, "Buffer::unmap(): buffer is not mapped"},
        {[&] { buffer->map(0, 4), buffer->map(0, 4); }, "Buffer::map(): buffer is not unmapped"},
    };
    for(const auto &row : rows) {
        const ChildProcess child = runChild(row.run);
        EXPECT_TRUE(child.isAborted()) << row.text;
        EXPECT_NE(child.err.find(std::string("\"") + row.text + "\""), std::string::npos) << child.err;
    }
}
