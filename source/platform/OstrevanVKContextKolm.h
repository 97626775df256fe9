#pragma once

#include <platform/OstrevanVKContext.h>

#include "OstrevanContextKolm.h"
#include "VKOffscreen.h"

namespace Ostrevan {

struct VKContext::VKContextImpl : HandleImpl<VKContext, Kolm::VKOffscreen, Context> {};

} // namespace Ostrevan
