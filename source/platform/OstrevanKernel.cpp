#include "OstrevanKernelKolm.h"

#include <stdarg.h>

#include "OstrevanShaderKolm.h"
#include "OstrevanStringKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Kernel, Noncopyable)

Kernel::Kernel() : Kernel(VoidImpl()) {}

Platform Kernel::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Kernel::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Kernel::getIndex() const { return impl().ref().getIndex(); }

void Kernel::clear() { impl().ref().clear(); }
bool Kernel::isCreated() const { return (impl().isValid() && impl().ref().isCreated()); }
bool Kernel::create() { return impl().ref().create(); }

void Kernel::setName(const char *name) { impl().ref().setName(name); }
String Kernel::getName() const { return String::StringImpl::TS(impl().ref().getName()); }

Kernel &Kernel::setParameters(const Kernel &kernel) {
    impl().ref().setParameters(getCore<Kolm::Kernel *>(kernel));
    return *this;
}

void Kernel::setShader(const Shader &shader, bool owner) {
    impl().ref().setShader(const_cast<Shader &>(shader).impl().get(owner), owner);
}
uint32_t Kernel::getNumShaders() const { return impl().ref().getNumShaders(); }

bool Kernel::loadShader(const char *name, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return impl().ref().loadShader(name, macros);
}
bool Kernel::loadShader(const char *name, const String &macros, const char **includes, uint32_t size) {
    return impl().ref().loadShader(name, macros.impl().ref(), includes, size);
}
bool Kernel::loadShaderGLSL(const char *name, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return impl().ref().loadShaderGLSL(name, macros);
}
bool Kernel::loadShaderGLSL(const char *name, const String &macros, const char **includes, uint32_t size) {
    return impl().ref().loadShaderGLSL(name, macros.impl().ref(), includes, size);
}
bool Kernel::createShader(const char *src, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return impl().ref().createShader(src, macros);
}
bool Kernel::createShader(const char *src, const String &macros, const char **includes, uint32_t size) {
    return impl().ref().createShader(src, macros.impl().ref(), includes, size);
}
bool Kernel::createShaderGLSL(const char *src, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return impl().ref().createShaderGLSL(src, macros);
}
bool Kernel::createShaderGLSL(const char *src, const String &macros, const char **includes, uint32_t size) {
    return impl().ref().createShaderGLSL(src, macros.impl().ref(), includes, size);
}
bool Kernel::loadShaderSPIRV(const char *name) { return impl().ref().loadShaderSPIRV(name); }
bool Kernel::createShaderSPIRV(const uint32_t *words, uint32_t size) {
    return impl().ref().createShaderSPIRV(Kolm::Array<uint32_t>(size, words));
}

} // namespace Ostrevan
