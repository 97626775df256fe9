// KolmShaderPreprocessor.cpp: the engine of the preprocessor, one pass over a text and its directives.
//
// Text that needs nothing done is not touched byte by byte: `run` marks where it begins, and it is copied in one piece
// when something else comes. Lines are counted in the source; where one begins in the output goes into the Source.

#include "KolmLog.h"
#include "KolmShader.h"
#include "KolmShaderScan.h"
#include "KolmSource.h"

namespace Kolm {

using namespace ShaderScan;

namespace {

enum Directive : uint8_t {
    DirectiveNone = 0, // not ours: the line goes to the output
    DirectiveIf,
    DirectiveIfdef,
    DirectiveIfndef,
    DirectiveElif,
    DirectiveElifdef,
    DirectiveElifndef,
    DirectiveElse,
    DirectiveEndif,
    DirectiveDefine,
    DirectiveAssign,
    DirectiveUndef,
    DirectivePragma,
    DirectiveInclude,
    DirectiveImport,
    DirectiveFatal,
    DirectiveError,
    DirectiveWarning,
    DirectiveMessage,
    DirectiveVerbose,
    NumDirectives,
};

constexpr const char *directive_names[NumDirectives] = {
    "",       "if",    "ifdef",  "ifndef",  "elif",   "elifdef", "elifndef", "else",    "endif",   "define",
    "assign", "undef", "pragma", "include", "import", "fatal",   "error",    "warning", "message", "verbose",
};

Directive find_directive(const char *name, uint32_t length) {
    for(uint32_t i = 1; i < NumDirectives; i++) {
        const char *other = directive_names[i];
        if(strncmp(other, name, length) == 0 && other[length] == '\0') return Directive(i);
    }
    return DirectiveNone;
}

} // namespace

struct ShaderPreprocessor : NoCopy {
    ShaderPreprocessor(const char *src, String &dest, Shader::State &state, bool expand)
        : src(src), dest(dest), state(state), expand(expand), s(skip_mark(src)), run(s), source(state.sources.size()),
          start(dest.size()) {
        Shader::Source &entry = state.sources.append();
        entry = Shader::Source();
        entry.name = state.get_name();
        entry.lines.append({0, 1});
        entry.offsets.append({0, 0});
    }

    void process() {
        for(;;) {
            const uint8_t c = get_class(*s);
            if(c == ClassEnd) break;
            if(active)
                process_active(c);
            else
                process_inactive(c);
        }
        flush();
        if(conditions.size()) Parser::error("unfinished conditional directive\n");
        state.sources[source].length = dest.size() - min(start, dest.size());
    }

    // Line of the source to which an error belongs.
    uint32_t get_error_line() const { return directive_line ? directive_line : line; }

    // Text of a line, cut if it is very long.
    String get_line_text(uint32_t number) const {
        const char *text = src;
        for(uint32_t i = 1; i < number; i++) {
            text = skip_line(text);
            if(*text == '\0') break;
            text++;
        }
        const char *end = skip_line(text);
        if(end > text && end[-1] == '\r') end--;
        return String(text, uint32_t(min(end - text, ptrdiff_t(1024))));
    }

    // Reads what a name stands for. The name becomes that under which a file was found. The lock is held for the tables
    // alone: shaders of several threads would wait for each other's files.
    static bool load_include(Shader::State &state, String &name, String &text, bool quotes) {
        const String *found = state.includes.get(name);
        if(found && !found->empty()) {
            text = *found;
            return true;
        }
        Array<String> paths;
        {
            AtomicLock lock(Shader::lock);
            found = Shader::includes.get(name);
            if(found && !found->empty()) {
                text = *found;
                return true;
            }
            paths = Shader::include_paths;
        }
        if(quotes && state.has_name() && !Source::isSource(name.get())) {
            String path = state.get_name().pathname() + name;
            if(Source::isSource(path.get())) name = std::move(path);
        }
        for(uint32_t i = 0; i < paths.size() && !Source::isSource(name.get()); i++) {
            String path = paths[i] + name;
            if(Source::isSource(path.get())) name = std::move(path);
        }
        // Not opened as it stands: under this name there may be a pipe, which would wait for ever.
        const String path = Source::find(name.get());
        if(path.empty()) return false;
        name = path;
        Source stream;
        return stream.open(name.get(), true, false) && read_text(stream, text, Shader::State::MaxLength);
    }

private:
    // A text may begin with a byte order mark.
    static const char *skip_mark(const char *text) { return strncmp(text, "\xEF\xBB\xBF", 3) ? text : text + 3; }

    // -- Text -------------------------------------------------------------------------------------------------------

    void flush() {
        append(dest, run, s);
        run = s;
    }

    void feed_line() {
        flush();
        trim(dest);
        dest.append('\n');
    }

    void mark_line() {
        Shader::Source &entry = state.sources[source];
        const uint32_t offset = dest.size() - min(start, dest.size());
        if(entry.lines.back() == line) return;
        if(entry.offsets.back() == offset && entry.lines.size() > 1) {
            entry.lines.back() = line; // nothing came from the line before
        } else {
            entry.lines.append(line);
            entry.offsets.append(offset);
        }
    }

    void process_active(uint8_t c) {
        const char *begin = s;
        switch(c) {
        case ClassName:
            at_start = false;
            s = skip_name(s);
            if(expand) expand_name(begin);
            break;
        case ClassFeed:
            feed_line();
            run = ++s;
            line++;
            at_start = true;
            mark_line();
            break;
        case ClassReturn:
            flush();
            run = ++s;
            at_start = false;
            break;
        case ClassSlash:
            if(is_comment(s)) {
                feed_line();
                pass_comment();
                run = s;
                mark_line();
            } else {
                s++;
                at_start = false;
            }
            break;
        case ClassQuote:
            s = skip_literal(s);
            at_start = false;
            break;
        case ClassHash:
            if(!at_start) {
                s++;
            } else if(s[1] == '#') {
                flush();
                dest.append('#');
                run = s += 2;
                at_start = false;
            } else {
                process_directive();
            }
            break;
        case ClassBackslash:
            if(pass_continuation()) {
                append(dest, run, begin);
                run = s;
                mark_line();
                break;
            }
            s++;
            at_start = false;
            break;
        case ClassBlank: s++; break;
        default:
            s++;
            at_start = false;
            break;
        }
    }

    void process_inactive(uint8_t c) {
        switch(c) {
        case ClassFeed:
            s++;
            line++;
            at_start = true;
            break;
        case ClassSlash:
            if(is_comment(s)) {
                pass_comment();
            } else {
                s++;
                at_start = false;
            }
            break;
        case ClassQuote: {
            // prose may stand here: what looks like an open literal reaches to the end of its line
            const char *end = find_literal(s);
            s = end ? end : skip_line(s);
            at_start = false;
            break;
        }
        case ClassHash:
            if(at_start && s[1] != '#') {
                process_directive();
            } else {
                s++;
                at_start = false;
            }
            break;
        case ClassBlank: s++; break;
        default:
            s++;
            at_start = false;
            break;
        }
        run = s;
    }

    void expand_name(const char *begin) {
        if(state.find_macro(begin, uint32_t(s - begin)) == nullptr) return;
        append(dest, run, begin);
        state.line = line;
        s = begin + state.evaluate_macro(begin, dest);
        if(dest.size() > Shader::State::MaxLength) Parser::error("macro expansion is too long\n");
        run = s;
        const uint32_t lines = count_lines(begin, s);
        if(lines == 0) return;
        line += lines;
        mark_line();
    }

    // A block comment takes the white space behind it along.
    void pass_comment() {
        const bool block = (s[1] == '*');
        const char *begin = s;
        s = skip_comment(s);
        const char *end = s;
        if(block) s = skip_spaces(s);
        line += count_lines(begin, s);
        if(!block || s != end) at_start = true;
    }

    bool pass_continuation() {
        const char *end = s + 1;
        if(*end == '\r') end++;
        if(*end != '\n') return false;
        s = end + 1;
        line++;
        return true;
    }

    // -- Directives -------------------------------------------------------------------------------------------------

    // Reads the rest of a directive: carriage returns are dropped, a backslash before a line feed too, while the line
    // feed stays. Block comments are passed whole. Ends behind the line.
    void read_rest(String &text) {
        const char *from = s;
        const auto take = [&]() {
            append(text, from, s);
            from = s;
        };
        while(*s && *s != '\n') {
            if(*s == '\r') {
                take();
                from = ++s;
            } else if(*s == '\\' && (s[1] == '\n' || (s[1] == '\r' && s[2] == '\n'))) {
                take();
                s = strchr(s, '\n');
                from = s++;
                line++;
            } else if(s[0] == '/' && s[1] == '*') {
                const char *begin = s;
                s = skip_comment(s);
                line += count_lines(begin, s);
            } else if(s[0] == '/' && s[1] == '/') {
                while(*s && *s != '\n') {
                    if(*s == '\\' && (s[1] == '\n' || (s[1] == '\r' && s[2] == '\n'))) break;
                    s++;
                }
            } else if(*s == '"' || *s == '\'') {
                const char *end = find_literal(s);
                s = end ? end : s + 1;
            } else {
                s++;
            }
        }
        take();
        end_line();
    }

    void end_line() {
        if(*s == '\n') {
            s++;
            line++;
        }
        at_start = true;
    }

    // What stands behind a directive that takes no more: a comment is text, all else is dropped.
    void check_rest(Directive directive) {
        s = skip_blanks(s);
        if(is_comment(s)) {
            at_start = true;
            return;
        }
        const char *end = skip_line(s);
        if(skip_spaces(s) < end) {
            Log::printf(Log::Warning, "Shader::preprocessor(): extra tokens at the end of #%s directive\n%s:%u: %s\n",
                        directive_names[directive], state.get_name().get(), directive_line,
                        get_line_text(directive_line).get());
        }
        s = end;
        end_line();
    }

    void process_directive() {
        directive_line = line;
        state.line = line;
        const char *begin = s;
        s = skip_blanks(s + 1);
        const char *name = s;
        s = skip_name(s);
        const Directive directive = find_directive(name, uint32_t(s - name));

        if(directive == DirectiveNone) {
            StringStack<256> text;
            read_rest(text);
            if(!active || (name == skip_name(name) && *skip_spaces(text.get()) == '\0')) {
                run = s; // a lone "#" is a directive without effect
            } else {
                append(dest, run, begin);
                dest.append('#');
                append(dest, name, skip_name(name));
                append(dest, text);
                trim(dest);
                if(s[-1] == '\n') dest.append('\n');
            }
        } else {
            run = begin;
            switch(directive) {
            case DirectiveElse:
            case DirectiveEndif:
                if(directive == DirectiveElse)
                    process_else();
                else
                    process_endif();
                check_rest(directive);
                break;
            case DirectiveUndef: process_undef(); break;
            case DirectiveInclude:
            case DirectiveImport: process_include(directive); break;
            default: {
                StringStack<256> text;
                read_rest(text);
                process_line(directive, text);
            }
            }
        }
        run = s;
        mark_line();
        directive_line = 0;
    }

    void process_line(Directive directive, const String &text) {
        switch(directive) {
        case DirectiveIf:
        case DirectiveIfdef:
        case DirectiveIfndef: push(active && evaluate(directive, text)); break;
        case DirectiveElif:
        case DirectiveElifdef:
        case DirectiveElifndef: process_elif(directive, text); break;
        case DirectiveDefine:
        case DirectiveAssign:
            if(active) process_define(directive, text);
            break;
        case DirectivePragma:
            // what no backend knows is no reason to fail
            if(active) state.set_pragma(text.get());
            break;
        case DirectiveFatal:
            if(active) Parser::error("%s\n", get_text(text).get());
            break;
        case DirectiveError: print(Log::Error, text); break;
        case DirectiveWarning: print(Log::Warning, text); break;
        case DirectiveMessage: print(Log::Message, text); break;
        case DirectiveVerbose: print(Log::Verbose, text); break;
        default: break;
        }
    }

    static String get_text(const String &text) {
        const char *begin = skip_spaces(text.get());
        String ret(begin, uint32_t(text.get() + text.size() - begin));
        trim(ret);
        return ret;
    }

    void print(Log::Level level, const String &text) {
        if(!active) return;
        Log::printf(level, "%s:%u: %s\n", state.get_name().get(), directive_line, get_text(text).get());
    }

    // -- Conditions -------------------------------------------------------------------------------------------------

    // Text is active where the branches of all levels are live; `dead` counts those that are not.
    void push(bool condition) {
        conditions.append(condition);
        taken.append(condition);
        dead += !condition;
        active = (dead == 0);
    }
    void set_top(bool condition) {
        dead += int32_t(conditions.back()) - int32_t(condition);
        conditions.back() = condition;
        active = (dead == 0);
    }
    bool is_outer_active() const { return dead == uint32_t(!conditions.back()); }

    bool evaluate(Directive directive, const String &text) {
        const bool names = (directive != DirectiveIf && directive != DirectiveElif);
        const int32_t value = names ? state.evaluate_ifdef(text.get()) : state.evaluate_value(text.get());
        if(value < 0) Parser::error("invalid expression\n");
        const bool inverted = (directive == DirectiveIfndef || directive == DirectiveElifndef);
        return (value != 0) != inverted;
    }

    void process_elif(Directive directive, const String &text) {
        if(conditions.empty()) Parser::error("#%s without #if\n", directive_names[directive]);
        bool condition = false;
        if(!taken.back() && is_outer_active()) {
            condition = evaluate(directive, text);
            taken.back() = condition;
        } else {
            taken.back() = true;
        }
        set_top(condition);
    }

    void process_else() {
        if(conditions.empty()) Parser::error("#else without #if\n");
        const bool condition = (!taken.back() && is_outer_active());
        taken.back() = true;
        set_top(condition);
    }

    void process_endif() {
        if(conditions.empty()) Parser::error("#endif without #if\n");
        dead -= !conditions.back();
        conditions.removeBack(1);
        taken.removeBack(1);
        active = (dead == 0);
    }

    // -- Macros -----------------------------------------------------------------------------------------------------

    [[noreturn]] void error_parse(Directive directive) {
        Parser::error("can't parse #%s directive\n", directive_names[directive]);
    }

    void process_define(Directive directive, const String &text) {
        const char *p = skip_spaces(text.get());
        const char *name = p;
        if(!is_name_start(*p)) Parser::error("can't read name\n%s\n", p);
        p = skip_name(p);
        String macro(name, uint32_t(p - name));
        if(state.isMacro(macro)) {
            if(directive == DirectiveAssign) return;
            Log::printf(Log::Warning, "Shader::preprocessor(): \"%s\" macro redefined\n%s:%u %s\n", macro.get(),
                        state.get_name().get(), directive_line, get_line_text(directive_line).get());
        }
        p = skip_spaces(p);
        String region;
        if(*p == '(') {
            // parentheses are parameters only if text follows them
            const char *begin = p;
            p = skip_parentheses(p);
            region = String(begin, uint32_t(p - begin));
            const char *rest = skip_spaces(p);
            if(*rest == '\0' || is_comment(rest)) {
                p = rest;
            } else {
                macro.append(region);
                region.clear();
            }
        }
        if(!state.set_macro(macro.get(), region.empty() ? p : region.get())) error_parse(directive);
    }

    static const char *skip_parentheses(const char *begin) {
        const char *p = begin;
        uint32_t depth = 0;
        while(*p) {
            if(*p == '"' || *p == '\'') {
                p = skip_literal(p);
                continue;
            }
            if(is_comment(p)) {
                p = skip_comment(p);
                continue;
            }
            depth += (*p == '(');
            if(*p++ == ')' && --depth == 0) return p;
        }
        Parser::error("can't read '(' to ')' region\n%s\n", begin);
    }

    void process_undef() {
        if(!active) {
            s = skip_line(s);
            return end_line();
        }
        s = skip_blanks(s);
        const char *name = s;
        if(!is_name_start(*s)) error_parse(DirectiveUndef);
        s = skip_name(s);
        state.removeMacro(String(name, uint32_t(s - name)).get());
        check_rest(DirectiveUndef);
    }

    // -- Includes ---------------------------------------------------------------------------------------------------

    void process_include(Directive directive) {
        s = skip_blanks(s);
        const bool quotes = (*s == '"');
        const char close = quotes ? '"' : '>';
        if(!quotes && *s != '<') error_parse(directive);
        const char *begin = ++s;
        while(*s && *s != '\n' && *s != close) s++;
        if(*s != close) error_parse(directive);
        String name(begin, uint32_t(s - begin));
        s++;

        bool skip = !active;
        if(!skip && directive == DirectiveImport) {
            skip = (state.imports.get(name) != nullptr);
            if(!skip) state.imports.append(name);
        }
        if(!skip) include(directive, name);
        check_rest(directive);
    }

    void include(Directive directive, String &name) {
        if(state.include_depth >= Shader::State::MaxIncludeDepth || state.num_includes >= Shader::State::MaxIncludes) {
            state.include_overflow = 1;
            Parser::error("can't %s \"%s\" file, too many files\n", directive_names[directive], name.get());
        }
        StringStack<1024> text;
        const bool quotes = (s[-1] == '"');
        if(!load_include(state, name, text, quotes) || text.empty()) error_include(directive, name);

        const bool named = state.has_name();
        const String parent = state.get_name();
        const uint32_t offset = dest.size();
        const uint32_t index = state.sources.size();
        state.set_name(name.get());
        state.include_depth++;
        state.num_includes++;
        const bool ret = Shader::preprocessor(text.get(), dest, state, expand);
        state.include_depth--;
        if(named)
            state.set_name(parent.get());
        else
            state.removeMacro("__FILE__");
        if(!ret) error_include(directive, name);
        if(offset) state.sources[index].offset = offset + state.sources[index].offset - 1;
        if(dest.size() > Shader::State::MaxLength) Parser::error("text is too long\n");
        if(dest.size() && dest.get()[dest.size() - 1] != '\n') dest.append('\n');
    }

    [[noreturn]] void error_include(Directive directive, const String &name) {
        Parser::error("can't %s \"%s\" file\n", directive_names[directive], name.get());
    }

    // -- State ------------------------------------------------------------------------------------------------------

    const char *src;
    String &dest;
    Shader::State &state;
    bool expand;

    const char *s;               // what is read next
    const char *run;             // text that is still to be copied begins here
    uint32_t source;             // index of this text in state.sources
    uint32_t start;              // size of the output when this text began
    uint32_t line = 1;           // of `s`
    uint32_t directive_line = 0; // of the directive that is being processed
    bool active = true;          // text goes to the output
    bool at_start = true;        // only white space on this line so far

    uint32_t dead = 0;                // levels whose branch is not live
    ArrayStack<bool, 128> conditions; // the branch of the level is live
    ArrayStack<bool, 128> taken;      // a branch of the level has been live
};

bool Shader::preprocessor(const char *src, String &dest, State &state, bool expand) {
    KOLM_ASSERT(src && "Shader::preprocessor(): source is null");
    ShaderPreprocessor preprocessor(src, dest, state, expand);
    try {
        preprocessor.process();
        return true;
    } catch(const String &error) {
        // Of a chain of files that is too long, the innermost and the outermost speak.
        if(state.include_overflow < 2 || state.include_depth == 0) {
            const uint32_t line = preprocessor.get_error_line();
            Log::printf(Log::Error, "Shader::preprocessor(): %s%s:%u: %s\n", error.get(), state.get_name().get(), line,
                        preprocessor.get_line_text(line).get());
        }
        if(state.include_overflow) state.include_overflow = 2;
        return false;
    }
}

} // namespace Kolm
