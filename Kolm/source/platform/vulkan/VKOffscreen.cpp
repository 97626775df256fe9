#include "VKOffscreen.h"

#include "KolmLog.h"
#include "VKContext.h"

namespace Kolm {

VKOffscreen::VKOffscreen(uint32_t index) : Offscreen(index) { VK::retain(); }

VKOffscreen::~VKOffscreen() {
    VKContext::release(context);
    VK::release();
}

bool VKOffscreen::create() {
    if(isCreated()) {
        Log::printf(Log::Error, "VKOffscreen::create(): is already created\n");
        return false;
    }
    if(!VK::isOpened() && !VK::open()) {
        Log::printf(Log::Error, "VKOffscreen::create(): can't open Vulkan\n");
        return false;
    }
    if(!VK::isOpened()) {
        Log::printf(Log::Error, "VKOffscreen::create(): Vulkan is not opened\n");
        return false;
    }
    adapter = VK::getAdapter(adapter_index);
    if(adapter == nullptr) {
        if(adapter_index == VK::DefaultIndex) {
            Log::printf(Log::Error, "VKOffscreen::create_context(): can't get default adapter\n");
        } else {
            Log::printf(Log::Error, "VKOffscreen::create_context(): can't get %u adapter\n", adapter_index);
        }
        return false;
    }
    queue_family = adapter->graphics_family;
    queue_index = adapter->graphics_index;
    return create_context();
}

bool VKOffscreen::create(VkInstance instance, PFN_vkGetInstanceProcAddr func, VkPhysicalDevice physical_device,
                         VkDevice device, uint32_t family, uint32_t index) {
    KOLM_ASSERT(instance && func && physical_device && device && "VKOffscreen::create(): device is null");
    if(isCreated()) {
        Log::printf(Log::Error, "VKOffscreen::create(): is already created\n");
        return false;
    }
    if(VK::isOpened() && VK::getInstance() != instance) {
        Log::printf(Log::Error, "VKOffscreen::create(): Vulkan is opened with another instance\n");
        return false;
    }
    if(!VK::isOpened() && !VK::open(instance, func)) {
        Log::printf(Log::Error, "VKOffscreen::create(): can't open Vulkan\n");
        return false;
    }
    VKAdapter *new_adapter = new VKAdapter(&physical_device, 1);
    if(!new_adapter->create(device, family, index) || VK::addAdapter(new_adapter) == ~0u) {
        Log::printf(Log::Error, "VKOffscreen::create(): can't create context\n");
        delete new_adapter;
        return false;
    }
    adapter = new_adapter;
    queue_family = family;
    queue_index = index;
    return create_context();
}

bool VKOffscreen::create_context() {
    set_adapter_index(adapter->getIndex());
    context = new VKContext(adapter, queue_family, queue_index);
    if(context->create(VK_COMMAND_BUFFER_LEVEL_PRIMARY, VKContext::DefaultFrames)) return true;
    Log::printf(Log::Error, "VKOffscreen::create(): can't create context\n");
    VKContext::release(context);
    context = nullptr;
    return false;
}

bool VKOffscreen::flush() {
    if(isCreated() && context->flush(false)) return true;
    Log::printf(Log::Error, "VKOffscreen::flush(): can't flush context\n");
    return false;
}

bool VKOffscreen::finish() {
    if(isCreated() && context->finish(true, true)) return true;
    Log::printf(Log::Error, "VKOffscreen::finish(): can't finish context\n");
    return false;
}

} // namespace Kolm
