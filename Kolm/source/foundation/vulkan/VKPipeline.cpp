#include "VKPipeline.h"

#include "KolmBlob.h"
#include "KolmLog.h"
#include "VKFormat.h"
#include "VKPipelineCache.h"
#include "VKShader.h"

namespace Kolm {

// What a pipeline is created from. The records refer to each other, so they stay in one place.
struct VKPipeline::State {
    VkPipelineShaderStageCreateInfo stages[NumShaderTypes];
    uint32_t num_stages = 0;
    VkVertexInputBindingDescription streams[NumVertices];
    VkVertexInputAttributeDescription attributes[NumAttributes];
    VkPipelineVertexInputStateCreateInfo vertex =
        vk_record<VkPipelineVertexInputStateCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_VERTEX_INPUT_STATE_CREATE_INFO);
    VkPipelineInputAssemblyStateCreateInfo assembly =
        vk_record<VkPipelineInputAssemblyStateCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_INPUT_ASSEMBLY_STATE_CREATE_INFO);
    VkPipelineTessellationDomainOriginStateCreateInfo domain =
        vk_record<VkPipelineTessellationDomainOriginStateCreateInfo>(
            VK_STRUCTURE_TYPE_PIPELINE_TESSELLATION_DOMAIN_ORIGIN_STATE_CREATE_INFO);
    VkPipelineTessellationStateCreateInfo tessellation =
        vk_record<VkPipelineTessellationStateCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_TESSELLATION_STATE_CREATE_INFO);
    VkPipelineViewportStateCreateInfo viewport =
        vk_record<VkPipelineViewportStateCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_VIEWPORT_STATE_CREATE_INFO);
    VkPipelineRasterizationConservativeStateCreateInfoEXT conservative =
        vk_record<VkPipelineRasterizationConservativeStateCreateInfoEXT>(
            VK_STRUCTURE_TYPE_PIPELINE_RASTERIZATION_CONSERVATIVE_STATE_CREATE_INFO_EXT);
    VkPipelineRasterizationStateCreateInfo raster =
        vk_record<VkPipelineRasterizationStateCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_RASTERIZATION_STATE_CREATE_INFO);
    VkSampleMask sample_mask = ~0u;
    VkPipelineMultisampleStateCreateInfo multisample =
        vk_record<VkPipelineMultisampleStateCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_MULTISAMPLE_STATE_CREATE_INFO);
    VkPipelineDepthStencilStateCreateInfo depth =
        vk_record<VkPipelineDepthStencilStateCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_DEPTH_STENCIL_STATE_CREATE_INFO);
    VkPipelineColorBlendAttachmentState targets[NumTargets];
    VkPipelineColorBlendStateCreateInfo blend =
        vk_record<VkPipelineColorBlendStateCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_COLOR_BLEND_STATE_CREATE_INFO);
    VkPipelineDynamicStateCreateInfo dynamic =
        vk_record<VkPipelineDynamicStateCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_DYNAMIC_STATE_CREATE_INFO);
};

namespace {

// Translations. Without default cases, so that a new enumerator warns.

VkPrimitiveTopology get_topology(Pipeline::Primitive primitive) {
    switch(primitive) {
    case Pipeline::PrimitivePoint: return VK_PRIMITIVE_TOPOLOGY_POINT_LIST;
    case Pipeline::PrimitiveLine: return VK_PRIMITIVE_TOPOLOGY_LINE_LIST;
    case Pipeline::PrimitiveLineAdj: return VK_PRIMITIVE_TOPOLOGY_LINE_LIST_WITH_ADJACENCY;
    case Pipeline::PrimitiveLineStrip: return VK_PRIMITIVE_TOPOLOGY_LINE_STRIP;
    case Pipeline::PrimitiveTriangle: return VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST;
    case Pipeline::PrimitiveTriangleAdj: return VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST_WITH_ADJACENCY;
    case Pipeline::PrimitiveTriangleStrip: return VK_PRIMITIVE_TOPOLOGY_TRIANGLE_STRIP;
    case Pipeline::PrimitivePointPatch:
    case Pipeline::PrimitiveLinePatch:
    case Pipeline::PrimitiveTrianglePatch:
    case Pipeline::PrimitiveQuadrilateralPatch: return VK_PRIMITIVE_TOPOLOGY_PATCH_LIST;
    case Pipeline::NumPrimitiveTypes: break;
    }
    return VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST;
}

VkCullModeFlags get_cull_mode(Pipeline::CullMode mode) {
    switch(mode) {
    case Pipeline::CullModeNone: return VK_CULL_MODE_NONE;
    case Pipeline::CullModeBack: return VK_CULL_MODE_BACK_BIT;
    case Pipeline::CullModeFront: return VK_CULL_MODE_FRONT_BIT;
    case Pipeline::NumCullModes: break;
    }
    return VK_CULL_MODE_NONE;
}

VkBlendOp get_blend_op(Pipeline::BlendOp op) {
    switch(op) {
    case Pipeline::BlendOpAdd: return VK_BLEND_OP_ADD;
    case Pipeline::BlendOpSub: return VK_BLEND_OP_SUBTRACT;
    case Pipeline::BlendOpMin: return VK_BLEND_OP_MIN;
    case Pipeline::BlendOpMax: return VK_BLEND_OP_MAX;
    case Pipeline::NumBlendOperations: break;
    }
    return VK_BLEND_OP_ADD;
}

// \p none is the factor of a function that is not set beside others that are.
VkBlendFactor get_blend_factor(Pipeline::BlendFunc func, VkBlendFactor none) {
    switch(func) {
    case Pipeline::BlendFuncNone: return none;
    case Pipeline::BlendFuncZero: return VK_BLEND_FACTOR_ZERO;
    case Pipeline::BlendFuncOne: return VK_BLEND_FACTOR_ONE;
    case Pipeline::BlendFuncSrcColor: return VK_BLEND_FACTOR_SRC_COLOR;
    case Pipeline::BlendFuncSrcAlpha: return VK_BLEND_FACTOR_SRC_ALPHA;
    case Pipeline::BlendFuncSrc1Color: return VK_BLEND_FACTOR_SRC1_COLOR;
    case Pipeline::BlendFuncSrc1Alpha: return VK_BLEND_FACTOR_SRC1_ALPHA;
    case Pipeline::BlendFuncDestColor: return VK_BLEND_FACTOR_DST_COLOR;
    case Pipeline::BlendFuncDestAlpha: return VK_BLEND_FACTOR_DST_ALPHA;
    case Pipeline::BlendFuncFactorColor: return VK_BLEND_FACTOR_CONSTANT_COLOR;
    case Pipeline::BlendFuncFactorAlpha: return VK_BLEND_FACTOR_CONSTANT_ALPHA;
    case Pipeline::BlendFuncInvSrcColor: return VK_BLEND_FACTOR_ONE_MINUS_SRC_COLOR;
    case Pipeline::BlendFuncInvSrcAlpha: return VK_BLEND_FACTOR_ONE_MINUS_SRC_ALPHA;
    case Pipeline::BlendFuncInvSrc1Color: return VK_BLEND_FACTOR_ONE_MINUS_SRC1_COLOR;
    case Pipeline::BlendFuncInvSrc1Alpha: return VK_BLEND_FACTOR_ONE_MINUS_SRC1_ALPHA;
    case Pipeline::BlendFuncInvDestColor: return VK_BLEND_FACTOR_ONE_MINUS_DST_COLOR;
    case Pipeline::BlendFuncInvDestAlpha: return VK_BLEND_FACTOR_ONE_MINUS_DST_ALPHA;
    case Pipeline::BlendFuncInvFactorColor: return VK_BLEND_FACTOR_ONE_MINUS_CONSTANT_COLOR;
    case Pipeline::BlendFuncInvFactorAlpha: return VK_BLEND_FACTOR_ONE_MINUS_CONSTANT_ALPHA;
    case Pipeline::NumBlendFunctions: break;
    }
    return none;
}

// Functions of depth and stencil are the same list; without one everything passes.
VkCompareOp get_compare_op(uint32_t func) {
    static_assert(uint32_t(Pipeline::DepthFuncGreaterEqual) == uint32_t(Pipeline::StencilFuncGreaterEqual));
    switch(Pipeline::DepthFunc(func)) {
    case Pipeline::DepthFuncNone: return VK_COMPARE_OP_ALWAYS;
    case Pipeline::DepthFuncNever: return VK_COMPARE_OP_NEVER;
    case Pipeline::DepthFuncAlways: return VK_COMPARE_OP_ALWAYS;
    case Pipeline::DepthFuncEqual: return VK_COMPARE_OP_EQUAL;
    case Pipeline::DepthFuncLess: return VK_COMPARE_OP_LESS;
    case Pipeline::DepthFuncGreater: return VK_COMPARE_OP_GREATER;
    case Pipeline::DepthFuncNotEqual: return VK_COMPARE_OP_NOT_EQUAL;
    case Pipeline::DepthFuncLessEqual: return VK_COMPARE_OP_LESS_OR_EQUAL;
    case Pipeline::DepthFuncGreaterEqual: return VK_COMPARE_OP_GREATER_OR_EQUAL;
    case Pipeline::NumDepthFunctions: break;
    }
    return VK_COMPARE_OP_ALWAYS;
}

VkStencilOp get_stencil_op(Pipeline::StencilOp op) {
    switch(op) {
    case Pipeline::StencilOpKeep: return VK_STENCIL_OP_KEEP;
    case Pipeline::StencilOpInvert: return VK_STENCIL_OP_INVERT;
    case Pipeline::StencilOpReplace: return VK_STENCIL_OP_REPLACE;
    case Pipeline::StencilOpIncrWrap: return VK_STENCIL_OP_INCREMENT_AND_WRAP;
    case Pipeline::StencilOpDecrWrap: return VK_STENCIL_OP_DECREMENT_AND_WRAP;
    case Pipeline::StencilOpIncrSat: return VK_STENCIL_OP_INCREMENT_AND_CLAMP;
    case Pipeline::StencilOpDecrSat: return VK_STENCIL_OP_DECREMENT_AND_CLAMP;
    case Pipeline::NumStencilOperations: break;
    }
    return VK_STENCIL_OP_KEEP;
}

VkStencilOpState get_stencil_state(const Pipeline::Stencil &stencil) {
    return {get_stencil_op(stencil.fail_op),
            get_stencil_op(stencil.dpass_op),
            get_stencil_op(stencil.dfail_op),
            get_compare_op(stencil.func),
            stencil.mask,
            stencil.mask,
            0};
}

} // namespace

VKPipeline::VKPipeline(VKContext *context, const Pipeline *pipeline)
    : Pipeline(context->getAdapter()->getIndex(), pipeline), adapter(context->getAdapter()), context(context->retain()),
      bindings(context, "VKPipeline") {
    VKPasses::get(adapter->getIndex()).retain();
}

VKPipeline::~VKPipeline() {
    release();
    VKPasses::get(adapter->getIndex()).release(context);
    VKContext::release(context);
}

void VKPipeline::clear() {
    release();
    Pipeline::clear();
}

void VKPipeline::release() {
    context->releasePipeline(pipeline_state);
    pipeline_state = VK_NULL_HANDLE;
    render_pass = VK_NULL_HANDLE;
    bindings.release();
}

void VKPipeline::setName(const char *name) {
    Pipeline::setName(name);
    adapter->setObjectName(VK_OBJECT_TYPE_PIPELINE, reinterpret_cast<uint64_t>(pipeline_state), object_name.get());
}

Shader *VKPipeline::create_shader(Pipeline *) { return new VKShader(context); }

bool VKPipeline::check_shaders() const {
    if(shaders[ShaderTypeVertex] == nullptr && shaders[ShaderTypeMesh] == nullptr) {
        Log::printf(Log::Error, "VKPipeline::create(): vertex shader is null\n");
        return false;
    }
    for(const Shader *shader : shaders) {
        if(shader == nullptr || cast<VKShader>(shader)->isCreated()) continue;
        Log::printf(Log::Error, "VKPipeline::create(): %s shader is not created\n", shader->getTypeName());
        return false;
    }
    const bool has_patches = (getPatchSize() != 0);
    const bool has_tessellation = (shaders[ShaderTypeControl] || shaders[ShaderTypeEvaluate]);
    const bool complete = (shaders[ShaderTypeControl] && shaders[ShaderTypeEvaluate]);
    if(has_patches == has_tessellation && has_tessellation == complete) return true;
    Log::printf(Log::Error, "VKPipeline::create(): patches need both tessellation shaders, and they need patches\n");
    return false;
}

// What not every device has.
bool VKPipeline::check_features() const {
    const VkPhysicalDeviceFeatures &features = adapter->getFeatures();
    const VkPhysicalDeviceLimits &limits = adapter->getLimits();
    const VkPhysicalDeviceMeshShaderFeaturesEXT &mesh = adapter->getMeshShaderFeatures();
    const VkSampleCountFlags samples =
        limits.framebufferColorSampleCounts & (depth_format ? limits.framebufferDepthSampleCounts : ~0u);
    bool is_independent = isBlendIndependent();
    for(uint32_t i = 1; i < num_targets; i++) is_independent |= (targets[i].mask != targets[0].mask);
    const struct {
        bool used;
        bool supported;
        const char *name;
    } rows[] = {
        {getPatchSize() != 0, features.tessellationShader != 0, "tessellation shader"},
        {shaders[ShaderTypeGeometry] != nullptr, features.geometryShader != 0, "geometry shader"},
        {shaders[ShaderTypeMesh] != nullptr, mesh.meshShader != 0, "mesh shader"},
        {shaders[ShaderTypeTask] != nullptr, mesh.taskShader != 0, "task shader"},
        {fill_mode == FillModeLine, features.fillModeNonSolid != 0, "line fill mode"},
        {!depth_clip, features.depthClamp != 0, "disabled depth clip"},
        {num_viewports > 1, features.multiViewport != 0 && num_viewports <= limits.maxViewports, "several viewports"},
        {depth_clamp != 0.0f, features.depthBiasClamp != 0, "depth bias clamp"},
        {sample_shading && hasMultisample(), features.sampleRateShading != 0, "sample shading"},
        {is_independent, features.independentBlend != 0, "independent blending"},
        {hasBlendDualSource(), features.dualSrcBlend != 0, "dual source blending"},
        {conservative_raster, adapter->has_conservative_raster_ext, "conservative raster"},
        {hasMultisample(), is_pow2(multisample) && (samples & multisample) != 0, "number of samples"},
        {num_targets != 0, num_targets <= limits.maxColorAttachments, "number of targets"},
    };
    for(const auto &row : rows) {
        if(!row.used || row.supported) continue;
        Log::printf(Log::Error, "VKPipeline::create(): %s is not supported\n", row.name);
        return false;
    }
    return true;
}

// What is drawn to has a format that the device draws to.
bool VKPipeline::check_formats() const {
    const auto check = [this](Format format, VkFormatFeatureFlagBits feature) {
        const VkFormat vk_format = getVKFormat(format);
        if(vk_format != VK_FORMAT_UNDEFINED && adapter->checkFormatFeatures(vk_format, feature)) return true;
        Log::printf(Log::Error, "VKPipeline::create(): %s targets are not supported\n", getFormatName(format));
        return false;
    };
    for(uint32_t i = 0; i < num_targets; i++) {
        if(!check(targets[i].format, VK_FORMAT_FEATURE_COLOR_ATTACHMENT_BIT)) return false;
    }
    return depth_format == FormatUnknown || check(depth_format, VK_FORMAT_FEATURE_DEPTH_STENCIL_ATTACHMENT_BIT);
}

VkRenderPass VKPipeline::get_render_pass() const {
    VKPasses::Key key;
    key.num_colors = num_targets;
    key.samples = multisample;
    for(uint32_t i = 0; i < num_targets; i++) {
        key.colors[i].format = getVKFormat(targets[i].format);
        key.colors[i].layout = VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL;
    }
    if(depth_format) {
        key.depth.format = getVKFormat(depth_format);
        key.depth.layout = VK_IMAGE_LAYOUT_DEPTH_STENCIL_ATTACHMENT_OPTIMAL;
    }
    const VkRenderPass pass = VKPasses::get(adapter->getIndex()).getPass(adapter, key);
    if(pass == VK_NULL_HANDLE) {
        Log::printf(Log::Error, "VKPipeline::get_render_pass(): can't create render pass\n");
        Log::printf(Log::Error, "VKPipeline::create(): render pass is null\n");
    }
    return pass;
}

bool VKPipeline::create_stages(State &state) const {
    for(const Shader *shader : shaders) {
        if(shader == nullptr) continue;
        const VKShader *vk_shader = static_cast<const VKShader *>(shader);
        if(!bindings.check(*vk_shader)) return false;
        VkPipelineShaderStageCreateInfo &stage = state.stages[state.num_stages++];
        stage = vk_record<VkPipelineShaderStageCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO);
        stage.stage = VkShaderStageFlagBits(VKShader::getStageFlags(Shader::Mask(1u << vk_shader->getType())));
        stage.module = vk_shader->getShader();
        stage.pName = vk_shader->getEntryName().get();
    }
    return true;
}

bool VKPipeline::create_vertices(State &state) const {
    for(uint32_t i = 0; i < num_attributes; i++) {
        const AttributeParameters &attribute = attributes[i];
        const VkFormat format = getVKFormat(attribute.format);
        KOLM_ASSERT(format != VK_FORMAT_UNDEFINED && "VKPipeline::create(): unknown attribute format");
        state.attributes[i] = {i, attribute.vertex, format, attribute.offset};
    }
    for(uint32_t i = 0; i < num_vertices; i++) {
        if(vertex_rates[i] > 1) {
            Log::printf(Log::Error, "VKPipeline::create(): unsupported input rate %u\n", vertex_rates[i]);
            return false;
        }
        state.streams[i] = {i, vertex_strides[i],
                            vertex_rates[i] ? VK_VERTEX_INPUT_RATE_INSTANCE : VK_VERTEX_INPUT_RATE_VERTEX};
    }
    state.vertex.vertexBindingDescriptionCount = num_vertices;
    state.vertex.pVertexBindingDescriptions = state.streams;
    state.vertex.vertexAttributeDescriptionCount = num_attributes;
    state.vertex.pVertexAttributeDescriptions = state.attributes;
    state.assembly.topology = get_topology(primitive);
    // Clip space has y upwards, and so have the coordinates of a patch.
    state.domain.domainOrigin = VK_TESSELLATION_DOMAIN_ORIGIN_LOWER_LEFT;
    if(adapter->getVersion() >= VK_API_VERSION_1_1) state.tessellation.pNext = &state.domain;
    state.tessellation.patchControlPoints = getPatchSize();
    return true;
}

void VKPipeline::create_raster(State &state) const {
    state.viewport.viewportCount = num_viewports;
    state.viewport.scissorCount = num_viewports;

    state.raster.depthClampEnable = !depth_clip;
    state.raster.rasterizerDiscardEnable = raster_discard;
    state.raster.polygonMode = (fill_mode == FillModeLine) ? VK_POLYGON_MODE_LINE : VK_POLYGON_MODE_FILL;
    state.raster.cullMode = get_cull_mode(cull_mode);
    state.raster.frontFace = (front_mode == FrontModeCW) ? VK_FRONT_FACE_CLOCKWISE : VK_FRONT_FACE_COUNTER_CLOCKWISE;
    state.raster.depthBiasEnable = hasDepthBias();
    state.raster.depthBiasConstantFactor = depth_bias;
    state.raster.depthBiasSlopeFactor = depth_slope;
    state.raster.depthBiasClamp = depth_clamp;
    state.raster.lineWidth = 1.0f;
    if(conservative_raster) {
        state.conservative.conservativeRasterizationMode = VK_CONSERVATIVE_RASTERIZATION_MODE_OVERESTIMATE_EXT;
        state.raster.pNext = &state.conservative;
    }

    if(sample_mask) state.sample_mask = sample_mask;
    state.multisample.rasterizationSamples = VkSampleCountFlagBits(multisample);
    state.multisample.sampleShadingEnable = (sample_shading && hasMultisample());
    state.multisample.minSampleShading = 1.0f;
    state.multisample.pSampleMask = &state.sample_mask;
    state.multisample.alphaToCoverageEnable = alpha_to_coverage;
}

void VKPipeline::create_depth(State &state) const {
    state.depth.depthTestEnable = (depth_func != DepthFuncNone);
    state.depth.depthWriteEnable = (depth_func != DepthFuncNone && depth_mask == DepthMaskWrite);
    state.depth.depthCompareOp = get_compare_op(depth_func);
    state.depth.stencilTestEnable = isStencilEnabled();
    state.depth.front = get_stencil_state(stencil_front);
    state.depth.back = get_stencil_state(stencil_back);
    state.depth.maxDepthBounds = 1.0f;
}

void VKPipeline::create_blend(State &state) const {
    for(uint32_t i = 0; i < num_targets; i++) {
        // One state serves all targets unless they differ.
        const Target &target = targets[isBlendIndependent() ? i : 0];
        VkPipelineColorBlendAttachmentState &blend = state.targets[i];
        blend = {};
        blend.blendEnable = isBlendEnabled(isBlendIndependent() ? i : 0);
        blend.srcColorBlendFactor = get_blend_factor(target.src_color_func, VK_BLEND_FACTOR_ONE);
        blend.dstColorBlendFactor = get_blend_factor(target.dest_color_func, VK_BLEND_FACTOR_ZERO);
        blend.colorBlendOp = get_blend_op(target.color_op);
        blend.srcAlphaBlendFactor = get_blend_factor(target.src_alpha_func, VK_BLEND_FACTOR_ONE);
        blend.dstAlphaBlendFactor = get_blend_factor(target.dest_alpha_func, VK_BLEND_FACTOR_ZERO);
        blend.alphaBlendOp = get_blend_op(target.alpha_op);
        static_assert(uint32_t(ColorMaskR) == VK_COLOR_COMPONENT_R_BIT &&
                      uint32_t(ColorMaskA) == VK_COLOR_COMPONENT_A_BIT);
        blend.colorWriteMask = targets[i].mask & ColorMaskAll;
    }
    state.blend.attachmentCount = num_targets;
    state.blend.pAttachments = state.targets;
}

bool VKPipeline::create_pipeline() {
    State state;
    if(!create_stages(state) || !create_vertices(state)) return false;
    create_raster(state);
    create_depth(state);
    create_blend(state);
    static constexpr VkDynamicState dynamic_states[] = {VK_DYNAMIC_STATE_VIEWPORT, VK_DYNAMIC_STATE_SCISSOR,
                                                        VK_DYNAMIC_STATE_BLEND_CONSTANTS,
                                                        VK_DYNAMIC_STATE_STENCIL_REFERENCE};
    state.dynamic.dynamicStateCount = array_size(dynamic_states);
    state.dynamic.pDynamicStates = dynamic_states;

    auto info = vk_record<VkGraphicsPipelineCreateInfo>(VK_STRUCTURE_TYPE_GRAPHICS_PIPELINE_CREATE_INFO);
    info.stageCount = state.num_stages;
    info.pStages = state.stages;
    if(shaders[ShaderTypeMesh] == nullptr) {
        info.pVertexInputState = &state.vertex;
        info.pInputAssemblyState = &state.assembly;
        if(getPatchSize()) info.pTessellationState = &state.tessellation;
    }
    info.pViewportState = &state.viewport;
    info.pRasterizationState = &state.raster;
    info.pMultisampleState = &state.multisample;
    info.pDepthStencilState = &state.depth;
    info.pColorBlendState = &state.blend;
    info.pDynamicState = &state.dynamic;
    info.layout = bindings.getPipelineLayout();
    info.renderPass = render_pass;

    VKPipelineCache cache(adapter, "VKPipeline");
    Blob key;
    if(cache.begin(key)) {
        bool status = saveState(key);
        for(const Shader *shader : shaders) {
            if(shader) status &= key.writeu8(uint8_t(shader->getType())) && shader->saveState(key);
        }
        if(!status || !cache.create(key)) return false;
    }
    VkPipeline pipeline = VK_NULL_HANDLE;
    VkResult result = vkCreateGraphicsPipelines(adapter->getDevice(), cache.get(), 1, &info, nullptr, &pipeline);
    if(result < 0 && cache.isHit() && cache.recreate())
        result = vkCreateGraphicsPipelines(adapter->getDevice(), cache.get(), 1, &info, nullptr, &pipeline);
    if(VK::error(result)) {
        Log::printf(Log::Error, "VKPipeline::create(): can't create pipeline state\n");
        return false;
    }
    pipeline_state = pipeline;
    cache.save(); // a program that can't be kept is still one
    return true;
}

bool VKPipeline::create() {
    release();
    if(!check_shaders() || !check_features() || !check_formats()) return false;
    VkShaderStageFlags stages = 0;
    for(const Shader *shader : shaders) {
        if(shader) stages |= VKShader::getStageFlags(Shader::Mask(1u << shader->getType()));
    }
    render_pass = get_render_pass();
    if(render_pass == VK_NULL_HANDLE || !bindings.create(*this, stages) || !create_pipeline()) {
        release();
        return false;
    }
    if(object_name) setName(String(object_name).get());
    return true;
}

} // namespace Kolm
