#include "OstrevanBufferTableKolm.h"

#include "OstrevanBufferKolm.h"
#include "OstrevanStringKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(BufferTable, Noncopyable)

BufferTable::BufferTable() : BufferTable(VoidImpl()) {}

Platform BufferTable::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *BufferTable::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t BufferTable::getIndex() const { return impl().ref().getIndex(); }

void BufferTable::clear() { impl().ref().clear(); }
bool BufferTable::isCreated() const { return (impl().isValid() && impl().ref().isCreated()); }
bool BufferTable::create(uint32_t size) { return impl().ref().create(size); }
void BufferTable::setName(const char *name) { impl().ref().setName(name); }
String BufferTable::getName() const { return String::StringImpl::TS(impl().ref().getName()); }
uint32_t BufferTable::getSize() const { return impl().ref().getSize(); }
Buffer BufferTable::get(uint32_t index) const { return TS<Buffer>(impl().ref().get(index)); }
bool BufferTable::isOwner(uint32_t index) const { return impl().ref().isOwner(index); }
size_t BufferTable::getMemory() const { return impl().ref().getMemory(); }

} // namespace Ostrevan
