// KolmKernel.h: one compute shader with the list of resources that it binds.
// Rests on shaders and streams. Only records and writes its state, so that equal kernels compare equal byte for byte;
// backends make layouts and the API's pipeline from the record.

#pragma once

#include "KolmPlatform.h"
#include "KolmShader.h"
#include "KolmStream.h"
#include "KolmString.h"

namespace Kolm {

/// Compute shader and its binding slots: described first, then created, then used.
///
/// Each kind of resource has a number of slots and an offset; the binding number in the shader is the slot's index plus
/// the offset of its kind. Setters return the object. Slots and sizes above the limits are the caller's mistake.
/// Describing is for one thread; create() may run on any thread that may use the device.
class Kernel : public PlatformBase {
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

    /// Takes over the parameters of \p kernel, which may be null.
    explicit Kernel(uint32_t index, const Kernel *kernel = nullptr);
    ~Kernel() override;

    /// Removes the shader, deletes it if it is owned, and gives all parameters their defaults.
    virtual void clear();
    virtual bool isCreated() const = 0;
    /// Name in messages and in the API's debug tools.
    virtual void setName(const char *name);
    /// Makes layouts and pipeline of what was described.
    virtual bool create() = 0;

    const String &getName() const { return kernel_name; }

    /// Copies all parameters but the name. The shader is shared: \p kernel has to outlive its use here.
    Kernel &setParameters(const Kernel *kernel);
    /// Writes the complete state apart from the shader: 374 bytes in a fixed order.
    bool saveState(Stream &stream) const;

    // shader
    /// A previous shader is deleted if it is owned.
    void setShader(Shader *shader, bool owner = false);
    Shader *getComputeShader() const { return compute_shader; }
    bool isShaderOwner() const { return shader_owner; }
    uint32_t getNumShaders() const { return (compute_shader) ? 1 : 0; }
    void getShaders(Array<Shader *> &shaders) const;

    // builds a compute shader by the shader's operation of that name; on failure the present one stays
    bool loadShader(const char *name, const char *format = nullptr, ...) KOLM_PRINTF(3, 4);
    bool loadShader(const char *name, const String &macros, const char **includes = nullptr, uint32_t size = 0);
    bool loadShaderGLSL(const char *name, const char *format = nullptr, ...) KOLM_PRINTF(3, 4);
    bool loadShaderGLSL(const char *name, const String &macros, const char **includes = nullptr, uint32_t size = 0);
    bool loadShaderSPIRV(const char *name);
    bool createShader(const char *src, const char *format = nullptr, ...) KOLM_PRINTF(3, 4);
    bool createShader(const char *src, const String &macros, const char **includes = nullptr, uint32_t size = 0);
    bool createShaderGLSL(const char *src, const char *format = nullptr, ...) KOLM_PRINTF(3, 4);
    bool createShaderGLSL(const char *src, const String &macros, const char **includes = nullptr, uint32_t size = 0);
    bool createShaderSPIRV(const Array<uint32_t> &data);

    /// Threads of a group in x, y and z as the shader declares them; 0 until it is known.
    uint32_t getGroupWidth() const { return group_size[0]; }
    uint32_t getGroupHeight() const { return group_size[1]; }
    uint32_t getGroupDepth() const { return group_size[2]; }

    // samplers. An array takes \p num slots from \p index on, whose binding is that of its first slot
    uint32_t addSampler();
    Kernel &setSamplers(uint32_t num);
    Kernel &setSamplerOffset(uint32_t offset);
    Kernel &setSamplerArray(uint32_t index, uint32_t num, bool array = true);
    uint32_t getNumSamplers() const { return num_samplers; }
    uint32_t getSamplerOffset() const { return sampler_offset; }
    const uint8_t *getSamplerArrays() const { return sampler_arrays; }
    /// Size of the array that begins at the slot, 0 for a single sampler.
    uint32_t getSamplerArray(uint32_t index) const;

    // sampled textures
    uint32_t addTexture();
    Kernel &setTextures(uint32_t num);
    Kernel &setTextureOffset(uint32_t offset);
    Kernel &setTextureArray(uint32_t index, uint32_t num, bool array = true);
    uint32_t getNumTextures() const { return num_textures; }
    uint32_t getTextureOffset() const { return texture_offset; }
    const uint8_t *getTextureArrays() const { return texture_arrays; }
    /// Size of the array that begins at the slot, 0 for a single texture.
    uint32_t getTextureArray(uint32_t index) const;

    // storage images
    uint32_t addSurface();
    Kernel &setSurfaces(uint32_t num);
    Kernel &setSurfaceOffset(uint32_t offset);
    Kernel &setSurfaceArray(uint32_t index, uint32_t num, bool array = true);
    uint32_t getNumSurfaces() const { return num_surfaces; }
    uint32_t getSurfaceOffset() const { return surface_offset; }
    const uint8_t *getSurfaceArrays() const { return surface_arrays; }
    /// Size of the array that begins at the slot, 0 for a single surface.
    uint32_t getSurfaceArray(uint32_t index) const;

    // uniform buffers
    uint32_t addUniform(BindFlags flags = DefaultBindFlags);
    Kernel &setUniforms(uint32_t num, BindFlags flags = DefaultBindFlags);
    Kernel &setUniformOffset(uint32_t offset);
    Kernel &setUniformFlags(uint32_t index, BindFlags flags);
    uint32_t getNumUniforms() const { return num_uniforms; }
    uint32_t getUniformOffset() const { return uniform_offset; }
    BindFlags getUniformFlags(uint32_t index) const;

    // storage buffers
    uint32_t addStorage(BindFlags flags = DefaultBindFlags);
    Kernel &setStorages(uint32_t num, BindFlags flags = DefaultBindFlags);
    Kernel &setStorageOffset(uint32_t offset);
    Kernel &setStorageFlags(uint32_t index, BindFlags flags);
    uint32_t getNumStorages() const { return num_storages; }
    uint32_t getStorageOffset() const { return storage_offset; }
    BindFlags getStorageFlags(uint32_t index) const;

    // acceleration structures
    uint32_t addTracing();
    Kernel &setTracings(uint32_t num);
    Kernel &setTracingOffset(uint32_t offset);
    uint32_t getNumTracings() const { return num_tracings; }
    uint32_t getTracingOffset() const { return tracing_offset; }

    // texel buffers
    uint32_t addTexel();
    Kernel &setTexels(uint32_t num);
    Kernel &setTexelOffset(uint32_t offset);
    uint32_t getNumTexels() const { return num_texels; }
    uint32_t getTexelOffset() const { return texel_offset; }

    // tables of textures or storage buffers; a size is a number of entries
    uint32_t addTable(TableType type, uint32_t size, BindFlags flags = DefaultBindFlags);
    Kernel &setTableOffset(uint32_t offset);
    /// Sets one slot. The number of tables becomes that of the slots in front that have a size. Without \p enable the
    /// slot is emptied.
    Kernel &setTableType(uint32_t index, TableType type, uint32_t size, BindFlags flags = DefaultBindFlags,
                         bool enable = true);
    Kernel &setTableFlags(uint32_t index, BindFlags flags);
    uint32_t getNumTables() const { return num_tables; }
    uint32_t getTableOffset() const { return table_offset; }
    TableType getTableType(uint32_t index) const;
    uint32_t getTableSize(uint32_t index) const;
    BindFlags getTableFlags(uint32_t index) const;

protected:
    /// Empty shader of the backend.
    virtual Shader *create_shader(Kernel *kernel);

    String kernel_name;
    Shader *compute_shader = nullptr;
    bool shader_owner = false;

    uint8_t num_samplers = 0;
    uint8_t sampler_offset = 0;
    uint8_t sampler_arrays[NumSamplers] = {}; // size of the array that begins at the slot, 0 for a single resource
    uint8_t num_textures = 0;
    uint8_t texture_offset = 0;
    uint8_t texture_arrays[NumTextures] = {};
    uint8_t num_surfaces = 0;
    uint8_t surface_offset = 0;
    uint8_t surface_arrays[NumSurfaces] = {};
    uint8_t num_uniforms = 0;
    uint8_t uniform_offset = 0;
    BindFlags uniform_flags[NumUniforms] = {};
    uint8_t num_storages = 0;
    uint8_t storage_offset = 0;
    BindFlags storage_flags[NumStorages] = {};
    uint8_t num_tracings = 0;
    uint8_t tracing_offset = 0;
    uint8_t num_texels = 0;
    uint8_t texel_offset = 0;
    uint8_t num_tables = 0;
    uint8_t table_offset = 0;
    TableType table_types[NumTables] = {};
    uint32_t table_sizes[NumTables] = {};
    BindFlags table_flags[NumTables] = {};
    uint16_t group_size[3] = {}; // threads; a backend sets it from the shader's module in create()

private:
    void set_defaults();
    Shader *get_shader(const char *method);
    bool attach_shader(Shader *shader, bool loaded);
};

inline Kernel::BindFlags operator|(Kernel::BindFlags a, Kernel::BindFlags b) {
    return Kernel::BindFlags(uint32_t(a) | uint32_t(b));
}

} // namespace Kolm
