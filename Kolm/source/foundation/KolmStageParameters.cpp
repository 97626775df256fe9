// KolmStageParameters.cpp: masks, flags and shaders of what has stages.

#include "KolmStageParameters.h"

#include "KolmLog.h"

namespace Kolm {

void StageParametersBase::set_masks(const char *method, const char *text, Mask *masks, uint32_t limit, uint8_t &count,
                                    uint32_t index, uint32_t num, Mask mask) const {
    check(index < limit && num <= limit - index, method, text);
    for(uint32_t i = 0; i < num; i++) masks[index + i] = mask;
    for(count = 0; count < limit && masks[count]; count++) {}
}

Shader::Mask StageParametersBase::get_masks(const char *method, const char *text, const Mask *masks, uint32_t limit,
                                            uint32_t index, uint32_t num) const {
    check(index < limit && num <= limit - index, method, text);
    Mask mask = Shader::MaskNone;
    for(uint32_t i = 0; i < num; i++) mask |= masks[index + i];
    return mask;
}

void StageParametersBase::set_flags(const char *method, const char *text, BindFlags *flags, uint32_t count,
                                    uint32_t index, BindFlags value) const {
    check(index < count, method, text);
    flags[index] = value;
}

void StageParametersBase::set_stage_table(const char *method, uint32_t index, TableType type, uint32_t size, Mask mask,
                                          BindFlags flags, bool enable) {
    set_table(method, index, type, size, flags, enable);
    table_masks[index] = (enable) ? mask : Shader::MaskNone;
    for(num_tables = 0; num_tables < NumTables && table_sizes[num_tables]; num_tables++) {}
}

Shader *StageParametersBase::get_shader(const char *method) {
    Shader *shader = create_stage_shader();
    if(shader == nullptr) Log::printf(Log::Error, "%s::%s(): can't create shader\n", get_class_name(), method);
    return shader;
}

} // namespace Kolm
