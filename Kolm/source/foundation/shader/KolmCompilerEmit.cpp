// Writing of instructions, and the conversions that many parsers share. Word layout is known here and in the module
// stage alone.

#include "KolmCompiler.h"

namespace Kolm {

namespace {

// One instruction holds 65535 words.
void check_size(uint64_t words) {
    if(words > 0xFFFF) Parser::error("too many operands\n");
}

// Packs a text with at least one zero byte behind it.
void append_text(Array<uint32_t> &words, const char *text) {
    const uint32_t length = uint32_t(strlen(text));
    const uint32_t count = (length + 4) / 4;
    const uint32_t start = words.size();
    words.resize(start + count, 0u, true);
    memcpy(words.get() + start, text, length);
}

} // namespace

// -- Global section ---------------------------------------------------------------------------------------------------

void Compiler::add_opcode(SpvOp opcode, Words words) {
    opcodes.append((uint32_t(words.size() + 1) << 16) | opcode);
    opcodes.append(words.begin(), uint32_t(words.size()));
}

void Compiler::add_opcode(SpvOp opcode, Words words, const Array<uint32_t> &array) {
    check_size(words.size() + array.size() + 1);
    opcodes.append((uint32_t(words.size() + array.size() + 1) << 16) | opcode);
    opcodes.append(words.begin(), uint32_t(words.size()));
    opcodes.append(array.get(), array.size());
}

void Compiler::add_opcode(SpvOp opcode, Words words, const char *text, const Array<uint32_t> &tail) {
    const uint64_t size = words.size() + (strlen(text) + 4) / 4 + tail.size() + 1;
    check_size(size);
    opcodes.append((uint32_t(size) << 16) | opcode);
    opcodes.append(words.begin(), uint32_t(words.size()));
    append_text(opcodes, text);
    opcodes.append(tail.get(), tail.size());
}

void Compiler::add_opcode(SpvOp opcode, Words words, const char *text) {
    add_opcode(opcode, words, text, Array<uint32_t>());
}

// -- Function bodies --------------------------------------------------------------------------------------------------

bool Compiler::is_terminator(uint32_t opcode) {
    switch(opcode) {
    case SpvOpBranch:
    case SpvOpBranchConditional:
    case SpvOpSwitch:
    case SpvOpKill:
    case SpvOpReturn:
    case SpvOpReturnValue:
    case SpvOpUnreachable:
    case SpvOpIgnoreIntersectionKHR:
    case SpvOpTerminateRayKHR:
    case SpvOpEmitMeshTasksEXT: return true;
    default: return false;
    }
}

// Instructions of some stages only.
bool Compiler::is_valid_opcode(SpvOp opcode) const {
    const uint32_t model = execution_model;
    switch(opcode) {
    case SpvOpImageSampleImplicitLod:
    case SpvOpImageSampleDrefImplicitLod:
    case SpvOpImageSampleProjImplicitLod:
    case SpvOpImageSampleProjDrefImplicitLod:
    case SpvOpImageSparseSampleImplicitLod:
    case SpvOpImageSparseSampleDrefImplicitLod:
    case SpvOpImageQueryLod:
    case SpvOpDPdx:
    case SpvOpDPdy:
    case SpvOpFwidth:
    case SpvOpDPdxFine:
    case SpvOpDPdyFine:
    case SpvOpFwidthFine:
    case SpvOpDPdxCoarse:
    case SpvOpDPdyCoarse:
    case SpvOpFwidthCoarse:
    case SpvOpKill: return model == SpvExecutionModelFragment;
    case SpvOpEmitVertex:
    case SpvOpEndPrimitive:
    case SpvOpEmitStreamVertex:
    case SpvOpEndStreamPrimitive: return model == SpvExecutionModelGeometry;
    case SpvOpControlBarrier:
        return model == SpvExecutionModelTessellationControl || model == SpvExecutionModelGLCompute ||
               model == SpvExecutionModelTaskEXT || model == SpvExecutionModelMeshEXT;
    case SpvOpTraceRayKHR:
        return model == SpvExecutionModelRayGenerationKHR || model == SpvExecutionModelClosestHitKHR ||
               model == SpvExecutionModelMissKHR;
    case SpvOpExecuteCallableKHR:
        return model == SpvExecutionModelRayGenerationKHR || model == SpvExecutionModelClosestHitKHR ||
               model == SpvExecutionModelMissKHR || model == SpvExecutionModelCallableKHR;
    case SpvOpIgnoreIntersectionKHR:
    case SpvOpTerminateRayKHR: return model == SpvExecutionModelAnyHitKHR;
    case SpvOpReportIntersectionKHR: return model == SpvExecutionModelIntersectionKHR;
    case SpvOpEmitMeshTasksEXT: return model == SpvExecutionModelTaskEXT;
    case SpvOpSetMeshOutputsEXT: return model == SpvExecutionModelMeshEXT;
    default: return true;
    }
}

void Compiler::begin_opcode(Function &func, SpvOp opcode, uint64_t size) {
    check_size(size);
    if(!is_valid_opcode(opcode)) Parser::error("instruction is not valid\n");
    if(opcode != SpvOpLabel && is_terminator(func.opcode)) {
        // what stands behind a terminator is dead, but has to be a block; its id comes with the module
        func.opcodes.append((2u << 16) | SpvOpLabel);
        func.labels.append(func.opcodes.size());
        func.opcodes.append(~0u);
    }
    func.opcodes.append((uint32_t(size) << 16) | opcode);
    func.opcode = opcode;
}

void Compiler::add_opcode(Function &func, SpvOp opcode, Words words) {
    begin_opcode(func, opcode, words.size() + 1);
    func.opcodes.append(words.begin(), uint32_t(words.size()));
}

void Compiler::add_opcode(Function &func, SpvOp opcode, Words words, const Array<uint32_t> &array) {
    begin_opcode(func, opcode, words.size() + array.size() + 1);
    func.opcodes.append(words.begin(), uint32_t(words.size()));
    func.opcodes.append(array.get(), array.size());
}

uint32_t Compiler::add_value(Function &func, SpvOp opcode, uint32_t type, Words operands) {
    const uint32_t target = add_target(type);
    begin_opcode(func, opcode, operands.size() + 3);
    func.opcodes.append(type);
    func.opcodes.append(target);
    func.opcodes.append(operands.begin(), uint32_t(operands.size()));
    return target;
}

uint32_t Compiler::add_value(Function &func, SpvOp opcode, uint32_t type, Words operands,
                             const Array<uint32_t> &array) {
    const uint32_t target = add_target(type);
    begin_opcode(func, opcode, operands.size() + array.size() + 3);
    func.opcodes.append(type);
    func.opcodes.append(target);
    func.opcodes.append(operands.begin(), uint32_t(operands.size()));
    func.opcodes.append(array.get(), array.size());
    return target;
}

uint32_t Compiler::add_external(Function &func, SpvExt instruction, uint32_t type, Words operands) {
    ArrayStack<uint32_t, 16> array;
    array.append(operands.begin(), uint32_t(operands.size()));
    return add_external(func, instruction, type, array);
}

uint32_t Compiler::add_external(Function &func, SpvExt instruction, uint32_t type, const Array<uint32_t> &array) {
    if(external_target == ~0u) external_target = num_targets++;
    return add_value(func, SpvOpExtInst, type, {external_target, instruction}, array);
}

uint32_t Compiler::add_label(Function &func) {
    const uint32_t target = num_targets++;
    add_opcode(func, SpvOpLabel, {target});
    return target;
}

void Compiler::add_branch(Function &func, uint32_t target) { add_opcode(func, SpvOpBranch, {target}); }

void Compiler::patch_opcodes(Function &func, const Array<uint32_t> &offsets, uint32_t target) {
    for(uint32_t i = 0; i < offsets.size(); i++) func.opcodes[offsets[i]] = target;
}

uint32_t Compiler::add_load(Function &func, uint32_t type, uint32_t pointer) {
    return add_value(func, SpvOpLoad, type, {pointer});
}

void Compiler::add_store(Function &func, uint32_t pointer, uint32_t value) {
    add_opcode(func, SpvOpStore, {pointer, value});
}

// -- Operators --------------------------------------------------------------------------------------------------------

uint32_t Compiler::add_unary_opcode(Function &func, SpvOp opcode, Flags flags, uint32_t value) {
    const uint32_t type = add_type(flags);
    const uint32_t target = add_value(func, opcode, type, {value});
    if(const Constant *constant = get_constant(value)) {
        const Constant folded = constant->unary(opcode, flags);
        // kept: the instruction stays, its result is unused
        if(folded) return add_constant(type, folded);
    }
    return target;
}

uint32_t Compiler::add_binary_opcode(Function &func, SpvOp opcode, Flags flags, uint32_t value_0, uint32_t value_1) {
    const uint32_t type = add_type(flags);
    const Constant *constant_0 = get_constant(value_0);
    const Constant *constant_1 = get_constant(value_1);
    if(constant_0 && constant_1) {
        const Constant folded = constant_0->binary(opcode, *constant_1, flags);
        const uint32_t target = add_value(func, opcode, type, {value_0, value_1});
        // kept: the instruction stays, its result is unused
        return folded ? add_constant(type, folded) : target;
    }
    if(constant_0 && constant_0->uniform()) {
        const Constant redundant = get_redundant_value(opcode, *constant_0, flags);
        if(redundant) return add_constant(type, redundant);
        if(is_left_redundant(opcode, *constant_0) && get_type(value_1) == type) return value_1;
    }
    if(constant_1 && constant_1->uniform()) {
        const Constant redundant = get_redundant_value(opcode, *constant_1, flags);
        if(redundant) return add_constant(type, redundant);
        if(is_right_redundant(opcode, *constant_1) && get_type(value_0) == type) return value_0;
    }
    return add_value(func, opcode, type, {value_0, value_1});
}

uint32_t Compiler::add_extract_opcode(Function &func, uint32_t value, uint32_t index) {
    const uint32_t value_type = get_type(value);
    const Flags flags = get_target_flags(value_type);
    uint32_t type = get_target_type(value_type);
    if((flags & (FlagStructure | FlagArray)) == FlagStructure) {
        type = add_variable_type(variables[get_structure(value_type).variables[index]]);
    }
    const Constant *constant = get_constant(value);
    if(constant && (flags & (FlagStructure | FlagArray)) == 0) {
        const uint32_t size = uint32_t(get_type_scalars(type));
        Constant part(get_target_flags(type));
        for(uint32_t i = 0; i < size; i++) part.values.append(constant->values[index * size + i]);
        return add_constant(type, part);
    }
    return add_value(func, SpvOpCompositeExtract, type, {value, index});
}

uint32_t Compiler::add_expand_opcode(Function &func, uint32_t value, uint32_t width) {
    if(width <= 1) return value;
    const Flags flags = get_vector_flags(get_target_flags(value), width);
    const uint32_t type = add_type(flags);
    if(const Constant *constant = get_constant(value)) {
        Constant vector(flags);
        for(uint32_t i = 0; i < width; i++) vector.values.append(constant->values[0]);
        return add_constant(type, vector);
    }
    ArrayStack<uint32_t, 16> values(width, value);
    return add_value(func, SpvOpCompositeConstruct, type, values);
}

uint32_t Compiler::add_cast_opcodes(Function &func, Flags to, uint32_t value) {
    const Flags from = get_target_flags(value);
    to &= FlagFormat | FlagBits;
    if(to & FlagBool) to = FlagBool | Flag32Bit;
    if((from & (FlagFormat | FlagBits)) == to) return value;
    const uint32_t width = get_type_width(from);

    if(from & FlagMatrix) {
        // by columns
        const uint32_t columns = get_type_columns(from);
        ArrayStack<uint32_t, 4> values;
        for(uint32_t i = 0; i < columns; i++) {
            const uint32_t column = add_extract_opcode(func, value, i);
            values.append(add_cast_opcodes(func, to, column));
        }
        return add_value(func, SpvOpCompositeConstruct, add_type(get_matrix_flags(to, width, columns)), values);
    }

    const Flags flags = get_vector_flags(to, width);
    if(to & FlagBool) {
        const uint32_t zero = add_zero(add_type(get_vector_flags(from, width)));
        const SpvOp opcode = (from & FlagFloat) ? SpvOpFUnordNotEqual : SpvOpINotEqual;
        return add_binary_opcode(func, opcode, flags, value, zero);
    }
    if(from & FlagBool) {
        const uint32_t type = add_type(flags);
        const uint32_t zero = add_zero(type);
        const uint32_t one = add_constantf64(flags, 1.0);
        if(const Constant *constant = get_constant(value)) return add_constant(type, constant->convert(to));
        return add_value(func, SpvOpSelect, type, {value, one, zero});
    }

    // Between floats and integers one instruction does both steps. Between integers the sign changes first, then the
    // width, by the rules of the target's sign.
    if((from & FlagFloat) && (to & FlagInteger)) {
        const Flags step = get_vector_flags(to, width);
        return add_unary_opcode(func, (to & FlagUInt) ? SpvOpConvertFToU : SpvOpConvertFToS, step, value);
    }
    if((from & FlagInteger) && (to & FlagFloat)) {
        return add_unary_opcode(func, (from & FlagUInt) ? SpvOpConvertUToF : SpvOpConvertSToF, flags, value);
    }
    if((from & FlagFormat) != (to & FlagFormat)) {
        const Flags step = get_vector_flags((to & FlagFormat) | (from & FlagBits), width);
        value = add_unary_opcode(func, SpvOpBitcast, step, value);
    }
    if((from & FlagBits) != (to & FlagBits)) {
        const SpvOp opcode = (to & FlagFloat) ? SpvOpFConvert : (to & FlagUInt) ? SpvOpUConvert : SpvOpSConvert;
        value = add_unary_opcode(func, opcode, flags, value);
    }
    return value;
}

uint32_t Compiler::add_convert_opcodes(Function &func, uint32_t type, uint32_t value) {
    const uint32_t from_type = get_type(value);
    if(from_type == type) return value;
    const Flags from = get_target_flags(from_type);
    const Flags to = get_target_flags(type);
    constexpr Flags shape = FlagVector | FlagMatrix;
    constexpr Flags other = ~(FlagFormat | FlagBits | shape | FlagScalar | FlagComposite);
    if((from & other) == 0 && (to & other) == 0) {
        if((from & shape) != (to & shape) || (to & FlagFormat) == 0 || (from & FlagFormat) == 0) return ~0u;
        return add_cast_opcodes(func, to, value);
    }
    if(!is_same_type(from_type, type)) return ~0u;

    // the same but for the layout in memory: taken apart and put together again
    ArrayStack<uint32_t, 16> values;
    if(to & FlagArray) {
        const uint32_t length = get_target_length(type);
        const uint32_t element = get_target_type(type);
        if(length == 0 || length == ~0u || length > 4096) return ~0u;
        for(uint32_t i = 0; i < length; i++) {
            const uint32_t part = add_value(func, SpvOpCompositeExtract, get_target_type(from_type), {value, i});
            values.append(add_convert_opcodes(func, element, part));
        }
    } else {
        Structure &from_structure = get_structure(from_type);
        Structure &to_structure = get_structure(type);
        for(uint32_t i = 0; i < to_structure.variables.size(); i++) {
            const uint32_t from_member = add_variable_type(variables[from_structure.variables[i]]);
            const uint32_t to_member = add_variable_type(variables[to_structure.variables[i]]);
            const uint32_t part = add_value(func, SpvOpCompositeExtract, from_member, {value, i});
            values.append(add_convert_opcodes(func, to_member, part));
        }
    }
    for(uint32_t i = 0; i < values.size(); i++) {
        if(values[i] == ~0u) return ~0u;
    }
    return add_value(func, SpvOpCompositeConstruct, type, values);
}

} // namespace Kolm
