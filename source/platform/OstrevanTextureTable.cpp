#include "OstrevanTextureTableKolm.h"

#include "OstrevanStringKolm.h"
#include "OstrevanTextureKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(TextureTable, Noncopyable)

TextureTable::TextureTable() : TextureTable(VoidImpl()) {}

Platform TextureTable::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *TextureTable::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t TextureTable::getIndex() const { return impl().ref().getIndex(); }

void TextureTable::clear() { impl().ref().clear(); }
bool TextureTable::isCreated() const { return (impl().isValid() && impl().ref().isCreated()); }
bool TextureTable::create(Texture::Type type, uint32_t size) { return impl().ref().create(getCoreType(type), size); }
void TextureTable::setName(const char *name) { impl().ref().setName(name); }
String TextureTable::getName() const { return String::StringImpl::TS(impl().ref().getName()); }
Texture::Type TextureTable::getType() const { return static_cast<Texture::Type>(impl().ref().getType()); }
const char *TextureTable::getTypeName() const { return impl().ref().getTypeName(); }
uint32_t TextureTable::getSize() const { return impl().ref().getSize(); }
Texture TextureTable::get(uint32_t index) const { return TS<Texture>(impl().ref().get(index)); }
bool TextureTable::isOwner(uint32_t index) const { return impl().ref().isOwner(index); }
size_t TextureTable::getMemory() const { return impl().ref().getMemory(); }

} // namespace Ostrevan
