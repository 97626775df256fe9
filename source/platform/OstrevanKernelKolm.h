#pragma once

#include <platform/OstrevanKernel.h>

#include "KolmKernel.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Kernel::KernelImpl : HandleImpl<Kernel, Kolm::Kernel> {};

} // namespace Ostrevan
