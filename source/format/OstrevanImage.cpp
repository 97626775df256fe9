// Forwarding of the image class.

#include "OstrevanAsyncKolm.h"
#include "OstrevanImageKolm.h"
#include "OstrevanStreamKolm.h"
#include "OstrevanStringKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Image, Copyable)

namespace {

// A failed operation gives an empty handle.
Image get_result(Kolm::Image &&image) { return image.isLoaded() ? TS<Image>(image) : Image(); }

} // namespace

Image::Image() : Image(VoidImpl()) {}
Image::Image(const char *name, Flags flags, uint32_t offset) : Image() {
    if(!load(name, flags, offset)) clearPtr();
}
Image::Image(Stream &stream, Flags flags, uint32_t offset) : Image() {
    if(!load(stream, flags, offset)) clearPtr();
}
Image::Image(Type type, Format format, const Size &size, Flags flags) : Image() {
    if(!create(type, format, size, flags)) clearPtr();
}
Image::Image(Type type, Format format, const Size &size, uint32_t layers, Flags flags) : Image() {
    if(!create(type, format, size, layers, flags)) clearPtr();
}

void Image::clear() { impl().ref().clear(); }
void Image::swap(Image &image) { impl().ref().swap(image.impl().ref()); }

bool Image::create(Type type, Format format, const Size &size, uint32_t layers, Flags flags) {
    return impl().ref().create(getCore(type), getCore(format), getCore(size), layers, getCore(flags));
}

bool Image::info(const char *name, Flags flags, uint32_t offset, Async *async) {
    return impl().ref().info(name, getCore(flags), offset, getAsync(async));
}
bool Image::info(const String &name, Flags flags, uint32_t offset, Async *async) {
    return impl().ref().info(getCoreString(name).get(), getCore(flags), offset, getAsync(async));
}
bool Image::info(Stream &stream, Flags flags, uint32_t offset, Async *async) {
    return impl().ref().info(stream.impl().ref(), getCore(flags), offset, getAsync(async));
}
bool Image::load(const char *name, Flags flags, uint32_t offset, Async *async) {
    return impl().ref().load(name, getCore(flags), offset, getAsync(async));
}
bool Image::load(const String &name, Flags flags, uint32_t offset, Async *async) {
    return impl().ref().load(getCoreString(name).get(), getCore(flags), offset, getAsync(async));
}
bool Image::load(Stream &stream, Flags flags, uint32_t offset, Async *async) {
    return impl().ref().load(stream.impl().ref(), getCore(flags), offset, getAsync(async));
}
bool Image::save(const char *name, Flags flags, uint32_t quality) const {
    return impl().ref().save(name, getCore(flags), quality);
}
bool Image::save(const String &name, Flags flags, uint32_t quality) const {
    return impl().ref().save(getCoreString(name).get(), getCore(flags), quality);
}
bool Image::save(Stream &stream, Flags flags, uint32_t quality) const {
    return impl().ref().save(stream.impl().ref(), getCore(flags), quality);
}

bool Image::isLoaded() const { return impl().isValid() && impl().ref().isLoaded(); }
bool Image::isAllocated() const { return impl().isValid() && impl().ref().isAllocated(); }

#define IMAGE_QUERY(TYPE, NAME) \
    TYPE Image::NAME() const { return TYPE(impl().ref().NAME()); }

IMAGE_QUERY(bool, is2DType)
IMAGE_QUERY(bool, is3DType)
IMAGE_QUERY(bool, isCubeType)
IMAGE_QUERY(bool, isColorFormat)
IMAGE_QUERY(bool, isDepthFormat)
IMAGE_QUERY(bool, isPixelFormat)
IMAGE_QUERY(bool, isPlainFormat)
IMAGE_QUERY(bool, isMixedFormat)
IMAGE_QUERY(bool, isBlockFormat)
IMAGE_QUERY(bool, isStencilFormat)
IMAGE_QUERY(bool, isNormFormat)
IMAGE_QUERY(bool, isSRGBFormat)
IMAGE_QUERY(bool, isSignedFormat)
IMAGE_QUERY(bool, isUnsignedFormat)
IMAGE_QUERY(bool, isIntegerFormat)
IMAGE_QUERY(bool, isFloatFormat)
IMAGE_QUERY(bool, isi8Format)
IMAGE_QUERY(bool, isu8Format)
IMAGE_QUERY(bool, is8BitFormat)
IMAGE_QUERY(bool, isi16Format)
IMAGE_QUERY(bool, isu16Format)
IMAGE_QUERY(bool, isf16Format)
IMAGE_QUERY(bool, is16BitFormat)
IMAGE_QUERY(bool, isi32Format)
IMAGE_QUERY(bool, isu32Format)
IMAGE_QUERY(bool, isf32Format)
IMAGE_QUERY(bool, is32BitFormat)
IMAGE_QUERY(bool, isi64Format)
IMAGE_QUERY(bool, isu64Format)
IMAGE_QUERY(bool, isf64Format)
IMAGE_QUERY(bool, is64BitFormat)
IMAGE_QUERY(bool, isBC15Format)
IMAGE_QUERY(bool, isBC67Format)
IMAGE_QUERY(bool, isETC2Format)
IMAGE_QUERY(bool, isASTCFormat)
IMAGE_QUERY(bool, hasFaces)
IMAGE_QUERY(bool, hasLayers)
IMAGE_QUERY(bool, hasMipmaps)

IMAGE_QUERY(uint32_t, getComponents)
IMAGE_QUERY(uint32_t, getPixelSize)
IMAGE_QUERY(uint32_t, getBlockSize)
IMAGE_QUERY(uint32_t, getBlockWidth)
IMAGE_QUERY(uint32_t, getBlockHeight)
IMAGE_QUERY(uint32_t, getFaces)
IMAGE_QUERY(uint32_t, getLayers)
IMAGE_QUERY(uint32_t, getMipmaps)
IMAGE_QUERY(size_t, getMemory)

#undef IMAGE_QUERY

Image::Type Image::getType() const { return Type(impl().ref().getType()); }
Format Image::getFormat() const { return Format(impl().ref().getFormat()); }
const char *Image::getTypeName(Type type) { return Kolm::Image::getTypeName(getCore(type)); }
const char *Image::getTypeName() const { return impl().ref().getTypeName(); }
const char *Image::getFormatName() const { return impl().ref().getFormatName(); }

uint32_t Image::getWidth(uint32_t mipmap) const { return impl().ref().getWidth(mipmap); }
uint32_t Image::getHeight(uint32_t mipmap) const { return impl().ref().getHeight(mipmap); }
uint32_t Image::getDepth(uint32_t mipmap) const { return impl().ref().getDepth(mipmap); }
uint32_t Image::findMipmap(const Size &size) const { return impl().ref().findMipmap(getCore(size)); }
Size Image::getSize(uint32_t mipmap) const { return getPublic(impl().ref().getSize(mipmap)); }
Region Image::getRegion(uint32_t mipmap) const { return getPublic(impl().ref().getRegion(mipmap)); }
Slice Image::getSlice(uint32_t mipmap) const { return getPublic(impl().ref().getSlice(mipmap)); }

void Image::setMetaInfo(const char *text) { impl().ref().setMetaInfo(text); }
String Image::getMetaInfo() const { return getPublicString(impl().ref().getMetaInfo()); }
String Image::getDescription() const { return getPublicString(impl().ref().getDescription()); }

bool Image::check(const Origin &origin, uint32_t mipmap) const { return impl().ref().check(getCore(origin), mipmap); }
bool Image::check(const Region &region, uint32_t mipmap) const { return impl().ref().check(getCore(region), mipmap); }
bool Image::check(const Slice &slice) const { return impl().ref().check(getCore(slice)); }

size_t Image::getStride(uint32_t mipmap, uint32_t alignment) const { return impl().ref().getStride(mipmap, alignment); }
size_t Image::getMipmapSize(uint32_t mipmap, uint32_t alignment) const {
    return impl().ref().getMipmapSize(mipmap, alignment);
}
size_t Image::getLayerSize(uint32_t alignment) const { return impl().ref().getLayerSize(alignment); }
size_t Image::getDataSize(uint32_t alignment) const { return impl().ref().getDataSize(alignment); }
size_t Image::getOffset(const Slice &slice, uint32_t alignment) const {
    return impl().ref().getOffset(getCore(slice), alignment);
}

const uint8_t *Image::getData(const Slice &slice) const { return impl().ref().getData(getCore(slice)); }
uint8_t *Image::getData(const Slice &slice) { return impl().ref().getData(getCore(slice)); }
const uint8_t *Image::getData(const Origin &origin, const Slice &slice) const {
    return impl().ref().getData(getCore(origin), getCore(slice));
}
uint8_t *Image::getData(const Origin &origin, const Slice &slice) {
    return impl().ref().getData(getCore(origin), getCore(slice));
}
bool Image::setData(const void *src, const Slice &slice, uint32_t alignment, size_t stride) {
    return impl().ref().setData(src, getCore(slice), alignment, stride);
}
bool Image::getData(void *dst, const Slice &slice, uint32_t alignment, size_t stride) const {
    return impl().ref().getData(dst, getCore(slice), alignment, stride);
}

bool Image::swap(uint32_t c0, uint32_t c1) { return impl().ref().swap(c0, c1); }
bool Image::copy(const Image &src, uint32_t dst_component, uint32_t src_component) {
    return impl().ref().copy(src.impl().ref(), dst_component, src_component);
}
bool Image::copy(const Image &src, const Origin &origin, const Region &region, const Slice &dst_slice,
                 const Slice &src_slice) {
    return impl().ref().copy(src.impl().ref(), getCore(origin), getCore(region), getCore(dst_slice),
                             getCore(src_slice));
}
bool Image::copy(const Image &src, const Origin &origin, const Slice &dst_slice, const Slice &src_slice) {
    return impl().ref().copy(src.impl().ref(), getCore(origin), getCore(dst_slice), getCore(src_slice));
}
bool Image::copy(const Image &src, const Slice &dst_slice, const Slice &src_slice) {
    return impl().ref().copy(src.impl().ref(), getCore(dst_slice), getCore(src_slice));
}

bool Image::flipX(const Region &region, const Slice &slice) {
    return impl().ref().flipX(getCore(region), getCore(slice));
}
bool Image::flipY(const Region &region, const Slice &slice) {
    return impl().ref().flipY(getCore(region), getCore(slice));
}

Image Image::getSlice(const Slice &slice) const { return get_result(impl().ref().getSlice(getCore(slice))); }
Image Image::getRegion(const Region &region, const Slice &slice) const {
    return get_result(impl().ref().getRegion(getCore(region), getCore(slice)));
}
Image Image::getComponent(uint32_t index) const { return get_result(impl().ref().getComponent(index)); }
Image Image::getRotated(int32_t turns, const Slice &slice) const {
    return get_result(impl().ref().getRotated(turns, getCore(slice)));
}
Image Image::toFormat(Format format, Flags flags, Async *async) const {
    return get_result(impl().ref().toFormat(getCore(format), getCore(flags), getAsync(async)));
}
Image Image::getResized(const Size &size, Filter min_filter, Filter mag_filter, Flags flags, Async *async) const {
    return get_result(impl().ref().getResized(getCore(size), getCore(min_filter), getCore(mag_filter), getCore(flags),
                                              getAsync(async)));
}
Image Image::getMipmapped(Filter filter, Flags flags, Async *async) const {
    return get_result(impl().ref().getMipmapped(getCore(filter), getCore(flags), getAsync(async)));
}
Image Image::toType(Type type, Flags flags, Async *async) const {
    return get_result(impl().ref().toType(getCore(type), getCore(flags), getAsync(async)));
}

int32_t Image::compare(const Image &image) const { return impl().ref().compare(image.impl().ref()); }

} // namespace Ostrevan
