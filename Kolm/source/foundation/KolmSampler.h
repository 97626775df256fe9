// KolmSampler.h: how shaders read textures. Parameters, described first; a backend makes the API's sampler of them.

#pragma once

#include "KolmColor.h"
#include "KolmPlatform.h"

namespace Kolm {

/// Filter, wrap modes and levels of detail. A backend takes less anisotropy where the device has less. Setters return
/// the object, and expect it not to be created.
class Sampler : public PlatformBase {
public:
    static constexpr uint32_t MinAnisotropy = 1;
    static constexpr uint32_t MaxAnisotropy = 16;

    /// Within a level, and between levels: Bi filters take one level, Linear and Trilinear blend two, Point and
    /// Bipoint take the nearest pixel.
    enum Filter { FilterPoint = 0, FilterLinear, FilterBipoint, FilterBilinear, FilterTrilinear, NumFilters };
    enum WrapMode { WrapModeClamp = 0, WrapModeRepeat, WrapModeMirror, WrapModeBorder, NumWrapModes };
    /// Comparison of a depth texture with the reference of the shader.
    enum CompareFunc {
        CompareFuncNone = 0,
        CompareFuncEqual,
        CompareFuncLess,
        CompareFuncGreater,
        CompareFuncNotEqual,
        CompareFuncLessEqual,
        CompareFuncGreaterEqual,
        NumCompareFunctions
    };
    /// What a filter makes of its pixels.
    enum ReductionMode { ReductionModeAverage = 0, ReductionModeMin, ReductionModeMax, NumReductionModes };

    /// Takes over the parameters of \p sampler, which may be null.
    explicit Sampler(uint32_t index, const Sampler *sampler = nullptr);

    /// Gives all parameters their defaults.
    virtual void clear();
    virtual bool isCreated() const = 0;
    virtual bool create() = 0;

    Sampler &setParameters(const Sampler *sampler);

    Sampler &setFilter(Filter filter);
    Sampler &setFilter(Filter filter, uint32_t anisotropy) { return setFilter(filter).setAnisotropy(anisotropy); }
    Filter getFilter() const { return filter; }
    /// Samples of a pixel's longer side, 1 to 16.
    Sampler &setAnisotropy(uint32_t anisotropy);
    uint32_t getAnisotropy() const { return anisotropy; }
    bool hasAnisotropy() const { return (anisotropy > 1); }

    Sampler &setWrapMode(WrapMode mode) { return setWrapMode(mode, mode, mode); }
    Sampler &setWrapMode(WrapMode s, WrapMode t) { return setWrapMode(s, t, wrap_mode_r); }
    Sampler &setWrapMode(WrapMode s, WrapMode t, WrapMode r);
    WrapMode getWrapModeS() const { return wrap_mode_s; }
    WrapMode getWrapModeT() const { return wrap_mode_t; }
    WrapMode getWrapModeR() const { return wrap_mode_r; }

    /// Levels of detail: the range of levels, and what is added before it is cut to the range.
    Sampler &setLod(float32_t min, float32_t max, float32_t bias = 0.0f);
    float32_t getLodMin() const { return lod_min; }
    float32_t getLodMax() const { return lod_max; }
    float32_t getLodBias() const { return lod_bias; }

    /// Colour outside of the texture under WrapModeBorder. Devices have transparent black, opaque black and white.
    Sampler &setBorderColor(const Color &color);
    const Color &getBorderColor() const { return border_color; }

    Sampler &setCompareFunc(CompareFunc func);
    CompareFunc getCompareFunc() const { return compare_func; }
    Sampler &setReductionMode(ReductionMode mode);
    ReductionMode getReductionMode() const { return reduction_mode; }

protected:
    void set_defaults();
    void copy_parameters(const Sampler &sampler);

    Filter filter;
    uint8_t anisotropy;
    WrapMode wrap_mode_s;
    WrapMode wrap_mode_t;
    WrapMode wrap_mode_r;
    float32_t lod_min;
    float32_t lod_max;
    float32_t lod_bias;
    Color border_color;
    CompareFunc compare_func;
    ReductionMode reduction_mode;
};

} // namespace Kolm
