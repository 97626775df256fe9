// KolmShaderScan.h: the few scanning steps that all sources of the preprocessor share.
// Every function takes a position in a terminated text and returns the position behind what it passed.

#pragma once

#include "KolmParser.h"
#include "KolmStream.h"

namespace Kolm::ShaderScan {

enum Class : uint8_t {
    ClassOther = 0,
    ClassName,      // letters, digits, "_"
    ClassBlank,     // space, tab
    ClassReturn,    // carriage return
    ClassFeed,      // line feed
    ClassSlash,     // begins a comment, perhaps
    ClassQuote,     // " and '
    ClassHash,      // begins a directive, perhaps
    ClassBackslash, // continues a line, perhaps
    ClassEnd,       // terminator
};

struct ClassTable {
    constexpr ClassTable() {
        for(uint32_t c = 'a'; c <= 'z'; c++) classes[c] = ClassName;
        for(uint32_t c = 'A'; c <= 'Z'; c++) classes[c] = ClassName;
        for(uint32_t c = '0'; c <= '9'; c++) classes[c] = ClassName;
        classes[uint32_t('_')] = ClassName;
        classes[uint32_t(' ')] = classes[uint32_t('\t')] = ClassBlank;
        classes[uint32_t('\r')] = ClassReturn;
        classes[uint32_t('\n')] = ClassFeed;
        classes[uint32_t('/')] = ClassSlash;
        classes[uint32_t('"')] = classes[uint32_t('\'')] = ClassQuote;
        classes[uint32_t('#')] = ClassHash;
        classes[uint32_t('\\')] = ClassBackslash;
        classes[0] = ClassEnd;
    }
    uint8_t classes[256] = {};
};
inline constexpr ClassTable table;

inline uint8_t get_class(char c) { return table.classes[uint8_t(c)]; }
inline bool is_name(char c) { return get_class(c) == ClassName; }
inline bool is_digit(char c) { return c >= '0' && c <= '9'; }
inline bool is_name_start(char c) { return is_name(c) && !is_digit(c); }
inline bool is_blank(char c) { return get_class(c) == ClassBlank; }
inline bool is_space(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
inline bool is_comment(const char *s) { return s[0] == '/' && (s[1] == '/' || s[1] == '*'); }

inline const char *skip_name(const char *s) {
    while(is_name(*s)) s++;
    return s;
}
inline const char *skip_blanks(const char *s) {
    while(is_blank(*s)) s++;
    return s;
}
inline const char *skip_spaces(const char *s) {
    while(is_space(*s)) s++;
    return s;
}
/// To the line feed or the terminator.
inline const char *skip_line(const char *s) {
    while(*s && *s != '\n') s++;
    return s;
}
/// A comment ends behind its line feed or its "*/", or with the text.
inline const char *skip_comment(const char *s) {
    if(s[1] == '/') {
        s = skip_line(s);
        return (*s) ? s + 1 : s;
    }
    for(s += 2; *s; s++) {
        if(s[0] == '*' && s[1] == '/') return s + 2;
    }
    return s;
}
/// Literal in the quotes that \p s stands on. Null if its line ends before.
inline const char *find_literal(const char *s) {
    const char quote = *s++;
    for(; *s && *s != '\n'; s++) {
        if(*s == quote) return s + 1;
        if(*s == '\\' && s[1] && s[1] != '\n') s++;
    }
    return nullptr;
}
/// The same, and an error for a literal without an end.
inline const char *skip_literal(const char *s) {
    if(const char *end = find_literal(s)) return end;
    const String text(s, uint32_t(min(skip_line(s) - s, ptrdiff_t(256))));
    if(*s == '"') Parser::error("can't read string\n%s\n", text.get());
    Parser::error("can't read symbol\n%s\n", text.get());
}

inline uint32_t count_lines(const char *s, const char *end) {
    uint32_t lines = 0;
    while(s < end && (s = static_cast<const char *>(memchr(s, '\n', size_t(end - s)))) != nullptr) {
        lines++;
        s++;
    }
    return lines;
}

/// Appends a stretch of text.
inline void append(String &dest, const char *s, const char *end) {
    if(s < end) dest.append(s, uint32_t(end - s));
}
inline void append(String &dest, const String &text) { dest.append(text.get(), text.size()); }

/// Takes white space off the end.
inline void trim(String &dest) {
    uint32_t size = dest.size();
    const char *text = dest.get();
    while(size && is_space(text[size - 1])) size--;
    if(size != dest.size()) dest.removeBack(dest.size() - size);
}

/// The whole of a stream as text. False for a text that is too long or has a zero byte.
inline bool read_text(Stream &stream, String &text, uint32_t max_size) {
    constexpr uint32_t chunk_size = 65536;
    uint32_t size = 0;
    text.clear();
    for(;;) {
        if(!text.resize(size + chunk_size, '\0', true)) return false;
        const uint32_t num = uint32_t(stream.read(text.get() + size, chunk_size));
        if(num && memchr(text.get() + size, '\0', num)) return false;
        size += num;
        if(num == 0) break;
        if(size > max_size) return false;
    }
    text.resize(size);
    return true;
}

} // namespace Kolm::ShaderScan
