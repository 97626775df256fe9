// VKCompute.h: records dispatches. Rests on the slots and rules of ComputeRecorder, on VKKernel and VKBuffer.
// Hides descriptor sets, barriers between uses, and that a command buffer may end under an open recorder.

#pragma once

#include "KolmComputeRecorder.h"

#include "VKContext.h"

namespace Kolm {

class VKBuffer;
class VKKernel;

/// Survives everything that changes its context's command buffer: bindings are recorded again, and transient data is
/// kept over a wait. A flip drops transient data.
class VKCompute : public ComputeRecorder, private VKContext::Listener {
public:
    VKCompute(VKContext *context, const Device::Features &features);
    ~VKCompute() override;

    Platform getPlatform() const override { return PlatformVK; }

    VKContext *getContext() const { return context; }
    /// Descriptor sets written since construction: what changes of offsets alone do not add to.
    uint64_t getNumDescriptors() const { return num_descriptors; }

protected:
    void bind_kernel(Kernel *kernel) override;
    bool allocate_memory(Transient type, size_t size, Memory &memory) override;
    bool record_dispatch(uint32_t width, uint32_t height, uint32_t depth) override;
    bool record_dispatch_indirect() override;
    bool record_set(Buffer *buffer, size_t offset, const void *src, size_t size) override;
    bool record_copy(Buffer *dest, size_t dest_offset, Buffer *src, size_t src_offset, size_t size) override;
    bool record_clear(Buffer *buffer, Format format, size_t offset, const void *value, size_t size) override;
    void record_barrier(Buffer **buffers, uint32_t num) override;
    void record_begin_conditional(Buffer *buffer, size_t offset) override;
    void record_end_conditional() override;

private:
    static constexpr uint32_t NumSlots = Kernel::NumUniforms + Kernel::NumStorages + 1;
    static constexpr uint32_t NumUses = NumSlots + Kernel::NumTexels;

    // Buffers of one dispatch and what it does with each.
    struct Uses {
        uint32_t num = 0;
        VKBuffer *buffers[NumUses];
        VkAccessFlags access[NumUses];
        void append(VKBuffer *buffer, VkAccessFlags flags);
    };

    void notify(VKContext::Event event) override;
    Slot &get_slot(uint32_t index);
    Transient get_slot_type(uint32_t index) const;
    void save_memory();
    bool restore_memory();

    bool update(bool has_indirect);
    void update_command();
    bool check_buffers(bool has_indirect);
    void update_barriers(bool has_indirect);
    void update_transients();
    bool update_buffers();
    bool update_texels();
    bool bind_descriptors();
    void begin_conditional();
    void end_conditional();
    VkBuffer get_buffer(const Slot &slot) const;

    VKAdapter *adapter = nullptr;
    VKContext *context = nullptr;
    VKKernel *vk_kernel = nullptr;
    uint64_t epoch = 0; // of the context when the pipeline was bound
    VkPipeline bound_pipeline = VK_NULL_HANDLE;
    // Buffers in the present set: an object may have been created anew under the same address.
    VkBuffer bound_buffers[Kernel::NumUniforms + Kernel::NumStorages] = {};
    VkDescriptorSet buffer_descriptor = VK_NULL_HANDLE;
    VkDescriptorSet texel_descriptor = VK_NULL_HANDLE;
    uint64_t num_descriptors = 0;

    // Transient buffers that a dispatch wrote since the last barrier over them. Nobody else can ask for one.
    uint32_t num_written = 0;
    VkBuffer written[Kernel::NumStorages] = {};

    // The condition under way, recorded anew in each command buffer.
    VKBuffer *conditional_buffer = nullptr;
    size_t conditional_offset = 0;
    bool conditional_recorded = false;

    // Transient data whose memory was given away by a wait, by slot: uniforms, storages, indirect.
    static constexpr uint64_t saved_handle = ~0ull; // of a slot until its data is in new memory
    bool has_saved = false;
    Array<uint8_t> saved_data[NumSlots];
};

} // namespace Kolm
