#include "OstrevanVKSurfaceKolm.h"
#include "VKTarget.h"

#include "KolmBackend.h"
#include "OstrevanContextKolm.h"
#include "OstrevanUtilsKolm.h"
#include "VKContext.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(VKSurface, Noncopyable, Surface)

VKSurface::VKSurface() : VKSurface(VoidImpl()) {}
VKSurface::VKSurface(const Context &context) : VKSurface(VoidImpl()) {
    KOLM_ASSERT(context.isValidPtr() && "VKSurface::VKSurface(): context is null");
    Kolm::Offscreen *core = getCore<Kolm::Offscreen *>(context);
    if(core == nullptr) return;
    Kolm::Surface *surface = Kolm::Backend::createSurface(Kolm::PlatformVK, core);
    if(surface) impl().init(core->cast<Kolm::VKSurface>(surface));
}
VKSurface::VKSurface(const Surface &surface) : VKSurface(VoidImpl()) {
    impl().narrow(
        surface.impl(), [](const Kolm::Surface &core) { return core.isPlatformVK(); },
        "VKSurface::VKSurface(): invalid type\n");
}

#define OSTREVAN_SURFACE_VALUE(TYPE, NAME)                                   \
    void VKSurface::set##NAME(TYPE value) { impl().ref().set##NAME(value); } \
    TYPE VKSurface::get##NAME() const { return impl().ref().get##NAME(); }
OSTREVAN_SURFACE_VALUE(VkImage, ColorImage)
OSTREVAN_SURFACE_VALUE(VkImage, DepthImage)
OSTREVAN_SURFACE_VALUE(VkImageView, ColorImageView)
OSTREVAN_SURFACE_VALUE(VkImageView, DepthImageView)
OSTREVAN_SURFACE_VALUE(VkRenderPass, RenderPass)
OSTREVAN_SURFACE_VALUE(VkFramebuffer, Framebuffer)
#undef OSTREVAN_SURFACE_VALUE

uint32_t VKSurface::getColorPixelFormat() const { return impl().ref().getColorPixelFormat(); }
uint32_t VKSurface::getDepthPixelFormat() const { return impl().ref().getDepthPixelFormat(); }

// The context of a surface that has one.
static Kolm::VKContext &get_context(const Kolm::VKSurface &surface) {
    KOLM_ASSERT(surface.getContext() && "VKSurface: context is null");
    return *surface.getContext();
}

VkInstance VKSurface::getInstance() const { return Kolm::VK::getInstance(); }
VkPhysicalDevice VKSurface::getAdapter() const { return get_context(impl().ref()).getAdapter()->getAdapter(); }
VkDevice VKSurface::getDevice() const { return get_context(impl().ref()).getDevice(); }
VkQueue VKSurface::getQueue() const { return get_context(impl().ref()).getQueue(); }
VkCommandBuffer VKSurface::getCommand() const { return Kolm::VKTarget::getCommand(&get_context(impl().ref())); }
uint32_t VKSurface::getFamily() const { return get_context(impl().ref()).getFamily(); }

} // namespace Ostrevan
