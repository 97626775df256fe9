// KolmSampler.cpp: parameters of samplers.

#include "KolmSampler.h"

#include <float.h>

namespace Kolm {

Sampler::Sampler(uint32_t index, const Sampler *sampler) : PlatformBase(index) {
    set_defaults();
    if(sampler) copy_parameters(*sampler);
}

void Sampler::clear() { set_defaults(); }

void Sampler::set_defaults() {
    filter = FilterBilinear;
    anisotropy = MaxAnisotropy;
    wrap_mode_s = wrap_mode_t = wrap_mode_r = WrapModeRepeat;
    lod_min = -FLT_MAX;
    lod_max = FLT_MAX;
    lod_bias = 0.0f;
    border_color = Color();
    compare_func = CompareFuncNone;
    reduction_mode = ReductionModeAverage;
}

void Sampler::copy_parameters(const Sampler &sampler) {
    filter = sampler.filter;
    anisotropy = sampler.anisotropy;
    wrap_mode_s = sampler.wrap_mode_s;
    wrap_mode_t = sampler.wrap_mode_t;
    wrap_mode_r = sampler.wrap_mode_r;
    lod_min = sampler.lod_min;
    lod_max = sampler.lod_max;
    lod_bias = sampler.lod_bias;
    border_color = sampler.border_color;
    compare_func = sampler.compare_func;
    reduction_mode = sampler.reduction_mode;
}

Sampler &Sampler::setParameters(const Sampler *sampler) {
    KOLM_ASSERT(sampler && "Sampler::setParameters(): sampler is null");
    KOLM_ASSERT(!isCreated() && "Sampler::setParameters(): sampler is created");
    copy_parameters(*sampler);
    return *this;
}

Sampler &Sampler::setFilter(Filter new_filter) {
    KOLM_ASSERT(!isCreated() && "Sampler::setFilter(): sampler is created");
    KOLM_ASSERT(uint32_t(new_filter) < NumFilters && "Sampler::setFilter(): invalid filter");
    filter = new_filter;
    return *this;
}

Sampler &Sampler::setAnisotropy(uint32_t new_anisotropy) {
    KOLM_ASSERT(!isCreated() && "Sampler::setAnisotropy(): sampler is created");
    KOLM_ASSERT(new_anisotropy >= MinAnisotropy && new_anisotropy <= MaxAnisotropy &&
                "Sampler::setAnisotropy(): invalid anisotropy");
    anisotropy = uint8_t(new_anisotropy);
    return *this;
}

Sampler &Sampler::setWrapMode(WrapMode s, WrapMode t, WrapMode r) {
    KOLM_ASSERT(!isCreated() && "Sampler::setWrapMode(): sampler is created");
    KOLM_ASSERT(uint32_t(s) < NumWrapModes && uint32_t(t) < NumWrapModes && uint32_t(r) < NumWrapModes &&
                "Sampler::setWrapMode(): invalid wrap mode");
    wrap_mode_s = s;
    wrap_mode_t = t;
    wrap_mode_r = r;
    return *this;
}

Sampler &Sampler::setLod(float32_t min, float32_t max, float32_t bias) {
    KOLM_ASSERT(!isCreated() && "Sampler::setLod(): sampler is created");
    KOLM_ASSERT(min <= max && bias == bias && "Sampler::setLod(): invalid range");
    lod_min = min;
    lod_max = max;
    lod_bias = bias;
    return *this;
}

Sampler &Sampler::setBorderColor(const Color &color) {
    KOLM_ASSERT(!isCreated() && "Sampler::setBorderColor(): sampler is created");
    border_color = color;
    return *this;
}

Sampler &Sampler::setCompareFunc(CompareFunc func) {
    KOLM_ASSERT(!isCreated() && "Sampler::setCompareFunc(): sampler is created");
    KOLM_ASSERT(uint32_t(func) < NumCompareFunctions && "Sampler::setCompareFunc(): invalid function");
    compare_func = func;
    return *this;
}

Sampler &Sampler::setReductionMode(ReductionMode mode) {
    KOLM_ASSERT(!isCreated() && "Sampler::setReductionMode(): sampler is created");
    KOLM_ASSERT(uint32_t(mode) < NumReductionModes && "Sampler::setReductionMode(): invalid mode");
    reduction_mode = mode;
    return *this;
}

} // namespace Kolm
