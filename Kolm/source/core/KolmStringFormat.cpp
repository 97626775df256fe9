// The printf and scanf engines. They rest on the number functions and on nothing of the C library's formatting.

#include <float.h>

#include <charconv>

#include "KolmString.h"

namespace Kolm {

namespace {

// One conversion specification: %[flags][width][.precision][length]conversion.
struct Specification {
    bool left = false;        // '-'
    bool zero = false;        // '0'
    bool plus = false;        // '+'
    bool space = false;       // ' '
    bool alternate = false;   // '#'
    bool suppress = false;    // '*' when scanning
    bool plain = true;        // nothing but the length modifier
    uint32_t width = 0;       // 0 if not given
    uint32_t precision = ~0u; // ~0u if not given
    uint8_t length = 4;       // bytes of the integer argument; 16 marks a long double
    char conversion = '\0';

    bool has_precision() const { return precision != ~0u; }
};

constexpr uint32_t max_width = 0xFFFFFF;

uint32_t read_number(const char *&s) {
    uint32_t value = 0;
    for(; *s >= '0' && *s <= '9'; s++) value = min(value * 10 + uint32_t(*s - '0'), max_width);
    return value;
}

const char *read_length(const char *s, Specification &spec) {
    for(;; s++) {
        switch(*s) {
        case 'l':
        case 'z':
        case 'j':
        case 't':
        case 'q': spec.length = 8; break;
        case 'h': spec.length = uint8_t(spec.length == 2 ? 1 : 2); break;
        case 'L': spec.length = 16; break;
        default: return s;
        }
    }
}

// Arguments travel in a record, since a va_list that was passed on can't be passed back on all processors.
struct Arguments {
    va_list list;
};

const char *read_specification(const char *s, Specification &spec, Arguments &args) {
    const char *begin = s;
    for(;; s++) {
        if(*s == '-') {
            spec.left = true;
        } else if(*s == '0') {
            spec.zero = true;
        } else if(*s == '+') {
            spec.plus = true;
        } else if(*s == ' ') {
            spec.space = true;
        } else if(*s == '#') {
            spec.alternate = true;
        } else {
            break;
        }
    }
    if(*s == '*') {
        const int32_t width = va_arg(args.list, int32_t);
        spec.left |= (width < 0);
        spec.width = min((width < 0) ? 0 - uint32_t(width) : uint32_t(width), max_width);
        s++;
    } else {
        spec.width = read_number(s);
    }
    if(*s == '.') {
        s++;
        if(*s == '*') {
            const int32_t precision = va_arg(args.list, int32_t);
            spec.precision = (precision < 0) ? ~0u : uint32_t(precision);
            s++;
        } else {
            spec.precision = read_number(s);
        }
    }
    spec.plain = (s == begin);
    s = read_length(s, spec);
    spec.conversion = *s;
    return *s ? s + 1 : s;
}

uint64_t get_unsigned(const Specification &spec, Arguments &args) {
    switch(spec.length) {
    case 1: return uint8_t(va_arg(args.list, uint32_t));
    case 2: return uint16_t(va_arg(args.list, uint32_t));
    case 4: return va_arg(args.list, uint32_t);
    }
    return va_arg(args.list, uint64_t);
}

int64_t get_signed(const Specification &spec, Arguments &args) {
    switch(spec.length) {
    case 1: return int8_t(va_arg(args.list, int32_t));
    case 2: return int16_t(va_arg(args.list, int32_t));
    case 4: return va_arg(args.list, int32_t);
    }
    return va_arg(args.list, int64_t);
}

// Sign or prefix, zeros and text, brought to the width.
void append_field(String &dest, const Specification &spec, const char *prefix, uint32_t zeros, const char *text,
                  uint32_t size) {
    const uint64_t total = uint64_t(strlen(prefix)) + zeros + size;
    const uint32_t padding = (total < spec.width) ? spec.width - uint32_t(total) : 0;
    if(!spec.left) dest.append(' ', padding);
    dest.append(prefix).append('0', zeros).append(text, size);
    if(spec.left) dest.append(' ', padding);
}

void append_integer(String &dest, const Specification &spec, uint64_t value, bool negative, uint32_t radix) {
    StringStack<128> text;
    if(value || spec.precision != 0) String::fromu64(text, value, radix);
    char prefix[3] = {};
    if(spec.conversion == 'd' || spec.conversion == 'i') {
        prefix[0] = negative ? '-' : spec.plus ? '+' : spec.space ? ' ' : '\0';
    } else if(spec.alternate && value && (radix == 16 || radix == 2)) {
        prefix[0] = '0';
        prefix[1] = spec.conversion;
    }
    if(spec.conversion == 'X') text = text.upper();
    uint32_t zeros = 0;
    if(spec.has_precision()) {
        const uint32_t precision = min(spec.precision, max_width);
        zeros = (text.size() < precision) ? precision - text.size() : 0;
    } else if(spec.zero && !spec.left) {
        const uint32_t size = text.size() + uint32_t(strlen(prefix));
        zeros = (size < spec.width) ? spec.width - size : 0;
    }
    if(spec.alternate && radix == 8 && zeros == 0 && (text.empty() || text[0] != '0')) zeros = 1;
    append_field(dest, spec, prefix, zeros, text.get(), text.size());
}

// Digits of a finite value that is not negative, as the C library prints them.
void print_float(String &text, const Specification &spec, float64_t value, char conversion) {
    uint32_t precision = spec.has_precision() ? min(spec.precision, 65535u) : 6;
    std::chars_format format = (conversion == 'e') ? std::chars_format::scientific : std::chars_format::fixed;
    if(conversion == 'g') {
        if(precision == 0) precision = 1;
        if(!spec.alternate) {
            format = std::chars_format::general;
        } else {
            // The same choice by hand, since the trailing zeros stay.
            char digits[512];
            const uint32_t num = min(precision - 1, 400u);
            char *e = std::to_chars(digits, digits + 500, value, std::chars_format::scientific, int(num)).ptr;
            *e = '\0';
            while(e[-1] != 'e') e--;
            const int32_t power = String::toi32(e);
            if(power < -4 || power >= int32_t(precision)) {
                format = std::chars_format::scientific;
                precision -= 1;
            } else {
                precision = uint32_t(int32_t(precision) - 1 - power);
            }
        }
    }
    if(!text.resize(precision + 400)) return;
    const char *end = std::to_chars(text.get(), text.get() + text.size(), value, format, int(precision)).ptr;
    text.resize(uint32_t(end - text.get()));
    if(spec.alternate && !text.contains('.')) {
        const uint32_t pos = text.find('e');
        text.insert((pos == String::NotFound) ? text.size() : pos, '.');
    }
}

void append_float(String &dest, const Specification &spec, float64_t value) {
    char prefix[2] = {};
    const bool negative = __builtin_signbit(value);
    prefix[0] = negative ? '-' : spec.plus ? '+' : spec.space ? ' ' : '\0';
    if(negative) value = -value;
    StringStack<1024> text;
    uint32_t zeros = 0;
    if(value != value || value > DBL_MAX) {
        text = (value != value) ? "nan" : "inf";
    } else {
        print_float(text, spec, value, char(spec.conversion | 32));
        const uint32_t size = text.size() + uint32_t(strlen(prefix));
        if(spec.zero && !spec.left && size < spec.width) zeros = spec.width - size;
    }
    if(spec.conversion < 'a') text = text.upper();
    append_field(dest, spec, prefix, zeros, text.get(), text.size());
}

void append_string(String &dest, const Specification &spec, const char *str) {
    if(str == nullptr) str = "(null)";
    // With a precision the text need not be terminated.
    const size_t size = spec.has_precision() ? strnlen(str, spec.precision) : strlen(str);
    KOLM_ASSERT(size <= String::MaxCapacity && "String::vprintf(): invalid size");
    if(spec.plain) {
        dest.append(str, uint32_t(size));
    } else {
        append_field(dest, spec, "", 0, str, uint32_t(size));
    }
}

// Plain conversions go to the number functions directly, without a field.
void append_conversion(String &dest, const Specification &spec, Arguments &args, const char *text, uint32_t size) {
    switch(spec.conversion) {
    case 'd':
    case 'i': {
        const int64_t value = get_signed(spec, args);
        if(spec.plain) {
            String::fromi64(dest, value);
        } else {
            append_integer(dest, spec, (value < 0) ? 0 - uint64_t(value) : uint64_t(value), value < 0, 10);
        }
        break;
    }
    case 'u':
    case 'x':
    case 'X':
    case 'o':
    case 'b': {
        const uint64_t value = get_unsigned(spec, args);
        const uint32_t radix = (spec.conversion == 'u')   ? 10
                               : (spec.conversion == 'o') ? 8
                               : (spec.conversion == 'b') ? 2
                                                          : 16;
        if(spec.plain && spec.conversion != 'X') {
            String::fromu64(dest, value, radix);
        } else {
            append_integer(dest, spec, value, false, radix);
        }
        break;
    }
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G': {
        const float64_t value =
            (spec.length == 16) ? float64_t(va_arg(args.list, long double)) : va_arg(args.list, float64_t);
        if(spec.plain && spec.conversion == 'f') {
            String::fromf64(dest, value, 6, false);
        } else if(spec.plain && spec.conversion == 'g') {
            String::fromf64e(dest, value, 6);
        } else {
            append_float(dest, spec, value);
        }
        break;
    }
    case 'c': {
        const char c = char(va_arg(args.list, int32_t));
        if(spec.plain) {
            dest.append(c);
        } else {
            append_field(dest, spec, "", 0, &c, 1);
        }
        break;
    }
    case 's':
        if(spec.length == 8) {
            const wchar_t *str = va_arg(args.list, const wchar_t *);
            append_string(dest, spec, str ? String(str).get() : nullptr);
        } else {
            append_string(dest, spec, va_arg(args.list, const char *));
        }
        break;
    case 'p': {
        Specification field = spec;
        field.conversion = 'x';
        field.alternate = true;
        append_integer(dest, field, uint64_t(uintptr_t(va_arg(args.list, const void *))), false, 16);
        break;
    }
    case '%': dest.append('%'); break;
    default: dest.append(text, size); break; // no conversion: stands as it is
    }
}

} // namespace

// The text is built apart, since arguments may lie in `this`.
String &String::vprintf(const char *format, va_list args) {
    StringStack<1024> text;
    Arguments arguments;
    va_copy(arguments.list, args);
    for(const char *s = format; *s;) {
        const char *begin = s;
        while(*s && *s != '%') s++;
        text.append(begin, check_length(size_t(s - begin)));
        if(*s == '\0') break;
        begin = s;
        Specification spec;
        s = read_specification(s + 1, spec, arguments);
        append_conversion(text, spec, arguments, begin, uint32_t(s - begin));
    }
    va_end(arguments.list);
    return move(text);
}

String &String::printf(const char *format, ...) {
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
    return *this;
}

String String::vformat(const char *format, va_list args) {
    StringStack<64> ret;
    ret.vprintf(format, args);
    return ret;
}

String String::format(const char *format, ...) {
    StringStack<64> ret;
    va_list args;
    va_start(args, format);
    ret.vprintf(format, args);
    va_end(args);
    return ret;
}

// -- Scanning --

namespace {

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

const char *skip_spaces(const char *s) {
    while(is_space(*s)) s++;
    return s;
}

// A number is read from a copy of the field, so that it ends at the width.
struct Field {
    Field(const char *s, uint32_t width) {
        if(width == 0) {
            str = s;
        } else {
            copy.copy(s, uint32_t(strnlen(s, width)));
            str = copy.get();
        }
    }
    const char *str = nullptr;
    StringStack<64> copy;
};

bool is_digit(char c, uint32_t radix) {
    if(c >= '0' && c <= '9') return uint32_t(c - '0') < radix;
    const char l = char(c | 32);
    return l >= 'a' && l <= 'f' && radix == 16;
}

// Whether an integer stands at `s`, behind an optional sign.
bool is_integer(const char *s, uint32_t radix) {
    if(*s == '+' || *s == '-') s++;
    return is_digit(*s, radix);
}

bool is_float(const char *s, uint32_t size) {
    for(uint32_t i = 0; i < size; i++) {
        if(s[i] != '+' && s[i] != '-') return true;
    }
    return false;
}

void store_integer(const Specification &spec, uint64_t value, Arguments &args) {
    if(spec.suppress) return;
    switch(spec.length) {
    case 1: *va_arg(args.list, uint8_t *) = uint8_t(value); break;
    case 2: *va_arg(args.list, uint16_t *) = uint16_t(value); break;
    case 4: *va_arg(args.list, uint32_t *) = uint32_t(value); break;
    default: *va_arg(args.list, uint64_t *) = value; break;
    }
}

// Set of a "%[" conversion; `s` is behind the bracket and moves behind the closing one.
struct Set {
    bool bytes[256] = {};

    bool read(const char *&s) {
        const bool invert = (*s == '^');
        if(invert) s++;
        for(const char *begin = s; *s && (*s != ']' || s == begin); s++) {
            if(s[0] == '-' && s != begin && s[1] && s[1] != ']') {
                for(uint32_t c = uint8_t(s[-1]); c <= uint8_t(s[1]); c++) bytes[c] = true;
            } else {
                bytes[uint8_t(*s)] = true;
            }
        }
        if(*s == '\0') return false;
        s++;
        if(invert) {
            for(bool &b : bytes) b = !b;
        }
        bytes[0] = false;
        return true;
    }
};

// Text up to the end of the field, with the terminator unless single bytes were asked for.
uint32_t store_text(const Specification &spec, const char *s, uint32_t size, bool terminate, Arguments &args) {
    if(spec.suppress) return size;
    char *dest = va_arg(args.list, char *);
    memcpy(dest, s, size);
    if(terminate) dest[size] = '\0';
    return size;
}

} // namespace

uint32_t String::vscanf(const char *str, const char *format, va_list list) {
    Arguments args;
    va_copy(args.list, list);
    const char *s = str ? str : null_data;
    const char *begin = s;
    uint32_t ret = 0;
    for(const char *f = format; *f;) {
        if(is_space(*f)) {
            f = skip_spaces(f);
            s = skip_spaces(s);
            continue;
        }
        if(*f != '%') {
            if(*s != *f) break;
            s++;
            f++;
            continue;
        }
        Specification spec;
        f++;
        if(*f == '*') {
            spec.suppress = true;
            f++;
        }
        spec.width = read_number(f);
        f = read_length(f, spec);
        spec.conversion = *f;
        if(*f) f++;

        uint32_t size = 0;
        bool valid = true;
        switch(spec.conversion) {
        case 'd':
        case 'i':
        case 'u':
        case 'x':
        case 'X':
        case 'o':
        case 'b': {
            const char c = spec.conversion;
            const uint32_t radix = (c == 'x' || c == 'X') ? 16 : (c == 'o') ? 8 : (c == 'b') ? 2 : 10;
            s = skip_spaces(s);
            const Field field(s, spec.width);
            valid = is_integer(field.str, radix);
            if(valid) store_integer(spec, uint64_t(toi64(field.str, radix, &size)), args);
            break;
        }
        case 'f':
        case 'F':
        case 'e':
        case 'E':
        case 'g':
        case 'G': {
            s = skip_spaces(s);
            const Field field(s, spec.width);
            const float64_t value = tof64(field.str, &size);
            valid = is_float(field.str, size);
            if(!valid || spec.suppress) break;
            if(spec.length == 16) {
                *va_arg(args.list, long double *) = value;
            } else if(spec.length == 8) {
                *va_arg(args.list, float64_t *) = value;
            } else {
                *va_arg(args.list, float32_t *) = tof32(field.str);
            }
            break;
        }
        case 'c':
            size = max(spec.width, 1u);
            valid = (strnlen(s, size) == size);
            if(valid) store_text(spec, s, size, false, args);
            break;
        case 's':
            s = skip_spaces(s);
            while(s[size] && !is_space(s[size]) && (spec.width == 0 || size < spec.width)) size++;
            valid = (size != 0);
            if(valid) store_text(spec, s, size, true, args);
            break;
        case '[': {
            Set set;
            valid = set.read(f);
            while(valid && set.bytes[uint8_t(s[size])] && (spec.width == 0 || size < spec.width)) size++;
            valid = (size != 0);
            if(valid) store_text(spec, s, size, true, args);
            break;
        }
        case 'n': store_integer(spec, uint64_t(s - begin), args); continue;
        case '%':
            s = skip_spaces(s);
            valid = (*s == '%');
            spec.suppress = true; // nothing is stored, so nothing is counted
            size = 1;
            break;
        default: valid = false; break;
        }
        if(!valid) break;
        s += size;
        ret += !spec.suppress;
    }
    va_end(args.list);
    return ret;
}

uint32_t String::vscanf(const char *format, va_list args) const { return vscanf(data, format, args); }

uint32_t String::scanf(const char *format, ...) const {
    va_list args;
    va_start(args, format);
    const uint32_t ret = vscanf(data, format, args);
    va_end(args);
    return ret;
}

} // namespace Kolm
