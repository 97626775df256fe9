// KolmShader.h: the base of all shader objects, the preprocessor, and the way from text to SPIR-V words.
// Rests on the core layer. Hides the per-thread compilers and how positions in the preprocessed text lead back to the
// lines of the files that it came from.
//
//     KolmShader.cpp              life, load and create, compile_glsl, process-wide macros and includes
//     KolmShaderState.cpp         State: macros, pragmas, names, positions
//     KolmShaderMacro.cpp         State: macro expansion
//     KolmShaderExpression.cpp    State: the expressions of #if and #ifdef
//     KolmShaderPreprocessor.cpp  the engine: one pass over a text and its directives
//     KolmShaderCache.cpp         what is kept between runs: programs of drivers, and words of compiled texts
//
// The dialect is told in docs/shaders.md.

#pragma once

#include "KolmArray.h"
#include "KolmCache.h"
#include "KolmMap.h"
#include "KolmPlatform.h"
#include "KolmSet.h"
#include "KolmString.h"

namespace Kolm {

class Compiler;
class Stream;

/// Shader of one stage. The base holds its name and parameters; what compile() makes of the text is the backend's.
///
/// Objects may be loaded on several threads at once, each object on one. Macros for all shaders are set before.
class Shader : public PlatformBase {
public:
    enum Type : uint32_t {
        TypeUnknown = 0,
        TypeVertex,
        TypeControl,
        TypeEvaluate,
        TypeGeometry,
        TypeFragment,
        TypeCompute,
        TypeTask,
        TypeMesh,
        TypeRayGen,
        TypeRayMiss,
        TypeClosest,
        TypeFirstHit,
        TypeIntersection,
        TypeCallable,
        NumTypes,
    };

    /// Sets of types.
    enum Mask : uint32_t {
        MaskNone = 0,
        MaskVertex = 1 << TypeVertex,
        MaskControl = 1 << TypeControl,
        MaskEvaluate = 1 << TypeEvaluate,
        MaskGeometry = 1 << TypeGeometry,
        MaskFragment = 1 << TypeFragment,
        MaskCompute = 1 << TypeCompute,
        MaskTask = 1 << TypeTask,
        MaskMesh = 1 << TypeMesh,
        MaskRayGen = 1 << TypeRayGen,
        MaskRayMiss = 1 << TypeRayMiss,
        MaskClosest = 1 << TypeClosest,
        MaskFirstHit = 1 << TypeFirstHit,
        MaskIntersection = 1 << TypeIntersection,
        MaskCallable = 1 << TypeCallable,
        MaskVertexFragment = MaskVertex | MaskFragment,
        MaskGraphics = MaskVertex | MaskControl | MaskEvaluate | MaskGeometry | MaskFragment,
        MaskTracing = MaskRayGen | MaskRayMiss | MaskClosest | MaskFirstHit | MaskIntersection | MaskCallable,
        MaskAll = MaskGraphics | MaskCompute | MaskTask | MaskMesh | MaskTracing,
    };
    friend constexpr Mask operator|(Mask a, Mask b) { return Mask(uint32_t(a) | uint32_t(b)); }
    friend constexpr Mask operator&(Mask a, Mask b) { return Mask(uint32_t(a) & uint32_t(b)); }
    friend constexpr Mask operator~(Mask a) { return Mask(~uint32_t(a) & uint32_t(MaskAll)); }
    friend constexpr Mask &operator|=(Mask &a, Mask b) { return a = a | b; }
    friend constexpr Mask &operator&=(Mask &a, Mask b) { return a = a & b; }

    struct Macro {
        String value;
        Array<String> arguments; // parameter names; "..." as the last one marks a variadic macro
        bool function = false;   // called with parentheses, even with no parameter
    };

    struct Pragma {
        String name;
        Array<String> arguments;
    };

    /// The stretch of the output that came from one file. `lines` and `offsets` go in pairs: the source line, and
    /// where it begins, counted from the start of this file's output.
    struct Source {
        String name;
        uint32_t offset = 0;
        uint32_t length = 0;
        Array<uint32_t> lines;
        Array<uint32_t> offsets;
    };

    /// All that one run of the preprocessor knows. Begins as a copy of the process-wide state.
    class State {
    public:
        // Limits against hostile text.
        static constexpr uint32_t MaxDepth = 256;            // nesting of macro expansions
        static constexpr uint32_t MaxExpansions = 1 << 22;   // macro expansions of one run
        static constexpr uint32_t MaxLength = 64 << 20;      // bytes of the output, and of one expansion
        static constexpr uint32_t MaxIncludeDepth = 64;      // nesting of #include
        static constexpr uint32_t MaxIncludes = 65536;       // included files of one run
        static constexpr uint32_t MaxExpressionDepth = 64;   // macros that name macros in #if
        static constexpr uint32_t MaxExpressionNames = 4096; // macros that one #if may look into

        State() = default;

        // macros

        bool isMacro(const char *name) const { return find_macro(name, uint32_t(strlen(name))) != nullptr; }
        bool isMacro(const String &name) const { return find_macro(name.get(), name.size()) != nullptr; }
        bool removeMacro(const char *name);
        void clearMacros();
        uint32_t getNumMacros() const { return macros.size(); }

        /// Text of all macros, `NAME` or `NAME=value` joined by "; ". Names that tell what the shader is come first,
        /// values of several lines last; the short form leaves the latter out and ends in a line feed.
        /// Empty under the pragma "quiet".
        String get_macros(bool short_form) const;
        /// \p name is `NAME` or `NAME(a, b, ...)`. An existing macro is replaced. False if the name was refused, with
        /// a line in the log.
        bool set_macro(const char *name, const char *value);
        /// List of `NAME` or `NAME=value` separated by ";". A semicolon within a value is written "\;".
        bool set_macros(const char *text);
        /// A static empty macro if there is none of that name.
        const Macro &get_macro(const char *name) const;

        // includes: pairs of a name and a text. \p size counts pointers; an odd last one is ignored.

        void set_includes(const char **includes, uint32_t size);

        // pragmas: the text behind #pragma

        bool set_pragma(const char *text);
        bool is_pragma(const char *name) const;
        /// First of that name, or a static empty one.
        const Pragma &get_pragma(const char *name) const;

        // names

        /// The macro __FILE__, else the first macro `X_SHADER` of value 1, else "memory".
        String get_name() const;
        void set_name(const char *name);
        bool has_name() const { return isMacro("__FILE__"); }

        // positions in the output

        /// File that the byte at \p offset came from.
        String get_source(uint32_t offset) const;
        /// Line of that file from 1, ~0 if nothing is known.
        uint32_t get_line(uint32_t offset) const;

        // expressions: below zero if the text is none

        /// Value of the expression of an #if.
        int32_t evaluate_value(const char *text) const;
        /// Value of the expression of an #ifdef: names, "!", "&&", "||" and parentheses.
        int32_t evaluate_ifdef(const char *text) const;

        // expansion; errors are thrown as String

        struct Stack; // macros under expansion, innermost first

        /// Appends \p text to \p dest with its macros expanded, except those of the stack.
        void evaluate_macros(const char *text, String &dest, const Stack *stack = nullptr);
        /// Appends the expansion of the macro whose name begins \p text, arguments included.
        /// Returns the bytes of \p text that it took.
        uint32_t evaluate_macro(const char *text, String &dest, const Stack *stack = nullptr);

        /// Macro of a name that need not be terminated, or null. Stands until a macro is set or removed.
        const Macro *find_macro(const char *name, uint32_t length) const {
            const uint32_t bit = get_bit(name, length);
            if((filter[bit >> 6] >> (bit & 63) & 1) == 0) return nullptr;
            return search_macro(name, length);
        }

        Map<String, Macro> macros; // filled through set_macro, which keeps the filter in step
        Map<String, String> includes;
        Array<Pragma> pragmas;
        Array<Source> sources;
        Set<String> imports; // names of #import, as written
        uint32_t line = 0;   // what __LINE__ gives inside of a macro

        uint32_t include_depth = 0;
        uint32_t num_includes = 0;
        uint32_t num_expansions = 0;
        uint32_t include_overflow = 0; // 1: there were too many files, 2: and it was said

    private:
        struct Expression;

        // Most words of a text are no macros: a bit for a few characters of the name spares the look-up.
        static uint32_t get_bit(const char *name, uint32_t length) {
            return (uint8_t(name[0]) * 31u + uint8_t(name[length - (length > 0)]) * 7u + length) & 255u;
        }
        const Macro *search_macro(const char *name, uint32_t length) const;
        void add_macro(const char *name, const char *value);
        void add_macro(const String &name, Macro &&macro);
        void add_pragma(const char *text);
        void expand_body(const Macro &macro, const Array<String> &arguments, String &dest, const Stack &stack);
        void count_expansion(uint32_t depth);

        uint64_t filter[4] = {};
    };

    explicit Shader(uint32_t adapter_index = 0);
    ~Shader() override;

    virtual void clear() = 0;
    virtual bool isCreated() const = 0;
    /// Writes what tells this shader from others, for keys of program caches.
    virtual bool saveState(Stream &stream) const = 0;

    /// Preprocesses a file or a text for the backend's own dialect. \p format and what follows give the macros, see
    /// State::set_macros. \p includes are pairs of a name and a text; \p size counts pointers.
    /// False if the reason was logged.
    bool load(Type type, const char *name, const char *format = nullptr, ...) KOLM_PRINTF(4, 5);
    bool load(Type type, const char *name, const String &macros, const char **includes = nullptr, uint32_t size = 0);
    bool create(Type type, const char *src, const char *format = nullptr, ...) KOLM_PRINTF(4, 5);
    bool create(Type type, const char *src, const String &macros, const char **includes = nullptr, uint32_t size = 0);

    /// The same through the own compiler and SPIR-V.
    bool loadGLSL(Type type, const char *name, const char *format = nullptr, ...) KOLM_PRINTF(4, 5);
    bool loadGLSL(Type type, const char *name, const String &macros, const char **includes = nullptr,
                  uint32_t size = 0);
    bool createGLSL(Type type, const char *src, const char *format = nullptr, ...) KOLM_PRINTF(4, 5);
    bool createGLSL(Type type, const char *src, const String &macros, const char **includes = nullptr,
                    uint32_t size = 0);

    /// Words as they stand. Bytes behind the last whole word of a file are ignored.
    bool loadSPIRV(Type type, const char *name);
    bool createSPIRV(Type type, const Array<uint32_t> &data);

    // type

    Type getType() const { return shader_type; }
    static const char *getTypeName(Type type);
    const char *getTypeName() const { return getTypeName(shader_type); }
    Mask getMask() const { return (shader_type == TypeUnknown) ? MaskNone : Mask(1u << shader_type); }

    bool isVertex() const { return shader_type == TypeVertex; }
    bool isControl() const { return shader_type == TypeControl; }
    bool isEvaluate() const { return shader_type == TypeEvaluate; }
    bool isGeometry() const { return shader_type == TypeGeometry; }
    bool isFragment() const { return shader_type == TypeFragment; }
    bool isCompute() const { return shader_type == TypeCompute; }
    bool isTask() const { return shader_type == TypeTask; }
    bool isMesh() const { return shader_type == TypeMesh; }
    bool isRayGen() const { return shader_type == TypeRayGen; }
    bool isRayMiss() const { return shader_type == TypeRayMiss; }
    bool isClosest() const { return shader_type == TypeClosest; }
    bool isFirstHit() const { return shader_type == TypeFirstHit; }
    bool isIntersection() const { return shader_type == TypeIntersection; }
    bool isCallable() const { return shader_type == TypeCallable; }
    bool isGraphicsType() const { return (getMask() & MaskGraphics) != MaskNone; }
    bool isTessellationType() const { return isControl() || isEvaluate(); }
    bool isTracingType() const { return (getMask() & MaskTracing) != MaskNone; }
    bool isMeshType() const { return isTask() || isMesh(); }

    // names, set by load and create

    const String &getName() const { return shader_name; }
    const String &getMacros() const { return shader_macros; }
    /// Names of the files and includes that the text came from, each once; its own is the first.
    const Array<String> &getSources() const { return shader_sources; }

    // offsets that translators add to binding numbers, and sizes of fixed interfaces

#define SHADER_OFFSET(NAME, FIELD)                                      \
    void set##NAME##Offset(int32_t offset) { FIELD = int16_t(offset); } \
    int32_t get##NAME##Offset() const { return FIELD; }
    SHADER_OFFSET(Sampler, sampler_offset)
    SHADER_OFFSET(Texture, texture_offset)
    SHADER_OFFSET(Surface, surface_offset)
    SHADER_OFFSET(Uniform, uniform_offset)
    SHADER_OFFSET(Storage, storage_offset)
    SHADER_OFFSET(Tracing, tracing_offset)
    SHADER_OFFSET(Texel, texel_offset)
    SHADER_OFFSET(Table, table_offset)
#undef SHADER_OFFSET

    void setPatchSize(uint32_t size) { patch_size = uint8_t(size); }
    void setInputSize(uint32_t size) { input_size = uint8_t(size); }
    void setOutputSize(uint32_t size) { output_size = uint8_t(size); }
    uint32_t getPatchSize() const { return patch_size; }
    uint32_t getInputSize() const { return input_size; }
    uint32_t getOutputSize() const { return output_size; }

    /// Copies offsets and sizes into another shader. False for null.
    bool set_parameters(Shader *shader) const;

    // macros of all shaders; not synchronised: set them before shaders are loaded

    static bool isMacro(const char *name) { return global.isMacro(name); }
    static bool setMacro(const char *name, int32_t value);
    /// The value carries a "u" suffix.
    static bool setMacro(const char *name, uint32_t value);
    static bool setMacro(const char *name, const char *value) { return global.set_macro(name, value); }
    static bool setMacros(const char *macros) { return global.set_macros(macros); }
    static bool removeMacro(const char *name) { return global.removeMacro(name); }
    static void clearMacros() { global.clearMacros(); }

    // texts for #include in all shaders, from any thread

    static bool isInclude(const char *name);
    static void setInclude(const char *name, const String &src);
    static bool removeInclude(const char *name);
    static void clearIncludes();

    /// Folders in which #include looks for files that are found nowhere else, in the order of their addition.
    static void addIncludePath(const char *path);
    static void clearIncludePaths();

    // Cache of programs: what drivers make of shaders, kept between runs. Backends ask for a key that tells driver,
    // device, state and shaders, and compile and save on a miss. Any thread may load and save; it is opened before.

    static bool hasCache() { return cache.isOpened(); }
    /// Opens the folder of that name as a cache; null closes it. False if the reason was logged.
    static bool setCache(const char *name);
    static bool loadCache(const String &key, Stream &stream) { return cache.load(key, stream); }
    static bool saveCache(const String &key, Stream &stream) { return cache.save(key, stream, true); }
    static bool clearCache() { return cache.clear(true); }
    static uint64_t getNumCacheHits() { return cache.getNumHits(); }
    static uint64_t getNumCacheMisses() { return cache.getNumMisses(); }

    // Cache of sources: the words of GLSL texts, kept between runs. The key is the preprocessed text with the type, the
    // options and the build of the library, so that a change of a macro or an include is a miss, and so is every text
    // after an update. Only what compiled is kept.

    static bool hasSourceCache() { return source_cache.isOpened(); }
    static bool setSourceCache(const char *name);
    static bool clearSourceCache() { return source_cache.clear(true); }
    static uint64_t getNumSourceHits() { return source_cache.getNumHits(); }
    static uint64_t getNumSourceMisses() { return source_cache.getNumMisses(); }

    // the preprocessor alone; no macro but the given and the process-wide ones is set. A failure gives the null string.

    static String preprocessor(const char *src, const char *format = nullptr, ...) KOLM_PRINTF(2, 3);
    /// A failure also sets \p status to false.
    static String preprocessor(const char *src, const String &macros, const char **includes = nullptr,
                               uint32_t size = 0, bool *status = nullptr);
    static String preprocessor(const char *src, Array<Pragma> &pragmas, const String &macros,
                               const char **includes = nullptr, uint32_t size = 0, bool *status = nullptr);

    /// Text of a file as loadGLSL() hands it to the compiler, with the macros of the base alone.
    static String loadPreprocessor(const char *name, const String &macros, const char **includes = nullptr,
                                   uint32_t size = 0, bool *status = nullptr);

    /// The engine: appends the preprocessed text to \p dest. With \p expand macros of ordinary text are expanded.
    /// On a failure \p dest holds what was reached, and the reason is in the log.
    static bool preprocessor(const char *src, String &dest, State &state, bool expand);

protected:
    /// Macros of the backend: a derived class sets its own, then calls its base.
    virtual bool set_macros(State &state) const;
    /// Takes preprocessed text.
    virtual bool compile(Type type, const String &src, State &state) = 0;
    /// Takes SPIR-V words.
    virtual bool compile(Type type, const Array<uint32_t> &opcodes, State &state) = 0;

    bool compile_glsl(Type type, const String &src, State &state);

    /// Sets the vendor's macro by its PCI number; unknown ones have none.
    static bool set_vendor(State &state, uint32_t vendor_id);

    Type shader_type = TypeUnknown;
    String shader_name;
    String shader_macros;
    Array<String> shader_sources;

    int16_t sampler_offset = 0;
    int16_t texture_offset = 0;
    int16_t surface_offset = 0;
    int16_t uniform_offset = 0;
    int16_t storage_offset = 0;
    int16_t tracing_offset = 0;
    int16_t texel_offset = 0;
    int16_t table_offset = 0;

    uint8_t patch_size = 0;
    uint8_t input_size = 0;
    uint8_t output_size = 0;

private:
    friend struct ShaderPreprocessor;

    bool load_source(Type type, const char *name, const String &macros, const char **includes, uint32_t size,
                     bool glsl);
    bool create_source(Type type, const char *src, const char *name, const String &macros, const char **includes,
                       uint32_t size, bool glsl);
    static bool set_state(State &state, const char *name, const String &macros, const char **includes, uint32_t size,
                          bool glsl);
    static bool set_base_macros(State &state);
    static Compiler *get_compiler();
    void set_sources(const State &state);
    static String get_source_key(Type type, const String &src, uint32_t options);
    static bool load_words(const String &key, Array<uint32_t> &words);
    static void save_words(const String &key, const Array<uint32_t> &words);

    static SpinLock lock;
    static Cache cache;
    static Cache source_cache;
    static State global;
    static Map<String, String> includes;
    static Array<String> include_paths;
    static Atomici32 counter;                   // live Shader objects; the last one deletes the compilers
    static Map<uint32_t, Compiler *> compilers; // by kernel thread id
};

} // namespace Kolm
