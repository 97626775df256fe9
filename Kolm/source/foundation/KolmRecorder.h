// KolmRecorder.h: the binding slots of a recorder, and the rules of every call on them.
// Rests on Parameters and the resource classes. Tests what is passed before anything reaches an API, and tells the
// backend which groups of slots changed. ComputeRecorder and CommandRecorder add their own calls through SlotRecorder.

#pragma once

#include "KolmCaller.h"
#include "KolmDevice.h"
#include "KolmParameters.h"

namespace Kolm {

/// Slots of one recorder. Mistakes of the caller end the process with one line, "VKCompute::method(): text", that names
/// the objects, what was given and what is allowed.
class Recorder {
protected:
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

    /// What differs between the kinds of buffer slots.
    struct SlotKind {
        const char *name;   // in messages
        Buffer::Flags flag; // that a buffer needs
        Transient transient;
        Slot *slots;
        uint32_t num_slots;
        size_t alignment;                     // of offsets
        uint64_t max_size;                    // of a range, 0 for no limit
        bool clamp;                           // a rest longer than the limit is cut at it
        uint32_t update_group, update_offset; // bits of update_mask
    };

    Recorder(const PlatformBase &self, const char *name, const Device::Features &features)
        : features(features), self(self), class_name(name) {}
    Recorder(const Recorder &) = delete;
    virtual ~Recorder() = default;

    // What a backend gives. All arguments were tested.
    /// Memory of this frame at the alignment of its kind. False without a line of its own when there is none.
    virtual bool allocate_memory(Transient type, size_t size, Memory &memory) = 0;
    virtual void record_begin_conditional(Buffer *buffer, size_t offset) = 0;
    virtual void record_end_conditional() = 0;
    virtual bool record_begin_query(Query *query);
    virtual bool record_end_query(Query *query);

    /// Forgets transient memory: a backend calls it when a frame's memory is gone under an open recorder.
    void clear_memory();

    Caller get_caller(const char *method) const { return {self, class_name, method}; }
    /// For operations that a backend leaves out.
    bool refuse(const char *method, const char *kind) const;
    /// Expects an object to be bound.
    void check_object(const Caller &caller) const;
    /// Whether every slot of the bound object holds something; one line if not.
    bool check_slots(const Caller &caller) const;
    /// Another object was bound: everything has to be bound anew.
    void set_object(const Caller &caller, const Parameters *object);

    // the calls of SlotRecorder
    void set_samplers(const Caller &caller, uint32_t index, Sampler **samplers, uint32_t num);
    void set_texture(const Caller &caller, uint32_t index, Texture *texture, const Slice &slice);
    void set_textures(const Caller &caller, uint32_t index, Texture **textures, uint32_t num);
    void set_surface(const Caller &caller, uint32_t index, Texture *texture, const Slice &slice, Format format);
    void set_surfaces(const Caller &caller, uint32_t index, Texture **textures, uint32_t num);
    void set_tracings(const Caller &caller, uint32_t index, Tracing **tracings, uint32_t num);
    void set_texels(const Caller &caller, uint32_t index, Buffer **buffers, uint32_t num);
    void set_texture_tables(const Caller &caller, uint32_t index, TextureTable **tables, uint32_t num);
    void set_storage_tables(const Caller &caller, uint32_t index, BufferTable **tables, uint32_t num);
    SlotKind get_uniform_kind();
    SlotKind get_storage_kind();
    SlotKind get_indirect_kind();
    void *get_data(const SlotKind &kind, const Caller &caller, uint32_t index, size_t size);
    void set_data(const SlotKind &kind, const Caller &caller, uint32_t index, const void *src, size_t size);
    void set_buffer(const SlotKind &kind, const Caller &caller, uint32_t index, Buffer *buffer, size_t offset,
                    size_t size);
    void set_buffers(const SlotKind &kind, const Caller &caller, uint32_t index, Buffer **buffers, uint32_t num,
                     const size_t *offsets);
    void set_offset(const SlotKind &kind, const Caller &caller, uint32_t index, size_t offset, bool relative);
    void begin_conditional(const Caller &caller, Buffer *buffer, size_t offset);
    void end_conditional(const Caller &caller);
    bool begin_query(const Caller &caller, Query *query);
    void end_query(const Caller &caller, Query *query);

    const Device::Features &features;
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
    bool is_conditional = false; // between beginConditional() and endConditional()

private:
    void check_index(const Caller &caller, const char *kind, uint32_t index, uint32_t num, uint32_t count) const;
    bool check_table(const Caller &caller, uint32_t index, Parameters::TableType type, uint32_t size) const;
    Slot &get_slot(const SlotKind &kind, const Caller &caller, uint32_t index);
    void set_range(const SlotKind &kind, const Caller &caller, uint32_t index, Slot &slot, size_t offset, size_t size);
    const char *get_object_text() const { return Caller::getText(parameters->getName()); }

    const PlatformBase &self;
    const char *class_name;
    const Parameters *parameters = nullptr; // of the bound kernel, pipeline or traversal
    bool has_warned = false;                // of a storage range above the limit: once for a recorder
};

} // namespace Kolm
