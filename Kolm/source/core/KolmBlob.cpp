#include "KolmBlob.h"

#include "KolmLog.h"

namespace Kolm {

struct Blob::BlobImpl : public Allocated {
    ~BlobImpl() { Allocator::free(data, capacity); }

    String name;
    size_t capacity = 0;     // allocated bytes
    size_t length = 0;       // bytes of the content
    uint8_t *data = nullptr; // the memory, null while nothing was written
    uint8_t *ptr = nullptr;  // the position

    size_t offset() const { return static_cast<size_t>(ptr - data); }
    size_t rest() const { return length - offset(); }
};

Blob::Blob(const char *name) : impl(new BlobImpl()) {
    if(name) setName(name);
}

Blob::Blob(const uint8_t *data, size_t size, const char *name) : Blob(name) { setData(data, size); }

Blob::Blob(const uint8_t (*rows)[256], const char *name) : Blob(name) { setData(rows); }

Blob::Blob(const Blob &blob) : Blob(blob, false) {}

Blob::Blob(const Blob &blob, bool take) : impl(new BlobImpl()) {
    if(take)
        swap(impl, blob.impl);
    else
        *this = blob;
}

Blob::Blob(Blob &&blob) noexcept : Blob(blob, true) {}

Blob::~Blob() { delete impl; }

Blob &Blob::operator=(const Blob &blob) {
    if(this == &blob || blob.impl == nullptr) return *this;
    if(!setData(blob)) return *this;
    impl->name = blob.impl->name;
    impl->ptr = impl->data + blob.impl->offset();
    return *this;
}

Blob &Blob::operator=(Blob &&blob) noexcept {
    if(this == &blob) return *this;
    swap(impl, blob.impl);
    if(blob.impl) {
        blob.impl->name.clear();
        blob.release();
    }
    return *this;
}

Stream *Blob::move() { return new Blob(*this, true); }

// memory

bool Blob::reallocate(size_t capacity) {
    uint8_t *data = static_cast<uint8_t *>(Allocator::allocate(capacity));
    if(data == nullptr) {
        Log::printf(Log::Error, "Blob::reserve(): can't allocate %zu bytes\n", capacity);
        return false;
    }
    const size_t offset = impl->offset();
    if(impl->length) memcpy(data, impl->data, impl->length);
    Allocator::free(impl->data, impl->capacity);
    impl->data = data;
    impl->ptr = data + offset;
    impl->capacity = capacity;
    return true;
}

bool Blob::reserve(size_t size) {
    if(size <= impl->capacity) return true;
    return reallocate((size > SIZE_MAX / 4) ? size : (size * 3 + 2) >> 1);
}

void Blob::release() {
    KOLM_ASSERT(isOpened() && "Blob::release(): is not opened");
    Allocator::free(impl->data, impl->capacity);
    impl->data = nullptr;
    impl->ptr = nullptr;
    impl->capacity = 0;
    impl->length = 0;
}

void Blob::shrink() {
    KOLM_ASSERT(isOpened() && "Blob::shrink(): is not opened");
    if(impl->length == 0)
        release();
    else if(impl->length < impl->capacity)
        reallocate(impl->length);
}

void Blob::clear() {
    KOLM_ASSERT(isOpened() && "Blob::clear(): is not opened");
    impl->length = 0;
    impl->ptr = impl->data;
}

void Blob::setName(const char *name) {
    KOLM_ASSERT(isOpened() && "Blob::setName(): is not opened");
    if(name != impl->name.get()) impl->name = name ? name : "";
}

const String &Blob::getName() const {
    KOLM_ASSERT(isOpened() && "Blob::getName(): is not opened");
    return impl->name;
}

bool Blob::setSize(size_t size) {
    KOLM_ASSERT(isOpened() && "Blob::setSize(): is not opened");
    if(!reserve(size)) return false;
    if(size > impl->length) memset(impl->data + impl->length, 0, size - impl->length);
    impl->length = size;
    if(impl->offset() > size) impl->ptr = impl->data + size;
    return true;
}

size_t Blob::getSize() const {
    KOLM_ASSERT(isOpened() && "Blob::getSize(): is not opened");
    return impl->length;
}

bool Blob::setCapacity(size_t capacity) {
    KOLM_ASSERT(isOpened() && "Blob::setCapacity(): is not opened");
    if(capacity < impl->length || capacity == impl->capacity) return true;
    if(capacity == 0) {
        release();
        return true;
    }
    return reallocate(capacity);
}

size_t Blob::getCapacity() const {
    KOLM_ASSERT(isOpened() && "Blob::getCapacity(): is not opened");
    return impl->capacity;
}

// content

bool Blob::setData(const Blob &blob) {
    KOLM_ASSERT(isOpened() && "Blob::setData(): is not opened");
    KOLM_ASSERT(blob.isOpened() && "Blob::setData(): source is not opened");
    return setData(blob.impl->data, blob.impl->length);
}

bool Blob::setData(const uint8_t *data, size_t size) {
    KOLM_ASSERT(isOpened() && "Blob::setData(): is not opened");
    // Data that lies in this blob is at most as long as the memory, which then stays where it is.
    if(size > impl->capacity) {
        clear();
        if(!reserve(size)) return false;
    }
    if(size) memmove(impl->data, data, size);
    impl->length = size;
    impl->ptr = impl->data;
    return true;
}

bool Blob::setData(const uint8_t (*rows)[256]) {
    KOLM_ASSERT(isOpened() && "Blob::setData(): is not opened");
    clear();
    Blob blob;
    for(; (*rows)[0] != 255; rows++) {
        const size_t size = 254 - (*rows)[0];
        if(size && blob.write(*rows + 1, size) == 0) break;
    }
    blob.seek(0);
    bool status = true;
    decodeZip(blob, 0, &status, 15);
    if(!status) {
        Log::printf(Log::Error, "Blob::setData(): can't set data\n");
        return false;
    }
    seek(0);
    return true;
}

const uint8_t *Blob::getData() const {
    KOLM_ASSERT(isOpened() && "Blob::getData(): is not opened");
    return impl->data;
}

uint8_t *Blob::getData() {
    KOLM_ASSERT(isOpened() && "Blob::getData(): is not opened");
    return impl->data;
}

// stream

bool Blob::isAvailable() const {
    KOLM_ASSERT(isOpened() && "Blob::isAvailable(): is not opened");
    return impl->rest() != 0;
}

size_t Blob::tell() const {
    KOLM_ASSERT(isOpened() && "Blob::tell(): is not opened");
    return impl->offset();
}

bool Blob::seek(size_t offset) {
    KOLM_ASSERT(isOpened() && "Blob::seek(): is not opened");
    impl->ptr = impl->data + min(offset, impl->length);
    return offset <= impl->length;
}

bool Blob::seekBack(size_t offset) {
    KOLM_ASSERT(isOpened() && "Blob::seekBack(): is not opened");
    impl->ptr = impl->data + (impl->length - min(offset, impl->length));
    return offset <= impl->length;
}

bool Blob::seekCur(int64_t offset) {
    KOLM_ASSERT(isOpened() && "Blob::seekCur(): is not opened");
    const uint64_t size = (offset < 0) ? 0 - static_cast<uint64_t>(offset) : static_cast<uint64_t>(offset);
    const size_t room = (offset < 0) ? impl->offset() : impl->rest();
    const size_t step = min(static_cast<size_t>(size), room);
    impl->ptr = (offset < 0) ? impl->ptr - step : impl->ptr + step;
    return size <= room;
}

size_t Blob::read(void *dest, size_t size) {
    KOLM_ASSERT(isOpened() && "Blob::read(): is not opened");
    size = min(size, impl->rest());
    if(size == 0) return 0;
    memcpy(dest, impl->ptr, size);
    impl->ptr += size;
    return size;
}

size_t Blob::write(const void *src, size_t size) {
    KOLM_ASSERT(isOpened() && "Blob::write(): is not opened");
    if(size == 0) return 0;
    const size_t offset = impl->offset();
    if(impl->length - offset < size) {
        if(size > SIZE_MAX - offset) return 0;
        // The source may lie in the memory that moves.
        const uintptr_t begin = reinterpret_cast<uintptr_t>(impl->data);
        const uintptr_t pos = reinterpret_cast<uintptr_t>(src);
        const bool is_inside = (pos >= begin && pos - begin < impl->capacity);
        if(!reserve(offset + size)) return 0;
        if(is_inside) src = impl->data + (pos - begin);
        impl->length = offset + size;
    }
    memmove(impl->ptr, src, size);
    impl->ptr += size;
    return size;
}

bool Blob::flush() {
    KOLM_ASSERT(isOpened() && "Blob::flush(): is not opened");
    return true;
}

uint8_t *Blob::mapWrite(size_t size) {
    KOLM_ASSERT(isOpened() && "Blob::mapWrite(): is not opened");
    if(impl->rest() || size > SIZE_MAX - impl->length || !reserve(impl->length + size)) return nullptr;
    return impl->ptr;
}

void Blob::commitWrite(size_t size) {
    KOLM_ASSERT(isOpened() && "Blob::commitWrite(): is not opened");
    KOLM_ASSERT(size <= impl->capacity - impl->length && "Blob::commitWrite(): invalid size");
    impl->length += size;
    impl->ptr = impl->data + impl->length;
}

bool Blob::read_encoded(uint64_t &value, uint32_t max) {
    KOLM_ASSERT(isOpened() && "Blob::read(): is not opened");
    uint8_t *ptr = impl->ptr;
    uint8_t *const end = ptr + min(size_t(max), impl->rest());
    uint64_t ret = 0;
    for(uint32_t shift = 0; ptr != end; shift += 7) {
        const uint8_t byte = *ptr++;
        ret |= uint64_t(byte & 0x7F) << shift;
        if((byte & 0x80) == 0) continue;
        impl->ptr = ptr;
        value = ret;
        return true;
    }
    impl->ptr = ptr;
    value = 0;
    return false;
}

} // namespace Kolm
