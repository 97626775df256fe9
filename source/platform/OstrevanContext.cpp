#include "OstrevanContextKolm.h"

#include "KolmBackend.h"

namespace Ostrevan {

namespace {

Kolm::Platform get_concrete(Platform platform) {
    return (platform == PlatformAny) ? Kolm::PlatformVK : getCorePlatform(platform);
}

} // namespace

OSTREVAN_HANDLE_SOURCE(Context, Noncopyable)

Context::Context() : Context(VoidImpl()) {}
Context::Context(Platform platform, uint32_t index) : Context(VoidImpl()) {
    Kolm::Offscreen *context = Kolm::Backend::createContext(get_concrete(platform), index);
    if(context) impl().init(context);
}

Platform Context::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Context::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Context::getIndex() const { return (impl().isValid()) ? impl().ref().getIndex() : ~0u; }

bool Context::isCreated() const { return (impl().isValid() && impl().ref().isCreated()); }
bool Context::create() {
    Kolm::Offscreen *context = impl().get();
    return (context && context->create());
}
bool Context::flush() { return (impl().isValid() && impl().ref().flush()); }
bool Context::finish() { return (impl().isValid() && impl().ref().finish()); }

void Context::setValidation(bool enabled) { Kolm::Backend::setValidation(enabled); }

uint32_t Context::getNumAdapters(Platform platform) { return Kolm::Backend::getNumAdapters(get_concrete(platform)); }

} // namespace Ostrevan
