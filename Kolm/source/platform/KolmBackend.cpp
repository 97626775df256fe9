// KolmBackend.cpp: the registered backends, and the choice among them.

#include "KolmBackend.h"

#include "KolmDevice.h"
#include "KolmLog.h"
#include "KolmOffscreen.h"
#include "KolmSurface.h"

namespace Kolm {

namespace {

// Zero before any static constructor runs, so that backends may register in any order.
const Backend *backends[NumPlatforms];

} // namespace

Backend::Backend(Platform platform, const Functions &functions) : functions(functions) {
    KOLM_ASSERT(uint32_t(platform) < NumPlatforms && "Backend::Backend(): invalid platform");
    KOLM_ASSERT(backends[platform] == nullptr && "Backend::Backend(): is already registered");
    backends[platform] = this;
}

const Backend::Functions *Backend::get(Platform platform) {
    const Backend *backend = (uint32_t(platform) < NumPlatforms) ? backends[platform] : nullptr;
    return (backend) ? &backend->functions : nullptr;
}

// Tells a platform that is no platform of this build from one whose backend the build leaves out.
const Backend::Functions *Backend::find(Platform platform, const char *name) {
    const Functions *functions = get(platform);
    if(functions) return functions;
    if(isPlatformAvailable(platform)) {
        Log::printf(Log::Error, "%s::constructor(): %s is not supported by this build\n", name,
                    PlatformBase::getPlatformName(platform));
    } else {
        Log::printf(Log::Error, "%s::constructor(): unknown platform %s\n", name,
                    PlatformBase::getPlatformName(platform));
    }
    return nullptr;
}

uint32_t Backend::getNumAdapters(Platform platform) {
    if(platform == PlatformUnknown) return 0;
    const Functions *functions = find(platform, "Context");
    return (functions) ? functions->get_num_adapters() : 0;
}

void Backend::setValidation(bool enabled) {
    for(const Backend *backend : backends) {
        if(backend) backend->functions.set_validation(enabled);
    }
}

Offscreen *Backend::createContext(Platform platform, uint32_t index) {
    if(platform == PlatformUnknown) return nullptr;
    const Functions *functions = find(platform, "Context");
    return (functions) ? functions->create_offscreen(index) : nullptr;
}

Surface *Backend::createSurface(Platform platform, Offscreen *context) {
    if(context && !context->isCreated()) {
        Log::print(Log::Error, "Surface::constructor(): context is not created\n");
        return nullptr;
    }
    const Functions *functions = find((context) ? context->getPlatform() : platform, "Surface");
    return (functions) ? functions->create_surface(context) : nullptr;
}

Device *Backend::createDevice(Offscreen *context, Surface *surface) {
    KOLM_ASSERT((context || surface) && "Backend::createDevice(): context and surface are null");
    if(context && !context->isCreated()) {
        Log::print(Log::Error, "Device::constructor(): context is not created\n");
        return nullptr;
    }
    const Functions *functions = find((surface) ? surface->getPlatform() : context->getPlatform(), "Device");
    if(functions == nullptr) return nullptr;
    return (surface) ? functions->create_surface_device(surface) : functions->create_device(context);
}

} // namespace Kolm
