// The shaders of a raster pipeline and the fixed state around them.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanArray.h>
#include <core/OstrevanString.h>
#include <format/OstrevanFormat.h>
#include <platform/OstrevanPlatform.h>
#include <platform/OstrevanShader.h>

namespace Ostrevan {

/// Raster pipeline of up to seven shaders, made by Device::createPipeline(): described first, then created, then used by
/// Command. A fresh one draws solid triangles of either side, tests nothing and blends nothing. The binding slots are
/// those of Kernel, with the stages that see each; slots are counted up to the first one without a stage. Setters return
/// the handle; values above the limits are the caller's mistake.
///
///     Pipeline pipeline = device.createPipeline();
///     pipeline.setColorFormat(target.getColorFormat(0));
///     pipeline.addAttribute(Pipeline::AttributePosition, FormatRGBf32, 0, 0, 12);
///     pipeline.addUniform(Shader::MaskVertex);
///     if(!pipeline.createShaderGLSL(Shader::TypeVertex, vertex_src)) return 1;
///     if(!pipeline.createShaderGLSL(Shader::TypeFragment, fragment_src) || !pipeline.create()) return 1;
class OSTREVAN_API Pipeline {
    OSTREVAN_HANDLE(Pipeline)
public:
#include <foundation/PipelineState.inc>
#include <foundation/SlotLimits.inc>

    Pipeline();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    uint32_t getIndex() const;

    /// Removes the shaders and gives all parameters their defaults.
    void clear();
    bool isCreated() const;
    /// Makes layouts and pipeline of what was described. False if the reason was logged.
    bool create();

    /// Name in messages and in the API's debug tools.
    void setName(const char *name);
    String getName() const;

    /// Copies all parameters but the name. The shaders are shared: \p pipeline has to outlive their use here.
    Pipeline &setParameters(const Pipeline &pipeline);

    /// Goes to the place of its type; a previous shader is deleted if it is owned. With \p owner it is deleted with the
    /// pipeline, else the caller keeps it alive.
    void addShader(const Shader &shader, bool owner = false);
    uint32_t getNumShaders() const;

    // vertex attributes; all of a stream have one stride and one rate, in bytes and in instances
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
    uint32_t getNumAttributes() const;
    Attribute getAttributeType(uint32_t index) const;
    Format getAttributeFormat(uint32_t index) const;
    uint32_t getAttributeVertex(uint32_t index) const;
    uint32_t getAttributeOffset(uint32_t index) const;
    uint32_t getAttributeStride(uint32_t index) const;
    uint32_t getAttributeRate(uint32_t index) const;
    /// Streams of vertices that the attributes name.
    uint32_t getNumVertices() const;

    // raster state
    Pipeline &setPrimitive(Primitive primitive);
    Primitive getPrimitive() const;
    Pipeline &setFillMode(FillMode mode);
    FillMode getFillMode() const;
    Pipeline &setCullMode(CullMode mode);
    CullMode getCullMode() const;
    Pipeline &setFrontMode(FrontMode mode);
    FrontMode getFrontMode() const;
    /// Control points of a patch, 0 for all but patches.
    uint32_t getPatchSize() const;
    Pipeline &setDepthBias(float32_t bias, float32_t slope, float32_t clamp = 0.0f);
    float32_t getDepthBias() const;
    float32_t getDepthSlope() const;
    float32_t getDepthClamp() const;
    bool hasDepthBias() const;
    /// Samples of a pixel, 1 to 16; 0 is stored as 1.
    Pipeline &setMultisample(uint32_t multisample);
    uint32_t getMultisample() const;
    bool hasMultisample() const;
    /// Samples that are written, 8 bits; 0 is all.
    Pipeline &setSampleMask(uint32_t mask);
    uint32_t getSampleMask() const;
    bool hasSampleMask() const;
    Pipeline &setDepthClip(bool enabled);
    bool getDepthClip() const;
    Pipeline &setDepthReplace(bool enabled);
    bool getDepthReplace() const;
    Pipeline &setScissorTest(bool enabled);
    bool getScissorTest() const;
    Pipeline &setRasterDiscard(bool enabled);
    bool getRasterDiscard() const;
    Pipeline &setSampleShading(bool enabled);
    bool getSampleShading() const;
    Pipeline &setAlphaToCoverage(bool enabled);
    bool getAlphaToCoverage() const;
    Pipeline &setMultisampleRaster(bool enabled);
    bool getMultisampleRaster() const;
    Pipeline &setConservativeRaster(bool enabled);
    bool getConservativeRaster() const;
    /// Viewports that geometry and mesh shaders choose from, 1 to 16.
    Pipeline &setNumViewports(uint32_t num);
    uint32_t getNumViewports() const;
    Pipeline &setNumClipDistances(uint32_t num);
    uint32_t getNumClipDistances() const;

    // targets. Forms without an index set all eight, whatever the number of targets is
    Pipeline &setBlend(BlendOp op, BlendFunc src, BlendFunc dest);
    Pipeline &setBlend(uint32_t index, BlendOp op, BlendFunc src, BlendFunc dest);
    Pipeline &setBlendColor(BlendOp op, BlendFunc src, BlendFunc dest);
    Pipeline &setBlendColor(uint32_t index, BlendOp op, BlendFunc src, BlendFunc dest);
    Pipeline &setBlendAlpha(BlendOp op, BlendFunc src, BlendFunc dest);
    Pipeline &setBlendAlpha(uint32_t index, BlendOp op, BlendFunc src, BlendFunc dest);
    bool isBlendEnabled(uint32_t index) const;
    bool isBlendIndependent() const;
    bool hasBlendDualSource() const;
    bool hasBlendFactor() const;
    BlendOp getBlendColorOp(uint32_t index = 0) const;
    BlendFunc getBlendSrcColorFunc(uint32_t index = 0) const;
    BlendFunc getBlendDestColorFunc(uint32_t index = 0) const;
    BlendOp getBlendAlphaOp(uint32_t index = 0) const;
    BlendFunc getBlendSrcAlphaFunc(uint32_t index = 0) const;
    BlendFunc getBlendDestAlphaFunc(uint32_t index = 0) const;
    Pipeline &setColorMask(ColorMask mask);
    Pipeline &setColorMask(uint32_t index, ColorMask mask);
    ColorMask getColorMask(uint32_t index = 0) const;
    /// One target; the number of targets becomes that of those in front that have a format.
    Pipeline &setColorFormat(uint32_t index, Format format);
    /// The first \p num targets, which are all.
    Pipeline &setColorFormat(Format format, uint32_t num = 1);
    Format getColorFormat(uint32_t index = 0) const;
    uint32_t getNumTargets() const;

    // depth and stencil
    Pipeline &setDepthMask(DepthMask mask);
    DepthMask getDepthMask() const;
    Pipeline &setDepthFunc(DepthFunc func);
    DepthFunc getDepthFunc() const;
    Pipeline &setDepthFormat(Format format);
    Format getDepthFormat() const;
    Pipeline &setStencilMask(uint32_t mask);
    Pipeline &setStencilBackMask(uint32_t mask);
    Pipeline &setStencilFrontMask(uint32_t mask);
    /// The operation is that of passed tests.
    Pipeline &setStencilFunc(StencilFunc func, StencilOp dpass_op);
    Pipeline &setStencilFunc(StencilFunc func, StencilOp fail_op, StencilOp dfail_op, StencilOp dpass_op);
    Pipeline &setStencilBackFunc(StencilFunc func, StencilOp dpass_op);
    Pipeline &setStencilBackFunc(StencilFunc func, StencilOp fail_op, StencilOp dfail_op, StencilOp dpass_op);
    Pipeline &setStencilFrontFunc(StencilFunc func, StencilOp dpass_op);
    Pipeline &setStencilFrontFunc(StencilFunc func, StencilOp fail_op, StencilOp dfail_op, StencilOp dpass_op);
    bool isStencilIndependent() const;
    bool isStencilEnabled() const;

#define STAGE_CLASS Pipeline
#include <platform/OstrevanStageParameters.inc>
};

inline Pipeline::BindFlags operator|(Pipeline::BindFlags a, Pipeline::BindFlags b) {
    return Pipeline::BindFlags(uint32_t(a) | uint32_t(b));
}
inline Pipeline::ColorMask operator|(Pipeline::ColorMask a, Pipeline::ColorMask b) {
    return Pipeline::ColorMask(uint32_t(a) | uint32_t(b));
}

} // namespace Ostrevan
