// Vulkan's side of a fence.

#pragma once

#include <platform/OstrevanFence.h>
#include <platform/OstrevanVK.h>

namespace Ostrevan {

/// Fence on Vulkan.
class OSTREVAN_API VKFence : public Fence {
    OSTREVAN_HANDLE(VKFence)
public:
    VKFence();
    /// View of the fence, which does not keep it alive. One of another platform is refused with one line.
    explicit VKFence(const Fence &fence);

    /// Timeline whose value is the number of signals, null where the device has none.
    VkSemaphore getVKSemaphore() const;
};

} // namespace Ostrevan
