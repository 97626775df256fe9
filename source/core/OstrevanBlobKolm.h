#pragma once

#include <core/OstrevanBlob.h>

#include "KolmBlob.h"
#include "OstrevanStreamKolm.h"

namespace Ostrevan {

struct Blob::BlobImpl : HandleImpl<Blob, Kolm::Blob, Stream> {};

} // namespace Ostrevan
