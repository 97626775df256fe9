// The LZ4 forms of Stream.
//
// A block is the compressed length as encoded integer and a raw LZ4 block. The encode and decode forms work on the bare
// LZ4 block, whose decoded size nobody tells: it is decoded here, through a window, instead of by the LZ4 library.

#include <limits.h>
#include <lz4.h>
#include <lz4hc.h>

#include "KolmLog.h"
#include "KolmStreamBuffer.h"

namespace Kolm {

namespace {

// Compresses into \p dest. Gives the size, or 0 and the result of the LZ4 library.
size_t compress_lz4(StreamBuffer &dest, const void *src, size_t size, int32_t level, int32_t &code) {
    code = 0;
    const int32_t bound = (size <= LZ4_MAX_INPUT_SIZE) ? LZ4_compressBound(static_cast<int32_t>(size)) : 0;
    if(bound <= 0 || !dest.create(static_cast<size_t>(bound))) return 0;
    static const char empty = 0;
    const char *data = src ? static_cast<const char *>(src) : &empty;
    char *ptr = reinterpret_cast<char *>(dest.get());
    if(level < 0)
        code = LZ4_compress_fast(data, ptr, static_cast<int32_t>(size), bound, (level == INT_MIN) ? INT_MAX : -level);
    else
        code = LZ4_compress_HC(data, ptr, static_cast<int32_t>(size), bound, level);
    return (code > 0) ? static_cast<size_t>(code) : 0;
}

// Decoded bytes on their way to a stream. A stream in memory gives room in its own memory, and nothing is copied. For
// others this holds a window, of which the last 64 KiB always stay for matches to refer to.
class Lz4Output : private NoCopy {
public:
    static constexpr size_t window_size = 0x10000;
    static constexpr size_t flush_size = 0x40000;
    static constexpr size_t slack = 64; // copies may write this far behind the end

    explicit Lz4Output(Stream &dest) : dest(dest) {}

    // Without memory there is no room: the first bytes then fail to be written.
    bool create() {
        data = dest.mapWrite(flush_size + window_size + slack);
        is_mapped = (data != nullptr);
        if(!is_mapped && buffer.create(flush_size + window_size + slack)) data = buffer.get();
        limit = flush_size;
        return data != nullptr;
    }

    size_t size() const { return length; }
    size_t getWritten() const { return written; }

    bool append(const uint8_t *src, size_t size) {
        while(size) {
            const size_t num = min(size, window_size);
            memcpy(data + length, src, num);
            if(!advance(num)) return false;
            src += num;
            size -= num;
        }
        return true;
    }

    // For a decoder that writes in place: where the next byte goes, and how far it may go before advance(). Behind that
    // are window_size bytes and the slack.
    uint8_t *begin() { return data; }
    uint8_t *end() { return data + length; }
    uint8_t *getLimit() { return data + limit; }
    bool advanceTo(uint8_t *ptr) { return advance(size_t(ptr - data) - length); }

    bool repeat(size_t offset, size_t size) {
        while(size) {
            const size_t num = min(size, window_size);
            copyMatch(data + length, offset, num);
            if(!advance(num)) return false;
            size -= num;
        }
        return true;
    }

    // \p size bytes that repeat what lies \p offset bytes back; up to 15 more may be written.
    static void copyMatch(uint8_t *ptr, size_t offset, size_t size) {
        const uint8_t *src = ptr - offset;
        if(offset >= 16) {
            // Pieces never overlap themselves; the last may pass the end into the slack.
            for(size_t i = 0; i < size; i += 16) memcpy(ptr + i, src + i, 16);
        } else if(offset == 1) {
            memset(ptr, *src, size);
        } else {
            // What is written doubles with each step and stays a multiple of the period.
            size_t num = min(size, offset);
            memcpy(ptr, src, num);
            while(num < size) {
                const size_t step = min(num, size - num);
                memcpy(ptr + num, ptr, step);
                num += step;
            }
        }
    }

    bool flush() { return is_mapped ? commit() : write(length); }

private:
    bool advance(size_t size) {
        length += size;
        return KOLM_LIKELY(length <= limit) || make_room();
    }
    bool make_room() {
        if(!is_mapped) return write(length - window_size);
        commit();
        uint8_t *end = dest.mapWrite(flush_size + window_size + slack);
        if(end == nullptr) return false;
        data = end - length;
        limit = length + flush_size;
        return true;
    }
    bool commit() {
        dest.commitWrite(length - written);
        written = length;
        return true;
    }
    bool write(size_t size) {
        if(dest.write(data, size) != size) return false;
        written += size;
        length -= size;
        memmove(data, data + size, length);
        return true;
    }

    Stream &dest;
    StreamBuffer buffer;
    uint8_t *data = nullptr; // first byte that is kept
    size_t length = 0;       // bytes that are kept
    size_t limit = 0;        // length from which room must be made
    size_t written = 0;      // bytes that the stream has
    bool is_mapped = false;  // `data` is memory of the stream
};

// Adds the bytes that extend a length of 15. False at the end of the input.
bool read_length(const uint8_t *&src, const uint8_t *end, size_t &length) {
    uint8_t byte;
    do {
        if(src == end) return false;
        byte = *src++;
        length += byte;
    } while(byte == 255);
    return true;
}

// Sequences for which nothing is close to an end, the most of all: \p src is left in front of the first that is none
// of these. Copies go by 16 bytes and write into the slack, where what follows is written again. False if the stream
// takes no more.
bool decode_fast(const uint8_t *&src, const uint8_t *end, Lz4Output &output) {
    constexpr size_t max_length = Lz4Output::window_size / 4;
    const uint8_t *const begin = output.begin();
    const uint8_t *const limit = output.getLimit();
    uint8_t *dest = output.end();
    while(end - src >= 32 && dest <= limit) {
        const uint8_t *ptr = src;
        uint8_t *out = dest;
        const uint32_t token = *ptr++;
        size_t length = token >> 4;
        memcpy(out, ptr, 16);
        if(KOLM_UNLIKELY(length == 15)) {
            if(!read_length(ptr, end, length) || length > max_length || size_t(end - ptr) < length + 32) break;
            for(size_t i = 0; i < length; i += 16) memcpy(out + i, ptr + i, 16);
        }
        out += length;
        ptr += length;
        const size_t offset = size_t(ptr[0]) | size_t(ptr[1]) << 8;
        ptr += 2;
        length = token & 15;
        if(length == 15 && (!read_length(ptr, end, length) || length > max_length)) break;
        length += 4;
        if(KOLM_UNLIKELY(offset - 1 >= size_t(out - begin))) break; // 0 as well
        const uint8_t *match = out - offset;
        if(KOLM_LIKELY(offset >= 16)) {
            memcpy(out, match, 16);
            for(size_t i = 16; i < length; i += 16) memcpy(out + i, match + i, 16);
        } else if(offset >= 8) {
            for(size_t i = 0; i < length; i += 8) memcpy(out + i, match + i, 8);
        } else {
            Lz4Output::copyMatch(out, offset, length);
        }
        dest = out + length;
        src = ptr;
    }
    return output.advanceTo(dest);
}

} // namespace

size_t Stream::readLz4(void *dest, size_t size) {
    StreamBuffer buffer;
    bool status = true;
    const uint32_t length = readu32e(&status);
    if(!status || length == 0 || !buffer.read(*this, length)) {
        Log::printf(Log::Error, "Stream::readLz4(): can't read stream\n");
        return 0;
    }
    int32_t ret = -1;
    if(length <= INT_MAX) {
        ret = LZ4_decompress_safe(reinterpret_cast<const char *>(buffer.get()), static_cast<char *>(dest),
                                  static_cast<int32_t>(length), static_cast<int32_t>(min(size, size_t(INT_MAX))));
    }
    if(ret < 0) {
        Log::printf(Log::Error, "Stream::readLz4(): can't decompress stream\n");
        return 0;
    }
    return static_cast<size_t>(ret);
}

size_t Stream::writeLz4(const void *src, size_t size, int32_t level) {
    StreamBuffer buffer;
    int32_t code = 0;
    const size_t length = compress_lz4(buffer, src, size, level, code);
    if(length == 0) {
        Log::printf(Log::Error, "Stream::writeLz4(): can't compress stream %d\n", code);
        return 0;
    }
    const size_t ret = write_block(buffer.get(), length);
    if(ret == 0) Log::printf(Log::Error, "Stream::writeLz4(): can't write stream\n");
    return ret;
}

size_t Stream::encodeLz4(Stream &src, size_t size, bool *status, int32_t level) {
    StreamBuffer input;
    if(!input.read(src, size)) {
        Log::printf(Log::Error, "Stream::encodeLz4(): can't read stream\n");
        if(status) *status = false;
        return 0;
    }
    StreamBuffer buffer;
    int32_t code = 0;
    const size_t length = compress_lz4(buffer, input.get(), input.size(), level, code);
    if(length == 0) {
        Log::printf(Log::Error, "Stream::encodeLz4(): can't compress stream %d\n", code);
        if(status) *status = false;
        return 0;
    }
    if(write(buffer.get(), length) != length) {
        Log::printf(Log::Error, "Stream::encodeLz4(): can't write stream\n");
        if(status) *status = false;
        return 0;
    }
    return length;
}

// sequence: token [literal length] literals [offset:2 [match length]], the last one ends behind its literals
size_t Stream::decodeLz4(Stream &src, size_t size, bool *status) {
    StreamBuffer input;
    if(!input.read(src, size, &src == this)) {
        Log::printf(Log::Error, "Stream::decodeLz4(): can't read stream\n");
        if(status) *status = false;
        return 0;
    }
    if(input.size() == 0) return 0;

    const char *const decompress_error = "Stream::decodeLz4(): can't decompress stream\n";
    const char *const write_error = "Stream::decodeLz4(): can't write stream\n";
    const char *error = nullptr;
    Lz4Output output(*this);
    if(!output.create()) error = write_error;

    const uint8_t *ptr = input.get();
    const uint8_t *const end = ptr + input.size();
    while(error == nullptr) {
        if(!decode_fast(ptr, end, output)) {
            error = write_error;
            break;
        }
        if(ptr == end) {
            error = decompress_error; // a match must not be the last thing
            break;
        }
        const uint8_t token = *ptr++;
        size_t length = token >> 4;
        if((length == 15 && !read_length(ptr, end, length)) || size_t(end - ptr) < length) {
            error = decompress_error;
            break;
        }
        if(!output.append(ptr, length)) error = write_error;
        ptr += length;
        if(ptr == end || error) break;

        if(end - ptr < 2) {
            error = decompress_error;
            break;
        }
        const size_t offset = size_t(ptr[0]) | size_t(ptr[1]) << 8;
        ptr += 2;
        length = token & 15;
        if((length == 15 && !read_length(ptr, end, length)) || offset == 0 || offset > output.size()) {
            error = decompress_error;
            break;
        }
        if(!output.repeat(offset, length + 4)) error = write_error;
    }
    if(error == nullptr && !output.flush()) error = write_error;

    if(error) {
        Log::print(Log::Error, error);
        if(status) *status = false;
    }
    return output.getWritten();
}

} // namespace Kolm
