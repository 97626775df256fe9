// KolmTextureTable.h: textures of one type that shaders choose from by a number.

#pragma once

#include "KolmTable.h"
#include "KolmTexture.h"

namespace Kolm {

/// Array of textures of one type. A table lives long: it is filled through Device, and bound as a whole.
class TextureTable : public PlatformBase {
public:
    explicit TextureTable(uint32_t index) : PlatformBase(index) {}

    /// Empties all slots, deletes the textures that are owned, and forgets name and type.
    virtual void clear();
    virtual bool isCreated() const = 0;
    /// Name in messages and in the API's debug tools.
    virtual void setName(const char *name);
    virtual bool create(Texture::Type type, uint32_t size) = 0;
    /// Bytes of the textures.
    virtual size_t getMemory() const;

    const String &getName() const { return table_name; }
    Texture::Type getType() const { return table_type; }
    const char *getTypeName() const { return Texture::getTypeName(table_type); }
    uint32_t getSize() const { return table_textures.size(); }
    /// Texture of a slot, null for an empty one.
    Texture *get(uint32_t index) const;
    Texture *const *getTextures() const { return table_textures.get(); }
    bool isOwner(uint32_t index) const;

protected:
    friend class Device;

    bool init(Texture::Type type, uint32_t size);
    /// Puts textures into slots, all or none; null empties a slot. Logs why not and returns false.
    bool check_set(uint32_t index, Texture *texture, bool owner);
    bool check_set(uint32_t index, Texture **textures, uint32_t num, bool owner);

    String table_name;
    Texture::Type table_type = Texture::TypeUnknown;
    TableSlots<Texture> table_textures;

private:
    bool check_type(const Texture *texture) const;
};

} // namespace Kolm
