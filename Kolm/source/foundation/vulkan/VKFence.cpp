#include "VKFence.h"

#include <unistd.h>

#include "KolmLog.h"

namespace Kolm {

VKFence::VKFence(VKContext *context) : Fence(context->getAdapter()->getIndex()), context(context->retain()) {}

VKFence::~VKFence() {
    VKFence::clear();
    VKContext::release(context);
}

// Submissions under way keep what they signal.
void VKFence::clear() {
    VKContext::Signal::release(timeline);
    VKContext::Signal::release(signal_fence);
    timeline = signal_fence = nullptr;
    last_context = nullptr;
    is_created = false;
    Fence::clear();
}

void VKFence::setName(const char *name) {
    Fence::setName(name);
    context->getAdapter()->setObjectName(VK_OBJECT_TYPE_SEMAPHORE, reinterpret_cast<uint64_t>(getSemaphore()),
                                         fence_name.get());
}

bool VKFence::create_timeline() {
    auto type_info = vk_record<VkSemaphoreTypeCreateInfo>(VK_STRUCTURE_TYPE_SEMAPHORE_TYPE_CREATE_INFO);
    type_info.semaphoreType = VK_SEMAPHORE_TYPE_TIMELINE;
    auto export_info = vk_record<VkExportSemaphoreCreateInfo>(VK_STRUCTURE_TYPE_EXPORT_SEMAPHORE_CREATE_INFO);
    export_info.handleTypes = VK_EXTERNAL_SEMAPHORE_HANDLE_TYPE_OPAQUE_FD_BIT;
    if(hasFlag(FlagShared)) type_info.pNext = &export_info;
    const auto info = vk_record<VkSemaphoreCreateInfo>(VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO, &type_info);
    timeline = new VKContext::Signal(context->getDevice());
    if(VK::error(vkCreateSemaphore(context->getDevice(), &info, nullptr, &timeline->semaphore))) {
        timeline->semaphore = VK_NULL_HANDLE;
        return false;
    }
    return true;
}

bool VKFence::create(Flags flags) {
    if(!init(flags)) return false;
    const VKAdapter *adapter = context->getAdapter();
    const bool has_timeline = adapter->getTimelineSemaphoreFeatures().timelineSemaphore;
    const char *message = nullptr;
    if(hasFlag(FlagTimeline) && !has_timeline)
        message = "VKFence::create(): timelines are not supported\n";
    else if(hasFlag(FlagShared) && !(has_timeline && adapter->has_external_semaphore))
        message = "VKFence::create(): handles are not supported\n";
    else if(has_timeline && !create_timeline())
        message = "VKFence::create(): can't create semaphore\n";
    if(message) {
        Log::print(Log::Error, message);
        clear();
        return false;
    }
    return is_created = true;
}

bool VKFence::create(Fence *src) {
    if(!init(src)) return false;
    const VKAdapter *adapter = context->getAdapter();
    const int32_t handle = cast<VKFence>(src)->getHandle();
    auto info = vk_record<VkImportSemaphoreFdInfoKHR>(VK_STRUCTURE_TYPE_IMPORT_SEMAPHORE_FD_INFO_KHR);
    info.handleType = VK_EXTERNAL_SEMAPHORE_HANDLE_TYPE_OPAQUE_FD_BIT;
    info.fd = handle;
    // A successful import owns the handle.
    is_created = (handle >= 0 && adapter->getTimelineSemaphoreFeatures().timelineSemaphore &&
                  adapter->has_external_semaphore && create_timeline());
    if(is_created) {
        info.semaphore = timeline->semaphore;
        is_created = !VK::error(vkImportSemaphoreFdKHR(context->getDevice(), &info));
    }
    if(is_created) return true;
    if(handle >= 0) ::close(handle);
    Log::printf(Log::Error, "VKFence::create(): can't import fence\n");
    clear();
    return false;
}

int32_t VKFence::getHandle() const {
    if(!is_created || !hasFlag(FlagShared)) return -1;
    auto info = vk_record<VkSemaphoreGetFdInfoKHR>(VK_STRUCTURE_TYPE_SEMAPHORE_GET_FD_INFO_KHR);
    info.semaphore = timeline->semaphore;
    info.handleType = VK_EXTERNAL_SEMAPHORE_HANDLE_TYPE_OPAQUE_FD_BIT;
    int handle = -1;
    if(!VK::error(vkGetSemaphoreFdKHR(context->getDevice(), &info, &handle))) return handle;
    Log::printf(Log::Error, "VKFence::getHandle(): can't get handle\n");
    return -1;
}

bool VKFence::wait_value(uint64_t value, uint64_t timeout) const {
    VKAdapter *adapter = context->getAdapter();
    const VkDevice device = context->getDevice();
    VkResult result = VK_SUCCESS;
    if(timeline && timeout == 0) {
        uint64_t reached = 0;
        result = adapter->vkGetSemaphoreCounterValue(device, timeline->semaphore, &reached);
        if(result == VK_SUCCESS && reached < value) return false;
    } else if(timeline) {
        auto info = vk_record<VkSemaphoreWaitInfo>(VK_STRUCTURE_TYPE_SEMAPHORE_WAIT_INFO);
        info.semaphoreCount = 1;
        info.pSemaphores = &timeline->semaphore;
        info.pValues = &value;
        result = adapter->vkWaitSemaphores(device, &info, timeout);
    } else if(signal_fence) {
        result = adapter->vkWaitForFences(device, 1, &signal_fence->fence, VK_TRUE, timeout);
    }
    return (result != VK_TIMEOUT && !adapter->error(result));
}

// One device of the driver: another one can't name the semaphore.
bool VKFence::check(const char *method, const VKContext *ctx) const {
    const char *text = nullptr;
    if(ctx->getDevice() != context->getDevice())
        text = "fence is of another adapter";
    else if(!ctx->isPrimary())
        text = "command devices have no queue";
    if(text) Log::printf(Log::Error, "VKFence::%s(): %s\n", method, text);
    return (text == nullptr);
}

bool VKFence::wait(VKContext *ctx) const {
    if(!check("wait", ctx)) return false;
    if(fence_value == 0) return true;
    // Without timelines the host waits in front of the submission.
    if(timeline == nullptr) return wait_value(fence_value, Infinite);
    ctx->addWaitSignal(timeline, fence_value);
    return true;
}

// A fence of its own for each signal.
bool VKFence::submit_signal(VKContext *ctx) {
    VKContext::Signal *signal = new VKContext::Signal(ctx->getDevice());
    const auto info = vk_record<VkFenceCreateInfo>(VK_STRUCTURE_TYPE_FENCE_CREATE_INFO);
    if(VK::error(vkCreateFence(ctx->getDevice(), &info, nullptr, &signal->fence))) {
        signal->fence = VK_NULL_HANDLE;
        VKContext::Signal::release(signal);
        Log::printf(Log::Error, "VKFence::signal(): can't create fence\n");
        return false;
    }
    ctx->keepSignal(signal);
    if(!ctx->flush(false, signal->fence)) {
        VKContext::Signal::release(signal);
        return false;
    }
    VKContext::Signal::release(signal_fence);
    signal_fence = signal;
    return true;
}

bool VKFence::signalFlip(VKContext *ctx) {
    if(!check("signal", ctx)) return false;
    if(timeline == nullptr) return submit_signal(ctx);
    // Values only grow: signals of several queues come in the order in which they were asked for.
    if(last_context && last_context != ctx) ctx->addWaitSignal(timeline, fence_value - 1);
    ctx->addSignal(timeline, fence_value);
    last_context = ctx;
    return true;
}

bool VKFence::signal(VKContext *ctx) {
    if(!signalFlip(ctx)) return false;
    if(timeline == nullptr || ctx->flush(false)) return true;
    ctx->clearSemaphores();
    return false;
}

} // namespace Kolm
