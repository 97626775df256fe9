// Symbols of the compiler: scopes, variables, structures, functions, and built-ins, which are declared by text.

#include "KolmCompiler.h"

namespace Kolm {

namespace {

// Stages as bits, for the rows of the built-ins.
enum StageBits : uint32_t {
    V = 1 << 0,
    TC = 1 << 1,
    TE = 1 << 2,
    G = 1 << 3,
    F = 1 << 4,
    C = 1 << 5,
    T = 1 << 6,
    M = 1 << 7,
    RG = 1 << 8,
    RI = 1 << 9,
    AH = 1 << 10,
    CH = 1 << 11,
    RM = 1 << 12,
    RC = 1 << 13,
    GRAPHICS = V | TC | TE | G | F | M,
    GROUP = C | T | M,
    HIT = RI | AH | CH,
    RAY = RG | RI | AH | CH | RM | RC,
    ALL = 0xFFFF,
};

uint32_t get_stage_bit(uint32_t model) {
    if(model <= SpvExecutionModelGLCompute) return 1u << model;
    if(model == SpvExecutionModelTaskEXT) return T;
    if(model == SpvExecutionModelMeshEXT) return M;
    return RG << (model - SpvExecutionModelRayGenerationKHR);
}

struct Declare {
    uint32_t stages;
    const char *name;
    const char *line;
};
constexpr Declare declares[] = {
#define DECLARE(STAGES, NAME, LINE) {STAGES, NAME, LINE},
#include "KolmCompilerBuiltins.inc"
};

bool is_name_char(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// Whether the line declares a block with an array of instances.
bool is_arrayed_block(const char *line) {
    const char *close = strchr(line, '}');
    return close && strchr(close, '[');
}

// Number of elements of an array without a size, by the largest plain number that indexes it in the text.
uint32_t get_used_length(const char *src, const char *name, uint32_t limit) {
    uint32_t ret = 0;
    const size_t length = strlen(name);
    for(const char *s = src; s && (s = strstr(s, name));) {
        s += length;
        if(is_name_char(*s)) continue;
        ret = max(ret, 1u);
        while(*s == ' ' || *s == '\t') s++;
        if(*s != '[') continue;
        s++;
        while(*s == ' ' || *s == '\t') s++;
        if(*s < '0' || *s > '9') continue;
        uint32_t index = 0;
        for(; *s >= '0' && *s <= '9' && index < limit; s++) index = index * 10 + uint32_t(*s - '0');
        ret = max(ret, min(index + 1, limit));
    }
    return ret;
}

} // namespace

// -- Lookup -----------------------------------------------------------------------------------------------------------

uint32_t Compiler::get_variable(const String &name, const Scope *scope) {
    for(const Scope *s = scope; s; s = s->parent) {
        const uint32_t *index = s->variables.get(name);
        if(index == nullptr) continue;
        Variable &variable = variables[*index];
        variable.usage = true;
        variable.scope = scope;
        return *index;
    }
    if(strncmp(name.get(), "gl_", 3) || !builtin_names.get(name) || !add_builtin(name)) return ~0u;
    const uint32_t *index = global.variables.get(name);
    if(index == nullptr) return ~0u;
    variables[*index].usage = true;
    variables[*index].scope = scope;
    return *index;
}

uint32_t Compiler::get_structure(const String &name, const Scope *scope) {
    for(const Scope *s = scope; s; s = s->parent) {
        if(const uint32_t *index = s->structures.get(name)) {
            structures[*index].usage = true;
            return *index;
        }
    }
    if(const uint32_t *index = layout_names.get(name)) {
        structures[*index].usage = true;
        return *index;
    }
    return ~0u;
}

uint32_t Compiler::get_reference(const String &name, const Scope *scope) {
    for(const Scope *s = scope; s; s = s->parent) {
        if(const uint32_t *index = s->references.get(name)) {
            references[*index].usage = true;
            return *index;
        }
    }
    return ~0u;
}

uint32_t Compiler::find_function(const String &name) const {
    const uint32_t *index = function_names.get(name);
    return index ? *index : ~0u;
}

uint32_t Compiler::get_function(const String &name, const char *signature) {
    for(uint32_t i = find_function(name); i != ~0u; i = functions[i].next) {
        if(*signature && strcmp(functions[i].signature.get(), signature)) continue;
        functions[i].usage = true;
        return i;
    }
    return ~0u;
}

Compiler::Variable &Compiler::get_variable(uint32_t target) {
    const uint32_t *index = target_indices.get(target);
    if(index == nullptr || *index >= variables.size() || variables[*index].target != target) {
        Parser::error("can't get %u variable\n", target);
    }
    return variables[*index];
}

Compiler::Structure &Compiler::get_structure(uint32_t target) {
    const uint32_t *index = target_indices.get(target);
    if(index == nullptr || *index >= structures.size() || structures[*index].target != target) {
        Parser::error("can't get %u structure\n", target);
    }
    return structures[*index];
}

Compiler::Function &Compiler::get_function(uint32_t target) {
    const uint32_t *index = target_indices.get(target);
    if(index == nullptr || *index >= functions.size() || functions[*index].target != target) {
        Parser::error("can't get %u function\n", target);
    }
    return functions[*index];
}

bool Compiler::is_reserved(const String &name) const {
    return (options & OptionReserved) && (reserved_qualifiers.get(name) || types.get(name));
}

bool Compiler::is_name(const String &name, const Scope *scope) const {
    return scope && (scope->variables.get(name) || scope->structures.get(name) || scope->references.get(name));
}

// -- New symbols ------------------------------------------------------------------------------------------------------

void Compiler::check_name(const String &name, const Scope *scope) const {
    if(!internal_text && is_reserved(name)) Parser::error("\"%s\" name reserved\n", name.get());
    if(is_name(name, scope)) Parser::error("\"%s\" name redefined\n", name.get());
}

Compiler::Variable &Compiler::add_variable(const String &name, const String &type, uint32_t length, uint32_t storage,
                                           Scope *scope) {
    if(name.size()) check_name(name, scope);
    Variable &variable = variables.append();
    variable.index = variables.size() - 1;
    variable.target = num_targets++;
    variable.name = name;
    const char *internal = get_internal_name(type);
    if(internal)
        variable.type.append(internal);
    else
        variable.type = type;
    variable.length = length;
    variable.storage = storage;
    variable.scope = scope;
    switch(storage) {
    case SpvStorageClassUniformConstant:
    case SpvStorageClassInput:
    case SpvStorageClassUniform:
    case SpvStorageClassOutput:
    case SpvStorageClassPushConstant:
    case SpvStorageClassShaderRecordBufferKHR:
    case SpvStorageClassStorageBuffer: variable.usage = true; break;
    default: break;
    }
    if(name.size() && scope) scope->variables.append(name, variable.index);
    target_indices.append(variable.target, variable.index);
    return variable;
}

Compiler::Structure &Compiler::add_structure(const String &name, Scope *scope) {
    if(scope) check_name(name, scope);
    Structure &structure = structures.append();
    structure.index = structures.size() - 1;
    structure.base = structure.index;
    structure.target = num_targets++;
    structure.name = name;
    if(scope) scope->structures.append(name, structure.index);
    target_indices.append(structure.target, structure.index);
    return structure;
}

Compiler::Reference &Compiler::add_reference(const String &name, Scope *scope) {
    check_name(name, scope);
    Reference &reference = references.append();
    reference.index = references.size() - 1;
    reference.name = name;
    scope->references.append(name, reference.index);
    return reference;
}

Compiler::Function &Compiler::add_function(const String &name, const String &type) {
    if(!internal_text && is_reserved(name)) Parser::error("\"%s\" name reserved\n", name.get());
    if(global.variables.get(name) || global.structures.get(name)) Parser::error("\"%s\" name redefined\n", name.get());
    Function &func = functions.append();
    func.index = functions.size() - 1;
    func.target = num_targets++;
    func.name = name;
    func.type = type;
    func.signature = "(";
    func.scope.parent = &global;
    target_indices.append(func.target, func.index);
    return func;
}

Compiler::Variable &Compiler::add_local(Function &func, const String &name, const String &type, uint32_t length,
                                        Scope *scope) {
    // a ray query cannot be a local of the function: it stands at module scope
    const bool query = (strncmp(type.get(), "rayQuery", 8) == 0);
    Variable &variable =
        add_variable(name, type, length, query ? SpvStorageClassPrivate : SpvStorageClassFunction, scope);
    if(query) return variable;
    variable.function = func.index;
    func.variables.append(variable.index);
    return variable;
}

// -- Built-ins --------------------------------------------------------------------------------------------------------

uint32_t Compiler::get_distance_length(const char *name) const { return get_used_length(source, name, 8); }

// Fills the line of a row, see KolmCompilerBuiltins.inc.
void Compiler::get_builtin_line(const char *line, String &text) const {
    for(const char *s = line; *s; s++) {
        if(*s != '%') {
            text.append(*s);
            continue;
        }
        const auto get_mode = [&](uint32_t mode) {
            const uint32_t *value = execution_modes.get(mode);
            return value ? *value : 0u;
        };
        const uint32_t clip = get_distance_length("gl_ClipDistance");
        const uint32_t cull = get_distance_length("gl_CullDistance");
        uint32_t value = 0;
        switch(*++s) {
        case 'v': value = get_input_vertices(); break;
        case 'o': value = get_mode(SpvExecutionModeOutputVertices); break;
        case 'p': value = get_mode(SpvExecutionModeOutputPrimitivesEXT); break;
        case 'x': value = group_size[0]; break;
        case 'y': value = group_size[1]; break;
        case 'z': value = group_size[2]; break;
        case 'c': value = clip; break;
        case 'd': value = cull; break;
        case 'C':
            // of the block of all vertices only: single outputs are declared by themselves
            if(is_arrayed_block(line)) {
                if(clip) text.append(String::format("f32 gl_ClipDistance[%u]; ", clip));
                if(cull) text.append(String::format("f32 gl_CullDistance[%u]; ", cull));
            }
            continue;
        case 'P':
            if(strstr(source, "gl_CullPrimitiveEXT")) text.append("b32 gl_CullPrimitiveEXT; ");
            continue;
        }
        text.append(String::fromu32(value));
    }
}

uint32_t Compiler::get_input_vertices() const {
    static constexpr struct {
        uint32_t mode, count;
    } rows[] = {
        {SpvExecutionModeInputPoints, 1},
        {SpvExecutionModeInputLines, 2},
        {SpvExecutionModeInputLinesAdjacency, 4},
        {SpvExecutionModeTriangles, 3},
        {SpvExecutionModeInputTrianglesAdjacency, 6},
    };
    for(const auto &row : rows) {
        if(execution_modes.has(row.mode)) return row.count;
    }
    return 0;
}

bool Compiler::add_builtin(const String &name) {
    const uint32_t stage = get_stage_bit(execution_model);
    for(const Declare &declare : declares) {
        if((declare.stages & stage) == 0 || strcmp(declare.name, name.get())) continue;
        StringStack<256> line;
        get_builtin_line(declare.line, line);
        uint32_t line_offset = 0;
        const bool internal = internal_text;
        parse_global(line.get(), line_offset, true);
        internal_text = internal;
        return true;
    }
    return false;
}

void Compiler::add_builtin(uint32_t builtin) {
    const bool before_raster =
        (execution_model == SpvExecutionModelVertex || execution_model == SpvExecutionModelTessellationEvaluation);
    const bool fragment = (execution_model == SpvExecutionModelFragment);

    static constexpr struct {
        uint32_t first, last;
        uint32_t capability;
    } rows[] = {
        {3, 3, SpvCapabilityClipDistance},
        {4, 4, SpvCapabilityCullDistance},
        {10, 10, SpvCapabilityMultiViewport},
        {18, 20, SpvCapabilitySampleRateShading},
        {36, 41, SpvCapabilityGroupNonUniform},
        {4416, 4420, SpvCapabilityGroupNonUniform},
        {4416, 4420, SpvCapabilityGroupNonUniformBallot},
        {4424, 4426, SpvCapabilityDrawParameters},
        {4438, 4438, SpvCapabilityDeviceGroup},
        {4440, 4440, SpvCapabilityMultiView},
        {5014, 5014, SpvCapabilityStencilExportEXT},
        {5253, 5253, SpvCapabilityShaderViewportMaskNV},
    };
    for(const auto &row : rows) {
        if(builtin >= row.first && builtin <= row.last) add_capability(row.capability);
    }
    if((builtin == 9 || builtin == 10) && before_raster) add_capability(SpvCapabilityShaderViewportIndexLayerEXT);
    if((builtin == 5286 || builtin == 5287) && fragment) add_capability(SpvCapabilityFragmentBarycentricKHR);
    if((builtin == 7 || builtin == 9) && fragment) add_capability(SpvCapabilityGeometry);
    if(builtin == 22) execution_modes.append(SpvExecutionModeDepthReplacing, ~0u);
    if(builtin == 5014) execution_modes.append(SpvExecutionModeStencilRefReplacingEXT, ~0u);
    if(builtin >= 4992 && builtin <= 4998) explicit_barycentrics = true;
}

} // namespace Kolm
