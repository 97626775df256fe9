// Conversions of pixels beside the loop that a compiler makes of the same formula, and files beside the bare codecs or
// memcpy. Both sides write into memory that a result allocates anew, as toFormat does. "ratio" is ours / peer.

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("O3")
#endif

#include "Compare.h"

#include <png.h>

#include <stdio.h>

#include <jpeglib.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "KolmBlob.h"
#include "KolmFloat.h"
#include "KolmImage.h"

using namespace Kolm;

namespace {

constexpr uint32_t extent = 1024;

Image make_image(Format format, uint32_t size = extent) {
    Image image;
    image.create2D(format, size, size);
    uint32_t seed = 1;
    for(size_t i = 0; i < image.getDataSize(); i++)
        image.getData()[i] = uint8_t((seed = seed * 1664525 + 1013904223) >> 24);
    if(isf32Format(format)) {
        float *data = reinterpret_cast<float *>(image.getData());
        for(size_t i = 0; i < image.getDataSize() / 4; i++) data[i] = float(i % 1009) / 1008.0f;
    }
    if(isf16Format(format)) {
        uint16_t *data = reinterpret_cast<uint16_t *>(image.getData());
        for(size_t i = 0; i < image.getDataSize() / 2; i++) data[i] = float16_t(float(i % 1009) / 1008.0f).bits;
    }
    return image;
}

/// Elements of a large picture through \p func into new memory.
template<class Src, class Dst, class Func> void loop(const Image &image, Func func) {
    const size_t size = image.getDataSize() / sizeof(Src);
    Dst *dst = static_cast<Dst *>(malloc(size * sizeof(Dst)));
    const Src *src = reinterpret_cast<const Src *>(image.getData());
    for(size_t i = 0; i < size; i++) dst[i] = func(src[i]);
    benchmark::DoNotOptimize(dst);
    benchmark::ClobberMemory();
    free(dst);
}

uint32_t swap_pixel(uint32_t v) { return (v & 0xFF00FF00) | ((v >> 16) & 0xFF) | ((v & 0xFF) << 16); }

float half_to_float(uint16_t h) {
    const float value = bitsToFloat(uint32_t(h & 0x7FFF) << 13) * 0x1p112f;
    const uint32_t special = ((h & 0x7C00) == 0x7C00) ? 0x7F800000 : 0;
    return bitsToFloat(floatToBits(value) | special | (uint32_t(h & 0x8000) << 16));
}

void u8_to_f32(const Image &image) {
    loop<uint8_t, float>(image, [](uint8_t v) { return v * 0.003921569f; });
}
void f32_to_u8(const Image &image) {
    loop<float, uint8_t>(image, [](float v) {
        float x = v * 256.0f;
        x = (x > 0.0f) ? x : 0.0f;
        x = (x < 255.0f) ? x : 255.0f;
        return uint8_t(int(x));
    });
}
void u8_to_u16(const Image &image) {
    loop<uint8_t, uint16_t>(image, [](uint8_t v) { return uint16_t(v | (v << 8)); });
}
void swap_bytes(const Image &image) { loop<uint32_t, uint32_t>(image, swap_pixel); }
void f16_to_f32(const Image &image) { loop<uint16_t, float>(image, half_to_float); }
void look_up(const Image &image) {
    static const std::vector<float> table = [] {
        std::vector<float> ret(256);
        for(uint32_t i = 0; i < 256; i++) ret[i] = std::pow(float(i) / 255.0f, 2.2f);
        return ret;
    }();
    loop<uint8_t, float>(image, [](uint8_t v) { return table[v]; });
}
void copy(const Image &image) {
    void *dst = malloc(image.getDataSize());
    memcpy(dst, image.getData(), image.getDataSize());
    benchmark::DoNotOptimize(dst);
    benchmark::ClobberMemory();
    free(dst);
}

void convert(benchmark::State &state, Format from, Format to, Image::Flags flags, void (*peer)(const Image &)) {
    const Image image = make_image(from);
    compare(
        state, [&] { benchmark::DoNotOptimize(image.toFormat(to, flags).getData()); }, [&] { peer(image); });
    const double elements = double(image.getDataSize() / (image.getPixelSize() / image.getComponents()));
    state.counters["ours_ns_an_element"] = double(state.counters["ours_us"]) * 1e3 / elements;
}

void swap_components(benchmark::State &state) {
    Image image = make_image(FormatRGBAu8n);
    compare(
        state, [&] { image.swap(0, 2); },
        [&] {
            uint32_t *data = reinterpret_cast<uint32_t *>(image.getData());
            const size_t size = image.getDataSize() / 4;
            for(size_t i = 0; i < size; i++) data[i] = swap_pixel(data[i]);
            benchmark::ClobberMemory();
        });
}

#define ROW(FUNC, NAME, ...) BENCHMARK_CAPTURE(FUNC, NAME, __VA_ARGS__)->UseManualTime()

ROW(convert, u8n_to_f32, FormatRGBAu8n, FormatRGBAf32, Image::FlagNone, u8_to_f32);
ROW(convert, f32_to_u8n, FormatRGBAf32, FormatRGBAu8n, Image::FlagNone, f32_to_u8);
ROW(convert, u8n_to_u16n, FormatRGBAu8n, FormatRGBAu16n, Image::FlagNone, u8_to_u16);
ROW(convert, bgra_to_rgba, FormatBGRAu8n, FormatRGBAu8n, Image::FlagNone, swap_bytes);
ROW(convert, f16_to_f32, FormatRGBAf16, FormatRGBAf32, Image::FlagNone, f16_to_f32);
ROW(convert, f32_to_f16_by_memcpy, FormatRGBAf32, FormatRGBAf16, Image::FlagNone, copy);
ROW(convert, u8n_to_f32_by_memcpy, FormatRGBAu8n, FormatRGBAf32, Image::FlagNone, copy);
ROW(convert, srgb_decode, FormatRGBAu8ns, FormatRGBAf32, Image::FlagNone, look_up);
ROW(convert, srgb_encode_by_memcpy, FormatRGBAf32, FormatRGBAu8ns, Image::FlagNone, copy);
ROW(convert, gamma_decode, FormatRGBAu8n, FormatRGBAf32, Image::FlagGamma, look_up);
ROW(convert, gamma_encode_by_memcpy, FormatRGBAf32, FormatRGBAu8n, Image::FlagGamma, copy);
BENCHMARK(swap_components)->UseManualTime();

// A picture that compresses as photographs do.
Image make_picture() {
    Image image;
    image.create2D(FormatRGBu8n, 1024, 1024);
    uint8_t *data = image.getData();
    uint32_t seed = 1;
    for(uint32_t y = 0; y < 1024; y++) {
        for(uint32_t x = 0; x < 1024; x++, data += 3) {
            const float wave = std::sin(float(x) * 0.013f) * std::cos(float(y) * 0.017f) * 100.0f + 128.0f;
            seed = seed * 1664525 + 1013904223;
            for(uint32_t c = 0; c < 3; c++) data[c] = uint8_t(wave + float(c * 8) + float((seed >> (24 + c)) & 7));
        }
    }
    return image;
}

void read_memory(png_structp png, png_bytep dst, size_t size) {
    const uint8_t **ptr = static_cast<const uint8_t **>(png_get_io_ptr(png));
    memcpy(dst, *ptr, size);
    *ptr += size;
}
void write_memory(png_structp png, png_bytep src, size_t size) {
    std::vector<uint8_t> *data = static_cast<std::vector<uint8_t> *>(png_get_io_ptr(png));
    data->insert(data->end(), src, src + size);
}
void flush_memory(png_structp) {}

void load_png(const Blob &blob, const Image &image) {
    std::vector<png_bytep> rows(image.getHeight());
    const uint8_t *ptr = blob.getData();
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_read_fn(png, &ptr, read_memory);
    png_read_info(png, info);
    uint8_t *data = static_cast<uint8_t *>(malloc(image.getDataSize()));
    for(size_t y = 0; y < rows.size(); y++) rows[y] = data + image.getStride() * y;
    png_read_image(png, rows.data());
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    benchmark::DoNotOptimize(data);
    free(data);
}
void save_png(const Image &image) {
    std::vector<uint8_t> data;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &data, write_memory, flush_memory);
    png_set_IHDR(png, info, image.getWidth(), image.getHeight(), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for(uint32_t y = 0; y < image.getHeight(); y++)
        png_write_row(png, const_cast<png_bytep>(image.getData() + image.getStride() * y));
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
}
void load_jpeg(const Blob &blob, const Image &image) {
    jpeg_decompress_struct info;
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, blob.getData(), blob.getSize());
    jpeg_read_header(&info, TRUE);
    jpeg_start_decompress(&info);
    uint8_t *data = static_cast<uint8_t *>(malloc(image.getDataSize()));
    while(info.output_scanline < info.output_height) {
        JSAMPROW row = data + image.getStride() * info.output_scanline;
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    benchmark::DoNotOptimize(data);
    free(data);
}
void save_jpeg(const Image &image) {
    jpeg_compress_struct info;
    jpeg_error_mgr errors;
    unsigned char *data = nullptr;
    unsigned long size = 0;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    jpeg_mem_dest(&info, &data, &size);
    info.image_width = image.getWidth();
    info.image_height = image.getHeight();
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 90, TRUE);
    jpeg_start_compress(&info, TRUE);
    while(info.next_scanline < info.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(image.getData() + image.getStride() * info.next_scanline);
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    free(data);
}
void copy_chain(const Blob &, const Image &image) { copy(image); }

void load_file(benchmark::State &state, const char *name, Image::Flags flags,
               void (*peer)(const Blob &, const Image &)) {
    const Image image =
        (flags & Image::FlagMipmaps) ? make_picture().toFormat(FormatRGBAu8n).getMipmapped() : make_picture();
    Blob blob(name);
    image.save(blob);
    compare(
        state,
        [&] {
            blob.seek(0);
            Image loaded;
            loaded.load(blob);
            benchmark::DoNotOptimize(loaded.getData());
        },
        [&] { peer(blob, image); });
}
void save_file(benchmark::State &state, const char *name, void (*peer)(const Image &)) {
    const Image image = make_picture();
    compare(
        state,
        [&] {
            Blob blob(name);
            image.save(blob);
        },
        [&] { peer(image); });
}
void info_file(benchmark::State &state, const char *name) {
    Blob blob(name);
    const bool floats = String(name).match("*.hdr");
    make_picture().toFormat(floats ? FormatRGBf32 : FormatRGBu8n).save(blob);
    measure(state, "ours_per_s", 1.0, [&] {
        blob.seek(0);
        Image image;
        image.info(blob);
        benchmark::DoNotOptimize(image.getWidth());
    });
}

ROW(load_file, jpeg, "x.jpg", Image::FlagNone, load_jpeg);
ROW(save_file, jpeg, "x.jpg", save_jpeg);
ROW(load_file, png, "x.png", Image::FlagNone, load_png);
ROW(save_file, png, "x.png", save_png);
ROW(load_file, dds, "x.dds", Image::FlagMipmaps, copy_chain);
ROW(load_file, ktx, "x.ktx", Image::FlagMipmaps, copy_chain);
ROW(load_file, image, "x.image", Image::FlagMipmaps, copy_chain);
ROW(info_file, png, "x.png");
ROW(info_file, jpeg, "x.jpg");
ROW(info_file, image, "x.image");
ROW(info_file, dds, "x.dds");
ROW(info_file, ktx, "x.ktx");
ROW(info_file, tga, "x.tga");
ROW(info_file, bmp, "x.bmp");
ROW(info_file, hdr, "x.hdr");
ROW(info_file, ppm, "x.ppm");

} // namespace
