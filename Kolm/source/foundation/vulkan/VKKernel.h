// VKKernel.h: a compute pipeline, made from the parameters of a kernel. Rests on VKBindings and VKShader.

#pragma once

#include "KolmKernel.h"

#include "VKBindings.h"

namespace Kolm {

class VKKernel : public Kernel {
public:
    VKKernel(VKContext *context, const Kernel *kernel);
    ~VKKernel() override;

    Platform getPlatform() const override { return PlatformVK; }

    void clear() override;
    bool isCreated() const override { return pipeline_state != VK_NULL_HANDLE; }
    void setName(const char *name) override;
    bool create() override;

    /// Drops the pipeline and the layouts; parameters and shader stay, and create() may be called again.
    void release();

    const VKBindings &getBindings() const { return bindings; }
    VkPipeline getPipeline() const { return pipeline_state; }

protected:
    Shader *create_shader(Kernel *kernel) override;

private:
    bool create_pipeline();

    VKAdapter *adapter = nullptr;
    VKContext *context = nullptr;
    uint8_t subgroup_size = 0; // that the pipeline demands, 0 for the driver's choice
    VKBindings bindings;
    VkPipeline pipeline_state = VK_NULL_HANDLE;
};

} // namespace Kolm
