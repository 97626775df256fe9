#include "KolmStream.h"

#include "KolmLog.h"

namespace Kolm {

namespace {

constexpr uint32_t max_string = 0x7FFFFFFE; // longest String

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Bytes of a stream one by one. Over memory they cost no call; the stream's position follows at the end.
class ByteReader : private NoCopy {
public:
    explicit ByteReader(Stream &stream) : stream(stream) {
        if(!stream.isMapped()) return;
        begin = ptr = stream.getData() + stream.tell();
        end = begin + (stream.getSize() - stream.tell());
    }
    ~ByteReader() {
        if(ptr != begin) stream.seekCur(ptr - begin);
    }
    bool read(char &c) {
        if(ptr != end) {
            c = static_cast<char>(*ptr++);
            return true;
        }
        return begin == nullptr && stream.read(&c, 1) == 1;
    }

private:
    Stream &stream;
    const uint8_t *begin = nullptr;
    const uint8_t *ptr = nullptr;
    const uint8_t *end = nullptr;
};

} // namespace

// text

bool Stream::puts(const char *str) {
    const size_t size = str ? strlen(str) : 0;
    return write(str, size) == size;
}

bool Stream::puts(const String &str) { return write(str.get(), str.size()) == str.size(); }

bool Stream::vprintf(const char *format, va_list args) {
    String str;
    str.vprintf(format, args);
    return puts(str);
}

bool Stream::printf(const char *format, ...) {
    va_list args;
    va_start(args, format);
    const bool ret = vprintf(format, args);
    va_end(args);
    return ret;
}

String Stream::gets(bool *status) {
    String ret;
    const size_t rest = (getSize() > tell()) ? getSize() - tell() : 0;
    ret.reserve(static_cast<uint32_t>(min(rest, size_t(1) << 20)), true); // a hint: files may lie about their size
    while(isAvailable()) {
        char buffer[chunk_size];
        const size_t size = read(buffer, sizeof(buffer));
        const size_t length = ret.size() + size;
        if(size && length <= max_string) ret.append(buffer, static_cast<uint32_t>(size));
        if(size == 0 || ret.size() != length) {
            if(status) *status = false;
            break;
        }
    }
    return ret;
}

uint8_t *Stream::mapWrite(size_t) { return nullptr; }

void Stream::commitWrite(size_t) { KOLM_ASSERT(0 && "Stream::commitWrite(): is not mapped"); }

// encoded integers

bool Stream::read_encoded(uint64_t &value, uint32_t max) {
    value = 0;
    for(uint32_t i = 0; i < max; i++) {
        uint8_t byte;
        if(read(&byte, 1) != 1) break;
        value |= uint64_t(byte & 0x7F) << (7 * i);
        if(byte & 0x80) return true;
    }
    value = 0;
    return false;
}

bool Stream::writeu32e(uint32_t value) {
    uint8_t bytes[5];
    uint32_t num = 0;
    for(; value >= 0x80; value >>= 7) bytes[num++] = value & 0x7F;
    bytes[num++] = static_cast<uint8_t>(value | 0x80);
    return write(bytes, num) == num;
}

bool Stream::writeu64e(uint64_t value) {
    if(value >> 63) {
        Log::printf(Log::Error, "Stream::writeu64e(): invalid value\n");
        return false;
    }
    uint8_t bytes[9];
    uint32_t num = 0;
    for(; value >= 0x80; value >>= 7) bytes[num++] = value & 0x7F;
    bytes[num++] = static_cast<uint8_t>(value | 0x80);
    return write(bytes, num) == num;
}

// strings

// Reads exactly that many bytes. A length may be a lie: memory grows with the bytes that came.
bool Stream::read_string(String &dest, size_t size) {
    dest.clear();
    if(size > max_string) return false;
    while(dest.size() < size) {
        char buffer[chunk_size];
        const size_t num = min(size - dest.size(), sizeof(buffer));
        const size_t length = dest.size() + num;
        if(read(buffer, num) == num) dest.append(buffer, static_cast<uint32_t>(num));
        if(dest.size() != length) {
            dest.clear();
            return false;
        }
    }
    return true;
}

String Stream::readString(bool *status) {
    String ret;
    bool is_complete = true;
    const uint32_t size = readu32e(&is_complete);
    if(is_complete) is_complete = read_string(ret, size);
    if(!is_complete && status) *status = false;
    return ret;
}

String Stream::readString(char term, bool *status, uint32_t max) {
    String ret;
    ByteReader reader(*this);
    max = min(max, max_string);
    while(ret.size() < max) {
        char c;
        if(!reader.read(c)) {
            if(status) *status = false;
            break;
        }
        if(c == term) break;
        ret.append(c);
    }
    return ret;
}

bool Stream::writeString(const char *str) {
    const size_t size = str ? strlen(str) : 0;
    return size <= max_string && writeu32e(static_cast<uint32_t>(size)) && write(str, size) == size;
}

bool Stream::writeString(const String &str) {
    return writeu32e(str.size()) && write(str.get(), str.size()) == str.size();
}

bool Stream::writeString(const String &str, char term) { return puts(str) && write(&term, 1) == 1; }

// tokens and lines

String Stream::readToken(bool *status) {
    String ret;
    if(!readToken(ret, true) && status) *status = false;
    return ret;
}

bool Stream::readToken(String &dest, bool clear) {
    if(clear) dest.clear();
    const uint32_t begin = dest.size();
    ByteReader reader(*this);
    for(char c; reader.read(c);) {
        if(!is_space(c))
            dest.append(c);
        else if(c != '\r' && dest.size() != begin)
            break;
    }
    return dest.size() != begin;
}

String Stream::readLine(bool *status) {
    String ret;
    if(!readLine(ret, false, true) && status) *status = false;
    return ret;
}

bool Stream::readLine(String &dest, bool skip_empty, bool clear) {
    if(clear) dest.clear();
    bool is_ended = false;
    {
        const uint32_t begin = dest.size();
        ByteReader reader(*this);
        for(char c; !is_ended && reader.read(c);) {
            if(c == '\n')
                is_ended = (!skip_empty || dest.size() != begin);
            else if(c != '\r')
                dest.append(c);
        }
    }
    return dest.size() || (is_ended && isAvailable());
}

// Reads ahead into an empty buffer.
bool Stream::refill(String &buffer, uint32_t size) {
    buffer.clear();
    if(!isAvailable()) return false;
    buffer.resize(max(size, 1u), '\0', false, true);
    buffer.resize(static_cast<uint32_t>(read(buffer.get(), buffer.size())), '\0', false, false);
    return buffer.size() != 0;
}

bool Stream::readToken(String &dest, String &buffer, uint32_t size) {
    dest.clear();
    for(;;) {
        for(uint32_t i = 0; i < buffer.size(); i++) {
            const char c = buffer[i];
            if(!is_space(c)) {
                dest.append(c);
            } else if(c != '\r' && dest.size()) {
                buffer.remove(0, i + 1);
                return true;
            }
        }
        if(!refill(buffer, size)) return dest.size() != 0;
    }
}

bool Stream::readLine(String &dest, String &buffer, uint32_t size) {
    dest.clear();
    for(;;) {
        for(uint32_t i = 0; i < buffer.size(); i++) {
            const char c = buffer[i];
            if(c == '\n') {
                buffer.remove(0, i + 1);
                return dest.size() || buffer.size() || isAvailable();
            }
            if(c != '\r') dest.append(c);
        }
        if(!refill(buffer, size)) return dest.size() != 0;
    }
}

// copies between streams

size_t Stream::readStream(Stream &dest, size_t size, bool *status) {
    size_t ret = 0;
    while(size ? ret < size : isAvailable()) {
        uint8_t buffer[chunk_size];
        const size_t num = size ? min(size - ret, sizeof(buffer)) : sizeof(buffer);
        const size_t bytes = read(buffer, num);
        const size_t written = dest.write(buffer, bytes);
        ret += written;
        if(written != bytes || bytes == 0 || (size && bytes != num)) {
            if(status) *status = false;
            break;
        }
    }
    return ret;
}

size_t Stream::writeStream(Stream &src, size_t size, bool *status) { return src.readStream(*this, size, status); }

} // namespace Kolm
