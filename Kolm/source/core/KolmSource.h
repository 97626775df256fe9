// KolmSource.h: a named text or resource as a stream, wherever it lies.
// Rests on File and Blob. Hides where names are looked up: callbacks, registered blocks of memory, files, search paths.

#pragma once

#include "KolmFunction.h"
#include "KolmStream.h"

namespace Kolm {

/// Stream that is opened by name, for reading only. Closed by its destructor.
///
/// A name is looked up in this order: callbacks, registered blocks, the file of that name, the search paths. What is
/// registered is shared by the process and may be changed and asked for on any thread.
class Source : public Stream {
public:
    /// Gives a stream for a name, or null. The source deletes the stream. It is called on the thread that opens, also
    /// for isSource(), with no lock of this class held; names that it opens itself are opened without \p search.
    using Callback = Function<Stream *(const char *name)>;

    Source();
    /// Opens the same once more, at the same position.
    Source(const Source &source);
    /// Takes the opened stream over if \p take is set.
    Source(const Source &source, bool take);
    Source(Source &&source) noexcept;
    ~Source() override;

    Source &operator=(const Source &source) = delete;
    Source &operator=(Source &&source) noexcept;

    Stream *move() override;

    /// Opens what the name stands for; an opened source is closed first. Without \p search only a file, or a pipe or
    /// device under a file's name, counts. With \p log a failure is logged; without, the caller says what is missing,
    /// and only a file that is there and can't be opened has its line with the system's reason.
    bool open(const char *name, bool search = true, bool log = true);
    void close();

    bool isOpened() const override;
    /// True for registered memory, which getData() then gives.
    bool isMapped() const override;
    bool isAvailable() const override;
    size_t getSize() const override;
    /// Name under which the source was found: with the search path for a file.
    const String &getName() const override;
    size_t tell() const override;
    bool seek(size_t offset) override;
    bool seekBack(size_t offset) override;
    bool seekCur(int64_t offset) override;
    const uint8_t *getData() const override;
    size_t read(void *dest, size_t size) override;
    /// Nothing is written.
    size_t write(const void *src, size_t size) override;
    bool flush() override;

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

private:
    struct SourceImpl;

    bool open_callback(const char *name);
    bool open_block(const char *name);
    bool open_file(const char *name);

    mutable SourceImpl *impl;
};

} // namespace Kolm
