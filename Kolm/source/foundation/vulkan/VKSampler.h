// VKSampler.h: a sampler on Vulkan, made from the parameters of Sampler.

#pragma once

#include "KolmSampler.h"

#include "VKContext.h"

namespace Kolm {

/// Parameters that a device has less of are reduced: anisotropy, and the bias of the level.
class VKSampler : public Sampler {
public:
    VKSampler(VKContext *context, const Sampler *sampler);
    ~VKSampler() override;

    Platform getPlatform() const override { return PlatformVK; }

    void clear() override;
    bool isCreated() const override { return sampler != VK_NULL_HANDLE; }
    bool create() override;

    /// Drops the Vulkan sampler; the parameters stay, and create() may be called again.
    void release();

    VkSampler getSampler() const { return sampler; }

private:
    VKAdapter *adapter = nullptr;
    VKContext *context = nullptr;
    VkSampler sampler = VK_NULL_HANDLE;
};

} // namespace Kolm
