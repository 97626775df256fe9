#include "OstrevanTraversalKolm.h"

#include <stdarg.h>

#include "OstrevanShaderKolm.h"
#include "OstrevanStringKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Traversal, Noncopyable)

Traversal::Traversal() : Traversal(VoidImpl()) {}

Platform Traversal::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Traversal::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Traversal::getIndex() const { return impl().ref().getIndex(); }

void Traversal::clear() { impl().ref().clear(); }
bool Traversal::isCreated() const { return (impl().isValid() && impl().ref().isCreated()); }
bool Traversal::create() { return impl().ref().create(); }

void Traversal::setName(const char *name) { impl().ref().setName(name); }
String Traversal::getName() const { return String::StringImpl::TS(impl().ref().getName()); }

Traversal &Traversal::setParameters(const Traversal &traversal) {
    impl().ref().setParameters(getCore<Kolm::Traversal *>(traversal));
    return *this;
}

void Traversal::addShader(const Shader &shader, bool owner) {
    impl().ref().addShader(const_cast<Shader &>(shader).impl().get(owner), owner);
}
uint32_t Traversal::getNumShaders() const { return impl().ref().getNumShaders(); }

uint32_t Traversal::getNumRayMissShaders() const { return impl().ref().getNumRayMissShaders(); }
uint32_t Traversal::getNumTraversalShaders() const { return impl().ref().getNumTraversalShaders(); }
Traversal &Traversal::setRecursionDepth(uint32_t depth) {
    impl().ref().setRecursionDepth(depth);
    return *this;
}
uint32_t Traversal::getRecursionDepth() const { return impl().ref().getRecursionDepth(); }

#define STAGE_CLASS Traversal
#include "OstrevanStageParameters.inc"

} // namespace Ostrevan
