// Tables on the device: long-lived sets of buffers and textures that a shader chooses from.

#include <string.h>

#include "GpuTest.h"
#include "VKBufferTable.h"
#include "VKTextureTable.h"

using namespace Kolm;

class TableVKTest : public GpuTest {
protected:
    using TexturePtr = std::unique_ptr<Texture>;
    using BufferTablePtr = std::unique_ptr<BufferTable>;
    using TextureTablePtr = std::unique_ptr<TextureTable>;

    static constexpr uint32_t size = 100;

    BufferPtr createNumber(uint32_t number) {
        return createBuffer(Buffer::FlagStorage | Buffer::FlagSource, std::vector<uint32_t>(4, number));
    }
    TexturePtr createColor(uint32_t number) {
        TexturePtr texture(device->createTexture2D(FormatRu32, 4, 4, Texture::FlagSource));
        EXPECT_TRUE(texture && device->clearTexture(texture.get(), &number));
        return texture;
    }
    /// Kernel that reads one entry of a table for each thread: set 0 has the indices and results, set 1 the table.
    KernelPtr createTableKernel(Kernel::TableType type, const char *declaration, const char *expression,
                                uint32_t table_size = size) {
        KernelPtr kernel(device->createKernel(nullptr));
        kernel->setStorages(2);
        kernel->addTable(type, table_size);
        const std::string src = std::string(R"(#version 450
            #extension GL_EXT_nonuniform_qualifier : require
            layout(local_size_x = 32) in;
            layout(std430, set = 0, binding = 0) readonly buffer Indices { uint indices[]; };
            layout(std430, set = 0, binding = 1) writeonly buffer Results { uint results[]; };
            )") + declaration + R"(
            void main() {
                uint id = gl_GlobalInvocationID.x;
                uint index = indices[id];
                results[id] = )" +
                                expression + R"(;
            })";
        if(kernel->createShaderGLSL(src.c_str()) && kernel->create()) return kernel;
        ADD_FAILURE() << "can't create kernel of\n" << src;
        return nullptr;
    }
    /// Results of the kernel for the indices.
    template<class Func> std::vector<uint32_t> run(Kernel *kernel, const std::vector<uint32_t> &indices, Func set) {
        BufferPtr index_buffer = createBuffer(Buffer::FlagStorage, indices);
        BufferPtr results = createBuffer(Buffer::FlagStorage | Buffer::FlagSource, indices.size() * 4);
        {
            ComputePtr compute = createCompute();
            compute->setKernel(kernel);
            compute->setStorageBuffer(0, index_buffer.get());
            compute->setStorageBuffer(1, results.get());
            set(*compute);
            compute->dispatch(uint32_t(indices.size()));
        }
        return getWords(results.get());
    }
};

static const char *buffers_text =
    "layout(std430, set = 1, binding = 0) readonly buffer Data { uint data[4]; } buffers[100];";
static const char *textures_text = "layout(set = 1, binding = 0) uniform utexture2D textures[100];";
static const char *buffers_value = "buffers[nonuniformEXT(index)].data[id & 3u]";
static const char *textures_value = "texelFetch(textures[nonuniformEXT(index)], ivec2(id & 3u, 1), 0).x";

TEST_F(TableVKTest, buffers) {
    if(!device->getFeatures().bufferTable) GTEST_SKIP() << "no tables of buffers";
    KernelPtr kernel = createTableKernel(Kernel::TableTypeStorage, buffers_text, buffers_value);
    ASSERT_TRUE(kernel);
    BufferTablePtr table(device->createBufferTable(size));
    ASSERT_TRUE(table);
    table->setName("numbers");
    std::vector<BufferPtr> buffers;
    std::vector<Buffer *> pointers;
    for(uint32_t i = 0; i < 60; i++) {
        buffers.push_back(createNumber(1000 + i));
        pointers.push_back(buffers.back().get());
    }
    pointers[7] = nullptr;
    ASSERT_TRUE(device->setBufferTable(table.get(), 20, pointers.data(), 60));
    EXPECT_EQ(table->getMemory(), 59u * 16);
    std::vector<uint32_t> indices(64), expected(64);
    for(uint32_t i = 0; i < 64; i++) {
        indices[i] = 20 + (i * 13 + 9) % 60;
        if(indices[i] == 27) indices[i] = 28;
        expected[i] = 1000 + indices[i] - 20;
    }
    const auto set = [&](Compute &compute) { compute.setStorageTable(0, table.get()); };
    EXPECT_EQ(run(kernel.get(), indices, set), expected);

    // Written between two dispatches of one frame: the second one sees it, and the buffer that went stays alive for the
    // first. Owned ones go with the table or when their slot is written.
    ASSERT_TRUE(device->setBufferTable(table.get(), 27, createNumber(5).release(), true));
    ASSERT_TRUE(device->setBufferTable(table.get(), 27, createNumber(77).release(), true));
    ASSERT_TRUE(device->setBufferTable(table.get(), 20, static_cast<Buffer *>(nullptr)));
    indices.assign(32, 27);
    EXPECT_EQ(run(kernel.get(), indices, set), std::vector<uint32_t>(32, 77));
    table->clear();
    EXPECT_FALSE(table->isCreated());
    ASSERT_TRUE(table->create(3));
}

TEST_F(TableVKTest, textures) {
    if(!device->getFeatures().textureTable) GTEST_SKIP() << "no tables of textures";
    KernelPtr kernel = createTableKernel(Kernel::TableTypeTexture, textures_text, textures_value);
    ASSERT_TRUE(kernel);
    TextureTablePtr table(device->createTextureTable(Texture::Type2D, size));
    ASSERT_TRUE(table);
    std::vector<TexturePtr> textures;
    for(uint32_t i = 0; i < 10; i++) {
        textures.push_back(createColor(500 + i));
        ASSERT_TRUE(device->setTextureTable(table.get(), i * 11, textures.back().get()));
    }
    std::vector<uint32_t> indices(40), expected(40);
    for(uint32_t i = 0; i < 40; i++) {
        indices[i] = (i * 7 % 10) * 11;
        expected[i] = 500 + i * 7 % 10;
    }
    const auto set = [&](Compute &compute) { compute.setTextureTable(0, table.get()); };
    EXPECT_EQ(run(kernel.get(), indices, set), expected);
    // New contents need no new entry.
    const uint32_t number = 9;
    ASSERT_TRUE(device->clearTexture(textures[3].get(), &number));
    EXPECT_EQ(run(kernel.get(), std::vector<uint32_t>(32, 33), set), std::vector<uint32_t>(32, 9));
    // A texture that nothing was ever written to may stand in a table too.
    TexturePtr fresh(device->createTexture2D(FormatRu32, 4));
    ASSERT_TRUE(device->setTextureTable(table.get(), 99, fresh.get()));
    EXPECT_EQ(run(kernel.get(), std::vector<uint32_t>(32, 99), set).size(), 32u);
}

TEST_F(TableVKTest, refusals) {
    if(!device->getFeatures().bufferTable || !device->getFeatures().textureTable) GTEST_SKIP() << "no tables";
    BufferTablePtr small(device->createBufferTable(10));
    TextureTablePtr textures(device->createTextureTable(Texture::TypeCube, 4));
    ASSERT_TRUE(small && textures);
    BufferPtr number = createNumber(1);
    TexturePtr color = createColor(1);
    const struct {
        const char *name;
        bool result;
        const char *message;
    } rows[] = {
        {"more entries than the device has", device->createBufferTable(0xFFFFFFF0u) != nullptr,
         "VKBufferTable::create(): can't create descriptor layout"},
        {"past the end", device->setBufferTable(small.get(), 10, number.get()),
         "BufferTable::set(): can't set 10 buffer into 10 table"},
        {"another type", device->setTextureTable(textures.get(), 0, color.get()),
         "TextureTable::set(): can't set 2D texture into Cube table"},
    };
    for(const auto &row : rows) {
        EXPECT_FALSE(row.result) << row.name;
        EXPECT_EQ(countLog(row.message), 1u) << row.name;
        expectLog(row.message);
    }
}

// Sets and pools go with the frames.
TEST_F(TableVKTest, memory_stays_flat) {
    if(!device->getFeatures().bufferTable) GTEST_SKIP() << "no tables of buffers";
    KernelPtr kernel = createTableKernel(Kernel::TableTypeStorage, buffers_text, buffers_value);
    ASSERT_TRUE(kernel);
    BufferPtr indices = createBuffer(Buffer::FlagStorage, std::vector<uint32_t>(32, 1));
    BufferPtr results = createBuffer(Buffer::FlagStorage | Buffer::FlagSource, 128);
    size_t memory = 0;
    for(uint32_t frame = 0; frame < 60; frame++) {
        BufferTablePtr table(device->createBufferTable(size));
        ASSERT_TRUE(table && device->setBufferTable(table.get(), 1, createNumber(frame).release(), true));
        {
            ComputePtr compute = createCompute();
            compute->setKernel(kernel.get());
            compute->setStorageBuffer(0, indices.get());
            compute->setStorageBuffer(1, results.get());
            compute->setStorageTable(0, table.get());
            compute->dispatch(32);
        }
        // Destroyed while the device has not even begun.
        table.reset();
        ASSERT_TRUE(device->flip());
        if(frame == 20) memory = Allocator::getMemory();
    }
    EXPECT_LE(Allocator::getMemory(), memory + 1024);
    EXPECT_EQ(getWords(results.get()), std::vector<uint32_t>(32, 59));
}
