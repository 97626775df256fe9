// Pixels on a device.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanString.h>
#include <format/OstrevanFormat.h>
#include <format/OstrevanSize.h>
#include <format/OstrevanSlice.h>
#include <platform/OstrevanPlatform.h>

namespace Ostrevan {

/// Pixels of a 2D, 3D or cube texture with layers and mipmaps, made by Device::createTexture(). Not to be changed from
/// two threads at once. Its contents are read and written through Device, Compute and Command.
class OSTREVAN_API Texture {
    OSTREVAN_HANDLE(Texture)
public:
    enum Type : uint32_t { TypeUnknown = 0, Type2D, Type3D, TypeCube, NumTypes };

    enum Flags : uint32_t {
        FlagNone = 0,
        FlagRead = 1 << 0,   ///< the host reads it
        FlagWrite = 1 << 1,  ///< the host writes it
        FlagTarget = 1 << 2, ///< attachment of a target
        FlagBuffer = 1 << 3,
        FlagSource = 1 << 4, ///< source of copies
        FlagSparse = 1 << 5, ///< memory is bound tile by tile
        FlagShared = 1 << 6, ///< memory that other adapters import
        FlagExtern = 1 << 7,
        FlagInterop = 1 << 8,       ///< memory with a handle for other APIs
        FlagSurface = 1 << 9,       ///< storage image of shaders
        FlagMutable = 1 << 10,      ///< views may have another format of the same size
        FlagMipmaps = 1 << 11,      ///< full chain of mipmaps
        FlagGenerate = 1 << 12,     ///< an image without mipmaps gets them
        FlagFormatNorm = 1 << 13,   ///< of an image's format take the normalised twin
        FlagFormatSRGB = 1 << 14,   ///< of an image's format take the sRGB twin
        FlagFormatSigned = 1 << 15, ///< of an image's format take the signed twin
        FlagMultisample2 = 1 << 16,
        FlagMultisample4 = 1 << 17,
        FlagMultisample8 = 1 << 18,
        FlagClearOne = 1 << 19, ///< what a target is cleared to as a rule
        FlagClearZero = 1 << 20,
        FlagClearNormal = 1 << 21,
        FlagMultisample = FlagMultisample2 | FlagMultisample4 | FlagMultisample8,
        DefaultFlags = FlagNone,
        NumFlags = 22
    };

    Texture();

    /// PlatformUnknown for an empty handle.
    Platform getPlatform() const;
    const char *getPlatformName() const;
    /// Adapter that the texture belongs to.
    uint32_t getIndex() const;

    /// Gives the memory back and forgets all parameters.
    void clear();
    bool isCreated() const;
    /// Expects a texture that is not created, from Device::createTexture(), and sizes above 0, in pixels. False if the
    /// reason was logged.
    bool create(Type type, Format format, const Size &size, uint32_t layers, Flags flags = DefaultFlags);
    bool create(Type type, Format format, const Size &size, Flags flags = DefaultFlags);
    bool create2D(Format format, uint32_t size, Flags flags = DefaultFlags);
    bool create2D(Format format, uint32_t width, uint32_t height, Flags flags = DefaultFlags);
    bool create2D(Format format, uint32_t width, uint32_t height, uint32_t layers, Flags flags = DefaultFlags);
    bool create3D(Format format, uint32_t size, Flags flags = DefaultFlags);
    bool create3D(Format format, uint32_t width, uint32_t height, uint32_t depth, Flags flags = DefaultFlags);
    bool createCube(Format format, uint32_t size, Flags flags = DefaultFlags);
    bool createCube(Format format, uint32_t size, uint32_t layers, Flags flags = DefaultFlags);
    /// Second texture on the memory of a Shared or Interop texture.
    bool create(const Texture &texture);

    /// Name in messages and in the API's debug tools.
    void setName(const char *name);
    String getName() const;

    Type getType() const;
    static const char *getTypeName(Type type);
    const char *getTypeName() const;
    bool is2DType() const;
    bool is3DType() const;
    bool isCubeType() const;

    Flags getFlags() const;
    /// Whether all of the flags are set, and whether one of them is.
    bool hasFlags(Flags flags) const;
    bool hasFlag(Flags flags) const;
    /// Words of the flags, each with a blank behind it, or "None".
    String getFlagsName() const;
    /// Such as "2D RGBAu8n 64x32 l4 m7 Target".
    String getDescription() const;

    /// Samples of a pixel: 1, 2, 4 or 8.
    uint32_t getMultisample() const;
    bool hasMultisample() const;

    Format getFormat() const;
    const char *getFormatName() const;
    bool isColorFormat() const;
    bool isDepthFormat() const;
    bool isPixelFormat() const;
    bool isPlainFormat() const;
    bool isMixedFormat() const;
    bool isBlockFormat() const;
    bool isStencilFormat() const;
    bool isNormFormat() const;
    bool isSRGBFormat() const;
    bool isSignedFormat() const;
    bool isUnsignedFormat() const;
    bool isIntegerFormat() const;
    bool isFloatFormat() const;
    bool isi8Format() const;
    bool isu8Format() const;
    bool is8BitFormat() const;
    bool isi16Format() const;
    bool isu16Format() const;
    bool isf16Format() const;
    bool is16BitFormat() const;
    bool isi32Format() const;
    bool isu32Format() const;
    bool isf32Format() const;
    bool is32BitFormat() const;
    bool isi64Format() const;
    bool isu64Format() const;
    bool isf64Format() const;
    bool is64BitFormat() const;
    bool isBC15Format() const;
    bool isBC67Format() const;
    bool isETC2Format() const;
    bool isASTCFormat() const;
    uint32_t getComponents() const;
    /// Bytes of a pixel, 0 for blocks; bytes and pixels of a block, 0 for all others.
    uint32_t getPixelSize() const;
    uint32_t getBlockSize() const;
    uint32_t getBlockWidth() const;
    uint32_t getBlockHeight() const;

    /// Extents of a level, at least 1. Expects a level that the texture has.
    uint32_t getWidth(uint32_t mipmap = 0) const;
    uint32_t getHeight(uint32_t mipmap = 0) const;
    uint32_t getDepth(uint32_t mipmap = 0) const;
    uint32_t getFaces() const;
    uint32_t getLayers() const;
    uint32_t getMipmaps() const;
    bool hasFaces() const;
    bool hasLayers() const;
    bool hasMipmaps() const;
    Size getSize(uint32_t mipmap = 0) const;
    Region getRegion(uint32_t mipmap = 0) const;
    /// All faces and layers of one level.
    Slice getSlice(uint32_t mipmap = 0) const;
    /// First level of exactly this size, 0 if there is none.
    uint32_t findMipmap(const Size &size) const;

    /// Pixels that a sparse texture's memory is bound by, and the first level of its tail; 0 for others.
    uint32_t getTileWidth() const;
    uint32_t getTileHeight() const;
    uint32_t getTileDepth() const;
    Size getTileSize() const;
    uint32_t getTileMipmaps() const;

    /// Bytes of device memory.
    size_t getMemory() const;
};

inline Texture::Flags operator|(Texture::Flags a, Texture::Flags b) {
    return Texture::Flags(uint32_t(a) | uint32_t(b));
}
inline Texture::Flags operator&(Texture::Flags a, Texture::Flags b) {
    return Texture::Flags(uint32_t(a) & uint32_t(b));
}
inline Texture::Flags &operator|=(Texture::Flags &a, Texture::Flags b) { return a = a | b; }
inline Texture::Flags operator~(Texture::Flags a) { return Texture::Flags(~uint32_t(a)); }

} // namespace Ostrevan
