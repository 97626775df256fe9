#include "KolmImageColor.h"

namespace Kolm {

namespace {

// Lane of an element.
template<class Type> auto get_lane(Type v) {
    if constexpr(std::is_same_v<Type, float16_t> || std::is_same_v<Type, float32_t>)
        return v;
    else if constexpr(Type(-1) < Type(0))
        return int32_t(v);
    else
        return uint32_t(v);
}

template<class Type, class Color> auto get_lanes(Color &color) {
    if constexpr(std::is_same_v<Type, float16_t>)
        return color.hv;
    else if constexpr(std::is_same_v<Type, float32_t>)
        return color.fv;
    else if constexpr(Type(-1) < Type(0))
        return color.iv;
    else
        return color.uv;
}

template<class Func> bool with_lanes(Format format, Func func) {
    if(!isPlainFormat(format) || is64BitFormat(format)) return false;
    if(getFormatPixelSize(format) % getFormatComponents(format)) return false;
    if(isi8Format(format)) return func(int8_t());
    if(isu8Format(format)) return func(uint8_t());
    if(isf16Format(format)) return func(float16_t());
    if(isi16Format(format)) return func(int16_t());
    if(isu16Format(format)) return func(uint16_t());
    if(isi32Format(format)) return func(int32_t());
    if(isu32Format(format)) return func(uint32_t());
    if(isf32Format(format)) return func(float32_t());
    return false;
}

} // namespace

bool load_image_color(ImageColor &color, Format format, const void *src) {
    return with_lanes(format, [&](auto element) {
        using Type = decltype(element);
        color = ImageColor();
        for(uint32_t i = 0; i < getFormatComponents(format); i++) {
            memcpy(&element, static_cast<const uint8_t *>(src) + sizeof(Type) * i, sizeof(Type));
            get_lanes<Type>(color)[i] = get_lane(element);
        }
        return true;
    });
}

bool store_image_color(void *dst, Format format, const ImageColor &color) {
    return with_lanes(format, [&](auto element) {
        using Type = decltype(element);
        for(uint32_t i = 0; i < getFormatComponents(format); i++) {
            element = Type(get_lanes<Type>(color)[i]);
            memcpy(static_cast<uint8_t *>(dst) + sizeof(Type) * i, &element, sizeof(Type));
        }
        return true;
    });
}

void ImageColor::set(const Color &color, Format format) {
    *this = ImageColor();
    uint8_t texel[32] = {};
    const bool bgra = (format == FormatBGRAu8n || format == FormatBGRAu8ns);
    const float32_t channels[4] = {bgra ? color.b : color.r, color.g, bgra ? color.r : color.b, color.a};
    if(setPixelFormatValue(format, texel, channels)) load_image_color(*this, format, texel);
}

Color ImageColor::get(Format format) const {
    uint8_t texel[32] = {};
    Color ret(0.0f, 0.0f, 0.0f, 1.0f);
    if(!store_image_color(texel, format, *this)) return Color::zero;
    getPixelFormatValue(format, ret.c, texel);
    if(format == FormatBGRAu8n || format == FormatBGRAu8ns) swap(ret.r, ret.b);
    return ret;
}

} // namespace Kolm
