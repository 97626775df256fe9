#pragma once

#include <core/OstrevanCache.h>

#include "KolmCache.h"
#include "OstrevanHandleKolm.h"

namespace Ostrevan {

struct Cache::CacheImpl : HandleImpl<Cache, Kolm::Cache> {};

static_assert(Cache::DefaultSize == Kolm::Cache::DefaultSize);

} // namespace Ostrevan
