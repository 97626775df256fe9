// Fuzz entry of the files of a cache.
//
// The input is the file of an entry. Its first byte tells whether the digest is put right, so that what stands behind
// that check is reached too.

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string>
#include <unistd.h>

#include "KolmBlob.h"
#include "KolmCache.h"
#include "KolmLog.h"
#include "KolmSHA1.h"

using namespace Kolm;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const char *key = "0123456789abcdef0123456789abcdef01234567";
    static char folder[] = "/dev/shm/ostrevan_fuzz_XXXXXX";
    static Cache *cache = [] {
        Log::setCallback([](Log::Level, size_t, const char *, void *) { return true; });
        Cache *opened = new Cache();
        if(!opened->open(mkdtemp(folder))) abort();
        atexit([] {
            unlink((std::string(folder) + "/" + key).c_str());
            rmdir(folder);
        });
        return opened;
    }();
    if(size == 0) return 0;
    std::string bytes(reinterpret_cast<const char *>(data) + 1, size - 1);
    if((data[0] & 1) && bytes.size() >= 56) {
        SHA1 sha;
        uint32_t hash[5];
        sha.update(bytes.data(), 28);
        sha.update(bytes.data() + 48, bytes.size() - 48);
        sha.finish(hash);
        memcpy(&bytes[28], hash, sizeof(hash));
    }
    const std::string path = std::string(folder) + "/" + key;
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if(write(file, bytes.data(), bytes.size()) != ssize_t(bytes.size())) abort();
    close(file);

    Blob blob;
    if(cache->load(key, blob)) {
        // what comes out is what stands behind the header
        if(blob.getSize() + 56 != bytes.size()) abort();
        if(blob.getSize() && memcmp(blob.getData(), bytes.data() + 56, blob.getSize())) abort();
    } else if(blob.getSize()) {
        abort();
    }
    return 0;
}
