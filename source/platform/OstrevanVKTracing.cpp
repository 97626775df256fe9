#include "OstrevanVKTracingKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(VKTracing, Noncopyable, Tracing)

VKTracing::VKTracing() : VKTracing(VoidImpl()) {}
VKTracing::VKTracing(const Tracing &tracing) : VKTracing(VoidImpl()) {
    impl().narrow(
        tracing.impl(), [](const Kolm::Tracing &core) { return core.isPlatformVK(); },
        "VKTracing::VKTracing(): invalid type\n");
}

VkAccelerationStructureKHR VKTracing::getVKTracing() const { return impl().ref().getTracing(); }
uint64_t VKTracing::getDeviceAddress() const { return impl().ref().getDeviceAddress(); }

} // namespace Ostrevan
