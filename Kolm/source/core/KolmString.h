// The library's byte string, its form with inline storage and the pieces of a split text.
//
// A string is bytes with a terminator behind them, meant to be UTF-8. Formatting, scanning and number conversion are
// the string's own, so that no result depends on the locale of the process. Rests on the allocator and Array. Hides how
// the bytes are stored: an empty string points at a shared terminator, and a block on the heap has room for at least 64.

#pragma once

#include <stdarg.h>

#include "KolmArray.h"

/// Lets the compiler check the arguments of scanf-like functions: positions count from 1, `this` included.
#define KOLM_SCANF(FORMAT, ARGS) __attribute__((format(scanf, FORMAT, ARGS)))

namespace Kolm {

class StringArray;
template<uint32_t Size> class StringStack;

/// Positions count bytes from 0; one beyond the length ends the process. A null `const char *` stands for the empty
/// text. Texts that lie inside the string itself may be passed to all methods that change it. A method that finds no
/// memory leaves the string as it was. Not thread-safe; several threads may read one string.
class String {
public:
    static constexpr uint32_t MaxCapacity = 0x7FFFFFFE;
    /// Result of a search that found nothing, and the length that stands for "all".
    static constexpr uint32_t NotFound = 0xFFFFFFFF;

    constexpr String() : capacity(0), length(0), data(const_cast<char *>(null_data)) {}
    explicit String(uint32_t size, char c = '\0') : String() { resize(size, c); }
    String(const char *str) : String() { copy(str); }
    String(const char *str, uint32_t size) : String() { copy(str, size); }
    /// UTF-32 text, converted to UTF-8.
    explicit String(const wchar_t *str, uint32_t size = NotFound);
    explicit String(const uint32_t *str, uint32_t size = NotFound);
    String(const String &str) : String() { copy(str); }
    String(String &&str) noexcept : String() { move(str); }
    template<uint32_t Size> String(StringStack<Size> &&str) noexcept : String() { move_stack(str); }
    constexpr ~String() {
        if(capacity & OwnerBit) free_data();
    }

    String &operator=(const String &str) { return copy(str); }
    String &operator=(String &&str) noexcept { return move(str); }
    template<uint32_t Size> String &operator=(StringStack<Size> &&str) noexcept { return move_stack(str); }
    String &operator=(const char *str) { return copy(str); }

    // -- Storage --

    /// Looks at external memory of \p capacity bytes, which holds \p length bytes of text, fewer than \p capacity, and
    /// gets its terminator behind them. The caller owns the memory and keeps it alive; growing past it moves the text
    /// to the heap.
    void init(char *new_data, size_t new_capacity, uint32_t new_length) {
        KOLM_ASSERT(new_data && new_length < new_capacity && "String::init(): invalid length");
        if(capacity & OwnerBit) free_data();
        capacity = uint32_t(min(new_capacity - 1, size_t(MaxCapacity)));
        length = new_length;
        data = new_data;
        data[length] = '\0';
    }
    /// Looks at the memory of another string, which must outlive this one and keep its size.
    void init(String &str);
    /// Makes room for \p size bytes. With \p discard the old ones need not survive. False if memory runs out.
    bool reserve(uint32_t size, bool discard = false) {
        return KOLM_LIKELY((capacity & CapacityMask) >= size) || grow(size, true, discard);
    }
    /// Sets the length; bytes that are new become \p fill. New capacity is exact unless \p reserve asks for spare room.
    bool resize(uint32_t size, char fill = '\0', bool reserve = false, bool discard = false);
    /// Frees owned memory. A string over external memory keeps it and becomes empty.
    void release();
    /// Fits owned memory to the length.
    void shrink();
    /// Sets the length to 0 and keeps the memory.
    void clear() {
        length = 0;
        if(data != null_data) data[0] = '\0';
    }
    void swap(String &str);
    String &copy(const char *str) { return copy(str, str ? check_length(strlen(str)) : 0); }
    String &copy(const char *str, uint32_t size) {
        if(KOLM_UNLIKELY(size > (capacity & CapacityMask) || data == null_data)) return copy_grow(str, size);
        if(KOLM_LIKELY(size)) memmove(data, str, size);
        length = size;
        data[length] = '\0';
        return *this;
    }
    String &copy(const String &str) { return (this == &str) ? *this : copy(str.data, str.length); }
    /// Takes the text over; \p str is empty afterwards. Owned memory changes hands, other memory is copied.
    String &move(String &str) noexcept;
    String &move(String &&str) noexcept { return move(str); }

    // -- Edit --

    String &append(char c) {
        if(KOLM_UNLIKELY((capacity & CapacityMask) == length)) {
            if(!grow(length + 1, true, false)) return *this;
        }
        char *end = data + length; // a char may lie anywhere: `data` and `length` would be read again behind each store
        length++;
        end[0] = c;
        end[1] = '\0';
        return *this;
    }
    String &append(char c, uint32_t count);
    String &append(const char *str) { return str ? append(str, check_length(strlen(str))) : *this; }
    String &append(const char *str, uint32_t size) {
        if(KOLM_UNLIKELY(size > (capacity & CapacityMask) - length)) return append_grow(str, size);
        if(KOLM_LIKELY(size)) {
            char *end = data + length;
            length += size;
            memcpy(end, str, size); // the text's own bytes end before this place
            end[size] = '\0';
        }
        return *this;
    }
    String &append(const String &str) { return append(str.data, str.length); }
    String &operator+=(char c) { return append(c); }
    String &operator+=(const char *str) { return append(str); }
    String &operator+=(const String &str) { return append(str); }
    String &insert(uint32_t pos, char c) { return insert(pos, &c, 1); }
    String &insert(uint32_t pos, const char *str, uint32_t size = NotFound);
    String &insert(uint32_t pos, const String &str) { return insert(pos, str.data, str.length); }
    void removeBack(uint32_t len = 1);
    void remove(uint32_t pos, uint32_t len = 1);
    /// Turns bytes round.
    void reverse(uint32_t pos = 0, uint32_t len = NotFound);

    // -- Access --

    bool empty() const { return length == 0; }
    explicit operator bool() const { return length != 0; }
    /// Whether the memory is owned.
    bool allocator() const { return (capacity & OwnerBit) != 0; }
    /// Bytes of owned memory.
    size_t memory() const { return (capacity & OwnerBit) ? size_t(capacity & CapacityMask) + 1 : 0; }
    /// Bytes of text that fit without allocation.
    uint32_t getCapacity() const { return capacity & CapacityMask; }
    uint32_t size() const { return length; }
    /// Terminated text, never null. A string without memory yields a pointer that must not be written through.
    char *get() { return data; }
    const char *get() const { return data; }
    char &get(uint32_t index) {
        KOLM_ASSERT(index < length && "String::get(): invalid index");
        return data[index];
    }
    char get(uint32_t index) const {
        KOLM_ASSERT(index < length && "String::get(): invalid index");
        return data[index];
    }
    char &operator[](uint32_t index) {
        KOLM_ASSERT(index < length && "String::operator[](): invalid index");
        return data[index];
    }
    char operator[](uint32_t index) const {
        KOLM_ASSERT(index < length && "String::operator[](): invalid index");
        return data[index];
    }
    char *begin() { return data; }
    char *end() { return data + length; }
    const char *begin() const { return data; }
    const char *end() const { return data + length; }
    char &front(uint32_t index = 0) {
        KOLM_ASSERT(index < length && "String::front(): invalid index");
        return data[index];
    }
    char front(uint32_t index = 0) const {
        KOLM_ASSERT(index < length && "String::front(): invalid index");
        return data[index];
    }
    /// Byte counted from the end: back(0) is the last.
    char &back(uint32_t index = 0) {
        KOLM_ASSERT(index < length && "String::back(): invalid index");
        return data[length - index - 1];
    }
    char back(uint32_t index = 0) const {
        KOLM_ASSERT(index < length && "String::back(): invalid index");
        return data[length - index - 1];
    }

    // -- Search --

    /// First occurrence at or behind \p pos, NotFound if there is none. The empty text is found at \p pos.
    uint32_t find(char c, uint32_t pos = 0) const;
    uint32_t find(const char *str, uint32_t pos = 0) const;
    uint32_t find(const String &str, uint32_t pos = 0) const;
    /// Last occurrence that begins at or before \p pos.
    uint32_t rfind(char c, uint32_t pos = NotFound) const;
    uint32_t rfind(const char *str, uint32_t pos = NotFound) const;
    uint32_t rfind(const String &str, uint32_t pos = NotFound) const;
    /// Occurrences that don't overlap; none of the empty text.
    uint32_t count(char c, uint32_t pos = 0) const;
    uint32_t count(const char *str, uint32_t pos = 0) const;
    /// Whether the text at \p pos begins with \p len bytes of \p str.
    bool begins(const char *str, uint32_t len = NotFound, uint32_t pos = 0) const;
    bool contains(char c, uint32_t pos = 0) const { return find(c, pos) != NotFound; }
    bool contains(const char *str, uint32_t pos = 0) const { return find(str, pos) != NotFound; }
    /// Wildcard test of the text from \p pos on: `?` is any byte, `*` any run, `|` stands between alternatives. An
    /// alternative that is not the last needs only match a non-empty beginning of the text, the last one all of it.
    bool match(const char *pattern, uint32_t len = NotFound, uint32_t pos = 0) const;
    bool match(const String &pattern) const { return match(pattern.data, pattern.length); }
    /// Negative, zero or positive by the order of the bytes, taken as unsigned.
    int32_t compare(const String &str) const { return compare_bytes(data, length, str.data, str.length); }
    int32_t compare(const char *str, uint32_t len = NotFound, uint32_t pos = 0) const;
    /// Levenshtein distance of the whole string to \p str; \p pos is checked and plays no part. With \p sliding, for
    /// lengths that differ, the least over the tails of \p str that start before the difference of the lengths.
    /// Takes memory and time in proportion to the lengths, and to their product; ~0u if memory runs out.
    uint32_t distance(const char *str, bool sliding = false, uint32_t pos = 0) const;

    // -- Derived strings --

    String substring(uint32_t pos, uint32_t len = NotFound) const;
    /// Every occurrence from \p pos on replaced; what is before \p pos stays.
    String replace(char before, char after, uint32_t pos = 0) const;
    String replace(const char *before, const char *after, uint32_t pos = 0) const;
    /// Pieces between bytes of the set \p delimiters, empty ones too unless \p skip_empty is set.
    StringArray split(const char *delimiters, bool skip_empty = false) const;
    /// What is behind the last `.` of the last path component, empty if there is none.
    String extension() const;
    /// The path with its extension replaced by \p ext, with or without `.`; an empty one takes it off.
    String extension(const char *ext) const;
    /// The path up to and with its last separator: `/`, `\` or `:`.
    String pathname() const;
    /// The path behind its last separator.
    String basename() const;
    /// The path before its last separator; the separator stays if it is the first byte.
    String dirname() const;
    /// The path \p to as seen from the folder of this path: with "../" for each level up.
    String relname(const char *to) const { return relname(data, to); }
    static String pathname(const char *path) { return String(path).pathname(); }
    static String basename(const char *path) { return String(path).basename(); }
    static String dirname(const char *path) { return String(path).dirname(); }
    static String relname(const char *from, const char *to);
    /// ASCII letters changed: the first of each word (behind a byte that is no letter, digit or `'`), or all.
    String capitalize() const;
    String lower() const;
    String upper() const;

    // -- Encoding --

    /// Code points of the text. Ill-formed bytes yield U+FFFD, one for each maximal part of a sequence.
    Array<uint32_t> toUtf32(uint32_t pos = 0) const;
    Array<uint16_t> toUtf16(uint32_t pos = 0) const;
    /// Code point at the start of \p size bytes, which are at least one; \p consumed receives its bytes.
    static uint32_t toUtf32(const char *str, uint32_t size, uint32_t &consumed);
    /// Appends a code point; surrogates and values above 0x10FFFF become U+FFFD.
    static String &fromUtf32(String &dest, uint32_t code);
    /// Text of \p size units, or up to a zero unit. Lone surrogates become U+FFFD.
    static String fromUtf32(const uint32_t *src, uint32_t size = NotFound);
    static String fromUtf16(const uint16_t *src, uint32_t size = NotFound);
    /// `%` and two hexadecimal digits become a byte; all else stands as it is.
    static String fromUrl(const char *str);

    // -- Format --

    /// Conversions as in the C library, beside `%b` for binary, without locale. Returns how many values were stored.
    uint32_t vscanf(const char *format, va_list args) const KOLM_SCANF(2, 0);
    uint32_t scanf(const char *format, ...) const KOLM_SCANF(2, 3);
    static uint32_t vscanf(const char *str, const char *format, va_list args) KOLM_SCANF(2, 0);
    /// Replaces the text. Conversions as in the C library without locale, `%b` for binary, null `%s` as "(null)".
    /// Plain `%f` prints as fromf64 with 6 digits, plain `%g` as fromf64e with 6. Arguments may lie in this string.
    String &vprintf(const char *format, va_list args) KOLM_PRINTF(2, 0);
    String &printf(const char *format, ...) KOLM_PRINTF(2, 3);
    static String vformat(const char *format, va_list args) KOLM_PRINTF(1, 0);
    static String format(const char *format, ...) KOLM_PRINTF(1, 2);

    // -- Numbers --

    /// Digits of \p value in a radix of 1 to 16, appended to \p dest or as a new string. Negative values in a radix
    /// other than 10 are written as complement, padded to 128 / radix characters.
    static String &fromi32(String &dest, int32_t value, uint32_t radix = 10);
    static String &fromi64(String &dest, int64_t value, uint32_t radix = 10);
    static String &fromu32(String &dest, uint32_t value, uint32_t radix = 10);
    static String &fromu64(String &dest, uint64_t value, uint32_t radix = 10);
    static String fromi32(int32_t value, uint32_t radix = 10);
    static String fromi64(int64_t value, uint32_t radix = 10);
    static String fromu32(uint32_t value, uint32_t radix = 10);
    static String fromu64(uint64_t value, uint32_t radix = 10);
    /// \p digits, at most 16, behind the point; \p compact takes trailing zeros off but for one. With \p exponent a
    /// power of ten of more than half as many digits is written behind "e". The largest finite value prints as "inf".
    static String &fromf32(String &dest, float32_t value, uint32_t digits = 6, bool compact = true,
                           bool exponent = false);
    static String &fromf64(String &dest, float64_t value, uint32_t digits = 12, bool compact = true,
                           bool exponent = false);
    static String fromf32(float32_t value, uint32_t digits = 6, bool compact = true, bool exponent = false);
    static String fromf64(float64_t value, uint32_t digits = 12, bool compact = true, bool exponent = false);
    /// The same with exponent and without trailing zeros.
    static String &fromf32e(String &dest, float32_t value, uint32_t digits = 6);
    static String &fromf64e(String &dest, float64_t value, uint32_t digits = 12);
    static String fromf32e(float32_t value, uint32_t digits = 6);
    static String fromf64e(float64_t value, uint32_t digits = 12);
    /// Shortest text that reads back as the same bits: what files are written with.
    static String &fromf32s(String &dest, float32_t value);
    static String &fromf64s(String &dest, float64_t value);

    /// Number at the start of \p str, behind white space. A prefix 0x means radix 16, 0b radix 2, unless 16 was asked
    /// for, where b is a digit. Radix is 2, 8, 10 or 16. Overflow wraps. \p consumed receives the bytes used, white
    /// space counted. A text that is no number yields 0.
    static int32_t toi32(const char *str, uint32_t radix = 10, uint32_t *consumed = nullptr);
    static int64_t toi64(const char *str, uint32_t radix = 10, uint32_t *consumed = nullptr);
    static uint32_t tou32(const char *str, uint32_t radix = 10, uint32_t *consumed = nullptr);
    static uint64_t tou64(const char *str, uint32_t radix = 10, uint32_t *consumed = nullptr);
    int32_t toi32(uint32_t radix = 10, uint32_t pos = 0, uint32_t *consumed = nullptr) const;
    int64_t toi64(uint32_t radix = 10, uint32_t pos = 0, uint32_t *consumed = nullptr) const;
    uint32_t tou32(uint32_t radix = 10, uint32_t pos = 0, uint32_t *consumed = nullptr) const;
    uint64_t tou64(uint32_t radix = 10, uint32_t pos = 0, uint32_t *consumed = nullptr) const;
    /// Decimal number with optional fraction and exponent, "inf" or "nan", correctly rounded.
    static float32_t tof32(const char *str, uint32_t *consumed = nullptr);
    static float64_t tof64(const char *str, uint32_t *consumed = nullptr);
    float32_t tof32(uint32_t pos = 0, uint32_t *consumed = nullptr) const;
    float64_t tof64(uint32_t pos = 0, uint32_t *consumed = nullptr) const;

    // -- Hash and colour --

    uint32_t toHashu32(uint32_t pos = 0) const;
    uint64_t toHashu64(uint32_t pos = 0) const;
    /// Colour in the forms "#rgb" and "#rrggbb", red in the low byte; 0xFF00FFFF for a text without `#`.
    uint32_t toRGBAu8(uint32_t pos = 0) const;

    // -- Units --

    /// Microseconds: "5 us", "1.5 ms", "2.25 s", "90.0 m", "3 days", "2 years".
    static String fromTime(uint64_t value, uint32_t digits = 2);
    /// Bytes in powers of 1024: "1023 B", "1.5 KB" up to TB.
    static String fromBytes(uint64_t value, uint32_t digits = 2);
    /// Powers of 1000: "999", "1.5 K", then M, B, T.
    static String fromNumber(uint64_t value, uint32_t digits = 2);
    /// Hertz: "50 Hz", then KHz, MHz, GHz, THz.
    static String fromFrequency(uint64_t value, uint32_t digits = 2);
    /// Metres: "5.0 mm", "1.5 cm", "2.0 m", "3.2 km".
    static String fromLength(float64_t value, uint32_t digits = 2);
    /// Degrees as degrees, minutes and seconds: `12°30'15.5"`.
    static String fromAngle(float64_t value, uint32_t digits = 2);
    /// The number at the start of \p str with its unit, in either case, scaled, limited to the type's range. A wrong
    /// letter behind a unit yields 0 with \p consumed 0.
    static uint64_t toBytes(const char *str, uint32_t *consumed = nullptr);
    static uint64_t toNumber(const char *str, uint32_t *consumed = nullptr);
    static uint64_t toFrequency(const char *str, uint32_t *consumed = nullptr);
    static float64_t toLength(const char *str, uint32_t *consumed = nullptr);
    uint64_t toBytes(uint32_t pos = 0, uint32_t *consumed = nullptr) const;
    uint64_t toNumber(uint32_t pos = 0, uint32_t *consumed = nullptr) const;
    uint64_t toFrequency(uint32_t pos = 0, uint32_t *consumed = nullptr) const;
    float64_t toLength(uint32_t pos = 0, uint32_t *consumed = nullptr) const;

    /// Empty string to pass and to compare with.
    static const String null;

protected:
    static constexpr uint32_t OwnerBit = 0x80000000;
    static constexpr uint32_t CapacityMask = 0x7FFFFFFF;

    /// The terminator of all strings without memory. Read-only: a write through it is a fault.
    static constexpr char null_data[16] = {};

    uint32_t capacity; // bytes of text that fit, without the terminator; OwnerBit: `data` is freed with the string
    uint32_t length;   // bytes of text, without the terminator
    char *data;        // never null

    static uint32_t check_length(size_t size) {
        KOLM_ASSERT(size <= MaxCapacity && "String::append(): invalid size");
        return uint32_t(size);
    }

    friend bool operator==(const String &, const String &);

private:
    static int32_t compare_bytes(const char *s0, uint32_t l0, const char *s1, uint32_t l1) {
        const int32_t ret = memcmp(s0, s1, min(l0, l1));
        return ret ? ret : (l0 < l1) ? -1 : (l0 > l1);
    }
    void free_data();
    bool grow(uint32_t size, bool spare, bool discard);
    String &append_grow(const char *str, uint32_t size);
    String &copy_grow(const char *str, uint32_t size);
    uint32_t find_bytes(const char *str, uint32_t size, uint32_t pos) const;
    uint32_t rfind_bytes(const char *str, uint32_t size, uint32_t pos) const;
    bool is_inside(const char *str) const {
        return uintptr_t(str) >= uintptr_t(data) && uintptr_t(str) <= uintptr_t(data + (capacity & CapacityMask));
    }
    template<uint32_t Size> String &move_stack(StringStack<Size> &str) noexcept {
        move(str);
        str.restore();
        return *this;
    }
};

/// String whose first \p Size - 1 bytes lie inside the object. It moves to the heap when it grows past them.
template<uint32_t Size> class StringStack : public String {
public:
    StringStack() { reset(); }
    explicit StringStack(uint32_t size, char c = '\0') {
        reset();
        String::resize(size, c);
    }
    StringStack(const char *str) { reset(str, str ? strlen(str) : 0); }
    StringStack(const char *str, uint32_t size) { reset(str, size); }
    StringStack(const StringStack &str) : String() {
        reset();
        String::copy(str);
    }
    StringStack(const String &str) : String() {
        reset();
        String::copy(str);
    }
    StringStack(StringStack &&str) noexcept {
        reset();
        String::move(str);
        str.restore();
    }
    StringStack(String &&str) noexcept {
        reset();
        String::move(str);
    }
    StringStack &operator=(const StringStack &str) {
        String::copy(str);
        return *this;
    }
    StringStack &operator=(const String &str) {
        String::copy(str);
        return *this;
    }
    StringStack &operator=(const char *str) {
        String::copy(str);
        return *this;
    }
    StringStack &operator=(StringStack &&str) noexcept {
        String::move(str);
        str.restore();
        return *this;
    }
    StringStack &operator=(String &&str) noexcept {
        String::move(str);
        return *this;
    }

private:
    friend class String;

    void reset() {
        this->capacity = Size - 1;
        this->length = 0;
        this->String::data = data;
        data[0] = '\0';
    }
    void reset(const char *str, size_t size) {
        if(KOLM_LIKELY(size < Size)) {
            this->capacity = Size - 1;
            this->length = uint32_t(size);
            this->String::data = data;
            if(size) memcpy(data, str, size);
            data[size] = '\0';
        } else {
            reset();
            String::copy(str, String::check_length(size));
        }
    }
    // A string whose block went away looks at its inline storage again.
    void restore() {
        if(this->String::data == null_data) reset();
    }

    char data[Size + 1];
};

/// Pieces of a text: one buffer of bytes, and strings that refer to it.
class StringArray {
public:
    StringArray() = default;
    StringArray(const char *str, const char *delimiters, bool skip_empty = false) {
        split(str, delimiters, skip_empty);
    }
    StringArray(const StringArray &array) { copy(array); }
    StringArray(StringArray &&array) noexcept { move(array); }
    ~StringArray() { clear(); }
    StringArray &operator=(const StringArray &array) {
        copy(array);
        return *this;
    }
    StringArray &operator=(StringArray &&array) noexcept {
        move(array);
        return *this;
    }

    /// Takes a copy of \p str apart at bytes of the set \p delimiters. Returns the number of pieces: one more than
    /// there are delimiters, or only those that are not empty. The empty text has none.
    uint32_t split(const char *str, const char *delimiters, bool skip_empty = false);
    uint32_t split(const String &str, const char *delimiters, bool skip_empty = false);
    void copy(const StringArray &array);
    void move(StringArray &array) noexcept;
    void clear();

    bool empty() const { return strings.empty(); }
    explicit operator bool() const { return !strings.empty(); }
    uint32_t size() const { return strings.size(); }
    const String &get(uint32_t index) const { return (*this)[index]; }
    const String &operator[](uint32_t index) const {
        KOLM_ASSERT(index < strings.size() && "StringArray::operator[](): invalid index");
        return strings.get()[index];
    }
    const String *begin() const { return strings.get(); }
    const String *end() const { return strings.get() + strings.size(); }

private:
    bool create(const char *str, uint32_t size, uint32_t num);
    uint32_t split_bytes(const char *str, uint32_t size, const char *delimiters, bool skip_empty);

    uint32_t capacity = 0; // bytes of `data`
    uint32_t length = 0;   // bytes in use: the pieces and their terminators
    char *data = nullptr;
    Array<String> strings;
};

inline bool operator==(const String &a, const String &b) {
    return a.length == b.length && memcmp(a.data, b.data, a.length) == 0;
}
inline bool operator==(const String &a, const char *b) {
    const size_t size = b ? strlen(b) : 0;
    return a.size() == size && memcmp(a.get(), b ? b : "", size) == 0;
}
inline bool operator==(const char *a, const String &b) { return b == a; }
inline bool operator!=(const String &a, const String &b) { return !(a == b); }
inline bool operator!=(const String &a, const char *b) { return !(a == b); }
inline bool operator!=(const char *a, const String &b) { return !(a == b); }
inline bool operator<(const String &a, const String &b) { return a.compare(b) < 0; }
inline bool operator<(const String &a, const char *b) { return a.compare(b) < 0; }
inline bool operator<(const char *a, const String &b) { return b.compare(a) > 0; }
inline bool operator>(const String &a, const String &b) { return a.compare(b) > 0; }
inline bool operator>(const String &a, const char *b) { return a.compare(b) > 0; }
inline bool operator>(const char *a, const String &b) { return b.compare(a) < 0; }

String operator+(const String &a, const String &b);
String operator+(const String &a, const char *b);
String operator+(const char *a, const String &b);
inline String operator+(String &&a, const String &b) { return String(std::move(a.append(b))); }
inline String operator+(String &&a, const char *b) { return String(std::move(a.append(b))); }

} // namespace Kolm
