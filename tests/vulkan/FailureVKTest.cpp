// A driver that fails: it runs out of memory in any call that makes an object, or it is lost. Neither may be worse than a
// line and a null pointer.

#include "DeviceWork.h"
#include "FailureTest.h"
#include "KolmAllocator.h"

using namespace Kolm;

class FailureVKTest : public FailureTest {};

// Every call of a piece of work that makes an object or takes memory fails in its turn, until all of them went well. Some
// have a new device each time, without heaps and rings: more can fail there.
TEST_F(FailureVKTest, out_of_memory) {
    const DeviceWork &usual = DeviceWork::get("buffers");
    for(const DeviceWork &work : DeviceWork::getList()) {
        SCOPED_TRACE(work.name);
        const bool is_new = (work.name == std::string("slots") || work.name == std::string("vertices") ||
                             work.name == std::string("rays"));
        failEach(
            is_new, [&] { return work.run(*device); }, [&](const char *) { return usual.run(*device); });
        EXPECT_TRUE(work.run(*device));
        if(HasFailure()) break;
    }
    reopen();
    EXPECT_EQ(join(takeLog()), "");
}

// The same for the start: instance, device, and what a context begins with.
TEST_F(FailureVKTest, start_out_of_memory) {
    device.reset();
    offscreen.reset();
    uint32_t num_failed = 0;
    for(uint32_t number = 1;; number++) {
        DriverLayer::fail(number);
        const size_t memory = Allocator::getMemory();
        bool status = false;
        {
            VKOffscreen context;
            status = context.create();
            if(status) {
                VKDevice own(&context);
                status = own.check() && own.flush() && own.finish();
            }
        }
        const char *failed = DriverLayer::getFailed();
        DriverLayer::fail(0);
        SCOPED_TRACE(std::string(failed ? failed : "nothing") + " fails as call " + std::to_string(number));
        const std::vector<std::string> lines = takeLog();
        checkLines(lines, failed ? 8 : 0);
        EXPECT_EQ(status, failed == nullptr);
        EXPECT_FALSE(VK::isOpened());
        EXPECT_EQ(Allocator::getMemory(), memory);
        if(failed == nullptr || HasFailure()) break;
        EXPECT_FALSE(lines.empty());
        num_failed++;
    }
    EXPECT_GT(num_failed, 10u);
    reopen();
}

// The device is lost in any call that can tell so: one line, then nothing works and everything can be let go.
TEST_F(FailureVKTest, lost_device) {
    static constexpr struct {
        const char *function;
        const char *work; // null for each of them
    } rows[] = {
        {"vkQueueSubmit", nullptr},
        {"vkWaitForFences", "buffers"},
        {"vkWaitForFences", "sub-devices"},
        {"vkWaitForFences", "command devices"},
        {"vkQueueWaitIdle", "textures"},
        {"vkQueueBindSparse", "sparse buffer"},
        {"vkQueueBindSparse", "sparse texture"},
        {"vkWaitSemaphores", "timeline"},
        {"vkGetSemaphoreCounterValue", "timeline"},
        {"vkGetQueryPoolResults", "times"},
        {"vkGetQueryPoolResults", "rays"},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.function);
        uint32_t num_lost = 0;
        for(const DeviceWork &work : DeviceWork::getList()) {
            if(row.work && work.name != std::string(row.work)) continue;
            SCOPED_TRACE(work.name);
            reopen();
            DevicePtr other(device->createComputeDevice(2));
            BufferPtr buffer = createBuffer(Buffer::FlagSource, {1, 2, 3});
            ASSERT_TRUE(device->clearBuffer(buffer.get()) && device->flush()) << "work that runs while it is lost";
            ASSERT_EQ(join(takeLog()), "");
            DriverLayer::lose(row.function);
            const bool status = work.run(*device);
            const std::vector<std::string> lines = takeLog();
            if(device->check()) {
                // It was not asked for anything that can tell.
                EXPECT_TRUE(status);
                EXPECT_EQ(join(lines), "");
                DriverLayer::lose(nullptr);
                continue;
            }
            num_lost++;
            checkLines(lines, 3);
            size_t num = 0;
            for(const std::string &line : lines) num += (line == "VK::error(): VK_ERROR_DEVICE_LOST\n");
            EXPECT_EQ(num, 1u) << join(lines);
            EXPECT_FALSE(device->check());
            // An application that takes no notice.
            const size_t memory = Allocator::getMemory();
            for(uint32_t i = 0; i < 20; i++) {
                EXPECT_FALSE(device->flush());
                EXPECT_FALSE(device->flip());
                EXPECT_FALSE(device->finish());
                EXPECT_FALSE(other->flip());
                device->clearBuffer(buffer.get());
            }
            EXPECT_LE(Allocator::getMemory(), memory + (64 << 10));
            work.run(*device);
            checkLines(takeLog(), 8);
            VKOffscreen again;
            EXPECT_FALSE(again.create());
            EXPECT_EQ(takeLog().front(), "VK::getAdapter(): 0 adapter is lost\n");
            buffer.reset();
            other.reset();
            device.reset();
            offscreen.reset();
            DriverLayer::lose(nullptr);
            EXPECT_EQ(join(takeLog()), "");
            if(HasFailure()) break;
        }
        EXPECT_GT(num_lost, 0u);
        if(HasFailure()) break;
    }
    reopen();
}
