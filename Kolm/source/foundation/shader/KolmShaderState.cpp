// KolmShaderState.cpp: macros, pragmas and names of one run, and the way from its output back to lines of files.

#include "KolmLog.h"
#include "KolmShader.h"
#include "KolmShaderScan.h"

namespace Kolm {

using namespace ShaderScan;

namespace {

// Key of the macro map that need not be terminated.
struct Name {
    const char *text;
    uint32_t length;

    static int32_t compare(const String &a, const Name &b) {
        const uint32_t length = min(a.size(), b.length);
        const int32_t ret = length ? memcmp(a.get(), b.text, length) : 0;
        if(ret) return ret;
        return (a.size() < b.length) ? -1 : (a.size() > b.length);
    }
    friend bool operator<(const String &a, const Name &b) { return compare(a, b) < 0; }
    friend bool operator>(const String &a, const Name &b) { return compare(a, b) > 0; }
};

// Text without comments, each of which leaves a space, and without white space around it.
void copy_value(String &dest, const char *s) {
    s = skip_spaces(s);
    const char *run = s;
    while(*s) {
        if(*s == '"' || *s == '\'') {
            const char *end = find_literal(s);
            s = end ? end : s + 1;
        } else if(is_comment(s)) {
            append(dest, run, s);
            dest.append(' ');
            const bool feed = (s[1] == '/');
            run = s = skip_comment(s);
            if(feed && s[-1] == '\n') run = --s;
        } else {
            s++;
        }
    }
    append(dest, run, s);
    trim(dest);
    uint32_t size = 0;
    while(is_space(dest.get()[size])) size++;
    if(size) dest.remove(0, size);
}

// Balanced brackets that \p s stands on, literals and comments passed over. Null if they do not end.
const char *find_region(const char *s) {
    uint32_t depth = 0;
    while(*s) {
        if(*s == '"' || *s == '\'') {
            const char *end = find_literal(s);
            s = end ? end : s + 1;
            continue;
        }
        if(is_comment(s)) {
            s = skip_comment(s);
            continue;
        }
        if(*s == '(' || *s == '[' || *s == '{') depth++;
        if((*s == ')' || *s == ']' || *s == '}') && --depth == 0) return s + 1;
        s++;
    }
    return nullptr;
}

const char *expect_region(const char *s) {
    if(const char *end = find_region(s)) return end;
    const String line(s, uint32_t(min(skip_line(s) - s, ptrdiff_t(256))));
    Parser::error("can't read '(' to ')' region\n%s\n", line.get());
}

const char *expect_name(const char *s) {
    if(is_name_start(*s)) return skip_name(s);
    const String line(s, uint32_t(min(skip_line(s) - s, ptrdiff_t(256))));
    Parser::error("can't read name\n%s\n", line.get());
}

} // namespace

// -- macros ---------------------------------------------------------------------------------------------------------

const Shader::Macro *Shader::State::search_macro(const char *name, uint32_t length) const {
    return macros.get(Name{name, length});
}

const Shader::Macro &Shader::State::get_macro(const char *name) const {
    static const Macro empty;
    const Macro *macro = find_macro(name, uint32_t(strlen(name)));
    return macro ? *macro : empty;
}

bool Shader::State::removeMacro(const char *name) { return macros.remove(Name{name, uint32_t(strlen(name))}); }

void Shader::State::clearMacros() {
    macros.clear();
    memset(filter, 0, sizeof(filter));
}

void Shader::State::add_macro(const String &name, Macro &&macro) {
    macros.append(name, std::move(macro));
    const uint32_t bit = get_bit(name.get(), name.size());
    filter[bit >> 6] |= uint64_t(1) << (bit & 63);
}

void Shader::State::add_macro(const char *text, const char *value) {
    Macro macro;
    const char *s = skip_spaces(text);
    const char *begin = s;
    s = expect_name(s);
    const String name(begin, uint32_t(s - begin));
    s = skip_spaces(s);
    if(*s == '(') {
        macro.function = true;
        s = skip_spaces(s + 1);
        while(*s != ')') {
            begin = s;
            if(*s == '.')
                while(*s && *s != ',' && *s != ')') s++;
            else
                s = skip_name(s);
            const char *end = s;
            while(end > begin && is_space(end[-1])) end--;
            if(begin == end) Parser::error("invalid arguments\n");
            String argument(begin, uint32_t(end - begin));
            for(const String &other : macro.arguments) {
                if(other == argument) Parser::error("invalid argument names\n");
            }
            macro.arguments.append(std::move(argument));
            s = skip_spaces(s);
            if(*s == ')') break;
            if(*s != ',') Parser::error("invalid arguments\n");
            s = skip_spaces(s + 1);
            if(*s == ')') Parser::error("invalid arguments\n");
        }
        s++;
    }
    if(*skip_spaces(s)) Parser::error("invalid name\n");
    copy_value(macro.value, value);
    add_macro(name, std::move(macro));
}

bool Shader::State::set_macro(const char *name, const char *value) {
    try {
        add_macro(name, value ? value : "");
    } catch(const String &error) {
        Log::printf(Log::Error, "Shader::State::set_macro(): %s%s\n", error.get(), name);
        return false;
    }
    return true;
}

bool Shader::State::set_macros(const char *text) {
    try {
        const char *s = text;
        StringStack<256> name, value;
        for(;;) {
            s = skip_spaces(s);
            if(*s == '\0') break;
            if(*s == ';') {
                s++;
                continue;
            }
            const char *begin = s;
            s = expect_name(s);
            name.clear();
            append(name, begin, s);
            s = skip_spaces(s);
            if(*s == '(') {
                begin = s;
                s = expect_region(s);
                append(name, begin, s);
                s = skip_spaces(s);
            }
            value.clear();
            if(*s == '=') {
                for(s++;;) {
                    // to the next semicolon, past brackets and literals
                    begin = s;
                    while(*s && *s != ';') {
                        const char *end = nullptr;
                        if(*s == '"' || *s == '\'') end = find_literal(s);
                        if(*s == '(' || *s == '[' || *s == '{') end = find_region(s);
                        s = end ? end : s + 1;
                    }
                    append(value, begin, s);
                    if(*s == '\0' || value.empty() || value.get()[value.size() - 1] != '\\') break;
                    value.removeBack(1);
                    value.append(*s++);
                }
            }
            if(*s && *s != ';') Parser::error("invalid delimiter\n");
            if(!set_macro(name.get(), value.get())) return false;
        }
    } catch(const String &error) {
        Log::printf(Log::Error, "Shader::State::set_macros(): %s%s\n", error.get(), text);
        return false;
    }
    return true;
}

String Shader::State::get_macros(bool short_form) const {
    if(is_pragma("quiet")) return String();
    StringStack<256> first, second, third;
    for(Map<String, Macro>::ConstIterator it = macros.begin(); it; ++it) {
        const String &name = it->key;
        const String &value = it->data.value;
        String *list = &second;
        if(strstr(name.get(), "SHADER") || strstr(name.get(), "__FILE__"))
            list = &first;
        else if(strchr(value.get(), '\n'))
            list = &third;
        if(list->size()) list->append("; ");
        append(*list, name);
        if(value.empty()) continue;
        list->append('=');
        append(*list, value);
    }
    String ret;
    const auto join = [&ret](const String &list) {
        if(ret.size() && list.size()) ret.append("; ");
        append(ret, list);
    };
    join(first);
    join(second);
    if(!short_form) join(third);
    if(short_form && ret.size()) ret.append('\n');
    return ret;
}

// -- includes -------------------------------------------------------------------------------------------------------

void Shader::State::set_includes(const char **texts, uint32_t size) {
    if(texts == nullptr) return;
    for(uint32_t i = 0; i + 1 < size; i += 2) {
        if(texts[i]) includes.append(String(texts[i]), String(texts[i + 1] ? texts[i + 1] : ""));
    }
}

// -- pragmas --------------------------------------------------------------------------------------------------------

void Shader::State::add_pragma(const char *text) {
    Pragma pragma;
    const char *s = skip_spaces(text);
    const char *begin = s;
    s = expect_name(s);
    pragma.name = String(begin, uint32_t(s - begin));
    s = skip_spaces(s);
    if(*s == '(') {
        const char *end = expect_region(s) - 1;
        if(*end != ')') Parser::error("invalid pragma\n");
        s++;
        while(s < end) {
            // to the next comma outside of brackets
            begin = s;
            while(s < end && *s != ',') {
                const char *next = nullptr;
                if(*s == '"' || *s == '\'') next = find_literal(s);
                if(*s == '(' || *s == '[' || *s == '{') next = find_region(s);
                s = (next && next <= end) ? next : s + 1;
            }
            StringStack<256> argument, expanded;
            copy_value(argument, String(begin, uint32_t(s - begin)).get());
            evaluate_macros(argument.get(), expanded);
            pragma.arguments.append(String(expanded.get(), expanded.size()));
            if(s < end) s++;
        }
        s = end + 1;
    }
    s = skip_spaces(s);
    while(is_comment(s)) s = skip_spaces(skip_comment(s));
    if(*s) Parser::error("invalid pragma\n");
    pragmas.append(std::move(pragma));
}

bool Shader::State::set_pragma(const char *text) {
    try {
        add_pragma(text);
    } catch(const String &error) {
        Log::printf(Log::Error, "Shader::State::set_pragma(): %s%s\n", error.get(), text);
        return false;
    }
    return true;
}

bool Shader::State::is_pragma(const char *name) const {
    for(const Pragma &pragma : pragmas) {
        if(pragma.name == name) return true;
    }
    return false;
}

const Shader::Pragma &Shader::State::get_pragma(const char *name) const {
    static const Pragma empty;
    for(const Pragma &pragma : pragmas) {
        if(pragma.name == name) return pragma;
    }
    return empty;
}

// -- names ----------------------------------------------------------------------------------------------------------

String Shader::State::get_name() const {
    if(const Macro *macro = find_macro("__FILE__", 8)) return macro->value;
    for(Map<String, Macro>::ConstIterator it = macros.begin(); it; ++it) {
        const String &name = it->key;
        if(it->data.value == "1" && name.size() >= 7 && strcmp(name.get() + name.size() - 7, "_SHADER") == 0) {
            return name;
        }
    }
    return String("memory");
}

// The name is no macro text: what looks like a comment in it stays.
void Shader::State::set_name(const char *name) {
    Macro macro;
    macro.value = name;
    add_macro(String("__FILE__"), std::move(macro));
}

// -- positions ------------------------------------------------------------------------------------------------------

String Shader::State::get_source(uint32_t offset) const {
    for(uint32_t i = sources.size(); i-- > 0;) {
        const Source &source = sources[i];
        if(offset >= source.offset && offset - source.offset < source.length) return source.name;
    }
    return get_name();
}

// The compiler reports the end of what it read last, hence the two bytes: they reach past a line feed and what ended
// the line before it.
uint32_t Shader::State::get_line(uint32_t offset) const {
    for(uint32_t i = sources.size(); i-- > 0;) {
        const Source &source = sources[i];
        if(offset < source.offset || offset - source.offset >= source.length) continue;
        for(uint32_t k = source.offsets.size(); k-- > 0;) {
            if(uint64_t(offset) + 2 - source.offset >= source.offsets[k]) return source.lines[k];
        }
    }
    if(sources.empty() || sources.back().lines.empty()) return ~0u;
    return sources.back().lines.back();
}

} // namespace Kolm
