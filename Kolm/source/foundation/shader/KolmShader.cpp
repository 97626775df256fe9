// KolmShader.cpp: life of shaders, the ways to load them, and what all of them share.

#include "KolmShader.h"

#include <sys/syscall.h>
#include <unistd.h>

#include "KolmCompiler.h"
#include "KolmLog.h"
#include "KolmShaderScan.h"
#include "KolmSource.h"

namespace Kolm {

SpinLock Shader::lock;
Cache Shader::cache;
Cache Shader::source_cache;
Shader::State Shader::global;
Map<String, String> Shader::includes;
Array<String> Shader::include_paths;
Atomici32 Shader::counter;
Map<uint32_t, Compiler *> Shader::compilers;

// -- Life -----------------------------------------------------------------------------------------------------------

Shader::Shader(uint32_t adapter_index) : PlatformBase(adapter_index) { ++counter; }

Shader::~Shader() {
    if(--counter != 0) return;
    AtomicLock guard(lock);
    if(counter != 0) return; // another thread has a new shader, and perhaps a compiler in use
    for(Map<uint32_t, Compiler *>::Iterator it = compilers.begin(); it; ++it) delete it->data;
    compilers.clear();
}

const char *Shader::getTypeName(Type type) {
    static constexpr const char *names[NumTypes] = {
        "Unknown", "Vertex", "Control", "Evaluate", "Geometry", "Fragment",     "Compute",  "Task",
        "Mesh",    "RayGen", "RayMiss", "Closest",  "FirstHit", "Intersection", "Callable",
    };
    return (uint32_t(type) < NumTypes) ? names[type] : names[TypeUnknown];
}

bool Shader::set_parameters(Shader *shader) const {
    if(shader == nullptr) return false;
    shader->sampler_offset = sampler_offset;
    shader->texture_offset = texture_offset;
    shader->surface_offset = surface_offset;
    shader->uniform_offset = uniform_offset;
    shader->storage_offset = storage_offset;
    shader->tracing_offset = tracing_offset;
    shader->texel_offset = texel_offset;
    shader->table_offset = table_offset;
    shader->patch_size = patch_size;
    shader->input_size = input_size;
    shader->output_size = output_size;
    return true;
}

// -- Load and create ------------------------------------------------------------------------------------------------

// Macros of a format and its arguments.
#define SHADER_FORMAT(MACROS)                   \
    String MACROS;                              \
    if(format) {                                \
        va_list args;                           \
        va_start(args, format);                 \
        MACROS = String::vformat(format, args); \
        va_end(args);                           \
    }

bool Shader::load(Type type, const char *name, const char *format, ...) {
    SHADER_FORMAT(macros)
    return load(type, name, macros);
}

bool Shader::load(Type type, const char *name, const String &macros, const char **texts, uint32_t size) {
    return load_source(type, name, macros, texts, size, false);
}

bool Shader::create(Type type, const char *src, const char *format, ...) {
    SHADER_FORMAT(macros)
    return create(type, src, macros);
}

bool Shader::create(Type type, const char *src, const String &macros, const char **texts, uint32_t size) {
    return create_source(type, src, nullptr, macros, texts, size, false);
}

bool Shader::loadGLSL(Type type, const char *name, const char *format, ...) {
    SHADER_FORMAT(macros)
    return loadGLSL(type, name, macros);
}

bool Shader::loadGLSL(Type type, const char *name, const String &macros, const char **texts, uint32_t size) {
    return load_source(type, name, macros, texts, size, true);
}

bool Shader::createGLSL(Type type, const char *src, const char *format, ...) {
    SHADER_FORMAT(macros)
    return createGLSL(type, src, macros);
}

bool Shader::createGLSL(Type type, const char *src, const String &macros, const char **texts, uint32_t size) {
    return create_source(type, src, nullptr, macros, texts, size, true);
}

bool Shader::load_source(Type type, const char *name, const String &macros, const char **texts, uint32_t size,
                         bool glsl) {
    KOLM_ASSERT(name && "Shader::load(): name is null");
    Kolm::Source stream;
    if(!stream.open(name, true, false)) {
        if(glsl)
            Log::printf(Log::Error, "Shader::loadGLSL(): can't open \"%s\" file\n", name);
        else
            Log::printf(Log::Error, "Shader::load(): can't open \"%s\" file\n", name);
        return false;
    }
    String src;
    if(!ShaderScan::read_text(stream, src, State::MaxLength)) {
        if(glsl)
            Log::printf(Log::Error, "Shader::loadGLSL(): can't read \"%s\" file\n", name);
        else
            Log::printf(Log::Error, "Shader::load(): can't read \"%s\" file\n", name);
        return false;
    }
    return create_source(type, src.get(), name, macros, texts, size, glsl);
}

bool Shader::set_state(State &state, const char *name, const String &macros, const char **texts, uint32_t size,
                       bool glsl) {
    if(name) state.set_name(name);
    if(!state.set_macros(macros.get())) return false;
    state.set_includes(texts, size);
    return !glsl || state.set_macro("KOLM_GLSL", "1");
}

bool Shader::create_source(Type type, const char *src, const char *name, const String &macros, const char **texts,
                           uint32_t size, bool glsl) {
    KOLM_ASSERT(src && "Shader::create(): source is null");
    State state(global);
    // What the backend defines replaces what the caller defined.
    if(!set_state(state, name, macros, texts, size, glsl) || !set_macros(state)) return false;

    String dest;
    if(!preprocessor(src, dest, state, true)) return false;
    set_sources(state);
    if(glsl) return compile_glsl(type, dest, state);
    shader_name = state.get_name();
    shader_macros = state.get_macros(false);
    return compile(type, dest, state);
}

bool Shader::loadSPIRV(Type type, const char *name) {
    KOLM_ASSERT(name && "Shader::loadSPIRV(): name is null");
    Kolm::Source stream;
    if(!stream.open(name, true, false)) {
        Log::printf(Log::Error, "Shader::loadSPIRV(): can't open \"%s\" file\n", name);
        return false;
    }
    State state(global);
    state.set_name(name);
    shader_name = name;
    shader_sources = {state.get_name()};
    Array<uint32_t> opcodes;
    const size_t size = stream.getSize() / sizeof(uint32_t);
    if(size > State::MaxLength || !stream.readArray(opcodes, uint32_t(size))) {
        Log::printf(Log::Error, "Shader::loadSPIRV(): can't read \"%s\" file\n", name);
        return false;
    }
    return compile(type, opcodes, state);
}

bool Shader::createSPIRV(Type type, const Array<uint32_t> &data) {
    State state(global);
    return compile(type, data, state);
}

void Shader::set_sources(const State &state) {
    Set<String> names;
    shader_sources.release();
    for(uint32_t i = 0; i < state.sources.size(); i++) {
        const String &name = state.sources[i].name;
        if(names.get(name)) continue;
        names.append(name);
        shader_sources.append(name);
    }
}

// -- Macros of the backends -----------------------------------------------------------------------------------------

bool Shader::set_macros(State &state) const { return set_base_macros(state); }

bool Shader::set_base_macros(State &state) {
    return state.set_macro("_LINUX", "1") && state.set_macro("__LINE__", "0");
}

bool Shader::set_vendor(State &state, uint32_t vendor_id) {
    static constexpr struct {
        uint32_t id;
        const char *name;
    } vendors[] = {
        {4098, "_AMD"}, {4203, "_APPLE"}, {4318, "_NVIDIA"}, {5045, "_ARM"}, {20803, "_QUALCOMM"}, {32902, "_INTEL"},
    };
    for(const auto &vendor : vendors) {
        if(vendor.id == vendor_id) return state.set_macro(vendor.name, "1");
    }
    return true;
}

// -- Compiler -------------------------------------------------------------------------------------------------------

// Compiler of this thread. It stays for as long as there are shaders.
Compiler *Shader::get_compiler() {
    const uint32_t thread = uint32_t(syscall(SYS_gettid));
    AtomicLock guard(lock);
    if(Compiler **compiler = compilers.get(thread)) return *compiler;
    Compiler *compiler = new Compiler();
    compilers.append(thread, compiler);
    return compiler;
}

bool Shader::compile_glsl(Type type, const String &src, State &state) {
    KOLM_ASSERT(type > TypeUnknown && "Shader::compile_glsl(): invalid shader type");
    KOLM_ASSERT(type < NumTypes && "Shader::compile_glsl(): invalid shader type");
    shader_name = state.get_name();
    shader_macros = state.get_macros(false);

    constexpr Compiler::Options options = Compiler::DefaultOptions;
    String key;
    if(hasSourceCache()) {
        Array<uint32_t> words;
        key = get_source_key(type, src, options);
        if(load_words(key, words)) return compile(type, words, state);
    }
    Compiler *compiler = get_compiler();

    uint32_t offset = ~0u;
    const String macros = state.get_macros(true);
    if(compiler->compileGLSL(type, src.get(), macros.get(), offset, options)) {
        save_words(key, compiler->getOpcodes());
        return compile(type, compiler->getOpcodes(), state);
    }

    const String &message = compiler->getMessage();
    if(offset < src.size()) {
        // the line that the offset stands on; between lines, the one that follows
        const char *s = src.get() + offset;
        if(*s == '\n' && s[1]) s++;
        const char *begin = s;
        while(begin > src.get() && begin[-1] != '\n') begin--;
        const String line(begin, uint32_t(min(ShaderScan::skip_line(s) - begin, ptrdiff_t(1024))));
        Log::printf(Log::Error, "Shader::compile_glsl(): %s:%u: %s\n%s", state.get_source(offset).get(),
                    state.get_line(offset), line.get(), message.get());
    } else if(shader_name) {
        Log::printf(Log::Error, "Shader::compile_glsl(): can't compile \"%s\" shader\n%s", shader_name.get(),
                    message.get());
    } else {
        Log::printf(Log::Error, "Shader::compile_glsl(): can't compile shader\n%s", message.get());
    }
    return false;
}

// -- Process-wide state ---------------------------------------------------------------------------------------------

bool Shader::setMacro(const char *name, int32_t value) {
    return global.set_macro(name, String::format("%d", value).get());
}

bool Shader::setMacro(const char *name, uint32_t value) {
    return global.set_macro(name, String::format("%uu", value).get());
}

bool Shader::isInclude(const char *name) {
    AtomicLock guard(lock);
    return includes.get(name) != nullptr;
}

void Shader::setInclude(const char *name, const String &src) {
    AtomicLock guard(lock);
    includes.append(String(name), src);
}

bool Shader::removeInclude(const char *name) {
    AtomicLock guard(lock);
    return includes.remove(name);
}

void Shader::clearIncludes() {
    AtomicLock guard(lock);
    includes.clear();
}

void Shader::addIncludePath(const char *path) {
    String folder(path);
    if(folder && folder.back() != '/') folder.append('/');
    AtomicLock guard(lock);
    include_paths.append(std::move(folder));
}

void Shader::clearIncludePaths() {
    AtomicLock guard(lock);
    include_paths.release();
}

// -- The preprocessor alone -----------------------------------------------------------------------------------------

String Shader::preprocessor(const char *src, const char *format, ...) {
    SHADER_FORMAT(macros)
    return preprocessor(src, macros);
}

String Shader::preprocessor(const char *src, const String &macros, const char **texts, uint32_t size, bool *status) {
    Array<Pragma> pragmas;
    return preprocessor(src, pragmas, macros, texts, size, status);
}

String Shader::preprocessor(const char *src, Array<Pragma> &pragmas, const String &macros, const char **texts,
                            uint32_t size, bool *status) {
    State state(global);
    String dest;
    state.set_includes(texts, size);
    if(!state.set_macros(macros.get()) || !preprocessor(src, dest, state, true)) {
        if(status) *status = false;
        return String();
    }
    pragmas = std::move(state.pragmas);
    return dest;
}

String Shader::loadPreprocessor(const char *name, const String &macros, const char **texts, uint32_t size,
                                bool *status) {
    KOLM_ASSERT(name && "Shader::loadPreprocessor(): name is null");
    State state(global);
    Kolm::Source stream;
    String src, dest;
    if(!stream.open(name, true, false) || !ShaderScan::read_text(stream, src, State::MaxLength)) {
        Log::printf(Log::Error, "Shader::loadPreprocessor(): can't read \"%s\" file\n", name);
    } else if(set_state(state, name, macros, texts, size, true) && set_base_macros(state) &&
              preprocessor(src.get(), dest, state, true)) {
        return dest;
    }
    if(status) *status = false;
    return String();
}

} // namespace Kolm
