// KolmShaderCache.cpp: what shaders keep between runs.

#include "KolmBlob.h"
#include "KolmBuildId.h"
#include "KolmLog.h"
#include "KolmSHA1.h"
#include "KolmShader.h"

namespace Kolm {

namespace {

constexpr uint32_t spirv_magic = 0x07230203;

bool set_cache(Cache &cache, const char *name) {
    if(name) return cache.open(name);
    cache.close();
    return true;
}

} // namespace

bool Shader::setCache(const char *name) { return set_cache(cache, name); }

bool Shader::setSourceCache(const char *name) {
    uint32_t hash[SHA1::NumWords];
    if(name && !get_build_id(hash)) {
        Log::printf(Log::Error, "Shader::setSourceCache(): the library was linked without a build id\n");
        return false;
    }
    return set_cache(source_cache, name);
}

// Text of the digest of all that the words depend on.
String Shader::get_source_key(Type type, const String &src, uint32_t options) {
    uint32_t hash[SHA1::NumWords];
    if(!get_build_id(hash)) return String();
    const uint32_t words[] = {uint32_t(type), options};
    SHA1 sha;
    sha.update(hash, sizeof(hash));
    sha.update(words, sizeof(words));
    sha.update(src.get(), src.size());
    sha.finish(hash);
    return String::format("%08x%08x%08x%08x%08x", hash[0], hash[1], hash[2], hash[3], hash[4]);
}

bool Shader::load_words(const String &key, Array<uint32_t> &words) {
    Blob blob;
    if(key.empty() || !source_cache.load(key, blob)) return false;
    blob.seek(0);
    const uint32_t size = uint32_t(blob.getSize() / sizeof(uint32_t));
    return blob.readArray(words, size) && size && words[0] == spirv_magic;
}

void Shader::save_words(const String &key, const Array<uint32_t> &words) {
    if(key) source_cache.save(key, reinterpret_cast<const uint8_t *>(words.get()), words.bytes());
}

} // namespace Kolm
