// Streams against what they stand on: zlib, LZ4, stdio, memcpy, and libcrypto where the machine has it.

#include <dlfcn.h>
#include <lz4.h>
#include <lz4hc.h>
#include <random>
#include <stdio.h>
#include <string>
#include <unistd.h>
#include <zlib.h>

#include "Compare.h"
#include "KolmBlob.h"
#include "KolmFile.h"

using namespace Kolm;

namespace {

using Bytes = std::vector<uint8_t>;

// Words of a small vocabulary, as text and binary tables compress: to about a quarter.
const Bytes &get_data() {
    static const Bytes bytes = [] {
        std::mt19937 random(1);
        std::vector<std::string> words(500);
        for(std::string &word : words)
            for(uint32_t i = random() % 9 + 2; i; i--) word += char('a' + random() % 26);
        Bytes ret;
        while(ret.size() < 16 << 20) {
            const std::string &word = words[std::min(random() % 500, random() % 500)];
            ret.insert(ret.end(), word.begin(), word.end());
            ret.push_back(random() % 8 ? ' ' : uint8_t(random()));
        }
        ret.resize(16 << 20);
        return ret;
    }();
    return bytes;
}

const Bytes &get_zip() {
    static const Bytes bytes = [] {
        uLongf size = compressBound(get_data().size());
        Bytes ret(size);
        compress2(ret.data(), &size, get_data().data(), get_data().size(), 6);
        ret.resize(size);
        return ret;
    }();
    return bytes;
}

const Bytes &get_lz4() {
    static const Bytes bytes = [] {
        Bytes ret(LZ4_compressBound(int(get_data().size())));
        ret.resize(LZ4_compress_default(reinterpret_cast<const char *>(get_data().data()),
                                        reinterpret_cast<char *>(ret.data()), int(get_data().size()), int(ret.size())));
        return ret;
    }();
    return bytes;
}

const char *chars(const Bytes &bytes) { return reinterpret_cast<const char *>(bytes.data()); }

void decode_zip(benchmark::State &state) {
    Blob src(get_zip().data(), get_zip().size());
    Blob dest;
    dest.setCapacity(get_data().size());
    Bytes out(get_data().size());
    compare(
        state,
        [&] {
            src.seek(0);
            dest.clear();
            dest.decodeZip(src);
        },
        [&] {
            // bare inflate in the same chunks, copied out as it comes
            z_stream stream = {};
            inflateInit(&stream);
            static uint8_t chunk[262144];
            size_t size = 0;
            for(size_t i = 0; i < get_zip().size(); i += 32768) {
                stream.next_in = const_cast<uint8_t *>(get_zip().data() + i);
                stream.avail_in = uInt(std::min<size_t>(32768, get_zip().size() - i));
                do {
                    stream.next_out = chunk;
                    stream.avail_out = sizeof(chunk);
                    inflate(&stream, Z_NO_FLUSH);
                    const size_t num = sizeof(chunk) - stream.avail_out;
                    memcpy(out.data() + size, chunk, num);
                    size += num;
                } while(stream.avail_out == 0);
            }
            inflateEnd(&stream);
        },
        double(get_data().size()));
}

void write_zip(benchmark::State &state) {
    const size_t size = 2 << 20;
    Blob dest;
    uLongf bound = compressBound(size);
    Bytes out(bound);
    compare(
        state,
        [&] {
            dest.seek(0);
            dest.writeZip(get_data().data(), size, 6);
        },
        [&] {
            uLongf length = bound;
            compress2(out.data(), &length, get_data().data(), size, 6);
        },
        double(size));
}

void read_zip(benchmark::State &state) {
    Blob src;
    src.writeZip(get_data().data(), get_data().size(), 6);
    Bytes out(get_data().size());
    compare(
        state,
        [&] {
            src.seek(0);
            src.readZip(out.data(), out.size());
        },
        [&] {
            uLongf length = out.size();
            uncompress(out.data(), &length, get_zip().data(), get_zip().size());
        },
        double(out.size()));
}

void write_lz4(benchmark::State &state) {
    Blob dest;
    const int bound = LZ4_compressBound(int(get_data().size()));
    dest.setCapacity(bound + 8);
    Bytes out(bound);
    compare(
        state,
        [&] {
            dest.seek(0);
            dest.writeLz4(get_data().data(), get_data().size(), -1);
        },
        [&] {
            LZ4_compress_fast(chars(get_data()), reinterpret_cast<char *>(out.data()), int(get_data().size()), bound,
                              1);
        },
        double(get_data().size()));
}

void read_lz4(benchmark::State &state) {
    Blob src;
    src.writeLz4(get_data().data(), get_data().size(), -1);
    Bytes out(get_data().size());
    compare(
        state,
        [&] {
            src.seek(0);
            src.readLz4(out.data(), out.size());
        },
        [&] {
            LZ4_decompress_safe(chars(get_lz4()), reinterpret_cast<char *>(out.data()), int(get_lz4().size()),
                                int(out.size()));
        },
        double(out.size()));
}

// The peer knows the decoded size; ours finds it out while it writes.
void decode_lz4(benchmark::State &state) {
    Blob src(get_lz4().data(), get_lz4().size());
    Blob dest;
    dest.setCapacity(get_data().size() + (1 << 20));
    Bytes out(get_data().size());
    compare(
        state,
        [&] {
            src.seek(0);
            dest.clear();
            dest.decodeLz4(src);
        },
        [&] {
            LZ4_decompress_safe(chars(get_lz4()), reinterpret_cast<char *>(out.data()), int(get_lz4().size()),
                                int(out.size()));
        },
        double(out.size()));
}

void file_read(benchmark::State &state) {
    char name[] = "/tmp/ostrevan_bench_XXXXXX";
    FILE *temp = fdopen(mkstemp(name), "wb");
    fwrite(get_data().data(), 1, get_data().size(), temp);
    fclose(temp);
    uint8_t buffer[4096];
    compare(
        state,
        [&] {
            File file;
            file.open(name, "rb");
            while(file.read(buffer, sizeof(buffer))) {}
        },
        [&] {
            FILE *file = fopen(name, "rb");
            while(fread(buffer, 1, sizeof(buffer), file)) {}
            fclose(file);
        },
        double(get_data().size()));
    unlink(name);
}

constexpr size_t piece = 1 << 20;

void blob_write(benchmark::State &state) {
    Bytes out(get_data().size());
    Blob blob;
    compare(
        state,
        [&] {
            blob.clear();
            for(size_t i = 0; i < out.size(); i += piece) blob.write(get_data().data() + i, piece);
        },
        [&] {
            for(size_t i = 0; i < out.size(); i += piece) memcpy(out.data() + i, get_data().data() + i, piece);
            benchmark::DoNotOptimize(out.data());
        },
        double(out.size()));
}

void blob_read(benchmark::State &state) {
    Blob blob(get_data().data(), get_data().size());
    Bytes out(piece);
    compare(
        state,
        [&] {
            blob.seek(0);
            while(blob.isAvailable()) blob.read(out.data(), piece);
        },
        [&] {
            for(size_t i = 0; i < get_data().size(); i += piece) memcpy(out.data(), get_data().data() + i, piece);
            benchmark::DoNotOptimize(out.data());
        },
        double(get_data().size()));
}

void read_u32e(benchmark::State &state) {
    std::mt19937 random(2);
    Blob blob;
    const uint32_t num = 1000000;
    for(uint32_t i = 0; i < num; i++) blob.writeu32e(random() % 300);
    uint32_t sum = 0;
    Stream &stream = blob;
    measure(state, "values/s", num, [&] {
        stream.seek(0);
        for(uint32_t i = 0; i < num; i++) sum += stream.readu32e();
        benchmark::DoNotOptimize(sum);
    });
}

void read_u32(benchmark::State &state) {
    Blob blob;
    const uint32_t num = 1000000;
    for(uint32_t i = 0; i < num; i++) blob.writeu32(i);
    uint32_t sum = 0;
    Stream &stream = blob;
    measure(state, "values/s", num, [&] {
        stream.seek(0);
        for(uint32_t i = 0; i < num; i++) sum += stream.readu32();
        benchmark::DoNotOptimize(sum);
    });
}

// libcrypto, if this machine has one: its digest of a block of memory by name.
bool digest_peer(const char *name, const void *src, size_t size) {
    static void *library = dlopen("libcrypto.so.3", RTLD_NOW);
    if(library == nullptr) return false;
    using Get = const void *(*)(const char *);
    using Digest = int (*)(const void *, size_t, unsigned char *, unsigned *, const void *, void *);
    static const Get get = reinterpret_cast<Get>(dlsym(library, "EVP_get_digestbyname"));
    static const Digest digest = reinterpret_cast<Digest>(dlsym(library, "EVP_Digest"));
    unsigned char hash[64];
    return get && digest && digest(src, size, hash, nullptr, get(name), nullptr);
}

template<class Func> void digest(benchmark::State &state, const char *name, Func func) {
    const Bytes &data = get_data();
    if(digest_peer(name, data.data(), 1))
        compare(
            state, func, [&] { digest_peer(name, data.data(), data.size()); }, double(data.size()));
    else
        measure(state, "ours_B/s", double(data.size()), func);
}

void sha1(benchmark::State &state) {
    uint32_t hash[5];
    digest(state, "SHA1", [&] { Blob::getSHA1(hash, get_data().data(), get_data().size()); });
}

void md5(benchmark::State &state) {
    uint32_t hash[4];
    digest(state, "MD5", [&] { Blob::getMD5(hash, get_data().data(), get_data().size()); });
}

BENCHMARK(decode_zip)->UseManualTime();
BENCHMARK(read_zip)->UseManualTime();
BENCHMARK(write_zip)->UseManualTime();
BENCHMARK(decode_lz4)->UseManualTime();
BENCHMARK(read_lz4)->UseManualTime();
BENCHMARK(write_lz4)->UseManualTime();
BENCHMARK(file_read)->UseManualTime();
BENCHMARK(blob_write)->UseManualTime();
BENCHMARK(blob_read)->UseManualTime();
BENCHMARK(read_u32e)->UseManualTime();
BENCHMARK(read_u32)->UseManualTime();
BENCHMARK(sha1)->UseManualTime();
BENCHMARK(md5)->UseManualTime();

} // namespace
