// Command line, defaults and version check of an application.

#pragma once

#include <base/OstrevanBase.h>
#include <core/OstrevanArray.h>
#include <core/OstrevanString.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

/// What every application makes first:
///
///     App app(argc, argv);
///     if(!app.create()) return 1;
///
/// Options, with any number of leading dashes:
///
///     width, w          number   width of windows and pictures
///     height, h         number   height
///     device, d         number   index of the adapter
///     multisample, ms   number   samples per pixel
///     mode, m           name     width and height: 8k 6k 5k 4k 3k w2k 2k wfhd fhd hd+ hd
///     vk, gl, gles, cu           platform
///
/// The argument --validation asks for the checks of the graphics API, see Context::setValidation().
///
/// All other words are the application's own arguments, in their order and with their dashes. An option whose value is
/// missing is one of them.
class OSTREVAN_API App {
public:
    /// The version of these headers, which create() compares with that of the library.
    static constexpr uint32_t Version = 20240515;

    /// Starts from the defaults. Null \p argv has no words; argv[0] is dropped unless it is an option.
    App(int32_t argc, char **argv);
    ~App();
    App(const App &) = delete;
    App &operator=(const App &) = delete;

    /// Back to the defaults, without arguments.
    void clear();

    Platform getPlatform() const;
    uint32_t getDevice() const;
    uint32_t getWidth() const;
    uint32_t getHeight() const;
    uint32_t getMultisample() const;

    /// The application's own arguments. Expects \p index below their number.
    uint32_t getNumArguments() const;
    const String &getArgument(uint32_t index) const;
    const String &getArgument(int32_t index) const { return getArgument(static_cast<uint32_t>(index)); }
    const Array<String> &getArguments() const;

    /// Whether an argument with at least one leading dash has this name, which is given without dashes.
    bool isArgument(const char *name) const;
    /// The argument behind the first one of that name, String::null if there is none.
    const String &getArgument(const char *name) const;

    /// Stores the platform that the application runs on, its own for PlatformUnknown. Called before windows, contexts
    /// and devices are made. Returns false and logs if the application was compiled with headers of another version.
    bool create(Platform platform = PlatformUnknown, uint32_t version = Version);

    /// Change the defaults of the applications made from now on: PlatformAny, device ~0u, 1600 by 900, no multisample.
    static void setPlatform(Platform platform, uint32_t device = ~0u);
    static void setSize(uint32_t width, uint32_t height, uint32_t multisample = 0);

    /// How the library was built.
    static bool isBuildDebug();
    static bool isBuildFloat64();
    static String getBuildDate(); ///< "Nov 21 2026"
    static String getBuildInfo();
    static uint32_t getVersion();
    static uint64_t getAPIHash();

private:
    struct AppImpl;
    AppImpl &impl();
    const AppImpl &impl() const;

    void *reserved[8];
};

} // namespace Ostrevan
