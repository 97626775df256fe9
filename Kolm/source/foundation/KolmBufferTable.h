// KolmBufferTable.h: storage buffers that shaders choose from by a number.

#pragma once

#include "KolmBuffer.h"
#include "KolmTable.h"

namespace Kolm {

/// Array of storage buffers. A table lives long: it is filled through Device, and bound as a whole.
class BufferTable : public PlatformBase {
public:
    explicit BufferTable(uint32_t index) : PlatformBase(index) {}

    /// Empties all slots, deletes the buffers that are owned, and forgets the name.
    virtual void clear();
    virtual bool isCreated() const = 0;
    /// Name in messages and in the API's debug tools.
    virtual void setName(const char *name);
    virtual bool create(uint32_t size) = 0;
    /// Bytes of the buffers.
    virtual size_t getMemory() const;

    const String &getName() const { return table_name; }
    uint32_t getSize() const { return table_buffers.size(); }
    /// Buffer of a slot, null for an empty one.
    Buffer *get(uint32_t index) const;
    Buffer *const *getBuffers() const { return table_buffers.get(); }
    bool isOwner(uint32_t index) const;

protected:
    friend class Device;

    bool init(uint32_t size);
    /// Puts buffers into slots, all or none; null empties a slot. Logs why not and returns false.
    bool check_set(uint32_t index, Buffer *buffer, bool owner);
    bool check_set(uint32_t index, Buffer **buffers, uint32_t num, bool owner);

    String table_name;
    TableSlots<Buffer> table_buffers;
};

} // namespace Kolm
