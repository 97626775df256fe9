#include "OstrevanSamplerKolm.h"

#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Sampler, Noncopyable)

Sampler::Sampler() : Sampler(VoidImpl()) {}

Platform Sampler::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Sampler::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Sampler::getIndex() const { return impl().ref().getIndex(); }

void Sampler::clear() { impl().ref().clear(); }
bool Sampler::isCreated() const { return (impl().isValid() && impl().ref().isCreated()); }
bool Sampler::create() { return impl().ref().create(); }

Sampler &Sampler::setParameters(const Sampler &sampler) {
    impl().ref().setParameters(getCore<const Kolm::Sampler *>(sampler));
    return *this;
}
Sampler &Sampler::setFilter(Filter filter) {
    impl().ref().setFilter(static_cast<Kolm::Sampler::Filter>(filter));
    return *this;
}
Sampler &Sampler::setFilter(Filter filter, uint32_t anisotropy) {
    impl().ref().setFilter(static_cast<Kolm::Sampler::Filter>(filter), anisotropy);
    return *this;
}
Sampler::Filter Sampler::getFilter() const { return static_cast<Filter>(impl().ref().getFilter()); }
Sampler &Sampler::setAnisotropy(uint32_t anisotropy) {
    impl().ref().setAnisotropy(anisotropy);
    return *this;
}
uint32_t Sampler::getAnisotropy() const { return impl().ref().getAnisotropy(); }
bool Sampler::hasAnisotropy() const { return impl().ref().hasAnisotropy(); }
Sampler &Sampler::setWrapMode(WrapMode mode) {
    impl().ref().setWrapMode(static_cast<Kolm::Sampler::WrapMode>(mode));
    return *this;
}
Sampler &Sampler::setWrapMode(WrapMode s, WrapMode t) {
    impl().ref().setWrapMode(static_cast<Kolm::Sampler::WrapMode>(s), static_cast<Kolm::Sampler::WrapMode>(t));
    return *this;
}
Sampler &Sampler::setWrapMode(WrapMode s, WrapMode t, WrapMode r) {
    impl().ref().setWrapMode(static_cast<Kolm::Sampler::WrapMode>(s), static_cast<Kolm::Sampler::WrapMode>(t),
                             static_cast<Kolm::Sampler::WrapMode>(r));
    return *this;
}
Sampler::WrapMode Sampler::getWrapModeS() const { return static_cast<WrapMode>(impl().ref().getWrapModeS()); }
Sampler::WrapMode Sampler::getWrapModeT() const { return static_cast<WrapMode>(impl().ref().getWrapModeT()); }
Sampler::WrapMode Sampler::getWrapModeR() const { return static_cast<WrapMode>(impl().ref().getWrapModeR()); }
Sampler &Sampler::setLod(float32_t min, float32_t max, float32_t bias) {
    impl().ref().setLod(min, max, bias);
    return *this;
}
float32_t Sampler::getLodMin() const { return impl().ref().getLodMin(); }
float32_t Sampler::getLodMax() const { return impl().ref().getLodMax(); }
float32_t Sampler::getLodBias() const { return impl().ref().getLodBias(); }
Sampler &Sampler::setBorderColor(const Color &color) {
    impl().ref().setBorderColor(getCore(color));
    return *this;
}
Color Sampler::getBorderColor() const { return getPublic(impl().ref().getBorderColor()); }
Sampler &Sampler::setCompareFunc(CompareFunc func) {
    impl().ref().setCompareFunc(static_cast<Kolm::Sampler::CompareFunc>(func));
    return *this;
}
Sampler::CompareFunc Sampler::getCompareFunc() const { return static_cast<CompareFunc>(impl().ref().getCompareFunc()); }
Sampler &Sampler::setReductionMode(ReductionMode mode) {
    impl().ref().setReductionMode(static_cast<Kolm::Sampler::ReductionMode>(mode));
    return *this;
}
Sampler::ReductionMode Sampler::getReductionMode() const {
    return static_cast<ReductionMode>(impl().ref().getReductionMode());
}

} // namespace Ostrevan
