#pragma once

#include <platform/OstrevanKernel.h>

#include "KolmKernel.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Kernel::KernelImpl : HandleImpl<Kernel, Kolm::Kernel> {};

#define KERNEL_LIMIT(NAME) static_assert(uint32_t(Kernel::NAME) == uint32_t(Kolm::Kernel::NAME));
KERNEL_LIMIT(NumSamplers)
KERNEL_LIMIT(NumTextures)
KERNEL_LIMIT(NumSurfaces)
KERNEL_LIMIT(NumUniforms)
KERNEL_LIMIT(NumStorages)
KERNEL_LIMIT(NumTracings)
KERNEL_LIMIT(NumTexels)
KERNEL_LIMIT(NumTables)
KERNEL_LIMIT(TableTypeStorage)
KERNEL_LIMIT(NumTableTypes)
KERNEL_LIMIT(BindFlagFixed)
KERNEL_LIMIT(BindFlagRead)
KERNEL_LIMIT(NumBindFlags)
#undef KERNEL_LIMIT

} // namespace Ostrevan
