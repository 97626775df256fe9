// Vulkan's side of a sampler.

#pragma once

#include <platform/OstrevanSampler.h>
#include <platform/OstrevanVK.h>

namespace Ostrevan {

/// Sampler on Vulkan.
class OSTREVAN_API VKSampler : public Sampler {
    OSTREVAN_HANDLE(VKSampler)
public:
    VKSampler();
    /// View of the sampler, which does not keep it alive. One of another platform is refused with one line.
    explicit VKSampler(const Sampler &sampler);

    VkSampler getVKSampler() const;
};

} // namespace Ostrevan
