// Element types that resampling is written for, and the planes it works on.

#pragma once

#include "KolmFormat.h"
#include "KolmGamma.h"

namespace Kolm {

/// One level of one face: rows of elements.
struct ImagePlane {
    template<class Type> const Type *row(size_t y) const { return reinterpret_cast<const Type *>(data + stride * y); }
    template<class Type> Type *row(size_t y) { return reinterpret_cast<Type *>(data + stride * y); }

    uint8_t *data;
    size_t stride; // bytes
    uint32_t width;
    uint32_t height;
};

/// How one element type is summed, interpolated and stored.
template<class Type> struct Element {
    static constexpr bool is_float = std::is_same_v<Type, float32_t>;
    static constexpr bool is_signed = Type(-1) < Type(0);
    static constexpr uint32_t bits = sizeof(Type) * 8;
    /// Interpolated values: 32-bit integers need more than a float holds.
    using Real = std::conditional_t<is_float || sizeof(Type) < 4, float32_t, float64_t>;
    /// Sums of a whole image.
    using Wide = std::conditional_t<is_float, float64_t, std::conditional_t<is_signed, int64_t, uint64_t>>;

    static constexpr Real low = is_float ? Real(0) : is_signed ? -Real(uint64_t(1) << (bits - 1)) : Real(0);
    static constexpr Real top = is_float ? Real(1) : Real((uint64_t(1) << (bits - is_signed)) - 1);

    /// Cut toward zero and saturated; floats as they are.
    static Type store(Real v) {
        if constexpr(!is_float) {
            v = (v > low) ? v : low;
            v = (v < top) ? v : top;
        }
        return store_inside(v);
    }
    /// The same for values that lie less than one outside of the range.
    static Type store_inside(Real v) {
        if constexpr(is_float)
            return v;
        else if constexpr(bits < 32)
            return Type(int32_t(v));
        else
            return Type(int64_t(v));
    }

    /// The fast gamma on values of 0 to 1. Stored with one step more than the top value, as conversions do it, so that
    /// the roughness of the power darkens nothing.
    static constexpr float32_t steps = is_float ? 1.0f : float32_t(uint64_t(1) << (bits - is_signed));
    static float32_t decode(Type v) { return fast_power(float32_t(v) * (1.0f / float32_t(top)), gamma_decode); }
    static Type encode(float32_t v) { return store(Real(fast_power(v, gamma_encode) * steps)); }
};

/// Rows of elements in linear light, alpha as it is.
template<class Type, uint32_t Components> struct GammaRow {
    static void decode(float32_t *dst, const Type *src, size_t size) {
        for(size_t i = 0; i < size; i++) dst[i] = Element<Type>::decode(src[i]);
        if constexpr(Components == 4) {
            for(size_t i = 3; i < size; i += 4) dst[i] = float32_t(src[i]);
        }
    }
    static void encode(Type *dst, const float32_t *src, size_t size) {
        for(size_t i = 0; i < size; i++) dst[i] = Element<Type>::encode(src[i]);
        if constexpr(Components == 4) {
            for(size_t i = 3; i < size; i += 4) dst[i] = Element<Type>::store(typename Element<Type>::Real(src[i]));
        }
    }
};

/// Calls func(element, components) with an element of the row's type and its number of components as a constant.
/// Returns false for rows that are not taken: halves, 64 bits, and all that is not plain.
template<class Func> bool with_elements(Format format, Func func) {
    if(!isPlainFormat(format)) return false;
    const auto components = [format, &func](auto element) {
        switch(getFormatComponents(format)) {
        case 1: func(element, std::integral_constant<uint32_t, 1>()); return true;
        case 2: func(element, std::integral_constant<uint32_t, 2>()); return true;
        case 3: func(element, std::integral_constant<uint32_t, 3>()); return true;
        case 4: func(element, std::integral_constant<uint32_t, 4>()); return true;
        }
        return false;
    };
    if(isu8Format(format)) return components(uint8_t());
    if(isi8Format(format)) return components(int8_t());
    if(isu16Format(format)) return components(uint16_t());
    if(isi16Format(format)) return components(int16_t());
    if(isu32Format(format)) return components(uint32_t());
    if(isi32Format(format)) return components(int32_t());
    if(isf32Format(format)) return components(float32_t());
    return false;
}

} // namespace Kolm
