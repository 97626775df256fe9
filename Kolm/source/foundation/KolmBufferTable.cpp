// KolmBufferTable.cpp: slots of buffer tables.

#include "KolmBufferTable.h"

#include "KolmLog.h"

namespace Kolm {

void BufferTable::clear() {
    table_name.clear();
    table_buffers.clear();
}

void BufferTable::setName(const char *name) { table_name = (name) ? name : ""; }

size_t BufferTable::getMemory() const {
    size_t memory = 0;
    for(uint32_t i = 0; i < getSize(); i++) {
        if(table_buffers[i]) memory += table_buffers[i]->getSize();
    }
    return memory;
}

Buffer *BufferTable::get(uint32_t index) const {
    KOLM_ASSERT(index < getSize() && "BufferTable::get(): invalid buffer index");
    return table_buffers[index];
}

bool BufferTable::isOwner(uint32_t index) const {
    KOLM_ASSERT(index < getSize() && "BufferTable::isOwner(): invalid buffer index");
    return table_buffers.isOwner(index);
}

bool BufferTable::init(uint32_t size) {
    KOLM_ASSERT(!isCreated() && "BufferTable::create(): is already created");
    KOLM_ASSERT(size && "BufferTable::create(): invalid table size");
    table_buffers.init(size);
    return true;
}

bool BufferTable::check_set(uint32_t index, Buffer *buffer, bool owner) {
    KOLM_ASSERT(isCreated() && "BufferTable::set(): table is not created");
    if(index >= getSize()) {
        Log::printf(Log::Error, "BufferTable::set(): can't set %u buffer into %u table\n", index, getSize());
        return false;
    }
    if(buffer && !buffer->isCreated()) {
        Log::print(Log::Error, "BufferTable::set(): buffer is not created\n");
        return false;
    }
    table_buffers.set(index, buffer, owner);
    return true;
}

bool BufferTable::check_set(uint32_t index, Buffer **buffers, uint32_t num, bool owner) {
    KOLM_ASSERT(isCreated() && "BufferTable::set(): table is not created");
    if(index > getSize() || num > getSize() - index) {
        Log::printf(Log::Error, "BufferTable::set(): can't set %u buffers into %u table\n", num, getSize());
        return false;
    }
    for(uint32_t i = 0; i < num; i++) {
        if(buffers[i] == nullptr || buffers[i]->isCreated()) continue;
        Log::printf(Log::Error, "BufferTable::set(): %u buffer is not created\n", i);
        return false;
    }
    for(uint32_t i = 0; i < num; i++) table_buffers.set(index + i, buffers[i], owner);
    return true;
}

} // namespace Kolm
