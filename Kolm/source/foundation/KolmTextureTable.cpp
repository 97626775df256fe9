// KolmTextureTable.cpp: slots of texture tables.

#include "KolmTextureTable.h"

#include "KolmLog.h"

namespace Kolm {

void TextureTable::clear() {
    table_name.clear();
    table_type = Texture::TypeUnknown;
    table_textures.clear();
}

void TextureTable::setName(const char *name) { table_name = (name) ? name : ""; }

size_t TextureTable::getMemory() const {
    size_t memory = 0;
    for(uint32_t i = 0; i < getSize(); i++) {
        if(table_textures[i]) memory += table_textures[i]->getMemory();
    }
    return memory;
}

Texture *TextureTable::get(uint32_t index) const {
    KOLM_ASSERT(index < getSize() && "TextureTable::get(): invalid texture index");
    return table_textures[index];
}

bool TextureTable::isOwner(uint32_t index) const {
    KOLM_ASSERT(index < getSize() && "TextureTable::isOwner(): invalid texture index");
    return table_textures.isOwner(index);
}

bool TextureTable::init(Texture::Type type, uint32_t size) {
    KOLM_ASSERT(!isCreated() && "TextureTable::create(): is already created");
    KOLM_ASSERT(type > Texture::TypeUnknown && type < Texture::NumTypes &&
                "TextureTable::create(): invalid texture type");
    KOLM_ASSERT(size && "TextureTable::create(): invalid table size");
    table_type = type;
    table_textures.init(size);
    return true;
}

bool TextureTable::check_type(const Texture *texture) const {
    if(texture->getType() == table_type) return true;
    Log::printf(Log::Error, "TextureTable::set(): can't set %s texture into %s table\n", texture->getTypeName(),
                getTypeName());
    return false;
}

bool TextureTable::check_set(uint32_t index, Texture *texture, bool owner) {
    KOLM_ASSERT(isCreated() && "TextureTable::set(): table is not created");
    if(index >= getSize()) {
        Log::printf(Log::Error, "TextureTable::set(): can't set %u texture into %u table\n", index, getSize());
        return false;
    }
    if(texture && !texture->isCreated()) {
        Log::print(Log::Error, "TextureTable::set(): texture is not created\n");
        return false;
    }
    if(texture && !check_type(texture)) return false;
    table_textures.set(index, texture, owner);
    return true;
}

bool TextureTable::check_set(uint32_t index, Texture **textures, uint32_t num, bool owner) {
    KOLM_ASSERT(isCreated() && "TextureTable::set(): table is not created");
    if(index > getSize() || num > getSize() - index) {
        Log::printf(Log::Error, "TextureTable::set(): can't set %u textures into %u table\n", num, getSize());
        return false;
    }
    for(uint32_t i = 0; i < num; i++) {
        if(textures[i] == nullptr) continue;
        if(!textures[i]->isCreated()) {
            Log::printf(Log::Error, "TextureTable::set(): %u texture is not created\n", i);
            return false;
        }
        if(!check_type(textures[i])) return false;
    }
    for(uint32_t i = 0; i < num; i++) table_textures.set(index + i, textures[i], owner);
    return true;
}

} // namespace Kolm
