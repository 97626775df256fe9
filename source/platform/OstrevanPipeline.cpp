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

#define STAGE_CLASS Pipeline
#include "OstrevanStageParameters.inc"

} // namespace Ostrevan
