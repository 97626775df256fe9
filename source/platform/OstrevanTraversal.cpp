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

bool Traversal::loadShader(Shader::Type type, const char *name, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return impl().ref().loadShader(static_cast<Kolm::Shader::Type>(type), name, macros);
}
bool Traversal::loadShader(Shader::Type type, const char *name, const String &macros, const char **includes,
                           uint32_t size) {
    return impl().ref().loadShader(static_cast<Kolm::Shader::Type>(type), name, macros.impl().ref(), includes, size);
}
bool Traversal::loadShaderGLSL(Shader::Type type, const char *name, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return impl().ref().loadShaderGLSL(static_cast<Kolm::Shader::Type>(type), name, macros);
}
bool Traversal::loadShaderGLSL(Shader::Type type, const char *name, const String &macros, const char **includes,
                               uint32_t size) {
    return impl().ref().loadShaderGLSL(static_cast<Kolm::Shader::Type>(type), name, macros.impl().ref(), includes,
                                       size);
}
bool Traversal::createShader(Shader::Type type, const char *src, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return impl().ref().createShader(static_cast<Kolm::Shader::Type>(type), src, macros);
}
bool Traversal::createShader(Shader::Type type, const char *src, const String &macros, const char **includes,
                             uint32_t size) {
    return impl().ref().createShader(static_cast<Kolm::Shader::Type>(type), src, macros.impl().ref(), includes, size);
}
bool Traversal::createShaderGLSL(Shader::Type type, const char *src, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return impl().ref().createShaderGLSL(static_cast<Kolm::Shader::Type>(type), src, macros);
}
bool Traversal::createShaderGLSL(Shader::Type type, const char *src, const String &macros, const char **includes,
                                 uint32_t size) {
    return impl().ref().createShaderGLSL(static_cast<Kolm::Shader::Type>(type), src, macros.impl().ref(), includes,
                                         size);
}
bool Traversal::loadShaderSPIRV(Shader::Type type, const char *name) {
    return impl().ref().loadShaderSPIRV(static_cast<Kolm::Shader::Type>(type), name);
}
bool Traversal::createShaderSPIRV(Shader::Type type, const Array<uint32_t> &words) {
    return impl().ref().createShaderSPIRV(static_cast<Kolm::Shader::Type>(type),
                                          Kolm::Array<uint32_t>(words.size(), words.get()));
}

uint32_t Traversal::getNumRayMissShaders() const { return impl().ref().getNumRayMissShaders(); }
uint32_t Traversal::getNumTraversalShaders() const { return impl().ref().getNumTraversalShaders(); }
Traversal &Traversal::setRecursionDepth(uint32_t depth) {
    impl().ref().setRecursionDepth(depth);
    return *this;
}
uint32_t Traversal::getRecursionDepth() const { return impl().ref().getRecursionDepth(); }

uint32_t Traversal::addSampler(Shader::Mask mask) {
    return impl().ref().addSampler(static_cast<Kolm::Shader::Mask>(mask));
}
Traversal &Traversal::setSamplerOffset(uint32_t offset) {
    impl().ref().setSamplerOffset(offset);
    return *this;
}
Traversal &Traversal::setSamplerMask(uint32_t index, Shader::Mask mask, bool array) {
    impl().ref().setSamplerMask(index, static_cast<Kolm::Shader::Mask>(mask), array);
    return *this;
}
Traversal &Traversal::setSamplerMasks(uint32_t index, uint32_t num, Shader::Mask mask, bool array) {
    impl().ref().setSamplerMasks(index, num, static_cast<Kolm::Shader::Mask>(mask), array);
    return *this;
}
Traversal &Traversal::setSamplerArray(uint32_t index, uint32_t num, bool array) {
    impl().ref().setSamplerArray(index, num, array);
    return *this;
}
uint32_t Traversal::getNumSamplers() const { return impl().ref().getNumSamplers(); }
uint32_t Traversal::getSamplerOffset() const { return impl().ref().getSamplerOffset(); }
Shader::Mask Traversal::getSamplerMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getSamplerMasks(index, num));
}
Shader::Mask Traversal::getSamplerMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getSamplerMask(index));
}
uint32_t Traversal::getSamplerArray(uint32_t index) const { return impl().ref().getSamplerArray(index); }

uint32_t Traversal::addTexture(Shader::Mask mask) {
    return impl().ref().addTexture(static_cast<Kolm::Shader::Mask>(mask));
}
Traversal &Traversal::setTextureOffset(uint32_t offset) {
    impl().ref().setTextureOffset(offset);
    return *this;
}
Traversal &Traversal::setTextureMask(uint32_t index, Shader::Mask mask, bool array) {
    impl().ref().setTextureMask(index, static_cast<Kolm::Shader::Mask>(mask), array);
    return *this;
}
Traversal &Traversal::setTextureMasks(uint32_t index, uint32_t num, Shader::Mask mask, bool array) {
    impl().ref().setTextureMasks(index, num, static_cast<Kolm::Shader::Mask>(mask), array);
    return *this;
}
Traversal &Traversal::setTextureArray(uint32_t index, uint32_t num, bool array) {
    impl().ref().setTextureArray(index, num, array);
    return *this;
}
uint32_t Traversal::getNumTextures() const { return impl().ref().getNumTextures(); }
uint32_t Traversal::getTextureOffset() const { return impl().ref().getTextureOffset(); }
Shader::Mask Traversal::getTextureMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getTextureMasks(index, num));
}
Shader::Mask Traversal::getTextureMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getTextureMask(index));
}
uint32_t Traversal::getTextureArray(uint32_t index) const { return impl().ref().getTextureArray(index); }

uint32_t Traversal::addSurface(Shader::Mask mask) {
    return impl().ref().addSurface(static_cast<Kolm::Shader::Mask>(mask));
}
Traversal &Traversal::setSurfaceOffset(uint32_t offset) {
    impl().ref().setSurfaceOffset(offset);
    return *this;
}
Traversal &Traversal::setSurfaceMask(uint32_t index, Shader::Mask mask, bool array) {
    impl().ref().setSurfaceMask(index, static_cast<Kolm::Shader::Mask>(mask), array);
    return *this;
}
Traversal &Traversal::setSurfaceMasks(uint32_t index, uint32_t num, Shader::Mask mask, bool array) {
    impl().ref().setSurfaceMasks(index, num, static_cast<Kolm::Shader::Mask>(mask), array);
    return *this;
}
Traversal &Traversal::setSurfaceArray(uint32_t index, uint32_t num, bool array) {
    impl().ref().setSurfaceArray(index, num, array);
    return *this;
}
uint32_t Traversal::getNumSurfaces() const { return impl().ref().getNumSurfaces(); }
uint32_t Traversal::getSurfaceOffset() const { return impl().ref().getSurfaceOffset(); }
Shader::Mask Traversal::getSurfaceMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getSurfaceMasks(index, num));
}
Shader::Mask Traversal::getSurfaceMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getSurfaceMask(index));
}
uint32_t Traversal::getSurfaceArray(uint32_t index) const { return impl().ref().getSurfaceArray(index); }

uint32_t Traversal::addUniform(Shader::Mask mask, BindFlags flags) {
    return impl().ref().addUniform(static_cast<Kolm::Shader::Mask>(mask),
                                   static_cast<Kolm::Traversal::BindFlags>(flags));
}
Traversal &Traversal::setUniformOffset(uint32_t offset) {
    impl().ref().setUniformOffset(offset);
    return *this;
}
Traversal &Traversal::setUniformMask(uint32_t index, Shader::Mask mask, BindFlags flags) {
    impl().ref().setUniformMask(index, static_cast<Kolm::Shader::Mask>(mask),
                                static_cast<Kolm::Traversal::BindFlags>(flags));
    return *this;
}
Traversal &Traversal::setUniformMasks(uint32_t index, uint32_t num, Shader::Mask mask, BindFlags flags) {
    impl().ref().setUniformMasks(index, num, static_cast<Kolm::Shader::Mask>(mask),
                                 static_cast<Kolm::Traversal::BindFlags>(flags));
    return *this;
}
Traversal &Traversal::setUniformFlags(uint32_t index, BindFlags flags) {
    impl().ref().setUniformFlags(index, static_cast<Kolm::Traversal::BindFlags>(flags));
    return *this;
}
uint32_t Traversal::getNumUniforms() const { return impl().ref().getNumUniforms(); }
uint32_t Traversal::getUniformOffset() const { return impl().ref().getUniformOffset(); }
Shader::Mask Traversal::getUniformMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getUniformMasks(index, num));
}
Shader::Mask Traversal::getUniformMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getUniformMask(index));
}
Traversal::BindFlags Traversal::getUniformFlags(uint32_t index) const {
    return static_cast<BindFlags>(impl().ref().getUniformFlags(index));
}

uint32_t Traversal::addStorage(Shader::Mask mask, BindFlags flags) {
    return impl().ref().addStorage(static_cast<Kolm::Shader::Mask>(mask),
                                   static_cast<Kolm::Traversal::BindFlags>(flags));
}
Traversal &Traversal::setStorageOffset(uint32_t offset) {
    impl().ref().setStorageOffset(offset);
    return *this;
}
Traversal &Traversal::setStorageMask(uint32_t index, Shader::Mask mask, BindFlags flags) {
    impl().ref().setStorageMask(index, static_cast<Kolm::Shader::Mask>(mask),
                                static_cast<Kolm::Traversal::BindFlags>(flags));
    return *this;
}
Traversal &Traversal::setStorageMasks(uint32_t index, uint32_t num, Shader::Mask mask, BindFlags flags) {
    impl().ref().setStorageMasks(index, num, static_cast<Kolm::Shader::Mask>(mask),
                                 static_cast<Kolm::Traversal::BindFlags>(flags));
    return *this;
}
Traversal &Traversal::setStorageFlags(uint32_t index, BindFlags flags) {
    impl().ref().setStorageFlags(index, static_cast<Kolm::Traversal::BindFlags>(flags));
    return *this;
}
uint32_t Traversal::getNumStorages() const { return impl().ref().getNumStorages(); }
uint32_t Traversal::getStorageOffset() const { return impl().ref().getStorageOffset(); }
Shader::Mask Traversal::getStorageMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getStorageMasks(index, num));
}
Shader::Mask Traversal::getStorageMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getStorageMask(index));
}
Traversal::BindFlags Traversal::getStorageFlags(uint32_t index) const {
    return static_cast<BindFlags>(impl().ref().getStorageFlags(index));
}

uint32_t Traversal::addTracing(Shader::Mask mask) {
    return impl().ref().addTracing(static_cast<Kolm::Shader::Mask>(mask));
}
Traversal &Traversal::setTracingOffset(uint32_t offset) {
    impl().ref().setTracingOffset(offset);
    return *this;
}
Traversal &Traversal::setTracingMask(uint32_t index, Shader::Mask mask) {
    impl().ref().setTracingMask(index, static_cast<Kolm::Shader::Mask>(mask));
    return *this;
}
Traversal &Traversal::setTracingMasks(uint32_t index, uint32_t num, Shader::Mask mask) {
    impl().ref().setTracingMasks(index, num, static_cast<Kolm::Shader::Mask>(mask));
    return *this;
}
uint32_t Traversal::getNumTracings() const { return impl().ref().getNumTracings(); }
uint32_t Traversal::getTracingOffset() const { return impl().ref().getTracingOffset(); }
Shader::Mask Traversal::getTracingMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getTracingMasks(index, num));
}
Shader::Mask Traversal::getTracingMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getTracingMask(index));
}

uint32_t Traversal::addTexel(Shader::Mask mask) { return impl().ref().addTexel(static_cast<Kolm::Shader::Mask>(mask)); }
Traversal &Traversal::setTexelOffset(uint32_t offset) {
    impl().ref().setTexelOffset(offset);
    return *this;
}
Traversal &Traversal::setTexelMask(uint32_t index, Shader::Mask mask) {
    impl().ref().setTexelMask(index, static_cast<Kolm::Shader::Mask>(mask));
    return *this;
}
Traversal &Traversal::setTexelMasks(uint32_t index, uint32_t num, Shader::Mask mask) {
    impl().ref().setTexelMasks(index, num, static_cast<Kolm::Shader::Mask>(mask));
    return *this;
}
uint32_t Traversal::getNumTexels() const { return impl().ref().getNumTexels(); }
uint32_t Traversal::getTexelOffset() const { return impl().ref().getTexelOffset(); }
Shader::Mask Traversal::getTexelMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getTexelMasks(index, num));
}
Shader::Mask Traversal::getTexelMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getTexelMask(index));
}
uint32_t Traversal::addTable(TableType type, uint32_t size, Shader::Mask mask, BindFlags flags) {
    return impl().ref().addTable(static_cast<Kolm::Traversal::TableType>(type), size,
                                 static_cast<Kolm::Shader::Mask>(mask), static_cast<Kolm::Traversal::BindFlags>(flags));
}
Traversal &Traversal::setTableOffset(uint32_t offset) {
    impl().ref().setTableOffset(offset);
    return *this;
}
Traversal &Traversal::setTableType(uint32_t index, TableType type, uint32_t size, Shader::Mask mask, BindFlags flags,
                                   bool enable) {
    impl().ref().setTableType(index, static_cast<Kolm::Traversal::TableType>(type), size,
                              static_cast<Kolm::Shader::Mask>(mask), static_cast<Kolm::Traversal::BindFlags>(flags),
                              enable);
    return *this;
}
Traversal &Traversal::setTableMask(uint32_t index, Shader::Mask mask) {
    impl().ref().setTableMask(index, static_cast<Kolm::Shader::Mask>(mask));
    return *this;
}
Traversal &Traversal::setTableFlags(uint32_t index, BindFlags flags) {
    impl().ref().setTableFlags(index, static_cast<Kolm::Traversal::BindFlags>(flags));
    return *this;
}
uint32_t Traversal::getNumTables() const { return impl().ref().getNumTables(); }
uint32_t Traversal::getTableOffset() const { return impl().ref().getTableOffset(); }
Traversal::TableType Traversal::getTableType(uint32_t index) const {
    return static_cast<TableType>(impl().ref().getTableType(index));
}
uint32_t Traversal::getTableSize(uint32_t index) const { return impl().ref().getTableSize(index); }
Traversal::BindFlags Traversal::getTableFlags(uint32_t index) const {
    return static_cast<BindFlags>(impl().ref().getTableFlags(index));
}
Shader::Mask Traversal::getTableMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getTableMasks(index, num));
}
Shader::Mask Traversal::getTableMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getTableMask(index));
}

} // namespace Ostrevan
