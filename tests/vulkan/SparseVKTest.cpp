// Sparse buffers and textures: memory that comes and goes under them.

#include <algorithm>
#include <random>
#include <string.h>

#include "GpuTest.h"
#include "VKBuffer.h"
#include "VKTexture.h"

using namespace Kolm;

class SparseVKTest : public GpuTest {
protected:
    using TexturePtr = std::unique_ptr<Texture>;
    std::mt19937 random{1};

    TexturePtr createTexture(Texture::Type type, Format format, const Size &size, uint32_t layers) {
        return TexturePtr(device->createTexture(type, format, size, layers,
                                                Texture::FlagSparse | Texture::FlagSource | Texture::FlagMipmaps));
    }
    /// A level as regions that are whole tiles, or less than one, in each direction.
    static std::vector<Region> getParts(const Texture &texture, uint32_t mipmap = 0) {
        const Size tile = texture.getTileSize(), size = texture.getSize(mipmap);
        std::vector<Region> parts;
        const auto split = [](uint32_t total, uint32_t step) {
            const uint32_t whole = total / step * step;
            std::vector<std::pair<uint32_t, uint32_t>> ranges;
            if(whole) ranges.push_back({0, whole});
            if(whole < total) ranges.push_back({whole, total - whole});
            return ranges;
        };
        for(const auto &x : split(size.width, tile.width)) {
            for(const auto &y : split(size.height, tile.height)) {
                for(const auto &z : split(size.depth, tile.depth))
                    parts.push_back(Region(x.first, y.first, z.first, x.second, y.second, z.second));
            }
        }
        return parts;
    }
    Image createImage(const Texture &texture) {
        Image image(Image::Type(texture.getType()), texture.getFormat(), texture.getSize(), texture.getLayers(),
                    Image::FlagMipmaps);
        uint8_t *data = image.getData();
        for(size_t i = 0, size = image.getDataSize(); i < size; i++) data[i] = uint8_t(random());
        return image;
    }
};

TEST_F(SparseVKTest, buffer_pages) {
    if(!device->getFeatures().sparseBuffer) GTEST_SKIP() << "no sparse buffers";
    // Far more than there is memory for.
    BufferPtr buffer = createBuffer(Buffer::FlagSparse | Buffer::FlagSource | Buffer::FlagStorage, size_t(1) << 30);
    ASSERT_TRUE(buffer);
    const size_t page = buffer->getPageSize();
    ASSERT_GT(page, 0u);
    const uint32_t allocations = getAdapter()->getNumAllocations();

    // Pages in random order; each keeps its contents while others come and go.
    constexpr uint32_t num_pages = 32;
    const size_t base = buffer->getSize() / 2;
    std::vector<uint8_t> bytes(page), result(page);
    std::vector<int> values(num_pages, -1);
    for(uint32_t step = 0; step < 200; step++) {
        const uint32_t index = random() % num_pages;
        const size_t offset = base + index * page;
        if(values[index] < 0) {
            values[index] = int(random() % 256);
            ASSERT_TRUE(device->bindBuffer(buffer.get(), offset, page, true));
            memset(bytes.data(), values[index], page);
            ASSERT_TRUE(device->setBuffer(buffer.get(), offset, bytes.data(), page));
        } else if(random() % 2) {
            ASSERT_TRUE(device->getBuffer(buffer.get(), offset, result.data(), page));
            EXPECT_EQ(std::count(result.begin(), result.end(), uint8_t(values[index])), ptrdiff_t(page)) << step;
        } else {
            values[index] = -1;
            ASSERT_TRUE(device->bindBuffer(buffer.get(), offset, page, false));
        }
        if(random() % 16 == 0) {
            ASSERT_TRUE(device->flip());
        }
    }
    // A page that has memory keeps it, and one that has none has nothing to lose.
    ASSERT_TRUE(device->bindBuffer(buffer.get(), base, page * num_pages, true));
    for(uint32_t i = 0; i < num_pages; i++) {
        if(values[i] < 0) continue;
        ASSERT_TRUE(device->getBuffer(buffer.get(), base + i * page, result.data(), page));
        EXPECT_EQ(result[page / 2], values[i]);
    }
    ASSERT_TRUE(device->bindBuffer(buffer.get(), base, page * num_pages * 2, false));
    ASSERT_TRUE(device->finish());
    // One heap for the pages, one transient buffer for the read-back.
    EXPECT_LE(getAdapter()->getNumAllocations(), allocations + 2);

    // A fence tells when the bind is done.
    std::unique_ptr<Fence> fence(device->createFence(Fence::DefaultFlags));
    ASSERT_TRUE(fence);
    ASSERT_TRUE(device->bindBuffer(buffer.get(), base, page, true, fence.get()));
    EXPECT_EQ(fence->getValue(), 1u);
    EXPECT_TRUE(fence->wait());

    EXPECT_FALSE(device->bindBuffer(buffer.get(), page / 2, page, true));
    EXPECT_FALSE(device->bindBuffer(buffer.get(), buffer->getSize(), page, true));
    expectLog("Buffer::bind(): invalid range");
}

// Tiles, and the tail that all small levels share, for every type.
TEST_F(SparseVKTest, texture_tiles) {
    if(!device->getFeatures().sparseTexture) GTEST_SKIP() << "no sparse textures";
    const struct {
        const char *name;
        Texture::Type type;
        Format format;
        Size size;
        uint32_t layers;
    } rows[] = {
        {"2D", Texture::Type2D, FormatRGBAu8n, Size(1000, 600), 1},
        {"layers", Texture::Type2D, FormatRf32, Size(512, 512), 3},
        {"blocks", Texture::Type2D, FormatBC1RGBAu8n, Size(1024, 1024), 1},
        {"Cube", Texture::TypeCube, FormatRGBAf16, Size(300, 300), 1},
        {"3D", Texture::Type3D, FormatRu8, Size(128, 100, 80), 1},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.name);
        if(row.type == Texture::Type3D && !getAdapter()->getFeatures().sparseResidencyImage3D) continue;
        TexturePtr texture = createTexture(row.type, row.format, row.size, row.layers);
        ASSERT_TRUE(texture);
        EXPECT_GT(texture->getTileWidth(), 0u);
        EXPECT_EQ(texture->getMemory(), 0u);

        // Everything, as one call.
        const std::vector<Region> parts = getParts(*texture);
        const Slice full = texture->getFullSlice();
        const uint32_t num_parts = uint32_t(parts.size());
        ASSERT_TRUE(device->bindTexture(texture.get(), parts.data(), num_parts, &full, 1, true));
        const size_t memory = texture->getMemory();
        EXPECT_GE(memory, createImage(*texture).getDataSize());
        Image image = createImage(*texture), result = createImage(*texture);
        ASSERT_TRUE(device->setTexture(texture.get(), image));
        ASSERT_TRUE(device->getTexture(texture.get(), result));
        EXPECT_TRUE(result == image);

        // The last tile of the first level goes; all other levels keep what they have.
        const Size tile = texture->getTileSize();
        if(texture->getTileMipmaps()) {
            Region region = texture->getRegion();
            region.x = (region.width - 1) / tile.width * tile.width;
            region.y = (region.height - 1) / tile.height * tile.height;
            region.z = (region.depth - 1) / tile.depth * tile.depth;
            region.width -= region.x;
            region.height -= region.y;
            region.depth -= region.z;
            // Whole tiles or what is left of one: all of these sizes are at most one tile.
            ASSERT_TRUE(device->bindTexture(texture.get(), region, Slice(), false));
            EXPECT_LT(texture->getMemory(), memory);
            ASSERT_TRUE(device->bindTexture(texture.get(), region, Slice(), true));
            EXPECT_EQ(texture->getMemory(), memory);
            ASSERT_TRUE(device->getTexture(texture.get(), result));
            const size_t first = image.getMipmapSize(0);
            EXPECT_EQ(memcmp(result.getData() + first, image.getData() + first, image.getLayerSize() - first), 0);
            EXPECT_EQ(memcmp(result.getData(), image.getData(), 64), 0);
        }
        for(uint32_t i = 0; i < texture->getMipmaps(); i++) {
            const std::vector<Region> level = getParts(*texture, i);
            const Slice slice = texture->getSlice(i);
            ASSERT_TRUE(device->bindTexture(texture.get(), level.data(), uint32_t(level.size()), &slice, 1, false));
        }
        EXPECT_EQ(texture->getMemory(), 0u);
    }
}

// Half of the levels, regions of several slices, and what is refused.
TEST_F(SparseVKTest, regions) {
    if(!device->getFeatures().sparseTexture) GTEST_SKIP() << "no sparse textures";
    TexturePtr texture = createTexture(Texture::Type2D, FormatRGBAu8n, Size(1024, 1024), 2);
    ASSERT_TRUE(texture);
    const Size tile = texture->getTileSize();
    const size_t tile_size = size_t(tile.width) * tile.height * 4;
    const Region regions[] = {
        Region(0, 0, tile.width, tile.height),
        Region(tile.width * 2, tile.height, tile.width, tile.height * 2),
    };
    const Slice slices[] = {Slice(), Slice(Layer(1))};
    ASSERT_TRUE(device->bindTexture(texture.get(), regions, 2, slices, 2, true));
    EXPECT_EQ(texture->getMemory(), tile_size * 3);
    // The shorter list repeats its last entry; what has memory already needs none.
    ASSERT_TRUE(device->bindTexture(texture.get(), regions, 2, slices, 1, true));
    EXPECT_EQ(texture->getMemory(), tile_size * 5);
    Image image(Image::Type2D, FormatRGBAu8n, Size(tile.width, tile.height)), result(image);
    memset(image.getData(), 77, image.getDataSize());
    const Origin origin(tile.width * 2, tile.height * 2, 0);
    ASSERT_TRUE(device->setTexture(texture.get(), origin, Slice(Layer(1)), image, Slice()));
    TexturePtr copy(device->createTexture2D(FormatRGBAu8n, tile.width, tile.height, Texture::FlagSource));
    ASSERT_TRUE(device->copyTexture(copy.get(), Origin(), Slice(), texture.get(),
                                    Region(origin, Size(tile.width, tile.height)), Slice(Layer(1))));
    ASSERT_TRUE(device->getTexture(copy.get(), result));
    EXPECT_TRUE(result == image);
    ASSERT_TRUE(device->bindTexture(texture.get(), regions, 2, slices, 2, false));
    EXPECT_EQ(texture->getMemory(), tile_size * 2);

    // Many in one frame, more than there are command buffers.
    for(uint32_t i = 0; i < 40; i++) {
        ASSERT_TRUE(device->bindTexture(texture.get(), regions[0], Slice(), i % 2));
        if(i % 2) {
            ASSERT_TRUE(device->setTexture(texture.get(), Origin(), Slice(), image, Slice()));
        }
    }
    EXPECT_FALSE(device->bindTexture(texture.get(), Region(1, 0, tile.width, tile.height), Slice(), true));
    expectLog("Texture::bind(): invalid origin 1x0");
    // A device for recording has no queue of its own.
    DevicePtr recorder(device->createCommandDevice(4));
    ASSERT_TRUE(recorder);
    const size_t memory = texture->getMemory();
    EXPECT_FALSE(recorder->bindTexture(texture.get(), Region(0, 512, tile.width, tile.height), Slice(), true));
    EXPECT_EQ(texture->getMemory(), memory);
    expectLog("VKTexture::bind(): can't bind texture\n");
}

// What was bound before the failure is given back, and nothing else changes.
TEST_F(SparseVKTest, out_of_memory) {
    if(!device->getFeatures().sparseTexture || !device->getFeatures().sparseBuffer) GTEST_SKIP() << "nothing sparse";
    TexturePtr texture = createTexture(Texture::Type2D, FormatRGBAu8n, Size(4096, 4096), 1);
    BufferPtr buffer = createBuffer(Buffer::FlagSparse | Buffer::FlagSource, size_t(1) << 26);
    ASSERT_TRUE(texture && buffer);
    getAdapter()->setMemoryLimit(0);
    EXPECT_FALSE(device->bindTexture(texture.get(), texture->getFullSlice(), true));
    EXPECT_FALSE(device->bindBuffer(buffer.get(), 0, buffer->getSize(), true));
    getAdapter()->setMemoryLimit(~0ull);
    EXPECT_EQ(texture->getMemory(), 0u);
    ASSERT_TRUE(device->bindTexture(texture.get(), texture->getRegion(), Slice(), true));
    ASSERT_TRUE(device->bindBuffer(buffer.get(), 0, buffer->getSize(), true));
    for(const char *text :
        {"VKTexture::bind(): can't bind texture memory", "VKBuffer::bind(): can't bind buffer memory", "can't allocate",
         "can't create heap", "VK_ERROR_OUT_OF_DEVICE_MEMORY"})
        expectLog(text);
}
