// Programs of the driver that are kept between runs.

#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include "GpuTest.h"
#include "KolmBlob.h"
#include "KolmShader.h"
#include "VKKernel.h"

using namespace Kolm;

class PipelineCacheVKTest : public GpuTest {
public:
    void SetUp() override {
        GpuTest::SetUp();
        char name[] = "/tmp/ostrevan_pipelines_XXXXXX";
        folder = mkdtemp(name);
        ASSERT_TRUE(Shader::setCache(folder.c_str()));
    }
    void TearDown() override {
        Shader::setCache(nullptr);
        EXPECT_EQ(system(("rm -rf " + folder).c_str()), 0);
        GpuTest::TearDown();
    }

protected:
    // Makes a kernel, runs it, and tells whether its program came from the folder.
    bool run(uint32_t value, uint32_t offset = 0) {
        const uint64_t hits = Shader::getNumCacheHits();
        const std::string src = "#version 450\nlayout(local_size_x = 64) in;\n"
                                "layout(std430, binding = " +
                                std::to_string(offset) +
                                ") buffer Data { uint data[]; };\n"
                                "void main() { data[gl_GlobalInvocationID.x] += " +
                                std::to_string(value) + "u; }\n";
        KernelPtr kernel(device->createKernel(nullptr));
        kernel->setStorages(1).setStorageOffset(offset);
        EXPECT_TRUE(kernel->createShaderGLSL(src.c_str()) && kernel->create());
        BufferPtr buffer =
            createBuffer(Buffer::Flags(Buffer::FlagStorage | Buffer::FlagSource), std::vector<uint32_t>(64, 5));
        ComputePtr compute = createCompute();
        compute->setKernel(kernel.get());
        compute->setStorageBuffer(0, buffer.get());
        compute->dispatch(64, 1, 1);
        compute.reset();
        EXPECT_EQ(getWords(buffer.get()), std::vector<uint32_t>(64, 5 + value));
        return Shader::getNumCacheHits() == hits + 1;
    }
    std::vector<std::string> list() const {
        std::vector<std::string> names;
        DIR *dir = opendir(folder.c_str());
        while(const dirent *item = readdir(dir)) {
            if(item->d_name[0] != '.') names.push_back(item->d_name);
        }
        closedir(dir);
        return names;
    }

    std::string folder;
};

TEST_F(PipelineCacheVKTest, a_second_kernel_is_not_compiled) {
    EXPECT_FALSE(run(1));
    EXPECT_TRUE(run(1));
    EXPECT_FALSE(run(2));    // another shader
    EXPECT_FALSE(run(1, 1)); // other bindings
    EXPECT_TRUE(run(2) && run(1, 1));
    EXPECT_EQ(list().size(), 3u);
    ASSERT_TRUE(Shader::setCache(folder.c_str())); // the next start
    EXPECT_TRUE(run(1) && run(2));
    EXPECT_EQ(Shader::getNumCacheMisses(), 0u);
}

TEST_F(PipelineCacheVKTest, damaged_and_foreign_programs_are_compiled_again) {
    EXPECT_FALSE(run(1));
    const std::string key = list()[0], path = folder + "/" + key;
    expectLog("Cache::load(): \"" + key + "\" entry is damaged\n");
    for(const off_t offset : {0, 30, 60, 100}) {
        const int file = open(path.c_str(), O_WRONLY);
        EXPECT_EQ(pwrite(file, "?", 1, offset), 1);
        close(file);
        EXPECT_FALSE(run(1));
        EXPECT_TRUE(run(1));
    }
    EXPECT_EQ(truncate(path.c_str(), 90), 0);
    EXPECT_FALSE(run(1));
    // whole entries with what no driver, or another one, would write: the kernel is made all the same
    Blob blob;
    ASSERT_TRUE(Shader::loadCache(key.c_str(), blob));
    for(const size_t offset : {0, 4, 8, 12, 16, 31}) {
        Blob foreign(blob);
        foreign.getData()[offset] ^= 0x55;
        foreign.seek(0);
        ASSERT_TRUE(Shader::saveCache(key.c_str(), foreign));
        run(1);
        Blob repaired;
        ASSERT_TRUE(Shader::loadCache(key.c_str(), repaired));
        EXPECT_EQ(memcmp(repaired.getData(), blob.getData(), 32), 0);
    }
    Blob empty;
    ASSERT_TRUE(Shader::saveCache(key.c_str(), empty));
    run(1);
}
