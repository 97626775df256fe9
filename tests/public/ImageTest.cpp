// Images as an application uses them: handles, value types, conversions and PNG files in memory and on disk.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include <core/OstrevanAsync.h>
#include <core/OstrevanBlob.h>
#include <core/OstrevanLog.h>
#include <core/OstrevanString.h>
#include <format/OstrevanImage.h>
#include <format/OstrevanImageCoder.h>
#include <format/OstrevanImageSampler.h>
#include <format/OstrevanImageStream.h>
#include <math/OstrevanFloat.h>

using namespace Ostrevan;

namespace {

Image make_ramp(uint32_t width, uint32_t height) {
    Image image;
    EXPECT_TRUE(image.create2D(FormatRGBAu8n, width, height));
    for(size_t i = 0; i < image.getDataSize(); i++) image.getData()[i] = uint8_t(i * 7);
    return image;
}

} // namespace

TEST(PublicImage, handles) {
    Image image;
    EXPECT_FALSE(image);
    EXPECT_FALSE(image.isLoaded());
    EXPECT_FALSE(Image::null.isLoaded());
    image = make_ramp(4, 2);
    EXPECT_TRUE(image);
    Image shared = image;
    Image copy = image.clonePtr();
    EXPECT_TRUE(shared == image && copy != image);
    EXPECT_EQ(copy.compare(image), 0);
    shared.getData()[3]++;
    EXPECT_EQ(image.getData()[3], 22);
    EXPECT_NE(copy.compare(image), 0);
    EXPECT_STREQ(image.getDescription().get(), "2D RGBAu8n 4x2");
    image.setMetaInfo("some text");
    EXPECT_STREQ(shared.getMetaInfo().get(), "some text");
}

TEST(PublicImage, operations) {
    Image image = make_ramp(5, 3);
    const Image floats = image.toFormat(FormatRGBAf32);
    ASSERT_TRUE(floats.isAllocated());
    EXPECT_EQ(floats.toFormat(FormatRGBAu8n).compare(image), 0);
    EXPECT_EQ(image.getRotated(1).getSize(), Size(3, 5));
    Image other;
    ASSERT_TRUE(other.create(Image::TypeCube, FormatRGBAu8n, Size(8, 8), Image::FlagMipmaps));
    EXPECT_TRUE(other.copy(image, Origin(2, 1), Region(0, 0, 4, 2), Slice(Face(3)), Slice()));
    EXPECT_EQ(memcmp(other.getData(Origin(2, 1), Slice(Face(3))), image.getData(), 16), 0);
    EXPECT_EQ(other.getSlice(1), Slice(Face(0, 6), Layer(0, 1), Mipmap(1, 3)));
    EXPECT_EQ(other.getSlice(Slice(Face(3))).getRegion(Region(2, 1, 4, 2)).compare(image.getRegion(Region(0, 0, 4, 2))),
              0);
    float32_t value[4];
    EXPECT_EQ(getPixelFormatValue(FormatRGBAf32, value, floats.getData(Origin(1, 0))), 4u);
    EXPECT_FLOAT_EQ(value[0], 28.0f / 255.0f);
    EXPECT_EQ(Color(value).getRu8(), 28);
    Color color;
    EXPECT_TRUE(color.setHTML("#ff8000") && color.getRGBAu8() == 0xFF0080FF);
    EXPECT_EQ(float16_t(1.0f).bits, 0x3C00);
}

TEST(PublicImage, resizing_and_texels) {
    Image image = make_ramp(8, 4);
    const Image small = image.getResized(Size(4, 0), Image::FilterBox, Image::FilterLinear);
    EXPECT_EQ(small.getSize(), Size(4, 2));
    EXPECT_EQ(image.getResized(Size(16, 8)).getSize(), Size(16, 8));
    EXPECT_EQ(image.getMipmapped().getMipmaps(), 4u);
    Async async;
    ASSERT_TRUE(async.init(4));
    EXPECT_EQ(image.getResized(Size(16, 8), Image::FlagNone, &async).compare(image.getResized(Size(16, 8))), 0);
    EXPECT_EQ(image.getMipmapped(Image::FlagNone, &async).compare(image.getMipmapped()), 0);
    const Image cube = image.toType(Image::TypeCube, Image::FlagPanorama);
    EXPECT_EQ(cube.getSize(), Size(2, 2));
    EXPECT_EQ(cube.toType(Image::Type2D).getSize(), Size(8, 6));
    EXPECT_FALSE(image.getResized(Size(0, 0)));

    ImageSampler sampler(image);
    ASSERT_TRUE(sampler.isCreated());
    sampler.set2D(3u, 2u, ImageColor(Color::red, image.getFormat()));
    EXPECT_EQ(image.getData(Origin(3, 2))[0], 255);
    EXPECT_EQ(sampler.get2D(3.0, 2.0).get(image.getFormat()), Color::red);
    EXPECT_TRUE(ImageStream::check("photo.JPG") && !ImageStream::check("photo.txt"));
    EXPECT_NE(strstr(ImageStream::getSaveFormats().get(), ".jpeg"), nullptr);
    const ImageSampler faces(cube);
    EXPECT_EQ(faces.getFaces(), 6u);
    double u = 0, v = 0;
    EXPECT_EQ(faces.getCubeFace(0, 0, 1, u, v), 4u);
    EXPECT_FALSE(ImageSampler(Image(Image::Type2D, FormatBC1RGBu8n, Size(4, 4))));
}

TEST(PublicImage, failures_give_empty_handles) {
    Log::setCallback([](Log::Level, size_t, const char *, void *) { return true; });
    EXPECT_FALSE(Image("no/such/file.png"));
    EXPECT_FALSE(make_ramp(4, 4).toFormat(FormatASTC44RGBAu8n));
    EXPECT_FALSE(make_ramp(4, 4).getRegion(Region(2, 2, 3, 3)));
    EXPECT_FALSE(Image(Image::Type2D, FormatRGBAu8n, Size(0xFFFFFFFF, 0xFFFFFFFF)));
    Image image = make_ramp(4, 4);
    EXPECT_FALSE(image.load("no/such/file.png"));
    EXPECT_FALSE(image.isLoaded());
    Log::setCallback(nullptr);
}

TEST(PublicImage, files) {
    const Image image = make_ramp(31, 9);
    Blob blob("picture.png");
    ASSERT_TRUE(image.save(blob));
    ASSERT_TRUE(blob.seek(0));
    Image loaded;
    ASSERT_TRUE(loaded.load(blob));
    EXPECT_EQ(loaded.compare(image), 0);

    const std::string name = testing::TempDir() + "ostrevan_image_test.png";
    ASSERT_TRUE(image.save(name.c_str()));
    EXPECT_EQ(Image(name.c_str()).compare(image), 0);
    Image info;
    ASSERT_TRUE(info.info(String(name.c_str())));
    EXPECT_TRUE(info.isLoaded() && !info.isAllocated());
    EXPECT_EQ(info.getSize(), Size(31, 9));
    remove(name.c_str());
}

TEST(PublicImage, blocks) {
    EXPECT_TRUE(ImageCoder::check(FormatBC7RGBAu8n));
    EXPECT_FALSE(ImageCoder::check(FormatRGBAu8n));
    EXPECT_FALSE(ImageCoder::check(FormatASTC44RGBAu8n));
    EXPECT_EQ(std::string(ImageCoder::getEncodeFormats().get()).find("BC1RGBu8n "), 0u);
    EXPECT_NE(std::string(ImageCoder::getDecodeFormats().get()).find(" ETC2RGBAu8ns "), std::string::npos);
    const Image blocks = make_ramp(8, 8).toFormat(FormatBC7RGBAu8n, Image::FlagFast);
    EXPECT_EQ(blocks.getDataSize(), 64u);
    EXPECT_EQ(blocks.toFormat(FormatRGBAu8n).getSize(), Size(8, 8));
    Async async;
    ASSERT_TRUE(async.init());
    EXPECT_EQ(make_ramp(8, 8).toFormat(FormatBC7RGBAu8n, Image::FlagFast, &async).compare(blocks), 0);
}
