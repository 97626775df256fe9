// References: views of a structure over a buffer of words.
//
//     Name &r = Name(buffer, index);
//
// `r` stands for a structure whose bytes begin at the element `index` of an array of scalars in a storage buffer. A read
// of `r` or of a part of it loads word by word and puts the value together, a write takes it apart again. Offsets are
// those of the structure's own layout, in bytes, and are divided by the size of the array's elements.

#include "KolmCompiler.h"
#include "KolmCompilerText.h"

namespace Kolm {

// reference: name "=" type "(" buffer { "[" expression "]" | "." name } "," expression ")" { "," ... } ";"
void Compiler::parse_reference(const char *&s, const String &type, Function &func, Scope *scope) {
    const uint32_t type_target = add_type(type, ~0u, scope);
    const String type_name = get_source_name(type);
    if((get_target_flags(type_target) & FlagStructure) == 0)
        Parser::error("invalid reference type \"%s\"\n", type_name.get());
    do {
        Text::accept(s, '&');
        StringStack<64> name;
        if(!Text::read_name(s, name)) Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
        if(!Text::accept(s, '=')) Parser::error("references must be initialized\n");
        StringStack<64> constructor;
        Text::read_name(s, constructor);
        if(constructor != type_name) Parser::error("invalid reference constructor \"%s\"\n", constructor.get());
        if(!Text::accept(s, '(')) Parser::error("expecting '%c'\n", '(');
        StringStack<64> buffer;
        Text::read_name(s, buffer);
        Operand operand;
        if(!parse_variable(buffer, operand, scope)) Parser::error("unknown variable \"%s\"\n", buffer.get());
        if(operand.storage != SpvStorageClassStorageBuffer) Parser::error("invalid buffer \"%s\"\n", buffer.get());
        for(;;) {
            Text::skip_blank(s);
            if(*s == '[')
                parse_index(s, operand, func, scope);
            else if(*s == '.')
                parse_member(s, operand, func);
            else
                break;
        }
        if(!Text::accept(s, ',')) Parser::error("expecting ',' after \"%s\"\n", buffer.get());
        const uint32_t element = get_target_type(operand.type);
        const Flags flags = get_target_flags(operand.type);
        if(!operand.place() || operand.num_swizzle || (flags & FlagArray) == 0)
            Parser::error("invalid buffer \"%s\"\n", buffer.get());
        const Flags element_flags = get_target_flags(element);
        const bool scalar = (element_flags & (FlagFloat | FlagInteger)) && get_type_components(element_flags) == 1 &&
                            (element_flags & (FlagArray | FlagStructure)) == 0;
        if(!scalar) Parser::error("unknown buffer stride %u\n", get_type_size(element_flags));

        // What the indices are now is what they stay.
        const uint32_t u32 = add_type(FlagUInt | Flag32Bit | FlagScalar);
        auto fix = [&](uint32_t value) {
            if(get_constant(value)) return value;
            value = add_cast_opcodes(func, FlagUInt | Flag32Bit, value);
            return add_value(func, SpvOpCopyObject, u32, {value});
        };
        for(uint32_t i = 0; i < operand.num_indices; i++) operand.indices[i] = fix(operand.indices[i]);
        const uint32_t offset = fix(parse_value(s, u32, func, scope));
        if(!Text::accept(s, ')')) Parser::error("expecting '%c'\n", ')');

        Reference &reference = add_reference(name, scope);
        reference.structure = get_target_structure(type_target).index;
        reference.variable = operand.variable;
        reference.offset = offset;
        for(uint32_t i = 0; i < operand.num_indices; i++) reference.indices.append(operand.indices[i]);
        reference_operands.resize(references.size(), Operand(), true);
        reference_operands[reference.index] = operand;
    } while(Text::accept(s, ','));
    if(!Text::accept(s, ';')) Parser::error("expecting '%c'\n", ';');
}

Compiler::Operand Compiler::get_reference_operand(uint32_t index) {
    if(index >= references.size() || index >= reference_operands.size()) Parser::error("unknown reference %u\n", index);
    Reference &reference = references[index];
    reference.usage = true;
    const Operand &buffer = reference_operands[index];
    Operand operand;
    operand.type = structures[reference.structure].target;
    operand.reference = index;
    operand.variable = buffer.variable;
    operand.readonly = buffer.readonly;
    operand.writeonly = buffer.writeonly;
    operand.nonuniform = buffer.nonuniform;
    return operand;
}

uint32_t Compiler::get_reference_element(const Operand &operand) {
    return get_target_type(reference_operands[operand.reference].type);
}

uint32_t Compiler::get_reference_offset(Variable &member) {
    const uint32_t *offset = member.decorations.get(SpvDecorationOffset);
    if(offset == nullptr) Parser::error("unknown \"%s\" member offset\n", member.name.get());
    return *offset;
}

uint32_t Compiler::get_reference_stride(uint32_t type) {
    const Flags flags = get_target_flags(type);
    if(flags & FlagArray) {
        for(uint32_t i = 0; i < array_types.size(); i++) {
            if(array_types[i] == type && array_strides[i] != ~0u) return array_strides[i];
        }
        return get_type_size(get_target_flags(get_target_type(type)));
    }
    if(flags & FlagMatrix) return get_type_alignment(get_vector_flags(flags, get_type_width(flags)));
    return get_type_size(get_vector_flags(flags, 1));
}

void Compiler::add_reference_index(Operand &operand, uint32_t index, uint32_t type, Function &func) {
    const uint32_t stride = get_reference_stride(operand.type);
    operand.type = type;
    operand.whole = false;
    if(const Constant *constant = get_constant(index)) {
        operand.offset += uint32_t(constant->getu64()) * stride;
        return;
    }
    const uint32_t size = get_type_size(get_target_flags(get_reference_element(operand)));
    if(stride % size) Parser::error("unknown buffer stride %u\n", size);
    const Flags u32 = FlagUInt | Flag32Bit | FlagScalar;
    index = add_cast_opcodes(func, u32, index);
    index = add_binary_opcode(func, SpvOpIMul, u32, index, add_constantu32(stride / size));
    operand.element =
        (operand.element == ~0u) ? index : add_binary_opcode(func, SpvOpIAdd, u32, operand.element, index);
}

// Pointer to the word at an offset in bytes from the view's begin.
uint32_t Compiler::get_reference_pointer(const Operand &operand, uint32_t offset, Function &func) {
    const Reference &reference = references[operand.reference];
    const uint32_t element = get_reference_element(operand);
    const uint32_t size = get_type_size(get_target_flags(element));
    if(size != 2 && size != 4 && size != 8) Parser::error("unknown buffer stride %u\n", size);
    if(offset % size) Parser::error("can't address reference\n");
    const Flags u32 = FlagUInt | Flag32Bit | FlagScalar;
    uint32_t index = reference.offset;
    if(operand.element != ~0u) index = add_binary_opcode(func, SpvOpIAdd, u32, index, operand.element);
    index = add_binary_opcode(func, SpvOpIAdd, u32, index, add_constantu32(offset / size));
    Operand word = reference_operands[operand.reference];
    add_index(word, index, element, func);
    return get_pointer(word, func);
}

uint32_t Compiler::load_reference(const Operand &operand, Function &func) {
    if(get_type_scalars(operand.type) > MaxViewed) Parser::error("can't address reference\n");
    return compose_reference(operand.type, operand, operand.offset, func);
}

void Compiler::store_reference(const Operand &operand, uint32_t value, Function &func) {
    if(get_type_scalars(operand.type) > MaxViewed) Parser::error("can't address reference\n");
    decompose_reference(operand.type, value, operand, operand.offset, func);
}

uint32_t Compiler::compose_reference(uint32_t type, const Operand &operand, uint32_t offset, Function &func) {
    Depth depth(*this);
    const Flags flags = get_target_flags(type);
    const bool structure = (flags & (FlagStructure | FlagArray)) == FlagStructure;
    if(structure || (flags & (FlagArray | FlagMatrix | FlagVector))) {
        uint32_t count = get_target_length(type);
        if((flags & FlagArray) == 0)
            count = structure              ? get_target_structure(type).variables.size()
                    : (flags & FlagMatrix) ? get_type_columns(flags)
                                           : get_type_width(flags);
        Array<uint32_t> values;
        for(uint32_t i = 0; i < count; i++) {
            if(structure) {
                Variable &member = variables[get_target_structure(type).variables[i]];
                values.append(
                    compose_reference(add_variable_type(member), operand, offset + get_reference_offset(member), func));
            } else {
                const uint32_t part = get_target_type(type);
                values.append(compose_reference(part, operand, offset + i * get_reference_stride(type), func));
            }
        }
        return add_value(func, SpvOpCompositeConstruct, type, values);
    }
    const uint32_t element = get_reference_element(operand);
    const Flags element_flags = get_target_flags(element);
    const uint32_t size = get_type_size(flags);
    const uint32_t element_size = get_type_size(element_flags);
    if((flags & (FlagFloat | FlagInteger)) == 0 || (size != element_size && size != element_size * 2))
        Parser::error("can't get %s from %s\n", get_target_type_name(type).get(), get_target_type_name(element).get());
    uint32_t value = add_load(func, element, get_reference_pointer(operand, offset, func));
    if(size != element_size) {
        const uint32_t high = add_load(func, element, get_reference_pointer(operand, offset + element_size, func));
        value = add_value(func, SpvOpCompositeConstruct, add_type(get_vector_flags(element_flags, 2)), {value, high});
    }
    return (get_type(value) == type) ? value : add_value(func, SpvOpBitcast, type, {value});
}

void Compiler::decompose_reference(uint32_t type, uint32_t value, const Operand &operand, uint32_t offset,
                                   Function &func) {
    Depth depth(*this);
    const Flags flags = get_target_flags(type);
    const bool structure = (flags & (FlagStructure | FlagArray)) == FlagStructure;
    if(structure || (flags & (FlagArray | FlagMatrix | FlagVector))) {
        uint32_t count = get_target_length(type);
        if((flags & FlagArray) == 0)
            count = structure              ? get_target_structure(type).variables.size()
                    : (flags & FlagMatrix) ? get_type_columns(flags)
                                           : get_type_width(flags);
        for(uint32_t i = 0; i < count; i++) {
            const uint32_t part = add_extract_opcode(func, value, i);
            if(structure) {
                Variable &member = variables[get_target_structure(type).variables[i]];
                decompose_reference(add_variable_type(member), part, operand, offset + get_reference_offset(member),
                                    func);
            } else {
                decompose_reference(get_target_type(type), part, operand, offset + i * get_reference_stride(type),
                                    func);
            }
        }
        return;
    }
    const uint32_t element = get_reference_element(operand);
    const Flags element_flags = get_target_flags(element);
    const uint32_t size = get_type_size(flags);
    const uint32_t element_size = get_type_size(element_flags);
    if((flags & (FlagFloat | FlagInteger)) == 0 || (size != element_size && size != element_size * 2))
        Parser::error("can't get %s from %s\n", get_target_type_name(type).get(), get_target_type_name(element).get());
    if(size == element_size) {
        if(type != element) value = add_value(func, SpvOpBitcast, element, {value});
        add_store(func, get_reference_pointer(operand, offset, func), value);
        return;
    }
    value = add_value(func, SpvOpBitcast, add_type(get_vector_flags(element_flags, 2)), {value});
    for(uint32_t i = 0; i < 2; i++) {
        const uint32_t word = add_value(func, SpvOpCompositeExtract, element, {value, i});
        add_store(func, get_reference_pointer(operand, offset + i * element_size, func), word);
    }
}

} // namespace Kolm
