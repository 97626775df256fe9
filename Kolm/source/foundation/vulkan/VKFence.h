// VKFence.h: a counter of signals for the host and for other queues: a timeline semaphore where the device has them.
// Rests on VKContext, whose submissions wait and signal. Hides what stands in for a timeline.

#pragma once

#include "KolmFence.h"

#include "VKContext.h"

namespace Kolm {

class VKFence : public Fence {
public:
    explicit VKFence(VKContext *context);
    ~VKFence() override;

    Platform getPlatform() const override { return PlatformVK; }

    void clear() override;
    bool isCreated() const override { return is_created; }
    void setName(const char *name) override;
    bool create(Flags flags = DefaultFlags) override;
    bool create(Fence *fence) override;
    int32_t getHandle() const override;

    /// Lets the next submission of \p context wait for the last signal.
    bool wait(VKContext *context) const;
    /// Lets the next submission of \p context give the signal of getValue(), and submits what was recorded.
    bool signal(VKContext *context);
    /// The same, for a flip that follows at once and submits.
    bool signalFlip(VKContext *context);

    /// The timeline, null where the device has none.
    VkSemaphore getSemaphore() const { return timeline ? timeline->semaphore : VK_NULL_HANDLE; }

    using Fence::wait;

protected:
    bool wait_value(uint64_t value, uint64_t timeout) const override;

private:
    bool check(const char *method, const VKContext *context) const;
    bool create_timeline();
    bool submit_signal(VKContext *context);

    VKContext *context = nullptr;
    bool is_created = false;
    const VKContext *last_context = nullptr; // gave the last signal; only compared
    VKContext::Signal *timeline = nullptr;
    VKContext::Signal *signal_fence = nullptr; // of the last signal, where there are no timelines
};

} // namespace Kolm
