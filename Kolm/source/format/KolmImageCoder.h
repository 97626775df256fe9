// Registry of the block coders, and how they walk an image.
//
// A coder registers by existing: its one static object fills the map during start-up, which is read-only afterwards.
// Coders do not fail on pixels: every block decodes to something.

#pragma once

#include "KolmFunction.h"
#include "KolmImage.h"
#include "KolmMap.h"

namespace Kolm {

/// Turns plain images into block images and back. Coders are shared by threads and keep no state of a call.
class ImageCoder {
public:
    enum Flags : uint32_t { FlagNone = 0, FlagDecode = 1, FlagEncode = 2, FlagDecodeEncode = 3 };

    /// Registers for the formats from \p begin to \p back.
    ImageCoder(Flags flags, Format begin, Format back);
    virtual ~ImageCoder();

    ImageCoder(const ImageCoder &) = delete;
    ImageCoder &operator=(const ImageCoder &) = delete;

    /// Pixels of an allocated block image as \p format, 0 for toPixelFormat() of the image. Empty if there is no
    /// memory. \p async, which may be null, takes rows of blocks; the result does not depend on it.
    virtual Image decode(Format format, const Image &image, Image::Flags flags, Async *async) = 0;
    /// Blocks of \p format from an allocated image, which is converted to toPixelFormat() first. FlagFast and FlagBest
    /// set the effort, FlagPerceptual the metric.
    virtual Image encode(Format format, const Image &image, Image::Flags flags, Async *async) = 0;

    Flags getFlags() const { return flags; }

    /// True if the format has a coder.
    static bool check(Format format);
    /// Coder of a format; null and a line if there is none.
    static ImageCoder *get(Format format);
    /// Names of the formats, with a blank between them.
    static String getDecodeFormats() { return get_formats(FlagDecode); }
    static String getEncodeFormats() { return get_formats(FlagEncode); }

protected:
    /// One row of blocks and the pixels that it covers. The target's side is written.
    struct Row {
        uint8_t *blocks;
        uint8_t *pixels;
        size_t stride;   // bytes between rows of pixels
        uint32_t width;  // pixels
        uint32_t height; // rows of pixels that exist, 1 to the height of a block
    };
    using RowFunction = Function<void(const Row &)>;

    /// Calls \p func for every row of blocks in all layers, faces, levels and depth slices. Rows do not overlap; with
    /// \p async they are spread over its workers.
    static void for_each_row(const Image &blocks, const Image &pixels, const RowFunction &func, Async *async);

    /// Bits of CoderFlags.
    static uint32_t get_flags(Image::Flags flags);
    /// The image as the plain format from which \p format is encoded, \p converted holding it if it differs. Null if
    /// there is no way.
    static const Image *get_pixels(Format format, const Image &image, Image &converted, Async *async);
    /// Image of another format and the size of \p image, without its contents.
    static bool create(Image &ret, const Image &image, Format format);

private:
    static Map<uint32_t, ImageCoder *> &get_coders();
    static String get_formats(Flags flags);

    const Flags flags;
};

} // namespace Kolm
