// The image files that the library knows.

#pragma once

#include <core/OstrevanString.h>

namespace Ostrevan {

/// Registry of image file handlers. Image::load() and save() pick one by the extension of a name, or by the first bytes
/// of a stream without a name. May be asked by several threads.
class OSTREVAN_API ImageStream {
public:
    /// True if a file of this name or extension can be loaded, or else one that begins with this word, whose first byte
    /// is the low one; 0 is none.
    static bool check(const String &name, uint32_t magic = 0);
    static bool check(const char *name, uint32_t magic = 0) { return check(String(name), magic); }
    /// Extensions in lower case, each with a full stop in front: ".bmp.dds".
    static String getLoadFormats();
    static String getSaveFormats();

    ImageStream() = delete;
};

} // namespace Ostrevan
