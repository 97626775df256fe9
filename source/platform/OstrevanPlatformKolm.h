// Platforms between the layers: the numbers are equal, and only the public layer has PlatformAny.

#pragma once

#include <platform/OstrevanPlatform.h>

#include "KolmPlatform.h"

namespace Ostrevan {

#define PLATFORM(NUMBER, NAME, ...) static_assert(int(Platform##NAME) == int(Kolm::Platform##NAME));
#include "KolmPlatform.inc"
static_assert(int(PlatformAny) == int(Kolm::NumPlatforms));

inline Platform getPublicPlatform(Kolm::Platform platform) { return static_cast<Platform>(platform); }
/// Numbers that the core layer does not know stay what they are: it refuses them by itself.
inline Kolm::Platform getCorePlatform(Platform platform) { return static_cast<Kolm::Platform>(platform); }

} // namespace Ostrevan
