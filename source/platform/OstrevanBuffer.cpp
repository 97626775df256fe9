#include "OstrevanBufferKolm.h"
#include "OstrevanStringKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Buffer, Noncopyable)

Buffer::Buffer() : Buffer(VoidImpl()) {}

Platform Buffer::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Buffer::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Buffer::getIndex() const { return impl().ref().getIndex(); }

void Buffer::clear() { impl().ref().clear(); }
bool Buffer::isCreated() const { return (impl().isValid() && impl().ref().isCreated()); }
bool Buffer::create(Flags flags, size_t size, Format format) {
    return impl().ref().create(getCoreFlags(flags), size, getCore(format));
}
bool Buffer::create(const Buffer &buffer) { return impl().ref().create(getCore<Kolm::Buffer *>(buffer)); }

void Buffer::setName(const char *name) { impl().ref().setName(name); }
String Buffer::getName() const { return String::StringImpl::TS(impl().ref().getName()); }

Buffer::Flags Buffer::getFlags() const { return static_cast<Flags>(impl().ref().getFlags()); }
bool Buffer::hasFlags(Flags flags) const { return impl().ref().hasFlags(getCoreFlags(flags)); }
bool Buffer::hasFlag(Flags flags) const { return impl().ref().hasFlag(getCoreFlags(flags)); }
String Buffer::getFlagsName() const { return String::StringImpl::TS(impl().ref().getFlagsName()); }
String Buffer::getDescription() const { return String::StringImpl::TS(impl().ref().getDescription()); }
Format Buffer::getFormat() const { return static_cast<Format>(impl().ref().getFormat()); }
size_t Buffer::getSize() const { return impl().ref().getSize(); }
uint32_t Buffer::getPageSize() const { return impl().ref().getPageSize(); }
size_t Buffer::getMemory() const { return impl().ref().getMemory(); }
bool Buffer::isMapped() const { return impl().ref().isMapped(); }

} // namespace Ostrevan
