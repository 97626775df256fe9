#pragma once

#include <platform/OstrevanVKFence.h>

#include "OstrevanFenceKolm.h"
#include "VKFence.h"

namespace Ostrevan {

struct VKFence::VKFenceImpl : HandleImpl<VKFence, Kolm::VKFence, Fence> {};

} // namespace Ostrevan
