// KolmBackend.h: the table through which objects of a platform are built.
// Backends stand above this module. Each registers its functions by a static object, so that nothing below names one:
//
//     static const Backend backend(PlatformVK, {get_num_adapters, create_offscreen, create_surface, ...});

#pragma once

#include "KolmPlatform.h"

namespace Kolm {

class Device;
class Offscreen;
class Surface;

/// Registered platform. The object stays alive as long as the process; registration is done before main().
class Backend {
public:
    /// New objects belong to the caller; null means that the reason was logged.
    struct Functions {
        /// Adapters of the platform. 0, with a line, if the API cannot be opened.
        uint32_t (*get_num_adapters)();
        /// Context of an adapter, ~0 for the default one. Not yet created.
        Offscreen *(*create_offscreen)(uint32_t index);
        /// Surface with the backend pointers of the context; empty if \p context is null.
        Surface *(*create_surface)(Offscreen *context);
        /// Devices on a created context and on a surface that has one. The device does not own it.
        Device *(*create_device)(Offscreen *context);
        Device *(*create_surface_device)(Surface *surface);
        /// Asks for the checks of the API's debug layer, from the next time on that the API is opened.
        void (*set_validation)(bool enabled);
    };

    Backend(Platform platform, const Functions &functions);

    /// Functions of the platform, or null if the build holds no backend for it.
    static const Functions *get(Platform platform);

    // Objects by platform, with the messages of the public constructors. Null passes on what was refused.
    static uint32_t getNumAdapters(Platform platform);
    /// Of all platforms of the build.
    static void setValidation(bool enabled);
    /// PlatformUnknown gives null without a line.
    static Offscreen *createContext(Platform platform, uint32_t index);
    /// \p context may be null; one that is not created is refused.
    static Surface *createSurface(Platform platform, Offscreen *context);
    /// From a created context, or from a surface; exactly one is not null.
    static Device *createDevice(Offscreen *context, Surface *surface);

private:
    static const Functions *find(Platform platform, const char *name);

    const Functions functions;
};

} // namespace Kolm
