// Shaders of all backends, and the preprocessor that reads their text.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanArray.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

/// Shader of one stage, made by a device, or of class ShaderCompiler.
///
/// GLSL text goes through the library's own preprocessor and compiler to SPIR-V; the dialect is told in
/// docs/shaders.md. Macros are a list of `NAME` or `NAME=value` separated by ";", given as a printf-style format or as
/// a text; a semicolon within a value is written "\;". Includes are pairs of a name and a text for `#include`, and
/// \p size counts their pointers.
///
/// Every failure is one message with file, line, the line's text and the cause. Shaders may be loaded on several
/// threads at once, each object on one.
class OSTREVAN_API Shader {
    OSTREVAN_HANDLE(Shader)
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
        NumTypes
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
        MaskAll = MaskGraphics | MaskCompute | MaskTask | MaskMesh | MaskTracing
    };

    Shader();

    /// PlatformUnknown for an empty handle and for a ShaderCompiler.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    uint32_t getIndex() const;

    void clear();
    bool isCreated() const;

    /// Preprocesses a file or a text and hands it to the backend in its own dialect. False if the reason was logged.
    bool load(Type type, const char *name, const char *format = nullptr, ...) OSTREVAN_PRINTF(4, 5);
    bool load(Type type, const char *name, const String &macros, const char **includes = nullptr, uint32_t size = 0);
    bool create(Type type, const char *src, const char *format = nullptr, ...) OSTREVAN_PRINTF(4, 5);
    bool create(Type type, const char *src, const String &macros, const char **includes = nullptr, uint32_t size = 0);

    /// The same through the library's own compiler.
    bool loadGLSL(Type type, const char *name, const char *format = nullptr, ...) OSTREVAN_PRINTF(4, 5);
    bool loadGLSL(Type type, const char *name, const String &macros, const char **includes = nullptr,
                  uint32_t size = 0);
    bool createGLSL(Type type, const char *src, const char *format = nullptr, ...) OSTREVAN_PRINTF(4, 5);
    bool createGLSL(Type type, const char *src, const String &macros, const char **includes = nullptr,
                    uint32_t size = 0);

    /// SPIR-V words as they stand. Bytes behind the last whole word of a file are ignored.
    bool loadSPIRV(Type type, const char *name);
    bool createSPIRV(Type type, const uint32_t *words, uint32_t size);

    Type getType() const;
    const char *getTypeName() const;
    static const char *getTypeName(Type type);
    bool isVertex() const { return getType() == TypeVertex; }
    bool isControl() const { return getType() == TypeControl; }
    bool isEvaluate() const { return getType() == TypeEvaluate; }
    bool isGeometry() const { return getType() == TypeGeometry; }
    bool isFragment() const { return getType() == TypeFragment; }
    bool isCompute() const { return getType() == TypeCompute; }
    bool isTask() const { return getType() == TypeTask; }
    bool isMesh() const { return getType() == TypeMesh; }
    bool isRayGen() const { return getType() == TypeRayGen; }
    bool isRayMiss() const { return getType() == TypeRayMiss; }
    bool isClosest() const { return getType() == TypeClosest; }
    bool isFirstHit() const { return getType() == TypeFirstHit; }
    bool isIntersection() const { return getType() == TypeIntersection; }
    bool isCallable() const { return getType() == TypeCallable; }

    /// Name and macros of the last load or create.
    String getName() const;
    String getMacros() const;
    /// Names of the files and includes that the text came from, each once; its own is the first.
    Array<String> getSources() const;

    // Offsets that translators into other languages add to binding numbers, -32768 to 32767, and sizes of fixed
    // interfaces, up to 255.
    void setSamplerOffset(int32_t offset);
    void setTextureOffset(int32_t offset);
    void setSurfaceOffset(int32_t offset);
    void setUniformOffset(int32_t offset);
    void setStorageOffset(int32_t offset);
    void setTracingOffset(int32_t offset);
    void setTexelOffset(int32_t offset);
    void setTableOffset(int32_t offset);
    int32_t getSamplerOffset() const;
    int32_t getTextureOffset() const;
    int32_t getSurfaceOffset() const;
    int32_t getUniformOffset() const;
    int32_t getStorageOffset() const;
    int32_t getTracingOffset() const;
    int32_t getTexelOffset() const;
    int32_t getTableOffset() const;
    void setPatchSize(uint32_t size);
    void setInputSize(uint32_t size);
    void setOutputSize(uint32_t size);
    uint32_t getPatchSize() const;
    uint32_t getInputSize() const;
    uint32_t getOutputSize() const;

    // Macros of all shaders. Not synchronised: set them before shaders are loaded. The value of an unsigned macro
    // carries a "u" suffix. \p name may have parameters: "F(a, b)".
    static bool isMacro(const char *name);
    static bool setMacro(const char *name, int32_t value);
    static bool setMacro(const char *name, uint32_t value);
    static bool setMacro(const char *name, const char *value);
    static bool setMacros(const char *macros);
    static bool removeMacro(const char *name);
    static void clearMacros();

    // Texts for #include in all shaders. May be called on any thread.
    static bool isInclude(const char *name);
    static void setInclude(const char *name, const char *src);
    static void setInclude(const char *name, const String &src);
    static bool removeInclude(const char *name);
    static void clearIncludes();

    /// Folders in which #include looks for files that are found nowhere else, in the order of their addition.
    static void addIncludePath(const char *path);
    static void clearIncludePaths();

    // Cache of programs: what drivers make of shaders, kept in a folder between runs. It is opened before objects are
    // created; on a hit the driver compiles nothing. Keys are 40 hexadecimal digits.
    static bool hasCache();
    /// Opens the folder of that name, which is made if it is not there; null closes it. False if the reason was logged.
    static bool setCache(const char *name);
    static bool loadCache(const String &key, Stream &stream);
    static bool saveCache(const String &key, Stream &stream);
    static bool clearCache();
    /// Loads since it was opened.
    static uint64_t getNumCacheHits();
    static uint64_t getNumCacheMisses();

    // Cache of sources: what the library's compiler makes of GLSL, kept in a folder between runs. The text counts as it
    // is after preprocessing, so that a change of a macro or an include is a miss; so is every text after an update of
    // the library. Only what compiled is kept. A folder may be shared with the cache of programs.
    static bool hasSourceCache();
    static bool setSourceCache(const char *name);
    static bool clearSourceCache();
    static uint64_t getNumSourceHits();
    static uint64_t getNumSourceMisses();

    /// The preprocessor alone: no macro but those given and those of all shaders is set. A failure gives an empty
    /// string; so does a text of which nothing is left, hence \p status, which a failure sets to false.
    static String preprocessor(const char *src, const char *format = nullptr, ...) OSTREVAN_PRINTF(2, 3);
    static String preprocessor(const char *src, const String &macros, const char **includes = nullptr,
                               uint32_t size = 0, bool *status = nullptr);
    /// Text of a file as loadGLSL() hands it to the compiler.
    static String loadPreprocessor(const char *name, const String &macros, const char **includes = nullptr,
                                   uint32_t size = 0, bool *status = nullptr);
};

inline Shader::Mask operator|(Shader::Mask a, Shader::Mask b) { return Shader::Mask(uint32_t(a) | uint32_t(b)); }
inline Shader::Mask operator&(Shader::Mask a, Shader::Mask b) { return Shader::Mask(uint32_t(a) & uint32_t(b)); }

} // namespace Ostrevan
