// Camera data. All reading is from a copy in memory with its bounds; each known tag is taken once, so that directories
// that point into each other end, and a small file gives a small text.

#include "KolmExif.h"

#include "KolmArray.h"
#include "KolmStream.h"

namespace Kolm {

namespace {

enum Directory : uint8_t { Main, Photo, GPS };

constexpr struct {
    Directory directory;
    uint16_t number;
    const char *name;
} tags[] = {
#define EXIF_TAG(DIRECTORY, NUMBER, NAME) {DIRECTORY, NUMBER, #NAME},
#include "KolmExifTags.inc"
};
constexpr uint32_t num_tags = array_size(tags);

// Entries of the main directory that point at another one.
constexpr uint16_t photo_pointer = 0x8769;
constexpr uint16_t gps_pointer = 0x8825;

enum Type : uint16_t {
    TypeByte = 1,
    TypeAscii = 2,
    TypeShort = 3,
    TypeLong = 4,
    TypeRational = 5,
    TypeSignedByte = 6,
    TypeUndefined = 7,
    TypeSignedShort = 8,
    TypeSignedLong = 9,
    TypeSignedRational = 10,
    NumTypes,
};
constexpr uint32_t type_sizes[NumTypes] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8};

constexpr uint32_t max_size = 0x10000; // of a segment
constexpr uint32_t max_text = 1024;    // bytes of one value
constexpr uint32_t max_values = 16;    // numbers of one value

class Reader {
public:
    Reader(const uint8_t *data, uint32_t size, String &dest) : data(data), size(size), dest(dest) {}

    bool read() {
        if(size < 8) return false;
        big = (data[0] == 'M');
        if(data[0] != data[1] || (data[0] != 'M' && data[0] != 'I') || get16(2) != 42) return false;
        uint32_t photo = 0;
        uint32_t gps = 0;
        if(!read_directory(Main, get32(4), &photo, &gps)) return false;
        if(photo) read_directory(Photo, photo, nullptr, nullptr);
        if(gps) read_directory(GPS, gps, nullptr, nullptr);
        return true;
    }

private:
    bool is_inside(uint32_t offset, uint64_t count) const { return offset <= size && count <= size - offset; }
    uint32_t get16(uint32_t pos) const {
        return big ? uint32_t(data[pos] << 8 | data[pos + 1]) : uint32_t(data[pos] | data[pos + 1] << 8);
    }
    uint32_t get32(uint32_t pos) const {
        return big ? (get16(pos) << 16 | get16(pos + 2)) : (get16(pos) | get16(pos + 2) << 16);
    }

    bool read_directory(Directory directory, uint32_t offset, uint32_t *photo, uint32_t *gps) {
        if(!is_inside(offset, 2)) return false;
        const uint32_t count = get16(offset);
        for(uint32_t i = 0; i < count && is_inside(offset + 2 + i * 12, 12); i++) {
            const uint32_t entry = offset + 2 + i * 12;
            const uint32_t number = get16(entry);
            if(photo && number == photo_pointer) *photo = get32(entry + 8);
            if(gps && number == gps_pointer) *gps = get32(entry + 8);
            for(uint32_t t = 0; t < num_tags; t++) {
                if(tags[t].directory == directory && tags[t].number == number && !seen[t]) {
                    seen[t] = true;
                    read_value(tags[t].name, entry);
                }
            }
        }
        return true;
    }

    void read_value(const char *name, uint32_t entry) {
        const uint32_t type = get16(entry + 2);
        const uint32_t count = get32(entry + 4);
        if(type == 0 || type >= NumTypes || count == 0) return;
        const uint64_t bytes = uint64_t(count) * type_sizes[type];
        const uint32_t pos = (bytes <= 4) ? entry + 8 : get32(entry + 8);
        if(!is_inside(pos, bytes)) return;
        String text;
        if(type == TypeAscii || type == TypeUndefined) {
            read_text(text, pos, min(count, max_text));
        } else {
            for(uint32_t i = 0; i < min(count, max_values); i++) {
                if(i) text += " ";
                read_number(text, type, pos + i * type_sizes[type]);
            }
        }
        if(!text.empty()) dest += String::format("<%s>%s</%s>\n", name, text.get(), name);
    }

    // Up to the first zero, without spaces at the end. Bytes that are no UTF-8 are taken as Latin-1, which older cameras
    // write; line breaks become spaces, and what is no text in XML a question mark.
    void read_text(String &text, uint32_t pos, uint32_t count) {
        uint32_t length = 0;
        while(length < count && data[pos + length]) length++;
        while(length && data[pos + length - 1] == ' ') length--;
        for(uint32_t i = 0, consumed = 0; i < length; i += consumed) {
            uint32_t code = String::toUtf32(reinterpret_cast<const char *>(data + pos + i), length - i, consumed);
            if(code == 0xFFFD && consumed < 3) {
                code = data[pos + i];
                consumed = 1;
            }
            if(code == '<')
                text += "&lt;";
            else if(code == '>')
                text += "&gt;";
            else if(code == '&')
                text += "&amp;";
            else if(code == '\t' || code == '\n' || code == '\r')
                text += ' ';
            else if(code < 32 || (code >= 127 && code < 160) || code == 0xFFFE || code == 0xFFFF)
                text += '?';
            else
                String::fromUtf32(text, code);
        }
    }

    void read_number(String &text, uint32_t type, uint32_t pos) {
        switch(type) {
        case TypeByte: text += String::format("%u", uint32_t(data[pos])); break;
        case TypeSignedByte: text += String::format("%d", int32_t(int8_t(data[pos]))); break;
        case TypeShort: text += String::format("%u", get16(pos)); break;
        case TypeSignedShort: text += String::format("%d", int32_t(int16_t(get16(pos)))); break;
        case TypeLong: text += String::format("%u", get32(pos)); break;
        case TypeSignedLong: text += String::format("%d", int32_t(get32(pos))); break;
        case TypeRational: text += String::format("%u/%u", get32(pos), get32(pos + 4)); break;
        case TypeSignedRational: text += String::format("%d/%d", int32_t(get32(pos)), int32_t(get32(pos + 4))); break;
        }
    }

    const uint8_t *data;
    const uint32_t size;
    String &dest;
    bool big = false;
    bool seen[num_tags] = {};
};

} // namespace

bool Exif::readTIFF(Stream &stream, size_t size, String &dest) {
    Array<uint8_t> data(uint32_t(min(size, size_t(max_size))));
    const size_t length = stream.read(data.get(), data.size());
    return Reader(data.get(), uint32_t(length), dest).read();
}

} // namespace Kolm
