// KolmDevice.cpp: identity, shaders, and what a device is without a backend's help.

#include "KolmDevice.h"

#include <stdarg.h>

#include "KolmCaller.h"
#include "KolmCommand.h"
#include "KolmCompute.h"
#include "KolmLog.h"

namespace Kolm {

Device::Device(uint32_t index) : PlatformBase(index) {}

Device::Features &Device::get_features(uint32_t adapter_index) {
    static Features features[NumAdapters];
    KOLM_ASSERT(adapter_index < NumAdapters && "Device::get_features(): invalid adapter index");
    return features[adapter_index];
}

String Device::getVendorName(uint32_t vendor_id) {
    switch(vendor_id) {
    case 0x1002: return String("AMD");
    case 0x10DE: return String("Nvidia");
    case 0x8086: return String("Intel");
    case 0x5143: return String("Qualcomm");
    }
    return String::format("0x%04x", vendor_id);
}

// what a backend may leave out

bool Device::refuse(const char *method, const char *kind) const {
    return Caller{*this, "Device", method}.error("%s are not supported", kind);
}

void Device::check_transfer(const Caller &caller) const {
    if(KOLM_UNLIKELY(get_enabled_target() != nullptr)) caller.fail("target is enabled");
}

bool Device::hasQuery(Query::Type) const { return false; }
bool Device::hasTarget(Format) const { return false; }
bool Device::hasTexture(Format) const { return false; }
bool Device::hasSurface(Format) const { return false; }

#define DEVICE_FACTORY(TYPE, KIND, ...)       \
    TYPE *Device::create##TYPE(__VA_ARGS__) { \
        refuse("create" #TYPE, KIND);         \
        return nullptr;                       \
    }
DEVICE_FACTORY(Query, "queries")
DEVICE_FACTORY(Fence, "fences")
DEVICE_FACTORY(Sampler, "samplers", const Sampler *)
DEVICE_FACTORY(Texture, "textures")
DEVICE_FACTORY(Tracing, "tracings", const Tracing *)
DEVICE_FACTORY(Pipeline, "pipelines", const Pipeline *)
DEVICE_FACTORY(Traversal, "traversals", const Traversal *)
DEVICE_FACTORY(BufferTable, "buffer tables")
DEVICE_FACTORY(TextureTable, "texture tables")
DEVICE_FACTORY(Target, "targets")
DEVICE_FACTORY(Target, "surface targets", Surface *)
#undef DEVICE_FACTORY

#define DEVICE_OPERATION(NAME, METHOD, KIND, ...) \
    bool Device::NAME(__VA_ARGS__) { return refuse(METHOD, KIND); }
DEVICE_OPERATION(bind_buffer, "bindBuffer", "sparse buffers", Buffer *, const size_t *, const size_t *, uint32_t, bool,
                 Fence *)
DEVICE_OPERATION(set_texture, "setTexture", "textures", Texture *, const Origin &, const Slice &, const Image &,
                 const Slice &)
DEVICE_OPERATION(get_texture, "getTexture", "textures", Texture *, const Slice &, Image &, const Slice &)
DEVICE_OPERATION(copy_texture, "copyTexture", "textures", Texture *, const Origin &, const Slice &, Texture *,
                 const Region &, const Slice &)
DEVICE_OPERATION(clear_texture, "clearTexture", "textures", Texture *, const Region &, const Slice &, const void *)
DEVICE_OPERATION(bind_texture, "bindTexture", "sparse textures", Texture *, const Region *, uint32_t, const Slice *,
                 uint32_t, bool, Fence *)
DEVICE_OPERATION(create_mipmaps, "createMipmaps", "mipmaps", Texture *, const Slice &)
DEVICE_OPERATION(flush_texture, "flushTexture", "textures", Texture *, const Slice &, Texture::Flags)
DEVICE_OPERATION(flush_textures, "flushTextures", "textures", Texture **, uint32_t, Texture::Flags)
DEVICE_OPERATION(set_tracing, "setTracing", "tracings", Tracing *, const Tracing::Instance *, uint32_t)
DEVICE_OPERATION(build_tracings, "buildTracings", "tracings", Tracing **, uint32_t, Buffer *, const size_t *,
                 Tracing::Flags)
DEVICE_OPERATION(copy_tracings, "copyTracings", "tracings", Tracing **, uint32_t, Buffer *, size_t, size_t)
DEVICE_OPERATION(compact_tracing, "compactTracing", "tracings", Tracing *)
DEVICE_OPERATION(flush_tracings, "flushTracings", "tracings", Tracing **, uint32_t)
DEVICE_OPERATION(set_buffer_table, "setBufferTable", "buffer tables", BufferTable *, uint32_t, Buffer **, uint32_t)
DEVICE_OPERATION(set_texture_table, "setTextureTable", "texture tables", TextureTable *, uint32_t, Texture **, uint32_t)
DEVICE_OPERATION(begin_query, "beginQuery", "queries", Query *)
DEVICE_OPERATION(end_query, "endQuery", "queries", Query *)
DEVICE_OPERATION(copy_queries, "copyQueries", "queries", Query **, uint32_t, Buffer *, size_t, size_t)
DEVICE_OPERATION(wait_fence, "waitFence", "fences", Fence *)
DEVICE_OPERATION(signal_fence, "signalFence", "fences", Fence *)
#undef DEVICE_OPERATION

void Device::release_pipeline(Pipeline *) {}
void Device::release_traversal(Traversal *) {}
void Device::release_sampler(Sampler *) {}
void Device::release_texture(Texture *) {}
void Device::release_tracing(Tracing *) {}
void Device::release_buffer_table(BufferTable *) {}
void Device::release_texture_table(TextureTable *) {}

Command *Device::create_command(Target *) {
    refuse("createCommand", "commands");
    return nullptr;
}

// pipelines and recorders

void Device::releasePipeline(Pipeline *pipeline) {
    Caller{*this, "Device", "releasePipeline"}.checkPlatform("pipeline", pipeline);
    release_pipeline(pipeline);
}

void Device::releaseTraversal(Traversal *traversal) {
    Caller{*this, "Device", "releaseTraversal"}.checkPlatform("traversal", traversal);
    release_traversal(traversal);
}

Command *Device::createCommand(Target *target) {
    const Caller caller = {*this, "Device", "createCommand"};
    caller.checkPlatform("target", target);
    if(!target->isEnabled()) caller.fail("target is not enabled");
    return create_command(target);
}

Command *Device::createCommand() { return create_command(nullptr); }

// shaders

Shader *Device::loadShader(Shader::Type type, const char *name, const char *format, ...) {
    String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return loadShader(type, name, macros);
}

Shader *Device::loadShader(Shader::Type type, const char *name, const String &macros, const char **includes,
                           uint32_t size) {
    Shader *shader = createShader();
    return (shader) ? get_created(shader, shader->load(type, name, macros, includes, size)) : nullptr;
}

Shader *Device::loadShaderGLSL(Shader::Type type, const char *name, const char *format, ...) {
    String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return loadShaderGLSL(type, name, macros);
}

Shader *Device::loadShaderGLSL(Shader::Type type, const char *name, const String &macros, const char **includes,
                               uint32_t size) {
    Shader *shader = createShader();
    return (shader) ? get_created(shader, shader->loadGLSL(type, name, macros, includes, size)) : nullptr;
}

Shader *Device::createShader(Shader::Type type, const char *src, const char *format, ...) {
    String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return createShader(type, src, macros);
}

Shader *Device::createShader(Shader::Type type, const char *src, const String &macros, const char **includes,
                             uint32_t size) {
    Shader *shader = createShader();
    return (shader) ? get_created(shader, shader->create(type, src, macros, includes, size)) : nullptr;
}

Shader *Device::createShaderGLSL(Shader::Type type, const char *src, const char *format, ...) {
    String macros;
    if(format) {
        va_list args;
        va_start(args, format);
        macros.vprintf(format, args);
        va_end(args);
    }
    return createShaderGLSL(type, src, macros);
}

Shader *Device::createShaderGLSL(Shader::Type type, const char *src, const String &macros, const char **includes,
                                 uint32_t size) {
    Shader *shader = createShader();
    return (shader) ? get_created(shader, shader->createGLSL(type, src, macros, includes, size)) : nullptr;
}

Shader *Device::loadShaderSPIRV(Shader::Type type, const char *name) {
    Shader *shader = createShader();
    return (shader) ? get_created(shader, shader->loadSPIRV(type, name)) : nullptr;
}

Shader *Device::createShaderSPIRV(Shader::Type type, const Array<uint32_t> &data) {
    Shader *shader = createShader();
    return (shader) ? get_created(shader, shader->createSPIRV(type, data)) : nullptr;
}

} // namespace Kolm
