// KolmBuildId.h: what tells one build of the library from another, for results that only the same code would give again.

#pragma once

#include "KolmBase.h"

namespace Kolm {

/// Digest that the linker took of the library or program which this code is part of: five words of its bytes.
/// False if there is none.
bool get_build_id(uint32_t *hash);

} // namespace Kolm
