#pragma once

#include <platform/OstrevanFence.h>

#include "KolmFence.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Fence::FenceImpl : HandleImpl<Fence, Kolm::Fence> {};

static_assert(int(Fence::FlagShared) == int(Kolm::Fence::FlagShared));
static_assert(int(Fence::FlagTimeline) == int(Kolm::Fence::FlagTimeline));
static_assert(int(Fence::NumFlags) == int(Kolm::Fence::NumFlags));
static_assert(Fence::Infinite == Kolm::Fence::Infinite);

inline Kolm::Fence::Flags getCoreFlags(Fence::Flags flags) { return static_cast<Kolm::Fence::Flags>(flags); }

} // namespace Ostrevan
