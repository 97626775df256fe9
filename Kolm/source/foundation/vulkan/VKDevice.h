// VKDevice.h: the device on Vulkan: makes the backend's objects and forwards to them with its context.
//
//     VKDevice.cpp         identity, features, sub-devices, buffers, frames
//     VKDeviceTexture.cpp  samplers, textures, tables, sparse memory
//     VKDeviceTracing.cpp  acceleration structures, queries, fences
//     VKDeviceDraw.cpp     targets, pipelines, draw recorders

#pragma once

#include "KolmDevice.h"

#include "VKContext.h"

namespace Kolm {

class VKOffscreen;
class VKSurface;

class VKDevice : public Device {
public:
    /// On the context of \p offscreen, which is created.
    explicit VKDevice(VKOffscreen *offscreen);
    /// On the context of \p surface, which has one.
    explicit VKDevice(VKSurface *surface);
    /// On \p context, taking over the caller's share of it.
    explicit VKDevice(VKContext *context);
    ~VKDevice() override;

    Platform getPlatform() const override { return PlatformVK; }

    VKContext *getContext() const { return context; }
    VKAdapter *getAdapter() const { return adapter; }

    String getName() const override;
    String getVendor() const override;
    String getVersion() const override;
    const Features &getFeatures() const override;

    bool hasQuery(Query::Type type) const override;
    bool hasShader(Shader::Type type) const override;
    bool hasTarget(Format format) const override;
    bool hasTexture(Format format) const override;
    bool hasMemoryType(VkMemoryPropertyFlags flags) const { return adapter->hasMemoryType(flags); }
    uint32_t getMemoryIndex(uint32_t type_bits, VkMemoryPropertyFlags flags) const {
        return adapter->getMemoryIndex(type_bits, flags);
    }

    Device *createDevice(uint32_t index, uint32_t frames) override;
    Device *createCommandDevice(uint32_t frames) override;
    Device *createComputeDevice(uint32_t frames) override;
    Device *createCopyDevice(uint32_t frames) override;

    using Device::createQuery;
    Query *createQuery() override;
    using Device::createFence;
    Fence *createFence() override;
    using Device::createBuffer;
    Buffer *createBuffer() override;
    using Device::createSampler;
    Sampler *createSampler(const Sampler *sampler = nullptr) override;
    using Device::createTexture;
    Texture *createTexture() override;
    using Device::createBufferTable;
    BufferTable *createBufferTable() override;
    using Device::createTextureTable;
    TextureTable *createTextureTable() override;
    using Device::createTracing;
    Tracing *createTracing(const Tracing *tracing = nullptr) override;
    Traversal *createTraversal(const Traversal *traversal = nullptr) override;
    using Device::createShader;
    Shader *createShader() override;
    Kernel *createKernel(const Kernel *kernel = nullptr) override;
    void releaseKernel(Kernel *kernel) override;
    Compute *createCompute() override;
    using Device::createTarget;
    Target *createTarget() override;
    Target *createTarget(Surface *surface) override;
    Pipeline *createPipeline(const Pipeline *pipeline = nullptr) override;

    /// Tells what the application did to a buffer by its own commands.
    void setBufferAccess(Buffer *buffer, VkAccessFlags access);
    /// Tells which layout the application left a texture in by its own commands.
    void setTextureLayout(Texture *texture, VkImageLayout layout);
    /// Waits for a fence of the application, in nanoseconds. False when the time is over.
    bool waitVKFence(VkFence fence, uint64_t timeout, bool reset);
    /// Submits what was recorded with a fence of the application.
    bool signalVKFence(VkFence fence) { return context->flush(false, fence); }

    bool execute(Device *device) override;
    bool flush() override;
    bool finish() override;
    bool check() override;

    void waitSemaphore(VkSemaphore semaphore, VkPipelineStageFlags stage_mask) {
        context->addWaitSemaphore(semaphore, stage_mask);
    }
    void signalSemaphore(VkSemaphore semaphore) { context->addSignalSemaphore(semaphore); }

protected:
    bool set_buffer(Buffer *buffer, size_t offset, const void *src, size_t size) override;
    bool get_buffer(Buffer *buffer, size_t offset, void *dest, size_t size) override;
    void *map_buffer(Buffer *buffer, size_t offset, size_t size) override;
    bool unmap_buffer(Buffer *buffer) override;
    bool copy_buffer(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) override;
    bool clear_buffer(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) override;
    bool bind_buffer(Buffer *buffer, const size_t *offsets, const size_t *sizes, uint32_t num, bool bind,
                     Fence *fence) override;
    bool flush_buffers(Buffer **buffers, uint32_t num, Buffer::Flags flags) override;
    void release_buffer(Buffer *buffer) override;
    void release_sampler(Sampler *sampler) override;
    bool set_texture(Texture *texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                     const Slice &image_slice) override;
    bool get_texture(Texture *texture, const Slice &slice, Image &image, const Slice &image_slice) override;
    bool copy_texture(Texture *dest, const Origin &origin, const Slice &dest_slice, Texture *src, const Region &region,
                      const Slice &src_slice) override;
    bool clear_texture(Texture *texture, const Region &region, const Slice &slice, const void *value) override;
    bool bind_texture(Texture *texture, const Region *regions, uint32_t num_regions, const Slice *slices,
                      uint32_t num_slices, bool bind, Fence *fence) override;
    bool create_mipmaps(Texture *texture, const Slice &slice) override;
    bool flush_texture(Texture *texture, const Slice &slice, Texture::Flags flags) override;
    bool flush_textures(Texture **textures, uint32_t num, Texture::Flags flags) override;
    void release_texture(Texture *texture) override;
    bool set_buffer_table(BufferTable *table, uint32_t index, Buffer **buffers, uint32_t num) override;
    void release_buffer_table(BufferTable *table) override;
    bool set_texture_table(TextureTable *table, uint32_t index, Texture **textures, uint32_t num) override;
    void release_texture_table(TextureTable *table) override;
    bool set_tracing(Tracing *tracing, const Tracing::Instance *instances, uint32_t num) override;
    bool build_tracings(Tracing **tracings, uint32_t num, Buffer *scratch, const size_t *offsets,
                        Tracing::Flags flags) override;
    bool copy_tracings(Tracing **tracings, uint32_t num, Buffer *buffer, size_t offset, size_t stride) override;
    bool compact_tracing(Tracing *tracing) override;
    bool flush_tracings(Tracing **tracings, uint32_t num) override;
    void release_tracing(Tracing *tracing) override;
    void release_traversal(Traversal *traversal) override;
    bool begin_query(Query *query) override;
    bool end_query(Query *query) override;
    bool copy_queries(Query **queries, uint32_t num, Buffer *buffer, size_t offset, size_t stride) override;
    bool wait_fence(Fence *fence) override;
    bool signal_fence(Fence *fence) override;
    void release_pipeline(Pipeline *pipeline) override;
    Command *create_command(Target *target) override;
    const Target *get_enabled_target() const override;
    bool flip_frame(Fence *fence) override;

private:
    static void load_features(Features &features, const VKAdapter &adapter);
    static void load_matrices(Features &features, const VKAdapter &adapter);
    static Device *create_device(VKAdapter *adapter, uint32_t family, uint32_t index, VkCommandBufferLevel level,
                                 uint32_t frames);

    VKAdapter *adapter = nullptr;
    VKContext *context = nullptr;
    VKContext *parent = nullptr; // of a command device: that of the device which made it
};

} // namespace Kolm
