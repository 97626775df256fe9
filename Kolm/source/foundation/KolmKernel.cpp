// KolmKernel.cpp: the slots of a kernel, its shader and the bytes that identify its state.

#include "KolmKernel.h"

#include <stdarg.h>

#include "KolmLog.h"

namespace Kolm {

Kernel::Kernel(uint32_t index, const Kernel *kernel) : PlatformBase(index) {
    if(kernel) setParameters(kernel);
}

Kernel::~Kernel() {
    if(shader_owner) delete compute_shader;
}

void Kernel::clear() {
    setShader(nullptr);
    kernel_name.clear();
    set_defaults();
}

void Kernel::setName(const char *name) { kernel_name = (name) ? name : ""; }

void Kernel::set_defaults() {
#define PARAMETER(NAME) memset(&NAME, 0, sizeof(NAME));
#include "KolmKernelParameters.inc"
}

Kernel &Kernel::setParameters(const Kernel *kernel) {
    KOLM_ASSERT(kernel && "Kernel::setParameters(): kernel is null");
    if(kernel == this) return *this;
    setShader(kernel->compute_shader, false);
#define PARAMETER(NAME) memcpy(&NAME, &kernel->NAME, sizeof(NAME));
#include "KolmKernelParameters.inc"
    return *this;
}

namespace {

// Writers of saveState(): bytes, words and 16-bit numbers, in the order of the slots.

bool write(Stream &stream, uint8_t value) { return stream.writeu8(value); }

template<uint32_t Size> bool write(Stream &stream, const uint8_t (&values)[Size]) {
    return stream.write(values, Size) == Size;
}

template<uint32_t Size> bool write(Stream &stream, const uint16_t (&values)[Size]) {
    bool status = true;
    for(const uint16_t value : values) status &= stream.writeu16(value);
    return status;
}

template<class Type, uint32_t Size> bool write(Stream &stream, const Type (&values)[Size]) {
    bool status = true;
    for(const Type value : values) status &= stream.writeu32(uint32_t(value));
    return status;
}

} // namespace

bool Kernel::saveState(Stream &stream) const {
    bool status = true;
#define PARAMETER(NAME) status &= write(stream, NAME);
#include "KolmKernelParameters.inc"
    return status;
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
    KOLM_ASSERT(index < NumSamplers && num <= NumSamplers - index &&
                "Kernel::setSamplerArray(): invalid samplers range");
    sampler_arrays[index] = uint8_t((array) ? num : 0);
    return *this;
}

uint32_t Kernel::getSamplerArray(uint32_t index) const {
    KOLM_ASSERT(index < NumSamplers && "Kernel::getSamplerArray(): invalid sampler index");
    return sampler_arrays[index];
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
    KOLM_ASSERT(index < NumTextures && num <= NumTextures - index &&
                "Kernel::setTextureArray(): invalid textures range");
    texture_arrays[index] = uint8_t((array) ? num : 0);
    return *this;
}

uint32_t Kernel::getTextureArray(uint32_t index) const {
    KOLM_ASSERT(index < NumTextures && "Kernel::getTextureArray(): invalid texture index");
    return texture_arrays[index];
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
    KOLM_ASSERT(index < NumSurfaces && num <= NumSurfaces - index &&
                "Kernel::setSurfaceArray(): invalid surfaces range");
    surface_arrays[index] = uint8_t((array) ? num : 0);
    return *this;
}

uint32_t Kernel::getSurfaceArray(uint32_t index) const {
    KOLM_ASSERT(index < NumSurfaces && "Kernel::getSurfaceArray(): invalid surface index");
    return surface_arrays[index];
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

Kernel::BindFlags Kernel::getUniformFlags(uint32_t index) const {
    KOLM_ASSERT(index < num_uniforms && "Kernel::getUniformFlags(): invalid uniform index");
    return uniform_flags[index];
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

Kernel::BindFlags Kernel::getStorageFlags(uint32_t index) const {
    KOLM_ASSERT(index < num_storages && "Kernel::getStorageFlags(): invalid storage index");
    return storage_flags[index];
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
    KOLM_ASSERT(index < NumTables && "Kernel::setTableType(): invalid table index");
    KOLM_ASSERT(uint32_t(type) < NumTableTypes && "Kernel::setTableType(): invalid table type");
    table_types[index] = (enable) ? type : TableTypeTexture;
    table_sizes[index] = (enable) ? size : 0;
    table_flags[index] = (enable) ? flags : BindFlagNone;
    for(num_tables = 0; num_tables < NumTables && table_sizes[num_tables]; num_tables++) {}
    return *this;
}

Kernel &Kernel::setTableFlags(uint32_t index, BindFlags flags) {
    KOLM_ASSERT(index < num_tables && "Kernel::setTableFlags(): invalid table index");
    table_flags[index] = flags;
    return *this;
}

Kernel::TableType Kernel::getTableType(uint32_t index) const {
    KOLM_ASSERT(index < num_tables && "Kernel::getTableType(): invalid table index");
    return table_types[index];
}

uint32_t Kernel::getTableSize(uint32_t index) const {
    KOLM_ASSERT(index < num_tables && "Kernel::getTableSize(): invalid table index");
    return table_sizes[index];
}

Kernel::BindFlags Kernel::getTableFlags(uint32_t index) const {
    KOLM_ASSERT(index < num_tables && "Kernel::getTableFlags(): invalid table index");
    return table_flags[index];
}

} // namespace Kolm
