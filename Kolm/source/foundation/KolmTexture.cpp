// KolmTexture.cpp: parameters of textures, and what create() makes of its arguments.

#include "KolmTexture.h"

#include "KolmLog.h"

namespace Kolm {

namespace {

constexpr const char *type_names[Texture::NumTypes] = {"Unknown", "2D", "3D", "Cube"};

constexpr const char *flag_words[Texture::NumFlags] = {
#define TEXTURE_FLAG(BIT, NAME, WORD) WORD,
#include "KolmTextureFlags.inc"
};

String get_words(Texture::Flags flags) {
    String words = Texture::getFlagsName(flags);
    while(words && words.back() == ' ') words.removeBack();
    return words;
}

} // namespace

Texture::Texture(uint32_t index) : PlatformBase(index) {}

void Texture::clear() {
    texture_name.clear();
    texture_type = TypeUnknown;
    texture_format = FormatUnknown;
    texture_flags = FlagNone;
    texture_width = texture_height = 0;
    texture_depth = texture_faces = texture_layers = texture_mipmaps = 0;
    texture_tile_width = texture_tile_height = texture_tile_depth = texture_tile_mipmaps = 0;
}

void Texture::setName(const char *name) { texture_name = (name) ? name : ""; }

const char *Texture::getTypeName(Type type) {
    return (uint32_t(type) < NumTypes) ? type_names[type] : type_names[TypeUnknown];
}

String Texture::getFlagsName(Flags flags) {
    StringStack<128> name;
    for(uint32_t i = 0; i < NumFlags; i++) {
        if(flags & (1u << i)) name += flag_words[i];
    }
    if(name.empty()) name += "None";
    return String(name);
}

String Texture::getFlagsName() const { return getFlagsName(texture_flags); }

String Texture::getDescription() const {
    String description;
    switch(texture_type) {
    case Type2D:
    case TypeCube:
        description = String::format("%s %s %ux%u", getTypeName(), getFormatName(), texture_width, texture_height);
        break;
    case Type3D:
        description = String::format("%s %s %ux%ux%u", getTypeName(), getFormatName(), texture_width, texture_height,
                                     texture_depth);
        break;
    default: KOLM_ASSERT(0 && "Texture::getDescription(): unknown texture type");
    }
    if(hasLayers()) description += String::format(" l%u", texture_layers);
    if(hasMipmaps()) description += String::format(" m%u", texture_mipmaps);
    if(texture_flags) {
        description += ' ';
        description += get_words(texture_flags);
    }
    return description;
}

size_t Texture::getMemory() const {
    const uint32_t block_width = max(getBlockWidth(), 1u), block_height = max(getBlockHeight(), 1u);
    const size_t pixel_size = max(getPixelSize(), getBlockSize());
    size_t size = 0;
    for(uint32_t i = 0; i < texture_mipmaps; i++) {
        size += size_t(getWidth(i) + block_width - 1) / block_width *
                (size_t(getHeight(i) + block_height - 1) / block_height) * getDepth(i) * pixel_size;
    }
    return size * texture_faces * texture_layers * getMultisample();
}

uint32_t Texture::getMultisample() const {
    if(hasFlag(FlagMultisample2)) return 2;
    if(hasFlag(FlagMultisample4)) return 4;
    if(hasFlag(FlagMultisample8)) return 8;
    return 1;
}

Slice Texture::getSlice(uint32_t mipmap) const {
    return Slice(Face(0, texture_faces), Layer(0, texture_layers), Mipmap(mipmap, 1));
}

Slice Texture::getFullSlice() const {
    return Slice(Face(0, texture_faces), Layer(0, texture_layers), Mipmap(0, texture_mipmaps));
}

uint32_t Texture::findMipmap(const Size &size) const {
    for(uint32_t i = 0; i < texture_mipmaps; i++) {
        if(getSize(i) == size) return i;
    }
    return 0;
}

uint32_t Texture::get_mipmaps(uint32_t width, uint32_t height, uint32_t depth) {
    uint32_t mipmaps = 1;
    for(uint32_t size = max(max(width, height), depth); size > 1; size >>= 1) mipmaps++;
    return mipmaps;
}

bool Texture::set_sizes(const Size &size, uint32_t layers) {
    texture_width = size.width;
    texture_height = size.height;
    texture_depth = uint16_t(is3DType() ? size.depth : 1);
    texture_faces = isCubeType() ? 6 : 1;
    texture_layers = uint16_t(is3DType() ? 1 : layers);
    texture_mipmaps = 1;
    if(hasFlag(FlagMipmaps)) texture_mipmaps = uint16_t(get_mipmaps(texture_width, texture_height, texture_depth));
    if(!isCubeType() || size.width == size.height) return true;
    Log::printf(Log::Error, "Texture::create(): invalid size %ux%u of Cube texture\n", size.width, size.height);
    return false;
}

bool Texture::init(Type type, Format format, const Size &size, uint32_t layers, Flags flags) {
    KOLM_ASSERT(!isCreated() && "Texture::create(): is already created");
    KOLM_ASSERT(type > TypeUnknown && type < NumTypes && "Texture::create(): invalid texture type");
    KOLM_ASSERT(format > FormatUnknown && format < NumFormats && "Texture::create(): invalid texture format");
    KOLM_ASSERT(size.width && size.height && size.depth && (type != Type3D || size.depth <= UINT16_MAX) &&
                "Texture::create(): invalid texture size");
    KOLM_ASSERT(layers && layers <= UINT16_MAX && "Texture::create(): invalid layers number");
    texture_type = type;
    texture_format = format;
    texture_flags = flags;

    String message;
    // Kept: layers and mipmaps are those of the object before this call, so that only a re-creation is held back.
    const bool has_parts = (texture_layers > 1 || texture_mipmaps > 1);
    if(hasFlags(FlagRead | FlagWrite)) {
        message = "Texture::create(): can't create texture with Read and Write flags\n";
    } else if(hasFlag(FlagShared | FlagInterop)) {
        if(!is2DType() || hasFlag(FlagMultisample | FlagSparse) || has_parts) {
            message = String::format("Texture::create(): can't create %s texture\n", get_words(flags).get());
        }
    } else if(hasFlag(FlagMultisample)) {
        if(!is2DType()) {
            message = String::format("Texture::create(): can't create %s Multisample texture\n", getTypeName());
        } else if(texture_mipmaps > 1 || hasFlag(FlagMipmaps)) {
            message = "Texture::create(): can't create 2D Multisample texture with mipmaps\n";
        }
    }
    if(message.empty() && set_sizes(size, layers)) return true;
    if(message) Log::print(Log::Error, message.get());
    clear();
    return false;
}

bool Texture::init(const Texture *src) {
    KOLM_ASSERT(!isCreated() && "Texture::create(): is already created");
    const char *message = nullptr;
    if(src == nullptr || !src->isCreated()) {
        message = "Texture::create(): texture is not created\n";
    } else if(!src->hasFlag(FlagShared | FlagInterop)) {
        message = "Texture::create(): texture has no Shared or Interop flag\n";
    }
    if(message) {
        Log::print(Log::Error, message);
        clear();
        return false;
    }
    texture_type = src->texture_type;
    texture_format = src->texture_format;
    texture_flags = src->texture_flags & ~(FlagShared | FlagInterop);
    texture_width = src->texture_width;
    texture_height = src->texture_height;
    texture_depth = src->texture_depth;
    texture_faces = src->texture_faces;
    texture_layers = src->texture_layers;
    texture_mipmaps = src->texture_mipmaps;
    return true;
}

Format Texture::get_format(Format format, Flags flags) {
    if(flags & FlagFormatNorm) format = toNormFormat(format);
    if(flags & FlagFormatSRGB) {
        format = toSRGBFormat(format);
    } else if(flags & FlagFormatSigned) {
        format = toSignedFormat(format);
    }
    return format;
}

bool Texture::init(const Image *&image, Image &dest, Flags flags, Async *async) {
    KOLM_ASSERT(!isCreated() && "Texture::create(): is already created");
    texture_flags = flags;
    String message;
    if(!image->isAllocated()) {
        message = "Texture::create(): image is not allocated\n";
    } else if(hasFlags(FlagRead | FlagWrite)) {
        // Kept: not the words of the other form.
        message = "Texture::create(): can't create texture with Read Write flags\n";
    } else if(hasFlag(FlagSparse | FlagShared | FlagInterop)) {
        message = String::format("Texture::create(): can't create %s texture from image\n",
                                 get_words(flags & (FlagSparse | FlagShared | FlagInterop)).get());
    } else if(hasFlag(FlagMultisample)) {
        message = "Texture::create(): can't create Multisample texture from image\n";
    } else if(image->getType() == Image::TypeUnknown || uint32_t(image->getType()) >= uint32_t(NumTypes)) {
        message = String::format("Texture::create(): unknown image type %s\n", image->getTypeName());
    } else {
        texture_type = Type(image->getType());
        texture_format = get_format(image->getFormat(), flags);
        if(texture_format == FormatUnknown) {
            message = String::format("Texture::create(): unknown image format %s\n", image->getFormatName());
        }
    }
    if(message.empty() && set_sizes(image->getSize(), image->getLayers())) {
        if(texture_mipmaps <= image->getMipmaps() || !hasFlag(FlagGenerate)) return true;
        Log::print(Log::Message, "Texture::create(): create mipmaps\n");
        dest = image->getMipmapped(Image::FilterBox, Image::FlagNone, async);
        if(dest.isAllocated()) {
            image = &dest;
            return true;
        }
        message = "Texture::create(): can't create mipmaps\n";
    }
    if(message) Log::print(Log::Error, message.get());
    clear();
    return false;
}

} // namespace Kolm
