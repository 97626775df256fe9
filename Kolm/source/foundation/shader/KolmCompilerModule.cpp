// The final module: header, preamble, names, decorations, types and constants, variables, functions.
//
// While parsing, `opcodes` holds the types and constants alone. It is put aside, the head of the module is written,
// and the section goes back behind it. The order of the steps matters: the version has to be known before storage
// buffers are lowered, and that before the head moves the offsets in `pointers`.

#include "KolmCompiler.h"
#include "KolmLog.h"

namespace Kolm {

namespace {

bool is_interface(uint32_t storage) { return storage == SpvStorageClassInput || storage == SpvStorageClassOutput; }

// Variables that rays and callables pass on, which calls in the source name by a location.
bool is_payload(uint32_t storage) {
    return storage == SpvStorageClassRayPayloadKHR || storage == SpvStorageClassIncomingRayPayloadKHR ||
           storage == SpvStorageClassCallableDataKHR || storage == SpvStorageClassIncomingCallableDataKHR;
}

// Prefix of generated names.
const char *get_prefix(uint32_t model) {
    switch(model) {
    case SpvExecutionModelVertex: return "_v";
    case SpvExecutionModelTessellationControl: return "_tc";
    case SpvExecutionModelTessellationEvaluation: return "_te";
    case SpvExecutionModelGeometry: return "_g";
    case SpvExecutionModelFragment: return "_f";
    case SpvExecutionModelGLCompute: return "_c";
    case SpvExecutionModelTaskEXT: return "_t";
    case SpvExecutionModelMeshEXT: return "_m";
    case SpvExecutionModelRayGenerationKHR: return "_rg";
    case SpvExecutionModelIntersectionKHR: return "_ri";
    case SpvExecutionModelAnyHitKHR: return "_rah";
    case SpvExecutionModelClosestHitKHR: return "_rch";
    case SpvExecutionModelMissKHR: return "_rm";
    case SpvExecutionModelCallableKHR: return "_rc";
    default: return "_";
    }
}

constexpr struct {
    uint32_t capability;
    uint32_t version;
} capability_versions[] = {
    {SpvCapabilityMeshShadingEXT, 0x10400}, {SpvCapabilityGroupNonUniform, 0x10300},
    {SpvCapabilityDrawParameters, 0x10300}, {SpvCapabilityRayTracingKHR, 0x10400},
    {SpvCapabilityRayQueryKHR, 0x10300},    {SpvCapabilityCooperativeMatrixKHR, 0x10300},
};

// In the order in which they are written; `core` is the version from which no extension is needed.
constexpr struct {
    uint32_t capability;
    const char *extension;
    uint32_t core;
} capability_extensions[] = {
    {SpvCapabilityFloat16, "SPV_AMD_gpu_shader_half_float", ~0u},
    {SpvCapabilitySubgroupBallotKHR, "SPV_KHR_shader_ballot", ~0u},
    {SpvCapabilitySubgroupVoteKHR, "SPV_KHR_subgroup_vote", ~0u},
    {SpvCapabilityDrawParameters, "SPV_KHR_shader_draw_parameters", ~0u},
    {SpvCapabilityStencilExportEXT, "SPV_EXT_shader_stencil_export", ~0u},
    {SpvCapabilityShaderViewportIndexLayerEXT, "SPV_EXT_shader_viewport_index_layer", ~0u},
    {SpvCapabilityGeometryShaderPassthroughNV, "SPV_NV_geometry_shader_passthrough", ~0u},
    {SpvCapabilityShaderViewportMaskNV, "SPV_NV_viewport_array2", ~0u},
    {SpvCapabilityMeshShadingEXT, "SPV_EXT_mesh_shader", ~0u},
    {SpvCapabilityRayTracingKHR, "SPV_KHR_ray_tracing", ~0u},
    {SpvCapabilityRayQueryKHR, "SPV_KHR_ray_query", ~0u},
    {SpvCapabilityInt64ImageEXT, "SPV_EXT_shader_image_int64", ~0u},
    {SpvCapabilityShaderNonUniform, "SPV_EXT_descriptor_indexing", ~0u},
    {SpvCapabilityRuntimeDescriptorArray, "SPV_EXT_descriptor_indexing", ~0u},
    {SpvCapabilityCooperativeMatrixKHR, "SPV_KHR_cooperative_matrix", ~0u},
    {SpvCapabilityFragmentBarycentricKHR, "SPV_KHR_fragment_shader_barycentric", ~0u},
    {SpvCapabilityGroupNonUniformPartitionedNV, "SPV_NV_shader_subgroup_partitioned", ~0u},
    {SpvCapabilityAtomicFloat32AddEXT, "SPV_EXT_shader_atomic_float_add", ~0u},
    {SpvCapabilityAtomicFloat64AddEXT, "SPV_EXT_shader_atomic_float_add", ~0u},
    {SpvCapabilityDemoteToHelperInvocation, "SPV_EXT_demote_to_helper_invocation", ~0u},
    {SpvCapabilityDeviceGroup, "SPV_KHR_device_group", 0x10300},
    {SpvCapabilityMultiView, "SPV_KHR_multiview", 0x10300},
    {SpvCapabilityStorageBuffer16BitAccess, "SPV_KHR_16bit_storage", 0x10300},
    {SpvCapabilityStorageUniform16, "SPV_KHR_16bit_storage", 0x10300},
    {SpvCapabilityStoragePushConstant16, "SPV_KHR_16bit_storage", 0x10300},
    {SpvCapabilityStorageInputOutput16, "SPV_KHR_16bit_storage", 0x10300},
};

} // namespace

// -- Checks -----------------------------------------------------------------------------------------------------------

void Compiler::validate_decorations() {
    // used components of locations: inputs, outputs, and those of a patch apart
    ArrayStack<uint32_t, 64> used[4];
    for(uint32_t i = 0; i < variables.size(); i++) {
        Variable &variable = variables[i];
        if(variable.structure != ~0u || variable.function != ~0u) continue;
        if(variable.decorations.has(SpvDecorationConstant)) continue;
        // a call in the module names the variable itself
        if(is_payload(variable.storage)) variable.decorations.remove(SpvDecorationLocation);
        const bool interface = is_interface(variable.storage);
        const bool resource =
            (variable.storage == SpvStorageClassUniformConstant || variable.storage == SpvStorageClassUniform ||
             variable.storage == SpvStorageClassStorageBuffer);
        if(!interface && !resource) continue;

        // an error stands where the variable does
        *source_offset = variable.src_offset;
        const uint32_t element = get_element_type(variable.type);
        const Structure *structure = nullptr;
        if(get_target_flags(element) & FlagStructure) structure = &get_structure(element);
        bool builtin = variable.decorations.has(SpvDecorationBuiltIn);
        bool located = variable.decorations.has(SpvDecorationLocation);
        bool members_located = (structure != nullptr);
        if(structure) {
            for(uint32_t j = 0; j < structure->variables.size(); j++) {
                const SmallMap &decorations = variables[structure->variables[j]].decorations;
                if(decorations.has(SpvDecorationBuiltIn)) builtin = true;
                if(!decorations.has(SpvDecorationLocation)) members_located = false;
            }
        }
        if(builtin) continue;
        const String name = variable.name.empty() ? get_source_name(variable.type) : variable.name;
        if(resource) {
            if(!variable.decorations.has(SpvDecorationBinding)) Parser::error("%s has no binding\n", name.get());
            continue;
        }
        const bool primitive =
            variable.decorations.has(SpvDecorationPerPrimitiveEXT) ||
            (structure && variables[structure->variables[0]].decorations.has(SpvDecorationPerPrimitiveEXT));
        if(!located && !members_located && !primitive) Parser::error("%s has no location\n", name.get());

        // two variables at one place are an error of the module
        const bool patch = variable.decorations.has(SpvDecorationPatch);
        ArrayStack<uint32_t, 64> &places = used[(variable.storage == SpvStorageClassOutput ? 1 : 0) + (patch ? 2 : 0)];
        if(located) {
            uint32_t type = add_variable_type(variable);
            if(is_arrayed(variable)) type = get_target_type(type);
            add_locations(variable.decorations, type, places, name);
        } else if(members_located && structure) {
            for(uint32_t j = 0; j < structure->variables.size(); j++) {
                Variable &member = variables[structure->variables[j]];
                add_locations(member.decorations, add_variable_type(member), places, name);
            }
        }
    }
    *source_offset = ~0u;
}

// Whether the outer array of an interface variable counts vertices or primitives.
bool Compiler::is_arrayed(const Variable &variable) const {
    if(variable.length == ~0u || variable.decorations.has(SpvDecorationPatch)) return false;
    const bool input = (variable.storage == SpvStorageClassInput);
    switch(execution_model) {
    case SpvExecutionModelTessellationControl: return true;
    case SpvExecutionModelTessellationEvaluation:
    case SpvExecutionModelGeometry: return input;
    case SpvExecutionModelMeshEXT: return !input;
    default: return false;
    }
}

// Enters the components of a variable at its location; those of a second one are an error.
void Compiler::add_locations(const SmallMap &decorations, uint32_t type, Array<uint32_t> &places, const String &name) {
    const uint32_t *location = decorations.get(SpvDecorationLocation);
    const uint32_t *component = decorations.get(SpvDecorationComponent);
    const uint32_t *index = decorations.get(SpvDecorationIndex);
    const Target info = *targets.get(type);
    const uint32_t count = get_locations(type);
    if(location == nullptr || *location >= 4096 || count > 4096) Parser::error("%s has invalid location\n", name.get());
    uint32_t first = component ? *component : 0;
    uint32_t size = 4;
    if((info.flags & (FlagStructure | FlagMatrix)) == 0) {
        size = get_type_width(info.flags) * ((info.flags & Flag64Bit) ? 2 : 1);
        if(size > 4) size = 4;
    }
    if(first + size > 4) {
        if(component) Parser::error("%s has invalid location\n", name.get());
        first = 0;
    }
    const uint32_t base = index ? *index << 24 : 0;
    for(uint32_t i = 0; i < count; i++) {
        for(uint32_t j = first; j < first + size; j++) {
            const uint32_t place = base | ((*location + i) * 4 + j);
            for(uint32_t k = 0; k < places.size(); k++) {
                if(places[k] == place) Parser::error("%s has invalid location\n", name.get());
            }
            places.append(place);
        }
    }
}

// Modes without which a stage means nothing.
void Compiler::validate_modes() const {
    const auto count = [&](std::initializer_list<uint32_t> modes) {
        uint32_t ret = 0;
        for(uint32_t mode : modes) ret += execution_modes.has(mode) ? 1 : 0;
        return ret;
    };
    switch(execution_model) {
    case SpvExecutionModelTessellationControl:
        if(count({26}) == 0) Parser::error("output vertices are not declared\n");
        if(count({22, 24, 25}) > 1) Parser::error("invalid input primitive\n");
        break;
    case SpvExecutionModelTessellationEvaluation:
        if(count({22, 24, 25}) > 1) Parser::error("invalid input primitive\n");
        break;
    case SpvExecutionModelGeometry:
        if(count({19, 20, 21, 22, 23}) != 1) Parser::error("invalid input primitive\n");
        if(count({27, 28, 29}) != 1) Parser::error("invalid output primitive\n");
        if(count({26}) == 0) Parser::error("output vertices are not declared\n");
        break;
    case SpvExecutionModelMeshEXT:
        if(count({5269, 5298}) != 1) Parser::error("invalid output primitive\n");
        if(count({26, 5270}) != 2) Parser::error("output vertices are not declared\n");
        break;
    default: break;
    }
}

// -- Assembly ---------------------------------------------------------------------------------------------------------

// An unused function keeps its place with a body that only returns zero.
void Compiler::create_stub(Function &func) {
    const uint32_t type = add_type(func.type, ~0u, &global);
    const Flags flags = get_target_flags(type);
    constexpr Flags plain = FlagVoid | FlagFormat | FlagBits | FlagVector | FlagMatrix | FlagScalar | FlagComposite;
    if(flags & ~plain) return;
    func.opcodes.clear();
    func.labels.clear();
    func.variables.clear();
    func.functions.clear();
    func.opcode = ~0u;
    if(flags & FlagVoid)
        add_opcode(func, SpvOpReturn, {});
    else
        add_opcode(func, SpvOpReturnValue, {add_zero(type)});
}

// Name that the module shows: of the source for what links by name, generated for the rest.
void Compiler::get_module_name(const String &name, uint32_t target, bool source_name, String &text) const {
    text.clear();
    if(source_name || (options & OptionDebug)) {
        const uint32_t length = uint32_t(strcspn(name.get(), "."));
        text.append(name.get(), length);
        if(source_name || length == 0 || !external_functions.get(name.get(), length)) return;
    }
    text.append(get_prefix(execution_model));
    String::fromu32(text, target, 16);
}

uint32_t Compiler::get_module_version() const {
    uint32_t version = 0x10000;
    for(const auto &row : capability_versions) {
        if(capabilities.get(row.capability)) version = max(version, row.version);
    }
    return version;
}

// Old versions have no storage class for storage buffers: they are uniform blocks with a decoration of their own.
void Compiler::lower_storage_buffers() {
    for(uint32_t i = 0; i < pointers.size(); i++) {
        opcodes[pointers[i] + 2] = SpvStorageClassUniform;
        // the patched pointer serves for the lowered variables too
        StringStack<31> key;
        String::fromu32(key, opcodes[pointers[i] + 3]);
        key.append("_ptr_");
        String::fromu32(key, SpvStorageClassUniform);
        if(!type_targets.get(key)) type_targets.append(key, opcodes[pointers[i] + 1]);
    }
    for(uint32_t i = 0; i < variables.size(); i++) {
        if(variables[i].storage == SpvStorageClassStorageBuffer) variables[i].storage = SpvStorageClassUniform;
    }
    for(uint32_t i = 0; i < structures.size(); i++) {
        Structure &structure = structures[i];
        if(structure.storage != SpvStorageClassStorageBuffer) continue;
        structure.storage = SpvStorageClassUniform;
        if(structure.decorations.remove(SpvDecorationBlock))
            structure.decorations.append(SpvDecorationBufferBlock, ~0u);
    }
}

void Compiler::create_names(const char *macros) {
    StringStack<128> name;
    const char *tail = macros ? macros : "";
    for(uint32_t i = 0; i < variables.size(); i++) {
        const Variable &variable = variables[i];
        if(variable.structure != ~0u || variable.function != ~0u) continue;
        if(!variable.usage && (options & OptionUnused) && variable.name.size()) {
            if(macros) {
                Log::printf(Log::Warning, "Compiler::create_opcodes(): unused variable %s %s\n%s\n",
                            get_source_name(variable.type).get(), variable.name.get(), tail);
            } else {
                Log::printf(Log::Warning, "Compiler::create_opcodes(): unused variable %s %s\n",
                            get_source_name(variable.type).get(), variable.name.get());
            }
        }
        if(variable.decorations.has(SpvDecorationConstant)) continue;
        get_module_name(variable.name, variable.target, is_interface(variable.storage), name);
        if(name.size()) add_opcode(SpvOpName, {variable.target}, name.get());
    }
    for(uint32_t i = 0; i < structures.size(); i++) {
        const Structure &structure = structures[i];
        if(!structure.usage) continue;
        const bool source_name = is_interface(structure.storage);
        get_module_name(structure.name, structure.target, source_name, name);
        if(name.size()) add_opcode(SpvOpName, {structure.target}, name.get());
        for(uint32_t j = 0; j < structure.variables.size(); j++) {
            if(source_name || (options & OptionDebug)) {
                add_opcode(SpvOpMemberName, {structure.target, j}, variables[structure.variables[j]].name.get());
                continue;
            }
            get_module_name(structure.name, structure.target, false, name);
            name.append("_");
            String::fromu32(name, j, 16);
            add_opcode(SpvOpMemberName, {structure.target, j}, name.get());
        }
    }
    for(uint32_t i = 0; i < functions.size(); i++) {
        const Function &func = functions[i];
        const bool entry = (func.index == entry_function);
        if(!func.usage && !entry && func.src && (func.control & SpvFunctionControlInline) == 0 &&
           (options & OptionUnused)) {
            if(macros) {
                Log::printf(Log::Warning, "Compiler::create_opcodes(): unused function %s%s)\n%s\n", func.name.get(),
                            func.signature.get(), tail);
            } else {
                Log::printf(Log::Warning, "Compiler::create_opcodes(): unused function %s%s)\n", func.name.get(),
                            func.signature.get());
            }
        }
        get_module_name(func.name, func.target, entry, name);
        add_opcode(SpvOpName, {func.target}, name.get());
    }
}

void Compiler::create_decorations() {
    for(uint32_t i = 0; i < array_types.size(); i++) {
        if(array_strides[i] == ~0u || array_strides[i] == 0) continue;
        uint32_t element = array_types[i];
        while(get_target_flags(element) & FlagArray) element = get_target_type(element);
        if((get_target_flags(element) & FlagStructure) && !get_structure(element).usage) continue;
        add_opcode(SpvOpDecorate, {array_types[i], SpvDecorationArrayStride, array_strides[i]});
    }
    const auto add_decoration = [&](uint32_t target, uint32_t decoration, uint32_t value) {
        if(value == ~0u)
            add_opcode(SpvOpDecorate, {target, decoration});
        else
            add_opcode(SpvOpDecorate, {target, decoration, value});
    };
    for(uint32_t i = 0; i < variables.size(); i++) {
        const Variable &variable = variables[i];
        if(variable.structure != ~0u || variable.function != ~0u) continue;
        if(variable.decorations.has(SpvDecorationConstant)) continue;
        for(const auto &item : variable.decorations) {
            if(item.key == SpvDecorationRowMajor || item.key == SpvDecorationColMajor) continue;
            add_decoration(variable.target, item.key, item.data);
        }
    }
    for(uint32_t i = 0; i < structures.size(); i++) {
        const Structure &structure = structures[i];
        if(!structure.usage) continue;
        for(const auto &item : structure.decorations) add_decoration(structure.target, item.key, item.data);
        for(uint32_t j = 0; j < structure.variables.size(); j++) {
            for(const auto &item : variables[structure.variables[j]].decorations) {
                if(item.data == ~0u)
                    add_opcode(SpvOpMemberDecorate, {structure.target, j, item.key});
                else
                    add_opcode(SpvOpMemberDecorate, {structure.target, j, item.key, item.data});
            }
        }
    }
    for(uint32_t i = 0; i < target_decorations.size(); i++) {
        const SmallMap *decorations = target_decorations.get(i);
        if(decorations == nullptr) continue;
        for(const auto &item : *decorations) add_decoration(i, item.key, item.data);
    }
}

void Compiler::create_opcodes(uint32_t profile, uint32_t version, const char *macros) {
    // entry
    for(uint32_t i = find_function(String("main")); i != ~0u; i = functions[i].next) {
        if(functions[i].type == "void" && functions[i].signature == "(" && functions[i].src) entry_function = i;
    }
    if(entry_function == ~0u) Parser::error("can't find entry function\n");
    if(execution_model == SpvExecutionModelGLCompute && group_size[2] == 0) {
        Parser::error("work group size is not declared\n");
    }
    validate_modes();
    functions[entry_function].usage = true;

    // whatever bodies need of types and constants has to stand before the first function
    for(uint32_t i = 0; i < functions.size(); i++) {
        if(!functions[i].usage) create_stub(functions[i]);
    }

    // capabilities
    add_capability(SpvCapabilityShader);
    switch(execution_model) {
    case SpvExecutionModelTessellationControl:
    case SpvExecutionModelTessellationEvaluation: add_capability(SpvCapabilityTessellation); break;
    case SpvExecutionModelGeometry: add_capability(SpvCapabilityGeometry); break;
    case SpvExecutionModelTaskEXT:
    case SpvExecutionModelMeshEXT: add_capability(SpvCapabilityMeshShadingEXT); break;
    default:
        if(is_tracing()) add_capability(SpvCapabilityRayTracingKHR);
        break;
    }
    for(uint32_t i = SpvCapabilityGroupNonUniformVote; i <= SpvCapabilityGroupNonUniformQuad; i++) {
        if(capabilities.get(i)) add_capability(SpvCapabilityGroupNonUniform);
    }
    if(capabilities.get(uint32_t(SpvCapabilityGroupNonUniformPartitionedNV))) {
        add_capability(SpvCapabilityGroupNonUniform);
    }

    const uint32_t module_version = get_module_version();
    if(module_version < 0x10300) lower_storage_buffers();

    // header
    ArrayStack<uint32_t, 1024> section;
    section.copy(opcodes);
    opcodes.clear();
    opcodes.append({0x07230203u, module_version, (KolmToolID << 16) | KolmVersion, 0u, 0u});

    for(const auto &capability : capabilities) add_opcode(SpvOpCapability, {capability});
    const char *last_extension = nullptr;
    for(const auto &row : capability_extensions) {
        if(!capabilities.get(row.capability) || module_version >= row.core) continue;
        if(last_extension && strcmp(last_extension, row.extension) == 0) continue;
        add_opcode(SpvOpExtension, {}, row.extension);
        last_extension = row.extension;
    }
    if(explicit_barycentrics) add_opcode(SpvOpExtension, {}, "SPV_AMD_shader_explicit_vertex_parameter");
    if(external_target != ~0u) add_opcode(SpvOpExtInstImport, {external_target}, "GLSL.std.450");
    add_opcode(SpvOpMemoryModel, {0u, 1u});

    // entry point and its interface
    ArrayStack<uint32_t, 64> interface;
    for(uint32_t i = 0; i < variables.size(); i++) {
        const Variable &variable = variables[i];
        if(variable.structure != ~0u || variable.function != ~0u) continue;
        if(variable.decorations.has(SpvDecorationConstant)) continue;
        if(is_interface(variable.storage) || module_version > 0x10300) interface.append(variable.target);
    }
    add_opcode(SpvOpEntryPoint, {execution_model, functions[entry_function].target}, "main", interface);

    // execution modes
    if(execution_model == SpvExecutionModelFragment && !execution_modes.has(SpvExecutionModeOriginUpperLeft) &&
       !execution_modes.has(SpvExecutionModeOriginLowerLeft)) {
        execution_modes.append(SpvExecutionModeOriginUpperLeft, ~0u);
    }
    if(execution_model == SpvExecutionModelGeometry && !execution_modes.has(SpvExecutionModeInvocations)) {
        execution_modes.append(SpvExecutionModeInvocations, 1);
    }
    const uint32_t entry = functions[entry_function].target;
    for(const auto &mode : execution_modes) {
        if(mode.key == SpvExecutionModeLocalSize) {
            add_opcode(SpvOpExecutionMode, {entry, mode.key, group_size[0], group_size[1], group_size[2]});
        } else if(mode.data == ~0u) {
            add_opcode(SpvOpExecutionMode, {entry, mode.key});
        } else {
            add_opcode(SpvOpExecutionMode, {entry, mode.key, mode.data});
        }
    }

    add_opcode(SpvOpSource, {profile, version});
    for(uint32_t i = 0; i < extensions.size(); i++) add_opcode(SpvOpSourceExtension, {}, extensions.getName(i));

    // unused structures go, the last first, so that the offsets of the others stay right
    for(uint32_t i = structures.size(); i-- > 0;) {
        Structure &structure = structures[i];
        if(structure.usage) continue;
        structure.variables.clear();
        structure.decorations.clear();
        if(structure.opcode_size) section.remove(structure.opcode_offset, structure.opcode_size);
        structure.opcode_size = 0;
    }

    create_names(macros);
    create_decorations();
    opcodes.append(section.get(), section.size());

    for(uint32_t i = 0; i < variables.size(); i++) {
        Variable &variable = variables[i];
        if(variable.structure != ~0u || variable.function != ~0u) continue;
        if(variable.decorations.has(SpvDecorationConstant)) continue;
        const uint32_t pointer = add_variable_pointer(variable);
        if(variable.initializer == ~0u)
            add_opcode(SpvOpVariable, {pointer, variable.target, variable.storage});
        else
            add_opcode(SpvOpVariable, {pointer, variable.target, variable.storage, variable.initializer});
    }
    // pointers of locals and parameters too: none may come between two functions
    for(uint32_t i = 0; i < functions.size(); i++) {
        const Function &func = functions[i];
        for(uint32_t j = 0; j < func.variables.size(); j++) add_variable_pointer(variables[func.variables[j]]);
        for(uint32_t j = 0; j < func.arguments.size(); j++) {
            if(func.arguments[j].pass != PassIn) add_variable_pointer(variables[func.arguments[j].variable]);
        }
    }

    create_function(functions[entry_function]);
    for(uint32_t i = 0; i < functions.size(); i++) {
        if(!functions[i].created) create_function(functions[i]);
    }
    opcodes[3] = num_targets;
}

void Compiler::create_function(Function &func) {
    Depth level(*this);
    if(func.src) *source_offset = func.src_offset;
    if(func.creating) Parser::error("function %s%s) is recursive\n", func.name.get(), func.signature.get());
    if(func.src == nullptr && func.usage)
        Parser::error("unknown function %s%s)\n", func.name.get(), func.signature.get());
    func.creating = true;
    for(uint32_t i = 0; i < func.functions.size(); i++) {
        Function &callee = functions[func.functions[i]];
        if(!callee.created) create_function(callee);
    }
    func.creating = false;

    const uint32_t type = add_type(func.type, ~0u, &global);
    add_opcode(SpvOpFunction, {type, func.target, func.control, *type_targets.get(func.key)});
    for(uint32_t i = 0; i < func.arguments.size(); i++) {
        Variable &variable = variables[func.arguments[i].variable];
        const bool value = (func.arguments[i].pass == PassIn);
        const uint32_t parameter = value ? add_variable_type(variable) : add_variable_pointer(variable);
        add_opcode(SpvOpFunctionParameter, {parameter, func.arguments[i].target});
    }
    add_opcode(SpvOpLabel, {num_targets++});
    for(uint32_t i = 0; i < func.variables.size(); i++) {
        Variable &variable = variables[func.variables[i]];
        if(variable.initializer != ~0u)
            add_opcode(SpvOpVariable,
                       {add_variable_pointer(variable), variable.target, variable.storage, variable.initializer});
        else
            add_opcode(SpvOpVariable, {add_variable_pointer(variable), variable.target, variable.storage});
    }
    if(func.variables.size()) {
        for(uint32_t i = 0; i < func.arguments.size(); i++) {
            if(func.arguments[i].pass != PassIn) continue;
            add_opcode(SpvOpStore, {variables[func.arguments[i].variable].target, func.arguments[i].target});
        }
    }
    for(uint32_t i = 0; i < func.labels.size(); i++) func.opcodes[func.labels[i]] = num_targets++;
    opcodes.append(func.opcodes.get(), func.opcodes.size());
    if(!is_terminator(func.opcode)) {
        if(func.type == "void")
            add_opcode(SpvOpReturn, {});
        else
            add_opcode(SpvOpUnreachable, {});
    }
    add_opcode(SpvOpFunctionEnd, {});
    func.opcodes.clear();
    func.labels.clear();
    func.created = true;
}

} // namespace Kolm
