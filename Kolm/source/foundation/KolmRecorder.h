// KolmRecorder.h: the binding slots of a recorder, and the rules of every call on them.
// Rests on Parameters and the resource classes. Tests what is passed before anything reaches an API, and tells the
// backend which groups of slots changed. ComputeRecorder and CommandRecorder add their own calls through SlotRecorder.

#pragma once

#include <string.h>

#include "KolmCaller.h"
#include "KolmDevice.h"
#include "KolmParameters.h"
#include "KolmRecorderSlots.h"

namespace Kolm {

/// Slots of one recorder. Mistakes of the caller end the process with one line, "VKCompute::method(): text", that names
/// the objects, what was given and what is allowed.
class Recorder : protected RecorderSlots {
protected:
    static constexpr Arena *no_arena = nullptr;

    /// What differs between the kinds of buffer slots.
    struct SlotKind {
        const char *name;   // in messages
        Buffer::Flags flag; // that a buffer needs
        Transient transient;
        Slot *slots;
        uint32_t num_slots;
        size_t alignment;                     // of offsets, a power of two
        uint64_t max_size;                    // of a range, 0 for no limit
        bool clamp;                           // a rest longer than the limit is cut at it
        uint32_t update_group, update_offset; // bits of update_mask
        const Parameters::BindFlags *flags;   // of the slots; null where all offsets are dynamic
        Arena *const *arena = &no_arena;      // where transient memory is looked for first

        /// Bytes of transient data.
        size_t getMaxData() const { return (clamp && max_size) ? size_t(max_size) : SIZE_MAX; }
    };

    Recorder(const PlatformBase &self, const char *name, const Device::Features &features);

    // What a backend gives. All arguments were tested.
    /// Memory of this frame at the alignment of its kind. False without a line of its own when there is none. Recorders
    /// that were told an arena ask when it is full.
    virtual bool allocate_memory(Transient type, size_t size, Memory &memory) = 0;
    virtual void record_begin_conditional(Buffer *buffer, size_t offset) = 0;
    virtual void record_end_conditional() = 0;
    virtual bool record_begin_query(Query *query);
    virtual bool record_end_query(Query *query);

    /// Uniform and storage data lies in the arena that \p arena points to, or in allocate_memory()'s if that is null.
    void set_arena(Arena *const *arena) { uniform_kind.arena = storage_kind.arena = arena; }

    Caller get_caller(const char *method) const { return {self, class_name, method}; }
    /// For operations that a backend leaves out.
    bool refuse(const char *method, const char *kind) const;
    /// Expects an object to be bound.
    void check_object(const Caller &caller) const {
        if(KOLM_UNLIKELY(parameters == nullptr)) fail_object(caller);
    }
    /// Whether every slot of the bound object holds something; one line if not.
    bool check_slots(const Caller &caller) const {
        // Nothing but offsets changed since all slots held something.
        return (update_mask & UpdateAll) == 0 || check_all_slots(caller);
    }
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
    const SlotKind &get_uniform_kind() const { return uniform_kind; }
    const SlotKind &get_storage_kind() const { return storage_kind; }
    SlotKind get_indirect_kind();
    void *get_data(const SlotKind &kind, const Caller &caller, uint32_t index, size_t size) {
        void *data = get_same_data(kind, index, size);
        return KOLM_LIKELY(data != nullptr) ? data : get_new_data(kind, caller, index, size);
    }
    void set_data(const SlotKind &kind, const Caller &caller, uint32_t index, const void *src, size_t size) {
        if(KOLM_UNLIKELY(src == nullptr)) fail_data(caller);
        void *data = get_data(kind, caller, index, size);
        if(KOLM_LIKELY(data != nullptr)) memcpy(data, src, size);
    }
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
    bool is_conditional = false; // between beginConditional() and endConditional()

private:
    void check_index(const Caller &caller, const char *kind, uint32_t index, uint32_t num, uint32_t count) const;
    [[noreturn]] void fail_object(const Caller &caller) const;
    [[noreturn]] void fail_data(const Caller &caller) const;
    bool check_all_slots(const Caller &caller) const;
    bool check_table(const Caller &caller, uint32_t index, Parameters::TableType type, uint32_t size) const;
    Slot &get_slot(const SlotKind &kind, const Caller &caller, uint32_t index);
    void set_range(const SlotKind &kind, const Caller &caller, uint32_t index, Slot &slot, size_t offset, size_t size);
    void check_size(const SlotKind &kind, const Caller &caller, const char *name, size_t size) {
        if(KOLM_UNLIKELY(kind.max_size && size > kind.max_size)) refuse_size(kind, caller, name, size);
    }
    void *get_same_data(const SlotKind &kind, uint32_t index, size_t size);
    void *get_new_data(const SlotKind &kind, const Caller &caller, uint32_t index, size_t size);
    void refuse_size(const SlotKind &kind, const Caller &caller, const char *name, size_t size);
    void update_range(const SlotKind &kind, uint32_t index, Slot &slot, size_t offset, size_t size);
    const char *get_object_text() const { return Caller::getText(parameters->getName()); }

    const PlatformBase &self;
    const char *class_name;
    const Parameters *parameters = nullptr; // of the bound kernel, pipeline or traversal
    SlotKind uniform_kind, storage_kind;    // of its slots
    bool has_warned = false;                // of a storage range above the limit: once for a recorder
};

// The usual case of many dispatches or draws in a row: the slot has as many bytes in the same arena, so that nothing but
// its offset changes. Null where more does.
inline void *Recorder::get_same_data(const SlotKind &kind, uint32_t index, size_t size) {
    Arena *arena = *kind.arena;
    if(KOLM_UNLIKELY(arena == nullptr || index >= kind.num_slots)) return nullptr;
    Slot &slot = kind.slots[index];
    const bool fixed = (kind.flags && (kind.flags[index] & Parameters::BindFlagFixed));
    if(slot.handle != arena->handle || slot.size != size || slot.total != size || fixed) return nullptr;
    Memory memory;
    if(KOLM_UNLIKELY(!arena->allocate(memory, kind.alignment, size))) return nullptr;
    slot.base = memory.offset;
    slot.offset = memory.offset;
    slot.rest = true;
    update_mask |= kind.update_offset;
    return memory.data;
}

} // namespace Kolm
