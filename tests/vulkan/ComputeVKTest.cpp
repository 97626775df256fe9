// Kernels and dispatches on the device, against the same arithmetic here.

#include <string.h>

#include "GpuTest.h"
#include "VKBuffer.h"
#include "VKKernel.h"
#include "VKLayouts.h"

using namespace Kolm;

class ComputeVKTest : public GpuTest {
protected:
    static constexpr Buffer::Flags storage_flags = Buffer::Flags(uint32_t(Buffer::FlagStorage) | Buffer::FlagSource);

    // Adds a uniform value to `size` words from `offset` on, 64 to a group.
    KernelPtr create_add_kernel(Kernel::BindFlags flags = Kernel::BindFlagNone) {
        return createKernel(R"(#version 450
            layout(local_size_x = 64) in;
            layout(std140, binding = 0) uniform Params { uint size; uint value; };
            layout(std430, binding = 1) buffer Data { uint data[]; };
            void main() {
                uint id = gl_GlobalInvocationID.x;
                if(id < size) data[id] += value;
            })",
                            1, 1, flags);
    }
    struct Params {
        uint32_t size;
        uint32_t value;
        uint32_t padding[2];
    };
};

TEST_F(ComputeVKTest, dispatch_counts_threads) {
    KernelPtr kernel = create_add_kernel();
    ASSERT_TRUE(kernel);
    EXPECT_EQ(kernel->getGroupWidth(), 64u);
    EXPECT_EQ(kernel->getGroupHeight(), 1u);
    for(const uint32_t size : {1u, 63u, 64u, 65u, 1000u}) {
        BufferPtr buffer = createBuffer(storage_flags, std::vector<uint32_t>(1024, 5));
        ComputePtr compute = createCompute();
        compute->setKernel(kernel.get());
        compute->setUniform(0, Params{size, 3, {}});
        compute->setStorageBuffer(0, buffer.get());
        compute->dispatch(size, 1, 1);
        compute->dispatch(0, 1, 1);
        compute.reset();
        const std::vector<uint32_t> words = getWords(buffer.get());
        for(uint32_t i = 0; i < 1024; i++) ASSERT_EQ(words[i], (i < size) ? 8u : 5u) << size << " " << i;
    }
}

// Uniform, storage and indirect data change between dispatches that run on one buffer in order.
TEST_F(ComputeVKTest, transient_data_and_barriers) {
    KernelPtr kernel = create_add_kernel();
    ASSERT_TRUE(kernel);
    BufferPtr buffer = createBuffer(storage_flags, std::vector<uint32_t>(256, 0));
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, buffer.get());
    uint32_t sum = 0;
    for(uint32_t i = 0; i < 200; i++) {
        compute->setUniform(0, Params{256, i, {}});
        sum += i;
        if(i % 2) {
            compute->setIndirect(Compute::DispatchIndirect{4, 1, 1, 0});
            compute->dispatchIndirect();
        } else {
            compute->dispatch(256, 1, 1);
        }
        compute->barrier(buffer.get());
    }
    compute.reset();
    EXPECT_EQ(getWords(buffer.get()), std::vector<uint32_t>(256, sum));
}

// Offsets alone write no descriptor, unless the slot's offset is fixed.
// A slot of data that becomes larger, smaller, a buffer and data again; plain and through descriptors that are fixed.
TEST_F(ComputeVKTest, data_of_changing_sizes) {
    for(const bool fixed : {false, true}) {
        KernelPtr kernel = create_add_kernel(fixed ? Kernel::BindFlagFixed : Kernel::BindFlagNone);
        ASSERT_TRUE(kernel);
        BufferPtr storage = createBuffer(storage_flags, std::vector<uint32_t>(64, 0));
        BufferPtr uniform = createBuffer(Buffer::FlagUniform, {64, 1000, 0, 0});
        ComputePtr compute = createCompute();
        compute->setKernel(kernel.get());
        compute->setStorageBuffer(0, storage.get());
        const size_t alignment = max(device->getFeatures().uniformAlignment, 16u);
        uint32_t sum = 0;
        for(const size_t size : {16u, 16u, 64u, 4096u, 16u, 0u, 16u, 16u, 60000u, 60000u, 1u, 16u}) {
            if(size == 0) {
                compute->setUniformBuffer(0, uniform.get());
                sum += 1000;
            } else if(size == 1) { // the second of two records
                std::vector<uint32_t> words(alignment / 2, 0);
                words[alignment / 4] = 64;
                words[alignment / 4 + 1] = 7;
                compute->setUniformData(0, words.data(), words.size() * 4);
                compute->setUniformOffset(0, alignment, false);
                sum += 7;
            } else {
                std::vector<uint32_t> words(size / 4, 0);
                words[0] = 64;
                words[1] = 1;
                sum++;
                compute->setUniformData(0, words.data(), size);
            }
            compute->dispatch(64, 1, 1);
            compute->barrier(storage.get());
        }
        compute.reset();
        EXPECT_EQ(getWords(storage.get()), std::vector<uint32_t>(64, sum));
    }
}

TEST_F(ComputeVKTest, offsets) {
    for(const bool fixed : {false, true}) {
        KernelPtr kernel = create_add_kernel(fixed ? Kernel::BindFlagFixed : Kernel::BindFlagNone);
        ASSERT_TRUE(kernel);
        const size_t step = max(device->getFeatures().uniformAlignment, device->getFeatures().storageAlignment);
        const uint32_t stride = max(uint32_t(step), 256u);
        std::vector<uint32_t> params(stride / 4 * 8, 0);
        for(uint32_t i = 0; i < 8; i++) {
            params[stride / 4 * i] = stride / 4;
            params[stride / 4 * i + 1] = i + 1;
        }
        BufferPtr uniform = createBuffer(Buffer::FlagUniform, params);
        BufferPtr storage = createBuffer(storage_flags, std::vector<uint32_t>(stride / 4 * 8, 0));
        ComputePtr compute = createCompute();
        compute->setKernel(kernel.get());
        compute->setUniformBuffer(0, uniform.get(), 0, 16);
        compute->setStorageBuffer(0, storage.get(), 0, stride);
        for(uint32_t i = 0; i < 8; i++) {
            if(i) compute->setUniformOffset(0, stride, true);
            compute->setStorageOffset(0, stride * i, false);
            compute->dispatch(stride / 4, 1, 1);
        }
        const uint64_t num_descriptors = static_cast<VKCompute *>(compute.get())->getNumDescriptors();
        EXPECT_EQ(num_descriptors, fixed ? 8u : 1u);
        compute.reset();
        const std::vector<uint32_t> words = getWords(storage.get());
        for(uint32_t i = 0; i < words.size(); i++) ASSERT_EQ(words[i], i / (stride / 4) + 1) << i;
    }
}

// Reading, submitting and running out of upload memory end the command buffer under the recorder.
TEST_F(ComputeVKTest, survives_the_end_of_its_command_buffer) {
    KernelPtr kernel = create_add_kernel();
    ASSERT_TRUE(kernel);
    BufferPtr buffer = createBuffer(storage_flags, std::vector<uint32_t>(64, 0));
    BufferPtr other = createBuffer(storage_flags, std::vector<uint32_t>(64, 0));
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, buffer.get());
    compute->setUniform(0, Params{64, 1, {}});
    for(uint32_t i = 0; i < 12; i++) {
        compute->dispatch(64, 1, 1);
        compute->barrier(buffer.get());
        if(i % 4 == 0) {
            EXPECT_EQ(getWords(buffer.get())[i], i + 1);
        }
        if(i % 4 == 1) {
            ASSERT_TRUE(device->flush());
        }
        // New transient data takes the place of what the wait gave back.
        if(i % 4 == 2) {
            ASSERT_TRUE(device->finish());
            compute->setStorageData(0, getWords(other.get()).data(), 256);
            compute->dispatch(64, 1, 1);
            compute->setStorageBuffer(0, buffer.get());
        }
        if(i % 4 == 3) {
            compute->setUniform(0, Params{64, 1, {}});
            ASSERT_TRUE(device->finish() && device->finish());
        }
    }
    // A flip drops transient data: the next dispatch has nothing to read and is skipped.
    ASSERT_TRUE(device->flip());
    compute->dispatch(64, 1, 1);
    expectLog("uniform buffer 0 of unnamed kernel is not set");
    compute->setUniform(0, Params{64, 1, {}});
    compute->dispatch(64, 1, 1);
    compute.reset();
    EXPECT_EQ(getWords(buffer.get()), std::vector<uint32_t>(64, 13));
}

TEST_F(ComputeVKTest, transfers_in_stream) {
    KernelPtr kernel = create_add_kernel();
    ASSERT_TRUE(kernel);
    BufferPtr data = createBuffer(storage_flags, std::vector<uint32_t>(64, 1));
    BufferPtr copy = createBuffer(storage_flags, 256);
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, data.get());
    compute->setUniform(0, Params{64, 10, {}});
    compute->dispatch(64, 1, 1); // 11
    EXPECT_TRUE(compute->copyBuffer(copy.get(), data.get()));
    compute->dispatch(64, 1, 1); // 21
    const uint32_t value = 100;
    EXPECT_TRUE(compute->setBuffer(data.get(), 4, &value, 4));
    compute->dispatch(64, 1, 1); // 31, 110
    EXPECT_TRUE(compute->clearBuffer(data.get(), FormatRu32, 8, &value, 4));
    compute->dispatch(64, 1, 1); // 41, 120, 110
    compute.reset();
    const std::vector<uint32_t> words = getWords(data.get());
    EXPECT_EQ(std::vector<uint32_t>(words.begin(), words.begin() + 4), (std::vector<uint32_t>{41, 120, 110, 41}));
    EXPECT_EQ(getWords(copy.get()), std::vector<uint32_t>(64, 11));
}

// Objects change under an open recorder.
TEST_F(ComputeVKTest, objects_created_anew) {
    KernelPtr kernel = create_add_kernel();
    ASSERT_TRUE(kernel);
    BufferPtr buffer = createBuffer(storage_flags, std::vector<uint32_t>(64, 0));
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, buffer.get());
    compute->setUniform(0, Params{64, 3, {}});
    compute->dispatch(64, 1, 1);
    buffer->clear();
    ASSERT_TRUE(buffer->create(storage_flags, 256));
    ASSERT_TRUE(device->clearBuffer(buffer.get()));
    ASSERT_TRUE(kernel->create());
    compute->dispatch(64, 1, 1);
    EXPECT_EQ(getWords(buffer.get()), std::vector<uint32_t>(64, 3));
    device->releaseBuffer(buffer.get());
    compute->dispatch(64, 1, 1);
    expectLog("VKCompute::update(): kernel or resource is not created");
    ASSERT_TRUE(buffer->create(storage_flags, 256));
    device->releaseKernel(kernel.get());
    compute->dispatch(64, 1, 1);
}

// More sets in one frame than a pool of descriptors has.
TEST_F(ComputeVKTest, descriptor_pools_grow) {
    KernelPtr kernel = create_add_kernel();
    ASSERT_TRUE(kernel);
    BufferPtr buffers[2] = {createBuffer(storage_flags, std::vector<uint32_t>(64, 0)),
                            createBuffer(storage_flags, std::vector<uint32_t>(64, 0))};
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setUniform(0, Params{64, 1, {}});
    constexpr uint32_t num = 17000;
    for(uint32_t frame = 0; frame < 2; frame++) {
        for(uint32_t i = 0; i < num; i++) {
            compute->setStorageBuffer(0, buffers[i % 2].get());
            compute->dispatch((i < num - 2) ? 0 : 64, 1, 1);
        }
        ASSERT_TRUE(device->finish());
    }
    EXPECT_EQ(static_cast<VKCompute *>(compute.get())->getNumDescriptors(), num * 2);
    compute.reset();
    for(const BufferPtr &buffer : buffers) EXPECT_EQ(getWords(buffer.get()), std::vector<uint32_t>(64, 2));
}

// A Read buffer that shaders write needs no copy.
TEST_F(ComputeVKTest, read_buffers_as_storage) {
    KernelPtr kernel = create_add_kernel();
    ASSERT_TRUE(kernel);
    BufferPtr buffer = createBuffer(Buffer::FlagStorage | Buffer::FlagRead, 256);
    BufferPtr zeros = createBuffer(Buffer::FlagSource, std::vector<uint32_t>(64, 0));
    ASSERT_TRUE(device->copyBuffer(buffer.get(), zeros.get()));
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, buffer.get());
    compute->setUniform(0, Params{64, 7, {}});
    compute->dispatch(64, 1, 1);
    compute.reset();
    ASSERT_TRUE(device->finish());
    const uint32_t *words = static_cast<const uint32_t *>(device->mapBuffer(buffer.get()));
    for(uint32_t i = 0; i < 64; i++) EXPECT_EQ(words[i], 7u);
    EXPECT_TRUE(device->unmapBuffer(buffer.get()));
}

// The device writes the size of the next dispatch.
TEST_F(ComputeVKTest, indirect_from_the_device) {
    KernelPtr writer = createKernel(R"(#version 450
        layout(local_size_x = 1) in;
        layout(std430, binding = 0) buffer Data { uint data[]; };
        void main() { data[4] = 3u; data[5] = 1u; data[6] = 1u; })",
                                    0, 1);
    KernelPtr adder = create_add_kernel();
    ASSERT_TRUE(writer && adder);
    BufferPtr indirect = createBuffer(storage_flags | Buffer::FlagIndirect, std::vector<uint32_t>(8, 0));
    BufferPtr data = createBuffer(storage_flags, std::vector<uint32_t>(256, 0));
    ComputePtr compute = createCompute();
    compute->setKernel(writer.get());
    compute->setStorageBuffer(0, indirect.get());
    compute->dispatch(1, 1, 1);
    compute->barrier(indirect.get());
    compute->setKernel(adder.get());
    compute->setUniform(0, Params{256, 1, {}});
    compute->setStorageBuffer(0, data.get());
    compute->setIndirectBuffer(indirect.get(), 0);
    compute->setIndirectOffset(16);
    compute->dispatchIndirect();
    compute.reset();
    const std::vector<uint32_t> words = getWords(data.get());
    for(uint32_t i = 0; i < 256; i++) ASSERT_EQ(words[i], i < 192 ? 1u : 0u) << i;
}

TEST_F(ComputeVKTest, conditional) {
    if(!device->getFeatures().conditionalRendering) GTEST_SKIP() << "no conditional rendering";
    KernelPtr kernel = create_add_kernel();
    ASSERT_TRUE(kernel);
    BufferPtr condition = createBuffer(Buffer::FlagConditional, {0, 1});
    BufferPtr data = createBuffer(storage_flags, std::vector<uint32_t>(64, 0));
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, data.get());
    for(uint32_t i = 0; i < 2; i++) {
        compute->setUniform(0, Params{64, i ? 100u : 1u, {}});
        compute->beginConditional(condition.get(), i * 4);
        compute->dispatch(64, 1, 1);
        compute->barrier(data.get());
        // The condition holds in the next command buffer as well.
        ASSERT_TRUE(device->flush());
        compute->dispatch(64, 1, 1);
        compute->barrier(data.get());
        compute->endConditional();
    }
    compute.reset();
    EXPECT_EQ(getWords(data.get()), std::vector<uint32_t>(64, 200));
}

// Slots beyond the device's dynamic offsets, read-only slots, and storage in front of uniforms.
TEST_F(ComputeVKTest, many_slots) {
    std::string src = "#version 450\nlayout(local_size_x = 1) in;\n";
    std::string sum;
    for(uint32_t i = 0; i < 32; i++) {
        const std::string n = std::to_string(i);
        src += "layout(std430, binding = " + n + ") buffer S" + n + " { uint s" + n + "; };\n";
        if(i) sum += " + s" + n;
    }
    for(uint32_t i = 0; i < 12; i++) {
        const std::string n = std::to_string(i);
        src += "layout(std140, binding = " + std::to_string(i + 32) + ") uniform U" + n + " { uint u" + n + "; };\n";
        sum += " + u" + n;
    }
    src += "void main() { s0 = 0u" + sum + "; }";
    KernelPtr kernel(device->createKernel(nullptr));
    kernel->setStorages(32, Kernel::BindFlagRead).setStorageFlags(0, Kernel::BindFlagNone);
    kernel->setUniforms(12).setUniformOffset(32);
    const std::vector<uint32_t> reference = compileReference(src);
    ASSERT_TRUE(kernel->createShaderSPIRV(Array<uint32_t>(uint32_t(reference.size()), reference.data())));
    ASSERT_TRUE(kernel->create());

    std::vector<BufferPtr> buffers;
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    uint32_t expected = 0;
    for(uint32_t i = 0; i < 44; i++) {
        const uint32_t value = i ? 1u << (i % 31) : 0;
        expected += value;
        std::vector<uint32_t> words(1024, 0);
        words[(i % 3) * 256] = value;
        buffers.push_back(createBuffer(Buffer::FlagUniform | storage_flags, words));
        const size_t offset = (i % 3) * 1024;
        if(i < 32) {
            compute->setStorageBuffer(i, buffers.back().get(), offset, 4);
        } else {
            compute->setUniformBuffer(i - 32, buffers.back().get(), offset, 16);
        }
    }
    compute->dispatch(1, 1, 1);
    // Moved back and forth, each slot on its own.
    for(uint32_t i = 1; i < 32; i++) compute->setStorageOffset(i, 3072, false);
    compute->dispatch(0, 1, 1);
    for(uint32_t i = 1; i < 32; i++) compute->setStorageOffset(i, (i % 3) * 1024, false);
    compute->barrier(buffers[0].get());
    compute->dispatch(1, 1, 1);
    compute.reset();
    EXPECT_EQ(getWords(buffers[0].get(), 1)[0], expected);
}

TEST_F(ComputeVKTest, texel_buffers) {
    KernelPtr kernel(device->createKernel(nullptr));
    kernel->setStorages(1);
    kernel->setTexels(2).setTexelOffset(3);
    const std::vector<uint32_t> words = compileReference(R"(#version 450
        layout(local_size_x = 4) in;
        layout(std430, set = 0, binding = 0) buffer Data { vec4 data[]; };
        layout(set = 1, binding = 3) uniform textureBuffer bytes;
        layout(set = 1, binding = 4) uniform utextureBuffer words;
        void main() {
            int id = int(gl_LocalInvocationIndex);
            data[id] = texelFetch(bytes, id) + vec4(texelFetch(words, id));
        })");
    ASSERT_TRUE(kernel->createShaderSPIRV(Array<uint32_t>(uint32_t(words.size()), words.data())));
    ASSERT_TRUE(kernel->create());
    const uint8_t bytes[16] = {0, 255, 0, 255, 255, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 255};
    const uint32_t numbers[4] = {10, 20, 30, 40};
    BufferPtr texels(device->createBuffer(Buffer::FlagTexel, bytes, 16, FormatRGBAu8n));
    BufferPtr integers(device->createBuffer(Buffer::FlagTexel, numbers, 16, FormatRu32));
    BufferPtr data = createBuffer(storage_flags, 64);
    ASSERT_TRUE(texels && integers && data);
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, data.get());
    compute->setTexelBuffers(0, {texels.get(), integers.get()});
    compute->dispatch(4, 1, 1);
    compute.reset();
    float32_t result[16] = {};
    ASSERT_TRUE(device->getBuffer(data.get(), result));
    for(uint32_t i = 0; i < 16; i++) {
        const float32_t integer[4] = {float32_t(numbers[i / 4]), 0, 0, 1};
        EXPECT_EQ(result[i], bytes[i] / 255.0f + integer[i % 4]) << i;
    }
}

TEST_F(ComputeVKTest, kernels_share_layouts) {
    KernelPtr first = create_add_kernel(), second = create_add_kernel(), third = create_add_kernel();
    ASSERT_TRUE(first && second && third);
    const VKKernel *a = static_cast<VKKernel *>(first.get());
    const VKKernel *b = static_cast<VKKernel *>(second.get());
    EXPECT_EQ(a->getBindings().getSetLayout(VKBindings::SetBuffer),
              b->getBindings().getSetLayout(VKBindings::SetBuffer));
    EXPECT_EQ(a->getBindings().getPipelineLayout(), b->getBindings().getPipelineLayout());
    EXPECT_EQ(a->getBindings().getSetLayout(VKBindings::SetTexel), VkDescriptorSetLayout(VK_NULL_HANDLE));
    EXPECT_EQ(a->getBindings().getSetIndex(VKBindings::SetBuffer), 0u);
    VKLayouts &layouts = VKLayouts::get(getAdapter()->getIndex());
    EXPECT_EQ(layouts.getNumSets(), 1u);
    // Offsets are part of what is compared.
    third->setStorageOffset(5);
    EXPECT_FALSE(third->create());
    expectLog("VKKernel::create(): binding 1 of set 0 is used by the shader and not by the kernel");
    third.reset();
    first.reset();
    EXPECT_NE(layouts.getNumSets(), 0u);
    second.reset();
    EXPECT_EQ(layouts.getNumSets(), 0u);
    EXPECT_EQ(layouts.getNumPipelines(), 0u);
}

TEST_F(ComputeVKTest, kernel_failures) {
    const char *src = "#version 450\nlayout(local_size_x = 1) in;\nvoid main() { }";
    const std::vector<uint32_t> words = compileReference(src);
    KernelPtr kernel(device->createKernel(nullptr));
    EXPECT_FALSE(kernel->create());
    expectLog("VKKernel::create(): compute shader is null");
    ASSERT_TRUE(kernel->createShaderSPIRV(Array<uint32_t>(uint32_t(words.size()), words.data())));
    kernel->setUniforms(2).setStorages(2).setStorageOffset(1);
    EXPECT_FALSE(kernel->create());
    expectLog("VKKernel::create(): uniform and storage resources overlap");
    kernel->setStorageOffset(2);
    kernel->setTextures(1).setSurfaces(1);
    EXPECT_FALSE(kernel->create());
    expectLog("VKKernel::create(): texture and surface resources overlap");
    kernel->setTextures(0).setSurfaces(0);
    EXPECT_TRUE(kernel->create());

    // Words that are no module, or one of another stage: nothing reaches the driver.
    std::vector<std::vector<uint32_t>> modules = {{}, {1, 2, 3}, std::vector<uint32_t>(64, 0)};
    for(uint32_t i = 1; i < words.size(); i += 3) modules.push_back({words.begin(), words.begin() + i});
    std::vector<uint32_t> changed = words;
    changed[5] |= 0xFFFF0000;
    modules.push_back(changed);
    for(const auto &module : modules) {
        std::unique_ptr<Shader> shader(device->createShader());
        EXPECT_FALSE(shader->createSPIRV(Shader::TypeCompute, Array<uint32_t>(uint32_t(module.size()), module.data())));
    }
    expectLog("shader module");
    std::unique_ptr<Shader> shader(device->createShader());
    EXPECT_FALSE(shader->createSPIRV(Shader::TypeVertex, Array<uint32_t>(uint32_t(words.size()), words.data())));
}

// A size that the shader demands, where the device can give it.
TEST_F(ComputeVKTest, subgroup_size) {
    const uint32_t size = device->getFeatures().maxSubgroupSize;
    const std::string src = "#version 450\n#pragma subgroup_size(" + std::to_string(size) + R"()
        #extension GL_KHR_shader_subgroup_basic : enable
        layout(local_size_x = 64) in;
        layout(std430, binding = 0) buffer Data { uint data[]; };
        void main() { data[gl_LocalInvocationIndex] = gl_SubgroupSize; })";
    KernelPtr kernel = createKernel(src, 0, 1);
    ASSERT_TRUE(kernel);
    BufferPtr data = createBuffer(storage_flags, 256);
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, data.get());
    compute->dispatch(64, 1, 1);
    compute.reset();
    EXPECT_EQ(getWords(data.get()), std::vector<uint32_t>(64, size));
}

// The usual path: no descriptor and no block of the library's memory for a call.
TEST_F(ComputeVKTest, dispatches_take_no_memory) {
    KernelPtr kernel = create_add_kernel();
    ASSERT_TRUE(kernel);
    BufferPtr buffer = createBuffer(storage_flags, std::vector<uint32_t>(64, 0));
    constexpr uint32_t num = 10000;
    for(uint32_t frame = 0; frame < 3; frame++) {
        ComputePtr compute = createCompute();
        compute->setKernel(kernel.get());
        compute->setStorageBuffer(0, buffer.get());
        compute->setUniform(0, Params{0, 1, {}});
        compute->dispatch(64, 1, 1);
        const size_t allocations = Allocator::getAllocations();
        for(uint32_t i = 0; i < num; i++) {
            compute->setUniform(0, Params{(i + 1 == num) ? 64u : 0u, frame + 1, {}});
            compute->dispatch((i + 1 == num) ? 64 : 0, 1, 1);
        }
        EXPECT_EQ(Allocator::getAllocations(), allocations);
        EXPECT_EQ(static_cast<VKCompute *>(compute.get())->getNumDescriptors(), 1u);
        compute.reset();
        ASSERT_TRUE(device->finish());
    }
    EXPECT_EQ(getWords(buffer.get()), std::vector<uint32_t>(64, 6));
}

// What others do between two dispatches is seen although no slot changed.
TEST_F(ComputeVKTest, changes_between_dispatches) {
    KernelPtr kernel = create_add_kernel();
    ASSERT_TRUE(kernel);
    BufferPtr buffer = createBuffer(storage_flags, std::vector<uint32_t>(64, 0));
    BufferPtr copy = createBuffer(storage_flags, std::vector<uint32_t>(64, 0));
    BufferPtr other = createBuffer(storage_flags, std::vector<uint32_t>(64, 0));
    ComputePtr compute = createCompute();
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, buffer.get());
    compute->setUniform(0, Params{64, 1, {}});
    compute->dispatch(64, 1, 1);
    const uint32_t value = 10;
    // Without a barrier between each of these and the dispatches around it the layer would complain.
    ASSERT_TRUE(device->clearBuffer(buffer.get(), FormatRu32, &value));
    compute->setUniform(0, Params{64, 2, {}});
    compute->dispatch(64, 1, 1);
    ASSERT_TRUE(compute->copyBuffer(copy.get(), buffer.get()));
    compute->setUniform(0, Params{64, 3, {}});
    compute->dispatch(64, 1, 1);
    {
        ComputePtr second = createCompute();
        second->setKernel(kernel.get());
        second->setStorageBuffer(0, other.get());
        second->setUniform(0, Params{64, 100, {}});
        second->dispatch(64, 1, 1);
    }
    compute->barrier(buffer.get());
    compute->setUniform(0, Params{64, 4, {}});
    compute->dispatch(64, 1, 1);
    compute.reset();
    EXPECT_EQ(getWords(buffer.get()), std::vector<uint32_t>(64, 19));
    EXPECT_EQ(getWords(copy.get()), std::vector<uint32_t>(64, 12));
    EXPECT_EQ(getWords(other.get()), std::vector<uint32_t>(64, 100));
}
