// KolmParameters.h: the binding slots that kernels, pipelines and traversals have in common.
// Rests on shaders and streams. Holds the record, its reading side and its bytes; who may set what is each class's own.
//
// Each kind of resource has a number of slots and an offset: the binding number in the shader is the slot's index plus
// the offset of its kind. An array takes as many slots as it has elements; its size stands at the first one.

#pragma once

#include "KolmPlatform.h"
#include "KolmShader.h"
#include "KolmStream.h"
#include "KolmString.h"

namespace Kolm {

/// Base of Kernel, Pipeline and Traversal. Describing is for one thread.
class Parameters : public PlatformBase {
public:
#include "SlotLimits.inc"

    /// Gives all parameters their defaults and forgets the name.
    virtual void clear();
    virtual bool isCreated() const = 0;
    /// Name in messages and in the API's debug tools.
    virtual void setName(const char *name);
    /// Makes layouts and pipeline of what was described.
    virtual bool create() = 0;

    const String &getName() const { return object_name; }
    /// "kernel", "pipeline" or "traversal".
    virtual const char *getKindName() const = 0;

    /// Kinds of slots, in the order of their fields.
    enum Kind {
        KindSampler = 0,
        KindTexture,
        KindSurface,
        KindUniform,
        KindStorage,
        KindTracing,
        KindTexel,
        KindTable,
        NumKinds
    };
    /// The declared slots of a kind; null for what the kind does not have.
    struct SlotList {
        uint32_t num;
        uint32_t offset; // binding number of the first slot
        const uint8_t *arrays;
        const BindFlags *flags;
        const Shader::Mask *masks; // all none for a kernel, which has one stage

        /// Slots that the array beginning at a slot takes, 1 for a single resource.
        uint32_t getArray(uint32_t index) const { return (arrays && arrays[index]) ? arrays[index] : 1; }
    };
    SlotList getSlots(Kind kind) const;

    // arrays: the size of the array that begins at the slot, 0 for a single resource
    uint32_t getNumSamplers() const { return num_samplers; }
    uint32_t getSamplerOffset() const { return sampler_offset; }
    const uint8_t *getSamplerArrays() const { return sampler_arrays; }
    uint32_t getSamplerArray(uint32_t index) const;
    uint32_t getNumTextures() const { return num_textures; }
    uint32_t getTextureOffset() const { return texture_offset; }
    const uint8_t *getTextureArrays() const { return texture_arrays; }
    uint32_t getTextureArray(uint32_t index) const;
    uint32_t getNumSurfaces() const { return num_surfaces; }
    uint32_t getSurfaceOffset() const { return surface_offset; }
    const uint8_t *getSurfaceArrays() const { return surface_arrays; }
    uint32_t getSurfaceArray(uint32_t index) const;

    uint32_t getNumUniforms() const { return num_uniforms; }
    uint32_t getUniformOffset() const { return uniform_offset; }
    BindFlags getUniformFlags(uint32_t index) const;
    uint32_t getNumStorages() const { return num_storages; }
    uint32_t getStorageOffset() const { return storage_offset; }
    BindFlags getStorageFlags(uint32_t index) const;

    uint32_t getNumTracings() const { return num_tracings; }
    uint32_t getTracingOffset() const { return tracing_offset; }
    uint32_t getNumTexels() const { return num_texels; }
    uint32_t getTexelOffset() const { return texel_offset; }

    /// Tables of textures or storage buffers; a size is a number of entries.
    uint32_t getNumTables() const { return num_tables; }
    uint32_t getTableOffset() const { return table_offset; }
    TableType getTableType(uint32_t index) const;
    uint32_t getTableSize(uint32_t index) const;
    BindFlags getTableFlags(uint32_t index) const;

protected:
    explicit Parameters(uint32_t index) : PlatformBase(index) {}

    /// Name of the class in assertions.
    virtual const char *get_class_name() const = 0;
    /// Ends the process with "Class::method(): text" unless \p condition holds.
    void check(bool condition, const char *method, const char *text) const {
        if(KOLM_UNLIKELY(!condition)) fail(method, text);
    }

    void set_parameter_defaults();
    void copy_parameters(const Parameters &parameters);
    /// Writes the record; the masks with \p masks only.
    bool save_parameters(Stream &stream, bool masks) const;

    static void set_offset(uint8_t &dest, uint32_t offset) { dest = uint8_t(offset); }
    void set_array(const char *method, const char *text, uint8_t *arrays, uint32_t limit, uint32_t index, uint32_t num,
                   bool array) const;
    void set_table(const char *method, uint32_t index, TableType type, uint32_t size, BindFlags flags, bool enable);

    String object_name;

    // sizes of arrays stand at the first slot
    uint8_t num_samplers = 0;
    uint8_t sampler_offset = 0;
    Shader::Mask sampler_masks[NumSamplers] = {};
    uint8_t sampler_arrays[NumSamplers] = {};
    uint8_t num_textures = 0;
    uint8_t texture_offset = 0;
    Shader::Mask texture_masks[NumTextures] = {};
    uint8_t texture_arrays[NumTextures] = {};
    uint8_t num_surfaces = 0;
    uint8_t surface_offset = 0;
    Shader::Mask surface_masks[NumSurfaces] = {};
    uint8_t surface_arrays[NumSurfaces] = {};
    uint8_t num_uniforms = 0;
    uint8_t uniform_offset = 0;
    Shader::Mask uniform_masks[NumUniforms] = {};
    BindFlags uniform_flags[NumUniforms] = {};
    uint8_t num_storages = 0;
    uint8_t storage_offset = 0;
    Shader::Mask storage_masks[NumStorages] = {};
    BindFlags storage_flags[NumStorages] = {};
    uint8_t num_tracings = 0;
    uint8_t tracing_offset = 0;
    Shader::Mask tracing_masks[NumTracings] = {};
    uint8_t num_texels = 0;
    uint8_t texel_offset = 0;
    Shader::Mask texel_masks[NumTexels] = {};
    uint8_t num_tables = 0;
    uint8_t table_offset = 0;
    TableType table_types[NumTables] = {};
    uint32_t table_sizes[NumTables] = {};
    Shader::Mask table_masks[NumTables] = {};
    BindFlags table_flags[NumTables] = {};

private:
    [[noreturn]] void fail(const char *method, const char *text) const;
};

inline Parameters::BindFlags operator|(Parameters::BindFlags a, Parameters::BindFlags b) {
    return Parameters::BindFlags(uint32_t(a) | uint32_t(b));
}

/// Writers of states: bytes, words and 16-bit numbers, in the order of the slots.
namespace ParametersState {

inline bool write(Stream &stream, uint8_t value) { return stream.writeu8(value); }

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

} // namespace ParametersState

} // namespace Kolm
