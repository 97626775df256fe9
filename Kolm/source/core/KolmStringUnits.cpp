// Numbers with units, printed for people and read back.

#include <math.h>

#include "KolmString.h"

namespace Kolm {

namespace {

// Printing: the first row whose limit is above the value.
struct Unit {
    uint64_t limit;
    float64_t scale;
    const char *name;
};

constexpr Unit byte_units[] = {
    {1ull << 10, 1.0, " B"},           {1ull << 20, 1024.0, " KB"},     {1ull << 30, 1048576.0, " MB"},
    {1ull << 40, 1073741824.0, " GB"}, {~0ull, 1099511627776.0, " TB"},
};
constexpr Unit number_units[] = {
    {1000ull, 1.0, ""},  {1000000ull, 1e3, " K"}, {1000000000ull, 1e6, " M"}, {1000000000000ull, 1e9, " B"},
    {~0ull, 1e12, " T"},
};
constexpr Unit frequency_units[] = {
    {1000ull, 1.0, " Hz"},           {1000000ull, 1e3, " KHz"}, {1000000000ull, 1e6, " MHz"},
    {1000000000000ull, 1e9, " GHz"}, {~0ull, 1e12, " THz"},
};
constexpr Unit time_units[] = {
    {1000ull, 1.0, " us"},
    {1000000ull, 1e3, " ms"},
    {60000000ull, 1e6, " s"},
    {~0ull, 60e6, " m"},
};

template<uint32_t Size> String print_unit(uint64_t value, uint32_t digits, const Unit (&units)[Size]) {
    const Unit *unit = units;
    while(unit < units + Size - 1 && value >= unit->limit) unit++;
    StringStack<64> ret;
    if(unit == units) {
        String::fromu64(ret, value);
    } else {
        String::fromf64(ret, float64_t(value) / unit->scale, digits);
    }
    ret.append(unit->name);
    return ret;
}

String print_whole(uint64_t value, const char *name) {
    StringStack<64> ret;
    String::fromu64(ret, value);
    ret.append(name);
    if(value > 1) ret.append('s');
    return ret;
}

inline bool is_digit(char c) { return c >= '0' && c <= '9'; }
inline bool is_letter(char c) { return (c | 32) >= 'a' && (c | 32) <= 'z'; }

uint64_t read_digits(const char *str, uint32_t size) {
    uint64_t value = 0;
    for(uint32_t i = 0; i < size; i++) value = value * 10 + uint64_t(str[i] - '0');
    return value;
}

// Reading: a number, then blanks, a letter of `letters` that selects the scale, and `suffix`, which may be missing and
// may stand without a letter. A number without any unit ends behind its digits. The result is limited to 64 bits.
uint64_t read_unit(const char *str, const char *letters, const uint64_t *scales, const char *suffix,
                   uint32_t *consumed) {
    if(str == nullptr) str = "";
    uint32_t size = 0;
    const float64_t value = String::tof64(str, &size);
    if(consumed) *consumed = size;
    if(size == 0 || !(is_digit(str[size - 1]) || str[size - 1] == '.')) return 0;

    const char *s = str + size;
    while(*s == ' ' || *s == '\t') s++;
    const char *letter = is_letter(*s) ? strchr(letters, *s | 32) : nullptr;
    uint64_t scale = 1;
    if(letter) scale = scales[letter - letters], s++;
    uint32_t i = 0;
    while(suffix[i] && (s[i] | 32) == suffix[i]) i++;
    if(suffix[i] == '\0') s += i;
    if(letter || (i && suffix[i] == '\0')) {
        if(is_letter(*s)) {
            if(consumed) *consumed = 0;
            return 0;
        }
        if(consumed) *consumed = uint32_t(s - str);
    }

    const float64_t product = value * float64_t(scale);
    if(!(product > 0.0)) return 0;
    // Plain digits are exact over the whole range.
    uint32_t begin = size;
    while(begin && is_digit(str[begin - 1])) begin--;
    if(size - begin <= 19 && (begin == 0 || str[begin - 1] == ' ' || str[begin - 1] == '+')) {
        uint64_t ret = 0;
        return __builtin_mul_overflow(read_digits(str + begin, size - begin), scale, &ret) ? ~0ull : ret;
    }
    return (product >= 18446744073709551616.0) ? ~0ull : uint64_t(product);
}

constexpr uint64_t byte_scales[] = {1ull << 10, 1ull << 20, 1ull << 30, 1ull << 40};
constexpr uint64_t decimal_scales[] = {1000ull, 1000000ull, 1000000000ull, 1000000000000ull};

} // namespace

String String::fromTime(uint64_t value, uint32_t digits) {
    constexpr uint64_t day = 86400000000ull;
    constexpr uint64_t year = 365 * day;
    if(value >= year) return print_whole(value / year, " year");
    if(value >= day) return print_whole(value / day, " day");
    return print_unit(value, digits, time_units);
}

String String::fromBytes(uint64_t value, uint32_t digits) { return print_unit(value, digits, byte_units); }

String String::fromNumber(uint64_t value, uint32_t digits) { return print_unit(value, digits, number_units); }

String String::fromFrequency(uint64_t value, uint32_t digits) { return print_unit(value, digits, frequency_units); }

String String::fromLength(float64_t value, uint32_t digits) {
    static constexpr struct {
        float64_t limit, scale;
        const char *name;
    } units[] = {{1e-2, 1e3, " mm"}, {1.0, 1e2, " cm"}, {1e3, 1.0, " m"}, {INFINITY, 1e-3, " km"}};
    const float64_t size = fabs(value);
    const auto *unit = units;
    while(unit < units + array_size(units) - 1 && size >= unit->limit) unit++;
    StringStack<64> ret;
    fromf64(ret, value * unit->scale, digits);
    ret.append(unit->name);
    return ret;
}

String String::fromAngle(float64_t value, uint32_t digits) {
    KOLM_ASSERT(digits < 17 && "String::fromAngle(): invalid digits");
    StringStack<64> ret;
    if(!(fabs(value) < 1e9)) {
        fromf64(ret, value, digits);
        ret.append("°");
        return ret;
    }
    if(value < 0.0) ret.append('-');
    value = fabs(value);
    // Rounded in the last place first, so that no part shows 60.
    const float64_t one = pow(10.0, float64_t(min(digits, 6u)));
    const float64_t parts = floor(value * 3600.0 * one + 0.5) / one;
    const float64_t minutes = floor(parts / 60.0);
    fromu64(ret, uint64_t(minutes) / 60);
    ret.append("°");
    fromu64(ret, uint64_t(minutes) % 60);
    ret.append('\'');
    fromf64(ret, parts - minutes * 60.0, min(digits, 6u));
    ret.append('"');
    return ret;
}

uint64_t String::toBytes(const char *str, uint32_t *consumed) {
    return read_unit(str, "kmgt", byte_scales, "b", consumed);
}

uint64_t String::toNumber(const char *str, uint32_t *consumed) {
    return read_unit(str, "kmbt", decimal_scales, "", consumed);
}

uint64_t String::toFrequency(const char *str, uint32_t *consumed) {
    return read_unit(str, "kmgt", decimal_scales, "hz", consumed);
}

float64_t String::toLength(const char *str, uint32_t *consumed) {
    if(str == nullptr) str = null_data;
    uint32_t size = 0;
    const float64_t value = tof64(str, &size);
    const char *s = str + size;
    while(*s == ' ' || *s == '\t') s++;

    float64_t scale = 1.0;
    bool valid = false;
    if((s[0] | 32) == 'm' && (s[1] | 32) != 'm') {
        s += 1;
        valid = true;
    } else if(is_letter(s[0]) && strchr("mck", s[0] | 32)) {
        scale = ((s[0] | 32) == 'm') ? 1e-3 : ((s[0] | 32) == 'c') ? 1e-2 : 1e3;
        valid = ((s[1] | 32) == 'm');
        s += valid ? 2 : 1;
    } else {
        if(consumed) *consumed = size;
        return value;
    }
    if(!valid || is_letter(*s)) {
        if(consumed) *consumed = 0;
        return 0.0;
    }
    if(consumed) *consumed = uint32_t(s - str);
    return value * scale;
}

uint64_t String::toBytes(uint32_t pos, uint32_t *consumed) const {
    KOLM_ASSERT(pos <= length && "String::toBytes(): invalid position");
    return toBytes(data + pos, consumed);
}

uint64_t String::toNumber(uint32_t pos, uint32_t *consumed) const {
    KOLM_ASSERT(pos <= length && "String::toNumber(): invalid position");
    return toNumber(data + pos, consumed);
}

uint64_t String::toFrequency(uint32_t pos, uint32_t *consumed) const {
    KOLM_ASSERT(pos <= length && "String::toFrequency(): invalid position");
    return toFrequency(data + pos, consumed);
}

float64_t String::toLength(uint32_t pos, uint32_t *consumed) const {
    KOLM_ASSERT(pos <= length && "String::toLength(): invalid position");
    return toLength(data + pos, consumed);
}

} // namespace Kolm
