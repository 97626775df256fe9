// Recorder of compute work.

#pragma once

#include <initializer_list>

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanArray.h>
#include <format/OstrevanFormat.h>
#include <format/OstrevanSize.h>
#include <format/OstrevanSlice.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

class Buffer;
class Kernel;

/// Records compute work on its device, made by Device::createCompute(). The last handle ends the recording; the work
/// runs when the device flushes. Kernels and buffers stay alive until the last dispatch that uses them; what was
/// recorded keeps what it needs.
///
/// Bindings are recorded lazily: setters only change slots, which dispatch() flushes. An index that the kernel does not
/// have, a buffer without the flag that its slot needs, an offset off the device's alignment and anything without a
/// kernel end the process with one line. Exhausted memory is logged, and the call is skipped. A recorder belongs to the
/// thread that uses it.
///
///     {
///         Compute compute = device.createCompute();
///         compute.setKernel(kernel);
///         compute.setUniform(0, parameters);
///         compute.setStorageBuffer(0, buffer);
///         compute.dispatch(width, height);
///         compute.barrier(buffer);
///     }
///     device.finish();
class OSTREVAN_API Compute {
    OSTREVAN_HANDLE(Compute)
public:
    /// What dispatchIndirect() reads: numbers of groups.
    struct DispatchIndirect {
        uint32_t group_width;
        uint32_t group_height;
        uint32_t group_depth;
        uint32_t padding;
    };

    Compute();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    uint32_t getIndex() const;

    /// Binds at once. The slots' contents stay; the same kernel again changes nothing; an empty handle unbinds.
    void setKernel(const Kernel &kernel);
    Kernel getKernel() const;

    // samplers and textures; without a slice it is all of the texture. An empty handle empties the slot
    void setSampler(uint32_t index, const Sampler &sampler);
    void setSamplers(uint32_t index, const std::initializer_list<Sampler> &samplers);
    void setSamplers(uint32_t index, const Array<Sampler> &samplers);
    void setTexture(uint32_t index, const Texture &texture);
    void setTextures(uint32_t index, const std::initializer_list<Texture> &textures);
    void setTextures(uint32_t index, const Array<Texture> &textures);
    void setTexture(uint32_t index, const Texture &texture, const Slice &slice);
    // storage images: one level of a texture with FlagSurface, the first without a slice. The shader may see another
    // format of the same pixel size
    void setSurfaceTexture(uint32_t index, const Texture &texture);
    void setSurfaceTextures(uint32_t index, const std::initializer_list<Texture> &textures);
    void setSurfaceTextures(uint32_t index, const Array<Texture> &textures);
    void setSurfaceTexture(uint32_t index, const Texture &texture, const Slice &slice, Format format = FormatUnknown);
    // acceleration structures of instances, and tables of the size that their slot has
    void setTracing(uint32_t index, const Tracing &tracing);
    void setTracings(uint32_t index, const std::initializer_list<Tracing> &tracings);
    void setTracings(uint32_t index, const Array<Tracing> &tracings);
    void setTextureTable(uint32_t index, const TextureTable &table);
    void setTextureTables(uint32_t index, const std::initializer_list<TextureTable> &tables);
    void setTextureTables(uint32_t index, const Array<TextureTable> &tables);
    void setStorageTable(uint32_t index, const BufferTable &table);
    void setStorageTables(uint32_t index, const std::initializer_list<BufferTable> &tables);
    void setStorageTables(uint32_t index, const Array<BufferTable> &tables);
    /// Measures the work in between. False if the reason was logged.
    bool beginQuery(const Query &query);
    void endQuery(const Query &query);

    // ray tracing; a traversal takes the place of a kernel, and dispatch() takes numbers of rays then
    void setTraversal(const Traversal &traversal);
    Traversal getTraversal() const;
    /// One thread for each pixel of the first level.
    void dispatch(const Texture &texture);

    // transfers of textures at this place in the order of work; see Device for their arguments
    bool setTexture(const Texture &texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                    const Slice &image_slice);
    bool setTexture(const Texture &texture, const Origin &origin, const Image &image);
    bool setTexture(const Texture &texture, const Image &image);
    bool copyTexture(const Texture &dest, const Origin &origin, const Slice &dest_slice, const Texture &src,
                     const Region &region, const Slice &src_slice);
    bool copyTexture(const Texture &dest, const Origin &origin, const Texture &src, const Region &region);
    bool copyTexture(const Texture &dest, const Slice &dest_slice, const Texture &src, const Slice &src_slice);
    bool copyTexture(const Texture &dest, const Texture &src);
    bool clearTexture(const Texture &texture, const Region &region, const Slice &slice, const void *value);
    bool clearTexture(const Texture &texture, const Region &region, const void *value);
    bool clearTexture(const Texture &texture, const Slice &slice, const void *value);
    bool clearTexture(const Texture &texture, const void *value = nullptr);
    void barrier(const Texture &texture);
    void barrier(const std::initializer_list<Texture> &textures);
    void barrier(const Array<Texture> &textures);

    // uniform slots. Data lives until the frame's work ran.
    /// Transient memory bound to the slot, to be filled before the next call, or null.
    void *getUniformData(uint32_t index, size_t size);
    void setUniformData(uint32_t index, const void *src, size_t size);
    /// Bytes from \p offset on; size 0 is the rest of the buffer. An empty handle empties the slot.
    void setUniformBuffer(uint32_t index, const Buffer &buffer, size_t offset = 0, size_t size = 0);
    void setUniformBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers);
    void setUniformBuffers(uint32_t index, const Array<Buffer> &buffers);
    void setUniformBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers,
                           const std::initializer_list<size_t> &offsets);
    void setUniformBuffers(uint32_t index, const Array<Buffer> &buffers, const Array<size_t> &offsets);
    /// Moves the slot's range, with \p relative by \p offset bytes.
    void setUniformOffset(uint32_t index, size_t offset, bool relative = false);

    // storage slots, likewise
    void *getStorageData(uint32_t index, size_t size);
    void setStorageData(uint32_t index, const void *src, size_t size);
    void setStorageBuffer(uint32_t index, const Buffer &buffer, size_t offset = 0, size_t size = 0);
    void setStorageBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers);
    void setStorageBuffers(uint32_t index, const Array<Buffer> &buffers);
    void setStorageBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers,
                           const std::initializer_list<size_t> &offsets);
    void setStorageBuffers(uint32_t index, const Array<Buffer> &buffers, const Array<size_t> &offsets);
    void setStorageOffset(uint32_t index, size_t offset, bool relative = false);

    // texel slots
    void setTexelBuffer(uint32_t index, const Buffer &buffer);
    void setTexelBuffers(uint32_t index, const std::initializer_list<Buffer> &buffers);
    void setTexelBuffers(uint32_t index, const Array<Buffer> &buffers);

    // source of dispatchIndirect()
    void *getIndirectData(size_t size);
    void setIndirectData(const void *src, size_t size);
    void setIndirectBuffer(const Buffer &buffer, size_t offset = 0);
    void setIndirectOffset(size_t offset, bool relative = false);

    /// Numbers of threads. A number of 2 or more is divided by the kernel's group size and rounded up; 0 and 1 are
    /// passed on as they stand.
    void dispatch(uint32_t width, uint32_t height = 1, uint32_t depth = 1);
    void dispatch(const Size &size);
    /// Reads one DispatchIndirect at the indirect offset: numbers of groups.
    void dispatchIndirect();

    // transfers at this place in the order of work; offsets and sizes in bytes. False if the reason was logged.
    bool setBuffer(const Buffer &buffer, size_t offset, const void *src, size_t size);
    bool setBuffer(const Buffer &buffer, const void *src, size_t size);
    bool setBuffer(const Buffer &buffer, const void *src);
    bool copyBuffer(const Buffer &dest, size_t dest_offset, const Buffer &src, size_t src_offset, size_t size);
    bool copyBuffer(const Buffer &dest, const Buffer &src, size_t size);
    bool copyBuffer(const Buffer &dest, const Buffer &src);
    /// Fills with \p value, one element of \p format, or with zeros if it is null.
    bool clearBuffer(const Buffer &buffer, Format format, size_t offset, const void *value, size_t size);
    bool clearBuffer(const Buffer &buffer, Format format, const void *value, size_t size);
    bool clearBuffer(const Buffer &buffer, Format format, const void *value);
    bool clearBuffer(const Buffer &buffer);

    /// Later dispatches, indirect reads and transfers see what earlier dispatches wrote to the buffers. There is no
    /// barrier between two dispatches without this call.
    void barrier(const Buffer &buffer);
    void barrier(const std::initializer_list<Buffer> &buffers);
    void barrier(const Array<Buffer> &buffers);

    /// Work until endConditional() is skipped if the 32-bit word at \p offset is zero.
    void beginConditional(const Buffer &buffer, size_t offset);
    void endConditional();

    /// Plain data by value.
    template<class Type> void setUniform(uint32_t index, const Type &data) {
        setUniformData(index, &data, sizeof(Type));
    }
    template<class Type> void setStorage(uint32_t index, const Type &data) {
        setStorageData(index, &data, sizeof(Type));
    }
    template<class Type> void setIndirect(const Type &data) { setIndirectData(&data, sizeof(Type)); }
};

static_assert(sizeof(Compute::DispatchIndirect) == 16, "the record is read by the device");

} // namespace Ostrevan
