// One compute shader with the list of resources that it binds.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanString.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

class Shader;

/// Compute shader and its binding slots, made by Device::createKernel(): described first, then created, then used.
///
/// Each kind of resource has a number of slots and an offset; the binding number in the shader is the slot's index plus
/// the offset of its kind. Setters return the handle. Slots and sizes above the limits are the caller's mistake.
///
///     Kernel kernel = device.createKernel();
///     kernel.setUniforms(1).setStorages(2).setStorageOffset(1);       // bindings 0, and 1 and 2
///     if(!kernel.createShaderGLSL(src, "SIZE=%uu", 64u) || !kernel.create()) return 1;
///
/// Describing is for one thread; create() may run on any thread that may use the device.
class OSTREVAN_API Kernel {
    OSTREVAN_HANDLE(Kernel)
public:
#include <foundation/SlotLimits.inc>

    Kernel();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    uint32_t getIndex() const;

    /// Removes the shader and gives all parameters their defaults.
    void clear();
    bool isCreated() const;
    /// Makes layouts and pipeline of what was described. False if the reason was logged.
    bool create();

    /// Name in messages and in the API's debug tools.
    void setName(const char *name);
    String getName() const;

    /// Copies all parameters but the name. The shader is shared: \p kernel has to outlive its use here.
    Kernel &setParameters(const Kernel &kernel);

    /// Shader for several kernels, which the caller keeps alive. With \p owner the kernel deletes it.
    void setShader(const Shader &shader, bool owner = false);
    uint32_t getNumShaders() const;

    // Builds a compute shader from a file, a text or SPIR-V words. Macros are "NAME" or "NAME=value" separated by ";",
    // with printf-style arguments. Includes are pairs of a name and a text; \p size counts pointers. The GLSL forms go
    // through the library's own compiler. False if the reason was logged; a present shader stays then.
    bool loadShader(const char *name, const char *format = nullptr, ...) OSTREVAN_PRINTF(3, 4);
    bool loadShader(const char *name, const String &macros, const char **includes = nullptr, uint32_t size = 0);
    bool loadShaderGLSL(const char *name, const char *format = nullptr, ...) OSTREVAN_PRINTF(3, 4);
    bool loadShaderGLSL(const char *name, const String &macros, const char **includes = nullptr, uint32_t size = 0);
    bool loadShaderSPIRV(const char *name);
    bool createShader(const char *src, const char *format = nullptr, ...) OSTREVAN_PRINTF(3, 4);
    bool createShader(const char *src, const String &macros, const char **includes = nullptr, uint32_t size = 0);
    bool createShaderGLSL(const char *src, const char *format = nullptr, ...) OSTREVAN_PRINTF(3, 4);
    bool createShaderGLSL(const char *src, const String &macros, const char **includes = nullptr, uint32_t size = 0);
    bool createShaderSPIRV(const uint32_t *words, uint32_t size);

    /// Threads of a group in x, y and z as the shader declares them; 0 until the kernel is created.
    uint32_t getGroupWidth() const;
    uint32_t getGroupHeight() const;
    uint32_t getGroupDepth() const;

    // samplers. An array takes \p num slots from \p index on; its binding is that of its first slot
    uint32_t addSampler();
    Kernel &setSamplers(uint32_t num);
    Kernel &setSamplerOffset(uint32_t offset);
    Kernel &setSamplerArray(uint32_t index, uint32_t num, bool array = true);
    uint32_t getNumSamplers() const;
    uint32_t getSamplerOffset() const;
    uint32_t getSamplerArray(uint32_t index) const;

    // sampled textures
    uint32_t addTexture();
    Kernel &setTextures(uint32_t num);
    Kernel &setTextureOffset(uint32_t offset);
    Kernel &setTextureArray(uint32_t index, uint32_t num, bool array = true);
    uint32_t getNumTextures() const;
    uint32_t getTextureOffset() const;
    uint32_t getTextureArray(uint32_t index) const;

    // storage images
    uint32_t addSurface();
    Kernel &setSurfaces(uint32_t num);
    Kernel &setSurfaceOffset(uint32_t offset);
    Kernel &setSurfaceArray(uint32_t index, uint32_t num, bool array = true);
    uint32_t getNumSurfaces() const;
    uint32_t getSurfaceOffset() const;
    uint32_t getSurfaceArray(uint32_t index) const;

    // uniform buffers
    uint32_t addUniform(BindFlags flags = DefaultBindFlags);
    Kernel &setUniforms(uint32_t num, BindFlags flags = DefaultBindFlags);
    Kernel &setUniformOffset(uint32_t offset);
    Kernel &setUniformFlags(uint32_t index, BindFlags flags);
    uint32_t getNumUniforms() const;
    uint32_t getUniformOffset() const;
    BindFlags getUniformFlags(uint32_t index) const;

    // storage buffers
    uint32_t addStorage(BindFlags flags = DefaultBindFlags);
    Kernel &setStorages(uint32_t num, BindFlags flags = DefaultBindFlags);
    Kernel &setStorageOffset(uint32_t offset);
    Kernel &setStorageFlags(uint32_t index, BindFlags flags);
    uint32_t getNumStorages() const;
    uint32_t getStorageOffset() const;
    BindFlags getStorageFlags(uint32_t index) const;

    // acceleration structures
    uint32_t addTracing();
    Kernel &setTracings(uint32_t num);
    Kernel &setTracingOffset(uint32_t offset);
    uint32_t getNumTracings() const;
    uint32_t getTracingOffset() const;

    // texel buffers
    uint32_t addTexel();
    Kernel &setTexels(uint32_t num);
    Kernel &setTexelOffset(uint32_t offset);
    uint32_t getNumTexels() const;
    uint32_t getTexelOffset() const;

    // tables of textures or storage buffers; a size is a number of entries
    uint32_t addTable(TableType type, uint32_t size, BindFlags flags = DefaultBindFlags);
    Kernel &setTableOffset(uint32_t offset);
    Kernel &setTableType(uint32_t index, TableType type, uint32_t size, BindFlags flags = DefaultBindFlags,
                         bool enable = true);
    Kernel &setTableFlags(uint32_t index, BindFlags flags);
    uint32_t getNumTables() const;
    uint32_t getTableOffset() const;
    TableType getTableType(uint32_t index) const;
    uint32_t getTableSize(uint32_t index) const;
    BindFlags getTableFlags(uint32_t index) const;
};

inline Kernel::BindFlags operator|(Kernel::BindFlags a, Kernel::BindFlags b) {
    return Kernel::BindFlags(uint32_t(a) | uint32_t(b));
}

} // namespace Ostrevan
