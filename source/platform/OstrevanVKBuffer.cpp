#include "OstrevanVKBufferKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(VKBuffer, Noncopyable, Buffer)

VKBuffer::VKBuffer() : VKBuffer(VoidImpl()) {}
VKBuffer::VKBuffer(const Buffer &buffer) : VKBuffer(VoidImpl()) {
    impl().narrow(
        buffer.impl(), [](const Kolm::Buffer &core) { return core.isPlatformVK(); },
        "VKBuffer::VKBuffer(): invalid type\n");
}

bool VKBuffer::create(Flags flags, size_t size, VkBuffer buffer, uint32_t access) {
    return impl().ref().create(getCoreFlags(flags), size, buffer, access);
}

VkBuffer VKBuffer::getVKBuffer() const { return impl().ref().getBuffer(); }
VkBufferView VKBuffer::getVKBufferView() const { return impl().ref().getBufferView(); }
uint64_t VKBuffer::getDeviceAddress() const { return impl().ref().getDeviceAddress(); }
uint32_t VKBuffer::getBufferAccess() const { return impl().ref().getBufferAccess(); }

} // namespace Ostrevan
