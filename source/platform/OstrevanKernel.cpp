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

uint32_t Kernel::getGroupWidth() const { return impl().ref().getGroupWidth(); }
uint32_t Kernel::getGroupHeight() const { return impl().ref().getGroupHeight(); }
uint32_t Kernel::getGroupDepth() const { return impl().ref().getGroupDepth(); }
uint32_t Kernel::addSampler() { return impl().ref().addSampler(); }
Kernel &Kernel::setSamplers(uint32_t num) {
    impl().ref().setSamplers(num);
    return *this;
}
Kernel &Kernel::setSamplerOffset(uint32_t offset) {
    impl().ref().setSamplerOffset(offset);
    return *this;
}
Kernel &Kernel::setSamplerArray(uint32_t index, uint32_t num, bool array) {
    impl().ref().setSamplerArray(index, num, array);
    return *this;
}
uint32_t Kernel::getNumSamplers() const { return impl().ref().getNumSamplers(); }
uint32_t Kernel::getSamplerOffset() const { return impl().ref().getSamplerOffset(); }
uint32_t Kernel::getSamplerArray(uint32_t index) const { return impl().ref().getSamplerArray(index); }
uint32_t Kernel::addTexture() { return impl().ref().addTexture(); }
Kernel &Kernel::setTextures(uint32_t num) {
    impl().ref().setTextures(num);
    return *this;
}
Kernel &Kernel::setTextureOffset(uint32_t offset) {
    impl().ref().setTextureOffset(offset);
    return *this;
}
Kernel &Kernel::setTextureArray(uint32_t index, uint32_t num, bool array) {
    impl().ref().setTextureArray(index, num, array);
    return *this;
}
uint32_t Kernel::getNumTextures() const { return impl().ref().getNumTextures(); }
uint32_t Kernel::getTextureOffset() const { return impl().ref().getTextureOffset(); }
uint32_t Kernel::getTextureArray(uint32_t index) const { return impl().ref().getTextureArray(index); }
uint32_t Kernel::addSurface() { return impl().ref().addSurface(); }
Kernel &Kernel::setSurfaces(uint32_t num) {
    impl().ref().setSurfaces(num);
    return *this;
}
Kernel &Kernel::setSurfaceOffset(uint32_t offset) {
    impl().ref().setSurfaceOffset(offset);
    return *this;
}
Kernel &Kernel::setSurfaceArray(uint32_t index, uint32_t num, bool array) {
    impl().ref().setSurfaceArray(index, num, array);
    return *this;
}
uint32_t Kernel::getNumSurfaces() const { return impl().ref().getNumSurfaces(); }
uint32_t Kernel::getSurfaceOffset() const { return impl().ref().getSurfaceOffset(); }
uint32_t Kernel::getSurfaceArray(uint32_t index) const { return impl().ref().getSurfaceArray(index); }
uint32_t Kernel::addUniform(BindFlags flags) {
    return impl().ref().addUniform(static_cast<Kolm::Kernel::BindFlags>(flags));
}
Kernel &Kernel::setUniforms(uint32_t num, BindFlags flags) {
    impl().ref().setUniforms(num, static_cast<Kolm::Kernel::BindFlags>(flags));
    return *this;
}
Kernel &Kernel::setUniformOffset(uint32_t offset) {
    impl().ref().setUniformOffset(offset);
    return *this;
}
Kernel &Kernel::setUniformFlags(uint32_t index, BindFlags flags) {
    impl().ref().setUniformFlags(index, static_cast<Kolm::Kernel::BindFlags>(flags));
    return *this;
}
uint32_t Kernel::getNumUniforms() const { return impl().ref().getNumUniforms(); }
uint32_t Kernel::getUniformOffset() const { return impl().ref().getUniformOffset(); }
Kernel::BindFlags Kernel::getUniformFlags(uint32_t index) const {
    return static_cast<BindFlags>(impl().ref().getUniformFlags(index));
}
uint32_t Kernel::addStorage(BindFlags flags) {
    return impl().ref().addStorage(static_cast<Kolm::Kernel::BindFlags>(flags));
}
Kernel &Kernel::setStorages(uint32_t num, BindFlags flags) {
    impl().ref().setStorages(num, static_cast<Kolm::Kernel::BindFlags>(flags));
    return *this;
}
Kernel &Kernel::setStorageOffset(uint32_t offset) {
    impl().ref().setStorageOffset(offset);
    return *this;
}
Kernel &Kernel::setStorageFlags(uint32_t index, BindFlags flags) {
    impl().ref().setStorageFlags(index, static_cast<Kolm::Kernel::BindFlags>(flags));
    return *this;
}
uint32_t Kernel::getNumStorages() const { return impl().ref().getNumStorages(); }
uint32_t Kernel::getStorageOffset() const { return impl().ref().getStorageOffset(); }
Kernel::BindFlags Kernel::getStorageFlags(uint32_t index) const {
    return static_cast<BindFlags>(impl().ref().getStorageFlags(index));
}
uint32_t Kernel::addTracing() { return impl().ref().addTracing(); }
Kernel &Kernel::setTracings(uint32_t num) {
    impl().ref().setTracings(num);
    return *this;
}
Kernel &Kernel::setTracingOffset(uint32_t offset) {
    impl().ref().setTracingOffset(offset);
    return *this;
}
uint32_t Kernel::getNumTracings() const { return impl().ref().getNumTracings(); }
uint32_t Kernel::getTracingOffset() const { return impl().ref().getTracingOffset(); }
uint32_t Kernel::addTexel() { return impl().ref().addTexel(); }
Kernel &Kernel::setTexels(uint32_t num) {
    impl().ref().setTexels(num);
    return *this;
}
Kernel &Kernel::setTexelOffset(uint32_t offset) {
    impl().ref().setTexelOffset(offset);
    return *this;
}
uint32_t Kernel::getNumTexels() const { return impl().ref().getNumTexels(); }
uint32_t Kernel::getTexelOffset() const { return impl().ref().getTexelOffset(); }
uint32_t Kernel::addTable(TableType type, uint32_t size, BindFlags flags) {
    return impl().ref().addTable(static_cast<Kolm::Kernel::TableType>(type), size,
                                 static_cast<Kolm::Kernel::BindFlags>(flags));
}
Kernel &Kernel::setTableOffset(uint32_t offset) {
    impl().ref().setTableOffset(offset);
    return *this;
}
Kernel &Kernel::setTableType(uint32_t index, TableType type, uint32_t size, BindFlags flags, bool enable) {
    impl().ref().setTableType(index, static_cast<Kolm::Kernel::TableType>(type), size,
                              static_cast<Kolm::Kernel::BindFlags>(flags), enable);
    return *this;
}
Kernel &Kernel::setTableFlags(uint32_t index, BindFlags flags) {
    impl().ref().setTableFlags(index, static_cast<Kolm::Kernel::BindFlags>(flags));
    return *this;
}
uint32_t Kernel::getNumTables() const { return impl().ref().getNumTables(); }
uint32_t Kernel::getTableOffset() const { return impl().ref().getTableOffset(); }
Kernel::TableType Kernel::getTableType(uint32_t index) const {
    return static_cast<TableType>(impl().ref().getTableType(index));
}
uint32_t Kernel::getTableSize(uint32_t index) const { return impl().ref().getTableSize(index); }
Kernel::BindFlags Kernel::getTableFlags(uint32_t index) const {
    return static_cast<BindFlags>(impl().ref().getTableFlags(index));
}

} // namespace Ostrevan
