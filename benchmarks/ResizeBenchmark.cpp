// Resizing beside other resizers, on one core and on the workers of an Async. "ratio" is ours / peer.

#include "Compare.h"

#if __has_include(<stb/stb_image_resize.h>)
#define OSTREVAN_STB
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#define STB_IMAGE_RESIZE_STATIC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image_resize.h>
#pragma GCC diagnostic pop
#endif

#ifdef OSTREVAN_YUV
#include <libyuv/scale_argb.h>
#endif

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "KolmAsync.h"
#include "KolmImage.h"

using namespace Kolm;

namespace {

Image make_image(Format format, uint32_t width, uint32_t height) {
    Image image;
    image.create2D(format, width, height);
    uint32_t seed = 1;
    for(size_t i = 0; i < image.getDataSize(); i++)
        image.getData()[i] = uint8_t((i >> 4) + ((seed = seed * 1664525 + 1013904223) >> 28));
    return image;
}

#ifdef OSTREVAN_STB
void resize_stb(const Image &src, std::vector<uint8_t> &dst, uint32_t width, uint32_t height, stbir_filter filter) {
    dst.resize(size_t(width) * height * 4);
    stbir_resize_uint8_generic(src.getData(), int(src.getWidth()), int(src.getHeight()), 0, dst.data(), int(width),
                               int(height), 0, 4, STBIR_ALPHA_CHANNEL_NONE, 0, STBIR_EDGE_CLAMP, filter,
                               STBIR_COLORSPACE_LINEAR, nullptr);
}

void against_stb(benchmark::State &state, Image::Filter filter, stbir_filter stb, Size from, Size to) {
    const Image image = make_image(FormatRGBAu8n, from.width, from.height);
    std::vector<uint8_t> dst;
    compare(
        state, [&] { benchmark::DoNotOptimize(image.getResized(to, filter, filter).getData()); },
        [&] { resize_stb(image, dst, to.width, to.height, stb); });
}
#endif

#ifdef OSTREVAN_YUV
void against_libyuv(benchmark::State &state, Image::Filter filter, libyuv::FilterMode mode, Size from, Size to) {
    const Image image = make_image(FormatRGBAu8n, from.width, from.height);
    compare(
        state, [&] { benchmark::DoNotOptimize(image.getResized(to, filter, filter).getData()); },
        [&] {
            const std::unique_ptr<uint8_t[]> dst(new uint8_t[size_t(to.width) * to.height * 4]); // as the image is
            libyuv::ARGBScale(image.getData(), int(image.getStride()), int(from.width), int(from.height), dst.get(),
                              int(to.width * 4), int(to.width), int(to.height), mode);
            benchmark::DoNotOptimize(dst.get());
        });
}
#endif

// The peer runs in a Python of its own and tells its best time, which is set beside ours.
void against_pillow(benchmark::State &state, Image::Filter filter, const char *peer, Size from, Size to) {
    char command[512];
    std::snprintf(command, sizeof(command),
                  "/usr/bin/python3 -c \"import os, time; from PIL import Image\n"
                  "i = Image.frombytes('RGBX', (%u, %u), os.urandom(%u * %u * 4))\n"
                  "def t():\n s = time.perf_counter(); i.resize((%u, %u), Image.%s); return time.perf_counter() - s\n"
                  "print(min(t() for _ in range(7)))\" 2>/dev/null",
                  from.width, from.height, from.width, from.height, to.width, to.height, peer);
    double peer_time = 0.0;
    if(FILE *pipe = popen(command, "r")) {
        if(std::fscanf(pipe, "%lf", &peer_time) != 1) peer_time = 0.0;
        pclose(pipe);
    }
    if(!(peer_time > 0.0)) return state.SkipWithError("Python with Pillow is not there");
    const Image image = make_image(FormatRGBAu8n, from.width, from.height);
    measure(state, "ours_per_s", 1.0,
            [&] { benchmark::DoNotOptimize(image.getResized(to, filter, filter).getData()); });
    state.counters["ratio"] = 1.0 / state.counters["ours_per_s"] / peer_time;
    state.counters["peer_us"] = peer_time * 1e6;
}

void against_async(benchmark::State &state, Image::Filter filter, Image::Flags flags, Size from, Size to) {
    const Image image = make_image(FormatRGBAu8n, from.width, from.height);
    Async async;
    async.init(2);
    compare(
        state, [&] { benchmark::DoNotOptimize(image.getResized(to, filter, filter, flags, &async).getData()); },
        [&] { benchmark::DoNotOptimize(image.getResized(to, filter, filter, flags).getData()); });
}

void against_plain(benchmark::State &state, Image::Filter filter, Size from, Size to) {
    const Image image = make_image(FormatRGBAu8n, from.width, from.height);
    compare(
        state, [&] { benchmark::DoNotOptimize(image.getResized(to, filter, filter, Image::FlagGamma).getData()); },
        [&] { benchmark::DoNotOptimize(image.getResized(to, filter, filter).getData()); });
}

// Reading the source once is the least that any filter does.
void against_memory(benchmark::State &state, Format format, Image::Filter filter, Size from, Size to) {
    const Image image = make_image(format, from.width, from.height);
    std::vector<uint8_t> copy(image.getDataSize());
    compare(
        state, [&] { benchmark::DoNotOptimize(image.getResized(to, filter, filter).getData()); },
        [&] {
            memcpy(copy.data(), image.getData(), copy.size());
            benchmark::ClobberMemory();
        },
        double(image.getDataSize()));
}

void mipmaps(benchmark::State &state) {
    const Image image = make_image(FormatRGBAu8n, 4096, 4096);
    compare(
        state, [&] { benchmark::DoNotOptimize(image.getMipmapped().getData()); },
        [&] {
            Image ret;
            ret.create2D(FormatRGBAu8n, 4096, 4096, Image::FlagMipmaps | Image::FlagNoClear);
            memcpy(ret.getData(), image.getData(), image.getDataSize());
            for(uint32_t m = 1; m < ret.getMipmaps(); m++) {
                const uint8_t *src = ret.getData(Slice(Mipmap(m - 1)));
                uint8_t *dst = ret.getData(Slice(Mipmap(m)));
                const size_t stride = ret.getStride(m - 1);
                for(uint32_t y = 0; y < ret.getHeight(m); y++, src += stride * 2) {
                    for(uint32_t x = 0; x < ret.getWidth(m); x++) {
                        for(uint32_t c = 0; c < 4; c++) {
                            const uint8_t *s = src + x * 8 + c;
                            *dst++ = uint8_t((s[0] + s[4] + s[stride] + s[stride + 4]) >> 2);
                        }
                    }
                }
            }
            benchmark::DoNotOptimize(ret.getData());
        });
}

const Size large(4096, 4096), middle(1024, 1024), uhd(3840, 2160), hd(1920, 1080);

#define ROW(FUNC, NAME, ...) BENCHMARK_CAPTURE(FUNC, NAME, __VA_ARGS__)->UseManualTime()->Unit(benchmark::kMillisecond)

#ifdef OSTREVAN_YUV
ROW(against_libyuv, box_4096_1024, Image::FilterBox, libyuv::kFilterBox, large, middle);
ROW(against_libyuv, box_4k_1080p, Image::FilterBox, libyuv::kFilterBox, uhd, hd);
ROW(against_libyuv, linear_1024_4096, Image::FilterLinear, libyuv::kFilterBilinear, middle, large);
#endif
#ifdef OSTREVAN_STB
ROW(against_stb, box_4096_1024, Image::FilterBox, STBIR_FILTER_BOX, large, middle);
ROW(against_stb, cubic_1024_4096, Image::FilterCubic, STBIR_FILTER_CATMULLROM, middle, large);
ROW(against_stb, sinc_4k_1080p_to_cubic, Image::FilterSinc, STBIR_FILTER_CATMULLROM, uhd, hd);
#endif
ROW(against_pillow, box_4096_1024, Image::FilterBox, "BOX", large, middle);
ROW(against_pillow, sinc_4096_1024_to_lanczos3, Image::FilterSinc, "LANCZOS", large, middle);
ROW(against_pillow, cubic_1024_4096, Image::FilterCubic, "BICUBIC", middle, large);
ROW(against_memory, point, FormatRGBAu8n, Image::FilterPoint, uhd, hd);
ROW(against_memory, box, FormatRGBAu8n, Image::FilterBox, uhd, hd);
ROW(against_memory, max, FormatRGBAu8n, Image::FilterMax, uhd, hd);
ROW(against_memory, sinc, FormatRGBAu8n, Image::FilterSinc, uhd, hd);
ROW(against_memory, sinc_4096_1024, FormatRGBAu8n, Image::FilterSinc, large, middle);
ROW(against_memory, sinc_f32, FormatRGBAf32, Image::FilterSinc, uhd, hd);
ROW(against_plain, gamma_box, Image::FilterBox, uhd, hd);
ROW(against_plain, gamma_sinc, Image::FilterSinc, uhd, hd);
ROW(against_async, box, Image::FilterBox, Image::FlagNone, large, middle);
ROW(against_async, sinc, Image::FilterSinc, Image::FlagNone, uhd, hd);
BENCHMARK(mipmaps)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace
