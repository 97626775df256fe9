// Storage, editing and searching of strings.

#include "KolmString.h"

namespace Kolm {

constinit const String String::null;

// -- Storage --

String::String(const wchar_t *str, uint32_t size) : String() {
    static_assert(sizeof(wchar_t) == sizeof(uint32_t));
    for(uint32_t i = 0; str && i < size && (size != NotFound || str[i]); i++) fromUtf32(*this, uint32_t(str[i]));
}

String::String(const uint32_t *str, uint32_t size) : String() {
    for(uint32_t i = 0; str && i < size && (size != NotFound || str[i]); i++) fromUtf32(*this, str[i]);
}

void String::free_data() { Allocator::free(data, size_t(capacity & CapacityMask) + 1); }

bool String::grow(uint32_t size, bool spare, bool discard) {
    KOLM_ASSERT(size < 0x7FFFFFFF && "String::reserve(): invalid size");
    uint32_t new_capacity = size;
    if(spare) {
        const uint64_t triple = uint64_t(size) * 3;
        new_capacity = (triple < 126) ? 64 : uint32_t(min((triple + 2) >> 1, uint64_t(MaxCapacity)));
    }
    char *new_data = static_cast<char *>(Allocator::allocate(size_t(new_capacity) + 1));
    if(new_data == nullptr) return false;
    if(discard) length = 0;
    memcpy(new_data, data, length);
    new_data[length] = '\0';
    if(capacity & OwnerBit) free_data();
    data = new_data;
    capacity = new_capacity | OwnerBit;
    return true;
}

void String::init(String &str) {
    if(this == &str) return;
    if(capacity & OwnerBit) free_data();
    capacity = str.capacity & CapacityMask;
    length = str.length;
    data = str.data;
}

bool String::resize(uint32_t size, char fill, bool spare, bool discard) {
    if((capacity & CapacityMask) < size && !grow(spare ? size : max(size, 64u), spare, discard)) return false;
    if(size > length) memset(data + length, fill, size - length);
    length = size;
    if(data != null_data) data[length] = '\0';
    return true;
}

void String::release() {
    if(capacity & OwnerBit) {
        free_data();
        capacity = 0;
        data = const_cast<char *>(null_data);
    }
    clear();
}

void String::shrink() {
    if((capacity & OwnerBit) == 0 || (capacity & CapacityMask) == length) return;
    if(length == 0) return release();
    grow(length, false, false);
}

void String::swap(String &str) {
    if(this == &str) return;
    // Inline and external memory belongs to its object and cannot change hands.
    const bool simple = (capacity & OwnerBit) || data == null_data;
    const bool str_simple = (str.capacity & OwnerBit) || str.data == null_data;
    if(simple && str_simple) {
        Kolm::swap(capacity, str.capacity);
        Kolm::swap(length, str.length);
        Kolm::swap(data, str.data);
    } else {
        String temp(std::move(*this));
        move(str);
        str.move(temp);
    }
}

String &String::copy_grow(const char *str, uint32_t size) {
    if(size == 0 || !reserve(size, true)) return *this;
    return copy(str, size);
}

String &String::move(String &str) noexcept {
    if(this == &str) return *this;
    if(str.capacity & OwnerBit) {
        if(capacity & OwnerBit) free_data();
        capacity = str.capacity;
        length = str.length;
        data = str.data;
        str.capacity = 0;
        str.length = 0;
        str.data = const_cast<char *>(null_data);
    } else {
        copy(str.data, str.length);
        str.clear();
    }
    return *this;
}

// -- Edit --

String &String::append_grow(const char *str, uint32_t size) {
    const uint64_t total = uint64_t(length) + size;
    KOLM_ASSERT(total <= MaxCapacity && "String::append(): invalid size");
    const bool inside = is_inside(str);
    const size_t offset = inside ? size_t(str - data) : 0;
    if(!grow(uint32_t(total), true, false)) return *this;
    memmove(data + length, inside ? data + offset : str, size);
    length += size;
    data[length] = '\0';
    return *this;
}

String &String::append(char c, uint32_t num) {
    const uint64_t total = uint64_t(length) + num;
    KOLM_ASSERT(total <= MaxCapacity && "String::append(): invalid size");
    if(num && reserve(uint32_t(total))) {
        memset(data + length, c, num);
        length += num;
        data[length] = '\0';
    }
    return *this;
}

String &String::insert(uint32_t pos, const char *str, uint32_t size) {
    KOLM_ASSERT(pos <= length && "String::insert(): invalid position");
    if(size == NotFound) size = str ? check_length(strlen(str)) : 0;
    if(size == 0) return *this;
    const uint64_t total = uint64_t(length) + size;
    KOLM_ASSERT(total <= MaxCapacity && "String::insert(): invalid size");
    if(is_inside(str)) return insert(pos, StringStack<256>(str, size));
    if(!reserve(uint32_t(total))) return *this;
    memmove(data + pos + size, data + pos, length - pos + 1);
    memcpy(data + pos, str, size);
    length += size;
    return *this;
}

void String::removeBack(uint32_t len) {
    KOLM_ASSERT(len <= length && "String::removeBack(): invalid length");
    length -= len;
    if(data != null_data) data[length] = '\0';
}

void String::remove(uint32_t pos, uint32_t len) {
    KOLM_ASSERT(pos <= length && "String::remove(): invalid position");
    KOLM_ASSERT(len <= length - pos && "String::remove(): invalid length");
    if(len == 0) return;
    memmove(data + pos, data + pos + len, length - pos - len + 1);
    length -= len;
}

void String::reverse(uint32_t pos, uint32_t len) {
    KOLM_ASSERT(pos <= length && "String::reverse(): invalid position");
    if(len == NotFound) len = length - pos;
    KOLM_ASSERT(len <= length - pos && "String::reverse(): invalid length");
    for(uint32_t i = 0; i < len / 2; i++) Kolm::swap(data[pos + i], data[pos + len - 1 - i]);
}

String operator+(const String &a, const String &b) {
    String ret;
    if(ret.reserve(uint32_t(min(uint64_t(a.size()) + b.size(), uint64_t(String::MaxCapacity)))))
        ret.append(a).append(b);
    return ret;
}

String operator+(const String &a, const char *b) {
    String ret(a);
    ret.append(b);
    return ret;
}

String operator+(const char *a, const String &b) {
    String ret(a);
    ret.append(b);
    return ret;
}

// -- Search --

uint32_t String::find(char c, uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::find(): invalid position");
    const void *ptr = memchr(data + pos, static_cast<unsigned char>(c), length - pos);
    return ptr ? uint32_t(static_cast<const char *>(ptr) - data) : NotFound;
}

uint32_t String::find(const char *str, uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::find(): invalid position");
    return find_bytes(str, str ? check_length(strlen(str)) : 0, pos);
}

uint32_t String::find(const String &str, uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::find(): invalid position");
    return find_bytes(str.data, str.length, pos);
}

uint32_t String::rfind(char c, uint32_t pos) const {
    KOLM_ASSERT((pos <= length || pos == NotFound) && "String::rfind(): invalid position");
    return rfind_bytes(&c, 1, pos);
}

uint32_t String::rfind(const char *str, uint32_t pos) const {
    KOLM_ASSERT((pos <= length || pos == NotFound) && "String::rfind(): invalid position");
    return rfind_bytes(str, str ? check_length(strlen(str)) : 0, pos);
}

uint32_t String::rfind(const String &str, uint32_t pos) const {
    KOLM_ASSERT((pos <= length || pos == NotFound) && "String::rfind(): invalid position");
    return rfind_bytes(str.data, str.length, pos);
}

uint32_t String::find_bytes(const char *str, uint32_t size, uint32_t pos) const {
    if(size == 0) return pos;
    const void *ptr = memmem(data + pos, length - pos, str, size);
    return ptr ? uint32_t(static_cast<const char *>(ptr) - data) : NotFound;
}

uint32_t String::rfind_bytes(const char *str, uint32_t size, uint32_t pos) const {
    if(size > length) return NotFound;
    uint32_t i = min(pos, length - size);
    if(size == 0) return i;
    for(;;) {
        const void *ptr = memrchr(data, static_cast<unsigned char>(str[0]), size_t(i) + 1);
        if(ptr == nullptr) return NotFound;
        i = uint32_t(static_cast<const char *>(ptr) - data);
        if(memcmp(data + i, str, size) == 0) return i;
        if(i-- == 0) return NotFound;
    }
}

uint32_t String::count(char c, uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::count(): invalid position");
    uint32_t ret = 0;
    for(uint32_t i = pos; i < length; i++) ret += (data[i] == c);
    return ret;
}

uint32_t String::count(const char *str, uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::count(): invalid position");
    const uint32_t size = str ? check_length(strlen(str)) : 0;
    if(size == 0) return 0;
    uint32_t ret = 0;
    while((pos = find_bytes(str, size, pos)) != NotFound) {
        ret++;
        pos += size;
    }
    return ret;
}

bool String::begins(const char *str, uint32_t len, uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::begins(): invalid position");
    if(len == NotFound) len = str ? check_length(strlen(str)) : 0;
    return len <= length - pos && (len == 0 || memcmp(data + pos, str, len) == 0);
}

int32_t String::compare(const char *str, uint32_t len, uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::compare(): invalid position");
    if(str == nullptr) str = null_data, len = 0;
    if(len == NotFound) len = check_length(strlen(str));
    return compare_bytes(data + pos, length - pos, str, len);
}

} // namespace Kolm
