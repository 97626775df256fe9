#pragma once

#include <parallel/OstrevanRadixSort.h>

#include "KolmRadixSort.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPrefixScanKolm.h"

namespace Ostrevan {

struct RadixSort::RadixSortImpl : HandleImpl<RadixSort, Kolm::RadixSort> {};

static_assert(int(RadixSort::FlagsAll) == int(Kolm::RadixSort::FlagsAll));
static_assert(int(RadixSort::NumModes) == int(Kolm::RadixSort::NumModes));
static_assert(sizeof(RadixSort::DispatchParameters) == sizeof(Kolm::RadixSort::DispatchParameters));

} // namespace Ostrevan
