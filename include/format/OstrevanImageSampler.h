// Texels of an image in memory.

#pragma once

#include <base/OstrevanHandle.h>
#include <format/OstrevanImage.h>
#include <format/OstrevanImageColor.h>

namespace Ostrevan {

/// Reads and writes texels of plain formats up to 32 bits. The memory belongs to the image or the caller and stays where
/// it is while the sampler is used. A const sampler may be used by several threads; writers of distinct texels too.
///
/// Floating coordinates count from the centre of the first texel. Between texels integers are interpolated as they are
/// stored, cut toward zero: normalised or not, with or without a transfer function. NaN counts as 0.
class OSTREVAN_API ImageSampler {
    OSTREVAN_LEAF_HANDLE(ImageSampler)
public:
    using Type = Image::Type;
    /// The names and numbers of Image::Filter.
    enum Filter : uint32_t {
        FilterUnknown = Image::FilterUnknown,
        FilterPoint = Image::FilterPoint,
        FilterLinear = Image::FilterLinear,
        FilterCubic = Image::FilterCubic,
        FilterSinc = Image::FilterSinc,
        FilterBox = Image::FilterBox,
        FilterMax = Image::FilterMax,
        FilterMin = Image::FilterMin,
        FilterMip = Image::FilterMip,
        FilterCR = Image::FilterCR,
        NumFilters = Image::NumFilters,
    };

    ImageSampler();
    explicit ImageSampler(Image &image, const Slice &slice = Slice());
    explicit ImageSampler(const Image &image, const Slice &slice = Slice());

    void clear();
    bool isCreated() const;

    /// One level of an image. A slice that begins with the first face of a cube stands for all its faces.
    /// Expects an allocated image. Returns false and logs for formats that have no texels to reach.
    bool create(Image &image, const Slice &slice = Slice());
    /// The same for reading only.
    bool create(const Image &image, const Slice &slice = Slice());
    /// Foreign memory: rows are \p stride bytes apart; depth slices and faces \p layer_size, or else a whole level.
    bool create(Type type, Format format, const Size &size, size_t stride, void *data);
    bool create(Type type, Format format, const Size &size, size_t stride, const void *data);
    bool create(Type type, Format format, const Size &size, size_t stride, size_t layer_size, void *data);
    bool create(Type type, Format format, const Size &size, size_t stride, size_t layer_size, const void *data);

    Type getType() const;
    Format getFormat() const;
    uint32_t getWidth() const;
    uint32_t getHeight() const;
    uint32_t getDepth() const;
    uint32_t getFaces() const;
    Size getSize() const;
    size_t getTexels() const;
    size_t getStride() const;
    size_t getLayerSize() const;
    uint32_t getPixelSize() const;
    uint32_t getComponents() const;
    const uint8_t *getData() const;

    /// All texels of all faces.
    void clear(const ImageColor &color);
    void clear(const Color &color);
    /// Replaces each colour c by c * scale + bias.
    void mad(const Color &scale, const Color &bias);

    /// Integer coordinates lie inside the level; in a cube they name its first face.
    void set2D(uint32_t x, uint32_t y, const ImageColor &color);
    void set3D(uint32_t x, uint32_t y, uint32_t z, const ImageColor &color);
    ImageColor get2D(uint32_t x, uint32_t y) const;
    ImageColor get3D(uint32_t x, uint32_t y, uint32_t z) const;
    /// Between texels. Outside the level its edge goes on, or with \p repeat the level itself. Takes FilterPoint,
    /// FilterLinear and FilterCubic.
    ImageColor get2D(float64_t x, float64_t y, bool repeat = false, Filter filter = FilterLinear) const;
    ImageColor get3D(float64_t x, float64_t y, float64_t z, bool repeat = false, Filter filter = FilterLinear) const;
    /// By a direction of any length. setCube() writes the nearest texel. Interpolation stays within a face.
    void setCube(float64_t x, float64_t y, float64_t z, const ImageColor &color);
    ImageColor getCube(float64_t x, float64_t y, float64_t z, Filter filter = FilterLinear) const;
    /// Face and place on it that a direction points at.
    uint32_t getCubeFace(float64_t x, float64_t y, float64_t z, float64_t &u, float64_t &v) const;

    /// By number: x first, then y, then z.
    void setTexel(size_t index, const ImageColor &color);
    ImageColor getTexel(size_t index) const;
};

} // namespace Ostrevan
