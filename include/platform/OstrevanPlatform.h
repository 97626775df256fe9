// The graphics and compute interfaces that the library can stand on.

#pragma once

#include <base/OstrevanBase.h>

namespace Ostrevan {

/// The numbers are those that settings and files store. PlatformAny asks the library to choose.
enum Platform {
    PlatformUnknown = 0,
    PlatformFusion,
    PlatformD3D12,
    PlatformD3D11,
    PlatformMTL,
    PlatformVK,
    PlatformGL,
    PlatformGLES,
    PlatformWG,
    PlatformCU,
    PlatformHIP,
    PlatformAny,
    NumPlatforms
};

} // namespace Ostrevan
