// VKSparse.h: the memory of a sparse buffer or texture, page by page.

#pragma once

#include "VKContext.h"

namespace Kolm {

/// Pages that have memory, by their number. A series of changes ends with commit(), which keeps or undoes them.
class VKSparse {
public:
    explicit VKSparse(VKAdapter *adapter) : adapter(adapter) {}

    /// Gives memory to a page that has none, or takes it from one that has some. \p changed tells whether there is
    /// something to bind: \p memory, empty if it was taken. False if no memory is left.
    bool change(uint64_t page, const VkMemoryRequirements &requirements, bool bind, VK::MemoryPtr &memory,
                bool &changed);
    /// Memory that is not needed any more is freed when the context's frame has passed.
    void commit(VKContext *context, bool success);
    void release(VKContext *context);

    bool empty() const { return pages.empty(); }
    /// Bytes of all pages.
    uint64_t getMemory() const { return memory_size; }

private:
    VKAdapter *adapter = nullptr;
    Map<uint64_t, VK::MemoryPtr> pages;
    uint64_t memory_size = 0;
    Array<uint64_t> added; // since the last commit
    Array<uint64_t> removed;
};

} // namespace Kolm
