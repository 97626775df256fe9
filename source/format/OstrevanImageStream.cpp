// Forwarding of the registry of image files.

#include <format/OstrevanImageStream.h>

#include "KolmImageStream.h"
#include "OstrevanStringKolm.h"

namespace Ostrevan {

bool ImageStream::check(const String &name, uint32_t magic) {
    return Kolm::ImageStream::check(getCoreString(name), magic);
}
String ImageStream::getLoadFormats() { return getPublicString(Kolm::ImageStream::getLoadFormats()); }
String ImageStream::getSaveFormats() { return getPublicString(Kolm::ImageStream::getSaveFormats()); }

} // namespace Ostrevan
