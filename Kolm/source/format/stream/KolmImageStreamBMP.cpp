// BMP files. Rows go from the bottom up unless the height is negative, and are rounded up to four bytes.

#include "KolmImageStreamBMP.h"

#include "KolmArray.h"
#include "KolmByteReader.h"
#include "KolmLog.h"

namespace Kolm {

namespace {

ImageStreamBMP image_stream_bmp;

constexpr uint32_t file_size = 14;  // bytes of the file header
constexpr uint32_t core_size = 12;  // sizes of the second header, which tell its version
constexpr uint32_t short_size = 16; // from here to the next one: what is left out is 0
constexpr uint32_t info_size = 40;
constexpr uint32_t max_size = 124;
constexpr uint32_t save_size = 108;

enum Compression : uint32_t {
    CompressionNone = 0,
    CompressionRLE8 = 1,
    CompressionRLE4 = 2,
    CompressionMasks = 3,
    CompressionAlphaMasks = 6,
};

struct Header {
    uint32_t offset; // of the pixels
    uint32_t width;
    uint32_t height;
    bool top_down;
    uint32_t bits;
    uint32_t compression;
    uint32_t palette_size;
    uint32_t masks[4];       // R, G, B, A
    uint32_t position;       // bytes taken so far
    uint8_t palette[256][4]; // BGR
};

uint32_t get_u16(const uint8_t *data) { return data[0] | (uint32_t(data[1]) << 8); }
uint32_t get_u32(const uint8_t *data) { return get_u16(data) | (get_u16(data + 2) << 16); }
void put_u32(uint8_t *data, uint32_t value) {
    for(uint32_t i = 0; i < 4; i++) data[i] = uint8_t(value >> (i * 8));
}

bool read_header(ByteReader &reader, Header &header) {
    uint8_t data[file_size + max_size] = {};
    if(!reader.read(data, file_size + 4) || data[0] != 'B' || data[1] != 'M') return false;
    uint8_t *info = data + file_size;
    const uint32_t size = get_u32(info);
    if(size != core_size && (size < short_size || size > max_size)) return false;
    if(!reader.read(info + 4, size - 4)) return false;
    header.offset = get_u32(data + 10);
    header.position = file_size + size;

    const bool core = (size == core_size);
    const int32_t width = core ? int32_t(get_u16(info + 4)) : int32_t(get_u32(info + 4));
    const int32_t height = core ? int32_t(get_u16(info + 6)) : int32_t(get_u32(info + 8));
    if(width <= 0 || height == 0 || height == INT32_MIN) return false;
    header.width = uint32_t(width);
    header.height = uint32_t((height < 0) ? -height : height);
    header.top_down = (height < 0);
    header.bits = core ? get_u16(info + 10) : get_u16(info + 14);
    header.compression = core ? uint32_t(CompressionNone) : get_u32(info + 16);
    header.palette_size = core ? 0 : get_u32(info + 32);

    // Masks stand in the header, or behind a short one.
    const bool has_masks = (header.compression == CompressionMasks || header.compression == CompressionAlphaMasks);
    if(has_masks && size == info_size) {
        const uint32_t num = (header.compression == CompressionMasks) ? 12 : 16;
        if(!reader.read(info + info_size, num)) return false;
        header.position += num;
    }
    static constexpr uint32_t masks16[4] = {0x7C00, 0x03E0, 0x001F, 0};
    static constexpr uint32_t masks32[4] = {0xFF0000, 0xFF00, 0xFF, 0};
    for(uint32_t c = 0; c < 4; c++)
        header.masks[c] = has_masks ? get_u32(info + 40 + c * 4) : (header.bits == 16) ? masks16[c] : masks32[c];

    if(header.bits > 8) return true;
    const uint32_t entry = core ? 3 : 4;
    const uint32_t max_colors = 1u << header.bits;
    uint32_t colors = (header.palette_size && header.palette_size < max_colors) ? header.palette_size : max_colors;
    // A header without the number of colours may have fewer of them, up to the pixels.
    if(header.offset > header.position) colors = min(colors, (header.offset - header.position) / entry);
    for(uint32_t i = 0; i < colors; i++) {
        if(!reader.read(header.palette[i], entry)) return false;
    }
    header.position += colors * entry;
    return true;
}

bool is_supported(const Header &header) {
    switch(header.compression) {
    case CompressionNone:
        return header.bits == 1 || header.bits == 4 || header.bits == 8 || header.bits == 16 || header.bits == 24 ||
               header.bits == 32;
    case CompressionRLE8: return header.bits == 8 && !header.top_down;
    case CompressionRLE4: return header.bits == 4 && !header.top_down;
    case CompressionMasks:
    case CompressionAlphaMasks: return header.bits == 16 || header.bits == 32;
    }
    return false;
}

bool create(ByteReader &reader, const Stream &stream, Image &image, Image::Flags flags, Header &header) {
    if(!read_header(reader, header)) {
        Log::printf(Log::Error, "ImageStreamBMP::create(): invalid header\n");
        return false;
    }
    if(!is_supported(header)) {
        Log::printf(Log::Error, "ImageStreamBMP::create(): unsupported format %u %u\n", header.bits,
                    header.compression);
        return false;
    }
    const Format format = (header.bits > 8 && header.masks[3]) ? FormatRGBAu8n : FormatRGBu8n;
    const bool runs = (header.compression == CompressionRLE8 || header.compression == CompressionRLE4);
    const uint64_t size = uint64_t(header.width) * header.height * getFormatPixelSize(format);
    // A run of two bytes can stand for 255 pixels, and the rest of a picture need not be told at all.
    const bool plausible =
        (flags & Image::FlagNoAllocate) || ImageStream::isPlausible(stream, size, runs ? 1024 : 24, reader.getAhead());
    if(!plausible) {
        Log::printf(Log::Error, "ImageStreamBMP::create(): invalid size %ux%u\n", header.width, header.height);
        return false;
    }
    return image.create2D(format, header.width, header.height, flags);
}

// Bits of a mask as a byte.
uint8_t get_channel(uint32_t value, uint32_t mask) {
    if(mask == 0) return 0;
    const uint32_t shift = uint32_t(__builtin_ctz(mask));
    const uint64_t top = mask >> shift;
    return uint8_t((uint64_t((value & mask) >> shift) * 255 + top / 2) / top);
}

void set_color(const Header &header, uint8_t *dst, uint32_t index) {
    dst[0] = header.palette[index][2];
    dst[1] = header.palette[index][1];
    dst[2] = header.palette[index][0];
}

bool read_rows(ByteReader &reader, const Header &header, Image &image) {
    const size_t pitch = (uint64_t(header.width) * header.bits + 31) / 32 * 4;
    if(pitch > 0x7FFFFFFF) return false;
    Array<uint8_t> row;
    row.resize(uint32_t(pitch));
    const uint32_t components = image.getComponents();
    for(uint32_t y = 0; y < header.height; y++) {
        if(!reader.read(row.get(), row.size())) return false;
        uint8_t *dst = image.getData() + image.getStride() * (header.top_down ? y : header.height - 1 - y);
        const uint8_t *src = row.get();
        for(uint32_t x = 0; x < header.width; x++, dst += components) {
            if(header.bits <= 8) {
                const uint32_t bit = x * header.bits;
                const uint32_t index = src[bit / 8] >> (8 - header.bits - bit % 8);
                set_color(header, dst, index & ((1u << header.bits) - 1));
            } else if(header.bits == 24) {
                for(uint32_t c = 0; c < 3; c++) dst[c] = src[size_t(x) * 3 + 2 - c];
            } else {
                const uint32_t value =
                    (header.bits == 16) ? get_u16(src + size_t(x) * 2) : get_u32(src + size_t(x) * 4);
                for(uint32_t c = 0; c < components; c++) dst[c] = get_channel(value, header.masks[c]);
            }
        }
    }
    return true;
}

// Run-length codes: a count and an index (or two of four bits), or 0 and an escape: end of row, end of picture, a step,
// or that many plain indices. Pixels that are not told keep the first colour.
bool read_runs(ByteReader &reader, const Header &header, Image &image) {
    const bool nibbles = (header.bits == 4);
    for(size_t i = 0; i < image.getDataSize(); i += 3) set_color(header, image.getData() + i, 0);
    uint32_t x = 0;
    uint32_t y = 0;
    const auto put = [&](uint32_t index) {
        if(x < header.width && y < header.height)
            set_color(header, image.getData() + image.getStride() * (header.height - 1 - y) + size_t(x) * 3, index);
        if(x < header.width) x++;
    };
    while(y < header.height) {
        const int32_t count = reader.get();
        const int32_t value = reader.get();
        if(count < 0 || value < 0) return false;
        if(count) {
            for(int32_t i = 0; i < count; i++)
                put(nibbles ? uint32_t((i & 1) ? value & 15 : value >> 4) : uint32_t(value));
        } else if(value == 0) {
            x = 0;
            y++;
        } else if(value == 1) {
            break;
        } else if(value == 2) {
            const int32_t dx = reader.get();
            const int32_t dy = reader.get();
            if(dx < 0 || dy < 0) return false;
            x = min(x + uint32_t(dx), header.width);
            y += uint32_t(dy);
        } else {
            const uint32_t bytes = nibbles ? (uint32_t(value) + 1) / 2 : uint32_t(value);
            int32_t pair = 0;
            for(uint32_t i = 0; i < uint32_t(value); i++) {
                if(!nibbles || (i & 1) == 0) pair = reader.get();
                if(pair < 0) return false;
                put(nibbles ? uint32_t((i & 1) ? pair & 15 : pair >> 4) : uint32_t(pair));
            }
            if(bytes & 1) reader.get();
        }
    }
    return true;
}

} // namespace

ImageStreamBMP::ImageStreamBMP() : ImageStream(FlagLoadSave, "bmp") {}

bool ImageStreamBMP::info(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    ByteReader reader(stream);
    Header header = {};
    if(!create(reader, stream, image, Image::FlagNoAllocate, header)) {
        Log::printf(Log::Error, "ImageStreamBMP::info(): can't create image\n");
        return false;
    }
    return true;
}

bool ImageStreamBMP::load(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    ByteReader reader(stream);
    Header header = {};
    if(!create(reader, stream, image, Image::FlagNone, header)) {
        Log::printf(Log::Error, "ImageStreamBMP::load(): can't create image\n");
        return false;
    }
    bool status = true;
    for(uint32_t i = header.position; i < header.offset && status; i++) status = (reader.get() >= 0);
    const bool runs = (header.compression == CompressionRLE8 || header.compression == CompressionRLE4);
    status = status && (runs ? read_runs(reader, header, image) : read_rows(reader, header, image));
    if(!status) {
        Log::printf(Log::Error, "ImageStreamBMP::load(): can't read image\n");
        return false;
    }
    return true;
}

bool ImageStreamBMP::save(Stream &stream, const Image &image, Image::Flags, uint32_t) {
    const uint32_t components = image.getComponents();
    const size_t pitch = align_up(image.getStride(), size_t(4));
    const size_t total = pitch * image.getHeight();
    const bool plain = image.isColorFormat() && image.isPlainFormat() && image.isu8Format() && components != 2;
    if(!image.is2DType() || image.hasLayers() || !plain || image.getWidth() > 0xFFFFFF || total > 0x7FFFFFFF) {
        Log::printf(Log::Error, "ImageStreamBMP::save(): can't save %s image\n", image.getDescription().get());
        return false;
    }
    const bool bgra = image.getFormat() == FormatBGRAu8n || image.getFormat() == FormatBGRAu8ns;
    const uint32_t palette_size = (components == 1) ? 256 * 4 : 0;
    const uint32_t header_size = (components == 4) ? save_size : info_size;
    const uint32_t offset = file_size + header_size + palette_size;
    uint8_t header[file_size + save_size] = {};
    header[0] = 'B';
    header[1] = 'M';
    put_u32(header + 2, offset + uint32_t(total));
    put_u32(header + 10, offset);
    uint8_t *info = header + file_size;
    put_u32(info + 0, header_size);
    put_u32(info + 4, image.getWidth());
    put_u32(info + 8, image.getHeight());
    info[12] = 1;
    info[14] = uint8_t(components * 8);
    put_u32(info + 20, uint32_t(total));
    if(components == 4) {
        put_u32(info + 16, CompressionMasks);
        put_u32(info + 40, 0x00FF0000);
        put_u32(info + 44, 0x0000FF00);
        put_u32(info + 48, 0x000000FF);
        put_u32(info + 52, 0xFF000000);
        memcpy(info + 56, "BGRs", 4);
    }
    bool status = (stream.write(header, file_size + header_size) == file_size + header_size);
    for(uint32_t i = 0; i < palette_size / 4 && status; i++) status = stream.writeu32(i * 0x010101);
    Array<uint8_t> row;
    row.resize(uint32_t(pitch));
    memset(row.get(), 0, pitch);
    for(uint32_t y = image.getHeight(); y-- > 0 && status;) {
        memcpy(row.get(), image.getData() + image.getStride() * y, image.getStride());
        if(components >= 3 && !bgra) {
            for(size_t i = 0; i + 2 < image.getStride(); i += components) Kolm::swap(row.get()[i], row.get()[i + 2]);
        }
        status = (stream.write(row.get(), pitch) == pitch);
    }
    if(!status) Log::printf(Log::Error, "ImageStreamBMP::save(): can't write image\n");
    return status;
}

} // namespace Kolm
