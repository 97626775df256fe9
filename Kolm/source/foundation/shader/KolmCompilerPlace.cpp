// Places in memory: variables, their members and elements, swizzles; how they are read and written.
//
// An Operand collects a chain of indices and a swizzle while its text is read. Memory is touched by load and store
// alone. Views of structures over buffers of words are places too; KolmCompilerReference.cpp reads and writes those.

#include "KolmCompiler.h"
#include "KolmCompilerText.h"

namespace Kolm {

Compiler::Operand Compiler::get_operand(uint32_t target) const {
    Operand operand;
    operand.target = target;
    operand.type = get_type(target);
    return operand;
}

bool Compiler::is_opaque_type(uint32_t type) const {
    constexpr uint64_t opaque = uint64_t(FlagImage | FlagImageBuffer | FlagImageTexture | FlagSampledImage |
                                         FlagSampler | FlagAcceleration | FlagRayQuery | FlagVoid | FlagTensor);
    return (uint64_t(get_target_flags(type)) & opaque) != 0;
}

bool Compiler::is_value_type(uint32_t type) const {
    if(!is_opaque_type(type)) return true;
    while(get_target_flags(type) & FlagArray) type = get_target_type(type);
    return tensors.get(type) != nullptr;
}

uint32_t Compiler::get_operand_type(const Operand &operand) {
    if(operand.num_swizzle == 0) return operand.type;
    return add_type(get_vector_flags(get_target_flags(operand.type), operand.num_swizzle));
}

// Large tables are looked up by value once.
uint32_t Compiler::get_named_target(Variable &variable, const Constant &constant) {
    const uint32_t index = variable.constant;
    if(index >= named_targets.size()) named_targets.resize(index + 1, ~0u, true);
    if(named_targets[index] == ~0u) named_targets[index] = add_constant(add_variable_type(variable), constant);
    return named_targets[index];
}

// -- Names ------------------------------------------------------------------------------------------------------------

bool Compiler::parse_variable(const String &name, Operand &operand, Scope *scope) {
    const uint32_t index = get_variable(name, scope);
    if(index == ~0u) return false;
    Variable &variable = variables[index];
    if(variable.decorations.has(SpvDecorationConstant)) {
        if(const Constant *constant = get_constant(variable)) {
            operand = get_operand(get_named_target(variable, *constant));
            return true;
        }
        operand.constant = true;
    }
    // A member of a nameless block is found by its own name and lies in the block's variable.
    Variable *root = &variable;
    if(variable.structure != ~0u) {
        const Structure &structure = structures[variable.structure];
        if(structure.variable == ~0u) Parser::error("unknown interface block\n");
        root = &variables[structure.variable];
        operand.indices[operand.num_indices++] = add_constanti32(int32_t(variable.member));
        operand.whole = false;
        const SmallMap *const lists[] = {&structure.decorations, &variable.decorations};
        for(const SmallMap *decorations : lists) {
            if(decorations->has(SpvDecorationNonWritable)) operand.readonly = true;
            if(decorations->has(SpvDecorationNonReadable)) operand.writeonly = true;
        }
        root->usage = true;
    }
    if(root->decorations.has(SpvDecorationNonWritable)) operand.readonly = true;
    if(root->decorations.has(SpvDecorationNonReadable)) operand.writeonly = true;
    operand.type = add_variable_type(variable);
    operand.root = add_variable_type(*root);
    operand.pointer = root->target;
    operand.storage = root->storage;
    operand.variable = root->index;
    switch(root->storage) {
    case SpvStorageClassUniformConstant:
    case SpvStorageClassInput:
    case SpvStorageClassUniform:
    case SpvStorageClassShaderRecordBufferKHR:
    case SpvStorageClassPushConstant: operand.constant = true; break;
    default: break;
    }
    return true;
}

// -- Postfix operators ------------------------------------------------------------------------------------------------

void Compiler::parse_postfix(const char *&s, Operand &operand, Function &func, Scope *scope) {
    for(;;) {
        Text::skip_blank(s);
        if(*s == '.') {
            parse_member(s, operand, func);
        } else if(*s == '[') {
            Depth depth(*this);
            parse_index(s, operand, func, scope);
        } else if(s[0] == '+' && s[1] == '+') {
            s += 2;
            add_increment(operand, CodePostIncrement, func);
        } else if(s[0] == '-' && s[1] == '-') {
            s += 2;
            add_increment(operand, CodePostDecrement, func);
        } else {
            return;
        }
    }
}

void Compiler::parse_member(const char *&s, Operand &operand, Function &func) {
    s++;
    StringStack<64> name;
    if(!Text::read_name(s, name)) Parser::error("invalid expression\n");
    const char *p = s;
    if(Text::accept(p, '(')) {
        if(name != "length" || !Text::accept(p, ')')) Parser::error("unexpected \"%s\"\n", name.get());
        s = p;
        parse_length(s, operand, func);
        return;
    }
    const Flags flags = get_target_flags(operand.type);
    if((flags & (FlagStructure | FlagArray)) != FlagStructure) {
        add_swizzle(name, operand, func);
        return;
    }
    Structure &structure = get_target_structure(operand.type);
    const uint32_t *index = structure.scope.variables.get(name);
    if(index == nullptr)
        Parser::error("can't find \"%s\" member in \"%s\" structure\n", name.get(),
                      get_source_name(structure.name).get());
    Variable &member = variables[*index];
    const uint32_t type = add_variable_type(member);
    if(operand.reference != ~0u) {
        operand.offset += get_reference_offset(member);
        operand.type = type;
    } else if(operand.pointer != ~0u) {
        if(member.decorations.has(SpvDecorationNonWritable)) operand.readonly = true;
        if(member.decorations.has(SpvDecorationNonReadable)) operand.writeonly = true;
        add_index(operand, add_constanti32(int32_t(member.member)), type, func);
    } else {
        operand = get_operand(add_part(load(operand, func), member.member, func));
    }
}

void Compiler::add_swizzle(const String &name, Operand &operand, Function &func) {
    const uint32_t type = get_operand_type(operand);
    const Flags flags = get_target_flags(type);
    const bool plain = (flags & FlagFormat) && (flags & (FlagArray | FlagMatrix)) == 0 && !is_opaque_type(type);
    auto fail = [&]() {
        Parser::error("invalid swizzle \"%s\" for %s\n", name.get(), get_target_type_name(type).get());
    };
    if(operand.target == ~0u && !operand.place()) Parser::error("invalid expression\n");
    const uint32_t width = get_type_width(flags);
    uint8_t components[4] = {};
    uint32_t valid = 0;
    while(valid < name.size() && get_swizzle(name[valid]) != ~0u) valid++;
    if(!plain || valid != name.size()) fail();
    if(name.size() > 4) Parser::error("invalid swizzle size %u\n", name.size());
    for(uint32_t i = 0; i < name.size(); i++) {
        components[i] = uint8_t(get_swizzle(name[i]));
        if(components[i] >= width) fail();
        if(operand.num_swizzle) components[i] = operand.swizzle[components[i]];
    }
    const uint32_t size = name.size();
    const bool vector = get_type_width(get_target_flags(operand.type)) > 1;
    // One component of a local vector is read from the whole of it, which an inlined function can do without memory.
    const bool local = (operand.storage == SpvStorageClassFunction && operand.num_indices == 0);
    if(operand.pointer != ~0u && vector && size == 1 && !local) {
        operand.num_swizzle = 0;
        add_index(operand, add_constanti32(components[0]), get_target_type(operand.type), func);
    } else if(operand.reference != ~0u && vector && size == 1) {
        operand.num_swizzle = 0;
        operand.offset += components[0] * get_reference_stride(operand.type);
        operand.type = get_target_type(operand.type);
    } else if(operand.place() && vector) {
        operand.num_swizzle = uint8_t(size);
        memcpy(operand.swizzle, components, size);
        operand.whole = false;
    } else if(!operand.place() || size > 1) {
        operand = get_operand(add_shuffle(load(operand, func), components, size, func));
    }
}

// length: the number of elements, of columns or of components
void Compiler::parse_length(const char *&, Operand &operand, Function &func) {
    const uint32_t type = get_operand_type(operand);
    const Flags flags = get_target_flags(type);
    const uint32_t length = get_target_length(type);
    if(flags & FlagArray) {
        if(length) {
            operand = get_operand(add_constanti32(int32_t(length)));
            return;
        }
        // A runtime array is the last member of its block: the block's pointer and the member's number are asked for.
        if(operand.pointer == ~0u || operand.num_indices == 0) Parser::error("can't address reference\n");
        Operand block = operand;
        const Constant *member = get_constant(operand.indices[operand.num_indices - 1]);
        block.num_indices--;
        if(member == nullptr) Parser::error("invalid expression\n");
        block.type = block.root;
        for(uint32_t i = 0; i < block.num_indices; i++) block.type = get_target_type(block.type);
        const uint32_t pointer = get_pointer(block, func);
        const uint32_t value = add_value(func, SpvOpArrayLength, add_type(FlagUInt | Flag32Bit | FlagScalar),
                                         {pointer, uint32_t(member->getu64())});
        operand = get_operand(add_cast_opcodes(func, FlagSInt | Flag32Bit, value));
        return;
    }
    if(tensors.get(type)) {
        const uint32_t value =
            add_value(func, SpvOpCooperativeMatrixLengthKHR, add_type(FlagUInt | Flag32Bit | FlagScalar), {type});
        operand = get_operand(add_cast_opcodes(func, FlagSInt | Flag32Bit, value));
        return;
    }
    if((flags & (FlagVector | FlagMatrix)) == 0 || (flags & FlagStructure) || is_opaque_type(type))
        Parser::error("invalid operator %s for %s\n", "length", get_target_type_name(type).get());
    const uint32_t count = (flags & FlagMatrix) ? get_type_columns(flags) : get_type_width(flags);
    operand = get_operand(add_constanti32(int32_t(count)));
}

// index: "[" expression "]"
void Compiler::parse_index(const char *&s, Operand &operand, Function &func, Scope *scope) {
    s++;
    // What the index does must not come before the value that it picks from, unless that is a place.
    const uint32_t index = load(parse_operand(s, func, scope), func);
    if(!Text::accept(s, ']')) Parser::error("invalid expression\n");
    const Flags index_flags = get_target_flags(index);
    const uint32_t type = get_operand_type(operand);
    const Flags flags = get_target_flags(type);
    const bool structure = (flags & (FlagStructure | FlagArray)) == FlagStructure;
    const bool opaque = is_opaque_type(type) && (flags & FlagArray) == 0 && tensors.get(type) == nullptr;
    const bool scalar = (flags & (FlagArray | FlagVector | FlagMatrix)) == 0 && tensors.get(type) == nullptr;
    if((index_flags & FlagInteger) == 0 || get_type_components(index_flags) != 1 || (index_flags & FlagArray) ||
       structure || opaque || scalar)
        Parser::error("invalid index %s for %s\n", get_target_type_name(index).get(), get_target_type_name(type).get());
    check_index(type, index);
    const Constant *constant = get_constant(index);
    const uint32_t element = get_target_type(type);

    if(operand.num_swizzle) {
        if(constant && operand.pointer != ~0u) {
            const uint32_t component = operand.swizzle[constant->getu64()];
            operand.num_swizzle = 0;
            add_index(operand, add_constanti32(int32_t(component)), element, func);
            return;
        }
        operand = get_operand(load(operand, func));
    }
    if(operand.reference != ~0u) {
        add_reference_index(operand, index, element, func);
    } else if(operand.pointer != ~0u) {
        add_resource_index(operand, index);
        add_index(operand, index, element, func);
    } else if(constant) {
        operand = get_operand(add_part(operand.target, uint32_t(constant->getu64()), func));
    } else if((flags & (FlagArray | FlagMatrix)) == 0) {
        operand = get_operand(add_value(func, SpvOpVectorExtractDynamic, element, {operand.target, index}));
    } else {
        operand = add_temporary(type, operand.target, func);
        operand.constant = true;
        add_index(operand, index, element, func);
    }
}

// An element or a member of a value; of a constant it is a constant.
uint32_t Compiler::add_part(uint32_t value, uint32_t index, Function &func) {
    const uint32_t type = get_type(value);
    const Constant *constant = get_constant(value);
    if(constant == nullptr) return add_extract_opcode(func, value, index);
    uint32_t part = get_target_type(type);
    uint64_t offset = 0;
    if((get_target_flags(type) & (FlagStructure | FlagArray)) == FlagStructure) {
        const Structure &structure = get_target_structure(type);
        for(uint32_t i = 0; i < index; i++)
            offset += get_type_scalars(add_variable_type(variables[structure.variables[i]]));
        part = add_variable_type(variables[structure.variables[index]]);
    } else {
        offset = get_type_scalars(part) * index;
    }
    Constant result(get_target_flags(part));
    const uint64_t count = get_type_scalars(part);
    for(uint64_t i = 0; i < count; i++) result.values.append(Constant::Value(constant->values[uint32_t(offset + i)]));
    return add_constant(part, result);
}

// An index that is known must lie within the type.
void Compiler::check_index(uint32_t type, uint32_t index) {
    const Constant *constant = get_constant(index);
    if(constant == nullptr) return;
    const Flags flags = get_target_flags(type);
    uint64_t count = get_target_length(type);
    if((flags & FlagArray) == 0) {
        if(tensors.get(type)) return;
        count = (flags & FlagMatrix) ? get_type_columns(flags) : get_type_width(flags);
    } else if(count == 0) {
        count = uint64_t(1) << 31;
    }
    if(constant->geti64() < 0 || constant->getu64() >= count)
        Parser::error("invalid index %s for %s\n", get_constant(*constant, false).get(),
                      get_target_type_name(type).get());
}

void Compiler::add_index(Operand &operand, uint32_t index, uint32_t type, Function &func) {
    if(operand.num_indices == Operand::MaxIndices) fix_pointer(operand, func);
    operand.indices[operand.num_indices++] = index;
    operand.type = type;
    operand.whole = false;
}

// Arrays of resources need a capability for an index that is not a constant, and another one for an index that differs
// within a subgroup.
void Compiler::add_resource_index(Operand &operand, uint32_t index) {
    const SmallMap *decorations = target_decorations.get(index);
    const bool nonuniform = decorations && decorations->has(SpvDecorationNonUniform);
    if(operand.num_indices || get_constant(index)) return;
    uint32_t dynamic = ~0u;
    uint32_t different = ~0u;
    const Flags flags = get_target_flags(get_target_type(operand.root));
    switch(operand.storage) {
    case SpvStorageClassUniform:
        dynamic = SpvCapabilityUniformBufferArrayDynamicIndexing;
        different = SpvCapabilityUniformBufferArrayNonUniformIndexing;
        break;
    case SpvStorageClassStorageBuffer:
        dynamic = SpvCapabilityStorageBufferArrayDynamicIndexing;
        different = SpvCapabilityStorageBufferArrayNonUniformIndexing;
        break;
    case SpvStorageClassUniformConstant:
        if((flags & FlagImageBuffer) && (flags & (FlagImageTexture | FlagSampledImage))) {
            different = SpvCapabilityUniformTexelBufferArrayNonUniformIndexing;
        } else if(flags & FlagImageBuffer) {
            different = SpvCapabilityStorageTexelBufferArrayNonUniformIndexing;
        } else if((flags & FlagImage) && (flags & (FlagImageTexture | FlagSampledImage)) == 0) {
            dynamic = SpvCapabilityStorageImageArrayDynamicIndexing;
            different = SpvCapabilityStorageImageArrayNonUniformIndexing;
        } else {
            dynamic = SpvCapabilitySampledImageArrayDynamicIndexing;
            different = SpvCapabilitySampledImageArrayNonUniformIndexing;
        }
        break;
    default: return;
    }
    if(dynamic != ~0u) add_capability(dynamic);
    if(!nonuniform) return;
    if(different != ~0u) add_capability(different);
    add_capability(SpvCapabilityShaderNonUniform);
    operand.nonuniform = true;
}

// -- Memory -----------------------------------------------------------------------------------------------------------

uint32_t Compiler::get_pointer(const Operand &operand, Function &func) {
    if(operand.pointer == ~0u) Parser::error("can't address reference\n");
    if(operand.num_indices == 0) return operand.pointer;
    ArrayStack<uint32_t, 16> words;
    words.append(operand.pointer);
    words.append(operand.indices, operand.num_indices);
    const uint32_t type = add_pointer(operand.type, operand.storage);
    const uint32_t target = add_value(func, SpvOpAccessChain, type, words);
    if(operand.nonuniform) add_target_decoration(target, SpvDecorationNonUniform);
    return target;
}

void Compiler::fix_pointer(Operand &operand, Function &func) {
    if(operand.pointer != ~0u && operand.num_swizzle == 1) {
        operand.num_swizzle = 0;
        add_index(operand, add_constanti32(operand.swizzle[0]), get_target_type(operand.type), func);
    }
    if(operand.pointer == ~0u || operand.num_indices == 0) return;
    operand.pointer = get_pointer(operand, func);
    operand.root = operand.type;
    operand.num_indices = 0;
}

uint32_t Compiler::load(const Operand &operand, Function &func) {
    if(operand.target != ~0u) return operand.target;
    if(!operand.place()) Parser::error("invalid expression\n");
    if(operand.writeonly && !is_opaque_type(operand.type)) Parser::error("can't read from writeonly buffer\n");
    uint32_t value = ~0u;
    if(operand.reference != ~0u) {
        value = load_reference(operand, func);
    } else {
        if((get_target_flags(operand.type) & FlagArray) && get_target_length(operand.type) == 0)
            Parser::error("invalid expression\n");
        value = add_load(func, operand.type, get_pointer(operand, func));
        if(operand.nonuniform) add_target_decoration(value, SpvDecorationNonUniform);
    }
    if(operand.num_swizzle) value = add_shuffle(value, operand.swizzle, operand.num_swizzle, func);
    return value;
}

void Compiler::check_write(const Operand &operand) {
    if(operand.readonly) Parser::error("can't write to readonly buffer\n");
    if(operand.constant) Parser::error("can't write to global variable\n");
}

void Compiler::store(const Operand &operand, uint32_t value, Function &func) {
    const uint32_t type = get_operand_type(operand);
    const uint32_t result = is_value_type(type) ? add_convert_opcodes(func, type, value) : ~0u;
    if(result == ~0u || !operand.place())
        Parser::error("can't assign %s to %s\n", get_target_type_name(value).get(), get_target_type_name(type).get());
    value = result;
    check_write(operand);
    if(operand.num_swizzle) {
        // The whole vector is written back, with its new components taken from behind the old ones.
        Operand whole = operand;
        if(operand.num_swizzle == 1 && operand.pointer != ~0u) {
            fix_pointer(whole, func);
            add_store(func, whole.pointer, value);
            return;
        }
        whole.num_swizzle = 0;
        whole.writeonly = false;
        fix_pointer(whole, func);
        const uint32_t old = load(whole, func);
        const uint32_t width = get_type_width(get_target_flags(operand.type));
        ArrayStack<uint32_t, 8> words;
        words.append(old);
        if(operand.num_swizzle == 1) {
            value = add_value(func, SpvOpCompositeInsert, operand.type, {value, old, operand.swizzle[0]});
        } else {
            words.append(value);
            for(uint32_t i = 0; i < width; i++) {
                uint32_t component = i;
                for(uint32_t j = 0; j < operand.num_swizzle; j++) {
                    if(operand.swizzle[j] == i) component = width + j;
                }
                words.append(component);
            }
            value = add_value(func, SpvOpVectorShuffle, operand.type, words);
        }
        store(whole, value, func);
        return;
    }
    if(operand.reference != ~0u) {
        store_reference(operand, value, func);
    } else {
        add_store(func, get_pointer(operand, func), value);
    }
}

uint32_t Compiler::add_shuffle(uint32_t value, const uint8_t *components, uint32_t size, Function &func) {
    const Flags flags = get_target_flags(value);
    if(get_type_width(flags) == 1) return add_expand_opcode(func, value, size);
    if(size == 1) return add_extract_opcode(func, value, components[0]);
    const uint32_t type = add_type(get_vector_flags(flags, size));
    if(const Constant *constant = get_constant(value)) {
        Constant result(get_target_flags(type));
        for(uint32_t i = 0; i < size; i++) result.append(*constant, components[i]);
        return add_constant(type, result);
    }
    bool same = (size == get_type_width(flags));
    ArrayStack<uint32_t, 8> words;
    words.append(value);
    words.append(value);
    for(uint32_t i = 0; i < size; i++) {
        words.append(components[i]);
        same &= (components[i] == i);
    }
    if(same) return value;
    return add_value(func, SpvOpVectorShuffle, type, words);
}

Compiler::Variable &Compiler::add_temporary(uint32_t type, Function &func) {
    Variable &variable = add_local(func, String(), get_internal_type_name(type), ~0u, nullptr);
    variable.type_target = type;
    variable.usage = true;
    return variable;
}

// A constant is put into its variable once for the whole function, any other value where it stands.
Compiler::Operand Compiler::add_temporary(uint32_t type, uint32_t value, Function &func) {
    uint32_t index = ~0u;
    const bool constant = (get_constant(value) != nullptr);
    StringStack<31> name;
    if(constant) {
        name.printf("_a%u.", value); // the dot keeps it apart from names of the shader
        if(const uint32_t *found = func.scope.variables.get(name)) index = *found;
    }
    if(index == ~0u) {
        Variable &variable = add_temporary(type, func);
        index = variable.index;
        if(constant) {
            variable.initializer = value;
            func.scope.variables.append(name, index);
        }
    }
    Variable &variable = variables[index];
    Operand operand;
    operand.type = operand.root = type;
    operand.pointer = variable.target;
    operand.storage = variable.storage;
    operand.variable = index;
    if(!constant) add_store(func, variable.target, value);
    return operand;
}

} // namespace Kolm
