#include "OstrevanTargetKolm.h"

#include "OstrevanFenceKolm.h"
#include "OstrevanSurfaceKolm.h"
#include "OstrevanTextureKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

namespace {

Kolm::Texture *get_texture(const Texture &texture) { return getCore<Kolm::Texture *>(texture); }

} // namespace

OSTREVAN_HANDLE_SOURCE(Target, Noncopyable)

Target::Target() : Target(VoidImpl()) {}

Platform Target::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Target::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Target::getIndex() const { return impl().ref().getIndex(); }

bool Target::begin() { return impl().ref().begin(); }
bool Target::begin(const Fence &fence) { return impl().ref().begin(getCore<Kolm::Fence *>(fence)); }
bool Target::end() { return impl().ref().end(); }
bool Target::end(const Fence &fence) { return impl().ref().end(getCore<Kolm::Fence *>(fence)); }
bool Target::swap(const Surface &surface) { return impl().ref().swap(getCore<Kolm::Surface *>(surface)); }
bool Target::isEnabled() const { return (impl().isValid() && impl().ref().isEnabled()); }

Format Target::getColorFormat(uint32_t index) const { return static_cast<Format>(impl().ref().getColorFormat(index)); }
Format Target::getDepthFormat() const { return static_cast<Format>(impl().ref().getDepthFormat()); }
bool Target::hasMultisample() const { return impl().ref().hasMultisample(); }
bool Target::isFlipped() const { return impl().ref().isFlipped(); }
bool Target::isAtomic() const { return impl().ref().isAtomic(); }
uint32_t Target::getMultisample() const { return impl().ref().getMultisample(); }
uint32_t Target::getWidth() const { return impl().ref().getWidth(); }
uint32_t Target::getHeight() const { return impl().ref().getHeight(); }
uint32_t Target::getDepth() const { return impl().ref().getDepth(); }
uint32_t Target::getFaces() const { return impl().ref().getFaces(); }
uint32_t Target::getLayers() const { return impl().ref().getLayers(); }
uint32_t Target::getMipmaps() const { return impl().ref().getMipmaps(); }
uint32_t Target::getNumTargets() const { return impl().ref().getNumTargets(); }

void Target::setClearColor(const Color &color) { impl().ref().setClearColor(getCore(color)); }
void Target::setClearColor(float32_t r, float32_t g, float32_t b, float32_t a) {
    impl().ref().setClearColor(r, g, b, a);
}
void Target::setClearColor(uint32_t index, const Color &color) { impl().ref().setClearColor(index, getCore(color)); }
void Target::setClearColor(uint32_t index, float32_t r, float32_t g, float32_t b, float32_t a) {
    impl().ref().setClearColor(index, r, g, b, a);
}
Color Target::getClearColor(uint32_t index) const { return getPublic(impl().ref().getClearColor(index)); }
void Target::setColorTexture(const Texture &texture, Operation op, const Slice &slice) {
    impl().ref().setColorTexture(get_texture(texture), getCoreOp(op), getCore(slice));
}
void Target::setColorTexture(uint32_t index, const Texture &texture, Operation op, const Slice &slice) {
    impl().ref().setColorTexture(index, get_texture(texture), getCoreOp(op), getCore(slice));
}
Target::Operation Target::getColorOp(uint32_t index) const {
    return static_cast<Operation>(impl().ref().getColorOp(index));
}
Texture Target::getColorTexture(uint32_t index) const { return TS<Texture>(impl().ref().getColorTexture(index)); }
Slice Target::getColorTextureSlice(uint32_t index) const { return getPublic(impl().ref().getColorTextureSlice(index)); }
void Target::setColorResolve(const Texture &texture, const Slice &slice) {
    impl().ref().setColorResolve(get_texture(texture), getCore(slice));
}
void Target::setColorResolve(uint32_t index, const Texture &texture, const Slice &slice) {
    impl().ref().setColorResolve(index, get_texture(texture), getCore(slice));
}
Texture Target::getColorResolve(uint32_t index) const { return TS<Texture>(impl().ref().getColorResolve(index)); }
Slice Target::getColorResolveSlice(uint32_t index) const { return getPublic(impl().ref().getColorResolveSlice(index)); }

void Target::setClearDepth(float32_t depth, uint32_t stencil) { impl().ref().setClearDepth(depth, stencil); }
float32_t Target::getClearDepth() const { return impl().ref().getClearDepth(); }
uint32_t Target::getClearStencil() const { return impl().ref().getClearStencil(); }
void Target::setDepthTexture(const Texture &texture, Operation op, const Slice &slice) {
    impl().ref().setDepthTexture(get_texture(texture), getCoreOp(op), getCore(slice));
}
void Target::setDepthResolve(const Texture &texture, const Slice &slice) {
    impl().ref().setDepthResolve(get_texture(texture), getCore(slice));
}
Target::Operation Target::getDepthOp() const { return static_cast<Operation>(impl().ref().getDepthOp()); }
Texture Target::getDepthTexture() const { return TS<Texture>(impl().ref().getDepthTexture()); }
Slice Target::getDepthTextureSlice() const { return getPublic(impl().ref().getDepthTextureSlice()); }
Texture Target::getDepthResolve() const { return TS<Texture>(impl().ref().getDepthResolve()); }
Slice Target::getDepthResolveSlice() const { return getPublic(impl().ref().getDepthResolveSlice()); }

} // namespace Ostrevan
