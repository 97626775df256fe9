// JPEG files: pixels and bytes against another program's, camera data, hostile files.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "KolmBlob.h"
#include "KolmExif.h"
#include "KolmImage.h"

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

std::string get_bytes(const Blob &blob) {
    return std::string(reinterpret_cast<const char *>(blob.getData()), blob.getSize());
}

// Bytes of a TIFF block, in either order.
struct Tiff {
    explicit Tiff(bool big) : big(big) {
        data = big ? "MM" : "II";
        put(42, 2);
        put(8, 4);
    }
    void put(uint32_t value, uint32_t size) {
        for(uint32_t i = 0; i < size; i++) data += char(value >> (8 * (big ? size - 1 - i : i)));
    }
    void entry(uint32_t tag, uint32_t type, uint32_t count, uint32_t value, uint32_t size = 4) {
        put(tag, 2);
        put(type, 2);
        put(count, 4);
        put(value, size);
        put(0, 4 - size);
    }
    bool big;
    std::string data;
};

std::string make_camera(bool big) {
    Tiff tiff(big);
    tiff.put(5, 2);                              // at 8
    tiff.entry(0x010F, 2, 10, 74);               // Make
    tiff.entry(0x0112, 3, 1, 6, 2);              // Orientation
    tiff.entry(0x8769, 4, 1, 84);                // the photo's directory
    tiff.entry(0x0131, 2, 4, 0);                 // Software, an empty text
    tiff.entry(0x010E, 2, 1000000, 74);          // outside
    tiff.put(0, 4);                              // at 70
    tiff.data += std::string("A<B&C d  \0", 10); // at 74
    tiff.put(2, 2);                              // at 84
    tiff.entry(0x829A, 5, 1, 114);               // ExposureTime
    tiff.entry(0x8827, 3, 2, big ? 0x00640065 : 0x00650064);
    tiff.put(0, 4);
    tiff.put(1, 4); // at 114
    tiff.put(250, 4);
    return tiff.data;
}

const char *const camera_text = "<Make>A&lt;B&amp;C d</Make>\n<Orientation>6</Orientation>\n"
                                "<ExposureTime>1/250</ExposureTime>\n<ISOSpeedRatings>100 101</ISOSpeedRatings>\n";

// A picture with a segment behind its first marker.
std::string insert_segment(const std::string &file, uint8_t marker, const std::string &content) {
    const uint32_t size = uint32_t(content.size()) + 2;
    return file.substr(0, 2) + '\xFF' + char(marker) + char(size >> 8) + char(size) + content + file.substr(2);
}

} // namespace

TEST(ImageStreamJPEG, pixels_equal_another_program) {
    for(const char *name : {"rgb", "progressive", "restart", "grey", "arithmetic"}) {
        SCOPED_TRACE(name);
        const std::string raw = read_file(std::string("jpeg_") + name + ".raw");
        Blob blob = make_blob(read_file(std::string("jpeg_") + name + ".jpg")); // by its magic
        Image image, info;
        ASSERT_TRUE(image.load(blob));
        EXPECT_EQ(blob.tell(), blob.getSize());
        EXPECT_EQ(image.getFormat(), strcmp(name, "grey") ? FormatRGBu8n : FormatRu8n);
        EXPECT_EQ(image.getSize(), Size(61, 43));
        ASSERT_EQ(image.getDataSize(), raw.size());
        EXPECT_EQ(memcmp(image.getData(), raw.data(), raw.size()), 0);
        ASSERT_TRUE(blob.seek(0));
        ASSERT_TRUE(info.info(blob));
        EXPECT_EQ(info.getDescription(), image.getDescription());
        EXPECT_FALSE(info.isAllocated());
    }
    Image cmyk;
    ASSERT_TRUE(cmyk.load(OSTREVAN_TEST_DATA "/format/jpeg_cmyk.jpg"));
    EXPECT_EQ(cmyk.getFormat(), FormatRGBAu8n);
}

TEST(ImageStreamJPEG, bytes_equal_another_program) {
    Image image;
    ASSERT_TRUE(image.load(OSTREVAN_TEST_DATA "/format/jpeg_source.ppm"));
    Blob blob("x.jpg");
    ASSERT_TRUE(image.save(blob, Image::FlagNone, 75));
    EXPECT_EQ(get_bytes(blob), read_file("jpeg_rgb.jpg"));
}

TEST(ImageStreamJPEG, saves_what_it_takes) {
    for(const Format format :
        {FormatRu8, FormatRu8n, FormatRGu8, FormatRGu8n, FormatRGBu8, FormatRGBu8n, FormatRGBAu8, FormatRGBAu8n}) {
        SCOPED_TRACE(getFormatName(format));
        Image image(Image::Type2D, format, Size(70, 50), Image::FlagMipmaps), loaded;
        for(size_t i = 0; i < image.getMipmapSize(0); i++) image.getData()[i] = uint8_t(100 + 80 * std::sin(i * 0.002));
        Blob blob("x.jpeg");
        ASSERT_TRUE(image.save(blob, Image::FlagNone, 95));
        ASSERT_TRUE(blob.seek(0));
        ASSERT_TRUE(loaded.load(blob));
        EXPECT_EQ(loaded.getFormat(), toNormFormat(format));
        ASSERT_EQ(loaded.getDataSize(), image.getMipmapSize(0));
        double sum = 0;
        for(size_t i = 0; i < loaded.getDataSize(); i++) sum += std::abs(loaded.getData()[i] - image.getData()[i]);
        EXPECT_LT(sum / double(loaded.getDataSize()), 3.0);
    }
    static const struct {
        Image::Type type;
        Format format;
        uint32_t layers;
        const char *message;
    } rows[] = {
        {Image::TypeCube, FormatRu8, 1, "ImageStreamJPEG::save(): can't save Cube Ru8 4x4 image\n"},
        {Image::Type2D, FormatRGBu16n, 1, "ImageStreamJPEG::save(): can't save 2D RGBu16n 4x4 image\n"},
        {Image::Type2D, FormatBGRAu8n, 1, "ImageStreamJPEG::save(): can't save 2D BGRAu8n 4x4 image\n"},
        {Image::Type2D, FormatRu8, 2, "ImageStreamJPEG::save(): can't save 2D array image\n"},
    };
    for(const auto &row : rows) {
        CapturedLog log;
        Image image(row.type, row.format, Size(4, 4), row.layers);
        Blob blob("x.jpg");
        EXPECT_FALSE(image.save(blob));
        EXPECT_EQ(log.text(), std::string(row.message) + "Image::save(): can't save \"x.jpg\" stream\n");
    }
    CapturedLog log;
    Image wide(Image::Type2D, FormatRu8, Size(70000, 1));
    Blob blob("x.jpg");
    EXPECT_FALSE(wide.save(blob));
    EXPECT_GE(log.size(), 2u);
}

TEST(ImageStreamJPEG, camera_data) {
    const std::string file = read_file("jpeg_rgb.jpg");
    for(const bool big : {false, true}) {
        const std::string exif = std::string("Exif\0\0", 6) + make_camera(big);
        Blob blob = make_blob(insert_segment(insert_segment(file, 0xE1, exif), 0xE1, "http://other\0"));
        Image image;
        CapturedLog log;
        ASSERT_TRUE(image.load(blob));
        EXPECT_EQ(image.getMetaInfo(), String((std::string("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<meta>\n") +
                                               camera_text + "</meta>\n")
                                                  .c_str()));
        EXPECT_EQ(log.text(), "");
        // Cut and wrong camera data spoils no picture, and is told of.
        for(size_t size = 6; size < exif.size(); size++) {
            Blob cut = make_blob(insert_segment(file, 0xE1, exif.substr(0, size)));
            ASSERT_TRUE(image.load(cut)) << size;
            ASSERT_TRUE(size >= 16 || !log.text().empty()) << size;
            ASSERT_LE(image.getMetaInfo().size(), 300u);
        }
    }
    Image image;
    ASSERT_TRUE(image.load(OSTREVAN_TEST_DATA "/format/jpeg_rgb.jpg"));
    EXPECT_TRUE(image.getMetaInfo().empty());
}

TEST(Exif, texts_of_other_encodings) {
    const std::string text = "K\xF6ln\n\xE2\x82\xAC \xE2\x82 \x01\xEF\xBF\xBD";
    Tiff tiff(false);
    tiff.put(1, 2);
    tiff.entry(0x013B, 2, uint32_t(text.size()) + 1, 26); // Artist
    tiff.put(0, 4);
    tiff.data += text + '\0';
    Blob blob = make_blob(tiff.data);
    String dest;
    ASSERT_TRUE(Exif::readTIFF(blob, tiff.data.size(), dest));
    EXPECT_EQ(dest, "<Artist>K\u00F6ln \u20AC \u00E2? ?\uFFFD</Artist>\n");
}

TEST(Exif, hostile_directories) {
    const std::string good = make_camera(false);
    uint32_t seed = 1;
    const auto random = [&seed] { return (seed = seed * 1664525 + 1013904223) >> 8; };
    for(uint32_t i = 0; i < 20000; i++) {
        std::string data = good;
        for(uint32_t k = 0; k <= i % 4; k++) data[8 + random() % (data.size() - 8)] = char(random());
        if(i % 3 == 0) data.resize(random() % data.size());
        Blob blob = make_blob(data);
        String text;
        Exif::readTIFF(blob, data.size(), text);
        ASSERT_LE(text.size(), 8000u);
    }
    // Directories that point at themselves end.
    Tiff loop(false);
    loop.put(2, 2);
    loop.entry(0x8769, 4, 1, 8);
    loop.entry(0x8825, 4, 1, 8);
    Blob blob = make_blob(loop.data);
    String text;
    EXPECT_TRUE(Exif::readTIFF(blob, loop.data.size(), text));
    EXPECT_TRUE(text.empty());
    Blob none = make_blob("XX nothing like it");
    EXPECT_FALSE(Exif::readTIFF(none, 18, text));
}

TEST(ImageStreamJPEG, broken_files) {
    for(const char *name : {"jpeg_rgb.jpg", "jpeg_progressive.jpg", "jpeg_restart.jpg", "jpeg_grey.jpg"}) {
        const std::string file = read_file(name);
        for(size_t size = 0; size + 3 < file.size(); size++) {
            CapturedLog log;
            Blob blob = make_blob(file.substr(0, size), "x.jpg");
            Image image;
            ASSERT_FALSE(image.load(blob)) << name << " " << size;
            ASSERT_GE(log.size(), 2u);
            ASSERT_EQ(log.lines.back(), "Image::load(): can't load \"x.jpg\" stream\n");
        }
        uint32_t seed = 1;
        for(uint32_t i = 0; i < 2000; i++) {
            CapturedLog log;
            std::string data = file;
            for(uint32_t j = 0; j <= i % 3; j++) {
                seed = seed * 1664525 + 1013904223;
                data[(seed >> 8) % ((i % 2) ? 640 : data.size())] ^= char(1 << (seed >> 29));
            }
            Blob blob = make_blob(data, "x.jpg");
            Image image;
            if(!image.load(blob)) {
                ASSERT_GE(log.size(), 2u);
            }
        }
    }
    // Segments that are too short, that end behind the file, and that are none.
    const std::string file = read_file("jpeg_rgb.jpg");
    const std::string starts[] = {std::string("\xFF\xD8\xFF\xE0\0\0", 6), std::string("\xFF\xD8\xFF\xE0\xFF\xFF", 6),
                                  std::string("\xFF\xD8\xFF\xE1\0\x09"
                                              "Exif\0\0M",
                                              13),
                                  std::string("\xFF\xD8\xFF\xD8\xFF\xD9", 6), std::string(500, '\xFF')};
    for(const std::string &start : starts) {
        CapturedLog log;
        Blob blob = make_blob(start, "x.jpg");
        Image image;
        EXPECT_FALSE(image.load(blob));
        EXPECT_GE(log.size(), 2u);
        EXPECT_FALSE(image.isAllocated());
    }
    // A picture far larger than its bytes can hold allocates nothing.
    std::string huge = file;
    const size_t frame = huge.find("\xFF\xC0");
    ASSERT_NE(frame, std::string::npos);
    huge.replace(frame + 5, 4, "\xFF\xDC\xFF\xDC");
    CapturedLog log;
    Blob blob = make_blob(huge);
    Image image;
    EXPECT_FALSE(image.load(blob));
    EXPECT_FALSE(image.isAllocated());
    EXPECT_EQ(log.lines[0], "ImageStreamJPEG::create(): invalid size 65500x65500\n");
}
