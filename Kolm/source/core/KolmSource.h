// KolmSource.h: a named text or resource as a stream. Rests on File. Hides where names are looked up.

#pragma once

#include "KolmFile.h"

namespace Kolm {

/// Stream that is opened by name for reading.
class Source : public File {
public:
    /// Opens a file, or a pipe or device under a file's name. With \p local names are looked up in the file system;
    /// nothing else holds any. With \p log a failure is logged; without, the caller says what is missing.
    bool open(const char *name, bool local = true, bool log = true);

    /// Whether \p name is a file as it stands: one that ends and does not wait, as a pipe does.
    static bool isSource(const char *name);
};

} // namespace Kolm
