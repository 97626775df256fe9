// Patterns, distances, and the strings that are made of others: pieces, paths and letter cases.

#include "KolmString.h"

namespace Kolm {

// -- Patterns --

// Whole match of one alternative. When a literal fails, only the last `*` needs to take one byte more: whatever an
// earlier one could give up, the last can take as well. So the time is bounded by the product of the lengths.
static bool match_whole(const char *p, const char *p_end, const char *s, const char *s_end) {
    const char *star = nullptr;
    const char *start = nullptr;
    for(;;) {
        if(p < p_end && *p == '*') {
            star = ++p;
            start = s;
            if(p == p_end) return true;
        } else if(p < p_end && s < s_end && (*p == '?' || *p == *s)) {
            p++;
            s++;
        } else if(p == p_end && s == s_end) {
            return true;
        } else {
            if(star == nullptr || start == s_end) return false;
            p = star;
            s = ++start;
        }
    }
}

bool String::match(const char *pattern, uint32_t len, uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::match(): invalid position");
    if(pattern == nullptr) pattern = null_data, len = 0;
    const char *p = pattern;
    const char *p_end = pattern + ((len == NotFound) ? strlen(pattern) : len);
    const char *s = data + pos;
    const char *s_end = data + length;
    for(;;) {
        const char *end = p;
        bool star = false;
        for(; end < p_end && *end != '|'; end++) star |= (*end == '*');
        const bool last = (end == p_end);
        if(star || last) {
            if(match_whole(p, end, s, s_end)) return true;
        } else if(end > p && size_t(end - p) <= size_t(s_end - s)) {
            // Only the last alternative must reach the end of the text.
            if(match_whole(p, end, s, s + (end - p))) return true;
        }
        if(last) return false;
        p = end + 1;
    }
}

// The least distance to one of the first \p slides tails of s1. Cells of one row of the table at a time: the row above is
// overwritten from the left. The table grows from the ends of both texts, so that its last row holds all tails.
static uint32_t get_distance(const char *s0, uint32_t l0, const char *s1, uint32_t l1, uint32_t slides, uint32_t *row) {
    for(; l0 && l1 && s0[l0 - 1] == s1[l1 - 1]; l0--, l1--) {}
    for(; slides == 1 && l0 && l1 && *s0 == *s1; s0++, s1++, l0--, l1--) {}
    for(uint32_t j = 0; j <= l1; j++) row[j] = j;
    for(uint32_t i = 0; i < l0; i++) {
        const char c = s0[l0 - i - 1];
        uint32_t corner = row[0];
        uint32_t left = row[0] = i + 1;
        for(uint32_t j = 1; j <= l1; j++) {
            const uint32_t replace = corner + (c != s1[l1 - j]);
            corner = row[j];
            left = min(min(left, corner) + 1, replace);
            row[j] = left;
        }
    }
    uint32_t ret = row[l1];
    for(uint32_t i = 1; i < slides; i++) ret = min(ret, row[l1 - i]);
    return ret;
}

uint32_t String::distance(const char *str, bool sliding, uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::distance(): invalid position");
    const uint32_t size = str ? check_length(strlen(str)) : 0;
    uint32_t *row = Allocator::allocate<uint32_t>(size_t(size) + 1);
    if(row == nullptr) return NotFound;
    // Kept: of a longer `str` the tail that starts at the difference itself is not tried.
    const uint32_t slides = (sliding && size > length) ? size - length : 1;
    const uint32_t ret = get_distance(data, length, str, size, slides, row);
    Allocator::freeArray(row, size_t(size) + 1);
    return ret;
}

// -- Derived strings --

String String::substring(uint32_t pos, uint32_t len) const {
    KOLM_ASSERT(pos <= length && "String::substring(): invalid position");
    return String(data + pos, min(len, length - pos));
}

String String::replace(char before, char after, uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::replace(): invalid position");
    String ret(*this);
    for(uint32_t i = pos; i < ret.length; i++) {
        if(ret.data[i] == before) ret.data[i] = after;
    }
    return ret;
}

String String::replace(const char *before, const char *after, uint32_t pos) const {
    KOLM_ASSERT(pos <= length && "String::replace(): invalid position");
    const uint32_t size = before ? check_length(strlen(before)) : 0;
    if(size == 0) return *this;
    StringStack<1024> ret;
    uint32_t begin = 0;
    for(uint32_t i; (i = find_bytes(before, size, pos)) != NotFound; begin = pos = i + size) {
        ret.append(data + begin, i - begin).append(after);
    }
    ret.append(data + begin, length - begin);
    return ret;
}

StringArray String::split(const char *delimiters, bool skip_empty) const {
    StringArray ret;
    ret.split(*this, delimiters, skip_empty);
    return ret;
}

static bool is_alnum(char c) { return (c >= '0' && c <= '9') || ((c | 32) >= 'a' && (c | 32) <= 'z'); }

String String::lower() const {
    String ret(*this);
    for(uint32_t i = 0; i < ret.length; i++) {
        if(ret.data[i] >= 'A' && ret.data[i] <= 'Z') ret.data[i] += 32;
    }
    return ret;
}

String String::upper() const {
    String ret(*this);
    for(uint32_t i = 0; i < ret.length; i++) {
        if(ret.data[i] >= 'a' && ret.data[i] <= 'z') ret.data[i] -= 32;
    }
    return ret;
}

String String::capitalize() const {
    String ret(*this);
    bool word = false;
    for(uint32_t i = 0; i < ret.length; i++) {
        char &c = ret.data[i];
        if(!word && c >= 'a' && c <= 'z') c -= 32;
        // Bytes of longer characters belong to words.
        word = is_alnum(c) || c == '\'' || uint8_t(c) >= 128;
    }
    return ret;
}

// -- Paths --

static bool is_separator(char c) { return c == '/' || c == '\\' || c == ':'; }

// Bytes of the path up to and with its last separator.
static uint32_t get_pathname(const char *str, uint32_t size) {
    while(size && !is_separator(str[size - 1])) size--;
    return size;
}

String String::extension() const {
    for(uint32_t i = length; i > 0; i--) {
        if(is_separator(data[i - 1])) break;
        if(data[i - 1] == '.') return String(data + i, length - i);
    }
    return String();
}

String String::extension(const char *ext) const {
    StringStack<1024> ret(*this);
    for(uint32_t i = length; i > 0; i--) {
        if(is_separator(data[i - 1])) break;
        if(data[i - 1] == '.') {
            ret.resize(i - 1);
            break;
        }
    }
    if(ext && *ext == '.') ext++;
    if(ext && *ext) ret.append('.').append(ext);
    return ret;
}

String String::pathname() const { return String(data, get_pathname(data, length)); }

String String::basename() const {
    const uint32_t size = get_pathname(data, length);
    return String(data + size, length - size);
}

String String::dirname() const {
    const uint32_t size = get_pathname(data, length);
    return String(data, (size > 1) ? size - 1 : size);
}

// One name of a path. An absolute path begins with an empty one.
struct Component {
    const char *name = nullptr;
    uint32_t size = 0;

    bool operator==(const Component &c) const { return size == c.size && memcmp(name, c.name, size) == 0; }
};

// Takes the next component but for "."; `s` is moved behind its separators.
static bool next_component(const char *&s, const char *end, Component &component) {
    while(s < end) {
        component.name = s;
        while(s < end && !is_separator(*s)) s++;
        component.size = uint32_t(s - component.name);
        while(s < end && is_separator(*s)) s++;
        if(component.size != 1 || *component.name != '.') return true;
    }
    return false;
}

static bool is_absolute(const char *path) {
    const char *s = path;
    while(*s && !is_separator(*s)) s++;
    return *s && (s == path || *s == ':');
}

String String::relname(const char *from, const char *to) {
    if(from == nullptr) from = null_data;
    if(to == nullptr) to = null_data;
    const char *from_end = from + get_pathname(from, check_length(strlen(from)));
    const char *to_end = to + get_pathname(to, check_length(strlen(to)));

    // Folders that both paths share.
    const char *f = from;
    const char *t = to;
    Component component;
    for(;;) {
        const char *next_f = f;
        const char *next_t = t;
        Component other;
        if(!next_component(next_f, from_end, component) || !next_component(next_t, to_end, other)) break;
        if(!(component == other)) break;
        f = next_f;
        t = next_t;
    }
    // Nothing leads from one root to another, or from a relative path to an absolute one.
    if(t == to && (is_absolute(from) || is_absolute(to))) return String(to);

    StringStack<1024> ret;
    while(next_component(f, from_end, component)) ret.append("../", 3);
    while(next_component(t, to_end, component)) ret.append(component.name, component.size).append('/');
    ret.append(to_end);
    return ret;
}

// -- StringArray --

bool StringArray::create(const char *str, uint32_t size, uint32_t num) {
    clear();
    capacity = size + 1;
    data = static_cast<char *>(Allocator::allocate(str, capacity));
    if(data == nullptr) {
        capacity = 0;
        return false;
    }
    length = capacity;
    strings.resize(num);
    return true;
}

uint32_t StringArray::split(const char *str, const char *delimiters, bool skip_empty) {
    const size_t size = str ? strlen(str) : 0;
    KOLM_ASSERT(size <= String::MaxCapacity && "StringArray::split(): invalid size");
    return split_bytes(str, uint32_t(size), delimiters, skip_empty);
}

uint32_t StringArray::split(const String &str, const char *delimiters, bool skip_empty) {
    return split_bytes(str.get(), str.size(), delimiters, skip_empty);
}

uint32_t StringArray::split_bytes(const char *str, uint32_t size, const char *delimiters, bool skip_empty) {
    bool is_delimiter[256] = {};
    for(const char *d = delimiters; d && *d; d++) is_delimiter[uint8_t(*d)] = true;

    uint32_t num = 0;
    for(uint32_t i = 0, begin = 0; i <= size && size; i++) {
        if(i < size && !is_delimiter[uint8_t(str[i])]) continue;
        num += (i > begin || !skip_empty);
        begin = i + 1;
    }
    // What is split may be a piece of this array: the old buffer lives until the bytes were copied.
    StringArray ret;
    if(num && ret.create(str, size, num)) {
        num = 0;
        for(uint32_t i = 0, begin = 0; i <= size; i++) {
            if(i < size && !is_delimiter[uint8_t(ret.data[i])]) continue;
            if(i > begin || !skip_empty) ret.strings[num++].init(ret.data + begin, i - begin + 1, i - begin);
            begin = i + 1;
        }
    }
    move(ret);
    return strings.size();
}

void StringArray::copy(const StringArray &array) {
    if(this == &array) return;
    clear();
    if(array.data == nullptr || !create(array.data, array.length - 1, array.strings.size())) return;
    for(uint32_t i = 0; i < strings.size(); i++) {
        const String &str = array.strings[i];
        strings[i].init(data + (str.get() - array.data), str.size() + 1, str.size());
    }
}

void StringArray::move(StringArray &array) noexcept {
    if(this == &array) return;
    clear();
    Kolm::swap(capacity, array.capacity);
    Kolm::swap(length, array.length);
    Kolm::swap(data, array.data);
    strings.swap(array.strings);
}

void StringArray::clear() {
    strings.release();
    Allocator::free(data, capacity);
    capacity = 0;
    length = 0;
    data = nullptr;
}

} // namespace Kolm
