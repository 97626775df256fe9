// KolmShaderMacro.cpp: expansion of macros.
//
// A macro is not expanded within its own expansion. Arguments are expanded before they are put in place, with the
// macros of the caller alone out of reach: a call within an argument of the same macro is expanded. What results is
// expanded once more.

#include "KolmShader.h"
#include "KolmShaderScan.h"

namespace Kolm {

using namespace ShaderScan;

struct Shader::State::Stack {
    const Stack *parent;
    const Macro *macro;
    uint32_t depth;

    static bool find(const Stack *stack, const Macro *macro) {
        for(; stack; stack = stack->parent) {
            if(stack->macro == macro) return true;
        }
        return false;
    }
};

namespace {

bool is_equal(const String &text, const char *s, uint32_t length) {
    return text.size() == length && memcmp(text.get(), s, length) == 0;
}

void check_length(const String &text) {
    if(text.size() > Shader::State::MaxLength) Parser::error("macro expansion is too long\n");
}

// Reads a parenthesised list of arguments that \p s stands on; commas within brackets do not separate. A comment
// becomes a space.
const char *read_arguments(const char *s, Array<String> &arguments) {
    const char *begin = s;
    const auto line = [begin]() { return String(begin, uint32_t(min(skip_line(begin) - begin, ptrdiff_t(256)))); };
    StringStack<256> text;
    bool commas = false;
    int32_t parens = 0, squares = 0, braces = 0;
    const auto add = [&]() {
        trim(text);
        const char *first = skip_spaces(text.get());
        arguments.append(String(first, uint32_t(text.get() + text.size() - first)));
        text.clear();
    };
    const char *run = ++s;
    for(;;) {
        const char c = *s;
        if(c == '\0') Parser::error("can't read '(' to ')' region\n%s\n", line().get());
        if(c == '"' || c == '\'') {
            s = skip_literal(s);
            continue;
        }
        if(c == '/' && is_comment(s)) {
            append(text, run, s);
            text.append(' ');
            const bool feed = (s[1] == '/');
            run = s = skip_comment(s);
            if(feed && s[-1] == '\n') run--; // the line feed belongs to the argument
            continue;
        }
        if(c == '\r') {
            append(text, run, s);
            run = ++s;
            continue;
        }
        if(c == ')' && parens == 0) {
            if(squares || braces) Parser::error("invalid count of '{' and '}' symbols\n%s\n", line().get());
            append(text, run, s);
            if(commas || *skip_spaces(text.get())) add();
            return s + 1;
        }
        if(c == ',' && parens == 0 && squares == 0 && braces == 0) {
            append(text, run, s);
            add();
            commas = true;
            run = ++s;
            continue;
        }
        parens += (c == '(') - (c == ')');
        squares += (c == '[') - (c == ']');
        braces += (c == '{') - (c == '}');
        if(squares < 0 || braces < 0) Parser::error("invalid count of '{' and '}' symbols\n%s\n", line().get());
        s++;
    }
}

// "text" with its quotes escaped. A line feed can't stand in a literal and becomes a space.
void append_quoted(String &dest, const String &text) {
    dest.append('"');
    for(uint32_t i = 0; i < text.size(); i++) {
        const char c = text.get()[i];
        if(c == '"') dest.append('\\');
        dest.append((c == '\n') ? ' ' : c);
    }
    dest.append('"');
}

// Bytes of a string literal as words, low byte first, with at least one zero byte at the end.
void append_words(String &dest, const String &text) {
    const char *s = text.get();
    if(*s != '"') Parser::error("can't read string\n%s\n", s);
    const char *end = skip_literal(s);
    if(*skip_spaces(end)) Parser::error("can't read string\n%s\n", s);
    StringStack<256> bytes;
    for(s++; s < end - 1; s++) {
        char c = *s;
        if(c == '\\') {
            static constexpr char names[] = "nrtbfav0";
            static constexpr char values[] = "\n\r\t\b\f\a\v";
            c = *++s;
            const char *name = static_cast<const char *>(memchr(names, c, sizeof(names) - 1));
            if(name) c = values[name - names];
        }
        bytes.append(c);
    }
    const uint32_t num = (bytes.size() + 4) / 4;
    for(uint32_t i = 0; i < num; i++) {
        uint32_t word = 0;
        for(uint32_t j = 0; j < 4 && i * 4 + j < bytes.size(); j++) {
            word |= uint32_t(uint8_t(bytes.get()[i * 4 + j])) << (j * 8);
        }
        if(i) dest.append(", ");
        dest.append("0x");
        append(dest, String::fromu32(word, 16));
    }
}

} // namespace

void Shader::State::count_expansion(uint32_t depth) {
    if(depth > MaxDepth) Parser::error("too many nested macros\n");
    if(++num_expansions > MaxExpansions) Parser::error("too many macro expansions\n");
}

void Shader::State::evaluate_macros(const char *s, String &dest, const Stack *stack) {
    const char *run = s;
    while(*s) {
        if(is_name(*s)) {
            const char *begin = s;
            s = skip_name(s);
            const uint32_t length = uint32_t(s - begin);
            const Macro *macro = find_macro(begin, length);
            if(macro == nullptr || Stack::find(stack, macro)) continue;
            append(dest, run, begin);
            if(length == 8 && memcmp(begin, "__LINE__", 8) == 0)
                append(dest, String::fromu32(line));
            else
                s = begin + evaluate_macro(begin, dest, stack);
            check_length(dest);
            run = s;
        } else if(*s == '"' || *s == '\'') {
            s = skip_literal(s);
        } else {
            s++;
        }
    }
    append(dest, run, s);
    check_length(dest);
}

uint32_t Shader::State::evaluate_macro(const char *text, String &dest, const Stack *stack) {
    const char *s = skip_name(text);
    const uint32_t length = uint32_t(s - text);
    const Macro *macro = find_macro(text, length);
    if(macro == nullptr) Parser::error("can't get \"%s\" macro\n", String(text, length).get());
    const Stack frame = {stack, macro, stack ? stack->depth + 1 : 1};
    count_expansion(frame.depth);

    if(!macro->function) {
        if(is_equal(macro->value, text, length))
            append(dest, macro->value);
        else
            evaluate_macros(macro->value.get(), dest, &frame);
        return length;
    }

    s = skip_spaces(s);
    while(is_comment(s)) s = skip_spaces(skip_comment(s));
    if(*s != '(') Parser::error("can't get \"%s\" macro arguments\n", String(text, length).get());
    Array<String> arguments;
    s = read_arguments(s, arguments);

    // Arguments see the depth of this call, so that calls within calls are limited, but not its name.
    const Stack argument_frame = {stack, nullptr, frame.depth};
    for(uint32_t i = 0; i < arguments.size(); i++) {
        StringStack<256> expanded;
        evaluate_macros(arguments[i].get(), expanded, &argument_frame);
        arguments[i] = std::move(expanded);
    }

    const uint32_t num = macro->arguments.size();
    const bool variadic = num && macro->arguments[num - 1] == "...";
    if(variadic ? arguments.size() + 1 < num : arguments.size() != num) {
        Parser::error("invalid number of \"%s\" macro arguments\n", String(text, length).get());
    }

    StringStack<1024> body;
    expand_body(*macro, arguments, body, frame);
    evaluate_macros(body.get(), dest, &frame);
    return uint32_t(s - text);
}

// Copies the value with arguments in the places of parameters.
void Shader::State::expand_body(const Macro &macro, const Array<String> &arguments, String &dest, const Stack &stack) {
    const uint32_t num = macro.arguments.size();
    const bool variadic = num && macro.arguments[num - 1] == "...";
    const uint32_t num_fixed = variadic ? num - 1 : num;

    const auto add_argument = [&dest](const String &argument) {
        if(dest.size() && dest.get()[dest.size() - 1] == '#') {
            dest.removeBack(1);
            append_quoted(dest, argument);
        } else if(dest.size() && dest.get()[dest.size() - 1] == '@') {
            dest.removeBack(1);
            append_words(dest, argument);
        } else {
            append(dest, argument);
        }
        check_length(dest);
    };

    const char *s = macro.value.get();
    while(*s) {
        if(is_name(*s)) {
            if(variadic && strncmp(s, "__VA_ARG", 8) == 0) {
                if(strncmp(s + 8, "C__", 3) == 0) {
                    s += 11;
                    append(dest, String::fromu32(arguments.size() - num_fixed));
                    continue;
                }
                if(strncmp(s + 8, "S__", 3) == 0) {
                    s += 11;
                    StringStack<256> list;
                    for(uint32_t i = num_fixed; i < arguments.size(); i++) {
                        if(i > num_fixed) list.append(", ");
                        append(list, arguments[i]);
                    }
                    add_argument(list);
                    continue;
                }
                if(strncmp(s + 8, "M__", 3) == 0) {
                    s = skip_spaces(s + 11);
                    const char *name = (*s == '(') ? skip_spaces(s + 1) : s;
                    const char *end = skip_name(name);
                    const char *close = skip_spaces(end);
                    if(*s != '(' || name == end || *close != ')') {
                        Parser::error("can't get \"%s\" macro arguments\n", "__VA_ARGM__");
                    }
                    s = close + 1;
                    const Macro *each = find_macro(name, uint32_t(end - name));
                    const bool indexed = each && each->arguments.size() > 1;
                    for(uint32_t i = num_fixed; i < arguments.size(); i++) {
                        StringStack<256> call;
                        append(call, name, end);
                        call.append('(');
                        append(call, arguments[i]);
                        if(indexed) append(call, String::format(", %uu", i - num_fixed));
                        call.append(')');
                        evaluate_macros(call.get(), dest, &stack);
                    }
                    continue;
                }
            }
            const char *begin = s;
            s = skip_name(s);
            const uint32_t length = uint32_t(s - begin);
            uint32_t index = 0;
            while(index < num_fixed && !is_equal(macro.arguments[index], begin, length)) index++;
            if(index < num_fixed)
                add_argument(arguments[index]);
            else
                append(dest, begin, s);
        } else if(*s == '"' || *s == '\'') {
            const char *begin = s;
            s = skip_literal(s);
            append(dest, begin, s);
        } else if(s[0] == '#' && s[1] == '#') {
            trim(dest);
            s = skip_spaces(s + 2);
        } else {
            dest.append(*s++);
        }
    }
}

} // namespace Kolm
