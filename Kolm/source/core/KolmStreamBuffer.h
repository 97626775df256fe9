// KolmStreamBuffer.h: work memory of the coders, whose size comes from a file and may be a lie.
// Rests on the allocator. Unlike Array it reaches beyond 2 GiB and tells when memory runs out.

#pragma once

#include "KolmStream.h"

namespace Kolm {

/// Block of raw bytes that is freed with the object.
class StreamBuffer : private NoCopy {
public:
    StreamBuffer() = default;
    ~StreamBuffer() { release(); }

    void release() {
        if(capacity) Allocator::free(data, capacity);
        data = nullptr;
        capacity = length = 0;
    }

    /// Makes room for \p size bytes without keeping any. False if there is no memory.
    bool create(size_t size) {
        release();
        data = static_cast<uint8_t *>(Allocator::allocate(size));
        capacity = data ? size : 0;
        return data != nullptr;
    }

    /// Reads \p size bytes of \p src, or all that are left if \p size is 0. Memory grows with the bytes that came; of a
    /// stream in memory nothing is copied unless \p copy is set, and the bytes stay while that stream is not written.
    /// False if the stream ends before, or there is no memory.
    bool read(Stream &src, size_t size, bool copy = false) {
        release();
        if(src.isMapped()) {
            // Here the size is no promise: the bytes are there.
            const size_t rest = src.getSize() - src.tell();
            length = size ? min(size, rest) : rest;
            if(copy && length) {
                const size_t num = length;
                if(!create(num)) return false;
                memcpy(data, src.getData() + src.tell(), num);
                length = num;
            } else {
                data = const_cast<uint8_t *>(src.getData() + src.tell());
            }
            src.seekCur(static_cast<int64_t>(length));
            return size == 0 || length == size;
        }
        while(size == 0 || length < size) {
            if(size == 0 && !src.isAvailable()) return true;
            const size_t room = size ? min(size - length, step) : step;
            if(capacity - length < room && !grow(length + room, size)) return false;
            const size_t bytes = src.read(data + length, room);
            length += bytes;
            if(bytes == 0 || (size && bytes != room)) return false;
        }
        return true;
    }

    uint8_t *get() { return data; }
    const uint8_t *get() const { return data; }
    size_t size() const { return length; }

private:
    static constexpr size_t step = 0x10000;

    bool grow(size_t size, size_t limit) {
        size_t new_capacity = size + size / 2;
        if(limit) new_capacity = min(new_capacity, limit);
        uint8_t *new_data = static_cast<uint8_t *>(Allocator::allocate(new_capacity));
        if(new_data == nullptr) return false;
        if(length) memcpy(new_data, data, length);
        Allocator::free(data, capacity);
        data = new_data;
        capacity = new_capacity;
        return true;
    }

    uint8_t *data = nullptr;
    size_t capacity = 0; // allocated bytes; 0 while `data` is the memory of a stream
    size_t length = 0;   // bytes read
};

} // namespace Kolm
