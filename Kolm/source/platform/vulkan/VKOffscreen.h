// VKOffscreen.h: a Vulkan context without a window.

#pragma once

#include "KolmOffscreen.h"

#include "VK.h"

namespace Kolm {

class VKContext;

class VKOffscreen : public Offscreen {
public:
    explicit VKOffscreen(uint32_t index = VK::DefaultIndex);
    ~VKOffscreen() override;

    Platform getPlatform() const override { return PlatformVK; }

    bool isCreated() const override { return context != nullptr; }
    bool create() override;
    /// Wraps a device that the caller made on \p adapter and destroys after all objects of this context.
    bool create(VkInstance instance, PFN_vkGetInstanceProcAddr func, VkPhysicalDevice adapter, VkDevice device,
                uint32_t family, uint32_t index);
    bool flush() override;
    bool finish() override;

    VKContext *getContext() const { return context; }
    VKAdapter *getAdapter() const { return adapter; }

private:
    bool create_context();

    VKAdapter *adapter = nullptr;
    VKContext *context = nullptr;
    uint32_t queue_family = VK_QUEUE_FAMILY_IGNORED; // of an outside device
    uint32_t queue_index = 0;
};

} // namespace Kolm
