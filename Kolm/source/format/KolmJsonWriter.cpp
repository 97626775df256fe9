// Trees to texts.

#include "KolmFile.h"
#include "KolmJson.h"
#include "KolmJsonScan.h"
#include "KolmLog.h"

namespace Kolm {

/// Gathers the text and passes it on in pieces. Failures log and leave `status` false.
class Json::Writer {
public:
    Writer(Stream &stream, bool compact) : stream(stream), compact(compact) { buffer.resize(Capacity); }

    bool write(const Json *root);

private:
    static constexpr uint32_t Capacity = 65536;
    static constexpr uint32_t Piece = 4096; // bytes of a string that are escaped at a time

    struct Level {
        const Json *json;
        uint32_t index; // of the next child
        bool newline;   // between the children, rather than a space
    };

    bool fail(const char *message) {
        Log::printf(Log::Error, "Json::save(): %s\n", message);
        return false;
    }
    bool flush() {
        if(status && length && stream.write(buffer.get(), length) != length) status = fail("can't write stream");
        length = 0;
        return status;
    }
    /// Room for \p size bytes, at most Capacity.
    char *get_room(uint32_t size) {
        if(KOLM_UNLIKELY(buffer.size() - length < size)) flush();
        return buffer.get() + length;
    }
    void set_end(const char *end) { length = uint32_t(end - buffer.get()); }

    void write_symbol(char c) {
        *get_room(1) = c;
        length++;
    }
    void write_text(const char *str, uint32_t size);
    void write_string(const String &str);
    void write_delimiter(bool newline, uint32_t depth);
    bool write_value(const Json *json);
    bool write_tree(const Json *root, uint32_t depth);
    void find_newlines(const Json *root);

    Stream &stream;
    const bool compact;
    bool status = true;
    String buffer;
    uint32_t length = 0;
    Array<Level> levels;
    Array<bool> newlines; // of each object and array, in the order in which they begin
};

namespace {

// What stands behind the backslash: 'u' for a code, 0 for bytes that need none.
struct Escapes {
    char value[256] = {};
    constexpr Escapes() {
        for(uint32_t i = 0; i < 32; i++) value[i] = 'u';
        value[uint8_t('\b')] = 'b';
        value[uint8_t('\t')] = 't';
        value[uint8_t('\n')] = 'n';
        value[uint8_t('\f')] = 'f';
        value[uint8_t('\r')] = 'r';
        for(const char c : {'"', '/', '\\'}) value[uint8_t(c)] = c;
    }
};
constexpr Escapes escapes;

inline char *write_escape(char *dest, char c) {
    const char escape = escapes.value[uint8_t(c)];
    *dest++ = '\\';
    *dest++ = escape;
    if(escape != 'u') return dest;
    static constexpr char digits[] = "0123456789abcdef";
    memcpy(dest, "00", 2);
    dest[2] = digits[uint8_t(c) >> 4];
    dest[3] = digits[uint8_t(c) & 15];
    return dest + 4;
}

// Copies at most 16 bytes; may write 16.
inline void copy_short(char *dest, const char *src, uint32_t size) {
    if(size >= 8) {
        uint64_t head, tail;
        memcpy(&head, src, 8);
        memcpy(&tail, src + size - 8, 8);
        memcpy(dest, &head, 8);
        memcpy(dest + size - 8, &tail, 8);
    } else if(size >= 4) {
        uint32_t head, tail;
        memcpy(&head, src, 4);
        memcpy(&tail, src + size - 4, 4);
        memcpy(dest, &head, 4);
        memcpy(dest + size - 4, &tail, 4);
    } else if(size) {
        dest[0] = src[0];
        dest[size / 2] = src[size / 2];
        dest[size - 1] = src[size - 1];
    }
}

// Writes the escaped bytes from `s` to `end`, at most six for each, and may touch 16 behind them.
char *escape_bytes(char *dest, const char *s, const char *end) {
    while(size_t(end - s) >= 16) {
        const JsonBytes bytes = JsonBytes::load(s);
        const JsonBytes::Mask mask = bytes.special<true>();
        bytes.store(dest);
        if(mask == 0) {
            s += 16;
            dest += 16;
            continue;
        }
        const uint32_t num = first_byte(mask);
        s += num;
        dest = write_escape(dest + num, *s++);
    }
    // What is left is looked at in a copy.
    while(s < end) {
        const uint32_t size = uint32_t(end - s);
        char rest[16];
        memset(rest, '#', 16);
        copy_short(rest, s, size);
        const JsonBytes bytes = JsonBytes::load(rest);
        const JsonBytes::Mask mask = bytes.special<true>();
        bytes.store(dest);
        if(mask == 0) return dest + size;
        const uint32_t num = first_byte(mask);
        s += num;
        dest = write_escape(dest + num, *s++);
    }
    return dest;
}

} // namespace

inline void Json::Writer::write_text(const char *str, uint32_t size) {
    if(KOLM_LIKELY(size <= 16)) {
        copy_short(get_room(16), str, size);
        length += size;
        return;
    }
    while(size) {
        const uint32_t num = min(size, Capacity);
        memcpy(get_room(num), str, num);
        length += num;
        str += num;
        size -= num;
    }
}

inline void Json::Writer::write_string(const String &str) {
    const char *s = str.begin();
    const char *end = str.end();
    char *dest = get_room(min(str.size(), Piece) * 6 + 32);
    *dest++ = '"';
    while(KOLM_UNLIKELY(size_t(end - s) > Piece)) {
        set_end(escape_bytes(dest, s, s + Piece));
        s += Piece;
        dest = get_room(Piece * 6 + 32);
    }
    dest = escape_bytes(dest, s, end);
    *dest++ = '"';
    set_end(dest);
}

// Newline and tabs, or a space.
void Json::Writer::write_delimiter(bool newline, uint32_t depth) {
    if(!newline) return write_symbol(' ');
    write_symbol('\n');
    while(depth) {
        const uint32_t num = min(depth, Capacity);
        memset(get_room(num), '\t', num);
        length += num;
        depth -= num;
    }
}

bool Json::Writer::write_value(const Json *json) {
    const String &data = json->data;
    switch(json->type) {
    case TypeString: write_string(data); return true;
    case TypeNull: write_text("null", 4); return true;
    // Values that were never set.
    case TypeBool: data ? write_text(data.get(), data.size()) : write_text("false", 5); return true;
    case TypeNumber: data ? write_text(data.get(), data.size()) : write_text("0", 1); return true;
    default: return fail("unknown element type");
    }
}

// Which objects and arrays take a newline: objects of several children, arrays that begin with an object or an array,
// and all that hold one of these.
void Json::Writer::find_newlines(const Json *root) {
    struct Open {
        const Json *json;
        uint32_t index; // of the next child
        uint32_t place; // in the list
    };
    const auto is_open = [](const Json *json) { return json->type == TypeObject || json->type == TypeArray; };
    Array<Open> open;
    const auto begin = [&](const Json *json) {
        bool newline = false;
        if(json->type == TypeObject)
            newline = (json->children.size() > 1);
        else if(json->children)
            newline = is_open(json->children[0]);
        open.append({json, 0, newlines.size()});
        newlines.append(newline);
    };
    begin(root);
    while(open) {
        Open &top = open.back();
        if(top.index < top.json->children.size()) {
            const Json *child = top.json->children.get()[top.index++];
            if(is_open(child)) begin(child);
            continue;
        }
        const bool newline = newlines[top.place];
        open.removeBack();
        if(newline && open) newlines[open.back().place] = true;
    }
}

bool Json::Writer::write_tree(const Json *root, uint32_t depth) {
    uint32_t place = 0;
    const auto begin = [&](const Json *json) {
        const bool newline = !compact && newlines[place++];
        write_symbol((json->type == TypeObject) ? '{' : '[');
        if(!compact && json->children.empty()) write_symbol(' ');
        levels.append({json, 0, newline});
    };
    const auto check = [&](const Json *json) {
        if(json->type == TypeObject || json->type == TypeArray) return true;
        return json->children.empty() || fail("can't save element with children and data");
    };

    if(!check(root)) return false;
    if(root->type != TypeObject && root->type != TypeArray) return write_value(root);
    if(!compact) find_newlines(root);
    begin(root);
    while(levels) {
        Level &level = levels.get()[levels.size() - 1];
        const Json *json = level.json;
        const bool object = (json->type == TypeObject);
        const bool newline = level.newline;
        const uint32_t size = json->children.size();
        uint32_t index = level.index;
        const Json *child = nullptr;
        for(; index < size; index++) {
            child = json->children.get()[index];
            if(index) write_symbol(',');
            if(!compact) write_delimiter(newline, depth + levels.size());
            if(object) {
                if(child->name.empty()) return fail("empty object element name");
                write_string(child->name);
                write_symbol(':');
                if(!compact) write_symbol(' ');
            } else if(child->name) {
                return fail("non-empty array element name");
            }
            if(child->type == TypeObject || child->type == TypeArray) break;
            if(!check(child) || !write_value(child)) return false;
        }
        if(index < size) {
            level.index = index + 1;
            begin(child);
            continue;
        }
        levels.removeBack();
        if(!compact && size) write_delimiter(newline, depth + levels.size());
        write_symbol(object ? '}' : ']');
    }
    return true;
}

bool Json::Writer::write(const Json *root) {
    if(buffer.size() != Capacity) return fail("can't allocate memory");
    if(root->parent || root->name.empty()) return write_tree(root, 0) && flush();
    // The object that gives a root its name.
    write_symbol('{');
    if(!compact) write_delimiter(true, 1);
    write_string(root->name);
    write_symbol(':');
    if(!compact) write_symbol(' ');
    if(!write_tree(root, 1)) return false;
    if(!compact) write_delimiter(true, 0);
    write_symbol('}');
    return flush();
}

bool Json::save(Stream &stream, bool compact) const {
    Writer writer(stream, compact);
    return writer.write(this);
}

bool Json::save(const char *file_name, bool compact) const {
    File file;
    if(file_name == nullptr || !file.open(file_name, "wb")) {
        Log::printf(Log::Error, "Json::save(): can't create \"%s\" file\n", file_name ? file_name : "");
        return false;
    }
    if(!save(file, compact)) return false;
    if(file.flush()) return true;
    Log::printf(Log::Error, "Json::save(): can't write stream\n");
    return false;
}

} // namespace Kolm
