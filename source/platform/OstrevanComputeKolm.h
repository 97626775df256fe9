#pragma once

#include <platform/OstrevanCompute.h>

#include "KolmCompute.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Compute::ComputeImpl : HandleImpl<Compute, Kolm::Compute> {};

} // namespace Ostrevan
