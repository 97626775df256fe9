// Texts to trees, in place and in one pass.
//
// The text is overwritten behind the place that is read: a string is decoded where it stands, and the byte behind each
// value becomes its terminator. A byte that is overwritten before it was looked at is kept in a variable. Lines are not
// counted on the way; what the overwriting does to the number of newlines is, so that a failure finds its line by
// counting what the text then holds.
//
// The children of open elements gather in one list, each element behind its parent. An element that is closed takes the
// end of that list as its own.

#include "KolmFile.h"
#include "KolmJson.h"
#include "KolmJsonScan.h"
#include "KolmLog.h"
#include "KolmParser.h"

namespace Kolm {

class Json::Reader {
public:
    static constexpr size_t Padding = 32; // zeros behind a text, read with its last bytes

    /// Reads from \p text to \p text_end, behind which Padding zeros stand.
    Reader(char *text, char *text_end, Pool *pool) : text(text), text_end(text_end), pos(text), pool(pool) {}
    ~Reader() { Allocator::free(children, sizeof(Json *) * capacity); }

    /// Reads the element that the text is. Throws a message, with the position at text that was not changed.
    void read(Json *root);

    /// Undoes what a failed read() has made.
    void clear() {
        for(size_t i = 0; i < num_children; i++) destroy(children[i], batch);
        num_children = 0;
    }
    /// Line of the position, from 1.
    uint32_t get_line() const {
        int64_t line = lines;
        for(const char *s = text; s < pos; s++) line += (*s == '\n');
        return uint32_t(line);
    }
    /// What follows in that line, cut where it is long.
    String get_rest() const {
        size_t size = 0;
        while(size < 128 && pos[size] && pos[size] != '\n' && pos[size] != '\r') size++;
        return String(pos, uint32_t(size));
    }

private:
    [[noreturn]] void fail(char *place, const char *message) {
        pos = place;
        Parser::error("%s", message);
    }
    /// The failure at a byte that nothing else explains.
    [[noreturn]] void fail(char *place) {
        fail(place, (place == text_end) ? "premature end of file\n" : "invalid symbol\n");
    }
    [[noreturn]] void fail_word(char *place);
    [[noreturn]] void fail_escape(char *place, char *escape, uint32_t size);

    Json *add(Json *parent);
    bool grow();
    void close(Json *json, size_t first);
    char *read_string(char *s, String &dest);
    char *read_escapes(char *s, String &dest, char *begin);
    char *read_unicode(char *s, char *&w);
    uint32_t read_hex(char *place, char *s);
    char *read_number(char *s);
    char *read_word(char *s, Json *json);

    char *text;
    char *text_end;
    char *pos; // of a failure
    Pool *pool;
    int64_t lines = 1; // what to add to the newlines in front of a place

    Json **children = nullptr;
    size_t capacity = 0, num_children = 0;
    Batch batch;
};

namespace {

inline bool is_blank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

char *skip_blanks(char *s) {
    for(;; s += 16) {
        const JsonBytes::Mask mask = JsonBytes::load(s).text();
        if(mask) return s + first_byte(mask);
    }
}

// Most places have no white space, or one space.
inline char *skip(char *s) {
    if(uint8_t(*s) > ' ') return s;
    if(uint8_t(s[1]) > ' ' && is_blank(*s)) return s + 1;
    return skip_blanks(s);
}

// End of a run of digits, of which there may be none.
inline char *skip_digits(char *s) {
    for(;; s += 16) {
        const JsonBytes::Mask mask = JsonBytes::load(s).others();
        if(KOLM_LIKELY(mask)) return s + first_byte(mask);
    }
}

inline bool is_digit(char c) { return uint8_t(c - '0') < 10; }

// What ends a word that is no value.
inline bool is_word_end(char c) { return uint8_t(c) <= ' ' || strchr(",:[]{}\"", c); }

} // namespace

void Json::Reader::fail_word(char *place) {
    pos = place;
    uint32_t size = 0;
    while(size < 64 && !is_word_end(place[size])) size++;
    if(size == 0) fail(place);
    Parser::error("unexpected token \"%s\"\n", String(place, size).get());
}

void Json::Reader::fail_escape(char *place, char *escape, uint32_t size) {
    pos = place;
    uint32_t length = 0;
    while(length < size && uint8_t(escape[length]) >= ' ' && (length == 0 || escape[length] != '"')) length++;
    if(length == 0) fail(place, "can't read string\n");
    // all of a character
    while(uint8_t(escape[length] & 0xC0) == 0x80 && size == 1 && length < 4) length++;
    Parser::error("unexpected token \"\\%s\"\n", String(escape, length).get());
}

bool Json::Reader::grow() {
    const size_t size = capacity ? capacity * 2 : 512;
    Json **memory = static_cast<Json **>(Allocator::allocate(sizeof(Json *) * size));
    if(memory == nullptr) return false;
    if(children) memcpy(memory, children, sizeof(Json *) * num_children);
    Allocator::free(children, sizeof(Json *) * capacity);
    children = memory;
    capacity = size;
    return true;
}

// A new element at the end of the list.
inline Json *Json::Reader::add(Json *parent) {
    if(KOLM_UNLIKELY(num_children == capacity) && !grow()) return nullptr;
    void *memory = batch.allocate();
    if(KOLM_UNLIKELY(memory == nullptr)) return nullptr;
    return children[num_children++] = new(memory) Json(parent, pool);
}

// Gives the elements from `first` on to their parent.
inline void Json::Reader::close(Json *json, size_t first) {
    const size_t num = num_children - first;
    if(num == 0) return;
    const size_t slots = max(num, size_t(JsonCapacity));
    Json **memory = (num <= Array<Json *>::MaxCapacity) ? pool->json.allocate(slots) : nullptr;
    if(KOLM_UNLIKELY(memory == nullptr)) fail(pos, "can't allocate memory\n");
    memcpy(memory, children + first, sizeof(Json *) * num);
    json->children.init(memory, slots, uint32_t(num));
    num_children = first;
}

uint32_t Json::Reader::read_hex(char *place, char *s) {
    uint32_t code = 0;
    for(uint32_t i = 0; i < 4; i++) {
        const uint8_t c = uint8_t(s[i]), letter = uint8_t((c | 32) - 'a');
        if(!is_digit(char(c)) && letter > 5) fail_escape(place, s - 1, 5);
        code = code << 4 | ((letter < 6) ? letter + 10u : uint32_t(c - '0'));
    }
    return code;
}

// The digits behind `\u`. Halves of a pair become one character, halves alone U+FFFD.
char *Json::Reader::read_unicode(char *s, char *&w) {
    uint32_t code = read_hex(s, s);
    s += 4;
    if(code - 0xD800 < 0x800) {
        uint32_t low = 0;
        if(code < 0xDC00 && s[0] == '\\' && s[1] == 'u') low = read_hex(s, s + 2);
        if(low - 0xDC00 < 0x400) {
            code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
            s += 6;
        } else {
            code = 0xFFFD;
        }
    }
    if(code < 0x80) {
        lines -= (code == '\n');
        *w++ = char(code);
        return s;
    }
    // At most as many bytes as the escape has.
    const uint32_t num = (code < 0x800) ? 1 : (code < 0x10000) ? 2 : 3;
    *w++ = char((0xF0u << (3 - num)) | (code >> (6 * num)));
    for(uint32_t i = num; i > 0; i--) *w++ = char(0x80 | ((code >> (6 * (i - 1))) & 0x3F));
    return s;
}

// The rest of a string that starts at `begin`, from its first escape at `s` on. What is decoded is written to `w`, which
// stays behind `s`. Returns the position behind the closing quote.
char *Json::Reader::read_escapes(char *s, String &dest, char *begin) {
    char *w = s;
    for(;;) {
        if(*s == '\\') {
            switch(s[1]) {
            case '"': *w++ = '"'; break;
            case '\\': *w++ = '\\'; break;
            case '/': *w++ = '/'; break;
            case 'b': *w++ = '\b'; break;
            case 'f': *w++ = '\f'; break;
            case 'r': *w++ = '\r'; break;
            case 't': *w++ = '\t'; break;
            case 'n':
                *w++ = '\n';
                lines--;
                break;
            case 'u': s = read_unicode(s + 2, w) - 2; break;
            case '\r':
            case '\n':
                // The string goes on in the next line.
                s += (s[1] == '\r');
                if(s[1] != '\n') fail(s, "can't read string\n");
                s[1] = ' ';
                lines++;
                break;
            default: fail_escape(s, s + 1, 1);
            }
            s += 2;
        } else if(*s == '"') {
            break;
        } else {
            fail(s, "can't read string\n");
        }
        // Plain text moves up to what was written. A whole run of sixteen lies behind what it overwrites.
        for(;;) {
            const JsonBytes bytes = JsonBytes::load(s);
            const JsonBytes::Mask mask = bytes.special<false>();
            if(mask == 0) {
                bytes.store(w);
                s += 16;
                w += 16;
                continue;
            }
            for(const char *end = s + first_byte(mask); s < end;) *w++ = *s++;
            break;
        }
    }
    if(size_t(w - begin) > String::MaxCapacity) fail(s, "can't read string\n");
    if(w != begin) dest.init(begin, size_t(w - begin) + 1, uint32_t(w - begin));
    return s + 1;
}

// `s` stands at the opening quote. Returns the position behind the closing one.
inline char *Json::Reader::read_string(char *s, String &dest) {
    char *begin = ++s;
    JsonBytes::Mask mask;
    while((mask = JsonBytes::load(s).special<false>()) == 0) s += 16;
    s += first_byte(mask);
    if(KOLM_UNLIKELY(*s != '"')) return read_escapes(s, dest, begin);
    if(KOLM_UNLIKELY(size_t(s - begin) > String::MaxCapacity)) fail(s, "can't read string\n");
    if(s != begin) dest.init(begin, size_t(s - begin) + 1, uint32_t(s - begin));
    return s + 1;
}

// End of a number. Digits follow the sign at once, a point and an exponent; a zero in front stands alone.
inline char *Json::Reader::read_number(char *s) {
    char *place = s;
    s += (*s == '-');
    JsonBytes::Mask mask = JsonBytes::load(s).others();
    uint32_t num = mask ? first_byte(mask) : 16;
    if(KOLM_UNLIKELY(num == 0)) {
        pos = place;
        Parser::error("can't skip float\n%s\n", get_rest().get());
    }
    if(*s == '0') num = 1;
    s += num;
    if(KOLM_UNLIKELY(num == 16)) s = skip_digits(s);
    if(*s == '.' && is_digit(s[1])) s = skip_digits(s + 1);
    if((*s | 32) == 'e') {
        char *e = s + 1;
        if(*e == '-' || *e == '+') e++;
        if(is_digit(*e)) s = skip_digits(e);
    }
    return s;
}

// End of a word.
char *Json::Reader::read_word(char *s, Json *json) {
    const auto is_word = [s](const char *word, size_t size) {
        return memcmp(s, word, size) == 0 && is_word_end(s[size]);
    };
    if(is_word("true", 4)) {
        json->type = TypeBool;
        return s + 4;
    }
    if(is_word("false", 5)) {
        json->type = TypeBool;
        return s + 5;
    }
    if(!is_word("null", 4)) fail_word(s);
    json->type = TypeNull;
    return s + 4;
}

void Json::Reader::read(Json *root) {
    Json *stack[StackSize];   // open elements
    size_t firsts[StackSize]; // where the children of each begin in the list
    uint32_t depth = 0;
    Json *parent = nullptr; // innermost open element
    Json *json = root;      // element whose value comes next
    char *s = skip(text);
    char c; // at s, where the text may hold a terminator already

value:
    switch(*s) {
    case '"':
        json->type = TypeString;
        s = read_string(s, json->data);
        c = *s;
        goto next;

    case '-':
    case '0':
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
    case '6':
    case '7':
    case '8':
    case '9': {
        char *begin = s;
        json->type = TypeNumber;
        s = read_number(s);
        c = *s;
        const size_t size = size_t(s - begin);
        if(KOLM_UNLIKELY(size > String::MaxCapacity)) fail(s, "can't read string\n");
        json->data.init(begin, size + 1, uint32_t(size));
        lines += (c == '\n');
        goto next;
    }

    case '{':
    case '[': {
        if(KOLM_UNLIKELY(depth == StackSize)) fail(s, "stack overflow\n");
        const bool object = (*s == '{');
        json->type = object ? TypeObject : TypeArray;
        stack[depth] = json;
        firsts[depth++] = num_children;
        parent = json;
        s = skip(s + 1);
        c = *s;
        if(c == ']' || c == '}') goto close;
        if(object) goto name;
        goto element;
    }

    default: {
        char *begin = s;
        s = read_word(s, json);
        c = *s;
        json->data.init(begin, size_t(s - begin) + 1, uint32_t(s - begin));
        lines += (c == '\n');
        goto next;
    }
    }

next: // behind a value
    if(uint8_t(c) <= ' ') {
        if(is_blank(c)) {
            s = skip(s + 1);
            c = *s;
        }
    }
    if(KOLM_UNLIKELY(parent == nullptr)) {
        if(s == text_end) return;
        *s = c;
        fail(s, "invalid symbol\n");
    }
    if(KOLM_LIKELY(c == ',')) {
        s = skip(s + 1);
        if(parent->type == TypeObject) goto name;
        goto element;
    }

close:
    if(KOLM_LIKELY(c == ']' || c == '}')) {
        if(c == ']' && parent->type != TypeArray) {
            *s = c;
            fail(s, "expecting array\n");
        }
        if(c == '}' && parent->type != TypeObject) {
            *s = c;
            fail(s, "expecting object\n");
        }
        pos = s;
        close(parent, firsts[--depth]);
        parent = depth ? stack[depth - 1] : nullptr;
        c = *++s;
        goto next;
    }
    *s = c;
    if(s == text_end) fail(s);
    fail(s, (c == '\0') ? "invalid symbol\n" : "expecting ','\n");

name: // s stands where a name should begin
    if(KOLM_UNLIKELY(*s != '"')) {
        if(*s == ']') fail(s, "expecting array\n");
        if(*s == '}') fail(s, "extra ',' symbol\n");
        if(*s == '\0') fail(s);
        fail(s, "expecting string\n");
    }
    json = add(parent);
    if(KOLM_UNLIKELY(json == nullptr)) fail(s, "can't allocate memory\n");
    s = skip(read_string(s, json->name));
    if(KOLM_UNLIKELY(*s != ':')) fail(s, (s == text_end) ? "premature end of file\n" : "expecting ':'\n");
    s = skip(s + 1);
    goto value;

element: // s stands where a value of an array should begin
    if(KOLM_UNLIKELY(*s == ']')) fail(s, "extra ',' symbol\n");
    if(KOLM_UNLIKELY(*s == '}')) fail(s, "expecting object\n");
    json = add(parent);
    if(KOLM_UNLIKELY(json == nullptr)) fail(s, "can't allocate memory\n");
    goto value;
}

// Takes `source`, a block of `size` bytes with Padding zeros behind the text.
bool Json::parse(char *source, size_t length, size_t size) {
    char *begin = source;
    while(is_blank(*begin)) begin++;
    if(memcmp(begin, "\xFE\xFF", 2) == 0 || memcmp(begin, "\xFF\xFE", 2) == 0) {
        String text;
        const bool whole = (length < String::MaxCapacity / 2 && Parser::readBom(source, text, true, length) == length);
        Allocator::free(source, size);
        if(whole) return create(text.get(), text.size());
        Log::printf(Log::Error, "Json::create(): can't convert text\n");
        return false;
    }
    // The mark of UTF-8 is passed over, what stands behind it is the text.
    if(memcmp(begin, "\xEF\xBB\xBF", 3) == 0) {
        begin += 3;
    } else {
        begin = source;
    }

    // A small text can't fill a large block.
    pool = new Pool(source, size, min(size_t(JsonSize), length + JsonCapacity));
    if(pool == nullptr) {
        Allocator::free(source, size);
        Log::printf(Log::Error, "Json::create(): can't allocate memory\n");
        return false;
    }
    {
        Reader reader(begin, source + length, pool);
        try {
            reader.read(this);
            return true;
        } catch(const String &message) {
            Log::printf(Log::Error, "Json::create(): %s%u: %s\n", message.get(), reader.get_line(),
                        reader.get_rest().get());
        }
        reader.clear();
    }
    clear();
    return false;
}

bool Json::create(const char *src, size_t size, bool owner) {
    if(owner) KOLM_ASSERT(size && "Json::create(): invalid size");
    clear();
    if(src == nullptr) src = "";
    const size_t length = owner ? strnlen(src, size) : size ? size : strlen(src);
    const size_t capacity = length + Reader::Padding;
    if(owner && size >= capacity) {
        char *source = const_cast<char *>(src);
        memset(source + length, 0, Reader::Padding);
        return parse(source, length, size);
    }
    char *source = static_cast<char *>(Allocator::allocate(capacity));
    if(source) {
        memcpy(source, src, length);
        memset(source + length, 0, Reader::Padding);
    }
    if(owner) Allocator::free(src, size);
    if(source) return parse(source, length, capacity);
    Log::printf(Log::Error, "Json::create(): can't allocate memory\n");
    return false;
}

bool Json::load(const char *file_name) {
    clear();
    File file;
    if(file_name == nullptr || !file.open(file_name, "rb")) {
        Log::printf(Log::Error, "Json::load(): can't open \"%s\" file\n", file_name ? file_name : "");
        return false;
    }
    return load(file);
}

bool Json::load(Stream &stream) {
    clear();
    constexpr size_t step = 65536;
    // The size is a guess: 0 for pipes, and the memory that it asks for may not be there.
    size_t size = stream.getSize() + step + Reader::Padding;
    char *source = static_cast<char *>(Allocator::allocate(size));
    if(source == nullptr) source = static_cast<char *>(Allocator::allocate(size = step + Reader::Padding));
    size_t length = 0;
    while(source && stream.isAvailable()) {
        if(size - length < step + Reader::Padding) {
            const size_t new_size = (length + step) * 3 / 2 + Reader::Padding;
            char *memory = static_cast<char *>(Allocator::allocate(new_size));
            if(memory) memcpy(memory, source, length);
            Allocator::free(source, size);
            source = memory;
            size = new_size;
            if(source == nullptr) break;
        }
        const size_t num = stream.read(source + length, step);
        if(num == 0) break;
        length += num;
    }
    bool status = (source != nullptr);
    if(status) {
        memset(source + length, 0, Reader::Padding);
        if(size - length > step / 2) {
            char *memory = static_cast<char *>(Allocator::reallocate(source, size, length + Reader::Padding));
            size = length + Reader::Padding;
            source = memory ? memory : source;
        }
        status = parse(source, length, size);
    }
    if(!status) Log::printf(Log::Error, "Json::load(): can't load \"%s\" stream\n", stream.getName().get());
    return status;
}

} // namespace Kolm
