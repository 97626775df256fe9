// Scanning of names and blanks, for the parsers that read function bodies.
//
// Parser does the same with checks and messages for the general case. Bodies and constants are read through these: they
// are the inner loop of a compile.

#pragma once

#include "KolmString.h"

namespace Kolm {

namespace Text {

inline bool is_blank(char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }
inline bool is_digit(char c) { return c >= '0' && c <= '9'; }
inline bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
inline bool is_word(char c) { return is_letter(c) || is_digit(c); }

/// Moves behind white space and comments.
inline void skip_blank(const char *&s) {
    for(;;) {
        while(is_blank(*s)) s++;
        if(*s != '/') return;
        if(s[1] == '/') {
            while(*s && *s != '\n') s++;
        } else if(s[1] == '*') {
            s += 2;
            while(*s && !(s[0] == '*' && s[1] == '/')) s++;
            if(*s) s += 2;
        } else {
            return;
        }
    }
}

/// Length of the name at \p s, 0 if there is none.
inline uint32_t get_name_length(const char *s) {
    if(!is_letter(*s)) return 0;
    const char *begin = s;
    while(is_word(*s)) s++;
    return uint32_t(s - begin);
}

/// Reads a name behind blanks. Returns false and stays behind the blanks if there is none.
inline bool read_name(const char *&s, String &name) {
    skip_blank(s);
    name.clear();
    const uint32_t length = get_name_length(s);
    if(length == 0) return false;
    name.append(s, length);
    s += length;
    return true;
}

/// Whether the name at \p s, which stands behind blanks, is \p word.
inline bool is_name(const char *s, const char *word) {
    const size_t length = strlen(word);
    return strncmp(s, word, length) == 0 && !is_word(s[length]);
}

/// Takes \p symbol behind blanks if it is there.
inline bool accept(const char *&s, char symbol) {
    skip_blank(s);
    if(*s != symbol) return false;
    s++;
    return true;
}

/// The next word or symbol behind blanks, for messages.
inline String get_token(const char *s) {
    skip_blank(s);
    uint32_t length = get_name_length(s);
    if(length == 0 && is_digit(*s)) {
        while(is_word(s[length]) || s[length] == '.') length++;
    }
    if(length == 0 && *s) length = 1;
    String token;
    token.append(s, length);
    return token;
}

} // namespace Text

} // namespace Kolm
