#pragma once

#include <platform/OstrevanVKSurface.h>

#include "OstrevanSurfaceKolm.h"
#include "VKSurface.h"

namespace Ostrevan {

struct VKSurface::VKSurfaceImpl : HandleImpl<VKSurface, Kolm::VKSurface, Surface> {};

} // namespace Ostrevan
