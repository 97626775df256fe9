#include "OstrevanStringKolm.h"

namespace Ostrevan {

static_assert(sizeof(String::StringImpl) <= sizeof(String) && alignof(String::StringImpl) <= alignof(String));

const String String::null;

String::String() { new(static_cast<void *>(reserved)) StringImpl; }
String::String(uint32_t size, char c) : String() { impl().ref().resize(size, c); }
String::String(const char *str) : String() { impl().ref().copy(str); }
String::String(const char *str, uint32_t size) : String() { impl().ref().copy(str, size); }
String::String(const wchar_t *str, uint32_t size) : String() { impl().set(Kolm::String(str, size)); }
String::String(const uint32_t *str, uint32_t size) : String() { impl().set(Kolm::String(str, size)); }
String::String(const String &str) : String() { impl().set(str.impl().ref()); }
String::String(String &&str) noexcept : String() { impl().move(str.impl()); }
String::~String() { impl().~StringImpl(); }

String &String::operator=(const String &str) {
    impl().set(str.impl().ref());
    return *this;
}
String &String::operator=(String &&str) noexcept {
    impl().move(str.impl());
    return *this;
}
String &String::operator=(const char *str) { return copy(str); }

// storage

void String::init(char *data, size_t capacity, uint32_t length) { impl().ref().init(data, capacity, length); }
void String::init(String &str) { impl().ref().init(str.impl().ref()); }
bool String::reserve(uint32_t size, bool discard) { return impl().ref().reserve(size, discard); }
bool String::resize(uint32_t size, char fill, bool reserve, bool discard) {
    return impl().ref().resize(size, fill, reserve, discard);
}
void String::release() { impl().ref().release(); }
void String::shrink() { impl().ref().shrink(); }
void String::clear() { impl().ref().clear(); }
void String::swap(String &str) { impl().ref().swap(str.impl().ref()); }
String &String::copy(const char *str) {
    impl().ref().copy(str);
    return *this;
}
String &String::copy(const char *str, uint32_t size) {
    impl().ref().copy(str, size);
    return *this;
}
String &String::copy(const String &str) { return *this = str; }
String &String::move(String &str) { return *this = std::move(str); }

// edit

String &String::append(char c) {
    impl().ref().append(c);
    return *this;
}
String &String::append(char c, uint32_t count) {
    impl().ref().append(c, count);
    return *this;
}
String &String::append(const char *str) {
    impl().ref().append(str);
    return *this;
}
String &String::append(const char *str, uint32_t size) {
    impl().ref().append(str, size);
    return *this;
}
String &String::append(const String &str) {
    impl().ref().append(str.impl().ref());
    return *this;
}
String &String::insert(uint32_t pos, char c) {
    impl().ref().insert(pos, c);
    return *this;
}
String &String::insert(uint32_t pos, const char *str, uint32_t size) {
    impl().ref().insert(pos, str, size);
    return *this;
}
String &String::insert(uint32_t pos, const String &str) {
    impl().ref().insert(pos, str.impl().ref());
    return *this;
}
void String::removeBack(uint32_t len) { impl().ref().removeBack(len); }
void String::remove(uint32_t pos, uint32_t len) { impl().ref().remove(pos, len); }
void String::reverse(uint32_t pos, uint32_t len) { impl().ref().reverse(pos, len); }

// access

bool String::allocator() const { return impl().ref().allocator(); }
size_t String::memory() const { return impl().ref().memory(); }
uint32_t String::getCapacity() const { return impl().ref().getCapacity(); }
uint32_t String::size() const { return impl().ref().size(); }
char *String::get() { return impl().ref().get(); }
const char *String::get() const { return impl().ref().get(); }
char &String::get(uint32_t index) { return impl().ref().get(index); }
char String::get(uint32_t index) const { return impl().ref().get(index); }
char &String::operator[](uint32_t index) { return impl().ref()[index]; }
char String::operator[](uint32_t index) const { return impl().ref()[index]; }
char &String::front(uint32_t index) { return impl().ref().front(index); }
char String::front(uint32_t index) const { return impl().ref().front(index); }
char &String::back(uint32_t index) { return impl().ref().back(index); }
char String::back(uint32_t index) const { return impl().ref().back(index); }

// search

uint32_t String::find(char c, uint32_t pos) const { return impl().ref().find(c, pos); }
uint32_t String::find(const char *str, uint32_t pos) const { return impl().ref().find(str, pos); }
uint32_t String::find(const String &str, uint32_t pos) const { return impl().ref().find(str.impl().ref(), pos); }
uint32_t String::rfind(char c, uint32_t pos) const { return impl().ref().rfind(c, pos); }
uint32_t String::rfind(const char *str, uint32_t pos) const { return impl().ref().rfind(str, pos); }
uint32_t String::rfind(const String &str, uint32_t pos) const { return impl().ref().rfind(str.impl().ref(), pos); }
uint32_t String::count(char c, uint32_t pos) const { return impl().ref().count(c, pos); }
uint32_t String::count(const char *str, uint32_t pos) const { return impl().ref().count(str, pos); }
bool String::begins(const char *str, uint32_t len, uint32_t pos) const { return impl().ref().begins(str, len, pos); }
bool String::match(const char *pattern, uint32_t len, uint32_t pos) const {
    return impl().ref().match(pattern, len, pos);
}
bool String::match(const String &pattern) const { return impl().ref().match(pattern.impl().ref()); }
int32_t String::compare(const String &str) const { return impl().ref().compare(str.impl().ref()); }
int32_t String::compare(const char *str, uint32_t len, uint32_t pos) const {
    return impl().ref().compare(str, len, pos);
}
uint32_t String::distance(const char *str, bool sliding, uint32_t pos) const {
    return impl().ref().distance(str, sliding, pos);
}

// derived strings

String String::substring(uint32_t pos, uint32_t len) const { return getPublicString(impl().ref().substring(pos, len)); }
String String::replace(char before, char after, uint32_t pos) const {
    return getPublicString(impl().ref().replace(before, after, pos));
}
String String::replace(const char *before, const char *after, uint32_t pos) const {
    return getPublicString(impl().ref().replace(before, after, pos));
}
Array<String> String::split(const char *delimiters, bool skip_empty) const {
    const Kolm::StringArray pieces = impl().ref().split(delimiters, skip_empty);
    Array<String> ret(pieces.size());
    for(uint32_t i = 0; i < pieces.size(); i++) ret[i].impl().set(pieces[i]);
    return ret;
}
String String::extension() const { return getPublicString(impl().ref().extension()); }
String String::extension(const char *ext) const { return getPublicString(impl().ref().extension(ext)); }
String String::pathname() const { return getPublicString(impl().ref().pathname()); }
String String::basename() const { return getPublicString(impl().ref().basename()); }
String String::dirname() const { return getPublicString(impl().ref().dirname()); }
String String::pathname(const char *path) { return getPublicString(Kolm::String::pathname(path)); }
String String::basename(const char *path) { return getPublicString(Kolm::String::basename(path)); }
String String::dirname(const char *path) { return getPublicString(Kolm::String::dirname(path)); }
String String::relname(const char *from, const char *to) { return getPublicString(Kolm::String::relname(from, to)); }
String String::capitalize() const { return getPublicString(impl().ref().capitalize()); }
String String::lower() const { return getPublicString(impl().ref().lower()); }
String String::upper() const { return getPublicString(impl().ref().upper()); }

// encoding

Array<uint32_t> String::toUtf32(uint32_t pos) const {
    const Kolm::Array<uint32_t> codes = impl().ref().toUtf32(pos);
    return Array<uint32_t>(codes.size(), codes.get());
}
Array<uint16_t> String::toUtf16(uint32_t pos) const {
    const Kolm::Array<uint16_t> units = impl().ref().toUtf16(pos);
    return Array<uint16_t>(units.size(), units.get());
}
uint32_t String::toUtf32(const char *str, uint32_t size, uint32_t &consumed) {
    return Kolm::String::toUtf32(str, size, consumed);
}
String &String::fromUtf32(String &dest, uint32_t code) {
    Kolm::String::fromUtf32(dest.impl().ref(), code);
    return dest;
}
String String::fromUtf32(const uint32_t *src, uint32_t size) {
    return getPublicString(Kolm::String::fromUtf32(src, size));
}
String String::fromUtf16(const uint16_t *src, uint32_t size) {
    return getPublicString(Kolm::String::fromUtf16(src, size));
}
String String::fromUrl(const char *str) { return getPublicString(Kolm::String::fromUrl(str)); }

// format

uint32_t String::vscanf(const char *format, va_list args) const { return impl().ref().vscanf(format, args); }
uint32_t String::scanf(const char *format, ...) const {
    va_list args;
    va_start(args, format);
    const uint32_t ret = impl().ref().vscanf(format, args);
    va_end(args);
    return ret;
}
uint32_t String::vscanf(const char *str, const char *format, va_list args) {
    return Kolm::String::vscanf(str, format, args);
}
// An argument may be the text that is only looked at: it is formatted before that changes.
String &String::vprintf(const char *format, va_list args) {
    impl().set(Kolm::String::vformat(format, args));
    return *this;
}
String &String::printf(const char *format, ...) {
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
    return *this;
}
String String::vformat(const char *format, va_list args) {
    return getPublicString(Kolm::String::vformat(format, args));
}
String String::format(const char *format, ...) {
    va_list args;
    va_start(args, format);
    String ret = getPublicString(Kolm::String::vformat(format, args));
    va_end(args);
    return ret;
}

// numbers

String &String::fromi32(String &dest, int32_t value, uint32_t radix) {
    Kolm::String::fromi32(dest.impl().ref(), value, radix);
    return dest;
}
String &String::fromi64(String &dest, int64_t value, uint32_t radix) {
    Kolm::String::fromi64(dest.impl().ref(), value, radix);
    return dest;
}
String &String::fromu32(String &dest, uint32_t value, uint32_t radix) {
    Kolm::String::fromu32(dest.impl().ref(), value, radix);
    return dest;
}
String &String::fromu64(String &dest, uint64_t value, uint32_t radix) {
    Kolm::String::fromu64(dest.impl().ref(), value, radix);
    return dest;
}
String String::fromi32(int32_t value, uint32_t radix) { return getPublicString(Kolm::String::fromi32(value, radix)); }
String String::fromi64(int64_t value, uint32_t radix) { return getPublicString(Kolm::String::fromi64(value, radix)); }
String String::fromu32(uint32_t value, uint32_t radix) { return getPublicString(Kolm::String::fromu32(value, radix)); }
String String::fromu64(uint64_t value, uint32_t radix) { return getPublicString(Kolm::String::fromu64(value, radix)); }
String &String::fromf32(String &dest, float32_t value, uint32_t digits, bool compact, bool exponent) {
    Kolm::String::fromf32(dest.impl().ref(), value, digits, compact, exponent);
    return dest;
}
String String::fromf32(float32_t value, uint32_t digits, bool compact, bool exponent) {
    return getPublicString(Kolm::String::fromf32(value, digits, compact, exponent));
}
String &String::fromf32e(String &dest, float32_t value, uint32_t digits) {
    Kolm::String::fromf32e(dest.impl().ref(), value, digits);
    return dest;
}
String String::fromf32e(float32_t value, uint32_t digits) {
    return getPublicString(Kolm::String::fromf32e(value, digits));
}
String &String::fromf32s(String &dest, float32_t value) {
    Kolm::String::fromf32s(dest.impl().ref(), value);
    return dest;
}
String &String::fromf64(String &dest, float64_t value, uint32_t digits, bool compact, bool exponent) {
    Kolm::String::fromf64(dest.impl().ref(), value, digits, compact, exponent);
    return dest;
}
String String::fromf64(float64_t value, uint32_t digits, bool compact, bool exponent) {
    return getPublicString(Kolm::String::fromf64(value, digits, compact, exponent));
}
String &String::fromf64e(String &dest, float64_t value, uint32_t digits) {
    Kolm::String::fromf64e(dest.impl().ref(), value, digits);
    return dest;
}
String String::fromf64e(float64_t value, uint32_t digits) {
    return getPublicString(Kolm::String::fromf64e(value, digits));
}
String &String::fromf64s(String &dest, float64_t value) {
    Kolm::String::fromf64s(dest.impl().ref(), value);
    return dest;
}

int32_t String::toi32(const char *str, uint32_t radix, uint32_t *consumed) {
    return Kolm::String::toi32(str, radix, consumed);
}
int32_t String::toi32(uint32_t radix, uint32_t pos, uint32_t *consumed) const {
    return impl().ref().toi32(radix, pos, consumed);
}
int64_t String::toi64(const char *str, uint32_t radix, uint32_t *consumed) {
    return Kolm::String::toi64(str, radix, consumed);
}
int64_t String::toi64(uint32_t radix, uint32_t pos, uint32_t *consumed) const {
    return impl().ref().toi64(radix, pos, consumed);
}
uint32_t String::tou32(const char *str, uint32_t radix, uint32_t *consumed) {
    return Kolm::String::tou32(str, radix, consumed);
}
uint32_t String::tou32(uint32_t radix, uint32_t pos, uint32_t *consumed) const {
    return impl().ref().tou32(radix, pos, consumed);
}
uint64_t String::tou64(const char *str, uint32_t radix, uint32_t *consumed) {
    return Kolm::String::tou64(str, radix, consumed);
}
uint64_t String::tou64(uint32_t radix, uint32_t pos, uint32_t *consumed) const {
    return impl().ref().tou64(radix, pos, consumed);
}
float32_t String::tof32(const char *str, uint32_t *consumed) { return Kolm::String::tof32(str, consumed); }
float32_t String::tof32(uint32_t pos, uint32_t *consumed) const { return impl().ref().tof32(pos, consumed); }
float64_t String::tof64(const char *str, uint32_t *consumed) { return Kolm::String::tof64(str, consumed); }
float64_t String::tof64(uint32_t pos, uint32_t *consumed) const { return impl().ref().tof64(pos, consumed); }

// hash and colour

uint32_t String::toHashu32(uint32_t pos) const { return impl().ref().toHashu32(pos); }
uint64_t String::toHashu64(uint32_t pos) const { return impl().ref().toHashu64(pos); }
uint32_t String::toRGBAu8(uint32_t pos) const { return impl().ref().toRGBAu8(pos); }

// units

String String::fromTime(uint64_t value, uint32_t digits) {
    return getPublicString(Kolm::String::fromTime(value, digits));
}
String String::fromBytes(uint64_t value, uint32_t digits) {
    return getPublicString(Kolm::String::fromBytes(value, digits));
}
String String::fromNumber(uint64_t value, uint32_t digits) {
    return getPublicString(Kolm::String::fromNumber(value, digits));
}
String String::fromFrequency(uint64_t value, uint32_t digits) {
    return getPublicString(Kolm::String::fromFrequency(value, digits));
}
String String::fromLength(float64_t value, uint32_t digits) {
    return getPublicString(Kolm::String::fromLength(value, digits));
}
String String::fromAngle(float64_t value, uint32_t digits) {
    return getPublicString(Kolm::String::fromAngle(value, digits));
}
uint64_t String::toBytes(const char *str, uint32_t *consumed) { return Kolm::String::toBytes(str, consumed); }
uint64_t String::toBytes(uint32_t pos, uint32_t *consumed) const { return impl().ref().toBytes(pos, consumed); }
uint64_t String::toNumber(const char *str, uint32_t *consumed) { return Kolm::String::toNumber(str, consumed); }
uint64_t String::toNumber(uint32_t pos, uint32_t *consumed) const { return impl().ref().toNumber(pos, consumed); }
uint64_t String::toFrequency(const char *str, uint32_t *consumed) { return Kolm::String::toFrequency(str, consumed); }
uint64_t String::toFrequency(uint32_t pos, uint32_t *consumed) const { return impl().ref().toFrequency(pos, consumed); }
float64_t String::toLength(const char *str, uint32_t *consumed) { return Kolm::String::toLength(str, consumed); }
float64_t String::toLength(uint32_t pos, uint32_t *consumed) const { return impl().ref().toLength(pos, consumed); }

} // namespace Ostrevan
