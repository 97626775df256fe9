// Textures, samplers and tables of the public device.

#include "OstrevanAsyncKolm.h"
#include "OstrevanBufferKolm.h"
#include "OstrevanBufferTableKolm.h"
#include "OstrevanDeviceKolm.h"
#include "OstrevanFenceKolm.h"
#include "OstrevanImageKolm.h"
#include "OstrevanSamplerKolm.h"
#include "OstrevanStreamKolm.h"
#include "OstrevanTargetKolm.h"
#include "OstrevanTextureKolm.h"
#include "OstrevanTextureTableKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

namespace {

constexpr uint32_t max_textures = 128; // handles of one call

Kolm::Texture *get_texture(const Texture &texture) { return getCore<Kolm::Texture *>(texture); }

Texture get_handle(Kolm::Texture *texture) { return TS<Texture>(texture, true); }

} // namespace

Texture Device::createTexture() { return get_handle(impl().ref().createTexture()); }
Texture Device::createTexture(const Texture &texture) {
    return get_handle(impl().ref().createTexture(get_texture(texture)));
}
Texture Device::createTexture(Texture::Type type, Format format, const Size &size, uint32_t layers,
                              Texture::Flags flags) {
    return get_handle(
        impl().ref().createTexture(getCoreType(type), getCore(format), getCore(size), layers, getCoreFlags(flags)));
}
Texture Device::createTexture(Texture::Type type, Format format, const Size &size, Texture::Flags flags) {
    return get_handle(
        impl().ref().createTexture(getCoreType(type), getCore(format), getCore(size), getCoreFlags(flags)));
}
Texture Device::createTexture2D(Format format, uint32_t size, Texture::Flags flags) {
    return get_handle(impl().ref().createTexture2D(getCore(format), size, getCoreFlags(flags)));
}
Texture Device::createTexture2D(Format format, uint32_t width, uint32_t height, Texture::Flags flags) {
    return get_handle(impl().ref().createTexture2D(getCore(format), width, height, getCoreFlags(flags)));
}
Texture Device::createTexture2D(Format format, uint32_t width, uint32_t height, uint32_t layers, Texture::Flags flags) {
    return get_handle(impl().ref().createTexture2D(getCore(format), width, height, layers, getCoreFlags(flags)));
}
Texture Device::createTexture3D(Format format, uint32_t size, Texture::Flags flags) {
    return get_handle(impl().ref().createTexture3D(getCore(format), size, getCoreFlags(flags)));
}
Texture Device::createTexture3D(Format format, uint32_t width, uint32_t height, uint32_t depth, Texture::Flags flags) {
    return get_handle(impl().ref().createTexture3D(getCore(format), width, height, depth, getCoreFlags(flags)));
}
Texture Device::createTextureCube(Format format, uint32_t size, Texture::Flags flags) {
    return get_handle(impl().ref().createTextureCube(getCore(format), size, getCoreFlags(flags)));
}
Texture Device::createTextureCube(Format format, uint32_t size, uint32_t layers, Texture::Flags flags) {
    return get_handle(impl().ref().createTextureCube(getCore(format), size, layers, getCoreFlags(flags)));
}
Texture Device::createTexture(const Image &image, Texture::Flags flags, Async *async) {
    return get_handle(impl().ref().createTexture(image.impl().ref(), getCoreFlags(flags), getAsync(async)));
}
Texture Device::loadTexture(const char *name, Texture::Flags flags, Image::Flags image_flags, uint32_t offset,
                            Async *async) {
    return get_handle(
        impl().ref().loadTexture(name, getCoreFlags(flags), getCore(image_flags), offset, getAsync(async)));
}
Texture Device::loadTexture(Stream &stream, Texture::Flags flags, Image::Flags image_flags, uint32_t offset,
                            Async *async) {
    return get_handle(impl().ref().loadTexture(stream.impl().ref(), getCoreFlags(flags), getCore(image_flags), offset,
                                               getAsync(async)));
}

Sampler Device::createSampler() { return TS<Sampler>(impl().ref().createSampler(), true); }
Sampler Device::createSampler(const Sampler &sampler) {
    return TS<Sampler>(impl().ref().createSampler(getCore<const Kolm::Sampler *>(sampler)), true);
}
Sampler Device::createSampler(Sampler::Filter filter, Sampler::WrapMode wrap_mode, uint32_t anisotropy) {
    return TS<Sampler>(impl().ref().createSampler(static_cast<Kolm::Sampler::Filter>(filter),
                                                  static_cast<Kolm::Sampler::WrapMode>(wrap_mode), anisotropy),
                       true);
}

Target Device::createTarget(const std::initializer_list<Texture> &textures, Target::Operation op) {
    Target target = createTarget();
    if(!target) return target;
    // By hand, since a list of core pointers cannot be made from one of handles.
    uint32_t index = 0;
    for(const Texture &texture : textures) {
        KOLM_ASSERT(texture.isCreated() && "Device::createTarget(): texture is not created");
        if(texture.isColorFormat()) {
            target.setColorTexture(index++, texture, op);
        } else {
            target.setDepthTexture(texture, op);
        }
    }
    return target;
}

bool Device::setTexture(const Texture &texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                        const Slice &image_slice) {
    return impl().ref().setTexture(get_texture(texture), getCore(origin), getCore(dest_slice), image.impl().ref(),
                                   getCore(image_slice));
}
bool Device::setTexture(const Texture &texture, const Origin &origin, const Image &image) {
    return impl().ref().setTexture(get_texture(texture), getCore(origin), image.impl().ref());
}
bool Device::setTexture(const Texture &texture, const Image &image) {
    return impl().ref().setTexture(get_texture(texture), image.impl().ref());
}
bool Device::getTexture(const Texture &texture, const Slice &slice, Image &image, const Slice &image_slice) {
    return impl().ref().getTexture(get_texture(texture), getCore(slice), image.impl().ref(), getCore(image_slice));
}
bool Device::getTexture(const Texture &texture, Image &image, const Slice &image_slice) {
    return impl().ref().getTexture(get_texture(texture), image.impl().ref(), getCore(image_slice));
}
bool Device::getTexture(const Texture &texture, Image &image) {
    return impl().ref().getTexture(get_texture(texture), image.impl().ref());
}
bool Device::copyTexture(const Texture &dest, const Origin &origin, const Slice &dest_slice, const Texture &src,
                         const Region &region, const Slice &src_slice) {
    return impl().ref().copyTexture(get_texture(dest), getCore(origin), getCore(dest_slice), get_texture(src),
                                    getCore(region), getCore(src_slice));
}
bool Device::copyTexture(const Texture &dest, const Origin &origin, const Texture &src, const Region &region) {
    return impl().ref().copyTexture(get_texture(dest), getCore(origin), get_texture(src), getCore(region));
}
bool Device::copyTexture(const Texture &dest, const Slice &dest_slice, const Texture &src, const Slice &src_slice) {
    return impl().ref().copyTexture(get_texture(dest), getCore(dest_slice), get_texture(src), getCore(src_slice));
}
bool Device::copyTexture(const Texture &dest, const Texture &src) {
    return impl().ref().copyTexture(get_texture(dest), get_texture(src));
}
bool Device::clearTexture(const Texture &texture, const Region &region, const Slice &slice, const void *value) {
    return impl().ref().clearTexture(get_texture(texture), getCore(region), getCore(slice), value);
}
bool Device::clearTexture(const Texture &texture, const Region &region, const void *value) {
    return impl().ref().clearTexture(get_texture(texture), getCore(region), value);
}
bool Device::clearTexture(const Texture &texture, const Slice &slice, const void *value) {
    return impl().ref().clearTexture(get_texture(texture), getCore(slice), value);
}
bool Device::clearTexture(const Texture &texture, const void *value) {
    return impl().ref().clearTexture(get_texture(texture), value);
}
bool Device::bindTexture(const Texture &texture, const Region &region, const Slice &slice, bool bind) {
    return impl().ref().bindTexture(get_texture(texture), getCore(region), getCore(slice), bind);
}
bool Device::bindTexture(const Texture &texture, const Region &region, const Slice &slice, bool bind,
                         const Fence &fence) {
    return impl().ref().bindTexture(get_texture(texture), getCore(region), getCore(slice), bind,
                                    getCore<Kolm::Fence *>(fence));
}
bool Device::createMipmaps(const Texture &texture, const Slice &slice) {
    return impl().ref().createMipmaps(get_texture(texture), getCore(slice));
}
bool Device::createMipmaps(const Texture &texture) { return impl().ref().createMipmaps(get_texture(texture)); }
bool Device::flushTexture(const Texture &texture, const Slice &slice, Texture::Flags flags) {
    return impl().ref().flushTexture(get_texture(texture), getCore(slice), getCoreFlags(flags));
}
bool Device::flushTexture(const Texture &texture, Texture::Flags flags) {
    return impl().ref().flushTexture(get_texture(texture), getCoreFlags(flags));
}
bool Device::flushTextures(const std::initializer_list<Texture> &textures, Texture::Flags flags) {
    Kolm::Texture *list[max_textures];
    const uint32_t num = copyList(list, textures);
    return impl().ref().flushTextures(list, num, getCoreFlags(flags));
}
bool Device::flushTextures(const Array<Texture> &textures, Texture::Flags flags) {
    Kolm::Array<Kolm::Texture *> list = copyArray<Kolm::Texture *>(textures);
    return impl().ref().flushTextures(list.get(), list.size(), getCoreFlags(flags));
}
void Device::releaseTexture(const Texture &texture) { impl().ref().releaseTexture(get_texture(texture)); }
void Device::releaseSampler(const Sampler &sampler) { impl().ref().releaseSampler(getCore<Kolm::Sampler *>(sampler)); }

// An object changes its owner only when it went into its slot.

BufferTable Device::createBufferTable(const Array<Buffer> &buffers, bool owner) {
    Kolm::Array<Kolm::Buffer *> list = copyArray<Kolm::Buffer *>(buffers);
    Kolm::BufferTable *table = impl().ref().createBufferTable(list.get(), list.size(), owner);
    if(table && owner) copyArray<Kolm::Buffer *>(buffers, true);
    return TS<BufferTable>(table, true);
}
bool Device::setBufferTable(const BufferTable &table, uint32_t index, const Buffer &buffer, bool owner) {
    if(!impl().ref().setBufferTable(getCore<Kolm::BufferTable *>(table), index, getCore<Kolm::Buffer *>(buffer), owner))
        return false;
    if(owner) const_cast<Buffer &>(buffer).impl().unacquire();
    return true;
}
bool Device::setBufferTable(const BufferTable &table, uint32_t index, const Array<Buffer> &buffers, bool owner) {
    Kolm::Array<Kolm::Buffer *> list = copyArray<Kolm::Buffer *>(buffers);
    if(!impl().ref().setBufferTable(getCore<Kolm::BufferTable *>(table), index, list.get(), list.size(), owner))
        return false;
    if(owner) copyArray<Kolm::Buffer *>(buffers, true);
    return true;
}
void Device::releaseBufferTable(const BufferTable &table) {
    impl().ref().releaseBufferTable(getCore<Kolm::BufferTable *>(table));
}

TextureTable Device::createTextureTable() { return TS<TextureTable>(impl().ref().createTextureTable(), true); }
TextureTable Device::createTextureTable(Texture::Type type, uint32_t size) {
    return TS<TextureTable>(impl().ref().createTextureTable(getCoreType(type), size), true);
}
TextureTable Device::createTextureTable(const Array<Texture> &textures, bool owner) {
    Kolm::Array<Kolm::Texture *> list = copyArray<Kolm::Texture *>(textures);
    Kolm::TextureTable *table = impl().ref().createTextureTable(list.get(), list.size(), owner);
    if(table && owner) copyArray<Kolm::Texture *>(textures, true);
    return TS<TextureTable>(table, true);
}
bool Device::setTextureTable(const TextureTable &table, uint32_t index, const Texture &texture, bool owner) {
    if(!impl().ref().setTextureTable(getCore<Kolm::TextureTable *>(table), index, get_texture(texture), owner))
        return false;
    if(owner) const_cast<Texture &>(texture).impl().unacquire();
    return true;
}
bool Device::setTextureTable(const TextureTable &table, uint32_t index, const Array<Texture> &textures, bool owner) {
    Kolm::Array<Kolm::Texture *> list = copyArray<Kolm::Texture *>(textures);
    if(!impl().ref().setTextureTable(getCore<Kolm::TextureTable *>(table), index, list.get(), list.size(), owner))
        return false;
    if(owner) copyArray<Kolm::Texture *>(textures, true);
    return true;
}
void Device::releaseTextureTable(const TextureTable &table) {
    impl().ref().releaseTextureTable(getCore<Kolm::TextureTable *>(table));
}

} // namespace Ostrevan
