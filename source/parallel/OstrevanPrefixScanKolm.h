#pragma once

#include <parallel/OstrevanPrefixScan.h>

#include "KolmPrefixScan.h"
#include "OstrevanHandleKolm.h"

namespace Ostrevan {

struct PrefixScan::PrefixScanImpl : HandleImpl<PrefixScan, Kolm::PrefixScan> {};

static_assert(int(PrefixScan::FlagsAll) == int(Kolm::PrefixScan::FlagsAll));
static_assert(int(PrefixScan::NumModes) == int(Kolm::PrefixScan::NumModes));
static_assert(sizeof(PrefixScan::DispatchParameters) == sizeof(Kolm::PrefixScan::DispatchParameters));

} // namespace Ostrevan
