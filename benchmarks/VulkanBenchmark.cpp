// The Vulkan backend against the least that does the same on the same driver: recording, transfers, buffers, start.
//
// Without VK_DRIVER_FILES in the environment the loader chooses the device.

#include <memory>
#include <string.h>
#include <vector>

#include "Compare.h"
#include "KolmImage.h"
#include "KolmShaderCompiler.h"
#include "VKBuffer.h"
#include "VKCompute.h"
#include "VKDevice.h"
#include "VKKernel.h"
#include "VKOffscreen.h"

using namespace Kolm;

namespace {

constexpr uint32_t num_dispatches = 1000;
constexpr size_t transfer_size = 256 << 20;

struct Gpu {
    Gpu() {
        if(offscreen.create()) device.reset(new VKDevice(&offscreen));
    }
    VKOffscreen offscreen;
    std::unique_ptr<VKDevice> device;
};

// One uniform of 64 bytes, one storage buffer; no groups are run, so that only the recording costs.
const char *kernel_src = R"(#version 450
    layout(local_size_x = 64) in;
    layout(std140, binding = 0) uniform Params { vec4 params[4]; };
    layout(std430, binding = 1) buffer Data { float data[]; };
    void main() { data[gl_GlobalInvocationID.x] = params[0].x; })";

// The same work in plain Vulkan: one set with dynamic offsets, one ring of uniform memory, one command buffer.
struct PlainLoop {
    PlainLoop(VKDevice *device, VKKernel *kernel, VKBuffer *storage) : device(device), kernel(kernel) {
        VKAdapter *adapter = device->getAdapter();
        vk = device->getContext()->getDevice();
        auto pool_info = vk_record<VkCommandPoolCreateInfo>(VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO);
        pool_info.flags = VK_COMMAND_POOL_CREATE_RESET_COMMAND_BUFFER_BIT;
        pool_info.queueFamilyIndex = adapter->graphics_family;
        vkCreateCommandPool(vk, &pool_info, nullptr, &pool);
        auto command_info = vk_record<VkCommandBufferAllocateInfo>(VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO);
        command_info.commandPool = pool;
        command_info.commandBufferCount = 1;
        vkAllocateCommandBuffers(vk, &command_info, &command);
        const auto fence_info = vk_record<VkFenceCreateInfo>(VK_STRUCTURE_TYPE_FENCE_CREATE_INFO);
        vkCreateFence(vk, &fence_info, nullptr, &fence);

        stride = (64 + adapter->uniform_alignment - 1) / adapter->uniform_alignment * adapter->uniform_alignment;
        uniform.reset(device->createBuffer(Buffer::FlagWrite | Buffer::FlagUniform, stride * num_dispatches));
        data = static_cast<uint8_t *>(device->mapBuffer(uniform.get()));

        const VkDescriptorPoolSize sizes[] = {{VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC, 1},
                                              {VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC, 1}};
        auto descriptor_info = vk_record<VkDescriptorPoolCreateInfo>(VK_STRUCTURE_TYPE_DESCRIPTOR_POOL_CREATE_INFO);
        descriptor_info.maxSets = 1;
        descriptor_info.poolSizeCount = 2;
        descriptor_info.pPoolSizes = sizes;
        vkCreateDescriptorPool(vk, &descriptor_info, nullptr, &descriptor_pool);
        const VkDescriptorSetLayout layout = kernel->getBindings().getSetLayout(VKBindings::SetBuffer);
        auto set_info = vk_record<VkDescriptorSetAllocateInfo>(VK_STRUCTURE_TYPE_DESCRIPTOR_SET_ALLOCATE_INFO);
        set_info.descriptorPool = descriptor_pool;
        set_info.descriptorSetCount = 1;
        set_info.pSetLayouts = &layout;
        adapter->vkAllocateDescriptorSets(vk, &set_info, &set);
        const VkDescriptorBufferInfo infos[] = {
            {static_cast<VKBuffer *>(uniform.get())->getBuffer(), 0, 64},
            {storage->getBuffer(), 0, VK_WHOLE_SIZE},
        };
        VkWriteDescriptorSet writes[2];
        for(uint32_t i = 0; i < 2; i++) {
            writes[i] = vk_record<VkWriteDescriptorSet>(VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET);
            writes[i].dstSet = set;
            writes[i].dstBinding = i;
            writes[i].descriptorCount = 1;
            writes[i].descriptorType = sizes[i].type;
            writes[i].pBufferInfo = &infos[i];
        }
        adapter->vkUpdateDescriptorSets(vk, 2, writes, 0, nullptr);
    }
    ~PlainLoop() {
        device->unmapBuffer(uniform.get());
        vkDestroyDescriptorPool(vk, descriptor_pool, nullptr);
        vkDestroyFence(vk, fence, nullptr);
        vkDestroyCommandPool(vk, pool, nullptr);
    }

    void run(const float *params) {
        VKAdapter *adapter = device->getAdapter();
        auto begin = vk_record<VkCommandBufferBeginInfo>(VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO);
        begin.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
        adapter->vkResetCommandBuffer(command, 0);
        adapter->vkBeginCommandBuffer(command, &begin);
        adapter->vkCmdBindPipeline(command, VK_PIPELINE_BIND_POINT_COMPUTE, kernel->getPipeline());
        for(uint32_t i = 0; i < num_dispatches; i++) {
            memcpy(data + stride * i, params, 64);
            const uint32_t offsets[] = {stride * i, 0};
            adapter->vkCmdBindDescriptorSets(command, VK_PIPELINE_BIND_POINT_COMPUTE,
                                             kernel->getBindings().getPipelineLayout(), 0, 1, &set, 2, offsets);
            adapter->vkCmdDispatch(command, 0, 1, 1);
        }
        adapter->vkEndCommandBuffer(command);
        auto submit = vk_record<VkSubmitInfo>(VK_STRUCTURE_TYPE_SUBMIT_INFO);
        submit.commandBufferCount = 1;
        submit.pCommandBuffers = &command;
        adapter->vkQueueSubmit(device->getContext()->getQueue(), 1, &submit, fence);
        adapter->vkWaitForFences(vk, 1, &fence, VK_TRUE, ~0ull);
        adapter->vkResetFences(vk, 1, &fence);
    }

    VKDevice *device;
    VKKernel *kernel;
    VkDevice vk = VK_NULL_HANDLE;
    VkCommandPool pool = VK_NULL_HANDLE;
    VkCommandBuffer command = VK_NULL_HANDLE;
    VkFence fence = VK_NULL_HANDLE;
    VkDescriptorPool descriptor_pool = VK_NULL_HANDLE;
    VkDescriptorSet set = VK_NULL_HANDLE;
    std::unique_ptr<Buffer> uniform;
    uint8_t *data = nullptr;
    uint32_t stride = 0;
};

// setUniformData and dispatch, a thousand times, with one submission and wait.
void dispatches(benchmark::State &state) {
    Gpu gpu;
    if(!gpu.device) return state.SkipWithError("no device");
    std::unique_ptr<Kernel> kernel(gpu.device->createKernel());
    kernel->setUniforms(1).setStorages(1).setStorageOffset(1);
    std::unique_ptr<Buffer> storage(gpu.device->createBuffer(Buffer::FlagStorage, 65536));
    if(!kernel->createShaderGLSL(kernel_src) || !kernel->create()) return state.SkipWithError("no kernel");
    PlainLoop plain(gpu.device.get(), static_cast<VKKernel *>(kernel.get()), static_cast<VKBuffer *>(storage.get()));
    const float params[16] = {1.0f};
    compare(
        state,
        [&] {
            std::unique_ptr<Compute> compute(gpu.device->createCompute());
            compute->setKernel(kernel.get());
            compute->setStorageBuffer(0, storage.get());
            for(uint32_t i = 0; i < num_dispatches; i++) {
                compute->setUniformData(0, params, sizeof(params));
                compute->dispatch(0, 1, 1);
            }
            gpu.device->finish();
        },
        [&] { plain.run(params); });
    state.counters["ours_ns_each"] = state.counters["ours_us"] * 1000.0 / num_dispatches;
}

// The kernel's own cost per call that allocates nothing is counted by the allocator.
void dispatch_allocations(benchmark::State &state) {
    Gpu gpu;
    if(!gpu.device) return state.SkipWithError("no device");
    std::unique_ptr<Kernel> kernel(gpu.device->createKernel());
    kernel->setUniforms(1).setStorages(1).setStorageOffset(1);
    std::unique_ptr<Buffer> storage(gpu.device->createBuffer(Buffer::FlagStorage, 65536));
    if(!kernel->createShaderGLSL(kernel_src) || !kernel->create()) return state.SkipWithError("no kernel");
    std::unique_ptr<Compute> compute(gpu.device->createCompute());
    compute->setKernel(kernel.get());
    compute->setStorageBuffer(0, storage.get());
    const float params[16] = {1.0f};
    const auto run = [&] {
        compute->setUniformData(0, params, sizeof(params));
        compute->dispatch(0, 1, 1);
    };
    run();
    const size_t allocations = Allocator::getAllocations();
    for(auto _ : state) {
        for(uint32_t i = 0; i < num_dispatches; i++) run();
        state.SetIterationTime(1e-3);
        gpu.device->flush();
        gpu.device->finish();
    }
    state.counters["allocations"] = double(Allocator::getAllocations() - allocations);
}

// The peer is memcpy of as many bytes.
void upload(benchmark::State &state) {
    Gpu gpu;
    if(!gpu.device) return state.SkipWithError("no device");
    std::vector<uint8_t> bytes(transfer_size, 1), copy(transfer_size);
    compare(
        state,
        [&] {
            std::unique_ptr<Buffer> buffer(gpu.device->createBuffer(Buffer::FlagSource, bytes.data(), transfer_size));
            buffer.reset();
            gpu.device->finish();
        },
        [&] {
            std::vector<uint8_t> fresh;
            fresh.reserve(transfer_size);
            memcpy(fresh.data(), bytes.data(), transfer_size);
            benchmark::DoNotOptimize(fresh.data());
            benchmark::ClobberMemory();
        },
        transfer_size);
}

void upload_in_use(benchmark::State &state) {
    Gpu gpu;
    if(!gpu.device) return state.SkipWithError("no device");
    std::vector<uint8_t> bytes(transfer_size, 1), copy(transfer_size);
    std::unique_ptr<Buffer> buffer(gpu.device->createBuffer(Buffer::FlagSource, transfer_size));
    gpu.device->clearBuffer(buffer.get());
    compare(
        state,
        [&] {
            gpu.device->setBuffer(buffer.get(), bytes.data());
            gpu.device->finish();
        },
        [&] {
            memcpy(copy.data(), bytes.data(), transfer_size);
            benchmark::ClobberMemory();
        },
        transfer_size);
}

void read_back(benchmark::State &state) {
    Gpu gpu;
    if(!gpu.device) return state.SkipWithError("no device");
    std::vector<uint8_t> bytes(transfer_size, 1), copy(transfer_size);
    std::unique_ptr<Buffer> buffer(gpu.device->createBuffer(Buffer::FlagSource, bytes.data(), transfer_size));
    compare(
        state, [&] { gpu.device->getBuffer(buffer.get(), copy.data()); },
        [&] {
            memcpy(copy.data(), bytes.data(), transfer_size);
            benchmark::ClobberMemory();
        },
        transfer_size);
}

// A texture that the device may be using, so that every byte goes through transient memory.
void texture_upload(benchmark::State &state) {
    Gpu gpu;
    if(!gpu.device) return state.SkipWithError("no device");
    Image image(Image::Type2D, FormatRGBAu8n, Size(8192, 8192)), copy(image);
    std::unique_ptr<Texture> texture(gpu.device->createTexture2D(FormatRGBAu8n, 8192, Texture::FlagSource));
    compare(
        state,
        [&] {
            gpu.device->setTexture(texture.get(), image);
            gpu.device->finish();
        },
        [&] {
            memcpy(copy.getData(), image.getData(), transfer_size);
            benchmark::ClobberMemory();
        },
        transfer_size);
}

void texture_read_back(benchmark::State &state) {
    Gpu gpu;
    if(!gpu.device) return state.SkipWithError("no device");
    Image image(Image::Type2D, FormatRGBAu8n, Size(8192, 8192)), copy(image);
    std::unique_ptr<Texture> texture(gpu.device->createTexture2D(FormatRGBAu8n, 8192, Texture::FlagSource));
    gpu.device->setTexture(texture.get(), image);
    compare(
        state, [&] { gpu.device->getTexture(texture.get(), image); },
        [&] {
            memcpy(copy.getData(), image.getData(), transfer_size);
            benchmark::ClobberMemory();
        },
        transfer_size);
}

void buffers(benchmark::State &state) {
    Gpu gpu;
    if(!gpu.device) return state.SkipWithError("no device");
    constexpr uint32_t num = 10000;
    uint32_t allocations = 0;
    measure(state, "buffers/s", num, [&] {
        std::vector<std::unique_ptr<Buffer>> list;
        for(uint32_t i = 0; i < num; i++) {
            list.emplace_back(gpu.device->createBuffer(Buffer::FlagStorage, 256 + i % 1024));
        }
        allocations = gpu.device->getAdapter()->getNumAllocations();
        list.clear();
        gpu.device->finish();
    });
    state.counters["device_allocations"] = allocations;
}

// From nothing to a device; the peer makes an instance and a device with one queue.
void start(benchmark::State &state) {
    compare(
        state, [&] { Gpu gpu; },
        [&] {
            VK::retain();
            if(VK::open()) {
                const float32_t priority = 1.0f;
                auto queue = vk_record<VkDeviceQueueCreateInfo>(VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO);
                queue.queueCount = 1;
                queue.pQueuePriorities = &priority;
                auto info = vk_record<VkDeviceCreateInfo>(VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO);
                info.queueCreateInfoCount = 1;
                info.pQueueCreateInfos = &queue;
                uint32_t num = 1;
                VkPhysicalDevice adapter = VK_NULL_HANDLE;
                vkEnumeratePhysicalDevices(VK::getInstance(), &num, &adapter);
                VkDevice device = VK_NULL_HANDLE;
                if(vkCreateDevice(adapter, &info, nullptr, &device) == VK_SUCCESS) vkDestroyDevice(device, nullptr);
            }
            VK::release();
        });
}

} // namespace

BENCHMARK(dispatches)->UseManualTime()->Iterations(50)->Unit(benchmark::kMicrosecond);
BENCHMARK(dispatch_allocations)->UseManualTime()->Iterations(10)->Unit(benchmark::kMicrosecond);
BENCHMARK(upload)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(upload_in_use)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(read_back)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(texture_upload)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(texture_read_back)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(buffers)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(start)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);
