// Forwarding of the registry of block coders.

#include <format/OstrevanImageCoder.h>

#include "KolmImageCoder.h"
#include "OstrevanFormatKolm.h"
#include "OstrevanStringKolm.h"

namespace Ostrevan {

bool ImageCoder::check(Format format) { return Kolm::ImageCoder::check(getCore(format)); }
String ImageCoder::getDecodeFormats() { return getPublicString(Kolm::ImageCoder::getDecodeFormats()); }
String ImageCoder::getEncodeFormats() { return getPublicString(Kolm::ImageCoder::getEncodeFormats()); }

} // namespace Ostrevan
