// PNG files: pixels against another program's, hostile files, and the registry around the handlers.

#include <gtest/gtest.h>
#include <png.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "KolmBlob.h"
#include "KolmFile.h"
#include "KolmImageStream.h"

using namespace Kolm;

namespace {

std::string read_file(const std::string &name) {
    std::ifstream file(OSTREVAN_TEST_DATA "/format/" + name, std::ios::binary);
    EXPECT_TRUE(file.good()) << name;
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

Blob make_blob(const std::string &data, const char *name = nullptr) {
    return Blob(reinterpret_cast<const uint8_t *>(data.data()), data.size(), name);
}

// The other reader of the same library: its own interface for whole pictures, 8 bits.
std::vector<uint8_t> read_simple(const uint8_t *data, size_t size, uint32_t format) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    std::vector<uint8_t> ret;
    if(!png_image_begin_read_from_memory(&image, data, size)) return ret;
    image.format = format;
    ret.resize(PNG_IMAGE_SIZE(image));
    png_image_finish_read(&image, nullptr, ret.data(), 0, nullptr);
    return ret;
}

static const struct {
    const char *name;
    Format format;
} samples[] = {
    {"gray1", FormatRu8n},
    {"gray2", FormatRu8n},
    {"gray4", FormatRu8n},
    {"gray8", FormatRu8n},
    {"gray16", FormatRu16n},
    {"graya8", FormatRGu8n},
    {"graya16", FormatRGu16n},
    {"rgb8", FormatRGBu8n},
    {"rgb16", FormatRGBu16n},
    {"rgb16_interlaced", FormatRGBu16n},
    {"rgba8", FormatRGBAu8n},
    {"rgba16", FormatRGBAu16n},
    {"rgba8_interlaced", FormatRGBAu8n},
    {"palette", FormatRGBu8n},
    {"palette_trns", FormatRGBAu8n},
};

} // namespace

TEST(ImageStreamPNG, loads_all_kinds) {
    for(const auto &sample : samples) {
        SCOPED_TRACE(sample.name);
        const std::string name = std::string("png_") + sample.name;
        const std::string raw = read_file(name + ".raw");
        Image image;
        ASSERT_TRUE(image.load((OSTREVAN_TEST_DATA "/format/" + name + ".png").c_str()));
        EXPECT_EQ(image.getFormat(), sample.format);
        EXPECT_EQ(image.getSize(), Size(9, 7));
        ASSERT_EQ(image.getDataSize(), raw.size());
        EXPECT_EQ(memcmp(image.getData(), raw.data(), raw.size()), 0);

        Blob blob = make_blob(read_file(name + ".png"));
        Image info;
        ASSERT_TRUE(info.info(blob));
        EXPECT_EQ(info.getDescription(), image.getDescription());
        EXPECT_FALSE(info.isAllocated());
    }
}

TEST(ImageStreamPNG, saves) {
    for(const Format format : {FormatRu8, FormatRu8n, FormatRGu8n, FormatRGBu8, FormatRGBu8n, FormatRGBAu8n, FormatRu16,
                               FormatRGu16n, FormatRGBu16n, FormatRGBAu16n}) {
        for(const Image::Flags flags : {Image::FlagNone, Image::FlagFast, Image::FlagBest}) {
            SCOPED_TRACE(getFormatName(format));
            Image image(Image::Type2D, format, Size(300, 201), Image::FlagMipmaps);
            for(size_t i = 0; i < image.getDataSize(); i++) image.getData()[i] = uint8_t((i * i) >> 7);
            Blob blob("x.PNG");
            ASSERT_TRUE(image.save(blob, flags));
            ASSERT_TRUE(blob.seek(0));
            Image loaded;
            ASSERT_TRUE(loaded.load(blob));
            EXPECT_EQ(loaded, image.toFormat(toNormFormat(format)).getSlice(Slice()));
            if(!image.is8BitFormat()) continue;
            static const uint32_t formats[] = {0, PNG_FORMAT_GRAY, PNG_FORMAT_GA, PNG_FORMAT_RGB, PNG_FORMAT_RGBA};
            const auto pixels = read_simple(blob.getData(), blob.getSize(), formats[image.getComponents()]);
            ASSERT_EQ(pixels.size(), image.getMipmapSize(0));
            EXPECT_EQ(memcmp(pixels.data(), image.getData(), pixels.size()), 0);
        }
    }
}

TEST(ImageStreamPNG, refuses_to_save) {
    static const struct {
        Image::Type type;
        Format format;
        uint32_t layers;
        const char *message;
    } rows[] = {
        {Image::TypeCube, FormatRu8, 1, "ImageStreamPNG::save(): can't save Cube Ru8 4x4 image\n"},
        {Image::Type2D, FormatRGBAf32, 1, "ImageStreamPNG::save(): can't save 2D RGBAf32 4x4 image\n"},
        {Image::Type2D, FormatRGBAu8ns, 1, "ImageStreamPNG::save(): can't save 2D RGBAu8ns 4x4 image\n"},
        {Image::Type2D, FormatBGRAu8n, 1, "ImageStreamPNG::save(): can't save 2D BGRAu8n 4x4 image\n"},
        {Image::Type2D, FormatRGBu10Au2n, 1, "ImageStreamPNG::save(): can't save 2D RGBu10Au2n 4x4 image\n"},
        {Image::Type2D, FormatDu16, 1, "ImageStreamPNG::save(): can't save 2D Du16 4x4 image\n"},
        {Image::Type2D, FormatRu8, 2, "ImageStreamPNG::save(): can't save 2D array image\n"},
    };
    for(const auto &row : rows) {
        CapturedLog log;
        Image image(row.type, row.format, Size(4, 4), row.layers);
        Blob blob("x.png");
        EXPECT_FALSE(image.save(blob));
        EXPECT_EQ(log.text(), std::string(row.message) + "Image::save(): can't save \"x.png\" stream\n");
    }
}

TEST(ImageStreamPNG, broken_files) {
    for(const char *name : {"png_rgba8.png", "png_rgb16_interlaced.png", "png_palette_trns.png"}) {
        const std::string file = read_file(name);
        for(size_t size = 0; size < file.size() - 12; size++) {
            CapturedLog log;
            Blob blob = make_blob(file.substr(0, size), "x.png");
            Image image;
            ASSERT_FALSE(image.load(blob)) << name << " " << size;
            ASSERT_GE(log.size(), 2u);
            ASSERT_EQ(log.lines.back(), "Image::load(): can't load \"x.png\" stream\n");
        }
        uint32_t seed = 1;
        for(uint32_t i = 0; i < 3000; i++) {
            CapturedLog log;
            std::string data = file;
            for(uint32_t j = 0; j <= i % 3; j++) {
                seed = seed * 1664525 + 1013904223;
                data[(seed >> 8) % data.size()] ^= char(1 << (seed >> 29));
            }
            Blob blob = make_blob(data, "x.png");
            Image image;
            if(!image.load(blob)) {
                ASSERT_NE(log.size(), 0u);
            }
        }
    }
    // A signature in front of nothing, and a wrong one.
    CapturedLog log;
    Image image;
    Blob blob = make_blob(std::string("\x89PNG\r\n\x1A\nxx", 10));
    EXPECT_FALSE(image.load(blob));
    EXPECT_EQ(log.lines.back(), "Image::load(): can't load \"\" 0x474e5089 stream\n");
    log.clear();
    blob = make_blob("notapngfile", "a.png");
    EXPECT_FALSE(image.load(blob));
    EXPECT_EQ(log.lines.front(), "ImageStreamPNG::load(): invalid signature 0x6e6f7461\n");
}

// A header that promises far more pixels than the file can hold allocates nothing.
TEST(ImageStreamPNG, huge_sizes) {
    std::string file = read_file("png_rgba16.png");
    const auto put = [&file](size_t pos, uint32_t v) {
        for(int i = 0; i < 4; i++) file[pos + size_t(i)] = char(v >> (24 - 8 * i));
    };
    for(const uint32_t extent : {50000u, 1000000u, 0x7FFFFFFFu, 0xFFFFFFFFu, 0u}) {
        put(16, extent);
        put(20, extent);
        png_uint_32 crc = 0xFFFFFFFF;
        for(size_t i = 12; i < 29; i++) {
            crc ^= uint8_t(file[i]);
            for(int k = 0; k < 8; k++) crc = (crc >> 1) ^ ((crc & 1) ? 0xEDB88320 : 0);
        }
        put(29, ~crc);
        CapturedLog log;
        Blob blob = make_blob(file);
        Image image;
        EXPECT_FALSE(image.load(blob));
        EXPECT_FALSE(image.isAllocated());
        EXPECT_GE(log.size(), 2u);
    }
}

// A chunk that claims more than a gigabyte is not given the memory for it, in front of the pixels and behind them.
TEST(ImageStreamPNG, huge_chunks) {
    const std::string file = read_file("png_rgba8.png");
    for(const size_t pos : {size_t(33), file.size() - 12}) {
        CapturedLog log;
        Blob blob = make_blob(std::string(file).insert(pos, std::string("\x60\0\0\0tEXt", 8)), "x.png");
        Image image;
        EXPECT_FALSE(image.load(blob));
        const char *error =
            (pos == 33) ? "error(): chunk is too large\n" : "error(): read error\n"; // not kept behind them
        EXPECT_NE(log.text().find(error), std::string::npos) << log.text();
    }
}

// Small files may stand for large pictures.
TEST(ImageStream, pictures_of_one_colour) {
    for(const char *name : {"x.png", "x.jpg", "x.hdr", "x.tga", "x.bmp", "x.ppm", "x.image", "x.dds", "x.ktx"}) {
        for(const uint32_t size : {100u, 300u, 1500u}) {
            SCOPED_TRACE(std::string(name) + " " + std::to_string(size));
            Image image(Image::Type2D, strstr(name, "hdr") ? FormatRGBf32 : FormatRGBAu8n, Size(size, size));
            memset(image.getData(), 0x3F, image.getDataSize());
            if(strstr(name, "jpg") || strstr(name, "ppm")) image = image.toFormat(FormatRGBu8n);
            Blob blob(name);
            ASSERT_TRUE(image.save(blob));
            ASSERT_TRUE(blob.seek(0));
            Image loaded;
            ASSERT_TRUE(loaded.load(blob));
            ASSERT_EQ(loaded.getSize(), image.getSize());
            const uint8_t *back = loaded.getData() + loaded.getDataSize() - loaded.getPixelSize();
            EXPECT_EQ(memcmp(loaded.getData(), back, loaded.getPixelSize()), 0);
        }
    }
    // one bit a pixel, by the library's own writer
    png_image info = {};
    info.version = PNG_IMAGE_VERSION;
    info.width = info.height = 3000;
    info.format = PNG_FORMAT_RGB_COLORMAP;
    info.colormap_entries = 2;
    const std::vector<uint8_t> indices(9000000, 1);
    const uint8_t colors[] = {1, 2, 3, 4, 5, 6};
    std::vector<uint8_t> file(100000);
    png_alloc_size_t num = file.size();
    ASSERT_TRUE(png_image_write_to_memory(&info, file.data(), &num, 0, indices.data(), 0, colors));
    ASSERT_LT(num, 20000u);
    Blob blob(file.data(), num);
    Image image;
    ASSERT_TRUE(image.load(blob));
    ASSERT_TRUE(image.getDescription() == "2D RGBu8n 3000x3000");
    EXPECT_EQ(memcmp(image.getData(), colors + 3, 3), 0);
}

TEST(ImageStream, registry) {
    EXPECT_NE(ImageStream::get(String("dir/a.b.PnG"), 0), nullptr);
    EXPECT_EQ(ImageStream::get(String("png"), 0), ImageStream::get(String(), 0x474E5089));
    EXPECT_TRUE(ImageStream::check(String("x.png"), 0) && ImageStream::check(String(), 0x474E5089));
    EXPECT_FALSE(ImageStream::check(String("x.nothing"), 0));
    EXPECT_TRUE(ImageStream::check(String("x.nothing"), 0x474E5089));
    EXPECT_NE(std::string(ImageStream::getLoadFormats().get()).find(".png"), std::string::npos);
    EXPECT_NE(std::string(ImageStream::getSaveFormats().get()).find(".png"), std::string::npos);

    CapturedLog log;
    EXPECT_EQ(ImageStream::get(String(), 0), nullptr);
    EXPECT_EQ(log.take(), "");
    EXPECT_EQ(ImageStream::get(String("x.nothing"), 0x12345678), nullptr);
    EXPECT_EQ(log.take(), "ImageStream::get(): can't find \"x.nothing\" image format\n"
                          "ImageStream::get(): can't find 0x12345678 image format\n");
    // A named stream is never told by its bytes.
    Blob blob = make_blob(read_file("png_rgba8.png"), "x.unknown");
    Image image;
    EXPECT_FALSE(image.load(blob));
    EXPECT_EQ(log.take(), "ImageStream::get(): can't find \"x.unknown\" image format\n");
    EXPECT_FALSE(image.load("no/such/file.png"));
    EXPECT_NE(log.take().find("Image::load(): can't open \"no/such/file.png\" file\n"), std::string::npos);
    Blob empty;
    EXPECT_FALSE(image.load(empty));
    EXPECT_EQ(log.take(), "Image::load(): can't read magic\n");
    EXPECT_FALSE(image.info(empty));
    EXPECT_EQ(log.take(), "Image::info(): can't read magic\n");
}
