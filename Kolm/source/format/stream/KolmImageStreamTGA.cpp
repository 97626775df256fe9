// TGA files. Channels are stored as BGRA; pixels of 15 and 16 bits have five bits a channel and perhaps one of alpha.

#include "KolmImageStreamTGA.h"

#include "KolmArray.h"
#include "KolmByteReader.h"
#include "KolmLog.h"

namespace Kolm {

namespace {

ImageStreamTGA image_stream_tga;

constexpr uint32_t header_size = 18;
constexpr uint8_t descriptor_alpha = 0x0F; // bits of alpha
constexpr uint8_t descriptor_right = 0x10; // first pixel on the right
constexpr uint8_t descriptor_top = 0x20;   // first row at the top
constexpr uint8_t run_bit = 0x08;

enum Kind : uint8_t { KindPalette = 1, KindColor = 2, KindGrey = 3 };

struct Header {
    uint8_t name_size;
    uint8_t has_palette;
    uint8_t kind;
    bool runs;
    uint32_t palette_first;
    uint32_t palette_size;
    uint8_t palette_bits;
    uint32_t width;
    uint32_t height;
    uint8_t bits;
    uint8_t descriptor;

    // Bits of a pixel's colour, be it in the palette or in the pixel.
    uint32_t get_color_bits() const { return (kind == KindPalette) ? palette_bits : bits; }
    Format get_format() const {
        const uint32_t color_bits = get_color_bits();
        if(kind == KindGrey) return (bits == 8) ? FormatRu8n : (bits == 16) ? FormatRGu8n : FormatUnknown;
        if(kind == KindPalette && bits != 8 && bits != 16) return FormatUnknown;
        if(color_bits == 32) return FormatRGBAu8n;
        if(color_bits == 24 || color_bits == 15) return FormatRGBu8n;
        if(color_bits == 16) return (descriptor & descriptor_alpha) ? FormatRGBAu8n : FormatRGBu8n;
        return FormatUnknown;
    }
};

uint32_t get_u16(const uint8_t *data) { return data[0] | (uint32_t(data[1]) << 8); }

bool create(ByteReader &reader, const Stream &stream, Image &image, Image::Flags flags, Header &header) {
    uint8_t data[header_size];
    if(!reader.read(data, sizeof(data))) {
        Log::printf(Log::Error, "ImageStreamTGA::create(): can't read header\n");
        return false;
    }
    header.name_size = data[0];
    header.has_palette = data[1];
    header.kind = data[2] & uint8_t(~run_bit);
    header.runs = (data[2] & run_bit) != 0;
    header.palette_first = get_u16(data + 3);
    header.palette_size = get_u16(data + 5);
    header.palette_bits = data[7];
    header.width = get_u16(data + 12);
    header.height = get_u16(data + 14);
    header.bits = data[16];
    header.descriptor = data[17];
    const Format format = (header.kind >= KindPalette && header.kind <= KindGrey) ? header.get_format() : FormatUnknown;
    if(format == FormatUnknown || (header.kind == KindPalette && !header.has_palette)) {
        Log::printf(Log::Error, "ImageStreamTGA::create(): unsupported format %u %u\n", uint32_t(data[2]),
                    uint32_t(header.bits));
        return false;
    }
    // A packet of two bytes can stand for 128 pixels, and a pixel of one byte for a colour of four.
    const uint64_t size = uint64_t(header.width) * header.height * getFormatPixelSize(format);
    const bool plausible =
        (flags & Image::FlagNoAllocate) || ImageStream::isPlausible(stream, size, 256, reader.getAhead());
    if(header.width == 0 || header.height == 0 || !plausible) {
        Log::printf(Log::Error, "ImageStreamTGA::create(): invalid size %ux%u\n", header.width, header.height);
        return false;
    }
    return image.create2D(format, header.width, header.height, flags);
}

// One stored colour as the channels of the image.
void convert_color(uint8_t *dst, const uint8_t *src, uint32_t bits, uint32_t components) {
    if(bits == 15 || bits == 16) {
        const uint32_t v = get_u16(src);
        for(uint32_t c = 0; c < 3; c++) {
            const uint32_t channel = (v >> (10 - c * 5)) & 31;
            dst[c] = uint8_t((channel * 255 + 15) / 31);
        }
        if(components == 4) dst[3] = (v & 0x8000) ? 255 : 0;
    } else {
        dst[0] = src[2];
        dst[1] = src[1];
        dst[2] = src[0];
        if(components == 4) dst[3] = src[3];
    }
}

bool read_pixels(ByteReader &reader, const Header &header, Image &image) {
    for(uint32_t i = 0; i < header.name_size; i++) reader.get();
    const uint32_t components = image.getComponents();
    const uint32_t entry = (header.palette_bits + 7u) / 8;
    Array<uint8_t> palette;
    if(header.has_palette) {
        palette.resize(header.palette_size * entry);
        if(!reader.read(palette.get(), palette.size())) return false;
    }

    const uint32_t pixel_size = (header.bits + 7u) / 8;
    const size_t stride = image.getStride();
    uint32_t left = 0;
    bool run = false;
    uint8_t src[4] = {};
    for(uint32_t y = 0; y < header.height; y++) {
        const uint32_t row = (header.descriptor & descriptor_top) ? y : header.height - 1 - y;
        uint8_t *data = image.getData() + stride * row;
        for(uint32_t x = 0; x < header.width; x++) {
            bool fresh = true;
            if(header.runs) {
                if(left == 0) {
                    const int32_t packet = reader.get();
                    if(packet < 0) return false;
                    run = (packet & 0x80) != 0;
                    left = (uint32_t(packet) & 0x7F) + 1;
                } else {
                    fresh = !run;
                }
                left--;
            }
            if(fresh && !reader.read(src, pixel_size)) return false;
            const uint32_t column = (header.descriptor & descriptor_right) ? header.width - 1 - x : x;
            uint8_t *dst = data + size_t(column) * components;
            if(header.kind == KindGrey) {
                memcpy(dst, src, components);
            } else if(header.kind == KindColor) {
                convert_color(dst, src, header.bits, components);
            } else {
                const uint32_t index = ((pixel_size == 1) ? src[0] : get_u16(src)) - header.palette_first;
                if(index >= header.palette_size) return false;
                convert_color(dst, palette.get() + index * entry, header.palette_bits, components);
            }
        }
    }
    return true;
}

} // namespace

ImageStreamTGA::ImageStreamTGA() : ImageStream(FlagLoadSave, "tga") {}

bool ImageStreamTGA::info(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    ByteReader reader(stream);
    Header header;
    if(!create(reader, stream, image, Image::FlagNoAllocate, header)) {
        Log::printf(Log::Error, "ImageStreamTGA::info(): can't create image\n");
        return false;
    }
    return true;
}

bool ImageStreamTGA::load(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    ByteReader reader(stream);
    Header header;
    if(!create(reader, stream, image, Image::FlagNone, header)) {
        Log::printf(Log::Error, "ImageStreamTGA::load(): can't create image\n");
        return false;
    }
    if(!read_pixels(reader, header, image)) {
        Log::printf(Log::Error, "ImageStreamTGA::load(): can't read image\n");
        return false;
    }
    return true;
}

bool ImageStreamTGA::save(Stream &stream, const Image &image, Image::Flags, uint32_t) {
    const bool plain = image.isColorFormat() && image.isPlainFormat() && image.isu8Format();
    if(!image.is2DType() || image.hasLayers() || !plain || image.getWidth() > 0xFFFF || image.getHeight() > 0xFFFF) {
        Log::printf(Log::Error, "ImageStreamTGA::save(): can't save %s image\n", image.getDescription().get());
        return false;
    }
    const uint32_t components = image.getComponents();
    const bool bgra = image.getFormat() == FormatBGRAu8n || image.getFormat() == FormatBGRAu8ns;
    uint8_t header[header_size] = {};
    header[2] = (components <= 2) ? KindGrey : KindColor;
    header[12] = uint8_t(image.getWidth());
    header[13] = uint8_t(image.getWidth() >> 8);
    header[14] = uint8_t(image.getHeight());
    header[15] = uint8_t(image.getHeight() >> 8);
    header[16] = uint8_t(components * 8);
    header[17] = uint8_t(descriptor_top | ((components == 2 || components == 4) ? 8 : 0));
    bool status = (stream.write(header, sizeof(header)) == sizeof(header));
    Array<uint8_t> row;
    row.resize(uint32_t(image.getStride()));
    for(uint32_t y = 0; y < image.getHeight() && status; y++) {
        memcpy(row.get(), image.getData() + image.getStride() * y, row.size());
        if(components >= 3 && !bgra) {
            for(uint32_t i = 0; i < row.size(); i += components) Kolm::swap(row.get()[i], row.get()[i + 2]);
        }
        status = (stream.write(row.get(), row.size()) == row.size());
    }
    if(!status) Log::printf(Log::Error, "ImageStreamTGA::save(): can't write image\n");
    return status;
}

} // namespace Kolm
