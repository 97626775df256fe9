#include "OstrevanVKFenceKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(VKFence, Noncopyable, Fence)

VKFence::VKFence() : VKFence(VoidImpl()) {}
VKFence::VKFence(const Fence &fence) : VKFence(VoidImpl()) {
    impl().narrow(
        fence.impl(), [](const Kolm::Fence &core) { return core.isPlatformVK(); },
        "VKFence::VKFence(): invalid type\n");
}

VkSemaphore VKFence::getVKSemaphore() const { return impl().ref().getSemaphore(); }

} // namespace Ostrevan
