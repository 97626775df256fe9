// Texels of an image in memory: by integer coordinates, interpolated, and by directions into a cube.

#pragma once

#include "KolmImage.h"
#include "KolmImageColor.h"

namespace Kolm {

/// Reads and writes texels of plain formats up to 32 bits. The memory belongs to the caller and stays where it is while
/// the sampler is used. A const sampler may be used by several threads; writers of distinct texels too.
///
/// Floating coordinates count from the centre of the first texel. Between texels integers are interpolated as they are
/// stored, cut toward zero: normalised or not, with or without a transfer function. NaN counts as 0.
class ImageSampler {
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

    ImageSampler() = default;
    explicit ImageSampler(Image &image, const Slice &slice = Slice()) { create(image, slice); }
    explicit ImageSampler(const Image &image, const Slice &slice = Slice()) { create(image, slice); }

    void clear();
    bool isCreated() const { return sampler_data != nullptr; }

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

    Type getType() const { return sampler_type; }
    Format getFormat() const { return sampler_format; }
    uint32_t getWidth() const { return sampler_width; }
    uint32_t getHeight() const { return sampler_height; }
    uint32_t getDepth() const { return sampler_depth; }
    uint32_t getFaces() const { return sampler_faces; }
    Size getSize() const { return Size(sampler_width, sampler_height, sampler_depth); }
    size_t getTexels() const { return sampler_texels; }
    size_t getStride() const { return sampler_stride; }
    size_t getLayerSize() const { return sampler_layer_size; }
    uint32_t getPixelSize() const { return sampler_pixel_size; }
    uint32_t getComponents() const { return sampler_components; }
    const uint8_t *getData() const { return sampler_data; }

    /// All texels of all faces.
    void clear(const ImageColor &color);
    void clear(const Color &color) { clear(ImageColor(color, sampler_format)); }
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

    // Access by element type and number of channels.
    using GetColorFunc = ImageColor (*)(const uint8_t *src);
    using SetColorFunc = void (*)(uint8_t *dst, const ImageColor &color);
    using ToVectorFunc = Color (*)(const ImageColor &color);
    using ToColorFunc = ImageColor (*)(const Color &vector);

private:
    bool init(Type type, Format format, const Size &size, size_t stride, size_t layer_size, const void *data);
    const uint8_t *get_texel(uint32_t x, uint32_t y, uint32_t z) const {
        return sampler_data + sampler_layer_size * z + sampler_stride * y + size_t(x) * sampler_pixel_size;
    }
    ImageColor get_between(const float64_t *position, const uint32_t *sizes, uint32_t face, uint32_t axes, bool repeat,
                           Filter filter) const;

    Type sampler_type = Image::TypeUnknown;
    Format sampler_format = FormatUnknown;
    uint32_t sampler_width = 0;
    uint32_t sampler_height = 0;
    uint16_t sampler_depth = 0;
    uint16_t sampler_faces = 0;
    size_t sampler_texels = 0; // of one face
    size_t sampler_stride = 0;
    size_t sampler_layer_size = 0; // between depth slices, or between faces
    uint32_t sampler_pixel_size = 0;
    uint32_t sampler_components = 0;
    uint8_t *sampler_data = nullptr; // not owned
    GetColorFunc get_color = nullptr;
    SetColorFunc set_color = nullptr; // null for a sampler that only reads
    ToVectorFunc to_vector = nullptr;
    ToColorFunc to_color = nullptr;
};

} // namespace Kolm
