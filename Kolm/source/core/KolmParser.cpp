// Scanning of texts.

#include "KolmParser.h"

namespace Kolm {

namespace {

// What a byte is, as bits.
enum : uint8_t { Space = 1, End = 2, Digit = 4, Hex = 8, Letter = 16 };

struct Classes {
    uint8_t bits[256] = {};
    constexpr Classes() {
        for(const char c : {' ', '\t', '\n', '\r'}) bits[uint8_t(c)] = Space | End;
        bits[0] = End;
        for(int c = '0'; c <= '9'; c++) bits[c] = Digit | Hex;
        for(int c = 'a'; c <= 'z'; c++) bits[c] = uint8_t(Letter | (c <= 'f' ? Hex : 0));
        for(int c = 'A'; c <= 'Z'; c++) bits[c] = uint8_t(Letter | (c <= 'F' ? Hex : 0));
        bits[uint8_t('_')] = Letter;
    }
};
constexpr Classes classes;

inline bool is(char c, uint32_t mask) { return (classes.bits[uint8_t(c)] & mask) != 0; }

inline const char *spaces(const char *s) {
    while(is(*s, Space)) s++;
    return s;
}

inline const char *digits(const char *s, uint32_t mask = Digit) {
    while(is(*s, mask)) s++;
    return s;
}

// Position behind a sign and the white space that may follow it.
inline const char *skip_sign(const char *s) {
    if(*s == '+' || *s == '-') s = spaces(s + 1);
    return s;
}

inline bool is_number(const char *s) { return is(*s, Digit) || (*s == '.' && is(s[1], Digit)); }
inline bool is_hex_prefix(const char *s) { return s[0] == '0' && (s[1] | 32) == 'x'; }

inline uint32_t count_lines(const char *s, const char *end) {
    uint32_t lines = 0;
    for(; s < end; s++) lines += (*s == '\n');
    return lines;
}

// The scanners below return the position behind what they read, or null.

const char *scan_comment(const char *s) {
    if(s[0] != '/') return s;
    if(s[1] == '/') {
        s += 2;
        while(*s && *s != '\n') s++;
        return *s ? s + 1 : s;
    }
    if(s[1] == '*') {
        s += 2;
        while(*s && (s[0] != '*' || s[1] != '/')) s++;
        return *s ? s + 2 : s;
    }
    return s;
}

const char *scan_token(const char *s, const char *delimiters) {
    if(delimiters == nullptr || *delimiters == '\0') {
        while(!is(*s, End)) s++;
        return s;
    }
    if(*s && strchr(delimiters, *s)) return s + 1;
    while(!is(*s, End) && strchr(delimiters, *s) == nullptr) s++;
    return s;
}

const char *scan_name(const char *s) { return is(*s, Letter) ? digits(s, Letter | Digit) : nullptr; }

const char *scan_float(const char *s) {
    if(!is_number(s)) return nullptr;
    s = digits(s);
    if(*s == '.') s = digits(s + 1);
    if((*s | 32) == 'e') {
        const char *e = s + 1;
        if(*e == '+' || *e == '-') e++;
        if(is(*e, Digit)) s = digits(e);
    }
    return s;
}

const char *scan_decimal(const char *s) { return is(*s, Digit) ? digits(s) : nullptr; }

const char *scan_hexadecimal(const char *s) {
    if(is_hex_prefix(s) && is(s[2], Hex)) s += 2;
    return is(*s, Hex) ? digits(s, Hex) : nullptr;
}

const char *scan_number(const char *s) {
    return is_hex_prefix(s) && is(s[2], Hex) ? scan_hexadecimal(s) : scan_float(s);
}

// Kept: a quote behind a backslash never ends the literal, also if that backslash is itself escaped.
const char *scan_literal(const char *s, char quote) {
    if(*s != quote) return nullptr;
    for(s++; *s && *s != '\n'; s++) {
        if(*s == quote && s[-1] != '\\') return s + 1;
    }
    return nullptr;
}

using Scan = const char *(*)(const char *);

// Number with its sign; `dest` gets the sign and the digits without the blank between them.
uint32_t scan_signed(const char *src, Scan scan, String *dest, bool clear) {
    const char *s = spaces(src);
    const char *number = skip_sign(s);
    const char *end = scan(number);
    if(end == nullptr) return 0;
    if(dest) {
        if(clear) dest->clear();
        if(number != s) dest->append(*s);
        dest->append(number, uint32_t(end - number));
    }
    return uint32_t(end - src);
}

} // namespace

void Parser::error(const char *format, ...) {
    va_list args;
    va_start(args, format);
    String text = String::vformat(format, args);
    va_end(args);
    throw text;
}

// Throws with the rest of the line at `src`, which has no limit of its own and is cut.
void Parser::line_error(const char *format, const char *src) {
    StringStack<256> line;
    readLine(spaces(src), line);
    if(line.size() > 255) line.resize(255);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    error(format, line.get());
#pragma GCC diagnostic pop
}

// -- What comes next --

bool Parser::isComment(const char *src) {
    const char *s = spaces(src);
    return s[0] == '/' && (s[1] == '/' || s[1] == '*');
}

bool Parser::isNumber(const char *src) { return is_number(skip_sign(spaces(src))); }

bool Parser::isFloat(const char *src) {
    const char *s = skip_sign(spaces(src));
    if(!is_number(s)) return false;
    s = digits(s);
    return *s == '.' || (*s | 32) == 'e';
}

bool Parser::isSigned(const char *src) {
    const char *s = spaces(src);
    return (*s == '+' || *s == '-') && is(*skip_sign(s), Digit) && !isFloat(s);
}

bool Parser::isUnsigned(const char *src) {
    const char *s = spaces(src);
    return is(*s, Digit) && !isFloat(s);
}

// Length of the byte order mark, and the bytes of one unit behind it.
static uint32_t get_bom(const char *src, size_t size, uint32_t &unit, bool &big) {
    const auto *s = reinterpret_cast<const uint8_t *>(src);
    unit = 1;
    big = false;
    if(size >= 3 && s[0] == 0xEF && s[1] == 0xBB && s[2] == 0xBF) return 3;
    if(size >= 2 && s[0] == 0xFE && s[1] == 0xFF) {
        unit = 2;
        big = true;
        return 2;
    }
    if(size >= 2 && s[0] == 0xFF && s[1] == 0xFE) {
        // Only a text of known size may be looked at behind the zero that would end it as UTF-16.
        unit = (size != SIZE_MAX && size >= 4 && s[2] == 0 && s[3] == 0) ? 4 : 2;
        return unit;
    }
    return 0;
}

bool Parser::isBom(const char *src) {
    uint32_t unit = 0;
    bool big = false;
    return get_bom(spaces(src), SIZE_MAX, unit, big) != 0;
}

char Parser::getSymbol(const char *src) { return *spaces(src); }

// -- Spaces and symbols --

uint32_t Parser::skipSpaces(const char *src) { return uint32_t(spaces(src) - src); }

uint32_t Parser::skipSpaces(const char *src, uint32_t &lines) {
    const char *s = src;
    for(; is(*s, Space); s++) lines += (*s == '\n');
    return uint32_t(s - src);
}

uint32_t Parser::skipComment(const char *src) { return uint32_t(scan_comment(spaces(src)) - src); }

uint32_t Parser::skipComment(const char *src, uint32_t &lines) {
    const uint32_t size = skipComment(src);
    lines += count_lines(src, src + size);
    return size;
}

uint32_t Parser::expectSymbol(const char *src, char symbol) {
    const char *s = src;
    if(symbol == '\n') {
        while(*s == '\t' || *s == '\r' || *s == ' ') s++;
    } else {
        s = spaces(s);
    }
    if(*s != symbol || symbol == '\0') error("expecting '%c'\n", symbol);
    return uint32_t(s + 1 - src);
}

uint32_t Parser::expectSymbol(const char *src, char symbol, uint32_t &lines) {
    const uint32_t size = expectSymbol(src, symbol);
    lines += count_lines(src, src + size);
    return size;
}

// -- Words --

uint32_t Parser::skipToken(const char *src) { return skipToken(src, nullptr); }

uint32_t Parser::skipToken(const char *src, const char *delimiters) {
    return uint32_t(scan_token(spaces(src), delimiters) - src);
}

uint32_t Parser::readToken(const char *src, String &dest, bool clear) { return readToken(src, dest, nullptr, clear); }

uint32_t Parser::readToken(const char *src, String &dest, const char *delimiters, bool clear) {
    const char *s = spaces(src);
    const char *end = scan_token(s, delimiters);
    if(clear) dest.clear();
    dest.append(s, uint32_t(end - s));
    return uint32_t(end - src);
}

uint32_t Parser::expectToken(const char *src, const char *token) { return expectToken(src, token, nullptr); }

uint32_t Parser::expectToken(const char *src, const char *token, const char *delimiters) {
    KOLM_ASSERT(token && "Parser::expectToken(): invalid token");
    const char *s = spaces(src);
    const char *end = scan_token(s, delimiters);
    const size_t size = strlen(token);
    if(size_t(end - s) != size || memcmp(s, token, size) != 0) error("expecting \"%s\"\n", token);
    return uint32_t(end - src);
}

uint32_t Parser::skipName(const char *src) {
    const char *end = scan_name(spaces(src));
    if(end == nullptr) line_error("can't skip name\n%s\n", src);
    return uint32_t(end - src);
}

uint32_t Parser::readName(const char *src, String &dest, bool clear) {
    const char *s = spaces(src);
    const char *end = scan_name(s);
    if(end == nullptr) line_error("can't read name\n%s\n", src);
    if(clear) dest.clear();
    dest.append(s, uint32_t(end - s));
    return uint32_t(end - src);
}

uint32_t Parser::expectName(const char *src, const char *name) {
    KOLM_ASSERT(name && "Parser::expectName(): invalid name");
    const char *s = spaces(src);
    const char *end = scan_name(s);
    const size_t size = strlen(name);
    if(end == nullptr || size_t(end - s) != size || memcmp(s, name, size) != 0) error("expecting \"%s\"\n", name);
    return uint32_t(end - src);
}

// -- Numbers --

uint32_t Parser::skipFloat(const char *src) {
    const uint32_t size = scan_signed(src, scan_float, nullptr, false);
    if(size == 0) line_error("can't skip float\n%s\n", src);
    return size;
}

uint32_t Parser::readFloat(const char *src, String &dest, bool clear) {
    const uint32_t size = scan_signed(src, scan_float, &dest, clear);
    if(size == 0) line_error("can't read float\n%s\n", src);
    return size;
}

uint32_t Parser::skipDecimal(const char *src) {
    const uint32_t size = scan_signed(src, scan_decimal, nullptr, false);
    if(size == 0) line_error("can't skip decimal\n%s\n", src);
    return size;
}

uint32_t Parser::readDecimal(const char *src, String &dest, bool clear) {
    const uint32_t size = scan_signed(src, scan_decimal, &dest, clear);
    if(size == 0) line_error("can't read decimal\n%s\n", src);
    return size;
}

uint32_t Parser::skipHexadecimal(const char *src) {
    const uint32_t size = scan_signed(src, scan_hexadecimal, nullptr, false);
    if(size == 0) line_error("can't skip hexadecimal\n%s\n", src);
    return size;
}

uint32_t Parser::readHexadecimal(const char *src, String &dest, bool clear) {
    const uint32_t size = scan_signed(src, scan_hexadecimal, &dest, clear);
    if(size == 0) line_error("can't read hexadecimal\n%s\n", src);
    return size;
}

uint32_t Parser::skipNumber(const char *src) {
    const uint32_t size = scan_signed(src, scan_number, nullptr, false);
    if(size == 0) line_error("can't skip number\n%s\n", src);
    return size;
}

uint32_t Parser::readNumber(const char *src, String &dest, bool clear) {
    const uint32_t size = scan_signed(src, scan_number, &dest, clear);
    if(size == 0) line_error("can't read number\n%s\n", src);
    return size;
}

// -- Literals and regions --

uint32_t Parser::skipSymbol(const char *src) {
    const char *end = scan_literal(spaces(src), '\'');
    if(end == nullptr) line_error("can't skip symbol\n%s\n", src);
    return uint32_t(end - src);
}

uint32_t Parser::readSymbol(const char *src, String &dest, bool clear) {
    const char *s = spaces(src);
    const char *end = scan_literal(s, '\'');
    if(end == nullptr) line_error("can't read symbol\n%s\n", src);
    if(clear) dest.clear();
    dest.append(s + 1, uint32_t(end - s - 2));
    return uint32_t(end - src);
}

uint32_t Parser::skipString(const char *src) {
    const char *end = scan_literal(spaces(src), '"');
    if(end == nullptr) line_error("can't skip string\n%s\n", src);
    return uint32_t(end - src);
}

uint32_t Parser::readString(const char *src, String &dest, bool clear) {
    const char *s = spaces(src);
    const char *end = scan_literal(s, '"');
    if(end == nullptr) line_error("can't read string\n%s\n", src);
    if(clear) dest.clear();
    dest.append(s + 1, uint32_t(end - s - 2));
    return uint32_t(end - src);
}

uint32_t Parser::readRegion(const char *src, String &dest, char open, char close, bool clear, bool brackets) {
    const char *begin = spaces(src);
    StringStack<256> line;
    if(*begin != open || open == '\0') {
        readLine(begin, line);
        error("can't read '%c' to '%c' region\n%.255s\n", open, close, line.get());
    }
    const char *s = begin + 1;
    uint32_t depth = 1;
    while(*s && depth) {
        // With equal brackets the next one closes.
        if(*s == close) {
            depth--;
            s++;
        } else if(*s == open) {
            depth++;
            s++;
        } else if(*s == '"') {
            const char *end = scan_literal(s, '"');
            s = end ? end : s + 1;
        } else if(*s == '/') {
            const char *end = scan_comment(s);
            s = (end != s) ? end : s + 1;
        } else {
            s++;
        }
    }
    if(depth) {
        if(open == '(' && close == ')') line_error("invalid count of '(' and ')' symbols\n%s\n", begin);
        if(open == '{' && close == '}') line_error("invalid count of '{' and '}' symbols\n%s\n", begin);
        readLine(begin, line);
        error("invalid count of '%c' and '%c' symbols\n%.255s\n", open, close, line.get());
    }
    if(clear) dest.clear();
    if(brackets) {
        dest.append(begin, uint32_t(s - begin));
    } else {
        dest.append(begin + 1, uint32_t(s - begin - 2));
    }
    return uint32_t(s - src);
}

// -- Lines --

uint32_t Parser::skipLines(const char *src, uint32_t count) {
    const char *s = src;
    for(uint32_t i = 0; i < count && *s; i++) s += skipLine(s);
    return uint32_t(s - src);
}

// Start of the line to read: behind the newline of the last line that is empty.
static const char *first_line(const char *src, bool empty) {
    const char *line = src;
    if(empty) {
        for(const char *s = src; is(*s, Space); s++) {
            if(*s == '\n') line = s + 1;
        }
    }
    return line;
}

uint32_t Parser::skipLine(const char *src, bool empty) {
    const char *s = first_line(src, empty);
    while(*s && *s != '\n') s++;
    return uint32_t(s + (*s == '\n') - src);
}

uint32_t Parser::readLine(const char *src, String &dest, bool empty, bool clear) {
    const char *line = first_line(src, empty);
    const char *s = line;
    while(*s && *s != '\n') s++;
    const char *end = (s > line && s[-1] == '\r') ? s - 1 : s;
    if(clear) dest.clear();
    dest.append(line, uint32_t(end - line));
    return uint32_t(s + (*s == '\n') - src);
}

uint32_t Parser::readBom(const char *src, String &dest, bool clear, size_t size) {
    const char *s = src;
    const char *end = (size == SIZE_MAX) ? reinterpret_cast<const char *>(UINTPTR_MAX) : src + size;
    while(s < end && is(*s, Space)) s++;
    uint32_t unit = 0;
    bool big = false;
    s += get_bom(s, (size == SIZE_MAX) ? SIZE_MAX : size_t(end - s), unit, big);

    if(clear) dest.clear();
    if(unit == 1) {
        const char *text = s;
        while(s < end && *s) s++;
        dest.append(text, uint32_t(s - text));
        return uint32_t(s - src);
    }
    const auto read = [&](uint32_t &code) {
        if(size_t(end - s) < unit) return false;
        const auto *b = reinterpret_cast<const uint8_t *>(s);
        code = 0;
        for(uint32_t i = 0; i < unit; i++) code |= uint32_t(b[big ? unit - 1 - i : i]) << (i * 8);
        return code != 0;
    };
    uint32_t code = 0;
    while(read(code)) {
        s += unit;
        if(unit == 2 && (code & 0xFC00) == 0xD800) {
            uint32_t low = 0;
            if(read(low) && (low & 0xFC00) == 0xDC00) {
                s += unit;
                code = 0x10000 + ((code & 0x3FF) << 10) + (low & 0x3FF);
            }
        }
        String::fromUtf32(dest, code); // a surrogate that was left alone becomes U+FFFD
    }
    return uint32_t(s - src);
}

} // namespace Kolm
