// The passes of a compile, and the first scan, which finds what has to be known before any declaration.

#include "KolmCompiler.h"
#include "KolmCompilerText.h"
#include "KolmLog.h"

namespace Kolm {

namespace {

struct Stage {
    Shader::Type type;
    uint32_t model;
};
constexpr Stage stages[] = {
    {Shader::TypeVertex, SpvExecutionModelVertex},
    {Shader::TypeControl, SpvExecutionModelTessellationControl},
    {Shader::TypeEvaluate, SpvExecutionModelTessellationEvaluation},
    {Shader::TypeGeometry, SpvExecutionModelGeometry},
    {Shader::TypeFragment, SpvExecutionModelFragment},
    {Shader::TypeCompute, SpvExecutionModelGLCompute},
    {Shader::TypeTask, SpvExecutionModelTaskEXT},
    {Shader::TypeMesh, SpvExecutionModelMeshEXT},
    {Shader::TypeRayGen, SpvExecutionModelRayGenerationKHR},
    {Shader::TypeRayMiss, SpvExecutionModelMissKHR},
    {Shader::TypeClosest, SpvExecutionModelClosestHitKHR},
    {Shader::TypeFirstHit, SpvExecutionModelAnyHitKHR},
    {Shader::TypeIntersection, SpvExecutionModelIntersectionKHR},
    {Shader::TypeCallable, SpvExecutionModelCallableKHR},
};

struct ExecutionMode {
    uint32_t model;
    bool input;
    uint32_t mode;
    const char *name;
};
constexpr ExecutionMode stage_modes[] = {
#define MODE(STAGE, INPUT, NUM, NAME) {SpvExecutionModel##STAGE, INPUT, NUM, NAME},
#include "KolmCompilerNames.inc"
};

// Modes that come with a number.
bool has_value(uint32_t mode) {
    return mode == SpvExecutionModeInvocations || mode == SpvExecutionModeLocalSize ||
           mode == SpvExecutionModeOutputVertices || mode == SpvExecutionModeOutputPrimitivesEXT;
}

constexpr uint32_t MaxGroupSize = 65535;

} // namespace

Compiler::Compiler() = default;

Compiler::~Compiler() = default;

void Compiler::create() {
    if(!types.empty()) return;
#define TYPE(SOURCE, INTERNAL)      \
    types.append(SOURCE, INTERNAL); \
    internal_types.append(INTERNAL, SOURCE);
#define FORMAT(NUM, NAME) format_names.append(NAME, NUM);
#define STORAGE(NUM, NAME) storage_qualifiers.append(NAME, NUM);
#define STRUCTURE(NUM, NAME) structure_qualifiers.append(NAME, NUM);
#define DECORATION(NUM, NAME) decoration_qualifiers.append(NAME, NUM);
#define LAYOUT(NUM, NAME) layout_qualifiers.append(NAME, NUM);
#define EXECUTION(NUM, NAME) execution_qualifiers.append(NAME, NUM);
#define RESERVED(NAME) reserved_qualifiers.append(NAME, true);
#include "KolmCompilerNames.inc"
#define BUILTIN(NUM, NAME) builtin_names.append(NAME, NUM);
#include "KolmCompilerBuiltins.inc"
    create_functions();
}

void Compiler::clear() {
    options = OptionNone;
    extensions.clear();
    capabilities.clear();
    execution_model = ~0u;
    execution_modes.clear();
    group_size[0] = 1;
    group_size[1] = 1;
    group_size[2] = 0;
    source_profile = 0;
    source_version = ~0u;
    source = nullptr;
    source_offset = nullptr;
    internal_text = false;
    explicit_barycentrics = false;
    depth = 0;

    global.reset();
    variables.clear();
    structures.clear();
    references.clear();
    functions.clear();
    function_names.clear();
    layout_names.clear();
    target_indices.clear();
    entry_function = ~0u;

    pointers.clear();
    opcodes.clear();
    num_targets = 1;
    external_target = ~0u;
    type_targets.clear();
    targets.clear();
    constant_indices.clear();
    constants.clear();
    named_constants.clear();
    named_targets.clear();
    reference_operands.clear();
    if(constant_slots.size()) memset(constant_slots.get(), 0, constant_slots.bytes());
    array_types.clear();
    array_strides.clear();
    pointer_types.clear();
    target_decorations.clear();
    tensors.clear();
    memset(flag_targets, 0, sizeof(flag_targets));
    message.clear();
}

void Compiler::check_depth(uint32_t depth) {
    if(depth > MaxDepth) Parser::error("too many nested expressions\n");
}

bool Compiler::compileGLSL(Shader::Type type, const char *src, const char *macros, uint32_t &offset, Options opts) {
    clear();
    create();
    options = opts;
    offset = 0;
    opcodes.reserve(1024);
    variables.reserve(1024);
    structures.reserve(128);
    functions.reserve(128);
    try {
        for(const Stage &stage : stages) {
            if(stage.type == type) execution_model = stage.model;
        }
        if(execution_model == ~0u) Parser::error("unknown shader type\n");
        if(src == nullptr) Parser::error("can't find entry function\n");
        if(strlen(src) > 0x7FFFFFFF) Parser::error("shader is too large\n");
        source = src;
        source_offset = &offset;

        parse_directives(src, offset);
        parse_global(src, offset, false);
        compile_functions(src, offset);
        offset = ~0u; // what fails from here on has no place in the text
        validate_decorations();
        create_opcodes(source_profile, (source_version != ~0u) ? source_version : 0, macros);
        offset = 0;
    } catch(String &error) {
        opcodes.clear();
        source = nullptr;
        source_offset = nullptr;
        internal_text = false;
        message = error;
        Log::printf(Log::Error, "Compiler::compileGLSL(): %s", message.get());
        return false;
    }
    source = nullptr;
    source_offset = nullptr;
    return true;
}

// Bodies, in the order of the text, so that a function stands ready for the calls behind it.
void Compiler::compile_functions(const char *src, uint32_t &offset) {
    for(uint32_t i = 0; i < functions.size(); i++) {
        Function &func = functions[i];
        if(func.src == nullptr) continue;
        offset = func.src_offset;
        const char *s = func.src;
        parse_function(src, s, offset, func, &func.scope);
        func.compiled = true;
    }
}

// -- First scan -------------------------------------------------------------------------------------------------------

// Reads "layout() in;", "layout() out;", #version and #extension wherever they stand at top level.
void Compiler::parse_directives(const char *src, uint32_t &offset) {
    const char *s = src;
    for(;;) {
        Text::skip_blank(s);
        offset = uint32_t(s - src);
        switch(*s) {
        case '\0': return;
        case '#': parse_directive(s); continue;
        // what has no end is told by the parser that meets it
        case '{':
            if(!find_region(s, '{', '}')) return;
            continue;
        case '[':
            if(!find_region(s, '[', ']')) return;
            continue;
        case '(':
            if(!find_region(s, '(', ')')) return;
            continue;
        default: break;
        }
        const uint32_t length = Text::get_name_length(s);
        if(length == 0) {
            s++;
            continue;
        }
        const bool layout = Text::is_name(s, "layout");
        s += length;
        if(!layout) continue;
        Text::skip_blank(s);
        if(*s != '(') continue;
        const char *begin = s;
        if(!find_region(s, '(', ')')) return;
        const char *next = s;
        Text::skip_blank(next);
        const bool input = Text::is_name(next, "in");
        if(!input && !Text::is_name(next, "out")) continue;
        next += Text::get_name_length(next);
        if(!Text::accept(next, ';')) continue;
        parse_execution(get_text(begin + 1, uint32_t(s - begin - 2)), input);
        s = next;
    }
}

// "#" name rest of the line
bool Compiler::parse_directive(const char *&s) {
    const char *line = s;
    while(*s && *s != '\n') s++;
    const StringStack<64> text = get_text(line + 1, uint32_t(s - line - 1));
    const char *c = text.get();
    StringStack<64> name;
    Text::read_name(c, name);
    if(strcmp(name.get(), "version") == 0) {
        if(source_version != ~0u) Parser::error("too many #version directives\n");
        Text::skip_blank(c);
        if(!Text::is_digit(*c)) Parser::error("can't read number\n%s\n", text.get());
        uint32_t version = 0;
        while(Text::is_digit(*c) && version < 100000) version = version * 10 + uint32_t(*c++ - '0');
        source_version = version;
        StringStack<64> profile;
        Text::read_name(c, profile);
        if(profile.empty())
            source_profile = 0;
        else if(strcmp(profile.get(), "core") == 0)
            source_profile = 2;
        else if(strcmp(profile.get(), "es") == 0)
            source_profile = 1;
        else
            Parser::error("unknown #version profile \"%s\"\n", profile.get());
        return true;
    }
    if(strcmp(name.get(), "extension") == 0) {
        StringStack<64> extension;
        if(!Text::read_name(c, extension)) Parser::error("can't read name\n%s\n", text.get());
        if(!Text::accept(c, ':')) Parser::error("expecting '%c'\n", ':');
        StringStack<64> behaviour;
        Text::read_name(c, behaviour);
        if(strcmp(behaviour.get(), "enable") == 0 || strcmp(behaviour.get(), "require") == 0) {
            extensions.append(extension, true);
        } else if(strcmp(behaviour.get(), "warn") && strcmp(behaviour.get(), "disable")) {
            Parser::error("unknown #extension qualifier \"%s\"\n", behaviour.get());
        }
        return true;
    }
    Parser::error("unknown preprocessor directive %s\n", name.get());
    return false;
}

// name [ "=" constant ] { "," name [ "=" constant ] }
void Compiler::parse_execution(const String &text, bool input) {
    const char *s = text.get();
    bool sized = false;
    for(;;) {
        StringStack<64> name;
        if(!Text::read_name(s, name)) Parser::error("invalid layout qualifiers\n");
        const ExecutionMode *mode = nullptr;
        for(const ExecutionMode &row : stage_modes) {
            if(row.model == execution_model && row.input == input && strcmp(row.name, name.get()) == 0) mode = &row;
        }
        if(mode == nullptr) Parser::error("unknown execution qualifier \"%s\"\n", name.get());
        uint32_t value = ~0u;
        if(Text::accept(s, '=')) {
            const Constant constant = parse_constant(read_item(s, '\0'), &global);
            if(constant.size() != 1 || (constant.flags & FlagInteger) == 0)
                Parser::error("invalid layout qualifiers\n");
            const int64_t number = constant.geti64();
            if(number < 0 || number >= 0x7FFFFFFF) Parser::error("invalid layout qualifiers\n");
            value = uint32_t(number);
        }
        if(has_value(mode->mode) != (value != ~0u)) Parser::error("invalid layout qualifiers\n");

        if(mode->mode == SpvExecutionModeLocalSize) {
            if(value == 0 || value > MaxGroupSize) Parser::error("invalid work group size\n");
            group_size[uint32_t(name.get()[name.size() - 1] - 'x')] = value;
            sized = true;
        } else {
            if(execution_modes.has(mode->mode)) Parser::error("too many %s execution qualifiers\n", name.get());
            execution_modes.append(mode->mode, value);
        }

        Text::skip_blank(s);
        if(*s == '\0') break;
        if(*s++ != ',') Parser::error("invalid layout qualifiers\n");
    }
    if(!sized) return;
    execution_modes.append(SpvExecutionModeLocalSize, ~0u);
    if(group_size[2] == 0) group_size[2] = 1;
    const uint64_t size = uint64_t(group_size[0]) * group_size[1];
    if(size > 0xFFFFFFFF || size * group_size[2] > 0xFFFFFFFF) Parser::error("invalid work group size\n");
}

} // namespace Kolm
