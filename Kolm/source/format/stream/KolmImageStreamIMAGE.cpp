// The library's own image files. Numbers of types and formats are a cache in them: the names beside them are the truth.

#include "KolmImageStreamIMAGE.h"

#include "KolmLog.h"
#include "KolmStream.h"

namespace Kolm {

namespace {

ImageStreamIMAGE image_stream_image;

constexpr uint8_t compressed_bit = 0x80;
constexpr uint32_t max_mipmaps = 32;
constexpr uint32_t max_parts = 0xFFFF;

Image::Type find_type(const String &name) {
    for(uint32_t i = Image::Type2D; i < Image::NumTypes; i++) {
        if(name == Image::getTypeName(Image::Type(i))) return Image::Type(i);
    }
    return Image::TypeUnknown;
}

} // namespace

ImageStreamIMAGE::ImageStreamIMAGE() : ImageStream(FlagLoadSave, "image", Magic) {}

// Reads all in front of the table of levels.
bool ImageStreamIMAGE::create(Stream &stream, Image &image, Image::Flags flags, uint32_t *offset) {
    bool status = true;
    const uint32_t magic = stream.readu32(&status);
    if(!status || magic != Magic) {
        Log::printf(Log::Error, "ImageStreamIMAGE::create(): invalid magic 0x%08x\n", magic);
        return false;
    }
    const uint32_t version = stream.readu32(&status);
    if(!status || version != Version) {
        Log::printf(Log::Error, "ImageStreamIMAGE::create(): invalid version %u\n", version);
        return false;
    }

    const uint32_t type_number = stream.readu8(&status);
    const uint32_t format_number = stream.readu8(&status);
    const String type_name = stream.readString(&status);
    const String format_name = stream.readString(&status);
    Image::Type type = Image::Type(type_number);
    if(type == Image::TypeUnknown || type >= Image::NumTypes || type_name != Image::getTypeName(type)) {
        type = find_type(type_name);
        if(type == Image::TypeUnknown) {
            Log::printf(Log::Error, "ImageStreamIMAGE::create(): invalid type %u %s\n", type_number, type_name.get());
            return false;
        }
        Log::printf(Log::Warning, "ImageStreamIMAGE::create(): restore %s type\n", Image::getTypeName(type));
    }
    Format format = Format(format_number);
    if(format == FormatUnknown || format >= NumFormats || format_name != getFormatName(format)) {
        format = findFormatName(format_name.get());
        if(format == FormatUnknown) {
            Log::printf(Log::Error, "ImageStreamIMAGE::create(): invalid format %u %s\n", format_number,
                        format_name.get());
            return false;
        }
        Log::printf(Log::Warning, "ImageStreamIMAGE::create(): restore %s format\n", getFormatName(format));
    }

    Size size;
    size.width = stream.readu32e(&status);
    size.height = (type == Image::TypeCube) ? size.width : stream.readu32e(&status);
    size.depth = (type == Image::Type3D) ? stream.readu32e(&status) : 1;
    const uint32_t layers = stream.readu32e(&status);
    const uint32_t mipmaps = stream.readu8(&status);
    const bool empty = (size.width == 0 || size.height == 0 || size.depth == 0 || layers == 0 || mipmaps == 0);
    const bool large = (size.depth > max_parts || layers > max_parts || mipmaps > max_mipmaps);
    if(!status || empty || large || (type == Image::Type3D && layers > 1)) {
        Log::printf(Log::Error, "ImageStreamIMAGE::create(): invalid header\n");
        return false;
    }

    *offset = min(*offset, mipmaps - 1);
    size.width = max(size.width >> *offset, 1u);
    size.height = max(size.height >> *offset, 1u);
    size.depth = max(size.depth >> *offset, 1u);
    const Image::Flags chain = (mipmaps > 1) ? Image::FlagMipmaps : Image::FlagNone;
    if(!image.create(type, format, size, layers, chain | Image::FlagNoAllocate)) return false;
    if(*offset + image.getMipmaps() != mipmaps) {
        image.clear();
        Log::printf(Log::Error, "ImageStreamIMAGE::create(): invalid mipmaps %u", mipmaps);
        return false;
    }
    if(flags & Image::FlagNoAllocate) return true;
    if(!isPlausible(stream, image.getDataSize(), ZipRatio)) {
        image.clear();
        Log::printf(Log::Error, "ImageStreamIMAGE::create(): invalid header\n");
        return false;
    }
    return image.create(type, format, size, layers, chain | flags);
}

bool ImageStreamIMAGE::info(Stream &stream, Image &image, Image::Flags, uint32_t offset, Async *) {
    if(!create(stream, image, Image::FlagNoAllocate, &offset)) {
        Log::printf(Log::Error, "ImageStreamIMAGE::info(): can't create image\n");
        return false;
    }
    return true;
}

bool ImageStreamIMAGE::load(Stream &stream, Image &image, Image::Flags, uint32_t offset, Async *) {
    if(!create(stream, image, Image::FlagNoClear, &offset)) {
        Log::printf(Log::Error, "ImageStreamIMAGE::load(): can't create image\n");
        return false;
    }

    bool status = true;
    const size_t base = stream.tell();
    if(offset) {
        uint64_t position = 0;
        for(uint32_t i = 0; i <= offset; i++) position = stream.readu64(&status);
        status = status && position <= SIZE_MAX / 2 && stream.seek(base + size_t(position));
    } else {
        for(uint32_t i = 0; i < image.getMipmaps(); i++) stream.readu64(&status);
    }
    if(!status) {
        image.clear();
        Log::printf(Log::Error, "ImageStreamIMAGE::load(): can't read mipmap offsets\n");
        return false;
    }

    for(uint32_t m = 0; m < image.getMipmaps(); m++) {
        const uint32_t level = m + offset;
        const uint8_t tag = stream.readu8(&status);
        if(!status || (tag & ~compressed_bit) != level) {
            image.clear();
            Log::printf(Log::Error, "ImageStreamIMAGE::load(): invalid mipmap data\n");
            return false;
        }
        const size_t size = image.getMipmapSize(m);
        const bool compressed = (tag & compressed_bit) != 0;
        status = compressed || isPlausible(stream, uint64_t(size) * image.getLayers() * image.getFaces(), 1);
        for(uint32_t l = 0; l < image.getLayers() && status; l++) {
            for(uint32_t f = 0; f < image.getFaces() && status; f++) {
                uint8_t *data = image.getData(Slice(Face(f), Layer(l), Mipmap(m)));
                status = (compressed ? stream.readZip(data, size) : stream.read(data, size)) == size;
            }
        }
        if(!status || stream.readu8(&status) != level || !status) {
            image.clear();
            Log::printf(Log::Error, "ImageStreamIMAGE::load(): can't read %u mipmap\n", level);
            return false;
        }
    }
    return true;
}

bool ImageStreamIMAGE::save(Stream &stream, const Image &image, Image::Flags flags, uint32_t) {
    const Image::Type type = image.getType();
    const uint32_t mipmaps = image.getMipmaps();
    bool status = stream.writeu32(Magic) && stream.writeu32(Version);
    status = status && stream.writeu8(uint8_t(type)) && stream.writeu8(uint8_t(image.getFormat()));
    status = status && stream.writeString(image.getTypeName()) && stream.writeString(image.getFormatName());
    status = status && stream.writeu32e(image.getWidth());
    if(type != Image::TypeCube) status = status && stream.writeu32e(image.getHeight());
    if(type == Image::Type3D) status = status && stream.writeu32e(image.getDepth());
    status = status && stream.writeu32e(image.getLayers()) && stream.writeu8(uint8_t(mipmaps));
    if(!status) {
        Log::printf(Log::Error, "ImageStreamIMAGE::save(): can't write magic\n");
        return false;
    }

    uint64_t offsets[max_mipmaps] = {};
    const size_t base = stream.tell();
    const size_t table_size = sizeof(uint64_t) * mipmaps;
    if(stream.write(offsets, table_size) != table_size) {
        Log::printf(Log::Error, "ImageStreamIMAGE::save(): can't write mipmap offsets\n");
        return false;
    }

    const bool fast = (flags & Image::FlagFast);
    const bool best = (flags & Image::FlagBest);
    const bool compressed = fast || best;
    const int32_t zip = (fast && best) ? Stream::ZipLevelDefault : fast ? Stream::ZipLevelFast : Stream::ZipLevelBest;
    for(uint32_t m = 0; m < mipmaps; m++) {
        offsets[m] = stream.tell() - base;
        status = stream.writeu8(uint8_t(m | (compressed ? compressed_bit : 0)));
        const size_t size = image.getMipmapSize(m);
        for(uint32_t l = 0; l < image.getLayers() && status; l++) {
            for(uint32_t f = 0; f < image.getFaces() && status; f++) {
                const uint8_t *data = image.getData(Slice(Face(f), Layer(l), Mipmap(m)));
                status = compressed ? stream.writeZip(data, size, zip) != 0 : stream.write(data, size) == size;
            }
        }
        if(!status || !stream.writeu8(uint8_t(m))) {
            Log::printf(Log::Error, "ImageStreamIMAGE::save(): can't write data\n");
            return false;
        }
    }

    const size_t end = stream.tell();
    if(!stream.seek(base) || stream.write(offsets, table_size) != table_size || !stream.seek(end)) {
        Log::printf(Log::Error, "ImageStreamIMAGE::save(): can't update mipmap offsets\n");
        return false;
    }
    return true;
}

} // namespace Kolm
