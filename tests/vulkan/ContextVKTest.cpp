// Choices that need no device, and the life of contexts, frames and sub-devices.

#include <string.h>
#include <thread>

#include "ChildProcess.h"
#include "GpuTest.h"
#include "KolmBackend.h"
#include "VKBuffer.h"
#include "VKLayouts.h"
#include "VKOffscreen.h"
#include "VKPasses.h"

using namespace Kolm;

TEST(VKAdapterChoice, default_adapter) {
    const struct {
        std::vector<uint32_t> vendors;
        uint32_t index;
    } rows[] = {
        {{0x8086, 0x1002, 0x10DE}, 2}, {{0x8086, 0x1002}, 1},         {{0x8086}, 0}, {{0x10005}, 0},
        {{0x10DE, 0x10DE}, 0},         {{0x1002, 0x8086, 0x1002}, 0},
    };
    for(const auto &row : rows)
        EXPECT_EQ(VK::selectAdapter(row.vendors.data(), uint32_t(row.vendors.size())), row.index);
}

TEST(VKAdapterChoice, queues) {
    constexpr VkQueueFlags G = VK_QUEUE_GRAPHICS_BIT, C = VK_QUEUE_COMPUTE_BIT, T = VK_QUEUE_TRANSFER_BIT;
    constexpr uint32_t none = VKAdapter::NotFound;
    const struct {
        const char *name;
        std::vector<std::pair<VkQueueFlags, uint32_t>> families;
        uint32_t expected[6]; // family and index of graphics, compute, copy
    } rows[] = {
        {"one queue for all", {{G | C | T, 1}}, {0, 0, 0, 0, 0, 0}},
        {"two queues", {{G | C | T, 2}}, {0, 0, 0, 1, 0, 1}},
        {"sixteen queues", {{G | C | T, 16}}, {0, 0, 0, 1, 0, 2}},
        {"compute apart", {{G | C, 1}, {C, 1}}, {0, 0, 1, 0, none, none}},
        {"all apart", {{G | C | T, 16}, {C | T, 8}, {T, 2}}, {0, 0, 1, 0, 2, 0}},
        {"copies first", {{T, 2}, {G | C | T, 16}, {C | T, 8}}, {1, 0, 2, 0, 0, 0}},
        {"a separate compute family stays", {{G | C | T, 4}, {C | T, 1}, {C | T, 1}}, {0, 0, 1, 0, 2, 0}},
        {"no graphics", {{C | T, 2}}, {none, none, 0, 0, 0, 1}},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<VkQueueFamilyProperties> families;
        for(const auto &family : row.families) families.push_back({family.first, family.second, 64, {1, 1, 1}});
        const auto choice = VKAdapter::selectQueues(families.data(), uint32_t(families.size()));
        const uint32_t result[6] = {choice.graphics_family, choice.graphics_index, choice.compute_family,
                                    choice.compute_index,   choice.copy_family,    choice.copy_index};
        for(uint32_t i = 0; i < 6; i++) EXPECT_EQ(result[i], row.expected[i]) << i;
    }
}

// Flags: 1 device-local, 2 host-visible, 4 coherent, 8 cached.
TEST(VKAdapterChoice, memory_types) {
    const auto find = [](std::vector<uint32_t> types, uint32_t bits, uint32_t flags, uint32_t avoid) {
        VkPhysicalDeviceMemoryProperties memory = {};
        memory.memoryTypeCount = uint32_t(types.size());
        for(uint32_t i = 0; i < types.size(); i++) memory.memoryTypes[i].propertyFlags = types[i];
        return VKAdapter::findMemoryIndex(memory, bits, flags, avoid);
    };
    EXPECT_EQ(find({1, 6, 14, 7}, ~0u, 6, 1), 1u);
    EXPECT_EQ(find({1, 7, 6}, ~0u, 6, 1), 2u);
    EXPECT_EQ(find({15}, ~0u, 6, 1), 0u) << "what should be avoided is taken if there is nothing else";
    EXPECT_EQ(find({1, 6, 14}, 2, 10, 0), VKAdapter::NotFound);
    EXPECT_EQ(find({1, 10, 6}, ~0u, 10, 0), 1u);
    EXPECT_EQ(find({}, ~0u, 0, 0), VKAdapter::NotFound);
}

// Ranges of memory that is not coherent are flushed in whole atoms, within their memory object.
TEST(VKAdapterChoice, atoms) {
    const struct {
        uint64_t offset, size, atom, limit;
        uint64_t expected_offset, expected_size;
    } rows[] = {
        {0, 64, 64, 1024, 0, 64},   {1, 1, 64, 1024, 0, 64},       {63, 2, 64, 1024, 0, 128},
        {64, 64, 64, 1024, 64, 64}, {1000, 20, 64, 1020, 960, 60}, {5, 7, 1, 100, 5, 7},
    };
    for(const auto &row : rows) {
        uint64_t offset = row.offset, size = row.size;
        VKAdapter::alignRange(offset, size, row.atom, row.limit);
        EXPECT_EQ(offset, row.expected_offset) << row.offset << " " << row.size;
        EXPECT_EQ(size, row.expected_size) << row.offset << " " << row.size;
    }
}

TEST(VKAdapterChoice, driver_versions) {
    EXPECT_STREQ(VKAdapter::getVersionName(0).get(), "");
    EXPECT_STREQ(VKAdapter::getVersionName(1).get(), "1");
    EXPECT_STREQ(VKAdapter::getVersionName(5u << 12 | 7).get(), "5.7");
    EXPECT_STREQ(VKAdapter::getVersionName(100u << 22 | 5u << 12 | 7).get(), "100.5.7");
    EXPECT_STREQ(VKAdapter::getVersionName(4u << 29 | 23u << 22 | 256u << 12 | 1).get(), "4.23.256.1");
}

TEST(VKNames, are_whole_words) {
    const String list = " KHR_surface KHR_xlib_surface ";
    EXPECT_TRUE(VK::checkName(list, "KHR_surface"));
    EXPECT_FALSE(VK::checkName(list, "KHR_surf"));
    EXPECT_FALSE(VK::checkName(list, "surface"));
    EXPECT_FALSE(VK::checkName(String(), "KHR_surface"));
}

class ContextVKTest : public GpuTest {};

TEST_F(ContextVKTest, identity_and_features) {
    const Device::Features &features = device->getFeatures();
    EXPECT_TRUE(features.initialized && features.threadAccess && features.baseInstanceIndex);
    EXPECT_EQ(&features, &device->getFeatures());
    EXPECT_NE(features.maxGroupSizeX, 0u);
    EXPECT_NE(features.maxStorageSize, 0u);
    EXPECT_NE(features.videoMemory, 0u);
    EXPECT_EQ(device->getIndex(), getAdapter()->getIndex());
    EXPECT_FALSE(device->getName().empty());
    EXPECT_STREQ(device->getPlatformName(), "Vulkan");
    if(features.vendorID == 0x10005) {
        EXPECT_STREQ(device->getVendor().get(), "0x10005");
        EXPECT_STREQ(device->getVersion().get(), "1");
    }
    EXPECT_GT(Backend::getNumAdapters(PlatformVK), 0u);
    EXPECT_TRUE(device->check());
}

TEST_F(ContextVKTest, creation) {
    EXPECT_FALSE(offscreen->create());
    expectLog("VKOffscreen::create(): is already created");
    VKOffscreen other(77777);
    EXPECT_FALSE(other.create());
    expectLog("VK::getAdapter(): invalid adapter index 77777");
    expectLog("VKOffscreen::create_context(): can't get 77777 adapter");
    EXPECT_FALSE(other.flush());
    expectLog("VKOffscreen::flush(): can't flush context");
    EXPECT_TRUE(offscreen->flush() && offscreen->finish());
}

// The last of those who share a context closes it, in whichever order they go.
TEST_F(ContextVKTest, any_order_of_destruction) {
    BufferPtr buffer = createBuffer(Buffer::FlagSource, {1, 2, 3});
    ASSERT_TRUE(device->clearBuffer(buffer.get()));
    offscreen.reset();
    device.reset();
    EXPECT_TRUE(VK::isOpened());
    buffer.reset();
    EXPECT_FALSE(VK::isOpened());
}

TEST_F(ContextVKTest, frames) {
    for(uint32_t frames = 2; frames < 6; frames++) {
        DevicePtr other(device->createDevice(device->getIndex(), frames));
        ASSERT_TRUE(other);
        BufferPtr buffer(other->createBuffer(Buffer::FlagSource, 64));
        for(uint32_t i = 0; i < 20; i++) {
            const uint32_t value = i;
            ASSERT_TRUE(other->clearBuffer(buffer.get(), FormatRu32, &value));
            ASSERT_TRUE(other->flip());
        }
        uint32_t words[16] = {};
        ASSERT_TRUE(other->getBuffer(buffer.get(), words));
        EXPECT_EQ(words[15], 19u);
    }
}

TEST_F(ContextVKTest, flushes_of_a_frame) {
    BufferPtr buffer = createBuffer(Buffer::FlagSource, 64);
    for(uint32_t frame = 0; frame < 4; frame++) {
        for(uint32_t i = 0; i < VKContext::MaxFlushes; i++) {
            const uint32_t value = frame * 100 + i;
            ASSERT_TRUE(device->clearBuffer(buffer.get(), FormatRu32, &value));
            ASSERT_TRUE(device->flush());
        }
        EXPECT_EQ(getContext()->getNumCommands(), VKContext::MaxFlushes + 1);
        ASSERT_TRUE((frame % 2) ? device->finish() : device->flip());
        EXPECT_EQ(getContext()->getNumCommands(), 1u);
    }
    EXPECT_EQ(getWords(buffer.get())[0], 315u);
}

// Objects that were released wait as many flips as there are frames.
TEST_F(ContextVKTest, delay_of_destruction) {
    const auto is_free = [this](uint32_t before) { return getAdapter()->getNumAllocations() == before; };
    const uint32_t before = getAdapter()->getNumAllocations();
    BufferPtr buffer = createBuffer(Buffer::FlagNone, 20 << 20);
    ASSERT_FALSE(is_free(before));
    buffer.reset();
    for(uint32_t i = 1; i < VKContext::DefaultFrames; i++) {
        ASSERT_TRUE(device->flip());
        EXPECT_FALSE(is_free(before)) << i;
    }
    ASSERT_TRUE(device->flip());
    EXPECT_TRUE(is_free(before));
}

TEST_F(ContextVKTest, transient_memory) {
    VKContext *context = getContext();
    std::vector<VKContext::Transient> pieces;
    for(uint32_t i = 0; i < 1000; i++) {
        const uint64_t alignment = 1ull << (i % 9);
        pieces.push_back(context->getUniformBuffer(alignment, 1 + i * 37 % 40000));
        ASSERT_TRUE(pieces.back());
        EXPECT_EQ(pieces.back().offset % alignment, 0u);
        memset(pieces.back().data, int(i), pieces.back().size);
    }
    for(uint32_t i = 0; i < 1000; i++) {
        EXPECT_EQ(pieces[i].data[0], uint8_t(i));
        EXPECT_EQ(pieces[i].data[pieces[i].size - 1], uint8_t(i));
    }
    // A frame's memory comes back: many frames need no more than a few buffers.
    const uint32_t total = getAdapter()->getTotalAllocations();
    for(uint32_t frame = 0; frame < 50; frame++) {
        ASSERT_TRUE(context->getUniformBuffer(256, 4 << 20));
        ASSERT_TRUE(context->getUploadBuffer(256, 20 << 20));
        ASSERT_TRUE(device->flip());
    }
    EXPECT_LE(getAdapter()->getTotalAllocations() - total, 3u);
    EXPECT_FALSE(context->getUploadBuffer(16, VKContext::MaxTransientSize)) << "more than the limit";
}

TEST_F(ContextVKTest, sub_devices) {
    std::vector<std::thread> threads;
    std::vector<DevicePtr> devices;
    for(uint32_t i = 0; i < 4; i++) {
        devices.push_back(DevicePtr((i % 2) ? device->createComputeDevice(2) : device->createCopyDevice(3)));
        ASSERT_TRUE(devices.back());
    }
    // On the software driver all of them share one queue.
    std::vector<uint32_t> results(4, 0);
    for(uint32_t i = 0; i < 4; i++) {
        threads.emplace_back([&, i]() {
            Device *sub_device = devices[i].get();
            BufferPtr buffer(sub_device->createBuffer(Buffer::FlagSource, 4096));
            for(uint32_t j = 0; j < 50; j++) {
                const uint32_t value = i * 1000 + j;
                sub_device->clearBuffer(buffer.get(), FormatRu32, &value);
                sub_device->flip();
            }
            sub_device->getBuffer(buffer.get(), 0, &results[i], 4);
        });
    }
    for(std::thread &thread : threads) thread.join();
    for(uint32_t i = 0; i < 4; i++) EXPECT_EQ(results[i], i * 1000 + 49);
}

TEST_F(ContextVKTest, command_devices) {
    BufferPtr buffer = createBuffer(Buffer::FlagSource, 64);
    DevicePtr child(device->createCommandDevice(2));
    ASSERT_TRUE(child);
    for(uint32_t i = 0; i < 5; i++) {
        ASSERT_TRUE(child->clearBuffer(buffer.get(), FormatRu32, 0, &i, 32));
        ASSERT_TRUE(device->execute(child.get()));
        ASSERT_TRUE(device->flip());
        ASSERT_TRUE(child->flip());
    }
    EXPECT_EQ(getWords(buffer.get())[7], 4u);
}

TEST_F(ContextVKTest, outside_device) {
    // The device that this test made is the outside one.
    VKOffscreen wrapped;
    ASSERT_TRUE(
        wrapped.create(VK::getInstance(), PFN_vkGetInstanceProcAddr(VK::getProcAddress("vkGetInstanceProcAddr")),
                       getAdapter()->getAdapter(), getAdapter()->getDevice(), getAdapter()->graphics_family, 0));
    VKDevice other(&wrapped);
    EXPECT_NE(other.getIndex(), device->getIndex());
    BufferPtr buffer(other.createBuffer(Buffer::FlagSource, 64));
    const uint32_t value = 42;
    ASSERT_TRUE(other.clearBuffer(buffer.get(), FormatRu32, &value));
    uint32_t result = 0;
    ASSERT_TRUE(other.getBuffer(buffer.get(), &result, 4));
    EXPECT_EQ(result, 42u);
}

// Each child opens its own device: the driver's threads don't follow into a child.
class VKMisuse : public testing::Test {
protected:
    static void SetUpTestSuite() { GpuTest::SetUpTestSuite(); }
    void SetUp() override { VK::setValidation(false); }

    template<class Func> static void run(Func func) {
        VKOffscreen offscreen;
        if(!offscreen.create()) return;
        VKDevice device(&offscreen);
        func(device);
    }
};

TEST_F(VKMisuse, ends_the_process) {
    EXPECT_ASSERTION(VK::release(), "counter > 0 && \"VK::release(): reference counter is zero\"");
    EXPECT_ASSERTION(run([](VKDevice &) { VK::open(); }), "!isOpened() && \"VK::open(): is already opened\"");
    EXPECT_ASSERTION(run([](VKDevice &device) { device.createDevice(0, 1); }),
                     "num >= MinFrames && \"VKContext::create(): invalid number of frames\"");
    EXPECT_ASSERTION(run([](VKDevice &device) {
                         for(uint32_t i = 0; i < 17; i++) device.flush();
                     }),
                     "frame->command_index < MaxFlushes && \"VKContext::flush(): too many commands in the frame\"");
    EXPECT_ASSERTION(run([](VKDevice &device) { device.getAdapter()->create(); }),
                     "!isCreated() && \"VKAdapter::create(): is already created\"");
    // Arrays by adapter have eight places.
    EXPECT_ASSERTION(VKLayouts::get(8),
                     "adapter_index < VK::MaxAdapters && \"VKLayouts::get(): invalid adapter index\"");
    EXPECT_ASSERTION(VKPasses::get(8), "adapter_index < VK::MaxAdapters && \"VKPasses::get(): invalid adapter index\"");
}

// Without a library, and with a library but without a driver.
TEST(VKMissing, driver) {
    for(const char *name : {"VK_DRIVER_FILES", "VK_ICD_FILENAMES"}) {
        const ChildProcess child = runChild([name] {
            setenv("VK_DRIVER_FILES", "/nonexistent.json", 1);
            setenv(name, "/nonexistent.json", 1);
            VKOffscreen offscreen;
            if(offscreen.create()) _exit(1);
            if(VK::isOpened()) _exit(1);
        });
        EXPECT_TRUE(child.isExited());
        EXPECT_NE(child.err.find("VKOffscreen::create(): can't open Vulkan"), std::string::npos) << child.err;
    }
}
