#include "OstrevanVKDeviceKolm.h"
#include "VKTarget.h"

#include "OstrevanBufferKolm.h"
#include "OstrevanTextureKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(VKDevice, Noncopyable, Device)

VKDevice::VKDevice() : VKDevice(VoidImpl()) {}
VKDevice::VKDevice(const Device &device) : VKDevice(VoidImpl()) {
    impl().narrow(
        device.impl(), [](const Kolm::Device &core) { return core.isPlatformVK(); },
        "VKDevice::VKDevice(): invalid type\n");
}

void VKDevice::setBufferAccess(const Buffer &buffer, uint32_t access) {
    impl().ref().setBufferAccess(getCore<Kolm::Buffer *>(buffer), access);
}

void VKDevice::setTextureLayout(const Texture &texture, uint32_t layout) {
    impl().ref().setTextureLayout(getCore<Kolm::Texture *>(texture), VkImageLayout(layout));
}

bool VKDevice::waitVKFence(void *fence, uint64_t timeout, bool reset) {
    return impl().ref().waitVKFence(static_cast<VkFence>(fence), timeout, reset);
}
bool VKDevice::signalVKFence(void *fence) { return impl().ref().signalVKFence(static_cast<VkFence>(fence)); }

void VKDevice::waitSemaphore(void *semaphore, uint32_t stage_mask) {
    impl().ref().waitSemaphore(static_cast<VkSemaphore>(semaphore), stage_mask);
}
void VKDevice::signalSemaphore(void *semaphore) { impl().ref().signalSemaphore(static_cast<VkSemaphore>(semaphore)); }

bool VKDevice::hasMemoryType(uint32_t flags) const { return impl().ref().hasMemoryType(flags); }
uint32_t VKDevice::getMemoryIndex(uint32_t type_bits, uint32_t flags) const {
    return impl().ref().getMemoryIndex(type_bits, flags);
}

VkInstance VKDevice::getInstance() const { return Kolm::VK::getInstance(); }
VkPhysicalDevice VKDevice::getAdapter() const { return impl().ref().getAdapter()->getAdapter(); }
VkDevice VKDevice::getVKDevice() const { return impl().ref().getContext()->getDevice(); }
VkQueue VKDevice::getQueue() const { return impl().ref().getContext()->getQueue(); }
VkCommandBuffer VKDevice::getCommand() const { return Kolm::VKTarget::getCommand(impl().ref().getContext()); }
uint32_t VKDevice::getFamily() const { return impl().ref().getContext()->getFamily(); }

} // namespace Ostrevan
