// Native, DDS and KTX files: bytes by hand, files of other programs, every format there and back, hostile files.

#include <gtest/gtest.h>

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

void fill(Image &image) {
    uint32_t seed = 1;
    for(size_t i = 0; i < image.getDataSize(); i++)
        image.getData()[i] = uint8_t((seed = seed * 1664525 + 1013904223) >> 24);
}

std::string save(const Image &image, const char *name, Image::Flags flags = Image::FlagNone) {
    Blob blob(name);
    EXPECT_TRUE(image.save(blob, flags)) << name;
    return std::string(reinterpret_cast<const char *>(blob.getData()), blob.getSize());
}

Image load(const std::string &data, uint32_t offset = 0, const char *name = nullptr) {
    Blob blob(reinterpret_cast<const uint8_t *>(data.data()), data.size(), name);
    Image image;
    image.load(blob, Image::FlagNone, offset);
    return image;
}

std::string hex(const std::string &data) {
    std::string ret;
    char buffer[4];
    for(const char c : data) {
        snprintf(buffer, sizeof(buffer), "%02x", uint8_t(c));
        ret += buffer;
    }
    return ret;
}

uint32_t word(const std::string &data, size_t pos) {
    uint32_t ret;
    memcpy(&ret, &data[pos], 4);
    return ret;
}
void set_word(std::string &data, size_t pos, uint32_t value) { memcpy(&data[pos], &value, 4); }

// One image of each type, with layers and levels where the type has them.
std::vector<Image> make_images(Format format) {
    std::vector<Image> images(5);
    EXPECT_TRUE(images[0].create2D(format, 13, 6));
    EXPECT_TRUE(images[1].create2D(format, 10, 7, 3, Image::FlagMipmaps));
    EXPECT_TRUE(images[2].create3D(format, 6, 5, 3, Image::FlagMipmaps));
    EXPECT_TRUE(images[3].createCube(format, 9, Image::FlagMipmaps));
    EXPECT_TRUE(images[4].createCube(format, 5, 2));
    for(Image &image : images) fill(image);
    return images;
}

// Every cut and many changed bytes: a failure is logged, and nothing is read or written out of bounds.
void break_file(const std::string &file, uint32_t changes) {
    for(size_t size = 0; size < file.size(); size += (size < 300) ? 1 : 7) {
        CapturedLog log;
        if(!load(file.substr(0, size)).isLoaded()) {
            ASSERT_NE(log.size(), 0u) << size;
        }
    }
    uint32_t seed = 1;
    const auto random = [&seed](uint32_t n) { return ((seed = seed * 1664525 + 1013904223) >> 8) % n; };
    for(uint32_t i = 0; i < changes; i++) {
        CapturedLog log;
        std::string data = file;
        for(uint32_t j = 0; j <= i % 4; j++) {
            const size_t pos = 4 + random(uint32_t(std::min(data.size() - 4, size_t(200))));
            data[pos] = (i & 8) ? char(random(256)) : char(data[pos] ^ (1 << random(8)));
        }
        Blob blob(reinterpret_cast<const uint8_t *>(data.data()), data.size());
        Image image;
        if(!image.load(blob, Image::FlagNone, random(4))) {
            ASSERT_NE(log.size(), 0u);
        }
    }
}

} // namespace

TEST(ImageStreamIMAGE, bytes) {
    Image image(Image::Type2D, FormatRGBAu8n, Size(1, 1));
    memcpy(image.getData(), "\1\2\3\4", 4);
    EXPECT_EQ(hex(save(image, "x.image")),
              "696d61677b3b34010111823244875247424175386e818181010800000000000000000102030400");
}

TEST(ImageStreamIMAGE, all_formats) {
    for(uint32_t i = 1; i < NumFormats; i++) {
        for(const Image &image : make_images(Format(i))) {
            for(const Image::Flags flags : {Image::FlagNone, Image::FlagFast, Image::FlagFast | Image::FlagBest}) {
                const std::string data = save(image, "x.image", flags);
                ASSERT_EQ(load(data), image) << image.getDescription().get();
                Blob blob(reinterpret_cast<const uint8_t *>(data.data()), data.size());
                Image info;
                ASSERT_TRUE(info.info(blob));
                ASSERT_TRUE(info.getDescription() == image.getDescription());
                ASSERT_FALSE(info.isAllocated());
            }
        }
    }
}

TEST(ImageStreamIMAGE, compression_levels) {
    Image image(Image::Type2D, FormatRGBAu8n, Size(64, 64));
    for(size_t i = 0; i < image.getDataSize(); i++) image.getData()[i] = uint8_t((i / 16) * (i & 3));
    const size_t none = save(image, "x.image").size();
    const size_t fast = save(image, "x.image", Image::FlagFast).size();
    const size_t best = save(image, "x.image", Image::FlagBest).size();
    EXPECT_LT(best, fast);
    EXPECT_LT(fast, none);
    EXPECT_EQ(load(save(image, "x.image", Image::FlagBest)), image);
}

TEST(ImageStreamIMAGE, reduced_resolution) {
    Image image;
    ASSERT_TRUE(image.create2D(FormatRGu8n, 16, 16, 2, Image::FlagMipmaps));
    fill(image);
    const std::string data = save(image, "x.image");
    Image part = load(data, 2);
    EXPECT_TRUE(part.getDescription() == "2D RGu8n 4x4 l2 m3");
    EXPECT_EQ(memcmp(part.getData(Slice(Layer(1))), image.getData(Slice(Layer(1), Mipmap(2))), part.getLayerSize()), 0);
    EXPECT_TRUE(load(data, 9).getDescription() == "2D RGu8n 1x1 l2");
}

TEST(ImageStreamIMAGE, names_win_over_numbers) {
    Image image(Image::Type2D, FormatRGBAu8n, Size(3, 2));
    fill(image);
    const std::string file = save(image, "x.image");
    CapturedLog log;
    std::string data = file;
    data[9] = 99;
    EXPECT_EQ(load(data), image);
    EXPECT_EQ(log.take(), "ImageStreamIMAGE::create(): restore RGBAu8n format\n");
    data[8] = 3;
    EXPECT_EQ(load(data), image);
    EXPECT_EQ(log.take(),
              "ImageStreamIMAGE::create(): restore 2D type\nImageStreamIMAGE::create(): restore RGBAu8n format\n");
    memcpy(&data[14], "zzz", 3);
    EXPECT_FALSE(load(data).isLoaded());
    EXPECT_EQ(log.lines[1], "ImageStreamIMAGE::create(): invalid format 99 zzzAu8n\n");
    log.clear();
    data = file;
    data[4]++;
    EXPECT_FALSE(load(data).isLoaded());
    EXPECT_EQ(log.take(), "ImageStreamIMAGE::create(): invalid version 20200316\n"
                          "ImageStreamIMAGE::load(): can't create image\n"
                          "Image::load(): can't load \"\" 0x67616d69 stream\n");
    // A packed format is found by its number only.
    Image packed(Image::Type2D, FormatRGBAu4n, Size(3, 2));
    data = save(packed, "x.image");
    EXPECT_EQ(load(data), packed);
    data[9] = 1;
    EXPECT_FALSE(load(data).isLoaded());
}

TEST(ImageStreamIMAGE, writing_goes_on_behind) {
    Image image(Image::Type2D, FormatRu8, Size(3, 2), Image::FlagMipmaps);
    fill(image);
    Blob blob("x.image");
    ASSERT_TRUE(blob.writeu32(7) && image.save(blob) && image.save(blob));
    ASSERT_TRUE(blob.seek(4));
    for(uint32_t i = 0; i < 2; i++) {
        Image loaded;
        ASSERT_TRUE(loaded.load(blob));
        EXPECT_EQ(loaded, image);
    }
    EXPECT_FALSE(blob.isAvailable());
}

TEST(ImageStreamIMAGE, broken_files) {
    Image image;
    ASSERT_TRUE(image.create2D(FormatRGBAu8n, 9, 6, 2, Image::FlagMipmaps));
    fill(image);
    break_file(save(image, "x.image"), 4000);
    break_file(save(image, "x.image", Image::FlagBest), 4000);
    ASSERT_TRUE(image.create3D(FormatBC1RGBu8n, 9, 6, 3));
    break_file(save(image, "x.image"), 1000);
}

TEST(ImageStreamDDS, bytes) {
    Image image(Image::Type2D, FormatRGBAu8n, Size(2, 2));
    fill(image);
    std::string data = save(image, "x.dds");
    ASSERT_EQ(data.size(), 164u);
    EXPECT_EQ(word(data, 8), 0x100Fu);
    EXPECT_EQ(word(data, 20), 8u);
    EXPECT_EQ(word(data, 128), 28u);
    EXPECT_EQ(memcmp(&data[148], image.getData(), 16), 0);
    data = save(Image(Image::Type2D, FormatBC1RGBAu8n, Size(4, 4)), "x.dds");
    ASSERT_EQ(data.size(), 156u);
    EXPECT_EQ(word(data, 8), 0x81007u);
    EXPECT_EQ(word(data, 20), 8u);
    EXPECT_EQ(word(data, 128), 71u);
    EXPECT_EQ(load(data).getFormat(), FormatBC1RGBAu8n);
    EXPECT_EQ(load(save(Image(Image::Type2D, FormatBC1RGBu8n, Size(4, 4)), "x.dds")).getFormat(), FormatBC1RGBAu8n);
}

TEST(ImageStreamDDS, all_formats) {
    uint32_t saved = 0;
    for(uint32_t i = 1; i < NumFormats; i++) {
        for(const Image &image : make_images(Format(i))) {
            CapturedLog log;
            Blob blob("x.dds");
            if(!image.save(blob)) {
                ASSERT_EQ(log.size(), 2u);
                continue;
            }
            ASSERT_TRUE(blob.seek(0));
            Image loaded;
            ASSERT_TRUE(loaded.load(blob)) << image.getDescription().get();
            ASSERT_TRUE(isSameFormats(loaded.getFormat(), image.getFormat()));
            ASSERT_EQ(memcmp(loaded.getData(), image.getData(), image.getDataSize()), 0);
            ASSERT_EQ(loaded.getSlice(), image.getSlice());
            saved++;
        }
    }
    EXPECT_EQ(saved, 80u * 5);
}

// Old headers of another program: byte orders come out as RGBA.
TEST(ImageStreamDDS, files_of_others) {
    for(const char *name : {"dds_bgra", "dds_bgr"}) {
        const std::string raw = read_file(std::string(name) + ".raw");
        const Image image = load(read_file(std::string(name) + ".dds"), 0, "x.dds");
        ASSERT_EQ(image.getMipmapSize(0), raw.size()) << name;
        EXPECT_EQ(memcmp(image.getData(), raw.data(), raw.size()), 0) << name;
    }
    const Image dxt = load(read_file("dds_dxt5_mips.dds"), 0, "x.dds");
    EXPECT_TRUE(dxt.getDescription() == "2D BC3RGBAu8n 16x8 m5");
}

TEST(ImageStreamDDS, chains_of_other_lengths) {
    Image image(Image::TypeCube, FormatRu8n, Size(8, 8), Image::FlagMipmaps);
    fill(image);
    const std::string full = save(image, "x.dds");
    std::string data = full.substr(0, 148);
    set_word(data, 28, 2); // levels
    for(uint32_t f = 0; f < 6; f++) data += full.substr(148 + f * 85, 64 + 16);
    const Image part = load(data);
    ASSERT_EQ(part.getDescription(), image.getDescription());
    for(uint32_t f = 0; f < 6; f++) {
        EXPECT_EQ(memcmp(part.getData(Slice(Face(f))), image.getData(Slice(Face(f))), 80), 0);
        EXPECT_EQ(part.getData(Slice(Face(f)))[80], 0);
    }
    // More levels than the size gives.
    Image pixel(Image::Type2D, FormatRu8n, Size(1, 1), 2);
    fill(pixel);
    data = save(pixel, "x.dds").substr(0, 148);
    set_word(data, 28, 3);
    data += std::string({char(pixel.getData()[0]), 9, 9, char(pixel.getData()[1]), 9, 9});
    EXPECT_EQ(load(data), pixel);
    CapturedLog log;
    set_word(data, 28, 33);
    EXPECT_FALSE(load(data).isLoaded());
}

TEST(ImageStreamDDS, refuses) {
    CapturedLog log;
    Blob blob("x.dds");
    EXPECT_FALSE(Image(Image::Type2D, FormatDf32, Size(4, 4)).save(blob));
    EXPECT_EQ(log.lines[0], "ImageStreamDDS::save(): can't save 2D Df32 4x4 image\n");
    log.clear();
    EXPECT_FALSE(Image(Image::Type2D, FormatRGBu8n, Size(4, 4)).save(blob));
    EXPECT_EQ(log.lines[0], "ImageStreamDDS::save(): unsupported format RGBu8n\n");
    log.clear();
    std::string data = save(Image(Image::Type2D, FormatRGBAu8n, Size(2, 2)), "x.dds");
    for(const uint32_t pos : {12, 16}) { // height and width
        for(const uint32_t extent : {0u, 0xFFFFFFFFu, 0x10000u}) {
            std::string changed = data;
            set_word(changed, pos, extent);
            EXPECT_FALSE(load(changed).isAllocated()) << pos << " " << extent;
        }
    }
    set_word(data, 140, 0xFFFFFFFF); // layers
    EXPECT_FALSE(load(data).isAllocated());
}

TEST(ImageStreamDDS, broken_files) {
    Image image;
    ASSERT_TRUE(image.create2D(FormatRGBAu8n, 9, 6, 2, Image::FlagMipmaps));
    break_file(save(image, "x.dds"), 4000);
    break_file(read_file("dds_bgra.dds"), 4000);
}

TEST(ImageStreamKTX, bytes) {
    Image image(Image::Type2D, FormatRGBAu8n, Size(2, 2));
    fill(image);
    std::string data = save(image, "x.ktx");
    ASSERT_EQ(data.size(), 112u);
    EXPECT_EQ(hex(data.substr(0, 16)), "ab4b5458203131bb0d0a1a0a01020304");
    EXPECT_EQ(data.substr(68, 24), std::string("KTXorientation\0S=r,T=d\0", 24));
    EXPECT_EQ(load(data), image);
    // Without the key the first row is the lower one.
    data[68] = 'X';
    Image flipped = load(data);
    ASSERT_TRUE(flipped.flipY());
    EXPECT_EQ(flipped, image);
    set_word(data, 60, 0);
    data.erase(64, 28);
    ASSERT_EQ(load(data).getDescription(), image.getDescription());
    flipped = load(data);
    ASSERT_TRUE(flipped.flipY());
    EXPECT_EQ(flipped, image);
}

TEST(ImageStreamKTX, all_formats) {
    uint32_t saved = 0;
    for(uint32_t i = 1; i < NumFormats; i++) {
        for(const Image &image : make_images(Format(i))) {
            CapturedLog log;
            Blob blob("x.ktx");
            if(!image.save(blob)) {
                ASSERT_EQ(log.size(), 2u);
                continue;
            }
            ASSERT_EQ(blob.getSize() % 4, 0u);
            ASSERT_TRUE(blob.seek(0));
            Image loaded;
            ASSERT_TRUE(loaded.load(blob)) << image.getDescription().get();
            ASSERT_TRUE(isSameFormats(loaded.getFormat(), image.getFormat()));
            ASSERT_EQ(memcmp(loaded.getData(), image.getData(), image.getDataSize()), 0)
                << image.getDescription().get();
            ASSERT_EQ(loaded.getSlice(), image.getSlice());
            saved++;
        }
    }
    EXPECT_EQ(saved, 107u * 5);
}

TEST(ImageStreamKTX, tight_rows) {
    Image image(Image::TypeCube, FormatRGBu8n, Size(3, 3));
    fill(image);
    std::string data = save(image, "x.ktx").substr(0, 64 + 28);
    const uint32_t size = 27;
    data.append(reinterpret_cast<const char *>(&size), 4);
    for(uint32_t f = 0; f < 6; f++) {
        data.append(reinterpret_cast<const char *>(image.getData(Slice(Face(f)))), 27);
        data.append(1, 0);
    }
    EXPECT_EQ(load(data), image);
}

TEST(ImageStreamKTX, legacy_formats) {
    Image image(Image::Type2D, FormatRGBAu8n, Size(2, 2));
    std::string data = save(image, "x.ktx");
    set_word(data, 28, 0x1908);
    EXPECT_EQ(load(data).getFormat(), FormatRGBAu8n);
    set_word(data, 16, 0x1402);
    CapturedLog log;
    EXPECT_FALSE(load(data).isLoaded() && load(data).getFormat() != FormatRGBAi16n);
    set_word(data, 16, 0x1407);
    EXPECT_FALSE(load(data).isLoaded());
    EXPECT_NE(log.take().find("ImageStreamKTX::create(): unsupported internal format 0x1908\n"), std::string::npos);
    set_word(data, 28, 0);
    EXPECT_FALSE(load(data).isLoaded());
    set_word(data, 12, 0x01020304);
    log.clear();
    EXPECT_FALSE(load(data).isLoaded());
    EXPECT_EQ(log.lines[0], "ImageStreamKTX::create(): unsupported endianness 0x01020304\n");
}

TEST(ImageStreamKTX, broken_files) {
    Image image;
    ASSERT_TRUE(image.create2D(FormatRGBu8n, 9, 6, 2, Image::FlagMipmaps));
    const std::string file = save(image, "x.ktx");
    break_file(file, 4000);
    for(const uint32_t size : {0xFFFFFFFFu, 0xFFFFFFFDu, 25u, 0x7FFFFFFFu}) {
        CapturedLog log;
        std::string data = file;
        set_word(data, 64, size);
        EXPECT_TRUE(log.size() == 0);
        load(data);
        EXPECT_EQ(log.lines.at(0), "ImageStreamKTX::load(): can't read key value size\n");
        set_word(data, 60, size);
        load(data);
    }
}
