// Buffers on the device: memory, uploads, read-back, fills and copies against the same work on plain memory.

#include <algorithm>
#include <random>
#include <string.h>

#include "GpuTest.h"
#include "VKBuffer.h"
#include "VKFormat.h"

using namespace Kolm;

class BufferVKTest : public GpuTest {};

static std::vector<uint8_t> get_bytes(std::mt19937 &random, size_t size) {
    std::vector<uint8_t> bytes(size);
    for(uint8_t &byte : bytes) byte = uint8_t(random());
    return bytes;
}

// Every set, copy and fill is done to a model as well. Ranges overlap, begin and end at any byte.
TEST_F(BufferVKTest, follows_memory) {
    std::mt19937 random(1);
    constexpr size_t size = 4099;
    BufferPtr buffers[2];
    std::vector<uint8_t> models[2];
    for(uint32_t i = 0; i < 2; i++) {
        models[i] = get_bytes(random, size);
        buffers[i].reset(device->createBuffer(Buffer::FlagSource, models[i].data(), size));
        ASSERT_TRUE(buffers[i]);
    }
    for(uint32_t step = 0; step < 600; step++) {
        const uint32_t dest = random() % 2, src = random() % 2;
        const size_t length = 1 + random() % ((random() % 4) ? 16 : size / 2);
        const size_t offset = random() % (size - length + 1);
        const size_t src_offset = random() % (size - length + 1);
        SCOPED_TRACE(testing::Message() << step << ": " << dest << " " << offset << " " << length);
        switch(random() % 8) {
        case 0:
        case 1:
        case 2: {
            const std::vector<uint8_t> bytes = get_bytes(random, length);
            ASSERT_TRUE(device->setBuffer(buffers[dest].get(), offset, bytes.data(), length));
            memcpy(models[dest].data() + offset, bytes.data(), length);
        } break;
        case 3:
        case 4:
            if(src == dest && offset < src_offset + length && src_offset < offset + length) break;
            ASSERT_TRUE(device->copyBuffer(buffers[dest].get(), offset, buffers[src].get(), src_offset, length));
            memcpy(models[dest].data() + offset, models[src].data() + src_offset, length);
            break;
        case 5: {
            const uint8_t value[2] = {uint8_t(random()), uint8_t(random())};
            // Two bytes of 8 bits repeat crosswise.
            const uint8_t pattern[4] = {value[0], value[1], value[0], value[1]};
            ASSERT_TRUE(device->clearBuffer(buffers[dest].get(), FormatRGu8, offset, value, length));
            for(size_t i = 0; i < length; i++) models[dest][offset + i] = pattern[i % 4];
        } break;
        case 6: {
            std::vector<uint8_t> bytes(length);
            ASSERT_TRUE(device->getBuffer(buffers[dest].get(), offset, bytes.data(), length));
            ASSERT_EQ(memcmp(bytes.data(), models[dest].data() + offset, length), 0);
        } break;
        case 7:
            if(random() % 4 == 0) {
                ASSERT_TRUE(device->finish());
            } else if(random() % 2) {
                ASSERT_TRUE(device->flip());
            } else if(getContext()->getNumCommands() < VKContext::MaxFlushes) {
                ASSERT_TRUE(device->flush());
            }
            break;
        }
    }
    for(uint32_t i = 0; i < 2; i++) {
        std::vector<uint8_t> bytes(size);
        ASSERT_TRUE(device->getBuffer(buffers[i].get(), bytes.data()));
        EXPECT_EQ(bytes, models[i]);
    }
}

// More than the transient memory of the context holds: what was recorded is run to make room.
TEST_F(BufferVKTest, large_uploads) {
    const size_t size = 100 << 20;
    std::vector<uint32_t> words(size / 4);
    for(size_t i = 0; i < words.size(); i++) words[i] = uint32_t(i * 2654435761u);
    BufferPtr buffer = createBuffer(Buffer::FlagSource, size);
    ASSERT_TRUE(buffer);
    // The first goes straight to the memory of a buffer that nothing has used, the others through transient memory.
    for(uint32_t pass = 0; pass < 7; pass++) {
        words[pass * 1000] ^= pass;
        ASSERT_TRUE(device->setBuffer(buffer.get(), words.data()));
        if(pass == 0) {
            ASSERT_TRUE(device->clearBuffer(buffer.get()));
        }
    }
    expectLog("CPU syncronization");
    EXPECT_TRUE(getWords(buffer.get()) == words);
}

TEST_F(BufferVKTest, staging_buffers) {
    BufferPtr write = createBuffer(Buffer::FlagWrite | Buffer::FlagSource, 1000);
    BufferPtr other = createBuffer(Buffer::FlagWrite | Buffer::FlagSource, 1000);
    BufferPtr read = createBuffer(Buffer::FlagRead, 1000);
    ASSERT_TRUE(write && other && read);
    // Both may lie in one memory object, which can be mapped once only.
    uint8_t *data = static_cast<uint8_t *>(device->mapBuffer(write.get()));
    uint8_t *other_data = static_cast<uint8_t *>(device->mapBuffer(other.get(), 10, 20));
    ASSERT_TRUE(data && other_data);
    memset(data, 1, 1000);
    memset(other_data, 2, 20);
    EXPECT_TRUE(device->unmapBuffer(write.get()) && device->unmapBuffer(other.get()));
    ASSERT_TRUE(device->copyBuffer(read.get(), write.get()));
    ASSERT_TRUE(device->copyBuffer(read.get(), 10, other.get(), 10, 20));
    ASSERT_TRUE(device->finish());
    const uint8_t *result = static_cast<const uint8_t *>(device->mapBuffer(read.get()));
    ASSERT_TRUE(result);
    for(uint32_t i = 0; i < 1000; i++) ASSERT_EQ(result[i], (i >= 10 && i < 30) ? 2 : 1) << i;
    EXPECT_TRUE(device->unmapBuffer(read.get()));
}

TEST_F(BufferVKTest, refusals) {
    BufferPtr read = createBuffer(Buffer::FlagRead, 16);
    BufferPtr plain = createBuffer(Buffer::FlagNone, 16);
    BufferPtr source = createBuffer(Buffer::FlagSource, 16);
    uint8_t bytes[32] = {};
    const uint8_t triple[12] = {1, 0, 0, 0, 2};
    const struct {
        const char *name;
        bool result;
        const char *message;
    } rows[] = {
        {"set a Read buffer", device->setBuffer(read.get(), bytes, 4), "can't set"},
        {"set past the end", device->setBuffer(plain.get(), 8, bytes, 9), "invalid range"},
        {"get a buffer that is no source", device->getBuffer(plain.get(), bytes, 4), "non-source"},
        {"get at a huge offset", device->getBuffer(source.get(), ~size_t(0), bytes, 4), "invalid range"},
        {"copy from a buffer that is no source", device->copyBuffer(source.get(), plain.get()), "non-source"},
        {"copy over itself", device->copyBuffer(source.get(), 4, source.get(), 0, 8), "overlap"},
        {"fill with what no word repeats", device->clearBuffer(plain.get(), FormatRGBu32, triple, 12), "can't clear"},
        {"map a device buffer", device->mapBuffer(plain.get()) != nullptr, "can't map"},
        {"texels of a block format", createBuffer(Buffer::FlagTexel, 0x1000) != nullptr, "texel buffer"},
    };
    for(const auto &row : rows) {
        EXPECT_FALSE(row.result) << row.name;
        EXPECT_NE(countLog(row.message), 0u) << row.name;
        expectLog(row.message);
    }
    expectLog("Buffer::get(): can't get 16 B Source buffer");
    expectLog("VKBuffer::");
}

// Small and medium pieces share memory objects; each size class ends where it is told.
TEST_F(BufferVKTest, memory_classes) {
    VKAdapter *adapter = getAdapter();
    const struct {
        uint64_t size;
        bool pool;
    } rows[] = {{1, false}, {65536, false}, {65537, false}, {16777216, false}, {16777217, true}};
    VK::MemoryPtr pieces[5];
    for(uint32_t i = 0; i < 5; i++) {
        const VkMemoryRequirements requirements = {rows[i].size, 256, ~0u};
        pieces[i] = adapter->allocateMemory(requirements, VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT);
        ASSERT_TRUE(pieces[i]) << rows[i].size;
        EXPECT_EQ(pieces[i].pool, rows[i].pool) << rows[i].size;
        EXPECT_EQ(pieces[i].size, rows[i].size);
    }
    EXPECT_EQ(pieces[0].memory, pieces[1].memory);
    EXPECT_NE(pieces[1].memory, pieces[2].memory);
    EXPECT_EQ(pieces[2].memory, pieces[3].memory);
    for(VK::MemoryPtr &piece : pieces) {
        EXPECT_TRUE(adapter->freeMemory(piece));
        EXPECT_FALSE(piece);
    }
    VK::MemoryPtr foreign;
    foreign.memory = reinterpret_cast<VkDeviceMemory>(uint64_t(1));
    foreign.index = adapter->getIndex() + 1;
    EXPECT_FALSE(adapter->freeMemory(foreign));
    expectLog("VKAdapter::freeMemory(): invalid adapter index");
    const VkMemoryRequirements impossible = {64, 1, 0};
    EXPECT_FALSE(adapter->allocateMemory(impossible, VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT));
    expectLog("VKAdapter::getMemoryIndex(): can't get 0x0 0x1 memory");
    expectLog("VKAdapter::allocateMemory(): can't allocate 64");
}

TEST_F(BufferVKTest, many_buffers_few_allocations) {
    const uint32_t before = getAdapter()->getTotalAllocations();
    std::vector<BufferPtr> buffers;
    for(uint32_t i = 0; i < 10000; i++) {
        buffers.push_back(createBuffer(Buffer::FlagStorage | Buffer::FlagSource, 4 + i % 4096));
        ASSERT_TRUE(buffers.back()) << i;
    }
    EXPECT_LT(getAdapter()->getTotalAllocations() - before, 100u);
    // Pieces of one memory object don't meet.
    std::mt19937 random(3);
    for(uint32_t i = 0; i < 2000; i++) {
        const uint32_t index = random() % 10000;
        ASSERT_TRUE(device->setBuffer(buffers[index].get(), 0, &index, 4));
    }
    random.seed(3);
    for(uint32_t i = 0; i < 200; i++) {
        const uint32_t index = random() % 10000;
        ASSERT_EQ(getWords(buffers[index].get(), 1)[0], index);
    }
}

// The device reads what it was given while the objects are gone already; the layer would report any that is in use.
TEST_F(BufferVKTest, released_after_the_frame) {
    BufferPtr result = createBuffer(Buffer::FlagSource, 64 * 4);
    ASSERT_TRUE(device->clearBuffer(result.get()));
    for(uint32_t i = 0; i < 64; i++) {
        BufferPtr source = createBuffer(Buffer::FlagSource, std::vector<uint32_t>(16, i + 1));
        ASSERT_TRUE(device->copyBuffer(result.get(), i * 4, source.get(), 0, 4));
        source.reset();
        if(i % 8 == 3) {
            ASSERT_TRUE(device->flush());
        }
        if(i % 16 == 9) {
            ASSERT_TRUE(device->flip());
        }
    }
    const std::vector<uint32_t> words = getWords(result.get());
    for(uint32_t i = 0; i < 64; i++) EXPECT_EQ(words[i], i + 1);
}

TEST_F(BufferVKTest, constant_memory_over_frames) {
    uint32_t allocations = 0;
    for(uint32_t frame = 0; frame < 100; frame++) {
        for(uint32_t i = 0; i < 100; i++) {
            BufferPtr buffer = createBuffer(Buffer::FlagStorage, std::vector<uint32_t>(16 + i * 16, i));
            ASSERT_TRUE(buffer);
            ASSERT_TRUE(device->clearBuffer(buffer.get()));
        }
        ASSERT_TRUE(device->flip());
        if(frame == 10) allocations = getAdapter()->getTotalAllocations();
    }
    EXPECT_EQ(getAdapter()->getTotalAllocations(), allocations);
}

// Each size class and the transient memory fail with lines, and nothing is lost.
TEST_F(BufferVKTest, out_of_memory) {
    BufferPtr target = createBuffer(Buffer::FlagSource, 80 << 20);
    ASSERT_TRUE(device->clearBuffer(target.get()));
    getAdapter()->setMemoryLimit(1 << 20);
    for(const size_t size : {size_t(1000), size_t(1000000), size_t(20 << 20)}) {
        EXPECT_FALSE(createBuffer(Buffer::FlagStorage, size)) << size;
        EXPECT_FALSE(createBuffer(Buffer::FlagWrite, std::max(size, size_t(2 << 20)))) << size;
    }
    // Uploads go on with the memory that is there, if need be after a wait.
    std::vector<uint32_t> words(target->getSize() / 4);
    for(size_t i = 0; i < words.size(); i++) words[i] = uint32_t(i * 7);
    EXPECT_TRUE(device->setBuffer(target.get(), words.data()));
    EXPECT_TRUE(device->setBuffer(target.get(), words.data()));
    EXPECT_TRUE(getWords(target.get()) == words);
    getAdapter()->setMemoryLimit(~0ull);
    EXPECT_TRUE(createBuffer(Buffer::FlagStorage, 1000));
    expectLog("VK_ERROR_OUT_OF_DEVICE_MEMORY");
    expectLog("VKAdapter::HeapMemory::Heap::create(): can't allocate");
    expectLog("VKAdapter::HeapMemory::allocate(): can't create heap");
    expectLog("VKAdapter::allocateMemory(): can't allocate");
    expectLog("VKBuffer::create(): can't allocate");
    expectLog("CPU syncronization");
    expectLog("VKContext::");
}

TEST_F(BufferVKTest, shared_memory) {
    if(!getAdapter()->has_external_memory_host_ext) GTEST_SKIP() << "no import of host memory";
    for(const auto flag : {Buffer::FlagShared, Buffer::FlagInterop}) {
        if(flag == Buffer::FlagInterop && !getAdapter()->has_external_memory) continue;
        BufferPtr first = createBuffer(flag | Buffer::FlagSource, 5000);
        ASSERT_TRUE(first);
        BufferPtr second(device->createBuffer(first.get()));
        ASSERT_TRUE(second);
        const std::vector<uint32_t> words(1250, 0x12345678);
        ASSERT_TRUE(device->setBuffer(first.get(), words.data()));
        ASSERT_TRUE(device->finish());
        EXPECT_EQ(getWords(second.get()), words);
    }
    BufferPtr plain = createBuffer(Buffer::FlagSource, 16);
    EXPECT_EQ(device->createBuffer(plain.get()), nullptr);
    expectLog("has no Shared or Interop flag");
}

TEST(VKFormat, every_format_has_one_of_its_size) {
    EXPECT_EQ(getVKFormat(FormatRGBAu8n), VK_FORMAT_R8G8B8A8_UNORM);
    EXPECT_EQ(getVKFormat(FormatBGRAu8ns), VK_FORMAT_B8G8R8A8_SRGB);
    EXPECT_EQ(getVKFormat(FormatRGBu10Au2n), VK_FORMAT_A2B10G10R10_UNORM_PACK32);
    EXPECT_EQ(getVKFormat(FormatRGBAf16), VK_FORMAT_R16G16B16A16_SFLOAT);
    EXPECT_EQ(getVKFormat(FormatBC7RGBAu8ns), VK_FORMAT_BC7_SRGB_BLOCK);
    EXPECT_EQ(getVKFormat(FormatASTC88RGBAf16), VK_FORMAT_ASTC_8x8_SFLOAT_BLOCK);
    EXPECT_EQ(getVKFormat(FormatDf32Su8), VK_FORMAT_D32_SFLOAT_S8_UINT);
    std::vector<VkFormat> formats;
    for(uint32_t i = 1; i < NumFormats; i++) {
        const VkFormat format = getVKFormat(Format(i));
        EXPECT_EQ(format == VK_FORMAT_UNDEFINED, i == FormatRGBf21) << getFormatName(Format(i));
        for(const VkFormat other : formats) EXPECT_TRUE(format == VK_FORMAT_UNDEFINED || format != other) << i;
        formats.push_back(format);
    }
}
