// VKShared.h: memory that several adapters or APIs use: host memory that each imports, or memory with a handle.

#pragma once

#include "VKContext.h"

namespace Kolm {

/// What a Shared or Interop buffer or texture has beside its memory.
class VKShared {
public:
    explicit VKShared(VKAdapter *adapter) : adapter(adapter) {}

    /// Host memory for \p size bytes, zeroed and aligned as imports need it.
    bool allocate(uint64_t size);
    /// Shares the host memory, or takes a copy of the handle for the next import. False if \p src has neither.
    bool share(const VKShared &src);
    /// Handle of memory that was allocated for export.
    bool open(VkDeviceMemory memory);
    /// Gives back what is this object's. Host memory is freed when no import is left: \p context waits for that.
    void release(VKContext *context, bool has_memory);

    bool isHost() const { return ptr != nullptr; }
    int32_t getHandle() const { return handle; }

    /// Memory for \p requirements: the host memory where there is some, else exported with \p is_export or imported by
    /// the handle, else plain. \p next extends the allocation. Empty on failure.
    VK::MemoryPtr allocateMemory(VkMemoryRequirements requirements, VkMemoryPropertyFlags flags, bool is_export,
                                 const void *next = nullptr);

    /// Kinds of handles for the creation of a buffer or image.
    static VkExternalMemoryHandleTypeFlags getHandleTypes(bool is_shared, bool is_interop);

private:
    VKAdapter *adapter = nullptr;
    void *ptr = nullptr; // host memory
    size_t size = 0;     // bytes of it
    bool owner = false;  // it is freed with this object
    int32_t handle = -1; // file descriptor
    bool import = false; // the handle is to be imported
};

} // namespace Kolm
