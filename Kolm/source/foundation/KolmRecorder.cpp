// KolmRecorder.cpp: the rules of slots, kind by kind.
//
// Uniform, storage, vertex, index and indirect slots follow one set of rules; SlotKind holds what differs between them.

#include "KolmRecorder.h"

namespace Kolm {

Recorder::Recorder(const PlatformBase &self, const char *name, const Device::Features &features)
    : features(features), self(self), class_name(name) {
    uniform_kind = {"uniform",
                    Buffer::FlagUniform,
                    TransientUniform,
                    uniforms,
                    0,
                    max(size_t(features.uniformAlignment), size_t(1)),
                    features.maxUniformSize,
                    true,
                    UpdateUniform,
                    UpdateUniformOffset,
                    nullptr};
    storage_kind = {"storage",
                    Buffer::FlagStorage,
                    TransientStorage,
                    storages,
                    0,
                    max(size_t(features.storageAlignment), size_t(1)),
                    features.maxStorageSize,
                    false,
                    UpdateStorage,
                    UpdateStorageOffset,
                    nullptr};
}

bool Recorder::refuse(const char *method, const char *kind) const {
    return get_caller(method).error("%s are not supported", kind);
}

bool Recorder::record_begin_query(Query *) { return refuse("beginQuery", "queries"); }
bool Recorder::record_end_query(Query *) { return refuse("endQuery", "queries"); }

// the bound object

void Recorder::fail_object(const Caller &caller) const {
    caller.fail("%s is null", strcmp(class_name, "Command") == 0 ? "pipeline" : "kernel");
}

void Recorder::set_object(const Caller &caller, const Parameters *object) {
    if(object) caller.checkCreated(object->getKindName(), object);
    parameters = object;
    update_mask |= UpdateAll;
    const auto select = [object](SlotKind &kind, Parameters::Kind type) {
        const Parameters::SlotList list = object ? object->getSlots(type) : Parameters::SlotList();
        kind.num_slots = list.num;
        kind.flags = list.flags;
    };
    select(uniform_kind, Parameters::KindUniform);
    select(storage_kind, Parameters::KindStorage);
}

void Recorder::check_index(const Caller &caller, const char *kind, uint32_t index, uint32_t num, uint32_t count) const {
    if(KOLM_LIKELY(index <= count && num <= count - index && (num == 0 || index < count))) return;
    if(num == 1) {
        caller.fail("invalid %s index %u: %s %s has %u", kind, index, get_object_text(), parameters->getKindName(),
                    count);
    }
    caller.fail("invalid %s range %u-%llu: %s %s has %u", kind, index, static_cast<unsigned long long>(index) + num,
                get_object_text(), parameters->getKindName(), count);
}

// samplers, textures, surfaces

void Recorder::set_samplers(const Caller &caller, uint32_t index, Sampler **list, uint32_t num) {
    check_object(caller);
    caller.checkList("samplers", list, num);
    check_index(caller, "sampler", index, num, parameters->getNumSamplers());
    for(uint32_t i = 0; i < num; i++) {
        if(list[i]) caller.checkCreated("sampler", list[i]);
        if(samplers[index + i] != list[i]) update_mask |= UpdateSampler;
        samplers[index + i] = list[i];
    }
}

void Recorder::set_texture(const Caller &caller, uint32_t index, Texture *texture, const Slice &slice) {
    check_object(caller);
    check_index(caller, "texture", index, 1, parameters->getNumTextures());
    TextureSlot &slot = textures[index];
    if(texture) {
        caller.checkCreated("texture", texture);
        if(!texture->check(slice)) caller.fail("invalid slice of %s texture", Caller::getText(texture));
    }
    if(slot.texture != texture || (texture && slot.slice != slice)) update_mask |= UpdateTexture;
    slot.texture = texture;
    slot.slice = slice;
}

void Recorder::set_textures(const Caller &caller, uint32_t index, Texture **list, uint32_t num) {
    check_object(caller);
    caller.checkList("textures", list, num);
    check_index(caller, "texture", index, num, parameters->getNumTextures());
    for(uint32_t i = 0; i < num; i++) {
        if(list[i]) caller.checkCreated("texture", list[i]);
        set_texture(caller, index + i, list[i], (list[i]) ? list[i]->getFullSlice() : Slice());
    }
}

void Recorder::set_surface(const Caller &caller, uint32_t index, Texture *texture, const Slice &slice, Format format) {
    check_object(caller);
    check_index(caller, "surface", index, 1, parameters->getNumSurfaces());
    TextureSlot &slot = surfaces[index];
    if(texture) {
        caller.checkCreated("texture", texture);
        const char *text = Caller::getText(texture);
        if(!texture->hasFlag(Texture::FlagSurface | Texture::FlagWrite)) {
            caller.fail("invalid texture: %s texture (%s) needs the flag Surface", text,
                        texture->getDescription().get());
        }
        if(texture->hasMultisample())
            caller.fail("invalid texture: %s has %u samples", text, texture->getMultisample());
        if(!texture->check(slice)) caller.fail("invalid slice of %s texture", text);
        if(slice.mipmaps != 1)
            caller.fail("invalid slice of %s texture: %u mipmaps, 1 is written", text, slice.mipmaps);
        if(uint32_t(format) >= NumFormats) caller.fail("invalid format %u of %s texture", uint32_t(format), text);
        if(format != FormatUnknown && format != texture->getFormat()) {
            const uint32_t size = isBlockFormat(format) ? 0 : getFormatPixelSize(format);
            if(size == 0 || size != max(texture->getPixelSize(), texture->getBlockSize())) {
                caller.fail("invalid format %s: %s texture is of %s", Kolm::getFormatName(format), text,
                            texture->getFormatName());
            }
        }
    }
    if(slot.texture != texture || (texture && (slot.slice != slice || slot.format != format)))
        update_mask |= UpdateSurface;
    slot.texture = texture;
    slot.slice = slice;
    slot.format = format;
}

void Recorder::set_surfaces(const Caller &caller, uint32_t index, Texture **list, uint32_t num) {
    check_object(caller);
    caller.checkList("textures", list, num);
    check_index(caller, "surface", index, num, parameters->getNumSurfaces());
    for(uint32_t i = 0; i < num; i++) {
        if(list[i]) caller.checkCreated("texture", list[i]);
        set_surface(caller, index + i, list[i], (list[i]) ? list[i]->getSlice() : Slice(), FormatUnknown);
    }
}

// tracings, texels, tables

void Recorder::set_tracings(const Caller &caller, uint32_t index, Tracing **list, uint32_t num) {
    check_object(caller);
    caller.checkList("tracings", list, num);
    check_index(caller, "tracing", index, num, parameters->getNumTracings());
    for(uint32_t i = 0; i < num; i++) {
        if(list[i]) {
            caller.checkCreated("tracing", list[i]);
            if(list[i]->getType() != Tracing::TypeInstances) {
                caller.fail("invalid tracing: %s tracing (%s) has no instances", Caller::getText(list[i]),
                            list[i]->getDescription().get());
            }
        }
        if(tracings[index + i] != list[i]) update_mask |= UpdateTracing;
        tracings[index + i] = list[i];
    }
}

void Recorder::set_texels(const Caller &caller, uint32_t index, Buffer **buffers, uint32_t num) {
    check_object(caller);
    caller.checkList("buffers", buffers, num);
    check_index(caller, "texel", index, num, parameters->getNumTexels());
    for(uint32_t i = 0; i < num; i++) {
        if(buffers[i]) caller.checkFlag("buffer", buffers[i], Buffer::FlagTexel);
        if(texels[index + i] != buffers[i]) update_mask |= UpdateTexel;
        texels[index + i] = buffers[i];
    }
}

bool Recorder::check_table(const Caller &caller, uint32_t index, Parameters::TableType type, uint32_t size) const {
    static constexpr const char *names[Parameters::NumTableTypes] = {"textures", "storage buffers"};
    if(parameters->getTableType(index) != type) {
        caller.fail("invalid table type: table %u of %s %s is of %s", index, get_object_text(),
                    parameters->getKindName(), names[parameters->getTableType(index)]);
    }
    if(size != parameters->getTableSize(index)) {
        caller.fail("invalid table size %u: table %u of %s %s has %u", size, index, get_object_text(),
                    parameters->getKindName(), parameters->getTableSize(index));
    }
    return true;
}

void Recorder::set_texture_tables(const Caller &caller, uint32_t index, TextureTable **tables, uint32_t num) {
    check_object(caller);
    caller.checkList("tables", tables, num);
    check_index(caller, "table", index, num, parameters->getNumTables());
    for(uint32_t i = 0; i < num; i++) {
        if(tables[i]) {
            caller.checkCreated("table", tables[i]);
            check_table(caller, index + i, Parameters::TableTypeTexture, tables[i]->getSize());
        }
        if(texture_tables[index + i] != tables[i]) update_mask |= UpdateTextureTable;
        texture_tables[index + i] = tables[i];
    }
}

void Recorder::set_storage_tables(const Caller &caller, uint32_t index, BufferTable **tables, uint32_t num) {
    check_object(caller);
    caller.checkList("tables", tables, num);
    check_index(caller, "table", index, num, parameters->getNumTables());
    for(uint32_t i = 0; i < num; i++) {
        if(tables[i]) {
            caller.checkCreated("table", tables[i]);
            check_table(caller, index + i, Parameters::TableTypeStorage, tables[i]->getSize());
        }
        if(storage_tables[index + i] != tables[i]) update_mask |= UpdateStorageTable;
        storage_tables[index + i] = tables[i];
    }
}

// buffer slots

// The indirect source is no descriptor: nothing has to be updated for it.
Recorder::SlotKind Recorder::get_indirect_kind() {
    return {"indirect", Buffer::FlagIndirect, TransientIndirect, &indirect, 1, 4, 0, false, 0, 0, nullptr};
}

Recorder::Slot &Recorder::get_slot(const SlotKind &kind, const Caller &caller, uint32_t index) {
    check_object(caller);
    if(KOLM_UNLIKELY(index >= kind.num_slots)) check_index(caller, kind.name, index, 1, kind.num_slots);
    return kind.slots[index];
}

// A range within the slot's memory.
void Recorder::set_range(const SlotKind &kind, const Caller &caller, uint32_t index, Slot &slot, size_t offset,
                         size_t size) {
    const char *name = (slot.buffer) ? Caller::getText(slot.buffer) : "transient";
    const size_t local = offset - slot.base;
    if(KOLM_UNLIKELY(offset < slot.base || local >= slot.total || size > slot.total - local)) {
        caller.fail("invalid %s range %zu-%zu: %s buffer has %zu bytes", kind.name, local,
                    (size > SIZE_MAX - local) ? SIZE_MAX : local + size, name, slot.total);
    }
    if(KOLM_UNLIKELY(offset & (kind.alignment - 1))) {
        caller.fail("invalid %s offset %zu: a multiple of %zu is needed for %s buffer", kind.name, local,
                    kind.alignment, name);
    }
    if(slot.rest) {
        size = slot.total - local;
        if(kind.clamp && kind.max_size && size > kind.max_size) size = size_t(kind.max_size);
    }
    check_size(kind, caller, name, size);
    update_range(kind, index, slot, offset, size);
}

void Recorder::refuse_size(const SlotKind &kind, const Caller &caller, const char *name, size_t size) {
    // Some drivers state a limit that they do not have: a large storage range is the caller's risk.
    if(kind.clamp) {
        caller.fail("invalid %s size %zu of %s buffer: the limit is %llu", kind.name, size, name,
                    static_cast<unsigned long long>(kind.max_size));
    }
    if(!has_warned) {
        caller.warning("%s size %zu of %s buffer is above the limit of %llu", kind.name, size, name,
                       static_cast<unsigned long long>(kind.max_size));
    }
    has_warned = true;
}

// Puts the range into the slot and marks what has to be updated for it: offsets alone cost no descriptor.
void Recorder::update_range(const SlotKind &kind, uint32_t index, Slot &slot, size_t offset, size_t size) {
    if(size != slot.size) {
        update_mask |= kind.update_group;
    } else if(offset != slot.offset) {
        const bool fixed = (kind.flags && (kind.flags[index] & Parameters::BindFlagFixed));
        update_mask |= (fixed) ? kind.update_group : kind.update_offset;
    }
    slot.offset = offset;
    slot.size = size;
}

void *Recorder::get_new_data(const SlotKind &kind, const Caller &caller, uint32_t index, size_t size) {
    Slot &slot = get_slot(kind, caller, index);
    if(KOLM_UNLIKELY(size == 0)) caller.fail("invalid %s size 0", kind.name);
    if(KOLM_UNLIKELY(size > kind.getMaxData())) {
        caller.fail("invalid %s size %zu: the limit is %llu", kind.name, size,
                    static_cast<unsigned long long>(kind.max_size));
    }
    Memory memory;
    Arena *arena = *kind.arena;
    if(KOLM_UNLIKELY(arena == nullptr || !arena->allocate(memory, kind.alignment, size)) &&
       !allocate_memory(kind.transient, size, memory)) {
        caller.error("can't get %s buffer", kind.name);
        return nullptr;
    }
    if(slot.handle != memory.handle) update_mask |= kind.update_group; // that of a buffer object is 0
    slot.buffer = nullptr;
    slot.handle = memory.handle;
    slot.base = memory.offset;
    slot.total = size;
    slot.rest = true;
    check_size(kind, caller, "transient", size);
    update_range(kind, index, slot, memory.offset, size);
    return memory.data;
}

void Recorder::fail_data(const Caller &caller) const {
    check_object(caller);
    caller.fail("data is null");
}

void Recorder::set_buffer(const SlotKind &kind, const Caller &caller, uint32_t index, Buffer *buffer, size_t offset,
                          size_t size) {
    Slot &slot = get_slot(kind, caller, index);
    if(buffer == nullptr) {
        if(slot.isSet()) update_mask |= kind.update_group;
        slot = Slot();
        return;
    }
    caller.checkFlag("buffer", buffer, kind.flag);
    if(slot.buffer != buffer) update_mask |= kind.update_group;
    slot.buffer = buffer;
    slot.handle = 0;
    slot.base = 0;
    slot.total = buffer->getSize();
    slot.rest = (size == 0);
    set_range(kind, caller, index, slot, offset, size);
}

void Recorder::set_buffers(const SlotKind &kind, const Caller &caller, uint32_t index, Buffer **buffers, uint32_t num,
                           const size_t *offsets) {
    check_object(caller);
    if(KOLM_UNLIKELY(index > kind.num_slots || num > kind.num_slots - index)) {
        caller.fail("invalid %s range %u-%llu: %s %s has %u", kind.name, index,
                    static_cast<unsigned long long>(index) + num, get_object_text(), parameters->getKindName(),
                    kind.num_slots);
    }
    caller.checkList("buffers", buffers, num);
    for(uint32_t i = 0; i < num; i++) {
        set_buffer(kind, caller, index + i, buffers[i], (offsets) ? offsets[i] : 0, 0);
    }
}

void Recorder::set_offset(const SlotKind &kind, const Caller &caller, uint32_t index, size_t offset, bool relative) {
    Slot &slot = get_slot(kind, caller, index);
    if(KOLM_UNLIKELY(!slot.isSet())) caller.fail("%s buffer %u is null", kind.name, index);
    const size_t start = (relative) ? slot.offset : slot.base;
    const size_t end = (offset > SIZE_MAX - start) ? SIZE_MAX : start + offset;
    set_range(kind, caller, index, slot, end, (slot.rest) ? 0 : slot.size);
}

// A slot without content would let the shader read anything: the call is skipped. Of an array the first is needed.
bool Recorder::check_all_slots(const Caller &caller) const {
    const char *kind = nullptr;
    uint32_t index = 0;
    const auto check = [&](const char *name, uint32_t num, const uint8_t *arrays, auto is_set) {
        for(uint32_t i = 0; i < num && kind == nullptr; i += (arrays && arrays[i]) ? arrays[i] : 1) {
            if(KOLM_LIKELY(is_set(i))) continue;
            kind = name;
            index = i;
        }
    };
    check("uniform buffer", parameters->getNumUniforms(), nullptr, [&](uint32_t i) { return uniforms[i].isSet(); });
    check("storage buffer", parameters->getNumStorages(), nullptr, [&](uint32_t i) { return storages[i].isSet(); });
    check("texel buffer", parameters->getNumTexels(), nullptr, [&](uint32_t i) { return texels[i] != nullptr; });
    check("sampler", parameters->getNumSamplers(), parameters->getSamplerArrays(),
          [&](uint32_t i) { return samplers[i] != nullptr; });
    check("texture", parameters->getNumTextures(), parameters->getTextureArrays(),
          [&](uint32_t i) { return textures[i].texture != nullptr; });
    check("surface texture", parameters->getNumSurfaces(), parameters->getSurfaceArrays(),
          [&](uint32_t i) { return surfaces[i].texture != nullptr; });
    check("tracing", parameters->getNumTracings(), nullptr, [&](uint32_t i) { return tracings[i] != nullptr; });
    check("table", parameters->getNumTables(), nullptr, [&](uint32_t i) {
        return (parameters->getTableType(i) == Parameters::TableTypeTexture) ? (texture_tables[i] != nullptr)
                                                                             : (storage_tables[i] != nullptr);
    });
    if(KOLM_LIKELY(kind == nullptr)) return true;
    return caller.error("%s %u of %s %s is not set", kind, index, get_object_text(), parameters->getKindName());
}

// conditions and queries

void Recorder::begin_conditional(const Caller &caller, Buffer *buffer, size_t offset) {
    caller.checkFlag("buffer", buffer, Buffer::FlagConditional);
    if(KOLM_UNLIKELY(is_conditional)) caller.fail("is already conditional");
    if(KOLM_UNLIKELY(offset % 4)) caller.fail("invalid offset %zu: a multiple of 4 is needed", offset);
    if(KOLM_UNLIKELY(offset >= buffer->getSize() || buffer->getSize() - offset < 4)) {
        caller.fail("invalid offset %zu: %s buffer has %zu bytes", offset, Caller::getText(buffer), buffer->getSize());
    }
    is_conditional = true;
    if(features.conditionalRendering) {
        record_begin_conditional(buffer, offset);
    } else {
        caller.error("conditions are not supported");
    }
}

void Recorder::end_conditional(const Caller &caller) {
    if(KOLM_UNLIKELY(!is_conditional)) caller.fail("is not conditional");
    is_conditional = false;
    if(features.conditionalRendering) record_end_conditional();
}

bool Recorder::begin_query(const Caller &caller, Query *query) {
    caller.checkCreated("query", query);
    if(query->is_begun) caller.fail("%s query is already begun", Caller::getText(query));
    query->is_ended = false;
    return query->is_begun = record_begin_query(query);
}

void Recorder::end_query(const Caller &caller, Query *query) {
    caller.checkCreated("query", query);
    if(!query->is_begun) caller.fail("%s query is not begun", Caller::getText(query));
    query->is_begun = false;
    query->is_ended = record_end_query(query);
}

} // namespace Kolm
