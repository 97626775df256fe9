// Vulkan's side of a buffer.

#pragma once

#include <platform/OstrevanBuffer.h>
#include <platform/OstrevanVK.h>

namespace Ostrevan {

/// Buffer on Vulkan.
class OSTREVAN_API VKBuffer : public Buffer {
    OSTREVAN_HANDLE(VKBuffer)
public:
    VKBuffer();
    /// View of the buffer, which does not keep it alive. One of another platform is refused with one line.
    explicit VKBuffer(const Buffer &buffer);

    using Buffer::create;
    /// Wraps a buffer of the caller, who destroys it. \p access is what was done to it last, as VkAccessFlags.
    bool create(Flags flags, size_t size, VkBuffer buffer, uint32_t access);

    VkBuffer getVKBuffer() const;
    /// View of a Texel buffer, null for others.
    VkBufferView getVKBufferView() const;
    /// Address in shaders of an Address buffer, 0 for others.
    uint64_t getDeviceAddress() const;
    /// What was done to the buffer last, as VkAccessFlags.
    uint32_t getBufferAccess() const;
};

} // namespace Ostrevan
