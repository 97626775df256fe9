// Parameters of textures, the arithmetic of their levels, and what their rules let through.

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmBlob.h"
#include "StubDevice.h"

using namespace Kolm;

namespace {

struct TextureTest : testing::Test {
    std::unique_ptr<StubTexture> create(Texture::Type type, Format format, const Size &size, uint32_t layers = 1,
                                        Texture::Flags flags = Texture::FlagNone) {
        std::unique_ptr<StubTexture> texture(new StubTexture(PlatformVK, device.calls));
        EXPECT_TRUE(texture->create(type, format, size, layers, flags)) << log.text();
        device.calls.take();
        return texture;
    }
    std::unique_ptr<StubTexture> create2D(Format format, uint32_t width, uint32_t height,
                                          Texture::Flags flags = Texture::FlagNone) {
        return create(Texture::Type2D, format, Size(width, height), 1, flags);
    }

    CapturedLog log;
    StubDevice device;
};

// Counts by halving, from the definition of a chain.
uint32_t count_levels(uint32_t width, uint32_t height, uint32_t depth) {
    uint32_t levels = 1;
    while(width > 1 || height > 1 || depth > 1) {
        width = (width > 1) ? width / 2 : 1;
        height = (height > 1) ? height / 2 : 1;
        depth = (depth > 1) ? depth / 2 : 1;
        levels++;
    }
    return levels;
}

} // namespace

TEST_F(TextureTest, counts_levels_and_sizes) {
    static const struct {
        Texture::Type type;
        uint32_t width, height, depth, layers, levels;
        const char *description;
    } rows[] = {
        {Texture::Type2D, 1, 1, 1, 1, 1, "2D RGBAu8n 1x1 Mipmaps"},
        {Texture::Type2D, 2, 1, 1, 1, 2, "2D RGBAu8n 2x1 m2 Mipmaps"},
        {Texture::Type2D, 1024, 512, 9, 1, 11, "2D RGBAu8n 1024x512 m11 Mipmaps"},
        {Texture::Type3D, 4, 4, 16, 7, 5, "3D RGBAu8n 4x4x16 m5 Mipmaps"},
        {Texture::TypeCube, 5, 5, 1, 2, 3, "Cube RGBAu8n 5x5 l2 m3 Mipmaps"},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.description);
        auto texture =
            create(row.type, FormatRGBAu8n, Size(row.width, row.height, row.depth), row.layers, Texture::FlagMipmaps);
        const bool is_3d = (row.type == Texture::Type3D);
        EXPECT_EQ(texture->getMipmaps(), row.levels);
        EXPECT_EQ(texture->getMipmaps(), count_levels(row.width, row.height, is_3d ? row.depth : 1));
        EXPECT_EQ(texture->getDepth(), is_3d ? row.depth : 1u);
        EXPECT_EQ(texture->getLayers(), is_3d ? 1u : row.layers);
        EXPECT_EQ(texture->getFaces(), row.type == Texture::TypeCube ? 6u : 1u);
        EXPECT_STREQ(texture->getDescription().get(), row.description);
        EXPECT_EQ(texture->getMemory(), texture->memory.getDataSize()) << "an image holds the same pixels";
    }
    auto texture = create2D(FormatRGBAu8n, 5, 16, Texture::FlagMipmaps | Texture::FlagTarget);
    EXPECT_EQ(texture->getWidth(3), 1u);
    EXPECT_EQ(texture->getSize(3), Size(1, 2));
    EXPECT_EQ(texture->getRegion(1), Region(2, 8));
    EXPECT_EQ(texture->getSlice(2), Slice(Mipmap(2)));
    EXPECT_EQ(texture->findMipmap(Size(1, 4)), 2u);
    EXPECT_EQ(texture->findMipmap(Size(3, 3)), 0u);
    EXPECT_STREQ(texture->getFlagsName().get(), "Target Mipmaps ");
    EXPECT_EQ(create2D(FormatBC1RGBu8n, 10, 6)->getMemory(), 3u * 2 * 8) << "whole blocks";
    EXPECT_EQ(create2D(FormatRGBAu8n, 8, 8, Texture::FlagMultisample4)->getMemory(), 8u * 8 * 4 * 4);
    EXPECT_STREQ(Texture::getFlagsName(Texture::Flags((1u << 22) - 1)).get(),
                 "Read Write Target Buffer Source Sparse Shared Extern Interop Surface Mutable Mipmaps Generate Norm "
                 "SRGB Signed 2x 4x 8x One Zero Normal ");
    EXPECT_STREQ(Texture::getFlagsName(Texture::FlagNone).get(), "None");
}

TEST_F(TextureTest, refuses_flags_that_exclude_each_other) {
    using Flags = Texture::Flags;
    static const struct {
        Texture::Type type;
        uint32_t flags;
        Size size;
        const char *message; // null for success
    } rows[] = {
        {Texture::Type2D, Texture::FlagRead | Texture::FlagWrite, Size(4, 4),
         "Texture::create(): can't create texture with Read and Write flags\n"},
        {Texture::Type3D, Texture::FlagShared, Size(4, 4, 4), "Texture::create(): can't create Shared texture\n"},
        {Texture::Type2D, Texture::FlagInterop | Texture::FlagSparse, Size(4, 4),
         "Texture::create(): can't create Sparse Interop texture\n"},
        {Texture::Type2D, Texture::FlagShared | Texture::FlagMipmaps, Size(4, 4), nullptr},
        {Texture::Type3D, Texture::FlagMultisample4, Size(4, 4, 4),
         "Texture::create(): can't create 3D Multisample texture\n"},
        {Texture::TypeCube, Texture::FlagMultisample2, Size(4, 4),
         "Texture::create(): can't create Cube Multisample texture\n"},
        {Texture::Type2D, Texture::FlagMultisample4 | Texture::FlagMipmaps, Size(4, 4),
         "Texture::create(): can't create 2D Multisample texture with mipmaps\n"},
        {Texture::TypeCube, Texture::FlagNone, Size(4, 8), "Texture::create(): invalid size 4x8 of Cube texture\n"},
    };
    for(const auto &row : rows) {
        StubTexture texture(PlatformVK, device.calls);
        EXPECT_EQ(texture.create(row.type, FormatRGBAu8n, row.size, 1, Flags(row.flags)), row.message == nullptr);
        EXPECT_EQ(log.take(), row.message ? row.message : "");
        if(row.message == nullptr) continue;
        EXPECT_EQ(texture.getType(), Texture::TypeUnknown);
        EXPECT_EQ(texture.getFlags(), Texture::FlagNone);
    }

    StubTexture copy(PlatformVK, device.calls);
    auto plain = create2D(FormatRGBAu8n, 4, 4);
    EXPECT_FALSE(copy.create(plain.get()));
    EXPECT_EQ(log.take(), "Texture::create(): texture has no Shared or Interop flag\n");
    EXPECT_FALSE(copy.create(static_cast<Texture *>(nullptr)));
    EXPECT_EQ(log.take(), "Texture::create(): texture is not created\n");
    auto shared = create2D(FormatRu8n, 4, 4, Texture::FlagShared | Texture::FlagTarget);
    EXPECT_TRUE(copy.create(shared.get()));
    EXPECT_EQ(copy.getFlags(), Texture::FlagTarget);
    EXPECT_EQ(copy.getSize(), Size(4, 4));
}

TEST_F(TextureTest, takes_images_and_gives_them_back) {
    Image image(Image::TypeCube, FormatRGBAu8n, Size(8, 8), 2, Image::FlagMipmaps);
    for(size_t i = 0; i < image.getDataSize(); i++) image.getData()[i] = uint8_t(i * 7);
    std::unique_ptr<Texture> texture(device.createTexture(image, Texture::FlagMipmaps | Texture::FlagFormatSRGB));
    ASSERT_TRUE(texture) << log.text();
    EXPECT_EQ(texture->getFormat(), FormatRGBAu8ns);
    EXPECT_EQ(device.calls.take(), "createTexture Cube RGBAu8ns 8x8 l2 m4 Mipmaps SRGB\n"
                                   "setTexture 0,0,0 f0+6 l0+2 m0+4 from f0+6 l0+2 m0+4\n");
    log.clear();

    // A texture of one level takes the first of many, one with a chain as many as there are.
    Image plain(Image::Type2D, FormatRGBAu8n, Size(8, 8));
    for(size_t i = 0; i < plain.getDataSize(); i++) plain.getData()[i] = uint8_t(i);
    texture.reset(device.createTexture(plain, Texture::FlagMipmaps));
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->getMipmaps(), 4u);
    Image back(Image::Type2D, FormatRGBAu8n, Size(8, 8));
    EXPECT_TRUE(device.getTexture(texture.get(), back));
    EXPECT_TRUE(back == plain);
    Image corner(Image::Type2D, FormatRGBAu8n, Size(3, 2));
    EXPECT_TRUE(device.getTexture(texture.get(), corner));
    EXPECT_EQ(memcmp(corner.getData(Origin(0, 1)), plain.getData(Origin(0, 1)), 12), 0);
    EXPECT_EQ(log.take(), "");

    // Missing levels are made, and those of the image kept.
    texture.reset(device.createTexture(plain, Texture::FlagMipmaps | Texture::FlagGenerate));
    ASSERT_TRUE(texture);
    EXPECT_EQ(log.take(), "Texture::create(): create mipmaps\n");
    Image small(Image::Type2D, FormatRGBAu8n, Size(1, 1));
    EXPECT_TRUE(device.getTexture(texture.get(), Slice(Mipmap(3)), small, Slice()));
    EXPECT_TRUE(small == plain.getMipmapped().getSlice(Slice(Mipmap(3))));
    EXPECT_EQ(device.createTexture(Image(Image::Type2D, FormatBC1RGBu8n, Size(8, 8)),
                                   Texture::FlagMipmaps | Texture::FlagGenerate),
              nullptr);
    EXPECT_EQ(log.lines.back(), "Texture::create(): can't create mipmaps\n");
    log.clear();

    static const struct {
        Texture::Flags flags;
        const char *message;
    } rows[] = {
        {Texture::FlagRead | Texture::FlagWrite, "Texture::create(): can't create texture with Read Write flags\n"},
        {Texture::FlagSparse, "Texture::create(): can't create Sparse texture from image\n"},
        {Texture::FlagMultisample8, "Texture::create(): can't create Multisample texture from image\n"},
    };
    const int count = StubTexture::count;
    for(const auto &row : rows) {
        EXPECT_EQ(device.createTexture(plain, row.flags), nullptr);
        EXPECT_EQ(log.take(), row.message);
    }
    EXPECT_EQ(device.createTexture(Image()), nullptr);
    EXPECT_EQ(log.take(), "Texture::create(): image is not allocated\n");
    EXPECT_EQ(device.loadTexture("/nowhere/image.png"), nullptr);
    EXPECT_EQ(log.lines.back(), "Device::loadTexture(): can't load \"/nowhere/image.png\" image\n");
    Blob blob("blob.png");
    EXPECT_EQ(device.loadTexture(blob), nullptr);
    EXPECT_EQ(log.lines.back(), "Device::loadTexture(): can't load \"blob.png\" stream\n");
    EXPECT_EQ(StubTexture::count, count);

    EXPECT_EQ(StubTexture::get_format(FormatRGBAu8, Texture::FlagFormatNorm), FormatRGBAu8n);
    EXPECT_EQ(StubTexture::get_format(FormatRGBAu8, Texture::FlagFormatNorm | Texture::FlagFormatSigned),
              FormatRGBAi8n);
    EXPECT_EQ(StubTexture::get_format(FormatRGBAu8n, Texture::FlagFormatSRGB | Texture::FlagFormatSigned),
              FormatRGBAu8ns);
}

TEST_F(TextureTest, fills_in_slices_and_regions) {
    std::unique_ptr<Texture> a(
        device.createTexture2D(FormatRGBAu8n, 16, 8, 3, Texture::FlagMipmaps | Texture::FlagSource));
    std::unique_ptr<Texture> b(device.createTexture2D(FormatRGBAu8n, 16, 8, 3, Texture::FlagMipmaps));
    std::unique_ptr<Texture> sparse(device.createTexture2D(FormatRGBAu8n, 512, Texture::FlagSparse));
    std::unique_ptr<Fence> fence(device.createFence(Fence::FlagNone));
    device.calls.take();
    const struct {
        std::function<bool()> run;
        const char *calls;
    } rows[] = {
        {[&] { return device.copyTexture(b.get(), a.get()); },
         "copyTexture 0,0,0 f0+1 l0+3 m0+5 from 0,0,0 16x8x1 f0+1 l0+3 m0+5\n"},
        {[&] { return device.copyTexture(b.get(), Slice(Mipmap(1)), a.get(), Slice(Layer(1), Mipmap(1))); },
         "copyTexture 0,0,0 f0+1 l0+1 m1+1 from 0,0,0 8x4x1 f0+1 l1+1 m1+1\n"},
        {[&] { return device.copyTexture(b.get(), Origin(8, 4), a.get(), Region(8, 4)); },
         "copyTexture 8,4,0 f0+1 l0+3 m0+5 from 0,0,0 8x4x1 f0+1 l0+3 m0+5\n"},
        {[&] { return device.clearTexture(b.get()); }, "clearTexture 0,0,0 16x8x1 f0+1 l0+3 m0+5\n"},
        {[&] { return device.clearTexture(b.get(), Slice(Mipmap(2)), nullptr); },
         "clearTexture 0,0,0 4x2x1 f0+1 l0+1 m2+1\n"},
        {[&] { return device.clearTexture(b.get(), Region(4, 4, 8, 4), nullptr); },
         "clearTexture 4,4,0 8x4x1 f0+1 l0+3 m0+5\n"},
        {[&] { return device.createMipmaps(b.get()); }, "createMipmaps f0+1 l0+3 m0+5\n"},
        {[&] { return device.createMipmaps(b.get(), Slice(Mipmap(4))); }, ""},
        {[&] { return device.flushTexture(b.get(), Texture::FlagSurface); }, "flushTexture f0+1 l0+3 m0+5 0x200\n"},
        {[&] {
             return device.flushTextures({a.get(), b.get()}, Texture::FlagTarget);
         },
         "flushTextures 2 0x4\n"},
        {[&] { return device.bindTexture(sparse.get(), Slice(), true); },
         "bindTexture 1 0,0,0 512x512x1 1 f0+1 l0+1 m0+1 1\n"},
        {[&] { return device.bindTexture(sparse.get(), Region(128, 256, 128, 128), false, fence.get()); },
         "bindTexture 1 128,256,0 128x128x1 1 f0+1 l0+1 m0+1 0\n"},
    };
    for(const auto &row : rows) {
        EXPECT_TRUE(row.run()) << log.text();
        EXPECT_EQ(device.calls.take(), row.calls);
    }
    EXPECT_EQ(fence->getValue(), 1u);
}

TEST_F(TextureTest, refuses_operations_with_one_reason) {
    auto plain = create2D(FormatRGBAu8n, 8, 8, Texture::FlagMipmaps | Texture::FlagSource);
    auto block = create2D(FormatBC1RGBu8n, 10, 10, Texture::FlagSource);
    auto samples = create2D(FormatRGBAu8n, 8, 8, Texture::FlagMultisample4);
    auto volume = create(Texture::Type3D, FormatRu8n, Size(8, 8, 4));
    auto cube = create(Texture::TypeCube, FormatRGBAu8n, Size(4, 4));
    auto sparse = create2D(FormatRGBAu8n, 300, 300, Texture::FlagSparse);
    auto odd = create2D(FormatRu8n, 7, 7, Texture::FlagMipmaps);
    const Image image(Image::Type2D, FormatRGBAu8n, Size(8, 8));
    const Image bytes(Image::Type2D, FormatRu8n, Size(8, 8));
    const Image chain(Image::Type2D, FormatRu8n, Size(1, 1));
    const Image blocks(Image::Type2D, FormatBC1RGBu8n, Size(10, 10));
    const Image words(Image::Type2D, FormatRGu32, Size(3, 3)); // pixels of a block's size
    const Image more(Image::Type2D, FormatRGu32, Size(4, 3));
    const Region region(0, 0, 128, 128);
    const Region regions[3] = {region, region, region};
    const Slice slice, slices[2];

    const struct {
        const char *name;
        std::function<bool()> run;
        const char *message; // last line, null for success
    } rows[] = {
        {"set", [&] { return plain->check_set(Origin(), Slice(), image, Slice()); }, nullptr},
        {"set at an origin", [&] { return plain->check_set(Origin(1, 0), Slice(), image, Slice()); },
         "Texture::set(): can't set 2D RGBAu8n 8x8 image into 2D RGBAu8n 8x8 m4 Source Mipmaps texture\n"},
        {"set of huge origin", [&] { return plain->check_set(Origin(~0u, 0), Slice(), image, Slice()); },
         "Texture::set(): can't set 2D RGBAu8n 8x8 image into 2D RGBAu8n 8x8 m4 Source Mipmaps texture\n"},
        {"set of another format", [&] { return plain->check_set(Origin(), Slice(), bytes, Slice()); },
         "Texture::set(): can't set 2D Ru8n 8x8 image into 2D RGBAu8n 8x8 m4 Source Mipmaps texture\n"},
        {"set of a missing level", [&] { return plain->check_set(Origin(), Slice(Mipmap(4)), image, Slice()); },
         "Texture::set(): can't set 2D RGBAu8n 8x8 image into 2D RGBAu8n 8x8 m4 Source Mipmaps texture\n"},
        {"set of a smaller level", [&] { return plain->check_set(Origin(), Slice(Mipmap(1)), image, Slice()); },
         "Texture::set(): can't set 2D RGBAu8n 8x8 image into 2D RGBAu8n 8x8 m4 Source Mipmaps texture\n"},
        {"set of nothing", [&] { return plain->check_set(Origin(), Slice(), Image(), Slice()); },
         "Texture::set(): image is not allocated\n"},
        {"set of samples", [&] { return samples->check_set(Origin(), Slice(), image, Slice()); },
         "Texture::set(): can't set multisample texture\n"},
        {"set to the last pixel", [&] { return odd->check_set(Origin(6, 6), Slice(), chain, Slice()); }, nullptr},
        {"set of faces",
         [&] { return cube->check_set(Origin(), Slice(Face(5)), image.getRegion(Region(4, 4)), Slice()); }, nullptr},
        {"set of too many faces",
         [&] { return cube->check_set(Origin(), Slice(Face(5, 2)), image.getRegion(Region(4, 4)), Slice()); },
         "Texture::set(): can't set 2D RGBAu8n 4x4 image into Cube RGBAu8n 4x4 texture\n"},
        // blocks
        {"set of blocks", [&] { return block->check_set(Origin(), Slice(), blocks, Slice()); }, nullptr},
        {"set of words as blocks", [&] { return block->check_set(Origin(), Slice(), words, Slice()); }, nullptr},
        {"set of too many words", [&] { return block->check_set(Origin(), Slice(), more, Slice()); },
         "Texture::set(): can't set 2D RGu32 4x3 image into 2D BC1RGBu8n 10x10 Source texture\n"},
        {"set of words off the blocks",
         [&] { return block->check_set(Origin(2, 0), Slice(), words.getRegion(Region(1, 1)), Slice()); },
         "Texture::set(): can't set 2D RGu32 1x1 image into 2D BC1RGBu8n 10x10 Source texture\n"},
        {"set of words behind a block",
         [&] { return block->check_set(Origin(8, 8), Slice(), words.getRegion(Region(1, 1)), Slice()); }, nullptr},
        // get
        {"get", [&] { return plain->check_get(Slice(), image, Slice()); }, nullptr},
        {"get of another format", [&] { return plain->check_get(Slice(), bytes, Slice()); },
         "Texture::get(): can't get 2D Ru8n 8x8 image from 2D RGBAu8n 8x8 m4 Source Mipmaps texture\n"},
        {"get into nothing", [&] { return plain->check_get(Slice(), Image(), Slice()); },
         "Texture::get(): image is not allocated\n"},
        {"get of samples", [&] { return samples->check_get(Slice(), image, Slice()); },
         "Texture::get(): can't get multisample texture\n"},
        // copy
        {"copy", [&] { return cube->check_copy(Origin(), Slice(Face(3)), plain.get(), Region(4, 4), Slice()); },
         nullptr},
        {"copy within", [&] { return plain->check_copy(Origin(4, 4), Slice(), plain.get(), Region(4, 4), Slice()); },
         nullptr},
        {"copy onto itself",
         [&] { return plain->check_copy(Origin(3, 3), Slice(), plain.get(), Region(4, 4), Slice()); },
         "Texture::copy(): can't copy 2D RGBAu8n 8x8 m4 Source Mipmaps texture into 2D RGBAu8n 8x8 m4 Source "
         "Mipmaps\n"},
        {"copy to another level",
         [&] { return plain->check_copy(Origin(), Slice(Mipmap(1)), plain.get(), Region(4, 4), Slice()); }, nullptr},
        {"copy past the end", [&] { return cube->check_copy(Origin(), Slice(), plain.get(), Region(5, 4), Slice()); },
         "Texture::copy(): can't copy 2D RGBAu8n 8x8 m4 Source Mipmaps texture into Cube RGBAu8n 4x4\n"},
        {"copy of another format",
         [&] { return volume->check_copy(Origin(), Slice(), plain.get(), Region(1, 1), Slice()); },
         "Texture::copy(): can't copy 2D RGBAu8n 8x8 m4 Source Mipmaps texture into 3D Ru8n 8x8x4\n"},
        {"copy of half a block",
         [&] { return block->check_copy(Origin(8, 8), Slice(), block.get(), Region(2, 2), Slice()); },
         "Texture::copy(): can't copy 2D BC1RGBu8n 10x10 Source texture into 2D BC1RGBu8n 10x10 Source\n"},
        // clear
        {"clear", [&] { return volume->check_clear(Region(0, 0, 3, 8, 8, 1), Slice()); }, nullptr},
        {"clear past the end", [&] { return volume->check_clear(Region(0, 0, 4, 8, 8, 1), Slice()); },
         "Texture::clear(): can't clear 3D Ru8n 8x8x4 texture\n"},
        {"clear of an empty region", [&] { return volume->check_clear(Region(0, 0, 0, 0, 8, 1), Slice()); },
         "Texture::clear(): can't clear 3D Ru8n 8x8x4 texture\n"},
        {"mipmaps of blocks", [&] { return block->check_mipmaps(Slice()); },
         "Texture::createMipmaps(): can't create mipmaps for 2D BC1RGBu8n 10x10 Source texture\n"},
        // bind
        {"bind", [&] { return sparse->check_bind(&region, 1, slices, 2); }, nullptr},
        {"bind of no sparse texture", [&] { return plain->check_bind(&region, 1, &slice, 1); },
         "Texture::bind(): can't bind non-sparse texture\n"},
        {"bind of nothing", [&] { return sparse->check_bind(&region, 1, nullptr, 0); },
         "Texture::bind(): invalid number of regions and slices 1 0\n"},
        {"bind of unequal lists", [&] { return sparse->check_bind(regions, 3, slices, 2); },
         "Texture::bind(): invalid number of regions and slices 3 2\n"},
        {"bind off the tiles",
         [&] {
             const Region r(64, 0, 128, 128);
             return sparse->check_bind(&r, 1, &slice, 1);
         },
         "Texture::bind(): invalid origin 64x0 for 128x128 tile\n"},
        {"bind of half tiles",
         [&] {
             const Region r(0, 0, 192, 128);
             return sparse->check_bind(&r, 1, &slice, 1);
         },
         "Texture::bind(): invalid size 192x128 for 128x128 tile\n"},
        {"bind past the end",
         [&] {
             const Region r(256, 256, 128, 128);
             return sparse->check_bind(&r, 1, &slice, 1);
         },
         "Texture::bind(): can't bind 2D RGBAu8n 300x300 Sparse texture\n"},
    };
    for(const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.run(), row.message == nullptr) << log.text();
        if(row.message == nullptr) {
            EXPECT_EQ(log.take(), "");
        } else {
            ASSERT_FALSE(log.lines.empty());
            EXPECT_EQ(log.lines.back(), row.message);
        }
        log.clear();
    }

    // Places, with the text for each dimension.
    EXPECT_FALSE(plain->check(Origin(8, 0)));
    EXPECT_EQ(log.take(), "Texture::check(): invalid origin 8x0 for 8x8 texture\n");
    EXPECT_FALSE(volume->check(Region(1, 2, 3, 8, 1, 1)));
    EXPECT_EQ(log.take(), "Texture::check(): invalid region 1x2x3 8x1x1 for 8x8x4 texture\n");
    EXPECT_FALSE(plain->check(Region(8, 8), 4));
    EXPECT_EQ(log.take(), "Texture::check(): invalid mipmap 4 for texture with 4 mipmaps\n");
    EXPECT_FALSE(cube->check(Slice(Face(1, 6))));
    EXPECT_EQ(log.take(), "Texture::check(): invalid faces 1-7 for texture with 6 faces\n");
    EXPECT_FALSE(cube->check(Slice(Layer(~0u, ~0u))));
    EXPECT_EQ(log.take(), "Texture::check(): invalid layers 4294967295-4294967295 for texture with 1 layers\n");
}

TEST_F(TextureTest, asserts_what_a_caller_must_know) {
    auto plain = create2D(FormatRGBAu8n, 8, 8);
    StubTexture empty(PlatformVK, device.calls);
    const struct {
        std::function<void()> run;
        const char *text;
    } rows[] = {
        {[&] { empty.create(Texture::TypeUnknown, FormatRu8n, Size(1, 1), 1, Texture::FlagNone); },
         "Texture::create(): invalid texture type"},
        {[&] { empty.create2D(FormatUnknown, 1); }, "Texture::create(): invalid texture format"},
        {[&] { empty.create2D(FormatRu8n, 0); }, "Texture::create(): invalid texture size"},
        {[&] { empty.create3D(FormatRu8n, 1, 1, 65536); }, "Texture::create(): invalid texture size"},
        {[&] { empty.create2D(FormatRu8n, 1, 1, 0u); }, "Texture::create(): invalid layers number"},
        {[&] { plain->create2D(FormatRu8n, 1); }, "Texture::create(): is already created"},
        {[&] { plain->getWidth(1); }, "Texture::getWidth(): invalid mipmap"},
        {[&] { empty.check(Slice()); }, "Texture::check(): texture is not created"},
        {[&] { empty.getDescription(); }, "Texture::getDescription(): unknown texture type"},
        {[&] { plain->check_copy(Origin(), Slice(), plain.get(), Region(), Slice()); },
         "Texture::copy(): texture has not source flag"},
    };
    for(const auto &row : rows) {
        const ChildProcess child = runChild(row.run);
        EXPECT_TRUE(child.isAborted()) << row.text;
        EXPECT_NE(child.err.find(std::string("\"") + row.text + "\""), std::string::npos) << child.err;
    }
}
