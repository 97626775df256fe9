// The graphics APIs by name.

#pragma once

#include <base/OstrevanBase.h>

namespace Ostrevan {

/// Graphics APIs. PlatformAny is a request: contexts and windows settle it, as Vulkan.
enum Platform {
    PlatformUnknown = 0,
    PlatformFusion = 1,
    PlatformD3D12 = 2,
    PlatformD3D11 = 3,
    PlatformMTL = 4,
    PlatformVK = 5,
    PlatformGL = 6,
    PlatformGLES = 7,
    PlatformWG = 8,
    PlatformCU = 9,
    PlatformHIP = 10,
    PlatformAny = 11,
    NumPlatforms = 12
};

/// "Vulkan", "Any" and so on; "Unknown" for values that name no platform.
OSTREVAN_API const char *getPlatformName(Platform platform);
/// Platform of that name in any case, or PlatformUnknown.
OSTREVAN_API Platform findPlatformName(const char *name);
/// Whether this build knows the platform's API. The machine may still lack it.
OSTREVAN_API bool isPlatformAvailable(Platform platform);

} // namespace Ostrevan
