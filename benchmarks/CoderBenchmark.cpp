// Block coders: speed in Mpix/s and quality in dB, beside stb_dxt and squish.
//
// Pictures are the photographs of the folder that OSTREVAN_PHOTOS names, or else made here. PSNR is over all channels of
// the format and all pictures; for BC6 it is that of the integers of the half floats.
//
// Times are those of the thread's processor. Each measurement takes turns with stb_dxt's BC1 over the same pictures:
// "stb" is the speed in units of it, which says more on a busy machine than Mpix/s do.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <string>
#include <time.h>
#include <vector>

#if __has_include(<stb/stb_dxt.h>)
#define HAS_STB 1
#define STB_DXT_IMPLEMENTATION
#define STB_DXT_STATIC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_dxt.h>
#pragma GCC diagnostic pop
#endif
#if __has_include(<squish.h>)
#define HAS_SQUISH 1
#include <squish.h>
#endif

#include "Compare.h"
#include "KolmAsync.h"
#include "KolmFloat.h"
#include "KolmImage.h"

using namespace Kolm;

namespace {

// Smooth colours, edges and grain.
Image make_picture() {
    Image image;
    image.create2D(FormatRGBAu8n, 512, 512);
    uint8_t *data = image.getData();
    uint32_t seed = 1;
    for(uint32_t y = 0; y < 512; y++) {
        for(uint32_t x = 0; x < 512; x++, data += 4) {
            for(uint32_t c = 0; c < 3; c++) {
                seed = seed * 1664525 + 1013904223;
                float v =
                    128.0f + 70.0f * std::sin(float(x) * (0.011f + 0.004f * float(c))) * std::cos(float(y) * 0.017f);
                if(((x / 37) ^ (y / 53)) % 5 == c) v += 40.0f;
                data[c] = uint8_t(std::fmin(std::fmax(v + float((seed >> 28)) - 8.0f, 0.0f), 255.0f));
            }
            data[3] = 255;
        }
    }
    return image;
}

std::vector<Image> load_pictures() {
    std::vector<Image> ret;
    const char *folder = getenv("OSTREVAN_PHOTOS");
    if(DIR *dir = folder ? opendir(folder) : nullptr) {
        while(const dirent *entry = readdir(dir)) {
            const std::string name = std::string(folder) + "/" + entry->d_name;
            if(name.size() < 4 || name.substr(name.size() - 4) != ".png") continue;
            Image image;
            if(image.load(name.c_str())) ret.push_back(image.toFormat(FormatRGBAu8n));
        }
        closedir(dir);
    }
    benchmark::AddCustomContext("pictures", ret.empty() ? "made here" : folder);
    if(ret.empty()) ret.push_back(make_picture());
    return ret;
}
const std::vector<Image> &get_pictures() {
    static const std::vector<Image> pictures = load_pictures();
    return pictures;
}
double get_megapixels() {
    double ret = 0;
    for(const Image &image : get_pictures()) ret += double(image.getWidth()) * image.getHeight() * 1e-6;
    return ret;
}

// Sources of a format: BC6 gets the pictures as floats, twice as bright.
std::vector<Image> get_sources(Format format) {
    std::vector<Image> ret;
    for(const Image &image : get_pictures()) {
        const Format pixels = toPixelFormat(format);
        if(isFloatFormat(format)) {
            Image floats = image.toFormat(FormatRGBAf32).toFormat(FormatRGBf32);
            float *data = reinterpret_cast<float *>(floats.getData());
            for(size_t i = 0; i < floats.getDataSize() / 4; i++) data[i] = data[i] * data[i] * 2.0f;
            ret.push_back(floats.toFormat(pixels));
        } else {
            ret.push_back(image.toFormat(pixels));
        }
    }
    return ret;
}

struct Error {
    double squares = 0, count = 0;
    void add(const Image &a, const Image &b) {
        if(a.isf16Format()) {
            const uint16_t *x = reinterpret_cast<const uint16_t *>(a.getData());
            const uint16_t *y = reinterpret_cast<const uint16_t *>(b.getData());
            for(size_t i = 0; i < a.getDataSize() / 2; i++) squares += (double(x[i]) - y[i]) * (double(x[i]) - y[i]);
            count += double(a.getDataSize() / 2);
            return;
        }
        // Opaque alpha does not count.
        const uint32_t components = a.getComponents();
        for(size_t i = 0; i < a.getDataSize(); i++) {
            if(components == 4 && (i & 3) == 3) continue;
            const double d = a.isSignedFormat() ? double(int8_t(a.getData()[i])) - int8_t(b.getData()[i])
                                                : double(a.getData()[i]) - b.getData()[i];
            squares += d * d;
            count++;
        }
    }
    double get(double top) const { return 10.0 * std::log10(top * top * count / squares); }
};

// Gives func each block of 16 RGBA pixels.
template<class Func> void for_each_block(const Image &image, Func func) {
    uint8_t pixels[64];
    for(uint32_t y = 0; y + 4 <= image.getHeight(); y += 4) {
        for(uint32_t x = 0; x + 4 <= image.getWidth(); x += 4) {
            for(uint32_t i = 0; i < 4; i++) memcpy(pixels + i * 16, image.getData(Origin(x, y + i)), 16);
            func(pixels);
        }
    }
}

double get_time() {
    timespec ret;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ret);
    return double(ret.tv_sec) + double(ret.tv_nsec) * 1e-9;
}

// One picture by the reference.
void run_reference() {
#ifdef HAS_STB
    uint8_t block[8];
    for_each_block(get_pictures().front(), [&](uint8_t *pixels) {
        stb_compress_dxt_block(block, pixels, 0, STB_DXT_NORMAL);
        benchmark::DoNotOptimize(block);
    });
#endif
}

// Takes turns with the reference; the best times count.
template<class Ours> void measure_coder(benchmark::State &state, Ours ours) {
    double best = 1e30, best_reference = 1e30;
    ours();
    for(auto _ : state) {
        double begin = get_time();
        ours();
        const double time = get_time() - begin;
        best = std::min(best, time);
        state.SetIterationTime(time);
        begin = get_time();
        run_reference();
        best_reference = std::min(best_reference, get_time() - begin);
    }
    const Image &first = get_pictures().front();
    const double speed = get_megapixels() / best;
    state.counters["Mpix/s"] = speed;
#ifdef HAS_STB
    state.counters["stb"] = speed / (double(first.getWidth()) * first.getHeight() * 1e-6 / best_reference);
#else
    (void)first;
#endif
}

void encode(benchmark::State &state, Format format, Image::Flags flags) {
    const std::vector<Image> sources = get_sources(format);
    std::vector<Image> blocks(sources.size());
    measure_coder(state, [&]() {
        for(size_t i = 0; i < sources.size(); i++) blocks[i] = sources[i].toFormat(format, flags);
    });
    Error error;
    for(size_t i = 0; i < sources.size(); i++) error.add(sources[i], blocks[i].toFormat(FormatUnknown));
    state.counters["dB"] = error.get(isFloatFormat(format) ? 31743.0 : 255.0);
}
void encode_async(benchmark::State &state, Format format, Image::Flags flags) {
    const std::vector<Image> sources = get_sources(format);
    Async async;
    async.init(2);
    compare(
        state,
        [&]() {
            for(const Image &source : sources) benchmark::DoNotOptimize(source.toFormat(format, flags, &async));
        },
        [&]() {
            for(const Image &source : sources) benchmark::DoNotOptimize(source.toFormat(format, flags));
        });
}
void decode(benchmark::State &state, Format format) {
    std::vector<Image> blocks;
    for(const Image &source : get_sources(format)) blocks.push_back(source.toFormat(format, Image::FlagFast));
    measure_coder(state, [&]() {
        for(const Image &image : blocks) benchmark::DoNotOptimize(image.toFormat(FormatUnknown));
    });
}

template<class Func> void encode_peer(benchmark::State &state, Format format, Func func) {
    std::vector<Image> blocks;
    for(const Image &image : get_pictures()) blocks.emplace_back(Image::Type2D, format, image.getSize());
    measure_coder(state, [&]() {
        for(size_t i = 0; i < blocks.size(); i++) {
            uint8_t *dst = blocks[i].getData();
            for_each_block(get_pictures()[i], [&](uint8_t *pixels) {
                func(dst, pixels);
                dst += blocks[i].getBlockSize();
            });
        }
    });
    Error error;
    for(size_t i = 0; i < blocks.size(); i++)
        error.add(get_pictures()[i].toFormat(toPixelFormat(format)), blocks[i].toFormat(FormatUnknown));
    state.counters["dB"] = error.get(255.0);
}

void add_all() {
    static const struct {
        const char *name;
        Image::Flags flags;
    } efforts[] = {{"fast", Image::FlagFast}, {"default", Image::FlagNone}, {"best", Image::FlagBest}};
    static const Format formats[] = {FormatBC1RGBu8n,  FormatBC3RGBAu8n,  FormatBC4Ru8n,      FormatBC5RGu8n,
                                     FormatBC6RGBf16u, FormatBC7RGBAu8n,  FormatEACRu8n,      FormatEACRGu8n,
                                     FormatETC2RGBu8n, FormatETC2RGBAu8n, FormatETC2RGBu8Au1n};
    const auto add = [](const std::string &name, auto func) {
        benchmark::RegisterBenchmark(name.c_str(), func)->UseManualTime()->Unit(benchmark::kMillisecond);
    };
    for(const Format format : formats) {
        const std::string name = getFormatName(format);
        for(const auto &effort : efforts) {
            const Image::Flags flags = effort.flags;
            add("encode/" + name + "/" + effort.name, [=](benchmark::State &state) { encode(state, format, flags); });
        }
        add("decode/" + name, [=](benchmark::State &state) { decode(state, format); });
    }
    add("decode/BC1RGBAu8n", [](benchmark::State &state) { decode(state, FormatBC1RGBAu8n); });
    for(const Format format : {FormatBC1RGBu8n, FormatBC7RGBAu8n}) {
        add(std::string("encode_two_workers/") + getFormatName(format),
            [=](benchmark::State &state) { encode_async(state, format, Image::FlagNone); });
    }
#ifdef HAS_STB
    for(const int mode : {STB_DXT_NORMAL, STB_DXT_HIGHQUAL})
        add(mode ? "peer/stb_dxt_high/BC1RGBu8n" : "peer/stb_dxt/BC1RGBu8n", [=](benchmark::State &state) {
            encode_peer(state, FormatBC1RGBu8n,
                        [=](uint8_t *dst, uint8_t *src) { stb_compress_dxt_block(dst, src, 0, mode); });
        });
    add("peer/stb_dxt/BC4Ru8n", [](benchmark::State &state) {
        encode_peer(state, FormatBC4Ru8n, [](uint8_t *dst, uint8_t *src) {
            uint8_t bytes[16];
            for(uint32_t i = 0; i < 16; i++) bytes[i] = src[i * 4];
            stb_compress_bc4_block(dst, bytes);
        });
    });
#endif
#ifdef HAS_SQUISH
    add("peer/squish/decode/BC1RGBAu8n", [](benchmark::State &state) {
        std::vector<Image> blocks;
        for(const Image &image : get_pictures()) blocks.push_back(image.toFormat(FormatBC1RGBAu8n, Image::FlagFast));
        measure_coder(state, [&]() {
            for(const Image &image : blocks) {
                Image pixels(Image::Type2D, FormatRGBAu8n, image.getSize());
                squish::DecompressImage(pixels.getData(), int(image.getWidth()), int(image.getHeight()),
                                        image.getData(), squish::kDxt1);
                benchmark::DoNotOptimize(pixels);
            }
        });
    });
    add("peer/squish/BC1RGBu8n", [](benchmark::State &state) {
        encode_peer(state, FormatBC1RGBu8n, [](uint8_t *dst, uint8_t *src) {
            float metric[3] = {1.0f, 1.0f, 1.0f};
            squish::Compress(src, dst, squish::kDxt1 | squish::kColourClusterFit, metric);
        });
    });
#endif
    // What no decoder can pass: writing the pixels.
    add("limit/memcpy", [](benchmark::State &state) {
        measure_coder(state, [&]() {
            for(const Image &image : get_pictures()) benchmark::DoNotOptimize(Image(image));
        });
    });
}
const bool added = (get_pictures(), add_all(), true);

} // namespace
