#pragma once

#include <core/OstrevanSource.h>

#include "KolmSource.h"
#include "OstrevanStreamKolm.h"

namespace Ostrevan {

struct Source::SourceImpl : HandleImpl<Source, Kolm::Source, Stream> {};

} // namespace Ostrevan
