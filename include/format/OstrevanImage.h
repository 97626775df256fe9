// Images in memory, their conversions and files.

#pragma once

#include <base/OstrevanForward.h>
#include <base/OstrevanHandle.h>
#include <core/OstrevanString.h>
#include <format/OstrevanColor.h>
#include <format/OstrevanFormat.h>
#include <format/OstrevanSize.h>
#include <format/OstrevanSlice.h>

namespace Ostrevan {

/// Pixels of a 2D, 3D or cube image with layers and mipmaps. One image belongs to one caller at a time.
/// Bad data and images that an operation does not take are logged, and give false or an empty handle.
/// Operations with an Async spread their work over its workers and return when it is done; the results are the same.
/// Copies of the handle share the pixels; clonePtr() copies them. The operators compare handles, compare() contents.
///
/// Layout of the pixels, from outermost to innermost: layer, face, mipmap, depth slice, row, pixel or block.
class OSTREVAN_API Image {
    OSTREVAN_LEAF_HANDLE(Image)
public:
    enum Type : uint32_t { TypeUnknown = 0, Type2D, Type3D, TypeCube, NumTypes };

    enum Flags : uint32_t {
        FlagNone = 0,
        FlagMipmaps = 1 << 0,    ///< full chain of mipmaps
        FlagNoClear = 1 << 1,    ///< new pixels are left as they come
        FlagNoAllocate = 1 << 2, ///< description only
        FlagFast = 1 << 3,       ///< fast rather than good
        FlagBest = 1 << 4,       ///< good rather than fast
        FlagPerceptual = 1 << 5, ///< weigh channels by the eye's sensitivity
        FlagPanorama = 1 << 6,   ///< equirectangular panorama
        FlagNormalize = 1 << 7,  ///< stretch floats to the range of an integer target
        FlagGamma = 1 << 8,      ///< fast power of 2.2
        FlagSRGB = 1 << 9,       ///< sRGB transfer function
        NumFlags = 10,
    };

    enum Filter : uint32_t {
        FilterUnknown = 0,
        FilterPoint,
        FilterLinear,
        FilterCubic,
        FilterSinc,
        FilterBox,
        FilterMax,
        FilterMin,
        FilterMip,
        FilterCR,
        NumFilters
    };

    Image();
    /// Loads a file, or describes an image as create() does. The handle is empty if that fails.
    explicit Image(const char *name, Flags flags = FlagNone, uint32_t offset = 0);
    explicit Image(Stream &stream, Flags flags = FlagNone, uint32_t offset = 0);
    Image(Type type, Format format, const Size &size, Flags flags = FlagNone);
    Image(Type type, Format format, const Size &size, uint32_t layers, Flags flags = FlagNone);
    /// Frees the pixels and forgets the description. Ends the process if something wrote behind the pixels.
    void clear();
    void swap(Image &image);

    /// Describes the image and allocates its pixels, zero unless FlagNoClear is set. Expects a known type and format
    /// and sizes above 0. An image of exactly this description keeps its memory.
    /// Returns false and logs if the size is beyond what can be held; the image is empty then.
    bool create(Type type, Format format, const Size &size, uint32_t layers, Flags flags = FlagNone);
    bool create(Type type, Format format, const Size &size, Flags flags = FlagNone) {
        return create(type, format, size, 1, flags);
    }
    bool create2D(Format format, uint32_t size, Flags flags = FlagNone) {
        return create(Type2D, format, Size(size, size), 1, flags);
    }
    bool create2D(Format format, uint32_t width, uint32_t height, Flags flags = FlagNone) {
        return create(Type2D, format, Size(width, height), 1, flags);
    }
    bool create2D(Format format, uint32_t width, uint32_t height, uint32_t layers, Flags flags = FlagNone) {
        return create(Type2D, format, Size(width, height), layers, flags);
    }
    bool create2D(Format format, const Size &size, Flags flags = FlagNone) {
        return create(Type2D, format, size, 1, flags);
    }
    bool create3D(Format format, uint32_t size, Flags flags = FlagNone) {
        return create(Type3D, format, Size(size, size, size), 1, flags);
    }
    bool create3D(Format format, uint32_t width, uint32_t height, uint32_t depth, Flags flags = FlagNone) {
        return create(Type3D, format, Size(width, height, depth), 1, flags);
    }
    bool create3D(Format format, const Size &size, Flags flags = FlagNone) {
        return create(Type3D, format, size, 1, flags);
    }
    bool createCube(Format format, uint32_t size, Flags flags = FlagNone) {
        return create(TypeCube, format, Size(size, size), 1, flags);
    }
    bool createCube(Format format, uint32_t size, uint32_t layers, Flags flags = FlagNone) {
        return create(TypeCube, format, Size(size, size), layers, flags);
    }
    bool createCube(Format format, const Size &size, Flags flags = FlagNone) {
        return create(TypeCube, format, size, 1, flags);
    }

    /// Reads the description, or the image, of a file, or of what else a Source finds under the name. A named stream is
    /// told by the extension of its name, a nameless one by its first four bytes. \p offset is the handler's: for
    /// native files the first mipmap to take.
    bool info(const char *name, Flags flags = FlagNone, uint32_t offset = 0, Async *async = nullptr);
    bool info(const String &name, Flags flags = FlagNone, uint32_t offset = 0, Async *async = nullptr);
    bool info(Stream &stream, Flags flags = FlagNone, uint32_t offset = 0, Async *async = nullptr);
    bool load(const char *name, Flags flags = FlagNone, uint32_t offset = 0, Async *async = nullptr);
    bool load(const String &name, Flags flags = FlagNone, uint32_t offset = 0, Async *async = nullptr);
    bool load(Stream &stream, Flags flags = FlagNone, uint32_t offset = 0, Async *async = nullptr);
    /// Writes a file in the format of the name's extension. Expects an allocated image. \p quality, 0 to 100, is for
    /// formats that lose something.
    bool save(const char *name, Flags flags = FlagNone, uint32_t quality = 90) const;
    bool save(const String &name, Flags flags = FlagNone, uint32_t quality = 90) const;
    bool save(Stream &stream, Flags flags = FlagNone, uint32_t quality = 90) const;

    /// True if there is a description.
    bool isLoaded() const;
    /// True if there are pixels.
    bool isAllocated() const;

    Type getType() const;
    static const char *getTypeName(Type type);
    const char *getTypeName() const;
    bool is2DType() const;
    bool is3DType() const;
    bool isCubeType() const;

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
    uint32_t getPixelSize() const;
    uint32_t getBlockSize() const;
    uint32_t getBlockWidth() const;
    uint32_t getBlockHeight() const;

    /// Extents of a level, at least 1.
    uint32_t getWidth(uint32_t mipmap = 0) const;
    uint32_t getHeight(uint32_t mipmap = 0) const;
    uint32_t getDepth(uint32_t mipmap = 0) const;
    uint32_t getFaces() const;
    uint32_t getLayers() const;
    uint32_t getMipmaps() const;
    bool hasFaces() const;
    bool hasLayers() const;
    bool hasMipmaps() const;
    /// First level of exactly this size, 0 if there is none.
    uint32_t findMipmap(const Size &size) const;

    Size getSize(uint32_t mipmap = 0) const;
    Region getRegion(uint32_t mipmap = 0) const;
    /// All faces, all layers and the levels from \p mipmap to the end of the chain.
    Slice getSlice(uint32_t mipmap = 0) const;

    /// Text that belongs to the image, such as camera data.
    void setMetaInfo(const char *text);
    String getMetaInfo() const;

    /// Such as "2D RGBAu8n 64x32 l4 m7".
    String getDescription() const;
    /// Bytes that the image takes.
    size_t getMemory() const;

    /// True if the argument lies inside the image; logs otherwise.
    bool check(const Origin &origin, uint32_t mipmap = 0) const;
    bool check(const Region &region, uint32_t mipmap = 0) const;
    bool check(const Slice &slice) const;

    /// Bytes between rows (rows of blocks), of a level, of one face with its levels, and of everything. Row pitches
    /// are rounded up to a multiple of \p alignment; the pixels in memory have alignment 1.
    size_t getStride(uint32_t mipmap = 0, uint32_t alignment = 1) const;
    size_t getMipmapSize(uint32_t mipmap = 0, uint32_t alignment = 1) const;
    size_t getLayerSize(uint32_t alignment = 1) const;
    size_t getDataSize(uint32_t alignment = 1) const;
    /// Start of the first face, layer and level of a slice.
    size_t getOffset(const Slice &slice, uint32_t alignment = 1) const;

    /// Pixels at the start of a slice, or at a pixel of it. Expects an allocated image and places inside it.
    /// For block formats it is the block of that pixel, with rows of blocks counted through all depth slices.
    const uint8_t *getData(const Slice &slice = Slice()) const;
    uint8_t *getData(const Slice &slice = Slice());
    const uint8_t *getData(const Origin &origin, const Slice &slice = Slice()) const;
    uint8_t *getData(const Origin &origin, const Slice &slice = Slice());

    /// Copies one level from or to a foreign buffer. Its row pitch is that of \p alignment, or \p stride bytes if
    /// \p alignment is 0. Returns false for a slice that is not in the image.
    bool setData(const void *src, const Slice &slice = Slice(), uint32_t alignment = 1, size_t stride = 0);
    bool getData(void *dst, const Slice &slice = Slice(), uint32_t alignment = 1, size_t stride = 0) const;

    /// Exchanges two components of all pixels.
    bool swap(uint32_t c0, uint32_t c1);
    /// Copies one component of all pixels. Expects images of equal type and size whose elements have equal width.
    bool copy(const Image &src, uint32_t dst_component, uint32_t src_component);
    /// Copies pixels between images of one format. Origin and region halve with each level of the slices, which have
    /// equal numbers of faces, layers and levels. Block formats copy whole blocks.
    bool copy(const Image &src, const Origin &origin, const Region &region, const Slice &dst_slice = Slice(),
              const Slice &src_slice = Slice());
    bool copy(const Image &src, const Origin &origin, const Slice &dst_slice = Slice(),
              const Slice &src_slice = Slice());
    /// Copies whole levels.
    bool copy(const Image &src, const Slice &dst_slice, const Slice &src_slice);

    /// Mirrors a region of 2D images in place. The region halves with each level.
    bool flipX(const Region &region, const Slice &slice);
    bool flipY(const Region &region, const Slice &slice);
    bool flipX() { return flipX(getRegion(), getSlice()); }
    bool flipY() { return flipY(getRegion(), getSlice()); }

    /// Image of a part. One face of a cube is a 2D image. A chain has as many levels as the result's size gives;
    /// those that the slice does not name are zero.
    Image getSlice(const Slice &slice) const;
    Image getRegion(const Region &region, const Slice &slice = Slice()) const;
    /// One channel as an image. Takes plain colour formats up to 32 bits.
    Image getComponent(uint32_t index) const;
    /// Turned clockwise by quarters. A cube turns about its vertical axis.
    Image getRotated(int32_t turns, const Slice &slice) const;
    Image getRotated(int32_t turns) const { return getRotated(turns, getSlice()); }

    /// Converts the pixels; docs/images.md tells which pairs of formats convert and how.
    Image toFormat(Format format, Flags flags = FlagNone, Async *async = nullptr) const;

    /// Resampled level 0 of 2D and cube images of plain colour formats up to 32 bits, others with FilterPoint only.
    /// A width or height of 0 keeps the proportions. If the image has a level of exactly this size, the result is a
    /// copy of it and those below. If one axis grows, \p mag_filter serves both: point, linear or cubic; otherwise
    /// \p min_filter: point, box, max, min or sinc, which is a Lanczos window of order 4. Another one ends the process.
    /// FlagGamma sums colours in linear light, by the fast power. Empty if the image can't be resized.
    Image getResized(const Size &size, Filter min_filter, Filter mag_filter, Flags flags = FlagNone,
                     Async *async = nullptr) const;
    Image getResized(const Size &size, Flags flags = FlagNone, Async *async = nullptr) const {
        return getResized(size, FilterBox, FilterLinear, flags, async);
    }

    /// The image with a full chain, each level made of 2x2 texels of the one above, in 3D of 2x2x2. Takes point, box,
    /// max and min; other filters end the process, and so do packed formats with another filter than point. 8-bit sRGB
    /// is averaged in linear light. Empty if the image can't have mipmaps.
    Image getMipmapped(Filter filter, Flags flags = FlagNone, Async *async = nullptr) const;
    Image getMipmapped(Flags flags = FlagNone, Async *async = nullptr) const {
        return getMipmapped(FilterBox, flags, async);
    }

    /// A cube as a cross, or as an equirectangular panorama with FlagPanorama; and back. Without the flag a 2D image is
    /// taken by its proportions as a strip or a cross of faces. The result has one level. Empty if that fails.
    Image toType(Type type, Flags flags = FlagNone, Async *async = nullptr) const;

    /// Orders by type, format, sizes and content: negative, 0 or positive.
    int32_t compare(const Image &image) const;
};

constexpr Image::Flags operator|(Image::Flags a, Image::Flags b) { return Image::Flags(uint32_t(a) | uint32_t(b)); }
constexpr Image::Flags operator&(Image::Flags a, uint32_t b) { return Image::Flags(uint32_t(a) & b); }

} // namespace Ostrevan
