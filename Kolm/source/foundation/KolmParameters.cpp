// KolmParameters.cpp: the record of binding slots and its bytes.

#include "KolmParameters.h"

#include <stdio.h>

namespace Kolm {

void Parameters::clear() {
    object_name.clear();
    set_parameter_defaults();
}

void Parameters::setName(const char *name) { object_name = (name) ? name : ""; }

void Parameters::fail(const char *method, const char *text) const {
    char line[160];
    snprintf(line, sizeof(line), "\"%s::%s(): %s\"", get_class_name(), method, text);
    assertion(line, __FILE__, __LINE__);
}

void Parameters::set_parameter_defaults() {
#define PARAMETER(NAME) memset(&NAME, 0, sizeof(NAME));
#define MASKS(NAME) memset(&NAME, 0, sizeof(NAME));
#include "KolmParameters.inc"
}

void Parameters::copy_parameters(const Parameters &parameters) {
#define PARAMETER(NAME) memcpy(&NAME, &parameters.NAME, sizeof(NAME));
#define MASKS(NAME) memcpy(&NAME, &parameters.NAME, sizeof(NAME));
#include "KolmParameters.inc"
}

bool Parameters::save_parameters(Stream &stream, bool masks) const {
    bool status = true;
#define PARAMETER(NAME) status &= ParametersState::write(stream, NAME);
#define MASKS(NAME) \
    if(masks) status &= ParametersState::write(stream, NAME);
#include "KolmParameters.inc"
    return status;
}

Parameters::SlotList Parameters::getSlots(Kind kind) const {
    switch(kind) {
    case KindSampler: return {num_samplers, sampler_offset, sampler_arrays, nullptr, sampler_masks};
    case KindTexture: return {num_textures, texture_offset, texture_arrays, nullptr, texture_masks};
    case KindSurface: return {num_surfaces, surface_offset, surface_arrays, nullptr, surface_masks};
    case KindUniform: return {num_uniforms, uniform_offset, nullptr, uniform_flags, uniform_masks};
    case KindStorage: return {num_storages, storage_offset, nullptr, storage_flags, storage_masks};
    case KindTracing: return {num_tracings, tracing_offset, nullptr, nullptr, tracing_masks};
    case KindTexel: return {num_texels, texel_offset, nullptr, nullptr, texel_masks};
    case KindTable: return {num_tables, table_offset, nullptr, table_flags, table_masks};
    case NumKinds: break;
    }
    KOLM_ASSERT(0 && "Parameters::getSlots(): unknown kind");
}

uint32_t Parameters::getSamplerArray(uint32_t index) const {
    check(index < NumSamplers, "getSamplerArray", "invalid sampler index");
    return sampler_arrays[index];
}

uint32_t Parameters::getTextureArray(uint32_t index) const {
    check(index < NumTextures, "getTextureArray", "invalid texture index");
    return texture_arrays[index];
}

uint32_t Parameters::getSurfaceArray(uint32_t index) const {
    check(index < NumSurfaces, "getSurfaceArray", "invalid surface index");
    return surface_arrays[index];
}

Parameters::BindFlags Parameters::getUniformFlags(uint32_t index) const {
    check(index < num_uniforms, "getUniformFlags", "invalid uniform index");
    return uniform_flags[index];
}

Parameters::BindFlags Parameters::getStorageFlags(uint32_t index) const {
    check(index < num_storages, "getStorageFlags", "invalid storage index");
    return storage_flags[index];
}

Parameters::TableType Parameters::getTableType(uint32_t index) const {
    check(index < num_tables, "getTableType", "invalid table index");
    return table_types[index];
}

uint32_t Parameters::getTableSize(uint32_t index) const {
    check(index < num_tables, "getTableSize", "invalid table index");
    return table_sizes[index];
}

Parameters::BindFlags Parameters::getTableFlags(uint32_t index) const {
    check(index < num_tables, "getTableFlags", "invalid table index");
    return table_flags[index];
}

void Parameters::set_array(const char *method, const char *text, uint8_t *arrays, uint32_t limit, uint32_t index,
                           uint32_t num, bool array) const {
    check(index < limit && num <= limit - index, method, text);
    arrays[index] = uint8_t((array) ? num : 0);
}

void Parameters::set_table(const char *method, uint32_t index, TableType type, uint32_t size, BindFlags flags,
                           bool enable) {
    check(index < NumTables, method, "invalid table index");
    check(uint32_t(type) < NumTableTypes, method, "invalid table type");
    table_types[index] = (enable) ? type : TableTypeTexture;
    table_sizes[index] = (enable) ? size : 0;
    table_flags[index] = (enable) ? flags : BindFlagNone;
}

} // namespace Kolm
