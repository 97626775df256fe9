// KolmDeviceTexture.cpp: operations on textures, texture tables and targets: their rules and short forms.

#include "KolmCaller.h"
#include "KolmDevice.h"
#include "KolmImage.h"
#include "KolmStream.h"

namespace Kolm {

namespace {

Slice get_full_slice(const Image &image) {
    return Slice(Face(0, image.getFaces()), Layer(0, image.getLayers()), Mipmap(0, image.getMipmaps()));
}

} // namespace

// factories

Sampler *Device::createSampler(Sampler::Filter filter, Sampler::WrapMode wrap_mode, uint32_t anisotropy) {
    KOLM_ASSERT(anisotropy >= Sampler::MinAnisotropy && anisotropy <= Sampler::MaxAnisotropy &&
                "Device::createSampler(): invalid anisotropy");
    Sampler *sampler = createSampler();
    if(sampler == nullptr) return nullptr;
    sampler->setFilter(filter, anisotropy).setWrapMode(wrap_mode);
    return get_created(sampler, sampler->create());
}

Texture *Device::createTexture(Texture *src) {
    Texture *texture = createTexture();
    return (texture) ? get_created(texture, texture->create(src)) : nullptr;
}

Texture *Device::createTexture(Texture::Type type, Format format, const Size &size, uint32_t layers,
                               Texture::Flags flags) {
    Texture *texture = createTexture();
    return (texture) ? get_created(texture, texture->create(type, format, size, layers, flags)) : nullptr;
}

Texture *Device::createTexture(Texture::Type type, Format format, const Size &size, Texture::Flags flags) {
    Texture *texture = createTexture();
    return (texture) ? get_created(texture, texture->create(type, format, size, flags)) : nullptr;
}

Texture *Device::createTexture(const Image &image, Texture::Flags flags, Async *async) {
    Texture *texture = createTexture();
    if(texture == nullptr) return nullptr;
    const Image *src = &image;
    Image mipmaps;
    if(!texture->init(src, mipmaps, flags, async)) return get_created(texture, false);
    const Size size(texture->texture_width, texture->texture_height, texture->texture_depth);
    return get_created(texture, texture->create(texture->texture_type, texture->texture_format, size,
                                                texture->texture_layers, flags) &&
                                    setTexture(texture, *src));
}

Texture *Device::createTexture2D(Format format, uint32_t size, Texture::Flags flags) {
    return createTexture(Texture::Type2D, format, Size(size, size, 1), flags);
}

Texture *Device::createTexture2D(Format format, uint32_t width, uint32_t height, Texture::Flags flags) {
    return createTexture(Texture::Type2D, format, Size(width, height, 1), flags);
}

Texture *Device::createTexture2D(Format format, uint32_t width, uint32_t height, uint32_t layers,
                                 Texture::Flags flags) {
    return createTexture(Texture::Type2D, format, Size(width, height, 1), layers, flags);
}

Texture *Device::createTexture3D(Format format, uint32_t size, Texture::Flags flags) {
    return createTexture(Texture::Type3D, format, Size(size, size, size), flags);
}

Texture *Device::createTexture3D(Format format, uint32_t width, uint32_t height, uint32_t depth, Texture::Flags flags) {
    return createTexture(Texture::Type3D, format, Size(width, height, depth), flags);
}

Texture *Device::createTextureCube(Format format, uint32_t size, Texture::Flags flags) {
    return createTexture(Texture::TypeCube, format, Size(size, size, 1), flags);
}

Texture *Device::createTextureCube(Format format, uint32_t size, uint32_t layers, Texture::Flags flags) {
    return createTexture(Texture::TypeCube, format, Size(size, size, 1), layers, flags);
}

Texture *Device::loadTexture(const char *name, Texture::Flags flags, Image::Flags image_flags, uint32_t offset,
                             Async *async) {
    Image image;
    if(image.load(name, image_flags, offset, async)) return createTexture(image, flags, async);
    Log::printf(Log::Error, "Device::loadTexture(): can't load \"%s\" image\n", name);
    return nullptr;
}

Texture *Device::loadTexture(Stream &stream, Texture::Flags flags, Image::Flags image_flags, uint32_t offset,
                             Async *async) {
    Image image;
    if(image.load(stream, image_flags, offset, async)) return createTexture(image, flags, async);
    Log::printf(Log::Error, "Device::loadTexture(): can't load \"%s\" stream\n", stream.getName().get());
    return nullptr;
}

TextureTable *Device::createTextureTable(Texture::Type type, uint32_t size) {
    TextureTable *table = createTextureTable();
    return (table) ? get_created(table, table->create(type, size)) : nullptr;
}

TextureTable *Device::createTextureTable(Texture **textures, uint32_t num, bool owner) {
    if(num == 0) return createTextureTable();
    const Caller caller = {*this, "Device", "createTextureTable"};
    caller.checkList("textures", textures, num);
    caller.checkCreated("texture", textures[0]);
    TextureTable *table = createTextureTable(textures[0]->getType(), num);
    return (table) ? get_created(table, setTextureTable(table, 0, textures, num, owner)) : nullptr;
}

Target *Device::createTarget(const std::initializer_list<Texture *> &textures, Target::Operation op) {
    const Caller caller = {*this, "Device", "createTarget"};
    uint32_t num_colors = 0;
    for(const Texture *texture : textures) {
        caller.checkCreated("texture", texture);
        if(texture->isColorFormat()) num_colors++;
    }
    if(num_colors > Target::NumTargets) {
        caller.fail("invalid number of color textures %u: a target has %u", num_colors, Target::NumTargets);
    }
    Target *target = createTarget();
    if(target == nullptr) return nullptr;
    num_colors = 0;
    for(Texture *texture : textures) {
        if(texture->isColorFormat()) {
            target->setColorTexture(num_colors++, texture, op);
        } else {
            target->setDepthTexture(texture, op);
        }
    }
    return target;
}

// textures

bool Device::setTexture(Texture *texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                        const Slice &image_slice) {
    const Caller caller = {*this, "Device", "setTexture"};
    caller.checkCreated("texture", texture);
    check_transfer(caller);
    return (texture->check_set(origin, dest_slice, image, image_slice) &&
            set_texture(texture, origin, dest_slice, image, image_slice));
}

bool Device::getTexture(Texture *texture, const Slice &slice, Image &image, const Slice &image_slice) {
    const Caller caller = {*this, "Device", "getTexture"};
    caller.checkCreated("texture", texture);
    check_transfer(caller);
    return (texture->check_get(slice, image, image_slice) && get_texture(texture, slice, image, image_slice));
}

bool Device::copyTexture(Texture *dest, const Origin &origin, const Slice &dest_slice, Texture *src,
                         const Region &region, const Slice &src_slice) {
    const Caller caller = {*this, "Device", "copyTexture"};
    caller.checkCreated("dest texture", dest);
    caller.checkFlag("src texture", src, Texture::FlagSource);
    check_transfer(caller);
    return (dest->check_copy(origin, dest_slice, src, region, src_slice) &&
            copy_texture(dest, origin, dest_slice, src, region, src_slice));
}

bool Device::clearTexture(Texture *texture, const Region &region, const Slice &slice, const void *value) {
    const Caller caller = {*this, "Device", "clearTexture"};
    caller.checkCreated("texture", texture);
    check_transfer(caller);
    return (texture->check_clear(region, slice) && clear_texture(texture, region, slice, value));
}

bool Device::bindTexture(Texture *texture, const Region *regions, uint32_t num_regions, const Slice *slices,
                         uint32_t num_slices, bool bind, Fence *fence) {
    const Caller caller = {*this, "Device", "bindTexture"};
    caller.checkCreated("texture", texture);
    caller.checkList("regions", regions, num_regions);
    caller.checkList("slices", slices, num_slices);
    check_fence(caller, fence);
    check_transfer(caller);
    if(!texture->check_bind(regions, num_regions, slices, num_slices)) return false;
    if(fence) fence->fence_value++;
    if(bind_texture(texture, regions, num_regions, slices, num_slices, bind, fence)) return true;
    if(fence) fence->fence_value--;
    return false;
}

bool Device::createMipmaps(Texture *texture, const Slice &slice) {
    const Caller caller = {*this, "Device", "createMipmaps"};
    caller.checkCreated("texture", texture);
    check_transfer(caller);
    return (texture->check_mipmaps(slice) && (slice.mipmaps == 1 || create_mipmaps(texture, slice)));
}

bool Device::flushTexture(Texture *texture, const Slice &slice, Texture::Flags flags) {
    const Caller caller = {*this, "Device", "flushTexture"};
    caller.checkCreated("texture", texture);
    check_transfer(caller);
    return (texture->check(slice) && flush_texture(texture, slice, flags));
}

bool Device::flushTextures(Texture **textures, uint32_t num, Texture::Flags flags) {
    const Caller caller = {*this, "Device", "flushTextures"};
    caller.checkList("textures", textures, num);
    for(uint32_t i = 0; i < num; i++) caller.checkCreated("texture", textures[i]);
    check_transfer(caller);
    return (num == 0 || flush_textures(textures, num, flags));
}

void Device::releaseTexture(Texture *texture) {
    Caller{*this, "Device", "releaseTexture"}.checkPlatform("texture", texture);
    release_texture(texture);
}

void Device::releaseSampler(Sampler *sampler) {
    Caller{*this, "Device", "releaseSampler"}.checkPlatform("sampler", sampler);
    release_sampler(sampler);
}

// tables

bool Device::setTextureTable(TextureTable *table, uint32_t index, Texture *texture, bool owner) {
    const Caller caller = {*this, "Device", "setTextureTable"};
    caller.checkCreated("table", table);
    if(texture) caller.checkPlatform("texture", texture);
    return (table->check_set(index, texture, owner) && set_texture_table(table, index, &texture, 1));
}

bool Device::setTextureTable(TextureTable *table, uint32_t index, Texture **textures, uint32_t num, bool owner) {
    const Caller caller = {*this, "Device", "setTextureTable"};
    caller.checkCreated("table", table);
    caller.checkList("textures", textures, num);
    for(uint32_t i = 0; i < num; i++) {
        if(textures[i]) caller.checkPlatform("texture", textures[i]);
    }
    return (table->check_set(index, textures, num, owner) &&
            (num == 0 || set_texture_table(table, index, textures, num)));
}

bool Device::setTextureTable(TextureTable *table, uint32_t index, const std::initializer_list<Texture *> &textures,
                             bool owner) {
    return setTextureTable(table, index, const_cast<Texture **>(textures.begin()), uint32_t(textures.size()), owner);
}

void Device::releaseTextureTable(TextureTable *table) {
    Caller{*this, "Device", "releaseTextureTable"}.checkPlatform("table", table);
    release_texture_table(table);
}

// short forms

bool Device::setTexture(Texture *texture, const Origin &origin, const Image &image) {
    Caller{*this, "Device", "setTexture"}.checkCreated("texture", texture);
    return setTexture(texture, origin, texture->getFullSlice(), image, get_full_slice(image));
}

bool Device::setTexture(Texture *texture, const Image &image) { return setTexture(texture, Origin(), image); }

bool Device::getTexture(Texture *texture, Image &image, const Slice &image_slice) {
    Caller{*this, "Device", "getTexture"}.checkCreated("texture", texture);
    return getTexture(texture, texture->getFullSlice(), image, image_slice);
}

bool Device::getTexture(Texture *texture, Image &image) { return getTexture(texture, image, get_full_slice(image)); }

bool Device::copyTexture(Texture *dest, const Origin &origin, Texture *src, const Region &region) {
    const Caller caller = {*this, "Device", "copyTexture"};
    caller.checkCreated("dest texture", dest);
    caller.checkCreated("src texture", src);
    return copyTexture(dest, origin, dest->getFullSlice(), src, region, src->getFullSlice());
}

bool Device::copyTexture(Texture *dest, const Slice &dest_slice, Texture *src, const Slice &src_slice) {
    Caller{*this, "Device", "copyTexture"}.checkCreated("src texture", src);
    // A level that the source does not have is reported for its slice.
    const uint32_t mipmap = (src_slice.mipmap < src->getMipmaps()) ? src_slice.mipmap : 0;
    return copyTexture(dest, Origin(), dest_slice, src, src->getRegion(mipmap), src_slice);
}

bool Device::copyTexture(Texture *dest, Texture *src) {
    Caller{*this, "Device", "copyTexture"}.checkCreated("src texture", src);
    return copyTexture(dest, Origin(), src, src->getRegion());
}

bool Device::clearTexture(Texture *texture, const Region &region, const void *value) {
    Caller{*this, "Device", "clearTexture"}.checkCreated("texture", texture);
    return clearTexture(texture, region, texture->getFullSlice(), value);
}

bool Device::clearTexture(Texture *texture, const Slice &slice, const void *value) {
    Caller{*this, "Device", "clearTexture"}.checkCreated("texture", texture);
    const uint32_t mipmap = (slice.mipmap < texture->getMipmaps()) ? slice.mipmap : 0;
    return clearTexture(texture, texture->getRegion(mipmap), slice, value);
}

bool Device::clearTexture(Texture *texture, const void *value) {
    Caller{*this, "Device", "clearTexture"}.checkCreated("texture", texture);
    return clearTexture(texture, texture->getFullSlice(), value);
}

bool Device::bindTexture(Texture *texture, const Region &region, const Slice &slice, bool bind, Fence *fence) {
    return bindTexture(texture, &region, 1, &slice, 1, bind, fence);
}

bool Device::bindTexture(Texture *texture, const Region &region, bool bind, Fence *fence) {
    Caller{*this, "Device", "bindTexture"}.checkCreated("texture", texture);
    return bindTexture(texture, region, texture->getFullSlice(), bind, fence);
}

bool Device::bindTexture(Texture *texture, const Slice &slice, bool bind, Fence *fence) {
    Caller{*this, "Device", "bindTexture"}.checkCreated("texture", texture);
    const uint32_t mipmap = (slice.mipmap < texture->getMipmaps()) ? slice.mipmap : 0;
    return bindTexture(texture, texture->getRegion(mipmap), slice, bind, fence);
}

bool Device::createMipmaps(Texture *texture) {
    Caller{*this, "Device", "createMipmaps"}.checkCreated("texture", texture);
    return createMipmaps(texture, texture->getFullSlice());
}

bool Device::flushTexture(Texture *texture, Texture::Flags flags) {
    Caller{*this, "Device", "flushTexture"}.checkCreated("texture", texture);
    return flushTexture(texture, texture->getFullSlice(), flags);
}

bool Device::flushTextures(const std::initializer_list<Texture *> &textures, Texture::Flags flags) {
    return flushTextures(const_cast<Texture **>(textures.begin()), uint32_t(textures.size()), flags);
}

} // namespace Kolm
