// Lets failed expectations show the text of a string.

#pragma once

#include <ostream>

#include "KolmString.h"

namespace Kolm {

inline void PrintTo(const String &str, std::ostream *stream) { *stream << '"' << str.get() << '"'; }

} // namespace Kolm
