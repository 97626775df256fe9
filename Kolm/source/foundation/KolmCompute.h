// KolmCompute.h: the ordered list of operations that a compute recorder has, and the short forms that lean on them.
// Holds no data. The rules about slots are in Recorder, the translation in a backend's class.

#pragma once

#include "KolmSize.h"
#include "KolmSlots.h"

namespace Kolm {

class Image;
class Kernel;
class Traversal;

/// Records compute work and ray tracing on its device. Deleting the object ends the recording; the work runs when the
/// device flushes.
///
/// Bindings are recorded lazily: setters only change slots, which dispatch() flushes. Exhausted memory is logged, and
/// the call is skipped. A recorder belongs to the thread that uses it.
class Compute : public Slots {
public:
    /// What dispatchIndirect() reads: numbers of groups.
    struct DispatchIndirect {
        uint32_t group_width;
        uint32_t group_height;
        uint32_t group_depth;
        uint32_t padding;
    };

    explicit Compute(uint32_t index) : Slots(index) {}

    /// Binds at once. The slots' contents stay; the same object again changes nothing; null unbinds. A kernel takes the
    /// place of a traversal, and the other way round.
    virtual void setKernel(Kernel *kernel) = 0;
    virtual Kernel *getKernel() const = 0;
    virtual void setTraversal(Traversal *traversal) = 0;
    virtual Traversal *getTraversal() const = 0;

    /// Numbers of threads: of a kernel, a number of 2 or more is divided by its group size and rounded up; 0 and 1 are
    /// passed on as they stand. Of a traversal they are rays, unchanged.
    virtual void dispatch(uint32_t width, uint32_t height, uint32_t depth) = 0;
    /// Reads one DispatchIndirect at the indirect offset: numbers of groups. Expects a kernel.
    virtual void dispatchIndirect() = 0;

    // transfers at this place in the order of work; see Device for their arguments
    virtual bool setBuffer(Buffer *buffer, size_t offset, const void *src, size_t size) = 0;
    virtual bool copyBuffer(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) = 0;
    virtual bool clearBuffer(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) = 0;
    using Slots::setTexture;
    virtual bool setTexture(Texture *texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                            const Slice &image_slice) = 0;
    virtual bool copyTexture(Texture *dest, const Origin &origin, const Slice &dest_slice, Texture *src,
                             const Region &region, const Slice &src_slice) = 0;
    virtual bool clearTexture(Texture *texture, const Region &region, const Slice &slice, const void *value) = 0;

    /// Later dispatches, indirect reads and transfers see what earlier dispatches wrote. There is no barrier between
    /// two dispatches without this call.
    virtual void barrier(Texture **textures, uint32_t num) = 0;
    virtual void barrier(Buffer **buffers, uint32_t num) = 0;
    virtual void barrier(Texture *texture) = 0;
    virtual void barrier(Buffer *buffer) = 0;

    // short forms
    void dispatch(uint32_t width) { dispatch(width, 1, 1); }
    void dispatch(uint32_t width, uint32_t height) { dispatch(width, height, 1); }
    void dispatch(const Size &size) { dispatch(size.width, size.height, size.depth); }
    /// One thread for each pixel of the first level.
    void dispatch(const Texture *texture);
    void barrier(const std::initializer_list<Texture *> &textures) {
        barrier(get_list(textures), uint32_t(textures.size()));
    }
    void barrier(const std::initializer_list<Buffer *> &buffers) {
        barrier(get_list(buffers), uint32_t(buffers.size()));
    }
    bool setBuffer(Buffer *buffer, const void *src, size_t size);
    bool setBuffer(Buffer *buffer, const void *src);
    bool copyBuffer(Buffer *dest, Buffer *src, size_t size);
    bool copyBuffer(Buffer *dest, Buffer *src);
    bool clearBuffer(Buffer *buffer, Format format, const void *value, size_t size);
    bool clearBuffer(Buffer *buffer, Format format, const void *value);
    bool clearBuffer(Buffer *buffer);
    bool setTexture(Texture *texture, const Origin &origin, const Image &image);
    bool setTexture(Texture *texture, const Image &image);
    bool copyTexture(Texture *dest, const Origin &origin, Texture *src, const Region &region);
    bool copyTexture(Texture *dest, const Slice &dest_slice, Texture *src, const Slice &src_slice);
    bool copyTexture(Texture *dest, Texture *src);
    bool clearTexture(Texture *texture, const Region &region, const void *value);
    bool clearTexture(Texture *texture, const Slice &slice, const void *value);
    bool clearTexture(Texture *texture, const void *value = nullptr);
};

static_assert(sizeof(Compute::DispatchIndirect) == 16);

} // namespace Kolm
