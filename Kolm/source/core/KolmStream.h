// KolmStream.h: the abstract byte stream and the binary conventions of all native formats.
// Rests on String and Array. Derived classes give bytes; everything typed, textual and compressed is here.

#pragma once

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#include "KolmArray.h"
#include "KolmBase.h"
#include "KolmString.h"

namespace Kolm {

/// Byte stream with a position. Values are little-endian.
///
/// Reads at the end return fewer bytes and are no error. Methods with a \p status report a failure by setting
/// *status to false; they never set it to true, so that one flag serves a whole run of reads. A read still takes
/// place when the flag is already false.
///
/// Using a stream that is not opened ends the process with an assertion. Streams are not thread-safe.
class Stream {
public:
    virtual ~Stream() = default;

    /// A new heap stream that takes over this one's state; this one stays empty. Owned by the caller.
    virtual Stream *move() = 0;

    virtual bool isOpened() const = 0;
    /// True if getData() gives the whole content as memory.
    virtual bool isMapped() const = 0;
    /// True if there is more to read.
    virtual bool isAvailable() const = 0;

    /// Total size in bytes: 0 for pipes, a snapshot for files. Never size an allocation by it alone.
    virtual size_t getSize() const = 0;
    virtual const String &getName() const = 0;

    virtual size_t tell() const = 0;
    /// Absolute position, position from the end, relative position. False if it lies outside the content.
    virtual bool seek(size_t offset) = 0;
    virtual bool seekBack(size_t offset) = 0;
    virtual bool seekCur(int64_t offset) = 0;

    /// Start of the content, or null if the stream is not mapped.
    virtual const uint8_t *getData() const = 0;

    /// Bytes transferred, fewer than \p size at the end of the content or on failure.
    virtual size_t read(void *dest, size_t size) = 0;
    virtual size_t write(const void *src, size_t size) = 0;
    virtual bool flush() = 0;

    explicit operator bool() const { return isOpened(); }

    // text

    bool puts(const char *str);
    bool puts(const String &str);
    bool vprintf(const char *format, va_list args) KOLM_PRINTF(2, 0);
    bool printf(const char *format, ...) KOLM_PRINTF(2, 3);

    /// The whole rest of the stream as text.
    String gets(bool *status = nullptr);

    // plain values

    int8_t readi8(bool *status = nullptr) { return read_value<int8_t>(status); }
    uint8_t readu8(bool *status = nullptr) { return read_value<uint8_t>(status); }
    int16_t readi16(bool *status = nullptr) { return read_value<int16_t>(status); }
    uint16_t readu16(bool *status = nullptr) { return read_value<uint16_t>(status); }
    int32_t readi32(bool *status = nullptr) { return read_value<int32_t>(status); }
    uint32_t readu32(bool *status = nullptr) { return read_value<uint32_t>(status); }
    int64_t readi64(bool *status = nullptr) { return read_value<int64_t>(status); }
    uint64_t readu64(bool *status = nullptr) { return read_value<uint64_t>(status); }
    float32_t readf32(bool *status = nullptr) { return read_value<float32_t>(status); }
    float64_t readf64(bool *status = nullptr) { return read_value<float64_t>(status); }

    bool writei8(int8_t value) { return write(&value, sizeof(value)) == sizeof(value); }
    bool writeu8(uint8_t value) { return write(&value, sizeof(value)) == sizeof(value); }
    bool writei16(int16_t value) { return write(&value, sizeof(value)) == sizeof(value); }
    bool writeu16(uint16_t value) { return write(&value, sizeof(value)) == sizeof(value); }
    bool writei32(int32_t value) { return write(&value, sizeof(value)) == sizeof(value); }
    bool writeu32(uint32_t value) { return write(&value, sizeof(value)) == sizeof(value); }
    bool writei64(int64_t value) { return write(&value, sizeof(value)) == sizeof(value); }
    bool writeu64(uint64_t value) { return write(&value, sizeof(value)) == sizeof(value); }
    bool writef32(float32_t value) { return write(&value, sizeof(value)) == sizeof(value); }
    bool writef64(float64_t value) { return write(&value, sizeof(value)) == sizeof(value); }

    // encoded integers: 7 bits a byte, low group first, the top bit is set in the last byte only

    int32_t readi32e(bool *status = nullptr) { return static_cast<int32_t>(readu32e(status)); }
    uint32_t readu32e(bool *status = nullptr) { return static_cast<uint32_t>(read_encoded(5, status)); }
    int64_t readi64e(bool *status = nullptr) { return static_cast<int64_t>(readu64e(status)); }
    uint64_t readu64e(bool *status = nullptr) { return read_encoded(9, status); }

    bool writei32e(int32_t value) { return writeu32e(static_cast<uint32_t>(value)); }
    bool writeu32e(uint32_t value);
    /// The 64-bit code ends after 9 bytes: values of 2^63 and above, negative ones included, are refused.
    bool writei64e(int64_t value) { return writeu64e(static_cast<uint64_t>(value)); }
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

    // arrays

    /// Reads \p size plain elements. Memory grows with the bytes that really came, never with the promised size.
    /// Returns false, with the complete elements that came, if the stream ends before.
    template<class Type, class Allocator> bool readArray(Array<Type, Allocator> &dest, uint32_t size);

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

    // writing in place, for decoders

    /// Room for \p size bytes behind the content of a stream in memory whose position is at its end. Null for others,
    /// and when memory runs out. Good until the next operation.
    virtual uint8_t *mapWrite(size_t size);
    /// Makes \p size bytes of that room content, and moves behind them.
    virtual void commitWrite(size_t size);

protected:
    static constexpr size_t chunk_size = 0x10000; // step by which data of a promised size is read

    /// One encoded integer of up to \p max bytes. False, with \p value 0, if its end does not come. Behind the public
    /// operations, so that streams over memory read an encoded integer in one call.
    virtual bool read_encoded(uint64_t &value, uint32_t max);

private:
    template<class Type> Type read_value(bool *status) {
        Type value;
        if(KOLM_LIKELY(read(&value, sizeof(value)) == sizeof(value))) return value;
        if(status) *status = false;
        return Type(0);
    }

    uint64_t read_encoded(uint32_t max, bool *status) {
        uint64_t value;
        if(KOLM_UNLIKELY(!read_encoded(value, max)) && status) *status = false;
        return value;
    }

    bool read_string(String &dest, size_t size);
    bool refill(String &buffer, uint32_t size);
    size_t write_block(const void *src, size_t size);
};

template<class Type, class Allocator> bool Stream::readArray(Array<Type, Allocator> &dest, uint32_t size) {
    static_assert(std::is_trivially_copyable_v<Type>, "Stream::readArray(): elements are read as bytes");
    constexpr uint32_t step = static_cast<uint32_t>(chunk_size / sizeof(Type)) + 1;
    dest.clear();
    while(dest.size() < size) {
        const uint32_t offset = dest.size();
        const uint32_t num = min(size - offset, step);
        dest.resize(offset + num, true, false);
        const size_t bytes = read(dest.get() + offset, sizeof(Type) * num);
        if(bytes != sizeof(Type) * num) {
            dest.resize(offset + static_cast<uint32_t>(bytes / sizeof(Type)), false, false);
            return false;
        }
    }
    return true;
}

} // namespace Kolm
