// VKCommand.h: records draws. Rests on the slots and rules of CommandRecorder, on VKRecorder, VKPipeline and VKTarget.

#pragma once

#include "KolmCommandRecorder.h"

#include "VKRecorder.h"

namespace Kolm {

class VKPipeline;
class VKTarget;

/// Draws into the pass of its target, on the target's context or on that of a command device.
class VKCommand : public CommandRecorder {
public:
    VKCommand(VKContext *context, const Device::Features &features, VKTarget *target);

    Platform getPlatform() const override { return PlatformVK; }

    VKContext *getContext() const { return recorder.getContext(); }
    /// Descriptor sets written since construction: what changes of offsets alone do not add to.
    uint64_t getNumDescriptors() const { return recorder.getNumDescriptors(); }

protected:
    void bind_pipeline(Pipeline *pipeline) override;
    bool allocate_memory(Transient type, size_t size, Memory &memory) override;
    bool record_draw_arrays(uint32_t num_vertices, uint32_t base_vertex, uint32_t num_instances,
                            uint32_t base_instance) override;
    bool record_draw_elements(uint32_t num_indices, uint32_t base_index, int32_t base_vertex, uint32_t num_instances,
                              uint32_t base_instance) override;
    bool record_draw_mesh(uint32_t width, uint32_t height, uint32_t depth) override;
    bool record_draw_indirect(DrawType type, const Slot &source, uint32_t num, size_t stride) override;
    void record_begin_conditional(Buffer *buffer, size_t offset) override;
    void record_end_conditional() override;
    bool record_begin_query(Query *query) override;
    bool record_end_query(Query *query) override;

private:
    bool begin_pass();
    bool check_attachments() const;
    bool update(bool has_index, const Slot *source = nullptr);
    bool update_state(bool has_index, const Slot *source);
    bool update_vertices();
    bool update_index();
    void update_viewports();
    void update_scissors();

    VKAdapter *adapter;
    VKContext *context;
    VKTarget *vk_target;
    VKRecorder recorder;
    VKPipeline *vk_pipeline = nullptr;
    // As they were bound: an object may have been created anew under the same address.
    VkBuffer bound_vertices[Pipeline::NumVertices] = {};
    VkBuffer bound_index = VK_NULL_HANDLE;
};

} // namespace Kolm
