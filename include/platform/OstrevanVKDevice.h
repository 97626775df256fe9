// Vulkan's side of a device.

#pragma once

#include <platform/OstrevanDevice.h>
#include <platform/OstrevanVK.h>

namespace Ostrevan {

/// Device on Vulkan.
class OSTREVAN_API VKDevice : public Device {
    OSTREVAN_HANDLE(VKDevice)
public:
    VKDevice();
    /// View of the device, which does not keep it alive. One of another platform is refused with one line.
    explicit VKDevice(const Device &device);

    /// Tells what the application's own commands did to a buffer last, as VkAccessFlags.
    void setBufferAccess(const Buffer &buffer, uint32_t access);
    /// Tells which layout the application's own commands left a texture in, as VkImageLayout.
    void setTextureLayout(const Texture &texture, uint32_t layout);

    /// Waits for a VkFence, \p timeout in nanoseconds, and resets it with \p reset. False when the time is over.
    bool waitVKFence(void *fence, uint64_t timeout, bool reset);
    /// Submits the recorded work with a VkFence that is signalled when it ran.
    bool signalVKFence(void *fence);

    /// The next submission waits for a VkSemaphore at the given VkPipelineStageFlags, or signals it.
    void waitSemaphore(void *semaphore, uint32_t stage_mask);
    void signalSemaphore(void *semaphore);

    /// Memory types by VkMemoryPropertyFlags; ~0 and one line if no type of the mask has them.
    bool hasMemoryType(uint32_t flags) const;
    uint32_t getMemoryIndex(uint32_t type_bits, uint32_t flags) const;

    VkInstance getInstance() const;
    VkPhysicalDevice getAdapter() const;
    VkDevice getVKDevice() const;
    VkQueue getQueue() const;
    /// Command buffer that is recorded now. Not kept over flush, finish and flip.
    VkCommandBuffer getCommand() const;
    /// Family of the queue.
    uint32_t getFamily() const;
};

} // namespace Ostrevan
