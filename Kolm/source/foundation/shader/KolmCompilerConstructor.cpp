// Constructors of numbers, vectors, matrices, arrays and structures, and initialiser lists.

#include "KolmCompiler.h"
#include "KolmCompilerText.h"

namespace Kolm {

// constructor: type { "[" [ expression ] "]" } "(" arguments ")"
uint32_t Compiler::parse_constructor(const char *&s, const String &type, uint32_t length, Function &func,
                                     Scope *scope) {
    ArrayStack<Operand, 4> args;
    parse_arguments(s, args, 0, func, scope);
    if(length == 0) length = args.size();
    if(length == 0) Parser::error("not enough arguments for %s\n", get_source_name(type).get());
    const uint32_t target = add_type(type, length, scope);
    const Flags flags = get_target_flags(target);
    if(flags & FlagArray) return parse_array(target, args, func);
    if(flags & FlagStructure) return parse_structure(target, args, func);
    if(tensors.get(target)) {
        // All elements of one value.
        if(args.size() != 1) Parser::error("invalid arguments for %s\n", get_target_type_name(target).get());
        if(args[0].type == target) return args[0].target;
        const uint32_t element = get_target_type(target);
        if(tensors.get(args[0].type)) {
            const Flags from = get_target_flags(get_target_type(args[0].type));
            const Flags to = get_target_flags(element);
            const bool floats = (from & FlagFloat) && (to & FlagFloat);
            const SpvOp opcode = floats               ? SpvOpFConvert
                                 : (to & FlagFloat)   ? ((from & FlagUInt) ? SpvOpConvertUToF : SpvOpConvertSToF)
                                 : (from & FlagFloat) ? ((to & FlagUInt) ? SpvOpConvertFToU : SpvOpConvertFToS)
                                                      : SpvOpBitcast;
            return add_value(func, opcode, target, {args[0].target});
        }
        const uint32_t value = add_convert_opcodes(func, element, args[0].target);
        if(value == ~0u) Parser::error("invalid arguments for %s\n", get_target_type_name(target).get());
        return add_value(func, SpvOpCompositeConstruct, target, {value});
    }
    if((flags & FlagFormat) == 0 || is_opaque_type(target))
        Parser::error("invalid arguments for %s\n", get_source_name(type).get());
    return add_numbers(target, args, func);
}

uint32_t Compiler::parse_structure(uint32_t type, const Operands &args, Function &func) {
    Structure &structure = get_target_structure(type);
    structure.usage = true;
    if(args.size() < structure.variables.size())
        Parser::error("not enough arguments for %s\n", get_target_type_name(type).get());
    if(args.size() > structure.variables.size())
        Parser::error("too many arguments for %s\n", get_target_type_name(type).get());
    ArrayStack<uint32_t, 16> values;
    for(uint32_t i = 0; i < args.size(); i++) {
        const uint32_t member = add_variable_type(variables[structure.variables[i]]);
        const uint32_t value = add_convert_opcodes(func, member, args[i].target);
        if(value == ~0u)
            Parser::error("invalid structure argument %s for %s type\n", get_target_type_name(args[i].target).get(),
                          get_target_type_name(member).get());
        values.append(value);
    }
    return add_composite(type, values, func);
}

uint32_t Compiler::parse_array(uint32_t type, const Operands &args, Function &func) {
    const uint32_t length = get_target_length(type);
    const uint32_t element = get_target_type(type);
    if(args.size() < length) Parser::error("not enough arguments for %s\n", get_target_type_name(type).get());
    if(args.size() > length) Parser::error("too many arguments for %s\n", get_target_type_name(type).get());
    Array<uint32_t> values;
    for(uint32_t i = 0; i < args.size(); i++) {
        const uint32_t value = add_convert_opcodes(func, element, args[i].target);
        if(value == ~0u)
            Parser::error("can't convert %s to %s\n", get_target_type_name(args[i].target).get(),
                          get_target_type_name(element).get());
        values.append(value);
    }
    return add_composite(type, values, func);
}

uint32_t Compiler::add_composite(uint32_t type, const Array<uint32_t> &values, Function &func) {
    const Flags flags = get_target_flags(type);
    bool known = true;
    for(uint32_t i = 0; i < values.size() && known; i++) known = (get_constant(values[i]) != nullptr);
    if(known && get_type_scalars(type) <= MaxConstants) {
        Constant constant(flags);
        constant.values.reserve(uint32_t(get_type_scalars(type)));
        for(uint32_t i = 0; i < values.size(); i++) {
            const Constant &part = *get_constant(values[i]);
            for(uint32_t k = 0; k < part.size(); k++) constant.values.append(Constant::Value(part.values[k]));
        }
        if(constant.size() == get_type_scalars(type)) return add_constant(type, constant);
    }
    return add_value(func, SpvOpCompositeConstruct, type, values);
}

// Numbers, vectors and matrices: a cast of all components of the arguments in a row.
uint32_t Compiler::add_numbers(uint32_t type, const Operands &args, Function &func) {
    const Flags flags = get_target_flags(type);
    const uint32_t width = get_type_width(flags);
    const uint32_t columns = get_type_columns(flags);
    const uint32_t count = width * columns;
    const String name = get_target_type_name(type);
    uint32_t total = 0;
    for(uint32_t i = 0; i < args.size(); i++) {
        const Flags arg = get_target_flags(args[i].type);
        if((arg & FlagFormat) == 0 || (arg & (FlagArray | FlagStructure)) || is_opaque_type(args[i].type))
            Parser::error("invalid arguments for %s\n", name.get());
        if(total >= count) Parser::error("too many arguments for %s\n", name.get());
        total += get_type_components(arg);
    }
    if(args.empty()) Parser::error("not enough arguments for %s\n", name.get());
    const uint32_t first = args[0].target;
    const Flags first_flags = get_target_flags(first);
    if(args.size() == 1) {
        if(get_type(first) == type) return first;
        if(columns > 1 && (first_flags & FlagMatrix)) return add_matrix(type, first, func);
        if(total == 1 && columns == 1) return add_expand_opcode(func, add_cast_opcodes(func, flags, first), width);
        if(total == 1) {
            // The diagonal of a matrix.
            const uint32_t value = add_cast_opcodes(func, flags, first);
            const uint32_t zero = add_zero(get_type(value));
            const uint32_t column_type = get_target_type(type);
            ArrayStack<uint32_t, 4> vectors;
            for(uint32_t c = 0; c < columns; c++) {
                ArrayStack<uint32_t, 4> components;
                for(uint32_t r = 0; r < width; r++) components.append((r == c) ? value : zero);
                vectors.append(add_composite(column_type, components, func));
            }
            return add_composite(type, vectors, func);
        }
    }
    if(total < count) Parser::error("not enough arguments for %s\n", name.get());

    static constexpr uint8_t indices[4] = {0, 1, 2, 3};
    ArrayStack<uint32_t, 16> parts; // scalars; for a vector whole vectors too
    uint32_t size = 0;
    for(uint32_t i = 0; i < args.size() && size < count; i++) {
        const uint32_t value = add_cast_opcodes(func, flags, args[i].target);
        const Flags arg = get_target_flags(value);
        const uint32_t arg_width = get_type_width(arg);
        const uint32_t arg_columns = get_type_columns(arg);
        if(columns == 1 && arg_columns == 1) {
            const uint32_t used = min(arg_width, count - size);
            parts.append((used < arg_width) ? add_shuffle(value, indices, used, func) : value);
            size += used;
            continue;
        }
        for(uint32_t c = 0; c < arg_columns && size < count; c++) {
            const uint32_t column = (arg_columns > 1) ? add_extract_opcode(func, value, c) : value;
            for(uint32_t r = 0; r < arg_width && size < count; r++, size++)
                parts.append((arg_width > 1) ? add_extract_opcode(func, column, r) : column);
        }
    }
    if(columns == 1) return (parts.size() == 1) ? parts[0] : add_composite(type, parts, func);
    const uint32_t column_type = get_target_type(type);
    ArrayStack<uint32_t, 4> vectors;
    for(uint32_t c = 0; c < columns; c++) {
        ArrayStack<uint32_t, 4> components;
        for(uint32_t r = 0; r < width; r++) components.append(uint32_t(parts[c * width + r]));
        vectors.append(add_composite(column_type, components, func));
    }
    return add_composite(type, vectors, func);
}

// A matrix of another size: cut, or padded as the unit matrix.
uint32_t Compiler::add_matrix(uint32_t type, uint32_t value, Function &func) {
    const Flags flags = get_target_flags(type);
    value = add_cast_opcodes(func, flags, value);
    const Flags from = get_target_flags(value);
    const uint32_t width = get_type_width(flags);
    const uint32_t from_width = get_type_width(from);
    const uint32_t column_type = get_target_type(type);
    static constexpr uint8_t indices[4] = {0, 1, 2, 3};
    if(get_type(value) == type) return value;
    ArrayStack<uint32_t, 4> vectors;
    for(uint32_t c = 0; c < get_type_columns(flags); c++) {
        uint32_t column = ~0u;
        if(c < get_type_columns(from)) {
            column = add_extract_opcode(func, value, c);
            if(width < from_width) column = add_shuffle(column, indices, width, func);
        }
        if(column == ~0u || width > from_width) {
            ArrayStack<uint32_t, 4> components;
            if(column != ~0u) components.append(column);
            for(uint32_t r = (column != ~0u) ? from_width : 0; r < width; r++)
                components.append(add_constantf64(get_vector_flags(flags, 1), (r == c) ? 1.0 : 0.0));
            column = add_composite(column_type, components, func);
        }
        vectors.append(column);
    }
    return add_composite(type, vectors, func);
}

// list: "{" item { "," item } [ "," ] "}", item: list | expression
uint32_t Compiler::parse_list(const char *&s, uint32_t &type, Function &func, Scope *scope) {
    Depth depth(*this);
    if(!Text::accept(s, '{')) Parser::error("invalid expression\n");
    const Flags flags = get_target_flags(type);
    const bool structure = (flags & (FlagStructure | FlagArray)) == FlagStructure;
    const bool composite = flags & (FlagArray | FlagStructure | FlagVector | FlagMatrix);
    if(!composite || (is_opaque_type(type) && !(flags & FlagArray)))
        Parser::error("invalid arguments for %s\n", get_target_type_name(type).get());
    uint32_t length = get_target_length(type);
    if((flags & FlagArray) == 0)
        length = structure              ? get_target_structure(type).variables.size()
                 : (flags & FlagMatrix) ? get_type_columns(flags)
                                        : get_type_width(flags);
    Array<uint32_t> values;
    while(!Text::accept(s, '}')) {
        if(values.size()) {
            if(!Text::accept(s, ',')) Parser::error("invalid expression\n");
            if(Text::accept(s, '}')) break;
        }
        const uint32_t index = values.size();
        if((length && index >= length) || index >= MaxConstants)
            Parser::error("too many arguments for %s\n", get_target_type_name(type).get());
        uint32_t element = get_target_type(type);
        if(structure) element = add_variable_type(variables[get_target_structure(type).variables[index]]);
        Text::skip_blank(s);
        values.append((*s == '{') ? parse_list(s, element, func, scope) : parse_value(s, element, func, scope));
    }
    if(values.size() < length || values.empty())
        Parser::error("not enough arguments for %s\n", get_target_type_name(type).get());
    if(length == 0) {
        const uint32_t element = get_target_type(type);
        type = add_type(get_internal_type_name(element), values.size(), scope);
    }
    return add_composite(type, values, func);
}

} // namespace Kolm
