// What cameras note beside a picture: directories of tagged values in the layout of TIFF files.

#pragma once

#include "KolmString.h"

namespace Kolm {

class Stream;

/// Reader of camera data.
class Exif {
public:
    /// Reads a TIFF header and its directories from at most \p size bytes of \p stream, and appends one line of XML for
    /// each known tag, such as "<Orientation>6</Orientation>". Offsets count from the stream's position. Values that
    /// lie outside are left out; returns false, without a line in the log, if there is no header or no directory.
    static bool readTIFF(Stream &stream, size_t size, String &dest);
};

} // namespace Kolm
