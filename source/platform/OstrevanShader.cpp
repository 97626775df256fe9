#include "OstrevanShaderKolm.h"

#include <stdarg.h>

#include "OstrevanPlatformKolm.h"
#include "OstrevanStreamKolm.h"
#include "OstrevanStringKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Shader, Noncopyable)

Shader::Shader() : Shader(VoidImpl()) {}

static Kolm::Shader::Type get_type(Shader::Type type) { return Kolm::Shader::Type(uint32_t(type)); }

Platform Shader::getPlatform() const {
    return impl().isValid() ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Shader::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Shader::getIndex() const { return impl().ref().getIndex(); }

void Shader::clear() { impl().ref().clear(); }
bool Shader::isCreated() const { return impl().isValid() && impl().ref().isCreated(); }

#define OSTREVAN_SHADER_SOURCE(FUNC)                                                                            \
    bool Shader::FUNC(Type type, const char *src, const char *format, ...) {                                    \
        Kolm::String macros;                                                                                    \
        if(format) {                                                                                            \
            va_list args;                                                                                       \
            va_start(args, format);                                                                             \
            macros.vprintf(format, args);                                                                       \
            va_end(args);                                                                                       \
        }                                                                                                       \
        return impl().ref().FUNC(get_type(type), src, macros);                                                  \
    }                                                                                                           \
    bool Shader::FUNC(Type type, const char *src, const String &macros, const char **includes, uint32_t size) { \
        return impl().ref().FUNC(get_type(type), src, macros.impl().ref(), includes, size);                     \
    }
OSTREVAN_SHADER_SOURCE(load)
OSTREVAN_SHADER_SOURCE(create)
OSTREVAN_SHADER_SOURCE(loadGLSL)
OSTREVAN_SHADER_SOURCE(createGLSL)
#undef OSTREVAN_SHADER_SOURCE

bool Shader::loadSPIRV(Type type, const char *name) { return impl().ref().loadSPIRV(get_type(type), name); }
bool Shader::createSPIRV(Type type, const uint32_t *words, uint32_t size) {
    return impl().ref().createSPIRV(get_type(type), Kolm::Array<uint32_t>(size, words));
}

Shader::Type Shader::getType() const { return impl().isValid() ? Type(uint32_t(impl().ref().getType())) : TypeUnknown; }
const char *Shader::getTypeName() const { return getTypeName(getType()); }
const char *Shader::getTypeName(Type type) { return Kolm::Shader::getTypeName(get_type(type)); }

String Shader::getName() const { return String::StringImpl::TS(impl().ref().getName()); }
String Shader::getMacros() const { return String::StringImpl::TS(impl().ref().getMacros()); }

Array<String> Shader::getSources() const {
    Array<String> ret;
    const Kolm::Array<Kolm::String> &names = impl().ref().getSources();
    for(uint32_t i = 0; i < names.size(); i++) ret.append(getPublicString(names[i]));
    return ret;
}

#define OSTREVAN_SHADER_VALUE(TYPE, NAME)                                 \
    void Shader::set##NAME(TYPE value) { impl().ref().set##NAME(value); } \
    TYPE Shader::get##NAME() const { return impl().ref().get##NAME(); }
OSTREVAN_SHADER_VALUE(int32_t, SamplerOffset)
OSTREVAN_SHADER_VALUE(int32_t, TextureOffset)
OSTREVAN_SHADER_VALUE(int32_t, SurfaceOffset)
OSTREVAN_SHADER_VALUE(int32_t, UniformOffset)
OSTREVAN_SHADER_VALUE(int32_t, StorageOffset)
OSTREVAN_SHADER_VALUE(int32_t, TracingOffset)
OSTREVAN_SHADER_VALUE(int32_t, TexelOffset)
OSTREVAN_SHADER_VALUE(int32_t, TableOffset)
OSTREVAN_SHADER_VALUE(uint32_t, PatchSize)
OSTREVAN_SHADER_VALUE(uint32_t, InputSize)
OSTREVAN_SHADER_VALUE(uint32_t, OutputSize)
#undef OSTREVAN_SHADER_VALUE

bool Shader::isMacro(const char *name) { return Kolm::Shader::isMacro(name); }
bool Shader::setMacro(const char *name, int32_t value) { return Kolm::Shader::setMacro(name, value); }
bool Shader::setMacro(const char *name, uint32_t value) { return Kolm::Shader::setMacro(name, value); }
bool Shader::setMacro(const char *name, const char *value) { return Kolm::Shader::setMacro(name, value); }
bool Shader::setMacros(const char *macros) { return Kolm::Shader::setMacros(macros); }
bool Shader::removeMacro(const char *name) { return Kolm::Shader::removeMacro(name); }
void Shader::clearMacros() { Kolm::Shader::clearMacros(); }

bool Shader::isInclude(const char *name) { return Kolm::Shader::isInclude(name); }
void Shader::setInclude(const char *name, const char *src) { Kolm::Shader::setInclude(name, Kolm::String(src)); }
void Shader::setInclude(const char *name, const String &src) { Kolm::Shader::setInclude(name, src.impl().ref()); }
bool Shader::removeInclude(const char *name) { return Kolm::Shader::removeInclude(name); }
void Shader::clearIncludes() { Kolm::Shader::clearIncludes(); }
void Shader::addIncludePath(const char *path) { Kolm::Shader::addIncludePath(path); }
void Shader::clearIncludePaths() { Kolm::Shader::clearIncludePaths(); }

bool Shader::hasCache() { return Kolm::Shader::hasCache(); }
bool Shader::setCache(const char *name) { return Kolm::Shader::setCache(name); }
bool Shader::loadCache(const String &key, Stream &stream) {
    return Kolm::Shader::loadCache(getCoreString(key), stream.impl().ref());
}
bool Shader::saveCache(const String &key, Stream &stream) {
    return Kolm::Shader::saveCache(getCoreString(key), stream.impl().ref());
}
bool Shader::clearCache() { return Kolm::Shader::clearCache(); }
uint64_t Shader::getNumCacheHits() { return Kolm::Shader::getNumCacheHits(); }
uint64_t Shader::getNumCacheMisses() { return Kolm::Shader::getNumCacheMisses(); }

bool Shader::hasSourceCache() { return Kolm::Shader::hasSourceCache(); }
bool Shader::setSourceCache(const char *name) { return Kolm::Shader::setSourceCache(name); }
bool Shader::clearSourceCache() { return Kolm::Shader::clearSourceCache(); }
uint64_t Shader::getNumSourceHits() { return Kolm::Shader::getNumSourceHits(); }
uint64_t Shader::getNumSourceMisses() { return Kolm::Shader::getNumSourceMisses(); }

String Shader::preprocessor(const char *src, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return String::StringImpl::TS(Kolm::Shader::preprocessor(src, macros));
}
String Shader::preprocessor(const char *src, const String &macros, const char **includes, uint32_t size, bool *status) {
    return String::StringImpl::TS(Kolm::Shader::preprocessor(src, macros.impl().ref(), includes, size, status));
}

String Shader::loadPreprocessor(const char *name, const String &macros, const char **includes, uint32_t size,
                                bool *status) {
    return String::StringImpl::TS(Kolm::Shader::loadPreprocessor(name, macros.impl().ref(), includes, size, status));
}

} // namespace Ostrevan
