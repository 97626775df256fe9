#pragma once

#include <core/OstrevanAsync.h>

#include "KolmAsync.h"
#include "OstrevanHandleKolm.h"

namespace Ostrevan {

struct Async::AsyncImpl : HandleImpl<Async, Kolm::Async> {};

/// Core handle in the place of the public one.
struct Async::Task::TaskImpl : Kolm::Async::Task {};

/// The pool of an optional argument.
inline Kolm::Async *getAsync(Async *async) { return async ? &async->impl().ref() : nullptr; }

} // namespace Ostrevan
