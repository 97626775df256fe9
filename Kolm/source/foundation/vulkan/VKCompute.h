// VKCompute.h: records dispatches of kernels and rays. Rests on the slots and rules of ComputeRecorder, on VKRecorder,
// VKKernel and VKTraversal.

#pragma once

#include "KolmComputeRecorder.h"

#include "VKRecorder.h"

namespace Kolm {

class VKKernel;
class VKTraversal;

/// Survives everything that changes its context's command buffer.
class VKCompute : public ComputeRecorder {
public:
    VKCompute(VKContext *context, const Device::Features &features);

    Platform getPlatform() const override { return PlatformVK; }

    VKContext *getContext() const { return recorder.getContext(); }
    /// Descriptor sets written since construction: what changes of offsets alone do not add to.
    uint64_t getNumDescriptors() const { return recorder.getNumDescriptors(); }

protected:
    void bind_kernel(Kernel *kernel) override;
    void bind_traversal(Traversal *traversal) override;
    bool allocate_memory(Transient type, size_t size, Memory &memory) override;
    bool record_dispatch(uint32_t width, uint32_t height, uint32_t depth) override;
    bool record_dispatch_indirect() override;
    bool record_trace(uint32_t width, uint32_t height, uint32_t depth) override;
    bool record_set(Buffer *buffer, size_t offset, const void *src, size_t size) override;
    bool record_copy(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) override;
    bool record_clear(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) override;
    bool record_set_texture(Texture *texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                            const Slice &image_slice) override;
    bool record_copy_texture(Texture *dest, const Origin &origin, const Slice &dest_slice, Texture *src,
                             const Region &region, const Slice &src_slice) override;
    bool record_clear_texture(Texture *texture, const Region &region, const Slice &slice, const void *value) override;
    void record_barrier(Buffer **buffers, uint32_t num) override;
    void record_texture_barrier(Texture **textures, uint32_t num) override;
    void record_begin_conditional(Buffer *buffer, size_t offset) override;
    void record_end_conditional() override;
    bool record_begin_query(Query *query) override;
    bool record_end_query(Query *query) override;

private:
    void check_target(const char *method) const;
    bool update(const Slot *source);
    bool update() { return KOLM_LIKELY(recorder.isSettled()) ? recorder.updateOffsets() : update(nullptr); }
    bool check_rays(uint32_t width, uint32_t height, uint32_t depth) const;
    VkPipelineStageFlags get_stages() const;

    VKAdapter *adapter;
    VKContext *context;
    VKRecorder recorder;
    VKKernel *vk_kernel = nullptr; // at most one of the two is set
    VKTraversal *vk_traversal = nullptr;
};

} // namespace Kolm
