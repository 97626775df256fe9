// KolmRecorderSlots.h: what a recorder has bound, slot by slot, and which groups of it changed.
// Holds no rule: Recorder fills the record, and a backend reads it when work is recorded.

#pragma once

#include "KolmFormat.h"
#include "KolmParameters.h"
#include "KolmSlice.h"

namespace Kolm {

class Buffer;
class BufferTable;
class Sampler;
class Texture;
class TextureTable;
class Tracing;

struct RecorderSlots {
    /// Groups of slots that changed since the last dispatch or draw.
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
        // of CommandRecorder
        UpdateVertex = 1 << 11,
        UpdateIndex = 1 << 12,
        UpdateViewport = 1 << 13,
        UpdateScissor = 1 << 14,
        UpdateBlendColor = 1 << 15,
        UpdateStencilRef = 1 << 16,
        UpdateCommand =
            UpdateVertex | UpdateIndex | UpdateViewport | UpdateScissor | UpdateBlendColor | UpdateStencilRef,
    };

    /// Kinds of transient memory.
    enum Transient {
        TransientUniform = 0,
        TransientStorage,
        TransientIndirect,
        TransientVertex,
        TransientIndex,
        NumTransients
    };

    /// Bytes of a frame's transient memory. `handle` is the backend's name of the buffer that they lie in.
    struct Memory {
        void *data = nullptr;
        uint64_t handle = 0;
        size_t offset = 0;
    };

    /// Transient memory of a frame that is divided from its start to its end.
    struct Arena {
        uint8_t *data = nullptr; // of the whole
        uint64_t handle = 0;
        size_t offset = 0; // first free byte
        size_t size = 0;   // bytes

        /// \p alignment is a power of two. False if too little is left.
        bool allocate(Memory &memory, size_t alignment, size_t bytes) {
            const size_t begin = (offset + alignment - 1) & ~(alignment - 1);
            if(KOLM_UNLIKELY(begin > size || bytes > size - begin)) return false;
            memory.data = data + begin;
            memory.handle = handle;
            memory.offset = begin;
            offset = begin + bytes;
            return true;
        }
    };

    /// What a uniform, storage, vertex, index or indirect slot binds: either a buffer or transient memory.
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

    /// Texture of a texture or surface slot, with the part that shaders see.
    struct TextureSlot {
        Texture *texture = nullptr;
        Slice slice;
        Format format = FormatUnknown; // of a surface; the texture's own if unknown
    };

    RecorderSlots() = default;
    RecorderSlots(const RecorderSlots &) = delete;
    virtual ~RecorderSlots() = default;

    /// Slots that can hold transient memory, by number, with the kind of it; null behind the last one.
    virtual Slot *get_memory_slot(uint32_t index, Transient &type) {
        if(index < Parameters::NumUniforms) return type = TransientUniform, &uniforms[index];
        index -= Parameters::NumUniforms;
        if(index < Parameters::NumStorages) return type = TransientStorage, &storages[index];
        index -= Parameters::NumStorages;
        return type = TransientIndirect, (index == 0) ? &indirect : nullptr;
    }
    /// Forgets transient memory: a backend calls it when a frame's memory is gone under an open recorder.
    void clear_memory() {
        Transient type;
        for(uint32_t i = 0; Slot *slot = get_memory_slot(i, type); i++) {
            if(slot->handle) *slot = Slot();
        }
        update_mask |= update_all;
    }

    Sampler *samplers[Parameters::NumSamplers] = {};
    TextureSlot textures[Parameters::NumTextures];
    TextureSlot surfaces[Parameters::NumSurfaces];
    Slot uniforms[Parameters::NumUniforms];
    Slot storages[Parameters::NumStorages];
    Tracing *tracings[Parameters::NumTracings] = {};
    Buffer *texels[Parameters::NumTexels] = {};
    TextureTable *texture_tables[Parameters::NumTables] = {};
    BufferTable *storage_tables[Parameters::NumTables] = {};
    Slot indirect;
    uint32_t update_mask = UpdateAll;
    uint32_t update_all = UpdateAll; // what a new command buffer needs
};

} // namespace Kolm
