#include "OstrevanVKContextKolm.h"
#include "VKTarget.h"

#include "VKContext.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(VKContext, Noncopyable, Context)

VKContext::VKContext() : VKContext(VoidImpl()) {}
VKContext::VKContext(uint32_t index) : VKContext(VoidImpl()) { impl().init(new Kolm::VKOffscreen(index)); }
VKContext::VKContext(const Context &context) : VKContext(VoidImpl()) {
    impl().narrow(
        context.impl(), [](const Kolm::Offscreen &core) { return core.isPlatformVK(); },
        "VKContext::VKContext(): invalid type\n");
}

bool VKContext::create(VkInstance instance, PFN_vkGetInstanceProcAddr func, VkPhysicalDevice adapter, VkDevice device,
                       uint32_t family, uint32_t index) {
    return impl().ref().create(instance, func, adapter, device, family, index);
}

// The context of a handle that has one.
static Kolm::VKContext &get_context(const Kolm::VKOffscreen &offscreen) {
    KOLM_ASSERT(offscreen.isCreated() && "VKContext: context is not created");
    return *offscreen.getContext();
}

VkInstance VKContext::getInstance() const { return Kolm::VK::getInstance(); }
VkPhysicalDevice VKContext::getAdapter() const { return get_context(impl().ref()).getAdapter()->getAdapter(); }
VkDevice VKContext::getDevice() const { return get_context(impl().ref()).getDevice(); }
VkQueue VKContext::getQueue() const { return get_context(impl().ref()).getQueue(); }
VkCommandBuffer VKContext::getCommand() const { return Kolm::VKTarget::getCommand(&get_context(impl().ref())); }
uint32_t VKContext::getFamily() const { return get_context(impl().ref()).getFamily(); }

uint32_t VKContext::getNumQueues() const { return get_context(impl().ref()).getAdapter()->queues.size(); }
uint32_t VKContext::getQueueFlags(uint32_t queue) const {
    return get_context(impl().ref()).getAdapter()->queues[queue].flags;
}
uint32_t VKContext::getQueueFamily(uint32_t queue) const {
    return get_context(impl().ref()).getAdapter()->queues[queue].family;
}

void VKContext::addContextExtension(const char *name) { Kolm::VK::addContextExtension(name); }
void VKContext::addAdapterExtension(const char *name) { Kolm::VK::addAdapterExtension(name); }
void VKContext::addAdapterFeatures(void *features) { Kolm::VK::addAdapterFeatures(features); }

void *VKContext::getInstanceProcAddress(const char *name) const { return getProcAddress(name); }
void *VKContext::getDeviceProcAddress(const char *name) const {
    const Kolm::VKContext &context = get_context(impl().ref());
    return reinterpret_cast<void *>(Kolm::vkGetDeviceProcAddr(context.getDevice(), name));
}
void *VKContext::getProcAddress(const char *name) { return reinterpret_cast<void *>(Kolm::VK::getProcAddress(name)); }

bool VKContext::error(uint32_t result) { return Kolm::VK::error(static_cast<VkResult>(result)); }

} // namespace Ostrevan
