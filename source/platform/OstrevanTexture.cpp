#include "OstrevanTextureKolm.h"

#include "OstrevanStringKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Texture, Noncopyable)

Texture::Texture() : Texture(VoidImpl()) {}

Platform Texture::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Texture::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Texture::getIndex() const { return impl().ref().getIndex(); }

void Texture::clear() { impl().ref().clear(); }
bool Texture::isCreated() const { return (impl().isValid() && impl().ref().isCreated()); }
bool Texture::create(Type type, Format format, const Size &size, uint32_t layers, Flags flags) {
    return impl().ref().create(getCoreType(type), getCore(format), getCore(size), layers, getCoreFlags(flags));
}
bool Texture::create(Type type, Format format, const Size &size, Flags flags) {
    return impl().ref().create(getCoreType(type), getCore(format), getCore(size), getCoreFlags(flags));
}
bool Texture::create2D(Format format, uint32_t size, Flags flags) {
    return impl().ref().create2D(getCore(format), size, getCoreFlags(flags));
}
bool Texture::create2D(Format format, uint32_t width, uint32_t height, Flags flags) {
    return impl().ref().create2D(getCore(format), width, height, getCoreFlags(flags));
}
bool Texture::create2D(Format format, uint32_t width, uint32_t height, uint32_t layers, Flags flags) {
    return impl().ref().create2D(getCore(format), width, height, layers, getCoreFlags(flags));
}
bool Texture::create3D(Format format, uint32_t size, Flags flags) {
    return impl().ref().create3D(getCore(format), size, getCoreFlags(flags));
}
bool Texture::create3D(Format format, uint32_t width, uint32_t height, uint32_t depth, Flags flags) {
    return impl().ref().create3D(getCore(format), width, height, depth, getCoreFlags(flags));
}
bool Texture::createCube(Format format, uint32_t size, Flags flags) {
    return impl().ref().createCube(getCore(format), size, getCoreFlags(flags));
}
bool Texture::createCube(Format format, uint32_t size, uint32_t layers, Flags flags) {
    return impl().ref().createCube(getCore(format), size, layers, getCoreFlags(flags));
}
bool Texture::create(const Texture &texture) { return impl().ref().create(getCore<Kolm::Texture *>(texture)); }

void Texture::setName(const char *name) { impl().ref().setName(name); }
String Texture::getName() const { return String::StringImpl::TS(impl().ref().getName()); }

Texture::Type Texture::getType() const { return static_cast<Type>(impl().ref().getType()); }
const char *Texture::getTypeName(Type type) { return Kolm::Texture::getTypeName(getCoreType(type)); }
const char *Texture::getTypeName() const { return impl().ref().getTypeName(); }
bool Texture::is2DType() const { return impl().ref().is2DType(); }
bool Texture::is3DType() const { return impl().ref().is3DType(); }
bool Texture::isCubeType() const { return impl().ref().isCubeType(); }

Texture::Flags Texture::getFlags() const { return static_cast<Flags>(impl().ref().getFlags()); }
bool Texture::hasFlags(Flags flags) const { return impl().ref().hasFlags(getCoreFlags(flags)); }
bool Texture::hasFlag(Flags flags) const { return impl().ref().hasFlag(getCoreFlags(flags)); }
String Texture::getFlagsName() const { return String::StringImpl::TS(impl().ref().getFlagsName()); }
String Texture::getDescription() const { return String::StringImpl::TS(impl().ref().getDescription()); }

uint32_t Texture::getMultisample() const { return impl().ref().getMultisample(); }
bool Texture::hasMultisample() const { return impl().ref().hasMultisample(); }

Format Texture::getFormat() const { return static_cast<Format>(impl().ref().getFormat()); }
const char *Texture::getFormatName() const { return impl().ref().getFormatName(); }
bool Texture::isColorFormat() const { return impl().ref().isColorFormat(); }
bool Texture::isDepthFormat() const { return impl().ref().isDepthFormat(); }
bool Texture::isPixelFormat() const { return impl().ref().isPixelFormat(); }
bool Texture::isPlainFormat() const { return impl().ref().isPlainFormat(); }
bool Texture::isMixedFormat() const { return impl().ref().isMixedFormat(); }
bool Texture::isBlockFormat() const { return impl().ref().isBlockFormat(); }
bool Texture::isStencilFormat() const { return impl().ref().isStencilFormat(); }
bool Texture::isNormFormat() const { return impl().ref().isNormFormat(); }
bool Texture::isSRGBFormat() const { return impl().ref().isSRGBFormat(); }
bool Texture::isSignedFormat() const { return impl().ref().isSignedFormat(); }
bool Texture::isUnsignedFormat() const { return impl().ref().isUnsignedFormat(); }
bool Texture::isIntegerFormat() const { return impl().ref().isIntegerFormat(); }
bool Texture::isFloatFormat() const { return impl().ref().isFloatFormat(); }
bool Texture::isi8Format() const { return impl().ref().isi8Format(); }
bool Texture::isu8Format() const { return impl().ref().isu8Format(); }
bool Texture::is8BitFormat() const { return impl().ref().is8BitFormat(); }
bool Texture::isi16Format() const { return impl().ref().isi16Format(); }
bool Texture::isu16Format() const { return impl().ref().isu16Format(); }
bool Texture::isf16Format() const { return impl().ref().isf16Format(); }
bool Texture::is16BitFormat() const { return impl().ref().is16BitFormat(); }
bool Texture::isi32Format() const { return impl().ref().isi32Format(); }
bool Texture::isu32Format() const { return impl().ref().isu32Format(); }
bool Texture::isf32Format() const { return impl().ref().isf32Format(); }
bool Texture::is32BitFormat() const { return impl().ref().is32BitFormat(); }
bool Texture::isi64Format() const { return impl().ref().isi64Format(); }
bool Texture::isu64Format() const { return impl().ref().isu64Format(); }
bool Texture::isf64Format() const { return impl().ref().isf64Format(); }
bool Texture::is64BitFormat() const { return impl().ref().is64BitFormat(); }
bool Texture::isBC15Format() const { return impl().ref().isBC15Format(); }
bool Texture::isBC67Format() const { return impl().ref().isBC67Format(); }
bool Texture::isETC2Format() const { return impl().ref().isETC2Format(); }
bool Texture::isASTCFormat() const { return impl().ref().isASTCFormat(); }
uint32_t Texture::getComponents() const { return impl().ref().getComponents(); }
uint32_t Texture::getPixelSize() const { return impl().ref().getPixelSize(); }
uint32_t Texture::getBlockSize() const { return impl().ref().getBlockSize(); }
uint32_t Texture::getBlockWidth() const { return impl().ref().getBlockWidth(); }
uint32_t Texture::getBlockHeight() const { return impl().ref().getBlockHeight(); }

uint32_t Texture::getWidth(uint32_t mipmap) const { return impl().ref().getWidth(mipmap); }
uint32_t Texture::getHeight(uint32_t mipmap) const { return impl().ref().getHeight(mipmap); }
uint32_t Texture::getDepth(uint32_t mipmap) const { return impl().ref().getDepth(mipmap); }
uint32_t Texture::getFaces() const { return impl().ref().getFaces(); }
uint32_t Texture::getLayers() const { return impl().ref().getLayers(); }
uint32_t Texture::getMipmaps() const { return impl().ref().getMipmaps(); }
bool Texture::hasFaces() const { return impl().ref().hasFaces(); }
bool Texture::hasLayers() const { return impl().ref().hasLayers(); }
bool Texture::hasMipmaps() const { return impl().ref().hasMipmaps(); }
Size Texture::getSize(uint32_t mipmap) const { return getPublic(impl().ref().getSize(mipmap)); }
Region Texture::getRegion(uint32_t mipmap) const { return getPublic(impl().ref().getRegion(mipmap)); }
Slice Texture::getSlice(uint32_t mipmap) const { return getPublic(impl().ref().getSlice(mipmap)); }
uint32_t Texture::findMipmap(const Size &size) const { return impl().ref().findMipmap(getCore(size)); }

uint32_t Texture::getTileWidth() const { return impl().ref().getTileWidth(); }
uint32_t Texture::getTileHeight() const { return impl().ref().getTileHeight(); }
uint32_t Texture::getTileDepth() const { return impl().ref().getTileDepth(); }
uint32_t Texture::getTileMipmaps() const { return impl().ref().getTileMipmaps(); }
Size Texture::getTileSize() const { return getPublic(impl().ref().getTileSize()); }

size_t Texture::getMemory() const { return impl().ref().getMemory(); }

} // namespace Ostrevan
