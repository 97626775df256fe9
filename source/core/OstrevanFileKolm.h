#pragma once

#include <core/OstrevanFile.h>

#include "KolmFile.h"
#include "OstrevanStreamKolm.h"

namespace Ostrevan {

struct File::FileImpl : HandleImpl<File, Kolm::File, Stream> {};

} // namespace Ostrevan
