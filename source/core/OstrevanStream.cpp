#include "OstrevanStreamKolm.h"

#include "OstrevanStringKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Stream, Noncopyable)

Stream::Stream() : Stream(VoidImpl()) {}

Stream Stream::move() { return TS<Stream>(impl().ref().move(), true); }

// An unused handle has nothing that could be opened; asking does not use it.
bool Stream::isOpened() const { return impl().isValid() && impl().ref().isOpened(); }
bool Stream::isMapped() const { return impl().ref().isMapped(); }
bool Stream::isAvailable() const { return impl().ref().isAvailable(); }
size_t Stream::getSize() const { return impl().ref().getSize(); }
String Stream::getName() const { return TS<String>(impl().ref().getName()); }

size_t Stream::tell() const { return impl().ref().tell(); }
bool Stream::seek(size_t offset) { return impl().ref().seek(offset); }
bool Stream::seekBack(size_t offset) { return impl().ref().seekBack(offset); }
bool Stream::seekCur(int64_t offset) { return impl().ref().seekCur(offset); }
const uint8_t *Stream::getData() const { return impl().ref().getData(); }
size_t Stream::read(void *dest, size_t size) { return impl().ref().read(dest, size); }
size_t Stream::write(const void *src, size_t size) { return impl().ref().write(src, size); }
bool Stream::flush() { return impl().ref().flush(); }

bool Stream::puts(const char *str) { return impl().ref().puts(str); }
bool Stream::puts(const String &str) { return impl().ref().puts(str.impl().ref()); }
bool Stream::vprintf(const char *format, va_list args) { return impl().ref().vprintf(format, args); }
bool Stream::printf(const char *format, ...) {
    va_list args;
    va_start(args, format);
    const bool ret = impl().ref().vprintf(format, args);
    va_end(args);
    return ret;
}

String Stream::gets(bool *status) { return TS<String>(impl().ref().gets(status)); }

#define OSTREVAN_STREAM_VALUES(X) \
    X(int8_t, i8)                 \
    X(uint8_t, u8)                \
    X(int16_t, i16)               \
    X(uint16_t, u16)              \
    X(int32_t, i32)               \
    X(uint32_t, u32)              \
    X(int64_t, i64)               \
    X(uint64_t, u64)              \
    X(float32_t, f32)             \
    X(float64_t, f64)             \
    X(int32_t, i32e)              \
    X(uint32_t, u32e)             \
    X(int64_t, i64e)              \
    X(uint64_t, u64e)
#define OSTREVAN_STREAM_VALUE(TYPE, NAME)                                             \
    TYPE Stream::read##NAME(bool *status) { return impl().ref().read##NAME(status); } \
    bool Stream::write##NAME(TYPE value) { return impl().ref().write##NAME(value); }
OSTREVAN_STREAM_VALUES(OSTREVAN_STREAM_VALUE)

String Stream::readString(bool *status) { return TS<String>(impl().ref().readString(status)); }
String Stream::readString(char term, bool *status, uint32_t max) {
    return TS<String>(impl().ref().readString(term, status, max));
}
bool Stream::writeString(const char *str) { return impl().ref().writeString(str); }
bool Stream::writeString(const String &str) { return impl().ref().writeString(str.impl().ref()); }
bool Stream::writeString(const String &str, char term) { return impl().ref().writeString(str.impl().ref(), term); }

String Stream::readToken(bool *status) { return TS<String>(impl().ref().readToken(status)); }
bool Stream::readToken(String &dest, bool clear) { return impl().ref().readToken(dest.impl().ref(), clear); }
bool Stream::readToken(String &dest, String &buffer, uint32_t size) {
    return impl().ref().readToken(dest.impl().ref(), buffer.impl().ref(), size);
}
String Stream::readLine(bool *status) { return TS<String>(impl().ref().readLine(status)); }
bool Stream::readLine(String &dest, bool skip_empty, bool clear) {
    return impl().ref().readLine(dest.impl().ref(), skip_empty, clear);
}
bool Stream::readLine(String &dest, String &buffer, uint32_t size) {
    return impl().ref().readLine(dest.impl().ref(), buffer.impl().ref(), size);
}

size_t Stream::readStream(Stream &dest, size_t size, bool *status) {
    return impl().ref().readStream(dest.impl().ref(), size, status);
}
size_t Stream::writeStream(Stream &src, size_t size, bool *status) {
    return impl().ref().writeStream(src.impl().ref(), size, status);
}

size_t Stream::readZip(void *dest, size_t size) { return impl().ref().readZip(dest, size); }
size_t Stream::writeZip(const void *src, size_t size, int32_t level) { return impl().ref().writeZip(src, size, level); }
size_t Stream::decodeZip(Stream &src, size_t size, bool *status, int32_t window) {
    return impl().ref().decodeZip(src.impl().ref(), size, status, window);
}
size_t Stream::encodeZip(Stream &src, size_t size, bool *status, int32_t level) {
    return impl().ref().encodeZip(src.impl().ref(), size, status, level);
}

size_t Stream::readLz4(void *dest, size_t size) { return impl().ref().readLz4(dest, size); }
size_t Stream::writeLz4(const void *src, size_t size, int32_t level) { return impl().ref().writeLz4(src, size, level); }
size_t Stream::decodeLz4(Stream &src, size_t size, bool *status) {
    return impl().ref().decodeLz4(src.impl().ref(), size, status);
}
size_t Stream::encodeLz4(Stream &src, size_t size, bool *status, int32_t level) {
    return impl().ref().encodeLz4(src.impl().ref(), size, status, level);
}

} // namespace Ostrevan
