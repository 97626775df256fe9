// The digests of Blob: over its own bytes, over strings, memory and streams.

#include "KolmBlob.h"
#include "KolmMD5.h"
#include "KolmSHA1.h"

namespace Kolm {

namespace {

template<class Digest> bool get_digest(uint32_t *hash, const void *src, size_t size) {
    Digest digest;
    digest.update(src, size);
    digest.finish(hash);
    return true;
}

template<class Digest> bool get_digest(uint32_t *hash, Stream &stream, size_t size) {
    Digest digest;
    uint8_t buffer[32768];
    for(size_t done = 0; size ? done < size : stream.isAvailable();) {
        const size_t num = size ? min(size - done, sizeof(buffer)) : sizeof(buffer);
        const size_t bytes = stream.read(buffer, num);
        if(bytes == 0 || (size && bytes != num)) return false;
        digest.update(buffer, bytes);
        done += bytes;
    }
    digest.finish(hash);
    return true;
}

// Text of the digest that \p func stores; empty if it fails.
template<class Digest, class Func> String get_text(Func func) {
    uint32_t hash[Digest::NumWords];
    String ret;
    if(!func(hash)) return ret;
    char text[8 * Digest::NumWords];
    for(uint32_t i = 0; i < sizeof(text); i++) text[i] = "0123456789abcdef"[hash[i / 8] >> (28 - i % 8 * 4) & 15];
    ret.append(text, sizeof(text));
    return ret;
}

} // namespace

// The two digests have the same forms.
#define KOLM_BLOB_DIGEST(NAME)                                                                                         \
    bool Blob::get##NAME(uint32_t *hash, size_t size) const {                                                          \
        KOLM_ASSERT(isOpened() && "Blob::get" #NAME "(): is not opened");                                              \
        const size_t rest = getSize() - tell();                                                                        \
        return size <= rest && get_digest<NAME>(hash, getData() + tell(), size ? size : rest);                         \
    }                                                                                                                  \
    String Blob::get##NAME(size_t size) const {                                                                        \
        return get_text<NAME>([&](uint32_t *hash) { return get##NAME(hash, size); });                                  \
    }                                                                                                                  \
    bool Blob::get##NAME(uint32_t *hash, const String &str) { return get_digest<NAME>(hash, str.get(), str.size()); }  \
    bool Blob::get##NAME(uint32_t *hash, const uint8_t *src, size_t size) {                                            \
        return get_digest<NAME>(hash, src, size);                                                                      \
    }                                                                                                                  \
    bool Blob::get##NAME(uint32_t *hash, Stream &stream, size_t size) { return get_digest<NAME>(hash, stream, size); } \
    String Blob::get##NAME(const String &str) {                                                                        \
        return get_text<NAME>([&](uint32_t *hash) { return get##NAME(hash, str); });                                   \
    }                                                                                                                  \
    String Blob::get##NAME(const uint8_t *src, size_t size) {                                                          \
        return get_text<NAME>([&](uint32_t *hash) { return get##NAME(hash, src, size); });                             \
    }                                                                                                                  \
    String Blob::get##NAME(Stream &stream, size_t size) {                                                              \
        return get_text<NAME>([&](uint32_t *hash) { return get##NAME(hash, stream, size); });                          \
    }

KOLM_BLOB_DIGEST(MD5)
KOLM_BLOB_DIGEST(SHA1)

} // namespace Kolm
