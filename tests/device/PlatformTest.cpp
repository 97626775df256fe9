// Names and choice of platforms, and the backends that register for them.

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmBackend.h"
#include "StubDevice.h"

using namespace Kolm;

namespace {

Offscreen *create_offscreen(uint32_t index) { return new StubOffscreen(PlatformMTL, index); }
Surface *create_surface(Offscreen *) { return new StubObject<Surface>(PlatformMTL, 0u); }
Device *create_device(Offscreen *) { return new StubDevice(PlatformMTL); }
Device *create_surface_device(Surface *) { return new StubDevice(PlatformMTL); }
bool validation = false;
void set_validation(bool enabled) { validation = enabled; }

// A platform that no build has, so that this registration disturbs nobody.
const Backend backend(PlatformMTL, {[]() { return 3u; }, create_offscreen, create_surface, create_device,
                                    create_surface_device, set_validation});

} // namespace

TEST(Platform, has_names_and_prefixes) {
    static const struct {
        Platform platform;
        uint32_t number;
        const char *name, *prefix;
        bool available;
    } rows[] = {
        {PlatformUnknown, 0, "Unknown", "", false},
        {PlatformFusion, 1, "Fusion", "FU", false},
        {PlatformD3D12, 2, "Direct3D12", "D3D12", false},
        {PlatformD3D11, 3, "Direct3D11", "D3D11", false},
        {PlatformMTL, 4, "Metal", "MTL", false},
        {PlatformVK, 5, "Vulkan", "VK", true},
        {PlatformGL, 6, "OpenGL", "GL", true},
        {PlatformGLES, 7, "OpenGLES", "GLES", true},
        {PlatformWG, 8, "WebGPU", "WG", false},
        {PlatformCU, 9, "Cuda", "CU", true},
        {PlatformHIP, 10, "Hip", "HIP", false},
    };
    ASSERT_EQ(array_size(rows), uint32_t(NumPlatforms));
    for(const auto &row : rows) {
        SCOPED_TRACE(row.name);
        StubOffscreen object(row.platform, 7);
        EXPECT_EQ(uint32_t(row.platform), row.number);
        EXPECT_STREQ(object.getPlatformName(), row.name);
        EXPECT_STREQ(object.getPlatformPrefix(), row.prefix);
        EXPECT_EQ(isPlatformAvailable(row.platform), row.available);
        EXPECT_EQ(PlatformBase::findPlatformName(row.name), row.platform);
        EXPECT_EQ(object.isPlatformVK(), row.platform == PlatformVK);
        EXPECT_EQ(object.getIndex(), 7u);
    }
    EXPECT_STREQ(PlatformBase::getPlatformName(NumPlatforms), "Unknown");
}

TEST(Platform, is_found_by_name_in_any_case) {
    static const struct {
        const char *name;
        Platform platform;
    } rows[] = {
        {"vulkan", PlatformVK},     {"VULKAN", PlatformVK},   {"direct3d12", PlatformD3D12},
        {"VK", PlatformUnknown},    {"", PlatformUnknown},    {"Vulkan ", PlatformUnknown},
        {"Vulka", PlatformUnknown}, {"any", PlatformUnknown}, {nullptr, PlatformUnknown},
    };
    for(const auto &row : rows) EXPECT_EQ(PlatformBase::findPlatformName(row.name), row.platform) << row.name;
}

TEST(Platform, casts_only_within_one_platform) {
    StubDevice device(PlatformVK);
    StubDevice other(PlatformCU);
    Buffer *buffer = device.createBuffer();
    EXPECT_EQ(device.cast<StubBuffer>(buffer), buffer);
    EXPECT_EQ(device.cast<StubBuffer>(static_cast<Buffer *>(nullptr)), nullptr);
    const ChildProcess child = runChild([&] { other.cast<StubBuffer>(buffer); });
    EXPECT_TRUE(child.isAborted());
    EXPECT_NE(child.err.find("\"Platform::cast(): invalid platform\""), std::string::npos) << child.err;
    delete buffer;
}

TEST(Backend, builds_the_objects_of_its_platform) {
    CapturedLog log;
    EXPECT_EQ(Backend::getNumAdapters(PlatformMTL), 3u);
    Backend::setValidation(true);
    EXPECT_TRUE(validation);
    Offscreen *context = Backend::createContext(PlatformMTL, 2);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(context->getIndex(), 2u);

    // Nothing is built from a context before its creation.
    EXPECT_EQ(Backend::createDevice(context, nullptr), nullptr);
    EXPECT_EQ(log.take(), "Device::constructor(): context is not created\n");
    EXPECT_EQ(Backend::createSurface(PlatformUnknown, context), nullptr);
    EXPECT_EQ(log.take(), "Surface::constructor(): context is not created\n");

    EXPECT_TRUE(context->create());
    Device *device = Backend::createDevice(context, nullptr);
    Surface *surface = Backend::createSurface(PlatformUnknown, context);
    Surface *empty = Backend::createSurface(PlatformMTL, nullptr);
    ASSERT_TRUE(device && surface && empty);
    EXPECT_EQ(device->getPlatform(), PlatformMTL);
    Device *surface_device = Backend::createDevice(nullptr, surface);
    EXPECT_NE(surface_device, nullptr);
    EXPECT_EQ(log.take(), "");
    delete surface_device;
    delete empty;
    delete surface;
    delete device;
    delete context;
}

TEST(Backend, refuses_other_platforms_with_one_line) {
    CapturedLog log;
    static const struct {
        Platform platform;
        const char *text; // behind "Class::constructor(): "
    } rows[] = {
        {PlatformGL, "OpenGL is not supported by this build\n"},
        {PlatformGLES, "OpenGLES is not supported by this build\n"},
        {PlatformCU, "Cuda is not supported by this build\n"},
        {PlatformD3D12, "unknown platform Direct3D12\n"},
        {PlatformHIP, "unknown platform Hip\n"},
        {NumPlatforms, "unknown platform Unknown\n"},
    };
    for(const auto &row : rows) {
        EXPECT_EQ(Backend::createContext(row.platform, ~0u), nullptr);
        EXPECT_EQ(log.take(), std::string("Context::constructor(): ") + row.text);
        EXPECT_EQ(Backend::createSurface(row.platform, nullptr), nullptr);
        EXPECT_EQ(log.take(), std::string("Surface::constructor(): ") + row.text);
        EXPECT_EQ(Backend::getNumAdapters(row.platform), 0u);
        EXPECT_EQ(log.size(), 1u);
        log.clear();
        StubOffscreen context(row.platform, 0);
        context.create();
        EXPECT_EQ(Backend::createDevice(&context, nullptr), nullptr);
        EXPECT_EQ(log.take(), std::string("Device::constructor(): ") + row.text);
    }
    EXPECT_EQ(Backend::createContext(PlatformUnknown, 0), nullptr);
    EXPECT_EQ(log.take(), "");
}

TEST(Surface, keeps_its_parameters) {
    StubObject<Surface> surface(PlatformVK, 0u);
    EXPECT_EQ(surface.getMultisample(), 1u);
    EXPECT_FALSE(surface.hasMultisample());
    EXPECT_EQ(surface.getColorLayers() + surface.getDepthLayers(), 2u);
    surface.setSize(640, 480);
    surface.setMultisample(0);
    EXPECT_EQ(surface.getMultisample(), 1u);
    surface.setMultisample(4);
    surface.setColorLayer(3, 2);
    surface.setDepthLayer(1, 0);
    surface.setColorFormat(FormatRGBAu8n);
    surface.setDepthFormat(FormatDf32);
    EXPECT_EQ(surface.getWidth(), 640u);
    EXPECT_EQ(surface.getHeight(), 480u);
    EXPECT_TRUE(surface.hasMultisample());
    EXPECT_EQ(surface.getColorLayer(), 3u);
    EXPECT_TRUE(surface.hasColorLayers());
    EXPECT_EQ(surface.getDepthLayer(), 1u);
    EXPECT_FALSE(surface.hasDepthLayers());
    EXPECT_EQ(surface.getColorFormat(), FormatRGBAu8n);
    EXPECT_EQ(surface.getDepthFormat(), FormatDf32);
}
