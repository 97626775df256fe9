// ostrevan image: what pictures are, and pictures into other sizes, formats, types and files.

#include "Commands.h"
#include "ImageWork.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <set>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <thread>
#include <unistd.h>

using namespace Ostrevan;

namespace {

constexpr struct {
    const char *name;
    Image::Filter filter;
} filters[] = {
    {"point", Image::FilterPoint}, {"linear", Image::FilterLinear}, {"cubic", Image::FilterCubic},
    {"box", Image::FilterBox},     {"sinc", Image::FilterSinc},     {"max", Image::FilterMax},
    {"min", Image::FilterMin},
};

constexpr struct {
    const char *name;
    uint32_t flag;
} flags[] = {
    {"--gamma", Image::FlagGamma},           {"--srgb", Image::FlagSRGB}, {"--normalize", Image::FlagNormalize},
    {"--panorama", Image::FlagPanorama},     {"--fast", Image::FlagFast}, {"--best", Image::FlagBest},
    {"--perceptual", Image::FlagPerceptual},
};

void print_help() {
    printf(
        "Usage: ostrevan image INPUT... [OPTION]...\n\n"
        "Tells what pictures are, or changes and writes them. Without an option it prints the type, format and size\n"
        "of each, and what a camera noted.\n\n"
        "  -o FILE            writes the one input; the extension names the kind of file\n"
        "  --out-dir DIR      writes each input under its own name into a folder that exists\n"
        "  --ext NAME         other extension for the files of --out-dir\n"
        "  --info             prints what the picture is after the changes\n"
        "  --json             prints one JSON object with the array \"images\"\n"
        "  --compare FILE     prints mean and largest error and PSNR of each channel, in parts of the full range;\n"
        "                     exits 1 if the largest error is above --threshold E, which is 0 by default\n"
        "  -j N               works on N files at once, or with N threads on a single one\n\n"
        "Changes, made in this order:\n"
        "  --slice F,L,M      one face, layer and mipmap\n"
        "  --component N      one channel, from 0\n"
        "  --flip-x, --flip-y mirrors\n"
        "  --rotate N         turns clockwise by quarters\n"
        "  --type NAME        2D or Cube: a cube as a cross of faces and back; a panorama with --panorama\n"
        "  --resize WxH       a width or height of 0 keeps the proportions\n"
        "  --mipmaps          full chain of mipmaps\n"
        "  --format NAME      pixel format such as RGBAu8n; without it the nearest one that the file can hold\n\n"
        "  --filter NAME      of --resize: point, box, max, min and sinc shrink, point, linear and cubic enlarge;\n"
        "                     of --mipmaps: point, box, max, min. Default: box and linear\n"
        "  --gamma            sums colours in linear light, by a fast power of 2.2\n"
        "  --srgb             converts between linear floats and sRGB integers\n"
        "  --normalize        stretches floats over the range of integers\n"
        "  --fast, --best     less work, or better and smaller results; --perceptual weighs by the eye\n"
        "  --quality N        of JPEG files, 0 to 100; default 90\n\n"
        "Loads %s\nSaves %s\n\n"
        "Examples:\n"
        "  ostrevan image photo.jpg --resize 1024x0 --filter sinc -o small.png\n"
        "  ostrevan image *.png --mipmaps --out-dir textures --ext dds -j 4\n"
        "  ostrevan image sky.hdr --type Cube --panorama -o sky.ktx\n"
        "  ostrevan image new.png --compare old.png --threshold 0.01\n",
        ImageStream::getLoadFormats().get(), ImageStream::getSaveFormats().get());
}

bool parse_number(const char *text, uint32_t max, uint32_t &value, char separator = '\0', const char **end = nullptr) {
    if(*text < '0' || *text > '9') return false;
    char *next = nullptr;
    const unsigned long long number = strtoull(text, &next, 10);
    value = uint32_t(number);
    if(end) *end = next + 1;
    return *next == separator && number <= max;
}

bool parse_size(const char *text, uint32_t &width, uint32_t &height) {
    const char *next = nullptr;
    return parse_number(text, 1u << 20, width, 'x', &next) && parse_number(next, 1u << 20, height) && (width || height);
}

// Name of the first format that begins so, or else is the fewest letters away and begins alike, in letters of either case.
const char *find_near_format(const char *name) {
    const char *ret = "";
    uint32_t least = ~0u;
    for(uint32_t i = 1; i < NumFormats; i++) {
        const char *other = getFormatName(Format(i));
        if(findFormatName(other) == FormatUnknown) continue;
        if(strncasecmp(other, name, strlen(name)) == 0) return other;
        uint32_t same = 0;
        while(same < 7 && name[same] && strncasecmp(other, name, same + 1) == 0) same++;
        const uint32_t distance =
            Ostrevan::String(other).lower().distance(Ostrevan::String(name).lower().get()) * 8 - same;
        if(distance <= least) ret = other;
        least = std::min(least, distance);
    }
    return ret;
}

bool parse_slice(const char *text, uint32_t *slice) {
    const char *next = nullptr;
    return parse_number(text, 5, slice[0], ',', &next) && parse_number(next, 65535, slice[1], ',', &next) &&
           parse_number(next, 31, slice[2]);
}

// Exit code, or -1 to go on.
int parse(int argc, char **argv, ImageOptions &options) {
    for(int i = 1; i < argc; i++) {
        const std::string name = argv[i];
        if(name == "--help" || name == "-h") {
            print_help();
            return ExitDone;
        }
        if(name[0] != '-' || name.size() == 1) {
            options.inputs.push_back(name);
            continue;
        }
        const auto flag = std::find_if(std::begin(flags), std::end(flags), [&](auto &row) { return name == row.name; });
        if(flag != std::end(flags)) {
            options.flags |= flag->flag;
            continue;
        }
        bool *const bools[] = {&options.info, &options.json, &options.has_mipmaps, &options.flip_x, &options.flip_y};
        static const char *const names[] = {"--info", "--json", "--mipmaps", "--flip-x", "--flip-y"};
        const auto word = std::find(std::begin(names), std::end(names), name);
        if(word != std::end(names)) {
            *bools[word - names] = true;
            continue;
        }
        static const std::set<std::string> valued = {"-o",       "--out-dir", "--ext",       "--compare", "--threshold",
                                                     "-j",       "--slice",   "--component", "--rotate",  "--type",
                                                     "--resize", "--format",  "--filter",    "--quality"};
        const bool joined = (name.compare(0, 2, "-j") == 0 && name.size() > 2 && name[2] != '-');
        if(!joined && valued.count(name) == 0) return usageError("image", "unknown option \"%s\"", argv[i]);
        const char *value = joined ? argv[i] + 2 : (i + 1 < argc) ? argv[++i] : nullptr;
        if(value == nullptr || *value == '\0') return usageError("image", "\"%s\" needs a value", name.c_str());
        bool valid = true;
        if(name == "-o") {
            options.output = value;
        } else if(name == "--out-dir") {
            options.folder = value;
        } else if(name == "--ext") {
            options.extension = (value[0] == '.') ? value + 1 : value;
        } else if(name == "--compare") {
            options.other = value;
        } else if(name == "--threshold") {
            char *end = nullptr;
            options.threshold = strtod(value, &end);
            valid = (*end == '\0' && options.threshold >= 0.0);
        } else if(joined || name == "-j") {
            valid = parse_number(value, 256, options.jobs) && options.jobs;
        } else if(name == "--slice") {
            valid = options.has_slice = parse_slice(value, options.slice);
        } else if(name == "--component") {
            valid = options.has_component = parse_number(value, 3, options.component);
        } else if(name == "--rotate") {
            char *end = nullptr;
            options.turns = int32_t(strtol(value, &end, 10));
            valid = (*end == '\0');
            options.turns &= 3;
        } else if(name == "--type") {
            for(const Image::Type type : {Image::Type2D, Image::Type3D, Image::TypeCube}) {
                if(strcmp(value, Image::getTypeName(type)) == 0) options.type = type;
            }
            valid = options.type;
        } else if(name == "--resize") {
            valid = options.has_resize = parse_size(value, options.width, options.height);
        } else if(name == "--format") {
            options.format = findFormatName(value);
            if(!options.format)
                return usageError("image", "\"%s\" is no format; near it is \"%s\"", value, find_near_format(value));
        } else if(name == "--filter") {
            for(const auto &row : filters) {
                if(strcmp(value, row.name) == 0) options.filter = row.filter;
            }
            valid = options.filter;
        } else {
            valid = parse_number(value, 100, options.quality);
        }
        if(!valid) return usageError("image", "\"%s\" is no value for \"%s\"", value, joined ? "-j" : name.c_str());
    }
    if(options.inputs.empty()) return usageError("image", "no input");
    if(!options.output.empty() && !options.folder.empty()) return usageError("image", "-o and --out-dir together");
    if(!options.output.empty() && options.inputs.size() > 1)
        return usageError("image", "one -o for %zu inputs: --out-dir DIR", options.inputs.size());
    std::set<std::string> outputs;
    for(const std::string &input : options.inputs) {
        const std::string output = options.getOutput(input);
        if(!output.empty() && !outputs.insert(output).second)
            return usageError("image", "two inputs become \"%s\"", output.c_str());
    }
    return -1;
}

} // namespace

int imageCommand(int argc, char **argv) {
    ImageOptions options;
    const int code = parse(argc, argv, options);
    if(code >= 0) return code;
    Log::setCallback(holdImageErrors);

    // Results are printed in the order of the inputs, whichever thread is done first.
    const size_t num = options.inputs.size();
    const bool progress = (num > 1 && isatty(2));
    std::vector<ImageResult> results(num);
    std::atomic<size_t> next{0};
    std::mutex mutex;
    size_t done = 0;
    // Files are worked on side by side, a single one on the workers of a pool.
    Async async;
    Async *const shared = (num == 1 && options.jobs > 1 && async.init(options.jobs)) ? &async : nullptr;
    const auto work = [&]() {
        for(size_t i; (i = next++) < num;) {
            results[i] = runImage(options, options.inputs[i], shared);
            if(!progress) continue;
            const std::lock_guard<std::mutex> lock(mutex);
            fprintf(stderr, "\r\033[K[%zu/%zu] %s", ++done, num, options.inputs[i].c_str());
        }
    };
    std::vector<std::thread> threads;
    for(size_t i = 1; i < std::min<size_t>(options.jobs, num); i++) threads.emplace_back(work);
    work();
    for(std::thread &thread : threads) thread.join();
    if(progress) fprintf(stderr, "\r\033[K");

    int ret = ExitDone;
    const char *comma = "";
    if(options.json) printf("{\"images\":[");
    for(const ImageResult &result : results) {
        if(options.json && !result.text.empty()) {
            printf("%s%s", comma, result.text.c_str());
            comma = ",";
        } else {
            fputs(result.text.c_str(), stdout);
        }
        if(!result.error.empty()) {
            fflush(stdout);
            fprintf(stderr, "ostrevan image: %s\n", result.error.c_str());
        }
        if(!result.done) ret = ExitFailed;
    }
    if(options.json) printf("]}\n");
    return ret;
}
