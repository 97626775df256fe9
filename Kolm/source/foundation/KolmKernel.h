// KolmKernel.h: one compute shader with the list of resources that it binds.
// Rests on shaders and streams. Only records and writes its state, so that equal kernels compare equal byte for byte;
// backends make layouts and the API's pipeline from the record.

#pragma once

#include "KolmParameters.h"

namespace Kolm {

/// Compute shader and its binding slots: described first, then created, then used.
///
/// Each kind of resource has a number of slots and an offset; the binding number in the shader is the slot's index plus
/// the offset of its kind. Setters return the object. Slots and sizes above the limits are the caller's mistake.
/// Describing is for one thread; create() may run on any thread that may use the device.
class Kernel : public Parameters {
public:
    /// Takes over the parameters of \p kernel, which may be null.
    explicit Kernel(uint32_t index, const Kernel *kernel = nullptr);
    ~Kernel() override;

    /// Removes the shader, deletes it if it is owned, and gives all parameters their defaults.
    void clear() override;
    const char *getKindName() const override { return "kernel"; }

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

    // sampled textures
    uint32_t addTexture();
    Kernel &setTextures(uint32_t num);
    Kernel &setTextureOffset(uint32_t offset);
    Kernel &setTextureArray(uint32_t index, uint32_t num, bool array = true);

    // storage images
    uint32_t addSurface();
    Kernel &setSurfaces(uint32_t num);
    Kernel &setSurfaceOffset(uint32_t offset);
    Kernel &setSurfaceArray(uint32_t index, uint32_t num, bool array = true);

    // uniform buffers
    uint32_t addUniform(BindFlags flags = DefaultBindFlags);
    Kernel &setUniforms(uint32_t num, BindFlags flags = DefaultBindFlags);
    Kernel &setUniformOffset(uint32_t offset);
    Kernel &setUniformFlags(uint32_t index, BindFlags flags);

    // storage buffers
    uint32_t addStorage(BindFlags flags = DefaultBindFlags);
    Kernel &setStorages(uint32_t num, BindFlags flags = DefaultBindFlags);
    Kernel &setStorageOffset(uint32_t offset);
    Kernel &setStorageFlags(uint32_t index, BindFlags flags);

    // acceleration structures
    uint32_t addTracing();
    Kernel &setTracings(uint32_t num);
    Kernel &setTracingOffset(uint32_t offset);

    // texel buffers
    uint32_t addTexel();
    Kernel &setTexels(uint32_t num);
    Kernel &setTexelOffset(uint32_t offset);

    // tables of textures or storage buffers; a size is a number of entries
    uint32_t addTable(TableType type, uint32_t size, BindFlags flags = DefaultBindFlags);
    Kernel &setTableOffset(uint32_t offset);
    /// Sets one slot. The number of tables becomes that of the slots in front that have a size. Without \p enable the
    /// slot is emptied.
    Kernel &setTableType(uint32_t index, TableType type, uint32_t size, BindFlags flags = DefaultBindFlags,
                         bool enable = true);
    Kernel &setTableFlags(uint32_t index, BindFlags flags);

protected:
    /// Empty shader of the backend.
    virtual Shader *create_shader(Kernel *kernel);

    const char *get_class_name() const override { return "Kernel"; }

    Shader *compute_shader = nullptr;
    bool shader_owner = false;
    uint16_t group_size[3] = {}; // threads; a backend sets it from the shader's module in create()

private:
    Shader *get_shader(const char *method);
    bool attach_shader(Shader *shader, bool loaded);
};

} // namespace Kolm
