#include "OstrevanSurfaceKolm.h"

#include "KolmBackend.h"
#include "KolmLog.h"
#include "OstrevanContextKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Surface, Noncopyable)

Surface::Surface() : Surface(VoidImpl()) {}
Surface::Surface(Platform platform) : Surface(VoidImpl()) {
    if(platform == PlatformAny) {
        Kolm::Log::printf(Kolm::Log::Error, "Surface::constructor(): unknown platform %s\n",
                          Ostrevan::getPlatformName(platform));
        return;
    }
    Kolm::Surface *surface = Kolm::Backend::createSurface(getCorePlatform(platform), nullptr);
    if(surface) impl().init(surface);
}
Surface::Surface(const Context &context) : Surface(VoidImpl()) {
    KOLM_ASSERT(context.isValidPtr() && "Surface::Surface(): context is null");
    Kolm::Offscreen *core = getCore<Kolm::Offscreen *>(context);
    Kolm::Surface *surface = (core) ? Kolm::Backend::createSurface(core->getPlatform(), core) : nullptr;
    if(surface) impl().init(surface);
}

Platform Surface::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Surface::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Surface::getIndex() const { return impl().ref().getIndex(); }

void Surface::setSize(uint32_t width, uint32_t height) { impl().ref().setSize(width, height); }
void Surface::setMultisample(uint32_t multisample) { impl().ref().setMultisample(multisample); }
void Surface::setColorLayer(uint32_t layer, uint32_t layers) { impl().ref().setColorLayer(layer, layers); }
void Surface::setDepthLayer(uint32_t layer, uint32_t layers) { impl().ref().setDepthLayer(layer, layers); }
void Surface::setColorFormat(Format format) { impl().ref().setColorFormat(getCore(format)); }
void Surface::setDepthFormat(Format format) { impl().ref().setDepthFormat(getCore(format)); }
Format Surface::getColorFormat() const { return static_cast<Format>(impl().ref().getColorFormat()); }
Format Surface::getDepthFormat() const { return static_cast<Format>(impl().ref().getDepthFormat()); }
uint32_t Surface::getWidth() const { return impl().ref().getWidth(); }
uint32_t Surface::getHeight() const { return impl().ref().getHeight(); }
uint32_t Surface::getMultisample() const { return impl().ref().getMultisample(); }
bool Surface::hasMultisample() const { return impl().ref().hasMultisample(); }
uint32_t Surface::getColorLayer() const { return impl().ref().getColorLayer(); }
uint32_t Surface::getDepthLayer() const { return impl().ref().getDepthLayer(); }
uint32_t Surface::getColorLayers() const { return impl().ref().getColorLayers(); }
uint32_t Surface::getDepthLayers() const { return impl().ref().getDepthLayers(); }
bool Surface::hasColorLayers() const { return impl().ref().hasColorLayers(); }
bool Surface::hasDepthLayers() const { return impl().ref().hasDepthLayers(); }

} // namespace Ostrevan
