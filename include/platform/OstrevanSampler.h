// How shaders read textures.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <format/OstrevanColor.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

/// Filter, wrap modes and levels of detail, made by Device::createSampler(): described first, then created. A device
/// takes less anisotropy where it has less. Setters return the handle, and expect a sampler that is not created.
class OSTREVAN_API Sampler {
    OSTREVAN_HANDLE(Sampler)
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

    Sampler();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    /// Adapter that the sampler belongs to.
    uint32_t getIndex() const;

    /// Gives all parameters their defaults: bilinear, repeated, anisotropy 16, all levels, no comparison.
    void clear();
    bool isCreated() const;
    /// False if the reason was logged.
    bool create();

    Sampler &setParameters(const Sampler &sampler);

    Sampler &setFilter(Filter filter);
    Sampler &setFilter(Filter filter, uint32_t anisotropy);
    Filter getFilter() const;
    /// Samples of a pixel's longer side, 1 to 16.
    Sampler &setAnisotropy(uint32_t anisotropy);
    uint32_t getAnisotropy() const;
    bool hasAnisotropy() const;

    Sampler &setWrapMode(WrapMode mode);
    Sampler &setWrapMode(WrapMode s, WrapMode t);
    Sampler &setWrapMode(WrapMode s, WrapMode t, WrapMode r);
    WrapMode getWrapModeS() const;
    WrapMode getWrapModeT() const;
    WrapMode getWrapModeR() const;

    /// Levels of detail: the range of levels, and what is added before it is cut to the range.
    Sampler &setLod(float32_t min, float32_t max, float32_t bias = 0.0f);
    float32_t getLodMin() const;
    float32_t getLodMax() const;
    float32_t getLodBias() const;

    /// Colour outside of the texture under WrapModeBorder. Devices have transparent black, opaque black and white.
    Sampler &setBorderColor(const Color &color);
    Color getBorderColor() const;

    Sampler &setCompareFunc(CompareFunc func);
    CompareFunc getCompareFunc() const;
    Sampler &setReductionMode(ReductionMode mode);
    ReductionMode getReductionMode() const;
};

} // namespace Ostrevan
