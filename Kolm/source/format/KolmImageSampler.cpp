// Access to texels through functions that are chosen once, by element type and number of channels.

#include "KolmImageSampler.h"

#include <math.h>

#include "KolmLog.h"

namespace Kolm {

namespace {

/*
 * texels
 */

// The lanes of an element type.
template<class Type> struct Lanes;
template<class Type>
requires std::is_integral_v<Type>
struct Lanes<Type> {
    static constexpr bool is_signed = std::is_signed_v<Type>;
    using Lane = std::conditional_t<is_signed, int32_t, uint32_t>;
    static Lane *get(ImageColor &color) {
        if constexpr(is_signed)
            return color.iv;
        else
            return color.uv;
    }
    static const Lane *get(const ImageColor &color) { return get(const_cast<ImageColor &>(color)); }
    static float32_t load(Lane v) { return float32_t(v); }
    // Cut toward zero and saturated; NaN is 0.
    static Lane store(float32_t v) {
        constexpr float64_t low = is_signed ? -float64_t(uint64_t(1) << (sizeof(Type) * 8 - 1)) : 0.0;
        constexpr float64_t top = float64_t((uint64_t(1) << (sizeof(Type) * 8 - is_signed)) - 1);
        return (v == v) ? Lane(clamp(float64_t(v), low, top)) : Lane(0);
    }
};
template<> struct Lanes<float16_t> {
    using Lane = float16_t;
    static Lane *get(ImageColor &color) { return color.hv; }
    static const Lane *get(const ImageColor &color) { return color.hv; }
    static float32_t load(Lane v) { return v.get(); }
    static Lane store(float32_t v) { return float16_t(v); }
};
template<> struct Lanes<float32_t> {
    using Lane = float32_t;
    static Lane *get(ImageColor &color) { return color.fv; }
    static const Lane *get(const ImageColor &color) { return color.fv; }
    static float32_t load(Lane v) { return v; }
    static Lane store(float32_t v) { return v; }
};

template<class Type, uint32_t Components> ImageColor do_sampler_get_color(const uint8_t *src) {
    ImageColor ret;
    Type elements[Components];
    memcpy(elements, src, sizeof(elements));
    auto *lanes = Lanes<Type>::get(ret);
    for(uint32_t i = 0; i < Components; i++) lanes[i] = typename Lanes<Type>::Lane(elements[i]);
    return ret;
}
template<class Type, uint32_t Components> void do_sampler_set_color(uint8_t *dst, const ImageColor &color) {
    Type elements[Components];
    const auto *lanes = Lanes<Type>::get(color);
    for(uint32_t i = 0; i < Components; i++) elements[i] = Type(lanes[i]);
    memcpy(dst, elements, sizeof(elements));
}
template<class Type> Color do_sampler_to_vector(const ImageColor &color) {
    const auto *lanes = Lanes<Type>::get(color);
    return Color(Lanes<Type>::load(lanes[0]), Lanes<Type>::load(lanes[1]), Lanes<Type>::load(lanes[2]),
                 Lanes<Type>::load(lanes[3]));
}
template<class Type> ImageColor do_sampler_to_color(const Color &vector) {
    ImageColor ret;
    for(uint32_t i = 0; i < 4; i++) Lanes<Type>::get(ret)[i] = Lanes<Type>::store(vector.c[i]);
    return ret;
}

struct Functions {
    ImageSampler::GetColorFunc get_color;
    ImageSampler::SetColorFunc set_color;
    ImageSampler::ToVectorFunc to_vector;
    ImageSampler::ToColorFunc to_color;
};

template<class Type, uint32_t Components> constexpr Functions make_functions() {
    return {do_sampler_get_color<Type, Components>, do_sampler_set_color<Type, Components>, do_sampler_to_vector<Type>,
            do_sampler_to_color<Type>};
}
template<class Type> const Functions *get_functions(uint32_t components) {
    static constexpr Functions functions[4] = {make_functions<Type, 1>(), make_functions<Type, 2>(),
                                               make_functions<Type, 3>(), make_functions<Type, 4>()};
    return &functions[components - 1];
}

const Functions *get_functions(Format format) {
    const uint32_t components = getFormatComponents(format);
    const bool tight = isColorFormat(format) || format == FormatDu16 || format == FormatDf32;
    if(!tight || is64BitFormat(format)) return nullptr;
    if(isi8Format(format)) return get_functions<int8_t>(components);
    if(isu8Format(format)) return get_functions<uint8_t>(components);
    if(isi16Format(format)) return get_functions<int16_t>(components);
    if(isu16Format(format)) return get_functions<uint16_t>(components);
    if(isf16Format(format)) return get_functions<float16_t>(components);
    if(isi32Format(format)) return get_functions<int32_t>(components);
    if(isu32Format(format)) return get_functions<uint32_t>(components);
    if(isf32Format(format)) return get_functions<float32_t>(components);
    return nullptr;
}

/*
 * taps
 */

// Texels around a position along one axis, and their weights.
struct Taps {
    uint32_t index[4];
    float32_t weights[4]; // of the differences to the first one, whose own weight is of no use
    uint32_t count;
};

uint32_t get_index(int64_t index, uint32_t size, bool repeat) {
    if(!repeat) return uint32_t(clamp(index, int64_t(0), int64_t(size) - 1));
    index %= int64_t(size);
    return uint32_t((index < 0) ? index + size : index);
}

Taps get_taps(float64_t position, uint32_t size, bool repeat, ImageSampler::Filter filter) {
    // Far outside nothing changes but the number, which must stay one.
    if(!(position == position)) position = 0.0;
    if(repeat && !(fabs(position) < 1e9)) position = fmod(position, float64_t(size));
    position = (position == position) ? clamp(position, -1e9, 1e9 + size) : 0.0;
    Taps taps = {};
    if(filter == ImageSampler::FilterPoint) {
        taps.index[0] = get_index(int64_t(floor(position + 0.5)), size, repeat);
        taps.count = 1;
        return taps;
    }
    const int64_t base = int64_t(floor(position));
    const float32_t t = float32_t(position - floor(position));
    taps.index[0] = get_index(base, size, repeat);
    taps.index[1] = get_index(base + 1, size, repeat);
    taps.weights[1] = t;
    taps.count = 2;
    if(filter == ImageSampler::FilterCubic) { // Catmull-Rom
        taps.index[2] = get_index(base - 1, size, repeat);
        taps.index[3] = get_index(base + 2, size, repeat);
        taps.weights[1] = ((-1.5f * t + 2.0f) * t + 0.5f) * t;
        taps.weights[2] = ((-0.5f * t + 1.0f) * t - 0.5f) * t;
        taps.weights[3] = (0.5f * t - 0.5f) * t * t;
        taps.count = 4;
    }
    return taps;
}

} // namespace

/*
 * life
 */

void ImageSampler::clear() { *this = ImageSampler(); }

bool ImageSampler::init(Type type, Format format, const Size &size, size_t stride, size_t layer_size,
                        const void *data) {
    KOLM_ASSERT(size.width && size.height && size.depth && size.depth < 65536 && stride && data &&
                "ImageSampler::create(): invalid image size");
    clear();
    if(!isPlainFormat(format)) {
        Log::printf(Log::Error, "ImageSampler::create(): can't access to %s pixels\n", getFormatName(format));
        return false;
    }
    const Functions *functions = get_functions(format);
    if(functions == nullptr) {
        Log::printf(Log::Error, "ImageSampler::create(): unknown %s sampler format\n", getFormatName(format));
        return false;
    }
    sampler_type = type;
    sampler_format = format;
    sampler_width = size.width;
    sampler_height = size.height;
    sampler_depth = uint16_t(size.depth);
    sampler_faces = (type == Image::TypeCube) ? 6 : 1;
    sampler_texels = size_t(size.width) * size.height * size.depth;
    sampler_stride = stride;
    sampler_layer_size = layer_size;
    sampler_pixel_size = getFormatPixelSize(format);
    sampler_components = getFormatComponents(format);
    sampler_data = static_cast<uint8_t *>(const_cast<void *>(data));
    get_color = functions->get_color;
    to_vector = functions->to_vector;
    to_color = functions->to_color;
    return true;
}

bool ImageSampler::create(const Image &image, const Slice &slice) {
    KOLM_ASSERT(image.isAllocated() && "ImageSampler::create(): image is not allocated");
    const size_t stride = image.getStride(slice.mipmap);
    const bool cube = image.isCubeType() && slice.face == 0;
    const size_t level = image.isBlockFormat() ? 0 : stride * image.getHeight(slice.mipmap);
    const Type type = cube ? Image::TypeCube : image.is3DType() ? Image::Type3D : Image::Type2D;
    return init(type, image.getFormat(), image.getSize(slice.mipmap), stride, cube ? image.getLayerSize() : level,
                image.getData(slice));
}
bool ImageSampler::create(Image &image, const Slice &slice) {
    if(!create(std::as_const(image), slice)) return false;
    set_color = get_functions(sampler_format)->set_color;
    return true;
}
bool ImageSampler::create(Type type, Format format, const Size &size, size_t stride, size_t layer_size,
                          const void *data) {
    return init(type, format, size, stride, layer_size, data);
}
bool ImageSampler::create(Type type, Format format, const Size &size, size_t stride, size_t layer_size, void *data) {
    if(!init(type, format, size, stride, layer_size, data)) return false;
    set_color = get_functions(sampler_format)->set_color;
    return true;
}
bool ImageSampler::create(Type type, Format format, const Size &size, size_t stride, const void *data) {
    return create(type, format, size, stride, stride * size.height, data);
}
bool ImageSampler::create(Type type, Format format, const Size &size, size_t stride, void *data) {
    return create(type, format, size, stride, stride * size.height, data);
}

/*
 * texels
 */

void ImageSampler::clear(const ImageColor &color) {
    KOLM_ASSERT(isCreated() && "ImageSampler::clear(): sampler is not created");
    KOLM_ASSERT(set_color && "ImageSampler::clear(): can't set read-only sampler");
    for(uint32_t z = 0; z < uint32_t(sampler_depth) * sampler_faces; z++) {
        for(uint32_t y = 0; y < sampler_height; y++) {
            uint8_t *dst = const_cast<uint8_t *>(get_texel(0, y, z));
            for(uint32_t x = 0; x < sampler_width; x++, dst += sampler_pixel_size) set_color(dst, color);
        }
    }
}

void ImageSampler::mad(const Color &scale, const Color &bias) {
    KOLM_ASSERT(isCreated() && "ImageSampler::mad(): sampler is not created");
    KOLM_ASSERT(set_color && "ImageSampler::mad(): can't set read-only sampler");
    for(uint32_t z = 0; z < uint32_t(sampler_depth) * sampler_faces; z++) {
        for(uint32_t y = 0; y < sampler_height; y++) {
            uint8_t *dst = const_cast<uint8_t *>(get_texel(0, y, z));
            for(uint32_t x = 0; x < sampler_width; x++, dst += sampler_pixel_size)
                set_color(dst, ImageColor(get_color(dst).get(sampler_format) * scale + bias, sampler_format));
        }
    }
}

void ImageSampler::set2D(uint32_t x, uint32_t y, const ImageColor &color) {
    KOLM_ASSERT(isCreated() && "ImageSampler::set2D(): sampler is not created");
    KOLM_ASSERT(x < sampler_width && y < sampler_height && "ImageSampler::set2D(): invalid coordinates");
    KOLM_ASSERT(set_color && "ImageSampler::set2D(): can't set read-only sampler");
    set_color(const_cast<uint8_t *>(get_texel(x, y, 0)), color);
}
void ImageSampler::set3D(uint32_t x, uint32_t y, uint32_t z, const ImageColor &color) {
    KOLM_ASSERT(isCreated() && "ImageSampler::set3D(): sampler is not created");
    KOLM_ASSERT(x < sampler_width && y < sampler_height && z < sampler_depth &&
                "ImageSampler::set3D(): invalid coordinates");
    KOLM_ASSERT(set_color && "ImageSampler::set3D(): can't set read-only sampler");
    set_color(const_cast<uint8_t *>(get_texel(x, y, z)), color);
}
ImageColor ImageSampler::get2D(uint32_t x, uint32_t y) const {
    KOLM_ASSERT(isCreated() && "ImageSampler::get2D(): sampler is not created");
    KOLM_ASSERT(x < sampler_width && y < sampler_height && "ImageSampler::get2D(): invalid coordinates");
    return get_color(get_texel(x, y, 0));
}
ImageColor ImageSampler::get3D(uint32_t x, uint32_t y, uint32_t z) const {
    KOLM_ASSERT(isCreated() && "ImageSampler::get3D(): sampler is not created");
    KOLM_ASSERT(x < sampler_width && y < sampler_height && z < sampler_depth &&
                "ImageSampler::get3D(): invalid coordinates");
    return get_color(get_texel(x, y, z));
}

void ImageSampler::setTexel(size_t index, const ImageColor &color) {
    KOLM_ASSERT(isCreated() && "ImageSampler::setTexel(): sampler is not created");
    KOLM_ASSERT(index < sampler_texels && "ImageSampler::setTexel(): invalid index");
    KOLM_ASSERT(set_color && "ImageSampler::setTexel(): can't set read-only sampler");
    const size_t row = index / sampler_width;
    set_color(const_cast<uint8_t *>(get_texel(uint32_t(index % sampler_width), uint32_t(row % sampler_height),
                                              uint32_t(row / sampler_height))),
              color);
}
ImageColor ImageSampler::getTexel(size_t index) const {
    KOLM_ASSERT(isCreated() && "ImageSampler::getTexel(): sampler is not created");
    KOLM_ASSERT(index < sampler_texels && "ImageSampler::getTexel(): invalid index");
    const size_t row = index / sampler_width;
    return get_color(
        get_texel(uint32_t(index % sampler_width), uint32_t(row % sampler_height), uint32_t(row / sampler_height)));
}

/*
 * interpolation
 */

// Along x first, then y, then z. Differences to the first tap make equal texels give exactly their value.
ImageColor ImageSampler::get_between(const float64_t *position, const uint32_t *sizes, uint32_t face, uint32_t axes,
                                     bool repeat, Filter filter) const {
    Taps taps[3] = {};
    taps[2].count = 1;
    for(uint32_t i = 0; i < axes; i++) taps[i] = get_taps(position[i], sizes[i], repeat, filter);
    const auto mix = [](const Taps &t, const Color *values) {
        Color ret = values[0];
        for(uint32_t i = 1; i < t.count; i++) ret += (values[i] - values[0]) * t.weights[i];
        return ret;
    };
    const auto texel = [&](uint32_t x, uint32_t y, uint32_t z) { return get_color(get_texel(x, y, z + face)); };
    if(filter == FilterPoint) return texel(taps[0].index[0], taps[1].index[0], taps[2].index[0]);
    Color planes[4];
    for(uint32_t z = 0; z < taps[2].count; z++) {
        Color rows[4];
        for(uint32_t y = 0; y < taps[1].count; y++) {
            Color values[4];
            for(uint32_t x = 0; x < taps[0].count; x++)
                values[x] = to_vector(texel(taps[0].index[x], taps[1].index[y], taps[2].index[z]));
            rows[y] = mix(taps[0], values);
        }
        planes[z] = mix(taps[1], rows);
    }
    return to_color(mix(taps[2], planes));
}

ImageColor ImageSampler::get2D(float64_t x, float64_t y, bool repeat, Filter filter) const {
    KOLM_ASSERT(isCreated() && "ImageSampler::get2D(): sampler is not created");
    KOLM_ASSERT((filter == FilterPoint || filter == FilterLinear || filter == FilterCubic) &&
                "ImageSampler::get2D(): unknown filter");
    const float64_t position[2] = {x, y};
    const uint32_t sizes[2] = {sampler_width, sampler_height};
    return get_between(position, sizes, 0, 2, repeat, filter);
}

ImageColor ImageSampler::get3D(float64_t x, float64_t y, float64_t z, bool repeat, Filter filter) const {
    KOLM_ASSERT(isCreated() && "ImageSampler::get3D(): sampler is not created");
    KOLM_ASSERT((filter == FilterPoint || filter == FilterLinear || filter == FilterCubic) &&
                "ImageSampler::get3D(): unknown filter");
    const float64_t position[3] = {x, y, z};
    const uint32_t sizes[3] = {sampler_width, sampler_height, sampler_depth};
    return get_between(position, sizes, 0, 3, repeat, filter);
}

/*
 * cubes
 */

uint32_t ImageSampler::getCubeFace(float64_t x, float64_t y, float64_t z, float64_t &u, float64_t &v) const {
    const float64_t ax = fabs(x), ay = fabs(y), az = fabs(z);
    uint32_t face;
    float64_t s, t; // -1 to 1 across the face
    if(ax >= ay && ax >= az) {
        face = (x < 0.0) ? 1 : 0;
        s = ((x < 0.0) ? z : -z) / ax;
        t = -y / ax;
    } else if(ay >= az) {
        face = (y < 0.0) ? 3 : 2;
        s = x / ay;
        t = ((y < 0.0) ? -z : z) / ay;
    } else {
        face = (z < 0.0) ? 5 : 4;
        s = ((z < 0.0) ? -x : x) / az;
        t = -y / az;
    }
    // No direction, and one that is not a number, points at the middle of a face.
    if(!(s == s)) s = 0.0;
    if(!(t == t)) t = 0.0;
    u = (0.5 + 0.5 * s) * sampler_width - 0.5;
    v = (0.5 + 0.5 * t) * sampler_width - 0.5;
    return face;
}

ImageColor ImageSampler::getCube(float64_t x, float64_t y, float64_t z, Filter filter) const {
    KOLM_ASSERT(isCreated() && "ImageSampler::getCube(): sampler is not created");
    KOLM_ASSERT(sampler_type == Image::TypeCube && "ImageSampler::getCube(): invalid sampler type");
    KOLM_ASSERT((filter == FilterPoint || filter == FilterLinear || filter == FilterCubic) &&
                "ImageSampler::getCube(): unknown filter");
    float64_t position[2];
    const uint32_t face = getCubeFace(x, y, z, position[0], position[1]);
    const uint32_t sizes[2] = {sampler_width, sampler_height};
    return get_between(position, sizes, face, 2, false, filter);
}

void ImageSampler::setCube(float64_t x, float64_t y, float64_t z, const ImageColor &color) {
    KOLM_ASSERT(isCreated() && "ImageSampler::setCube(): sampler is not created");
    KOLM_ASSERT(sampler_type == Image::TypeCube && "ImageSampler::setCube(): invalid sampler type");
    KOLM_ASSERT(set_color && "ImageSampler::setCube(): can't set read-only sampler");
    float64_t u, v;
    const uint32_t face = getCubeFace(x, y, z, u, v);
    const Taps column = get_taps(u, sampler_width, false, FilterPoint);
    const Taps row = get_taps(v, sampler_height, false, FilterPoint);
    set_color(const_cast<uint8_t *>(get_texel(column.index[0], row.index[0], face)), color);
}

} // namespace Kolm
