// Conversions of pixels beside the loop that a compiler makes of the same formula, and files beside bare libpng.
// "Peer" rows are the plain loops; both sides write into memory that a result allocates anew, as toFormat does.

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("O3")
#endif

#include <benchmark/benchmark.h>
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

void set_counters(benchmark::State &state, const Image &image) {
    state.SetItemsProcessed(
        int64_t(state.iterations() * image.getDataSize() / (image.getPixelSize() / image.getComponents())));
    state.SetBytesProcessed(int64_t(state.iterations() * image.getDataSize()));
}

void convert(benchmark::State &state, Format from, Format to, Image::Flags flags) {
    const Image image = make_image(from);
    for(auto _ : state) {
        Image ret = image.toFormat(to, flags);
        benchmark::DoNotOptimize(ret.getData());
    }
    set_counters(state, image);
}

// The plain loop over all elements.
template<class Src, class Dst, class Func> void loop(benchmark::State &state, Format from, Func func) {
    const Image image = make_image(from);
    const size_t size = image.getDataSize() / sizeof(Src);
    for(auto _ : state) {
        Dst *dst = static_cast<Dst *>(malloc(size * sizeof(Dst)));
        const Src *src = reinterpret_cast<const Src *>(image.getData());
        for(size_t i = 0; i < size; i++) dst[i] = func(src[i]);
        benchmark::DoNotOptimize(dst);
        benchmark::ClobberMemory();
        free(dst);
    }
    set_counters(state, image);
}

void copy(benchmark::State &state, Format format) {
    const Image image = make_image(format);
    for(auto _ : state) {
        void *dst = malloc(image.getDataSize());
        memcpy(dst, image.getData(), image.getDataSize());
        benchmark::DoNotOptimize(dst);
        benchmark::ClobberMemory();
        free(dst);
    }
    set_counters(state, image);
}

uint32_t swap_pixel(uint32_t v) { return (v & 0xFF00FF00) | ((v >> 16) & 0xFF) | ((v & 0xFF) << 16); }

float half_to_float(uint16_t h) {
    const float value = bitsToFloat(uint32_t(h & 0x7FFF) << 13) * 0x1p112f;
    const uint32_t special = ((h & 0x7C00) == 0x7C00) ? 0x7F800000 : 0;
    return bitsToFloat(floatToBits(value) | special | (uint32_t(h & 0x8000) << 16));
}

void u8_to_f32_peer(benchmark::State &state) {
    loop<uint8_t, float>(state, FormatRGBAu8n, [](uint8_t v) { return v * 0.003921569f; });
}
void f32_to_u8_peer(benchmark::State &state) {
    loop<float, uint8_t>(state, FormatRGBAf32, [](float v) {
        float x = v * 256.0f;
        x = (x > 0.0f) ? x : 0.0f;
        x = (x < 255.0f) ? x : 255.0f;
        return uint8_t(int(x));
    });
}
void u8_to_u16_peer(benchmark::State &state) {
    loop<uint8_t, uint16_t>(state, FormatRGBAu8n, [](uint8_t v) { return uint16_t(v | (v << 8)); });
}
void bgra_to_rgba_peer(benchmark::State &state) { loop<uint32_t, uint32_t>(state, FormatBGRAu8n, swap_pixel); }
void f16_to_f32_peer(benchmark::State &state) { loop<uint16_t, float>(state, FormatRGBAf16, half_to_float); }
void srgb_decode_peer(benchmark::State &state) {
    std::vector<float> table(256);
    for(uint32_t i = 0; i < 256; i++) table[i] = std::pow(float(i) / 255.0f, 2.2f);
    loop<uint8_t, float>(state, FormatRGBAu8n, [&table](uint8_t v) { return table[v]; });
}

BENCHMARK_CAPTURE(convert, u8n_to_f32, FormatRGBAu8n, FormatRGBAf32, Image::FlagNone);
BENCHMARK(u8_to_f32_peer);
BENCHMARK_CAPTURE(convert, f32_to_u8n, FormatRGBAf32, FormatRGBAu8n, Image::FlagNone);
BENCHMARK(f32_to_u8_peer);
BENCHMARK_CAPTURE(convert, u8n_to_u16n, FormatRGBAu8n, FormatRGBAu16n, Image::FlagNone);
BENCHMARK(u8_to_u16_peer);
BENCHMARK_CAPTURE(convert, bgra_to_rgba, FormatBGRAu8n, FormatRGBAu8n, Image::FlagNone);
BENCHMARK(bgra_to_rgba_peer);
BENCHMARK_CAPTURE(convert, f16_to_f32, FormatRGBAf16, FormatRGBAf32, Image::FlagNone);
BENCHMARK(f16_to_f32_peer);
BENCHMARK_CAPTURE(convert, f32_to_f16, FormatRGBAf32, FormatRGBAf16, Image::FlagNone);
BENCHMARK_CAPTURE(convert, srgb_decode, FormatRGBAu8ns, FormatRGBAf32, Image::FlagNone);
BENCHMARK(srgb_decode_peer);
BENCHMARK_CAPTURE(convert, srgb_encode, FormatRGBAf32, FormatRGBAu8ns, Image::FlagNone);
BENCHMARK_CAPTURE(convert, gamma_decode, FormatRGBAu8n, FormatRGBAf32, Image::FlagGamma);
BENCHMARK_CAPTURE(convert, gamma_encode, FormatRGBAf32, FormatRGBAu8n, Image::FlagGamma);
BENCHMARK_CAPTURE(copy, memcpy_u8, FormatRGBAu8n);
BENCHMARK_CAPTURE(copy, memcpy_f32, FormatRGBAf32);

void swap_components(benchmark::State &state) {
    Image image = make_image(FormatRGBAu8n);
    for(auto _ : state) image.swap(0, 2);
    set_counters(state, image);
}
void swap_components_peer(benchmark::State &state) {
    Image image = make_image(FormatRGBAu8n);
    for(auto _ : state) {
        uint32_t *data = reinterpret_cast<uint32_t *>(image.getData());
        const size_t size = image.getDataSize() / 4;
        for(size_t i = 0; i < size; i++) data[i] = swap_pixel(data[i]);
        benchmark::ClobberMemory();
    }
    set_counters(state, image);
}
BENCHMARK(swap_components);
BENCHMARK(swap_components_peer);

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

void save_file(benchmark::State &state, const char *name) {
    const Image image = make_picture().toFormat(FormatRGBAu8n);
    Blob blob(name);
    for(auto _ : state) {
        blob.clear();
        image.save(blob);
    }
    set_counters(state, image);
}
void load_file(benchmark::State &state, const char *name) {
    const Image image = make_picture().toFormat(FormatRGBAu8n);
    Blob blob(name);
    image.save(blob);
    for(auto _ : state) {
        blob.seek(0);
        Image loaded;
        loaded.load(blob);
        benchmark::DoNotOptimize(loaded.getData());
    }
    set_counters(state, image);
}
void info_file(benchmark::State &state, const char *name) {
    Blob blob(name);
    make_picture().toFormat(FormatRGBAu8n).save(blob);
    for(auto _ : state) {
        blob.seek(0);
        Image image;
        image.info(blob);
        benchmark::DoNotOptimize(image.getWidth());
    }
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

void load_png_peer(benchmark::State &state) {
    const Image image = make_picture().toFormat(FormatRGBAu8n);
    Blob blob("x.png");
    image.save(blob);
    std::vector<png_bytep> rows(image.getHeight());
    for(auto _ : state) {
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
    set_counters(state, image);
}
void save_png_peer(benchmark::State &state) {
    Image image = make_picture().toFormat(FormatRGBAu8n);
    std::vector<png_bytep> rows(image.getHeight());
    for(size_t y = 0; y < rows.size(); y++) rows[y] = image.getData() + image.getStride() * y;
    std::vector<uint8_t> data;
    for(auto _ : state) {
        data.clear();
        png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        png_set_write_fn(png, &data, write_memory, flush_memory);
        png_set_IHDR(png, info, image.getWidth(), image.getHeight(), 8, PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
        png_write_image(png, rows.data());
        png_write_end(png, info);
        png_destroy_write_struct(&png, &info);
    }
    set_counters(state, image);
}

void save_jpeg(benchmark::State &state) {
    const Image image = make_picture();
    Blob blob("x.jpg");
    for(auto _ : state) {
        blob.clear();
        image.save(blob);
    }
    set_counters(state, image);
}
void save_jpeg_peer(benchmark::State &state) {
    Image image = make_picture();
    for(auto _ : state) {
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
            JSAMPROW row = image.getData() + image.getStride() * info.next_scanline;
            jpeg_write_scanlines(&info, &row, 1);
        }
        jpeg_finish_compress(&info);
        jpeg_destroy_compress(&info);
        free(data);
    }
    set_counters(state, image);
}
void load_jpeg(benchmark::State &state) {
    const Image image = make_picture();
    Blob blob("x.jpg");
    image.save(blob);
    for(auto _ : state) {
        blob.seek(0);
        Image loaded;
        loaded.load(blob);
        benchmark::DoNotOptimize(loaded.getData());
    }
    set_counters(state, image);
}
void load_jpeg_peer(benchmark::State &state) {
    const Image image = make_picture();
    Blob blob("x.jpg");
    image.save(blob);
    for(auto _ : state) {
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
    set_counters(state, image);
}
BENCHMARK(load_jpeg)->Unit(benchmark::kMillisecond);
BENCHMARK(load_jpeg_peer)->Unit(benchmark::kMillisecond);
BENCHMARK(save_jpeg)->Unit(benchmark::kMillisecond);
BENCHMARK(save_jpeg_peer)->Unit(benchmark::kMillisecond);

BENCHMARK_CAPTURE(load_file, png, "x.png")->Unit(benchmark::kMillisecond);
BENCHMARK(load_png_peer)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(save_file, png, "x.png")->Unit(benchmark::kMillisecond);
BENCHMARK(save_png_peer)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(load_file, image, "x.image");
BENCHMARK_CAPTURE(load_file, dds, "x.dds");
BENCHMARK_CAPTURE(load_file, ktx, "x.ktx");
BENCHMARK_CAPTURE(info_file, png, "x.png");
BENCHMARK_CAPTURE(info_file, image, "x.image");
BENCHMARK_CAPTURE(info_file, dds, "x.dds");
BENCHMARK_CAPTURE(info_file, ktx, "x.ktx");

} // namespace
