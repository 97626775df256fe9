// Internal and external functions: the tables, the rules for arguments and results, and the functions of numbers.
//
// A function of the language is a row of KolmCompilerFunctions.inc. Most rows are written by their rules alone; the
// other families stand here, in KolmCompilerIntrinsic.cpp and in KolmCompilerTexture.cpp.

#include "KolmCompilerFunction.h"

#include "KolmCompilerText.h"

namespace Kolm {

static constexpr SpvExt SpvExtBad = SpvExt(0); // no instruction

const Compiler::InternalFunction Compiler::internal_rows[] = {
#define INTERNAL(NAME, FAMILY, RESULT, ARGS, F, S, U, B, PARAM) \
    {NAME, Family##FAMILY, RESULT, ARGS, SpvOp##F, SpvOp##S, SpvOp##U, SpvOp##B, uint32_t(PARAM)},
#include "KolmCompilerFunctions.inc"
};

const Compiler::ExternalFunction Compiler::external_rows[] = {
#define EXTERNAL(NAME, FAMILY, RESULT, ARGS, F, S, U) \
    {NAME, Family##FAMILY, RESULT, ARGS, SpvExt##F, SpvExt##S, SpvExt##U},
#include "KolmCompilerFunctions.inc"
};

void Compiler::create_functions() {
    for(uint32_t i = 0; i < array_size(internal_rows); i++) {
        if(!internal_functions.get(internal_rows[i].name)) internal_functions.append(internal_rows[i].name, i);
    }
    for(uint32_t i = 0; i < array_size(external_rows); i++) {
        if(!external_functions.get(external_rows[i].name)) external_functions.append(external_rows[i].name, i);
    }
}

// -- Rules ------------------------------------------------------------------------------------------------------------

namespace {

// Next rule of a list, without blanks: moves behind its ",".
StringStack<31> read_rule(const char *&rules) {
    StringStack<31> rule;
    while(*rules && *rules != ',') rule.append(*rules++);
    if(*rules) rules++;
    return rule;
}

uint32_t get_num_rules(const char *rules) {
    if(*rules == '\0') return 0;
    uint32_t count = 1;
    for(; *rules; rules++) count += (*rules == ',');
    return count;
}

bool is_generic(const String &rule) { return rule.size() == 1 && strchr("gfhnwbv", rule[0]); }

} // namespace

// Whether the arguments fit; on success their values are cast and expanded.
bool Compiler::match_arguments(Match &match, const Operands &args, Function &func) {
    if(get_num_rules(match.rules) != args.size()) return false;
    const char *rules = match.rules;
    bool common = false;
    bool as_float = false;
    bool narrow = false;
    bool three = false;
    for(uint32_t i = 0; i < args.size(); i++) {
        const StringStack<31> rule = read_rule(rules);
        const uint32_t type = get_operand_type(args[i]);
        const Flags flags = get_target_flags(type);
        const bool generic = is_generic(rule) || rule == "f3";
        if(rule == "P") continue;
        if((flags & (FlagArray | FlagStructure | FlagMatrix)) || (flags & FlagFormat) == 0 || is_opaque_type(type))
            return false;
        const uint32_t width = get_type_width(flags);
        if(generic || rule.back() == '*') {
            if(width > 1 && match.width > 1 && width != match.width) return false;
            match.width = max(match.width, width);
        }
        if(!generic) continue;
        switch(rule[0]) {
        case 'g':
            if((flags & FlagBool) && !match.formats[3]) return false;
            break;
        case 'n':
            if((flags & FlagInteger) == 0) return false;
            break;
        case 'w':
            if((flags & FlagInteger) == 0 || (flags & Flag32Bit) == 0) return false;
            break;
        case 'b':
            if((flags & FlagBool) == 0) return false;
            break;
        case 'v':
            if(width == 1) return false;
            as_float = true;
            break;
        default:
            if(flags & FlagBool) return false;
            as_float = true;
            narrow |= (rule[0] == 'h');
            three |= (rule == "f3");
            break;
        }
        match.format = common ? get_common_flags(match.format, flags) : (flags & (FlagFormat | FlagBits));
        if(match.format == FlagNone) return false;
        common = true;
    }
    if(common) {
        const uint32_t column = (match.format & FlagFloat)  ? 0
                                : (match.format & FlagSInt) ? 1
                                : (match.format & FlagUInt) ? 2
                                                            : 3;
        if(as_float || !match.formats[column]) {
            if((match.format & FlagBool) || !(as_float || match.formats[0])) return false;
            if((match.format & FlagFloat) == 0) match.format = FlagFloat | Flag32Bit;
        }
        if(narrow && (match.format & Flag64Bit)) return false;
        if(three && match.width != 3) return false;
    }

    rules = match.rules;
    for(uint32_t i = 0; i < args.size(); i++) {
        const StringStack<31> rule = read_rule(rules);
        if(rule == "P") {
            match.values.append(~0u);
            continue;
        }
        uint32_t value = load(args[i], func);
        const Flags flags = get_target_flags(value);
        const uint32_t width = get_type_width(flags);
        if(is_generic(rule) || rule == "f3") {
            value = add_match(match.format, match.width, value, func);
        } else if(rule == "s") {
            if(width != 1) return false;
            value = add_cast_opcodes(func, match.format, value);
        } else if(rule == "C") {
            if(get_constant(value) == nullptr || width != 1 || (flags & FlagInteger) == 0) return false;
            value = add_cast_opcodes(func, FlagUInt | Flag32Bit, value);
        } else if(rule.back() == '*') {
            StringStack<31> name;
            name.append(rule.get(), rule.size() - 1);
            const Flags to = get_type_flags(name);
            if((flags & FlagBool) || ((to & FlagFloat) == 0 && (flags & FlagFloat))) return false;
            value = add_cast_opcodes(func, to, value);
            if(common && width == 1) value = add_expand_opcode(func, value, match.width);
            if(!common && match.format == FlagNone) match.format = to & (FlagFormat | FlagBits);
        } else {
            const uint32_t type = add_type(rule);
            value = add_convert_opcodes(func, type, value);
            if(value == ~0u) return false;
            if(!common && match.format == FlagNone) match.format = get_target_flags(type) & (FlagFormat | FlagBits);
        }
        match.values.append(value);
    }
    return true;
}

uint32_t Compiler::get_result_type(const char *rule, const Match &match) {
    if(!strcmp(rule, "=")) return add_type(get_vector_flags(match.format, match.width));
    if(!strcmp(rule, "s")) return add_type(get_vector_flags(match.format, 1));
    const size_t length = strlen(rule);
    if(length && rule[length - 1] == '*') {
        StringStack<31> name;
        name.append(rule, uint32_t(length - 1));
        return add_type(get_vector_flags(get_type_flags(name), match.width));
    }
    return add_type(length ? rule : "void");
}

// Structure of two values, which some instructions give.
uint32_t Compiler::get_pair_type(uint32_t type_0, uint32_t type_1) {
    StringStack<31> key;
    key.printf("_pair_%u_%u", type_0, type_1);
    if(const uint32_t *target = type_targets.get(key)) return *target;
    const uint32_t target = num_targets++;
    add_opcode(SpvOpTypeStruct, {target, type_0, type_1});
    add_target_flags(target, FlagStructure, ~0u, ~0u);
    type_targets.append(key, target);
    return target;
}

// -- External functions -----------------------------------------------------------------------------------------------

uint32_t Compiler::parse_external_function(const char *&s, const String &name, Function &func, Scope *scope) {
    const uint32_t first = *external_functions.get(name);
    uint32_t places = 0;
    if(external_rows[first].family == FamilyModf || external_rows[first].family == FamilyFrexp) places = 2;
    if(external_rows[first].family == FamilyInterpolate) places = 1;
    ArrayStack<Operand, 4> args;
    parse_arguments(s, args, places, func, scope);
    const ExternalFunction *row = nullptr;
    for(const ExternalFunction &external : external_rows) {
        if(name == external.name && get_num_rules(external.args) == args.size()) row = &external;
    }
    if(row == nullptr) Parser::error("unknown external function %s with %u arguments\n", name.get(), args.size());
    return add_external_function(*row, args, func);
}

uint32_t Compiler::add_external_function(const ExternalFunction &row, const Operands &args, Function &func) {
    auto invalid = [&]() { Parser::error("invalid arguments for %s\n", row.name); };
    if(row.family == FamilyMatrix) {
        const uint32_t value = args[0].target;
        const Flags flags = get_target_flags(value);
        if((flags & FlagMatrix) == 0 || get_type_width(flags) != get_type_columns(flags) || (flags & FlagArray))
            invalid();
        const bool scalar = !strcmp(row.result, "s");
        const uint32_t type = scalar ? add_type(get_vector_flags(flags, 1)) : get_type(value);
        return add_external(func, SpvExt(row.f), type, {value});
    }
    if(row.family == FamilyMix && (get_target_flags(args[2].target) & FlagBool)) {
        // A choice by component.
        Match match;
        match.rules = "g,g";
        match.formats[0] = match.formats[1] = match.formats[2] = match.formats[3] = true;
        ArrayStack<Operand, 4> values;
        values.append(args[0]);
        values.append(args[1]);
        const uint32_t width = get_type_width(get_target_flags(args[2].target));
        match.width = width;
        if(!match_arguments(match, values, func)) invalid();
        return add_select(args[2].target, match.values[1], match.values[0], func);
    }
    Match match;
    match.rules = row.args;
    match.formats[0] = row.f;
    match.formats[1] = row.s;
    match.formats[2] = row.u;
    if(row.family == FamilyInterpolate) {
        const Operand &place = args[0];
        if(execution_model != SpvExecutionModelFragment) Parser::error("instruction is not valid\n");
        if(place.pointer == ~0u || place.storage != SpvStorageClassInput) invalid();
        if(!match_arguments(match, args, func)) invalid();
        add_capability(SpvCapabilityInterpolationFunction);
        ArrayStack<uint32_t, 4> words;
        words.append(get_pointer(place, func));
        for(uint32_t i = 1; i < args.size(); i++) words.append(uint32_t(match.values[i]));
        if((get_target_flags(place.type) & FlagFloat) == 0 || (get_target_flags(place.type) & FlagMatrix)) invalid();
        const uint32_t value = add_external(func, SpvExt(row.f), place.type, words);
        return place.num_swizzle ? add_shuffle(value, place.swizzle, place.num_swizzle, func) : value;
    }
    if(!match_arguments(match, args, func)) invalid();
    const uint32_t type = get_result_type(row.result, match);
    if(row.family == FamilyModf || row.family == FamilyFrexp) {
        // The second result goes to a local first: what the argument names may be no variable of that type.
        if(!args[1].place()) invalid();
        const Flags second = (row.family == FamilyModf) ? match.format : (FlagSInt | Flag32Bit);
        const uint32_t second_type = add_type(get_vector_flags(second, match.width));
        const uint32_t pointer = add_temporary(second_type, func).target;
        const uint32_t value = add_external(func, SpvExt(row.f), type, {match.values[0], pointer});
        store(args[1], add_load(func, second_type, pointer), func);
        return value;
    }
    const uint32_t instruction = (match.format & FlagFloat) ? row.f : (match.format & FlagUInt) ? row.u : row.s;
    return add_external(func, SpvExt(instruction ? instruction : row.f), type, match.values);
}

// -- Internal functions -----------------------------------------------------------------------------------------------

uint32_t Compiler::parse_internal_function(const char *&s, const String &name, Function &func, Scope *scope) {
    const uint32_t *index = internal_functions.get(name);
    if(index == nullptr) Parser::error("unknown internal function %s()\n", name.get());
    Call call(internal_rows[*index], func, scope);
    // Arguments that are places, or may be.
    uint32_t places = 0;
    switch(call.row.family) {
    case FamilyAtomic:
    case FamilyImageAtomic:
    case FamilyRayQuery:
    case FamilyRayQueryInit: places = 1; break;
    case FamilyCoopLoad: places = 3; break;
    case FamilyCoopStore: places = 2; break;
    case FamilyCarry: places = 4; break;
    case FamilyMulExtended: places = 12; break;
    case FamilyImageLoad:
    case FamilyTexture: places = (call.row.param & TextureSparse) ? ~1u : 0; break;
    default: break;
    }
    parse_arguments(s, call.args, places, func, scope);
    return add_internal_function(call);
}

SpvOp Compiler::get_call_opcode(const Call &call, Flags flags) const {
    if(flags & FlagFloat) return call.row.f;
    if(flags & FlagSInt) return call.row.s;
    if(flags & FlagUInt) return call.row.u;
    return call.row.b;
}

uint32_t Compiler::add_internal_function(Call &call) {
    switch(call.row.family) {
    case FamilyOp: return add_plain_call(call);
    case FamilyOuterProduct:
    case FamilyTranspose:
    case FamilyMatrixMul: return add_matrix_call(call);
    case FamilyDot:
    case FamilyReduce:
    case FamilyCarry:
    case FamilyMulExtended:
    case FamilyDerivative: return add_number_call(call);
    case FamilyTexture: return add_texture_call(call);
    case FamilyImageLoad:
    case FamilyImageStore: return add_image_call(call);
    case FamilyImageSize:
    case FamilyImageSamples:
    case FamilyTextureSize:
    case FamilyTextureLevels:
    case FamilyTextureQuery: return add_query_image_call(call);
    case FamilyImageAtomic: return add_image_atomic_call(call);
    case FamilySampler: return add_sampler_call(call);
    case FamilyBarrier: return add_barrier_call(call);
    case FamilyAtomic: return add_atomic_call(call);
    case FamilySubgroup:
    case FamilySubgroupCount:
    case FamilySubgroupMath:
    case FamilySubgroupSwap: return add_subgroup_call(call);
    case FamilyStream:
    case FamilyRayEnd:
    case FamilyMeshTasks:
    case FamilyMeshOutputs: return add_stage_call(call);
    case FamilyTraceRay:
    case FamilyReport:
    case FamilyCallable:
    case FamilyAcceleration: return add_ray_call(call);
    case FamilyRayQueryInit:
    case FamilyRayQuery: return add_query_call(call);
    case FamilyCoopLoad:
    case FamilyCoopStore:
    case FamilyCoopMulAdd: return add_coop_call(call);
    case FamilyNonUniform: return add_nonuniform_call(call);
    default: break;
    }
    Parser::error("unknown internal function %s()\n", call.name());
}

// Values by the rules of the row; raises if they do not fit.
void Compiler::match_call(Call &call, Match &match) {
    const InternalFunction &row = call.row;
    if(call.args.size() != get_num_rules(row.args)) call.unknown();
    match.rules = row.args;
    match.formats[0] = (row.f != SpvOpNop);
    match.formats[1] = (row.s != SpvOpNop);
    match.formats[2] = (row.u != SpvOpNop);
    match.formats[3] = (row.b != SpvOpNop);
    if(!match_arguments(match, call.args, call.func)) call.invalid();
}

uint32_t Compiler::add_plain_call(Call &call) {
    Match match;
    match_call(call, match);
    const SpvOp opcode = get_call_opcode(call, match.format);
    if(opcode == SpvOpNop) call.invalid();
    if(call.row.param) add_capability(call.row.param);
    const uint32_t type = get_result_type(call.row.result, match);
    const Flags flags = get_target_flags(type);
    // What is known already is folded.
    if(match.values.size() == 1 && get_constant(match.values[0]) && opcode == SpvOpBitcast)
        return add_unary_opcode(call.func, opcode, flags, match.values[0]);
    if(match.values.size() == 2 && get_constant(match.values[0]) && get_constant(match.values[1]))
        return add_binary_opcode(call.func, opcode, flags, match.values[0], match.values[1]);
    return add_value(call.func, opcode, type, match.values);
}

uint32_t Compiler::add_matrix_call(Call &call) {
    const uint32_t count = (call.row.family == FamilyTranspose) ? 1 : 2;
    call.check_count(count);
    const uint32_t value_0 = call.args[0].target;
    const uint32_t value_1 = call.args[count - 1].target;
    const Flags flags_0 = get_target_flags(value_0);
    const Flags flags_1 = get_target_flags(value_1);
    if(((flags_0 | flags_1) & (FlagArray | FlagStructure)) || (flags_0 & flags_1 & FlagFloat) == 0) call.invalid();
    const uint32_t width_0 = get_type_width(flags_0);
    if(call.row.family == FamilyTranspose) {
        if((flags_0 & FlagMatrix) == 0) call.invalid();
        const uint32_t type = add_type(get_matrix_flags(flags_0, get_type_columns(flags_0), width_0));
        return add_value(call.func, SpvOpTranspose, type, {value_0});
    }
    if(call.row.family == FamilyMatrixMul) {
        if((flags_0 & FlagMatrix) == 0 || get_type(value_0) != get_type(value_1)) call.invalid();
        return add_columns(CodeMul, value_0, value_1, call.func);
    }
    const uint32_t width_1 = get_type_width(flags_1);
    if(((flags_0 | flags_1) & FlagMatrix) || width_0 == 1 || width_1 == 1) call.invalid();
    const Flags format = get_common_flags(flags_0, flags_1);
    const uint32_t column = add_cast_opcodes(call.func, format, value_0);
    const uint32_t row = add_cast_opcodes(call.func, format, value_1);
    return add_value(call.func, SpvOpOuterProduct, add_type(get_matrix_flags(format, width_0, width_1)), {column, row});
}

uint32_t Compiler::add_number_call(Call &call) {
    Function &func = call.func;
    Match match;
    match_call(call, match);
    const SpvOp opcode = get_call_opcode(call, match.format);
    const uint32_t type = call.row.result[0] ? get_result_type(call.row.result, match) : ~0u;
    const uint32_t common = add_type(get_vector_flags(match.format, match.width));
    if(opcode == SpvOpNop) call.invalid();
    switch(call.row.family) {
    case FamilyDot:
        if(match.width > 1) return add_value(func, SpvOpDot, type, match.values);
        return add_binary_opcode(func, SpvOpFMul, get_target_flags(type), match.values[0], match.values[1]);
    case FamilyReduce: return (match.width > 1) ? add_value(func, opcode, type, match.values) : match.values[0];
    case FamilyDerivative:
        if(execution_model != SpvExecutionModelFragment) Parser::error("instruction is not valid\n");
        if(call.row.param) add_capability(call.row.param);
        // Only 32 bits are differentiated.
        if(match.format & Flag16Bit) {
            const uint32_t wide = add_cast_opcodes(func, FlagFloat | Flag32Bit, match.values[0]);
            const uint32_t value = add_value(func, opcode, get_type(wide), {wide});
            return add_cast_opcodes(func, match.format, value);
        }
        return add_value(func, opcode, type, match.values);
    default: break;
    }
    // Two results in a pair: the sum and the carry, or the two halves of the product.
    const bool carry = (call.row.family == FamilyCarry);
    const uint32_t pair = add_value(func, opcode, get_pair_type(common, common), {match.values[0], match.values[1]});
    const uint32_t low = add_value(func, SpvOpCompositeExtract, common, {pair, 0});
    const uint32_t high = add_value(func, SpvOpCompositeExtract, common, {pair, 1});
    if(!call.args[2].place() || (!carry && !call.args[3].place())) call.invalid();
    store(call.args[2], high, func);
    if(carry) return low;
    store(call.args[3], low, func);
    return ~0u;
}

} // namespace Kolm
