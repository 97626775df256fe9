// JPEG files. libjpeg leaves a failed call by a jump, which runs no destructors: the functions that it jumps back into
// own nothing, and what they change lies in records of their callers.

#include "KolmImageStreamJPEG.h"

#include <setjmp.h>
#include <stdio.h>

#include <jpeglib.h>

#include <jerror.h>

#include "KolmExif.h"
#include "KolmLog.h"
#include "KolmStream.h"

namespace Kolm {

namespace {

ImageStreamJPEG image_stream_jpeg;

constexpr uint32_t buffer_size = 8192;
constexpr int32_t max_scans = 500; // more make a small file a long work
// Pixels to file, far beyond what the entropy coding reaches on pictures of one colour.
constexpr uint32_t max_huffman_ratio = 4096;
constexpr uint32_t max_arithmetic_ratio = 0x20000;

enum Marker : uint8_t {
    JPEGTem = 0x01,
    JPEGRst0 = 0xD0,
    JPEGSoi = 0xD8,
    JPEGEoi = 0xD9,
    JPEGSos = 0xDA,
    JPEGApp1 = 0xE1,
};

struct ErrorManager {
    jpeg_error_mgr base; // first: libjpeg knows only this
    jmp_buf jump;
};

void output_message(j_common_ptr info) {
    char text[JMSG_LENGTH_MAX];
    info->err->format_message(info, text);
    Log::printf(Log::Warning, "ImageStreamJPEG::warning(): %s\n", text);
}

[[noreturn]] void error_exit(j_common_ptr info) {
    char text[JMSG_LENGTH_MAX];
    info->err->format_message(info, text);
    Log::printf(Log::Error, "ImageStreamJPEG::error(): %s\n", text);
    longjmp(reinterpret_cast<ErrorManager *>(info->err)->jump, 1);
}

jpeg_error_mgr *init_errors(ErrorManager &errors) {
    jpeg_error_mgr *ret = jpeg_std_error(&errors.base);
    ret->error_exit = error_exit;
    ret->output_message = output_message;
    return ret;
}

struct SourceManager {
    jpeg_source_mgr base;
    Stream *stream;
    bool is_short; // the stream ended before the picture
    JOCTET buffer[buffer_size];
};

boolean fill_input_buffer(j_decompress_ptr info) {
    SourceManager *source = reinterpret_cast<SourceManager *>(info->src);
    size_t size = source->stream->read(source->buffer, buffer_size);
    if(size == 0) { // an end of its own keeps the decoder from asking for ever
        if(!source->is_short) WARNMS(info, JWRN_JPEG_EOF);
        source->is_short = true;
        source->buffer[0] = 0xFF;
        source->buffer[1] = JPEGEoi;
        size = 2;
    }
    source->base.next_input_byte = source->buffer;
    source->base.bytes_in_buffer = size;
    return TRUE;
}

void skip_input_data(j_decompress_ptr info, long count) {
    jpeg_source_mgr *source = info->src;
    if(count <= 0) return;
    while(size_t(count) > source->bytes_in_buffer) {
        count -= long(source->bytes_in_buffer);
        fill_input_buffer(info);
        if(reinterpret_cast<SourceManager *>(source)->is_short) return;
    }
    source->next_input_byte += count;
    source->bytes_in_buffer -= size_t(count);
}

struct DestManager {
    jpeg_destination_mgr base;
    Stream *stream;
    JOCTET buffer[buffer_size];
};

void init_destination(j_compress_ptr info) {
    DestManager *dest = reinterpret_cast<DestManager *>(info->dest);
    dest->base.next_output_byte = dest->buffer;
    dest->base.free_in_buffer = buffer_size;
}
boolean empty_output_buffer(j_compress_ptr info) {
    DestManager *dest = reinterpret_cast<DestManager *>(info->dest);
    if(dest->stream->write(dest->buffer, buffer_size) != buffer_size) ERREXIT(info, JERR_FILE_WRITE);
    init_destination(info);
    return TRUE;
}
void term_destination(j_compress_ptr info) {
    DestManager *dest = reinterpret_cast<DestManager *>(info->dest);
    const size_t size = buffer_size - dest->base.free_in_buffer;
    if(dest->stream->write(dest->buffer, size) != size) ERREXIT(info, JERR_FILE_WRITE);
}

void check_scans(j_common_ptr info) {
    if(reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > max_scans) ERREXIT(info, JERR_BAD_PROGRESSION);
}

constexpr Format formats[] = {FormatUnknown, FormatRu8n, FormatRGu8n, FormatRGBu8n, FormatRGBAu8n};

bool is_save_format(Format format) {
    return isColorFormat(format) && isPlainFormat(format) && isu8Format(format) && !isSRGBFormat(format) &&
           format != FormatBGRAu8n;
}

} // namespace

struct ImageStreamJPEG::Reader {
    explicit Reader(Stream &stream) {
        info.err = init_errors(errors);
        source.base.init_source = [](j_decompress_ptr) {};
        source.base.fill_input_buffer = fill_input_buffer;
        source.base.skip_input_data = skip_input_data;
        source.base.resync_to_restart = jpeg_resync_to_restart;
        source.base.term_source = [](j_decompress_ptr) {};
        source.stream = &stream;
        progress.progress_monitor = check_scans;
    }
    ~Reader() { jpeg_destroy_decompress(&info); }

    // Reads the header.
    bool open();
    // Describes the image, and allocates it unless the flags say otherwise.
    bool create(Image &image, Image::Flags flags);
    // Reads the pixels of a created image. Returns false too if the stream ends before them.
    bool read(uint8_t *data, size_t stride);

    ErrorManager errors = {};
    SourceManager source = {};
    jpeg_progress_mgr progress = {};
    jpeg_decompress_struct info = {};
    JDIMENSION rows = 0; // rows that are complete
};

bool ImageStreamJPEG::Reader::open() {
    if(setjmp(errors.jump)) return false;
    jpeg_create_decompress(&info);
    info.src = &source.base;
    info.progress = &progress;
    jpeg_read_header(&info, TRUE);
    jpeg_calc_output_dimensions(&info);
    return true;
}

bool ImageStreamJPEG::Reader::create(Image &image, Image::Flags flags) {
    const uint32_t components = uint32_t(info.output_components);
    if(components < 1 || components > 4) {
        Log::printf(Log::Error, "ImageStreamJPEG::create(): unsupported components %d\n", info.output_components);
        return false;
    }
    const uint64_t size = uint64_t(info.output_width) * info.output_height * components;
    const uint32_t max_ratio = info.arith_code ? max_arithmetic_ratio : max_huffman_ratio;
    if(size == 0 || (!(flags & Image::FlagNoAllocate) &&
                     !isPlausible(*source.stream, size, max_ratio, source.base.bytes_in_buffer))) {
        Log::printf(Log::Error, "ImageStreamJPEG::create(): invalid size %ux%u\n", info.output_width,
                    info.output_height);
        return false;
    }
    return image.create2D(formats[components], info.output_width, info.output_height, flags);
}

bool ImageStreamJPEG::Reader::read(uint8_t *data, size_t stride) {
    constexpr JDIMENSION max_rows = 8;
    JSAMPROW pointers[max_rows];
    if(setjmp(errors.jump)) return false;
    jpeg_start_decompress(&info);
    while(info.output_scanline < info.output_height) {
        const JDIMENSION count = min(info.output_height - info.output_scanline, max_rows);
        for(JDIMENSION i = 0; i < count; i++) pointers[i] = data + stride * (info.output_scanline + i);
        jpeg_read_scanlines(&info, pointers, count);
        rows = info.output_scanline;
    }
    if(source.is_short) return false;
    jpeg_finish_decompress(&info);
    return true;
}

struct ImageStreamJPEG::Writer {
    ~Writer() { jpeg_destroy_compress(&info); }

    bool write(Stream &stream, const uint8_t *data, const Image &image, uint32_t quality);

    ErrorManager errors = {};
    DestManager dest = {};
    jpeg_compress_struct info = {};
};

bool ImageStreamJPEG::Writer::write(Stream &stream, const uint8_t *data, const Image &image, uint32_t quality) {
    const uint32_t components = image.getComponents();
    const size_t stride = image.getStride();
    info.err = init_errors(errors);
    dest.base.init_destination = init_destination;
    dest.base.empty_output_buffer = empty_output_buffer;
    dest.base.term_destination = term_destination;
    dest.stream = &stream;
    if(setjmp(errors.jump)) return false;
    jpeg_create_compress(&info);
    info.dest = &dest.base;
    info.image_width = image.getWidth();
    info.image_height = image.getHeight();
    info.input_components = int(components);
    info.in_color_space = (components == 1) ? JCS_GRAYSCALE : (components == 3) ? JCS_RGB : JCS_UNKNOWN;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, int(min(quality, 100u)), TRUE);
    jpeg_start_compress(&info, TRUE);
    while(info.next_scanline < info.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(data + stride * info.next_scanline);
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    return true;
}

ImageStreamJPEG::ImageStreamJPEG() : ImageStream(FlagLoadSave, {"jpg", "jpeg"}, {0xE0FFD8FFu, 0xE1FFD8FFu}) {}

bool ImageStreamJPEG::read_meta_info(Stream &stream, String &meta) {
    const size_t start = stream.tell();
    bool ret = true;
    while(true) {
        bool status = true;
        uint8_t marker = stream.readu8(&status);
        if(!status || marker != 0xFF) {
            Log::printf(Log::Error, "ImageStreamJPEG::read_meta_info(): invalid JPEG stream\n");
            ret = false;
            break;
        }
        while(status && marker == 0xFF) marker = stream.readu8(&status); // fill bytes
        if(!status || marker == JPEGEoi || marker == JPEGSos) break;
        if(marker == JPEGTem || (marker >= JPEGRst0 && marker <= JPEGSoi)) continue;
        uint32_t size = uint32_t(stream.readu8(&status)) << 8;
        size |= stream.readu8(&status);
        if(!status || size < 2) {
            Log::printf(Log::Error, "ImageStreamJPEG::read_meta_info(): invalid JPEG stream\n");
            ret = false;
            break;
        }
        const size_t next = stream.tell() + size - 2;
        char name[6] = {};
        if(marker == JPEGApp1 && size >= 8 && stream.read(name, 6) == 6 && memcmp(name, "Exif\0\0", 6) == 0 &&
           !Exif::readTIFF(stream, size - 8, meta)) {
            Log::printf(Log::Error, "ImageStreamJPEG::read_meta_info(): can't read EXIF\n");
            ret = false;
            break;
        }
        if(next > stream.getSize() || !stream.seek(next)) break;
    }
    return stream.seek(start) && ret;
}

// Camera data that can't be read is told of, and does not keep the picture from being read.
static void set_meta(Image &image, const String &meta) {
    if(meta.empty()) return;
    String text("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<meta>\n");
    text += meta;
    text += "</meta>\n";
    image.setMetaInfo(text.get());
}

bool ImageStreamJPEG::info(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    String meta;
    read_meta_info(stream, meta);
    Reader reader(stream);
    if(!reader.open() || !reader.create(image, Image::FlagNoAllocate)) {
        Log::printf(Log::Error, "ImageStreamJPEG::info(): can't create image\n");
        return false;
    }
    set_meta(image, meta);
    return true;
}

bool ImageStreamJPEG::load(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    String meta;
    read_meta_info(stream, meta);
    Reader reader(stream);
    if(!reader.open() || !reader.create(image, Image::FlagNoClear)) {
        Log::printf(Log::Error, "ImageStreamJPEG::load(): can't create image\n");
        return false;
    }
    set_meta(image, meta);
    if(!reader.read(image.getData(), image.getStride())) {
        const size_t size = image.getStride() * reader.rows;
        memset(image.getData() + size, 0, image.getDataSize() - size);
        Log::printf(Log::Error, "ImageStreamJPEG::load(): can't read image\n");
        return false;
    }
    // What was read ahead is not this file's.
    if(!reader.source.is_short) stream.seekCur(-int64_t(reader.source.base.bytes_in_buffer));
    return true;
}

bool ImageStreamJPEG::save(Stream &stream, const Image &image, Image::Flags, uint32_t quality) {
    if(!image.is2DType() || !is_save_format(image.getFormat())) {
        Log::printf(Log::Error, "ImageStreamJPEG::save(): can't save %s image\n", image.getDescription().get());
        return false;
    }
    if(image.hasLayers()) {
        Log::printf(Log::Error, "ImageStreamJPEG::save(): can't save %s array image\n", image.getTypeName());
        return false;
    }
    Writer writer;
    if(!writer.write(stream, image.getData(), image, quality)) {
        Log::printf(Log::Error, "ImageStreamJPEG::save(): can't write image\n");
        return false;
    }
    return true;
}

} // namespace Kolm
