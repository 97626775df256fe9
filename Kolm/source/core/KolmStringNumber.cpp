// Numbers to text and back, hashes and colours.
//
// Integers are written eight digits at a time straight into the destination. Floats are scaled in double precision, with
// exact digits where a value has no fraction. Floats are read correctly rounded: from 19 digits and a table of powers, or
// from all digits for the few values where that is not enough. None of it asks the C library's locale.

#include <float.h>
#include <math.h>

#include <charconv>

#include "KolmString.h"

namespace Kolm {

namespace {

constexpr char digit_table[] = "0123456789abcdef";

constexpr float64_t multipliers[] = {1e0, 1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7, 1e8,
                                     1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16};

// Powers of ten that a double holds exactly.
constexpr float64_t exact_powers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                      1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

constexpr uint64_t integer_powers[] = {1ull,
                                       10ull,
                                       100ull,
                                       1000ull,
                                       10000ull,
                                       100000ull,
                                       1000000ull,
                                       10000000ull,
                                       100000000ull,
                                       1000000000ull,
                                       10000000000ull,
                                       100000000000ull,
                                       1000000000000ull,
                                       10000000000000ull,
                                       100000000000000ull,
                                       1000000000000000ull,
                                       10000000000000000ull,
                                       100000000000000000ull,
                                       1000000000000000000ull,
                                       10000000000000000000ull};

// Eight digits of a value below 10^8, the first in the low byte, each as a number. Splits all groups at once: into two of
// four digits, four of two, eight of one. The factors are reciprocals of 100 and 10, exact over their groups.
inline uint64_t split_digits(uint32_t value) {
    const uint64_t fours = (value / 10000) | uint64_t(value % 10000) << 32;
    const uint64_t hundreds = ((fours * 10486) >> 20) & 0x0000007F0000007F;
    const uint64_t twos = hundreds | (fours - hundreds * 100) << 16;
    const uint64_t tens = ((twos * 103) >> 10) & 0x000F000F000F000F;
    return tens | (twos - tens * 10) << 8;
}

constexpr uint64_t zero_digits = 0x3030303030303030;

// Writes eight digits, zeros in front.
inline void write_eight(char *dest, uint32_t value) {
    const uint64_t text = split_digits(value) + zero_digits;
    memcpy(dest, &text, 8);
}

// Writes the digits of a value below 10^8 without zeros in front; touches eight bytes.
inline char *write_short(char *dest, uint32_t value) {
    const uint64_t digits = split_digits(value);
    const uint32_t zeros = uint32_t(__builtin_ctzll(digits | 1ull << 63)) & 0x38; // bits of them, at most seven digits
    const uint64_t text = (digits + zero_digits) >> zeros;
    memcpy(dest, &text, 8);
    return dest + 8 - zeros / 8;
}

constexpr uint32_t decimal_room = 28; // bytes that write_decimal may touch

inline char *write_decimal(char *dest, uint32_t value) {
    if(value < 100000000) return write_short(dest, value);
    const uint32_t high = value / 100000000; // at most 42
    *dest = char('0' + high / 10);
    dest += (high >= 10);
    *dest++ = char('0' + high % 10);
    write_eight(dest, value % 100000000);
    return dest + 8;
}

inline char *write_decimal(char *dest, uint64_t value) {
    if(value < 100000000) return write_short(dest, uint32_t(value));
    const uint64_t high = value / 100000000;
    if(high < 100000000) {
        dest = write_short(dest, uint32_t(high));
    } else {
        dest = write_short(dest, uint32_t(high / 100000000));
        write_eight(dest, uint32_t(high % 100000000));
        dest += 8;
    }
    write_eight(dest, uint32_t(value % 100000000));
    return dest + 8;
}

// Writes exactly `num` digits, at most 16, zeros in front; touches 16 bytes.
inline void write_digits(char *dest, uint64_t value, uint32_t num) {
    value *= integer_powers[16 - num];
    write_eight(dest, uint32_t(value / 100000000));
    write_eight(dest + 8, uint32_t(value % 100000000));
}

constexpr uint32_t max_radix_digits = 128; // 64 binary digits, and the limit of what radix 1 yields

// Digits in another radix than ten, from the lowest up at the end of `dest`. Returns their number.
uint32_t write_radix(char *dest, uint64_t value, uint32_t radix, bool complement) {
    uint32_t num = 0;
    const uint32_t padding = complement ? max_radix_digits / radix : 1;
    while(num < max_radix_digits && (value || num < padding)) {
        const uint32_t digit = uint32_t(value % radix);
        value /= radix;
        dest[max_radix_digits - 1 - num++] = digit_table[complement ? radix - 1 - digit : digit];
    }
    return num;
}

String &append_radix(String &dest, uint64_t value, uint32_t radix, bool complement) {
    char text[max_radix_digits];
    const uint32_t num = write_radix(text, value, radix, complement);
    return dest.append(text + max_radix_digits - num, num);
}

template<class Type> String &append_decimal(String &dest, Type value, bool negative) {
    char text[decimal_room + 1];
    text[0] = '-';
    const char *end = write_decimal(text + 1, value);
    const char *begin = text + !negative;
    return dest.append(begin, uint32_t(end - begin));
}

// The integer part, of which doubles have up to 309 digits.
char *write_integer(char *dest, float64_t value) {
    if(value < 18446744073709551616.0) return write_decimal(dest, uint64_t(value));
    return std::to_chars(dest, dest + 320, value, std::chars_format::fixed, 0).ptr;
}

// The value without its power of ten, rounded once.
float64_t scale_power(float64_t value, int32_t power) {
    if(power >= 0 && power <= 22) return value / exact_powers[power];
    if(power < 0 && power >= -22) return value * exact_powers[-power];
    char text[64];
    char *end = std::to_chars(text, text + sizeof(text), value, std::chars_format::scientific, 17).ptr;
    const char *e = static_cast<const char *>(memchr(text, 'e', size_t(end - text)));
    int32_t exponent = 0;
    std::from_chars(e + (e[1] == '+' ? 2 : 1), end, exponent);
    end = std::to_chars(const_cast<char *>(e) + 1, text + sizeof(text), exponent - power).ptr;
    std::from_chars(text, end, value);
    return value;
}

String &append_float(String &dest, float64_t value, float64_t limit, uint32_t digits, bool compact, bool exponent) {
    char text[384];
    char *s = text;
    if(!(value >= 0.0)) {
        *s++ = '-';
        value = -value;
    }
    if(value >= limit || value != value) {
        memcpy(s, (value >= limit) ? "inf" : "nan", 3);
        return dest.append(text, uint32_t(s + 3 - text));
    }
    constexpr float64_t no_fraction = 4503599627370496.0; // doubles from here on are integers
    if(digits == 0) {
        s = write_integer(s, (value < no_fraction) ? floor(value + 0.5) : value);
        return dest.append(text, uint32_t(s - text));
    }
    int32_t power = 0;
    if(exponent && value > 0.0) {
        power = int32_t(floor(log10(value) + 0.5));
        if(uint32_t(power < 0 ? -power : power) * 2 > digits) {
            value = scale_power(value, power);
        } else {
            power = 0;
        }
    }
    float64_t integer = (value < no_fraction) ? floor(value) : value;
    const uint64_t one = integer_powers[digits];
    uint64_t fraction = uint64_t((value - integer) * multipliers[digits] + 0.5);
    if(fraction >= one) {
        fraction -= one;
        integer += 1.0;
    }
    s = write_integer(s, integer);
    *s++ = '.';
    write_digits(s, fraction, digits);
    s += digits;
    if(power || compact) {
        while(s[-1] == '0' && s[-2] != '.' && s - text > 3) s--;
    }
    if(power) {
        *s++ = 'e';
        if(power < 0) *s++ = '-';
        s = write_decimal(s, uint64_t(power < 0 ? -power : power));
    }
    return dest.append(text, uint32_t(s - text));
}

// Tab, newline, carriage return and space.
inline const char *skip_spaces(const char *s) {
    constexpr uint64_t mask = 0x100002600;
    while(uint8_t(*s) < 33 && ((mask >> uint8_t(*s)) & 1)) s++;
    return s;
}

// Value of a digit, 255 for what is none.
struct Values {
    uint8_t value[256] = {};
    constexpr Values() {
        for(uint8_t &v : value) v = 255;
        for(uint32_t i = 0; i < 10; i++) value['0' + i] = uint8_t(i);
        for(uint32_t i = 0; i < 6; i++) value['a' + i] = value['A' + i] = uint8_t(10 + i);
    }
};
constexpr Values values;

template<class Type> Type parse_unsigned(const char *str, uint32_t radix, uint32_t *consumed) {
    const char *s = str;
    if(radix == 10 && uint32_t(uint8_t(*s)) - '1' < 9) {
        // Neither space nor prefix: what nearly all numbers are.
        Type value = Type(*s++ - '0');
        for(uint32_t digit; (digit = uint32_t(uint8_t(*s)) - '0') < 10; s++) value = Type(value * 10 + digit);
        if(consumed) *consumed = uint32_t(s - str);
        return value;
    }
    s = skip_spaces(s);
    if(s[0] == '0') {
        const char c = char(s[1] | 32);
        if(c == 'x') {
            radix = 16;
            s += 2;
        } else if(c == 'b' && radix != 16) {
            // In radix 16 the letter is a digit: colours such as #0b1f2e depend on it.
            radix = 2;
            s += 2;
        }
    }
    Type value = 0;
    if(radix == 10) {
        for(uint32_t digit; (digit = uint32_t(uint8_t(*s)) - '0') < 10; s++) value = Type(value * 10 + digit);
    } else {
        const uint32_t shift = (radix == 16) ? 4 : (radix == 8) ? 3 : 1;
        for(uint32_t digit; (digit = values.value[uint8_t(*s)]) < radix; s++) value = Type((value << shift) | digit);
    }
    if(consumed) *consumed = uint32_t(s - str);
    return value;
}

template<class Type> Type parse_signed(const char *str, uint32_t radix, uint32_t *consumed) {
    const char *s = skip_spaces(str);
    const bool negative = (*s == '-');
    uint32_t size = 0;
    Type value = 0;
    if(negative || *s == '+') {
        s++;
        // No space and no second sign may follow.
        if(values.value[uint8_t(*s)] < 16) value = parse_unsigned<Type>(s, radix, &size);
    } else {
        value = parse_unsigned<Type>(s, radix, &size);
    }
    if(consumed) *consumed = uint32_t(s - str) + size;
    return negative ? Type(0 - value) : value;
}

// Lower case letters of `name` at `s`, in either case.
bool is_word(const char *s, const char *name) {
    for(; *name; s++, name++) {
        if((*s | 32) != *name) return false;
    }
    return true;
}

// Layout of the float types, and the powers of ten beyond which all values are 0 or infinite. A product can be halfway
// between two floats only for powers whose five fits into the mantissa's spare bits.
template<class Type> struct FloatTraits;
template<> struct FloatTraits<float32_t> {
    using Bits = uint32_t;
    static constexpr int32_t mantissa_bits = 23, min_exponent = -127, max_exponent = 255;
    static constexpr int64_t min_power = -65, max_power = 38, min_half = -17, max_half = 10, max_exact = 10;
};
template<> struct FloatTraits<float64_t> {
    using Bits = uint64_t;
    static constexpr int32_t mantissa_bits = 52, min_exponent = -1023, max_exponent = 2047;
    static constexpr int64_t min_power = -342, max_power = 308, min_half = -4, max_half = 23, max_exact = 22;
};

struct Power {
    uint64_t high, low;
};
constexpr Power powers_of_five[] = {
#define POWER(HIGH, LOW) {HIGH, LOW},
#include "KolmStringPowers.inc"
};
static_assert(sizeof(powers_of_five) == sizeof(Power) * 651);

// The float nearest to mantissa * 10^power, by the method of Eisel and Lemire: the mantissa times the first bits of the
// power of five is enough to round, but for a few values where false is returned.
template<class Type> bool round_product(uint64_t mantissa, int64_t power, Type &value) {
    using Traits = FloatTraits<Type>;
    using Bits = typename Traits::Bits;
    const auto set_bits = [&value](uint64_t bits) {
        const Bits temp = Bits(bits);
        memcpy(&value, &temp, sizeof(Type));
        return true;
    };
    constexpr uint64_t infinity = uint64_t(Traits::max_exponent) << Traits::mantissa_bits;
    if(power < Traits::min_power) return set_bits(0);
    if(power > Traits::max_power) return set_bits(infinity);

    const int32_t zeros = __builtin_clzll(mantissa);
    const uint64_t w = mantissa << zeros;
    const Power &five = powers_of_five[power + 342];
    __extension__ using Wide = unsigned __int128;
    Wide product = Wide(w) * five.high;
    // The low word of the power matters only if the bits behind the rounded ones are all set.
    constexpr uint64_t mask = ~0ull >> (Traits::mantissa_bits + 3);
    if((uint64_t(product >> 64) & mask) == mask) product += Wide(w) * five.low >> 64;
    const uint64_t high = uint64_t(product >> 64);
    const uint64_t low = uint64_t(product);
    if(low == ~0ull && (power < -27 || power > 55)) return false;

    const int32_t upper = int32_t(high >> 63);
    const int32_t shift = upper + 64 - Traits::mantissa_bits - 3;
    uint64_t bits = high >> shift;
    // 217706 / 65536 is log2(10), close enough to be floored right over all powers.
    int32_t exponent = int32_t((217706 * power) >> 16) + 63 + upper - zeros - Traits::min_exponent;
    if(exponent <= 0) {
        if(1 - exponent >= 64) return set_bits(0);
        bits >>= 1 - exponent;
        bits += bits & 1;
        return set_bits(bits >> 1); // a carry into the exponent's place makes the smallest normal value
    }
    // Halfway between two floats: to the even one.
    if(low <= 1 && power >= Traits::min_half && power <= Traits::max_half && (bits & 3) == 1 && bits << shift == high) {
        bits &= ~1ull;
    }
    bits += bits & 1;
    bits >>= 1;
    if(bits >> (Traits::mantissa_bits + 1)) {
        bits >>= 1;
        exponent++;
    }
    if(exponent >= Traits::max_exponent) return set_bits(infinity);
    bits &= (1ull << Traits::mantissa_bits) - 1;
    return set_bits(uint64_t(exponent) << Traits::mantissa_bits | bits);
}

// Value of a number whose first 19 digits are `mantissa`. With `cut`, more follow in the text.
template<class Type> Type get_float(uint64_t mantissa, int64_t power, bool cut, const char *begin, const char *end) {
    using Traits = FloatTraits<Type>;
    // A product or quotient of two exact values is rounded once.
    if(!cut && mantissa >> (Traits::mantissa_bits + 1) == 0 && power >= -Traits::max_exact &&
       power <= Traits::max_exact) {
        const Type value = Type(mantissa);
        return (power < 0) ? value / Type(exact_powers[-power]) : value * Type(exact_powers[power]);
    }
    Type value = 0;
    if(round_product(mantissa, power, value)) {
        Type next = 0;
        if(!cut || (round_product(mantissa + 1, power, next) && value == next)) return value;
    }
    // All digits are needed. The limits are clear of each other: what is out of range is far out.
    const auto ret = std::from_chars(begin, end, value);
    if(ret.ec == std::errc::result_out_of_range) return (power > 0) ? Type(INFINITY) : Type(0);
    return value;
}

inline bool is_digit(char c) { return uint32_t(uint8_t(c)) - '0' < 10; }

// Adds the digits at `s` up and returns their end. Two at a time, as each step waits for the one before.
inline const char *read_digits(const char *s, uint64_t &mantissa) {
    for(;;) {
        const uint32_t high = uint32_t(uint8_t(s[0])) - '0';
        if(high >= 10) return s;
        const uint32_t low = uint32_t(uint8_t(s[1])) - '0';
        if(low >= 10) {
            mantissa = mantissa * 10 + high;
            return s + 1;
        }
        mantissa = mantissa * 100 + (high * 10 + low);
        s += 2;
    }
}

// The first 19 significant digits of a number that has more; `power` gains the number of those that are left out.
uint64_t read_long_mantissa(const char *s, const char *end, int64_t &power) {
    while(*s == '0' || *s == '.') s++;
    uint64_t mantissa = 0;
    uint32_t num = 0;
    for(; s < end; s++) {
        if(*s == '.') continue;
        if(num++ < 19) {
            mantissa = mantissa * 10 + uint64_t(*s - '0');
        } else {
            power++;
        }
    }
    return mantissa;
}

template<class Type> Type parse_float(const char *str, uint32_t *consumed) {
    const char *s = skip_spaces(str);
    const bool negative = (*s == '-');
    if(negative || *s == '+') s++;

    // All digits are added up first; that there were more than fit is known by their number.
    const char *begin = s;
    uint64_t mantissa = 0;
    s = read_digits(s, mantissa);
    size_t num_digits = size_t(s - begin);
    int64_t power = 0;
    if(*s == '.') {
        const char *fraction = ++s;
        s = read_digits(s, mantissa);
        power = fraction - s;
        num_digits += size_t(s - fraction);
    }
    if(num_digits == 0) {
        Type value = 0;
        s = begin;
        if(is_word(s, "inf")) {
            s += is_word(s, "infinity") ? 8 : 3;
            value = Type(INFINITY);
        } else if(is_word(s, "nan")) {
            s += 3;
            value = Type(NAN);
        }
        if(consumed) *consumed = uint32_t(s - str);
        return negative ? -value : value;
    }
    bool cut = false;
    if(KOLM_UNLIKELY(num_digits > 19)) {
        const int64_t old_power = power;
        mantissa = read_long_mantissa(begin, s, power);
        cut = (power != old_power);
    }
    if((*s | 32) == 'e') {
        const char *e = s + 1;
        const bool minus = (*e == '-');
        if(minus || *e == '+') e++;
        if(is_digit(*e)) {
            int64_t exponent = 0;
            for(; is_digit(*e); e++) {
                if(exponent < 1000000000) exponent = exponent * 10 + (*e - '0');
            }
            power += minus ? -exponent : exponent;
            s = e;
        }
    }
    if(consumed) *consumed = uint32_t(s - str);

    const Type value = mantissa ? get_float<Type>(mantissa, power, cut, begin, s) : Type(0);
    return negative ? -value : value;
}

} // namespace

// -- Numbers to text --

String &String::fromi32(String &dest, int32_t value, uint32_t radix) {
    KOLM_ASSERT(radix > 0 && radix <= 16 && "String::fromi32(): invalid radix");
    if(radix == 10) return append_decimal(dest, (value < 0) ? 0 - uint64_t(value) : uint64_t(value), value < 0);
    return append_radix(dest, uint32_t((value < 0) ? ~value : value), radix, value < 0);
}

String &String::fromi64(String &dest, int64_t value, uint32_t radix) {
    KOLM_ASSERT(radix > 0 && radix <= 16 && "String::fromi64(): invalid radix");
    if(radix == 10) return append_decimal(dest, (value < 0) ? 0 - uint64_t(value) : uint64_t(value), value < 0);
    return append_radix(dest, uint64_t((value < 0) ? ~value : value), radix, value < 0);
}

String &String::fromu32(String &dest, uint32_t value, uint32_t radix) {
    if(KOLM_LIKELY(radix == 10 && (dest.capacity & CapacityMask) - dest.length >= decimal_room)) {
        dest.length = uint32_t(write_decimal(dest.data + dest.length, value) - dest.data);
        dest.data[dest.length] = '\0';
        return dest;
    }
    KOLM_ASSERT(radix > 0 && radix <= 16 && "String::fromu32(): invalid radix");
    return (radix == 10) ? append_decimal(dest, value, false) : append_radix(dest, value, radix, false);
}

String &String::fromu64(String &dest, uint64_t value, uint32_t radix) {
    if(KOLM_LIKELY(radix == 10 && (dest.capacity & CapacityMask) - dest.length >= decimal_room)) {
        dest.length = uint32_t(write_decimal(dest.data + dest.length, value) - dest.data);
        dest.data[dest.length] = '\0';
        return dest;
    }
    KOLM_ASSERT(radix > 0 && radix <= 16 && "String::fromu64(): invalid radix");
    return (radix == 10) ? append_decimal(dest, value, false) : append_radix(dest, value, radix, false);
}

String &String::fromf32(String &dest, float32_t value, uint32_t num, bool compact, bool exponent) {
    KOLM_ASSERT(num < (sizeof(multipliers) / sizeof(multipliers[0])) && "String::fromf32(): invalid digits");
    return append_float(dest, value, FLT_MAX, num, compact, exponent);
}

String &String::fromf64(String &dest, float64_t value, uint32_t num, bool compact, bool exponent) {
    KOLM_ASSERT(num < (sizeof(multipliers) / sizeof(multipliers[0])) && "String::fromf64(): invalid digits");
    return append_float(dest, value, DBL_MAX, num, compact, exponent);
}

String &String::fromf32e(String &dest, float32_t value, uint32_t digits) {
    return fromf32(dest, value, digits, true, true);
}

String &String::fromf64e(String &dest, float64_t value, uint32_t digits) {
    return fromf64(dest, value, digits, true, true);
}

String &String::fromf32s(String &dest, float32_t value) {
    char text[64];
    const char *end = std::to_chars(text, text + sizeof(text), value).ptr;
    return dest.append(text, uint32_t(end - text));
}

String &String::fromf64s(String &dest, float64_t value) {
    char text[64];
    const char *end = std::to_chars(text, text + sizeof(text), value).ptr;
    return dest.append(text, uint32_t(end - text));
}

// The forms that return a new string.
#define FROM_RADIX(NAME, TYPE)                          \
    String String::NAME(TYPE value, uint32_t radix) {   \
        StringStack<64> ret;                            \
        NAME(static_cast<String &>(ret), value, radix); \
        return ret;                                     \
    }
FROM_RADIX(fromi32, int32_t)
FROM_RADIX(fromi64, int64_t)
FROM_RADIX(fromu32, uint32_t)
FROM_RADIX(fromu64, uint64_t)
#undef FROM_RADIX

String String::fromf32(float32_t value, uint32_t digits, bool compact, bool exponent) {
    StringStack<64> ret;
    fromf32(ret, value, digits, compact, exponent);
    return ret;
}

String String::fromf64(float64_t value, uint32_t digits, bool compact, bool exponent) {
    StringStack<64> ret;
    fromf64(ret, value, digits, compact, exponent);
    return ret;
}

String String::fromf32e(float32_t value, uint32_t digits) { return fromf32(value, digits, true, true); }

String String::fromf64e(float64_t value, uint32_t digits) { return fromf64(value, digits, true, true); }

// -- Text to numbers --

// Digits are whole bits, or decimal.
static bool is_radix(uint32_t radix) { return radix == 2 || radix == 8 || radix == 10 || radix == 16; }

int32_t String::toi32(const char *str, uint32_t radix, uint32_t *consumed) {
    KOLM_ASSERT(is_radix(radix) && "String::toi32(): unknown radix");
    return int32_t(parse_signed<uint32_t>(str ? str : null_data, radix, consumed));
}

int64_t String::toi64(const char *str, uint32_t radix, uint32_t *consumed) {
    KOLM_ASSERT(is_radix(radix) && "String::toi64(): unknown radix");
    return int64_t(parse_signed<uint64_t>(str ? str : null_data, radix, consumed));
}

uint32_t String::tou32(const char *str, uint32_t radix, uint32_t *consumed) {
    KOLM_ASSERT(is_radix(radix) && "String::tou32(): unknown radix");
    return parse_unsigned<uint32_t>(str ? str : null_data, radix, consumed);
}

uint64_t String::tou64(const char *str, uint32_t radix, uint32_t *consumed) {
    KOLM_ASSERT(is_radix(radix) && "String::tou64(): unknown radix");
    return parse_unsigned<uint64_t>(str ? str : null_data, radix, consumed);
}

int32_t String::toi32(uint32_t radix, uint32_t pos, uint32_t *consumed) const {
    KOLM_ASSERT(pos <= length && "String::toi32(): invalid position");
    return toi32(data + pos, radix, consumed);
}

int64_t String::toi64(uint32_t radix, uint32_t pos, uint32_t *consumed) const {
    KOLM_ASSERT(pos <= length && "String::toi64(): invalid position");
    return toi64(data + pos, radix, consumed);
}

uint32_t String::tou32(uint32_t radix, uint32_t pos, uint32_t *consumed) const {
    KOLM_ASSERT(pos <= length && "String::tou32(): invalid position");
    return tou32(data + pos, radix, consumed);
}

uint64_t String::tou64(uint32_t radix, uint32_t pos, uint32_t *consumed) const {
    KOLM_ASSERT(pos <= length && "String::tou64(): invalid position");
    return tou64(data + pos, radix, consumed);
}

float32_t String::tof32(const char *str, uint32_t *consumed) {
    return parse_float<float32_t>(str ? str : null_data, consumed);
}

float64_t String::tof64(const char *str, uint32_t *consumed) {
    return parse_float<float64_t>(str ? str : null_data, consumed);
}

float32_t String::tof32(uint32_t pos, uint32_t *consumed) const {
    KOLM_ASSERT(pos <= length && "String::tof32(): invalid position");
    return parse_float<float32_t>(data + pos, consumed);
}

float64_t String::tof64(uint32_t pos, uint32_t *consumed) const {
    KOLM_ASSERT(pos <= length && "String::tof64(): invalid position");
    return parse_float<float64_t>(data + pos, consumed);
}

// -- Hash and colour --

uint32_t String::toHashu32(uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::toHashu32(): invalid position");
    uint32_t hash = 131 + length - pos;
    for(uint32_t i = pos; i < length; i++) hash = hash * 131 + uint8_t(data[i]);
    return hash;
}

uint64_t String::toHashu64(uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::toHashu64(): invalid position");
    uint64_t hash = 131 + uint64_t(length) - pos;
    for(uint32_t i = pos; i < length; i++) hash = hash * 131 + uint8_t(data[i]);
    return hash;
}

uint32_t String::toRGBAu8(uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::toRGBAu8(): invalid position");
    if(pos == length || data[pos] != '#') return 0xFF00FFFF;
    const uint32_t value = parse_unsigned<uint32_t>(data + pos + 1, 16, nullptr);
    uint32_t r = (value >> 16) & 255, g = (value >> 8) & 255, b = value & 255, a = 255;
    // The length counts the `#`. Kept: seven digits are the form with alpha, and eight are not.
    switch(length - pos) {
    case 8: r = value >> 24, g = (value >> 16) & 255, b = (value >> 8) & 255, a = value & 255; break;
    case 4: r = ((value >> 8) & 15) * 17, g = ((value >> 4) & 15) * 17, b = (value & 15) * 17; break;
    }
    return r | g << 8 | b << 16 | a << 24;
}

} // namespace Kolm
