// VKBuffer.h: a buffer on Vulkan: memory, uploads, read-back and the access that barriers start from.
// Rests on VKContext. The rules of every operation are those of Buffer.

#pragma once

#include "KolmBuffer.h"

#include "VKShared.h"
#include "VKSparse.h"

namespace Kolm {

/// Takes memory and deferred release from the context of the device that made it, which outlives it.
class VKBuffer : public Buffer {
public:
    explicit VKBuffer(VKContext *context);
    ~VKBuffer() override;

    Platform getPlatform() const override { return PlatformVK; }

    void clear() override;
    bool isCreated() const override { return buffer != VK_NULL_HANDLE; }
    void setName(const char *name) override;

    bool create(Flags flags, size_t size, Format format = FormatUnknown) override;
    /// Created and filled: \p data may be null.
    bool create(VKContext *context, Flags flags, const void *data, size_t size, Format format);
    /// Wraps a buffer of the caller, who destroys it. \p access is what was done to it last.
    bool create(Flags flags, size_t size, VkBuffer buffer, VkAccessFlags access);
    /// Second buffer on the memory of a Shared or Interop buffer, which may belong to another adapter.
    bool create(Buffer *buffer) override;

    // Recorded on \p context, which is the device's or a sub-device's. Each logs why and returns false.
    bool set(VKContext *context, size_t offset, const void *data, size_t size);
    /// Submits and waits, unless this is a Read buffer.
    bool get(VKContext *context, size_t offset, void *data, size_t size);
    void *map(size_t offset, size_t size);
    bool unmap();
    bool copy(VKContext *context, size_t offset, VKBuffer *src, size_t src_offset, size_t size);
    bool clear(VKContext *context, Format format, size_t offset, const void *value, size_t size);
    /// Gives memory to pages that have none, or takes it from pages that have some. What is recorded later sees it.
    bool bind(VKContext *context, const size_t *offsets, const size_t *sizes, uint32_t num, bool bind);

    VkBuffer getBuffer() const { return buffer; }
    VkBufferView getBufferView() const { return buffer_view; }
    VkDeviceAddress getDeviceAddress() const { return buffer_address; }
    const VK::MemoryPtr &getBufferMemory() const { return buffer_memory; }
    VkAccessFlags getBufferAccess() const { return buffer_access; }

    /// Records a barrier from the last access to \p access if they differ or with \p force, and remembers it.
    /// \p stages are those of the new access, 0 for all that can do it.
    void setBufferAccess(VKContext *context, VkAccessFlags access, bool force = false, VkPipelineStageFlags stages = 0);
    /// The same into a batch.
    void setBufferAccess(VKContext::Barriers &barriers, VKContext *context, VkAccessFlags access, bool force = false,
                         VkPipelineStageFlags stages = 0);
    /// Whether setBufferAccess() would do something without \p force.
    bool isAccessNeeded(VkAccessFlags access, VkPipelineStageFlags stages) const {
        return (access != buffer_access || (stages & ~buffer_stages));
    }
    /// Remembers an access that was ordered by other means.
    void setBufferAccess(VkAccessFlags access);
    /// Remembers that commands of \p context, recorded now, use the buffer. Command devices may do so at the same time.
    void setUsed(const VKContext *ctx) {
        if(!ctx->isPrimary()) {
            if(!used_outside.load_relaxed()) used_outside.store_relaxed(1);
            return;
        }
        if(used_context && used_context != ctx) used_outside.store_relaxed(1);
        used_context = ctx;
        used_epoch = ctx->getEpoch();
    }

    /// Accesses of a buffer that is used as \p flags say.
    static VkAccessFlags getBufferAccessFlags(Flags flags);

private:
    VkBufferUsageFlags get_usage_flags(Flags flags) const;
    VkMemoryPropertyFlags get_memory_properties(Flags flags) const;
    bool create_buffer(Flags flags, size_t size);
    bool create_memory();
    bool create_objects();
    bool is_idle(const VKContext *context) const;
    void write_access(VKContext *context, size_t offset, size_t size);
    bool set_data(VKContext *context, size_t offset, const uint8_t *data, size_t size);
    bool get_data(VKContext *context, size_t offset, uint8_t *data, size_t size);
    bool fill_data(VKContext *context, size_t offset, size_t size, uint32_t word);
    void destroy();

    VKAdapter *adapter = nullptr;
    VKContext *context = nullptr;
    VkBuffer buffer = VK_NULL_HANDLE;
    VkBufferView buffer_view = VK_NULL_HANDLE;
    // The last access and its stages, from which the next barrier starts. A sub-device may read what another thread
    // wrote; nothing orders them but the application.
    volatile VkAccessFlags buffer_access = 0;
    volatile VkPipelineStageFlags buffer_stages = 0;
    // Who used it last and when: the host may write the memory of a buffer that nothing uses any more.
    const VKContext *used_context = nullptr; // null: nobody
    uint64_t used_epoch = 0;
    Atomici32 used_outside;   // 1: by several contexts, or by commands of the application
    size_t written_begin = 0; // transfer writes since the last barrier; begin == end: none
    size_t written_end = 0;
    VK::MemoryPtr buffer_memory;
    VKSparse buffer_pages;
    VkMemoryRequirements page_memory = {}; // of one page of a Sparse buffer
    VkDeviceAddress buffer_address = 0;
    VKShared buffer_shared;
};

} // namespace Kolm
