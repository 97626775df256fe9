#pragma once

#include <platform/OstrevanSurface.h>

#include "KolmSurface.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Surface::SurfaceImpl : HandleImpl<Surface, Kolm::Surface> {};

} // namespace Ostrevan
