// Layout, life and pixel moves of Image.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmImage.h"

using namespace Kolm;

namespace {

// Every byte differs from its neighbours, and equal images get equal bytes.
void fill(Image &image, uint32_t seed = 1) {
    uint8_t *data = image.getData();
    for(size_t i = 0; i < image.getDataSize(); i++) data[i] = uint8_t((seed = seed * 1664525 + 1013904223) >> 24);
}

// Pixel of a level as a number.
uint32_t pixel(const Image &image, uint32_t x, uint32_t y, uint32_t mipmap = 0, uint32_t layer = 0, uint32_t face = 0) {
    uint32_t ret = 0;
    memcpy(&ret, image.getData(Origin(x, y), Slice(Face(face), Layer(layer), Mipmap(mipmap))),
           std::min(image.getPixelSize(), 4u));
    return ret;
}

} // namespace

TEST(Image, sizes) {
    Image image;
    ASSERT_TRUE(image.create2D(FormatRGBAu8n, 5, 3, Image::FlagMipmaps));
    EXPECT_EQ(image.getMipmaps(), 3u);
    EXPECT_EQ(image.getSize(1), Size(2, 1));
    EXPECT_EQ(image.getSize(2), Size(1, 1));
    EXPECT_EQ(image.getLayerSize(1), 72u);
    EXPECT_EQ(image.getLayerSize(16), 128u);
    EXPECT_EQ(image.getStride(0, 12), 24u);
    EXPECT_EQ(image.getStride(1, 12), 12u);
    EXPECT_EQ(image.getOffset(Slice(Mipmap(2))), 68u);
    EXPECT_EQ(image.getSlice(0).mipmaps, 3u);
    EXPECT_EQ(image.getSlice(2), Slice(Mipmap(2, 1)));
    EXPECT_EQ(image.findMipmap(Size(2, 1)), 1u);
    EXPECT_EQ(image.findMipmap(Size(9, 9)), 0u);
    EXPECT_EQ(image.getMemory() - Image().getMemory(), 72u);

    ASSERT_TRUE(image.create2D(FormatBC1RGBu8n, 5, 3, Image::FlagMipmaps));
    EXPECT_EQ(image.getLayerSize(), 32u);

    ASSERT_TRUE(image.create(Image::TypeCube, FormatRu16n, Size(4, 4), 3, Image::FlagMipmaps));
    EXPECT_EQ(image.getDataSize(), (16u + 4 + 1) * 2 * 6 * 3);
    EXPECT_EQ(image.getOffset(Slice(Face(2), Layer(1), Mipmap(1))), 42u * 8 + 32);
    EXPECT_EQ(image.getData(Origin(3, 2), Slice(Face(1))) - image.getData(), 42 + 8 * 2 + 3 * 2);

    ASSERT_TRUE(image.create3D(FormatRGu8n, 8, 4, 2, Image::FlagMipmaps));
    EXPECT_EQ(image.getMipmaps(), 4u);
    EXPECT_EQ(image.getDataSize(), 128u + 4 * 2 * 2 + 2 * 2 + 2);
    EXPECT_EQ(image.getData(Origin(1, 2, 1)) - image.getData(), 16 * (2 + 4) + 2);
    EXPECT_EQ(image.getDescription(), "3D RGu8n 8x4x2 m4");

    ASSERT_TRUE(image.create3D(FormatBC4Ru8n, 8, 8, 2));
    EXPECT_EQ(image.getData(Origin(5, 5, 1)) - image.getData(), 16 * ((5 + 8) / 4) + 8);

    ASSERT_TRUE(image.create2D(FormatRu8, 1, 1, Image::FlagMipmaps));
    EXPECT_EQ(image.getMipmaps(), 1u);
    ASSERT_TRUE(image.create2D(FormatRu8, 16, 16, 4, Image::FlagMipmaps | Image::FlagNoAllocate));
    EXPECT_TRUE(image.isLoaded() && !image.isAllocated());
    EXPECT_EQ(image.getDescription(), "2D Ru8 16x16 l4 m5");
    image.clear();
    EXPECT_FALSE(image.isLoaded());
    EXPECT_EQ(image.getDescription(), "Unknown Unknown 0x0");
}

TEST(Image, create_reuses_memory) {
    Image image;
    ASSERT_TRUE(image.create2D(FormatRGBAu8n, 8, 8, Image::FlagMipmaps));
    uint8_t *data = image.getData();
    fill(image);
    ASSERT_TRUE(image.create2D(FormatRGBAu8n, 8, 8, Image::FlagMipmaps | Image::FlagNoClear));
    EXPECT_EQ(image.getData(), data);
    EXPECT_NE(data[0] | data[1] | data[2], 0);
    ASSERT_TRUE(image.create2D(FormatRGBAu8n, 8, 8, Image::FlagMipmaps));
    EXPECT_EQ(image.getData(), data);
    for(size_t i = 0; i < image.getDataSize(); i++) ASSERT_EQ(data[i], 0);
}

TEST(Image, create_refuses_what_cannot_be_held) {
    CapturedLog log;
    Image image;
    EXPECT_FALSE(image.create2D(FormatRGBAu8n, 0xFFFFFFFF, 0xFFFFFFFF));
    EXPECT_FALSE(image.isLoaded());
    EXPECT_FALSE(image.create2D(FormatRGBAf64, 0xFFFFFFFF, 0x10000000, 65535, Image::FlagNoAllocate));
    EXPECT_FALSE(image.create2D(FormatRu8, 1, 1, 65536));
    EXPECT_FALSE(image.create3D(FormatRu8, 1, 1, 65536));
    EXPECT_FALSE(image.create2D(FormatRGBAf64, 0x10000000, 0x1000000));
    EXPECT_EQ(log.size(), 5u);
    EXPECT_TRUE(image.create3D(FormatRu8, Size(2, 2, 1)));
}

TEST(Image, assertions) {
    Image image(Image::Type2D, FormatRu8, Size(4, 4));
    EXPECT_ASSERTION(image.create2D(FormatRu8, 0, 4), "size.width && size.height && size.depth && layers && "
                                                      "\"Image::create(): invalid image parameters\"");
    EXPECT_ASSERTION(image.getData(Slice(Mipmap(1))), "is_inside(slice) && \"Image::getData(): invalid slice\"");
    EXPECT_ASSERTION(image.getStride(1), "mipmap < image_mipmaps && \"Image::getStride(): invalid mipmap\"");
    EXPECT_ASSERTION(image.getData()[16] ^= 1;
                     image.clear(), "check_guard(image_data, size) && \"Image::clear(): memory corruption\"");
}

TEST(Image, copy_move_compare) {
    Image a(Image::TypeCube, FormatRGu8n, Size(4, 4), Image::FlagMipmaps);
    fill(a);
    a.setMetaInfo("text");
    Image b = a;
    EXPECT_EQ(a, b);
    EXPECT_NE(a.getData(), b.getData());
    EXPECT_TRUE(b.getMetaInfo() == "text");
    b.getData()[b.getDataSize() - 1]++;
    EXPECT_NE(a, b);
    const uint8_t *data = b.getData();
    Image c = std::move(b);
    EXPECT_EQ(c.getData(), data);
    EXPECT_FALSE(b.isLoaded());
    Image d(Image::TypeCube, FormatRGu8n, Size(4, 4), Image::FlagMipmaps | Image::FlagNoAllocate);
    EXPECT_TRUE(a > d && d < a);
    EXPECT_LT(Image(Image::Type2D, FormatRu8, Size(9, 9)).compare(a), 0);
    c = a;
    EXPECT_EQ(a, c);
    Image &same = c; // to itself
    c = std::move(same);
    EXPECT_EQ(a, c);
}

TEST(Image, check_messages) {
    CapturedLog log;
    Image flat(Image::Type2D, FormatRu8, Size(8, 4), Image::FlagMipmaps);
    Image deep(Image::Type3D, FormatRu8, Size(8, 4, 2));
    EXPECT_FALSE(flat.check(Origin(8, 0)));
    EXPECT_EQ(log.take(), "Image::check(): invalid origin 8x0 for 8x4 image\n");
    EXPECT_FALSE(deep.check(Origin(0, 0, 2)));
    EXPECT_EQ(log.take(), "Image::check(): invalid origin 0x0x2 for 8x4x2 image\n");
    EXPECT_FALSE(flat.check(Region(4, 0, 5, 1)));
    EXPECT_EQ(log.take(), "Image::check(): invalid region 4x0 5x1 for 8x4 image\n");
    EXPECT_FALSE(deep.check(Region(0, 0, 1, 1, 1, 2)));
    EXPECT_EQ(log.take(), "Image::check(): invalid region 0x0x1 1x1x2 for 8x4x2 image\n");
    EXPECT_FALSE(flat.check(Origin(), 4));
    EXPECT_EQ(log.take(), "Image::check(): invalid mipmap 4 for image with 4 mipmaps\n");
    EXPECT_FALSE(flat.check(Slice(Face(0, 2))));
    EXPECT_EQ(log.take(), "Image::check(): invalid faces 0-2 for image with 1 faces\n");
    EXPECT_FALSE(flat.check(Slice(Layer(1))));
    EXPECT_EQ(log.take(), "Image::check(): invalid layers 1-2 for image with 1 layers\n");
    EXPECT_FALSE(flat.check(Slice(Mipmap(2, 0xFFFFFFFF))));
    EXPECT_EQ(log.take(), "Image::check(): invalid mipmaps 2-1 for image with 4 mipmaps\n");
    EXPECT_TRUE(flat.check(flat.getSlice(1)) && flat.check(flat.getRegion(3), 3));
    EXPECT_EQ(log.size(), 0u);
}

TEST(Image, foreign_buffers) {
    for(const Format format : {FormatRGBu8n, FormatBC1RGBu8n}) {
        Image image;
        ASSERT_TRUE(image.create2D(format, 7, 6, Image::FlagMipmaps));
        fill(image);
        const Slice slice = Slice(Mipmap(1));
        const uint32_t rows = image.isBlockFormat() ? 1 : 3;
        const size_t pitch = image.getStride(1);
        std::vector<uint8_t> buffer(1000, 0xEE);
        ASSERT_TRUE(image.getData(buffer.data(), slice, 16));
        for(uint32_t y = 0; y < rows; y++)
            EXPECT_EQ(memcmp(&buffer[image.getStride(1, 16) * y], image.getData(slice) + pitch * y, pitch), 0);
        EXPECT_EQ(buffer[pitch], 0xEE);
        Image other;
        ASSERT_TRUE(other.create2D(format, 7, 6, Image::FlagMipmaps));
        ASSERT_TRUE(image.getData(buffer.data(), slice, 0, 99));
        ASSERT_TRUE(other.setData(buffer.data(), slice, 0, 99));
        EXPECT_EQ(memcmp(other.getData(slice), image.getData(slice), image.getMipmapSize(1)), 0);
        CapturedLog log;
        EXPECT_FALSE(other.setData(buffer.data(), Slice(Mipmap(3))));
    }
}

TEST(Image, components) {
    Image image;
    ASSERT_TRUE(image.create2D(FormatRGBAu16, 3, 2));
    uint16_t *data = reinterpret_cast<uint16_t *>(image.getData());
    for(uint16_t i = 0; i < 24; i++) data[i] = i;
    ASSERT_TRUE(image.swap(1, 3));
    EXPECT_EQ(data[4], 4);
    EXPECT_EQ(data[5], 7);
    EXPECT_EQ(data[7], 5);
    const Image one = image.getComponent(1);
    EXPECT_EQ(one.getDescription(), "2D Ru16 3x2");
    EXPECT_EQ(reinterpret_cast<const uint16_t *>(one.getData())[5], 23);
    ASSERT_TRUE(image.copy(one, 0, 0));
    EXPECT_EQ(data[20], 23);

    CapturedLog log;
    EXPECT_FALSE(image.swap(0, 4));
    EXPECT_EQ(log.take(), "Image::swap(): invalid components 0 and 4 for 2D RGBAu16 3x2 image\n");
    EXPECT_FALSE(image.copy(one, 4, 0));
    EXPECT_EQ(log.take(), "Image::copy(): invalid component 4 for 2D RGBAu16 3x2 image\n");
    EXPECT_FALSE(image.copy(Image(Image::Type2D, FormatRu8, Size(3, 2)), 0, 0));
    EXPECT_EQ(log.take(), "Image::copy(): can't copy 2D Ru8 3x2 image into 2D RGBAu16 3x2\n");
    EXPECT_FALSE(image.copy(Image(Image::Type2D, FormatRu16, Size(2, 2)), 0, 0));
    log.clear();
    EXPECT_FALSE(image.getComponent(4).isLoaded());
    EXPECT_EQ(log.take(), "Image::getComponent(): can't get 4 component from 2D RGBAu16 3x2 image\n");
    EXPECT_FALSE(Image(Image::Type2D, FormatRGi64, Size(3, 2)).getComponent(0).isLoaded());
    EXPECT_EQ(log.take(), "Image::getComponent(): can't get 0 component from 2D RGi64 3x2 image\n");
    EXPECT_FALSE(Image(Image::Type2D, FormatBC4Ru8n, Size(4, 4)).swap(0, 0));
    EXPECT_EQ(log.take(), "Image::swap(): can't swap 2D BC4Ru8n 4x4 image\n");
}

TEST(Image, copies_of_regions) {
    Image src, dst;
    ASSERT_TRUE(src.create2D(FormatRGBu8n, 16, 8, 3, Image::FlagMipmaps));
    ASSERT_TRUE(dst.create2D(FormatRGBu8n, 32, 32, 2, Image::FlagMipmaps));
    fill(src);
    ASSERT_TRUE(
        dst.copy(src, Origin(8, 4), Region(4, 2, 8, 4), Slice(Layer(1), Mipmap(0, 2)), Slice(Layer(2), Mipmap(0, 2))));
    for(uint32_t m = 0; m < 2; m++) {
        for(uint32_t y = 0; y < 32u >> m; y++) {
            for(uint32_t x = 0; x < 32u >> m; x++) {
                const bool inside = x >= 8u >> m && x < 16u >> m && y >= 4u >> m && y < 8u >> m;
                const uint32_t value = inside ? pixel(src, x - (8 >> m) + (4 >> m), y - (4 >> m) + (2 >> m), m, 2) : 0;
                ASSERT_EQ(pixel(dst, x, y, m, 1) & 0xFFFFFF, value & 0xFFFFFF) << x << " " << y << " " << m;
            }
        }
    }
    // An odd box halves to a place behind the end of the last level.
    Image odd(Image::Type2D, FormatRu8, Size(3, 3), Image::FlagMipmaps);
    EXPECT_TRUE(odd.copy(odd, Origin(2, 2), Region(2, 2, 1, 1), odd.getSlice(), odd.getSlice()));

    CapturedLog log;
    EXPECT_FALSE(dst.copy(src, Origin(), Slice(Mipmap(0, 2)), Slice()));
    EXPECT_EQ(log.take(), "Image::copy(): can't copy 2D RGBu8n 16x8 l3 m5 image into 2D RGBu8n 32x32 l2 m6\n");
    EXPECT_FALSE(dst.copy(odd, Slice(), Slice()));
    EXPECT_EQ(log.take(), "Image::copy(): can't copy 2D Ru8 3x3 m2 image info 2D RGBu8n 32x32 l2 m6\n");
    EXPECT_FALSE(dst.copy(src, Origin(20, 0)));
    EXPECT_EQ(log.take(), "Image::check(): invalid region 20x0 16x8 for 32x32 image\n");
}

TEST(Image, copies_of_blocks) {
    // Depth slices of an odd height begin at a block row of their own.
    Image src(Image::Type3D, FormatBC4Ru8n, Size(10, 6, 3));
    Image dst(Image::Type3D, FormatBC4Ru8n, Size(10, 6, 3));
    fill(src);
    ASSERT_TRUE(dst.copy(src, Origin(4, 4, 2), Region(4, 4, 2, 6, 2, 1)));
    const size_t level = 3 * 8 * 2;
    for(size_t i = 0; i < dst.getDataSize(); i++) {
        const bool inside = i >= level * 2 + 24 + 8;
        ASSERT_EQ(dst.getData()[i], inside ? src.getData()[i] : 0) << i;
    }
}

TEST(Image, slices) {
    Image cube(Image::TypeCube, FormatRGBAu8, Size(8, 8), 2, Image::FlagMipmaps);
    fill(cube);
    const Image face = cube.getSlice(Slice(Face(3), Layer(1), Mipmap(1, 3)));
    EXPECT_EQ(face.getDescription(), "2D RGBAu8 4x4 m3");
    EXPECT_EQ(memcmp(face.getData(), cube.getData(Slice(Face(3), Layer(1), Mipmap(1))), face.getDataSize()), 0);
    EXPECT_EQ(cube.getSlice(cube.getSlice()), cube);
    const Image level = cube.getSlice(Slice(Face(0, 6), Layer(0, 2), Mipmap(2)));
    EXPECT_EQ(level.getDescription(), "Cube RGBAu8 2x2 l2");
    EXPECT_EQ(pixel(level, 1, 1, 0, 1, 5), pixel(cube, 1, 1, 2, 1, 5));
    const Image region = cube.getRegion(Region(2, 4, 4, 2), Slice(Face(1), Mipmap(0, 2)));
    EXPECT_EQ(region.getDescription(), "2D RGBAu8 4x2 m3");
    EXPECT_EQ(pixel(region, 3, 1), pixel(cube, 5, 5, 0, 0, 1));
    EXPECT_EQ(pixel(region, 1, 0, 1), pixel(cube, 2, 2, 1, 0, 1));
    EXPECT_EQ(pixel(region, 0, 0, 2), 0u);
    CapturedLog log;
    EXPECT_FALSE(cube.getSlice(Slice(Face(6))).isLoaded());
    EXPECT_FALSE(cube.getRegion(Region(0, 0, 4, 2), Slice(Face(0, 6))).isLoaded());
    EXPECT_FALSE(cube.getRegion(Region(0, 0, 9, 2)).isLoaded());
    EXPECT_FALSE(Image().getSlice(Slice()).isLoaded());
    EXPECT_NE(log.text().find("Image::getRegion(): can't get region from Cube RGBAu8 8x8 l2 m4 image\n"),
              std::string::npos);
    EXPECT_NE(log.text().find("Image::getSlice(): can't get slice from Unknown Unknown 0x0 image\n"),
              std::string::npos);
}

TEST(Image, flips) {
    for(const Format format : {FormatRu8, FormatRGBu8n, FormatRGBAu8n, FormatRGBf16, FormatRGBAf64, FormatDf32Su8}) {
        Image image;
        ASSERT_TRUE(image.create2D(format, 7, 5, 2, Image::FlagMipmaps));
        fill(image);
        Image x = image, y = image;
        ASSERT_TRUE(x.flipX() && y.flipY());
        for(uint32_t m = 0; m < image.getMipmaps(); m++) {
            const uint32_t w = image.getWidth(m), h = image.getHeight(m);
            for(uint32_t j = 0; j < h; j++) {
                for(uint32_t i = 0; i < w; i++) {
                    ASSERT_EQ(pixel(x, i, j, m, 1), pixel(image, w - 1 - i, j, m, 1));
                    ASSERT_EQ(pixel(y, i, j, m, 1), pixel(image, i, h - 1 - j, m, 1));
                }
            }
        }
        ASSERT_TRUE(x.flipX() && y.flipY());
        EXPECT_EQ(x, image);
        EXPECT_EQ(y, image);
    }
    Image image(Image::Type2D, FormatRu8, Size(3, 3), Image::FlagMipmaps);
    fill(image);
    Image part = image;
    ASSERT_TRUE(part.flipX(Region(1, 1, 2, 2), Slice()));
    EXPECT_EQ(pixel(part, 1, 1), pixel(image, 2, 1));
    EXPECT_EQ(pixel(part, 2, 0), pixel(image, 2, 0));
    EXPECT_TRUE(part.flipY(Region(2, 2, 1, 1), part.getSlice()));
    CapturedLog log;
    EXPECT_FALSE(Image(Image::TypeCube, FormatRu8, Size(4, 4)).flipX());
    EXPECT_EQ(log.take(), "Image::flipX(): can't flip Cube Ru8 4x4 image\n");
    EXPECT_FALSE(Image(Image::Type2D, FormatBC1RGBu8n, Size(4, 4)).flipY());
    EXPECT_EQ(log.take(), "Image::flipY(): can't flip 2D BC1RGBu8n 4x4 image\n");
}

TEST(Image, rotations) {
    for(const Format format : {FormatRu8, FormatRGBu8, FormatRGBAu8n, FormatRGBu16, FormatRGBAf32}) {
        Image image;
        ASSERT_TRUE(image.create2D(format, 8, 2, 2, Image::FlagMipmaps));
        fill(image);
        const Image right = image.getRotated(1);
        EXPECT_EQ(right.getSize(), Size(2, 8));
        EXPECT_EQ(pixel(right, 1, 0, 0, 1), pixel(image, 0, 0, 0, 1));
        EXPECT_EQ(pixel(right, 0, 7, 0, 1), pixel(image, 7, 1, 0, 1));
        EXPECT_EQ(pixel(right, 0, 3, 1, 1), pixel(image, 3, 0, 1, 1));
        EXPECT_EQ(right.getRotated(-1), image);
        EXPECT_EQ(right.getRotated(1), image.getRotated(-2));
        EXPECT_EQ(right.getRotated(7), image);
        EXPECT_EQ(image.getRotated(4), image);
    }
    Image cube(Image::TypeCube, FormatRGBAu8, Size(4, 4));
    fill(cube);
    Image turned = cube;
    for(uint32_t i = 0; i < 4; i++) turned = turned.getRotated(1);
    EXPECT_EQ(turned, cube);
    EXPECT_EQ(cube.getRotated(1).getRotated(2), cube.getRotated(3));
    // Edges that touch before the turn touch after it: top row of +z and bottom row of +y.
    turned = cube;
    for(uint32_t x = 0; x < 4; x++)
        memcpy(turned.getData(Origin(x, 3), Slice(Face(2))), turned.getData(Origin(x, 0), Slice(Face(4))), 4);
    for(uint32_t y = 0; y < 4; y++)
        memcpy(turned.getData(Origin(3, 3 - y), Slice(Face(2))), turned.getData(Origin(y, 0), Slice(Face(0))), 4);
    memcpy(turned.getData(Origin(0, 0), Slice(Face(0))), turned.getData(Origin(3, 0), Slice(Face(4))), 4);
    memcpy(turned.getData(Origin(3, 3), Slice(Face(2))), turned.getData(Origin(3, 0), Slice(Face(4))), 4);
    const Image next = turned.getRotated(1);
    for(uint32_t x = 0; x < 4; x++) EXPECT_EQ(pixel(next, x, 3, 0, 0, 2), pixel(next, x, 0, 0, 0, 4)) << x;
    CapturedLog log;
    EXPECT_FALSE(Image(Image::Type3D, FormatRu8, Size(4, 4, 4)).getRotated(1).isLoaded());
    EXPECT_EQ(log.take(), "Image::getRotated(): can't rotate 3D Ru8 4x4x4 image\n");
}
