// Internal functions that talk to the machine: barriers, atomics, subgroups, stages, rays, cooperative matrices.

#include "KolmCompilerFunction.h"

namespace Kolm {

uint32_t Compiler::get_constant_argument(Call &call, uint32_t index) {
    const uint32_t value = load(call.args[index], call.func);
    const Constant *constant = get_constant(value);
    if(constant == nullptr || constant->size() != 1 || (constant->flags & FlagInteger) == 0) call.invalid();
    return uint32_t(constant->getu64());
}

uint32_t Compiler::add_barrier_call(Call &call) {
    call.check_count(0);
    uint32_t scope = call.row.param >> 24;
    const uint32_t semantics = call.row.param & 0xFFFFFFu;
    if(scope == SpvScopeSubgroup) add_capability(SpvCapabilityGroupNonUniform);
    if(call.row.f == SpvOpMemoryBarrier) {
        add_opcode(call.func, SpvOpMemoryBarrier, {add_constantu32(scope), add_constantu32(semantics)});
    } else if(execution_model == SpvExecutionModelTessellationControl && scope == SpvScopeWorkgroup) {
        // The outputs of a patch are all that it orders.
        const uint32_t memory = add_constantu32(SpvScopeInvocation);
        add_opcode(call.func, SpvOpControlBarrier, {add_constantu32(scope), memory, add_constantu32(0)});
    } else {
        const uint32_t target = add_constantu32(scope);
        add_opcode(call.func, SpvOpControlBarrier, {target, target, add_constantu32(semantics)});
    }
    return ~0u;
}

// -- Atomics ----------------------------------------------------------------------------------------------------------

uint32_t Compiler::add_atomic_call(Call &call) {
    if(call.args.empty()) call.unknown();
    const Operand &place = call.args[0];
    if(!place.place() || place.num_swizzle) call.invalid();
    if(call.row.f != SpvOpAtomicLoad) check_write(place);
    if(place.writeonly) Parser::error("can't read from writeonly buffer\n");
    switch(place.storage) {
    case SpvStorageClassStorageBuffer:
    case SpvStorageClassWorkgroup:
    case SpvStorageClassTaskPayloadWorkgroupEXT: break;
    default:
        if(place.reference == ~0u) call.invalid();
    }
    const uint32_t type = place.type;
    const Flags flags = get_target_flags(type);
    if((flags & (FlagFloat | FlagInteger)) == 0 || (flags & (FlagArray | FlagStructure)) ||
       get_type_components(flags) != 1 || (flags & Flag16Bit))
        call.invalid();
    return add_atomic(call, get_pointer(place, call.func), type, 1);
}

// The values begin at the argument `first`. Behind them a scope and semantics may be given.
uint32_t Compiler::add_atomic(Call &call, uint32_t pointer, uint32_t type, uint32_t first) {
    Function &func = call.func;
    const Flags flags = get_target_flags(type);
    const SpvOp opcode = get_call_opcode(call, flags);
    if(opcode == SpvOpNop) call.invalid();
    const uint32_t count = call.row.param;
    const bool compare = (opcode == SpvOpAtomicCompareExchange);
    const uint32_t extra = compare ? 5 : 3;
    if(call.args.size() != first + count && call.args.size() != first + count + extra)
        call.check_count(first + count, first + count);
    ArrayStack<uint32_t, 4> values;
    for(uint32_t i = 0; i < count; i++) {
        const uint32_t value = load(call.args[first + i], func);
        const uint32_t result = add_convert_opcodes(func, type, value);
        if(result == ~0u) call.invalid();
        values.append(result);
    }
    uint32_t scope = SpvScopeDevice;
    uint32_t semantics = SpvMemorySemanticsNone;
    uint32_t unequal = SpvMemorySemanticsNone;
    if(call.args.size() > first + count) {
        const uint32_t k = first + count;
        scope = get_constant_argument(call, k);
        semantics = get_constant_argument(call, k + 1) | get_constant_argument(call, k + 2);
        if(compare) unequal = get_constant_argument(call, k + 3) | get_constant_argument(call, k + 4);
    }

    if((flags & Flag64Bit) && (flags & FlagInteger)) add_capability(SpvCapabilityInt64Atomics);
    if(opcode == SpvOpAtomicFAddEXT)
        add_capability((flags & Flag64Bit) ? SpvCapabilityAtomicFloat64AddEXT : SpvCapabilityAtomicFloat32AddEXT);
    if(opcode == SpvOpAtomicFMinEXT || opcode == SpvOpAtomicFMaxEXT)
        add_capability((flags & Flag64Bit) ? SpvCapabilityAtomicFloat64MinMaxEXT : SpvCapabilityAtomicFloat32MinMaxEXT);

    const uint32_t scope_target = add_constantu32(scope);
    const uint32_t semantics_target = add_constantu32(semantics);
    switch(opcode) {
    case SpvOpAtomicStore: add_opcode(func, opcode, {pointer, scope_target, semantics_target, values[0]}); return ~0u;
    case SpvOpAtomicCompareExchange:
        return add_value(func, opcode, type,
                         {pointer, scope_target, semantics_target, add_constantu32(unequal), values[1], values[0]});
    default: return add_value(func, opcode, type, {pointer, scope_target, semantics_target}, values);
    }
}

// -- Subgroups --------------------------------------------------------------------------------------------------------

uint32_t Compiler::add_subgroup_call(Call &call) {
    Function &func = call.func;
    Match match;
    match_call(call, match);
    if(call.args.empty()) match.format = FlagBool | Flag32Bit;
    SpvOp opcode = get_call_opcode(call, match.format);
    if(opcode == SpvOpNop) call.invalid();
    const uint32_t type = get_result_type(call.row.result, match);
    const uint32_t scope = add_constantu32(SpvScopeSubgroup);
    add_capability(SpvCapabilityGroupNonUniform);
    ArrayStack<uint32_t, 8> words;
    words.append(scope);
    switch(call.row.family) {
    case FamilySubgroupMath:
        words.append(call.row.param);
        if(call.row.param == SpvGroupOperationClusteredReduce)
            add_capability(SpvCapabilityGroupNonUniformClustered);
        else if(call.row.param >= SpvGroupOperationPartitionedReduceNV)
            add_capability(SpvCapabilityGroupNonUniformPartitionedNV);
        else
            add_capability(SpvCapabilityGroupNonUniformArithmetic);
        break;
    case FamilySubgroupCount:
        words.append(call.row.param);
        add_capability(SpvCapabilityGroupNonUniformBallot);
        break;
    case FamilySubgroupSwap:
        add_capability(SpvCapabilityGroupNonUniformQuad);
        match.values.append(add_constantu32(call.row.param));
        break;
    default:
        // An index that is not known is allowed from a later version on; a shuffle does the same.
        if(opcode == SpvOpGroupNonUniformBroadcast && get_constant(match.values[1]) == nullptr) {
            opcode = SpvOpGroupNonUniformShuffle;
            add_capability(SpvCapabilityGroupNonUniformShuffle);
        } else {
            add_capability(call.row.param);
        }
        break;
    }
    words.append(match.values);
    return add_value(func, opcode, type, words);
}

// -- Stages -----------------------------------------------------------------------------------------------------------

uint32_t Compiler::add_stage_call(Call &call) {
    Function &func = call.func;
    if(call.row.family == FamilyStream) {
        if(execution_model != SpvExecutionModelGeometry) Parser::error("instruction is not valid\n");
        call.check_count(call.row.param);
        if(call.row.param == 0) {
            add_opcode(func, call.row.f, {});
        } else {
            add_capability(SpvCapabilityGeometryStreams);
            add_opcode(func, call.row.f, {add_constantu32(get_constant_argument(call, 0))});
        }
        return ~0u;
    }
    if(execution_model != call.row.param) Parser::error("instruction is not valid\n");
    if(call.row.family == FamilyRayEnd) {
        call.check_count(0);
        add_opcode(func, call.row.f, {});
        return ~0u;
    }
    Match match;
    match_call(call, match);
    ArrayStack<uint32_t, 4> words;
    words.append(match.values);
    if(call.row.family == FamilyMeshTasks) {
        for(uint32_t i = 0; i < variables.size(); i++) {
            const Variable &variable = variables[i];
            if(variable.storage != SpvStorageClassTaskPayloadWorkgroupEXT || variable.structure != ~0u) continue;
            words.append(uint32_t(variable.target));
            break;
        }
    }
    add_opcode(func, call.row.f, {}, words);
    return ~0u;
}

// -- Rays -------------------------------------------------------------------------------------------------------------

// The variable that a constant location names.
uint32_t Compiler::get_located_pointer(Call &call, uint32_t location, uint32_t storage_0, uint32_t storage_1) {
    for(uint32_t i = 0; i < variables.size(); i++) {
        Variable &variable = variables[i];
        if(variable.storage != storage_0 && variable.storage != storage_1) continue;
        const uint32_t *value = variable.decorations.get(SpvDecorationLocation);
        if(variable.structure != ~0u || value == nullptr || *value != location) continue;
        variable.usage = true;
        return variable.target;
    }
    Parser::error("unknown reference for %s\n", call.name());
}

uint32_t Compiler::add_ray_call(Call &call) {
    Function &func = call.func;
    ArrayStack<Operand, 12> args;
    Match match;
    match.name = call.name();
    match.formats[0] = match.formats[1] = match.formats[2] = true;
    switch(call.row.family) {
    case FamilyTraceRay: {
        call.check_count(11);
        if((get_target_flags(call.args[0].type) & FlagAcceleration) == 0) call.invalid();
        const uint32_t location = get_constant_argument(call, 10);
        const uint32_t payload =
            get_located_pointer(call, location, SpvStorageClassRayPayloadKHR, SpvStorageClassIncomingRayPayloadKHR);
        for(uint32_t i = 1; i < 10; i++) args.append(Operand(call.args[i]));
        match.rules = "u32,u32,u32,u32,u32,f32v3,f32,f32v3,f32";
        if(!match_arguments(match, args, func)) call.invalid();
        ArrayStack<uint32_t, 12> words;
        words.append(load(call.args[0], func));
        words.append(match.values);
        words.append(payload);
        add_opcode(func, call.row.f, {}, words);
        return ~0u;
    }
    case FamilyCallable: {
        call.check_count(2);
        const uint32_t location = get_constant_argument(call, 1);
        const uint32_t data =
            get_located_pointer(call, location, SpvStorageClassCallableDataKHR, SpvStorageClassIncomingCallableDataKHR);
        const uint32_t type = add_type("u32");
        const uint32_t index = add_convert_opcodes(func, type, load(call.args[0], func));
        if(index == ~0u) call.invalid();
        add_opcode(func, call.row.f, {index, data});
        return ~0u;
    }
    case FamilyReport:
        if(execution_model != SpvExecutionModelIntersectionKHR) Parser::error("instruction is not valid\n");
        match_call(call, match);
        return add_value(func, SpvOpReportIntersectionKHR, add_type("b32"), match.values);
    default: {
        call.check_count(1);
        const uint32_t value = load(call.args[0], func);
        const Flags flags = get_target_flags(value);
        const bool wide = (flags & FlagUInt) && (flags & Flag64Bit) && get_type_components(flags) == 1;
        const bool pair = (flags & FlagUInt) && (flags & Flag32Bit) && get_type_components(flags) == 2;
        if((!wide && !pair) || (flags & FlagArray)) call.invalid();
        return add_value(func, call.row.f, add_type("accelerationStructure"), {value});
    }
    }
}

uint32_t Compiler::add_query_call(Call &call) {
    Function &func = call.func;
    if(call.args.empty()) call.unknown();
    const Operand &query = call.args[0];
    if(!query.place() || (get_target_flags(query.type) & FlagRayQuery) == 0 ||
       (get_target_flags(query.type) & FlagArray))
        call.invalid();
    add_capability(SpvCapabilityRayQueryKHR);
    const uint32_t pointer = get_pointer(query, func);
    ArrayStack<uint32_t, 12> words;
    words.append(pointer);
    if(call.row.family == FamilyRayQueryInit) {
        call.check_count(8);
        if((get_target_flags(call.args[1].type) & FlagAcceleration) == 0) call.invalid();
        ArrayStack<Operand, 8> args;
        for(uint32_t i = 2; i < 8; i++) args.append(Operand(call.args[i]));
        Match match;
        match.rules = "u32,u32,f32v3,f32,f32v3,f32";
        if(!match_arguments(match, args, func)) call.invalid();
        words.append(load(call.args[1], func));
        words.append(match.values);
        add_opcode(func, call.row.f, {}, words);
        return ~0u;
    }
    if(call.row.param) {
        call.check_count(2);
        const uint32_t value = load(call.args[1], func);
        const Constant *constant = get_constant(value);
        if(constant == nullptr || constant->size() != 1)
            Parser::error("invalid committed argument of %s function\n", call.name());
        words.append(add_constantu32(constant->getb32() ? 1 : 0));
    } else if(call.row.args[0]) {
        call.check_count(2);
        const uint32_t value = add_convert_opcodes(func, add_type(call.row.args), load(call.args[1], func));
        if(value == ~0u) call.invalid();
        words.append(value);
    } else {
        call.check_count(1);
    }
    if(call.row.result[0]) return add_value(func, call.row.f, add_type(call.row.result), words);
    add_opcode(func, call.row.f, {}, words);
    return ~0u;
}

// -- Cooperative matrices ---------------------------------------------------------------------------------------------

uint32_t Compiler::add_coop_call(Call &call) {
    Function &func = call.func;
    add_capability(SpvCapabilityCooperativeMatrixKHR);
    if(call.row.family == FamilyCoopMulAdd) {
        call.check_count(3, 4);
        uint32_t values[3];
        const Tensor *matrices[3];
        for(uint32_t i = 0; i < 3; i++) {
            values[i] = load(call.args[i], func);
            matrices[i] = tensors.get(get_type(values[i]));
            if(matrices[i] == nullptr) call.invalid();
        }
        if(matrices[0]->rows != matrices[2]->rows)
            Parser::error("invalid ac size %u %u\n", matrices[0]->rows, matrices[2]->rows);
        if(matrices[0]->columns != matrices[1]->rows)
            Parser::error("invalid ab size %u %u\n", matrices[0]->columns, matrices[1]->rows);
        if(matrices[1]->columns != matrices[2]->columns)
            Parser::error("invalid bc size %u %u\n", matrices[1]->columns, matrices[2]->columns);
        // The operands are signed by their components' types.
        uint32_t operands = (call.args.size() == 4) ? get_constant_argument(call, 3) : 0;
        for(uint32_t i = 0; i < 3; i++) {
            if(matrices[i]->type.size() && matrices[i]->type[0] == 'i') operands |= 1u << i;
        }
        if(matrices[2]->type.size() && matrices[2]->type[0] == 'i') operands |= 8;
        const uint32_t type = get_type(values[2]);
        if(operands) return add_value(func, call.row.f, type, {values[0], values[1], values[2], operands});
        return add_value(func, call.row.f, type, {values[0], values[1], values[2]});
    }
    // matrix, array in memory, first element, elements from row to row, layout
    call.check_count(5);
    Operand buffer = call.args[1];
    const uint32_t matrix = get_operand_type(call.args[0]);
    if(tensors.get(matrix) == nullptr || !buffer.place()) call.invalid();
    if((get_target_flags(buffer.type) & FlagArray) == 0) call.invalid();
    uint32_t values[3];
    for(uint32_t i = 0; i < 3; i++) {
        const uint32_t value = load(call.args[2 + i], func);
        values[i] = add_convert_opcodes(func, add_type("u32"), value);
        if(values[i] == ~0u) call.invalid();
    }
    if(get_constant(values[2]) == nullptr) call.invalid();
    if(buffer.reference != ~0u) Parser::error("unknown reference for %s\n", call.name());
    add_index(buffer, values[0], get_target_type(buffer.type), func);
    const uint32_t pointer = get_pointer(buffer, func);
    if(call.row.family == FamilyCoopLoad) {
        if(buffer.writeonly) Parser::error("can't read from writeonly buffer\n");
        const uint32_t value = add_value(func, call.row.f, matrix, {pointer, values[2], values[1]});
        if(!call.args[0].place()) call.invalid();
        store(call.args[0], value, func);
    } else {
        check_write(buffer);
        add_opcode(func, call.row.f, {pointer, load(call.args[0], func), values[2], values[1]});
    }
    return ~0u;
}

// -- Indices ----------------------------------------------------------------------------------------------------------

uint32_t Compiler::add_nonuniform_call(Call &call) {
    call.check_count(1);
    const uint32_t value = load(call.args[0], call.func);
    if((get_target_flags(value) & FlagInteger) == 0) return value;
    const uint32_t result = add_value(call.func, SpvOpCopyObject, get_type(value), {value});
    add_capability(SpvCapabilityShaderNonUniform);
    add_target_decoration(result, SpvDecorationNonUniform);
    return result;
}

} // namespace Kolm
