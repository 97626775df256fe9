// A graphics API's context without a window.

#pragma once

#include <base/OstrevanHandle.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

/// Adapter and queue of a platform. Belongs to the thread that creates it, and outlives the devices on it.
///
///     Context context(PlatformAny);
///     if(!context.create()) return 1;
///     Device device(context);
class OSTREVAN_API Context {
    OSTREVAN_HANDLE(Context)
public:
    Context();
    /// \p index is the adapter: from 0, or ~0 for the default one. PlatformAny stands for Vulkan. For a platform that
    /// this build has no backend for the handle stays empty, and one line is logged.
    explicit Context(Platform platform, uint32_t index = ~0u);

    /// Concrete platform, PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    /// Index of the adapter; once created, that of the adapter that the default stood for.
    uint32_t getIndex() const;

    bool isCreated() const;
    /// Opens the platform's API and the adapter. False if the reason was logged, and for an empty handle.
    bool create();
    /// Submits recorded work; finish() waits for it as well.
    bool flush();
    bool finish();

    /// Number of adapters of a platform. 0 and one line if its API cannot be opened.
    static uint32_t getNumAdapters(Platform platform);

    /// Asks for the checks of the graphics API's debug layer, such as Vulkan's validation layer with synchronisation
    /// checks, whose messages go to Log. Takes effect when the API is opened next, by the first context. Where the
    /// layer is not installed one warning tells so. App::create() does this for the argument --validation.
    static void setValidation(bool enabled);
};

} // namespace Ostrevan
