// Storage buffers that shaders choose from by a number.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanString.h>
#include <platform/OstrevanBuffer.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

/// Array of storage buffers, made by Device::createBufferTable(). A table lives long: it is filled through Device, and
/// bound as a whole. What it does not own has to outlive its use.
class OSTREVAN_API BufferTable {
    OSTREVAN_HANDLE(BufferTable)
public:
    BufferTable();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    /// Adapter that the table belongs to.
    uint32_t getIndex() const;

    /// Empties all slots, deletes the buffers that are owned, and forgets the name.
    void clear();
    bool isCreated() const;
    /// Expects a size above 0. False if the reason was logged.
    bool create(uint32_t size);

    /// Name in messages and in the API's debug tools.
    void setName(const char *name);
    String getName() const;

    uint32_t getSize() const;
    /// Buffer of a slot, an empty handle for an empty one. Expects an index below the size.
    Buffer get(uint32_t index) const;
    bool isOwner(uint32_t index) const;
    /// Bytes of the buffers.
    size_t getMemory() const;
};

} // namespace Ostrevan
