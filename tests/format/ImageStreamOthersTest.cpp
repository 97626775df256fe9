// Pixmaps, TGA, BMP and Radiance files: samples of another program against its raw pixels, there and back, hostile files.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "KolmBlob.h"
#include "KolmImageStream.h"

using namespace Kolm;

namespace {

std::string read_file(const std::string &name) {
    std::ifstream file(OSTREVAN_TEST_DATA "/format/" + name, std::ios::binary);
    EXPECT_TRUE(file.good()) << name;
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

Image load(const std::string &data, const std::string &name) {
    Blob blob(reinterpret_cast<const uint8_t *>(data.data()), data.size(), name.c_str());
    Image image;
    image.load(blob);
    return image;
}

const struct {
    const char *name;
    Format format;
} samples[] = {
    {"ppm_text.ppm", FormatRGBu8n},         {"ppm_bytes.ppm", FormatRGBu8n},   {"ppm_wide.ppm", FormatRGBu16n},
    {"ppm_grey.pgm", FormatRu8n},           {"ppm_bits.pbm", FormatRu8n},      {"ppm_bits_text.pbm", FormatRu8n},
    {"tga_rgb.tga", FormatRGBu8n},          {"tga_rgba.tga", FormatRGBAu8n},   {"tga_rgba_runs.tga", FormatRGBAu8n},
    {"tga_grey.tga", FormatRu8n},           {"tga_palette.tga", FormatRGBu8n}, {"tga_palette_runs.tga", FormatRGBu8n},
    {"bmp_rgb.bmp", FormatRGBu8n},          {"bmp_rgba.bmp", FormatRGBAu8n},   {"bmp_palette.bmp", FormatRGBu8n},
    {"bmp_palette_runs.bmp", FormatRGBu8n}, {"bmp_bits.bmp", FormatRGBu8n},    {"bmp_565.bmp", FormatRGBu8n},
    {"bmp_core.bmp", FormatRGBu8n},
};

} // namespace

TEST(ImageStreamOthers, files_of_another_program) {
    for(const auto &sample : samples) {
        SCOPED_TRACE(sample.name);
        const std::string name = sample.name;
        const std::string file = read_file(name);
        const std::string raw = read_file(name.substr(0, name.size() - 3) + "raw");
        const Image image = load(file, name);
        EXPECT_EQ(image.getFormat(), sample.format);
        ASSERT_TRUE(image.isAllocated());
        ASSERT_EQ(image.getDataSize(), raw.size());
        // Five bits become eight by rounding here, and by repeating bits there.
        const int tolerance = (name == "bmp_565.bmp") ? 1 : 0;
        for(size_t i = 0; i < raw.size(); i++) ASSERT_NEAR(image.getData()[i], uint8_t(raw[i]), tolerance) << i;
        Blob blob(reinterpret_cast<const uint8_t *>(file.data()), file.size(), sample.name);
        Image info;
        ASSERT_TRUE(info.info(blob));
        EXPECT_TRUE(info.getDescription() == image.getDescription() && !info.isAllocated());
    }
}

TEST(ImageStreamOthers, saved_files_load) {
    for(const char *name : {"x.ppm", "x.tga", "x.bmp"}) {
        for(uint32_t i = FormatColorBegin; i <= FormatDepthBack; i++) {
            Image image(Image::Type2D, Format(i), Size(13, 5));
            for(size_t k = 0; k < image.getDataSize(); k++) image.getData()[k] = uint8_t(k * 37);
            CapturedLog log;
            Blob blob(name);
            if(!image.save(blob)) {
                ASSERT_EQ(log.size(), 2u) << name << " " << getFormatName(Format(i));
                continue;
            }
            ASSERT_TRUE(blob.seek(0));
            Image loaded;
            ASSERT_TRUE(loaded.load(blob)) << name << " " << getFormatName(Format(i));
            if(loaded.getComponents() == 3 && image.getComponents() == 1) {
                ASSERT_EQ(loaded.getComponent(1), image.toFormat(loaded.getComponent(1).getFormat()));
            } else {
                Image expected = image.toFormat(loaded.getFormat());
                ASSERT_EQ(loaded, expected) << name << " " << getFormatName(Format(i));
            }
        }
    }
}

TEST(ImageStreamOthers, radiance) {
    const Image sample = load(read_file("hdr_runs.hdr"), "x.hdr");
    ASSERT_TRUE(sample.getDescription() == "2D RGBf32 40x10");
    const float *first = reinterpret_cast<const float *>(sample.getData());
    EXPECT_NEAR(first[0], 1.0f, 0.01f);
    EXPECT_NEAR(first[2], 0.0f, 0.01f);
    EXPECT_NEAR(first[40 * 9 * 3 + 2], 1.0f, 0.01f);

    for(const uint32_t width : {5u, 8u, 300u}) {
        Image image(Image::Type2D, FormatRGBAf32, Size(width, 4));
        float *data = reinterpret_cast<float *>(image.getData());
        for(uint32_t i = 0; i < width * 4; i++) {
            for(uint32_t c = 0; c < 3; c++)
                data[i * 4 + c] = ldexpf(1.0f + float((i / 7 + c) % 5) * 0.25f, int(i % 40) - 20);
        }
        Blob blob;
        ASSERT_TRUE(ImageStream::get(String("hdr"), 0)->save(blob, image, Image::FlagNone, 0));
        ASSERT_TRUE(blob.seek(0));
        Image loaded; // told by its first bytes
        ASSERT_TRUE(loaded.load(blob));
        ASSERT_EQ(loaded.getSize(), image.getSize());
        const float *ret = reinterpret_cast<const float *>(loaded.getData());
        for(uint32_t i = 0; i < width * 4; i++) {
            const float top = std::max(std::max(data[i * 4], data[i * 4 + 1]), data[i * 4 + 2]);
            for(uint32_t c = 0; c < 3; c++) ASSERT_NEAR(ret[i * 3 + c], data[i * 4 + c], top / 127) << i;
        }
    }
    // The old run-length code, and a picture that is stored bottom up.
    const std::string old =
        std::string("#?RGBE\n\n+Y 1 +X 9\n") + std::string("\x80\x40\x20\x81\1\1\1\7\x80\0\0\x80", 12);
    const Image image = load(old, "");
    ASSERT_TRUE(image.isAllocated());
    const float *pixels = reinterpret_cast<const float *>(image.getData());
    EXPECT_EQ(pixels[0], 1.0f);
    EXPECT_EQ(pixels[7 * 3 + 1], 0.5f);
    EXPECT_EQ(pixels[8 * 3], 0.5f);
}

// Headers of other systems: fewer colours than their bits allow, up to the pixels, and records that are cut short.
TEST(ImageStreamOthers, bitmap_headers) {
    const std::string rows("\2\1\0\0\0\1\2\0", 8);
    const std::string core =
        std::string("BM\0\0\0\0\0\0\0\0\x23\0\0\0\x0C\0\0\0\3\0\2\0\1\0\x08\0", 26) + "\1\2\3\4\5\6\7\x08\x09" + rows;
    const std::string cut = std::string("BM\0\0\0\0\0\0\0\0\x2A\0\0\0\x10\0\0\0\3\0\0\0\2\0\0\0\1\0\x08\0", 30) +
                            std::string("\1\2\3\0\4\5\6\0\7\x08\x09\0", 12) + rows;
    const uint8_t expected[] = {3, 2, 1, 6, 5, 4, 9, 8, 7, 9, 8, 7, 6, 5, 4, 3, 2, 1};
    for(const std::string &file : {core, cut}) {
        const Image image = load(file, "x.bmp");
        ASSERT_TRUE(image.getDescription() == "2D RGBu8n 3x2");
        EXPECT_EQ(memcmp(image.getData(), expected, sizeof(expected)), 0);
    }
    // fewer colours than are used: the others are black
    std::string few = core;
    few[10] = 29;
    few.erase(29, 6);
    const Image image = load(few, "x.bmp");
    ASSERT_TRUE(image.isAllocated());
    EXPECT_EQ(image.getData()[0], 3);
    EXPECT_EQ(image.getData()[6], 0);
}

TEST(ImageStreamOthers, pixmap_headers) {
    const Image image = load("P2 # text\n2 # more\n1\n3\n1\t3", "x.pgm");
    ASSERT_TRUE(image.isAllocated());
    EXPECT_EQ(image.getData()[0], 85);
    EXPECT_EQ(image.getData()[1], 255);
    static const char *const broken[] = {"",           "P7\n1 1\n255\nx",     "P5\n0 1\n255\n",  "P5\n1 1\n65536\n",
                                         "P5\n1 1\n0", "P5\n99999999 1\n1\n", "P2\n2 1\n255\n1", "P2\n1 1\n255\nx"};
    for(const char *text : broken) {
        CapturedLog log;
        EXPECT_FALSE(load(text, "x.ppm").isAllocated() && log.size() == 0) << text;
        EXPECT_GE(log.size(), 2u) << text;
    }
}

TEST(ImageStreamOthers, broken_files) {
    std::vector<std::string> names = {"hdr_runs.hdr"};
    for(const auto &sample : samples) names.push_back(sample.name);
    uint32_t seed = 1;
    const auto random = [&seed](size_t n) { return ((seed = seed * 1664525 + 1013904223) >> 8) % n; };
    for(const std::string &name : names) {
        const std::string file = read_file(name);
        for(size_t size = 0; size + 1 < file.size(); size += (size < 100) ? 1 : 5) {
            CapturedLog log;
            if(!load(file.substr(0, size), name).isLoaded()) {
                ASSERT_NE(log.size(), 0u) << name << " " << size;
            }
        }
        for(uint32_t i = 0; i < 1500; i++) {
            CapturedLog log;
            std::string data = file;
            for(uint32_t j = 0; j <= i % 4; j++) {
                const size_t pos = random((i & 16) ? data.size() : std::min(data.size(), size_t(70)));
                data[pos] = (i & 8) ? char(random(256)) : char(data[pos] ^ (1 << random(8)));
            }
            Blob blob(reinterpret_cast<const uint8_t *>(data.data()), data.size(), name.c_str());
            Image image;
            if(!image.load(blob)) {
                ASSERT_NE(log.size(), 0u);
            }
        }
    }
}
