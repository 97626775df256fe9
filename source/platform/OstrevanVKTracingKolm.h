#pragma once

#include <platform/OstrevanVKTracing.h>

#include "OstrevanTracingKolm.h"
#include "VKTracing.h"

namespace Ostrevan {

struct VKTracing::VKTracingImpl : HandleImpl<VKTracing, Kolm::VKTracing, Tracing> {};

} // namespace Ostrevan
