// The public classes around a device: what they refuse without one, and the whole way from GLSL text to read-back on the
// machine's first adapter.

#include <Ostrevan.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "ChildProcess.h"

using namespace Ostrevan;

namespace {

// Messages of the library while it lives.
struct Messages {
    Messages() { Log::setCallback(append, this); }
    ~Messages() { Log::setCallback(nullptr); }
    std::string take() {
        std::string ret;
        ret.swap(text);
        return ret;
    }
    static bool append(Log::Level, size_t, const char *text, void *data) {
        static_cast<Messages *>(data)->text += text;
        return true;
    }
    std::string text;
};

struct DeviceTest : testing::Test {
    void SetUp() override {
        context = Context(PlatformAny);
        ASSERT_TRUE(context.create()) << "no Vulkan driver: " << messages.take();
        device = Device(context);
        ASSERT_TRUE(device);
    }
    void TearDown() override { EXPECT_EQ(messages.take(), ""); }

    Messages messages;
    Context context;
    Device device;
};

const char *const scale_source = R"(
    layout(local_size_x = GROUP_SIZE) in;
    layout(std140, binding = 0) uniform Parameters { uint size; uint factor; };
    layout(std430, binding = 1) buffer Values { uint values[]; };
    void main() {
        uint id = gl_GlobalInvocationID.x;
        if(id < size) values[id] = values[id] * factor + id;
    })";

} // namespace

// The layer's messages about what the application does itself go to the log, if it asked for them.
TEST(PublicContext, logs_what_the_validation_layer_finds) {
    for(const bool asked : {false, true}) {
        const ChildProcess child = runChild([asked] {
            char name[] = "test", argument[] = "--validation";
            char *argv[] = {name, argument};
            App app(asked ? 2 : 1, argv);
            VKContext context(~0u);
            if(!app.create() || !context.create()) _exit(1);
            struct {
                uint32_t type; // none of a fence's record
                const void *next;
                uint32_t flags;
            } info = {~0u, nullptr, 0};
            using Function = int32_t (*)(VkDevice, const void *, const void *, void *);
            void *fence = nullptr;
            const Function create = reinterpret_cast<Function>(context.getDeviceProcAddress("vkCreateFence"));
            if(asked && create) create(context.getDevice(), &info, nullptr, &fence);
        });
        EXPECT_EQ(child.err.find("VUID-VkFenceCreateInfo-sType-sType") != std::string::npos, asked) << child.err;
    }
}

TEST(Platform, has_one_more_name_in_public) {
    EXPECT_EQ(findPlatformName("ANY"), PlatformAny);
    EXPECT_EQ(findPlatformName("any"), PlatformAny);
    EXPECT_EQ(findPlatformName("Vulkan"), PlatformVK);
    EXPECT_EQ(findPlatformName("VK"), PlatformUnknown);
    EXPECT_EQ(findPlatformName(nullptr), PlatformUnknown);
    EXPECT_STREQ(getPlatformName(PlatformAny), "Any");
    EXPECT_STREQ(getPlatformName(PlatformGLES), "OpenGLES");
    std::vector<int> available;
    for(int i = 0; i < NumPlatforms; i++) {
        if(isPlatformAvailable(Platform(i))) available.push_back(i);
    }
    EXPECT_EQ(available, (std::vector<int>{PlatformVK, PlatformGL, PlatformGLES, PlatformCU}));
}

TEST(Context, refuses_platforms_with_one_line) {
    Messages messages;
    static const struct {
        Platform platform;
        const char *message;
    } rows[] = {
        {PlatformUnknown, ""},
        {PlatformGL, "Context::constructor(): OpenGL is not supported by this build\n"},
        {PlatformGLES, "Context::constructor(): OpenGLES is not supported by this build\n"},
        {PlatformCU, "Context::constructor(): Cuda is not supported by this build\n"},
        {PlatformMTL, "Context::constructor(): unknown platform Metal\n"},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(getPlatformName(row.platform));
        Context context(row.platform, 0);
        EXPECT_EQ(messages.take(), row.message);
        EXPECT_EQ(context.getPlatform(), PlatformUnknown);
        EXPECT_FALSE(context.create() || context.isCreated() || context.flush() || context.finish());
        Device device(context);
        EXPECT_FALSE(device);
        Surface surface(context);
        EXPECT_FALSE(surface);
        EXPECT_EQ(messages.take(), "");
    }
    EXPECT_FALSE(Surface(PlatformAny));
    EXPECT_EQ(messages.take(), "Surface::constructor(): unknown platform Any\n");

    // PlatformAny is Vulkan from the start, whether or not the machine has it.
    Context context(PlatformAny);
    EXPECT_EQ(context.getPlatform(), PlatformVK);
    EXPECT_FALSE(Device(context));
    EXPECT_EQ(messages.take(), "Device::constructor(): context is not created\n");
    EXPECT_FALSE(Surface(context));
    EXPECT_EQ(messages.take(), "Surface::constructor(): context is not created\n");

    Context moved = std::move(context);
    EXPECT_ASSERTION(Device{context}, "context.isValidPtr() && \"Device::Device(): context is null\"");
}

TEST(Device, lists_its_features) {
    std::vector<std::string> names;
#define OSTREVAN_FEATURE(TYPE, NAME) names.push_back(#NAME);
#include <platform/OstrevanDeviceFeatures.inc>
    EXPECT_EQ(names.size(), 79u);
    EXPECT_EQ(names.front(), "threadAccess");
    EXPECT_EQ(names.back(), "initialized");
}

TEST_F(DeviceTest, runs_glsl_on_buffers) {
    const uint32_t size = 1000;
    std::vector<uint32_t> values(size), result(size);
    for(uint32_t i = 0; i < size; i++) values[i] = i * 3 + 1;

    Kernel kernel = device.createKernel();
    EXPECT_FALSE(kernel.isCreated());
    kernel.setName("scale");
    kernel.setUniforms(1).setStorages(1).setStorageOffset(1);
    ASSERT_TRUE(kernel.createShaderGLSL(scale_source, "GROUP_SIZE=%uu", 64u));
    ASSERT_TRUE(kernel.create());
    EXPECT_EQ(kernel.getGroupWidth(), 64u);
    EXPECT_STREQ(kernel.getName().get(), "scale");

    Buffer buffer = device.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, values.data(), size * 4);
    ASSERT_TRUE(buffer);
    EXPECT_EQ(buffer.getSize(), size * 4);
    EXPECT_STREQ(buffer.getFlagsName().get(), "Source Storage ");
    const uint32_t parameters[] = {size, 5};
    Buffer uniform = device.createBuffer(Buffer::FlagUniform, parameters, sizeof(parameters));
    {
        Compute compute = device.createCompute();
        compute.setKernel(kernel);
        EXPECT_EQ(compute.getKernel(), kernel);
        compute.setUniformBuffer(0, uniform);
        compute.setStorageBuffers(0, {buffer});
        compute.dispatch(size);
        compute.barrier(buffer);
        const uint32_t next[] = {size, 7};
        compute.setUniform(0, next);
        compute.setStorageBuffers(0, Array<Buffer>{buffer}, Array<size_t>{0});
        compute.dispatch(Size(size));
        compute.barrier(Array<Buffer>{buffer});
    }
    EXPECT_TRUE(device.flush());
    ASSERT_TRUE(device.getBuffer(buffer, result.data()));
    for(uint32_t i = 0; i < size; i++) ASSERT_EQ(result[i], (values[i] * 5 + i) * 7 + i) << i;
    EXPECT_TRUE(device.finish() && context.finish() && device.check());
}

// Each device has a queue's context of its own: they record and wait on their own threads.
TEST_F(DeviceTest, sub_devices_work_on_threads) {
    std::vector<Device> devices;
    devices.push_back(device.createDevice(device.getIndex()));
    devices.push_back(device.createComputeDevice(2));
    devices.push_back(Device(Surface(context)));
    uint32_t good[3] = {};
    std::vector<std::thread> threads;
    for(uint32_t n = 0; n < devices.size(); n++) {
        ASSERT_TRUE(devices[n]) << n;
        threads.emplace_back([&devices, &good, n] {
            Device &sub = devices[n];
            Kernel kernel = sub.createKernel();
            kernel.setUniforms(1).setStorages(1).setStorageOffset(1);
            if(!kernel.createShaderGLSL(scale_source, "GROUP_SIZE=32u") || !kernel.create()) return;
            std::vector<uint32_t> values(100 + n, n), result(100 + n);
            Buffer buffer =
                sub.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, values.data(), values.size() * 4);
            const uint32_t parameters[] = {uint32_t(values.size()), 3};
            for(uint32_t frame = 0; frame < 8; frame++) {
                {
                    Compute compute = sub.createCompute();
                    compute.setKernel(kernel);
                    compute.setUniform(0, parameters);
                    compute.setStorageBuffer(0, buffer);
                    compute.dispatch(uint32_t(values.size()));
                    compute.barrier(buffer);
                }
                if(!sub.flip()) return;
                for(uint32_t i = 0; i < values.size(); i++) values[i] = values[i] * 3 + i;
            }
            if(!sub.getBuffer(buffer, result.data())) return;
            good[n] = (result == values);
        });
    }
    for(std::thread &thread : threads) thread.join();
    for(uint32_t n = 0; n < 3; n++) EXPECT_TRUE(good[n]) << n;
}

TEST_F(DeviceTest, copies_clears_and_maps) {
    const uint32_t words[] = {1, 2, 3, 4};
    uint32_t result[4] = {};
    Buffer source = device.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, sizeof(words));
    Buffer dest = device.createBuffer(Buffer::FlagStorage | Buffer::FlagSource, sizeof(words));
    EXPECT_TRUE(device.setBuffer(source, words));
    EXPECT_TRUE(device.clearBuffer(dest, FormatRu32, &words[2]));
    EXPECT_TRUE(device.copyBuffer(dest, 8, source, 0, 8));
    EXPECT_TRUE(device.getBuffer(dest, result));
    EXPECT_EQ(std::vector<uint32_t>(result, result + 4), (std::vector<uint32_t>{3, 3, 1, 2}));

    Buffer upload = device.createBuffer(Buffer::FlagWrite | Buffer::FlagSource, sizeof(words));
    uint32_t *data = static_cast<uint32_t *>(device.mapBuffer(upload));
    ASSERT_NE(data, nullptr);
    for(uint32_t i = 0; i < 4; i++) data[i] = i + 10;
    EXPECT_TRUE(upload.isMapped());
    EXPECT_TRUE(device.unmapBuffer(upload));
    EXPECT_TRUE(device.copyBuffer(dest, upload));
    EXPECT_TRUE(device.getBuffer(dest, 4, result, 8));
    EXPECT_EQ(result[0], 11u);
    EXPECT_EQ(result[1], 12u);

    device.releaseBuffer(dest);
    EXPECT_FALSE(dest.isCreated());
    EXPECT_TRUE(dest.create(Buffer::FlagStorage, 64));
    EXPECT_EQ(dest.getSize(), 64u);
}

TEST_F(DeviceTest, tells_what_it_is) {
    EXPECT_EQ(device.getPlatform(), PlatformVK);
    EXPECT_EQ(device.getIndex(), context.getIndex());
    EXPECT_LT(context.getIndex(), Context::getNumAdapters(PlatformVK));
    EXPECT_FALSE(device.getName().empty());
    EXPECT_FALSE(device.getVendor().empty());
    EXPECT_TRUE(device.hasShader(Shader::TypeCompute));
    const Device::Features &features = device.getFeatures();
    EXPECT_TRUE(features.initialized && features.threadAccess);
    EXPECT_GE(features.maxGroupCountX, 65535u);
    EXPECT_GE(features.groupMemory, 16384u);
    EXPECT_EQ(&features, &Device(context).getFeatures()) << "one record for an adapter";
}

TEST_F(DeviceTest, reports_bad_input_and_goes_on) {
    Kernel kernel = device.createKernel();
    kernel.setUniforms(1).setStorages(1).setStorageOffset(1);
    EXPECT_FALSE(kernel.createShaderGLSL("void main() { oops }"));
    EXPECT_NE(messages.take(), "");
    EXPECT_EQ(kernel.getNumShaders(), 0u);
    EXPECT_FALSE(kernel.create());
    EXPECT_EQ(messages.take(), "VKKernel::create(): compute shader is null\n");
    EXPECT_TRUE(kernel.createShaderGLSL(scale_source, "GROUP_SIZE=64u") && kernel.create());

    EXPECT_FALSE(device.createBuffer(Buffer::FlagRead | Buffer::FlagWrite, 16));
    EXPECT_EQ(messages.take(), "Buffer::create(): can't create buffer with Read Write flags\n");
    Buffer buffer = device.createBuffer(Buffer::FlagStorage, 16);
    EXPECT_FALSE(device.setBuffer(buffer, 12, "12345678", 8));
    EXPECT_NE(messages.take().find("invalid range 12-20 for 16 B Storage buffer"), std::string::npos);

    Compute compute = device.createCompute();
    compute.setKernel(kernel);
    compute.setStorageBuffer(0, buffer);
    compute.dispatch(64);
    EXPECT_EQ(messages.take(), "VKCompute::dispatch(): uniform buffer 0 of unnamed kernel is not set\n");
    EXPECT_ASSERTION(compute.setUniformBuffer(1, buffer),
                     "\"VKCompute::setUniformBuffer(): invalid uniform index 1: unnamed kernel has 1\"");
}

TEST_F(DeviceTest, has_a_vulkan_side) {
    VKContext vk_context(context);
    VKDevice vk_device(device);
    ASSERT_TRUE(vk_context && vk_device);
    EXPECT_NE(vk_context.getDevice(), nullptr);
    EXPECT_EQ(vk_context.getDevice(), vk_device.getVKDevice());
    EXPECT_EQ(vk_context.getQueue(), vk_device.getQueue());
    EXPECT_EQ(vk_context.getAdapter(), vk_device.getAdapter());
    EXPECT_GT(vk_context.getNumQueues(), 0u);
    EXPECT_NE(vk_context.getQueueFlags(0), 0u);
    EXPECT_NE(vk_context.getDeviceProcAddress("vkCmdDispatch"), nullptr);
    EXPECT_EQ(vk_context.getDeviceProcAddress("vkNothing"), nullptr);

    Buffer buffer = device.createBuffer(Buffer::FlagStorage, 64);
    VKBuffer vk_buffer(buffer);
    EXPECT_NE(vk_buffer.getVKBuffer(), nullptr);
    EXPECT_EQ(vk_buffer.getVKBufferView(), nullptr);
    EXPECT_EQ(vk_buffer.getSize(), 64u);
    EXPECT_FALSE(VKBuffer(Buffer::null));

    Texture texture = device.createTexture2D(FormatRGBAu8n, 16, Texture::FlagMipmaps);
    VKTexture vk_texture(texture);
    ASSERT_TRUE(texture && vk_texture);
    EXPECT_NE(vk_texture.getVKTexture(), nullptr);
    EXPECT_NE(vk_texture.getVKTextureView(), nullptr);
    EXPECT_NE(vk_texture.getVKTextureView(Slice(Mipmap(2))), vk_texture.getVKTextureView());
    EXPECT_EQ(vk_texture.getPixelFormat(), 37u); // VK_FORMAT_R8G8B8A8_UNORM
    EXPECT_EQ(vk_texture.getTextureLayout(), 0u);
    vk_device.setTextureLayout(texture, 7); // VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL
    EXPECT_EQ(vk_texture.getTextureLayout(), 7u);
    EXPECT_FALSE(VKTexture(Texture::null));
    EXPECT_NE(VKSampler(device.createSampler(Sampler::FilterLinear)).getVKSampler(), nullptr);

    Fence fence = device.createFence(Fence::FlagTimeline);
    EXPECT_NE(VKFence(fence).getVKSemaphore(), nullptr);
    Tracing tracing = device.createTracing(3, FormatRGBf32, 12, 0, FormatUnknown);
    ASSERT_TRUE(fence && tracing);
    EXPECT_NE(VKTracing(tracing).getVKTracing(), nullptr);
    EXPECT_NE(VKTracing(tracing).getDeviceAddress(), 0u);
    EXPECT_FALSE(VKFence(Fence::null));
    EXPECT_FALSE(VKTracing(Tracing::null));

    VKSurface surface(context);
    surface.setSize(16, 8);
    surface.setColorFormat(FormatRGBAu8n);
    EXPECT_EQ(surface.getDevice(), vk_context.getDevice());
    EXPECT_EQ(surface.getColorPixelFormat(), 37u); // VK_FORMAT_R8G8B8A8_UNORM
    EXPECT_EQ(surface.getWidth(), 16u);
    EXPECT_EQ(surface.getColorImage(), nullptr);
}
