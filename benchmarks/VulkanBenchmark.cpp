// The Vulkan backend against the least that does the same on the same driver: recording, transfers, buffers, start.
//
// Without VK_DRIVER_FILES in the environment the loader chooses the device.

#include <memory>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <vector>

#include "Compare.h"
#include "KolmImage.h"
#include "KolmShaderCompiler.h"
#include "VKBuffer.h"
#include "VKCommand.h"
#include "VKCompute.h"
#include "VKDevice.h"
#include "VKKernel.h"
#include "VKOffscreen.h"
#include "VKPipeline.h"
#include "VKTarget.h"
#include "VKTexture.h"

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

// The software driver takes a block for each command, and what that costs hangs on the state of the heap. A larger
// allocation makes glibc merge its free blocks; both sides begin with one, so that they find the same.
void merge_heap() {
    void *block = malloc(8192);
    benchmark::DoNotOptimize(block);
    free(block);
}

// The same work in plain Vulkan: one set with dynamic offsets, one ring of uniform memory, one command buffer.
struct PlainLoop {
    PlainLoop(VKDevice *device, const VKBindings *bindings, VKBuffer *storage) : device(device), bindings(bindings) {
        num_slots = storage ? 2 : 1;
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
        descriptor_info.poolSizeCount = num_slots;
        descriptor_info.pPoolSizes = sizes;
        vkCreateDescriptorPool(vk, &descriptor_info, nullptr, &descriptor_pool);
        const VkDescriptorSetLayout layout = bindings->getSetLayout(VKBindings::SetBuffer);
        auto set_info = vk_record<VkDescriptorSetAllocateInfo>(VK_STRUCTURE_TYPE_DESCRIPTOR_SET_ALLOCATE_INFO);
        set_info.descriptorPool = descriptor_pool;
        set_info.descriptorSetCount = 1;
        set_info.pSetLayouts = &layout;
        adapter->vkAllocateDescriptorSets(vk, &set_info, &set);
        const VkDescriptorBufferInfo infos[] = {
            {static_cast<VKBuffer *>(uniform.get())->getBuffer(), 0, 64},
            {storage ? storage->getBuffer() : VkBuffer(VK_NULL_HANDLE), 0, VK_WHOLE_SIZE},
        };
        VkWriteDescriptorSet writes[2];
        for(uint32_t i = 0; i < num_slots; i++) {
            writes[i] = vk_record<VkWriteDescriptorSet>(VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET);
            writes[i].dstSet = set;
            writes[i].dstBinding = i;
            writes[i].descriptorCount = 1;
            writes[i].descriptorType = sizes[i].type;
            writes[i].pBufferInfo = &infos[i];
        }
        adapter->vkUpdateDescriptorSets(vk, num_slots, writes, 0, nullptr);
    }
    ~PlainLoop() {
        device->unmapBuffer(uniform.get());
        vkDestroyDescriptorPool(vk, descriptor_pool, nullptr);
        vkDestroyFence(vk, fence, nullptr);
        vkDestroyCommandPool(vk, pool, nullptr);
    }

    void record(const float *params, uint32_t num = num_dispatches, uint32_t groups = 0) {
        VKAdapter *adapter = device->getAdapter();
        const bool is_draw = (num_slots == 1);
        for(uint32_t i = 0; i < num; i++) {
            memcpy(data + stride * i, params, 64);
            const uint32_t offsets[] = {stride * i, 0};
            adapter->vkCmdBindDescriptorSets(command,
                                             is_draw ? VK_PIPELINE_BIND_POINT_GRAPHICS : VK_PIPELINE_BIND_POINT_COMPUTE,
                                             bindings->getPipelineLayout(), 0, 1, &set, num_slots, offsets);
            if(is_draw) {
                adapter->vkCmdDrawIndexed(command, 3, 1, 0, 0, 0);
            } else {
                adapter->vkCmdDispatch(command, groups, 1, 1);
            }
        }
    }
    // Runs what was recorded, waits, and begins anew, as the library does when a frame is over.
    void submit() {
        finish();
        VKAdapter *adapter = device->getAdapter();
        auto begin = vk_record<VkCommandBufferBeginInfo>(VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO);
        begin.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
        adapter->vkResetCommandBuffer(command, 0);
        adapter->vkBeginCommandBuffer(command, &begin);
        recorded = true;
    }
    void finish() {
        if(!recorded) return;
        recorded = false;
        VKAdapter *adapter = device->getAdapter();
        adapter->vkEndCommandBuffer(command);
        auto submit = vk_record<VkSubmitInfo>(VK_STRUCTURE_TYPE_SUBMIT_INFO);
        submit.commandBufferCount = 1;
        submit.pCommandBuffers = &command;
        adapter->vkQueueSubmit(device->getContext()->getQueue(), 1, &submit, fence);
        adapter->vkWaitForFences(vk, 1, &fence, VK_TRUE, ~0ull);
        adapter->vkResetFences(vk, 1, &fence);
    }

    VKDevice *device;
    const VKBindings *bindings;
    uint32_t num_slots;
    bool recorded = false;
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

// A thousand setUniformData and dispatch. What is bound before them, with a first dispatch that writes the set, and the
// run of the work lie between the measurements of both.
void dispatches(benchmark::State &state) {
    Gpu gpu;
    if(!gpu.device) return state.SkipWithError("no device");
    std::unique_ptr<Kernel> kernel(gpu.device->createKernel());
    kernel->setUniforms(1).setStorages(1).setStorageOffset(1);
    std::unique_ptr<Buffer> storage(gpu.device->createBuffer(Buffer::FlagStorage, 65536));
    if(!kernel->createShaderGLSL(kernel_src) || !kernel->create()) return state.SkipWithError("no kernel");
    VKKernel *vk_kernel = static_cast<VKKernel *>(kernel.get());
    PlainLoop plain(gpu.device.get(), &vk_kernel->getBindings(), static_cast<VKBuffer *>(storage.get()));
    const float params[16] = {1.0f};
    std::unique_ptr<Compute> compute;
    compare(
        state,
        [&] {
            for(uint32_t i = 0; i < num_dispatches; i++) {
                compute->setUniformData(0, params, sizeof(params));
                compute->dispatch(0, 1, 1);
            }
        },
        [&] { plain.record(params); }, 0.0,
        [&] {
            compute.reset();
            gpu.device->finish();
            compute.reset(gpu.device->createCompute());
            compute->setKernel(kernel.get());
            compute->setStorageBuffer(0, storage.get());
            compute->setUniformData(0, params, sizeof(params));
            compute->dispatch(0, 1, 1);
            merge_heap();
        },
        [&] {
            plain.submit();
            gpu.device->getAdapter()->vkCmdBindPipeline(plain.command, VK_PIPELINE_BIND_POINT_COMPUTE,
                                                        vk_kernel->getPipeline());
            merge_heap();
        });
    compute.reset();
    plain.finish();
    state.counters["ours_ns_each"] = state.counters["ours_us"] * 1000.0 / num_dispatches;
}

constexpr uint32_t num_draws = num_dispatches;

// One uniform of 64 bytes and indices of a triangle outside of the picture, so that little but the recording costs.
struct Draws {
    explicit Draws(VKDevice *device) : device(device) {
        texture.reset(device->createTexture2D(FormatRGBAu8n, 16, 16, Texture::FlagTarget));
        target.reset(device->createTarget({texture.get()}));
        pipeline.reset(device->createPipeline());
        pipeline->setColorFormat(FormatRGBAu8n).setUniformMask(0, Shader::MaskVertex);
        const uint16_t indices[] = {0, 1, 2};
        index.reset(device->createBuffer(Buffer::FlagIndex, indices, sizeof(indices)));
        created = pipeline->createShaderGLSL(Shader::TypeVertex, R"(#version 450
            layout(std140, binding = 0) uniform Params { vec4 params[4]; };
            void main() { gl_Position = params[0]; })") &&
                  pipeline->createShaderGLSL(Shader::TypeFragment, R"(#version 450
            layout(location = 0) out vec4 out_color;
            void main() { out_color = vec4(1.0); })") &&
                  pipeline->create() && index;
    }
    void begin(const float *params) {
        target->begin();
        command.reset(device->createCommand(target.get()));
        command->setPipeline(pipeline.get());
        command->setIndexBuffer(FormatRu16, index.get());
        command->setUniformData(0, params, 64);
        command->drawElements(3);
    }
    void record(const float *params) {
        for(uint32_t i = 0; i < num_draws; i++) {
            command->setUniformData(0, params, 64);
            command->drawElements(3);
        }
    }
    void end() {
        if(command) target->end();
        command.reset();
        device->finish();
    }

    VKDevice *device;
    std::unique_ptr<Texture> texture;
    std::unique_ptr<Target> target;
    std::unique_ptr<Pipeline> pipeline;
    std::unique_ptr<Buffer> index;
    std::unique_ptr<Command> command;
    bool created = false;
};

// The same for setUniformData and drawElements.
void draws(benchmark::State &state) {
    Gpu gpu;
    if(!gpu.device) return state.SkipWithError("no device");
    Draws ours(gpu.device.get());
    if(!ours.created) return state.SkipWithError("no pipeline");
    VKPipeline *pipeline = static_cast<VKPipeline *>(ours.pipeline.get());
    const float params[16] = {2.0f, 2.0f, 0.0f, 1.0f};
    VKTarget *target = static_cast<VKTarget *>(ours.target.get());
    PlainLoop plain(gpu.device.get(), &pipeline->getBindings(), nullptr);
    ours.begin(params); // makes the framebuffer
    ours.end();
    bool has_pass = false;
    const auto end_pass = [&] {
        if(has_pass) gpu.device->getAdapter()->vkCmdEndRenderPass(plain.command);
        has_pass = false;
    };
    const auto begin_pass = [&] {
        VKAdapter *adapter = gpu.device->getAdapter();
        VkCommandBuffer command = plain.command;
        VkClearValue clear = {};
        auto info = vk_record<VkRenderPassBeginInfo>(VK_STRUCTURE_TYPE_RENDER_PASS_BEGIN_INFO);
        info.renderPass = target->getRenderPass();
        info.framebuffer = target->getFramebuffer();
        info.renderArea.extent = {16, 16};
        info.clearValueCount = 1;
        info.pClearValues = &clear;
        adapter->vkCmdBeginRenderPass(command, &info, VK_SUBPASS_CONTENTS_INLINE);
        adapter->vkCmdBindPipeline(command, VK_PIPELINE_BIND_POINT_GRAPHICS, pipeline->getPipeline());
        const VkViewport viewport = {0, 16, 16, -16, 0, 1};
        const VkRect2D scissor = {{0, 0}, {16, 16}};
        const float blend[4] = {};
        adapter->vkCmdSetViewport(command, 0, 1, &viewport);
        adapter->vkCmdSetScissor(command, 0, 1, &scissor);
        adapter->vkCmdSetBlendConstants(command, blend);
        adapter->vkCmdSetStencilReference(command, VK_STENCIL_FACE_FRONT_AND_BACK, 0);
        adapter->vkCmdBindIndexBuffer(command, static_cast<VKBuffer *>(ours.index.get())->getBuffer(), 0,
                                      VK_INDEX_TYPE_UINT16);
        has_pass = true;
    };
    compare(
        state, [&] { ours.record(params); }, [&] { plain.record(params); }, 0.0,
        [&] {
            ours.end();
            ours.begin(params);
            merge_heap();
        },
        [&] {
            end_pass();
            plain.submit();
            begin_pass();
            merge_heap();
        });
    ours.end();
    end_pass();
    plain.finish();
    state.counters["ours_ns_each"] = state.counters["ours_us"] * 1000.0 / num_draws;
}

void draw_allocations(benchmark::State &state) {
    Gpu gpu;
    if(!gpu.device) return state.SkipWithError("no device");
    Draws ours(gpu.device.get());
    if(!ours.created) return state.SkipWithError("no pipeline");
    const float params[16] = {2.0f, 2.0f, 0.0f, 1.0f};
    size_t allocations = 0;
    for(auto _ : state) {
        ours.begin(params);
        const size_t before = Allocator::getAllocations();
        ours.record(params);
        allocations += Allocator::getAllocations() - before;
        ours.end();
        state.SetIterationTime(1e-3);
    }
    state.counters["allocations"] = double(allocations);
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

// Copies between a mapped buffer and an image by the driver alone: the second half of every transfer through staging.
struct PlainCopy {
    PlainCopy(VKDevice *device, Texture *texture, Buffer::Flags flags)
        : device(device), texture(static_cast<VKTexture *>(texture)),
          buffer(device->createBuffer(flags | Buffer::FlagSource, transfer_size)) {}
    void run(bool upload) {
        VKContext *context = device->getContext();
        VkBufferImageCopy region = {};
        region.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};
        region.imageExtent = {texture->getWidth(), texture->getHeight(), 1};
        const VkBuffer handle = static_cast<VKBuffer *>(buffer.get())->getBuffer();
        const VkImageLayout layout =
            upload ? VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL : VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL;
        texture->setTextureLayout(context, layout);
        if(upload) {
            device->getAdapter()->vkCmdCopyBufferToImage(context->getCommand(), handle, texture->getImage(), layout, 1,
                                                         &region);
        } else {
            device->getAdapter()->vkCmdCopyImageToBuffer(context->getCommand(), texture->getImage(), layout, handle, 1,
                                                         &region);
        }
        texture->setTextureLayout(context, texture->getReadLayout());
        device->finish();
    }
    VKDevice *device;
    VKTexture *texture;
    std::unique_ptr<Buffer> buffer;
};

enum class Peer { Memcpy, Driver };

// An 8192 x 8192 texture each time after all work was done. Range 0: the peer is memcpy of as many bytes, or the bare
// copy of the driver from a buffer that is filled already. Range 1: without the host's copies, so through staging.
void texture_transfer(benchmark::State &state, bool upload) {
    VK::hideAdapterExtension(state.range(1) ? "EXT_host_image_copy" : nullptr);
    {
        Gpu gpu;
        if(!gpu.device) return state.SkipWithError("no device");
        Image image(Image::Type2D, FormatRGBAu8n, Size(8192, 8192)), copy(image);
        std::unique_ptr<Texture> texture(gpu.device->createTexture2D(FormatRGBAu8n, 8192, Texture::FlagSource));
        PlainCopy plain(gpu.device.get(), texture.get(), upload ? Buffer::FlagWrite : Buffer::FlagRead);
        gpu.device->setTexture(texture.get(), image);
        gpu.device->finish();
        compare(
            state,
            [&] {
                if(!upload) {
                    gpu.device->getTexture(texture.get(), image);
                    return;
                }
                gpu.device->setTexture(texture.get(), image);
                gpu.device->finish();
            },
            [&] {
                if(Peer(state.range(0)) == Peer::Driver) return plain.run(upload);
                memcpy(copy.getData(), image.getData(), transfer_size);
                benchmark::ClobberMemory();
            },
            transfer_size);
    }
    VK::hideAdapterExtension(nullptr);
}
void texture_upload(benchmark::State &state) { texture_transfer(state, true); }
void texture_read_back(benchmark::State &state) { texture_transfer(state, false); }

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

// A pipeline of the kernel's words through a cache that holds it, and one dispatch.
struct PlainKernel {
    PlainKernel(VKDevice *device, VKKernel *kernel, const Array<uint32_t> &words)
        : device(device), kernel(kernel), words(words) {
        VkPipelineCache cache = VK_NULL_HANDLE;
        const VkPipeline pipeline = create(cache);
        size_t size = 0;
        vkGetPipelineCacheData(device->getContext()->getDevice(), cache, &size, nullptr);
        data.resize(size);
        vkGetPipelineCacheData(device->getContext()->getDevice(), cache, &size, data.data());
        destroy(pipeline, cache);
    }
    VkPipeline create(VkPipelineCache &cache) {
        const VkDevice vk = device->getContext()->getDevice();
        auto cache_info = vk_record<VkPipelineCacheCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_CACHE_CREATE_INFO);
        cache_info.initialDataSize = data.size();
        cache_info.pInitialData = data.data();
        vkCreatePipelineCache(vk, &cache_info, nullptr, &cache);
        auto module_info = vk_record<VkShaderModuleCreateInfo>(VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO);
        module_info.codeSize = words.size() * sizeof(uint32_t);
        module_info.pCode = words.get();
        auto info = vk_record<VkComputePipelineCreateInfo>(VK_STRUCTURE_TYPE_COMPUTE_PIPELINE_CREATE_INFO);
        info.stage = vk_record<VkPipelineShaderStageCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO);
        info.stage.stage = VK_SHADER_STAGE_COMPUTE_BIT;
        info.stage.pName = "main";
        info.layout = kernel->getBindings().getPipelineLayout();
        VkPipeline pipeline = VK_NULL_HANDLE;
        vkCreateShaderModule(vk, &module_info, nullptr, &info.stage.module);
        vkCreateComputePipelines(vk, cache, 1, &info, nullptr, &pipeline);
        vkDestroyShaderModule(vk, info.stage.module, nullptr);
        return pipeline;
    }
    void destroy(VkPipeline pipeline, VkPipelineCache cache) {
        vkDestroyPipeline(device->getContext()->getDevice(), pipeline, nullptr);
        vkDestroyPipelineCache(device->getContext()->getDevice(), cache, nullptr);
    }
    void run(PlainLoop &loop, const float *params) {
        VkPipelineCache cache = VK_NULL_HANDLE;
        const VkPipeline pipeline = create(cache);
        loop.submit();
        device->getAdapter()->vkCmdBindPipeline(loop.command, VK_PIPELINE_BIND_POINT_COMPUTE, pipeline);
        loop.record(params, 1, 1);
        loop.finish();
        destroy(pipeline, cache);
    }
    VKDevice *device;
    VKKernel *kernel;
    const Array<uint32_t> &words;
    std::vector<uint8_t> data;
};

// From a kernel's words to the end of its first dispatch, with the driver's own cache warm on both sides. The peer makes
// module, layouts and pipeline of the same words through a cache of its own, records, submits and waits.
void first_dispatch(benchmark::State &state) {
    Gpu gpu;
    if(!gpu.device) return state.SkipWithError("no device");
    char folder[] = "/tmp/ostrevan_bench_XXXXXX";
    if(!mkdtemp(folder) || !Shader::setCache(folder)) return state.SkipWithError("no folder");
    std::unique_ptr<Buffer> storage(gpu.device->createBuffer(Buffer::FlagStorage, 65536));
    const float params[16] = {1.0f};
    std::unique_ptr<Kernel> first(gpu.device->createKernel());
    first->setUniforms(1).setStorages(1).setStorageOffset(1);
    ShaderCompiler compiler;
    if(!compiler.createGLSL(Shader::TypeCompute, kernel_src)) return state.SkipWithError("no shader");
    const Array<uint32_t> &words = compiler.getOpcodes();
    if(!first->createShaderSPIRV(words) || !first->create()) return state.SkipWithError("no kernel");
    PlainKernel plain(gpu.device.get(), static_cast<VKKernel *>(first.get()), words);
    PlainLoop loop(gpu.device.get(), &static_cast<VKKernel *>(first.get())->getBindings(),
                   static_cast<VKBuffer *>(storage.get()));
    compare(
        state,
        [&] {
            std::unique_ptr<Kernel> kernel(gpu.device->createKernel());
            kernel->setUniforms(1).setStorages(1).setStorageOffset(1);
            kernel->createShaderSPIRV(words);
            kernel->create();
            std::unique_ptr<Compute> compute(gpu.device->createCompute());
            compute->setKernel(kernel.get());
            compute->setStorageBuffer(0, storage.get());
            compute->setUniformData(0, params, sizeof(params));
            compute->dispatch(64, 1, 1);
            compute.reset();
            gpu.device->finish();
        },
        [&] { plain.run(loop, params); });
    loop.finish();
    Shader::setCache(nullptr);
    if(system((std::string("rm -rf ") + folder).c_str())) return;
}

} // namespace

BENCHMARK(dispatches)->UseManualTime()->Iterations(400)->Unit(benchmark::kMicrosecond);
BENCHMARK(draws)->UseManualTime()->Iterations(400)->Unit(benchmark::kMicrosecond);
BENCHMARK(draw_allocations)->UseManualTime()->Iterations(10)->Unit(benchmark::kMicrosecond);
BENCHMARK(dispatch_allocations)->UseManualTime()->Iterations(10)->Unit(benchmark::kMicrosecond);
BENCHMARK(upload)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(upload_in_use)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(read_back)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(texture_upload)
    ->ArgNames({"driver", "staging"})
    ->ArgsProduct({{0, 1}, {0, 1}})
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(texture_read_back)
    ->ArgNames({"driver", "staging"})
    ->ArgsProduct({{0, 1}, {0, 1}})
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(buffers)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(start)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK(first_dispatch)->UseManualTime()->Iterations(20)->Unit(benchmark::kMicrosecond);
