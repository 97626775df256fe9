// Objects that come and go, over many frames and on several threads.

#include <fstream>
#include <mutex>
#include <thread>
#include <unistd.h>

#include "DeviceWork.h"
#include "DrawTest.h"
#include "FeatureUse.h"
#include "KolmAllocator.h"

using namespace Kolm;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
static constexpr uint32_t num_frames = 600;
static constexpr uint32_t period = 100;     // frames between the objects that take long to make
static constexpr bool has_resident = false; // what was freed stays for a while
#else
static constexpr uint32_t num_frames = 10000;
static constexpr uint32_t period = 500;
static constexpr bool has_resident = true;
#endif

class LifeVKTest : public DrawTest {
protected:
    void TearDown() override {
        VK::setValidation(true);
        DrawTest::TearDown();
    }

    static constexpr const char *add_text = R"(#version 450
        layout(local_size_x = 4) in;
        layout(std140, binding = 0) uniform Params { uint value; };
        layout(std430, binding = 1) buffer Data { uint data[]; };
        void main() { data[gl_GlobalInvocationID.x] += value; })";
    static constexpr const char *texture_fragment = R"(#version 450
        layout(set = 0, binding = 0) uniform sampler s_sampler;
        layout(set = 1, binding = 0) uniform texture2D s_texture;
        layout(std140, set = 2, binding = 0) uniform Params { vec4 color; };
        layout(location = 0) in vec2 s_texcoord;
        layout(location = 0) out vec4 out_color;
        void main() { out_color = color * textureLod(sampler2D(s_texture, s_sampler), s_texcoord, 0.0); })";

    PipelinePtr create_pipeline() {
        return createPipeline({{Shader::TypeVertex, cover_vertex}, {Shader::TypeFragment, texture_fragment}},
                              [](Pipeline &p) {
                                  p.addSampler(Shader::MaskFragment);
                                  p.addTexture(Shader::MaskFragment);
                                  p.addUniform(Shader::MaskFragment);
                              });
    }
    /// What was allocated, by the library and by the process.
    struct Memory {
        size_t bytes = 0, allocations = 0, resident = 0;
        uint32_t device = 0;
    };
    Memory getMemory() {
        Memory memory;
        memory.bytes = Allocator::getMemory();
        memory.allocations = Allocator::getAllocations();
        memory.device = getAdapter()->getNumAllocations();
        size_t total = 0;
        std::ifstream("/proc/self/statm") >> total >> memory.resident;
        memory.resident *= size_t(sysconf(_SC_PAGESIZE));
        return memory;
    }
    /// One of each kind that is fast to make, used and let go while the frame is under way.
    void run_frame(uint32_t frame, Kernel *kernel, Pipeline *pipeline) {
        const std::vector<uint32_t> words(1024, frame);
        BufferPtr buffer = createBuffer(Buffer::FlagStorage | Buffer::FlagSource, words);
        BufferPtr large = createBuffer(Buffer::FlagSource, 100000);
        TexturePtr texture = createTexture(FormatRGBAu8n, 16, 16);
        TexturePtr color = createTexture(FormatRGBAu8n, 16, 16);
        SamplerPtr sampler(device->createSampler(Sampler::FilterLinear));
        std::unique_ptr<Query> query(device->createQuery(Query::TypeSamples));
        std::unique_ptr<Fence> fence(device->createFence(Fence::FlagNone));
        std::unique_ptr<BufferTable> buffers(device->createBufferTable(16));
        std::unique_ptr<TextureTable> textures(device->createTextureTable(Texture::Type2D, 16));
        ASSERT_TRUE(buffer && large && texture && color && sampler && query && fence && buffers && textures);
        const uint32_t white = ~0u;
        ASSERT_TRUE(device->clearTexture(texture.get(), &white) && device->clearBuffer(large.get()));
        ASSERT_TRUE(device->setBufferTable(buffers.get(), frame % 16, buffer.get()));
        ASSERT_TRUE(device->setTextureTable(textures.get(), frame % 16, texture.get()));
        {
            ComputePtr compute = createCompute();
            compute->setKernel(kernel);
            compute->setUniform(0, frame);
            compute->setStorageBuffer(0, buffer.get());
            compute->dispatch(1024);
        }
        TargetPtr target = createTarget({color.get()});
        draw(target, [&](Command &command) {
            const float value[] = {1.0f, 0.0f, 1.0f, 1.0f};
            command.setPipeline(pipeline);
            command.setSampler(0, sampler.get());
            command.setTexture(0, texture.get());
            command.setUniform(0, value);
            command.beginQuery(query.get());
            command.drawArrays(3);
            command.endQuery(query.get());
        });
        if(frame % 100 == 0) {
            EXPECT_EQ(getWords(buffer.get()), std::vector<uint32_t>(1024, frame * 2));
            EXPECT_EQ(getPixels(color.get())[7], (Pixel{255, 0, 255, 255}));
        }
        if(frame % 50 == 0) {
            DevicePtr child((frame % 100) ? device->createComputeDevice(2) : device->createCommandDevice(2));
            ASSERT_TRUE(child && child->clearBuffer(large.get()));
            ASSERT_TRUE((frame % 100) ? child->finish() : device->execute(child.get()));
        }
        ASSERT_TRUE(device->signalFence(fence.get()));
        ASSERT_TRUE(device->flip());
    }
};

// Kernels, pipelines, traversals, structures and sparse objects take the driver some milliseconds each: they come and go
// every so many frames. The validation layer keeps records of its own, so it is left out.
TEST_F(LifeVKTest, memory_stays_flat) {
    VK::setValidation(false);
    reopen();
    KernelPtr kernel = createKernel(add_text, 1, 1);
    PipelinePtr pipeline = create_pipeline();
    ASSERT_TRUE(kernel && pipeline);
    Memory flat;
    for(uint32_t frame = 0; frame < num_frames; frame++) {
        ASSERT_NO_FATAL_FAILURE(run_frame(frame, kernel.get(), pipeline.get()));
        if(frame % period != period - 1) continue;
        for(const DeviceWork &work : DeviceWork::getList()) EXPECT_TRUE(work.run(*device)) << work.name;
        for(uint32_t i = 0; i < VKContext::DefaultFrames; i++) ASSERT_TRUE(device->flip());
        const Memory memory = getMemory();
        if(frame < num_frames / 2) {
            flat = memory;
            continue;
        }
        EXPECT_LE(memory.device, flat.device) << frame;
        EXPECT_LE(memory.bytes, flat.bytes) << frame;
        EXPECT_LE(memory.allocations, flat.allocations) << frame;
        if(has_resident) {
            EXPECT_LE(memory.resident, flat.resident + (8 << 20)) << frame;
        }
    }
}

// Work of every kind at once: a compute device, a copy device, and two command devices of the frame's own device, of
// which one draws and the other one computes and copies. Kernels and pipelines are made beside them.
TEST_F(LifeVKTest, threads) {
    constexpr uint32_t frames = 24;
    FeatureUse::use("threadAccess");
    KernelPtr kernel = createKernel(add_text, 1, 1);
    PipelinePtr pipeline = create_pipeline();
    TexturePtr color = createTexture(FormatRGBAu8n, 16, 16);
    TexturePtr white = createTexture(FormatRGBAu8n, 16, 16);
    SamplerPtr sampler(device->createSampler(Sampler::FilterPoint));
    BufferPtr sums = createBuffer(Buffer::FlagStorage | Buffer::FlagSource, std::vector<uint32_t>(64, 0));
    BufferPtr copy = createBuffer(Buffer::FlagSource, 256);
    const uint32_t ones = ~0u;
    ASSERT_TRUE(kernel && pipeline && color && white && sampler && sums && copy);
    ASSERT_TRUE(device->clearTexture(white.get(), &ones) && device->finish());
    std::mutex mutex; // of the results
    uint32_t num_right = 0;
    const auto tell = [&](bool status) {
        std::lock_guard<std::mutex> guard(mutex);
        num_right += status;
    };

    DevicePtr compute_device(device->createComputeDevice(2));
    DevicePtr copy_device(device->createCopyDevice(3));
    DevicePtr draw_child(device->createCommandDevice(3));
    DevicePtr compute_child(device->createCommandDevice(3));
    ASSERT_TRUE(compute_device && copy_device && draw_child && compute_child);
    std::thread compute_thread([&] {
        VKDevice &child = static_cast<VKDevice &>(*compute_device);
        for(uint32_t i = 0; i < frames; i++) {
            bool status = child.flip();
            for(const char *name : {"kernel", "slots", "condition", "times", "rays", "texture table"})
                status &= DeviceWork::get(name).run(child);
            tell(status);
        }
    });
    std::thread copy_thread([&] {
        VKDevice &child = static_cast<VKDevice &>(*copy_device);
        for(uint32_t i = 0; i < frames; i++) {
            bool status = child.flip();
            for(const char *name : {"buffers", "mapped buffers", "textures", "fence", "timeline", "sparse buffer"})
                status &= DeviceWork::get(name).run(child);
            tell(status);
        }
    });
    TargetPtr target = createTarget({color.get()});
    for(uint32_t frame = 1; frame <= frames; frame++) {
        std::thread compute_child_thread([&] {
            ComputePtr compute(compute_child->createCompute());
            compute->setKernel(kernel.get());
            compute->setUniform(0, frame);
            compute->setStorageBuffer(0, sums.get());
            compute->dispatch(64);
            compute.reset();
            tell(compute_child->copyBuffer(copy.get(), sums.get()));
        });
        ASSERT_TRUE(target->begin());
        std::thread draw_thread([&] {
            CommandPtr command(draw_child->createCommand(target.get()));
            const float value[] = {float(frame) / 255.0f, 1.0f, 0.0f, 1.0f};
            command->setPipeline(pipeline.get());
            command->setSampler(0, sampler.get());
            command->setTexture(0, white.get());
            command->setUniform(0, value);
            command->drawArrays(3);
        });
        draw_thread.join();
        EXPECT_TRUE(device->execute(draw_child.get()));
        ASSERT_TRUE(target->end());
        compute_child_thread.join();
        EXPECT_TRUE(device->execute(compute_child.get()));
        EXPECT_EQ(getPixels(color.get())[5], (Pixel{uint8_t(frame), 255, 0, 255}));
        EXPECT_EQ(getWords(copy.get()), std::vector<uint32_t>(64, frame * (frame + 1) / 2));
        EXPECT_TRUE(device->flip() && draw_child->flip() && compute_child->flip());
        if(frame % 8 == 0) {
            EXPECT_TRUE(createKernel(add_text, 1, 1) && create_pipeline());
        }
    }
    compute_thread.join();
    copy_thread.join();
    EXPECT_EQ(num_right, frames * 3);
}
