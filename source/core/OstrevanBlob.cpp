#include "OstrevanBlobKolm.h"

namespace Ostrevan {

OSTREVAN_HANDLE_SOURCE(Blob, Copyable, Stream)

Blob::Blob(const char *name) : Blob(VoidImpl()) {
    impl().alloc();
    if(name) impl().ref().setName(name);
}
Blob::Blob(const uint8_t *data, size_t size, const char *name) : Blob(name) { impl().ref().setData(data, size); }
Blob::Blob(const uint8_t (*rows)[256], const char *name) : Blob(name) { impl().ref().setData(rows); }

void Blob::release() { impl().ref().release(); }
void Blob::shrink() { impl().ref().shrink(); }
void Blob::clear() { impl().ref().clear(); }

void Blob::setName(const char *name) { impl().ref().setName(name); }
bool Blob::setSize(size_t size) { return impl().ref().setSize(size); }
bool Blob::setCapacity(size_t capacity) { return impl().ref().setCapacity(capacity); }
size_t Blob::getCapacity() const { return impl().ref().getCapacity(); }

bool Blob::setData(const Blob &blob) { return impl().ref().setData(blob.impl().ref()); }
bool Blob::setData(const uint8_t *data, size_t size) { return impl().ref().setData(data, size); }
bool Blob::setData(const uint8_t (*rows)[256]) { return impl().ref().setData(rows); }
uint8_t *Blob::getData() { return impl().ref().getData(); }
const uint8_t *Blob::getData() const { return impl().ref().getData(); }

bool Blob::decodeBase64(const char *text) { return impl().ref().decodeBase64(text); }

bool Blob::getMD5(uint32_t *hash, size_t size) const { return impl().ref().getMD5(hash, size); }
bool Blob::getSHA1(uint32_t *hash, size_t size) const { return impl().ref().getSHA1(hash, size); }
bool Blob::getMD5(uint32_t *hash, const uint8_t *src, size_t size) { return Kolm::Blob::getMD5(hash, src, size); }
bool Blob::getSHA1(uint32_t *hash, const uint8_t *src, size_t size) { return Kolm::Blob::getSHA1(hash, src, size); }
bool Blob::getMD5(uint32_t *hash, Stream &stream, size_t size) {
    return Kolm::Blob::getMD5(hash, stream.impl().ref(), size);
}
bool Blob::getSHA1(uint32_t *hash, Stream &stream, size_t size) {
    return Kolm::Blob::getSHA1(hash, stream.impl().ref(), size);
}

} // namespace Ostrevan
