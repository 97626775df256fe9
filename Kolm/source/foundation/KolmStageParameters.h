// KolmStageParameters.h: the setting side of binding slots that several stages see, and the ways to a shader of any
// type. Written once for Pipeline and Traversal; what they return is the object itself, for chains.

#pragma once

#include "KolmParameters.h"

namespace Kolm {

/// Part of StageParameters that does not depend on the class.
class StageParametersBase : public Parameters {
protected:
    using Mask = Shader::Mask;

    explicit StageParametersBase(uint32_t index) : Parameters(index) {}

    /// Stores masks and counts the slots in front that have one: a gap hides all that follows it.
    void set_masks(const char *method, const char *text, Mask *masks, uint32_t limit, uint8_t &count, uint32_t index,
                   uint32_t num, Mask mask) const;
    Mask get_masks(const char *method, const char *text, const Mask *masks, uint32_t limit, uint32_t index,
                   uint32_t num) const;
    void set_flags(const char *method, const char *text, BindFlags *flags, uint32_t count, uint32_t index,
                   BindFlags value) const;
    void set_stage_table(const char *method, uint32_t index, TableType type, uint32_t size, Mask mask, BindFlags flags,
                         bool enable);

    /// Empty shader of the backend.
    virtual Shader *create_stage_shader() = 0;
    /// Takes over a shader that was loaded, by its type.
    virtual void attach_shader(Shader *shader) = 0;
    virtual bool is_shader_type(Shader::Type type) const = 0;

    /// New shader of a type that the object takes, for \p load to drive; attached if that succeeds.
    template<class Load> bool load_shader(const char *method, Shader::Type type, Load load) {
        check(is_shader_type(type), method, "unknown shader type");
        Shader *shader = get_shader(method);
        if(shader == nullptr) return false;
        if(load(*shader)) {
            attach_shader(shader);
            return true;
        }
        delete shader;
        return false;
    }

private:
    Shader *get_shader(const char *method);
};

template<class Self> class StageParameters : public StageParametersBase {
public:
    // Slots of one kind. Masks tell the stages that see a slot; with array the range becomes one array. Offsets are
    // below 256. Ranges outside of the limits are the caller's mistake.
#define STAGE_KIND(NAME, FIELD)                                                                                      \
    Self &set##NAME##Offset(uint32_t offset) {                                                                       \
        check(offset < 256, "set" #NAME "Offset", "invalid " #FIELD " offset");                                      \
        set_offset(FIELD##_offset, offset);                                                                          \
        return self();                                                                                               \
    }                                                                                                                \
    Mask get##NAME##Masks(uint32_t index, uint32_t num) const {                                                      \
        return get_masks("get" #NAME "Masks", "invalid " #FIELD "s range", FIELD##_masks, Num##NAME##s, index, num); \
    }                                                                                                                \
    Mask get##NAME##Mask(uint32_t index) const {                                                                     \
        return get_masks("get" #NAME "Mask", "invalid " #FIELD " index", FIELD##_masks, Num##NAME##s, index, 1);     \
    }

#define STAGE_ARRAY_KIND(NAME, FIELD)                                                                                 \
    STAGE_KIND(NAME, FIELD)                                                                                           \
    uint32_t add##NAME(Mask mask) {                                                                                   \
        const uint32_t index = num_##FIELD##s;                                                                        \
        check(index < Num##NAME##s, "add" #NAME, "invalid number of " #FIELD "s");                                    \
        set##NAME##Mask(index, mask);                                                                                 \
        return index;                                                                                                 \
    }                                                                                                                 \
    Self &set##NAME##Mask(uint32_t index, Mask mask, bool array = false) {                                            \
        set_masks("set" #NAME "Mask", "invalid " #FIELD " index", FIELD##_masks, Num##NAME##s, num_##FIELD##s, index, \
                  1, mask);                                                                                           \
        if(array) FIELD##_arrays[index] = 1;                                                                          \
        return self();                                                                                                \
    }                                                                                                                 \
    Self &set##NAME##Masks(uint32_t index, uint32_t num, Mask mask, bool array = false) {                             \
        set_masks("set" #NAME "Masks", "invalid " #FIELD "s range", FIELD##_masks, Num##NAME##s, num_##FIELD##s,      \
                  index, num, mask);                                                                                  \
        if(array && num) FIELD##_arrays[index] = uint8_t(num);                                                        \
        return self();                                                                                                \
    }                                                                                                                 \
    Self &set##NAME##Array(uint32_t index, uint32_t num, bool array = true) {                                         \
        set_array("set" #NAME "Array", "invalid " #FIELD "s range", FIELD##_arrays, Num##NAME##s, index, num, array); \
        return self();                                                                                                \
    }

#define STAGE_BUFFER_KIND(NAME, FIELD)                                                                                \
    STAGE_KIND(NAME, FIELD)                                                                                           \
    uint32_t add##NAME(Mask mask, BindFlags flags = DefaultBindFlags) {                                               \
        const uint32_t index = num_##FIELD##s;                                                                        \
        check(index < Num##NAME##s, "add" #NAME, "invalid number of " #FIELD "s");                                    \
        set##NAME##Mask(index, mask, flags);                                                                          \
        return index;                                                                                                 \
    }                                                                                                                 \
    Self &set##NAME##Mask(uint32_t index, Mask mask, BindFlags flags = DefaultBindFlags) {                            \
        set_masks("set" #NAME "Mask", "invalid " #FIELD " index", FIELD##_masks, Num##NAME##s, num_##FIELD##s, index, \
                  1, mask);                                                                                           \
        FIELD##_flags[index] = flags;                                                                                 \
        return self();                                                                                                \
    }                                                                                                                 \
    Self &set##NAME##Masks(uint32_t index, uint32_t num, Mask mask, BindFlags flags = DefaultBindFlags) {             \
        set_masks("set" #NAME "Masks", "invalid " #FIELD "s range", FIELD##_masks, Num##NAME##s, num_##FIELD##s,      \
                  index, num, mask);                                                                                  \
        for(uint32_t i = 0; i < num; i++) FIELD##_flags[index + i] = flags;                                           \
        return self();                                                                                                \
    }                                                                                                                 \
    Self &set##NAME##Flags(uint32_t index, BindFlags flags) {                                                         \
        set_flags("set" #NAME "Flags", "invalid " #FIELD " index", FIELD##_flags, num_##FIELD##s, index, flags);      \
        return self();                                                                                                \
    }

#define STAGE_PLAIN_KIND(NAME, FIELD)                                                                                 \
    STAGE_KIND(NAME, FIELD)                                                                                           \
    uint32_t add##NAME(Mask mask) {                                                                                   \
        const uint32_t index = num_##FIELD##s;                                                                        \
        check(index < Num##NAME##s, "add" #NAME, "invalid number of " #FIELD "s");                                    \
        set##NAME##Mask(index, mask);                                                                                 \
        return index;                                                                                                 \
    }                                                                                                                 \
    Self &set##NAME##Mask(uint32_t index, Mask mask) {                                                                \
        set_masks("set" #NAME "Mask", "invalid " #FIELD " index", FIELD##_masks, Num##NAME##s, num_##FIELD##s, index, \
                  1, mask);                                                                                           \
        return self();                                                                                                \
    }                                                                                                                 \
    Self &set##NAME##Masks(uint32_t index, uint32_t num, Mask mask) {                                                 \
        set_masks("set" #NAME "Masks", "invalid " #FIELD "s range", FIELD##_masks, Num##NAME##s, num_##FIELD##s,      \
                  index, num, mask);                                                                                  \
        return self();                                                                                                \
    }

    STAGE_ARRAY_KIND(Sampler, sampler)
    STAGE_ARRAY_KIND(Texture, texture)
    STAGE_ARRAY_KIND(Surface, surface)
    STAGE_BUFFER_KIND(Uniform, uniform)
    STAGE_BUFFER_KIND(Storage, storage)
    STAGE_PLAIN_KIND(Tracing, tracing)
    STAGE_PLAIN_KIND(Texel, texel)

#undef STAGE_KIND
#undef STAGE_ARRAY_KIND
#undef STAGE_BUFFER_KIND
#undef STAGE_PLAIN_KIND

    // Tables of textures or storage buffers; a size is a number of entries. Counted are the slots in front that have a
    // size.
    uint32_t addTable(TableType type, uint32_t size, Mask mask, BindFlags flags = DefaultBindFlags) {
        const uint32_t index = num_tables;
        check(size != 0, "addTable", "invalid table size");
        setTableType(index, type, size, mask, flags);
        return index;
    }
    Self &setTableOffset(uint32_t offset) {
        check(offset < 256, "setTableOffset", "invalid table offset");
        set_offset(table_offset, offset);
        return self();
    }
    Self &setTableType(uint32_t index, TableType type, uint32_t size, Mask mask, BindFlags flags = DefaultBindFlags,
                       bool enable = true) {
        set_stage_table("setTableType", index, type, size, mask, flags, enable);
        return self();
    }
    Self &setTableMask(uint32_t index, Mask mask) {
        check(index < NumTables, "setTableMask", "invalid table index");
        table_masks[index] = mask;
        return self();
    }
    Self &setTableFlags(uint32_t index, BindFlags flags) {
        set_flags("setTableFlags", "invalid table index", table_flags, num_tables, index, flags);
        return self();
    }
    /// Kept: the text of its assertion names texels.
    Mask getTableMasks(uint32_t index, uint32_t num) const {
        return get_masks("getTableMasks", "invalid texels range", table_masks, NumTables, index, num);
    }
    Mask getTableMask(uint32_t index) const {
        return get_masks("getTableMask", "invalid table index", table_masks, NumTables, index, 1);
    }

    // Shaders from a file, a text or SPIR-V words by the shader's operation of that name. The new shader is owned, and
    // takes its place by its type; if that fails what is there stays.
    bool loadShader(Shader::Type type, const char *name, const String &macros = String(),
                    const char **includes = nullptr, uint32_t size = 0) {
        return load_shader("loadShader", type,
                           [&](Shader &shader) { return shader.load(type, name, macros, includes, size); });
    }
    bool loadShaderGLSL(Shader::Type type, const char *name, const String &macros = String(),
                        const char **includes = nullptr, uint32_t size = 0) {
        return load_shader("loadShaderGLSL", type,
                           [&](Shader &shader) { return shader.loadGLSL(type, name, macros, includes, size); });
    }
    bool createShader(Shader::Type type, const char *src, const String &macros = String(),
                      const char **includes = nullptr, uint32_t size = 0) {
        return load_shader("createShader", type,
                           [&](Shader &shader) { return shader.create(type, src, macros, includes, size); });
    }
    bool createShaderGLSL(Shader::Type type, const char *src, const String &macros = String(),
                          const char **includes = nullptr, uint32_t size = 0) {
        return load_shader("createShaderGLSL", type,
                           [&](Shader &shader) { return shader.createGLSL(type, src, macros, includes, size); });
    }
    bool loadShaderSPIRV(Shader::Type type, const char *name) {
        return load_shader("loadShaderSPIRV", type, [&](Shader &shader) { return shader.loadSPIRV(type, name); });
    }
    bool createShaderSPIRV(Shader::Type type, const Array<uint32_t> &data) {
        return load_shader("createShaderSPIRV", type, [&](Shader &shader) { return shader.createSPIRV(type, data); });
    }

protected:
    explicit StageParameters(uint32_t index) : StageParametersBase(index) {}

    virtual Shader *create_shader(Self *object) {
        (void)object;
        return nullptr;
    }
    Shader *create_stage_shader() override { return create_shader(&self()); }
    void attach_shader(Shader *shader) override { self().addShader(shader, true); }

private:
    Self &self() { return static_cast<Self &>(*this); }
};

} // namespace Kolm
