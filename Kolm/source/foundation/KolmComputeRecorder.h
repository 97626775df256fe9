// KolmComputeRecorder.h: what every backend's compute recorder has in common.
// Rests on Kernel and Buffer. Holds the bound kernel and its slots, tests every call before anything reaches an API,
// and tells the backend which groups of slots changed. A backend translates ten calls.

#pragma once

#include "KolmCompute.h"
#include "KolmDevice.h"
#include "KolmKernel.h"

namespace Kolm {

/// Base of the backends' compute recorders. Mistakes of the caller end the process with one line, "VKCompute::method():
/// text", that names the kernel or buffer, what was given and what is allowed.
class ComputeRecorder : public Compute {
public:
    ComputeRecorder(uint32_t index, const Device::Features &features);

    void setKernel(Kernel *kernel) override;
    Kernel *getKernel() const override { return kernel; }

    void *getUniformData(uint32_t index, size_t size) override;
    void setUniformData(uint32_t index, const void *src, size_t size) override;
    void setUniformBuffer(uint32_t index, Buffer *buffer, size_t offset, size_t size) override;
    void setUniformBuffers(uint32_t index, Buffer **buffers, uint32_t num, const size_t *offsets) override;
    void setUniformOffset(uint32_t index, size_t offset, bool relative) override;

    void *getStorageData(uint32_t index, size_t size) override;
    void setStorageData(uint32_t index, const void *src, size_t size) override;
    void setStorageBuffer(uint32_t index, Buffer *buffer, size_t offset, size_t size) override;
    void setStorageBuffers(uint32_t index, Buffer **buffers, uint32_t num, const size_t *offsets) override;
    void setStorageOffset(uint32_t index, size_t offset, bool relative) override;

    void setTexelBuffer(uint32_t index, Buffer *buffer) override;
    void setTexelBuffers(uint32_t index, Buffer **buffers, uint32_t num) override;

    void *getIndirectData(size_t size) override;
    void setIndirectData(const void *src, size_t size) override;
    void setIndirectBuffer(Buffer *buffer, size_t offset) override;
    void setIndirectOffset(size_t offset, bool relative) override;

    void dispatch(uint32_t width, uint32_t height, uint32_t depth) override;
    void dispatchIndirect() override;

    bool setBuffer(Buffer *buffer, size_t offset, const void *src, size_t size) override;
    bool copyBuffer(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) override;
    bool clearBuffer(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) override;

    void barrier(Buffer **buffers, uint32_t num) override;
    void barrier(Buffer *buffer) override;

    void beginConditional(Buffer *buffer, size_t offset) override;
    void endConditional() override;

    using Compute::barrier;
    using Compute::clearBuffer;
    using Compute::copyBuffer;
    using Compute::dispatch;
    using Compute::setBuffer;
    using Compute::setStorageBuffers;
    using Compute::setTexelBuffers;
    using Compute::setUniformBuffers;

protected:
    /// Groups of slots that changed since the last dispatch.
    enum Update : uint32_t {
        UpdateSampler = 1 << 0,
        UpdateTexture = 1 << 1,
        UpdateSurface = 1 << 2,
        UpdateUniform = 1 << 3,
        UpdateStorage = 1 << 4,
        UpdateTracing = 1 << 5,
        UpdateTexel = 1 << 6,
        UpdateTextureTable = 1 << 7,
        UpdateStorageTable = 1 << 8,
        UpdateAll = (1 << 9) - 1,
        UpdateUniformOffset = 1 << 9, // offsets alone: no descriptor has to be written
        UpdateStorageOffset = 1 << 10,
    };

    /// Kinds of transient memory.
    enum Transient { TransientUniform = 0, TransientStorage, TransientIndirect, NumTransients };

    /// Bytes of a frame's transient memory. `handle` is the backend's name of the buffer that they lie in.
    struct Memory {
        void *data = nullptr;
        uint64_t handle = 0;
        size_t offset = 0;
    };

    /// What a uniform, storage or indirect slot binds: either a buffer or transient memory.
    struct Slot {
        Buffer *buffer = nullptr; // null for transient memory
        uint64_t handle = 0;      // the transient buffer, 0 for a buffer object
        size_t base = 0;          // where the slot's memory begins in the buffer: 0 for a buffer object
        size_t total = 0;         // bytes of the slot's memory
        size_t offset = 0;        // bytes from the buffer's start, base included
        size_t size = 0;          // bytes of the range that is bound
        bool rest = false;        // the range goes to the end of the memory: its size follows the offset

        bool isSet() const { return (buffer || handle); }
    };

    // What a backend gives. All arguments were tested; the kernel is created and has a shader.
    /// The kernel changed, possibly to null. update_mask holds all groups then.
    virtual void bind_kernel(Kernel *kernel) = 0;
    /// Memory of this frame at the alignment of its kind. False without a line of its own when there is none.
    virtual bool allocate_memory(Transient type, size_t size, Memory &memory) = 0;
    /// Groups to run. Slots and `update_mask` tell what to bind before; the recorder clears the mask when the result is
    /// true. False, with the reason logged, skips the call.
    virtual bool record_dispatch(uint32_t width, uint32_t height, uint32_t depth) = 0;
    virtual bool record_dispatch_indirect() = 0;
    /// Ranges were tested, offsets and sizes lie in the buffers.
    virtual bool record_set(Buffer *buffer, size_t offset, const void *src, size_t size) = 0;
    virtual bool record_copy(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) = 0;
    virtual bool record_clear(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) = 0;
    virtual void record_barrier(Buffer **buffers, uint32_t num) = 0;
    virtual void record_begin_conditional(Buffer *buffer, size_t offset) = 0;
    virtual void record_end_conditional() = 0;

    /// Forgets transient memory: a backend calls it when a frame's memory is gone under an open recorder.
    void clear_memory();

    const Device::Features &features;
    Kernel *kernel = nullptr;
    Slot uniforms[Kernel::NumUniforms];
    Slot storages[Kernel::NumStorages];
    Buffer *texels[Kernel::NumTexels] = {};
    Slot indirect;
    uint32_t update_mask = UpdateAll;
    bool is_conditional = false; // between beginConditional() and endConditional()

private:
    struct SlotKind; // what differs between the kinds of slots

    [[noreturn]] void fail(const char *method, const char *format, ...) const KOLM_PRINTF(3, 4);
    void check_kernel(const char *method) const;
    void check_created(const char *method, const Buffer *buffer) const;
    void check_flag(const char *method, const Buffer *buffer, Buffer::Flags flag) const;
    SlotKind get_uniform_kind();
    SlotKind get_storage_kind();
    SlotKind get_indirect_kind();
    Slot &get_slot(const SlotKind &kind, const char *method, uint32_t index);
    void *get_data(const SlotKind &kind, const char *method, uint32_t index, size_t size);
    void set_buffer(const SlotKind &kind, const char *method, uint32_t index, Buffer *buffer, size_t offset,
                    size_t size);
    void set_buffers(const SlotKind &kind, const char *method, uint32_t index, Buffer **buffers, uint32_t num,
                     const size_t *offsets);
    void set_offset(const SlotKind &kind, const char *method, uint32_t index, size_t offset, bool relative);
    void set_range(const SlotKind &kind, const char *method, uint32_t index, Slot &slot, size_t offset, size_t size);
    uint32_t get_groups(const char *name, uint32_t threads, uint32_t group_size) const;
    bool check_slots(const char *method) const;

    bool has_warned = false; // of a storage range above the limit: once for a recorder
};

} // namespace Kolm
