// Sixteen lanes, one for each pixel of a block, of floats, words or shorts.
//
// Included once by the file of each instruction set, which defines KOLM_CODER_BYTES: the bytes of a register, or 0 for
// plain loops over arrays. Everything lives in the unnamed namespace, since the same function is compiled with several
// sets of instructions. Sums have one fixed order, so that all sets give the same bits.

#pragma once

#include <stdint.h>
#include <string.h>

namespace Kolm {

namespace {

// Everything is inlined, but where sanitizers multiply the code.
#if defined(__has_feature)
#define KOLM_HAS_FEATURE(NAME) __has_feature(NAME)
#else
#define KOLM_HAS_FEATURE(NAME) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || KOLM_HAS_FEATURE(address_sanitizer) ||            \
    KOLM_HAS_FEATURE(thread_sanitizer)
#define KOLM_INLINE inline
#define KOLM_LAMBDA
#else
#define KOLM_INLINE inline __attribute__((always_inline))
#define KOLM_LAMBDA __attribute__((always_inline))
#endif

#if KOLM_CODER_BYTES == 0
using PartFloat = float;
using PartInt = int32_t;
using PartShort = int16_t;
#else
typedef float PartFloat __attribute__((vector_size(KOLM_CODER_BYTES)));
typedef int32_t PartInt __attribute__((vector_size(KOLM_CODER_BYTES)));
typedef int16_t PartShort __attribute__((vector_size(KOLM_CODER_BYTES)));
#endif

constexpr uint32_t NumLanes = 16;

template<class Type, class Part> struct Lanes {
    static constexpr uint32_t Num = NumLanes * sizeof(Type) / sizeof(Part);

    Lanes() = default;
    KOLM_INLINE Lanes(Type value) {
        for(uint32_t i = 0; i < Num; i++) v[i] = value - Part{};
    }
    KOLM_INLINE static Lanes load(const Type *src) {
        Lanes ret;
        memcpy(ret.v, src, sizeof(ret.v));
        return ret;
    }
    KOLM_INLINE void store(Type *dst) const { memcpy(dst, v, sizeof(v)); }

    Part v[Num];
};

using Floats = Lanes<float, PartFloat>;
using Ints = Lanes<int32_t, PartInt>;
using Shorts = Lanes<int16_t, PartShort>;

// What a comparison gives for a lane: all bits or none.
template<class Part> struct MaskOf;
template<> struct MaskOf<Floats> { using Type = Ints; };
template<> struct MaskOf<Ints> { using Type = Ints; };
template<> struct MaskOf<Shorts> { using Type = Shorts; };

#define KOLM_LANES_OPERATOR(OP)                                                                                      \
    template<class Type, class Part>                                                                                 \
    KOLM_INLINE Lanes<Type, Part> operator OP(const Lanes<Type, Part> &a, const Lanes<Type, Part> &b) {              \
        Lanes<Type, Part> ret;                                                                                       \
        for(uint32_t i = 0; i < ret.Num; i++) ret.v[i] = Part(a.v[i] OP b.v[i]);                                     \
        return ret;                                                                                                  \
    }                                                                                                                \
    template<class Type, class Part> KOLM_INLINE Lanes<Type, Part> operator OP(const Lanes<Type, Part> &a, Type b) { \
        return a OP Lanes<Type, Part>(b);                                                                            \
    }
KOLM_LANES_OPERATOR(+)
KOLM_LANES_OPERATOR(-)
KOLM_LANES_OPERATOR(*)
KOLM_LANES_OPERATOR(&)
KOLM_LANES_OPERATOR(|)
KOLM_LANES_OPERATOR(^)
#undef KOLM_LANES_OPERATOR

template<class Type, class Part> KOLM_INLINE Lanes<Type, Part> operator>>(const Lanes<Type, Part> &a, int bits) {
    Lanes<Type, Part> ret;
    for(uint32_t i = 0; i < ret.Num; i++) ret.v[i] = Part(a.v[i] >> bits);
    return ret;
}
template<class Type, class Part> KOLM_INLINE Lanes<Type, Part> operator<<(const Lanes<Type, Part> &a, int bits) {
    Lanes<Type, Part> ret;
    for(uint32_t i = 0; i < ret.Num; i++) ret.v[i] = Part(a.v[i] << bits);
    return ret;
}

template<class Type> KOLM_INLINE typename MaskOf<Type>::Type operator<(const Type &a, const Type &b) {
    typename MaskOf<Type>::Type ret;
    for(uint32_t i = 0; i < ret.Num; i++) {
#if KOLM_CODER_BYTES == 0
        ret.v[i] = (a.v[i] < b.v[i]) ? -1 : 0;
#else
        ret.v[i] = a.v[i] < b.v[i];
#endif
    }
    return ret;
}
template<class Type> KOLM_INLINE typename MaskOf<Type>::Type operator==(const Type &a, const Type &b) {
    typename MaskOf<Type>::Type ret;
    for(uint32_t i = 0; i < ret.Num; i++) {
#if KOLM_CODER_BYTES == 0
        ret.v[i] = (a.v[i] == b.v[i]) ? -1 : 0;
#else
        ret.v[i] = a.v[i] == b.v[i];
#endif
    }
    return ret;
}

// a where the mask is set, otherwise b.
template<class Mask, class Type> KOLM_INLINE Type select(const Mask &mask, const Type &a, const Type &b) {
    Type ret;
    for(uint32_t i = 0; i < ret.Num; i++) ret.v[i] = mask.v[i] ? a.v[i] : b.v[i];
    return ret;
}
template<class Type> KOLM_INLINE Type lanes_min(const Type &a, const Type &b) {
    Type ret;
    for(uint32_t i = 0; i < ret.Num; i++) ret.v[i] = (b.v[i] < a.v[i]) ? b.v[i] : a.v[i];
    return ret;
}
template<class Type> KOLM_INLINE Type lanes_max(const Type &a, const Type &b) {
    Type ret;
    for(uint32_t i = 0; i < ret.Num; i++) ret.v[i] = (a.v[i] < b.v[i]) ? b.v[i] : a.v[i];
    return ret;
}
template<class Type> KOLM_INLINE Type lanes_abs(const Type &a) { return lanes_max(a, Type(0) - a); }
template<class Type> KOLM_INLINE Type lanes_clamp(const Type &a, const Type &lo, const Type &hi) {
    return lanes_min(lanes_max(a, lo), hi);
}

// Cut toward zero.
KOLM_INLINE Ints to_ints(const Floats &a) {
    Ints ret;
    for(uint32_t i = 0; i < ret.Num; i++) {
#if KOLM_CODER_BYTES == 0
        ret.v[i] = int32_t(a.v[i]);
#else
        ret.v[i] = __builtin_convertvector(a.v[i], PartInt);
#endif
    }
    return ret;
}
KOLM_INLINE Floats to_floats(const Ints &a) {
    Floats ret;
    for(uint32_t i = 0; i < ret.Num; i++) {
#if KOLM_CODER_BYTES == 0
        ret.v[i] = float(a.v[i]);
#else
        ret.v[i] = __builtin_convertvector(a.v[i], PartFloat);
#endif
    }
    return ret;
}
KOLM_INLINE Ints load_ints(const uint8_t *src) {
    int32_t values[NumLanes];
    for(uint32_t i = 0; i < NumLanes; i++) values[i] = src[i];
    return Ints::load(values);
}

// Sum of lanes i and i + 8, of those i and i + 4, and so on.
template<class Type, class Part> KOLM_INLINE Type lanes_sum(const Lanes<Type, Part> &a) {
    static_assert(sizeof(Type) == 4);
    Type values[8];
#if KOLM_CODER_BYTES == 0
    for(uint32_t i = 0; i < 8; i++) values[i] = Type(a.v[i] + a.v[i + 8]);
    for(uint32_t i = 0; i < 4; i++) values[i] = Type(values[i] + values[i + 4]);
#elif KOLM_CODER_BYTES == 16
    const Part v = (a.v[0] + a.v[2]) + (a.v[1] + a.v[3]);
    memcpy(values, &v, sizeof(v));
#else
    const Part v = a.v[0] + a.v[1];
    memcpy(values, &v, sizeof(v));
    for(uint32_t i = 0; i < 4; i++) values[i] = Type(values[i] + values[i + 4]);
#endif
    return Type((values[0] + values[2]) + (values[1] + values[3]));
}
template<class Type, class Part> KOLM_INLINE Type lanes_smallest(const Lanes<Type, Part> &a) {
    Type values[NumLanes];
    a.store(values);
    for(uint32_t n = NumLanes / 2; n > 0; n /= 2) {
        for(uint32_t i = 0; i < n; i++) values[i] = (values[i + n] < values[i]) ? values[i + n] : values[i];
    }
    return values[0];
}
template<class Type, class Part> KOLM_INLINE Type lanes_largest(const Lanes<Type, Part> &a) {
    Type values[NumLanes];
    a.store(values);
    for(uint32_t n = NumLanes / 2; n > 0; n /= 2) {
        for(uint32_t i = 0; i < n; i++) values[i] = (values[i] < values[i + n]) ? values[i + n] : values[i];
    }
    return values[0];
}
// First lane with the value, NumLanes if there is none.
template<class Type, class Part> KOLM_INLINE uint32_t lanes_find(const Lanes<Type, Part> &a, Type value) {
    Type values[NumLanes];
    a.store(values);
    uint32_t ret = 0;
    while(ret < NumLanes && values[ret] != value) ret++;
    return ret;
}

// Scalars of this namespace: shared templates of the library must not be compiled with wider instructions.
template<class Type> KOLM_INLINE Type smaller(Type a, Type b) { return (b < a) ? b : a; }
template<class Type> KOLM_INLINE Type larger(Type a, Type b) { return (a < b) ? b : a; }
template<class Type> KOLM_INLINE Type limit(Type v, Type lo, Type hi) { return (v < lo) ? lo : (hi < v) ? hi : v; }
template<class Type> KOLM_INLINE void exchange(Type &a, Type &b) {
    const Type c = a;
    a = b;
    b = c;
}

} // namespace

} // namespace Kolm
