// KolmTexture.h: a texture's parameters, the arithmetic of its levels, and the rules of every operation on it.
// Rests on images and formats. Backends derive the class and only translate: what reaches them was tested.
//
//     KolmTexture.cpp       parameters, names, sizes, init()
//     KolmTextureCheck.cpp  the rules check_...

#pragma once

#include "KolmFormat.h"
#include "KolmImage.h"
#include "KolmPlatform.h"
#include "KolmString.h"

namespace Kolm {

/// Pixels on a device. Created by Device; not to be changed from two threads at once.
class Texture : public PlatformBase {
public:
    enum Type : uint32_t { TypeUnknown = 0, Type2D, Type3D, TypeCube, NumTypes };

    enum Flags : uint32_t {
        FlagNone = 0,
#define TEXTURE_FLAG(BIT, NAME, ...) Flag##NAME = 1u << BIT,
#include "KolmTextureFlags.inc"
        FlagMultisample = FlagMultisample2 | FlagMultisample4 | FlagMultisample8,
        DefaultFlags = FlagNone,
        NumFlags = 22
    };

    explicit Texture(uint32_t index);

    /// Gives the memory back and forgets all parameters.
    virtual void clear();
    virtual bool isCreated() const = 0;
    /// Name in messages and in the API's debug tools.
    virtual void setName(const char *name);
    /// Words of the flags, each with a blank behind it, or "None".
    virtual String getFlagsName() const;
    /// Such as "2D RGBAu8n 64x32 l4 m7 Target".
    virtual String getDescription() const;
    virtual bool create(Type type, Format format, const Size &size, uint32_t layers, Flags flags) = 0;
    /// Second texture on the memory of a Shared or Interop texture.
    virtual bool create(Texture *texture) = 0;
    /// Bytes of all levels; a backend may know better.
    virtual size_t getMemory() const;

    bool create(Type type, Format format, const Size &size, Flags flags = DefaultFlags) {
        return create(type, format, size, 1, flags);
    }
    bool create2D(Format format, uint32_t size, Flags flags = DefaultFlags) {
        return create(Type2D, format, Size(size, size, 1), flags);
    }
    bool create2D(Format format, uint32_t width, uint32_t height, Flags flags = DefaultFlags) {
        return create(Type2D, format, Size(width, height, 1), flags);
    }
    bool create2D(Format format, uint32_t width, uint32_t height, uint32_t layers, Flags flags = DefaultFlags) {
        return create(Type2D, format, Size(width, height, 1), layers, flags);
    }
    bool create3D(Format format, uint32_t size, Flags flags = DefaultFlags) {
        return create(Type3D, format, Size(size, size, size), flags);
    }
    bool create3D(Format format, uint32_t width, uint32_t height, uint32_t depth, Flags flags = DefaultFlags) {
        return create(Type3D, format, Size(width, height, depth), flags);
    }
    bool createCube(Format format, uint32_t size, Flags flags = DefaultFlags) {
        return create(TypeCube, format, Size(size, size, 1), flags);
    }
    bool createCube(Format format, uint32_t size, uint32_t layers, Flags flags = DefaultFlags) {
        return create(TypeCube, format, Size(size, size, 1), layers, flags);
    }

    const String &getName() const { return texture_name; }

    Type getType() const { return texture_type; }
    static const char *getTypeName(Type type);
    const char *getTypeName() const { return getTypeName(texture_type); }
    bool is2DType() const { return (texture_type == Type2D); }
    bool is3DType() const { return (texture_type == Type3D); }
    bool isCubeType() const { return (texture_type == TypeCube); }

    Flags getFlags() const { return texture_flags; }
    bool hasFlags(Flags flags) const { return (texture_flags & flags) == uint32_t(flags); }
    bool hasFlag(Flags flags) const { return (texture_flags & flags) != 0; }
    static String getFlagsName(Flags flags);

    /// Samples of a pixel: 1, 2, 4 or 8.
    uint32_t getMultisample() const;
    bool hasMultisample() const { return hasFlag(FlagMultisample); }

    Format getFormat() const { return texture_format; }
    const char *getFormatName() const { return Kolm::getFormatName(texture_format); }
#define TEXTURE_FORMAT(NAME) \
    bool NAME() const { return Kolm::NAME(texture_format); }
    TEXTURE_FORMAT(isColorFormat)
    TEXTURE_FORMAT(isDepthFormat)
    TEXTURE_FORMAT(isPixelFormat)
    TEXTURE_FORMAT(isPlainFormat)
    TEXTURE_FORMAT(isMixedFormat)
    TEXTURE_FORMAT(isBlockFormat)
    TEXTURE_FORMAT(isStencilFormat)
    TEXTURE_FORMAT(isNormFormat)
    TEXTURE_FORMAT(isSRGBFormat)
    TEXTURE_FORMAT(isSignedFormat)
    TEXTURE_FORMAT(isUnsignedFormat)
    TEXTURE_FORMAT(isIntegerFormat)
    TEXTURE_FORMAT(isFloatFormat)
    TEXTURE_FORMAT(isi8Format)
    TEXTURE_FORMAT(isu8Format)
    TEXTURE_FORMAT(is8BitFormat)
    TEXTURE_FORMAT(isi16Format)
    TEXTURE_FORMAT(isu16Format)
    TEXTURE_FORMAT(isf16Format)
    TEXTURE_FORMAT(is16BitFormat)
    TEXTURE_FORMAT(isi32Format)
    TEXTURE_FORMAT(isu32Format)
    TEXTURE_FORMAT(isf32Format)
    TEXTURE_FORMAT(is32BitFormat)
    TEXTURE_FORMAT(isi64Format)
    TEXTURE_FORMAT(isu64Format)
    TEXTURE_FORMAT(isf64Format)
    TEXTURE_FORMAT(is64BitFormat)
    TEXTURE_FORMAT(isBC15Format)
    TEXTURE_FORMAT(isBC67Format)
    TEXTURE_FORMAT(isETC2Format)
    TEXTURE_FORMAT(isASTCFormat)
#undef TEXTURE_FORMAT
    uint32_t getComponents() const { return getFormatComponents(texture_format); }
    uint32_t getPixelSize() const { return getFormatPixelSize(texture_format); }
    uint32_t getBlockSize() const { return getFormatBlockSize(texture_format); }
    uint32_t getBlockWidth() const { return getFormatBlockWidth(texture_format); }
    uint32_t getBlockHeight() const { return getFormatBlockHeight(texture_format); }

    /// Extents of a level, at least 1.
    uint32_t getWidth(uint32_t mipmap = 0) const {
        KOLM_ASSERT(is_mipmap(mipmap) && "Texture::getWidth(): invalid mipmap");
        return max(texture_width >> mipmap, 1u);
    }
    uint32_t getHeight(uint32_t mipmap = 0) const {
        KOLM_ASSERT(is_mipmap(mipmap) && "Texture::getHeight(): invalid mipmap");
        return max(texture_height >> mipmap, 1u);
    }
    uint32_t getDepth(uint32_t mipmap = 0) const {
        KOLM_ASSERT(is_mipmap(mipmap) && "Texture::getDepth(): invalid mipmap");
        return max(uint32_t(texture_depth) >> mipmap, 1u);
    }
    uint32_t getFaces() const { return texture_faces; }
    uint32_t getLayers() const { return texture_layers; }
    uint32_t getMipmaps() const { return texture_mipmaps; }
    bool hasFaces() const { return (texture_faces > 1); }
    bool hasLayers() const { return (texture_layers > 1); }
    bool hasMipmaps() const { return (texture_mipmaps > 1); }

    Size getSize(uint32_t mipmap = 0) const { return Size(getWidth(mipmap), getHeight(mipmap), getDepth(mipmap)); }
    Region getRegion(uint32_t mipmap = 0) const { return Region(getSize(mipmap)); }
    /// All faces and layers of one level.
    Slice getSlice(uint32_t mipmap = 0) const;
    /// All faces, layers and levels.
    Slice getFullSlice() const;
    /// First level of exactly this size, 0 if there is none.
    uint32_t findMipmap(const Size &size) const;
    /// Levels of a full chain.
    static uint32_t get_mipmaps(uint32_t width, uint32_t height, uint32_t depth);

    /// Pixels that a sparse texture's memory is bound by, and the first level of its tail; 0 for others.
    uint32_t getTileWidth() const { return texture_tile_width; }
    uint32_t getTileHeight() const { return texture_tile_height; }
    uint32_t getTileDepth() const { return texture_tile_depth; }
    Size getTileSize() const { return Size(texture_tile_width, texture_tile_height, texture_tile_depth); }
    uint32_t getTileMipmaps() const { return texture_tile_mipmaps; }

    /// True if the argument lies inside the texture; logs otherwise.
    bool check(const Origin &origin, uint32_t mipmap = 0) const;
    bool check(const Region &region, uint32_t mipmap = 0) const;
    bool check(const Slice &slice) const;

protected:
    friend class Device;
    friend class ComputeRecorder;

    /// Stores the parameters of create() after testing them; a refusal clears the object.
    bool init(Type type, Format format, const Size &size, uint32_t layers, Flags flags);
    bool init(const Texture *src);
    /// Parameters for the pixels of \p image, which becomes \p dest where mipmaps had to be made.
    bool init(const Image *&image, Image &dest, Flags flags, Async *async);

    /// The rules of the operations. Each logs why and returns false.
    ///
    /// An image or a second texture may be of another format of the same memory layout. A block format also pairs with
    /// a plain format whose pixels have the size of a block, and is counted in blocks then. Origins and regions halve
    /// with each level of a slice.
    bool check_set(const Origin &origin, const Slice &dest_slice, const Image &image, const Slice &image_slice) const;
    /// The image takes the corner of each level that it has room for.
    bool check_get(const Slice &slice, const Image &image, const Slice &image_slice) const;
    bool check_copy(const Origin &origin, const Slice &dest_slice, const Texture *src, const Region &region,
                    const Slice &src_slice) const;
    bool check_clear(const Region &region, const Slice &slice) const;
    /// The shorter list repeats its last entry.
    bool check_bind(const Region *regions, uint32_t num_regions, const Slice *slices, uint32_t num_slices) const;
    /// Levels behind the first of the slice are made from those before them.
    bool check_mipmaps(const Slice &slice) const;

    /// Format of a texture for an image of \p format.
    static Format get_format(Format format, Flags flags);

    String texture_name;
    Type texture_type = TypeUnknown;
    Format texture_format = FormatUnknown;
    Flags texture_flags = FlagNone;
    uint32_t texture_width = 0;
    uint32_t texture_height = 0;
    uint16_t texture_depth = 0;      // 1 unless 3D
    uint16_t texture_faces = 0;      // 6 for Cube, else 1
    uint16_t texture_layers = 0;     // 1 for 3D
    uint16_t texture_mipmaps = 0;    // 1 or the full chain
    uint16_t texture_tile_width = 0; // set by a backend for a sparse texture
    uint16_t texture_tile_height = 0;
    uint16_t texture_tile_depth = 0;
    uint16_t texture_tile_mipmaps = 0;

private:
    bool is_mipmap(uint32_t mipmap) const { return (mipmap < texture_mipmaps || mipmap == 0); }
    bool set_sizes(const Size &size, uint32_t layers);
    bool check_area(const Origin &origin, const Size &size, Format format, uint32_t mipmap) const;
    bool check_areas(const Origin &origin, const Slice &slice, const Image &image, const Slice &image_slice) const;
};

inline Texture::Flags operator|(Texture::Flags a, Texture::Flags b) {
    return Texture::Flags(uint32_t(a) | uint32_t(b));
}
inline Texture::Flags operator&(Texture::Flags a, Texture::Flags b) {
    return Texture::Flags(uint32_t(a) & uint32_t(b));
}
inline Texture::Flags &operator|=(Texture::Flags &a, Texture::Flags b) { return a = a | b; }
inline Texture::Flags operator~(Texture::Flags a) { return Texture::Flags(~uint32_t(a)); }

} // namespace Kolm
