// Files, embedded resources and registered memory under one kind of name.

#pragma once

#include <core/OstrevanFunction.h>
#include <core/OstrevanStream.h>

namespace Ostrevan {

/// Stream that is opened by name, for reading only: what the library itself opens by name, it opens so. The last handle
/// closes it. clonePtr() opens the same once more, at the same position.
///
/// A name is looked up in this order: callbacks, registered blocks, the file of that name, the search paths. What is
/// registered is shared by the process and may be changed on any thread.
class OSTREVAN_API Source : public Stream {
    OSTREVAN_HANDLE(Source)
public:
    /// Gives an opened stream for a name, or an empty handle. The content of the stream is taken over. It is called on
    /// the thread that opens, also for isSource(); what it opens by a Source itself it opens without \p search. It
    /// loads no shaders.
    using Callback = Function<Stream(const char *name)>;

    Source();

    /// Opens what the name stands for; an opened source is closed first. Without \p search only a file, or a pipe or
    /// device under a file's name, counts. Returns false if there is none, with a line in the log if \p log is set. A
    /// file that is there and can't be opened always has its line with the system's reason.
    bool open(const char *name, bool search = true, bool log = true);
    bool open(const String &name, bool search = true, bool log = true);
    void close();

    /// Whether \p name can be opened as it stands, without the search paths. Of files only those count that end and do
    /// not wait, as a pipe does.
    static bool isSource(const char *name);
    /// Name under which \p name would be found: itself, or the first search path with such a file in front of it.
    /// Empty if there is none.
    static String find(const char *name);

    /// Bytes under a name. They are not copied: they stay until the name is removed and its sources are closed.
    static void setBlock(const char *name, const uint8_t *data, size_t size);
    /// Embedded resource under a name, in rows of 256 bytes as Blob::setData() takes them. Each open unpacks it.
    static void setBlock(const char *name, const uint8_t (*rows)[256]);
    static bool isBlock(const char *name);
    static bool removeBlock(const char *name);
    static void clearBlocks();

    /// Folders in which relative names are looked up, in the order of their addition.
    static void addPath(const char *path);
    static bool removePath(const char *path);
    static void clearPaths();

    /// Callbacks are asked in the order of their addition. The result is what removes it, never 0.
    static uint32_t addCallback(const Callback &callback);
    static bool removeCallback(uint32_t id);
    static void clearCallbacks();
};

} // namespace Ostrevan
