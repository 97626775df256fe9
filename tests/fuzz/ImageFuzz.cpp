// Fuzz entry of the image readers. Build with `clang++ -fsanitize=fuzzer,address,undefined`.
//
// The first byte picks a handler, unless OSTREVAN_FUZZ_READER names one, as "png"; the rest is the file. What loads has the described size, saves to the native format
// and comes back as it was. A failure leaves a line in the log.

#include <stdlib.h>
#include <string.h>

#include "KolmBlob.h"
#include "KolmExif.h"
#include "KolmImageStream.h"
#include "KolmLog.h"

using namespace Kolm;

static uint32_t lines = 0;

static bool count_lines(Log::Level level, size_t, const char *, void *) {
    lines += (level <= Log::Error);
    return true;
}

static const char *const names[] = {"x.png", "x.jpg", "x.dds", "x.ktx", "x.image", "x.tga",
                                    "x.bmp", "x.hdr", "x.ppm", nullptr, "exif"};
static constexpr uint32_t num_names = array_size(names);

static uint32_t get_chosen() {
    const char *name = getenv("OSTREVAN_FUZZ_READER");
    for(uint32_t i = 0; name && i < num_names; i++) {
        if(names[i] && strstr(names[i], name)) return i;
    }
    return ~0u;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const uint32_t chosen = get_chosen();
    if(size < 2) return 0;
    Log::setCallback(count_lines);
    const uint32_t index = (chosen < num_names) ? chosen : data[0] % num_names;
    const uint32_t offset = data[1] & 3;
    Blob blob(data + 2, size - 2, (index < num_names - 1) ? names[index] : nullptr);
    if(index == num_names - 1) {
        String text;
        Exif::readTIFF(blob, size - 2, text);
        return 0;
    }
    lines = 0;
    Image info, image;
    const bool known = info.info(blob, Image::FlagNone, offset);
    if(!known && lines == 0) abort();
    blob.seek(0);
    lines = 0;
    if(!image.load(blob, Image::FlagNone, offset)) {
        if(lines == 0) abort();
        return 0;
    }
    if(!known || info.getDescription() != image.getDescription() || info.isAllocated()) abort();
    if(image.getDataSize() > (1u << 22)) return 0;

    Blob saved("x.image");
    Image again;
    if(!image.save(saved) || !saved.seek(0)) abort();
    if(!again.load(saved)) {
        if(image.isMixedFormat()) return 0;
        abort();
    }
    if(again != image) abort();
    if(image.isPlainFormat() && image.isColorFormat() && !image.is64BitFormat()) {
        image.getResized(Size(7, 0), Image::FilterSinc, Image::FilterCubic);
        image.getMipmapped();
        image.toFormat(FormatRGBAf32);
    }
    return 0;
}
