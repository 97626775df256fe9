// KolmSlots.h: the binding calls of recorders as pure operations, and the short forms that lean on them.
// Written once for Compute and Command. Holds no data; the rules are those of Recorder.

#pragma once

#include "KolmBuffer.h"
#include "KolmFormat.h"
#include "KolmPlatform.h"
#include "KolmSlice.h"

namespace Kolm {

class BufferTable;
class Query;
class Sampler;
class Texture;
class TextureTable;
class Tracing;

/// Binding slots of what is bound. Setters only change slots, which the next dispatch or draw flushes. An index that
/// the bound object does not have, a resource without the flag that the slot needs or anything without a bound object
/// is the caller's mistake. A null resource empties the slot.
class Slots : public PlatformBase {
public:
    explicit Slots(uint32_t index) : PlatformBase(index) {}

    // samplers and textures; without a slice it is all of the texture
    virtual void setSampler(uint32_t index, Sampler *sampler) = 0;
    virtual void setSamplers(uint32_t index, Sampler **samplers, uint32_t num) = 0;
    virtual void setTexture(uint32_t index, Texture *texture) = 0;
    virtual void setTexture(uint32_t index, Texture *texture, const Slice &slice) = 0;
    virtual void setTextures(uint32_t index, Texture **textures, uint32_t num) = 0;

    /// Storage images: one level of a texture with FlagSurface, the first without a slice. The shader may see another
    /// format of the same pixel size.
    virtual void setSurfaceTexture(uint32_t index, Texture *texture) = 0;
    virtual void setSurfaceTexture(uint32_t index, Texture *texture, const Slice &slice,
                                   Format format = FormatUnknown) = 0;
    virtual void setSurfaceTextures(uint32_t index, Texture **textures, uint32_t num) = 0;

    // uniform slots. Data lives until the frame's work ran; the pointer is to be filled before the next call.
    /// Transient memory bound to the slot, or null.
    virtual void *getUniformData(uint32_t index, size_t size) = 0;
    virtual void setUniformData(uint32_t index, const void *src, size_t size) = 0;
    /// Size 0 is the rest of the buffer.
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

    // acceleration structures of instances, texel buffers, tables of the size that the slot has
    virtual void setTracing(uint32_t index, Tracing *tracing) = 0;
    virtual void setTracings(uint32_t index, Tracing **tracings, uint32_t num) = 0;
    virtual void setTexelBuffer(uint32_t index, Buffer *buffer) = 0;
    virtual void setTexelBuffers(uint32_t index, Buffer **buffers, uint32_t num) = 0;
    virtual void setTextureTable(uint32_t index, TextureTable *table) = 0;
    virtual void setTextureTables(uint32_t index, TextureTable **tables, uint32_t num) = 0;
    virtual void setStorageTable(uint32_t index, BufferTable *table) = 0;
    virtual void setStorageTables(uint32_t index, BufferTable **tables, uint32_t num) = 0;

    // source of indirect calls
    virtual void *getIndirectData(size_t size) = 0;
    virtual void setIndirectData(const void *src, size_t size) = 0;
    virtual void setIndirectBuffer(Buffer *buffer, size_t offset = 0) = 0;
    virtual void setIndirectOffset(size_t offset, bool relative = false) = 0;

    /// Work until endConditional() is skipped if the 32-bit word at \p offset is zero.
    virtual void beginConditional(Buffer *buffer, size_t offset) = 0;
    virtual void endConditional() = 0;

    /// Measures the work in between. False if the reason was logged.
    virtual bool beginQuery(Query *query) = 0;
    virtual void endQuery(Query *query) = 0;

    // short forms
    void setSamplers(uint32_t index, const std::initializer_list<Sampler *> &samplers) {
        setSamplers(index, get_list(samplers), uint32_t(samplers.size()));
    }
    void setTextures(uint32_t index, const std::initializer_list<Texture *> &textures) {
        setTextures(index, get_list(textures), uint32_t(textures.size()));
    }
    void setSurfaceTextures(uint32_t index, const std::initializer_list<Texture *> &textures) {
        setSurfaceTextures(index, get_list(textures), uint32_t(textures.size()));
    }
    void setUniformBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers) {
        setUniformBuffers(index, get_list(buffers), uint32_t(buffers.size()));
    }
    void setUniformBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers,
                           const std::initializer_list<size_t> &offsets) {
        KOLM_ASSERT(buffers.size() == offsets.size() && "Slots::setUniformBuffers(): invalid number of offsets");
        setUniformBuffers(index, get_list(buffers), uint32_t(buffers.size()), offsets.begin());
    }
    void setStorageBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers) {
        setStorageBuffers(index, get_list(buffers), uint32_t(buffers.size()));
    }
    void setStorageBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers,
                           const std::initializer_list<size_t> &offsets) {
        KOLM_ASSERT(buffers.size() == offsets.size() && "Slots::setStorageBuffers(): invalid number of offsets");
        setStorageBuffers(index, get_list(buffers), uint32_t(buffers.size()), offsets.begin());
    }
    void setTracings(uint32_t index, const std::initializer_list<Tracing *> &tracings) {
        setTracings(index, get_list(tracings), uint32_t(tracings.size()));
    }
    void setTexelBuffers(uint32_t index, const std::initializer_list<Buffer *> &buffers) {
        setTexelBuffers(index, get_list(buffers), uint32_t(buffers.size()));
    }
    void setTextureTables(uint32_t index, const std::initializer_list<TextureTable *> &tables) {
        setTextureTables(index, get_list(tables), uint32_t(tables.size()));
    }
    void setStorageTables(uint32_t index, const std::initializer_list<BufferTable *> &tables) {
        setStorageTables(index, get_list(tables), uint32_t(tables.size()));
    }

    /// Plain data by value.
    template<class Type> void setUniform(uint32_t index, const Type &data) {
        setUniformData(index, &data, sizeof(Type));
    }
    template<class Type> void setStorage(uint32_t index, const Type &data) {
        setStorageData(index, &data, sizeof(Type));
    }
    template<class Type> void setIndirect(const Type &data) { setIndirectData(&data, sizeof(Type)); }

protected:
    // The operations take pointers to pointers that they do not write.
    template<class Type> static Type **get_list(const std::initializer_list<Type *> &list) {
        return const_cast<Type **>(list.begin());
    }
};

} // namespace Kolm
