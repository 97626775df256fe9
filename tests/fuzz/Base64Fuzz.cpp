// Fuzz entry of base64: the input as text to decode and as bytes to encode. The first byte is the length of a line.

#include <string>

#include "FuzzSupport.h"

using namespace Kolm;

// Bytes of a text by the definition; false for a text that is none.
static bool decode(const std::string &text, std::vector<uint8_t> &bytes) {
    static const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    uint32_t bits = 0, num = 0;
    for(const char c : text) {
        if(c == '=') break;
        if(c == ' ' || (c >= '\t' && c <= '\r')) continue;
        const size_t value = alphabet.find(c);
        if(value == std::string::npos) return false;
        bits = bits << 6 | uint32_t(value);
        num += 6;
        if(num >= 8) bytes.push_back(uint8_t(bits >> (num -= 8)));
    }
    return num != 6;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    quiet_log();
    if(size == 0) return 0;
    const uint32_t line = data[0];
    const std::string text(std::string(reinterpret_cast<const char *>(data) + 1, size - 1).c_str());
    std::vector<uint8_t> expected;
    const bool is_text = decode(text, expected);
    Blob blob;
    FUZZ_CHECK(blob.decodeBase64(text.c_str()) == is_text);
    if(is_text) FUZZ_CHECK(blob.getSize() == expected.size());
    FUZZ_CHECK(blob.getSize() <= expected.size() &&
               std::equal(expected.begin(), expected.begin() + long(blob.getSize()), blob.getData()));

    Blob src(data, size);
    const String encoded = src.encodeBase64(0, line);
    Blob back;
    FUZZ_CHECK(!src.isAvailable() && back.decodeBase64(encoded.get()));
    FUZZ_CHECK(back.getSize() == size && memcmp(back.getData(), data, size) == 0);
    return 0;
}
