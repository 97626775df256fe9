// Vulkan's side of an acceleration structure.

#pragma once

#include <platform/OstrevanTracing.h>
#include <platform/OstrevanVK.h>

namespace Ostrevan {

/// Acceleration structure on Vulkan.
class OSTREVAN_API VKTracing : public Tracing {
    OSTREVAN_HANDLE(VKTracing)
public:
    VKTracing();
    /// View of the acceleration structure, which does not keep it alive. One of another platform is refused with one line.
    explicit VKTracing(const Tracing &tracing);

    /// Changes with Device::compactTracing(), and with a whole build after that.
    VkAccelerationStructureKHR getVKTracing() const;
    /// Address for instances that the device writes, 0 until the structure is created. It changes likewise.
    uint64_t getDeviceAddress() const;
};

} // namespace Ostrevan
