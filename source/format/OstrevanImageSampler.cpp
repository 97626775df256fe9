// Forwarding of the texel access.

#include "OstrevanImageSamplerKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(ImageSampler, Copyable)

void ImageColor::set(const Color &color, Format format) {
    *this = getPublic(Kolm::ImageColor(getCore(color), getCore(format)));
}
Color ImageColor::get(Format format) const { return getPublic(getCore(*this).get(getCore(format))); }

ImageSampler::ImageSampler() : ImageSampler(VoidImpl()) {}
ImageSampler::ImageSampler(Image &image, const Slice &slice) : ImageSampler() {
    if(!create(image, slice)) clearPtr();
}
ImageSampler::ImageSampler(const Image &image, const Slice &slice) : ImageSampler() {
    if(!create(image, slice)) clearPtr();
}

void ImageSampler::clear() { impl().ref().clear(); }
bool ImageSampler::isCreated() const { return impl().isValid() && impl().ref().isCreated(); }

bool ImageSampler::create(Image &image, const Slice &slice) {
    return impl().ref().create(image.impl().ref(), getCore(slice));
}
bool ImageSampler::create(const Image &image, const Slice &slice) {
    return impl().ref().create(image.impl().ref(), getCore(slice));
}
bool ImageSampler::create(Type type, Format format, const Size &size, size_t stride, void *data) {
    return impl().ref().create(getCore(type), getCore(format), getCore(size), stride, data);
}
bool ImageSampler::create(Type type, Format format, const Size &size, size_t stride, const void *data) {
    return impl().ref().create(getCore(type), getCore(format), getCore(size), stride, data);
}
bool ImageSampler::create(Type type, Format format, const Size &size, size_t stride, size_t layer_size, void *data) {
    return impl().ref().create(getCore(type), getCore(format), getCore(size), stride, layer_size, data);
}
bool ImageSampler::create(Type type, Format format, const Size &size, size_t stride, size_t layer_size,
                          const void *data) {
    return impl().ref().create(getCore(type), getCore(format), getCore(size), stride, layer_size, data);
}

ImageSampler::Type ImageSampler::getType() const { return Type(impl().ref().getType()); }
Format ImageSampler::getFormat() const { return Format(impl().ref().getFormat()); }
uint32_t ImageSampler::getWidth() const { return impl().ref().getWidth(); }
uint32_t ImageSampler::getHeight() const { return impl().ref().getHeight(); }
uint32_t ImageSampler::getDepth() const { return impl().ref().getDepth(); }
uint32_t ImageSampler::getFaces() const { return impl().ref().getFaces(); }
Size ImageSampler::getSize() const { return getPublic(impl().ref().getSize()); }
size_t ImageSampler::getTexels() const { return impl().ref().getTexels(); }
size_t ImageSampler::getStride() const { return impl().ref().getStride(); }
size_t ImageSampler::getLayerSize() const { return impl().ref().getLayerSize(); }
uint32_t ImageSampler::getPixelSize() const { return impl().ref().getPixelSize(); }
uint32_t ImageSampler::getComponents() const { return impl().ref().getComponents(); }
const uint8_t *ImageSampler::getData() const { return impl().ref().getData(); }

void ImageSampler::clear(const ImageColor &color) { impl().ref().clear(getCore(color)); }
void ImageSampler::clear(const Color &color) { impl().ref().clear(getCore(color)); }
void ImageSampler::mad(const Color &scale, const Color &bias) { impl().ref().mad(getCore(scale), getCore(bias)); }

void ImageSampler::set2D(uint32_t x, uint32_t y, const ImageColor &color) { impl().ref().set2D(x, y, getCore(color)); }
void ImageSampler::set3D(uint32_t x, uint32_t y, uint32_t z, const ImageColor &color) {
    impl().ref().set3D(x, y, z, getCore(color));
}
ImageColor ImageSampler::get2D(uint32_t x, uint32_t y) const { return getPublic(impl().ref().get2D(x, y)); }
ImageColor ImageSampler::get3D(uint32_t x, uint32_t y, uint32_t z) const {
    return getPublic(impl().ref().get3D(x, y, z));
}
ImageColor ImageSampler::get2D(float64_t x, float64_t y, bool repeat, Filter filter) const {
    return getPublic(impl().ref().get2D(x, y, repeat, getCore(filter)));
}
ImageColor ImageSampler::get3D(float64_t x, float64_t y, float64_t z, bool repeat, Filter filter) const {
    return getPublic(impl().ref().get3D(x, y, z, repeat, getCore(filter)));
}
void ImageSampler::setCube(float64_t x, float64_t y, float64_t z, const ImageColor &color) {
    impl().ref().setCube(x, y, z, getCore(color));
}
ImageColor ImageSampler::getCube(float64_t x, float64_t y, float64_t z, Filter filter) const {
    return getPublic(impl().ref().getCube(x, y, z, getCore(filter)));
}
uint32_t ImageSampler::getCubeFace(float64_t x, float64_t y, float64_t z, float64_t &u, float64_t &v) const {
    return impl().ref().getCubeFace(x, y, z, u, v);
}

void ImageSampler::setTexel(size_t index, const ImageColor &color) { impl().ref().setTexel(index, getCore(color)); }
ImageColor ImageSampler::getTexel(size_t index) const { return getPublic(impl().ref().getTexel(index)); }

} // namespace Ostrevan
