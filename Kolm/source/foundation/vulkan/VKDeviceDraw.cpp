// VKDeviceDraw.cpp: targets, pipelines and draw recorders of the device on Vulkan.

#include "KolmLog.h"
#include "VKCommand.h"
#include "VKDevice.h"
#include "VKPipeline.h"
#include "VKSurface.h"
#include "VKTarget.h"

namespace Kolm {

Target *VKDevice::createTarget() { return new VKTarget(context); }

Target *VKDevice::createTarget(Surface *surface) {
    KOLM_ASSERT(surface && "VKDevice::createTarget(): surface is null");
    return new VKTarget(context, cast<VKSurface>(surface));
}

Pipeline *VKDevice::createPipeline(const Pipeline *pipeline) {
    return new VKPipeline(context, cast<VKPipeline>(pipeline));
}

void VKDevice::release_pipeline(Pipeline *pipeline) { cast<VKPipeline>(pipeline)->release(); }

const Target *VKDevice::get_enabled_target() const { return context->getTarget(); }

// A command device draws into a target of its parent.
Command *VKDevice::create_command(Target *target) {
    VKTarget *vk_target = cast<VKTarget>(target);
    if(vk_target == nullptr && parent) vk_target = parent->getTarget();
    if(vk_target == nullptr) {
        Log::printf(Log::Error, "VKDevice::createCommand(): no target is enabled\n");
        return nullptr;
    }
    if(context != vk_target->getContext()) {
        if(context->isPrimary()) {
            Log::printf(Log::Error, "VKDevice::createCommand(): target is of another device\n");
            return nullptr;
        }
        if(!context->inherit(vk_target->getRenderPass(), vk_target->getFramebuffer())) return nullptr;
    }
    return new VKCommand(context, getFeatures(), vk_target);
}

bool VKDevice::execute(Device *device) {
    KOLM_ASSERT(device && device != this && "VKDevice::execute(): device is null");
    VKContext *child = cast<VKDevice>(device)->context;
    VKTarget *target = context->getTarget();
    if(child->getInherited() != (target ? target->getFramebuffer() : VkFramebuffer(VK_NULL_HANDLE))) {
        Log::printf(Log::Error, "VKDevice::execute(): commands %s\n",
                    target ? "are not for the target that is enabled" : "need their target");
        return false;
    }
    if(target && !target->beginPass(VK_SUBPASS_CONTENTS_SECONDARY_COMMAND_BUFFERS)) return false;
    return context->execute(child);
}

} // namespace Kolm
