// UTF-8 to and from the other encodings, and the escapes of addresses.

#include "KolmString.h"

namespace Kolm {

static constexpr uint32_t replacement = 0xFFFD;

static bool is_scalar(uint32_t code) { return code < 0xD800 || (code > 0xDFFF && code <= 0x10FFFF); }

// Ill-formed bytes: one replacement for the longest beginning of a sequence that could still have become a character.
uint32_t String::toUtf32(const char *str, uint32_t size, uint32_t &consumed) {
    const auto *s = reinterpret_cast<const uint8_t *>(str);
    const uint32_t lead = s[0];
    consumed = 1;
    if(lead < 0x80) return lead;
    if(lead < 0xC2 || lead > 0xF4) return replacement;
    const uint32_t num = (lead < 0xE0) ? 2 : (lead < 0xF0) ? 3 : 4;
    // The second byte alone tells overlong forms, surrogates and values above the last character.
    const uint32_t low = (lead == 0xE0) ? 0xA0 : (lead == 0xF0) ? 0x90 : 0x80;
    const uint32_t high = (lead == 0xED) ? 0x9F : (lead == 0xF4) ? 0x8F : 0xBF;
    if(size < 2 || s[1] < low || s[1] > high) return replacement;
    uint32_t code = (lead & (0x7F >> num)) << 6 | (s[1] & 0x3F);
    for(consumed = 2; consumed < num; consumed++) {
        if(consumed >= size || (s[consumed] & 0xC0) != 0x80) return replacement;
        code = code << 6 | (s[consumed] & 0x3F);
    }
    return code;
}

Array<uint32_t> String::toUtf32(uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::toUtf32(): invalid position");
    Array<uint32_t> ret;
    uint32_t num = 0;
    ret.resize(length - pos);
    for(uint32_t size = 0; pos < length; pos += size) ret.get()[num++] = toUtf32(data + pos, length - pos, size);
    ret.resize(num);
    return ret;
}

Array<uint16_t> String::toUtf16(uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::toUtf16(): invalid position");
    Array<uint16_t> ret;
    uint32_t num = 0;
    ret.resize(length - pos); // no sequence has more units than bytes
    uint16_t *units = ret.get();
    for(uint32_t size = 0; pos < length; pos += size) {
        const uint32_t code = toUtf32(data + pos, length - pos, size);
        if(code < 0x10000) {
            units[num++] = uint16_t(code);
        } else {
            units[num++] = uint16_t(0xD7C0 + (code >> 10));
            units[num++] = uint16_t(0xDC00 + (code & 0x3FF));
        }
    }
    ret.resize(num);
    return ret;
}

String &String::fromUtf32(String &dest, uint32_t code) {
    if(code < 0x80) return dest.append(char(code));
    if(!is_scalar(code)) code = replacement;
    char text[4];
    uint32_t num = 0;
    if(code < 0x800) {
        text[num++] = char(0xC0 | code >> 6);
    } else {
        if(code < 0x10000) {
            text[num++] = char(0xE0 | code >> 12);
        } else {
            text[num++] = char(0xF0 | code >> 18);
            text[num++] = char(0x80 | (code >> 12 & 0x3F));
        }
        text[num++] = char(0x80 | (code >> 6 & 0x3F));
    }
    text[num++] = char(0x80 | (code & 0x3F));
    return dest.append(text, num);
}

String String::fromUtf32(const uint32_t *src, uint32_t size) { return String(src, size); }

String String::fromUtf16(const uint16_t *src, uint32_t size) {
    StringStack<1024> ret;
    for(uint32_t i = 0; src && i < size && (size != NotFound || src[i]); i++) {
        uint32_t code = src[i];
        if((code & 0xFC00) == 0xD800 && (size == NotFound || i + 1 < size) && (src[i + 1] & 0xFC00) == 0xDC00) {
            code = 0x10000 + ((code & 0x3FF) << 10) + (src[++i] & 0x3FF);
        }
        fromUtf32(ret, code);
    }
    return ret;
}

static uint32_t get_hex(char c) {
    if(c >= '0' && c <= '9') return uint32_t(c - '0');
    const char l = char(c | 32);
    return (l >= 'a' && l <= 'f') ? uint32_t(l - 'a' + 10) : 16;
}

String String::fromUrl(const char *str) {
    StringStack<1024> ret;
    for(const char *s = str; s && *s; s++) {
        if(s[0] == '%' && get_hex(s[1]) < 16 && get_hex(s[2]) < 16) {
            ret.append(char(get_hex(s[1]) << 4 | get_hex(s[2])));
            s += 2;
        } else {
            ret.append(*s);
        }
    }
    return ret;
}

} // namespace Kolm
