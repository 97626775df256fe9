// PNG files. libpng leaves a failed call by a jump, which runs no destructors: the functions that it jumps back into
// own nothing, and what they change lies in records of their callers.

#include "KolmImageStreamPNG.h"

#include <png.h>
#include <setjmp.h>
#include <stdlib.h>

#include "KolmLog.h"
#include "KolmStream.h"

namespace Kolm {

namespace {

ImageStreamPNG image_stream_png;

constexpr const char *png_version = "1.6.34";
constexpr uint32_t png_magic = 0x474E5089;
constexpr uint32_t signature_size = 8;
constexpr uint32_t write_size = 0x10000; // bytes of one IDAT chunk
constexpr size_t block_limit = 64 << 20; // bytes of one allocation, far above the widest row and the longest text

void error_fn(png_structp png, png_const_charp text) {
    Log::printf(Log::Error, "ImageStreamPNG::error(): %s\n", text);
    png_longjmp(png, 1);
}

void warning_fn(png_structp, png_const_charp text) {
    if(strcmp(text, "iCCP: known incorrect sRGB profile") == 0) return;
    Log::printf(Log::Warning, "ImageStreamPNG::warning(): %s\n", text);
}

// A chunk is allocated by the length that it claims before it is read. libpng goes on within a chunk that it gets no
// memory for, so that what was refused has to be remembered.
void *malloc_fn(png_structp png, png_alloc_size_t size) {
    if(size <= block_limit) return malloc(size);
    *static_cast<bool *>(png_get_mem_ptr(png)) = true;
    return nullptr;
}
void free_fn(png_structp, png_voidp ptr) { free(ptr); }

void read_fn(png_structp png, png_bytep dst, size_t size) {
    Stream *stream = static_cast<Stream *>(png_get_io_ptr(png));
    if(stream->read(dst, size) != size) png_error(png, "read error");
}

void write_fn(png_structp png, png_bytep src, size_t size) {
    Stream *stream = static_cast<Stream *>(png_get_io_ptr(png));
    if(stream->write(src, size) != size) png_error(png, "write error");
}

void flush_fn(png_structp png) {
    Stream *stream = static_cast<Stream *>(png_get_io_ptr(png));
    if(!stream->flush()) png_error(png, "flush error");
}

Format get_format(int32_t color, int32_t depth) {
    const bool wide = (depth == 16);
    switch(color) {
    case PNG_COLOR_TYPE_GRAY: return wide ? FormatRu16n : FormatRu8n;
    case PNG_COLOR_TYPE_GRAY_ALPHA: return wide ? FormatRGu16n : FormatRGu8n;
    case PNG_COLOR_TYPE_RGB: return wide ? FormatRGBu16n : FormatRGBu8n;
    case PNG_COLOR_TYPE_RGB_ALPHA: return wide ? FormatRGBAu16n : FormatRGBAu8n;
    }
    return FormatUnknown;
}

// Colour type by number of components.
constexpr int32_t color_types[] = {-1, PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                                   PNG_COLOR_TYPE_RGB_ALPHA};

bool is_save_format(Format format) {
    const bool narrow = isu8Format(format) || isu16Format(format);
    if(!isColorFormat(format) || !isPlainFormat(format) || !narrow || isSRGBFormat(format)) return false;
    return format != FormatBGRAu8n;
}

} // namespace

struct ImageStreamPNG::Reader {
    explicit Reader(Stream &stream) : stream(stream) {}
    ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }

    // Reads the header; the next bytes of the stream are those behind the signature.
    bool open();
    // Describes the image, and allocates it unless the flags say otherwise.
    bool create(Image &image, Image::Flags flags);
    // Reads the pixels of a created image.
    bool read(Image &image);

    Stream &stream;
    png_structp png = nullptr;
    png_infop info = nullptr;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t rows = 0;        // rows that are complete
    uint64_t packed_size = 0; // bytes of all rows in the file, where pixels may be of one bit
    bool is_refused = false;  // a block above the limit was asked for
    int32_t passes = 1;
    int32_t depth = 0;
    int32_t color = 0;
};

bool ImageStreamPNG::Reader::open() {
    png = png_create_read_struct_2(png_version, nullptr, error_fn, warning_fn, &is_refused, malloc_fn, free_fn);
    if(png) info = png_create_info_struct(png);
    if(info == nullptr) return false;
    if(setjmp(png_jmpbuf(png))) return false;
    png_set_read_fn(png, &stream, read_fn);
    png_set_sig_bytes(png, signature_size);
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, 0);
    png_read_info(png, info);
    if(is_refused) png_error(png, "chunk is too large");
    depth = png_get_bit_depth(png, info);
    color = png_get_color_type(png, info);
    if(depth == 16) png_set_swap(png);
    if(depth < 8 || color == PNG_COLOR_TYPE_PALETTE || png_get_valid(png, info, PNG_INFO_tRNS)) png_set_expand(png);
    if(png_get_interlace_type(png, info) != PNG_INTERLACE_NONE) passes = png_set_interlace_handling(png);
    packed_size = uint64_t(png_get_rowbytes(png, info)) * png_get_image_height(png, info);
    png_read_update_info(png, info);
    width = png_get_image_width(png, info);
    height = png_get_image_height(png, info);
    depth = png_get_bit_depth(png, info);
    color = png_get_color_type(png, info);
    return true;
}

bool ImageStreamPNG::Reader::create(Image &image, Image::Flags flags) {
    const Format format = (depth == 8 || depth == 16) ? get_format(color, depth) : FormatUnknown;
    if(format == FormatUnknown) {
        Log::printf(Log::Error, "ImageStreamPNG::create(): unsupported format %d %d\n", depth, color);
        return false;
    }
    if(!(flags & Image::FlagNoAllocate) && !isPlausible(stream, packed_size, ZipRatio)) {
        Log::printf(Log::Error, "ImageStreamPNG::create(): invalid size %ux%u\n", width, height);
        return false;
    }
    return image.create2D(format, width, height, flags);
}

bool ImageStreamPNG::Reader::read(Image &image) {
    uint8_t *const data = image.getData();
    const size_t stride = image.getStride();
    if(setjmp(png_jmpbuf(png))) return false;
    for(int32_t pass = 0; pass < passes; pass++) {
        for(uint32_t y = 0; y < height; y++) {
            png_read_row(png, data + stride * y, nullptr);
            if(passes == 1) rows = y + 1;
        }
    }
    rows = height;
    png_read_end(png, nullptr);
    return true;
}

struct ImageStreamPNG::Writer {
    ~Writer() { png_destroy_write_struct(&png, &info); }

    bool write(Stream &stream, const Image &image, Image::Flags flags);

    png_structp png = nullptr;
    png_infop info = nullptr;
};

bool ImageStreamPNG::Writer::write(Stream &stream, const Image &image, Image::Flags flags) {
    png = png_create_write_struct(png_version, nullptr, error_fn, warning_fn);
    if(png) info = png_create_info_struct(png);
    if(info == nullptr) return false;
    const uint8_t *const data = image.getData();
    const size_t stride = image.getStride();
    const uint32_t height = image.getHeight();
    const bool wide = image.is16BitFormat();
    if(setjmp(png_jmpbuf(png))) return false;
    png_set_write_fn(png, &stream, write_fn, flush_fn);
    png_set_compression_buffer_size(png, write_size);
    // Both flags ask for the middle, which is the default.
    const bool fast = (flags & Image::FlagFast);
    const bool best = (flags & Image::FlagBest);
    if(fast != best) png_set_compression_level(png, fast ? Stream::ZipLevelFast : Stream::ZipLevelBest);
    png_set_IHDR(png, info, image.getWidth(), height, wide ? 16 : 8, color_types[image.getComponents()],
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    if(wide) png_set_swap(png);
    for(uint32_t y = 0; y < height; y++) png_write_row(png, data + stride * y);
    png_write_end(png, info);
    return true;
}

ImageStreamPNG::ImageStreamPNG() : ImageStream(FlagLoadSave, "png", png_magic) {}

bool ImageStreamPNG::info(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    uint8_t signature[signature_size];
    if(stream.read(signature, signature_size) != signature_size) {
        Log::printf(Log::Error, "ImageStreamPNG::info(): can't read signature\n");
        return false;
    }
    if(png_sig_cmp(signature, 0, signature_size)) {
        Log::printf(Log::Error, "ImageStreamPNG::info(): invalid signature\n");
        return false;
    }
    Reader reader(stream);
    if(!reader.open() || !reader.create(image, Image::FlagNoAllocate)) {
        Log::printf(Log::Error, "ImageStreamPNG::info(): can't create image\n");
        return false;
    }
    return true;
}

bool ImageStreamPNG::load(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    uint8_t signature[signature_size];
    if(stream.read(signature, signature_size) != signature_size) {
        Log::printf(Log::Error, "ImageStreamPNG::load(): can't read signature\n");
        return false;
    }
    if(png_sig_cmp(signature, 0, signature_size)) {
        Log::printf(Log::Error, "ImageStreamPNG::load(): invalid signature 0x%02x%02x%02x%02x\n", signature[0],
                    signature[1], signature[2], signature[3]);
        return false;
    }
    Reader reader(stream);
    if(!reader.open() || !reader.create(image, Image::FlagNoClear)) {
        Log::printf(Log::Error, "ImageStreamPNG::load(): can't create image\n");
        return false;
    }
    // Passes of an interlaced image fill rows bit by bit: what a broken file leaves out must not be random.
    if(reader.passes > 1) memset(image.getData(), 0, image.getDataSize());
    if(!reader.read(image)) {
        const size_t size = image.getStride() * reader.rows;
        if(reader.passes == 1) memset(image.getData() + size, 0, image.getDataSize() - size);
        Log::printf(Log::Error, "ImageStreamPNG::load(): can't read image\n");
        return false;
    }
    return true;
}

bool ImageStreamPNG::save(Stream &stream, const Image &image, Image::Flags flags, uint32_t) {
    if(!image.is2DType() || !is_save_format(image.getFormat())) {
        Log::printf(Log::Error, "ImageStreamPNG::save(): can't save %s image\n", image.getDescription().get());
        return false;
    }
    if(image.hasLayers()) {
        Log::printf(Log::Error, "ImageStreamPNG::save(): can't save %s array image\n", image.getTypeName());
        return false;
    }
    Writer writer;
    return writer.write(stream, image, flags);
}

} // namespace Kolm
