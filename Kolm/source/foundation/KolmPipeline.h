// KolmPipeline.h: the shaders of a raster pipeline, the resources that they bind, and the fixed state around them.
// Only records and writes its state, so that equal pipelines compare equal byte for byte.

#pragma once

#include "KolmFormat.h"
#include "KolmStageParameters.h"

namespace Kolm {

/// Raster pipeline: described first, then created, then used. A fresh one draws solid triangles of either side, tests
/// nothing and blends nothing. Setters return the object; values above the limits are the caller's mistake.
class Pipeline : public StageParameters<Pipeline> {
public:
    enum ShaderType {
        ShaderTypeVertex = 0,
        ShaderTypeControl,
        ShaderTypeEvaluate,
        ShaderTypeGeometry,
        ShaderTypeFragment,
        ShaderTypeTask,
        ShaderTypeMesh,
        NumShaderTypes
    };

#include "PipelineState.inc"

    struct AttributeParameters {
        Attribute type = AttributePosition;
        Format format = FormatUnknown;
        uint8_t vertex = 0; // stream that it lies in
        uint8_t offset = 0; // bytes in a vertex
        uint8_t stride = 0; // bytes of a vertex
        uint8_t rate = 0;   // instances that share a value, 0 for one of each vertex
    };
    struct Target {
        ColorMask mask = ColorMaskAll;
        Format format = FormatUnknown;
        BlendOp color_op = BlendOpAdd;
        BlendOp alpha_op = BlendOpAdd;
        BlendFunc src_color_func = BlendFuncNone;
        BlendFunc src_alpha_func = BlendFuncNone;
        BlendFunc dest_color_func = BlendFuncNone;
        BlendFunc dest_alpha_func = BlendFuncNone;
    };
    struct Stencil {
        uint8_t mask = 0;
        StencilFunc func = StencilFuncNone;
        StencilOp fail_op = StencilOpKeep;
        StencilOp dfail_op = StencilOpKeep;
        StencilOp dpass_op = StencilOpKeep;
    };

    /// Takes over the parameters of \p pipeline, which may be null.
    explicit Pipeline(uint32_t index, const Pipeline *pipeline = nullptr);
    ~Pipeline() override;

    /// Removes the shaders, deletes those that are owned, and gives all parameters their defaults.
    void clear() override;
    const char *getKindName() const override { return "pipeline"; }

    /// Copies all parameters but the name. The shaders are shared: \p pipeline has to outlive their use here.
    Pipeline &setParameters(const Pipeline *pipeline);
    /// Writes the complete state apart from the shaders: 955 bytes, 6 for each attribute and 8 for each target.
    bool saveState(Stream &stream) const;

    // shaders
    /// Goes to the place of its type; a previous shader is deleted if it is owned.
    void addShader(Shader *shader, bool owner = false);
    uint32_t getNumShaders() const;
    void getShaders(Array<Shader *> &shaders) const;
    Shader *getShader(ShaderType type) const;
    Shader *getVertexShader() const { return shaders[ShaderTypeVertex]; }
    Shader *getControlShader() const { return shaders[ShaderTypeControl]; }
    Shader *getEvaluateShader() const { return shaders[ShaderTypeEvaluate]; }
    Shader *getGeometryShader() const { return shaders[ShaderTypeGeometry]; }
    Shader *getFragmentShader() const { return shaders[ShaderTypeFragment]; }
    Shader *getTaskShader() const { return shaders[ShaderTypeTask]; }
    Shader *getMeshShader() const { return shaders[ShaderTypeMesh]; }

    // vertex attributes; all of a stream have one stride and one rate
    uint32_t addAttribute(Attribute type, Format format, uint32_t vertex, size_t offset, size_t stride,
                          uint32_t rate = 0);
    Pipeline &setAttribute(uint32_t index, Attribute type, Format format, uint32_t vertex, size_t offset, size_t stride,
                           uint32_t rate = 0);
    Pipeline &setAttributeType(uint32_t index, Attribute type);
    Pipeline &setAttributeFormat(uint32_t index, Format format);
    Pipeline &setAttributeVertex(uint32_t index, uint32_t vertex);
    Pipeline &setAttributeOffset(uint32_t index, size_t offset);
    Pipeline &setAttributeStride(uint32_t index, size_t stride);
    Pipeline &setAttributeRate(uint32_t index, uint32_t rate);
    /// Attributes in front of the first one of FormatUnknown.
    uint32_t getNumAttributes() const { return num_attributes; }
    const AttributeParameters &getAttribute(uint32_t index) const;
    Attribute getAttributeType(uint32_t index) const { return getAttribute(index).type; }
    Format getAttributeFormat(uint32_t index) const { return getAttribute(index).format; }
    uint32_t getAttributeVertex(uint32_t index) const { return getAttribute(index).vertex; }
    uint32_t getAttributeOffset(uint32_t index) const { return getAttribute(index).offset; }
    uint32_t getAttributeStride(uint32_t index) const { return getAttribute(index).stride; }
    uint32_t getAttributeRate(uint32_t index) const { return getAttribute(index).rate; }
    /// Streams of vertices that the attributes name.
    uint32_t getNumVertices() const { return num_vertices; }
    uint32_t getVertexStride(uint32_t vertex) const;
    uint32_t getVertexRate(uint32_t vertex) const;

    // raster state
    Pipeline &setPrimitive(Primitive primitive);
    Primitive getPrimitive() const { return primitive; }
    /// Control points of a patch, 0 for all but patches.
    uint32_t getPatchSize() const;
    Pipeline &setFillMode(FillMode mode);
    FillMode getFillMode() const { return fill_mode; }
    Pipeline &setCullMode(CullMode mode);
    CullMode getCullMode() const { return cull_mode; }
    Pipeline &setFrontMode(FrontMode mode);
    FrontMode getFrontMode() const { return front_mode; }
    Pipeline &setDepthBias(float32_t bias, float32_t slope, float32_t clamp = 0.0f);
    float32_t getDepthBias() const { return depth_bias; }
    float32_t getDepthSlope() const { return depth_slope; }
    float32_t getDepthClamp() const { return depth_clamp; }
    bool hasDepthBias() const { return (depth_bias != 0.0f || depth_slope != 0.0f); }
    /// Samples of a pixel, 1 to 16; 0 is stored as 1.
    Pipeline &setMultisample(uint32_t multisample);
    uint32_t getMultisample() const { return multisample; }
    bool hasMultisample() const { return (multisample > 1); }
    /// Samples that are written, 8 bits; 0 is all.
    Pipeline &setSampleMask(uint32_t mask);
    uint32_t getSampleMask() const { return sample_mask; }
    bool hasSampleMask() const { return (sample_mask != 0); }
#define PIPELINE_SWITCH(NAME, FIELD)    \
    Pipeline &set##NAME(bool enabled) { \
        FIELD = enabled;                \
        return *this;                   \
    }                                   \
    bool get##NAME() const { return FIELD; }
    PIPELINE_SWITCH(DepthClip, depth_clip)
    PIPELINE_SWITCH(DepthReplace, depth_replace)
    PIPELINE_SWITCH(ScissorTest, scissor_test)
    PIPELINE_SWITCH(RasterDiscard, raster_discard)
    PIPELINE_SWITCH(SampleShading, sample_shading)
    PIPELINE_SWITCH(AlphaToCoverage, alpha_to_coverage)
    PIPELINE_SWITCH(MultisampleRaster, multisample_raster)
    PIPELINE_SWITCH(ConservativeRaster, conservative_raster)
#undef PIPELINE_SWITCH
    /// Viewports that geometry and mesh shaders choose from, 1 to 16.
    Pipeline &setNumViewports(uint32_t num);
    uint32_t getNumViewports() const { return num_viewports; }
    Pipeline &setNumClipDistances(uint32_t num);
    uint32_t getNumClipDistances() const { return num_clip_distances; }

    // targets. Forms without an index set all eight, whatever the number of targets is
    Pipeline &setBlend(BlendOp op, BlendFunc src, BlendFunc dest);
    Pipeline &setBlendColor(BlendOp op, BlendFunc src, BlendFunc dest);
    Pipeline &setBlendAlpha(BlendOp op, BlendFunc src, BlendFunc dest);
    Pipeline &setBlend(uint32_t index, BlendOp op, BlendFunc src, BlendFunc dest);
    Pipeline &setBlendColor(uint32_t index, BlendOp op, BlendFunc src, BlendFunc dest);
    Pipeline &setBlendAlpha(uint32_t index, BlendOp op, BlendFunc src, BlendFunc dest);
    bool isBlendEnabled(uint32_t index) const;
    bool isBlendIndependent() const;
    bool hasBlendDualSource() const;
    bool hasBlendFactor() const;
    BlendOp getBlendColorOp(uint32_t index = 0) const { return get_target("getBlendColorOp", index).color_op; }
    BlendOp getBlendAlphaOp(uint32_t index = 0) const { return get_target("getBlendAlphaOp", index).alpha_op; }
    BlendFunc getBlendSrcColorFunc(uint32_t index = 0) const {
        return get_target("getBlendSrcColorFunc", index).src_color_func;
    }
    BlendFunc getBlendSrcAlphaFunc(uint32_t index = 0) const {
        return get_target("getBlendSrcAlphaFunc", index).src_alpha_func;
    }
    BlendFunc getBlendDestColorFunc(uint32_t index = 0) const {
        return get_target("getBlendDestColorFunc", index).dest_color_func;
    }
    BlendFunc getBlendDestAlphaFunc(uint32_t index = 0) const {
        return get_target("getBlendDestAlphaFunc", index).dest_alpha_func;
    }
    Pipeline &setColorMask(ColorMask mask);
    Pipeline &setColorMask(uint32_t index, ColorMask mask);
    ColorMask getColorMask(uint32_t index = 0) const { return get_target("getColorMask", index).mask; }
    /// One target; the number of targets becomes that of those in front that have a format.
    Pipeline &setColorFormat(uint32_t index, Format format);
    /// The first \p num targets, which are all.
    Pipeline &setColorFormat(Format format, uint32_t num = 1);
    Format getColorFormat(uint32_t index = 0) const { return get_target("getColorFormat", index).format; }
    uint32_t getNumTargets() const { return num_targets; }
    const Target &getTarget(uint32_t index) const { return get_target("getTarget", index); }

    // depth and stencil
    Pipeline &setDepthMask(DepthMask mask);
    DepthMask getDepthMask() const { return depth_mask; }
    Pipeline &setDepthFunc(DepthFunc func);
    DepthFunc getDepthFunc() const { return depth_func; }
    Pipeline &setDepthFormat(Format format);
    Format getDepthFormat() const { return depth_format; }
    Pipeline &setStencilMask(uint32_t mask) { return setStencilBackMask(mask).setStencilFrontMask(mask); }
    Pipeline &setStencilBackMask(uint32_t mask);
    Pipeline &setStencilFrontMask(uint32_t mask);
    /// The last operation is that of passed tests; the others keep what is there.
    Pipeline &setStencilFunc(StencilFunc func, StencilOp dpass_op);
    Pipeline &setStencilBackFunc(StencilFunc func, StencilOp dpass_op);
    Pipeline &setStencilFrontFunc(StencilFunc func, StencilOp dpass_op);
    Pipeline &setStencilFunc(StencilFunc func, StencilOp fail_op, StencilOp dfail_op, StencilOp dpass_op);
    Pipeline &setStencilBackFunc(StencilFunc func, StencilOp fail_op, StencilOp dfail_op, StencilOp dpass_op);
    Pipeline &setStencilFrontFunc(StencilFunc func, StencilOp fail_op, StencilOp dfail_op, StencilOp dpass_op);
    const Stencil &getStencilBack() const { return stencil_back; }
    const Stencil &getStencilFront() const { return stencil_front; }
    bool isStencilIndependent() const;
    bool isStencilEnabled() const { return (stencil_back.func || stencil_front.func); }

protected:
    const char *get_class_name() const override { return "Pipeline"; }
    bool is_shader_type(Shader::Type type) const override;

    Shader *shaders[NumShaderTypes] = {};
    uint32_t shader_owners = 0; // bits by type

    uint8_t num_vertices = 0;
    uint8_t vertex_strides[NumVertices] = {};
    uint8_t vertex_rates[NumVertices] = {};
    uint8_t num_attributes = 0;
    AttributeParameters attributes[NumAttributes];
    Primitive primitive = PrimitiveTriangle;
    FillMode fill_mode = FillModeSolid;
    CullMode cull_mode = CullModeNone;
    FrontMode front_mode = FrontModeCCW;
    float32_t depth_bias = 0.0f;
    float32_t depth_slope = 0.0f;
    float32_t depth_clamp = 0.0f;
    uint8_t multisample = 1;
    uint8_t sample_mask = 0;
    bool depth_clip = true;
    bool depth_replace = false;
    bool scissor_test = false;
    bool raster_discard = false;
    bool sample_shading = false;
    bool alpha_to_coverage = false;
    bool multisample_raster = true;
    bool conservative_raster = false;
    uint8_t num_targets = 0;
    Target targets[NumTargets];
    uint8_t num_viewports = 1;
    uint8_t num_clip_distances = 0;
    DepthMask depth_mask = DepthMaskWrite;
    DepthFunc depth_func = DepthFuncNone;
    Format depth_format = FormatUnknown;
    Stencil stencil_back;
    Stencil stencil_front;

private:
    void remove_shaders();
    void set_defaults();
    void copy_state(const Pipeline &pipeline);
    void count_attributes();
    AttributeParameters &set_attribute(const char *method, uint32_t index);
    const Target &get_target(const char *method, uint32_t index) const;
    Target &set_target(const char *method, uint32_t index);
    template<class Test> bool has_blend_func(Test test) const;
};

inline Pipeline::ColorMask operator|(Pipeline::ColorMask a, Pipeline::ColorMask b) {
    return Pipeline::ColorMask(uint32_t(a) | uint32_t(b));
}

} // namespace Kolm
