// Bridge of the math types: each is one text in both layers, so that its bytes are copied as they stand.

#pragma once

#include <math/OstrevanMatrix3x2.h>
#include <math/OstrevanMatrix4x4.h>
#include <math/OstrevanRect.h>
#include <math/OstrevanTransform.h>

#include "KolmMatrix3x2.h"
#include "KolmMatrix4x4.h"
#include "KolmRect.h"
#include "KolmTransform.h"

namespace Ostrevan {

/// The type of the other layer, both ways: template classes by their parameters, others by name.
template<class Type> struct Twin;

#define TWIN(NAME)                                               \
    template<> struct Twin<NAME> { using Core = Kolm::NAME; };   \
    template<> struct Twin<Kolm::NAME> { using Public = NAME; }; \
    static_assert(sizeof(NAME) == sizeof(Kolm::NAME) && alignof(NAME) == alignof(Kolm::NAME));
#define TWIN_TEMPLATE(NAME)                                                          \
    template<class Type> struct Twin<NAME<Type>> { using Core = Kolm::NAME<Type>; }; \
    template<class Type> struct Twin<Kolm::NAME<Type>> { using Public = NAME<Type>; };
#define TWIN_TEMPLATE_SIZE(NAME)                                                                                \
    template<class Type, uint32_t Size> struct Twin<NAME<Type, Size>> { using Core = Kolm::NAME<Type, Size>; }; \
    template<class Type, uint32_t Size> struct Twin<Kolm::NAME<Type, Size>> { using Public = NAME<Type, Size>; };
TWIN(float16_t)
TWIN(float21_t)
TWIN(int32x4_t)
TWIN(uint32x4_t)
TWIN(float32x4_t)
TWIN(float16x4_t)
TWIN(float16x8_t)
TWIN(Rect)
TWIN_TEMPLATE_SIZE(Vector)
TWIN_TEMPLATE_SIZE(BoundBoxBase)
TWIN_TEMPLATE(Quaternion)
TWIN_TEMPLATE(Matrix3x2)
TWIN_TEMPLATE(Matrix4x3)
TWIN_TEMPLATE(Matrix4x4)
TWIN_TEMPLATE(BoundSphere)
#undef TWIN
#undef TWIN_TEMPLATE
#undef TWIN_TEMPLATE_SIZE

template<class To, class From> To copyTwin(const From &from) {
    static_assert(sizeof(To) == sizeof(From) && std::is_trivially_copyable_v<To> && std::is_trivially_copyable_v<From>);
    To ret;
    memcpy(static_cast<void *>(&ret), &from, sizeof(To));
    return ret;
}
template<class Type> typename Twin<Type>::Core getCore(const Type &v) { return copyTwin<typename Twin<Type>::Core>(v); }
template<class Type> typename Twin<Type>::Public getPublic(const Type &v) {
    return copyTwin<typename Twin<Type>::Public>(v);
}
/// Arrays are not copied: they are seen as those of the other layer.
template<class Type> const typename Twin<Type>::Core *getCorePtr(const Type *ptr) {
    return reinterpret_cast<const typename Twin<Type>::Core *>(ptr);
}
template<class Type> typename Twin<Type>::Core *getCorePtr(Type *ptr) {
    return reinterpret_cast<typename Twin<Type>::Core *>(ptr);
}

} // namespace Ostrevan
