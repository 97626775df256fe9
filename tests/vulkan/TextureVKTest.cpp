// Textures on the device: creation, views, layouts, transfers, copies, fills and mipmaps against the same work on images.

#include <algorithm>
#include <array>
#include <math.h>
#include <random>
#include <string.h>

#include "KolmAllocator.h"
#include "TextureGpuTest.h"
#include "VKSampler.h"

using namespace Kolm;

class TextureVKTest : public TextureGpuTest {};

// Every format that the device has, in all types, with layers and levels of odd sizes.
TEST_F(TextureVKTest, transfers_are_exact) {
    uint32_t num_formats = 0;
    for(uint32_t i = 1; i < NumFormats; i++) {
        const Format format = Format(i);
        SCOPED_TRACE(getFormatName(format));
        if(!device->hasTexture(format)) {
            EXPECT_EQ(createTexture(Texture::Type2D, format, Size(16, 16), 1, source), nullptr);
            expectLog(std::string("VKTexture::create(): ") + getFormatName(format) + " format is not supported");
            continue;
        }
        num_formats++;
        const struct {
            const char *name;
            Texture::Type type;
            Size size;
            uint32_t layers;
        } rows[] = {
            {"2D", Texture::Type2D, Size(37, 21), 3},
            {"3D", Texture::Type3D, Size(19, 7, 11), 1},
            {"Cube", Texture::TypeCube, Size(20, 20), 2},
        };
        for(const auto &row : rows) {
            SCOPED_TRACE(row.name);
            // Devices need not have blocks or depth in 3D.
            if(row.type == Texture::Type3D && (isBlockFormat(format) || isDepthFormat(format))) continue;
            TexturePtr texture = createTexture(row.type, format, row.size, row.layers, source | mipmaps);
            ASSERT_TRUE(texture);
            Image image = get_image(*texture);
            fill(image);
            ASSERT_TRUE(device->setTexture(texture.get(), image));
            EXPECT_TRUE(read(texture) == image);
            EXPECT_GE(texture->getMemory(), image.getDataSize() / 2);
        }
    }
    // What every device has: 8, 16 and 32 bits of 1, 2 and 4 components in most kinds, and depth.
    EXPECT_GT(num_formats, 50u);
    printf("%u formats\n", num_formats);
}

// Every transfer, copy and fill of a part is done to an image as well.
TEST_F(TextureVKTest, follows_images) {
    const struct {
        const char *name;
        Texture::Type type;
        Format format;
        Size size;
        uint32_t layers, step;
    } rows[] = {
        {"2D", Texture::Type2D, FormatRGBAu8n, Size(45, 33), 3, 1},
        {"sRGB", Texture::Type2D, FormatBGRAu8ns, Size(16, 64), 2, 1},
        {"half", Texture::TypeCube, FormatRGf16, Size(32, 32), 2, 1},
        {"triple", Texture::Type2D, FormatRGBf32, Size(30, 20), 1, 1},
        {"3D", Texture::Type3D, FormatRi16, Size(20, 12, 9), 1, 1},
        {"blocks", Texture::Type2D, FormatBC1RGBAu8n, Size(64, 32), 3, 4},
        {"depth and stencil", Texture::Type2D, FormatDf32Su8, Size(24, 24), 2, 1},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.name);
        if(!device->hasTexture(row.format)) {
            printf("no %s\n", getFormatName(row.format));
            continue;
        }
        TexturePtr textures[2];
        Image images[2];
        for(uint32_t i = 0; i < 2; i++) {
            textures[i] = createTexture(row.type, row.format, row.size, row.layers, source | mipmaps);
            ASSERT_TRUE(textures[i]);
            images[i] = get_image(*textures[i]);
            fill(images[i]);
            ASSERT_TRUE(device->setTexture(textures[i].get(), images[i]));
        }
        const uint32_t unit_size = get_unit_size(images[0]);
        const auto number = [&](uint32_t max) { return random() % max; };
        for(uint32_t step = 0; step < 150; step++) {
            const uint32_t dest = number(2), src = number(2);
            Texture *texture = textures[dest].get();
            // A region of whole units in one level, or of whole levels.
            const uint32_t mipmap = number(2);
            const Size size = texture->getSize(mipmap);
            Region region(0, 0, 0, 0, 0, 0);
            region.x = number(size.width / row.step) * row.step;
            region.y = number(size.height / row.step) * row.step;
            region.z = number(size.depth);
            region.width = (1 + number((size.width - region.x) / row.step)) * row.step;
            region.height = (1 + number((size.height - region.y) / row.step)) * row.step;
            region.depth = 1 + number(size.depth - region.z);
            const Slice slice(Face(number(texture->getFaces())), Layer(number(row.layers)), Mipmap(mipmap));
            const Slice other(Face(number(texture->getFaces())), Layer(number(row.layers)), Mipmap(mipmap));
            SCOPED_TRACE(testing::Message() << step << ": " << dest << " from " << src);
            switch(number(5)) {
            case 0: {
                const Size part_size(region.width, region.height, region.depth);
                Image part(row.type == Texture::Type3D ? Image::Type3D : Image::Type2D, row.format, part_size);
                fill(part);
                ASSERT_TRUE(device->setTexture(texture, region.getOrigin(), slice, part, Slice()));
                images[dest].copy(part, region.getOrigin(), part.getRegion(), slice, Slice());
            } break;
            case 1:
                if(src == dest && slice == other) break;
                ASSERT_TRUE(
                    device->copyTexture(texture, region.getOrigin(), slice, textures[src].get(), region, other));
                images[dest].copy(Image(images[src]), region.getOrigin(), region, slice, other);
                break;
            case 2: {
                // Small floats: no patterns that a conversion changes.
                uint8_t value[16];
                for(uint32_t i = 0; i < unit_size; i++) value[i] = uint8_t(number(100));
                if(row.format == FormatDf32Su8) {
                    const float depth = 0.25f;
                    memcpy(value, &depth, sizeof(depth));
                    value[5] = value[6] = value[7] = 0;
                }
                const bool whole = number(2);
                if(whole) region = texture->getRegion(mipmap);
                ASSERT_TRUE(device->clearTexture(texture, region, slice, value));
                for(uint32_t z = 0; z < region.depth; z++) {
                    for(uint32_t y = 0; y < region.height; y += row.step) {
                        for(uint32_t x = 0; x < region.width; x += row.step) {
                            const Origin origin(region.x + x, region.y + y, region.z + z);
                            memcpy(images[dest].getData(origin, slice), value, unit_size);
                        }
                    }
                }
            } break;
            case 3: {
                Image part(row.type == Texture::Type3D ? Image::Type3D : Image::Type2D, row.format, size);
                ASSERT_TRUE(device->getTexture(texture, slice, part, Slice()));
                Image expected(part);
                expected.copy(images[dest], Slice(), slice);
                ASSERT_TRUE(part == expected);
            } break;
            case 4:
                if(number(4) == 0) {
                    ASSERT_TRUE(device->flip());
                } else if(getContext()->getNumCommands() < VKContext::MaxFlushes) {
                    ASSERT_TRUE(device->flush());
                }
                break;
            }
        }
        for(uint32_t i = 0; i < 2; i++) EXPECT_TRUE(read(textures[i]) == images[i]) << i;
    }
}

// A fill of a whole texture is the driver's work, of pixels that the driver has to understand.
TEST_F(TextureVKTest, clears) {
    for(uint32_t i = 1; i < NumFormats; i++) {
        const Format format = Format(i);
        SCOPED_TRACE(getFormatName(format));
        if(!device->hasTexture(format)) continue;
        TexturePtr texture = createTexture(Texture::Type2D, format, Size(24, 12), 2, source | mipmaps);
        ASSERT_TRUE(texture);
        for(uint32_t pass = 0; pass < 5; pass++) {
            Image pixel(Image::Type2D, format,
                        Size(std::max(texture->getBlockWidth(), 1u), std::max(texture->getBlockHeight(), 1u)));
            fill(pixel);
            uint8_t *data = pixel.getData();
            const uint32_t size = get_unit_size(pixel);
            // Finite floats, depth from 0 to 1, and no byte that stands for -1 a second time.
            if(isf16Format(format))
                for(uint32_t j = 1; j < size; j += 2) data[j] &= 0xBF;
            if(isf32Format(format))
                for(uint32_t j = 3; j < size; j += 4) data[j] &= 0xBF;
            if(isDepthFormat(format) && isf32Format(format)) data[3] = 0x3E;
            if(isNormFormat(format) && isSignedFormat(format))
                for(uint32_t j = 0; j < size; j++) data[j] = uint8_t(data[j] & 0x7F);
            ASSERT_TRUE(device->clearTexture(texture.get(), pass ? data : nullptr));
            const Image image = read(texture);
            const uint8_t *pixels = image.getData();
            if(pass == 0) memset(data, 0, size);
            uint32_t num_wrong = 0;
            for(size_t j = 0; j < image.getDataSize(); j += size) num_wrong += (memcmp(pixels + j, data, size) != 0);
            EXPECT_EQ(num_wrong, 0u) << pass;
        }
    }
    // Samples can't be copied to, so that a region of them can't be filled.
    TexturePtr texture = createTexture(Texture::Type2D, FormatRGBAu8ns, Size(16, 16), 1,
                                       Texture::FlagMultisample4 | Texture::FlagTarget);
    ASSERT_TRUE(texture);
    EXPECT_TRUE(device->clearTexture(texture.get()));
    EXPECT_FALSE(device->clearTexture(texture.get(), Region(0, 0, 4, 4), nullptr));
    expectLog("VKTexture::clear(): can't clear 2D RGBAu8ns 16x16 Target 4x texture region");
}

// The mean of four pixels, of eight in 3D, for sizes that halve evenly.
TEST_F(TextureVKTest, mipmaps) {
    const struct {
        const char *name;
        Texture::Type type;
        Format format;
        Size size;
        uint32_t layers;
    } rows[] = {
        {"bytes", Texture::Type2D, FormatRGBAu8n, Size(64, 32), 3},
        {"words", Texture::Type2D, FormatRGu16n, Size(32, 32), 1},
        {"floats", Texture::TypeCube, FormatRGBAf32, Size(32, 32), 2},
        {"3D", Texture::Type3D, FormatRf32, Size(16, 32, 8), 1},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.name);
        TexturePtr texture = createTexture(row.type, row.format, row.size, row.layers, source | mipmaps);
        ASSERT_TRUE(texture);
        Image image(Image::Type(row.type), row.format, row.size, row.layers);
        for(size_t i = 0, size = image.getDataSize(); i < size; i += 4) {
            const float value = float(random() % 4096) / 4096.0f;
            const uint32_t word = uint32_t(random());
            memcpy(image.getData() + i, isFloatFormat(row.format) ? static_cast<const void *>(&value) : &word, 4);
        }
        ASSERT_TRUE(device->setTexture(texture.get(), Origin(), texture->getFullSlice(), image, image.getSlice()));
        ASSERT_TRUE(device->createMipmaps(texture.get()));
        const Image result = read(texture);
        double error = 0.0;
        const auto add = [&error](double a, double b, double max) { error = std::max(error, fabs(a - b) / max); };
        for(uint32_t mipmap = 0; mipmap + 1 < texture->getMipmaps(); mipmap++) {
            // Each level from the one above it, as the device made that.
            const Image above = result.getSlice(texture->getSlice(mipmap));
            const Image level = result.getSlice(texture->getSlice(mipmap + 1));
            Image expected(level);
            const Image chain = above.getMipmapped(Image::FilterBox);
            expected.copy(chain, level.getSlice(), texture->getSlice(1));
            ASSERT_EQ(level.getSize(), chain.getSize(1));
            for(size_t i = 0; i + 4 <= level.getDataSize(); i += 4) {
                float fa, fb;
                uint16_t wa[2], wb[2];
                const uint8_t *a = level.getData() + i, *b = expected.getData() + i;
                memcpy(&fa, a, 4);
                memcpy(&fb, b, 4);
                memcpy(wa, a, 4);
                memcpy(wb, b, 4);
                for(uint32_t j = 0; j < 4; j++) {
                    if(isFloatFormat(row.format)) add(fa, fb, 1.0);
                    if(is8BitFormat(row.format)) add(a[j], b[j], 255.0);
                    if(row.format == FormatRGu16n) add(wa[j / 2], wb[j / 2], 65535.0);
                }
            }
        }
        EXPECT_LT(error, is8BitFormat(row.format) ? 1.1 / 255.0 : 2e-5);
    }

    // Whole numbers have no mean: each pixel is one of those above it. A part of a chain leaves the others alone.
    TexturePtr texture = createTexture(Texture::Type2D, FormatRu32, Size(16, 16), 2, source | mipmaps);
    Image image = get_image(*texture);
    fill(image);
    ASSERT_TRUE(device->setTexture(texture.get(), image));
    ASSERT_TRUE(device->createMipmaps(texture.get(), Slice(Layer(1), Mipmap(1, 2))));
    const Image result = read(texture);
    for(uint32_t layer = 0; layer < 2; layer++) {
        for(uint32_t mipmap = 0; mipmap < 5; mipmap++) {
            const Slice slice = Slice(Layer(layer), Mipmap(mipmap));
            const bool made = (layer == 1 && mipmap == 2);
            const size_t size = image.getMipmapSize(mipmap);
            EXPECT_EQ(memcmp(result.getData(slice), image.getData(slice), size) == 0, !made) << layer << mipmap;
            if(!made) continue;
            for(uint32_t i = 0; i < 16; i++) {
                uint32_t pixel, above[4];
                memcpy(&pixel, result.getData(Origin(i % 4, i / 4), slice), 4);
                for(uint32_t j = 0; j < 4; j++) {
                    const Origin origin(i % 4 * 2 + j % 2, i / 4 * 2 + j / 2);
                    memcpy(&above[j], image.getData(origin, Slice(Layer(layer), Mipmap(1))), 4);
                }
                EXPECT_TRUE(pixel == above[0] || pixel == above[1] || pixel == above[2] || pixel == above[3]);
            }
        }
    }
}

// Blocks are set and read as pixels of their size, and copied to and from textures of such.
TEST_F(TextureVKTest, blocks_are_pixels) {
    if(!device->hasTexture(FormatBC3RGBAu8n)) GTEST_SKIP() << "no blocks";
    TexturePtr blocks = createTexture(Texture::Type2D, FormatBC3RGBAu8n, Size(30, 22), 1, source);
    TexturePtr pixels = createTexture(Texture::Type2D, FormatRGBAu32, Size(8, 6), 1, source);
    ASSERT_TRUE(blocks && pixels);
    Image words(Image::Type2D, FormatRGBAu32, Size(8, 6));
    fill(words);
    ASSERT_TRUE(device->setTexture(blocks.get(), words));
    Image block_image(Image::Type2D, FormatBC3RGBAu8n, Size(30, 22));
    ASSERT_TRUE(device->getTexture(blocks.get(), block_image));
    ASSERT_EQ(block_image.getDataSize(), words.getDataSize());
    EXPECT_EQ(memcmp(block_image.getData(), words.getData(), words.getDataSize()), 0);
    ASSERT_TRUE(device->copyTexture(pixels.get(), blocks.get()));
    Image result(Image::Type2D, FormatRGBAu32, Size(8, 6));
    ASSERT_TRUE(device->getTexture(pixels.get(), result));
    EXPECT_TRUE(result == words);
    Image back(Image::Type2D, FormatBC3RGBAu8n, Size(30, 22));
    ASSERT_TRUE(device->setTexture(pixels.get(), block_image));
    ASSERT_TRUE(device->getTexture(pixels.get(), back));
    EXPECT_TRUE(back == block_image);
}

// More than one transient buffer holds, in rows and in slices of depth.
TEST_F(TextureVKTest, large_transfers) {
    for(const auto &size : {Size(4096, 2500), Size(512, 300, 80)}) {
        const Texture::Type type = (size.depth > 1) ? Texture::Type3D : Texture::Type2D;
        TexturePtr texture = createTexture(type, FormatRGBAu8, size, 1, source);
        ASSERT_TRUE(texture);
        Image image = get_image(*texture);
        for(size_t i = 0, size = image.getDataSize(); i < size; i += 4) {
            const uint32_t word = uint32_t(i * 2654435761u);
            memcpy(image.getData() + i, &word, 4);
        }
        for(uint32_t i = 0; i < 3; i++) {
            image.getData()[i * 1000] ^= 1;
            ASSERT_TRUE(device->setTexture(texture.get(), image));
        }
        EXPECT_TRUE(read(texture) == image);
    }
}

// Copies by the host need a driver that has them, and no layer that does not know them.
class HostCopyVKTest : public TextureGpuTest {
protected:
    void SetUp() override {
        TextureGpuTest::SetUp();
        device.reset();
        offscreen.reset();
        VK::setValidation(false);
        offscreen.reset(new VKOffscreen());
        ASSERT_TRUE(offscreen->create());
        device.reset(new VKDevice(offscreen.get()));
        if(!getAdapter()->getHostImageCopyFeatures().hostImageCopy) GTEST_SKIP() << "no VK_EXT_host_image_copy";
    }
};

TEST_F(HostCopyVKTest, transfers_are_exact) {
    const struct {
        Texture::Type type;
        Format format;
        Size size;
        uint32_t layers;
    } rows[] = {
        {Texture::Type2D, FormatRGBAu8n, Size(67, 31), 1},    {Texture::Type2D, FormatRu16, Size(16, 5), 3},
        {Texture::Type3D, FormatRGBAf16, Size(20, 11, 7), 1}, {Texture::TypeCube, FormatRGBAf32, Size(33, 33), 2},
        {Texture::Type2D, FormatBC3RGBAu8n, Size(50, 22), 1},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(getFormatName(row.format));
        TexturePtr texture = createTexture(row.type, row.format, row.size, row.layers, source | mipmaps);
        ASSERT_TRUE(texture);
        EXPECT_TRUE(vk(texture)->hasHostCopies());
        Image image = get_image(*texture);
        // At first nothing is recorded, then the texture is in the middle of work, then all of that ran.
        for(uint32_t i = 0; i < 3; i++) {
            fill(image);
            const uint32_t allocations = getAdapter()->getTotalAllocations();
            ASSERT_TRUE(device->setTexture(texture.get(), image));
            EXPECT_TRUE(i > 0 || getAdapter()->getTotalAllocations() == allocations);
            TexturePtr copy = createTexture(row.type, row.format, row.size, row.layers, source | mipmaps);
            ASSERT_TRUE(device->copyTexture(copy.get(), texture.get()));
            if(i == 1) {
                const Image before = image;
                fill(image);
                ASSERT_TRUE(device->setTexture(texture.get(), image));
                EXPECT_TRUE(read(copy) == before);
            } else {
                EXPECT_TRUE(read(copy) == image);
            }
            EXPECT_TRUE(read(texture) == image);
        }
    }
}

TEST_F(TextureVKTest, refusals) {
    TexturePtr samples =
        createTexture(Texture::Type2D, FormatRGBAu8n, Size(16, 16), 1, Texture::FlagMultisample4 | Texture::FlagTarget);
    TexturePtr blocks = createTexture(Texture::Type2D, FormatBC1RGBAu8n, Size(16, 16), 1, mipmaps);
    TexturePtr plain = createTexture(Texture::Type2D, FormatRGBAu8n, Size(16, 16), 1, Texture::FlagNone);
    ASSERT_TRUE(samples && blocks && plain);
    Image image(Image::Type2D, FormatRGBAu8n, Size(16, 16)), large(Image::Type2D, FormatRGBAu8n, Size(17, 16));
    const Region region;
    const Slice slice;
    const struct {
        const char *name;
        bool result;
        const char *message;
    } rows[] = {
        {"size past the limit", createTexture(Texture::Type2D, FormatRu8, Size(1 << 20, 4), 1, source) != nullptr,
         "VKTexture::create(): can't create 2D Ru8 1048576x4 Source texture"},
        {"layers past the limit", createTexture(Texture::Type2D, FormatRu8, Size(4, 4), 65535, source) != nullptr,
         "VKTexture::create(): can't create 2D Ru8 4x4 l65535 Source texture"},
        {"samples that the device has not",
         createTexture(Texture::Type2D, FormatRGBAu8n, Size(4, 4), 1,
                       Texture::FlagMultisample2 | Texture::FlagTarget) != nullptr,
         "VKTexture::create(): can't create 2D RGBAu8n 4x4 Target 2x texture"},
        {"blocks as a target",
         createTexture(Texture::Type2D, FormatBC1RGBAu8n, Size(4, 4), 1, Texture::FlagTarget) != nullptr,
         "VKTexture::create(): can't get 2D BC1RGBAu8n 4x4 Target texture properties"},
        {"surface of sRGB",
         createTexture(Texture::Type2D, FormatRGBAu8ns, Size(4, 4), 1, Texture::FlagSurface) != nullptr,
         "VKTexture::create(): can't get 2D RGBAu8ns 4x4 Surface texture properties"},
        {"set samples", device->setTexture(samples.get(), image), "can't set multisample texture"},
        {"get samples", device->getTexture(samples.get(), image), "can't get multisample texture"},
        {"set past the edge", device->setTexture(plain.get(), large), "Texture::set(): can't set 2D RGBAu8n 17x16"},
        {"mipmaps of blocks", device->createMipmaps(blocks.get()), "can't create mipmaps for 2D BC1RGBAu8n"},
        {"bind what is not sparse", device->bindTexture(plain.get(), &region, 1, &slice, 1, true),
         "can't bind non-sparse texture"},
        {"copy of one that is not shared", device->createTexture(plain.get()) != nullptr,
         "texture has no Shared or Interop flag"},
    };
    for(const auto &row : rows) {
        EXPECT_FALSE(row.result) << row.name;
        EXPECT_EQ(countLog(row.message), 1u) << row.name;
        expectLog(row.message);
    }
}

// The device may still use what is let go: nothing is destroyed before its frame has passed, and nothing stays.
TEST_F(TextureVKTest, memory_stays_flat) {
    Image image(Image::Type2D, FormatRGBAu8n, Size(40, 40), Image::FlagMipmaps);
    fill(image);
    uint32_t allocations = 0;
    size_t memory = 0;
    for(uint32_t frame = 0; frame < 300; frame++) {
        TexturePtr texture(device->createTexture(image, source | mipmaps));
        TexturePtr other = createTexture(Texture::TypeCube, FormatRf32, Size(32, 32), 1, source | mipmaps);
        ASSERT_TRUE(texture && other);
        ASSERT_TRUE(vk(texture)->getTextureView(Slice(Mipmap(frame % 4))));
        ASSERT_TRUE(device->createMipmaps(texture.get()) && device->clearTexture(other.get()));
        std::unique_ptr<Sampler> sampler(device->createSampler(Sampler::FilterTrilinear));
        ASSERT_TRUE(sampler);
        // Created anew while the first image waits.
        device->releaseTexture(texture.get());
        EXPECT_FALSE(texture->isCreated());
        ASSERT_TRUE(texture->create2D(FormatRGBAu8n, 8));
        ASSERT_TRUE(device->clearTexture(texture.get()));
        texture.reset();
        ASSERT_TRUE(device->flip());
        if(frame == 50) {
            allocations = getAdapter()->getNumAllocations();
            memory = Allocator::getMemory();
        }
    }
    EXPECT_EQ(getAdapter()->getNumAllocations(), allocations);
    EXPECT_LE(Allocator::getMemory(), memory + 1024);
}

TEST_F(TextureVKTest, out_of_memory) {
    const struct {
        Size size;
        const char *message;
    } rows[] = {
        {Size(16, 16), "VKTexture::create(): can't allocate 2D RGBAu8n 16x16 texture memory"},
        {Size(1024, 1024), "VKTexture::create(): can't allocate 2D RGBAu8n 1024x1024 texture memory"},
        {Size(4096, 2048), "VKTexture::create(): can't allocate 2D RGBAu8n 4096x2048 texture memory"},
    };
    for(const auto &row : rows) {
        getAdapter()->setMemoryLimit(0);
        EXPECT_EQ(createTexture(Texture::Type2D, FormatRGBAu8n, row.size, 1, Texture::FlagNone), nullptr);
        EXPECT_EQ(countLog(row.message), 1u);
        getAdapter()->setMemoryLimit(~0ull);
        EXPECT_TRUE(createTexture(Texture::Type2D, FormatRGBAu8n, row.size, 1, Texture::FlagNone));
    }
    expectLog("can't allocate");
    expectLog("can't create heap");
    expectLog("VK::error(): VK_ERROR_OUT_OF_DEVICE_MEMORY");
}

static uint32_t num_barriers = 0;
static PFN_vkCmdPipelineBarrier plain_barrier = nullptr;
static VKAPI_ATTR void VKAPI_CALL count_barrier(VkCommandBuffer command, VkPipelineStageFlags src_stages,
                                                VkPipelineStageFlags dest_stages, VkDependencyFlags flags,
                                                uint32_t num_memories, const VkMemoryBarrier *memories,
                                                uint32_t num_buffers, const VkBufferMemoryBarrier *buffers,
                                                uint32_t num_images, const VkImageMemoryBarrier *images) {
    num_barriers += num_images;
    plain_barrier(command, src_stages, dest_stages, flags, num_memories, memories, num_buffers, buffers, num_images,
                  images);
}

// One barrier for a change, none for the same use again.
TEST_F(TextureVKTest, layouts) {
    plain_barrier = getAdapter()->vkCmdPipelineBarrier;
    getAdapter()->vkCmdPipelineBarrier = count_barrier;
    TexturePtr texture = createTexture(Texture::Type2D, FormatRGBAu8n, Size(16, 16), 1, source);
    TexturePtr surface = createTexture(Texture::Type2D, FormatRGBAu8n, Size(16, 16), 1, Texture::FlagSurface);
    ASSERT_TRUE(texture && surface);
    EXPECT_EQ(vk(texture)->getTextureLayout(), VK_IMAGE_LAYOUT_UNDEFINED);
    ASSERT_TRUE(device->clearTexture(texture.get()) && device->clearTexture(surface.get()));
    EXPECT_EQ(vk(texture)->getTextureLayout(), VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL);
    EXPECT_EQ(vk(surface)->getTextureLayout(), VK_IMAGE_LAYOUT_GENERAL);

    num_barriers = 0;
    const VkPipelineStageFlags compute = VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT;
    const VkPipelineStageFlags fragment = VK_PIPELINE_STAGE_FRAGMENT_SHADER_BIT;
    const struct {
        const char *name;
        const TexturePtr &texture;
        VkImageLayout layout;
        VkAccessFlags access;
        VkPipelineStageFlags stages;
        bool force;
        uint32_t num;
    } rows[] = {
        {"after an operation", texture, VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL, 0, compute, false, 0},
        {"another layout", texture, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, 0, 0, false, 1},
        {"the same again", texture, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, 0, 0, false, 0},
        {"the same by force", texture, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, 0, 0, true, 1},
        {"one stage", texture, VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL, 0, compute, false, 1},
        {"another stage", texture, VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL, 0, fragment, false, 1},
        {"the first stage again", texture, VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL, 0, compute, false, 0},
        {"written", surface, VK_IMAGE_LAYOUT_GENERAL, 0, compute, false, 0},
        {"read", surface, VK_IMAGE_LAYOUT_GENERAL, VK_ACCESS_SHADER_READ_BIT, compute, false, 1},
        {"read again", surface, VK_IMAGE_LAYOUT_GENERAL, VK_ACCESS_SHADER_READ_BIT, compute, false, 0},
        {"written again", surface, VK_IMAGE_LAYOUT_GENERAL, 0, compute, false, 1},
    };
    for(const auto &row : rows) {
        num_barriers = 0;
        vk(row.texture)->setTextureLayout(getContext(), row.layout, row.force, row.access, row.stages);
        EXPECT_EQ(num_barriers, row.num) << row.name;
        EXPECT_EQ(vk(row.texture)->getTextureLayout(), row.layout) << row.name;
    }
    // A batch is one command, however many textures it has.
    num_barriers = 0;
    EXPECT_TRUE(device->flushTextures({texture.get(), surface.get()}, Texture::FlagSource));
    EXPECT_EQ(num_barriers, 2u);
    EXPECT_TRUE(device->finish());
    getAdapter()->vkCmdPipelineBarrier = plain_barrier;
}

// An image of the application, whose layout is known to the device afterwards.
TEST_F(TextureVKTest, wrapped_image) {
    TexturePtr owner = createTexture(Texture::Type2D, FormatRGBAu8n, Size(16, 16), 2, source | mipmaps);
    Image image = get_image(*owner);
    fill(image);
    ASSERT_TRUE(device->setTexture(owner.get(), image));
    TexturePtr texture(device->createTexture());
    ASSERT_TRUE(vk(texture)->create(Texture::Type2D, FormatRGBAu8n, Size(16, 16), 2, source | mipmaps,
                                    vk(owner)->getImage(), vk(owner)->getTextureLayout()));
    EXPECT_EQ(vk(texture)->getImage(), vk(owner)->getImage());
    EXPECT_NE(vk(texture)->getImageID(), vk(owner)->getImageID());
    EXPECT_TRUE(texture->hasFlag(Texture::FlagExtern));
    EXPECT_TRUE(read(texture) == image);
    texture.reset();
    EXPECT_TRUE(read(owner) == image);
}

// Contents that a device for copies sent are there for the others.
TEST_F(TextureVKTest, copy_device) {
    DevicePtr copier(device->createCopyDevice(3));
    ASSERT_TRUE(copier);
    TexturePtr texture = createTexture(Texture::Type2D, FormatRGBAu8n, Size(64, 64), 1, source | mipmaps);
    Image image = get_image(*texture);
    fill(image);
    ASSERT_TRUE(copier->setTexture(texture.get(), image));
    ASSERT_TRUE(copier->finish());
    EXPECT_TRUE(read(texture) == image);
    DevicePtr recorder(device->createCommandDevice(4));
    ASSERT_TRUE(recorder);
    fill(image);
    ASSERT_TRUE(recorder->setTexture(texture.get(), image));
    EXPECT_FALSE(recorder->getTexture(texture.get(), image));
    expectLog("VKTexture::get(): can't get download buffer");
    ASSERT_TRUE(device->execute(recorder.get()));
    EXPECT_TRUE(read(texture) == image);
}

// Every part has a view of its own, and the same one again.
TEST_F(TextureVKTest, views) {
    const auto mipmaps = Texture::FlagMipmaps;
    const auto target = Texture::FlagTarget, surface = Texture::FlagSurface;
    const auto as_texture = VKTexture::ViewTexture;
    const auto as_surface = VKTexture::ViewSurface;
    const auto as_target = VKTexture::ViewTarget;
    const struct {
        const char *name;
        Texture::Type type;
        Format format;
        uint32_t depth, layers;
        Texture::Flags flags;
        Slice slice;
        Format view_format;
        VKTexture::ViewType view_type;
        bool result;
    } rows[] = {
        {"level", Texture::Type2D, FormatRGBAu8n, 1, 1, mipmaps, Mipmap(2, 3), FormatUnknown, as_texture, true},
        {"layers", Texture::Type2D, FormatRGBAu8n, 1, 4, mipmaps, Layer(1, 2), FormatUnknown, as_texture, true},
        {"face", Texture::TypeCube, FormatRGBAu8n, 1, 1, mipmaps, Face(5), FormatUnknown, as_texture, true},
        {"some faces", Texture::TypeCube, FormatRGBAu8n, 1, 1, mipmaps, Face(1, 3), FormatUnknown, as_texture, true},
        {"cube of an array", Texture::TypeCube, FormatRGBAu8n, 1, 3, mipmaps, Slice(Face(0, 6), Layer(1)),
         FormatUnknown, as_texture, true},
        {"cubes", Texture::TypeCube, FormatRGBAu8n, 1, 3, mipmaps, Slice(Face(0, 6), Layer(1, 2)), FormatUnknown,
         as_texture, true},
        {"faces as layers", Texture::TypeCube, FormatRGBAu8n, 1, 3, target, Slice(Face(0, 6), Layer(1, 2)),
         FormatUnknown, as_target, true},
        {"level of 3D", Texture::Type3D, FormatRGBAu8n, 8, 1, mipmaps, Mipmap(1), FormatUnknown, as_texture, true},
        {"3D target", Texture::Type3D, FormatRGBAu8n, 8, 1, target, Mipmap(0), FormatUnknown, as_target, true},
        {"surface", Texture::Type2D, FormatRGBAu8n, 1, 1, surface | mipmaps, Mipmap(1), FormatUnknown, as_surface,
         true},
        {"depth", Texture::Type2D, FormatDf32Su8, 1, 2, target, Layer(1), FormatUnknown, as_texture, true},
        {"depth target", Texture::Type2D, FormatDf32Su8, 1, 2, target, Layer(1), FormatUnknown, as_target, true},
        {"another format", Texture::Type2D, FormatRGBAu8n, 1, 1, Texture::FlagMutable, Slice(), FormatRu32, as_texture,
         true},
        {"another format, not mutable", Texture::Type2D, FormatRGBAu8n, 1, 1, mipmaps, Slice(), FormatRu32, as_texture,
         false},
        {"layers of some faces", Texture::TypeCube, FormatRGBAu8n, 1, 3, mipmaps, Slice(Face(0, 2), Layer(1, 2)),
         FormatUnknown, as_texture, false},
        {"surface without the flag", Texture::Type2D, FormatRGBAu8n, 1, 1, mipmaps, Mipmap(1), FormatUnknown,
         as_surface, false},
        {"target without the flag", Texture::Type2D, FormatRGBAu8n, 1, 1, mipmaps, Mipmap(1), FormatUnknown, as_target,
         false},
        {"past the levels", Texture::Type2D, FormatRGBAu8n, 1, 1, mipmaps, Mipmap(5, 5), FormatUnknown, as_texture,
         false},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.name);
        TexturePtr texture = createTexture(row.type, row.format, Size(32, 32, row.depth), row.layers, row.flags);
        ASSERT_TRUE(texture);
        VKTexture *vk_texture = static_cast<VKTexture *>(texture.get());
        const VkImageView view = vk_texture->getTextureView(row.slice, row.view_format, row.view_type);
        EXPECT_EQ(view != VK_NULL_HANDLE, row.result);
        EXPECT_EQ(vk_texture->getTextureView(row.slice, row.view_format, row.view_type), view);
        EXPECT_EQ(vk_texture->getTextureView(texture->getFullSlice()), vk_texture->getTextureView());
    }
    expectLog("VKTexture::getTextureView(): can't create view of 2D RGBAu8n 32x32 m6 Mipmaps texture");
    expectLog("VKTexture::getTextureView(): can't create view of Cube RGBAu8n 32x32 l3 m6 Mipmaps texture");
    expectLog("Texture::check(): invalid mipmaps 5-10 for texture with 6 mipmaps");
}

// A second image on the same memory, which the first one's pixels come out of.
TEST_F(TextureVKTest, shared_memory) {
    for(const auto flag : {Texture::FlagShared, Texture::FlagInterop}) {
        SCOPED_TRACE(flag);
        if(flag == Texture::FlagShared && !getAdapter()->has_external_memory_host_ext) continue;
        if(flag == Texture::FlagInterop && !getAdapter()->has_external_memory) continue;
        TexturePtr first = createTexture(Texture::Type2D, FormatRGBAu8n, Size(64, 64), 1, source | flag);
        ASSERT_TRUE(first);
        EXPECT_EQ(vk(first)->getInteropHandle() >= 0, flag == Texture::FlagInterop);
        Image image = get_image(*first);
        fill(image);
        TexturePtr second(device->createTexture(first.get()));
        ASSERT_TRUE(second);
        EXPECT_FALSE(second->hasFlag(flag));
        ASSERT_TRUE(device->setTexture(first.get(), image) && device->finish());
        EXPECT_TRUE(read(second) == image);
        EXPECT_TRUE(read(first) == image);
    }
}
