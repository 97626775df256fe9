// KolmPlatform.cpp: the platform tables and the look-up by name.

#include "KolmPlatform.h"

namespace Kolm {

namespace {

constexpr const char *platform_names[NumPlatforms] = {
#define PLATFORM(NUMBER, NAME, TEXT, PREFIX) TEXT,
#include "KolmPlatform.inc"
};

constexpr const char *platform_prefixes[NumPlatforms] = {
#define PLATFORM(NUMBER, NAME, TEXT, PREFIX) PREFIX,
#include "KolmPlatform.inc"
};

char to_lower(char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; }

bool is_same_name(const char *a, const char *b) {
    while(*a && to_lower(*a) == to_lower(*b)) {
        a++;
        b++;
    }
    return (to_lower(*a) == to_lower(*b));
}

} // namespace

PlatformBase::~PlatformBase() = default;

const char *PlatformBase::getPlatformPrefix() const {
    const Platform platform = getPlatform();
    return (uint32_t(platform) < NumPlatforms) ? platform_prefixes[platform] : platform_prefixes[PlatformUnknown];
}

const char *PlatformBase::getPlatformName(Platform platform) {
    return (uint32_t(platform) < NumPlatforms) ? platform_names[platform] : platform_names[PlatformUnknown];
}

Platform PlatformBase::findPlatformName(const char *name) {
    if(name == nullptr) return PlatformUnknown;
    for(uint32_t i = 0; i < NumPlatforms; i++) {
        if(is_same_name(name, platform_names[i])) return Platform(i);
    }
    return PlatformUnknown;
}

bool isPlatformAvailable(Platform platform) {
    return (platform == PlatformVK || platform == PlatformGL || platform == PlatformGLES || platform == PlatformCU);
}

} // namespace Kolm
