// Life, layout and pixel moves of Image, and the way to the file handlers. Conversions stand in KolmImageConvert.cpp.

#include "KolmImage.h"

#include "KolmFile.h"
#include "KolmImageStream.h"
#include "KolmLog.h"
#include "KolmPixel.h"
#include "KolmSource.h"

namespace Kolm {

namespace {

constexpr size_t guard_size = sizeof(uint64_t);
constexpr uint32_t max_parts = 0xFFFF;       // depth and layers are stored in 16 bits
constexpr size_t max_size = size_t(1) << 40; // of pixels in memory: more than an allocation can give

constexpr const char *type_names[Image::NumTypes] = {"Unknown", "2D", "3D", "Cube"};

uint32_t div_up(uint32_t a, uint32_t b) { return a / b + (a % b != 0); }

size_t align_pitch(size_t x, uint32_t a) { return is_pow2(a) ? align_up(x, size_t(a)) : ((x + a - 1) / a) * a; }

uint32_t get_chain(uint32_t extent) { return 32 - uint32_t(__builtin_clz(extent)); }

// The guard word is not aligned.
void write_guard(uint8_t *data, size_t size) {
    const uint64_t guard = size;
    memcpy(data + size, &guard, guard_size);
}
bool check_guard(const uint8_t *data, size_t size) {
    uint64_t guard;
    memcpy(&guard, data + size, guard_size);
    return guard == size;
}

// Turns clockwise; width and height are those of the source.
void do_rotate(uint8_t *dst, const uint8_t *src, uint32_t width, uint32_t height, uint32_t pixel_size, uint32_t turns) {
    KOLM_ASSERT(turns < 4 && "Image::rotate(): unknown angle");
    with_pixel(pixel_size, [=](auto pixel) {
        using Type = decltype(pixel);
        Type *d = reinterpret_cast<Type *>(dst);
        const Type *s = reinterpret_cast<const Type *>(src);
        const size_t w = width;
        const size_t h = height;
        for(size_t y = 0; y < h; y++) {
            for(size_t x = 0; x < w; x++) {
                switch(turns) {
                case 0: d[w * y + x] = s[w * y + x]; break;
                case 1: d[h * x + (h - 1 - y)] = s[w * y + x]; break;
                case 2: d[w * (h - 1 - y) + (w - 1 - x)] = s[w * y + x]; break;
                case 3: d[h * (w - 1 - x) + y] = s[w * y + x]; break;
                }
            }
        }
    });
}

} // namespace

Image::Image(const char *name, Flags flags, uint32_t offset) { load(name, flags, offset); }
Image::Image(Stream &stream, Flags flags, uint32_t offset) { load(stream, flags, offset); }
Image::Image(Type type, Format format, const Size &size, Flags flags) { create(type, format, size, 1, flags); }
Image::Image(Type type, Format format, const Size &size, uint32_t layers, Flags flags) {
    create(type, format, size, layers, flags);
}

Image::Image(const Image &image) { *this = image; }
Image::Image(Image &&image) noexcept { swap(image); }
Image::~Image() { clear(); }

Image &Image::operator=(const Image &image) {
    if(this == &image) return *this;
    clear();
    if(image.image_data) {
        const size_t size = image.getDataSize();
        KOLM_ASSERT(check_guard(image.image_data, size) && "Image::copy(): invalid data size");
        image_data = static_cast<uint8_t *>(Allocator::allocate(image.image_data, size + guard_size));
        if(image_data == nullptr) {
            Log::printf(Log::Error, "Image::copy(): can't allocate memory\n");
            return *this;
        }
    }
    image_type = image.image_type;
    image_format = image.image_format;
    image_width = image.image_width;
    image_height = image.image_height;
    image_depth = image.image_depth;
    image_faces = image.image_faces;
    image_layers = image.image_layers;
    image_mipmaps = image.image_mipmaps;
    if(image.image_meta) image_meta = new String(*image.image_meta);
    return *this;
}

Image &Image::operator=(Image &&image) noexcept {
    if(this == &image) return *this;
    clear();
    swap(image);
    return *this;
}

void Image::swap(Image &image) {
    Kolm::swap(image_type, image.image_type);
    Kolm::swap(image_format, image.image_format);
    Kolm::swap(image_width, image.image_width);
    Kolm::swap(image_height, image.image_height);
    Kolm::swap(image_depth, image.image_depth);
    Kolm::swap(image_faces, image.image_faces);
    Kolm::swap(image_layers, image.image_layers);
    Kolm::swap(image_mipmaps, image.image_mipmaps);
    Kolm::swap(image_meta, image.image_meta);
    Kolm::swap(image_data, image.image_data);
}

void Image::clear() {
    if(image_data) {
        const size_t size = getDataSize();
        KOLM_ASSERT(check_guard(image_data, size) && "Image::clear(): memory corruption");
        Allocator::free(image_data, size + guard_size);
    }
    delete image_meta;
    image_type = TypeUnknown;
    image_format = FormatUnknown;
    image_width = 0;
    image_height = 0;
    image_depth = 0;
    image_faces = 0;
    image_layers = 0;
    image_mipmaps = 0;
    image_meta = nullptr;
    image_data = nullptr;
}

bool Image::create(Type type, Format format, const Size &size, uint32_t layers, Flags flags) {
    KOLM_ASSERT(type > TypeUnknown && type < NumTypes && "Image::create(): invalid image type");
    KOLM_ASSERT(format > FormatUnknown && format < NumFormats && "Image::create(): invalid image format");
    KOLM_ASSERT(size.width && size.height && size.depth && layers && "Image::create(): invalid image parameters");

    const bool allocate = !(flags & FlagNoAllocate);
    const bool mipmaps = (flags & FlagMipmaps);
    if(image_type == type && image_format == format && image_width == size.width && image_height == size.height &&
       image_depth == size.depth && image_layers == layers && mipmaps == hasMipmaps() && allocate == isAllocated()) {
        if(allocate && !(flags & FlagNoClear)) memset(image_data, 0, getDataSize());
        return true;
    }

    clear();
    const uint32_t depth = (type == Type3D) ? size.depth : 1;
    const uint32_t parts = (type == Type3D) ? 1 : layers;
    if(depth > max_parts || parts > max_parts) {
        Log::printf(Log::Error, "Image::create(): invalid depth %u or layers %u\n", depth, parts);
        return false;
    }
    image_type = type;
    image_format = format;
    image_width = size.width;
    image_height = size.height;
    image_depth = uint16_t(depth);
    image_faces = (type == TypeCube) ? 6 : 1;
    image_layers = uint16_t(parts);
    image_mipmaps = mipmaps ? uint16_t(get_chain(max(max(size.width, size.height), depth))) : 1;

    size_t total = 0;
    bool overflow = false;
    for(uint32_t m = 0; m < image_mipmaps; m++) {
        size_t level;
        overflow |= __builtin_mul_overflow(get_stride(m, 1), size_t(get_rows(m)), &level);
        overflow |= __builtin_mul_overflow(level, size_t(getDepth(m)), &level);
        overflow |= __builtin_add_overflow(total, level, &total);
    }
    overflow |= __builtin_mul_overflow(total, size_t(image_layers) * image_faces, &total);
    if(overflow || total > (allocate ? max_size : SIZE_MAX / 4)) {
        Log::printf(Log::Error, "Image::create(): can't allocate %s image\n", getDescription().get());
        clear();
        return false;
    }
    if(!allocate) return true;

    image_data = static_cast<uint8_t *>(Allocator::allocate(total + guard_size));
    if(image_data == nullptr) {
        Log::printf(Log::Error, "Image::create(): can't allocate %s image\n", getDescription().get());
        clear();
        return false;
    }
    write_guard(image_data, total);
    if(!(flags & FlagNoClear)) memset(image_data, 0, total);
    return true;
}

/*
 * files
 */

bool Image::info(const char *name, Flags flags, uint32_t offset, Async *async) {
    clear();
    Source source;
    if(name == nullptr || !source.open(name)) {
        Log::printf(Log::Error, "Image::info(): can't open \"%s\" file\n", name ? name : "");
        return false;
    }
    return info(source, flags, offset, async);
}

bool Image::info(Stream &stream, Flags flags, uint32_t offset, Async *async) {
    clear();
    uint32_t magic = 0;
    if(stream.getName().empty()) {
        bool status = true;
        magic = stream.readu32(&status);
        if(!status) {
            Log::printf(Log::Error, "Image::info(): can't read magic\n");
            return false;
        }
        if(!stream.seekCur(-4)) {
            Log::printf(Log::Error, "Image::info(): can't seek 0x%08x stream\n", magic);
            return false;
        }
    }
    ImageStream *handler = ImageStream::get(stream.getName(), magic);
    if(handler == nullptr && (magic || !stream.getName().empty())) return false;
    ImageStream *instance = handler ? handler->instance() : nullptr;
    const bool ret = handler && (instance ? instance : handler)->info(stream, *this, flags, offset, async);
    delete instance;
    if(!ret) {
        Log::printf(Log::Error, "Image::info(): can't info \"%s\" 0x%08x stream\n", stream.getName().get(), magic);
        return false;
    }
    return true;
}

bool Image::load(const char *name, Flags flags, uint32_t offset, Async *async) {
    clear();
    Source source;
    if(name == nullptr || !source.open(name)) {
        Log::printf(Log::Error, "Image::load(): can't open \"%s\" file\n", name ? name : "");
        return false;
    }
    return load(source, flags, offset, async);
}

bool Image::load(Stream &stream, Flags flags, uint32_t offset, Async *async) {
    clear();
    uint32_t magic = 0;
    const bool nameless = stream.getName().empty();
    if(nameless) {
        bool status = true;
        magic = stream.readu32(&status);
        if(!status) {
            Log::printf(Log::Error, "Image::load(): can't read magic\n");
            return false;
        }
        if(!stream.seekCur(-4)) {
            Log::printf(Log::Error, "Image::load(): can't seek 0x%08x stream\n", magic);
            return false;
        }
    }
    ImageStream *handler = ImageStream::get(stream.getName(), magic);
    if(handler == nullptr && (magic || !nameless)) return false;
    ImageStream *instance = handler ? handler->instance() : nullptr;
    const bool ret = handler && (instance ? instance : handler)->load(stream, *this, flags, offset, async);
    delete instance;
    if(!ret) {
        if(nameless)
            Log::printf(Log::Error, "Image::load(): can't load \"%s\" 0x%08x stream\n", stream.getName().get(), magic);
        else
            Log::printf(Log::Error, "Image::load(): can't load \"%s\" stream\n", stream.getName().get());
        return false;
    }
    return true;
}

bool Image::save(const char *name, Flags flags, uint32_t quality) const {
    KOLM_ASSERT(isAllocated() && "Image::save(): image is not allocated");
    File file;
    if(name == nullptr || !file.open(name, "wb")) {
        Log::printf(Log::Error, "Image::save(): can't create \"%s\" file\n", name ? name : "");
        return false;
    }
    if(!save(file, flags, quality)) return false;
    if(!file.flush()) {
        Log::printf(Log::Error, "Image::save(): can't save \"%s\" stream\n", name);
        return false;
    }
    return true;
}

bool Image::save(Stream &stream, Flags flags, uint32_t quality) const {
    KOLM_ASSERT(isAllocated() && "Image::save(): image is not allocated");
    ImageStream *handler = ImageStream::get(stream.getName(), 0);
    ImageStream *instance = handler ? handler->instance() : nullptr;
    const bool ret = handler && (instance ? instance : handler)->save(stream, *this, flags, quality);
    delete instance;
    if(!ret) {
        Log::printf(Log::Error, "Image::save(): can't save \"%s\" stream\n", stream.getName().get());
        return false;
    }
    return true;
}

/*
 * description
 */

const char *Image::getTypeName(Type type) { return (type < NumTypes) ? type_names[type] : type_names[TypeUnknown]; }

uint32_t Image::findMipmap(const Size &size) const {
    for(uint32_t i = 0; i < image_mipmaps; i++) {
        if(getSize(i) == size) return i;
    }
    return 0;
}

Slice Image::getSlice(uint32_t mipmap) const {
    KOLM_ASSERT(is_mipmap(mipmap) && "Image::getSlice(): invalid mipmap");
    return Slice(Face(0, image_faces), Layer(0, image_layers), Mipmap(mipmap, image_mipmaps - mipmap));
}

void Image::setMetaInfo(const char *text) {
    if(image_meta == nullptr) image_meta = new String();
    *image_meta = String(text ? text : "");
}
const String &Image::getMetaInfo() const { return image_meta ? *image_meta : String::null; }

String Image::getDescription() const {
    String ret = String::format("%s %s %ux%u", getTypeName(), getFormatName(), image_width, image_height);
    if(image_type == Type3D) ret += String::format("x%u", uint32_t(image_depth));
    if(image_type != Type3D && image_layers > 1) ret += String::format(" l%u", uint32_t(image_layers));
    if(image_mipmaps > 1) ret += String::format(" m%u", uint32_t(image_mipmaps));
    return ret;
}

size_t Image::getMemory() const { return sizeof(Image) + (isLoaded() ? getDataSize() : 0); }

bool Image::check(const Origin &origin, uint32_t mipmap) const {
    KOLM_ASSERT(isLoaded() && "Image::check(): image is not loaded");
    if(mipmap >= image_mipmaps) {
        Log::printf(Log::Error, "Image::check(): invalid mipmap %u for image with %u mipmaps\n", mipmap,
                    uint32_t(image_mipmaps));
        return false;
    }
    const Size size = getSize(mipmap);
    if(size.inside(origin)) return true;
    if(image_type == Type3D)
        Log::printf(Log::Error, "Image::check(): invalid origin %ux%ux%u for %ux%ux%u image\n", origin.x, origin.y,
                    origin.z, size.width, size.height, size.depth);
    else
        Log::printf(Log::Error, "Image::check(): invalid origin %ux%u for %ux%u image\n", origin.x, origin.y,
                    size.width, size.height);
    return false;
}

bool Image::check(const Region &region, uint32_t mipmap) const {
    KOLM_ASSERT(isLoaded() && "Image::check(): image is not loaded");
    if(mipmap >= image_mipmaps) {
        Log::printf(Log::Error, "Image::check(): invalid mipmap %u for image with %u mipmaps\n", mipmap,
                    uint32_t(image_mipmaps));
        return false;
    }
    const Size size = getSize(mipmap);
    if(size.inside(region)) return true;
    if(image_type == Type3D)
        Log::printf(Log::Error, "Image::check(): invalid region %ux%ux%u %ux%ux%u for %ux%ux%u image\n", region.x,
                    region.y, region.z, region.width, region.height, region.depth, size.width, size.height, size.depth);
    else
        Log::printf(Log::Error, "Image::check(): invalid region %ux%u %ux%u for %ux%u image\n", region.x, region.y,
                    region.width, region.height, size.width, size.height);
    return false;
}

bool Image::check(const Slice &slice) const {
    KOLM_ASSERT(isLoaded() && "Image::check(): image is not loaded");
    const auto is_range = [](uint32_t base, uint32_t size, uint32_t count) {
        return size && base < count && size <= count - base;
    };
    if(!is_range(slice.face, slice.faces, image_faces)) {
        Log::printf(Log::Error, "Image::check(): invalid faces %u-%u for image with %u faces\n", slice.face,
                    slice.face + slice.faces, uint32_t(image_faces));
        return false;
    }
    if(!is_range(slice.layer, slice.layers, image_layers)) {
        Log::printf(Log::Error, "Image::check(): invalid layers %u-%u for image with %u layers\n", slice.layer,
                    slice.layer + slice.layers, uint32_t(image_layers));
        return false;
    }
    if(!is_range(slice.mipmap, slice.mipmaps, image_mipmaps)) {
        Log::printf(Log::Error, "Image::check(): invalid mipmaps %u-%u for image with %u mipmaps\n", slice.mipmap,
                    slice.mipmap + slice.mipmaps, uint32_t(image_mipmaps));
        return false;
    }
    return true;
}

/*
 * layout
 */

uint32_t Image::get_rows(uint32_t mipmap) const {
    const uint32_t height = getHeight(mipmap);
    return isBlockFormat() ? div_up(height, getBlockHeight()) : height;
}

size_t Image::get_stride(uint32_t mipmap, uint32_t alignment) const {
    const uint32_t width = getWidth(mipmap);
    if(isBlockFormat()) return align_pitch(size_t(div_up(width, getBlockWidth())) * getBlockSize(), alignment);
    return align_pitch(size_t(width) * getPixelSize(), alignment);
}

size_t Image::getStride(uint32_t mipmap, uint32_t alignment) const {
    KOLM_ASSERT(isLoaded() && "Image::getStride(): image is not loaded");
    KOLM_ASSERT(mipmap < image_mipmaps && "Image::getStride(): invalid mipmap");
    KOLM_ASSERT(alignment && "Image::getStride(): invalid alignment");
    return get_stride(mipmap, alignment);
}

size_t Image::getMipmapSize(uint32_t mipmap, uint32_t alignment) const {
    KOLM_ASSERT(isLoaded() && "Image::getMipmapSize(): image is not loaded");
    KOLM_ASSERT(mipmap < image_mipmaps && "Image::getMipmapSize(): invalid mipmap");
    KOLM_ASSERT(alignment && "Image::getMipmapSize(): invalid alignment");
    return get_stride(mipmap, alignment) * get_rows(mipmap) * getDepth(mipmap);
}

size_t Image::getLayerSize(uint32_t alignment) const {
    KOLM_ASSERT(isLoaded() && "Image::getLayerSize(): image is not loaded");
    KOLM_ASSERT(alignment && "Image::getLayerSize(): invalid alignment");
    size_t ret = 0;
    for(uint32_t i = 0; i < image_mipmaps; i++) ret += getMipmapSize(i, alignment);
    return ret;
}

size_t Image::getDataSize(uint32_t alignment) const { return getLayerSize(alignment) * image_layers * image_faces; }

size_t Image::getOffset(const Slice &slice, uint32_t alignment) const {
    KOLM_ASSERT(isLoaded() && "Image::getOffset(): image is not loaded");
    KOLM_ASSERT(is_inside(slice) && "Image::getOffset(): invalid slice");
    KOLM_ASSERT(alignment && "Image::getOffset(): invalid alignment");
    size_t ret = getLayerSize(alignment) * (slice.face + size_t(slice.layer) * image_faces);
    for(uint32_t i = 0; i < slice.mipmap; i++) ret += getMipmapSize(i, alignment);
    return ret;
}

bool Image::is_inside(const Slice &slice) const {
    return slice.face < image_faces && slice.layer < image_layers && slice.mipmap < image_mipmaps;
}

uint8_t *Image::get_level(uint32_t face, uint32_t layer, uint32_t mipmap) const {
    return image_data + getOffset(Slice(Face(face), Layer(layer), Mipmap(mipmap)));
}

const uint8_t *Image::getData(const Slice &slice) const {
    KOLM_ASSERT(isAllocated() && "Image::getData(): image is not allocated");
    KOLM_ASSERT(is_inside(slice) && "Image::getData(): invalid slice");
    return image_data + getOffset(slice);
}
uint8_t *Image::getData(const Slice &slice) { return const_cast<uint8_t *>(std::as_const(*this).getData(slice)); }

const uint8_t *Image::getData(const Origin &origin, const Slice &slice) const {
    KOLM_ASSERT(isAllocated() && "Image::getData(): image is not allocated");
    KOLM_ASSERT(is_inside(slice) && "Image::getData(): invalid slice");
    KOLM_ASSERT(getSize(slice.mipmap).inside(origin) && "Image::getData(): invalid origin");
    const size_t stride = get_stride(slice.mipmap, 1);
    const size_t row = origin.y + size_t(origin.z) * getHeight(slice.mipmap);
    const uint8_t *data = image_data + getOffset(slice);
    if(!isBlockFormat()) return data + stride * row + size_t(origin.x) * getPixelSize();
    return data + stride * (row / getBlockHeight()) + size_t(origin.x / getBlockWidth()) * getBlockSize();
}
uint8_t *Image::getData(const Origin &origin, const Slice &slice) {
    return const_cast<uint8_t *>(std::as_const(*this).getData(origin, slice));
}

bool Image::setData(const void *src, const Slice &slice, uint32_t alignment, size_t stride) {
    KOLM_ASSERT(isAllocated() && "Image::setData(): image is not allocated");
    KOLM_ASSERT(src && "Image::setData(): data is null");
    if(!check(slice)) return false;
    const size_t pitch = get_stride(slice.mipmap, 1);
    const size_t step = alignment ? get_stride(slice.mipmap, alignment) : stride;
    const size_t rows = size_t(get_rows(slice.mipmap)) * getDepth(slice.mipmap);
    uint8_t *dst = getData(slice);
    for(size_t i = 0; i < rows; i++) memcpy(dst + pitch * i, static_cast<const uint8_t *>(src) + step * i, pitch);
    return true;
}

bool Image::getData(void *dst, const Slice &slice, uint32_t alignment, size_t stride) const {
    KOLM_ASSERT(isAllocated() && "Image::getData(): image is not allocated");
    KOLM_ASSERT(dst && "Image::getData(): data is null");
    if(!check(slice)) return false;
    const size_t pitch = get_stride(slice.mipmap, 1);
    const size_t step = alignment ? get_stride(slice.mipmap, alignment) : stride;
    const size_t rows = size_t(get_rows(slice.mipmap)) * getDepth(slice.mipmap);
    const uint8_t *src = getData(slice);
    for(size_t i = 0; i < rows; i++) memcpy(static_cast<uint8_t *>(dst) + step * i, src + pitch * i, pitch);
    return true;
}

/*
 * pixel moves
 */

// Calls func(face, layer, level) for each part, counted from 0.
template<class Func> void Image::for_each_part(const Slice &slice, Func func) const {
    for(uint32_t l = 0; l < slice.layers; l++) {
        for(uint32_t f = 0; f < slice.faces; f++) {
            for(uint32_t m = 0; m < slice.mipmaps; m++) func(f, l, m);
        }
    }
}

bool Image::is_same_size(const Image &image) const {
    return image_type == image.image_type && getSize() == image.getSize() && image_layers == image.image_layers &&
           image_mipmaps == image.image_mipmaps;
}

bool Image::copy(const Image &src, uint32_t dst_component, uint32_t src_component) {
    const bool plain = isColorFormat() && isPlainFormat() && src.isColorFormat() && src.isPlainFormat();
    if(!plain || !isAllocated() || !src.isAllocated() || !is_same_size(src) ||
       get_element_size() != src.get_element_size()) {
        Log::printf(Log::Error, "Image::copy(): can't copy %s image into %s\n", src.getDescription().get(),
                    getDescription().get());
        return false;
    }
    const uint32_t dst_components = getComponents();
    const uint32_t src_components = src.getComponents();
    if(dst_component >= dst_components) {
        Log::printf(Log::Error, "Image::copy(): invalid component %u for %s image\n", dst_component,
                    getDescription().get());
        return false;
    }
    if(src_component >= src_components) {
        Log::printf(Log::Error, "Image::copy(): invalid component %u for %s image\n", src_component,
                    src.getDescription().get());
        return false;
    }
    const size_t pixels = getDataSize() / getPixelSize();
    with_pixel(get_element_size(), [&](auto element) {
        using Type = decltype(element);
        Type *d = reinterpret_cast<Type *>(image_data) + dst_component;
        const Type *s = reinterpret_cast<const Type *>(src.image_data) + src_component;
        for(size_t i = 0; i < pixels; i++) d[i * dst_components] = s[i * src_components];
    });
    return true;
}

// One level. The slices name the levels; shift is the number of halvings of the box. An odd box can halve to a place
// behind the end of a level: it moves and shrinks to fit there.
void Image::copy_region(const Image &src, const Origin &origin, const Region &region, const Slice &dst_slice,
                        const Slice &src_slice, uint32_t shift) {
    const Size dst_size = getSize(dst_slice.mipmap);
    const Size src_size = src.getSize(src_slice.mipmap);
    uint32_t dx = min(origin.x >> shift, dst_size.width - 1);
    uint32_t dy = min(origin.y >> shift, dst_size.height - 1);
    const uint32_t dz = min(origin.z >> shift, dst_size.depth - 1);
    uint32_t sx = min(region.x >> shift, src_size.width - 1);
    uint32_t sy = min(region.y >> shift, src_size.height - 1);
    const uint32_t sz = min(region.z >> shift, src_size.depth - 1);
    uint32_t width = min(get_extent(region.width, shift), min(dst_size.width - dx, src_size.width - sx));
    uint32_t height = min(get_extent(region.height, shift), min(dst_size.height - dy, src_size.height - sy));
    const uint32_t depth = min(get_extent(region.depth, shift), min(dst_size.depth - dz, src_size.depth - sz));
    uint32_t size = getPixelSize();
    if(isBlockFormat()) {
        size = getBlockSize();
        dx /= getBlockWidth();
        dy /= getBlockHeight();
        sx /= getBlockWidth();
        sy /= getBlockHeight();
        width = div_up(width, getBlockWidth());
        height = div_up(height, getBlockHeight());
    }
    const size_t dst_stride = get_stride(dst_slice.mipmap, 1);
    const size_t src_stride = src.get_stride(src_slice.mipmap, 1);
    uint8_t *d = getData(dst_slice) + size_t(dx) * size;
    const uint8_t *s = src.getData(src_slice) + size_t(sx) * size;
    for(uint32_t z = 0; z < depth; z++) {
        const size_t dst_row = size_t(dz + z) * get_rows(dst_slice.mipmap) + dy;
        const size_t src_row = size_t(sz + z) * src.get_rows(src_slice.mipmap) + sy;
        for(uint32_t y = 0; y < height; y++)
            memmove(d + dst_stride * (dst_row + y), s + src_stride * (src_row + y), size_t(width) * size);
    }
}

void Image::copy_level(const Image &src, const Slice &dst_slice, const Slice &src_slice) {
    memmove(getData(dst_slice), src.getData(src_slice), getMipmapSize(dst_slice.mipmap));
}

bool Image::copy(const Image &src, const Origin &origin, const Region &region, const Slice &dst_slice,
                 const Slice &src_slice) {
    const bool same = image_format == src.image_format && dst_slice.faces == src_slice.faces &&
                      dst_slice.layers == src_slice.layers && dst_slice.mipmaps == src_slice.mipmaps;
    if(!same || !isAllocated() || !src.isAllocated()) {
        Log::printf(Log::Error, "Image::copy(): can't copy %s image into %s\n", src.getDescription().get(),
                    getDescription().get());
        return false;
    }
    if(!check(dst_slice) || !src.check(src_slice)) return false;
    if(!check(Region(origin, region.getSize()), dst_slice.mipmap)) return false;
    if(!src.check(region, src_slice.mipmap)) return false;
    for_each_part(dst_slice, [&](uint32_t f, uint32_t l, uint32_t m) {
        const Slice d(Face(dst_slice.face + f), Layer(dst_slice.layer + l), Mipmap(dst_slice.mipmap + m));
        const Slice s(Face(src_slice.face + f), Layer(src_slice.layer + l), Mipmap(src_slice.mipmap + m));
        copy_region(src, origin, region, d, s, m);
    });
    return true;
}

bool Image::copy(const Image &src, const Origin &origin, const Slice &dst_slice, const Slice &src_slice) {
    if(!src.isLoaded() || src_slice.mipmap >= src.image_mipmaps) {
        Log::printf(Log::Error, "Image::copy(): can't copy %s image into %s\n", src.getDescription().get(),
                    getDescription().get());
        return false;
    }
    return copy(src, origin, src.getRegion(src_slice.mipmap), dst_slice, src_slice);
}

bool Image::copy(const Image &src, const Slice &dst_slice, const Slice &src_slice) {
    bool same = image_format == src.image_format && dst_slice.faces == src_slice.faces &&
                dst_slice.layers == src_slice.layers && dst_slice.mipmaps == src_slice.mipmaps && isAllocated() &&
                src.isAllocated();
    if(same) {
        if(!check(dst_slice) || !src.check(src_slice)) return false;
        for(uint32_t i = 0; i < dst_slice.mipmaps; i++)
            same &= (getSize(dst_slice.mipmap + i) == src.getSize(src_slice.mipmap + i));
    }
    if(!same) {
        Log::printf(Log::Error, "Image::copy(): can't copy %s image info %s\n", src.getDescription().get(),
                    getDescription().get());
        return false;
    }
    for_each_part(dst_slice, [&](uint32_t f, uint32_t l, uint32_t m) {
        copy_level(src, Slice(Face(dst_slice.face + f), Layer(dst_slice.layer + l), Mipmap(dst_slice.mipmap + m)),
                   Slice(Face(src_slice.face + f), Layer(src_slice.layer + l), Mipmap(src_slice.mipmap + m)));
    });
    return true;
}

// Calls func(row, x, width, other row) for the rows of a region in each part, the other row being its mirror image.
template<class Func> void Image::for_each_row(const Region &region, const Slice &slice, Func func) {
    for_each_part(slice, [&](uint32_t f, uint32_t l, uint32_t m) {
        const uint32_t mipmap = slice.mipmap + m;
        const uint32_t x = min(region.x >> m, getWidth(mipmap) - 1);
        const uint32_t y = min(region.y >> m, getHeight(mipmap) - 1);
        const uint32_t width = min(get_extent(region.width, m), getWidth(mipmap) - x);
        const uint32_t height = min(get_extent(region.height, m), getHeight(mipmap) - y);
        const size_t stride = get_stride(mipmap, 1);
        uint8_t *data = get_level(slice.face + f, slice.layer + l, mipmap) + size_t(x) * getPixelSize();
        for(uint32_t i = 0; i < height; i++)
            func(data + stride * (y + i), width, data + stride * (y + height - 1 - i), i < height / 2);
    });
}

bool Image::flipX(const Region &region, const Slice &slice) {
    if(!is2DType() || isBlockFormat() || !isAllocated()) {
        Log::printf(Log::Error, "Image::flipX(): can't flip %s image\n", getDescription().get());
        return false;
    }
    if(!check(slice) || !check(region, slice.mipmap)) return false;
    with_pixel(getPixelSize(), [&](auto pixel) {
        using Type = decltype(pixel);
        for_each_row(region, slice, [](uint8_t *row, uint32_t width, uint8_t *, bool) {
            Type *data = reinterpret_cast<Type *>(row);
            for(uint32_t i = 0; i < width / 2; i++) Kolm::swap(data[i], data[width - 1 - i]);
        });
    });
    return true;
}

bool Image::flipY(const Region &region, const Slice &slice) {
    if(!is2DType() || isBlockFormat() || !isAllocated()) {
        Log::printf(Log::Error, "Image::flipY(): can't flip %s image\n", getDescription().get());
        return false;
    }
    if(!check(slice) || !check(region, slice.mipmap)) return false;
    for_each_row(region, slice, [this](uint8_t *row, uint32_t width, uint8_t *other, bool upper) {
        if(!upper) return;
        uint8_t buffer[1024];
        const size_t size = size_t(width) * getPixelSize();
        for(size_t i = 0; i < size; i += sizeof(buffer)) {
            const size_t n = min(size - i, sizeof(buffer));
            memcpy(buffer, row + i, n);
            memcpy(row + i, other + i, n);
            memcpy(other + i, buffer, n);
        }
    });
    return true;
}

Image Image::getSlice(const Slice &slice) const {
    if(!isAllocated() || !check(slice)) {
        Log::printf(Log::Error, "Image::getSlice(): can't get slice from %s image\n", getDescription().get());
        return Image();
    }
    if(slice == getSlice()) return *this;
    Image ret;
    const Type type = (isCubeType() && !slice.hasFaces()) ? Type2D : image_type;
    const Flags flags = (hasMipmaps() && slice.hasMipmaps()) ? FlagMipmaps : FlagNone;
    if(!ret.create(type, image_format, getSize(slice.mipmap), slice.layers, flags)) return Image();
    Slice parts = slice;
    parts.mipmaps = min(slice.mipmaps, ret.getMipmaps());
    ret.copy(*this, Slice(Face(0, parts.faces), Layer(0, parts.layers), Mipmap(0, parts.mipmaps)), parts);
    return ret;
}

Image Image::getRegion(const Region &region, const Slice &slice) const {
    const bool cube = isCubeType() && slice.hasFaces();
    const bool empty = (region.width == 0 || region.height == 0 || region.depth == 0);
    if(!isAllocated() || empty || (cube && region.width != region.height) || !check(slice) ||
       !check(region, slice.mipmap)) {
        Log::printf(Log::Error, "Image::getRegion(): can't get region from %s image\n", getDescription().get());
        return Image();
    }
    Image ret;
    const Type type = (isCubeType() && !cube) ? Type2D : image_type;
    const Flags flags = (hasMipmaps() && slice.hasMipmaps()) ? FlagMipmaps : FlagNone;
    if(!ret.create(type, image_format, region.getSize(), slice.layers, flags)) return Image();
    Slice parts = slice;
    parts.mipmaps = min(slice.mipmaps, ret.getMipmaps());
    ret.copy(*this, Origin(), region, Slice(Face(0, parts.faces), Layer(0, parts.layers), Mipmap(0, parts.mipmaps)),
             parts);
    return ret;
}

Image Image::getComponent(uint32_t index) const {
    const Format format = toFormatComponents(image_format, 1);
    Image ret;
    if(!isAllocated() || !isColorFormat() || !isPlainFormat() || is64BitFormat() || index >= getComponents()) {
        Log::printf(Log::Error, "Image::getComponent(): can't get %u component from %s image\n", index,
                    getDescription().get());
        return ret;
    }
    const Flags flags = hasMipmaps() ? FlagMipmaps : FlagNone;
    if(ret.create(image_type, format, getSize(), image_layers, flags | FlagNoClear)) ret.copy(*this, 0, index);
    return ret;
}

Image Image::getRotated(int32_t turns, const Slice &slice) const {
    if((turns & 3) == 0) return getSlice(slice);
    const bool square = !isCubeType() || image_width == image_height;
    if(!isAllocated() || !(is2DType() || isCubeType()) || !isColorFormat() || isBlockFormat() || !square ||
       !check(slice)) {
        Log::printf(Log::Error, "Image::getRotated(): can't rotate %s image\n", getDescription().get());
        return Image();
    }
    // A quarter turn of a cube about its vertical axis: which face comes where, and how far it turns itself.
    static constexpr uint8_t cube_faces[6] = {5, 4, 2, 3, 0, 1};
    static constexpr uint8_t cube_turns[6] = {0, 0, 1, 3, 0, 0};

    const bool cube = isCubeType() && slice.hasFaces();
    Size size = getSize(slice.mipmap);
    if(turns & 1) Kolm::swap(size.width, size.height);
    const Flags flags = (hasMipmaps() && slice.hasMipmaps()) ? FlagMipmaps : FlagNone;
    Image ret;
    if(!ret.create(cube ? TypeCube : Type2D, image_format, size, slice.layers, flags)) return ret;
    Slice parts = slice;
    parts.mipmaps = min(slice.mipmaps, ret.getMipmaps());
    parts.faces = ret.getFaces();
    for_each_part(parts, [&](uint32_t f, uint32_t l, uint32_t m) {
        uint32_t face = slice.face;
        uint32_t face_turns = uint32_t(turns) & 3;
        if(cube) {
            face = f;
            face_turns = 0;
            for(uint32_t i = 0; i < (uint32_t(turns) & 3); i++) {
                face_turns += cube_turns[face];
                face = cube_faces[face];
            }
        }
        const uint32_t mipmap = slice.mipmap + m;
        do_rotate(ret.get_level(f, l, m), get_level(face, slice.layer + l, mipmap), getWidth(mipmap), getHeight(mipmap),
                  getPixelSize(), face_turns & 3);
    });
    return ret;
}

int32_t Image::compare(const Image &image) const {
    const auto order = [](uint64_t a, uint64_t b) { return (a < b) ? -1 : (a > b) ? 1 : 0; };
    int32_t ret = order(image_type, image.image_type);
    if(ret == 0) ret = order(image_format, image.image_format);
    if(ret == 0) ret = order(image_width, image.image_width);
    if(ret == 0) ret = order(image_height, image.image_height);
    if(ret == 0) ret = order(image_depth, image.image_depth);
    if(ret == 0) ret = order(image_faces, image.image_faces);
    if(ret == 0) ret = order(image_layers, image.image_layers);
    if(ret == 0) ret = order(image_mipmaps, image.image_mipmaps);
    if(ret == 0) ret = order(isAllocated(), image.isAllocated());
    if(ret == 0 && image_data) ret = memcmp(image_data, image.image_data, getDataSize());
    return ret;
}

} // namespace Kolm
