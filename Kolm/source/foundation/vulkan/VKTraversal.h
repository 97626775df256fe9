// VKTraversal.h: a ray tracing pipeline, made from the parameters of a traversal. Rests on VKBindings and VKShader.
// Hides the order of stages and groups, and the buffer that the device finds the groups in.

#pragma once

#include "KolmTraversal.h"

#include "VKBindings.h"

namespace Kolm {

class VKBuffer;
class VKShader;

/// Groups stand in the order of ray generation, misses, hits. So do their records in the group buffer, each of
/// getGroupStride() bytes.
class VKTraversal : public Traversal {
public:
    VKTraversal(VKContext *context, const Traversal *traversal);
    ~VKTraversal() override;

    Platform getPlatform() const override { return PlatformVK; }

    void clear() override;
    bool isCreated() const override { return pipeline_state != VK_NULL_HANDLE; }
    void setName(const char *name) override;
    bool create() override;

    /// Drops the pipeline, the layouts and the groups; parameters and shaders stay, and create() may be called again.
    void release();

    const VKBindings &getBindings() const { return bindings; }
    VkPipeline getPipeline() const { return pipeline_state; }

    /// Makes the group buffer if it is not there, uploading on \p context. False if the reason was logged.
    bool createGroups(VKContext *context);
    VKBuffer *getGroupBuffer() const { return shader_group_buffer; }
    uint32_t getGroupStride() const { return group_stride; }
    /// Records of a kind of group: an empty region if there are none of it.
    VkStridedDeviceAddressRegionKHR getRegion(uint32_t first, uint32_t num) const;

protected:
    Shader *create_shader(Traversal *traversal) override;

private:
    bool check_shaders(const Array<Shader *> &shaders) const;
    bool create_pipeline(const Array<Shader *> &shaders);
    bool load_handles(uint32_t num_groups);

    VKAdapter *adapter = nullptr;
    VKContext *context = nullptr;
    VKBindings bindings;
    VkPipeline pipeline_state = VK_NULL_HANDLE;
    uint32_t group_stride = 0;    // bytes from one record to the next
    Array<uint8_t> group_records; // all of them
    VKBuffer *shader_group_buffer = nullptr;
};

} // namespace Kolm
