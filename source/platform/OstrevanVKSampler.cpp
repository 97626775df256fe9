#include "OstrevanVKSamplerKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(VKSampler, Noncopyable, Sampler)

VKSampler::VKSampler() : VKSampler(VoidImpl()) {}
VKSampler::VKSampler(const Sampler &sampler) : VKSampler(VoidImpl()) {
    impl().narrow(
        sampler.impl(), [](const Kolm::Sampler &core) { return core.isPlatformVK(); },
        "VKSampler::VKSampler(): invalid type\n");
}

VkSampler VKSampler::getVKSampler() const { return impl().ref().getSampler(); }

} // namespace Ostrevan
