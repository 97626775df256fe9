// Image::getResized and getMipmapped against plain loops over the footprints, and Sinc against another program.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "KolmAsync.h"
#include "KolmFloat.h"
#include "KolmImage.h"
#include "KolmImageWeigh.h"

using namespace Kolm;

namespace {

constexpr Image::Filter min_filters[] = {Image::FilterPoint, Image::FilterBox, Image::FilterMax, Image::FilterMin,
                                         Image::FilterSinc};
constexpr Image::Filter mag_filters[] = {Image::FilterPoint, Image::FilterLinear, Image::FilterCubic};

struct Row {
    Format format;
    const char *name;
};
constexpr Row rows[] = {
    {FormatRu8n, "u8"},  {FormatRGu8, "rgu8"},   {FormatRGBu8n, "rgbu8"}, {FormatRGBAu8n, "rgbau8"},
    {FormatRi8, "i8"},   {FormatRGBAi8n, "ai8"}, {FormatRGBu16n, "u16"},  {FormatRGBAi16, "i16"},
    {FormatRu32, "u32"}, {FormatRGi32, "i32"},   {FormatRf32, "f32"},     {FormatRGBAf32, "af32"},
};

uint32_t random_word() {
    static uint32_t seed = 1;
    return (seed = seed * 1664525 + 1013904223) >> 3;
}

Image make_random(Format format, uint32_t width, uint32_t height, uint32_t layers = 1) {
    Image image;
    EXPECT_TRUE(image.create2D(format, width, height, layers));
    for(size_t i = 0; i < image.getDataSize(); i++) image.getData()[i] = uint8_t(random_word() >> 8);
    if(isf32Format(format)) {
        float *data = reinterpret_cast<float *>(image.getData());
        for(size_t i = 0; i < image.getDataSize() / 4; i++) data[i] = float(random_word() & 0xFFFF) / 40000.0f - 0.3f;
    }
    return image;
}

// Element c of a pixel, exact in a double.
double get(const Image &image, uint32_t x, uint32_t y, uint32_t c, const Slice &slice = Slice()) {
    const uint8_t *src = image.getData(Origin(x, y), slice);
    const Format format = image.getFormat();
    const auto read = [&](auto v) {
        memcpy(&v, src + c * sizeof(v), sizeof(v));
        return double(v);
    };
    if(isi8Format(format)) return read(int8_t());
    if(isu8Format(format)) return read(uint8_t());
    if(isi16Format(format)) return read(int16_t());
    if(isu16Format(format)) return read(uint16_t());
    if(isi32Format(format)) return read(int32_t());
    if(isu32Format(format)) return read(uint32_t());
    return read(float());
}

struct Print {
    int64_t begin, size;
};
std::vector<Print> get_prints(uint32_t src, uint32_t dst) {
    std::vector<Print> ret;
    const double scale = double(src) / dst;
    double carry = 0;
    int64_t pos = 0;
    for(uint32_t i = 0; i < dst; i++) {
        const int64_t n = int64_t(carry + scale + 0.5);
        ret.push_back({pos, n});
        carry += scale - double(n);
        pos += n;
    }
    return ret;
}

// What a filter gives for a target texel before it is stored.
using Reference = std::function<double(uint32_t x, uint32_t y, uint32_t c)>;

Reference minify(const Image &src, const Image &dst, Image::Filter filter) {
    const auto xs = get_prints(src.getWidth(), dst.getWidth());
    const auto ys = get_prints(src.getHeight(), dst.getHeight());
    return [&src, &dst, filter, xs, ys](uint32_t x, uint32_t y, uint32_t c) {
        const Print px = xs[x], py = ys[y];
        const double center =
            get(src, uint32_t(px.begin + ((px.size - 1) >> 1)), uint32_t(py.begin + ((py.size - 1) >> 1)), c);
        if(filter == Image::FilterPoint) return center;
        double sum = 0, weights = 0, low = center, top = center;
        const double sx = double(src.getWidth()) / dst.getWidth(), sy = double(src.getHeight()) / dst.getHeight();
        const bool sinc = (filter == Image::FilterSinc);
        const int64_t rx = sinc ? std::min(int(sx * 4 + 0.5), 32) : 0, ry = sinc ? std::min(int(sy * 4 + 0.5), 32) : 0;
        const auto window = [](double v) {
            return std::fabs(v) <= 1e-6 ? 1.0 : 4 * sin(M_PI * v) * sin(M_PI * v / 4) / (M_PI * M_PI * v * v);
        };
        for(int64_t t = py.begin - ry; t < py.begin + py.size + ry; t++) {
            for(int64_t s = px.begin - rx; s < px.begin + px.size + rx; s++) {
                if(s < 0 || t < 0 || s >= src.getWidth() || t >= src.getHeight()) continue;
                const double v = get(src, uint32_t(s), uint32_t(t), c);
                const double w = sinc ? window((double(s) + 0.5 - (x + 0.5) * sx) / sx) *
                                            window((double(t) + 0.5 - (y + 0.5) * sy) / sy)
                                      : 1.0;
                sum += v * w;
                weights += w;
                low = std::min(low, v);
                top = std::max(top, v);
            }
        }
        if(filter == Image::FilterMax) return top;
        if(filter == Image::FilterMin) return low;
        return sum / weights;
    };
}

Reference magnify(const Image &src, const Image &dst, Image::Filter filter) {
    return [&src, &dst, filter](uint32_t x, uint32_t y, uint32_t c) {
        const double sx = double(src.getWidth()) / dst.getWidth(), sy = double(src.getHeight()) / dst.getHeight();
        const auto texel = [&](double u, double v) {
            const double w = src.getWidth() - 1, h = src.getHeight() - 1;
            return get(src, uint32_t(std::clamp(u, 0.0, w)), uint32_t(std::clamp(v, 0.0, h)), c);
        };
        if(filter == Image::FilterPoint) return texel(std::floor(sx * x), std::floor(sy * y));
        const double u = sx * x - 0.5, v = sy * y - 0.5, fu = u - std::floor(u), fv = v - std::floor(v);
        if(filter == Image::FilterLinear) {
            const auto lerp = [](double a, double b, double f) { return a + (b - a) * f; };
            return lerp(lerp(texel(std::floor(u), std::floor(v)), texel(std::ceil(u), std::floor(v)), fu),
                        lerp(texel(std::floor(u), std::ceil(v)), texel(std::ceil(u), std::ceil(v)), fu), fv);
        }
        const auto cubic = [](double a, double b, double c, double d, double t) {
            return b + t * (0.5 * (c - a)) + t * t * (a - 2.5 * b + 2 * c - 0.5 * d) +
                   t * t * t * (-0.5 * a + 1.5 * b - 1.5 * c + 0.5 * d);
        };
        const auto line = [&](double row) {
            return cubic(texel(std::floor(u - 1), row), texel(std::floor(u), row), texel(std::ceil(u), row),
                         texel(std::ceil(u + 1), row), fu);
        };
        return cubic(line(std::floor(v - 1)), line(std::floor(v)), line(std::ceil(v)), line(std::ceil(v + 1)), fv);
    };
}

// Every element against the reference. Integers are cut: where the exact value is that near to an integer, the one
// below is as good.
void check(const Image &src, const Image &dst, const Reference &reference, double tolerance) {
    const Format format = src.getFormat();
    double low = -1e30, top = 1e30;
    if(isIntegerFormat(format)) {
        const int bits = is8BitFormat(format) ? 8 : is16BitFormat(format) ? 16 : 32;
        const bool sign = isSignedFormat(format);
        low = sign ? -std::ldexp(1.0, bits - 1) : 0.0;
        top = std::ldexp(1.0, bits - sign) - 1;
    }
    size_t worse = 0;
    for(uint32_t y = 0; y < dst.getHeight(); y++) {
        for(uint32_t x = 0; x < dst.getWidth(); x++) {
            for(uint32_t c = 0; c < dst.getComponents(); c++) {
                const double exact = std::clamp(reference(x, y, c), low, top);
                const double value = get(dst, x, y, c);
                if(isFloatFormat(format)) {
                    ASSERT_NEAR(value, exact, tolerance) << x << " " << y << " " << c;
                } else {
                    ASSERT_GE(value, std::trunc(exact - tolerance)) << x << " " << y << " " << c << " " << exact;
                    ASSERT_LE(value, std::trunc(exact + tolerance)) << x << " " << y << " " << c << " " << exact;
                    worse += (value != std::trunc(exact));
                }
            }
        }
    }
    EXPECT_LE(worse, dst.getDataSize() / 10 + 8);
}

double get_tolerance(Format format, Image::Filter filter) {
    const bool exact = (filter == Image::FilterPoint || filter == Image::FilterMax || filter == Image::FilterMin);
    if(exact) return 0;
    if(filter == Image::FilterBox) return isFloatFormat(format) ? 1e-6 : 1e-9;
    if(isFloatFormat(format)) return 4e-6;
    if(is8BitFormat(format)) return (filter == Image::FilterSinc) ? 0.2 : 1e-4;
    return is16BitFormat(format) ? 0.1 : 1e-3;
}

double get_psnr(const Image &a, const Image &b) {
    EXPECT_EQ(a.getDataSize(), b.getDataSize());
    double sum = 0;
    for(size_t i = 0; i < a.getDataSize(); i++) {
        const double d = double(a.getData()[i]) - double(b.getData()[i]);
        sum += d * d;
    }
    return 10 * std::log10(255.0 * 255.0 * double(a.getDataSize()) / sum);
}

std::string data(const char *name) { return std::string(OSTREVAN_TEST_DATA "/format/") + name; }

} // namespace

TEST(ImageResize, minification_equals_the_plain_loop) {
    constexpr uint32_t sizes[][4] = {{37, 23, 13, 7}, {64, 64, 16, 16}, {66, 34, 33, 17},
                                     {100, 9, 33, 9}, {40, 70, 39, 3},  {33, 5, 1, 1}};
    for(const Row &row : rows) {
        for(const auto &size : sizes) {
            const Image src = make_random(row.format, size[0], size[1]);
            for(const Image::Filter filter : min_filters) {
                SCOPED_TRACE(std::string(row.name) + " filter " + std::to_string(filter) + " to " +
                             std::to_string(size[2]));
                const Image dst = src.getResized(Size(size[2], size[3]), filter, Image::FilterLinear);
                ASSERT_EQ(dst.getSize(), Size(size[2], size[3]));
                check(src, dst, minify(src, dst, filter), get_tolerance(row.format, filter));
            }
        }
    }
}

TEST(ImageResize, magnification_equals_the_plain_loop) {
    constexpr uint32_t sizes[][4] = {{7, 5, 20, 33}, {16, 16, 64, 64}, {1, 2, 2, 1}, {30, 4, 11, 9}, {3, 90, 40, 41}};
    for(const Row &row : rows) {
        for(const auto &size : sizes) {
            const Image src = make_random(row.format, size[0], size[1]);
            for(const Image::Filter filter : mag_filters) {
                SCOPED_TRACE(std::string(row.name) + " filter " + std::to_string(filter) + " to " +
                             std::to_string(size[2]));
                const Image dst = src.getResized(Size(size[2], size[3]), Image::FilterBox, filter);
                check(src, dst, magnify(src, dst, filter), get_tolerance(row.format, filter));
            }
        }
    }
}

TEST(ImageResize, footprints_tile_the_source) {
    Image ramp;
    ramp.create2D(FormatRu16, 100, 1);
    for(uint32_t i = 0; i < 100; i++) reinterpret_cast<uint16_t *>(ramp.getData())[i] = uint16_t(i);
    const Image small = ramp.getResized(Size(33, 1));
    for(uint32_t i = 0; i < 16; i++) EXPECT_EQ(get(small, i, 0, 0), 3 * i + 1);
    EXPECT_EQ(get(small, 16, 0, 0), 49);
    EXPECT_EQ(get(small, 17, 0, 0), 53);
    EXPECT_EQ(get(small, 32, 0, 0), 98);
    // Each source texel in one footprint: the largest of a ramp is where the footprint ends.
    for(uint32_t size = 1; size <= 600; size += (size < 40) ? 1 : 37) {
        Image row;
        row.create2D(FormatRu16, size, 1);
        for(uint32_t i = 0; i < size; i++) reinterpret_cast<uint16_t *>(row.getData())[i] = uint16_t(i);
        for(uint32_t target = 1; target < size; target++) {
            const Image top = row.getResized(Size(target, 1), Image::FilterMax, Image::FilterLinear);
            const Image low = row.getResized(Size(target, 1), Image::FilterMin, Image::FilterLinear);
            double next = 0;
            for(uint32_t i = 0; i < target; i++) {
                ASSERT_EQ(get(low, i, 0, 0), next) << size << " to " << target << " at " << i;
                next = get(top, i, 0, 0) + 1;
            }
            ASSERT_EQ(next, size) << size << " to " << target;
        }
    }
}

TEST(ImageResize, constants_stay) {
    const uint32_t words[] = {0,          0x01010101, 0x7F7F7F7F, 0x80808080, 0xFFFFFFFF, 0x12345678,
                              0x00FF00FF, 0x3DCCCCCD, 0x3F7FFFFF, 0x3EAAAAAB, 0x4B7FFFFF};
    for(const Row &row : rows) {
        for(const uint32_t word : words) {
            if(isFloatFormat(row.format) && (word >> 24) == 0xFF) continue; // no number
            Image src;
            src.create2D(row.format, 41, 29);
            for(size_t i = 0; i < src.getDataSize(); i++)
                src.getData()[i] = uint8_t(word >> (8 * (i % format_sizes[row.format] % 4)));
            for(const Size size : {Size(40, 28), Size(7, 29), Size(1, 1), Size(50, 31), Size(20, 100)}) {
                for(const Image::Filter min_filter : min_filters) {
                    for(const Image::Filter mag_filter : mag_filters) {
                        const Image dst = src.getResized(size, min_filter, mag_filter);
                        for(size_t i = 0; i < dst.getDataSize(); i++)
                            ASSERT_EQ(dst.getData()[i], src.getData()[i % format_sizes[row.format]])
                                << row.name << " " << std::hex << word << " filters " << min_filter << " " << mag_filter
                                << " width " << size.width;
                    }
                }
            }
            const Image chain = src.getMipmapped();
            for(size_t i = 0; i < chain.getDataSize(); i++)
                ASSERT_EQ(chain.getData()[i], src.getData()[i % format_sizes[row.format]]) << row.name;
        }
    }
}

TEST(ImageResize, sums_do_not_overflow) {
    for(const Format format : {FormatRu8, FormatRi8, FormatRu16, FormatRi16, FormatRu32}) {
        Image src;
        src.create2D(format, 300, 300);
        memset(src.getData(), isSignedFormat(format) ? 0x80 : 0xFF, src.getDataSize());
        for(const uint32_t size : {1u, 75u, 150u}) {
            const Image dst = src.getResized(Size(size, size));
            EXPECT_EQ(memcmp(dst.getData(), src.getData(), dst.getDataSize()), 0) << getFormatName(format) << size;
        }
    }
}

TEST(ImageResize, sinc_equals_another_program) {
    Image source;
    ASSERT_TRUE(source.load(data("resize_source.png").c_str()));
    for(const char *name : {"resize_lanczos.png", "resize_lanczos_wide.png"}) {
        Image expected;
        ASSERT_TRUE(expected.load(data(name).c_str()));
        const Image dst = source.getResized(expected.getSize(), Image::FilterSinc, Image::FilterLinear);
        EXPECT_GE(get_psnr(dst, expected), 40.0) << name;
        const Image wide = source.toFormat(FormatRGBAu16n)
                               .getResized(expected.getSize(), Image::FilterSinc, Image::FilterLinear)
                               .toFormat(FormatRGBu8n);
        EXPECT_GE(get_psnr(wide, expected), 40.0) << name;
    }
}

TEST(ImageResize, fixed_point_equals_the_plain_loop) {
    std::vector<uint8_t> src(19 * 100);
    std::vector<int16_t> weights(20), row(4 * 21);
    for(uint8_t &v : src) v = uint8_t(random_word());
    for(int16_t &v : row) v = int16_t(random_word());
    for(uint32_t count = 1; count <= 19; count++) {
        for(uint32_t i = 0; i < 20; i++) weights[i] = (i < count) ? int16_t(random_word() % 4000) - 1000 : 0;
        std::vector<int16_t> fast(100), plain(100);
        weigh_rows(fast.data(), src.data(), 100, weights.data(), count, 97);
        weigh_rows_plain(plain.data(), src.data(), 100, weights.data(), count, 0, 97);
        EXPECT_EQ(fast, plain) << count;
        const int8_t *bytes = reinterpret_cast<const int8_t *>(src.data());
        weigh_rows(fast.data(), bytes, 100, weights.data(), count, 97);
        weigh_rows_plain(plain.data(), bytes, 100, weights.data(), count, 0, 97);
        EXPECT_EQ(fast, plain) << count;
        int32_t a[4], b[4];
        weigh_pixels(a, row.data(), weights.data(), count);
        weigh_pixels_plain(b, row.data(), weights.data(), count);
        EXPECT_EQ(memcmp(a, b, sizeof(a)), 0) << count;
    }
}

TEST(ImageResize, gamma_is_linear_light) {
    // Black and white lines: half of the light is 186 of 255, where the plain mean is 127. The fast power is rough.
    for(const Format format : {FormatRGBAu8n, FormatRGBAu16n, FormatRGBAf32}) {
        Image src;
        src.create2D(FormatRGBAu8n, 64, 64);
        for(uint32_t i = 0; i < 64 * 64; i++) memset(src.getData() + i * 4, (i & 1) ? 255 : 0, 4);
        src = src.toFormat(format);
        for(const Image::Filter filter : {Image::FilterBox, Image::FilterSinc}) {
            const Image dst = src.getResized(Size(8, 8), filter, Image::FilterLinear, Image::FlagGamma);
            const Image bytes = dst.toFormat(FormatRGBAu8n);
            EXPECT_NEAR(get(bytes, 4, 4, 0), 186, 12) << getFormatName(format) << filter;
            EXPECT_NEAR(get(bytes, 4, 4, 3), 127, 2) << getFormatName(format) << filter;
        }
        const Image chain = src.getMipmapped(Image::FilterBox, Image::FlagGamma).toFormat(FormatRGBAu8n);
        EXPECT_NEAR(get(chain, 4, 4, 0, Slice(Mipmap(2))), 186, 12);
        EXPECT_NEAR(get(chain, 4, 4, 3, Slice(Mipmap(2))), 127, 2);
    }
}

TEST(ImageResize, sizes_and_levels) {
    const Image wide = make_random(FormatRGBAu8n, 200, 100);
    EXPECT_EQ(wide.getResized(Size(0, 50)).getSize(), Size(100, 50));
    EXPECT_EQ(wide.getResized(Size(50, 0)).getSize(), Size(50, 25));
    EXPECT_EQ(make_random(FormatRu8, 1, 1000).getResized(Size(0, 10)).getSize(), Size(1, 10));
    EXPECT_EQ(wide.getResized(Size(200, 100)), wide);
    const Image chain = make_random(FormatRGBAu8n, 37, 21, 2).getMipmapped();
    const Image level = chain.getResized(chain.getSize(2));
    EXPECT_EQ(level, chain.getSlice(chain.getSlice(2)));
    Image cube = make_random(FormatRGBAu8n, 16, 16).getMipmapped();
    cube.createCube(FormatRf16, 8, 2);
    EXPECT_EQ(cube.getResized(Size(4, 4)).getDescription(), String("Cube Rf16 4x4 l2"));
    EXPECT_FALSE(Image().getResized(Size(4, 4)).isLoaded());
}

TEST(ImageResize, halves_and_packed_formats) {
    const Image floats = make_random(FormatRGBAf32, 30, 20);
    const Image halves = floats.toFormat(FormatRGBAf16);
    const Size size(11, 7);
    EXPECT_EQ(halves.getResized(size), halves.toFormat(FormatRGBAf32).getResized(size).toFormat(FormatRGBAf16));
    EXPECT_EQ(halves.getMipmapped().getSlice(halves.getSlice()), halves);
    const Image packed = make_random(FormatRu5Gu6Bu5n, 20, 20);
    EXPECT_EQ(packed.getResized(size, Image::FilterPoint, Image::FilterPoint).getFormat(), FormatRu5Gu6Bu5n);
    CapturedLog log;
    EXPECT_FALSE(packed.getResized(size).isLoaded());
    EXPECT_EQ(log.take(), "Image::toFormat(): can't convert 2D Ru5Gu6Bu5n 20x20 to RGBu8n\n");
    Image block, volume;
    block.create2D(FormatBC1RGBu8n, 8);
    volume.create3D(FormatRu8, 8);
    EXPECT_FALSE(block.getResized(Size(4, 4)).isLoaded());
    EXPECT_FALSE(volume.getResized(Size(4, 4)).isLoaded());
    EXPECT_FALSE(floats.getResized(Size(0, 0)).isLoaded());
    EXPECT_EQ(log.take(), "Image::getResized(): can't resize 2D BC1RGBu8n 8x8 image\n"
                          "Image::getResized(): can't resize 3D Ru8 8x8x8 image\n"
                          "Image::getResized(): can't resize 2D RGBAf32 30x20 image\n");
    EXPECT_FALSE(block.getMipmapped().isLoaded());
    EXPECT_EQ(log.take(), "Image::getMipmapped(): can't create mipmaps for 2D BC1RGBu8n 8x8 image\n");
    EXPECT_ASSERTION(
        floats.getResized(size, Image::FilterLinear, Image::FilterLinear),
        "(min_filter == FilterPoint || min_filter == FilterBox || min_filter == FilterMax || min_filter == "
        "FilterMin || min_filter == FilterSinc) && \"Image::getResized(): unknown min filter\"");
    EXPECT_ASSERTION(floats.getResized(Size(40, 1), Image::FilterBox, Image::FilterSinc),
                     "(mag_filter == FilterPoint || mag_filter == FilterLinear || mag_filter == FilterCubic) && "
                     "\"Image::getResized(): unknown mag filter\"");
    EXPECT_ASSERTION(floats.getMipmapped(Image::FilterLinear),
                     "(filter == FilterPoint || filter == FilterBox || filter == FilterMax || filter == FilterMin) && "
                     "\"Image::getMipmapped(): unknown filter\"");
    EXPECT_ASSERTION(packed.getMipmapped(),
                     "ret.isAllocated() && \"Image::getMipmapped(): can't convert mixed image\"");
}

TEST(ImageMipmaps, levels_equal_the_plain_loop) {
    for(const Row &row : rows) {
        for(const uint32_t width : {1u, 2u, 5u, 16u, 67u}) {
            for(const Image::Filter filter :
                {Image::FilterBox, Image::FilterMax, Image::FilterMin, Image::FilterPoint}) {
                SCOPED_TRACE(std::string(row.name) + " " + std::to_string(width) + " " + std::to_string(filter));
                const Image src = make_random(row.format, width, 11);
                const Image chain = src.getMipmapped(filter);
                EXPECT_EQ(memcmp(chain.getData(), src.getData(), src.getDataSize()), 0);
                for(uint32_t m = 1; m < chain.getMipmaps(); m++) {
                    const Image above = chain.getSlice(Slice(Mipmap(m - 1)));
                    const Image level = chain.getSlice(Slice(Mipmap(m)));
                    check(
                        above, level,
                        [&](uint32_t x, uint32_t y, uint32_t c) {
                            double v[4];
                            for(uint32_t i = 0; i < 4; i++)
                                v[i] = get(above, std::min(x * 2 + (i & 1), above.getWidth() - 1),
                                           std::min(y * 2 + (i >> 1), above.getHeight() - 1), c);
                            if(filter == Image::FilterPoint) return v[((x ^ y) >> 1) & 3];
                            if(filter == Image::FilterMax) return *std::max_element(v, v + 4);
                            if(filter == Image::FilterMin) return *std::min_element(v, v + 4);
                            return (v[0] + v[1] + v[2] + v[3]) * 0.25;
                        },
                        isFloatFormat(row.format) ? 1e-6 : 0);
                }
            }
        }
    }
}

TEST(ImageMipmaps, cut_means_volumes_and_cubes) {
    Image checker;
    checker.create2D(FormatRu8n, 4);
    for(uint32_t i = 0; i < 16; i++) checker.getData()[i] = ((i ^ (i >> 2)) & 1) ? 255 : 0;
    const Image chain = checker.getMipmapped();
    for(uint32_t i = 0; i < 4; i++) EXPECT_EQ(get(chain, i % 2, i / 2, 0, Slice(Mipmap(1))), 127);
    Image volume;
    volume.create3D(FormatRu8n, 2);
    for(uint32_t i = 0; i < 8; i++) volume.getData()[i] = uint8_t(i < 7); // 7/8 is 0
    EXPECT_EQ(volume.getMipmapped().getData(Slice(Mipmap(1)))[0], 0);
    EXPECT_EQ(volume.getMipmapped(Image::FilterMax).getData(Slice(Mipmap(1)))[0], 1);
    Image cube;
    cube.createCube(FormatRu8n, 4, 2);
    for(size_t i = 0; i < cube.getDataSize(); i++) cube.getData()[i] = uint8_t(i / 16);
    const Image cubes = cube.getMipmapped();
    for(uint32_t face = 0; face < 12; face++) {
        for(uint32_t m = 0; m < 3; m++)
            EXPECT_EQ(*cubes.getData(Slice(Face(face % 6), Layer(face / 6), Mipmap(m))), face);
    }
}

TEST(ImageMipmaps, srgb_is_averaged_in_linear_light) {
    for(const Format format : {FormatRGBAu8ns, FormatRGBu8ns}) {
        Image lines;
        lines.create2D(format, 8);
        const uint32_t size = lines.getPixelSize();
        for(uint32_t i = 0; i < 64; i++) memset(lines.getData() + i * size, (i & 1) ? 255 : 0, size);
        const Image chain = lines.getMipmapped();
        EXPECT_EQ(chain.getFormat(), format);
        EXPECT_EQ(memcmp(chain.getData(), lines.getData(), lines.getDataSize()), 0);
        EXPECT_NEAR(get(chain, 0, 0, 0, Slice(Mipmap(3))), 187, 1); // sRGB of one half
        if(size == 4) {
            EXPECT_EQ(get(chain, 0, 0, 3, Slice(Mipmap(3))), 127);
        }
    }
    Image bgra;
    bgra.create2D(FormatBGRAu8ns, 8);
    EXPECT_EQ(bgra.getMipmapped().getMipmaps(), 4u); // has no wider row: averaged as it is
}

TEST(ImageResize, workers_give_the_same_bytes) {
    Async async;
    ASSERT_TRUE(async.init(4));
    for(const Format format : {FormatRGBAu8n, FormatRGBu8n, FormatRu16n, FormatRGBf32, FormatRGBAf16, FormatRGBAu8ns}) {
        const Image src = make_random(format, 230, 190);
        for(const Image::Flags flags : {Image::FlagNone, Image::FlagGamma}) {
            for(const Image::Filter filter : min_filters)
                EXPECT_EQ(src.getResized(Size(97, 83), filter, Image::FilterLinear, flags),
                          src.getResized(Size(97, 83), filter, Image::FilterLinear, flags, &async));
            for(const Image::Filter filter : {Image::FilterPoint, Image::FilterBox, Image::FilterMax, Image::FilterMin})
                EXPECT_EQ(src.getMipmapped(filter, flags), src.getMipmapped(filter, flags, &async));
        }
        for(const Image::Filter filter : mag_filters)
            EXPECT_EQ(src.getResized(Size(500, 400), Image::FilterBox, filter),
                      src.getResized(Size(500, 400), Image::FilterBox, filter, Image::FlagNone, &async));
        const Image cube = src.toType(Image::TypeCube, Image::FlagPanorama);
        EXPECT_EQ(cube, src.toType(Image::TypeCube, Image::FlagPanorama, &async));
        EXPECT_EQ(cube.toType(Image::Type2D, Image::FlagPanorama),
                  cube.toType(Image::Type2D, Image::FlagPanorama, &async));
        // From inside a task of the same pool.
        Image nested;
        Async::Task task = async.run([&] { nested = src.getResized(Size(50, 50), Image::FlagNone, &async); });
        ASSERT_TRUE(task.wait());
        EXPECT_EQ(nested, src.getResized(Size(50, 50)));
    }
}
