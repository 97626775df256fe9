// What shaders keep between runs: words of compiled texts, and the programs of drivers.

#include <atomic>
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmBlob.h"
#include "KolmBuildId.h"
#include "KolmFile.h"
#include "KolmShaderCompiler.h"

using namespace Kolm;

namespace {

const char *src = "#include \"value.h\"\n"
                  "layout(local_size_x = SIZE) in;\n"
                  "layout(binding = 0, std430) buffer Buffer { uint data[]; };\n"
                  "void main() { data[gl_GlobalInvocationID.x] = VALUE; }\n";

class ShaderCacheTest : public testing::Test {
protected:
    ShaderCacheTest() {
        char name[] = "/tmp/ostrevan_shader_cache_XXXXXX";
        folder = mkdtemp(name);
        EXPECT_TRUE(Shader::setSourceCache(folder.c_str()));
    }
    ~ShaderCacheTest() override {
        Shader::setSourceCache(nullptr);
        Shader::setCache(nullptr);
        EXPECT_EQ(system(("rm -rf " + folder).c_str()), 0);
    }

    // Words of the text with a macro and an include, and whether they came from the cache.
    static std::vector<uint32_t> compile(bool &hit, const char *text = src, uint32_t size = 64,
                                         const char *include = "#define VALUE 7u\n",
                                         Shader::Type type = Shader::TypeCompute) {
        const uint64_t hits = Shader::getNumSourceHits(), misses = Shader::getNumSourceMisses();
        const char *includes[] = {"value.h", include};
        ShaderCompiler compiler;
        compiler.createGLSL(type, text, String::format("SIZE=%u; TEST_SHADER=1", size), includes, 2);
        hit = (Shader::getNumSourceHits() == hits + 1);
        EXPECT_EQ(Shader::getNumSourceHits() + Shader::getNumSourceMisses(), hits + misses + 1);
        EXPECT_EQ(std::string(compiler.getName().get()), "TEST_SHADER");
        const Array<uint32_t> &words = compiler.getOpcodes();
        return std::vector<uint32_t>(words.get(), words.get() + words.size());
    }
    std::vector<std::string> list() const {
        std::vector<std::string> names;
        DIR *dir = opendir(folder.c_str());
        while(const dirent *item = readdir(dir)) {
            if(item->d_name[0] != '.') names.push_back(folder + "/" + item->d_name);
        }
        closedir(dir);
        return names;
    }

    std::string folder;
    CapturedLog log;
};

} // namespace

TEST_F(ShaderCacheTest, a_second_load_compiles_nothing) {
    bool hit = true;
    const std::vector<uint32_t> words = compile(hit);
    EXPECT_FALSE(hit);
    ASSERT_FALSE(words.empty());
    EXPECT_EQ(compile(hit), words);
    EXPECT_TRUE(hit);
    const ChildProcess child = runChild([&] { // the next start
        bool second = false;
        if(!Shader::setSourceCache(folder.c_str()) || compile(second) != words || !second) abort();
    });
    EXPECT_TRUE(child.isExited()) << child.err;

    // whatever reaches the compiler counts, and nothing else does
    EXPECT_NE(compile(hit, src, 32), words);
    EXPECT_FALSE(hit);
    EXPECT_NE(compile(hit, src, 64, "#define VALUE 8u\n"), words);
    EXPECT_FALSE(hit);
    EXPECT_EQ(compile(hit, src, 64, "#define OTHER 1\n#define VALUE 7u\n"), words);
    EXPECT_TRUE(hit);
    EXPECT_NE(compile(hit, (std::string(src) + "int f() { return 1; }\n").c_str()), std::vector<uint32_t>());
    EXPECT_FALSE(hit);
    const char *both = "#include \"value.h\"\nvoid main() {}\n";
    EXPECT_NE(compile(hit, both, 64, "// nothing\n", Shader::TypeVertex),
              compile(hit, both, 64, "// nothing\n", Shader::TypeFragment));
    EXPECT_FALSE(hit);
    EXPECT_EQ(log.text(), "");

    EXPECT_TRUE(Shader::clearSourceCache());
    EXPECT_EQ(compile(hit), words);
    EXPECT_FALSE(hit);
    Shader::setSourceCache(nullptr);
    EXPECT_FALSE(Shader::hasSourceCache());
    ShaderCompiler compiler;
    EXPECT_TRUE(compiler.createGLSL(Shader::TypeVertex, "void main() {}\n"));
}

TEST_F(ShaderCacheTest, failures_are_not_kept) {
    bool hit = true;
    for(uint32_t i = 0; i < 2; i++) {
        EXPECT_TRUE(compile(hit, "void main() { nonsense; }\n").empty());
        EXPECT_FALSE(hit);
        EXPECT_NE(log.take().find("TEST_SHADER:1: void main() { nonsense; }"), std::string::npos);
    }
    EXPECT_TRUE(list().empty());
}

TEST_F(ShaderCacheTest, damaged_words_are_misses) {
    bool hit = true;
    const std::vector<uint32_t> words = compile(hit);
    ASSERT_EQ(list().size(), 1u);
    const std::string path = list()[0];
    const off_t size = off_t(File::getSize(path.c_str()));
    for(off_t offset = 0; offset < size; offset += 7) {
        const int file = open(path.c_str(), O_RDWR);
        uint8_t byte = 0;
        EXPECT_EQ(pread(file, &byte, 1, offset), 1);
        byte ^= 0x10;
        EXPECT_EQ(pwrite(file, &byte, 1, offset), 1);
        close(file);
        EXPECT_EQ(compile(hit), words);
        EXPECT_FALSE(hit);
        EXPECT_EQ(compile(hit), words); // the miss put it right
        EXPECT_TRUE(hit);
    }
    EXPECT_EQ(truncate(path.c_str(), size / 2), 0);
    EXPECT_EQ(compile(hit), words);
    EXPECT_FALSE(hit);
}

TEST_F(ShaderCacheTest, many_threads_share_it) {
    bool hit = true;
    std::vector<std::vector<uint32_t>> words;
    for(uint32_t i = 0; i < 8; i++) words.push_back(compile(hit, src, 1 + i));
    Shader::clearSourceCache();
    std::vector<std::thread> threads;
    std::atomic<uint32_t> equal{0};
    for(uint32_t t = 0; t < 4; t++) {
        threads.emplace_back([&, t] {
            for(uint32_t i = 0; i < 24; i++) {
                const uint32_t index = (t + i) % 8;
                const char *includes[] = {"value.h", "#define VALUE 7u\n"};
                ShaderCompiler compiler;
                compiler.createGLSL(Shader::TypeCompute, src, String::format("SIZE=%u", 1 + index), includes, 2);
                const Array<uint32_t> &opcodes = compiler.getOpcodes();
                equal += (words[index] == std::vector<uint32_t>(opcodes.get(), opcodes.get() + opcodes.size()));
            }
        });
    }
    for(std::thread &thread : threads) thread.join();
    EXPECT_EQ(equal, 96u);
    EXPECT_GE(Shader::getNumSourceHits(), 64u);
}

TEST_F(ShaderCacheTest, programs_are_kept_apart) {
    const String key = Blob::getSHA1("program");
    Blob blob;
    EXPECT_FALSE(Shader::hasCache() || Shader::loadCache(key, blob) || Shader::saveCache(key, blob));
    EXPECT_FALSE(Shader::setCache("/dev/null/none"));
    EXPECT_NE(log.take(), "");
    ASSERT_TRUE(Shader::setCache((folder + "/programs").c_str()));
    EXPECT_TRUE(Shader::hasCache() && !Shader::loadCache(key, blob));
    blob.puts("program");
    blob.seek(0);
    EXPECT_TRUE(Shader::saveCache(key, blob));
    Blob loaded;
    EXPECT_TRUE(Shader::loadCache(key, loaded));
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(loaded.getData()), loaded.getSize()), "program");
    EXPECT_EQ(Shader::getNumCacheHits(), 1u);
    EXPECT_EQ(Shader::getNumCacheMisses(), 1u);
    bool hit = true;
    compile(hit); // the compiler leaves the programs alone
    EXPECT_EQ(Shader::getNumCacheHits() + Shader::getNumCacheMisses(), 2u);
    EXPECT_TRUE(Shader::clearCache() && !Shader::loadCache(key, loaded));
    compile(hit);
    EXPECT_TRUE(hit);
}

TEST(BuildId, is_that_of_the_linker) {
    uint32_t hash[5] = {}, again[5] = {};
    ASSERT_TRUE(get_build_id(hash) && get_build_id(again));
    EXPECT_EQ(memcmp(hash, again, sizeof(hash)), 0);
    // the note in the file of this program, read by another tool
    File file;
    ASSERT_TRUE(file.popen("readelf -n " OSTREVAN_BINARIES "/test_shader", "r"));
    const std::string text = file.gets().get();
    const size_t pos = text.find("Build ID: ");
    ASSERT_NE(pos, std::string::npos) << text;
    std::vector<uint8_t> bytes;
    for(size_t i = pos + 10; i + 1 < text.size() && isxdigit(text[i]); i += 2) {
        bytes.push_back(uint8_t(strtoul(text.substr(i, 2).c_str(), nullptr, 16)));
    }
    uint32_t expected[5] = {};
    EXPECT_TRUE(Blob::getSHA1(expected, bytes.data(), bytes.size()));
    EXPECT_EQ(memcmp(hash, expected, sizeof(hash)), 0);
}
