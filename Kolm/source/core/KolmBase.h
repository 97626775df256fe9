// Types, the assertion and the few helpers that every file of the core layer uses.
//
// Assertions are for the caller's mistakes. They stay on in every build, have no side effects and print their
// expression, which carries the text "Class::method(): what is wrong", to stderr before the process ends.

#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <initializer_list>
#include <new>
#include <type_traits>
#include <utility>

using float32_t = float;
using float64_t = double;

static_assert(sizeof(float32_t) == 4 && sizeof(float64_t) == 8);
static_assert(sizeof(void *) == 8, "the library is written for 64-bit processors");

#define KOLM_LIKELY(EXPR) __builtin_expect(!!(EXPR), 1)
#define KOLM_UNLIKELY(EXPR) __builtin_expect(!!(EXPR), 0)

/// Lets the compiler check the arguments of printf-like functions: positions count from 1, `this` included.
#define KOLM_PRINTF(FORMAT, ARGS) __attribute__((format(printf, FORMAT, ARGS)))

/// Ends the process with the text of EXPR if it is false.
#define KOLM_ASSERT(EXPR) (KOLM_LIKELY(EXPR) ? void(0) : ::Kolm::assertion(#EXPR, __FILE__, __LINE__))

namespace Kolm {

/// Prints the failed expression and its place to stderr, then aborts.
[[noreturn]] __attribute__((cold)) void assertion(const char *expr, const char *file, int32_t line);

template<class Type> constexpr const Type &min(const Type &a, const Type &b) { return (b < a) ? b : a; }
template<class Type> constexpr const Type &max(const Type &a, const Type &b) { return (a < b) ? b : a; }
template<class Type> constexpr const Type &clamp(const Type &v, const Type &lo, const Type &hi) {
    return (v < lo) ? lo : (hi < v) ? hi : v;
}
template<class Type> constexpr void swap(Type &a, Type &b) {
    Type c = std::move(a);
    a = std::move(b);
    b = std::move(c);
}

/// Value rounded up to a multiple of a power of two.
template<class Type> constexpr Type align_up(Type value, Type alignment) {
    return Type((value + alignment - 1) & ~(alignment - 1));
}
template<class Type> constexpr bool is_pow2(Type value) { return value && (value & (value - 1)) == 0; }

/// Number of elements of a plain array.
template<class Type, size_t Size> constexpr uint32_t array_size(const Type (&)[Size]) { return uint32_t(Size); }

/// Base of classes that are neither copied nor moved.
class NoCopy {
public:
    NoCopy(const NoCopy &) = delete;
    NoCopy &operator=(const NoCopy &) = delete;

protected:
    NoCopy() = default;
    ~NoCopy() = default;
};

} // namespace Kolm
