// The base64 forms of Blob.

#include "KolmBlob.h"
#include "KolmLog.h"

namespace Kolm {

namespace {

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// What a letter stands for: 0 to 63, or one of these.
enum : uint8_t { Invalid = 64, Space = 65, End = 66 };

struct Letters {
    uint8_t values[256];

    constexpr Letters() : values() {
        for(uint8_t &value : values) value = Invalid;
        for(uint8_t i = 0; i < 64; i++) values[static_cast<uint8_t>(alphabet[i])] = i;
        for(const char c : {' ', '\t', '\n', '\r', '\v', '\f'}) values[static_cast<uint8_t>(c)] = Space;
        for(const char c : {'=', '\0'}) values[static_cast<uint8_t>(c)] = End;
    }
};
constexpr Letters letters;

} // namespace

String Blob::encodeBase64(size_t size, uint32_t line) {
    KOLM_ASSERT(isOpened() && "Blob::encodeBase64(): is not opened");
    const size_t rest = getSize() - tell();
    size = size ? min(size, rest) : rest;
    String ret;
    const size_t groups = (size + 2) / 3;
    const size_t newlines = line ? groups / (line / 4 + 1) : 0;
    if(groups * 4 + newlines > 0x70000000) {
        Log::printf(Log::Error, "Blob::encodeBase64(): can't encode blob\n");
        return ret;
    }
    ret.reserve(static_cast<uint32_t>(groups * 4 + newlines), true);

    const uint8_t *src = getData() + tell();
    uint32_t length = 0; // characters since the last newline
    for(size_t i = 0; i < size; i += 3) {
        const size_t num = min(size - i, size_t(3));
        const uint32_t bits =
            uint32_t(src[i]) << 16 | (num > 1 ? uint32_t(src[i + 1]) << 8 : 0u) | (num > 2 ? uint32_t(src[i + 2]) : 0u);
        char text[5] = {alphabet[bits >> 18], alphabet[bits >> 12 & 63], (num > 1) ? alphabet[bits >> 6 & 63] : '=',
                        (num > 2) ? alphabet[bits & 63] : '=', '\n'};
        length += 4;
        const bool is_newline = (line && length > line);
        ret.append(text, is_newline ? 5 : 4);
        if(is_newline) length = 0;
    }
    seekCur(static_cast<int64_t>(size));
    return ret;
}

bool Blob::decodeBase64(const char *text) {
    KOLM_ASSERT(isOpened() && "Blob::decodeBase64(): is not opened");
    KOLM_ASSERT(text && "Blob::decodeBase64(): invalid text");
    uint8_t buffer[32768];
    uint32_t length = 0;
    uint32_t bits = 0;
    uint32_t num = 0; // letters of the group
    for(;; text++) {
        const uint8_t value = letters.values[static_cast<uint8_t>(*text)];
        if(value < 64) {
            bits = bits << 6 | value;
            if(++num < 4) continue;
            buffer[length++] = static_cast<uint8_t>(bits >> 16);
            buffer[length++] = static_cast<uint8_t>(bits >> 8);
            buffer[length++] = static_cast<uint8_t>(bits);
            num = 0;
            if(length <= sizeof(buffer) - 3) continue;
            if(write(buffer, length) != length) return false;
            length = 0;
        } else if(value == End) {
            break;
        } else if(value == Invalid) {
            Log::printf(Log::Error, "Blob::decodeBase64(): invalid letter\n");
            return false;
        }
    }
    if(num == 1) {
        Log::printf(Log::Error, "Blob::decodeBase64(): invalid length\n");
        return false;
    }
    if(num > 1) buffer[length++] = static_cast<uint8_t>(bits >> (num == 2 ? 4 : 10));
    if(num > 2) buffer[length++] = static_cast<uint8_t>(bits >> 2);
    return write(buffer, length) == length;
}

} // namespace Kolm
