// KolmKernel.cpp: the slots of a kernel, its shader and the bytes that identify its state.

#include "KolmKernel.h"

#include <stdarg.h>

#include "KolmLog.h"

namespace Kolm {

Kernel::Kernel(uint32_t index, const Kernel *kernel) : Parameters(index) {
    if(kernel) setParameters(kernel);
}

Kernel::~Kernel() {
    if(shader_owner) delete compute_shader;
}

void Kernel::clear() {
    setShader(nullptr);
    memset(group_size, 0, sizeof(group_size));
    Parameters::clear();
}

Kernel &Kernel::setParameters(const Kernel *kernel) {
    KOLM_ASSERT(kernel && "Kernel::setParameters(): kernel is null");
    if(kernel == this) return *this;
    setShader(kernel->compute_shader, false);
    copy_parameters(*kernel);
    memcpy(group_size, kernel->group_size, sizeof(group_size));
    return *this;
}

bool Kernel::saveState(Stream &stream) const {
    const bool status = save_parameters(stream, false);
    return ParametersState::write(stream, group_size) && status;
}

// shader

void Kernel::setShader(Shader *shader, bool owner) {
    if(shader_owner && compute_shader != shader) delete compute_shader;
    compute_shader = shader;
    shader_owner = (shader && owner);
}

void Kernel::getShaders(Array<Shader *> &shaders) const {
    shaders.clear();
    if(compute_shader) shaders.append(compute_shader);
}

Shader *Kernel::create_shader(Kernel *kernel) {
    (void)kernel;
    return nullptr;
}

Shader *Kernel::get_shader(const char *method) {
    Shader *shader = create_shader(this);
    if(shader == nullptr) Log::printf(Log::Error, "Kernel::%s(): can't create shader\n", method);
    return shader;
}

bool Kernel::attach_shader(Shader *shader, bool loaded) {
    if(loaded) {
        setShader(shader, true);
    } else {
        delete shader;
    }
    return loaded;
}

bool Kernel::loadShader(const char *name, const char *format, ...) {
    String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return loadShader(name, macros);
}

bool Kernel::loadShader(const char *name, const String &macros, const char **includes, uint32_t size) {
    Shader *shader = get_shader("loadShader");
    return (shader && attach_shader(shader, shader->load(Shader::TypeCompute, name, macros, includes, size)));
}

bool Kernel::loadShaderGLSL(const char *name, const char *format, ...) {
    String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return loadShaderGLSL(name, macros);
}

bool Kernel::loadShaderGLSL(const char *name, const String &macros, const char **includes, uint32_t size) {
    Shader *shader = get_shader("loadShaderGLSL");
    return (shader && attach_shader(shader, shader->loadGLSL(Shader::TypeCompute, name, macros, includes, size)));
}

bool Kernel::createShader(const char *src, const char *format, ...) {
    String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return createShader(src, macros);
}

bool Kernel::createShader(const char *src, const String &macros, const char **includes, uint32_t size) {
    Shader *shader = get_shader("createShader");
    return (shader && attach_shader(shader, shader->create(Shader::TypeCompute, src, macros, includes, size)));
}

bool Kernel::createShaderGLSL(const char *src, const char *format, ...) {
    String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return createShaderGLSL(src, macros);
}

bool Kernel::createShaderGLSL(const char *src, const String &macros, const char **includes, uint32_t size) {
    Shader *shader = get_shader("createShaderGLSL");
    return (shader && attach_shader(shader, shader->createGLSL(Shader::TypeCompute, src, macros, includes, size)));
}

bool Kernel::loadShaderSPIRV(const char *name) {
    Shader *shader = get_shader("loadShaderSPIRV");
    return (shader && attach_shader(shader, shader->loadSPIRV(Shader::TypeCompute, name)));
}

bool Kernel::createShaderSPIRV(const Array<uint32_t> &data) {
    Shader *shader = get_shader("createShaderSPIRV");
    return (shader && attach_shader(shader, shader->createSPIRV(Shader::TypeCompute, data)));
}

// samplers

uint32_t Kernel::addSampler() {
    KOLM_ASSERT(num_samplers < NumSamplers && "Kernel::addSampler(): invalid number of samplers");
    return num_samplers++;
}

Kernel &Kernel::setSamplers(uint32_t num) {
    KOLM_ASSERT(num <= NumSamplers && "Kernel::setSamplers(): invalid number of samplers");
    num_samplers = uint8_t(num);
    return *this;
}

Kernel &Kernel::setSamplerOffset(uint32_t offset) {
    KOLM_ASSERT(offset < 256 && "Kernel::setSamplerOffset(): invalid sampler offset");
    sampler_offset = uint8_t(offset);
    return *this;
}

Kernel &Kernel::setSamplerArray(uint32_t index, uint32_t num, bool array) {
    set_array("setSamplerArray", "invalid samplers range", sampler_arrays, NumSamplers, index, num, array);
    return *this;
}

// textures

uint32_t Kernel::addTexture() {
    KOLM_ASSERT(num_textures < NumTextures && "Kernel::addTexture(): invalid number of textures");
    return num_textures++;
}

Kernel &Kernel::setTextures(uint32_t num) {
    KOLM_ASSERT(num <= NumTextures && "Kernel::setTextures(): invalid number of textures");
    num_textures = uint8_t(num);
    return *this;
}

Kernel &Kernel::setTextureOffset(uint32_t offset) {
    KOLM_ASSERT(offset < 256 && "Kernel::setTextureOffset(): invalid texture offset");
    texture_offset = uint8_t(offset);
    return *this;
}

Kernel &Kernel::setTextureArray(uint32_t index, uint32_t num, bool array) {
    set_array("setTextureArray", "invalid textures range", texture_arrays, NumTextures, index, num, array);
    return *this;
}

// surfaces

uint32_t Kernel::addSurface() {
    KOLM_ASSERT(num_surfaces < NumSurfaces && "Kernel::addSurface(): invalid number of surfaces");
    return num_surfaces++;
}

Kernel &Kernel::setSurfaces(uint32_t num) {
    KOLM_ASSERT(num <= NumSurfaces && "Kernel::setSurfaces(): invalid number of surfaces");
    num_surfaces = uint8_t(num);
    return *this;
}

Kernel &Kernel::setSurfaceOffset(uint32_t offset) {
    KOLM_ASSERT(offset < 256 && "Kernel::setSurfaceOffset(): invalid surface offset");
    surface_offset = uint8_t(offset);
    return *this;
}

Kernel &Kernel::setSurfaceArray(uint32_t index, uint32_t num, bool array) {
    set_array("setSurfaceArray", "invalid surfaces range", surface_arrays, NumSurfaces, index, num, array);
    return *this;
}

// uniforms

uint32_t Kernel::addUniform(BindFlags flags) {
    KOLM_ASSERT(num_uniforms < NumUniforms && "Kernel::addUniform(): invalid number of uniforms");
    uniform_flags[num_uniforms] = flags;
    return num_uniforms++;
}

Kernel &Kernel::setUniforms(uint32_t num, BindFlags flags) {
    KOLM_ASSERT(num <= NumUniforms && "Kernel::setUniforms(): invalid number of uniforms");
    for(uint32_t i = 0; i < num; i++) uniform_flags[i] = flags;
    num_uniforms = uint8_t(num);
    return *this;
}

Kernel &Kernel::setUniformOffset(uint32_t offset) {
    KOLM_ASSERT(offset < 256 && "Kernel::setUniformOffset(): invalid uniform offset");
    uniform_offset = uint8_t(offset);
    return *this;
}

Kernel &Kernel::setUniformFlags(uint32_t index, BindFlags flags) {
    KOLM_ASSERT(index < num_uniforms && "Kernel::setUniformFlags(): invalid uniform index");
    uniform_flags[index] = flags;
    return *this;
}

// storages

uint32_t Kernel::addStorage(BindFlags flags) {
    KOLM_ASSERT(num_storages < NumStorages && "Kernel::addStorage(): invalid number of storages");
    storage_flags[num_storages] = flags;
    return num_storages++;
}

Kernel &Kernel::setStorages(uint32_t num, BindFlags flags) {
    KOLM_ASSERT(num <= NumStorages && "Kernel::setStorages(): invalid number of storages");
    for(uint32_t i = 0; i < num; i++) storage_flags[i] = flags;
    num_storages = uint8_t(num);
    return *this;
}

Kernel &Kernel::setStorageOffset(uint32_t offset) {
    KOLM_ASSERT(offset < 256 && "Kernel::setStorageOffset(): invalid storage offset");
    storage_offset = uint8_t(offset);
    return *this;
}

Kernel &Kernel::setStorageFlags(uint32_t index, BindFlags flags) {
    KOLM_ASSERT(index < num_storages && "Kernel::setStorageFlags(): invalid storage index");
    storage_flags[index] = flags;
    return *this;
}

// tracings

uint32_t Kernel::addTracing() {
    KOLM_ASSERT(num_tracings < NumTracings && "Kernel::addTracing(): invalid number of tracings");
    return num_tracings++;
}

Kernel &Kernel::setTracings(uint32_t num) {
    KOLM_ASSERT(num <= NumTracings && "Kernel::setTracings(): invalid number of tracings");
    num_tracings = uint8_t(num);
    return *this;
}

Kernel &Kernel::setTracingOffset(uint32_t offset) {
    KOLM_ASSERT(offset < 256 && "Kernel::setTracingOffset(): invalid tracing offset");
    tracing_offset = uint8_t(offset);
    return *this;
}

// texels

uint32_t Kernel::addTexel() {
    KOLM_ASSERT(num_texels < NumTexels && "Kernel::addTexel(): invalid number of texels");
    return num_texels++;
}

Kernel &Kernel::setTexels(uint32_t num) {
    KOLM_ASSERT(num <= NumTexels && "Kernel::setTexels(): invalid number of texels");
    num_texels = uint8_t(num);
    return *this;
}

Kernel &Kernel::setTexelOffset(uint32_t offset) {
    KOLM_ASSERT(offset < 256 && "Kernel::setTexelOffset(): invalid texel offset");
    texel_offset = uint8_t(offset);
    return *this;
}

// tables

uint32_t Kernel::addTable(TableType type, uint32_t size, BindFlags flags) {
    const uint32_t index = num_tables;
    KOLM_ASSERT(size && "Kernel::addTable(): invalid table size");
    setTableType(index, type, size, flags);
    return index;
}

Kernel &Kernel::setTableOffset(uint32_t offset) {
    KOLM_ASSERT(offset < 256 && "Kernel::setTableOffset(): invalid table offset");
    table_offset = uint8_t(offset);
    return *this;
}

Kernel &Kernel::setTableType(uint32_t index, TableType type, uint32_t size, BindFlags flags, bool enable) {
    set_table("setTableType", index, type, size, flags, enable);
    for(num_tables = 0; num_tables < NumTables && table_sizes[num_tables]; num_tables++) {}
    return *this;
}

Kernel &Kernel::setTableFlags(uint32_t index, BindFlags flags) {
    KOLM_ASSERT(index < num_tables && "Kernel::setTableFlags(): invalid table index");
    table_flags[index] = flags;
    return *this;
}

} // namespace Kolm
