// KolmDeviceBuffer.cpp: operations on buffers and buffer tables: their rules and short forms.

#include "KolmCaller.h"
#include "KolmDevice.h"

namespace Kolm {

// factories

Buffer *Device::createBuffer(Buffer *src) {
    Buffer *buffer = createBuffer();
    return (buffer) ? get_created(buffer, buffer->create(src)) : nullptr;
}

Buffer *Device::createBuffer(Buffer::Flags flags, size_t size, Format format) {
    Buffer *buffer = createBuffer();
    return (buffer) ? get_created(buffer, buffer->create(flags, size, format)) : nullptr;
}

Buffer *Device::createBuffer(Buffer::Flags flags, const void *src, size_t size, Format format) {
    Buffer *buffer = createBuffer(flags, size, format);
    return (buffer && src) ? get_created(buffer, setBuffer(buffer, 0, src, size)) : buffer;
}

BufferTable *Device::createBufferTable(uint32_t size) {
    BufferTable *table = createBufferTable();
    return (table) ? get_created(table, table->create(size)) : nullptr;
}

BufferTable *Device::createBufferTable(Buffer **buffers, uint32_t num, bool owner) {
    if(num == 0) return createBufferTable();
    BufferTable *table = createBufferTable(num);
    return (table) ? get_created(table, setBufferTable(table, 0, buffers, num, owner)) : nullptr;
}

// buffers

bool Device::setBuffer(Buffer *buffer, size_t offset, const void *src, size_t size) {
    const Caller caller = {*this, "Device", "setBuffer"};
    caller.checkCreated("buffer", buffer);
    if(KOLM_UNLIKELY(size && src == nullptr)) caller.fail("data is null for %s buffer", Caller::getText(buffer));
    check_transfer(caller);
    return (buffer->check_set(offset, size) && (size == 0 || set_buffer(buffer, offset, src, size)));
}

bool Device::getBuffer(Buffer *buffer, size_t offset, void *dest, size_t size) {
    const Caller caller = {*this, "Device", "getBuffer"};
    caller.checkCreated("buffer", buffer);
    if(KOLM_UNLIKELY(size && dest == nullptr)) caller.fail("data is null for %s buffer", Caller::getText(buffer));
    check_transfer(caller);
    return (buffer->check_get(offset, size) && (size == 0 || get_buffer(buffer, offset, dest, size)));
}

void *Device::mapBuffer(Buffer *buffer, size_t offset, size_t size) {
    const Caller caller = {*this, "Device", "mapBuffer"};
    caller.checkCreated("buffer", buffer);
    return (buffer->check_map(offset, size)) ? map_buffer(buffer, offset, size) : nullptr;
}

bool Device::unmapBuffer(Buffer *buffer) {
    const Caller caller = {*this, "Device", "unmapBuffer"};
    caller.checkCreated("buffer", buffer);
    return (buffer->check_unmap() && unmap_buffer(buffer));
}

bool Device::copyBuffer(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) {
    const Caller caller = {*this, "Device", "copyBuffer"};
    caller.checkCreated("dest buffer", dest);
    caller.checkCreated("src buffer", src);
    check_transfer(caller);
    return (dest->check_copy(dest_offset, src, src_offset, size) &&
            (size == 0 || copy_buffer(dest, dest_offset, src, src_offset, size)));
}

bool Device::clearBuffer(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) {
    const Caller caller = {*this, "Device", "clearBuffer"};
    caller.checkCreated("buffer", buffer);
    check_transfer(caller);
    if(!buffer->check_clear(offset, size)) return false;
    bool status = true;
    Buffer::get_clear_value(format, value, &status);
    return (status && (size == 0 || clear_buffer(buffer, format, offset, value, size)));
}

bool Device::bindBuffer(Buffer *buffer, const size_t *offsets, const size_t *sizes, uint32_t num, bool bind,
                        Fence *fence) {
    const Caller caller = {*this, "Device", "bindBuffer"};
    caller.checkCreated("buffer", buffer);
    caller.checkList("offsets", offsets, num);
    caller.checkList("sizes", sizes, num);
    check_fence(caller, fence);
    check_transfer(caller);
    if(!buffer->check_bind(offsets, sizes, num)) return false;
    if(fence) fence->fence_value++;
    if(bind_buffer(buffer, offsets, sizes, num, bind, fence)) return true;
    if(fence) fence->fence_value--;
    return false;
}

bool Device::flushBuffer(Buffer *buffer, Buffer::Flags flags) { return flushBuffers(&buffer, 1, flags); }

bool Device::flushBuffers(Buffer **buffers, uint32_t num, Buffer::Flags flags) {
    const Caller caller = {*this, "Device", "flushBuffers"};
    caller.checkList("buffers", buffers, num);
    for(uint32_t i = 0; i < num; i++) caller.checkCreated("buffer", buffers[i]);
    check_transfer(caller);
    return (num == 0 || flush_buffers(buffers, num, flags));
}

void Device::releaseBuffer(Buffer *buffer) {
    Caller{*this, "Device", "releaseBuffer"}.checkPlatform("buffer", buffer);
    release_buffer(buffer);
}

// tables

bool Device::setBufferTable(BufferTable *table, uint32_t index, Buffer *buffer, bool owner) {
    const Caller caller = {*this, "Device", "setBufferTable"};
    caller.checkCreated("table", table);
    if(buffer) {
        caller.checkPlatform("buffer", buffer);
        if(buffer->isCreated()) caller.checkFlag("buffer", buffer, Buffer::FlagStorage);
    }
    return (table->check_set(index, buffer, owner) && set_buffer_table(table, index, &buffer, 1));
}

bool Device::setBufferTable(BufferTable *table, uint32_t index, Buffer **buffers, uint32_t num, bool owner) {
    const Caller caller = {*this, "Device", "setBufferTable"};
    caller.checkCreated("table", table);
    caller.checkList("buffers", buffers, num);
    for(uint32_t i = 0; i < num; i++) {
        if(buffers[i] == nullptr) continue;
        caller.checkPlatform("buffer", buffers[i]);
        if(buffers[i]->isCreated()) caller.checkFlag("buffer", buffers[i], Buffer::FlagStorage);
    }
    return (table->check_set(index, buffers, num, owner) && (num == 0 || set_buffer_table(table, index, buffers, num)));
}

bool Device::setBufferTable(BufferTable *table, uint32_t index, const std::initializer_list<Buffer *> &buffers,
                            bool owner) {
    return setBufferTable(table, index, const_cast<Buffer **>(buffers.begin()), uint32_t(buffers.size()), owner);
}

void Device::releaseBufferTable(BufferTable *table) {
    Caller{*this, "Device", "releaseBufferTable"}.checkPlatform("table", table);
    release_buffer_table(table);
}

// short forms

bool Device::setBuffer(Buffer *buffer, const void *src, size_t size) { return setBuffer(buffer, 0, src, size); }

bool Device::setBuffer(Buffer *buffer, const void *src) {
    Caller{*this, "Device", "setBuffer"}.checkCreated("buffer", buffer);
    return setBuffer(buffer, 0, src, buffer->getSize());
}

bool Device::getBuffer(Buffer *buffer, void *dest, size_t size) { return getBuffer(buffer, 0, dest, size); }

bool Device::getBuffer(Buffer *buffer, void *dest) {
    Caller{*this, "Device", "getBuffer"}.checkCreated("buffer", buffer);
    return getBuffer(buffer, 0, dest, buffer->getSize());
}

void *Device::mapBuffer(Buffer *buffer, size_t size) { return mapBuffer(buffer, 0, size); }

void *Device::mapBuffer(Buffer *buffer) {
    Caller{*this, "Device", "mapBuffer"}.checkCreated("buffer", buffer);
    return mapBuffer(buffer, 0, buffer->getSize());
}

bool Device::copyBuffer(Buffer *dest, Buffer *src, size_t size) { return copyBuffer(dest, 0, src, 0, size); }

bool Device::copyBuffer(Buffer *dest, Buffer *src) {
    Caller{*this, "Device", "copyBuffer"}.checkCreated("src buffer", src);
    return copyBuffer(dest, 0, src, 0, src->getSize());
}

bool Device::clearBuffer(Buffer *buffer, Format format, const void *value, size_t size) {
    return clearBuffer(buffer, format, 0, value, size);
}

bool Device::clearBuffer(Buffer *buffer, Format format, const void *value) {
    Caller{*this, "Device", "clearBuffer"}.checkCreated("buffer", buffer);
    return clearBuffer(buffer, format, 0, value, buffer->getSize());
}

bool Device::clearBuffer(Buffer *buffer) { return clearBuffer(buffer, FormatUnknown, nullptr); }

bool Device::bindBuffer(Buffer *buffer, size_t offset, size_t size, bool bind, Fence *fence) {
    return bindBuffer(buffer, &offset, &size, 1, bind, fence);
}

bool Device::flushBuffers(const std::initializer_list<Buffer *> &buffers, Buffer::Flags flags) {
    return flushBuffers(const_cast<Buffer **>(buffers.begin()), uint32_t(buffers.size()), flags);
}

} // namespace Kolm
