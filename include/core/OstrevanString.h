// Byte string with its own formatting, scanning and number conversion, none of which asks the process's locale.

#pragma once

#include <stdarg.h>
#include <string.h>

#include <base/OstrevanBase.h>
#include <core/OstrevanArray.h>

namespace Ostrevan {

/// Lets the compiler check the arguments of scanf-like functions: positions count from 1, `this` included.
#define OSTREVAN_SCANF(FORMAT, ARGS) __attribute__((format(scanf, FORMAT, ARGS)))

/// Bytes with a terminator behind them, meant to be UTF-8. Up to 30 bytes need no allocation.
///
/// Positions count bytes from 0; one beyond the length ends the process. A null `const char *` stands for the empty
/// text. Texts that lie inside the string itself may be passed to all methods that change it. A method that finds no
/// memory leaves the string as it was. Not thread-safe; several threads may read one string.
///
/// A string that the library returned may refer to a string inside the library: it is good for the span of a call, and
/// copying it makes a text of its own.
class OSTREVAN_API String {
public:
    static constexpr uint32_t MaxCapacity = 0x7FFFFFFE;
    /// Result of a search that found nothing, and the length that stands for "all".
    static constexpr uint32_t NotFound = 0xFFFFFFFF;

    String();
    explicit String(uint32_t size, char c = '\0');
    String(const char *str);
    String(const char *str, uint32_t size);
    /// UTF-32 text, converted to UTF-8.
    explicit String(const wchar_t *str, uint32_t size = NotFound);
    explicit String(const uint32_t *str, uint32_t size = NotFound);
    String(const String &str);
    String(String &&str) noexcept;
    ~String();

    String &operator=(const String &str);
    String &operator=(String &&str) noexcept;
    String &operator=(const char *str);

    // storage

    /// Looks at external memory of \p capacity bytes, which holds \p length bytes of text, fewer than \p capacity, and
    /// gets its terminator behind them. The caller owns the memory and keeps it alive; growing past it moves the text
    /// to the heap.
    void init(char *data, size_t capacity, uint32_t length);
    /// Looks at the memory of another string, which must outlive this one and keep its size.
    void init(String &str);
    /// Makes room for \p size bytes. With \p discard the old ones need not survive. False if memory runs out.
    bool reserve(uint32_t size, bool discard = false);
    /// Sets the length; bytes that are new become \p fill. New capacity is exact unless \p reserve asks for spare room.
    bool resize(uint32_t size, char fill = '\0', bool reserve = false, bool discard = false);
    /// Frees owned memory. A string over external memory keeps it and becomes empty.
    void release();
    /// Fits owned memory to the length.
    void shrink();
    /// Sets the length to 0 and keeps the memory.
    void clear();
    void swap(String &str);
    String &copy(const char *str);
    String &copy(const char *str, uint32_t size);
    String &copy(const String &str);
    /// Takes the text over; \p str is empty afterwards.
    String &move(String &str);

    // edit

    String &append(char c);
    String &append(char c, uint32_t count);
    String &append(const char *str);
    String &append(const char *str, uint32_t size);
    String &append(const String &str);
    String &operator+=(char c) { return append(c); }
    String &operator+=(const char *str) { return append(str); }
    String &operator+=(const String &str) { return append(str); }
    String &insert(uint32_t pos, char c);
    String &insert(uint32_t pos, const char *str, uint32_t size = NotFound);
    String &insert(uint32_t pos, const String &str);
    void removeBack(uint32_t len = 1);
    void remove(uint32_t pos, uint32_t len = 1);
    /// Turns bytes round.
    void reverse(uint32_t pos = 0, uint32_t len = NotFound);

    // access

    bool empty() const { return size() == 0; }
    explicit operator bool() const { return size() != 0; }
    /// Whether the memory is owned.
    bool allocator() const;
    /// Bytes of owned memory.
    size_t memory() const;
    /// Bytes of text that fit without allocation.
    uint32_t getCapacity() const;
    uint32_t size() const;
    /// Terminated text, never null. A string without memory yields a pointer that must not be written through.
    char *get();
    const char *get() const;
    char &get(uint32_t index);
    char get(uint32_t index) const;
    char &operator[](uint32_t index);
    char operator[](uint32_t index) const;
    char *begin() { return get(); }
    char *end() { return get() + size(); }
    const char *begin() const { return get(); }
    const char *end() const { return get() + size(); }
    char &front(uint32_t index = 0);
    char front(uint32_t index = 0) const;
    /// Byte counted from the end: back(0) is the last.
    char &back(uint32_t index = 0);
    char back(uint32_t index = 0) const;

    // search

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
    bool match(const String &pattern) const;
    /// Negative, zero or positive by the order of the bytes, taken as unsigned.
    int32_t compare(const String &str) const;
    int32_t compare(const char *str, uint32_t len = NotFound, uint32_t pos = 0) const;
    /// Levenshtein distance of the whole string to \p str; \p pos is checked and plays no part. With \p sliding, for
    /// lengths that differ, the least over the tails of \p str that start before the difference of the lengths.
    /// Takes memory and time in proportion to the lengths, and to their product; ~0u if memory runs out.
    uint32_t distance(const char *str, bool sliding = false, uint32_t pos = 0) const;

    // derived strings

    String substring(uint32_t pos, uint32_t len = NotFound) const;
    /// Every occurrence from \p pos on replaced; what is before \p pos stays.
    String replace(char before, char after, uint32_t pos = 0) const;
    String replace(const char *before, const char *after, uint32_t pos = 0) const;
    /// Pieces between bytes of the set \p delimiters, empty ones too unless \p skip_empty is set.
    Array<String> split(const char *delimiters, bool skip_empty = false) const;
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
    String relname(const char *to) const { return relname(get(), to); }
    static String pathname(const char *path);
    static String basename(const char *path);
    static String dirname(const char *path);
    static String relname(const char *from, const char *to);
    /// ASCII letters changed: the first of each word (behind a byte that is no letter, digit or `'`), or all.
    String capitalize() const;
    String lower() const;
    String upper() const;

    // encoding

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

    // format

    /// Conversions as in the C library, beside `%b` for binary, without locale. Returns how many values were stored.
    uint32_t vscanf(const char *format, va_list args) const OSTREVAN_SCANF(2, 0);
    uint32_t scanf(const char *format, ...) const OSTREVAN_SCANF(2, 3);
    static uint32_t vscanf(const char *str, const char *format, va_list args) OSTREVAN_SCANF(2, 0);
    /// Replaces the text. Conversions as in the C library without locale, `%b` for binary, null `%s` as "(null)".
    /// Plain `%f` prints as fromf64 with 6 digits, plain `%g` as fromf64e with 6. Arguments may lie in this string.
    String &vprintf(const char *format, va_list args) OSTREVAN_PRINTF(2, 0);
    String &printf(const char *format, ...) OSTREVAN_PRINTF(2, 3);
    static String vformat(const char *format, va_list args) OSTREVAN_PRINTF(1, 0);
    static String format(const char *format, ...) OSTREVAN_PRINTF(1, 2);

    // numbers

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
    /// Shortest text that reads back as the same bits.
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

    // hash and colour

    uint32_t toHashu32(uint32_t pos = 0) const;
    uint64_t toHashu64(uint32_t pos = 0) const;
    /// Colour in the forms "#rgb" and "#rrggbb", red in the low byte; 0xFF00FFFF for a text without `#`.
    uint32_t toRGBAu8(uint32_t pos = 0) const;

    // units

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

    struct StringImpl; // the record, for the library's own use
    StringImpl &impl();
    const StringImpl &impl() const;

private:
    void *reserved[7]; // storage of the record
};

inline bool operator==(const String &a, const String &b) { return a.size() == b.size() && a.compare(b) == 0; }
inline bool operator==(const String &a, const char *b) { return a.compare(b) == 0; }
inline bool operator==(const char *a, const String &b) { return b.compare(a) == 0; }
inline bool operator!=(const String &a, const String &b) { return !(a == b); }
inline bool operator!=(const String &a, const char *b) { return !(a == b); }
inline bool operator!=(const char *a, const String &b) { return !(a == b); }
inline bool operator<(const String &a, const String &b) { return a.compare(b) < 0; }
inline bool operator<(const String &a, const char *b) { return a.compare(b) < 0; }
inline bool operator<(const char *a, const String &b) { return b.compare(a) > 0; }
inline bool operator>(const String &a, const String &b) { return a.compare(b) > 0; }
inline bool operator>(const String &a, const char *b) { return a.compare(b) > 0; }
inline bool operator>(const char *a, const String &b) { return b.compare(a) < 0; }

inline String operator+(const String &a, const String &b) {
    String ret(a);
    ret.append(b);
    return ret;
}
inline String operator+(const String &a, const char *b) {
    String ret(a);
    ret.append(b);
    return ret;
}
inline String operator+(const char *a, const String &b) {
    String ret(a);
    ret.append(b);
    return ret;
}

} // namespace Ostrevan
