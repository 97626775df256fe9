// The zlib forms of Stream.
//
// A block is the compressed length as encoded integer and a zlib stream. The encode and decode forms work on the bare
// zlib stream.

#include <zlib.h>

#include "KolmLog.h"
#include "KolmStreamBuffer.h"

namespace Kolm {

namespace {

// Compresses into \p dest. Gives the size, or 0 and zlib's code.
size_t compress_zip(StreamBuffer &dest, const void *src, size_t size, int32_t level, int32_t &code) {
    uLongf length = compressBound(size);
    code = Z_MEM_ERROR;
    if(length < size || !dest.create(length)) return 0;
    static const uint8_t empty = 0;
    code = compress2(dest.get(), &length, static_cast<const Bytef *>(src ? src : &empty), size, level);
    return (code == Z_OK) ? length : 0;
}

} // namespace

size_t Stream::readZip(void *dest, size_t size) {
    StreamBuffer buffer;
    bool status = true;
    const uint32_t length = readu32e(&status);
    if(!status || length == 0 || !buffer.read(*this, length)) {
        Log::printf(Log::Error, "Stream::readZip(): can't read stream\n");
        return 0;
    }
    uLongf ret = size;
    const int32_t code = uncompress(static_cast<Bytef *>(dest), &ret, buffer.get(), length);
    if(code != Z_OK) {
        Log::printf(Log::Error, "Stream::readZip(): can't uncompress stream %d\n", code);
        return 0;
    }
    return ret;
}

size_t Stream::writeZip(const void *src, size_t size, int32_t level) {
    StreamBuffer buffer;
    int32_t code = Z_OK;
    const size_t length = compress_zip(buffer, src, size, level, code);
    if(length == 0 || length > UINT32_MAX) {
        Log::printf(Log::Error, "Stream::writeZip(): can't compress stream %d\n", length ? Z_BUF_ERROR : code);
        return 0;
    }
    const size_t ret = write_block(buffer.get(), length);
    if(ret == 0) Log::printf(Log::Error, "Stream::writeZip(): can't write stream\n");
    return ret;
}

size_t Stream::encodeZip(Stream &src, size_t size, bool *status, int32_t level) {
    StreamBuffer input;
    if(!input.read(src, size)) {
        Log::printf(Log::Error, "Stream::encodeZip(): can't read stream\n");
        if(status) *status = false;
        return 0;
    }
    StreamBuffer buffer;
    int32_t code = Z_OK;
    const size_t length = compress_zip(buffer, input.get(), input.size(), level, code);
    if(length == 0) {
        Log::printf(Log::Error, "Stream::encodeZip(): can't compress stream %d\n", code);
        if(status) *status = false;
        return 0;
    }
    if(write(buffer.get(), length) != length) {
        Log::printf(Log::Error, "Stream::encodeZip(): can't write stream\n");
        if(status) *status = false;
        return 0;
    }
    return length;
}

size_t Stream::decodeZip(Stream &src, size_t size, bool *status, int32_t window) {
    uint32_t chunk = (size > 0 && size <= 32768) ? static_cast<uint32_t>(size) : 32768;
    ArrayStack<uint8_t, 32768> input(chunk);
    ArrayStack<uint8_t, 32768> output(chunk * 8);

    z_stream stream = {};
    if(inflateInit2(&stream, window) != Z_OK) {
        Log::printf(Log::Error, "Stream::decodeZip(): can't init inflate\n");
        if(status) *status = false;
        return 0;
    }

    size_t ret = 0;
    int32_t code = Z_OK;
    bool is_failed = false;
    while(code != Z_STREAM_END && !is_failed) {
        const size_t num = src.isAvailable() ? src.read(input.get(), chunk) : 0;
        if(num == 0) {
            Log::printf(Log::Error, "Stream::decodeZip(): can't read stream\n");
            is_failed = true;
            break;
        }
        stream.next_in = input.get();
        stream.avail_in = static_cast<uInt>(num);
        do {
            stream.next_out = output.get();
            stream.avail_out = output.size();
            code = inflate(&stream, Z_NO_FLUSH);
            const size_t length = output.size() - stream.avail_out;
            if(length && write(output.get(), length) != length) {
                Log::printf(Log::Error, "Stream::decodeZip(): can't write stream\n");
                is_failed = true;
                break;
            }
            ret += length;
        } while(code == Z_OK && stream.avail_out == 0);
        if(is_failed) break;

        // Without input left, a stalled decoder only asks for the next chunk. Otherwise it gets bigger ones.
        if(code == Z_BUF_ERROR && stream.avail_in == 0) {
            code = Z_OK;
        } else if(code == Z_BUF_ERROR && (chunk >> 20) == 0 && src.seekCur(-int64_t(stream.avail_in))) {
            chunk *= 2;
            input.resize(chunk, false, true);
            output.resize(chunk * 8, false, true);
            code = Z_OK;
        }
        // zlib's errors are negative: seen as unsigned, all codes above the end of the stream are errors.
        if(static_cast<uint32_t>(code) > Z_STREAM_END) {
            Log::printf(Log::Error, "Stream::decodeZip(): can't inflate stream %d\n", code);
            is_failed = true;
        }
    }
    inflateEnd(&stream);
    if(is_failed && status) *status = false;
    return ret;
}

// Length and bytes. Returns the bytes written, or 0.
size_t Stream::write_block(const void *src, size_t size) {
    const uint32_t length = static_cast<uint32_t>(size);
    uint32_t prefix = 1;
    for(uint32_t value = length; value >= 0x80; value >>= 7) prefix++;
    return (writeu32e(length) && write(src, size) == size) ? prefix + size : 0;
}

} // namespace Kolm
