// KolmPipeline.cpp: shaders, vertex attributes, raster state and the bytes that identify it.

#include "KolmPipeline.h"

namespace Kolm {

Pipeline::Pipeline(uint32_t index, const Pipeline *pipeline) : StageParameters(index) {
    if(pipeline) setParameters(pipeline);
}

Pipeline::~Pipeline() { remove_shaders(); }

void Pipeline::clear() {
    remove_shaders();
    set_defaults();
    Parameters::clear();
}

namespace {

// An object that only lends its default state.
struct DefaultPipeline : Pipeline {
    DefaultPipeline() : Pipeline(0) {}
    Platform getPlatform() const override { return PlatformUnknown; }
    bool isCreated() const override { return false; }
    bool create() override { return false; }
};

template<class Type> void copy_field(Type &dest, const Type &src) { dest = src; }
template<class Type, uint32_t Size> void copy_field(Type (&dest)[Size], const Type (&src)[Size]) {
    for(uint32_t i = 0; i < Size; i++) dest[i] = src[i];
}

} // namespace

void Pipeline::copy_state(const Pipeline &pipeline) {
#define STATE(NAME) copy_field(NAME, pipeline.NAME);
#include "KolmPipelineState.inc"
}

void Pipeline::set_defaults() {
    static const DefaultPipeline defaults;
    copy_state(defaults);
}

Pipeline &Pipeline::setParameters(const Pipeline *pipeline) {
    KOLM_ASSERT(pipeline && "Pipeline::setParameters(): pipeline is null");
    if(pipeline == this) return *this;
    remove_shaders();
    for(uint32_t i = 0; i < NumShaderTypes; i++) shaders[i] = pipeline->shaders[i];
    copy_parameters(*pipeline);
    copy_state(*pipeline);
    return *this;
}

bool Pipeline::saveState(Stream &stream) const {
    bool status = save_parameters(stream, true);
    const auto write = [&](uint32_t value) { status &= stream.writeu8(uint8_t(value)); };
    write(num_attributes);
    for(uint32_t i = 0; i < num_attributes; i++) {
        const AttributeParameters &attribute = attributes[i];
        write(attribute.type);
        write(attribute.format);
        write(attribute.vertex);
        write(attribute.offset);
        write(attribute.stride);
        write(attribute.rate);
    }
    write(primitive);
    write(fill_mode);
    write(cull_mode);
    write(front_mode);
    status &= stream.writef32(depth_bias);
    status &= stream.writef32(depth_slope);
    status &= stream.writef32(depth_clamp);
    write(multisample);
    write(sample_mask);
    write(depth_clip);
    write(depth_replace);
    write(scissor_test);
    write(raster_discard);
    write(sample_shading);
    write(alpha_to_coverage);
    write(multisample_raster);
    write(conservative_raster);
    write(num_targets);
    for(uint32_t i = 0; i < num_targets; i++) {
        const Target &target = targets[i];
        write(target.mask);
        write(target.format);
        write(target.color_op);
        write(target.alpha_op);
        write(target.src_color_func);
        write(target.src_alpha_func);
        write(target.dest_color_func);
        write(target.dest_alpha_func);
    }
    write(num_viewports);
    write(num_clip_distances);
    write(depth_mask);
    write(depth_format);
    write(depth_func);
    for(const Stencil *stencil : {&stencil_back, &stencil_front}) {
        write(stencil->mask);
        write(stencil->func);
        write(stencil->fail_op);
        write(stencil->dfail_op);
        write(stencil->dpass_op);
    }
    return status;
}

// shaders

namespace {

uint32_t get_shader_type(Shader::Type type) {
    switch(type) {
    case Shader::TypeVertex: return Pipeline::ShaderTypeVertex;
    case Shader::TypeControl: return Pipeline::ShaderTypeControl;
    case Shader::TypeEvaluate: return Pipeline::ShaderTypeEvaluate;
    case Shader::TypeGeometry: return Pipeline::ShaderTypeGeometry;
    case Shader::TypeFragment: return Pipeline::ShaderTypeFragment;
    case Shader::TypeTask: return Pipeline::ShaderTypeTask;
    case Shader::TypeMesh: return Pipeline::ShaderTypeMesh;
    default: return Pipeline::NumShaderTypes;
    }
}

} // namespace

bool Pipeline::is_shader_type(Shader::Type type) const { return (get_shader_type(type) < NumShaderTypes); }

void Pipeline::remove_shaders() {
    for(uint32_t i = 0; i < NumShaderTypes; i++) {
        if(shader_owners >> i & 1) delete shaders[i];
        shaders[i] = nullptr;
    }
    shader_owners = 0;
}

void Pipeline::addShader(Shader *shader, bool owner) {
    KOLM_ASSERT(shader && "Pipeline::addShader(): shader is null");
    const uint32_t type = get_shader_type(shader->getType());
    KOLM_ASSERT(type < NumShaderTypes && "Pipeline::addShader(): unknown shader type");
    if((shader_owners >> type & 1) && shaders[type] != shader) delete shaders[type];
    shaders[type] = shader;
    shader_owners = (owner) ? (shader_owners | 1u << type) : (shader_owners & ~(1u << type));
}

Shader *Pipeline::getShader(ShaderType type) const {
    KOLM_ASSERT(uint32_t(type) < NumShaderTypes && "Pipeline::getShader(): invalid shader type");
    return shaders[type];
}

void Pipeline::getShaders(Array<Shader *> &dest) const {
    dest.clear();
    for(Shader *shader : shaders) {
        if(shader) dest.append(shader);
    }
}

uint32_t Pipeline::getNumShaders() const {
    uint32_t num = 0;
    for(const Shader *shader : shaders) num += (shader != nullptr);
    return num;
}

// attributes

uint32_t Pipeline::addAttribute(Attribute type, Format format, uint32_t vertex, size_t offset, size_t stride,
                                uint32_t rate) {
    const uint32_t index = num_attributes;
    setAttribute(index, type, format, vertex, offset, stride, rate);
    return index;
}

Pipeline &Pipeline::setAttribute(uint32_t index, Attribute type, Format format, uint32_t vertex, size_t offset,
                                 size_t stride, uint32_t rate) {
    check(index < NumAttributes, "setAttribute", "invalid attribute index");
    check(uint32_t(type) < NumAttributeTypes, "setAttribute", "invalid attribute type");
    check(uint32_t(format) < NumFormats, "setAttribute", "invalid attribute format");
    check(vertex < NumVertices, "setAttribute", "invalid attribute vertex");
    check(offset < 256, "setAttribute", "invalid attribute offset");
    check(stride < 256, "setAttribute", "invalid attribute stride");
    check(rate < 256, "setAttribute", "invalid attribute rate");
    attributes[index] = {type, format, uint8_t(vertex), uint8_t(offset), uint8_t(stride), uint8_t(rate)};
    count_attributes();
    return *this;
}

void Pipeline::count_attributes() {
    num_vertices = 0;
    memset(vertex_strides, 0, sizeof(vertex_strides));
    memset(vertex_rates, 0, sizeof(vertex_rates));
    for(num_attributes = 0; num_attributes < NumAttributes; num_attributes++) {
        const AttributeParameters &attribute = attributes[num_attributes];
        if(attribute.format == FormatUnknown) break;
        const uint8_t vertex = attribute.vertex;
        check(vertex_strides[vertex] == 0 || vertex_strides[vertex] == attribute.stride, "setAttribute",
              "invalid attribute stride");
        check(vertex_rates[vertex] == 0 || vertex_rates[vertex] == attribute.rate, "setAttribute",
              "invalid attribute rate");
        vertex_strides[vertex] = attribute.stride;
        vertex_rates[vertex] = attribute.rate;
        num_vertices = max(num_vertices, uint8_t(vertex + 1));
    }
}

Pipeline::AttributeParameters &Pipeline::set_attribute(const char *method, uint32_t index) {
    check(index < NumAttributes, method, "invalid attribute index");
    return attributes[index];
}

const Pipeline::AttributeParameters &Pipeline::getAttribute(uint32_t index) const {
    check(index < NumAttributes, "getAttribute", "invalid attribute index");
    return attributes[index];
}

Pipeline &Pipeline::setAttributeType(uint32_t index, Attribute type) {
    const AttributeParameters a = set_attribute("setAttributeType", index);
    return setAttribute(index, type, a.format, a.vertex, a.offset, a.stride, a.rate);
}

Pipeline &Pipeline::setAttributeFormat(uint32_t index, Format format) {
    const AttributeParameters a = set_attribute("setAttributeFormat", index);
    return setAttribute(index, a.type, format, a.vertex, a.offset, a.stride, a.rate);
}

Pipeline &Pipeline::setAttributeVertex(uint32_t index, uint32_t vertex) {
    const AttributeParameters a = set_attribute("setAttributeVertex", index);
    return setAttribute(index, a.type, a.format, vertex, a.offset, a.stride, a.rate);
}

Pipeline &Pipeline::setAttributeOffset(uint32_t index, size_t offset) {
    const AttributeParameters a = set_attribute("setAttributeOffset", index);
    return setAttribute(index, a.type, a.format, a.vertex, offset, a.stride, a.rate);
}

Pipeline &Pipeline::setAttributeStride(uint32_t index, size_t stride) {
    const AttributeParameters a = set_attribute("setAttributeStride", index);
    return setAttribute(index, a.type, a.format, a.vertex, a.offset, stride, a.rate);
}

Pipeline &Pipeline::setAttributeRate(uint32_t index, uint32_t rate) {
    const AttributeParameters a = set_attribute("setAttributeRate", index);
    return setAttribute(index, a.type, a.format, a.vertex, a.offset, a.stride, rate);
}

uint32_t Pipeline::getVertexStride(uint32_t vertex) const {
    check(vertex < NumVertices, "getVertexStride", "invalid vertex index");
    return vertex_strides[vertex];
}

uint32_t Pipeline::getVertexRate(uint32_t vertex) const {
    check(vertex < NumVertices, "getVertexRate", "invalid vertex index");
    return vertex_rates[vertex];
}

// raster state

#define PIPELINE_ENUM(NAME, TYPE, FIELD, LIMIT, TEXT)                 \
    Pipeline &Pipeline::set##NAME(TYPE value) {                       \
        check(uint32_t(value) < LIMIT, "set" #NAME, "invalid " TEXT); \
        FIELD = value;                                                \
        return *this;                                                 \
    }
PIPELINE_ENUM(Primitive, Primitive, primitive, NumPrimitiveTypes, "primitive")
PIPELINE_ENUM(FillMode, FillMode, fill_mode, NumFillModes, "fill mode")
PIPELINE_ENUM(CullMode, CullMode, cull_mode, NumCullModes, "cull mode")
PIPELINE_ENUM(FrontMode, FrontMode, front_mode, NumFrontModes, "front mode")
PIPELINE_ENUM(DepthMask, DepthMask, depth_mask, NumDepthMasks, "depth mask")
PIPELINE_ENUM(DepthFunc, DepthFunc, depth_func, NumDepthFunctions, "depth function")
#undef PIPELINE_ENUM

uint32_t Pipeline::getPatchSize() const {
    switch(primitive) {
    case PrimitivePointPatch: return 1;
    case PrimitiveLinePatch: return 2;
    case PrimitiveTrianglePatch: return 3;
    case PrimitiveQuadrilateralPatch: return 4;
    default: return 0;
    }
}

Pipeline &Pipeline::setDepthBias(float32_t bias, float32_t slope, float32_t clamp) {
    depth_bias = bias;
    depth_slope = slope;
    depth_clamp = clamp;
    return *this;
}

Pipeline &Pipeline::setMultisample(uint32_t num) {
    check(num <= 16, "setMultisample", "unsupported multisample");
    multisample = uint8_t(max(num, 1u));
    return *this;
}

Pipeline &Pipeline::setSampleMask(uint32_t mask) {
    check(mask <= 255, "setSampleMask", "unsupported sample mask");
    sample_mask = uint8_t(mask);
    return *this;
}

Pipeline &Pipeline::setNumViewports(uint32_t num) {
    check(num && num <= NumViewports, "setNumViewports", "unsupported number of viewports");
    num_viewports = uint8_t(num);
    return *this;
}

Pipeline &Pipeline::setNumClipDistances(uint32_t num) {
    check(num <= 255, "setNumClipDistances", "unsupported number of clip distances");
    num_clip_distances = uint8_t(num);
    return *this;
}

// targets

const Pipeline::Target &Pipeline::get_target(const char *method, uint32_t index) const {
    check(index < NumTargets, method, "invalid target index");
    return targets[index];
}

Pipeline::Target &Pipeline::set_target(const char *method, uint32_t index) {
    check(index < NumTargets, method, "invalid target index");
    return targets[index];
}

Pipeline &Pipeline::setBlend(uint32_t index, BlendOp op, BlendFunc src, BlendFunc dest) {
    return setBlendColor(index, op, src, dest).setBlendAlpha(index, op, src, dest);
}

Pipeline &Pipeline::setBlendColor(uint32_t index, BlendOp op, BlendFunc src, BlendFunc dest) {
    check(uint32_t(op) < NumBlendOperations, "setBlendColor", "invalid blend operation");
    check(uint32_t(src) < NumBlendFunctions && uint32_t(dest) < NumBlendFunctions, "setBlendColor",
          "invalid blend function");
    Target &target = set_target("setBlendColor", index);
    target.color_op = op;
    target.src_color_func = src;
    target.dest_color_func = dest;
    return *this;
}

Pipeline &Pipeline::setBlendAlpha(uint32_t index, BlendOp op, BlendFunc src, BlendFunc dest) {
    check(uint32_t(op) < NumBlendOperations, "setBlendAlpha", "invalid blend operation");
    check(uint32_t(src) < NumBlendFunctions && uint32_t(dest) < NumBlendFunctions, "setBlendAlpha",
          "invalid blend function");
    Target &target = set_target("setBlendAlpha", index);
    target.alpha_op = op;
    target.src_alpha_func = src;
    target.dest_alpha_func = dest;
    return *this;
}

Pipeline &Pipeline::setBlend(BlendOp op, BlendFunc src, BlendFunc dest) {
    return setBlendColor(op, src, dest).setBlendAlpha(op, src, dest);
}

Pipeline &Pipeline::setBlendColor(BlendOp op, BlendFunc src, BlendFunc dest) {
    for(uint32_t i = 0; i < NumTargets; i++) setBlendColor(i, op, src, dest);
    return *this;
}

Pipeline &Pipeline::setBlendAlpha(BlendOp op, BlendFunc src, BlendFunc dest) {
    for(uint32_t i = 0; i < NumTargets; i++) setBlendAlpha(i, op, src, dest);
    return *this;
}

bool Pipeline::isBlendEnabled(uint32_t index) const {
    const Target &target = get_target("isBlendEnabled", index);
    return (target.src_color_func || target.src_alpha_func || target.dest_color_func || target.dest_alpha_func);
}

bool Pipeline::isBlendIndependent() const {
    const Target &a = targets[0];
    for(uint32_t i = 1; i < num_targets; i++) {
        const Target &b = targets[i];
        if(a.color_op != b.color_op || a.alpha_op != b.alpha_op || a.src_color_func != b.src_color_func ||
           a.src_alpha_func != b.src_alpha_func || a.dest_color_func != b.dest_color_func ||
           a.dest_alpha_func != b.dest_alpha_func)
            return true;
    }
    return false;
}

template<class Test> bool Pipeline::has_blend_func(Test test) const {
    for(uint32_t i = 0; i < num_targets; i++) {
        const Target &target = targets[i];
        if(test(target.src_color_func) || test(target.src_alpha_func) || test(target.dest_color_func) ||
           test(target.dest_alpha_func))
            return true;
    }
    return false;
}

bool Pipeline::hasBlendDualSource() const {
    return has_blend_func([](BlendFunc func) {
        return (func == BlendFuncSrc1Color || func == BlendFuncSrc1Alpha || func == BlendFuncInvSrc1Color ||
                func == BlendFuncInvSrc1Alpha);
    });
}

bool Pipeline::hasBlendFactor() const {
    return has_blend_func([](BlendFunc func) {
        return (func == BlendFuncFactorColor || func == BlendFuncFactorAlpha || func == BlendFuncInvFactorColor ||
                func == BlendFuncInvFactorAlpha);
    });
}

Pipeline &Pipeline::setColorMask(uint32_t index, ColorMask mask) {
    set_target("setColorMask", index).mask = mask;
    return *this;
}

Pipeline &Pipeline::setColorMask(ColorMask mask) {
    for(Target &target : targets) target.mask = mask;
    return *this;
}

namespace {

bool is_target_format(Format format) {
    return (format == FormatUnknown || (format < NumFormats && isColorFormat(format) && !isBlockFormat(format)));
}

} // namespace

Pipeline &Pipeline::setColorFormat(uint32_t index, Format format) {
    check(is_target_format(format), "setColorFormat", "invalid color format");
    set_target("setColorFormat", index).format = format;
    for(num_targets = 0; num_targets < NumTargets && targets[num_targets].format; num_targets++) {}
    return *this;
}

Pipeline &Pipeline::setColorFormat(Format format, uint32_t num) {
    check(is_target_format(format), "setColorFormat", "invalid color format");
    check(num <= NumTargets, "setColorFormat", "invalid number of targets");
    for(uint32_t i = 0; i < num; i++) targets[i].format = format;
    num_targets = uint8_t(num);
    return *this;
}

Pipeline &Pipeline::setDepthFormat(Format format) {
    check(format == FormatUnknown || (format < NumFormats && isDepthFormat(format)), "setDepthFormat",
          "invalid depth format");
    depth_format = format;
    return *this;
}

// stencil

Pipeline &Pipeline::setStencilBackMask(uint32_t mask) {
    check(mask <= 255, "setStencilBackMask", "unsupported stencil mask");
    stencil_back.mask = uint8_t(mask);
    return *this;
}

Pipeline &Pipeline::setStencilFrontMask(uint32_t mask) {
    check(mask <= 255, "setStencilFrontMask", "unsupported stencil mask");
    stencil_front.mask = uint8_t(mask);
    return *this;
}

Pipeline &Pipeline::setStencilBackFunc(StencilFunc func, StencilOp fail_op, StencilOp dfail_op, StencilOp dpass_op) {
    check(uint32_t(func) < NumStencilFunctions, "setStencilBackFunc", "invalid stencil function");
    stencil_back = {stencil_back.mask, func, fail_op, dfail_op, dpass_op};
    return *this;
}

Pipeline &Pipeline::setStencilFrontFunc(StencilFunc func, StencilOp fail_op, StencilOp dfail_op, StencilOp dpass_op) {
    check(uint32_t(func) < NumStencilFunctions, "setStencilFrontFunc", "invalid stencil function");
    stencil_front = {stencil_front.mask, func, fail_op, dfail_op, dpass_op};
    return *this;
}

Pipeline &Pipeline::setStencilFunc(StencilFunc func, StencilOp fail_op, StencilOp dfail_op, StencilOp dpass_op) {
    return setStencilBackFunc(func, fail_op, dfail_op, dpass_op).setStencilFrontFunc(func, fail_op, dfail_op, dpass_op);
}

Pipeline &Pipeline::setStencilFunc(StencilFunc func, StencilOp dpass_op) {
    return setStencilFunc(func, StencilOpKeep, StencilOpKeep, dpass_op);
}

Pipeline &Pipeline::setStencilBackFunc(StencilFunc func, StencilOp dpass_op) {
    return setStencilBackFunc(func, StencilOpKeep, StencilOpKeep, dpass_op);
}

Pipeline &Pipeline::setStencilFrontFunc(StencilFunc func, StencilOp dpass_op) {
    return setStencilFrontFunc(func, StencilOpKeep, StencilOpKeep, dpass_op);
}

bool Pipeline::isStencilIndependent() const {
    return (stencil_back.mask != stencil_front.mask || stencil_back.func != stencil_front.func ||
            stencil_back.fail_op != stencil_front.fail_op || stencil_back.dfail_op != stencil_front.dfail_op ||
            stencil_back.dpass_op != stencil_front.dpass_op);
}

} // namespace Kolm
