#pragma once

#include <core/OstrevanStream.h>

#include "KolmStream.h"
#include "OstrevanHandleKolm.h"

namespace Ostrevan {

struct Stream::StreamImpl : HandleImpl<Stream, Kolm::Stream> {};

} // namespace Ostrevan
