// The byte stream on a file, a descriptor or a pipe.

#pragma once

#include <core/OstrevanStream.h>

namespace Ostrevan {

/// File, descriptor or pipe as a stream. The last handle closes it. clonePtr() opens the same file once more, at the
/// same position.
class OSTREVAN_API File : public Stream {
    OSTREVAN_HANDLE(File)
public:
    File();

    /// Opens as fopen, fdopen and popen do. An opened file is closed first. Returns false and logs the system's
    /// reason. Directories can't be opened. A descriptor is owned by the file from a successful call on.
    bool open(const char *name, const char *mode);
    bool open(const String &name, const char *mode);
    bool open(int32_t descriptor, const char *name, const char *mode);
    bool popen(const char *command, const char *mode);
    void close();

    using Stream::getSize;

    /// True for an existing file that is not a directory.
    static bool isFile(const char *name);
    /// Size in bytes, and time of the last change in seconds since 1970. 0 if there is no such file.
    static size_t getSize(const char *name);
    static uint64_t getMTime(const char *name);
    /// Removes a file. False and a line if that fails.
    static bool remove(const char *name);
};

} // namespace Ostrevan
