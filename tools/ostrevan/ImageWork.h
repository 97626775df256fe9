// What `ostrevan image` does with one file.

#pragma once

#include <Ostrevan.h>

#include <stdint.h>
#include <string>
#include <vector>

/// The command line, the same for all files.
struct ImageOptions {
    std::vector<std::string> inputs;
    std::string output;    // file
    std::string folder;    // for files of the inputs' names
    std::string extension; // of those, without the full stop; empty for the input's
    std::string other;     // picture to compare with
    double threshold = 0.0;
    Ostrevan::Format format = Ostrevan::FormatUnknown;
    Ostrevan::Image::Type type = Ostrevan::Image::TypeUnknown;
    Ostrevan::Image::Filter filter = Ostrevan::Image::FilterUnknown;
    uint32_t flags = 0; // of Image
    uint32_t quality = 90;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t slice[3] = {0, 0, 0}; // face, layer, mipmap
    uint32_t component = 0;
    uint32_t jobs = 1;
    int32_t turns = 0;
    bool has_resize = false;
    bool has_slice = false;
    bool has_component = false;
    bool has_mipmaps = false;
    bool flip_x = false;
    bool flip_y = false;
    bool info = false;
    bool json = false;

    /// True if pixels are wanted, not only the description.
    bool hasWork() const {
        return format || type || has_resize || has_slice || has_component || has_mipmaps || flip_x || flip_y || turns ||
               !output.empty() || !folder.empty() || !other.empty();
    }
    /// Name of the file that an input becomes; empty if nothing is written.
    std::string getOutput(const std::string &input) const;
};

/// What came of one file.
struct ImageResult {
    bool done = false;
    std::string text;  // for the standard output: lines, or one JSON object without a line break
    std::string error; // one line without a line break
};

/// Reads, changes, compares and writes one file. May run on several threads; needs holdImageErrors() as callback of the
/// log.
///
/// \p async, if there is one, shares the work on the file.
ImageResult runImage(const ImageOptions &options, const std::string &input, Ostrevan::Async *async = nullptr);

/// Keeps the errors of the library for the thread on which they arose.
bool holdImageErrors(Ostrevan::Log::Level level, size_t, const char *text, void *);

/// Differences of two pictures of one size, for each channel in parts of the full range of its format. Returns false
/// for formats without addressable channels and for pictures of different size.
struct ImageDifference {
    struct Channel {
        double mean;
        double max;
        double psnr; // dB, infinite for equal channels
    };
    std::vector<Channel> channels;
    double max = 0.0;
};
bool compareImages(const Ostrevan::Image &a, const Ostrevan::Image &b, ImageDifference &difference);

/// The picture in another format: through floats where there is no direct way; grey becomes all colours.
Ostrevan::Image convertImage(const Ostrevan::Image &image, Ostrevan::Format format, uint32_t flags,
                             Ostrevan::Async *async = nullptr);
