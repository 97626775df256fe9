// The shaders of a ray tracing pipeline.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanArray.h>
#include <core/OstrevanString.h>
#include <format/OstrevanFormat.h>
#include <platform/OstrevanPlatform.h>
#include <platform/OstrevanShader.h>

namespace Ostrevan {

/// One ray generation shader, miss shaders, and groups of what runs at a hit, made by Device::createTraversal():
/// described first, then created, then used by Compute. The binding slots are those of Kernel, with the stages that see
/// each; slots are counted up to the first one without a stage.
class OSTREVAN_API Traversal {
    OSTREVAN_HANDLE(Traversal)
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

    Traversal();

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

    /// Copies all parameters but the name. The shaders are shared: \p traversal has to outlive their use here.
    Traversal &setParameters(const Traversal &traversal);

    /// Ray generation replaces what is there; a miss shader is appended; a hit shader goes to the last group if its
    /// place is free there, else to a new one. Other types are the caller's mistake. With \p owner it is deleted with
    /// the traversal, else the caller keeps it alive.
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

    uint32_t getNumRayMissShaders() const;
    /// Groups of hit shaders.
    uint32_t getNumTraversalShaders() const;
    /// Rays within rays; a device has Device::Features::recursionDepth.
    Traversal &setRecursionDepth(uint32_t depth);
    uint32_t getRecursionDepth() const;

    // samplers. With array a range becomes one array, which takes the slots behind its first one
    uint32_t addSampler(Shader::Mask mask);
    Traversal &setSamplerOffset(uint32_t offset);
    Traversal &setSamplerMask(uint32_t index, Shader::Mask mask, bool array = false);
    Traversal &setSamplerMasks(uint32_t index, uint32_t num, Shader::Mask mask, bool array = false);
    Traversal &setSamplerArray(uint32_t index, uint32_t num, bool array = true);
    uint32_t getNumSamplers() const;
    uint32_t getSamplerOffset() const;
    Shader::Mask getSamplerMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getSamplerMask(uint32_t index) const;
    uint32_t getSamplerArray(uint32_t index) const;

    // sampled textures
    uint32_t addTexture(Shader::Mask mask);
    Traversal &setTextureOffset(uint32_t offset);
    Traversal &setTextureMask(uint32_t index, Shader::Mask mask, bool array = false);
    Traversal &setTextureMasks(uint32_t index, uint32_t num, Shader::Mask mask, bool array = false);
    Traversal &setTextureArray(uint32_t index, uint32_t num, bool array = true);
    uint32_t getNumTextures() const;
    uint32_t getTextureOffset() const;
    Shader::Mask getTextureMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getTextureMask(uint32_t index) const;
    uint32_t getTextureArray(uint32_t index) const;

    // storage images
    uint32_t addSurface(Shader::Mask mask);
    Traversal &setSurfaceOffset(uint32_t offset);
    Traversal &setSurfaceMask(uint32_t index, Shader::Mask mask, bool array = false);
    Traversal &setSurfaceMasks(uint32_t index, uint32_t num, Shader::Mask mask, bool array = false);
    Traversal &setSurfaceArray(uint32_t index, uint32_t num, bool array = true);
    uint32_t getNumSurfaces() const;
    uint32_t getSurfaceOffset() const;
    Shader::Mask getSurfaceMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getSurfaceMask(uint32_t index) const;
    uint32_t getSurfaceArray(uint32_t index) const;

    // uniform buffers
    uint32_t addUniform(Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Traversal &setUniformOffset(uint32_t offset);
    Traversal &setUniformMask(uint32_t index, Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Traversal &setUniformMasks(uint32_t index, uint32_t num, Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Traversal &setUniformFlags(uint32_t index, BindFlags flags);
    uint32_t getNumUniforms() const;
    uint32_t getUniformOffset() const;
    Shader::Mask getUniformMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getUniformMask(uint32_t index) const;
    BindFlags getUniformFlags(uint32_t index) const;

    // storage buffers
    uint32_t addStorage(Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Traversal &setStorageOffset(uint32_t offset);
    Traversal &setStorageMask(uint32_t index, Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Traversal &setStorageMasks(uint32_t index, uint32_t num, Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Traversal &setStorageFlags(uint32_t index, BindFlags flags);
    uint32_t getNumStorages() const;
    uint32_t getStorageOffset() const;
    Shader::Mask getStorageMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getStorageMask(uint32_t index) const;
    BindFlags getStorageFlags(uint32_t index) const;

    // acceleration structures
    uint32_t addTracing(Shader::Mask mask);
    Traversal &setTracingOffset(uint32_t offset);
    Traversal &setTracingMask(uint32_t index, Shader::Mask mask);
    Traversal &setTracingMasks(uint32_t index, uint32_t num, Shader::Mask mask);
    uint32_t getNumTracings() const;
    uint32_t getTracingOffset() const;
    Shader::Mask getTracingMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getTracingMask(uint32_t index) const;

    // texel buffers
    uint32_t addTexel(Shader::Mask mask);
    Traversal &setTexelOffset(uint32_t offset);
    Traversal &setTexelMask(uint32_t index, Shader::Mask mask);
    Traversal &setTexelMasks(uint32_t index, uint32_t num, Shader::Mask mask);
    uint32_t getNumTexels() const;
    uint32_t getTexelOffset() const;
    Shader::Mask getTexelMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getTexelMask(uint32_t index) const;

    // tables of textures or storage buffers; a size is a number of entries
    uint32_t addTable(TableType type, uint32_t size, Shader::Mask mask, BindFlags flags = DefaultBindFlags);
    Traversal &setTableOffset(uint32_t offset);
    Traversal &setTableType(uint32_t index, TableType type, uint32_t size, Shader::Mask mask,
                            BindFlags flags = DefaultBindFlags, bool enable = true);
    Traversal &setTableMask(uint32_t index, Shader::Mask mask);
    Traversal &setTableFlags(uint32_t index, BindFlags flags);
    uint32_t getNumTables() const;
    uint32_t getTableOffset() const;
    TableType getTableType(uint32_t index) const;
    uint32_t getTableSize(uint32_t index) const;
    BindFlags getTableFlags(uint32_t index) const;
    Shader::Mask getTableMasks(uint32_t index, uint32_t num) const;
    Shader::Mask getTableMask(uint32_t index) const;
};

inline Traversal::BindFlags operator|(Traversal::BindFlags a, Traversal::BindFlags b) {
    return Traversal::BindFlags(uint32_t(a) | uint32_t(b));
}

} // namespace Ostrevan
