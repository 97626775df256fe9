// Entries of a cache against bare files of the same bytes, and shaders from a cache against compiling them.

#include "Compare.h"

#include <fcntl.h>
#include <stdlib.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "KolmBlob.h"
#include "KolmCache.h"
#include "KolmShaderCompiler.h"

using namespace Kolm;

namespace {

struct Folder {
    Folder() { mkdtemp(name); }
    ~Folder() {
        if(system((std::string("rm -rf ") + name).c_str())) return;
    }
    char name[32] = "/tmp/ostrevan_bench_XXXXXX";
};

} // namespace

static void cache_load(benchmark::State &state) {
    Folder folder;
    Cache cache;
    cache.open(folder.name);
    const std::vector<uint8_t> bytes(size_t(state.range(0)), 0x5A);
    const String key = Blob::getSHA1("key");
    cache.save(key, bytes.data(), bytes.size());
    const std::string path = std::string(folder.name) + "/" + key.get();
    Blob blob;
    std::vector<uint8_t> dest(bytes.size() + 56);
    compare(
        state,
        [&] {
            blob.clear();
            benchmark::DoNotOptimize(cache.load(key, blob));
        },
        [&] {
            const int file = open(path.c_str(), O_RDONLY);
            benchmark::DoNotOptimize(read(file, dest.data(), dest.size()));
            close(file);
        },
        double(bytes.size()));
}
BENCHMARK(cache_load)->Arg(4 << 10)->Arg(64 << 10)->Arg(1 << 20)->UseManualTime();

static void cache_save(benchmark::State &state) {
    Folder folder;
    Cache cache;
    cache.open(folder.name);
    const std::vector<uint8_t> bytes(size_t(state.range(0)), 0x5A);
    const String key = Blob::getSHA1("key");
    const std::string path = std::string(folder.name) + "/peer";
    compare(
        state, [&] { benchmark::DoNotOptimize(cache.save(key, bytes.data(), bytes.size())); },
        [&] {
            const int file = open((path + "-part").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            benchmark::DoNotOptimize(write(file, bytes.data(), bytes.size()));
            close(file);
            rename((path + "-part").c_str(), path.c_str());
        },
        double(bytes.size()));
}
BENCHMARK(cache_save)->Arg(4 << 10)->Arg(64 << 10)->UseManualTime();

// A shader of so many functions: preprocessed and taken from the cache, against preprocessed and compiled.
static void source_cache(benchmark::State &state) {
    Folder folder;
    std::string src = "layout(local_size_x = 64) in;\nlayout(binding = 0) buffer Data { vec4 data[]; };\n";
    std::string calls;
    for(int64_t i = 0; i < state.range(0); i++) {
        const std::string n = std::to_string(i);
        src += "vec4 f" + n + "(vec4 a, float b) {\n    vec4 c = a * " + n +
               ".5 + vec4(b);\n    for(int i = 0; i < 4; i++) {\n        if(c.x > float(i)) c += a.wzyx * 0.25;\n"
               "        else c -= vec4(1.0, b, c.xy);\n    }\n    return normalize(c) + sin(c);\n}\n";
        calls += "    v += f" + n + "(v, v.x);\n";
    }
    src += "void main() {\n    vec4 v = data[gl_GlobalInvocationID.x];\n" + calls + "    data[0] = v;\n}\n";
    ShaderCompiler keep;
    const auto compile = [&] {
        ShaderCompiler compiler;
        if(!compiler.createGLSL(Shader::TypeCompute, src.c_str())) abort();
    };
    compare(
        state,
        [&] {
            if(!Shader::hasSourceCache()) Shader::setSourceCache(folder.name);
            compile();
        },
        [&] {
            Shader::setSourceCache(nullptr);
            compile();
            Shader::setSourceCache(folder.name);
        });
    Shader::setSourceCache(nullptr);
}
BENCHMARK(source_cache)->Arg(1)->Arg(10)->Arg(100)->UseManualTime();
