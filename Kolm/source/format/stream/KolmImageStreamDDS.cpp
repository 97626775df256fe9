// DDS files. The names of fields and constants are the published ones.

#include "KolmImageStreamDDS.h"

#include "KolmLog.h"
#include "KolmStream.h"

namespace Kolm {

namespace {

ImageStreamDDS image_stream_dds;

enum : uint32_t {
    DDS_MAGIC = 0x20534444,
    DDSD_CAPS = 0x1,
    DDSD_HEIGHT = 0x2,
    DDSD_WIDTH = 0x4,
    DDSD_PITCH = 0x8,
    DDSD_PIXELFORMAT = 0x1000,
    DDSD_MIPMAPCOUNT = 0x20000,
    DDSD_LINEARSIZE = 0x80000,
    DDSD_DEPTH = 0x800000,
    DDPF_FOURCC = 0x4,
    DDSCAPS_COMPLEX = 0x8,
    DDSCAPS_TEXTURE = 0x1000,
    DDSCAPS_MIPMAP = 0x400000,
    DDSCAPS2_CUBEMAP = 0x200,
    DDSCAPS2_CUBEMAP_ALLFACES = 0xFC00,
    DDSCAPS2_VOLUME = 0x200000,
    DDS_DIMENSION_TEXTURE2D = 3,
    DDS_DIMENSION_TEXTURE3D = 4,
    DDS_MISC_TEXTURECUBE = 4,
};

constexpr uint32_t max_mipmaps = 32;
constexpr uint32_t max_parts = 0xFFFF;

constexpr uint32_t fourcc(const char (&s)[5]) {
    return uint32_t(uint8_t(s[0])) | (uint32_t(uint8_t(s[1])) << 8) | (uint32_t(uint8_t(s[2])) << 16) |
           (uint32_t(uint8_t(s[3])) << 24);
}

constexpr struct {
    uint32_t code;
    Format format;
} fourcc_formats[] = {
    {fourcc("DXT1"), FormatBC1RGBAu8n},
    {fourcc("DXT3"), FormatBC2RGBAu8n},
    {fourcc("DXT5"), FormatBC3RGBAu8n},
    {fourcc("ATI1"), FormatBC4Ru8n},
    {fourcc("BC4U"), FormatBC4Ru8n},
    {fourcc("BC4S"), FormatBC4Ri8n},
    {fourcc("ATI2"), FormatBC5RGu8n},
    {fourcc("BC5U"), FormatBC5RGu8n},
    {fourcc("BC5S"), FormatBC5RGi8n},
    {34, FormatRGu16n},
    {36, FormatRGBAu16n},
    {111, FormatRf16},
    {112, FormatRGf16},
    {113, FormatRGBAf16},
    {114, FormatRf32},
    {115, FormatRGf32},
    {116, FormatRGBAf32},
};

constexpr struct {
    uint32_t bits;
    uint32_t masks[4];
    Format format;
} mask_formats[] = {
    {8, {0xFF, 0, 0, 0}, FormatRu8n},
    {8, {0xFF, 0xFF, 0xFF, 0xFF}, FormatRu8n},
    {8, {0, 0, 0, 0xFF}, FormatRu8n},
    {16, {0xFFFF, 0, 0, 0}, FormatRu16n},
    {16, {0xFF, 0xFF00, 0, 0}, FormatRGu8n},
    {16, {0xFF, 0xFF00, 0xFF, 0xFF00}, FormatRGu8n},
    {16, {0xFF, 0, 0, 0xFF00}, FormatRGu8n},
    {16, {0xF00, 0xF0, 0xF, 0xF000}, FormatRGBAu4n},
    {16, {0xF00, 0xF0, 0xF, 0}, FormatRGBAu4n},
    {16, {0x7C00, 0x3E0, 0x1F, 0x8000}, FormatRGBu5Au1n},
    {16, {0xF800, 0x7E0, 0x1F, 0}, FormatRu5Gu6Bu5n},
    {24, {0xFF0000, 0xFF00, 0xFF, 0}, FormatRGBu8n},
    {24, {0xFF, 0xFF00, 0xFF0000, 0}, FormatRGBu8n},
    {32, {0xFFFF, 0xFFFF0000, 0, 0}, FormatRGu16n},
    {32, {0xFF0000, 0xFF00, 0xFF, 0}, FormatRGBAu8n},
    {32, {0xFF0000, 0xFF00, 0xFF, 0xFF000000}, FormatRGBAu8n},
    {32, {0xFF, 0xFF00, 0xFF0000, 0}, FormatRGBAu8n},
    {32, {0xFF, 0xFF00, 0xFF0000, 0xFF000000}, FormatRGBAu8n},
    {32, {0x3FF00000, 0xFFC00, 0x3FF, 0xC0000000}, FormatRGBu10Au2n},
    {32, {0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000}, FormatRGBu10Au2n},
};

// DXGI codes by format, 0 where there is none. Rows that no code names hold that of a row with a higher number, which
// wins when a file is read: RGB rows of 8 and 16 bits that of RGBA, BC1 without alpha that of BC1 with alpha.
constexpr struct {
    Format format;
    uint8_t code;
} dxgi_rows[] = {
    // clang-format off
    {FormatRi8, 64},       {FormatRu8, 62},        {FormatRi8n, 63},      {FormatRu8n, 61},
    {FormatRGi8, 52},      {FormatRGu8, 50},       {FormatRGi8n, 51},     {FormatRGu8n, 49},
    {FormatRGBi8, 32},     {FormatRGBu8, 30},      {FormatRGBi8n, 31},    {FormatRGBu8n, 28},    {FormatRGBu8ns, 29},
    {FormatRGBAi8, 32},    {FormatRGBAu8, 30},     {FormatRGBAi8n, 31},   {FormatRGBAu8n, 28},   {FormatRGBAu8ns, 29},
    {FormatBGRAu8n, 87},   {FormatBGRAu8ns, 91},
    {FormatRi16, 59},      {FormatRu16, 57},       {FormatRi16n, 58},     {FormatRu16n, 56},     {FormatRf16, 54},
    {FormatRGi16, 38},     {FormatRGu16, 36},      {FormatRGi16n, 37},    {FormatRGu16n, 35},    {FormatRGf16, 34},
    {FormatRGBi16, 14},    {FormatRGBu16, 12},     {FormatRGBi16n, 13},   {FormatRGBu16n, 11},   {FormatRGBf16, 10},
    {FormatRGBAi16, 14},   {FormatRGBAu16, 12},    {FormatRGBAi16n, 13},  {FormatRGBAu16n, 11},  {FormatRGBAf16, 10},
    {FormatRi32, 43},      {FormatRu32, 42},       {FormatRf32, 41},
    {FormatRGi32, 18},     {FormatRGu32, 17},      {FormatRGf32, 16},
    {FormatRGBi32, 8},     {FormatRGBu32, 7},      {FormatRGBf32, 6},
    {FormatRGBAi32, 4},    {FormatRGBAu32, 3},     {FormatRGBAf32, 2},
    {FormatRGBAu4n, 115},  {FormatRGBu5Au1n, 86},  {FormatRu5Gu6Bu5n, 85},
    {FormatRGBu10Au2, 25}, {FormatRGBu10Au2n, 24}, {FormatRGf11Bf10, 26},
    {FormatBC1RGBu8n, 71}, {FormatBC1RGBu8ns, 72}, {FormatBC1RGBAu8n, 71}, {FormatBC1RGBAu8ns, 72},
    {FormatBC2RGBAu8n, 74}, {FormatBC2RGBAu8ns, 75}, {FormatBC3RGBAu8n, 77}, {FormatBC3RGBAu8ns, 78},
    {FormatBC4Ri8n, 81},   {FormatBC4Ru8n, 80},    {FormatBC5RGi8n, 84},  {FormatBC5RGu8n, 83},
    {FormatBC6RGBf16s, 96}, {FormatBC6RGBf16u, 95}, {FormatBC7RGBAu8n, 98}, {FormatBC7RGBAu8ns, 99},
    {FormatASTC44RGBAu8n, 134}, {FormatASTC44RGBAu8ns, 135}, {FormatASTC54RGBAu8n, 138}, {FormatASTC54RGBAu8ns, 139},
    {FormatASTC55RGBAu8n, 142}, {FormatASTC55RGBAu8ns, 143}, {FormatASTC65RGBAu8n, 146}, {FormatASTC65RGBAu8ns, 147},
    {FormatASTC66RGBAu8n, 150}, {FormatASTC66RGBAu8ns, 151}, {FormatASTC85RGBAu8n, 154}, {FormatASTC85RGBAu8ns, 155},
    {FormatASTC86RGBAu8n, 158}, {FormatASTC86RGBAu8ns, 159}, {FormatASTC88RGBAu8n, 162}, {FormatASTC88RGBAu8ns, 163},
    {FormatDu16, 55},      {FormatDu24Su8, 45},    {FormatDf32, 40},      {FormatDf32Su8, 20},
    // clang-format on
};

struct FormatCodes {
    uint8_t codes[NumFormats] = {};
    constexpr FormatCodes() {
        for(const auto &row : dxgi_rows) codes[row.format] = row.code;
    }
};
constexpr FormatCodes dxgi_formats;

Format find_dxgi_format(uint32_t code) {
    Format ret = FormatUnknown;
    for(uint32_t i = 0; i < NumFormats; i++) {
        if(code && dxgi_formats.codes[i] == code) ret = Format(i);
    }
    return ret;
}

// Byte of a mask in a pixel.
int32_t get_component(uint32_t mask) {
    switch(mask) {
    case 0xFF: return 0;
    case 0xFF00: return 1;
    case 0xFF0000: return 2;
    case 0xFF000000: return 3;
    }
    return -1;
}

} // namespace

// What a file says about its data beside the image.
struct ImageStreamDDS::Description {
    Header header = {};
    bool has_header10 = false;
    uint32_t mipmaps = 0; // levels in the file
};

ImageStreamDDS::ImageStreamDDS() : ImageStream(FlagLoadSave, "dds", DDS_MAGIC) {}

Format ImageStreamDDS::get_mask_format(const PixelFormat &pf) {
    for(const auto &row : mask_formats) {
        if(row.bits == pf.dwBitCount && row.masks[0] == pf.dwRBitMask && row.masks[1] == pf.dwGBitMask &&
           row.masks[2] == pf.dwBBitMask && row.masks[3] == pf.dwABitMask)
            return row.format;
    }
    Log::printf(Log::Error, "ImageStreamDDS::create(): unsupported format %u 0x%08x 0x%08x 0x%08x 0x%08x\n",
                pf.dwBitCount, pf.dwRBitMask, pf.dwGBitMask, pf.dwBBitMask, pf.dwABitMask);
    return FormatUnknown;
}

bool ImageStreamDDS::create(Stream &stream, Image &image, Image::Flags flags, Description &desc) {
    Header &header = desc.header;
    static_assert(sizeof(header) == 124 && sizeof(header.ddspf) == 32);
    bool status = true;
    const uint32_t magic = stream.readu32(&status);
    if(!status || magic != DDS_MAGIC) {
        Log::printf(Log::Error, "ImageStreamDDS::create(): invalid magic 0x%08x\n", magic);
        return false;
    }
    if(stream.read(&header, sizeof(header)) != sizeof(header) || header.dwSize != sizeof(header)) {
        Log::printf(Log::Error, "ImageStreamDDS::create(): can't read header\n");
        return false;
    }

    Header10 header10 = {};
    Format format = FormatUnknown;
    const PixelFormat &pf = header.ddspf;
    if(!(pf.dwFlags & DDPF_FOURCC)) {
        format = get_mask_format(pf);
        if(format == FormatUnknown) return false;
    } else if(pf.dwFourCC == fourcc("DX10")) {
        desc.has_header10 = true;
        if(stream.read(&header10, sizeof(header10)) != sizeof(header10)) {
            Log::printf(Log::Error, "ImageStreamDDS::create(): can't read header10\n");
            return false;
        }
        format = find_dxgi_format(header10.dwDXGIFormat);
        if(format == FormatUnknown) {
            Log::printf(Log::Error, "ImageStreamDDS::create(): unsupported format %u\n", header10.dwDXGIFormat);
            return false;
        }
    } else {
        for(const auto &row : fourcc_formats) {
            if(row.code == pf.dwFourCC) format = row.format;
        }
        if(format == FormatUnknown) {
            Log::printf(Log::Error, "ImageStreamDDS::create(): unsupported format 0x%08x\n", pf.dwFourCC);
            return false;
        }
    }

    Image::Type type = Image::Type2D;
    Size size(header.dwWidth, header.dwHeight);
    uint32_t layers = 1;
    if(desc.has_header10) {
        if(header10.dwResourceDimension == DDS_DIMENSION_TEXTURE3D)
            type = Image::Type3D;
        else if(header10.dwResourceDimension == DDS_DIMENSION_TEXTURE2D && (header10.dwMiscFlag & DDS_MISC_TEXTURECUBE))
            type = Image::TypeCube;
        if(type != Image::Type3D) layers = max(header10.dwArraySize, 1u);
    } else if(header.dwCaps2 & DDSCAPS2_CUBEMAP) {
        type = Image::TypeCube;
    } else if(header.dwCaps2 & DDSCAPS2_VOLUME) {
        type = Image::Type3D;
    }
    if(type == Image::TypeCube) size.height = size.width;
    if(type == Image::Type3D) size.depth = max(header.dwDepth, 1u);

    desc.mipmaps = max(header.dwMipMapCount, 1u);
    const bool invalid = (size.width == 0 || size.height == 0 || size.depth > max_parts || layers > max_parts);
    if(invalid || desc.mipmaps > max_mipmaps) {
        Log::printf(Log::Error, "ImageStreamDDS::create(): invalid size %ux%ux%u l%u m%u\n", size.width, size.height,
                    size.depth, layers, desc.mipmaps);
        return false;
    }
    const Image::Flags chain = (desc.mipmaps > 1) ? Image::FlagMipmaps : Image::FlagNone;
    if(!image.create(type, format, size, layers, chain | Image::FlagNoAllocate)) return false;
    if(flags & Image::FlagNoAllocate) return true;
    uint64_t bytes = 0;
    for(uint32_t m = 0; m < min(desc.mipmaps, image.getMipmaps()); m++) bytes += image.getMipmapSize(m);
    if(!isPlausible(stream, bytes * image.getFaces() * layers, 1)) {
        image.clear();
        Log::printf(Log::Error, "ImageStreamDDS::create(): invalid size %ux%ux%u l%u m%u\n", size.width, size.height,
                    size.depth, layers, desc.mipmaps);
        return false;
    }
    return image.create(type, format, size, layers, chain | flags);
}

// Brings the channels of an old header into the order of the format.
void ImageStreamDDS::restore_components(Image &image, const PixelFormat &pf) {
    const uint32_t components = image.getComponents();
    const uint32_t masks[4] = {pf.dwRBitMask, pf.dwGBitMask, pf.dwBBitMask, pf.dwABitMask};
    int32_t positions[4];
    bool same = true;
    for(uint32_t c = 0; c < components; c++) {
        positions[c] = get_component(masks[c]);
        if(positions[c] >= int32_t(components)) positions[c] = -1;
        same &= (positions[c] == int32_t(c));
    }
    if(same) return;
    uint8_t *data = image.getData();
    const size_t size = image.getDataSize();
    for(size_t i = 0; i < size; i += components) {
        uint8_t pixel[4];
        for(uint32_t c = 0; c < components; c++)
            pixel[c] = (positions[c] >= 0) ? data[i + size_t(positions[c])] : (c == 3) ? 255 : 0;
        for(uint32_t c = 0; c < components; c++) data[i + c] = pixel[c];
    }
}

bool ImageStreamDDS::info(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    Description desc;
    if(!create(stream, image, Image::FlagNoAllocate, desc)) {
        Log::printf(Log::Error, "ImageStreamDDS::info(): can't create image\n");
        return false;
    }
    return true;
}

bool ImageStreamDDS::load(Stream &stream, Image &image, Image::Flags, uint32_t, Async *) {
    Description desc;
    if(!create(stream, image, Image::FlagNoClear, desc)) {
        Log::printf(Log::Error, "ImageStreamDDS::load(): can't create image\n");
        return false;
    }
    bool status = true;
    const uint32_t mipmaps = image.getMipmaps();
    if(desc.mipmaps == mipmaps) {
        const size_t size = image.getDataSize();
        const size_t bytes = stream.read(image.getData(), size);
        status = (bytes == size);
        memset(image.getData() + bytes, 0, size - bytes);
    } else {
        // Levels that the file lacks are zero, and levels that the image lacks are dropped.
        memset(image.getData(), 0, image.getDataSize());
        for(uint32_t l = 0; l < image.getLayers() && status; l++) {
            for(uint32_t f = 0; f < image.getFaces() && status; f++) {
                for(uint32_t m = 0; m < desc.mipmaps && status; m++) {
                    const size_t size = image.getMipmapSize(min(m, mipmaps - 1));
                    if(m < mipmaps)
                        status = (stream.read(image.getData(Slice(Face(f), Layer(l), Mipmap(m))), size) == size);
                    else
                        status = stream.seekCur(int64_t(size));
                }
            }
        }
    }
    if(!status) {
        Log::printf(Log::Error, "ImageStreamDDS::load(): can't read image\n");
        return false;
    }
    const Format format = image.getFormat();
    if(!desc.has_header10 && (format == FormatRGBAu8n || format == FormatRGBu8n))
        restore_components(image, desc.header.ddspf);
    return true;
}

bool ImageStreamDDS::save(Stream &stream, const Image &image, Image::Flags, uint32_t) {
    if(!image.isColorFormat()) {
        Log::printf(Log::Error, "ImageStreamDDS::save(): can't save %s image\n", image.getDescription().get());
        return false;
    }
    const uint8_t code = dxgi_formats.codes[image.getFormat()];
    if(code == 0 || (image.isPlainFormat() && image.getComponents() == 3 && !image.is32BitFormat())) {
        Log::printf(Log::Error, "ImageStreamDDS::save(): unsupported format %s\n", image.getFormatName());
        return false;
    }

    Header header = {};
    header.dwSize = sizeof(header);
    header.dwFlags = DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH | DDSD_PIXELFORMAT;
    header.dwWidth = image.getWidth();
    header.dwHeight = image.getHeight();
    if(image.isBlockFormat()) {
        header.dwFlags |= DDSD_LINEARSIZE;
        header.dwPitchOrLinearSize = uint32_t(image.getDataSize());
    } else {
        header.dwFlags |= DDSD_PITCH;
        header.dwPitchOrLinearSize = uint32_t(image.getStride());
    }
    header.dwMipMapCount = image.getMipmaps();
    header.ddspf.dwSize = sizeof(header.ddspf);
    header.ddspf.dwFlags = DDPF_FOURCC;
    header.ddspf.dwFourCC = fourcc("DX10");
    header.dwCaps = DDSCAPS_TEXTURE;
    if(image.hasMipmaps()) {
        header.dwFlags |= DDSD_MIPMAPCOUNT;
        header.dwCaps |= DDSCAPS_COMPLEX | DDSCAPS_MIPMAP;
    }
    Header10 header10 = {};
    header10.dwDXGIFormat = code;
    header10.dwResourceDimension = DDS_DIMENSION_TEXTURE2D;
    header10.dwArraySize = image.getLayers();
    if(image.isCubeType()) {
        header.dwCaps2 = DDSCAPS2_CUBEMAP | DDSCAPS2_CUBEMAP_ALLFACES;
        header10.dwMiscFlag = DDS_MISC_TEXTURECUBE;
    } else if(image.is3DType()) {
        header.dwFlags |= DDSD_DEPTH;
        header.dwDepth = image.getDepth();
        header.dwCaps2 = DDSCAPS2_VOLUME;
        header10.dwResourceDimension = DDS_DIMENSION_TEXTURE3D;
    }

    if(!stream.writeu32(DDS_MAGIC)) {
        Log::printf(Log::Error, "ImageStreamDDS::save(): can't write magic\n");
        return false;
    }
    if(stream.write(&header, sizeof(header)) != sizeof(header)) {
        Log::printf(Log::Error, "ImageStreamDDS::save(): can't write header\n");
        return false;
    }
    if(stream.write(&header10, sizeof(header10)) != sizeof(header10)) {
        Log::printf(Log::Error, "ImageStreamDDS::save(): can't write header10\n");
        return false;
    }
    if(stream.write(image.getData(), image.getDataSize()) != image.getDataSize()) {
        Log::printf(Log::Error, "ImageStreamDDS::save(): can't write image\n");
        return false;
    }
    return true;
}

} // namespace Kolm
