#include "OstrevanPlatformKolm.h"

#include <strings.h>

namespace Ostrevan {

const char *getPlatformName(Platform platform) {
    if(platform == PlatformAny) return "Any";
    return Kolm::PlatformBase::getPlatformName(getCorePlatform(platform));
}

Platform findPlatformName(const char *name) {
    if(name && strcasecmp(name, "any") == 0) return PlatformAny;
    return getPublicPlatform(Kolm::PlatformBase::findPlatformName(name));
}

bool isPlatformAvailable(Platform platform) { return Kolm::isPlatformAvailable(getCorePlatform(platform)); }

} // namespace Ostrevan
