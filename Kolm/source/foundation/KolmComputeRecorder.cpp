// KolmComputeRecorder.cpp: the rules of the compute recorder, in the order of the calls.
//
// Uniform, storage and indirect slots follow one set of rules; SlotKind holds what differs between them.

#include "KolmComputeRecorder.h"

#include <stdio.h>
#include <string.h>

#include "KolmLog.h"

namespace Kolm {

struct ComputeRecorder::SlotKind {
    const char *name;   // in messages
    Buffer::Flags flag; // that a buffer needs
    Transient transient;
    Slot *slots;
    uint32_t num_slots;                   // of the kernel
    size_t alignment;                     // of offsets
    uint64_t max_size;                    // of a range, 0 for no limit
    bool clamp;                           // a rest longer than the limit is cut at it
    uint32_t update_group, update_offset; // bits of update_mask
};

namespace {

const char *get_text(const String &name) { return name ? name.get() : "unnamed"; }

} // namespace

ComputeRecorder::ComputeRecorder(uint32_t index, const Device::Features &features)
    : Compute(index), features(features) {}

// checks

void ComputeRecorder::fail(const char *method, const char *format, ...) const {
    char text[512];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    char line[640];
    snprintf(line, sizeof(line), "\"%sCompute::%s(): %s\"", getPlatformPrefix(), method, text);
    assertion(line, __FILE__, __LINE__);
}

void ComputeRecorder::check_kernel(const char *method) const {
    if(KOLM_UNLIKELY(kernel == nullptr)) fail(method, "kernel is null");
}

void ComputeRecorder::check_created(const char *method, const Buffer *buffer) const {
    if(KOLM_UNLIKELY(buffer == nullptr)) fail(method, "buffer is null");
    if(KOLM_UNLIKELY(buffer->getPlatform() != getPlatform())) {
        fail(method, "invalid platform: %s buffer is of %s", get_text(buffer->getName()), buffer->getPlatformName());
    }
    if(KOLM_UNLIKELY(!buffer->isCreated())) fail(method, "%s buffer is not created", get_text(buffer->getName()));
}

void ComputeRecorder::check_flag(const char *method, const Buffer *buffer, Buffer::Flags flag) const {
    check_created(method, buffer);
    if(KOLM_LIKELY(buffer->hasFlags(flag))) return;
    String flag_name = Buffer::getFlagsName(flag);
    flag_name.removeBack();
    fail(method, "invalid buffer: %s buffer (%s) needs the flag %s", get_text(buffer->getName()),
         buffer->getDescription().get(), flag_name.get());
}

// kernel

void ComputeRecorder::setKernel(Kernel *new_kernel) {
    if(new_kernel == kernel) return;
    if(new_kernel) {
        if(new_kernel->getPlatform() != getPlatform()) {
            fail("setKernel", "invalid platform: %s kernel is of %s", get_text(new_kernel->getName()),
                 new_kernel->getPlatformName());
        }
        if(!new_kernel->isCreated()) fail("setKernel", "%s kernel is not created", get_text(new_kernel->getName()));
    }
    kernel = new_kernel;
    update_mask = UpdateAll;
    bind_kernel(kernel);
}

// slots

ComputeRecorder::SlotKind ComputeRecorder::get_uniform_kind() {
    return {"uniform",
            Buffer::FlagUniform,
            TransientUniform,
            uniforms,
            kernel->getNumUniforms(),
            max(size_t(features.uniformAlignment), size_t(1)),
            features.maxUniformSize,
            true,
            UpdateUniform,
            UpdateUniformOffset};
}

ComputeRecorder::SlotKind ComputeRecorder::get_storage_kind() {
    return {"storage",
            Buffer::FlagStorage,
            TransientStorage,
            storages,
            kernel->getNumStorages(),
            max(size_t(features.storageAlignment), size_t(1)),
            features.maxStorageSize,
            false,
            UpdateStorage,
            UpdateStorageOffset};
}

// The indirect source is no descriptor: nothing has to be updated for it.
ComputeRecorder::SlotKind ComputeRecorder::get_indirect_kind() {
    return {"indirect", Buffer::FlagIndirect, TransientIndirect, &indirect, 1, 4, 0, false, 0, 0};
}

ComputeRecorder::Slot &ComputeRecorder::get_slot(const SlotKind &kind, const char *method, uint32_t index) {
    if(KOLM_UNLIKELY(index >= kind.num_slots)) {
        fail(method, "invalid %s index %u: %s kernel has %u", kind.name, index, get_text(kernel->getName()),
             kind.num_slots);
    }
    return kind.slots[index];
}

// Puts the range into the slot and marks what has to be updated for it: offsets alone cost no descriptor.
void ComputeRecorder::set_range(const SlotKind &kind, const char *method, uint32_t index, Slot &slot, size_t offset,
                                size_t size) {
    const char *name = (slot.buffer) ? get_text(slot.buffer->getName()) : "transient";
    const size_t local = offset - slot.base;
    if(KOLM_UNLIKELY(offset < slot.base || local >= slot.total || size > slot.total - local)) {
        fail(method, "invalid %s range %zu-%zu: %s buffer has %zu bytes", kind.name, local,
             (size > SIZE_MAX - local) ? SIZE_MAX : local + size, name, slot.total);
    }
    if(KOLM_UNLIKELY(offset % kind.alignment)) {
        fail(method, "invalid %s offset %zu: a multiple of %zu is needed for %s buffer", kind.name, local,
             kind.alignment, name);
    }
    if(slot.rest) {
        size = slot.total - local;
        if(kind.clamp && kind.max_size && size > kind.max_size) size = size_t(kind.max_size);
    }
    if(KOLM_UNLIKELY(kind.max_size && size > kind.max_size)) {
        // Some drivers state a limit that they do not have: a large storage range is the caller's risk.
        if(kind.clamp) {
            fail(method, "invalid %s size %zu of %s buffer: the limit is %llu", kind.name, size, name,
                 static_cast<unsigned long long>(kind.max_size));
        }
        if(!has_warned)
            Log::printf(Log::Warning, "%sCompute::%s(): %s size %zu of %s buffer is above the limit of %llu\n",
                        getPlatformPrefix(), method, kind.name, size, name,
                        static_cast<unsigned long long>(kind.max_size));
        has_warned = true;
    }
    if(size != slot.size) {
        update_mask |= kind.update_group;
    } else if(offset != slot.offset) {
        const bool fixed =
            (kind.flag == Buffer::FlagUniform && (kernel->getUniformFlags(index) & Kernel::BindFlagFixed)) ||
            (kind.flag == Buffer::FlagStorage && (kernel->getStorageFlags(index) & Kernel::BindFlagFixed));
        update_mask |= (fixed) ? kind.update_group : kind.update_offset;
    }
    slot.offset = offset;
    slot.size = size;
}

void *ComputeRecorder::get_data(const SlotKind &kind, const char *method, uint32_t index, size_t size) {
    Slot &slot = get_slot(kind, method, index);
    if(KOLM_UNLIKELY(size == 0)) fail(method, "invalid %s size 0", kind.name);
    if(KOLM_UNLIKELY(kind.clamp && kind.max_size && size > kind.max_size)) {
        fail(method, "invalid %s size %zu: the limit is %llu", kind.name, size,
             static_cast<unsigned long long>(kind.max_size));
    }
    Memory memory;
    if(!allocate_memory(kind.transient, size, memory)) {
        Log::printf(Log::Error, "%sCompute::%s(): can't get %s buffer\n", getPlatformPrefix(), method, kind.name);
        return nullptr;
    }
    if(slot.buffer || slot.handle != memory.handle) update_mask |= kind.update_group;
    slot.buffer = nullptr;
    slot.handle = memory.handle;
    slot.base = memory.offset;
    slot.total = size;
    slot.rest = true;
    set_range(kind, method, index, slot, memory.offset, size);
    return memory.data;
}

void ComputeRecorder::set_buffer(const SlotKind &kind, const char *method, uint32_t index, Buffer *buffer,
                                 size_t offset, size_t size) {
    Slot &slot = get_slot(kind, method, index);
    if(buffer == nullptr) {
        if(slot.isSet()) update_mask |= kind.update_group;
        slot = Slot();
        return;
    }
    check_flag(method, buffer, kind.flag);
    if(slot.buffer != buffer) update_mask |= kind.update_group;
    slot.buffer = buffer;
    slot.handle = 0;
    slot.base = 0;
    slot.total = buffer->getSize();
    slot.rest = (size == 0);
    set_range(kind, method, index, slot, offset, size);
}

void ComputeRecorder::set_buffers(const SlotKind &kind, const char *method, uint32_t index, Buffer **buffers,
                                  uint32_t num, const size_t *offsets) {
    if(KOLM_UNLIKELY(index > kind.num_slots || num > kind.num_slots - index)) {
        fail(method, "invalid %s range %u-%llu: %s kernel has %u", kind.name, index,
             static_cast<unsigned long long>(index) + num, get_text(kernel->getName()), kind.num_slots);
    }
    if(KOLM_UNLIKELY(num && buffers == nullptr)) fail(method, "buffers are null");
    for(uint32_t i = 0; i < num; i++) {
        set_buffer(kind, method, index + i, buffers[i], (offsets) ? offsets[i] : 0, 0);
    }
}

void ComputeRecorder::set_offset(const SlotKind &kind, const char *method, uint32_t index, size_t offset,
                                 bool relative) {
    Slot &slot = get_slot(kind, method, index);
    if(KOLM_UNLIKELY(!slot.isSet())) fail(method, "%s buffer %u is null", kind.name, index);
    const size_t start = (relative) ? slot.offset : slot.base;
    const size_t end = (offset > SIZE_MAX - start) ? SIZE_MAX : start + offset;
    set_range(kind, method, index, slot, end, (slot.rest) ? 0 : slot.size);
}

void *ComputeRecorder::getUniformData(uint32_t index, size_t size) {
    check_kernel("getUniformData");
    return get_data(get_uniform_kind(), "getUniformData", index, size);
}

void ComputeRecorder::setUniformData(uint32_t index, const void *src, size_t size) {
    check_kernel("setUniformData");
    if(KOLM_UNLIKELY(src == nullptr)) fail("setUniformData", "data is null");
    void *data = get_data(get_uniform_kind(), "setUniformData", index, size);
    if(data) memcpy(data, src, size);
}

void ComputeRecorder::setUniformBuffer(uint32_t index, Buffer *buffer, size_t offset, size_t size) {
    check_kernel("setUniformBuffer");
    set_buffer(get_uniform_kind(), "setUniformBuffer", index, buffer, offset, size);
}

void ComputeRecorder::setUniformBuffers(uint32_t index, Buffer **buffers, uint32_t num, const size_t *offsets) {
    check_kernel("setUniformBuffers");
    set_buffers(get_uniform_kind(), "setUniformBuffers", index, buffers, num, offsets);
}

void ComputeRecorder::setUniformOffset(uint32_t index, size_t offset, bool relative) {
    check_kernel("setUniformOffset");
    set_offset(get_uniform_kind(), "setUniformOffset", index, offset, relative);
}

void *ComputeRecorder::getStorageData(uint32_t index, size_t size) {
    check_kernel("getStorageData");
    return get_data(get_storage_kind(), "getStorageData", index, size);
}

void ComputeRecorder::setStorageData(uint32_t index, const void *src, size_t size) {
    check_kernel("setStorageData");
    if(KOLM_UNLIKELY(src == nullptr)) fail("setStorageData", "data is null");
    void *data = get_data(get_storage_kind(), "setStorageData", index, size);
    if(data) memcpy(data, src, size);
}

void ComputeRecorder::setStorageBuffer(uint32_t index, Buffer *buffer, size_t offset, size_t size) {
    check_kernel("setStorageBuffer");
    set_buffer(get_storage_kind(), "setStorageBuffer", index, buffer, offset, size);
}

void ComputeRecorder::setStorageBuffers(uint32_t index, Buffer **buffers, uint32_t num, const size_t *offsets) {
    check_kernel("setStorageBuffers");
    set_buffers(get_storage_kind(), "setStorageBuffers", index, buffers, num, offsets);
}

void ComputeRecorder::setStorageOffset(uint32_t index, size_t offset, bool relative) {
    check_kernel("setStorageOffset");
    set_offset(get_storage_kind(), "setStorageOffset", index, offset, relative);
}

void ComputeRecorder::setTexelBuffer(uint32_t index, Buffer *buffer) {
    Buffer *list[] = {buffer};
    setTexelBuffers(index, list, 1);
}

void ComputeRecorder::setTexelBuffers(uint32_t index, Buffer **buffers, uint32_t num) {
    check_kernel("setTexelBuffer");
    if(KOLM_UNLIKELY(num && buffers == nullptr)) fail("setTexelBuffer", "buffers are null");
    const uint32_t num_texels = kernel->getNumTexels();
    for(uint32_t i = 0; i < num; i++) {
        if(KOLM_UNLIKELY(index >= num_texels || i >= num_texels - index)) {
            fail("setTexelBuffer", "invalid texel index %llu: %s kernel has %u",
                 static_cast<unsigned long long>(index) + i, get_text(kernel->getName()), num_texels);
        }
        if(buffers[i]) check_flag("setTexelBuffer", buffers[i], Buffer::FlagTexel);
        if(texels[index + i] != buffers[i]) update_mask |= UpdateTexel;
        texels[index + i] = buffers[i];
    }
}

void *ComputeRecorder::getIndirectData(size_t size) {
    check_kernel("getIndirectData");
    return get_data(get_indirect_kind(), "getIndirectData", 0, size);
}

void ComputeRecorder::setIndirectData(const void *src, size_t size) {
    check_kernel("setIndirectData");
    if(KOLM_UNLIKELY(src == nullptr)) fail("setIndirectData", "data is null");
    void *data = get_data(get_indirect_kind(), "setIndirectData", 0, size);
    if(data) memcpy(data, src, size);
}

void ComputeRecorder::setIndirectBuffer(Buffer *buffer, size_t offset) {
    check_kernel("setIndirectBuffer");
    set_buffer(get_indirect_kind(), "setIndirectBuffer", 0, buffer, offset, 0);
}

void ComputeRecorder::setIndirectOffset(size_t offset, bool relative) {
    check_kernel("setIndirectOffset");
    set_offset(get_indirect_kind(), "setIndirectOffset", 0, offset, relative);
}

void ComputeRecorder::clear_memory() {
    for(Slot &slot : uniforms) {
        if(slot.handle) slot = Slot();
    }
    for(Slot &slot : storages) {
        if(slot.handle) slot = Slot();
    }
    if(indirect.handle) indirect = Slot();
    update_mask = UpdateAll;
}

// work

uint32_t ComputeRecorder::get_groups(const char *name, uint32_t threads, uint32_t group_size) const {
    if(threads < 2) return threads;
    if(KOLM_UNLIKELY(group_size == 0)) fail("dispatch", "kernel group %s is undefined", name);
    return threads / group_size + (threads % group_size != 0);
}

// A slot without a buffer would let the shader read anything: the call is skipped.
bool ComputeRecorder::check_slots(const char *method) const {
    const char *kind = nullptr;
    uint32_t index = 0;
    for(uint32_t i = 0; i < kernel->getNumUniforms() && kind == nullptr; i++) {
        if(!uniforms[i].isSet()) {
            kind = "uniform";
            index = i;
        }
    }
    for(uint32_t i = 0; i < kernel->getNumStorages() && kind == nullptr; i++) {
        if(!storages[i].isSet()) {
            kind = "storage";
            index = i;
        }
    }
    for(uint32_t i = 0; i < kernel->getNumTexels() && kind == nullptr; i++) {
        if(texels[i] == nullptr) {
            kind = "texel";
            index = i;
        }
    }
    if(KOLM_LIKELY(kind == nullptr)) return true;
    Log::printf(Log::Error, "%sCompute::%s(): %s buffer %u of %s kernel is not set\n", getPlatformPrefix(), method,
                kind, index, get_text(kernel->getName()));
    return false;
}

void ComputeRecorder::dispatch(uint32_t width, uint32_t height, uint32_t depth) {
    check_kernel("dispatch");
    const uint32_t groups[] = {get_groups("width", width, kernel->getGroupWidth()),
                               get_groups("height", height, kernel->getGroupHeight()),
                               get_groups("depth", depth, kernel->getGroupDepth())};
    const uint32_t limits[] = {features.maxGroupCountX, features.maxGroupCountY, features.maxGroupCountZ};
    for(uint32_t i = 0; i < 3; i++) {
        if(KOLM_LIKELY(limits[i] == 0 || groups[i] <= limits[i])) continue;
        Log::printf(Log::Error, "%sCompute::dispatch(): %ux%ux%u groups of %s kernel are above the limit of %ux%ux%u\n",
                    getPlatformPrefix(), groups[0], groups[1], groups[2], get_text(kernel->getName()), limits[0],
                    limits[1], limits[2]);
        return;
    }
    if(!check_slots("dispatch")) return;
    if(record_dispatch(groups[0], groups[1], groups[2])) update_mask = 0;
}

void ComputeRecorder::dispatchIndirect() {
    check_kernel("dispatchIndirect");
    if(KOLM_UNLIKELY(!indirect.isSet())) fail("dispatchIndirect", "indirect buffer is null");
    if(KOLM_UNLIKELY(indirect.size < sizeof(DispatchIndirect))) {
        fail("dispatchIndirect", "invalid indirect size %zu: %zu bytes are read", indirect.size,
             sizeof(DispatchIndirect));
    }
    if(!check_slots("dispatchIndirect")) return;
    if(record_dispatch_indirect()) update_mask = 0;
}

// transfers

bool ComputeRecorder::setBuffer(Buffer *buffer, size_t offset, const void *src, size_t size) {
    check_created("setBuffer", buffer);
    if(KOLM_UNLIKELY(size && src == nullptr)) fail("setBuffer", "data is null");
    if(!buffer->check_set(offset, size)) return false;
    return (size == 0 || record_set(buffer, offset, src, size));
}

bool ComputeRecorder::copyBuffer(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) {
    check_created("copyBuffer", dest);
    check_created("copyBuffer", src);
    if(!dest->check_copy(dest_offset, src, src_offset, size)) return false;
    return (size == 0 || record_copy(dest, dest_offset, src, src_offset, size));
}

bool ComputeRecorder::clearBuffer(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) {
    check_created("clearBuffer", buffer);
    if(!buffer->check_clear(offset, size)) return false;
    bool status = true;
    Buffer::get_clear_value(format, value, &status);
    if(!status) return false;
    return (size == 0 || record_clear(buffer, format, offset, value, size));
}

void ComputeRecorder::barrier(Buffer **buffers, uint32_t num) {
    if(KOLM_UNLIKELY(num && buffers == nullptr)) fail("barrier", "buffers are null");
    for(uint32_t i = 0; i < num; i++) check_created("barrier", buffers[i]);
    if(num) record_barrier(buffers, num);
}

void ComputeRecorder::barrier(Buffer *buffer) { barrier(&buffer, 1); }

// conditions

void ComputeRecorder::beginConditional(Buffer *buffer, size_t offset) {
    check_flag("beginConditional", buffer, Buffer::FlagConditional);
    if(KOLM_UNLIKELY(is_conditional)) fail("beginConditional", "is already conditional");
    if(KOLM_UNLIKELY(offset % 4)) fail("beginConditional", "invalid offset %zu: a multiple of 4 is needed", offset);
    if(KOLM_UNLIKELY(offset >= buffer->getSize() || buffer->getSize() - offset < 4)) {
        fail("beginConditional", "invalid offset %zu: %s buffer has %zu bytes", offset, get_text(buffer->getName()),
             buffer->getSize());
    }
    is_conditional = true;
    if(features.conditionalRendering) {
        record_begin_conditional(buffer, offset);
    } else {
        Log::printf(Log::Error, "%sCompute::beginConditional(): conditions are not supported\n", getPlatformPrefix());
    }
}

void ComputeRecorder::endConditional() {
    if(KOLM_UNLIKELY(!is_conditional)) fail("endConditional", "is not conditional");
    is_conditional = false;
    if(features.conditionalRendering) record_end_conditional();
}

} // namespace Kolm
