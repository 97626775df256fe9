#pragma once

#include <platform/OstrevanTraversal.h>

#include "KolmTraversal.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanHandleKolm.h"
#include "OstrevanPlatformKolm.h"

namespace Ostrevan {

struct Traversal::TraversalImpl : HandleImpl<Traversal, Kolm::Traversal> {};

} // namespace Ostrevan
