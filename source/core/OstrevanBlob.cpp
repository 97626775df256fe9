#include "OstrevanBlobKolm.h"

#include "OstrevanStringKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Blob, Copyable, Stream)

Blob::Blob(const char *name) : Blob(VoidImpl()) {
    impl().alloc();
    if(name) impl().ref().setName(name);
}
Blob::Blob(const String &name) : Blob(name.get()) {}
Blob::Blob(const uint8_t *data, size_t size, const char *name) : Blob(name) { impl().ref().setData(data, size); }
Blob::Blob(const uint8_t (*rows)[256], const char *name) : Blob(name) { impl().ref().setData(rows); }

void Blob::release() { impl().ref().release(); }
void Blob::shrink() { impl().ref().shrink(); }
void Blob::clear() { impl().ref().clear(); }

void Blob::setName(const char *name) { impl().ref().setName(name); }
void Blob::setName(const String &name) { impl().ref().setName(name.get()); }
bool Blob::setSize(size_t size) { return impl().ref().setSize(size); }
bool Blob::setCapacity(size_t capacity) { return impl().ref().setCapacity(capacity); }
size_t Blob::getCapacity() const { return impl().ref().getCapacity(); }

bool Blob::setData(const Blob &blob) { return impl().ref().setData(blob.impl().ref()); }
bool Blob::setData(const uint8_t *data, size_t size) { return impl().ref().setData(data, size); }
bool Blob::setData(const uint8_t (*rows)[256]) { return impl().ref().setData(rows); }
uint8_t *Blob::getData() { return impl().ref().getData(); }
const uint8_t *Blob::getData() const { return impl().ref().getData(); }

String Blob::encodeBase64(size_t size, uint32_t line) { return TS<String>(impl().ref().encodeBase64(size, line)); }
bool Blob::decodeBase64(const char *text) { return impl().ref().decodeBase64(text); }
bool Blob::decodeBase64(const String &text) { return impl().ref().decodeBase64(text.get()); }

#define OSTREVAN_BLOB_DIGEST(NAME)                                                                                    \
    bool Blob::get##NAME(uint32_t *hash, size_t size) const { return impl().ref().get##NAME(hash, size); }            \
    String Blob::get##NAME(size_t size) const { return TS<String>(impl().ref().get##NAME(size)); }                    \
    bool Blob::get##NAME(uint32_t *hash, const String &str) { return Kolm::Blob::get##NAME(hash, str.impl().ref()); } \
    bool Blob::get##NAME(uint32_t *hash, const uint8_t *src, size_t size) {                                           \
        return Kolm::Blob::get##NAME(hash, src, size);                                                                \
    }                                                                                                                 \
    bool Blob::get##NAME(uint32_t *hash, Stream &stream, size_t size) {                                               \
        return Kolm::Blob::get##NAME(hash, stream.impl().ref(), size);                                                \
    }                                                                                                                 \
    String Blob::get##NAME(const String &str) { return TS<String>(Kolm::Blob::get##NAME(str.impl().ref())); }         \
    String Blob::get##NAME(const uint8_t *src, size_t size) { return TS<String>(Kolm::Blob::get##NAME(src, size)); }  \
    String Blob::get##NAME(Stream &stream, size_t size) {                                                             \
        return TS<String>(Kolm::Blob::get##NAME(stream.impl().ref(), size));                                          \
    }

OSTREVAN_BLOB_DIGEST(MD5)
OSTREVAN_BLOB_DIGEST(SHA1)

} // namespace Ostrevan
