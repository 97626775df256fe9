// VKPipeline.h: a raster pipeline, made from the parameters of a pipeline.
// Rests on VKBindings, VKPasses and VKShader. Hides the translation of raster, blend, depth and stencil state.

#pragma once

#include "KolmPipeline.h"

#include "VKBindings.h"
#include "VKPasses.h"

namespace Kolm {

/// Viewports, scissors, blend colour and stencil reference are dynamic; everything else is part of the pipeline. It
/// draws to any target of its formats and number of samples.
class VKPipeline : public Pipeline {
public:
    VKPipeline(VKContext *context, const Pipeline *pipeline);
    ~VKPipeline() override;

    Platform getPlatform() const override { return PlatformVK; }

    void clear() override;
    bool isCreated() const override { return pipeline_state != VK_NULL_HANDLE; }
    void setName(const char *name) override;
    bool create() override;

    /// Drops the pipeline and the layouts; parameters and shaders stay, and create() may be called again.
    void release();

    const VKBindings &getBindings() const { return bindings; }
    VkPipeline getPipeline() const { return pipeline_state; }
    /// Pass that the pipeline is compatible with.
    VkRenderPass getRenderPass() const { return render_pass; }

protected:
    Shader *create_shader(Pipeline *pipeline) override;

private:
    struct State;

    bool check_shaders() const;
    bool check_features() const;
    bool check_formats() const;
    VkRenderPass get_render_pass() const;
    bool create_stages(State &state) const;
    bool create_vertices(State &state) const;
    void create_raster(State &state) const;
    void create_depth(State &state) const;
    void create_blend(State &state) const;
    bool create_pipeline();

    VKAdapter *adapter = nullptr;
    VKContext *context = nullptr;
    VKBindings bindings;
    VkRenderPass render_pass = VK_NULL_HANDLE;
    VkPipeline pipeline_state = VK_NULL_HANDLE;
};

} // namespace Kolm
