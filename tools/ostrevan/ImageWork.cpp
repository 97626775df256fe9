#include "ImageWork.h"

#include "Output.h"

#include <algorithm>
#include <cmath>
#include <stdio.h>
#include <string.h>

using namespace Ostrevan;

namespace {

thread_local std::vector<std::string> errors;

std::string quoteJson(const char *text) {
    std::string ret;
    appendJson(ret, text);
    return ret;
}

std::string quote(const std::string &name) { return "\"" + name + "\""; }

ImageResult fail(const std::string &what) {
    ImageResult result;
    result.error = what;
    if(!errors.empty()) result.error += ": " + errors[0];
    while(!result.error.empty() && result.error.back() == '\n') result.error.pop_back();
    for(size_t pos; (pos = result.error.find('\n')) != std::string::npos;) result.error.replace(pos, 1, ": ");
    return result;
}

std::string get_extension(const std::string &name) {
    const size_t dot = name.rfind('.');
    if(dot == std::string::npos || name.find('/', dot) != std::string::npos) return std::string();
    std::string ret = name.substr(dot + 1);
    for(char &c : ret) c = char(tolower(c));
    return ret;
}

bool is_jpeg(const std::string &extension) { return extension == "jpg" || extension == "jpeg"; }

// Formats that a writer is offered, the nearest to the picture's own first.
std::vector<Format> get_candidates(const Image &image, const std::string &extension) {
    const bool alpha = (image.getComponents() == 2 || image.getComponents() == 4);
    const uint32_t components = (is_jpeg(extension) && alpha) ? image.getComponents() - 1 : image.getComponents();
    const bool deep = !image.is8BitFormat();
    std::vector<Format> ret;
    if(components == image.getComponents()) ret.push_back(image.getFormat());
    const auto add = [&ret, deep](uint32_t count) {
        static constexpr Format wide[] = {FormatUnknown, FormatRu16n, FormatRGu16n, FormatRGBu16n, FormatRGBAu16n};
        static constexpr Format narrow[] = {FormatUnknown, FormatRu8n, FormatRGu8n, FormatRGBu8n, FormatRGBAu8n};
        if(deep) ret.push_back(wide[count]);
        ret.push_back(narrow[count]);
    };
    if(components >= 1 && components <= 4) add(components);
    if(!is_jpeg(extension)) add(4);
    add(3);
    ret.push_back(FormatRGBf32);
    ret.push_back(FormatRGBAf32);
    add(1);
    return ret;
}

// Saves in the wanted format, or in the first one that the writer takes.
bool save(const Image &image, const ImageOptions &options, Blob &blob, const std::string &name) {
    const Image::Flags flags = Image::Flags(options.flags);
    if(options.format) return image.save(blob, flags, options.quality);
    std::vector<std::string> first;
    for(const Format format : get_candidates(image, get_extension(name))) {
        const Image converted = convertImage(image, format, options.flags);
        blob.clear();
        if(converted && converted.save(blob, flags, options.quality)) return true;
        if(first.empty()) first = errors;
        errors.clear();
    }
    errors = first;
    return false;
}

std::string describe(const std::string &name, const Image &image, bool json) {
    char text[512];
    if(!json) {
        snprintf(text, sizeof(text), ", %u channels, %zu bytes\n", image.getComponents(), image.getDataSize());
        std::string ret = name + ": " + image.getDescription().get() + text;
        const String meta = image.getMetaInfo();
        if(!meta.empty()) ret += meta.get();
        return ret;
    }
    snprintf(text, sizeof(text),
             ",\"type\":\"%s\",\"format\":\"%s\",\"components\":%u,\"width\":%u,\"height\":%u,\"depth\":%u,"
             "\"faces\":%u,\"layers\":%u,\"mipmaps\":%u,\"size\":%zu,\"meta\":",
             image.getTypeName(), image.getFormatName(), image.getComponents(), image.getWidth(), image.getHeight(),
             image.getDepth(), image.getFaces(), image.getLayers(), image.getMipmaps(), image.getDataSize());
    return "{\"file\":" + quoteJson(name.c_str()) + text + quoteJson(image.getMetaInfo().get()) + "}";
}

std::string describe(const std::string &name, const ImageDifference &difference, bool json) {
    char text[256];
    std::string ret = json ? "{\"file\":" + quoteJson(name.c_str()) + ",\"channels\":[" : std::string();
    const char *comma = "";
    for(size_t i = 0; i < difference.channels.size(); i++) {
        const ImageDifference::Channel &channel = difference.channels[i];
        char psnr[32];
        if(std::isinf(channel.psnr))
            snprintf(psnr, sizeof(psnr), "%s", json ? "null" : "equal");
        else
            snprintf(psnr, sizeof(psnr), json ? "%.4f" : "PSNR %.2f dB", channel.psnr);
        if(json)
            snprintf(text, sizeof(text), "%s{\"mean\":%.9g,\"max\":%.9g,\"psnr\":%s}", comma, channel.mean, channel.max,
                     psnr);
        else
            snprintf(text, sizeof(text), "%s: channel %zu: mean %.6f, max %.6f, %s\n", name.c_str(), i, channel.mean,
                     channel.max, psnr);
        ret += text;
        comma = ",";
    }
    if(json) {
        snprintf(text, sizeof(text), "],\"max\":%.9g}", difference.max);
        ret += text;
    }
    return ret;
}

// The changes in their order; an empty image, with what failed, if one does.
Image change(Image image, const ImageOptions &options, std::string &step, Async *async) {
    const Image::Flags flags = Image::Flags(options.flags);
    if(image.isBlockFormat() && (options.has_resize || options.has_mipmaps || options.has_component || options.flip_x ||
                                 options.flip_y || options.turns || options.type)) {
        step = "decode";
        image = image.toFormat(FormatUnknown, Image::FlagNone, async);
        if(!image) return image;
    }
    if(options.has_slice) {
        step = "take a slice of";
        image = image.getSlice(Slice(Face(options.slice[0]), Layer(options.slice[1]), Mipmap(options.slice[2])));
        if(!image) return image;
    }
    if(options.has_component) {
        step = "take a channel of";
        image = image.getComponent(options.component);
        if(!image) return image;
    }
    step = "flip";
    if((options.flip_x && !image.flipX()) || (options.flip_y && !image.flipY())) return Image();
    if(options.turns) {
        step = "rotate";
        image = image.getRotated(options.turns);
        if(!image) return image;
    }
    if(options.type) {
        step = "change the type of";
        image = image.toType(options.type, flags, async);
        if(!image) return image;
    }
    const Image::Filter filter = options.filter;
    if(options.has_resize) {
        step = "resize";
        const bool min_filter = (filter && filter != Image::FilterLinear && filter != Image::FilterCubic);
        const bool mag_filter =
            (filter == Image::FilterPoint || filter == Image::FilterLinear || filter == Image::FilterCubic);
        if(image.is64BitFormat() && filter != Image::FilterPoint) image = convertImage(image, FormatRGBAf32, 0);
        if(image)
            image = image.getResized(Size(options.width, options.height), min_filter ? filter : Image::FilterBox,
                                     mag_filter ? filter : Image::FilterLinear, flags, async);
        if(!image) return image;
    }
    if(options.has_mipmaps) {
        step = "make mipmaps of";
        const bool known = (filter == Image::FilterPoint || filter == Image::FilterMax || filter == Image::FilterMin);
        if(!known && (image.isMixedFormat() || image.is64BitFormat())) return Image();
        image = image.getMipmapped(known ? filter : Image::FilterBox, flags, async);
        if(!image) return image;
    }
    if(options.format) {
        step = "convert";
        image = convertImage(image, options.format, options.flags, async);
    }
    return image;
}

} // namespace

bool holdImageErrors(Log::Level level, size_t, const char *text, void *) {
    if(level <= Log::Error)
        errors.push_back(text);
    else if(level == Log::Warning)
        fputs(text, stderr);
    return true;
}

std::string ImageOptions::getOutput(const std::string &input) const {
    if(folder.empty()) return output;
    const size_t slash = input.rfind('/');
    std::string name = (slash == std::string::npos) ? input : input.substr(slash + 1);
    if(!extension.empty()) name = name.substr(0, name.rfind('.')) + "." + extension;
    return folder + "/" + name;
}

Image convertImage(const Image &image, Format format, uint32_t flags, Async *async) {
    if(image.getFormat() == format) return image;
    const size_t count = errors.size();
    const uint32_t components = getFormatComponents(format);
    Image ret = image;
    if(image.isBlockFormat() && !isBlockFormat(format)) ret = image.toFormat(FormatUnknown, Image::FlagNone, async);
    const uint32_t before = ret ? ret.getComponents() : 0;
    if(ret) {
        Image direct = ret.toFormat(format, Image::Flags(flags), async);
        // Elements of one width, and signed ones, convert through floats.
        if(!direct) {
            const Image floats = ret.toFormat(toFormatComponents(FormatRf32, ret.getComponents()), Image::Flags(flags));
            if(floats) direct = floats.toFormat(format, Image::Flags(flags));
        }
        ret = direct;
    }
    if(!ret) return ret;
    errors.resize(count);
    // Grey, with alpha or without.
    if(before <= 2 && components >= 3 && isPlainFormat(format)) {
        if(before == 2 && components == 4) ret.copy(ret, 3, 1);
        ret.copy(ret, 1, 0);
        ret.copy(ret, 2, 0);
    }
    return ret;
}

bool compareImages(const Image &a, const Image &b, ImageDifference &difference) {
    const bool same = a.getType() == b.getType() && a.getSize() == b.getSize() && a.getLayers() == b.getLayers();
    const uint32_t components = a.getComponents();
    if(!same || components != b.getComponents() || !a.isPlainFormat() || !b.isPlainFormat()) return false;
    const auto get_peak = [](Format format) {
        if(isNormFormat(format) || isFloatFormat(format)) return 1.0;
        const int bits = is8BitFormat(format) ? 8 : is16BitFormat(format) ? 16 : is32BitFormat(format) ? 32 : 64;
        return std::ldexp(1.0, bits - (isSignedFormat(format) ? 1 : 0)) - 1.0;
    };
    const double a_scale = 1.0 / get_peak(a.getFormat()), b_scale = 1.0 / get_peak(b.getFormat());
    const uint32_t mipmaps = std::min(a.getMipmaps(), b.getMipmaps());
    std::vector<double> sums(components), squares(components), tops(components);
    double pixels = 0.0;
    for(uint32_t layer = 0; layer < a.getLayers(); layer++) {
        for(uint32_t face = 0; face < a.getFaces(); face++) {
            for(uint32_t mipmap = 0; mipmap < mipmaps; mipmap++) {
                const Slice slice{Face(face), Layer(layer), Mipmap(mipmap)};
                const uint8_t *s0 = a.getData(slice), *s1 = b.getData(slice);
                const size_t count = a.getMipmapSize(mipmap) / a.getPixelSize();
                for(size_t i = 0; i < count; i++, s0 += a.getPixelSize(), s1 += b.getPixelSize()) {
                    float v0[4] = {}, v1[4] = {};
                    getPixelFormatValue(a.getFormat(), v0, s0);
                    getPixelFormatValue(b.getFormat(), v1, s1);
                    for(uint32_t c = 0; c < components; c++) {
                        const double d = std::fabs(v0[c] * a_scale - v1[c] * b_scale);
                        sums[c] += d;
                        squares[c] += d * d;
                        tops[c] = (d <= tops[c]) ? tops[c] : d; // NaN stays
                    }
                }
                pixels += double(count);
            }
        }
    }
    difference.max = 0.0;
    for(uint32_t c = 0; c < components; c++) {
        const double square = squares[c] / pixels;
        const double psnr = (square == 0.0) ? INFINITY : -10.0 * std::log10(square);
        difference.channels.push_back({sums[c] / pixels, tops[c], psnr});
        difference.max = (tops[c] <= difference.max) ? difference.max : tops[c];
    }
    return true;
}

ImageResult runImage(const ImageOptions &options, const std::string &input, Async *async) {
    errors.clear();
    ImageResult result;
    Image image;
    if(!options.hasWork()) {
        if(!image.info(input.c_str())) return fail("can't read " + quote(input));
        result.text = describe(input, image, options.json);
        result.done = true;
        return result;
    }
    if(!image.load(input.c_str())) return fail("can't load " + quote(input));
    errors.clear();
    std::string step;
    image = change(image, options, step, async);
    if(!image) return fail("can't " + step + " " + quote(input));
    if(options.info) result.text = describe(input, image, options.json);

    const std::string output = options.getOutput(input);
    if(!output.empty()) {
        Blob blob(output.c_str());
        if(!save(image, options, blob, output)) return fail("can't encode " + quote(output));
        if(!writeFile(output.c_str(), blob.getData(), blob.getSize(), result.error)) return result;
    }
    if(!options.other.empty()) {
        Image other;
        if(!other.load(options.other.c_str())) return fail("can't load " + quote(options.other));
        ImageDifference difference;
        const Image converted = (other.getComponents() == image.getComponents() && other.isPlainFormat())
                                    ? other
                                    : convertImage(other, image.getFormat(), 0);
        errors.clear();
        if(!converted || !compareImages(image, converted, difference))
            return fail("can't compare " + quote(input) + " with " + quote(options.other) + ": " +
                        image.getDescription().get() + " and " + other.getDescription().get());
        if(options.json && !result.text.empty()) result.text += ",";
        result.text += describe(input, difference, options.json);
        if(!(difference.max <= options.threshold)) {
            if(!options.json) result.error = quote(input) + " differs from " + quote(options.other);
            return result;
        }
    }
    result.done = true;
    return result;
}
