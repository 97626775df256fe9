// The registry of image file handlers, and the base of all of them. A handler registers by existing: one static object
// of each class fills the maps of extensions and magic words before user code runs; afterwards they are only read.

#pragma once

#include "KolmImage.h"
#include "KolmMap.h"

namespace Kolm {

/// Reads and writes one family of image files. Handlers keep what a call needs on the stack, so that the registered
/// objects serve several threads.
class ImageStream {
public:
    enum Flags : uint32_t {
        FlagNone = 0,
        FlagLoad = 1 << 0,
        FlagSave = 1 << 1,
        FlagLoadSave = FlagLoad | FlagSave,
    };

    /// Extensions in lower case. Magic words are the first four bytes of a file, little-endian; 0 is none.
    ImageStream(Flags flags, const char *name, uint32_t magic = 0);
    ImageStream(Flags flags, std::initializer_list<const char *> names, uint32_t magic = 0);
    ImageStream(Flags flags, std::initializer_list<const char *> names, std::initializer_list<uint32_t> magics);
    virtual ~ImageStream();

    ImageStream(const ImageStream &) = delete;
    ImageStream &operator=(const ImageStream &) = delete;

    /// Null if the registered object itself serves a call, otherwise a new object for one call, owned by the caller.
    virtual ImageStream *instance();

    /// Fills the description of \p image, which is empty, and allocates no pixels.
    virtual bool info(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async);
    /// Fills \p image, which is empty. After a failure it may be partly filled.
    virtual bool load(Stream &stream, Image &image, Image::Flags flags, uint32_t offset, Async *async);
    /// Writes \p image, which has pixels.
    virtual bool save(Stream &stream, const Image &image, Image::Flags flags, uint32_t quality);

    Flags getFlags() const { return flags; }

    /// Handler of a file name or extension, or else of a magic word; logs what is not found. Null if there is none.
    static ImageStream *get(const String &name, uint32_t magic);
    /// The same search without a word; true if the handler loads.
    static bool check(const String &name, uint32_t magic);
    /// Extensions, each with a full stop in front.
    static String getLoadFormats() { return get_formats(FlagLoad); }
    static String getSaveFormats() { return get_formats(FlagSave); }

    /// True if \p stream can still hold \p size bytes of pixels that were packed by at most \p ratio, as far as its
    /// size is known, \p ahead bytes of them taken from it already. Keeps small hostile files from asking for much memory.
    static bool isPlausible(const Stream &stream, uint64_t size, uint32_t ratio, uint64_t ahead = 0);

    /// Highest ratio of zlib data.
    static constexpr uint32_t ZipRatio = 1032;

protected:
    const Flags flags;

private:
    static Map<String, ImageStream *> &get_names();
    static Map<uint32_t, ImageStream *> &get_magics();
    static ImageStream *find(const String &name, uint32_t magic, bool log);
    static String get_formats(Flags flags);
};

} // namespace Kolm
