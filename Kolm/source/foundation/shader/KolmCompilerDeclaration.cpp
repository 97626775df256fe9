// Declarations at the top of a shader: qualifiers, layout, structures, blocks, functions and globals.
//
// A declaration is read straight into the tables. Bodies of functions are only skipped here: they are compiled after
// all declarations are known, so a function may be used before its text.

#include "KolmCompiler.h"
#include "KolmCompilerText.h"

namespace Kolm {

// What was read of a declaration before its type or name. Bits of the mask name what is pending; their order is that
// of the errors for a declaration that ends too early.
struct Compiler::Qualifiers {
    enum Mask : uint32_t {
        MaskInOut = 1,
        MaskLayout = 2,
        MaskFormat = 4,
        MaskStorage = 8,
        MaskPrecision = 16,
        MaskDecoration = 32,
        MaskControl = 64,
    };

    // A ";" alone may only end what nothing waits for.
    void check_unused() const {
        static constexpr struct {
            uint32_t mask;
            const char *message;
        } rows[] = {
            {MaskInOut, "unused inout qualifier\n"},
            {MaskLayout, "unused layout qualifier\n"},
            {MaskFormat, "unused format qualifier\n"},
            {MaskStorage, "unused storage qualifier\n"},
            {MaskPrecision, "unused precision qualifier\n"},
            {MaskDecoration, "unused decoration qualifier\n"},
            {MaskControl, "unused function control qualifier\n"},
        };
        for(const auto &row : rows) {
            if(mask & row.mask) Parser::error("%s", row.message);
        }
    }
    bool has(uint32_t decoration) const { return decorations.has(decoration); }

    uint32_t mask = 0;
    uint32_t pass = 0;        // of a parameter: bits of PassIn and PassOut
    uint32_t storage = ~0u;   // storage class
    uint32_t structure = ~0u; // decoration of a block with this storage
    uint32_t format = ~0u;    // image format
    uint32_t control = 0;     // function control
    SmallMap decorations;     // of layout() and of qualifiers
    SmallMap modes;           // execution modes
    Packing packing = PackingStd430;
    bool has_packing = false;
    uint32_t record = ~0u;  // storage class that the layout gives to a block
    bool execution = false; // the whole statement was an execution qualifier
};

namespace {

uint32_t get_stage(uint32_t model) {
    // graphics and compute by their number, then task, mesh, and the tracing stages
    if(model <= SpvExecutionModelGLCompute) return 1u << model;
    if(model == SpvExecutionModelTaskEXT) return 1u << 6;
    if(model == SpvExecutionModelMeshEXT) return 1u << 7;
    return 1u << (8 + model - SpvExecutionModelRayGenerationKHR);
}

constexpr uint32_t StageGroup = (1u << 5) | (1u << 6) | (1u << 7);
constexpr uint32_t StageRayGen = 1u << 8;
constexpr uint32_t StageIntersection = 1u << 9;
constexpr uint32_t StageAnyHit = 1u << 10;
constexpr uint32_t StageClosest = 1u << 11;
constexpr uint32_t StageMiss = 1u << 12;
constexpr uint32_t StageCallable = 1u << 13;

bool has_opaque(Compiler::Flags flags) {
    constexpr uint64_t mask = Compiler::FlagImage | Compiler::FlagImageBuffer | Compiler::FlagSampledImage |
                              Compiler::FlagSampler | Compiler::FlagAcceleration;
    return (flags & Compiler::Flags(mask)) != 0;
}

bool is_image_name(const char *type) { return strncmp(type, "image", 5) == 0 || strncmp(type, "texture", 7) == 0; }

} // namespace

// -- Scanning ---------------------------------------------------------------------------------------------------------

bool Compiler::find_region(const char *&s, char open, char close) {
    uint32_t depth = 0;
    do {
        if(*s == '/' && (s[1] == '/' || s[1] == '*')) {
            Text::skip_blank(s);
            continue;
        }
        if(*s == '\0') return false;
        if(*s == open) depth++;
        if(*s == close) depth--;
        s++;
    } while(depth);
    return true;
}

void Compiler::skip_region(const char *&s, char open, char close) {
    const char *begin = s;
    if(find_region(s, open, close)) return;
    Parser::error("invalid count of '%c' and '%c' symbols\n%s\n", open, close,
                  get_text(begin, uint32_t(strcspn(begin, "\r\n"))).get());
}

String Compiler::read_item(const char *&s, char end) {
    StringStack<64> text;
    uint32_t level = 0;
    while(*s && (level || (*s != ',' && *s != end))) {
        if(*s == '/' && (s[1] == '/' || s[1] == '*')) {
            Text::skip_blank(s);
            text.append(' ');
            continue;
        }
        if(*s == '(' || *s == '[' || *s == '{') level++;
        if((*s == ')' || *s == ']' || *s == '}') && level) level--;
        text.append(*s++);
    }
    return String(text.get());
}

Compiler::TypeText Compiler::parse_type(const char *&s, const Scope *scope, bool internal) {
    Text::skip_blank(s);
    const uint32_t length = Text::get_name_length(s);
    if(length == 0) return TypeText();
    const StringStack<64> name = get_text(s, length);

    if(scope) {
        const uint32_t index = get_structure(name, scope);
        if(index != ~0u) {
            if(!structures[index].complete) Parser::error("unknown type \"%s\"\n", name.get());
            s += length;
            return structures[index].name;
        }
    }
    const char *type = get_internal_name(name);
    if(type == nullptr && internal && internal_types.get(name)) type = name.get();
    if(type == nullptr) return TypeText();
    s += length;
    if(strcmp(type, "tensor")) return TypeText(type);

    // coopmat<type, scope, rows, columns, use>
    const char *begin = s;
    Text::skip_blank(s);
    if(*s != '<') Parser::error("can't add %s type\n", name.get());
    uint32_t level = 0;
    while(*s && (level || *s != '>')) {
        if(*s == '(') level++;
        if(*s == ')' && level) level--;
        s++;
    }
    if(*s != '>') Parser::error("can't add %s type\n", name.get());
    s++;
    StringStack<64> tensor;
    tensor.append("tensor");
    tensor.append(begin, uint32_t(s - begin));
    return get_internal_type_name(add_tensor(tensor));
}

void Compiler::parse_array_lengths(const char *&s, Array<uint32_t> &lengths, const Scope *scope) {
    for(;;) {
        Text::skip_blank(s);
        if(*s != '[') return;
        // "[[" begins an attribute, which stands nowhere behind a name
        const char *begin = s + 1;
        skip_region(s, '[', ']');
        const char *text = begin;
        Text::skip_blank(text);
        if(text >= s - 1) {
            lengths.append(0u);
            continue;
        }
        const Constant constant = parse_constant(get_text(begin, uint32_t(s - 1 - begin)), scope, internal_text);
        if(constant.size() != 1 || (constant.flags & FlagInteger) == 0) Parser::error("invalid array length\n");
        const int64_t length = constant.geti64();
        if(length <= 0 || length > 0x7FFFFFFF) Parser::error("invalid array length\n");
        lengths.append(uint32_t(length));
        if(lengths.size() > 16) Parser::error("invalid array length\n");
    }
}

uint32_t Compiler::get_array_type(String &type, const Array<uint32_t> &lengths) {
    if(lengths.empty()) return ~0u;
    // the innermost stands next to the element
    for(uint32_t i = lengths.size() - 1; i > 0; i--) {
        if(lengths[i] == 0) Parser::error("invalid array length\n");
        type.append("[");
        String::fromu32(type, lengths[i]);
        type.append("]");
    }
    return lengths[0];
}

uint32_t Compiler::parse_array_length(const char *&s, String &type, const Scope *scope) {
    ArrayStack<uint32_t, 8> lengths;
    parse_array_lengths(s, lengths, scope);
    return get_array_type(type, lengths);
}

// -- Qualifiers -------------------------------------------------------------------------------------------------------

// qualifier: storage | "in" | "out" | "inout" | precision | decoration | "inline" | "layout" "(" items ")"
bool Compiler::parse_qualifier(const char *&s, Qualifiers &qualifiers, bool parameter) {
    Text::skip_blank(s);
    const uint32_t length = Text::get_name_length(s);
    if(length == 0) return false;

    const uint32_t *value = storage_qualifiers.get(s, length);
    if(parameter && (Text::is_name(s, "in") || Text::is_name(s, "out") || Text::is_name(s, "inout"))) {
        if(qualifiers.mask & Qualifiers::MaskInOut) Parser::error("too many inout qualifiers\n");
        qualifiers.mask |= Qualifiers::MaskInOut;
        qualifiers.pass = Text::is_name(s, "in") ? PassIn : Text::is_name(s, "out") ? PassOut : PassInOut;
    } else if(value && !parameter) {
        if(qualifiers.mask & Qualifiers::MaskStorage) Parser::error("too many storage qualifiers\n");
        qualifiers.mask |= Qualifiers::MaskStorage;
        qualifiers.storage = *value;
        const uint32_t *structure = structure_qualifiers.get(s, length);
        qualifiers.structure = structure ? *structure : ~0u;
    } else if(Text::is_name(s, "lowp") || Text::is_name(s, "mediump") || Text::is_name(s, "highp")) {
        if(qualifiers.mask & Qualifiers::MaskPrecision) Parser::error("too many precision qualifiers\n");
        qualifiers.mask |= Qualifiers::MaskPrecision;
    } else if((value = decoration_qualifiers.get(s, length))) {
        if(qualifiers.has(*value)) Parser::error("too many %s qualifiers\n", get_text(s, length).get());
        qualifiers.mask |= Qualifiers::MaskDecoration;
        qualifiers.decorations.append(*value, ~0u);
    } else if(Text::is_name(s, "smooth") || Text::is_name(s, "precise")) {
        // the default of interpolation, and a hint that has no effect on the output
        qualifiers.mask |= Qualifiers::MaskDecoration;
    } else if(Text::is_name(s, "inline")) {
        if(qualifiers.mask & Qualifiers::MaskControl) Parser::error("too many function control qualifiers\n");
        qualifiers.mask |= Qualifiers::MaskControl;
        qualifiers.control = SpvFunctionControlInline;
    } else if(Text::is_name(s, "layout")) {
        s += length;
        parse_layout(s, qualifiers);
        return true;
    } else {
        return false;
    }
    s += length;
    return true;
}

// layout: "(" name [ "=" constant ] { "," name [ "=" constant ] } ")"
void Compiler::parse_layout(const char *&s, Qualifiers &qualifiers) {
    Text::skip_blank(s);
    if(*s != '(') Parser::error("expecting '%c'\n", '(');
    const char *begin = s;
    skip_region(s, '(', ')');
    qualifiers.mask |= Qualifiers::MaskLayout;

    // the first scan has done those that stand for themselves
    const char *next = s;
    Text::skip_blank(next);
    if(Text::is_name(next, "in") || Text::is_name(next, "out")) {
        next += Text::get_name_length(next);
        if(Text::accept(next, ';')) {
            qualifiers.execution = true;
            s = next;
            return;
        }
    }

    const StringStack<128> text = get_text(begin + 1, uint32_t(s - begin - 2));
    const char *item = text.get();
    for(;;) {
        StringStack<64> name;
        if(!Text::read_name(item, name)) {
            if(*item == '\0' && item == text.get() + text.size() && name.empty() && begin + 2 == s) break;
            Parser::error("invalid layout qualifiers\n");
        }
        const StringStack<64> key = name.lower();
        uint32_t value = ~0u;
        if(Text::accept(item, '=')) {
            const Constant constant = parse_constant(read_item(item, '\0'), &global, internal_text);
            if(constant.size() != 1 || (constant.flags & FlagInteger) == 0)
                Parser::error("invalid layout qualifiers\n");
            const int64_t number = constant.geti64();
            if(number < 0 || number >= 0x7FFFFFFF) Parser::error("invalid layout qualifiers\n");
            value = uint32_t(number);
        }

        if(const uint32_t *mode = execution_qualifiers.get(key)) {
            qualifiers.modes.append(*mode, value);
        } else if(const uint32_t *decoration = layout_qualifiers.get(key)) {
            const bool major = (*decoration == SpvDecorationRowMajor || *decoration == SpvDecorationColMajor);
            const bool flag = major || *decoration == 5250 || *decoration == 5252;
            if(qualifiers.has(*decoration) ||
               (major && qualifiers.has(SpvDecorationRowMajor + SpvDecorationColMajor - *decoration))) {
                Parser::error("too many %s qualifiers\n", key.get());
            }
            // a number that was left out would make words without their operand
            if(flag != (value == ~0u)) Parser::error("invalid layout qualifiers\n");
            qualifiers.decorations.append(*decoration, value);
        } else if(strcmp(key.get(), "push_constant") == 0 || strcmp(key.get(), "shaderrecordext") == 0) {
            if(qualifiers.record != ~0u) Parser::error("too many %s qualifiers\n", key.get());
            qualifiers.record =
                (key.get()[0] == 'p') ? SpvStorageClassPushConstant : SpvStorageClassShaderRecordBufferKHR;
        } else if(strcmp(key.get(), "std140") == 0 || strcmp(key.get(), "std430") == 0) {
            if(qualifiers.has_packing) Parser::error("too many %s qualifiers\n", key.get());
            qualifiers.has_packing = true;
            qualifiers.packing = (key.get()[3] == '1') ? PackingStd140 : PackingStd430;
        } else if(const uint32_t *format = format_names.get(key)) {
            if(qualifiers.format != ~0u) Parser::error("too many format qualifiers\n");
            qualifiers.format = *format;
            qualifiers.mask |= Qualifiers::MaskFormat;
        } else {
            Parser::error("unknown layout qualifier \"%s\"\n", key.get());
        }

        Text::skip_blank(item);
        if(*item == '\0') break;
        if(*item++ != ',') Parser::error("invalid layout qualifiers\n");
    }
}

// -- Structures -------------------------------------------------------------------------------------------------------

// members: { { qualifier } type name { "[" length "]" } { "," name ... } ";" } "}"
void Compiler::parse_members(const char *&s, Structure &structure, const Qualifiers &block, const Scope *scope) {
    const bool memory =
        (structure.storage == SpvStorageClassUniform || structure.storage == SpvStorageClassPushConstant ||
         structure.storage == SpvStorageClassStorageBuffer ||
         structure.storage == SpvStorageClassShaderRecordBufferKHR);
    for(;;) {
        Text::skip_blank(s);
        if(*s == '}') break;
        if(*s == '\0') Parser::error("unfinished structure declaration\n");
        if(*s == '#') Parser::error("unknown preprocessor directive %s\n", Text::get_token(s + 1).get());

        Qualifiers qualifiers;
        while(parse_qualifier(s, qualifiers, false))
            ;
        Text::skip_blank(s);
        if(*s == ';') {
            qualifiers.check_unused();
            s++;
            continue;
        }
        // the storage of a member may only repeat that of its block
        if((qualifiers.mask & Qualifiers::MaskStorage) && qualifiers.storage != structure.storage) {
            Parser::error("unused storage qualifier\n");
        }
        const TypeText base = parse_type(s, scope, internal_text);
        if(base.empty()) Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
        ArrayStack<uint32_t, 8> type_lengths;
        parse_array_lengths(s, type_lengths, scope);

        for(;;) {
            StringStack<64> name;
            if(!Text::read_name(s, name)) Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
            ArrayStack<uint32_t, 8> lengths;
            parse_array_lengths(s, lengths, scope);
            lengths.append(type_lengths);
            TypeText type = base;
            const uint32_t length = get_array_type(type, lengths);
            const Flags flags = get_target_flags(add_type(type, ~0u, scope));
            if(has_opaque(flags) || (flags & (FlagVoid | FlagRayQuery)) || strncmp(base.get(), "tensor<", 7) == 0) {
                Parser::error("invalid \"%s\" member of %s type\n", name.get(), get_source_name(base).get());
            }
            if(memory && has_bool(add_type(type, ~0u, scope))) {
                Parser::error("invalid \"%s\" member of %s type\n", name.get(), get_source_name(base).get());
            }
            if(memory) add_storage_capability(add_type(type, ~0u, scope), structure.storage);

            Variable &variable = add_variable(name, type, length, structure.storage, &structure.scope);
            variable.structure = structure.index;
            variable.member = structure.variables.size();
            for(const auto &item : qualifiers.decorations) variable.decorations.append(item.key, item.data);
            variable.decorations.remove(SpvDecorationConstant);
            variable.explicit_major =
                variable.decorations.has(SpvDecorationRowMajor) || variable.decorations.has(SpvDecorationColMajor);
            if(memory && !variable.decorations.has(SpvDecorationAlignment)) {
                if(const uint32_t *align = block.decorations.get(SpvDecorationAlignment)) {
                    variable.decorations.append(SpvDecorationAlignment, *align);
                }
            }
            add_builtin_decoration(variable);
            if(const uint32_t *builtin = variable.decorations.get(SpvDecorationBuiltIn)) {
                const bool distance = (*builtin == 3 || *builtin == 4);
                if(distance && variable.length == 0) variable.length = max(get_distance_length(name.get()), 1u);
            }
            structure.variables.append(variable.index);

            Text::skip_blank(s);
            if(*s == ',') {
                s++;
                continue;
            }
            if(*s != ';') Parser::error("expecting ';'\n");
            s++;
            break;
        }
    }
    s++;

    // only the end of a storage buffer may be open
    for(uint32_t i = 0; i < structure.variables.size(); i++) {
        const Variable &variable = variables[structure.variables[i]];
        if(variable.length != 0) continue;
        if(structure.storage != SpvStorageClassStorageBuffer || i + 1 != structure.variables.size()) {
            Parser::error("invalid array length\n");
        }
    }
}

// struct: "struct" name "{" members "}" [ declarators ] ";"
void Compiler::parse_struct(const char *&s, Qualifiers &qualifiers) {
    StringStack<64> name;
    Text::read_name(s, name);
    Text::skip_blank(s);
    if(*s != '{') Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
    if(name.empty()) {
        // known by its variables alone
        name.append("struct.");
        String::fromu32(name, structures.size());
    }
    s++;
    const bool nameless = (strchr(name.get(), '.') != nullptr);
    Structure &structure = add_structure(name, nameless ? nullptr : &global);
    // a name that types have already must not give those types
    if(is_type_name(name.get())) structure.name.append(".");
    if(nameless || is_type_name(name.get())) layout_names.append(structure.name, structure.index);
    parse_members(s, structure, qualifiers, &global);
    create_structure(structure, true);

    Text::skip_blank(s);
    if(*s == ';') {
        s++;
        return;
    }
    structure.usage = true;
    ArrayStack<uint32_t, 8> lengths;
    parse_array_lengths(s, lengths, &global);
    parse_declarators(s, structure.name, lengths, qualifiers);
}

// The same inside of a function, where the name may hide another. Stands behind "{".
uint32_t Compiler::parse_local_members(const char *&s, const String &name, Scope *scope) {
    Structure &structure = add_structure(name, scope);
    structure.name.append(".");
    String::fromu32(structure.name, structure.index);
    layout_names.append(structure.name, structure.index);
    parse_members(s, structure, Qualifiers(), scope);
    create_structure(structure, true);
    return structure.index;
}

// block: { qualifier } name "{" members "}" [ name { "[" length "]" } ] ";"
void Compiler::parse_block(const char *&s, const String &name, Qualifiers &qualifiers) {
    uint32_t storage = qualifiers.storage;
    if(qualifiers.structure == ~0u) Parser::error("unexpected \"%s\"\n", name.get());
    if(qualifiers.has(SpvDecorationConstant)) Parser::error("unused decoration qualifier\n");
    if(qualifiers.record != ~0u) {
        const bool push_constant = (qualifiers.record == SpvStorageClassPushConstant);
        if(storage != (push_constant ? SpvStorageClassUniform : SpvStorageClassStorageBuffer))
            Parser::error("invalid layout qualifiers\n");
        storage = qualifiers.record;
    }
    if(!internal_text && is_reserved(name)) Parser::error("\"%s\" name reserved\n", name.get());

    // blocks of different storage may share a name
    StringStack<64> key;
    key.append(name);
    key.append(".");
    String::fromu32(key, storage);
    if(global.structures.get(key)) Parser::error("\"%s\" name redefined\n", name.get());
    s++;
    const bool interface = (storage == SpvStorageClassInput || storage == SpvStorageClassOutput);
    Structure &structure = add_structure(key, nullptr);
    global.structures.append(key, structure.index);
    structure.storage = storage;
    structure.usage = true;
    structure.decorations.append(qualifiers.structure, ~0u);
    structure.row_major = qualifiers.has(SpvDecorationRowMajor);
    if(qualifiers.has_packing &&
       (interface || (qualifiers.packing == PackingStd430 && storage == SpvStorageClassUniform))) {
        Parser::error("invalid layout qualifiers\n");
    }
    structure.packing = qualifiers.has_packing                ? qualifiers.packing
                        : (storage == SpvStorageClassUniform) ? PackingStd140
                                                              : PackingStd430;
    parse_members(s, structure, qualifiers, &global);
    // built-in members are among themselves
    for(uint32_t i = 1; interface && i < structure.variables.size(); i++) {
        const Variable &first = variables[structure.variables[0]];
        const Variable &member = variables[structure.variables[i]];
        if(first.decorations.has(SpvDecorationBuiltIn) != member.decorations.has(SpvDecorationBuiltIn)) {
            Parser::error("invalid \"%s\" member of %s type\n", member.name.get(), name.get());
        }
    }
    create_structure(structure, !interface);

    // the instance
    StringStack<64> instance;
    Text::read_name(s, instance);
    ArrayStack<uint32_t, 8> lengths;
    if(instance.size()) parse_array_lengths(s, lengths, &global);
    Text::skip_blank(s);
    if(*s != ';') Parser::error("expecting ';'\n");
    s++;
    TypeText type = structure.name;
    const uint32_t length = get_array_type(type, lengths);
    Qualifiers rest = qualifiers;
    rest.storage = storage;
    Variable &variable = add_global(instance, type, length, rest);
    structure.variable = variable.index;

    // members that name a location leave none for the block as a whole
    if(interface) {
        uint32_t *first = variable.decorations.get(SpvDecorationLocation);
        uint32_t location = first ? *first : 0;
        bool located = false;
        for(uint32_t i = 0; i < structure.variables.size(); i++) {
            if(variables[structure.variables[i]].decorations.has(SpvDecorationLocation)) located = true;
        }
        if(located) {
            for(uint32_t i = 0; i < structure.variables.size(); i++) {
                Variable &member = variables[structure.variables[i]];
                if(const uint32_t *value = member.decorations.get(SpvDecorationLocation))
                    location = *value;
                else if(first || i)
                    member.decorations.append(SpvDecorationLocation, location);
                location += get_locations(add_variable_type(member));
            }
            variable.decorations.remove(SpvDecorationLocation);
        }
        if(variable.decorations.remove(SpvDecorationPerPrimitiveEXT)) {
            for(uint32_t i = 0; i < structure.variables.size(); i++) {
                variables[structure.variables[i]].decorations.append(SpvDecorationPerPrimitiveEXT, ~0u);
            }
        }
        if(execution_model == SpvExecutionModelFragment && storage == SpvStorageClassInput) {
            for(uint32_t i = 0; i < structure.variables.size(); i++) {
                Variable &member = variables[structure.variables[i]];
                if(is_flat_type(add_variable_type(member)) && !variable.decorations.has(SpvDecorationFlat)) {
                    member.decorations.append(SpvDecorationFlat, ~0u);
                }
            }
        }
    }

    // members of a nameless block are names of the shader
    if(instance.size()) return;
    for(uint32_t i = 0; i < structure.variables.size(); i++) {
        const Variable &member = variables[structure.variables[i]];
        if(is_name(member.name, &global)) Parser::error("\"%s\" name redefined\n", member.name.get());
        global.variables.append(member.name, member.index);
    }
}

// -- Globals ----------------------------------------------------------------------------------------------------------

// Whether a name would be read as a type of the library's own.
bool Compiler::is_type_name(const char *name) const {
    static constexpr const char *words[] = {"image",   "texture", "sampler", "tensor", "accelerationStructure",
                                            "rayQuery"};
    for(const char *word : words) {
        if(strncmp(name, word, strlen(word)) == 0) return true;
    }
    if(internal_types.get(name)) return true;
    return strchr("fuib", name[0]) && Text::is_digit(name[1]);
}

// Number of interface locations that a type takes.
uint32_t Compiler::get_locations(uint32_t type) {
    const Target info = *targets.get(type);
    if(info.flags & FlagArray) {
        const uint64_t count = uint64_t(get_locations(info.type)) * max(info.length, 1u);
        return uint32_t(min(count, uint64_t(0x7FFFFFFF)));
    }
    if(info.flags & FlagStructure) {
        uint32_t count = 0;
        const Structure &structure = get_structure(type);
        for(uint32_t i = 0; i < structure.variables.size(); i++) {
            count += get_locations(add_variable_type(variables[structure.variables[i]]));
        }
        return count;
    }
    const uint32_t wide = ((info.flags & Flag64Bit) && get_type_width(info.flags) > 2) ? 2 : 1;
    return wide * get_type_columns(info.flags);
}

// Whether a value of the type cannot be interpolated.
bool Compiler::is_flat_type(uint32_t type) {
    const Target info = *targets.get(type);
    if(info.flags & FlagArray) return is_flat_type(info.type);
    if(info.flags & FlagStructure) {
        const Structure &structure = get_structure(type);
        for(uint32_t i = 0; i < structure.variables.size(); i++) {
            if(is_flat_type(add_variable_type(variables[structure.variables[i]]))) return true;
        }
        return false;
    }
    return (info.flags & FlagInteger) || (info.flags & Flag64Bit);
}

bool Compiler::has_bool(uint32_t type) {
    const Target info = *targets.get(type);
    if(info.flags & FlagArray) return has_bool(info.type);
    if((info.flags & FlagStructure) == 0) return (info.flags & FlagBool) != 0;
    const Structure &structure = get_structure(type);
    for(uint32_t i = 0; i < structure.variables.size(); i++) {
        if(has_bool(add_variable_type(variables[structure.variables[i]]))) return true;
    }
    return false;
}

// What 16-bit values outside of a function require.
void Compiler::add_storage_capability(uint32_t type, uint32_t storage) {
    const Target info = *targets.get(type);
    if(info.flags & FlagArray) return add_storage_capability(info.type, storage);
    if(info.flags & FlagStructure) {
        const Structure &structure = get_structure(type);
        for(uint32_t i = 0; i < structure.variables.size(); i++) {
            add_storage_capability(add_variable_type(variables[structure.variables[i]]), storage);
        }
        return;
    }
    if((info.flags & Flag16Bit) == 0) return;
    switch(storage) {
    case SpvStorageClassInput:
    case SpvStorageClassOutput: add_capability(SpvCapabilityStorageInputOutput16); break;
    case SpvStorageClassUniform: add_capability(SpvCapabilityStorageUniform16); break;
    case SpvStorageClassPushConstant: add_capability(SpvCapabilityStoragePushConstant16); break;
    case SpvStorageClassStorageBuffer: add_capability(SpvCapabilityStorageBuffer16BitAccess); break;
    default: break;
    }
}

void Compiler::add_builtin_decoration(Variable &variable) {
    if(strncmp(variable.name.get(), "gl_", 3)) return;
    const uint32_t *builtin = builtin_names.get(variable.name);
    if(builtin == nullptr || *builtin == ~0u) return;
    if(variable.storage != SpvStorageClassInput && variable.storage != SpvStorageClassOutput) return;
    variable.decorations.append(SpvDecorationBuiltIn, *builtin);
    add_builtin(*builtin);
}

// Stages that a storage class may be used in, as bits of get_stage.
uint32_t Compiler::get_storage_stages(uint32_t storage) const {
    switch(storage) {
    case SpvStorageClassWorkgroup: return StageGroup;
    case SpvStorageClassTaskPayloadWorkgroupEXT: return StageGroup & ~(1u << 5);
    case SpvStorageClassRayPayloadKHR: return StageRayGen | StageClosest | StageMiss;
    case SpvStorageClassIncomingRayPayloadKHR: return StageAnyHit | StageClosest | StageMiss;
    case SpvStorageClassHitAttributeKHR: return StageIntersection | StageAnyHit | StageClosest;
    case SpvStorageClassCallableDataKHR: return StageRayGen | StageClosest | StageMiss | StageCallable;
    case SpvStorageClassIncomingCallableDataKHR: return StageCallable;
    case SpvStorageClassShaderRecordBufferKHR:
        return StageRayGen | StageIntersection | StageAnyHit | StageClosest | StageMiss | StageCallable;
    default: return ~0u;
    }
}

// Length of an unsized array that the stage gives; 0 if it gives none.
uint32_t Compiler::get_implicit_length(const Variable &variable) const {
    const auto get_mode = [&](uint32_t mode) {
        const uint32_t *value = execution_modes.get(mode);
        return value ? *value : 0u;
    };
    if(variable.decorations.has(SpvDecorationPatch)) return 0;
    const bool input = (variable.storage == SpvStorageClassInput);
    switch(execution_model) {
    case SpvExecutionModelTessellationControl: return input ? 32 : get_mode(SpvExecutionModeOutputVertices);
    case SpvExecutionModelTessellationEvaluation: return input ? 32 : 0;
    case SpvExecutionModelGeometry: return input ? get_input_vertices() : 0;
    case SpvExecutionModelFragment:
        return (input && (variable.decorations.has(5286) || variable.decorations.has(SpvDecorationPerVertexKHR))) ? 3
                                                                                                                  : 0;
    case SpvExecutionModelMeshEXT: {
        if(input) return 0;
        bool primitive = variable.decorations.has(SpvDecorationPerPrimitiveEXT);
        if(const uint32_t *builtin = variable.decorations.get(SpvDecorationBuiltIn)) {
            primitive = primitive || (*builtin >= 5294 && *builtin <= 5296);
        }
        return get_mode(primitive ? SpvExecutionModeOutputPrimitivesEXT : SpvExecutionModeOutputVertices);
    }
    default: return 0;
    }
}

Compiler::Variable &Compiler::add_global(const String &name, const String &type, uint32_t length,
                                         const Qualifiers &qualifiers) {
    TypeText full = type;
    uint32_t storage = qualifiers.storage;
    const bool constant = qualifiers.has(SpvDecorationConstant);
    if(qualifiers.format != ~0u) {
        // the format belongs to the type of an image
        if(!is_image_name(type.get()) || strchr(type.get(), '[')) Parser::error("unused format qualifier\n");
        const uint32_t image = add_image(type, qualifiers.format);
        full = get_internal_type_name(image);
    }
    const Flags flags = get_target_flags(add_type(full, ~0u, &global));
    if(flags & FlagVoid) Parser::error("unknown type \"%s\"\n", "void");
    const bool block =
        (flags & FlagStructure) && structures[*target_indices.get(get_element_type(full))].storage != ~0u;
    if(qualifiers.has(SpvDecorationSpecId) && !constant) Parser::error("constants must be initialized\n");
    if(has_opaque(flags)) {
        if(storage != ~0u && storage != SpvStorageClassUniform) Parser::error("invalid storage class\n");
        storage = SpvStorageClassUniformConstant;
    } else if(storage == ~0u) {
        // a place in an interface means nothing for a variable of its own
        for(const auto &item : qualifiers.decorations) {
            if(!constant && item.data != ~0u) Parser::error("unused layout qualifier\n");
        }
        storage = SpvStorageClassPrivate;
    } else if(!block && (storage == SpvStorageClassUniform || storage == SpvStorageClassStorageBuffer)) {
        Parser::error("\"%s\" variable must be in a block\n", name.get());
    }
    if((get_storage_stages(storage) & get_stage(execution_model)) == 0) Parser::error("invalid storage class\n");
    if(qualifiers.record != ~0u && storage != qualifiers.record) Parser::error("invalid layout qualifiers\n");

    Variable &variable = add_variable(name, full, length, storage, name.size() ? &global : nullptr);
    variable.src_offset = *source_offset;
    for(const auto &item : qualifiers.decorations) {
        // what belongs to members, to the layout, or to nothing in the module
        if(item.key == SpvDecorationRowMajor || item.key == SpvDecorationColMajor) continue;
        if(item.key == SpvDecorationAlignment || item.key == SpvDecorationSpecId) continue;
        variable.decorations.append(item.key, item.data);
    }
    for(const auto &mode : qualifiers.modes) execution_modes.append(mode.key, mode.data);
    if(!constant) add_interface(variable, qualifiers);
    return variable;
}

// What follows from the storage of a variable and from its decorations.
void Compiler::add_interface(Variable &variable, const Qualifiers &qualifiers) {
    SmallMap &decorations = variable.decorations;
    const bool interface = (variable.storage == SpvStorageClassInput || variable.storage == SpvStorageClassOutput);
    if(!variable.name.empty()) add_builtin_decoration(variable);

    static constexpr struct {
        uint32_t decoration, capability;
    } rows[] = {
        {SpvDecorationSample, SpvCapabilitySampleRateShading},
        {SpvDecorationStream, SpvCapabilityGeometryStreams},
        {SpvDecorationPassthroughNV, SpvCapabilityGeometryShaderPassthroughNV},
        {SpvDecorationViewportRelativeNV, SpvCapabilityShaderViewportMaskNV},
        {SpvDecorationPerPrimitiveEXT, SpvCapabilityMeshShadingEXT},
        {SpvDecorationXfbBuffer, SpvCapabilityTransformFeedback},
    };
    for(const auto &row : rows) {
        if(decorations.has(row.decoration)) add_capability(row.capability);
    }
    if(decorations.has(SpvDecorationXfbBuffer)) execution_modes.append(SpvExecutionModeXfb, ~0u);

    // decorations that mean nothing for the storage are no part of the module
    static constexpr uint32_t interface_only[] = {13, 14, 15, 16, 17, 18, 29, 31, 32, 36, 37, 5250, 5252, 5271};
    static constexpr uint32_t memory_only[] = {19, 21, 23, 24, 25};
    if(!interface) {
        for(uint32_t decoration : interface_only) decorations.remove(decoration);
        if(variable.storage != SpvStorageClassStorageBuffer && variable.storage != SpvStorageClassUniformConstant) {
            for(uint32_t decoration : memory_only) decorations.remove(decoration);
        }
        if(variable.storage == SpvStorageClassUniform) decorations.remove(SpvDecorationLocation);
        decorations.remove(SpvDecorationOffset);
    } else {
        for(uint32_t decoration : memory_only) decorations.remove(decoration);
        if(!decorations.has(SpvDecorationXfbBuffer)) decorations.remove(SpvDecorationOffset);
    }

    switch(variable.storage) {
    case SpvStorageClassUniformConstant:
    case SpvStorageClassUniform:
    case SpvStorageClassStorageBuffer:
        if(!decorations.has(SpvDecorationDescriptorSet)) decorations.append(SpvDecorationDescriptorSet, 0);
        if(variable.length == 0) add_capability(SpvCapabilityRuntimeDescriptorArray);
        if(variable.storage == SpvStorageClassUniformConstant) break;
        return;
    case SpvStorageClassPushConstant:
    case SpvStorageClassShaderRecordBufferKHR:
        decorations.remove(SpvDecorationBinding);
        decorations.remove(SpvDecorationDescriptorSet);
        if(variable.length != ~0u) Parser::error("invalid array length\n");
        return;
    default:
        decorations.remove(SpvDecorationBinding);
        decorations.remove(SpvDecorationDescriptorSet);
        break;
    }
    if(!interface) {
        if(variable.length == 0 && variable.storage != SpvStorageClassUniformConstant && !qualifiers.has(22)) {
            if(variable.storage != SpvStorageClassPrivate) Parser::error("invalid array length\n");
        }
        return;
    }

    if(variable.length == 0) {
        variable.length = get_implicit_length(variable);
        if(variable.length == 0) Parser::error("invalid array length\n");
    }
    const uint32_t type = add_variable_type(variable);
    add_storage_capability(type, variable.storage);
    const bool builtin = decorations.has(SpvDecorationBuiltIn);
    const Flags flags = get_target_flags(type);
    if(!builtin && (flags & FlagStructure) == 0 && has_bool(type)) {
        Parser::error("invalid \"%s\" variable of %s type\n", variable.name.get(), get_target_type_name(type).get());
    }
    if(execution_model == SpvExecutionModelFragment && variable.storage == SpvStorageClassInput) {
        const bool block = (flags & FlagStructure) && get_structure(get_element_type(variable.type)).storage != ~0u;
        if(!block && is_flat_type(type)) decorations.append(SpvDecorationFlat, ~0u);
        if(decorations.has(SpvDecorationFlat)) decorations.remove(SpvDecorationNoPerspective);
    } else if(execution_model == SpvExecutionModelVertex && variable.storage == SpvStorageClassInput) {
        for(uint32_t decoration : {13u, 14u, 16u, 17u}) decorations.remove(decoration);
    } else if(execution_model == SpvExecutionModelFragment) {
        for(uint32_t decoration : {13u, 14u, 16u, 17u}) decorations.remove(decoration);
    }
    if(execution_model != SpvExecutionModelTessellationControl &&
       execution_model != SpvExecutionModelTessellationEvaluation) {
        decorations.remove(SpvDecorationPatch);
    }
}

// Element type without array lengths and stride.
uint32_t Compiler::get_element_type(const String &type) {
    uint32_t target = add_type(type, ~0u, &global);
    while(get_target_flags(target) & FlagArray) target = get_target_type(target);
    return target;
}

// "=" constant expression; stays at "," or ";"
void Compiler::parse_initializer(const char *&s, Variable &variable, bool constant) {
    const String text = read_item(s, ';');
    const Constant value = parse_constant(text, &global, internal_text);
    const uint32_t element = add_type(variable.type, ~0u, &global);
    const Flags element_flags = get_target_flags(element);
    const uint64_t element_count = get_type_scalars(element);
    if(value.empty() || element_count == 0) Parser::error("can't parse constant \"%s\"\n", text.get());
    if(variable.length == 0) variable.length = uint32_t(value.size() / element_count);
    const uint32_t type = add_variable_type(variable);
    // a scalar is no vector: the language wants the constructor
    if(get_type_scalars(type) != value.size()) {
        Parser::error("can't convert %s to %s\n", get_source_name(get_type_name(value.flags & ~FlagArray)),
                      get_target_type_name(type).get());
    }
    Constant &stored = named_constants.append();
    stored = (element_flags & FlagStructure) ? value : value.convert(element_flags);
    stored.flags = (element_flags & FlagStructure) ? FlagStructure : get_target_flags(type);
    if(constant) {
        variable.constant = named_constants.size() - 1;
        variable.value = get_constant(stored, true);
    } else {
        variable.initializer = add_constant(type, stored);
    }
}

// declarators: name { "[" length "]" } [ "=" constant ] { "," name ... } ";"
void Compiler::parse_declarators(const char *&s, const String &type, const Array<uint32_t> &type_lengths,
                                 Qualifiers &qualifiers) {
    const bool constant = qualifiers.has(SpvDecorationConstant);
    for(;;) {
        StringStack<64> name;
        if(!Text::read_name(s, name)) {
            Text::skip_blank(s);
            if(*s == ';') Parser::error("unexpected ';'\n");
            Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
        }
        ArrayStack<uint32_t, 8> lengths;
        parse_array_lengths(s, lengths, &global);
        lengths.append(type_lengths);
        TypeText full = type;
        const uint32_t length = get_array_type(full, lengths);
        Variable &variable = add_global(name, full, length, qualifiers);

        if(Text::accept(s, '=')) {
            if(!constant && variable.storage != SpvStorageClassPrivate) Parser::error("expecting ';'\n");
            parse_initializer(s, variable, constant);
        } else if(constant) {
            Parser::error("constants must be initialized\n");
        } else if(variable.length == 0 && variable.storage == SpvStorageClassPrivate) {
            Parser::error("invalid array length\n");
        }
        Text::skip_blank(s);
        if(*s == ',') {
            s++;
            continue;
        }
        if(*s != ';') Parser::error("expecting ';'\n");
        s++;
        return;
    }
}

// redeclaration: { qualifier } name { "," name } ";" of variables that exist, such as "invariant gl_Position;"
void Compiler::parse_redeclaration(const char *&s, const Qualifiers &qualifiers) {
    for(;;) {
        StringStack<64> name;
        const char *begin = s;
        if(!Text::read_name(s, name)) Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
        const bool decorated = (qualifiers.mask & Qualifiers::MaskDecoration) &&
                               (qualifiers.mask & ~(Qualifiers::MaskDecoration | Qualifiers::MaskStorage)) == 0;
        const uint32_t index = decorated ? get_variable(name, &global) : ~0u;
        if(index == ~0u) Parser::error("unexpected \"%s\"\n", Text::get_token(begin).get());
        for(const auto &item : qualifiers.decorations) {
            if(item.key != SpvDecorationConstant) variables[index].decorations.append(item.key, item.data);
        }
        if(Text::accept(s, ',')) continue;
        if(!Text::accept(s, ';')) Parser::error("expecting ';'\n");
        return;
    }
}

// -- Functions --------------------------------------------------------------------------------------------------------

// function: type name "(" [ { qualifier } type [ name ] { "[" length "]" } { "," ... } ] ")" ( ";" | body )
bool Compiler::parse_prototype(const char *&s, const String &type, const String &name, const Qualifiers &qualifiers) {
    struct Parameter {
        StringStack<31> name;
        StringStack<31> type;
        uint32_t length = ~0u;
        uint32_t pass = PassIn;
        SmallMap decorations;
    };
    ArrayStack<Parameter, 8> parameters;
    StringStack<64> signature("(");
    StringStack<64> key;
    key.append(type);
    key.append("(");

    const uint32_t result = add_type(type, ~0u, &global);
    const Flags result_flags = get_target_flags(result);
    bool valid = !has_opaque(result_flags) && (result_flags & FlagRayQuery) == 0;

    Text::skip_blank(s);
    if(*s == ')') {
        s++;
    } else {
        for(;;) {
            Text::skip_blank(s);
            if(*s == '\0') Parser::error("unfinished function declaration\n");
            Qualifiers parameter;
            while(parse_qualifier(s, parameter, true))
                ;
            TypeText base = parse_type(s, &global, internal_text);
            if(base.empty()) Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
            ArrayStack<uint32_t, 8> type_lengths;
            parse_array_lengths(s, type_lengths, &global);
            StringStack<64> parameter_name;
            Text::read_name(s, parameter_name);
            ArrayStack<uint32_t, 8> lengths;
            parse_array_lengths(s, lengths, &global);
            lengths.append(type_lengths);
            if(parameter.format != ~0u) base = get_internal_type_name(add_image(base, parameter.format));
            Text::skip_blank(s);
            if(base == "void" && parameter_name.empty() && lengths.empty() && parameters.empty() && *s == ')') {
                s++;
                break;
            }
            Parameter &item = parameters.append(Parameter());
            item.name = parameter_name;
            item.type = base;
            item.length = get_array_type(item.type, lengths);
            item.pass = parameter.pass ? parameter.pass : uint32_t(PassIn);
            for(const auto &decoration : parameter.decorations)
                item.decorations.append(decoration.key, decoration.data);
            const Flags flags = get_target_flags(add_type(item.type, item.length, &global));
            if((flags & (FlagVoid | FlagRayQuery)) || item.length == 0) valid = false;
            if(has_opaque(flags)) {
                if(item.pass != PassIn) valid = false;
                item.pass = PassOpaque;
            }
            if(item.pass == PassOut || item.pass == PassInOut) key.append("*");
            for(StringStack<64> *text : {&signature, &key}) {
                text->append(item.type);
                if(item.length != ~0u) {
                    text->append("[");
                    String::fromu32(*text, item.length);
                    text->append("]");
                }
                text->append(";");
            }
            if(*s == ',') {
                s++;
                continue;
            }
            if(*s == '\0') Parser::error("unfinished function declaration\n");
            if(*s != ')') Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
            s++;
            break;
        }
    }
    if(!valid) Parser::error("invalid %s%s) function type\n", name.get(), signature.get());

    // a prototype and a body are one function
    uint32_t index = ~0u;
    for(uint32_t i = find_function(name); i != ~0u && index == ~0u; i = functions[i].next) {
        if(functions[i].signature == signature) index = i;
    }
    const bool known = (index != ~0u);
    Function &func = known ? functions[index] : add_function(name, type);
    if(known && (func.type != type || func.key != key)) {
        Parser::error("invalid %s%s) function type\n", name.get(), signature.get());
    }
    func.control |= qualifiers.control;
    if(!known) {
        func.signature = signature;
        func.key = key;
        func.internal = internal_text;
        if(const uint32_t *first = function_names.get(name)) {
            uint32_t last = *first;
            while(functions[last].next != ~0u) last = functions[last].next;
            functions[last].next = func.index;
        } else {
            function_names.append(name, func.index);
        }
        if(parameters.size() > 255) Parser::error("invalid %s%s) function type\n", name.get(), signature.get());
        for(uint32_t i = 0; i < parameters.size(); i++) {
            const Parameter &parameter = parameters[i];
            const uint32_t storage =
                (parameter.pass == PassOpaque) ? SpvStorageClassUniformConstant : SpvStorageClassFunction;
            Variable &variable = add_variable(parameter.name, parameter.type, parameter.length, storage, &func.scope);
            variable.decorations = parameter.decorations;
            variable.decorations.remove(SpvDecorationConstant);
            variable.function = func.index;
            Argument &argument = func.arguments.append(Argument());
            argument.variable = variable.index;
            argument.pass = parameter.pass;
            if(parameter.pass == PassIn) {
                argument.target = num_targets++;
                func.variables.append(variable.index);
                add_target_flags(argument.target, get_target_flags(add_variable_type(variable)),
                                 add_variable_type(variable), get_target_length(add_variable_type(variable)));
            } else {
                argument.target = variable.target;
                variable.argument = i;
            }
        }
        add_function_type(func);
    }

    Text::skip_blank(s);
    if(*s == ';') {
        s++;
        return true;
    }
    if(*s != '{') Parser::error("expecting ';' or '{'\n");
    if(func.src) Parser::error("body of %s%s) function is already declared\n", name.get(), signature.get());
    if(known) {
        // the names are those of the body
        func.scope.variables.clear();
        for(uint32_t i = 0; i < parameters.size(); i++) {
            Variable &variable = variables[func.arguments[i].variable];
            variable.name = String(parameters[i].name.get());
            if(variable.name.empty()) continue;
            check_name(variable.name, &func.scope);
            func.scope.variables.append(variable.name, variable.index);
        }
    }
    func.src = s;
    func.src_offset = uint32_t(s - source);
    skip_region(s, '{', '}');
    return true;
}

// The type of a function is known by its result and parameters; pointers are marked in the key alone.
void Compiler::add_function_type(Function &func) {
    const uint32_t result = add_type(func.type, ~0u, &global);
    if(type_targets.get(func.key)) return;
    ArrayStack<uint32_t, 16> words;
    for(uint32_t i = 0; i < func.arguments.size(); i++) {
        const Argument &argument = func.arguments[i];
        Variable &variable = variables[argument.variable];
        words.append(argument.pass == PassIn ? add_variable_type(variable) : add_variable_pointer(variable));
    }
    const uint32_t target = num_targets++;
    type_targets.append(func.key, target);
    add_target_flags(target, FlagFunction, result, ~0u);
    add_opcode(SpvOpTypeFunction, {target, result}, words);
}

// -- Top level --------------------------------------------------------------------------------------------------------

void Compiler::parse_global(const char *src, uint32_t &offset, bool internal) {
    const bool outer = internal_text;
    internal_text = internal;
    const char *s = src;
    Qualifiers qualifiers;
    for(;;) {
        Text::skip_blank(s);
        if(qualifiers.mask == 0) offset = uint32_t(s - src);
        if(*s == '\0') break;

        if(*s == '#') {
            s++;
            StringStack<64> name;
            Text::read_name(s, name);
            if(strcmp(name.get(), "version") && strcmp(name.get(), "extension")) {
                Parser::error("unknown preprocessor directive %s\n", name.get());
            }
            while(*s && *s != '\n') s++;
            continue;
        }
        if(*s == ';') {
            // the matrix and packing defaults of a storage stand without a name
            const bool defaults =
                qualifiers.mask == (Qualifiers::MaskLayout | Qualifiers::MaskStorage) &&
                (qualifiers.storage == SpvStorageClassUniform || qualifiers.storage == SpvStorageClassStorageBuffer) &&
                qualifiers.decorations.empty() && qualifiers.has_packing;
            if(!defaults) qualifiers.check_unused();
            qualifiers = Qualifiers();
            s++;
            continue;
        }
        if(Text::is_name(s, "precision")) {
            while(*s && *s != '\n') s++;
            continue;
        }
        if(parse_qualifier(s, qualifiers, false)) {
            if(qualifiers.execution) qualifiers = Qualifiers();
            continue;
        }

        const char *begin = s;
        if(Text::is_name(s, "struct")) {
            s += strlen("struct");
            parse_struct(s, qualifiers);
            qualifiers = Qualifiers();
            continue;
        }
        const uint32_t length = Text::get_name_length(s);
        if(length == 0) Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
        const char *behind = s + length;
        Text::skip_blank(behind);
        if(*behind == '{' && (qualifiers.mask & Qualifiers::MaskStorage)) {
            const StringStack<64> name = get_text(s, length);
            s = behind;
            parse_block(s, name, qualifiers);
            qualifiers = Qualifiers();
            continue;
        }

        const TypeText type = parse_type(s, &global, internal);
        if(type.empty()) {
            parse_redeclaration(s, qualifiers);
            qualifiers = Qualifiers();
            continue;
        }
        ArrayStack<uint32_t, 8> lengths;
        parse_array_lengths(s, lengths, &global);
        const char *declarator = s;
        StringStack<64> name;
        if(!Text::read_name(s, name)) {
            if(*s == ';') Parser::error("unexpected ';'\n");
            Parser::error("unexpected \"%s\"\n", Text::get_token(*s ? s : begin).get());
        }
        if(Text::accept(s, '(')) {
            // of the qualifiers only the control and the precision belong to a function
            if(qualifiers.mask & ~(Qualifiers::MaskControl | Qualifiers::MaskPrecision | Qualifiers::MaskDecoration)) {
                qualifiers.check_unused();
            }
            TypeText result = type;
            const uint32_t result_length = get_array_type(result, lengths);
            if(result_length == 0) Parser::error("invalid array length\n");
            if(result_length != ~0u) {
                result.append("[");
                String::fromu32(result, result_length);
                result.append("]");
            }
            parse_prototype(s, result, name, qualifiers);
        } else {
            if(qualifiers.mask & Qualifiers::MaskControl) qualifiers.check_unused();
            s = declarator;
            parse_declarators(s, type, lengths, qualifiers);
        }
        qualifiers = Qualifiers();
    }
    qualifiers.check_unused();
    internal_text = outer;
}

} // namespace Kolm
