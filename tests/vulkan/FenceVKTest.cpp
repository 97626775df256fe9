// Fences between the device, the host and other devices. A gate, which the host opens, holds submissions back: what waits
// behind it can't be done by chance.

#include <thread>

#include "GpuTest.h"
#include "VKFence.h"

using namespace Kolm;

class FenceVKTest : public GpuTest {
protected:
    using FencePtr = std::unique_ptr<Fence>;

    static constexpr uint64_t short_time = 2000000; // nanoseconds

    /// The next submission of \p target waits until the gate is opened.
    void close_gate(Device *target) {
        auto type = vk_record<VkSemaphoreTypeCreateInfo>(VK_STRUCTURE_TYPE_SEMAPHORE_TYPE_CREATE_INFO);
        type.semaphoreType = VK_SEMAPHORE_TYPE_TIMELINE;
        const auto info = vk_record<VkSemaphoreCreateInfo>(VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO, &type);
        VKContext::Signal *signal = new VKContext::Signal(getAdapter()->getDevice());
        ASSERT_EQ(vkCreateSemaphore(getAdapter()->getDevice(), &info, nullptr, &signal->semaphore), VK_SUCCESS);
        static_cast<VKDevice *>(target)->getContext()->addWaitSignal(signal, 1);
        gate = signal;
    }
    void open_gate() {
        const auto open = PFN_vkSignalSemaphore(VK::getProcAddress("vkSignalSemaphore"));
        ASSERT_TRUE(open);
        auto info = vk_record<VkSemaphoreSignalInfo>(VK_STRUCTURE_TYPE_SEMAPHORE_SIGNAL_INFO);
        info.semaphore = gate->semaphore;
        info.value = 1;
        ASSERT_EQ(open(getAdapter()->getDevice(), &info), VK_SUCCESS);
        VKContext::Signal::release(gate);
        gate = nullptr;
    }
    void reopen(const char *hidden) {
        device.reset();
        offscreen.reset();
        VK::hideAdapterExtension(nullptr);
        if(hidden) VK::hideAdapterExtension(hidden);
        offscreen.reset(new VKOffscreen());
        ASSERT_TRUE(offscreen->create());
        device.reset(new VKDevice(offscreen.get()));
    }

    VKContext::Signal *gate = nullptr;
};

TEST_F(FenceVKTest, host_waits) {
    for(const Fence::Flags flags : {Fence::FlagNone, Fence::FlagTimeline}) {
        FencePtr fence(device->createFence(flags));
        ASSERT_TRUE(fence);
        EXPECT_TRUE(fence->isSignaled()) << "nothing was asked for";
        EXPECT_TRUE(fence->wait());
        ASSERT_TRUE(device->signalFence(fence.get()));
        EXPECT_TRUE(fence->wait());

        close_gate(device.get());
        ASSERT_TRUE(device->signalFence(fence.get()));
        EXPECT_EQ(fence->getValue(), 2u);
        EXPECT_FALSE(fence->isSignaled());
        EXPECT_FALSE(fence->wait(0));
        EXPECT_FALSE(fence->wait(short_time));
        if(flags) {
            EXPECT_TRUE(fence->wait(1, 0)) << "the first signal stays known";
            EXPECT_FALSE(fence->wait(2, short_time));
        }
        open_gate();
        EXPECT_TRUE(fence->wait());
        EXPECT_TRUE(fence->isSignaled());

        close_gate(device.get());
        ASSERT_TRUE(device->flip(fence.get()));
        EXPECT_FALSE(fence->isSignaled()) << "a flip signals";
        open_gate();
        EXPECT_TRUE(fence->wait(3, Fence::Infinite));
        ASSERT_TRUE(device->finish());
    }
}

// What another device submits behind a wait comes after the signal, and a fence may go while it is in use.
TEST_F(FenceVKTest, orders_devices) {
    for(const char *hidden : {static_cast<const char *>(nullptr), "KHR_timeline_semaphore"}) {
        reopen(hidden);
        DevicePtr other(device->createComputeDevice(2));
        BufferPtr buffer = createBuffer(Buffer::FlagSource, std::vector<uint32_t>(1024, 0));
        BufferPtr copy = createBuffer(Buffer::FlagSource, std::vector<uint32_t>(1024, 7));
        ASSERT_TRUE(device->finish());
        FencePtr fences[2];
        for(FencePtr &fence : fences) fence.reset(device->createFence(Fence::FlagNone));
        for(uint32_t i = 1; i <= 6; i++) {
            if(hidden == nullptr && i == 3) close_gate(device.get());
            ASSERT_TRUE(device->clearBuffer(buffer.get(), FormatRu32, &i));
            ASSERT_TRUE(device->signalFence(fences[0].get()));
            ASSERT_TRUE(other->waitFence(fences[0].get()));
            ASSERT_TRUE(other->copyBuffer(copy.get(), buffer.get()));
            ASSERT_TRUE(other->signalFence(fences[1].get()));
            if(gate) {
                EXPECT_FALSE(fences[1]->wait(short_time));
                open_gate();
            }
            ASSERT_TRUE(device->waitFence(fences[1].get()));
            if(i == 4) {
                fences[0].reset(device->createFence(Fence::FlagNone));
                fences[1].reset(device->createFence(Fence::FlagNone));
            }
            if(i % 2) continue;
            ASSERT_TRUE(device->finish());
            ASSERT_TRUE(other->finish());
            EXPECT_EQ(getWords(copy.get()), std::vector<uint32_t>(1024, i));
        }
    }
    reopen(nullptr);
}

// Signals of one fence from two threads' devices: values come in the order in which they were asked for.
TEST_F(FenceVKTest, signals_of_two_devices) {
    FencePtr fence(device->createFence(Fence::FlagTimeline));
    DevicePtr other(device->createComputeDevice(2));
    ASSERT_TRUE(fence && other);
    close_gate(device.get());
    ASSERT_TRUE(device->signalFence(fence.get()));
    ASSERT_TRUE(other->signalFence(fence.get()));
    EXPECT_FALSE(fence->wait(1, short_time));
    EXPECT_FALSE(fence->wait(2, 0));
    open_gate();
    EXPECT_TRUE(fence->wait());
    std::thread thread([&] { EXPECT_TRUE(fence->wait(1, Fence::Infinite)); });
    thread.join();
    ASSERT_TRUE(device->finish());
    ASSERT_TRUE(other->finish());
}

TEST_F(FenceVKTest, handles_and_refusals) {
    FencePtr fence(device->createFence(Fence::FlagNone));
    EXPECT_EQ(fence->getHandle(), -1);
    expectLog("Fence::create(): fence has no Shared flag");
    EXPECT_FALSE(FencePtr(device->createFence(fence.get())));
    if(getAdapter()->has_external_semaphore) {
        FencePtr shared(device->createFence(Fence::FlagShared | Fence::FlagTimeline));
        ASSERT_TRUE(shared);
        ASSERT_TRUE(device->signalFence(shared.get()));
        FencePtr second(device->createFence(shared.get()));
        ASSERT_TRUE(second);
        EXPECT_TRUE(second->wait());
        EXPECT_EQ(second->getValue(), 1u);
        EXPECT_EQ(second->getHandle(), -1);
    } else {
        expectLog("VKFence::create(): handles are not supported");
        EXPECT_FALSE(FencePtr(device->createFence(Fence::FlagShared)));
    }
    DevicePtr child(device->createCommandDevice(3));
    expectLog("VKFence::signal(): command devices have no queue");
    expectLog("VKFence::wait(): command devices have no queue");
    EXPECT_FALSE(child->signalFence(fence.get()));
    EXPECT_EQ(fence->getValue(), 0u);
    ASSERT_TRUE(device->signalFence(fence.get()));
    EXPECT_FALSE(child->waitFence(fence.get()));
    child.reset();
    fence.reset();

    reopen("KHR_timeline_semaphore");
    expectLog("VKFence::create(): timelines are not supported");
    EXPECT_FALSE(FencePtr(device->createFence(Fence::FlagTimeline)));
    FencePtr plain(device->createFence(Fence::FlagNone));
    ASSERT_TRUE(plain);
    for(uint32_t i = 0; i < 10; i++) {
        ASSERT_TRUE(device->signalFence(plain.get()));
        EXPECT_TRUE(plain->wait());
        EXPECT_TRUE(plain->isSignaled());
        ASSERT_TRUE(device->flip(plain.get()));
        EXPECT_TRUE(plain->wait(Fence::Infinite));
    }
    plain.reset();
    reopen(nullptr);
}
