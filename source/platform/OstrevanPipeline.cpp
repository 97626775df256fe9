#include "OstrevanPipelineKolm.h"

#include <stdarg.h>

#include "OstrevanShaderKolm.h"
#include "OstrevanStringKolm.h"
#include "OstrevanUtilsKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Pipeline, Noncopyable)

Pipeline::Pipeline() : Pipeline(VoidImpl()) {}

Platform Pipeline::getPlatform() const {
    return (impl().isValid()) ? getPublicPlatform(impl().ref().getPlatform()) : PlatformUnknown;
}
const char *Pipeline::getPlatformName() const { return Ostrevan::getPlatformName(getPlatform()); }
uint32_t Pipeline::getIndex() const { return impl().ref().getIndex(); }

void Pipeline::clear() { impl().ref().clear(); }
bool Pipeline::isCreated() const { return (impl().isValid() && impl().ref().isCreated()); }
bool Pipeline::create() { return impl().ref().create(); }

void Pipeline::setName(const char *name) { impl().ref().setName(name); }
String Pipeline::getName() const { return String::StringImpl::TS(impl().ref().getName()); }

Pipeline &Pipeline::setParameters(const Pipeline &pipeline) {
    impl().ref().setParameters(getCore<Kolm::Pipeline *>(pipeline));
    return *this;
}

void Pipeline::addShader(const Shader &shader, bool owner) {
    impl().ref().addShader(const_cast<Shader &>(shader).impl().get(owner), owner);
}
uint32_t Pipeline::getNumShaders() const { return impl().ref().getNumShaders(); }

bool Pipeline::loadShader(Shader::Type type, const char *name, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return impl().ref().loadShader(static_cast<Kolm::Shader::Type>(type), name, macros);
}
bool Pipeline::loadShader(Shader::Type type, const char *name, const String &macros, const char **includes,
                          uint32_t size) {
    return impl().ref().loadShader(static_cast<Kolm::Shader::Type>(type), name, macros.impl().ref(), includes, size);
}
bool Pipeline::loadShaderGLSL(Shader::Type type, const char *name, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return impl().ref().loadShaderGLSL(static_cast<Kolm::Shader::Type>(type), name, macros);
}
bool Pipeline::loadShaderGLSL(Shader::Type type, const char *name, const String &macros, const char **includes,
                              uint32_t size) {
    return impl().ref().loadShaderGLSL(static_cast<Kolm::Shader::Type>(type), name, macros.impl().ref(), includes,
                                       size);
}
bool Pipeline::createShader(Shader::Type type, const char *src, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return impl().ref().createShader(static_cast<Kolm::Shader::Type>(type), src, macros);
}
bool Pipeline::createShader(Shader::Type type, const char *src, const String &macros, const char **includes,
                            uint32_t size) {
    return impl().ref().createShader(static_cast<Kolm::Shader::Type>(type), src, macros.impl().ref(), includes, size);
}
bool Pipeline::createShaderGLSL(Shader::Type type, const char *src, const char *format, ...) {
    Kolm::String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return impl().ref().createShaderGLSL(static_cast<Kolm::Shader::Type>(type), src, macros);
}
bool Pipeline::createShaderGLSL(Shader::Type type, const char *src, const String &macros, const char **includes,
                                uint32_t size) {
    return impl().ref().createShaderGLSL(static_cast<Kolm::Shader::Type>(type), src, macros.impl().ref(), includes,
                                         size);
}
bool Pipeline::loadShaderSPIRV(Shader::Type type, const char *name) {
    return impl().ref().loadShaderSPIRV(static_cast<Kolm::Shader::Type>(type), name);
}
bool Pipeline::createShaderSPIRV(Shader::Type type, const Array<uint32_t> &words) {
    return impl().ref().createShaderSPIRV(static_cast<Kolm::Shader::Type>(type),
                                          Kolm::Array<uint32_t>(words.size(), words.get()));
}

uint32_t Pipeline::addAttribute(Attribute type, Format format, uint32_t vertex, size_t offset, size_t stride,
                                uint32_t rate) {
    return impl().ref().addAttribute(static_cast<Kolm::Pipeline::Attribute>(type), getCore(format), vertex, offset,
                                     stride, rate);
}
Pipeline &Pipeline::setAttribute(uint32_t index, Attribute type, Format format, uint32_t vertex, size_t offset,
                                 size_t stride, uint32_t rate) {
    impl().ref().setAttribute(index, static_cast<Kolm::Pipeline::Attribute>(type), getCore(format), vertex, offset,
                              stride, rate);
    return *this;
}
Pipeline &Pipeline::setAttributeType(uint32_t index, Attribute type) {
    impl().ref().setAttributeType(index, static_cast<Kolm::Pipeline::Attribute>(type));
    return *this;
}
Pipeline &Pipeline::setAttributeFormat(uint32_t index, Format format) {
    impl().ref().setAttributeFormat(index, getCore(format));
    return *this;
}
Pipeline &Pipeline::setAttributeVertex(uint32_t index, uint32_t vertex) {
    impl().ref().setAttributeVertex(index, vertex);
    return *this;
}
Pipeline &Pipeline::setAttributeOffset(uint32_t index, size_t offset) {
    impl().ref().setAttributeOffset(index, offset);
    return *this;
}
Pipeline &Pipeline::setAttributeStride(uint32_t index, size_t stride) {
    impl().ref().setAttributeStride(index, stride);
    return *this;
}
Pipeline &Pipeline::setAttributeRate(uint32_t index, uint32_t rate) {
    impl().ref().setAttributeRate(index, rate);
    return *this;
}
uint32_t Pipeline::getNumAttributes() const { return impl().ref().getNumAttributes(); }
Pipeline::Attribute Pipeline::getAttributeType(uint32_t index) const {
    return static_cast<Attribute>(impl().ref().getAttributeType(index));
}
Format Pipeline::getAttributeFormat(uint32_t index) const {
    return static_cast<Format>(impl().ref().getAttributeFormat(index));
}
uint32_t Pipeline::getAttributeVertex(uint32_t index) const { return impl().ref().getAttributeVertex(index); }
uint32_t Pipeline::getAttributeOffset(uint32_t index) const { return impl().ref().getAttributeOffset(index); }
uint32_t Pipeline::getAttributeStride(uint32_t index) const { return impl().ref().getAttributeStride(index); }
uint32_t Pipeline::getAttributeRate(uint32_t index) const { return impl().ref().getAttributeRate(index); }
uint32_t Pipeline::getNumVertices() const { return impl().ref().getNumVertices(); }

Pipeline &Pipeline::setPrimitive(Primitive primitive) {
    impl().ref().setPrimitive(static_cast<Kolm::Pipeline::Primitive>(primitive));
    return *this;
}
Pipeline::Primitive Pipeline::getPrimitive() const { return static_cast<Primitive>(impl().ref().getPrimitive()); }
Pipeline &Pipeline::setFillMode(FillMode mode) {
    impl().ref().setFillMode(static_cast<Kolm::Pipeline::FillMode>(mode));
    return *this;
}
Pipeline::FillMode Pipeline::getFillMode() const { return static_cast<FillMode>(impl().ref().getFillMode()); }
Pipeline &Pipeline::setCullMode(CullMode mode) {
    impl().ref().setCullMode(static_cast<Kolm::Pipeline::CullMode>(mode));
    return *this;
}
Pipeline::CullMode Pipeline::getCullMode() const { return static_cast<CullMode>(impl().ref().getCullMode()); }
Pipeline &Pipeline::setFrontMode(FrontMode mode) {
    impl().ref().setFrontMode(static_cast<Kolm::Pipeline::FrontMode>(mode));
    return *this;
}
Pipeline::FrontMode Pipeline::getFrontMode() const { return static_cast<FrontMode>(impl().ref().getFrontMode()); }
uint32_t Pipeline::getPatchSize() const { return impl().ref().getPatchSize(); }
Pipeline &Pipeline::setDepthBias(float32_t bias, float32_t slope, float32_t clamp) {
    impl().ref().setDepthBias(bias, slope, clamp);
    return *this;
}
float32_t Pipeline::getDepthBias() const { return impl().ref().getDepthBias(); }
float32_t Pipeline::getDepthSlope() const { return impl().ref().getDepthSlope(); }
float32_t Pipeline::getDepthClamp() const { return impl().ref().getDepthClamp(); }
bool Pipeline::hasDepthBias() const { return impl().ref().hasDepthBias(); }
Pipeline &Pipeline::setMultisample(uint32_t multisample) {
    impl().ref().setMultisample(multisample);
    return *this;
}
uint32_t Pipeline::getMultisample() const { return impl().ref().getMultisample(); }
bool Pipeline::hasMultisample() const { return impl().ref().hasMultisample(); }
Pipeline &Pipeline::setSampleMask(uint32_t mask) {
    impl().ref().setSampleMask(mask);
    return *this;
}
uint32_t Pipeline::getSampleMask() const { return impl().ref().getSampleMask(); }
bool Pipeline::hasSampleMask() const { return impl().ref().hasSampleMask(); }
Pipeline &Pipeline::setDepthClip(bool enabled) {
    impl().ref().setDepthClip(enabled);
    return *this;
}
bool Pipeline::getDepthClip() const { return impl().ref().getDepthClip(); }
Pipeline &Pipeline::setDepthReplace(bool enabled) {
    impl().ref().setDepthReplace(enabled);
    return *this;
}
bool Pipeline::getDepthReplace() const { return impl().ref().getDepthReplace(); }
Pipeline &Pipeline::setScissorTest(bool enabled) {
    impl().ref().setScissorTest(enabled);
    return *this;
}
bool Pipeline::getScissorTest() const { return impl().ref().getScissorTest(); }
Pipeline &Pipeline::setRasterDiscard(bool enabled) {
    impl().ref().setRasterDiscard(enabled);
    return *this;
}
bool Pipeline::getRasterDiscard() const { return impl().ref().getRasterDiscard(); }
Pipeline &Pipeline::setSampleShading(bool enabled) {
    impl().ref().setSampleShading(enabled);
    return *this;
}
bool Pipeline::getSampleShading() const { return impl().ref().getSampleShading(); }
Pipeline &Pipeline::setAlphaToCoverage(bool enabled) {
    impl().ref().setAlphaToCoverage(enabled);
    return *this;
}
bool Pipeline::getAlphaToCoverage() const { return impl().ref().getAlphaToCoverage(); }
Pipeline &Pipeline::setMultisampleRaster(bool enabled) {
    impl().ref().setMultisampleRaster(enabled);
    return *this;
}
bool Pipeline::getMultisampleRaster() const { return impl().ref().getMultisampleRaster(); }
Pipeline &Pipeline::setConservativeRaster(bool enabled) {
    impl().ref().setConservativeRaster(enabled);
    return *this;
}
bool Pipeline::getConservativeRaster() const { return impl().ref().getConservativeRaster(); }
Pipeline &Pipeline::setNumViewports(uint32_t num) {
    impl().ref().setNumViewports(num);
    return *this;
}
uint32_t Pipeline::getNumViewports() const { return impl().ref().getNumViewports(); }
Pipeline &Pipeline::setNumClipDistances(uint32_t num) {
    impl().ref().setNumClipDistances(num);
    return *this;
}
uint32_t Pipeline::getNumClipDistances() const { return impl().ref().getNumClipDistances(); }

Pipeline &Pipeline::setBlend(BlendOp op, BlendFunc src, BlendFunc dest) {
    impl().ref().setBlend(static_cast<Kolm::Pipeline::BlendOp>(op), static_cast<Kolm::Pipeline::BlendFunc>(src),
                          static_cast<Kolm::Pipeline::BlendFunc>(dest));
    return *this;
}
Pipeline &Pipeline::setBlend(uint32_t index, BlendOp op, BlendFunc src, BlendFunc dest) {
    impl().ref().setBlend(index, static_cast<Kolm::Pipeline::BlendOp>(op), static_cast<Kolm::Pipeline::BlendFunc>(src),
                          static_cast<Kolm::Pipeline::BlendFunc>(dest));
    return *this;
}
Pipeline &Pipeline::setBlendColor(BlendOp op, BlendFunc src, BlendFunc dest) {
    impl().ref().setBlendColor(static_cast<Kolm::Pipeline::BlendOp>(op), static_cast<Kolm::Pipeline::BlendFunc>(src),
                               static_cast<Kolm::Pipeline::BlendFunc>(dest));
    return *this;
}
Pipeline &Pipeline::setBlendColor(uint32_t index, BlendOp op, BlendFunc src, BlendFunc dest) {
    impl().ref().setBlendColor(index, static_cast<Kolm::Pipeline::BlendOp>(op),
                               static_cast<Kolm::Pipeline::BlendFunc>(src),
                               static_cast<Kolm::Pipeline::BlendFunc>(dest));
    return *this;
}
Pipeline &Pipeline::setBlendAlpha(BlendOp op, BlendFunc src, BlendFunc dest) {
    impl().ref().setBlendAlpha(static_cast<Kolm::Pipeline::BlendOp>(op), static_cast<Kolm::Pipeline::BlendFunc>(src),
                               static_cast<Kolm::Pipeline::BlendFunc>(dest));
    return *this;
}
Pipeline &Pipeline::setBlendAlpha(uint32_t index, BlendOp op, BlendFunc src, BlendFunc dest) {
    impl().ref().setBlendAlpha(index, static_cast<Kolm::Pipeline::BlendOp>(op),
                               static_cast<Kolm::Pipeline::BlendFunc>(src),
                               static_cast<Kolm::Pipeline::BlendFunc>(dest));
    return *this;
}
bool Pipeline::isBlendEnabled(uint32_t index) const { return impl().ref().isBlendEnabled(index); }
bool Pipeline::isBlendIndependent() const { return impl().ref().isBlendIndependent(); }
bool Pipeline::hasBlendDualSource() const { return impl().ref().hasBlendDualSource(); }
bool Pipeline::hasBlendFactor() const { return impl().ref().hasBlendFactor(); }
Pipeline::BlendOp Pipeline::getBlendColorOp(uint32_t index) const {
    return static_cast<BlendOp>(impl().ref().getBlendColorOp(index));
}
Pipeline::BlendFunc Pipeline::getBlendSrcColorFunc(uint32_t index) const {
    return static_cast<BlendFunc>(impl().ref().getBlendSrcColorFunc(index));
}
Pipeline::BlendFunc Pipeline::getBlendDestColorFunc(uint32_t index) const {
    return static_cast<BlendFunc>(impl().ref().getBlendDestColorFunc(index));
}
Pipeline::BlendOp Pipeline::getBlendAlphaOp(uint32_t index) const {
    return static_cast<BlendOp>(impl().ref().getBlendAlphaOp(index));
}
Pipeline::BlendFunc Pipeline::getBlendSrcAlphaFunc(uint32_t index) const {
    return static_cast<BlendFunc>(impl().ref().getBlendSrcAlphaFunc(index));
}
Pipeline::BlendFunc Pipeline::getBlendDestAlphaFunc(uint32_t index) const {
    return static_cast<BlendFunc>(impl().ref().getBlendDestAlphaFunc(index));
}
Pipeline &Pipeline::setColorMask(ColorMask mask) {
    impl().ref().setColorMask(static_cast<Kolm::Pipeline::ColorMask>(mask));
    return *this;
}
Pipeline &Pipeline::setColorMask(uint32_t index, ColorMask mask) {
    impl().ref().setColorMask(index, static_cast<Kolm::Pipeline::ColorMask>(mask));
    return *this;
}
Pipeline::ColorMask Pipeline::getColorMask(uint32_t index) const {
    return static_cast<ColorMask>(impl().ref().getColorMask(index));
}
Pipeline &Pipeline::setColorFormat(uint32_t index, Format format) {
    impl().ref().setColorFormat(index, getCore(format));
    return *this;
}
Pipeline &Pipeline::setColorFormat(Format format, uint32_t num) {
    impl().ref().setColorFormat(getCore(format), num);
    return *this;
}
Format Pipeline::getColorFormat(uint32_t index) const {
    return static_cast<Format>(impl().ref().getColorFormat(index));
}
uint32_t Pipeline::getNumTargets() const { return impl().ref().getNumTargets(); }

Pipeline &Pipeline::setDepthMask(DepthMask mask) {
    impl().ref().setDepthMask(static_cast<Kolm::Pipeline::DepthMask>(mask));
    return *this;
}
Pipeline::DepthMask Pipeline::getDepthMask() const { return static_cast<DepthMask>(impl().ref().getDepthMask()); }
Pipeline &Pipeline::setDepthFunc(DepthFunc func) {
    impl().ref().setDepthFunc(static_cast<Kolm::Pipeline::DepthFunc>(func));
    return *this;
}
Pipeline::DepthFunc Pipeline::getDepthFunc() const { return static_cast<DepthFunc>(impl().ref().getDepthFunc()); }
Pipeline &Pipeline::setDepthFormat(Format format) {
    impl().ref().setDepthFormat(getCore(format));
    return *this;
}
Format Pipeline::getDepthFormat() const { return static_cast<Format>(impl().ref().getDepthFormat()); }
Pipeline &Pipeline::setStencilMask(uint32_t mask) {
    impl().ref().setStencilMask(mask);
    return *this;
}
Pipeline &Pipeline::setStencilBackMask(uint32_t mask) {
    impl().ref().setStencilBackMask(mask);
    return *this;
}
Pipeline &Pipeline::setStencilFrontMask(uint32_t mask) {
    impl().ref().setStencilFrontMask(mask);
    return *this;
}
Pipeline &Pipeline::setStencilFunc(StencilFunc func, StencilOp dpass_op) {
    impl().ref().setStencilFunc(static_cast<Kolm::Pipeline::StencilFunc>(func),
                                static_cast<Kolm::Pipeline::StencilOp>(dpass_op));
    return *this;
}
Pipeline &Pipeline::setStencilFunc(StencilFunc func, StencilOp fail_op, StencilOp dfail_op, StencilOp dpass_op) {
    impl().ref().setStencilFunc(
        static_cast<Kolm::Pipeline::StencilFunc>(func), static_cast<Kolm::Pipeline::StencilOp>(fail_op),
        static_cast<Kolm::Pipeline::StencilOp>(dfail_op), static_cast<Kolm::Pipeline::StencilOp>(dpass_op));
    return *this;
}
Pipeline &Pipeline::setStencilBackFunc(StencilFunc func, StencilOp dpass_op) {
    impl().ref().setStencilBackFunc(static_cast<Kolm::Pipeline::StencilFunc>(func),
                                    static_cast<Kolm::Pipeline::StencilOp>(dpass_op));
    return *this;
}
Pipeline &Pipeline::setStencilBackFunc(StencilFunc func, StencilOp fail_op, StencilOp dfail_op, StencilOp dpass_op) {
    impl().ref().setStencilBackFunc(
        static_cast<Kolm::Pipeline::StencilFunc>(func), static_cast<Kolm::Pipeline::StencilOp>(fail_op),
        static_cast<Kolm::Pipeline::StencilOp>(dfail_op), static_cast<Kolm::Pipeline::StencilOp>(dpass_op));
    return *this;
}
Pipeline &Pipeline::setStencilFrontFunc(StencilFunc func, StencilOp dpass_op) {
    impl().ref().setStencilFrontFunc(static_cast<Kolm::Pipeline::StencilFunc>(func),
                                     static_cast<Kolm::Pipeline::StencilOp>(dpass_op));
    return *this;
}
Pipeline &Pipeline::setStencilFrontFunc(StencilFunc func, StencilOp fail_op, StencilOp dfail_op, StencilOp dpass_op) {
    impl().ref().setStencilFrontFunc(
        static_cast<Kolm::Pipeline::StencilFunc>(func), static_cast<Kolm::Pipeline::StencilOp>(fail_op),
        static_cast<Kolm::Pipeline::StencilOp>(dfail_op), static_cast<Kolm::Pipeline::StencilOp>(dpass_op));
    return *this;
}
bool Pipeline::isStencilIndependent() const { return impl().ref().isStencilIndependent(); }
bool Pipeline::isStencilEnabled() const { return impl().ref().isStencilEnabled(); }

uint32_t Pipeline::addSampler(Shader::Mask mask) {
    return impl().ref().addSampler(static_cast<Kolm::Shader::Mask>(mask));
}
Pipeline &Pipeline::setSamplerOffset(uint32_t offset) {
    impl().ref().setSamplerOffset(offset);
    return *this;
}
Pipeline &Pipeline::setSamplerMask(uint32_t index, Shader::Mask mask, bool array) {
    impl().ref().setSamplerMask(index, static_cast<Kolm::Shader::Mask>(mask), array);
    return *this;
}
Pipeline &Pipeline::setSamplerMasks(uint32_t index, uint32_t num, Shader::Mask mask, bool array) {
    impl().ref().setSamplerMasks(index, num, static_cast<Kolm::Shader::Mask>(mask), array);
    return *this;
}
Pipeline &Pipeline::setSamplerArray(uint32_t index, uint32_t num, bool array) {
    impl().ref().setSamplerArray(index, num, array);
    return *this;
}
uint32_t Pipeline::getNumSamplers() const { return impl().ref().getNumSamplers(); }
uint32_t Pipeline::getSamplerOffset() const { return impl().ref().getSamplerOffset(); }
Shader::Mask Pipeline::getSamplerMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getSamplerMasks(index, num));
}
Shader::Mask Pipeline::getSamplerMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getSamplerMask(index));
}
uint32_t Pipeline::getSamplerArray(uint32_t index) const { return impl().ref().getSamplerArray(index); }

uint32_t Pipeline::addTexture(Shader::Mask mask) {
    return impl().ref().addTexture(static_cast<Kolm::Shader::Mask>(mask));
}
Pipeline &Pipeline::setTextureOffset(uint32_t offset) {
    impl().ref().setTextureOffset(offset);
    return *this;
}
Pipeline &Pipeline::setTextureMask(uint32_t index, Shader::Mask mask, bool array) {
    impl().ref().setTextureMask(index, static_cast<Kolm::Shader::Mask>(mask), array);
    return *this;
}
Pipeline &Pipeline::setTextureMasks(uint32_t index, uint32_t num, Shader::Mask mask, bool array) {
    impl().ref().setTextureMasks(index, num, static_cast<Kolm::Shader::Mask>(mask), array);
    return *this;
}
Pipeline &Pipeline::setTextureArray(uint32_t index, uint32_t num, bool array) {
    impl().ref().setTextureArray(index, num, array);
    return *this;
}
uint32_t Pipeline::getNumTextures() const { return impl().ref().getNumTextures(); }
uint32_t Pipeline::getTextureOffset() const { return impl().ref().getTextureOffset(); }
Shader::Mask Pipeline::getTextureMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getTextureMasks(index, num));
}
Shader::Mask Pipeline::getTextureMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getTextureMask(index));
}
uint32_t Pipeline::getTextureArray(uint32_t index) const { return impl().ref().getTextureArray(index); }

uint32_t Pipeline::addSurface(Shader::Mask mask) {
    return impl().ref().addSurface(static_cast<Kolm::Shader::Mask>(mask));
}
Pipeline &Pipeline::setSurfaceOffset(uint32_t offset) {
    impl().ref().setSurfaceOffset(offset);
    return *this;
}
Pipeline &Pipeline::setSurfaceMask(uint32_t index, Shader::Mask mask, bool array) {
    impl().ref().setSurfaceMask(index, static_cast<Kolm::Shader::Mask>(mask), array);
    return *this;
}
Pipeline &Pipeline::setSurfaceMasks(uint32_t index, uint32_t num, Shader::Mask mask, bool array) {
    impl().ref().setSurfaceMasks(index, num, static_cast<Kolm::Shader::Mask>(mask), array);
    return *this;
}
Pipeline &Pipeline::setSurfaceArray(uint32_t index, uint32_t num, bool array) {
    impl().ref().setSurfaceArray(index, num, array);
    return *this;
}
uint32_t Pipeline::getNumSurfaces() const { return impl().ref().getNumSurfaces(); }
uint32_t Pipeline::getSurfaceOffset() const { return impl().ref().getSurfaceOffset(); }
Shader::Mask Pipeline::getSurfaceMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getSurfaceMasks(index, num));
}
Shader::Mask Pipeline::getSurfaceMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getSurfaceMask(index));
}
uint32_t Pipeline::getSurfaceArray(uint32_t index) const { return impl().ref().getSurfaceArray(index); }

uint32_t Pipeline::addUniform(Shader::Mask mask, BindFlags flags) {
    return impl().ref().addUniform(static_cast<Kolm::Shader::Mask>(mask),
                                   static_cast<Kolm::Pipeline::BindFlags>(flags));
}
Pipeline &Pipeline::setUniformOffset(uint32_t offset) {
    impl().ref().setUniformOffset(offset);
    return *this;
}
Pipeline &Pipeline::setUniformMask(uint32_t index, Shader::Mask mask, BindFlags flags) {
    impl().ref().setUniformMask(index, static_cast<Kolm::Shader::Mask>(mask),
                                static_cast<Kolm::Pipeline::BindFlags>(flags));
    return *this;
}
Pipeline &Pipeline::setUniformMasks(uint32_t index, uint32_t num, Shader::Mask mask, BindFlags flags) {
    impl().ref().setUniformMasks(index, num, static_cast<Kolm::Shader::Mask>(mask),
                                 static_cast<Kolm::Pipeline::BindFlags>(flags));
    return *this;
}
Pipeline &Pipeline::setUniformFlags(uint32_t index, BindFlags flags) {
    impl().ref().setUniformFlags(index, static_cast<Kolm::Pipeline::BindFlags>(flags));
    return *this;
}
uint32_t Pipeline::getNumUniforms() const { return impl().ref().getNumUniforms(); }
uint32_t Pipeline::getUniformOffset() const { return impl().ref().getUniformOffset(); }
Shader::Mask Pipeline::getUniformMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getUniformMasks(index, num));
}
Shader::Mask Pipeline::getUniformMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getUniformMask(index));
}
Pipeline::BindFlags Pipeline::getUniformFlags(uint32_t index) const {
    return static_cast<BindFlags>(impl().ref().getUniformFlags(index));
}

uint32_t Pipeline::addStorage(Shader::Mask mask, BindFlags flags) {
    return impl().ref().addStorage(static_cast<Kolm::Shader::Mask>(mask),
                                   static_cast<Kolm::Pipeline::BindFlags>(flags));
}
Pipeline &Pipeline::setStorageOffset(uint32_t offset) {
    impl().ref().setStorageOffset(offset);
    return *this;
}
Pipeline &Pipeline::setStorageMask(uint32_t index, Shader::Mask mask, BindFlags flags) {
    impl().ref().setStorageMask(index, static_cast<Kolm::Shader::Mask>(mask),
                                static_cast<Kolm::Pipeline::BindFlags>(flags));
    return *this;
}
Pipeline &Pipeline::setStorageMasks(uint32_t index, uint32_t num, Shader::Mask mask, BindFlags flags) {
    impl().ref().setStorageMasks(index, num, static_cast<Kolm::Shader::Mask>(mask),
                                 static_cast<Kolm::Pipeline::BindFlags>(flags));
    return *this;
}
Pipeline &Pipeline::setStorageFlags(uint32_t index, BindFlags flags) {
    impl().ref().setStorageFlags(index, static_cast<Kolm::Pipeline::BindFlags>(flags));
    return *this;
}
uint32_t Pipeline::getNumStorages() const { return impl().ref().getNumStorages(); }
uint32_t Pipeline::getStorageOffset() const { return impl().ref().getStorageOffset(); }
Shader::Mask Pipeline::getStorageMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getStorageMasks(index, num));
}
Shader::Mask Pipeline::getStorageMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getStorageMask(index));
}
Pipeline::BindFlags Pipeline::getStorageFlags(uint32_t index) const {
    return static_cast<BindFlags>(impl().ref().getStorageFlags(index));
}

uint32_t Pipeline::addTracing(Shader::Mask mask) {
    return impl().ref().addTracing(static_cast<Kolm::Shader::Mask>(mask));
}
Pipeline &Pipeline::setTracingOffset(uint32_t offset) {
    impl().ref().setTracingOffset(offset);
    return *this;
}
Pipeline &Pipeline::setTracingMask(uint32_t index, Shader::Mask mask) {
    impl().ref().setTracingMask(index, static_cast<Kolm::Shader::Mask>(mask));
    return *this;
}
Pipeline &Pipeline::setTracingMasks(uint32_t index, uint32_t num, Shader::Mask mask) {
    impl().ref().setTracingMasks(index, num, static_cast<Kolm::Shader::Mask>(mask));
    return *this;
}
uint32_t Pipeline::getNumTracings() const { return impl().ref().getNumTracings(); }
uint32_t Pipeline::getTracingOffset() const { return impl().ref().getTracingOffset(); }
Shader::Mask Pipeline::getTracingMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getTracingMasks(index, num));
}
Shader::Mask Pipeline::getTracingMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getTracingMask(index));
}

uint32_t Pipeline::addTexel(Shader::Mask mask) { return impl().ref().addTexel(static_cast<Kolm::Shader::Mask>(mask)); }
Pipeline &Pipeline::setTexelOffset(uint32_t offset) {
    impl().ref().setTexelOffset(offset);
    return *this;
}
Pipeline &Pipeline::setTexelMask(uint32_t index, Shader::Mask mask) {
    impl().ref().setTexelMask(index, static_cast<Kolm::Shader::Mask>(mask));
    return *this;
}
Pipeline &Pipeline::setTexelMasks(uint32_t index, uint32_t num, Shader::Mask mask) {
    impl().ref().setTexelMasks(index, num, static_cast<Kolm::Shader::Mask>(mask));
    return *this;
}
uint32_t Pipeline::getNumTexels() const { return impl().ref().getNumTexels(); }
uint32_t Pipeline::getTexelOffset() const { return impl().ref().getTexelOffset(); }
Shader::Mask Pipeline::getTexelMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getTexelMasks(index, num));
}
Shader::Mask Pipeline::getTexelMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getTexelMask(index));
}
uint32_t Pipeline::addTable(TableType type, uint32_t size, Shader::Mask mask, BindFlags flags) {
    return impl().ref().addTable(static_cast<Kolm::Pipeline::TableType>(type), size,
                                 static_cast<Kolm::Shader::Mask>(mask), static_cast<Kolm::Pipeline::BindFlags>(flags));
}
Pipeline &Pipeline::setTableOffset(uint32_t offset) {
    impl().ref().setTableOffset(offset);
    return *this;
}
Pipeline &Pipeline::setTableType(uint32_t index, TableType type, uint32_t size, Shader::Mask mask, BindFlags flags,
                                 bool enable) {
    impl().ref().setTableType(index, static_cast<Kolm::Pipeline::TableType>(type), size,
                              static_cast<Kolm::Shader::Mask>(mask), static_cast<Kolm::Pipeline::BindFlags>(flags),
                              enable);
    return *this;
}
Pipeline &Pipeline::setTableMask(uint32_t index, Shader::Mask mask) {
    impl().ref().setTableMask(index, static_cast<Kolm::Shader::Mask>(mask));
    return *this;
}
Pipeline &Pipeline::setTableFlags(uint32_t index, BindFlags flags) {
    impl().ref().setTableFlags(index, static_cast<Kolm::Pipeline::BindFlags>(flags));
    return *this;
}
uint32_t Pipeline::getNumTables() const { return impl().ref().getNumTables(); }
uint32_t Pipeline::getTableOffset() const { return impl().ref().getTableOffset(); }
Pipeline::TableType Pipeline::getTableType(uint32_t index) const {
    return static_cast<TableType>(impl().ref().getTableType(index));
}
uint32_t Pipeline::getTableSize(uint32_t index) const { return impl().ref().getTableSize(index); }
Pipeline::BindFlags Pipeline::getTableFlags(uint32_t index) const {
    return static_cast<BindFlags>(impl().ref().getTableFlags(index));
}
Shader::Mask Pipeline::getTableMasks(uint32_t index, uint32_t num) const {
    return static_cast<Shader::Mask>(impl().ref().getTableMasks(index, num));
}
Shader::Mask Pipeline::getTableMask(uint32_t index) const {
    return static_cast<Shader::Mask>(impl().ref().getTableMask(index));
}

} // namespace Ostrevan
