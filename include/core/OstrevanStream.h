// Byte streams: the common interface of Blob and File, and the binary conventions of all native file formats.

#pragma once

#include <stdarg.h>

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanString.h>

namespace Ostrevan {

/// Byte stream with a position. Values are little-endian. A Stream made from a Blob or a File refers to the same
/// object and keeps it alive.
///
/// Reads at the end return fewer bytes and are no error. Methods with a \p status report a failure by setting
/// *status to false; they never set it to true, so that one flag serves a whole run of reads. A read still takes
/// place when the flag is already false.
///
/// Using a stream that is not opened ends the process. Streams are not thread-safe.
class OSTREVAN_API Stream {
    OSTREVAN_HANDLE(Stream)
public:
    /// Empty handle: a stream is made as Blob or File.
    Stream();

    /// New stream that takes over this one's state, which stays empty.
    Stream move();

    /// False for an empty handle too.
    bool isOpened() const;
    /// True if getData() gives the whole content as memory.
    bool isMapped() const;
    /// True if there is more to read.
    bool isAvailable() const;

    /// Total size in bytes: 0 for pipes, a snapshot for files.
    size_t getSize() const;
    String getName() const;

    size_t tell() const;
    /// Absolute position, position from the end, relative position. A position outside of the content moves to its
    /// nearer end and returns false.
    bool seek(size_t offset);
    bool seekBack(size_t offset);
    bool seekCur(int64_t offset);

    /// Start of the content, or null if the stream is not mapped.
    const uint8_t *getData() const;

    /// Bytes transferred, fewer than \p size at the end of the content or on failure.
    size_t read(void *dest, size_t size);
    size_t write(const void *src, size_t size);
    bool flush();

    // text

    bool puts(const char *str);
    bool puts(const String &str);
    bool vprintf(const char *format, va_list args) OSTREVAN_PRINTF(2, 0);
    bool printf(const char *format, ...) OSTREVAN_PRINTF(2, 3);
    /// The whole rest of the stream as text.
    String gets(bool *status = nullptr);

    // plain values

    int8_t readi8(bool *status = nullptr);
    uint8_t readu8(bool *status = nullptr);
    int16_t readi16(bool *status = nullptr);
    uint16_t readu16(bool *status = nullptr);
    int32_t readi32(bool *status = nullptr);
    uint32_t readu32(bool *status = nullptr);
    int64_t readi64(bool *status = nullptr);
    uint64_t readu64(bool *status = nullptr);
    float32_t readf32(bool *status = nullptr);
    float64_t readf64(bool *status = nullptr);

    bool writei8(int8_t value);
    bool writeu8(uint8_t value);
    bool writei16(int16_t value);
    bool writeu16(uint16_t value);
    bool writei32(int32_t value);
    bool writeu32(uint32_t value);
    bool writei64(int64_t value);
    bool writeu64(uint64_t value);
    bool writef32(float32_t value);
    bool writef64(float64_t value);

    // encoded integers: 7 bits a byte, low group first, the top bit is set in the last byte only

    int32_t readi32e(bool *status = nullptr);
    uint32_t readu32e(bool *status = nullptr);
    int64_t readi64e(bool *status = nullptr);
    uint64_t readu64e(bool *status = nullptr);

    bool writei32e(int32_t value);
    bool writeu32e(uint32_t value);
    /// The 64-bit code ends after 9 bytes: values of 2^63 and above, negative ones included, are refused.
    bool writei64e(int64_t value);
    bool writeu64e(uint64_t value);

    // strings: encoded length and bytes, or bytes and a terminator

    String readString(bool *status = nullptr);
    /// Bytes up to \p term, which is read and dropped, or up to \p max bytes. The status is false if neither came.
    String readString(char term, bool *status = nullptr, uint32_t max = 0xFFFFFFFF);
    bool writeString(const char *str);
    bool writeString(const String &str);
    bool writeString(const String &str, char term);

    // tokens and lines

    /// Text up to the next white space. Carriage returns inside a token are skipped.
    /// The result is whether a token was read.
    String readToken(bool *status = nullptr);
    bool readToken(String &dest, bool clear = true);
    /// The same through \p buffer, which holds up to \p size bytes read ahead and goes from call to call.
    bool readToken(String &dest, String &buffer, uint32_t size);

    /// Text up to the next newline. Carriage returns are dropped.
    /// The result is true for a text, and for an empty line that is not the last one.
    String readLine(bool *status = nullptr);
    bool readLine(String &dest, bool skip_empty = false, bool clear = true);
    bool readLine(String &dest, String &buffer, uint32_t size);

    // copies between streams; size 0 means the rest

    /// Copies from this stream into \p dest, and from \p src into this stream. Returns the bytes copied.
    size_t readStream(Stream &dest, size_t size = 0, bool *status = nullptr);
    size_t writeStream(Stream &src, size_t size = 0, bool *status = nullptr);

    // zlib

    enum ZipLevel { ZipLevelDefault = -1, ZipLevelFast = 1, ZipLevelBest = 9 };

    /// A block with its compressed length in front. \p size is the room at \p dest; returns the bytes decoded or 0.
    size_t readZip(void *dest, size_t size);
    /// Returns the bytes written, the length included, or 0.
    size_t writeZip(const void *src, size_t size, int32_t level = ZipLevelDefault);
    size_t writeZipFast(const void *src, size_t size) { return writeZip(src, size, ZipLevelFast); }
    size_t writeZipBest(const void *src, size_t size) { return writeZip(src, size, ZipLevelBest); }

    /// Decodes the zlib stream of \p src to the end of that stream and writes the result to this stream.
    /// \p size is the size of an input chunk and no limit; \p src may be left behind the end of the zlib stream.
    /// \p window is the window-bits value of zlib. Returns the bytes written, also in front of a failure.
    size_t decodeZip(Stream &src, size_t size = 0, bool *status = nullptr, int32_t window = 15);
    /// Compresses \p size bytes of \p src into this stream, without a length in front. Returns bytes written or 0.
    size_t encodeZip(Stream &src, size_t size = 0, bool *status = nullptr, int32_t level = ZipLevelDefault);
    size_t encodeZipFast(Stream &src, size_t size = 0, bool *status = nullptr) {
        return encodeZip(src, size, status, ZipLevelFast);
    }
    size_t encodeZipBest(Stream &src, size_t size = 0, bool *status = nullptr) {
        return encodeZip(src, size, status, ZipLevelBest);
    }

    // LZ4: a negative level is the acceleration of the fast coder, others are levels of the high compression coder

    enum Lz4Level { Lz4LevelDefault = -1, Lz4LevelFast = -8, Lz4LevelBest = 12 };

    size_t readLz4(void *dest, size_t size);
    size_t writeLz4(const void *src, size_t size, int32_t level = Lz4LevelDefault);
    size_t writeLz4Fast(const void *src, size_t size) { return writeLz4(src, size, Lz4LevelFast); }
    size_t writeLz4Best(const void *src, size_t size) { return writeLz4(src, size, Lz4LevelBest); }

    /// Decodes a raw LZ4 block of \p size bytes, or of the rest of \p src, and writes the result to this stream.
    size_t decodeLz4(Stream &src, size_t size = 0, bool *status = nullptr);
    size_t encodeLz4(Stream &src, size_t size = 0, bool *status = nullptr, int32_t level = Lz4LevelDefault);
    size_t encodeLz4Fast(Stream &src, size_t size = 0, bool *status = nullptr) {
        return encodeLz4(src, size, status, Lz4LevelFast);
    }
    size_t encodeLz4Best(Stream &src, size_t size = 0, bool *status = nullptr) {
        return encodeLz4(src, size, status, Lz4LevelBest);
    }
};

} // namespace Ostrevan
