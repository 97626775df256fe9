// Texel access, interpolation, cube faces, and the forms of cubes in a plane.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmImageSampler.h"

using namespace Kolm;

namespace {

constexpr float32_t face_values[6] = {0.1f, 0.25f, 0.4f, 0.55f, 0.7f, 0.95f};

// Each face of one colour.
Image make_cube(Format format, uint32_t size) {
    Image cube;
    EXPECT_TRUE(cube.createCube(format, size));
    for(uint32_t face = 0; face < 6; face++) {
        for(uint32_t y = 0; y < size; y++) {
            for(uint32_t x = 0; x < size; x++) {
                const ImageColor color(Color(face_values[face], 1.0f - face_values[face], 0.5f), format);
                store_image_color(cube.getData(Origin(x, y), Slice(Face(face))), format, color);
            }
        }
    }
    return cube;
}

// A cube whose texels are all different.
Image make_random_cube(uint32_t size) {
    Image cube;
    cube.createCube(FormatRGBAu8n, size, 2);
    for(size_t i = 0; i < cube.getDataSize(); i++) cube.getData()[i] = uint8_t(i * 2654435761u >> 13);
    return cube;
}

} // namespace

TEST(ImageSampler, texels_of_all_formats_come_back) {
    for(uint32_t i = 1; i < NumFormats; i++) {
        const Format format = Format(i);
        Image image;
        image.create2D(format, 4, 3);
        ImageSampler sampler;
        CapturedLog log;
        const bool plain = (isColorFormat(format) && isPlainFormat(format) && !is64BitFormat(format)) ||
                           format == FormatDu16 || format == FormatDf32;
        ASSERT_EQ(sampler.create(image), plain) << getFormatName(format);
        if(!plain) {
            EXPECT_EQ(log.size(), 1u);
            continue;
        }
        for(size_t k = 0; k < image.getDataSize(); k++) image.getData()[k] = uint8_t(k * 37 + 11);
        Image copy;
        copy.create2D(format, 4, 3);
        ImageSampler target(copy);
        for(uint32_t k = 0; k < 12; k++) target.set2D(k % 4, k / 4, sampler.getTexel(k));
        EXPECT_EQ(image, copy) << getFormatName(format);
    }
}

TEST(ImageSampler, colors_are_scaled_by_format) {
    const Color color(1.0f, 0.5f, 0.0f, 0.25f);
    EXPECT_EQ(ImageColor(color, FormatRGBAu8n).uv[0], 255u);
    EXPECT_EQ(ImageColor(color, FormatRGBAu8n).uv[1], 127u);
    EXPECT_EQ(ImageColor(color, FormatBGRAu8n).uv[2], 255u);
    EXPECT_EQ(ImageColor(color, FormatRGBAi16n).iv[0], 32767);
    EXPECT_EQ(ImageColor(color, FormatRGBAf16).hv[1].bits, 0x3800);
    EXPECT_EQ(ImageColor(color, FormatRGBAf32).get(FormatRGBAf32), color);
    EXPECT_EQ(ImageColor(color, FormatRGf32).get(FormatRGf32), Color(1.0f, 0.5f, 0.0f, 1.0f));
    EXPECT_EQ(ImageColor(color, FormatBC1RGBu8n).get(FormatBC1RGBu8n), Color::zero);

    EXPECT_EQ(ImageColor(float32x4_t(1.0f, 2.0f, 3.0f, 4.0f)).fv[2], 3.0f);
    EXPECT_EQ(ImageColor(uint32x4_t(1, 2, 3, 4)).iv[3], 4);
    EXPECT_EQ(ImageColor(float16_t(2.0f), float16_t(1.0f)).h.y(), float16_t::one);

    Image image;
    image.create2D(FormatRGBAu8n, 5, 3);
    ImageSampler sampler(image);
    sampler.clear(Color(0.2f, 0.4f, 0.6f, 0.8f));
    sampler.mad(Color(2.0f, 1.0f, 2.0f, 1.0f), Color(0.0f, 0.25f, 0.0f, 0.0f));
    EXPECT_NEAR(double(sampler.get2D(4u, 2u).uv[0]), 102, 1);
    EXPECT_NEAR(double(sampler.get2D(4u, 2u).uv[1]), 165.75, 1.1);
    EXPECT_EQ(sampler.get2D(4u, 2u).uv[2], 255u);
}

TEST(ImageSampler, interpolates_and_wraps) {
    Image image;
    image.create2D(FormatRf32, 4, 2);
    float *data = reinterpret_cast<float *>(image.getData());
    for(uint32_t i = 0; i < 8; i++) data[i] = float(i * i);
    const ImageSampler sampler(std::as_const(image));
    EXPECT_EQ(sampler.get2D(1.5, 0.0).fv[0], 2.5f);
    EXPECT_EQ(sampler.get2D(1.5, 0.5).fv[0], (2.5f + 30.5f) / 2);
    EXPECT_EQ(sampler.get2D(-3.0, 0.0).fv[0], 0.0f);
    EXPECT_EQ(sampler.get2D(-1.0, 0.0, true).fv[0], 9.0f);
    EXPECT_EQ(sampler.get2D(3.5, 0.0, true).fv[0], 4.5f);
    EXPECT_EQ(sampler.get2D(6.0, -2.0, true).fv[0], 4.0f);
    EXPECT_EQ(sampler.get2D(1.6, 0.4, false, ImageSampler::FilterPoint).fv[0], 4.0f);
    // Catmull-Rom through 0, 1, 4, 9 in the middle
    EXPECT_FLOAT_EQ(sampler.get2D(1.5, 0.0, false, ImageSampler::FilterCubic).fv[0], (-0.0f + 9 * 1 + 9 * 4 - 9) / 16);
    for(const double far : {1e300, -1e300, double(INFINITY), double(NAN), -2147483648.0}) {
        for(const bool repeat : {false, true}) {
            const float value = sampler.get2D(far, far, repeat).fv[0];
            EXPECT_TRUE(value >= 0.0f && value <= 49.0f) << far;
        }
    }
    Image volume;
    volume.create3D(FormatRu8, 3);
    for(uint32_t i = 0; i < 27; i++) volume.getData()[i] = uint8_t(i);
    const ImageSampler cells(std::as_const(volume));
    EXPECT_EQ(cells.get3D(1u, 1u, 1u).uv[0], 13u);
    EXPECT_EQ(cells.get3D(1.0, 1.0, 1.5).uv[0], 17u); // 17.5, cut
    EXPECT_EQ(cells.get3D(1.0, 1.0, -1.0, true).uv[0], 22u);
    EXPECT_ASSERTION(ImageSampler(std::as_const(image)).set2D(0, 0, ImageColor()),
                     "set_color && \"ImageSampler::set2D(): can't set read-only sampler\"");
    EXPECT_ASSERTION(sampler.getCube(1, 0, 0),
                     "sampler_type == Image::TypeCube && \"ImageSampler::getCube(): invalid sampler type\"");
}

TEST(ImageSampler, cube_faces) {
    Image cube = make_cube(FormatRf32, 8);
    const ImageSampler sampler(cube);
    EXPECT_EQ(sampler.getType(), Image::TypeCube);
    static const double directions[6][3] = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
    for(uint32_t face = 0; face < 6; face++) {
        const double *d = directions[face];
        double u = 0, v = 0;
        EXPECT_EQ(sampler.getCubeFace(d[0] * 7, d[1] * 7, d[2] * 7, u, v), face);
        EXPECT_EQ(u, 3.5);
        EXPECT_EQ(v, 3.5);
        EXPECT_EQ(sampler.getCube(d[0], d[1], d[2]).fv[0], face_values[face]);
    }
    double u = 0, v = 0;
    EXPECT_LT(sampler.getCubeFace(0, 0, 0, u, v), 6u);
    EXPECT_LT(sampler.getCubeFace(NAN, INFINITY, 1, u, v), 6u);
    sampler.getCube(NAN, INFINITY, -INFINITY);
    // x to the right of z, y up
    EXPECT_EQ(sampler.getCubeFace(0.5, 0.25, 1, u, v), 4u);
    EXPECT_EQ(u, 5.5);
    EXPECT_EQ(v, 2.5);
    ImageSampler writer(cube);
    writer.setCube(0.5, 0.25, 1, ImageColor(9.0f));
    EXPECT_EQ(*reinterpret_cast<const float *>(cube.getData(Origin(6, 3), Slice(Face(4)))), 9.0f);
}

TEST(ImageType, cube_to_panorama_and_back) {
    for(const Format format : {FormatRGBAu8n, FormatRGBu16n, FormatRGBAf16, FormatRGBf32}) {
        const Image cube = make_cube(format, 16);
        const Image panorama = cube.toType(Image::Type2D, Image::FlagPanorama);
        EXPECT_EQ(panorama.getSize(), Size(64, 32));
        const Image back = panorama.toType(Image::TypeCube, Image::FlagPanorama);
        ASSERT_EQ(back.getSize(), Size(16, 16));
        for(uint32_t face = 0; face < 6; face++) {
            for(uint32_t i = 6; i < 10; i++) {
                EXPECT_EQ(memcmp(back.getData(Origin(i, 8), Slice(Face(face))),
                                 cube.getData(Origin(8, 8), Slice(Face(face))), getFormatPixelSize(format)),
                          0)
                    << getFormatName(format) << face;
            }
        }
    }
    // A smooth picture comes back as it was, so no face is mirrored or turned.
    Image smooth;
    smooth.createCube(FormatRGBf32, 32);
    for(uint32_t face = 0; face < 6; face++) {
        for(uint32_t i = 0; i < 32 * 32; i++) {
            const float a = (i % 32 + 0.5f) / 16 - 1, b = (i / 32 + 0.5f) / 16 - 1;
            const float d[6][3] = {{1, -b, -a}, {-1, -b, a}, {a, 1, b}, {a, -1, -b}, {a, -b, 1}, {-a, -b, -1}};
            const float r = 1 / std::sqrt(1 + a * a + b * b);
            float *dst = reinterpret_cast<float *>(smooth.getData(Slice(Face(face)))) + i * 3;
            for(uint32_t c = 0; c < 3; c++) dst[c] = d[face][c] * r;
        }
    }
    const Image panorama = smooth.toType(Image::Type2D, Image::FlagPanorama);
    const float *middle = reinterpret_cast<const float *>(panorama.getData(Origin(64, 32)));
    EXPECT_GT(middle[2], 0.98f);                                                            // +z in the middle
    EXPECT_GT(reinterpret_cast<const float *>(panorama.getData(Origin(96, 32)))[0], 0.98f); // +x to the right
    EXPECT_GT(reinterpret_cast<const float *>(panorama.getData(Origin(5, 0)))[1], 0.98f);   // +y on top
    const Image back = panorama.toType(Image::TypeCube, Image::FlagPanorama);
    const float *a = reinterpret_cast<const float *>(smooth.getData());
    const float *b = reinterpret_cast<const float *>(back.getData());
    for(uint32_t i = 0; i < smooth.getDataSize() / 4; i++) ASSERT_NEAR(a[i], b[i], 0.08) << i;
}

TEST(ImageType, crosses_and_strips) {
    const Image cube = make_random_cube(6);
    const Image cross = cube.toType(Image::Type2D);
    EXPECT_EQ(cross.getDescription(), String("2D RGBAu8n 24x18 l2"));
    EXPECT_EQ(cross.toType(Image::TypeCube), cube);
    EXPECT_EQ(cube.toType(Image::TypeCube), cube);

    Image strip;
    strip.create2D(FormatRGBAu8n, 36, 6, 2);
    for(uint32_t face = 0; face < 6; face++)
        strip.copy(cube, Origin(face * 6, 0), Region(0, 0, 6, 6), Slice(Layer(0, 2)), Slice(Face(face), Layer(0, 2)));
    EXPECT_EQ(strip.toType(Image::TypeCube), cube);
    Image column;
    column.create2D(FormatRGBAu8n, 6, 36, 2);
    for(uint32_t face = 0; face < 6; face++)
        column.copy(cube, Origin(0, face * 6), Region(0, 0, 6, 6), Slice(Layer(0, 2)), Slice(Face(face), Layer(0, 2)));
    EXPECT_EQ(column.toType(Image::TypeCube), cube);

    // Standing up: the same faces but the last one, which lies below, upside down.
    Image standing;
    standing.create2D(FormatRGBAu8n, 18, 24, 2);
    standing.copy(cross, Origin(0, 0), Region(0, 0, 18, 18), Slice(Layer(0, 2)), Slice(Layer(0, 2)));
    const Image back = cube.getSlice(Slice(Face(5), Layer(0, 2))).getRotated(2);
    standing.copy(back, Origin(6, 18), Slice(Layer(0, 2)), Slice(Layer(0, 2)));
    EXPECT_EQ(standing.toType(Image::TypeCube), cube);

    CapturedLog log;
    Image odd, volume;
    odd.create2D(FormatRGBAu8n, 25, 18);
    volume.create3D(FormatRu8, 4);
    EXPECT_FALSE(odd.toType(Image::TypeCube).isLoaded());
    EXPECT_EQ(log.take(), "Image::toType(): can't convert 2D RGBAu8n 25x18 to Cube\n");
    EXPECT_FALSE(volume.toType(Image::Type2D).isLoaded());
    EXPECT_EQ(log.take(), "Image::toType(): can't convert 3D Ru8 4x4x4 image to 2D\n");
    Image wide;
    wide.create2D(FormatRf64, 8, 4);
    EXPECT_FALSE(wide.toType(Image::TypeCube, Image::FlagPanorama).isLoaded());
    EXPECT_EQ(log.size(), 2u);
}
