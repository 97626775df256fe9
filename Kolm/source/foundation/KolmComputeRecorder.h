// KolmComputeRecorder.h: what every backend's compute recorder has in common.
// Rests on Recorder. Holds the bound kernel or traversal and tests every call before anything reaches an API.

#pragma once

#include "KolmCompute.h"
#include "KolmKernel.h"
#include "KolmSlotRecorder.h"
#include "KolmTraversal.h"

namespace Kolm {

/// Base of the backends' compute recorders.
class ComputeRecorder : public SlotRecorder<Compute> {
public:
    ComputeRecorder(uint32_t index, const Device::Features &features);

    void setKernel(Kernel *kernel) override;
    Kernel *getKernel() const override { return kernel; }
    void setTraversal(Traversal *traversal) override;
    Traversal *getTraversal() const override { return traversal; }

    void dispatch(uint32_t width, uint32_t height, uint32_t depth) override;
    void dispatchIndirect() override;

    bool setBuffer(Buffer *buffer, size_t offset, const void *src, size_t size) override;
    bool copyBuffer(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) override;
    bool clearBuffer(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) override;
    bool setTexture(Texture *texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                    const Slice &image_slice) override;
    bool copyTexture(Texture *dest, const Origin &origin, const Slice &dest_slice, Texture *src, const Region &region,
                     const Slice &src_slice) override;
    bool clearTexture(Texture *texture, const Region &region, const Slice &slice, const void *value) override;

    void barrier(Texture **textures, uint32_t num) override;
    void barrier(Buffer **buffers, uint32_t num) override;
    void barrier(Texture *texture) override { barrier(&texture, 1); }
    void barrier(Buffer *buffer) override { barrier(&buffer, 1); }

    using Compute::barrier;
    using Compute::clearBuffer;
    using Compute::clearTexture;
    using Compute::copyBuffer;
    using Compute::copyTexture;
    using Compute::dispatch;
    using Compute::setBuffer;
    using Compute::setTexture;

protected:
    // What a backend gives. All arguments were tested; the kernel is created and has a shader. The defaults refuse with
    // one line.
    /// The kernel changed, possibly to null. update_mask holds all groups then.
    virtual void bind_kernel(Kernel *kernel) = 0;
    virtual void bind_traversal(Traversal *traversal);
    /// Groups to run. Slots and `update_mask` tell what to bind before; the recorder clears the mask when the result is
    /// true. False, with the reason logged, skips the call.
    virtual bool record_dispatch(uint32_t width, uint32_t height, uint32_t depth) = 0;
    virtual bool record_dispatch_indirect() = 0;
    /// Rays of the bound traversal.
    virtual bool record_trace(uint32_t width, uint32_t height, uint32_t depth);
    /// Ranges were tested, offsets and sizes lie in the buffers.
    virtual bool record_set(Buffer *buffer, size_t offset, const void *src, size_t size) = 0;
    virtual bool record_copy(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) = 0;
    virtual bool record_clear(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) = 0;
    virtual bool record_set_texture(Texture *texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                                    const Slice &image_slice);
    virtual bool record_copy_texture(Texture *dest, const Origin &origin, const Slice &dest_slice, Texture *src,
                                     const Region &region, const Slice &src_slice);
    virtual bool record_clear_texture(Texture *texture, const Region &region, const Slice &slice, const void *value);
    virtual void record_barrier(Buffer **buffers, uint32_t num) = 0;
    virtual void record_texture_barrier(Texture **textures, uint32_t num);

    Kernel *kernel = nullptr; // at most one of the two is set
    Traversal *traversal = nullptr;

private:
    uint32_t max_groups[3]; // of a dispatch, ~0u without a limit

    static uint32_t get_groups(const Caller &caller, const char *name, uint32_t threads, uint32_t group_size);
};

} // namespace Kolm
