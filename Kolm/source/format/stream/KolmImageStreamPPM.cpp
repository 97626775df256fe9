// Portable pixmaps: a header of decimal numbers, then text or bytes, the larger byte of two first.

#include "KolmImageStreamPPM.h"

#include "KolmArray.h"
#include "KolmByteReader.h"
#include "KolmLog.h"

namespace Kolm {

namespace {

ImageStreamPPM image_stream_ppm;

struct Header {
    uint32_t kind = 0; // digit behind the P
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t top = 1; // value of white

    bool is_text() const { return kind <= 3; }
    bool is_bitmap() const { return kind == 1 || kind == 4; }
    bool is_color() const { return kind == 3 || kind == 6; }
    Format get_format() const {
        if(top > 255) return is_color() ? FormatRGBu16n : FormatRu16n;
        return is_color() ? FormatRGBu8n : FormatRu8n;
    }
};

bool is_space(int32_t c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Goes over white space and comments.
void skip_space(ByteReader &reader) {
    for(int32_t c = reader.peek(); is_space(c) || c == '#'; c = reader.peek()) {
        if(c == '#') {
            while(c >= 0 && c != '\n') c = reader.get();
        } else {
            reader.get();
        }
    }
}

// A decimal number up to 2^24; anything else is -1.
int32_t read_number(ByteReader &reader) {
    skip_space(reader);
    int32_t ret = -1;
    for(int32_t c = reader.peek(); c >= '0' && c <= '9'; c = reader.peek()) {
        ret = max(ret, 0) * 10 + (c - '0');
        if(ret > 0x1000000) return -1;
        reader.get();
    }
    return ret;
}

bool read_header(ByteReader &reader, Header &header) {
    if(reader.get() != 'P') return false;
    const int32_t kind = reader.get() - '0';
    if(kind < 1 || kind > 6) return false;
    header.kind = uint32_t(kind);
    const int32_t width = read_number(reader);
    const int32_t height = read_number(reader);
    const int32_t top = header.is_bitmap() ? 1 : read_number(reader);
    if(width < 1 || height < 1 || top < 1 || top > 65535) return false;
    header.width = uint32_t(width);
    header.height = uint32_t(height);
    header.top = uint32_t(top);
    return header.is_text() || is_space(reader.get()); // one byte in front of the pixels
}

bool create(ByteReader &reader, const Stream &stream, Image &image, Image::Flags flags, Header &header) {
    if(!read_header(reader, header)) {
        Log::printf(Log::Error, "ImageStreamPPM::create(): invalid header\n");
        return false;
    }
    const Format format = header.get_format();
    const uint64_t size = uint64_t(header.width) * header.height * getFormatPixelSize(format);
    const bool plausible = ImageStream::isPlausible(stream, size, header.is_bitmap() ? 8 : 2, reader.getAhead());
    if(!(flags & Image::FlagNoAllocate) && !plausible) {
        Log::printf(Log::Error, "ImageStreamPPM::create(): invalid size %ux%u\n", header.width, header.height);
        return false;
    }
    return image.create2D(format, header.width, header.height, flags);
}

uint32_t scale_value(uint32_t value, uint32_t top, uint32_t max_value) {
    return (min(value, top) * max_value + top / 2) / top;
}

// Text: one number for each channel. Those of bitmaps need no space between, and 1 is black.
bool read_text(ByteReader &reader, const Header &header, uint32_t &value) {
    if(!header.is_bitmap()) {
        const int32_t number = read_number(reader);
        value = uint32_t(number);
        return number >= 0;
    }
    skip_space(reader);
    const int32_t c = reader.get();
    value = (c == '0');
    return c == '0' || c == '1';
}

bool read_pixels(ByteReader &reader, const Header &header, Image &image) {
    const bool wide = header.top > 255;
    const uint32_t max_value = wide ? 65535 : 255;
    const size_t row_size = image.getStride();
    const size_t row = row_size / (wide ? 2 : 1);
    for(uint32_t y = 0; y < header.height; y++) {
        uint8_t *data = image.getData() + row_size * y;
        if(header.kind == 4) {
            int32_t bits = 0;
            for(size_t i = 0; i < row; i++, bits <<= 1) {
                if((i & 7) == 0 && (bits = reader.get()) < 0) return false;
                data[i] = (bits & 0x80) ? 0 : 255;
            }
            continue;
        }
        if(!header.is_text() && !reader.read(data, row_size)) return false;
        if(!header.is_text() && header.top == 255) continue;
        for(size_t i = 0; i < row; i++) {
            uint32_t value = 0;
            if(header.is_text()) {
                if(!read_text(reader, header, value)) return false;
            } else {
                value = wide ? (uint32_t(data[i * 2]) << 8) | data[i * 2 + 1] : data[i];
            }
            value = scale_value(value, header.top, max_value);
            if(wide) {
                data[i * 2 + 0] = uint8_t(value);
                data[i * 2 + 1] = uint8_t(value >> 8);
            } else {
                data[i] = uint8_t(value);
            }
        }
    }
    return true;
}

} // namespace

ImageStreamPPM::ImageStreamPPM() : ImageStream(FlagLoadSave, {"ppm", "pgm", "pbm"}) {}

bool ImageStreamPPM::info(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    ByteReader reader(stream);
    Header header;
    if(!create(reader, stream, image, Image::FlagNoAllocate, header)) {
        Log::printf(Log::Error, "ImageStreamPPM::info(): can't create image\n");
        return false;
    }
    return true;
}

bool ImageStreamPPM::load(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    ByteReader reader(stream);
    Header header;
    if(!create(reader, stream, image, Image::FlagNone, header)) {
        Log::printf(Log::Error, "ImageStreamPPM::load(): can't create image\n");
        return false;
    }
    if(!read_pixels(reader, header, image)) {
        Log::printf(Log::Error, "ImageStreamPPM::load(): can't read image\n");
        return false;
    }
    return true;
}

bool ImageStreamPPM::save(Stream &stream, const Image &image, Image::Flags, uint32_t) {
    const uint32_t components = image.getComponents();
    const bool unsign = image.isu8Format() || image.isu16Format();
    if(!image.is2DType() || image.hasLayers() || !image.isColorFormat() || !image.isPlainFormat() || !unsign ||
       (components != 1 && components != 3)) {
        Log::printf(Log::Error, "ImageStreamPPM::save(): can't save %s image\n", image.getDescription().get());
        return false;
    }
    const bool wide = image.is16BitFormat();
    bool status = stream.printf("P%u\n%u %u\n%u\n", (components == 3) ? 6 : 5, image.getWidth(), image.getHeight(),
                                wide ? 65535u : 255u);
    Array<uint8_t> row;
    row.resize(uint32_t(image.getStride()));
    for(uint32_t y = 0; y < image.getHeight() && status; y++) {
        const uint8_t *data = image.getData() + image.getStride() * y;
        if(wide) {
            for(uint32_t i = 0; i < row.size(); i++) row.get()[i] = data[i ^ 1];
            data = row.get();
        }
        status = (stream.write(data, row.size()) == row.size());
    }
    if(!status) Log::printf(Log::Error, "ImageStreamPPM::save(): can't write image\n");
    return status;
}

} // namespace Kolm
