// KolmCompute.cpp: the short forms of the compute recorder.

#include "KolmCompute.h"

#include "KolmCaller.h"
#include "KolmTexture.h"

namespace Kolm {

void Compute::dispatch(const Texture *texture) {
    Caller{*this, "Compute", "dispatch"}.checkCreated("texture", texture);
    dispatch(texture->getWidth(), texture->getHeight(), texture->getDepth());
}

bool Compute::setBuffer(Buffer *buffer, const void *src, size_t size) { return setBuffer(buffer, 0, src, size); }

bool Compute::setBuffer(Buffer *buffer, const void *src) {
    Caller{*this, "Compute", "setBuffer"}.checkCreated("buffer", buffer);
    return setBuffer(buffer, 0, src, buffer->getSize());
}

bool Compute::copyBuffer(Buffer *dest, Buffer *src, size_t size) { return copyBuffer(dest, 0, src, 0, size); }

bool Compute::copyBuffer(Buffer *dest, Buffer *src) {
    Caller{*this, "Compute", "copyBuffer"}.checkCreated("src buffer", src);
    return copyBuffer(dest, 0, src, 0, src->getSize());
}

bool Compute::clearBuffer(Buffer *buffer, Format format, const void *value, size_t size) {
    return clearBuffer(buffer, format, 0, value, size);
}

bool Compute::clearBuffer(Buffer *buffer, Format format, const void *value) {
    Caller{*this, "Compute", "clearBuffer"}.checkCreated("buffer", buffer);
    return clearBuffer(buffer, format, 0, value, buffer->getSize());
}

bool Compute::clearBuffer(Buffer *buffer) { return clearBuffer(buffer, FormatUnknown, nullptr); }

bool Compute::setTexture(Texture *texture, const Origin &origin, const Image &image) {
    Caller{*this, "Compute", "setTexture"}.checkCreated("texture", texture);
    const Slice slice(Face(0, image.getFaces()), Layer(0, image.getLayers()), Mipmap(0, image.getMipmaps()));
    return setTexture(texture, origin, texture->getFullSlice(), image, slice);
}

bool Compute::setTexture(Texture *texture, const Image &image) { return setTexture(texture, Origin(), image); }

bool Compute::copyTexture(Texture *dest, const Origin &origin, Texture *src, const Region &region) {
    const Caller caller = {*this, "Compute", "copyTexture"};
    caller.checkCreated("dest texture", dest);
    caller.checkCreated("src texture", src);
    return copyTexture(dest, origin, dest->getFullSlice(), src, region, src->getFullSlice());
}

bool Compute::copyTexture(Texture *dest, const Slice &dest_slice, Texture *src, const Slice &src_slice) {
    Caller{*this, "Compute", "copyTexture"}.checkCreated("src texture", src);
    const uint32_t mipmap = (src_slice.mipmap < src->getMipmaps()) ? src_slice.mipmap : 0;
    return copyTexture(dest, Origin(), dest_slice, src, src->getRegion(mipmap), src_slice);
}

bool Compute::copyTexture(Texture *dest, Texture *src) {
    Caller{*this, "Compute", "copyTexture"}.checkCreated("src texture", src);
    return copyTexture(dest, Origin(), src, src->getRegion());
}

bool Compute::clearTexture(Texture *texture, const Region &region, const void *value) {
    Caller{*this, "Compute", "clearTexture"}.checkCreated("texture", texture);
    return clearTexture(texture, region, texture->getFullSlice(), value);
}

bool Compute::clearTexture(Texture *texture, const Slice &slice, const void *value) {
    Caller{*this, "Compute", "clearTexture"}.checkCreated("texture", texture);
    const uint32_t mipmap = (slice.mipmap < texture->getMipmaps()) ? slice.mipmap : 0;
    return clearTexture(texture, texture->getRegion(mipmap), slice, value);
}

bool Compute::clearTexture(Texture *texture, const void *value) {
    Caller{*this, "Compute", "clearTexture"}.checkCreated("texture", texture);
    return clearTexture(texture, texture->getFullSlice(), value);
}

} // namespace Kolm
