#include "OstrevanFenceKolm.h"

#include "OstrevanStringKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Fence, Noncopyable)

Fence::Fence() : Fence(VoidImpl()) {}

Platform Fence::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Fence::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Fence::getIndex() const { return impl().ref().getIndex(); }

void Fence::clear() { impl().ref().clear(); }
bool Fence::isCreated() const { return (impl().isValid() && impl().ref().isCreated()); }
bool Fence::create(Flags flags) { return impl().ref().create(getCoreFlags(flags)); }
bool Fence::create(const Fence &fence) { return impl().ref().create(getCore<Kolm::Fence *>(fence)); }
int32_t Fence::getHandle() const { return impl().ref().getHandle(); }

void Fence::setName(const char *name) { impl().ref().setName(name); }
String Fence::getName() const { return String::StringImpl::TS(impl().ref().getName()); }
Fence::Flags Fence::getFlags() const { return static_cast<Flags>(impl().ref().getFlags()); }
bool Fence::hasFlags(Flags flags) const { return impl().ref().hasFlags(getCoreFlags(flags)); }
bool Fence::hasFlag(Flags flags) const { return impl().ref().hasFlag(getCoreFlags(flags)); }

uint64_t Fence::getValue() const { return impl().ref().getValue(); }
bool Fence::isSignaled() const { return impl().ref().isSignaled(); }
bool Fence::wait(uint64_t timeout) const { return impl().ref().wait(timeout); }
bool Fence::wait(uint64_t value, uint64_t timeout) const { return impl().ref().wait(value, timeout); }

} // namespace Ostrevan
