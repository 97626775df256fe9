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
    static constexpr uint32_t NumSamplers = 16;
    static constexpr uint32_t NumTextures = 32;
    static constexpr uint32_t NumSurfaces = 16;
    static constexpr uint32_t NumUniforms = 16;
    static constexpr uint32_t NumStorages = 32;
    static constexpr uint32_t NumTracings = 8;
    static constexpr uint32_t NumTexels = 8;
    static constexpr uint32_t NumTables = 8;

    enum TableType { TableTypeTexture = 0, TableTypeStorage, NumTableTypes };

    enum BindFlags : uint32_t {
        BindFlagNone = 0,
        BindFlagFixed = 1 << 0, ///< the offset is part of the descriptor: changing it costs more
        BindFlagRead = 1 << 1,  ///< the shader only reads
        DefaultBindFlags = BindFlagNone,
        NumBindFlags = 2
    };
    static constexpr uint32_t NumVertices = 16;
    static constexpr uint32_t NumAttributes = 16;
    static constexpr uint32_t NumTargets = 8;
    static constexpr uint32_t NumViewports = 16;

    /// Meaning of a vertex attribute; the number in the shader is the attribute's index.
    enum Attribute {
        AttributePosition = 0,
        AttributeBasis,
        AttributeNormal,
        AttributeTangent,
        AttributeBinormal,
        AttributeTexCoord,
        AttributeWeights,
        AttributeJoints,
        AttributeColor,
        AttributeIndex,
        NumAttributeTypes
    };
    enum Primitive {
        PrimitivePoint = 0,
        PrimitivePointPatch,
        PrimitiveLine,
        PrimitiveLineAdj,
        PrimitiveLineStrip,
        PrimitiveLinePatch,
        PrimitiveTriangle,
        PrimitiveTriangleAdj,
        PrimitiveTriangleStrip,
        PrimitiveTrianglePatch,
        PrimitiveQuadrilateralPatch,
        NumPrimitiveTypes
    };
    enum FillMode { FillModeLine = 0, FillModeSolid, NumFillModes };
    enum CullMode { CullModeNone = 0, CullModeBack, CullModeFront, NumCullModes };
    /// Order of a front face's vertices as seen on the screen.
    enum FrontMode { FrontModeCCW = 0, FrontModeCW, NumFrontModes };
    enum BlendOp { BlendOpAdd = 0, BlendOpSub, BlendOpMin, BlendOpMax, NumBlendOperations };
    /// BlendFuncNone turns blending off.
    enum BlendFunc {
        BlendFuncNone = 0,
        BlendFuncZero,
        BlendFuncOne,
        BlendFuncSrcColor,
        BlendFuncSrcAlpha,
        BlendFuncSrc1Color,
        BlendFuncSrc1Alpha,
        BlendFuncDestColor,
        BlendFuncDestAlpha,
        BlendFuncFactorColor,
        BlendFuncFactorAlpha,
        BlendFuncInvSrcColor,
        BlendFuncInvSrcAlpha,
        BlendFuncInvSrc1Color,
        BlendFuncInvSrc1Alpha,
        BlendFuncInvDestColor,
        BlendFuncInvDestAlpha,
        BlendFuncInvFactorColor,
        BlendFuncInvFactorAlpha,
        NumBlendFunctions
    };
    enum ColorMask : uint32_t {
        ColorMaskNone = 0,
        ColorMaskR = 1 << 0,
        ColorMaskG = 1 << 1,
        ColorMaskB = 1 << 2,
        ColorMaskA = 1 << 3,
        ColorMaskUnknown = 1 << 4,
        ColorMaskRGB = ColorMaskR | ColorMaskG | ColorMaskB,
        ColorMaskAll = ColorMaskRGB | ColorMaskA
    };
    enum DepthMask { DepthMaskNone = 0, DepthMaskRead, DepthMaskWrite, NumDepthMasks };
    enum DepthFunc {
        DepthFuncNone = 0,
        DepthFuncNever,
        DepthFuncAlways,
        DepthFuncEqual,
        DepthFuncLess,
        DepthFuncGreater,
        DepthFuncNotEqual,
        DepthFuncLessEqual,
        DepthFuncGreaterEqual,
        NumDepthFunctions
    };
    enum StencilFunc {
        StencilFuncNone = 0,
        StencilFuncNever,
        StencilFuncAlways,
        StencilFuncEqual,
        StencilFuncLess,
        StencilFuncGreater,
        StencilFuncNotEqual,
        StencilFuncLessEqual,
        StencilFuncGreaterEqual,
        NumStencilFunctions
    };
    enum StencilOp {
        StencilOpKeep = 0,
        StencilOpInvert,
        StencilOpReplace,
        StencilOpIncrWrap,
        StencilOpDecrWrap,
        StencilOpIncrSat,
        StencilOpDecrSat,
        NumStencilOperations
    };

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

    // Builds a shader of a type from a file, a text or SPIR-V words. Macros are "NAME" or "NAME=value" separated by ";",
    // with printf-style arguments. The GLSL forms go through the library's own compiler. The shader takes its place by
    // its type; false if the reason was logged, and what is there stays then.
    bool loadShader(Shader::Type type, const char *name, const char *format = nullptr, ...) OSTREVAN_PRINTF(4, 5);
    bool loadShader(Shader::Type type, const char *name, const String &macros, const char **includes = nullptr,
                    uint32_t size = 0);
    bool loadShaderGLSL(Shader::Type type, const char *name, const char *format = nullptr, ...) OSTREVAN_PRINTF(4, 5);
    bool loadShaderGLSL(Shader::Type type, const char *name, const String &macros, const char **includes = nullptr,
                        uint32_t size = 0);
    bool createShader(Shader::Type type, const char *src, const char *format = nullptr, ...) OSTREVAN_PRINTF(4, 5);
    bool createShader(Shader::Type type, const char *src, const String &macros, const char **includes = nullptr,
                      uint32_t size = 0);
    bool createShaderGLSL(Shader::Type type, const char *src, const char *format = nullptr, ...) OSTREVAN_PRINTF(4, 5);
    bool createShaderGLSL(Shader::Type type, const char *src, const String &macros, const char **includes = nullptr,
                          uint32_t size = 0);
    bool loadShaderSPIRV(Shader::Type type, const char *name);
    bool createShaderSPIRV(Shader::Type type, const Array<uint32_t> &words);

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

    // samplers. With array a range becomes one array, which takes the slots behind its first one
    uint32_t addSampler(Shader::Mask mask);
    Pipeline &setSamplerOffset(uint32_t offset);
    Pipeline &setSamplerMask(uint32_t index, Shader::Mask mask, bool array = false);
    Pipeline &setSamplerMasks(uint32_t index, uint32_t num, Shader::Mask mask, bool array = false);
    Pipeline &setSamplerArray(uint32_t index, uint32_t num, bool array = true);
    uint32_t getNumSamplers() const;
    uint32_t getSamplerOffset() const;
    Shader::Mask getSamplerMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getSamplerMask(uint32_t index) const;
    uint32_t getSamplerArray(uint32_t index) const;

    // sampled textures
    uint32_t addTexture(Shader::Mask mask);
    Pipeline &setTextureOffset(uint32_t offset);
    Pipeline &setTextureMask(uint32_t index, Shader::Mask mask, bool array = false);
    Pipeline &setTextureMasks(uint32_t index, uint32_t num, Shader::Mask mask, bool array = false);
    Pipeline &setTextureArray(uint32_t index, uint32_t num, bool array = true);
    uint32_t getNumTextures() const;
    uint32_t getTextureOffset() const;
    Shader::Mask getTextureMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getTextureMask(uint32_t index) const;
    uint32_t getTextureArray(uint32_t index) const;

    // storage images
    uint32_t addSurface(Shader::Mask mask);
    Pipeline &setSurfaceOffset(uint32_t offset);
    Pipeline &setSurfaceMask(uint32_t index, Shader::Mask mask, bool array = false);
    Pipeline &setSurfaceMasks(uint32_t index, uint32_t num, Shader::Mask mask, bool array = false);
    Pipeline &setSurfaceArray(uint32_t index, uint32_t num, bool array = true);
    uint32_t getNumSurfaces() const;
    uint32_t getSurfaceOffset() const;
    Shader::Mask getSurfaceMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getSurfaceMask(uint32_t index) const;
    uint32_t getSurfaceArray(uint32_t index) const;

    // uniform buffers
    uint32_t addUniform(Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Pipeline &setUniformOffset(uint32_t offset);
    Pipeline &setUniformMask(uint32_t index, Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Pipeline &setUniformMasks(uint32_t index, uint32_t num, Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Pipeline &setUniformFlags(uint32_t index, BindFlags flags);
    uint32_t getNumUniforms() const;
    uint32_t getUniformOffset() const;
    Shader::Mask getUniformMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getUniformMask(uint32_t index) const;
    BindFlags getUniformFlags(uint32_t index) const;

    // storage buffers
    uint32_t addStorage(Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Pipeline &setStorageOffset(uint32_t offset);
    Pipeline &setStorageMask(uint32_t index, Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Pipeline &setStorageMasks(uint32_t index, uint32_t num, Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Pipeline &setStorageFlags(uint32_t index, BindFlags flags);
    uint32_t getNumStorages() const;
    uint32_t getStorageOffset() const;
    Shader::Mask getStorageMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getStorageMask(uint32_t index) const;
    BindFlags getStorageFlags(uint32_t index) const;

    // acceleration structures
    uint32_t addTracing(Shader::Mask mask);
    Pipeline &setTracingOffset(uint32_t offset);
    Pipeline &setTracingMask(uint32_t index, Shader::Mask mask);
    Pipeline &setTracingMasks(uint32_t index, uint32_t num, Shader::Mask mask);
    uint32_t getNumTracings() const;
    uint32_t getTracingOffset() const;
    Shader::Mask getTracingMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getTracingMask(uint32_t index) const;

    // texel buffers
    uint32_t addTexel(Shader::Mask mask);
    Pipeline &setTexelOffset(uint32_t offset);
    Pipeline &setTexelMask(uint32_t index, Shader::Mask mask);
    Pipeline &setTexelMasks(uint32_t index, uint32_t num, Shader::Mask mask);
    uint32_t getNumTexels() const;
    uint32_t getTexelOffset() const;
    Shader::Mask getTexelMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getTexelMask(uint32_t index) const;

    // tables of textures or storage buffers; a size is a number of entries
    uint32_t addTable(TableType type, uint32_t size, Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Pipeline &setTableOffset(uint32_t offset);
    Pipeline &setTableType(uint32_t index, TableType type, uint32_t size, Shader::Mask mask,
                           BindFlags flags = DefaultBindFlags, bool enable = true);
    Pipeline &setTableMask(uint32_t index, Shader::Mask mask);
    Pipeline &setTableFlags(uint32_t index, BindFlags flags);
    uint32_t getNumTables() const;
    uint32_t getTableOffset() const;
    TableType getTableType(uint32_t index) const;
    uint32_t getTableSize(uint32_t index) const;
    BindFlags getTableFlags(uint32_t index) const;
    Shader::Mask getTableMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getTableMask(uint32_t index) const;
};

inline Pipeline::BindFlags operator|(Pipeline::BindFlags a, Pipeline::BindFlags b) {
    return Pipeline::BindFlags(uint32_t(a) | uint32_t(b));
}
inline Pipeline::ColorMask operator|(Pipeline::ColorMask a, Pipeline::ColorMask b) {
    return Pipeline::ColorMask(uint32_t(a) | uint32_t(b));
}

} // namespace Ostrevan
