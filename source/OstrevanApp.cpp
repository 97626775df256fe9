#include <OstrevanApp.h>

#include "KolmLog.h"
#include "KolmString.h"

#include <platform/OstrevanContext.h>

namespace Ostrevan {

namespace {

Platform default_platform = PlatformAny;
uint32_t default_device = ~0u;
uint32_t default_width = 1600;
uint32_t default_height = 900;
uint32_t default_multisample = 0;

constexpr struct {
    const char *name;
    uint32_t width, height;
} modes[] = {
    {"8k", 7680, 4320},  {"6k", 6144, 3456},  {"5k", 5120, 2880}, {"4k", 3840, 2160},
    {"3k", 2880, 1620},  {"w2k", 3440, 1440}, {"2k", 2560, 1440}, {"wfhd", 2560, 1080},
    {"fhd", 1920, 1080}, {"hd+", 1600, 900},  {"hd", 1280, 720},
};

constexpr struct {
    const char *name;
    Platform platform;
} platforms[] = {{"vk", PlatformVK}, {"gl", PlatformGL}, {"gles", PlatformGLES}, {"cu", PlatformCU}};

// An option without its dashes; null for a word that is none.
const char *get_option(const char *word) {
    if(word == nullptr || word[0] != '-') return nullptr;
    while(*word == '-') word++;
    return word;
}

bool is_option(const char *option, const char *name, const char *short_name) {
    return strcmp(option, name) == 0 || strcmp(option, short_name) == 0;
}

/// Debug layer of the Direct3D platforms: one for the process while the application that asked for it lives.
class Debugger {
public:
    explicit Debugger(bool enabled) : enabled(enabled) {}
    bool isEnabled() const { return enabled; }

private:
    bool enabled;
};

} // namespace

struct App::AppImpl {
    ~AppImpl() { delete debugger; }

    Platform platform = PlatformUnknown;
    uint32_t device = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t multisample = 0;
    Array<String> arguments;
    Debugger *debugger = nullptr;

    void clear() {
        platform = default_platform;
        device = default_device;
        width = default_width;
        height = default_height;
        multisample = default_multisample;
        arguments.clear();
    }

    void init(int32_t argc, char **argv) {
        if(argv == nullptr) return;
        for(int32_t i = 0; i < argc; i++) {
            const char *option = get_option(argv[i]);
            if(option == nullptr) {
                if(i && argv[i]) arguments.append(String(argv[i]));
                continue;
            }
            const char *value = (i + 1 < argc) ? argv[i + 1] : nullptr;
            if(value && set_value(option, value))
                i++;
            else if(!set_platform(option))
                arguments.append(String(argv[i]));
        }
    }

    bool set_value(const char *option, const char *value) {
        if(is_option(option, "width", "w"))
            width = Kolm::String::tou32(value);
        else if(is_option(option, "height", "h"))
            height = Kolm::String::tou32(value);
        else if(is_option(option, "device", "d"))
            device = Kolm::String::tou32(value);
        else if(is_option(option, "multisample", "ms"))
            multisample = Kolm::String::tou32(value);
        else if(is_option(option, "mode", "m"))
            set_mode(value);
        else
            return false;
        return true;
    }

    void set_mode(const char *name) {
        const Kolm::String lower = Kolm::String(name).lower();
        for(const auto &mode : modes) {
            if(lower != mode.name) continue;
            width = mode.width;
            height = mode.height;
            return;
        }
        Kolm::Log::printf(Kolm::Log::Error, "App::init(): unknown mode %s\n", name);
    }

    bool set_platform(const char *option) {
        for(const auto &row : platforms) {
            if(strcmp(option, row.name)) continue;
            platform = row.platform;
            return true;
        }
        return false;
    }

    // Index of the first option of that name, ~0u if there is none.
    uint32_t find(const char *name) const {
        for(uint32_t i = 0; name && i < arguments.size(); i++) {
            const char *option = get_option(arguments[i].get());
            if(option && strcmp(option, name) == 0) return i;
        }
        return ~0u;
    }
};

App::AppImpl &App::impl() { return *std::launder(reinterpret_cast<AppImpl *>(reserved)); }
const App::AppImpl &App::impl() const { return *std::launder(reinterpret_cast<const AppImpl *>(reserved)); }

App::App(int32_t argc, char **argv) {
    static_assert(sizeof(AppImpl) <= sizeof(reserved) && alignof(AppImpl) <= alignof(void *));
    new(static_cast<void *>(reserved)) AppImpl();
    impl().clear();
    impl().init(argc, argv);
}

App::~App() { impl().~AppImpl(); }

void App::clear() { impl().clear(); }

Platform App::getPlatform() const { return impl().platform; }
uint32_t App::getDevice() const { return impl().device; }
uint32_t App::getWidth() const { return impl().width; }
uint32_t App::getHeight() const { return impl().height; }
uint32_t App::getMultisample() const { return impl().multisample; }

uint32_t App::getNumArguments() const { return impl().arguments.size(); }
const String &App::getArgument(uint32_t index) const { return impl().arguments[index]; }
const Array<String> &App::getArguments() const { return impl().arguments; }

bool App::isArgument(const char *name) const { return impl().find(name) != ~0u; }

const String &App::getArgument(const char *name) const {
    const uint32_t index = impl().find(name);
    return (index != ~0u && index + 1 < impl().arguments.size()) ? impl().arguments[index + 1] : String::null;
}

bool App::create(Platform platform, uint32_t version) {
    if(platform == PlatformUnknown) platform = impl().platform;
    if(version != getVersion()) {
        Kolm::Log::printf(Kolm::Log::Error, "App::create(): invalid version %u\n", version);
        return false;
    }
    if((platform == PlatformD3D12 || platform == PlatformD3D11) && impl().debugger == nullptr)
        impl().debugger = new Debugger(true);
    if(isArgument("validation")) Context::setValidation(true);
    impl().platform = platform;
    return true;
}

void App::setPlatform(Platform platform, uint32_t device) {
    default_platform = platform;
    default_device = device;
}

void App::setSize(uint32_t width, uint32_t height, uint32_t multisample) {
    default_width = width;
    default_height = height;
    default_multisample = multisample;
}

bool App::isBuildDebug() { return true; } // assertions are part of the behaviour of every build
bool App::isBuildFloat64() { return false; }
String App::getBuildDate() { return __DATE__; }

String App::getBuildInfo() {
    // The record names the processor that the library is delivered for, wherever it is developed. Both kinds of build
    // are listed. Kept.
    Kolm::String ret = Kolm::String::format("version=%u; %s; %s; ", getVersion(), "Linux", "arm64").lower();
    for(const char *part : {"debug; ", "release; ", "vk=1; ", "gl=45; ", "gles=32; ", "cu=1; "}) ret += part;
    if(ret.size()) ret.removeBack(2);
    return String(ret.get());
}

uint32_t App::getVersion() { return Version; }
uint64_t App::getAPIHash() { return 0; }

} // namespace Ostrevan
