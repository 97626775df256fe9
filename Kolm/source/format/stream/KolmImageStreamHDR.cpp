// Radiance pictures: lines of text up to an empty one, a line of signed extents, then pixels of three mantissas and a
// common exponent.

#include "KolmImageStreamHDR.h"

#include <math.h>

#include "KolmArray.h"
#include "KolmByteReader.h"
#include "KolmLog.h"

namespace Kolm {

namespace {

ImageStreamHDR image_stream_hdr;

constexpr uint32_t max_line = 4096;
constexpr uint32_t max_lines = 1024;
constexpr uint32_t min_run_width = 8; // widths that can have separate channels
constexpr uint32_t max_run_width = 0x7FFF;

struct Header {
    uint32_t width = 0;
    uint32_t height = 0;
    bool flip_x = false;
    bool flip_y = false;
    bool columns = false; // scanlines run along y
};

bool read_line(ByteReader &reader, String &line) {
    line.clear();
    for(uint32_t i = 0; i < max_line; i++) {
        const int32_t c = reader.get();
        if(c < 0) return false;
        if(c == '\n') return true;
        if(c != '\r') line += char(c);
    }
    return false;
}

// One signed extent, such as "-Y 512". Returns the axis, or 0.
char read_extent(const char *&s, uint32_t &extent, bool &negative) {
    while(*s == ' ') s++;
    if(*s != '+' && *s != '-') return 0;
    negative = (*s++ == '-');
    const char axis = *s;
    if(axis != 'X' && axis != 'Y') return 0;
    s++;
    uint32_t consumed = 0;
    extent = String::tou32(s, 10, &consumed);
    s += consumed;
    return (extent && extent <= 0x1000000) ? axis : char(0);
}

bool read_header(ByteReader &reader, Header &header) {
    String line;
    if(!read_line(reader, line) || !line.begins("#?")) return false;
    uint32_t lines = 0;
    do {
        if(!read_line(reader, line) || lines++ == max_lines) return false;
        if(line.begins("FORMAT=") && !line.begins("FORMAT=32-bit_rle_rgbe")) return false;
    } while(!line.empty());
    if(!read_line(reader, line)) return false;
    const char *s = line.get();
    uint32_t extents[2];
    bool negative[2];
    const char first = read_extent(s, extents[0], negative[0]);
    const char second = first ? read_extent(s, extents[1], negative[1]) : char(0);
    if(second == 0 || first == second) return false;
    // Rows go up along +Y, columns to the right along +X; the first axis is that of the scanlines' order.
    header.columns = (first == 'X');
    header.width = extents[header.columns ? 0 : 1];
    header.height = extents[header.columns ? 1 : 0];
    header.flip_x = negative[header.columns ? 0 : 1];
    header.flip_y = !negative[header.columns ? 1 : 0];
    return true;
}

bool create(ByteReader &reader, const Stream &stream, Image &image, Image::Flags flags, Header &header) {
    if(!read_header(reader, header)) {
        Log::printf(Log::Error, "ImageStreamHDR::create(): invalid header\n");
        return false;
    }
    // Two bytes can stand for 127 values of a channel, four bytes of the old code for 255 pixels and more.
    const uint64_t size = uint64_t(header.width) * header.height * getFormatPixelSize(FormatRGBf32);
    if(!(flags & Image::FlagNoAllocate) && !ImageStream::isPlausible(stream, size, 4096, reader.getAhead())) {
        Log::printf(Log::Error, "ImageStreamHDR::create(): invalid size %ux%u\n", header.width, header.height);
        return false;
    }
    return image.create2D(FormatRGBf32, header.width, header.height, flags);
}

// One scanline of RGBE.
bool read_scanline(ByteReader &reader, uint8_t *dst, uint32_t width) {
    uint8_t start[4];
    if(!reader.read(start, 4)) return false;
    const bool separate = (width >= min_run_width && width <= max_run_width && start[0] == 2 && start[1] == 2 &&
                           ((uint32_t(start[2]) << 8) | start[3]) == width);
    if(separate) {
        for(uint32_t c = 0; c < 4; c++) {
            for(uint32_t x = 0; x < width;) {
                const int32_t code = reader.get();
                if(code < 0) return false;
                const bool run = (code > 128);
                const uint32_t count = uint32_t(run ? code - 128 : code);
                if(count == 0 || count > width - x) return false;
                int32_t value = run ? reader.get() : 0;
                for(uint32_t i = 0; i < count; i++, x++) {
                    if(!run) value = reader.get();
                    if(value < 0) return false;
                    dst[x * 4 + c] = uint8_t(value);
                }
            }
        }
        return true;
    }
    // Plain pixels; 1, 1, 1 repeats the one before, and such counts in a row are digits of 256.
    uint32_t shift = 0;
    for(uint32_t x = 0; x < width;) {
        if((x || shift) && !reader.read(start, 4)) return false;
        if(start[0] == 1 && start[1] == 1 && start[2] == 1) {
            if(x == 0 || shift > 24) return false;
            const uint64_t count = uint64_t(start[3]) << shift;
            if(count > width - x) return false;
            for(uint64_t i = 0; i < count; i++, x++) memcpy(dst + x * 4, dst + x * 4 - 4, 4);
            shift += 8;
        } else {
            memcpy(dst + x * 4, start, 4);
            x++;
            shift = 0;
        }
    }
    return true;
}

bool read_pixels(ByteReader &reader, const Header &header, Image &image) {
    const uint32_t lines = header.columns ? header.width : header.height;
    const uint32_t length = header.columns ? header.height : header.width;
    Array<uint8_t> scanline;
    scanline.resize(length * 4);
    for(uint32_t i = 0; i < lines; i++) {
        if(!read_scanline(reader, scanline.get(), length)) return false;
        for(uint32_t j = 0; j < length; j++) {
            uint32_t x = header.columns ? i : j;
            uint32_t y = header.columns ? j : i;
            if(header.flip_x) x = header.width - 1 - x;
            if(header.flip_y) y = header.height - 1 - y;
            const uint8_t *src = scanline.get() + size_t(j) * 4;
            const float32_t scale = src[3] ? ldexpf(1.0f, int32_t(src[3]) - 136) : 0.0f;
            float32_t *dst = reinterpret_cast<float32_t *>(image.getData()) + (size_t(y) * header.width + x) * 3;
            for(uint32_t c = 0; c < 3; c++) dst[c] = float32_t(src[c]) * scale;
        }
    }
    return true;
}

// The common exponent is that of the largest channel; mantissas are cut.
void pack_pixel(uint8_t *dst, const float32_t *src) {
    float32_t rgb[3];
    for(uint32_t c = 0; c < 3; c++) rgb[c] = (src[c] > 0.0f) ? min(src[c], 1.7e38f) : 0.0f;
    const float32_t top = max(max(rgb[0], rgb[1]), rgb[2]);
    memset(dst, 0, 4);
    if(!(top >= 1e-32f)) return;
    int32_t exponent;
    frexpf(top, &exponent);
    const float32_t scale = ldexpf(1.0f, 8 - exponent);
    for(uint32_t c = 0; c < 3; c++) dst[c] = uint8_t(rgb[c] * scale);
    dst[3] = uint8_t(exponent + 128);
}

// One channel of a scanline: runs of 4 values and more, plain values between.
void pack_channel(Array<uint8_t> &dst, const uint8_t *src, uint32_t width) {
    const auto get_run = [src, width](uint32_t x) {
        uint32_t run = 1;
        while(run < 127 && x + run < width && src[(x + run) * 4] == src[x * 4]) run++;
        return run;
    };
    for(uint32_t x = 0; x < width;) {
        uint32_t plain = 0;
        uint32_t run = 0;
        while(x + plain < width && plain < 128 && (run = get_run(x + plain)) < 4) plain++;
        if(plain) {
            dst.append(uint8_t(plain));
            for(uint32_t i = 0; i < plain; i++) dst.append(src[(x + i) * 4]);
            x += plain;
        } else {
            dst.append(uint8_t(128 + run));
            dst.append(src[x * 4]);
            x += run;
        }
    }
}

} // namespace

ImageStreamHDR::ImageStreamHDR() : ImageStream(FlagLoadSave, {"hdr"}, {0x41523F23, 0x47523F23}) {}

bool ImageStreamHDR::info(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    ByteReader reader(stream);
    Header header;
    if(!create(reader, stream, image, Image::FlagNoAllocate, header)) {
        Log::printf(Log::Error, "ImageStreamHDR::info(): can't create image\n");
        return false;
    }
    return true;
}

bool ImageStreamHDR::load(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    ByteReader reader(stream);
    Header header;
    if(!create(reader, stream, image, Image::FlagNone, header)) {
        Log::printf(Log::Error, "ImageStreamHDR::load(): can't create image\n");
        return false;
    }
    if(!read_pixels(reader, header, image)) {
        Log::printf(Log::Error, "ImageStreamHDR::load(): can't read image\n");
        return false;
    }
    return true;
}

bool ImageStreamHDR::save(Stream &stream, const Image &image, Image::Flags, uint32_t) {
    const uint32_t components = image.getComponents();
    const bool plain = image.isColorFormat() && image.isPlainFormat() && image.isf32Format() && components >= 3;
    if(!image.is2DType() || image.hasLayers() || !plain || image.getWidth() > 0x1000000) {
        Log::printf(Log::Error, "ImageStreamHDR::save(): can't save %s image\n", image.getDescription().get());
        return false;
    }
    const uint32_t width = image.getWidth();
    bool status = stream.printf("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y %u +X %u\n", image.getHeight(), width);
    Array<uint8_t> pixels;
    pixels.resize(width * 4);
    Array<uint8_t> packed;
    for(uint32_t y = 0; y < image.getHeight() && status; y++) {
        const float32_t *src = reinterpret_cast<const float32_t *>(image.getData() + image.getStride() * y);
        for(uint32_t x = 0; x < width; x++) pack_pixel(pixels.get() + x * 4, src + size_t(x) * components);
        if(width < min_run_width || width > max_run_width) {
            status = (stream.write(pixels.get(), pixels.size()) == pixels.size());
            continue;
        }
        packed.clear();
        const uint8_t start[4] = {2, 2, uint8_t(width >> 8), uint8_t(width)};
        packed.append(start, 4);
        for(uint32_t c = 0; c < 4; c++) pack_channel(packed, pixels.get() + c, width);
        status = (stream.write(packed.get(), packed.size()) == packed.size());
    }
    if(!status) Log::printf(Log::Error, "ImageStreamHDR::save(): can't write image\n");
    return status;
}

} // namespace Kolm
