// Vulkan's side of a context.

#pragma once

#include <platform/OstrevanContext.h>
#include <platform/OstrevanVK.h>

namespace Ostrevan {

/// Context on Vulkan.
class OSTREVAN_API VKContext : public Context {
    OSTREVAN_HANDLE(VKContext)
public:
    /// Context of the default adapter, made on first use.
    VKContext();
    /// Context of an adapter, ~0 for the default one.
    explicit VKContext(uint32_t index);
    /// View of the context, which does not keep it alive. One of another platform is refused with one line.
    explicit VKContext(const Context &context);

    using Context::create;
    /// Wraps a device that the caller made, and destroys after all objects of this context. \p func finds Vulkan's
    /// functions; \p family and \p index name a queue that the device was made with.
    bool create(VkInstance instance, PFN_vkGetInstanceProcAddr func, VkPhysicalDevice adapter, VkDevice device,
                uint32_t family, uint32_t index);

    // Expect a created context.
    VkInstance getInstance() const;
    VkPhysicalDevice getAdapter() const;
    VkDevice getDevice() const;
    VkQueue getQueue() const;
    /// Command buffer that is recorded now. Not kept over flush, finish and flip.
    VkCommandBuffer getCommand() const;
    /// Family of the queue.
    uint32_t getFamily() const;

    /// Queues of an adapter, each with its VkQueueFlags and family. Expects a created context.
    uint32_t getNumQueues() const;
    uint32_t getQueueFlags(uint32_t queue) const;
    uint32_t getQueueFamily(uint32_t queue) const;

    /// Full names, "VK_KHR_...", to be enabled with the next context: of the instance, and of devices.
    static void addContextExtension(const char *name);
    static void addAdapterExtension(const char *name);
    /// A feature record, chained into every device made after the call. The caller keeps it alive.
    static void addAdapterFeatures(void *features);

    /// Null for functions that Vulkan or the driver lacks.
    void *getInstanceProcAddress(const char *name) const;
    void *getDeviceProcAddress(const char *name) const;
    static void *getProcAddress(const char *name);

    /// Logs a VkResult that is not success. True if it is an error.
    static bool error(uint32_t result);
};

} // namespace Ostrevan
