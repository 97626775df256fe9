#pragma once

#include <platform/OstrevanQuery.h>

#include "KolmQuery.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Query::QueryImpl : HandleImpl<Query, Kolm::Query> {};

static_assert(int(Query::TypeTime) == int(Kolm::Query::TypeTime));
static_assert(int(Query::TypeSamples) == int(Kolm::Query::TypeSamples));
static_assert(int(Query::TypeAnySamples) == int(Kolm::Query::TypeAnySamples));
static_assert(int(Query::TypeStatistics) == int(Kolm::Query::TypeStatistics));
static_assert(int(Query::NumTypes) == int(Kolm::Query::NumTypes));
static_assert(sizeof(Query::Statistics) == sizeof(Kolm::Query::Statistics));

} // namespace Ostrevan
