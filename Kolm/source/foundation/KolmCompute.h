// KolmCompute.h: the ordered list of operations that a compute recorder has, and the short forms that lean on them.
// Holds no data. The rules about slots are in ComputeRecorder, the translation in a backend's class.

#pragma once

#include "KolmBuffer.h"
#include "KolmPlatform.h"

namespace Kolm {

class Kernel;
struct Size;

/// Records compute work on its device. Deleting the object ends the recording; the work runs when the device flushes.
///
/// Bindings are recorded lazily: setters only change slots, which dispatch() flushes. Setting an index that the kernel
/// does not have, a buffer without the flag that the slot needs or anything without a kernel is the caller's mistake.
/// Exhausted memory is logged, and the call is skipped. A recorder belongs to the thread that uses it.
class Compute : public PlatformBase {
public:
    /// What dispatchIndirect() reads: numbers of groups.
    struct DispatchIndirect {
        uint32_t group_width;
        uint32_t group_height;
        uint32_t group_depth;
        uint32_t padding;
    };

    explicit Compute(uint32_t index) : PlatformBase(index) {}

    /// Binds at once. The slots' contents stay; the same kernel again changes nothing; null unbinds.
    virtual void setKernel(Kernel *kernel) = 0;
    virtual Kernel *getKernel() const = 0;

    // uniform slots. Data lives until the frame's work ran; the pointer is to be filled before the next call.
    /// Transient memory bound to the slot, or null.
    virtual void *getUniformData(uint32_t index, size_t size) = 0;
    virtual void setUniformData(uint32_t index, const void *src, size_t size) = 0;
    /// Size 0 is the rest of the buffer. A null buffer empties the slot.
    virtual void setUniformBuffer(uint32_t index, Buffer *buffer, size_t offset = 0, size_t size = 0) = 0;
    /// Whole buffers from \p offsets on, which may be null.
    virtual void setUniformBuffers(uint32_t index, Buffer **buffers, uint32_t num, const size_t *offsets = nullptr) = 0;
    /// Moves the slot's range, with \p relative by \p offset bytes.
    virtual void setUniformOffset(uint32_t index, size_t offset, bool relative = false) = 0;

    // storage slots, likewise
    virtual void *getStorageData(uint32_t index, size_t size) = 0;
    virtual void setStorageData(uint32_t index, const void *src, size_t size) = 0;
    virtual void setStorageBuffer(uint32_t index, Buffer *buffer, size_t offset = 0, size_t size = 0) = 0;
    virtual void setStorageBuffers(uint32_t index, Buffer **buffers, uint32_t num, const size_t *offsets = nullptr) = 0;
    virtual void setStorageOffset(uint32_t index, size_t offset, bool relative = false) = 0;

    // texel slots
    virtual void setTexelBuffer(uint32_t index, Buffer *buffer) = 0;
    virtual void setTexelBuffers(uint32_t index, Buffer **buffers, uint32_t num) = 0;

    // source of dispatchIndirect()
    virtual void *getIndirectData(size_t size) = 0;
    virtual void setIndirectData(const void *src, size_t size) = 0;
    virtual void setIndirectBuffer(Buffer *buffer, size_t offset = 0) = 0;
    virtual void setIndirectOffset(size_t offset, bool relative = false) = 0;

    /// Numbers of threads. A number of 2 or more is divided by the kernel's group size and rounded up; 0 and 1 are
    /// passed on as they stand.
    virtual void dispatch(uint32_t width, uint32_t height, uint32_t depth) = 0;
    /// Reads one DispatchIndirect at the indirect offset: numbers of groups.
    virtual void dispatchIndirect() = 0;

    // transfers at this place in the order of work
    virtual bool setBuffer(Buffer *buffer, size_t offset, const void *src, size_t size) = 0;
    virtual bool copyBuffer(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) = 0;
    virtual bool clearBuffer(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) = 0;

    /// Later dispatches, indirect reads and transfers see what earlier dispatches wrote to the buffers. There is no
    /// barrier between two dispatches without this call.
    virtual void barrier(Buffer **buffers, uint32_t num) = 0;
    virtual void barrier(Buffer *buffer) = 0;

    /// Work until endConditional() is skipped if the 32-bit word at \p offset is zero.
    virtual void beginConditional(Buffer *buffer, size_t offset) = 0;
    virtual void endConditional() = 0;

    // short forms
    void setUniformBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers);
    void setUniformBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers,
                           const std::initializer_list<size_t> &offsets);
    void setStorageBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers);
    void setStorageBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers,
                           const std::initializer_list<size_t> &offsets);
    void setTexelBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers);
    void dispatch(uint32_t width) { dispatch(width, 1, 1); }
    void dispatch(uint32_t width, uint32_t height) { dispatch(width, height, 1); }
    void dispatch(const Size &size);
    void barrier(const std::initializer_list<Buffer *> &buffers);
    bool setBuffer(Buffer *buffer, const void *src, size_t size);
    bool setBuffer(Buffer *buffer, const void *src);
    bool copyBuffer(Buffer *dest, Buffer *src, size_t size);
    bool copyBuffer(Buffer *dest, Buffer *src);
    bool clearBuffer(Buffer *buffer, Format format, const void *value, size_t size);
    bool clearBuffer(Buffer *buffer, Format format, const void *value);
    bool clearBuffer(Buffer *buffer);

    /// Plain data by value.
    template<class Type> void setUniform(uint32_t index, const Type &data) {
        setUniformData(index, &data, sizeof(Type));
    }
    template<class Type> void setStorage(uint32_t index, const Type &data) {
        setStorageData(index, &data, sizeof(Type));
    }
    template<class Type> void setIndirect(const Type &data) { setIndirectData(&data, sizeof(Type)); }
};

static_assert(sizeof(Compute::DispatchIndirect) == 16);

} // namespace Kolm
