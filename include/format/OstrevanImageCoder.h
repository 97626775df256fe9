// Which block formats the library encodes and decodes. Image::toFormat does the work.

#pragma once

#include <core/OstrevanString.h>
#include <format/OstrevanFormat.h>

namespace Ostrevan {

/// The registry of block coders. All members are static; they may be called by any thread.
class OSTREVAN_API ImageCoder {
public:
    /// True if Image::toFormat encodes and decodes the format: BC, ETC2 and EAC rows.
    static bool check(Format format);
    /// Names of the formats, with a blank between them.
    static String getDecodeFormats();
    static String getEncodeFormats();
};

} // namespace Ostrevan
