// Registry of image file handlers.

#include "KolmImageStream.h"

#include "KolmLog.h"
#include "KolmStream.h"

namespace Kolm {

// Static handlers of other files fill the maps before or after this file's own statics would be made.
Map<String, ImageStream *> &ImageStream::get_names() {
    static Map<String, ImageStream *> image_stream_names;
    return image_stream_names;
}
Map<uint32_t, ImageStream *> &ImageStream::get_magics() {
    static Map<uint32_t, ImageStream *> image_stream_magics;
    return image_stream_magics;
}

ImageStream::ImageStream(Flags flags, const char *name, uint32_t magic) : ImageStream(flags, {name}, {magic}) {}
ImageStream::ImageStream(Flags flags, std::initializer_list<const char *> names, uint32_t magic)
    : ImageStream(flags, names, {magic}) {}
ImageStream::ImageStream(Flags flags, std::initializer_list<const char *> names, std::initializer_list<uint32_t> magics)
    : flags(flags) {
    for(const char *name : names) get_names().append(String(name), this);
    for(const uint32_t magic : magics) {
        if(magic) get_magics().append(magic, this);
    }
}
ImageStream::~ImageStream() = default;

ImageStream *ImageStream::instance() { return nullptr; }

bool ImageStream::info(Stream &, Image &, Image::Flags, uint32_t, Async *) {
    Log::printf(Log::Error, "ImageStream::info(): can't read this format\n");
    return false;
}
bool ImageStream::load(Stream &, Image &, Image::Flags, uint32_t, Async *) {
    Log::printf(Log::Error, "ImageStream::load(): can't read this format\n");
    return false;
}
bool ImageStream::save(Stream &, const Image &, Image::Flags, uint32_t) {
    Log::printf(Log::Error, "ImageStream::save(): can't write this format\n");
    return false;
}

ImageStream *ImageStream::find(const String &name, uint32_t magic, bool log) {
    if(!name.empty()) {
        String extension = name.extension();
        if(extension.empty()) extension = name;
        ImageStream **handler = get_names().get(extension.lower());
        if(handler) return *handler;
        if(log) Log::printf(Log::Error, "ImageStream::get(): can't find \"%s\" image format\n", name.get());
    }
    if(magic) {
        ImageStream **handler = get_magics().get(magic);
        if(handler) return *handler;
        if(log) Log::printf(Log::Error, "ImageStream::get(): can't find 0x%08x image format\n", magic);
    }
    return nullptr;
}

ImageStream *ImageStream::get(const String &name, uint32_t magic) { return find(name, magic, true); }

bool ImageStream::check(const String &name, uint32_t magic) {
    const ImageStream *handler = find(name, magic, false);
    return handler && (handler->flags & FlagLoad);
}

String ImageStream::get_formats(Flags flags) {
    String ret;
    for(auto it = get_names().begin(); it; ++it) {
        if((it->data->flags & flags) == 0) continue;
        ret += ".";
        ret += it->key;
    }
    return ret;
}

bool ImageStream::isPlausible(const Stream &stream, uint64_t size, uint32_t ratio, uint64_t ahead) {
    const uint64_t total = stream.getSize();
    if(total == 0) return true;
    const uint64_t position = stream.tell();
    const uint64_t left = ((position < total) ? total - position : 0) + ahead;
    const uint64_t slack = (ratio > 1) ? 0x10000 : 0;
    return size <= slack || (size - slack) / ratio <= left;
}

} // namespace Kolm
