// KolmBuffer.cpp: the rules of buffers. No range test adds before it compares, so that huge values cannot wrap.

#include "KolmBuffer.h"

#include "KolmLog.h"

namespace Kolm {

namespace {

constexpr const char *flag_words[Buffer::NumFlags] = {
#define BUFFER_FLAG(BIT, NAME, WORD) WORD,
#include "KolmBufferFlags.inc"
};

// End of a range for messages: a sum past the top shows as the top.
size_t get_end(size_t offset, size_t size) { return (size > SIZE_MAX - offset) ? SIZE_MAX : offset + size; }

bool is_inside(size_t total, size_t offset, size_t size) { return offset < total && size <= total - offset; }

void append_part(String &dest, const char *part) {
    if(*part == '\0') return;
    if(dest) dest += ' ';
    dest += part;
}

} // namespace

Buffer::Buffer(uint32_t index) : PlatformBase(index) {}

void Buffer::clear() {
    buffer_name.clear();
    buffer_flags = FlagNone;
    buffer_format = FormatUnknown;
    buffer_size = 0;
    buffer_page_size = 0;
    buffer_mapped = false;
}

void Buffer::setName(const char *name) { buffer_name = (name) ? name : ""; }

String Buffer::getFlagsName(Flags flags) {
    StringStack<128> name;
    for(uint32_t i = 0; i < NumFlags; i++) {
        if(flags & (1u << i)) name += flag_words[i];
    }
    if(name.empty()) name += "None";
    return String(name);
}

String Buffer::getFlagsName() const { return getFlagsName(buffer_flags); }

String Buffer::getDescription() const {
    String description = String::fromBytes(buffer_size);
    String flags = getFlagsName();
    while(flags && flags.back() == ' ') flags.removeBack();
    append_part(description, flags.get());
    if(buffer_format != FormatUnknown) append_part(description, getFormatName(buffer_format));
    return description;
}

bool Buffer::init(Flags flags, size_t size, Format format) {
    KOLM_ASSERT(!isCreated() && "Buffer::create(): is already created");
    KOLM_ASSERT(size && "Buffer::create(): invalid buffer size");
    KOLM_ASSERT(uint32_t(format) < NumFormats && "Buffer::create(): invalid buffer format");
    buffer_flags = flags;
    buffer_format = format;
    buffer_size = size;

    const char *message = nullptr;
    if(hasFlags(FlagRead | FlagWrite)) {
        message = "Buffer::create(): can't create buffer with Read Write flags\n";
    } else if(hasFlags(FlagRead | FlagSparse)) {
        message = "Buffer::create(): can't create buffer with Read Sparse flags\n";
    } else if(hasFlags(FlagWrite | FlagSparse)) {
        message = "Buffer::create(): can't create buffer with Write Sparse flags\n";
    }
    if(message == nullptr) return true;
    Log::print(Log::Error, message);
    clear();
    return false;
}

bool Buffer::init(const Buffer *src) {
    KOLM_ASSERT(!isCreated() && "Buffer::create(): is already created");
    if(src == nullptr || !src->isCreated()) {
        Log::print(Log::Error, "Buffer::create(): buffer is not created\n");
        clear();
        return false;
    }
    if(!src->hasFlag(FlagShared | FlagInterop)) {
        Log::print(Log::Error, "Buffer::create(): buffer has no Shared or Interop flag\n");
        clear();
        return false;
    }
    buffer_flags = src->buffer_flags & ~(FlagShared | FlagInterop);
    buffer_format = src->buffer_format;
    buffer_size = src->buffer_size;
    return true;
}

bool Buffer::check(size_t offset, size_t size) const {
    KOLM_ASSERT(isCreated() && "Buffer::check(): buffer is not created");
    if(is_inside(buffer_size, offset, size)) return true;
    Log::printf(Log::Error, "Buffer::check(): invalid range %zu-%zu for %s buffer\n", offset, get_end(offset, size),
                getDescription().get());
    return false;
}

bool Buffer::check_set(size_t offset, size_t size) const {
    if(!hasFlag(FlagRead) && check(offset, size)) return true;
    Log::printf(Log::Error, "Buffer::set(): can't set %s buffer\n", getDescription().get());
    return false;
}

bool Buffer::check_get(size_t offset, size_t size) const {
    if(check(offset, size)) return true;
    Log::printf(Log::Error, "Buffer::get(): can't get %s buffer\n", getDescription().get());
    return false;
}

bool Buffer::check_map(size_t offset, size_t size) const {
    KOLM_ASSERT(!buffer_mapped && "Buffer::map(): buffer is not unmapped");
    if(hasFlag(FlagRead | FlagWrite) && size && check(offset, size)) return true;
    Log::printf(Log::Error, "Buffer::map(): can't map %s buffer\n", getDescription().get());
    return false;
}

bool Buffer::check_unmap() const {
    KOLM_ASSERT(buffer_mapped && "Buffer::unmap(): buffer is not mapped");
    return true;
}

bool Buffer::check_copy(size_t dest_offset, const Buffer *src, size_t src_offset, size_t size) const {
    KOLM_ASSERT(isCreated() && "Buffer::copy(): dest buffer is not created");
    KOLM_ASSERT(src && src->isCreated() && "Buffer::copy(): src buffer is not created");
    if(!src->hasFlag(FlagSource)) {
        Log::print(Log::Error, "Buffer::copy(): can't copy non-source buffer\n");
        return false;
    }
    if(!src->check(src_offset, size)) {
        Log::print(Log::Error, "Buffer::copy(): invalid src range\n");
        return false;
    }
    if(!check(dest_offset, size)) {
        Log::print(Log::Error, "Buffer::copy(): invalid dest range\n");
        return false;
    }
    if(src == this && src_offset < dest_offset + size && dest_offset < src_offset + size) {
        Log::printf(Log::Error, "Buffer::copy(): ranges %zu-%zu and %zu-%zu of %s buffer overlap\n", src_offset,
                    src_offset + size, dest_offset, dest_offset + size, getDescription().get());
        return false;
    }
    return true;
}

bool Buffer::check_clear(size_t offset, size_t size) const {
    if(!hasFlag(FlagRead) && check(offset, size)) return true;
    Log::printf(Log::Error, "Buffer::clear(): can't clear %s buffer\n", getDescription().get());
    return false;
}

bool Buffer::check_bind(const size_t *offsets, const size_t *sizes, uint32_t num) const {
    KOLM_ASSERT(isCreated() && "Buffer::bind(): buffer is not created");
    if(!hasFlag(FlagSparse)) {
        Log::print(Log::Error, "Buffer::bind(): can't bind non-sparse buffer\n");
        return false;
    }
    if(num == 0) {
        Log::printf(Log::Error, "Buffer::bind(): invalid number of ranges %u\n", num);
        return false;
    }
    for(uint32_t i = 0; i < num; i++) {
        if(buffer_page_size == 0 || offsets[i] % buffer_page_size || sizes[i] % buffer_page_size) {
            Log::printf(Log::Error, "Buffer::bind(): invalid range %zu-%zu for %u page\n", offsets[i],
                        get_end(offsets[i], sizes[i]), buffer_page_size);
            return false;
        }
        if(!is_inside(buffer_size, offsets[i], sizes[i])) {
            Log::printf(Log::Error, "Buffer::bind(): invalid range %zu-%zu for %s buffer\n", offsets[i],
                        get_end(offsets[i], sizes[i]), getDescription().get());
            return false;
        }
    }
    return true;
}

namespace {

// Word that repeats the components of an element: bytes, halves or words. False if there is none.
bool get_word8(const uint8_t *c, uint32_t components, uint32_t &word) {
    switch(components) {
    case 1: word = c[0] * 0x01010101u; return true;
    case 2: word = (c[0] | uint32_t(c[1]) << 8) * 0x00010001u; return true;
    case 4: memcpy(&word, c, sizeof(word)); return true;
    }
    return false;
}

bool get_word16(const void *value, uint32_t components, uint32_t &word) {
    uint16_t c[4] = {};
    memcpy(c, value, sizeof(uint16_t) * components);
    switch(components) {
    case 1: break;
    case 2: word = c[0] | uint32_t(c[1]) << 16; return true;
    case 3:
        if(c[0] != c[1] || c[0] != c[2]) return false;
        break;
    case 4: word = c[0] | uint32_t(c[1]) << 16; return (c[0] == c[2] && c[1] == c[3]);
    default: return false;
    }
    word = c[0] * 0x00010001u;
    return true;
}

bool get_word32(const void *value, uint32_t components, uint32_t &word) {
    uint32_t c[4] = {};
    memcpy(c, value, sizeof(uint32_t) * components);
    for(uint32_t i = 1; i < components; i++) {
        if(c[i] != c[0]) return false;
    }
    word = c[0];
    return true;
}

} // namespace

uint32_t Buffer::get_clear_value(Format format, const void *value, bool *status) {
    if(value == nullptr) return 0;
    uint32_t word = 0;
    const bool pixel = (uint32_t(format) < NumFormats && isPixelFormat(format));
    const uint32_t components = pixel ? getFormatComponents(format) : 0;
    if(pixel && is8BitFormat(format)) {
        if(get_word8(static_cast<const uint8_t *>(value), components, word)) return word;
    } else if(pixel && is16BitFormat(format)) {
        if(get_word16(value, components, word)) return word;
    } else if(pixel && is32BitFormat(format)) {
        if(get_word32(value, components, word)) return word;
    }
    Log::printf(Log::Error, "Buffer::get_clear_value(): can't clear %s buffer\n",
                getFormatName(uint32_t(format) < NumFormats ? format : FormatUnknown));
    if(status) *status = false;
    return 0;
}

} // namespace Kolm
