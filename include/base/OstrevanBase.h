// What every public header rests on: export, types, the assertion.

#pragma once

#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <initializer_list>
#include <new>
#include <type_traits>
#include <utility>

/// Marks what the shared library exports.
#define OSTREVAN_API __attribute__((visibility("default")))
/// Marks members of exported classes that the library keeps to itself.
#define OSTREVAN_HIDDEN __attribute__((visibility("hidden")))

#define OSTREVAN_LIKELY(EXPR) __builtin_expect(!!(EXPR), 1)
#define OSTREVAN_UNLIKELY(EXPR) __builtin_expect(!!(EXPR), 0)

/// Lets the compiler check the arguments of printf-like functions: positions count from 1, `this` included.
#define OSTREVAN_PRINTF(FORMAT, ARGS) __attribute__((format(printf, FORMAT, ARGS)))

/// Ends the process with the text of EXPR if it is false. For mistakes of the caller; stays on in every build.
#define OSTREVAN_ASSERT(EXPR) \
    (__builtin_expect(!!(EXPR), 1) ? void(0) : ::Ostrevan::assertion(#EXPR, __FILE__, __LINE__))

using float32_t = float;
using float64_t = double;

namespace Ostrevan {

/// Base of classes that are neither copied nor moved.
class NoCopy {
public:
    NoCopy(const NoCopy &) = delete;
    NoCopy &operator=(const NoCopy &) = delete;

protected:
    NoCopy() = default;
    ~NoCopy() = default;
};

/// Prints the failed expression and its place to stderr, then aborts.
[[noreturn]] OSTREVAN_API __attribute__((cold)) void assertion(const char *expr, const char *file, int32_t line);

} // namespace Ostrevan
