#pragma once

#include <platform/OstrevanContext.h>

#include "KolmOffscreen.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Context::ContextImpl : HandleImpl<Context, Kolm::Offscreen> {};

} // namespace Ostrevan
