// KolmFile.h: the byte stream on a FILE of the C library, and the few questions asked of the file system.
// Rests on Stream. Hides the difference between files, descriptors and pipes.

#pragma once

#include <stdio.h>

#include "KolmStream.h"

namespace Kolm {

/// File, descriptor or pipe as a stream. Closed by its destructor.
class File : public Stream {
public:
    File();
    /// Opens the same file once more, at the same position and without truncating it. A copy of a pipe is closed.
    File(const File &file);
    /// Takes the opened file over if \p take is set.
    File(const File &file, bool take);
    File(File &&file) noexcept;
    ~File() override;

    File &operator=(const File &file) = delete;
    File &operator=(File &&file) noexcept;

    Stream *move() override;

    /// Opens as fopen, fdopen and popen do. An opened file is closed first. Returns false and logs the system's
    /// reason. Directories can't be opened. A descriptor is owned by the file from a successful call on.
    bool open(const char *name, const char *mode);
    bool open(int32_t descriptor, const char *name, const char *mode);
    bool popen(const char *command, const char *mode);
    void close();

    bool isOpened() const override;
    bool isMapped() const override { return false; }
    bool isAvailable() const override;
    /// Size when the file was opened, 0 for pipes.
    size_t getSize() const override;
    const String &getName() const override;
    size_t tell() const override;
    bool seek(size_t offset) override;
    bool seekBack(size_t offset) override;
    bool seekCur(int64_t offset) override;
    const uint8_t *getData() const override { return nullptr; }
    size_t read(void *dest, size_t size) override;
    size_t write(const void *src, size_t size) override;
    bool flush() override;

    /// True for an existing file that is not a directory.
    static bool isFile(const char *name);
    /// Size in bytes, and time of the last change in seconds since 1970. 0 if there is no such file.
    static size_t getSize(const char *name);
    static uint64_t getMTime(const char *name);
    /// Removes a file. False and a line if that fails.
    static bool remove(const char *name);

protected:
    bool read_encoded(uint64_t &value, uint32_t max) override;

private:
    struct FileImpl;

    bool open_file(FILE *file, const char *mode);

    mutable FileImpl *impl;
};

} // namespace Kolm
