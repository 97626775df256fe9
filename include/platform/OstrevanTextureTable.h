// Textures of one type that shaders choose from by a number.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanString.h>
#include <platform/OstrevanPlatform.h>
#include <platform/OstrevanTexture.h>

namespace Ostrevan {

/// Array of textures of one type, made by Device::createTextureTable(). A table lives long: it is filled through Device, and
/// bound as a whole. What it does not own has to outlive its use.
class OSTREVAN_API TextureTable {
    OSTREVAN_HANDLE(TextureTable)
public:
    TextureTable();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    /// Adapter that the table belongs to.
    uint32_t getIndex() const;

    /// Empties all slots, deletes the textures that are owned, and forgets the name.
    void clear();
    bool isCreated() const;
    /// Expects a size above 0. False if the reason was logged.
    bool create(Texture::Type type, uint32_t size);

    /// Name in messages and in the API's debug tools.
    void setName(const char *name);
    String getName() const;

    Texture::Type getType() const;
    const char *getTypeName() const;
    uint32_t getSize() const;
    /// Texture of a slot, an empty handle for an empty one. Expects an index below the size.
    Texture get(uint32_t index) const;
    bool isOwner(uint32_t index) const;
    /// Bytes of the textures.
    size_t getMemory() const;
};

} // namespace Ostrevan
