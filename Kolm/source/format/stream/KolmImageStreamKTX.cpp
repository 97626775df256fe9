// KTX files. Rows of a level may be tight or rounded up to four bytes: the size in front of a level decides. Saved rows
// are rounded up, as OpenGL unpacks them by default.

#include "KolmImageStreamKTX.h"

#include "KolmArray.h"
#include "KolmLog.h"
#include "KolmStream.h"

namespace Kolm {

namespace {

ImageStreamKTX image_stream_ktx;

constexpr uint32_t ktx_magic = 0x58544BAB;
constexpr uint8_t identifier[12] = {0xAB, 'K', 'T', 'X', ' ', '1', '1', 0xBB, '\r', '\n', 0x1A, '\n'};
constexpr uint32_t endianness = 0x04030201;
constexpr uint32_t max_parts = 0xFFFF;

// The one entry of a saved file: size and 24 bytes, of which the last is padding.
constexpr uint32_t orientation_size = 23;
constexpr char orientation[24] = "KTXorientation\0S=r,T=d";
constexpr uint32_t orientation_value = 15; // offset of the value behind the key

enum : uint32_t {
    GL_NONE = 0,
    GL_BYTE = 0x1400,
    GL_UNSIGNED_BYTE = 0x1401,
    GL_SHORT = 0x1402,
    GL_UNSIGNED_SHORT = 0x1403,
    GL_INT = 0x1404,
    GL_UNSIGNED_INT = 0x1405,
    GL_FLOAT = 0x1406,
    GL_HALF_FLOAT = 0x140B,
    GL_UNSIGNED_SHORT_5_6_5 = 0x8363,
    GL_UNSIGNED_SHORT_4_4_4_4_REV = 0x8365,
    GL_UNSIGNED_SHORT_1_5_5_5_REV = 0x8366,
    GL_UNSIGNED_INT_2_10_10_10_REV = 0x8368,
    GL_UNSIGNED_INT_10F_11F_11F_REV = 0x8C3B,
    GL_RED = 0x1903,
    GL_RGB = 0x1907,
    GL_RGBA = 0x1908,
    GL_LUMINANCE = 0x1909,
    GL_BGRA = 0x80E1,
    GL_RG = 0x8227,
    GL_RG_INTEGER = 0x8228,
    GL_RED_INTEGER = 0x8D94,
    GL_RGB_INTEGER = 0x8D98,
    GL_RGBA_INTEGER = 0x8D99,
    GL_ETC1_RGB8 = 0x8D64,
    GL_ETC1_SRGB8 = 0x88EE,
};

// Codes of OpenGL by format: internal format, format and type. The half float rows of ASTC stand behind rows with the
// same code, which are found first.
constexpr struct Row {
    Format format;
    uint32_t internal_format;
    uint32_t gl_format;
    uint32_t gl_type;
} gl_rows[] = {
    // clang-format off
    {FormatRi8,        0x8231, GL_RED_INTEGER,  GL_BYTE},  {FormatRu8,    0x8232, GL_RED_INTEGER,  GL_UNSIGNED_BYTE},
    {FormatRi8n,       0x8F94, GL_RED,          GL_BYTE},  {FormatRu8n,   0x8229, GL_RED,          GL_UNSIGNED_BYTE},
    {FormatRGi8,       0x8237, GL_RG_INTEGER,   GL_BYTE},  {FormatRGu8,   0x8238, GL_RG_INTEGER,   GL_UNSIGNED_BYTE},
    {FormatRGi8n,      0x8F95, GL_RG,           GL_BYTE},  {FormatRGu8n,  0x822B, GL_RG,           GL_UNSIGNED_BYTE},
    {FormatRGBi8,      0x8D8F, GL_RGB_INTEGER,  GL_BYTE},  {FormatRGBu8,  0x8D7D, GL_RGB_INTEGER,  GL_UNSIGNED_BYTE},
    {FormatRGBi8n,     0x8F96, GL_RGB,          GL_BYTE},  {FormatRGBu8n, 0x8051, GL_RGB,          GL_UNSIGNED_BYTE},
    {FormatRGBu8ns,    0x8C41, GL_RGB,          GL_UNSIGNED_BYTE},
    {FormatRGBAi8,     0x8D8E, GL_RGBA_INTEGER, GL_BYTE},  {FormatRGBAu8, 0x8D7C, GL_RGBA_INTEGER, GL_UNSIGNED_BYTE},
    {FormatRGBAi8n,    0x8F97, GL_RGBA,         GL_BYTE},  {FormatRGBAu8n, 0x8058, GL_RGBA,        GL_UNSIGNED_BYTE},
    {FormatRGBAu8ns,   0x8C43, GL_RGBA,         GL_UNSIGNED_BYTE},
    {FormatBGRAu8n,    0x93A1, GL_BGRA,         GL_UNSIGNED_BYTE},
    {FormatRi16,       0x8233, GL_RED_INTEGER,  GL_SHORT}, {FormatRu16,   0x8234, GL_RED_INTEGER,  GL_UNSIGNED_SHORT},
    {FormatRi16n,      0x8F98, GL_RED,          GL_SHORT}, {FormatRu16n,  0x822A, GL_RED,          GL_UNSIGNED_SHORT},
    {FormatRf16,       0x822D, GL_RED,          GL_HALF_FLOAT},
    {FormatRGi16,      0x8239, GL_RG_INTEGER,   GL_SHORT}, {FormatRGu16,  0x823A, GL_RG_INTEGER,   GL_UNSIGNED_SHORT},
    {FormatRGi16n,     0x8F99, GL_RG,           GL_SHORT}, {FormatRGu16n, 0x822C, GL_RG,           GL_UNSIGNED_SHORT},
    {FormatRGf16,      0x822F, GL_RG,           GL_HALF_FLOAT},
    {FormatRGBi16,     0x8D89, GL_RGB_INTEGER,  GL_SHORT}, {FormatRGBu16, 0x8D77, GL_RGB_INTEGER,  GL_UNSIGNED_SHORT},
    {FormatRGBi16n,    0x8F9A, GL_RGB,          GL_SHORT}, {FormatRGBu16n, 0x8054, GL_RGB,         GL_UNSIGNED_SHORT},
    {FormatRGBf16,     0x881B, GL_RGB,          GL_HALF_FLOAT},
    {FormatRGBAi16,    0x8D88, GL_RGBA_INTEGER, GL_SHORT}, {FormatRGBAu16, 0x8D76, GL_RGBA_INTEGER, GL_UNSIGNED_SHORT},
    {FormatRGBAi16n,   0x8F9B, GL_RGBA,         GL_SHORT}, {FormatRGBAu16n, 0x805B, GL_RGBA,       GL_UNSIGNED_SHORT},
    {FormatRGBAf16,    0x881A, GL_RGBA,         GL_HALF_FLOAT},
    {FormatRi32,       0x8235, GL_RED_INTEGER,  GL_INT},   {FormatRu32,   0x8236, GL_RED_INTEGER,  GL_UNSIGNED_INT},
    {FormatRf32,       0x822E, GL_RED,          GL_FLOAT},
    {FormatRGi32,      0x823B, GL_RG_INTEGER,   GL_INT},   {FormatRGu32,  0x823C, GL_RG_INTEGER,   GL_UNSIGNED_INT},
    {FormatRGf32,      0x8230, GL_RG,           GL_FLOAT},
    {FormatRGBi32,     0x8D83, GL_RGB_INTEGER,  GL_INT},   {FormatRGBu32, 0x8D71, GL_RGB_INTEGER,  GL_UNSIGNED_INT},
    {FormatRGBf32,     0x8815, GL_RGB,          GL_FLOAT},
    {FormatRGBAi32,    0x8D82, GL_RGBA_INTEGER, GL_INT},   {FormatRGBAu32, 0x8D70, GL_RGBA_INTEGER, GL_UNSIGNED_INT},
    {FormatRGBAf32,    0x8814, GL_RGBA,         GL_FLOAT},
    {FormatRGBAu4n,    0x8056, GL_BGRA,         GL_UNSIGNED_SHORT_4_4_4_4_REV},
    {FormatRGBu5Au1n,  0x8057, GL_BGRA,         GL_UNSIGNED_SHORT_1_5_5_5_REV},
    {FormatRu5Gu6Bu5n, 0x8D62, GL_RGB,          GL_UNSIGNED_SHORT_5_6_5},
    {FormatRGBu10Au2,  0x906F, GL_RGBA_INTEGER, GL_UNSIGNED_INT_2_10_10_10_REV},
    {FormatRGBu10Au2n, 0x8059, GL_RGBA,         GL_UNSIGNED_INT_2_10_10_10_REV},
    {FormatRGf11Bf10,  0x8C3A, GL_RGB,          GL_UNSIGNED_INT_10F_11F_11F_REV},
    {FormatBC1RGBu8n,  0x83F0, GL_RGB,  GL_NONE}, {FormatBC1RGBu8ns,  0x8C4C, GL_RGB,  GL_NONE},
    {FormatBC1RGBAu8n, 0x83F1, GL_RGBA, GL_NONE}, {FormatBC1RGBAu8ns, 0x8C4D, GL_RGBA, GL_NONE},
    {FormatBC2RGBAu8n, 0x83F2, GL_RGBA, GL_NONE}, {FormatBC2RGBAu8ns, 0x8C4E, GL_RGBA, GL_NONE},
    {FormatBC3RGBAu8n, 0x83F3, GL_RGBA, GL_NONE}, {FormatBC3RGBAu8ns, 0x8C4F, GL_RGBA, GL_NONE},
    {FormatBC4Ri8n,    0x8DBC, GL_RED,  GL_NONE}, {FormatBC4Ru8n,     0x8DBB, GL_RED,  GL_NONE},
    {FormatBC5RGi8n,   0x8DBE, GL_RG,   GL_NONE}, {FormatBC5RGu8n,    0x8DBD, GL_RG,   GL_NONE},
    {FormatBC6RGBf16s, 0x8E8E, GL_RGB,  GL_NONE}, {FormatBC6RGBf16u,  0x8E8F, GL_RGB,  GL_NONE},
    {FormatBC7RGBAu8n, 0x8E8C, GL_RGBA, GL_NONE}, {FormatBC7RGBAu8ns, 0x8E8D, GL_RGBA, GL_NONE},
    {FormatEACRi8n,    0x9271, GL_RED,  GL_NONE}, {FormatEACRu8n,     0x9270, GL_RED,  GL_NONE},
    {FormatEACRGi8n,   0x9273, GL_RG,   GL_NONE}, {FormatEACRGu8n,    0x9272, GL_RG,   GL_NONE},
    {FormatETC2RGBu8n, 0x9274, GL_RGB,  GL_NONE}, {FormatETC2RGBu8ns, 0x9275, GL_RGB,  GL_NONE},
    {FormatETC2RGBAu8n, 0x9278, GL_RGBA, GL_NONE}, {FormatETC2RGBAu8ns, 0x9279, GL_RGBA, GL_NONE},
    {FormatETC2RGBu8Au1n, 0x9276, GL_RGBA, GL_NONE}, {FormatETC2RGBu8Au1ns, 0x9277, GL_RGBA, GL_NONE},
#define ASTC(SIZE, INDEX)                                         \
    {FormatASTC##SIZE##RGBAu8n,  0x93B0 + INDEX, GL_RGBA, GL_NONE}, \
    {FormatASTC##SIZE##RGBAu8ns, 0x93D0 + INDEX, GL_RGBA, GL_NONE}, \
    {FormatASTC##SIZE##RGBAf16,  0x93B0 + INDEX, GL_RGBA, GL_NONE},
    ASTC(44, 0) ASTC(54, 1) ASTC(55, 2) ASTC(65, 3) ASTC(66, 4) ASTC(85, 5) ASTC(86, 6) ASTC(88, 7)
#undef ASTC
    // clang-format on
};

struct FormatCodes {
    uint16_t gl_internal_formats[NumFormats] = {};
    uint16_t gl_formats[NumFormats] = {};
    uint16_t gl_types[NumFormats] = {};
    constexpr FormatCodes() {
        for(const Row &row : gl_rows) {
            gl_internal_formats[row.format] = uint16_t(row.internal_format);
            gl_formats[row.format] = uint16_t(row.gl_format);
            gl_types[row.format] = uint16_t(row.gl_type);
        }
    }
};
constexpr FormatCodes codes;

// Formats of unsized internal formats by type, from GL_BYTE to GL_HALF_FLOAT.
constexpr uint32_t legacy_types = 0x87F; // bits of the types that count
constexpr Format legacy_formats[3][8] = {
    {FormatRi8n, FormatRu8n, FormatRi16n, FormatRu16n, FormatRi32, FormatRu32, FormatRf32, FormatRf16},
    {FormatRGBi8n, FormatRGBu8n, FormatRGBi16n, FormatRGBu16n, FormatRGBi32, FormatRGBu32, FormatRGBf32, FormatRGBf16},
    {FormatRGBAi8n, FormatRGBAu8n, FormatRGBAi16n, FormatRGBAu16n, FormatRGBAi32, FormatRGBAu32, FormatRGBAf32,
     FormatRGBAf16},
};

constexpr size_t get_padding(size_t size) { return (4 - (size & 3)) & 3; }

bool is_identifier(const uint8_t *data) {
    if(memcmp(data, identifier, sizeof(identifier)) == 0) return true;
    for(uint32_t i = 0; i < sizeof(identifier); i++) {
        if(data[i] != identifier[i ^ 3]) return false;
    }
    return true;
}

// Walks the entries and tells whether one says that the first row is the upper one.
bool read_key_values(const Array<uint8_t> &data, bool &top_down) {
    const size_t end = data.size();
    for(size_t pos = 0; pos < end;) {
        uint32_t size = 0;
        if(end - pos < sizeof(size)) return false;
        memcpy(&size, data.get() + pos, sizeof(size));
        pos += sizeof(size);
        const size_t padded = size_t(size) + get_padding(size);
        if(padded > end - pos) return false;
        const char *entry = reinterpret_cast<const char *>(data.get() + pos);
        if(size > orientation_value &&
           (memcmp(entry, "KTXOrientation", 15) == 0 || memcmp(entry, "KTXorientation", 15) == 0)) {
            for(uint32_t i = orientation_value; i + 3 <= size; i++) {
                if(memcmp(entry + i, "T=d", 3) == 0) top_down = true;
            }
        }
        pos += padded;
    }
    return true;
}

} // namespace

ImageStreamKTX::ImageStreamKTX() : ImageStream(FlagLoadSave, "ktx", ktx_magic) {}

Format ImageStreamKTX::find_format(const Header &header) {
    const uint32_t internal_format = header.gl_internal_format;
    for(uint32_t i = 1; i < NumFormats; i++) {
        if(internal_format && codes.gl_internal_formats[i] == internal_format) return Format(i);
    }
    if(internal_format == GL_RGB || internal_format == GL_RGBA || internal_format == GL_LUMINANCE) {
        const uint32_t type = header.gl_type - GL_BYTE;
        if(type <= GL_HALF_FLOAT - GL_BYTE && (legacy_types & (1u << type))) {
            const uint32_t row = (internal_format == GL_RGBA) ? 2 : (internal_format == GL_RGB) ? 1 : 0;
            return legacy_formats[row][min(type, 7u)];
        }
    }
    if(internal_format == GL_ETC1_RGB8) return FormatETC2RGBu8n;
    if(internal_format == GL_ETC1_SRGB8) return FormatETC2RGBu8ns;
    return FormatUnknown;
}

bool ImageStreamKTX::create(Stream &stream, Image &image, Image::Flags flags, Header &header) {
    uint8_t data[sizeof(identifier)];
    if(stream.read(data, sizeof(data)) != sizeof(data) || !is_identifier(data)) {
        Log::printf(Log::Error, "ImageStreamKTX::create(): invalid identifier\n");
        return false;
    }
    bool status = true;
    const uint32_t order = stream.readu32(&status);
    if(!status || order != endianness) {
        Log::printf(Log::Error, "ImageStreamKTX::create(): unsupported endianness 0x%08x\n", order);
        return false;
    }
    static_assert(sizeof(header) == 48);
    if(stream.read(&header, sizeof(header)) != sizeof(header)) {
        Log::printf(Log::Error, "ImageStreamKTX::create(): can't read header\n");
        return false;
    }
    const Format format = find_format(header);
    if(format == FormatUnknown) {
        Log::printf(Log::Error, "ImageStreamKTX::create(): unsupported internal format 0x%04x\n",
                    header.gl_internal_format);
        return false;
    }

    header.num_mipmaps = max(header.num_mipmaps, 1u);
    Image::Type type = Image::Type2D;
    Size size(header.pixel_width, max(header.pixel_height, 1u), 1);
    uint32_t layers = max(header.num_layers, 1u);
    if(header.num_faces == 6) {
        type = Image::TypeCube;
        size.height = size.width;
    } else if(header.pixel_height && header.pixel_depth) {
        type = Image::Type3D;
        size.depth = header.pixel_depth;
    }
    const bool invalid = (size.width == 0 || size.depth > max_parts || layers > max_parts);
    if(invalid || (type == Image::Type3D && layers > 1)) {
        Log::printf(Log::Error, "ImageStreamKTX::create(): invalid size %ux%ux%u l%u\n", size.width, size.height,
                    size.depth, layers);
        return false;
    }
    const Image::Flags chain = (header.num_mipmaps > 1) ? Image::FlagMipmaps : Image::FlagNone;
    if(!image.create(type, format, size, layers, chain | Image::FlagNoAllocate)) return false;
    if(flags & Image::FlagNoAllocate) return true;
    uint64_t bytes = 0;
    for(uint32_t m = 0; m < min(header.num_mipmaps, image.getMipmaps()); m++) bytes += image.getMipmapSize(m);
    if(!isPlausible(stream, bytes * image.getFaces() * layers, 1)) {
        image.clear();
        Log::printf(Log::Error, "ImageStreamKTX::create(): invalid size %ux%ux%u l%u\n", size.width, size.height,
                    size.depth, layers);
        return false;
    }
    return image.create(type, format, size, layers, chain | flags);
}

bool ImageStreamKTX::info(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    Header header;
    if(!create(stream, image, Image::FlagNoAllocate, header)) {
        Log::printf(Log::Error, "ImageStreamKTX::info(): can't create image\n");
        return false;
    }
    return true;
}

// Reads what follows the header. Levels that the file lacks stay as they are.
bool ImageStreamKTX::read(Stream &stream, Image &image, const Header &header) {
    bool top_down = false;
    Array<uint8_t> key_values;
    if(!stream.readArray(key_values, header.key_values_size) || !read_key_values(key_values, top_down)) {
        Log::printf(Log::Error, "ImageStreamKTX::load(): can't read key value size\n");
        return false;
    }

    const uint32_t mipmaps = min(header.num_mipmaps, image.getMipmaps());
    const bool single = image.isCubeType() && header.num_layers == 0;
    const uint64_t parts = single ? 1 : uint64_t(image.getLayers()) * image.getFaces();
    for(uint32_t m = 0; m < mipmaps; m++) {
        bool status = true;
        const uint64_t image_size = stream.readu32(&status);
        const bool tight = (image_size == image.getMipmapSize(m) * parts);
        const bool padded = (image_size == image.getMipmapSize(m, 4) * parts);
        if(!status || (!tight && !padded)) {
            Log::printf(Log::Error, "ImageStreamKTX::load(): invalid image size\n");
            return false;
        }
        const size_t stride = image.getStride(m);
        const size_t size = image.getMipmapSize(m);
        const size_t padding = tight ? get_padding(size) : 0;
        uint8_t zeros[4];
        for(uint32_t l = 0; l < image.getLayers() && status; l++) {
            for(uint32_t f = 0; f < image.getFaces() && status; f++) {
                uint8_t *data = image.getData(Slice(Face(f), Layer(l), Mipmap(m)));
                if(tight) {
                    status = (stream.read(data, size) == size);
                } else {
                    const size_t row_padding = get_padding(stride);
                    for(size_t i = 0; i < size && status; i += stride) {
                        status = (stream.read(data + i, stride) == stride);
                        status = status && stream.read(zeros, row_padding) == row_padding;
                    }
                }
                // Files may end with the last pixel.
                const bool last = (m + 1 == mipmaps && l + 1 == image.getLayers() && f + 1 == image.getFaces());
                if(padding && status) status = (stream.read(zeros, padding) == padding) || last;
            }
        }
        if(!status) {
            Log::printf(Log::Error, "ImageStreamKTX::load(): can't read image\n");
            return false;
        }
    }
    if(image.is2DType() && !image.isBlockFormat() && !top_down) return image.flipY();
    return true;
}

bool ImageStreamKTX::load(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    Header header;
    if(!create(stream, image, Image::FlagNoClear, header)) {
        Log::printf(Log::Error, "ImageStreamKTX::load(): can't create image\n");
        return false;
    }
    if(header.num_mipmaps < image.getMipmaps()) memset(image.getData(), 0, image.getDataSize());
    if(!read(stream, image, header)) {
        memset(image.getData(), 0, image.getDataSize());
        return false;
    }
    return true;
}

bool ImageStreamKTX::save(Stream &stream, const Image &image, Image::Flags, uint32_t) {
    const Format format = image.getFormat();
    if(!image.isColorFormat()) {
        Log::printf(Log::Error, "ImageStreamKTX::save(): can't save %s image\n", image.getDescription().get());
        return false;
    }
    if(codes.gl_internal_formats[format] == 0) {
        Log::printf(Log::Error, "ImageStreamKTX::save(): unsupported format %s\n", image.getFormatName());
        return false;
    }
    const bool block = image.isBlockFormat();
    const bool single = image.isCubeType() && !image.hasLayers();
    const uint64_t parts = single ? 1 : uint64_t(image.getLayers()) * image.getFaces();
    if(image.getMipmapSize(0, 4) * parts > 0xFFFFFFFF) {
        Log::printf(Log::Error, "ImageStreamKTX::save(): can't save %s image\n", image.getDescription().get());
        return false;
    }

    Header header = {};
    header.gl_type = codes.gl_types[format];
    header.gl_size = !image.isPixelFormat() ? 1 : image.is32BitFormat() ? 4 : image.is16BitFormat() ? 2 : 1;
    header.gl_format = block ? uint32_t(GL_NONE) : codes.gl_formats[format];
    header.gl_internal_format = codes.gl_internal_formats[format];
    header.gl_base_internal_format = codes.gl_formats[format];
    header.pixel_width = image.getWidth();
    header.pixel_height = image.getHeight();
    header.pixel_depth = image.is3DType() ? image.getDepth() : 0;
    header.num_layers = image.hasLayers() ? image.getLayers() : 0;
    header.num_faces = image.getFaces();
    header.num_mipmaps = image.getMipmaps();
    header.key_values_size = block ? 0 : sizeof(orientation_size) + sizeof(orientation);
    bool status = stream.write(identifier, sizeof(identifier)) == sizeof(identifier) && stream.writeu32(endianness) &&
                  stream.write(&header, sizeof(header)) == sizeof(header);
    if(!block) {
        status = status && stream.writeu32(orientation_size);
        status = status && stream.write(orientation, sizeof(orientation)) == sizeof(orientation);
    }
    if(!status) {
        Log::printf(Log::Error, "ImageStreamKTX::save(): can't write header\n");
        return false;
    }

    const uint8_t zeros[4] = {};
    for(uint32_t m = 0; m < image.getMipmaps(); m++) {
        const size_t stride = image.getStride(m);
        const size_t size = image.getMipmapSize(m);
        const size_t padding = get_padding(stride);
        const size_t step = padding ? stride : size;
        if(!stream.writeu32(uint32_t(image.getMipmapSize(m, 4) * parts))) {
            Log::printf(Log::Error, "ImageStreamKTX::save(): can't write image size\n");
            return false;
        }
        for(uint32_t l = 0; l < image.getLayers(); l++) {
            for(uint32_t f = 0; f < image.getFaces(); f++) {
                const uint8_t *data = image.getData(Slice(Face(f), Layer(l), Mipmap(m)));
                for(size_t i = 0; i < size; i += step) {
                    if(stream.write(data + i, step) != step) {
                        Log::printf(Log::Error, "ImageStreamKTX::save(): can't write image\n");
                        return false;
                    }
                    if(stream.write(zeros, padding) != padding) {
                        Log::printf(Log::Error, "ImageStreamKTX::load(): can't write padding\n");
                        return false;
                    }
                }
            }
        }
    }
    return true;
}

} // namespace Kolm
