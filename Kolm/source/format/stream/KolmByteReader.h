// Single bytes of a stream through a buffer, for formats that are decoded byte by byte.

#pragma once

#include "KolmStream.h"

namespace Kolm {

/// Reads ahead; the destructor puts the stream back to the byte behind the last one that was taken.
class ByteReader : private NoCopy {
public:
    explicit ByteReader(Stream &stream) : stream(stream) {}
    ~ByteReader() {
        if(pos < size) stream.seekCur(-int64_t(size - pos));
    }

    /// Next byte, or -1 at the end.
    int32_t get() { return (pos < size || fill()) ? buffer[pos++] : -1; }
    /// The same without taking it.
    int32_t peek() { return (pos < size || fill()) ? buffer[pos] : -1; }
    /// False if fewer bytes are left.
    bool read(uint8_t *dst, size_t num) {
        if(num == 0) return true;
        const size_t ready = min(num, size_t(size - pos));
        memcpy(dst, buffer + pos, ready);
        pos += uint32_t(ready);
        return ready == num || stream.read(dst + ready, num - ready) == num - ready;
    }

    /// Bytes that were read ahead.
    uint32_t getAhead() const { return size - pos; }

private:
    bool fill() {
        pos = 0;
        size = uint32_t(stream.read(buffer, sizeof(buffer)));
        return size != 0;
    }

    Stream &stream;
    uint32_t pos = 0;
    uint32_t size = 0;
    uint8_t buffer[4096];
};

} // namespace Kolm
