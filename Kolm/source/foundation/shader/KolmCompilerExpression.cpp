// Expressions.
//
// An operator precedence parser that writes instructions while it reads. Operands are read from left to right, and a
// variable is loaded as soon as the text shows that its value and not its place is wanted, so side effects happen in
// the order of the text. There is no short circuit: both sides of "&&", "||" and both branches of "?:" are evaluated.
//
//     expression: unary { operator unary | "?" expression ":" expression }
//     unary:      { "-" | "!" | "~" | "+" | "++" | "--" } primary { postfix }
//     primary:    "(" expression ")" | number | "true" | "false" | "sizeof" "(" type ")" | call | constructor | name
//     postfix:    "." name | "." "length" "(" ")" | "[" expression "]" | "++" | "--"

#include "KolmCompiler.h"
#include "KolmCompilerText.h"

namespace Kolm {

namespace {

struct CodeInfo {
    const char *name;
    uint8_t priority; // twice that of the table, which has a half in it
    SpvOp f, u, s, b;
};

constexpr CodeInfo code_infos[] = {
#define CODE(NUM, NAME, PRIORITY) {#NAME, uint8_t(PRIORITY * 2), SpvOpNop, SpvOpNop, SpvOpNop, SpvOpNop},
#define OPERATOR(NUM, NAME, PRIORITY, F, U, S, B) \
    {#NAME, uint8_t(PRIORITY * 2), SpvOp##F, SpvOp##U, SpvOp##S, SpvOp##B},
#include "KolmCompilerOperators.inc"
};

constexpr bool codes_in_order() {
    uint32_t next = 0;
#define CODE(NUM, NAME, PRIORITY) \
    if(NUM != next++) return false;
#include "KolmCompilerOperators.inc"
    return true;
}
static_assert(codes_in_order(), "KolmCompilerOperators.inc: a row stands at the wrong number");

} // namespace

const char *Compiler::get_code_name(uint32_t code) {
    return code_infos[(code < array_size(code_infos)) ? code : 0].name;
}

uint32_t Compiler::get_code_priority(uint32_t code) {
    return code_infos[(code < array_size(code_infos)) ? code : 0].priority;
}

SpvOp Compiler::get_operator_opcode(uint32_t code, Flags flags) {
    const CodeInfo &info = code_infos[(code < array_size(code_infos)) ? code : 0];
    if(flags & FlagFloat) return info.f;
    if(flags & FlagUInt) return info.u;
    if(flags & FlagSInt) return info.s;
    if(flags & FlagBool) return info.b;
    return SpvOpNop;
}

uint32_t Compiler::read_operator(const char *s, uint32_t &length, uint32_t &compound) {
    const char c = s[0];
    const char n = c ? s[1] : '\0';
    compound = CodeUnknown;
    length = 1;
    uint32_t code = CodeUnknown;
    switch(c) {
    case '*': code = CodeMul; break;
    case '/': code = CodeDiv; break;
    case '%': code = CodeMod; break;
    case '+': code = CodeAdd; break;
    case '-': code = CodeSub; break;
    case '&': code = CodeBitwiseAnd; break;
    case '^': code = CodeBitwiseXor; break;
    case '|': code = CodeBitwiseOr; break;
    case '<': code = CodeLessThan; break;
    case '>': code = CodeGreaterThan; break;
    case '=': code = CodeAssign; break;
    case '!': length = 2; return (n == '=') ? CodeNotEqual : CodeUnknown;
    case '?': return CodeSelect;
    default: return CodeUnknown;
    }
    if(n == c) {
        length = 2;
        switch(c) {
        case '+': return CodePostIncrement;
        case '-': return CodePostDecrement;
        case '=': return CodeEqual;
        case '&': return CodeLogicalAnd;
        case '|': return CodeLogicalOr;
        case '^': return CodeLogicalXor;
        case '<': code = CodeShiftLeft; break;
        case '>': code = CodeShiftRight; break;
        default: return CodeUnknown;
        }
        if(s[2] != '=') return code;
        length = 3;
        compound = code;
        return CodeAssign;
    }
    if(n != '=') return code;
    length = 2;
    if(c == '<') return CodeLessEqual;
    if(c == '>') return CodeGreaterEqual;
    compound = code;
    return CodeAssign;
}

// Integers become floats, signed becomes unsigned, narrow becomes wide; the bits of an integer do not widen a float
// unless it has 64 of them.
Compiler::Flags Compiler::get_common_flags(Flags flags_0, Flags flags_1) {
    const Flags format_0 = flags_0 & FlagFormat;
    const Flags format_1 = flags_1 & FlagFormat;
    const Flags bits_0 = flags_0 & FlagBits;
    const Flags bits_1 = flags_1 & FlagBits;
    if(format_0 == FlagNone || format_1 == FlagNone) return FlagNone;
    if(format_0 == format_1) return format_0 | max(bits_0, bits_1);
    if((format_0 | format_1) & FlagBool) return FlagNone;
    if(format_0 == FlagFloat) return FlagFloat | ((bits_1 == Flag64Bit) ? Flag64Bit : bits_0);
    if(format_1 == FlagFloat) return FlagFloat | ((bits_0 == Flag64Bit) ? Flag64Bit : bits_1);
    if(bits_0 != bits_1) return (bits_0 > bits_1) ? (format_0 | bits_0) : (format_1 | bits_1);
    return FlagUInt | bits_0;
}

// -- Parsing ----------------------------------------------------------------------------------------------------------

uint32_t Compiler::parse_expression(const char *&s, const String &type, Function &func, Scope *scope) {
    if(type.size()) return parse_value(s, add_type(type, ~0u, scope), func, scope);
    return load(parse_operand(s, func, scope), func);
}

uint32_t Compiler::parse_value(const char *&s, uint32_t type, Function &func, Scope *scope) {
    const uint32_t value = load(parse_operand(s, func, scope), func);
    const uint32_t result = add_convert_opcodes(func, type, value);
    if(result == ~0u)
        Parser::error("can't convert %s to %s\n", get_target_type_name(value).get(), get_target_type_name(type).get());
    return result;
}

Compiler::Operand Compiler::parse_operand(const char *&s, Function &func, Scope *scope) {
    return parse_binary(s, 0, false, func, scope);
}

// assignment: place { "[" expression "]" | "." name } ( "=" | compound ) expression | expression
void Compiler::parse_assignment(const char *&s, Function &func, Scope *scope) {
    Operand operand = parse_unary(s, false, func, scope);
    Text::skip_blank(s);
    uint32_t length = 0;
    uint32_t compound = 0;
    const uint32_t code = read_operator(s, length, compound);
    if(code == CodeAssign) {
        s += length;
        parse_assign(s, compound, operand, true, func, scope);
    } else if(code != CodeUnknown) {
        // A value that nobody uses.
        uint32_t value = load(operand, func);
        operand = get_operand(value);
        while(read_operator(s, length, compound) != CodeUnknown) {
            const uint32_t next = read_operator(s, length, compound);
            s += length;
            if(next == CodeSelect) {
                parse_select(s, operand, func, scope);
            } else if(next == CodeAssign || next == CodePostIncrement || next == CodePostDecrement) {
                Parser::error("invalid target for %s operator\n", get_code_name(next));
            } else {
                const uint32_t right = load(parse_binary(s, get_code_priority(next) + 1, true, func, scope), func);
                operand = get_operand(add_operator(next, operand.target, right, func));
            }
            Text::skip_blank(s);
        }
    } else if(*s != ';' && *s != ',' && *s != ')' && *s) {
        if(Text::is_word(*s)) Parser::error("expecting ';'\n");
        Parser::error("unknown operator\n");
    }
}

// `nested` tells that an operator waits for this operand.
Compiler::Operand Compiler::parse_binary(const char *&s, uint32_t priority, bool nested, Function &func, Scope *scope) {
    Operand left = parse_unary(s, nested, func, scope);
    for(;;) {
        Text::skip_blank(s);
        uint32_t length = 0;
        uint32_t compound = 0;
        const uint32_t code = read_operator(s, length, compound);
        if(code == CodeUnknown) {
            const char c = *s;
            if(c == '!' || c == '~' || c == '@' || c == '#' || c == '$' || c == '`' || c == '\\')
                Parser::error("unknown operator\n");
            return left;
        }
        const uint32_t level = get_code_priority(code);
        if(level < priority) return left;
        s += length;
        if(code == CodeAssign) {
            parse_assign(s, compound, left, false, func, scope);
        } else if(code == CodeSelect) {
            left = get_operand(load(left, func));
            parse_select(s, left, func, scope);
        } else {
            const uint32_t value = load(left, func);
            const Operand right = parse_binary(s, level + 1, true, func, scope);
            left = get_operand(add_operator(code, value, load(right, func), func));
        }
    }
}

void Compiler::parse_select(const char *&s, Operand &condition, Function &func, Scope *scope) {
    Depth depth(*this);
    const uint32_t value_0 = load(parse_binary(s, get_code_priority(CodeSelect), true, func, scope), func);
    if(!Text::accept(s, ':')) Parser::error("invalid expression\n");
    const uint32_t value_1 = load(parse_binary(s, get_code_priority(CodeSelect), true, func, scope), func);
    condition = get_operand(add_select(condition.target, value_0, value_1, func));
}

// An assignment as a statement takes all of the text for its value; within an expression it is left-associative.
void Compiler::parse_assign(const char *&s, uint32_t compound, Operand &operand, bool statement, Function &func,
                            Scope *scope) {
    if(!operand.place()) Parser::error("invalid target for %s operator\n", get_code_name(CodeAssign));
    check_write(operand);
    // The indices of the place are fixed before the value is read, the pointer is made once.
    if(compound != CodeUnknown) fix_pointer(operand, func);
    const uint32_t old = (compound != CodeUnknown) ? load(operand, func) : ~0u;
    Text::skip_blank(s);
    uint32_t value = ~0u;
    if(*s == '{' && compound == CodeUnknown) {
        uint32_t type = get_operand_type(operand);
        value = parse_list(s, type, func, scope);
    } else {
        const uint32_t level = statement ? 0 : get_code_priority(CodeAssign) + 1;
        value = load(parse_binary(s, level, true, func, scope), func);
    }
    if(compound != CodeUnknown) value = add_operator(compound, old, value, func);
    store(operand, value, func);
}

Compiler::Operand Compiler::parse_unary(const char *&s, bool nested, Function &func, Scope *scope) {
    Text::skip_blank(s);
    const char c = *s;
    if(c != '-' && c != '+' && c != '!' && c != '~') return parse_primary(s, nested, func, scope);
    Depth depth(*this);
    s++;
    if(*s == c && (c == '-' || c == '+')) {
        s++;
        Operand operand = parse_unary(s, true, func, scope);
        add_increment(operand, (c == '-') ? CodePreDecrement : CodePreIncrement, func);
        return operand;
    }
    if(c == '+') return get_operand(load(parse_unary(s, true, func, scope), func));
    if(c == '-') {
        // The sign of a literal is part of it.
        const char *p = s;
        Text::skip_blank(p);
        if(Text::is_digit(*p) || (*p == '.' && Text::is_digit(p[1]))) {
            Constant constant;
            if(parse_literal(p, constant)) {
                Text::skip_blank(p);
                if(*p != '.' && *p != '[') {
                    s = p;
                    const SpvOp opcode = (constant.flags & FlagFloat) ? SpvOpFNegate : SpvOpSNegate;
                    constant = constant.unary(opcode, constant.flags);
                    return get_operand(add_constant(add_type(constant.flags), constant));
                }
            }
        }
    }
    const uint32_t value = load(parse_unary(s, true, func, scope), func);
    return get_operand(add_operator((c == '-')   ? CodeNegate
                                    : (c == '!') ? CodeLogicalNot
                                                 : CodeBitwiseNot,
                                    value, func));
}

Compiler::Operand Compiler::parse_primary(const char *&s, bool nested, Function &func, Scope *scope) {
    Operand operand;
    Text::skip_blank(s);
    const char c = *s;
    if(c == '(') {
        Depth depth(*this);
        s++;
        operand = parse_binary(s, 0, false, func, scope);
        while(Text::accept(s, ',')) operand = parse_binary(s, 0, false, func, scope);
        if(!Text::accept(s, ')')) Parser::error("invalid expression\n");
    } else if(Text::is_digit(c) || (c == '.' && Text::is_digit(s[1]))) {
        Constant constant;
        if(!parse_literal(s, constant)) Parser::error("can't parse constant \"%s\"\n", Text::get_token(s).get());
        operand = get_operand(add_constant(add_type(constant.flags), constant));
    } else if(Text::is_letter(c)) {
        operand = parse_name(s, func, scope);
    } else if(nested) {
        Parser::error("stack underflow\n");
    } else {
        Parser::error("invalid expression\n");
    }
    parse_postfix(s, operand, func, scope);
    return operand;
}

Compiler::Operand Compiler::parse_name(const char *&s, Function &func, Scope *scope) {
    const char *begin = s;
    StringStack<64> name;
    Text::read_name(s, name);
    const char *p = s;
    Text::skip_blank(p);
    Operand operand;
    if(*p != '(') {
        if(name == "true" || name == "false") return get_operand(add_constantb32(name == "true"));
        if(parse_variable(name, operand, scope)) return operand;
        const uint32_t index = get_reference(name, scope);
        if(index != ~0u) return get_reference_operand(index);
        if(builtin_names.get(name)) Parser::error("unknown variable %s\n", name.get());
    } else {
        Depth depth(*this);
        uint32_t result = ~0u;
        if(name == "sizeof") {
            s = p + 1;
            if(parse_sizeof(s, operand, scope)) return operand;
        }
        if(find_function(name) != ~0u) {
            s = p + 1;
            result = parse_shader_function(s, name, func, scope);
        } else if(internal_functions.get(name)) {
            s = p + 1;
            result = parse_internal_function(s, name, func, scope);
        } else if(external_functions.get(name)) {
            s = p + 1;
            result = parse_external_function(s, name, func, scope);
        } else {
            s = begin;
            const String type = parse_type(s, scope);
            if(type.empty()) Parser::error("unexpected \"%s\"\n", name.get());
            if(!Text::accept(s, '(')) Parser::error("unexpected \"%s\"\n", name.get());
            return get_operand(parse_constructor(s, type, ~0u, func, scope));
        }
        if(result == ~0u) {
            operand.type = add_type("void"); // the call of a function without a value
            return operand;
        }
        return get_operand(result);
    }
    // A constructor of an array, or of a matrix whose type has parameters.
    s = begin;
    String type = parse_type(s, scope);
    Text::skip_blank(s);
    if(type.size() && (*s == '[' || *s == '(')) {
        Depth depth(*this);
        const uint32_t length = parse_array_length(s, type, scope);
        if(Text::accept(s, '(')) return get_operand(parse_constructor(s, type, length, func, scope));
    }
    Parser::error("unexpected \"%s\"\n", name.get());
}

// sizeof: "(" type ")"
bool Compiler::parse_sizeof(const char *&s, Operand &operand, Scope *scope) {
    Text::skip_blank(s);
    const char *begin = s;
    String type = parse_type(s, scope);
    if(type.empty()) Parser::error("unknown type \"%s\"\n", Text::get_token(begin).get());
    Text::skip_blank(s);
    if(*s == ',') Parser::error("too many arguments for %s\n", "sizeof");
    if(!Text::accept(s, ')')) Parser::error("unknown type \"%s\"\n", Text::get_token(s).get());
    const uint32_t target = add_type(type, ~0u, scope);
    const Flags flags = get_target_flags(target);
    uint64_t size = get_type_size(flags);
    if(flags & FlagStructure) {
        const Structure &structure = get_target_structure(target);
        size = (structure.stride != ~0u) ? structure.stride : structure.size;
    } else if((flags & FlagFormat) == 0 || is_opaque_type(target)) {
        Parser::error("unknown type \"%s\"\n", get_source_name(type).get());
    }
    operand = get_operand(add_constantu32(uint32_t(size)));
    return true;
}

// -- Operators --------------------------------------------------------------------------------------------------------

void Compiler::add_increment(Operand &operand, uint32_t code, Function &func) {
    if(!operand.place()) Parser::error("invalid target for %s operator\n", get_code_name(code));
    const uint32_t type = get_operand_type(operand);
    const Flags flags = get_target_flags(type);
    if((flags & (FlagFloat | FlagInteger)) == 0 || (flags & (FlagArray | FlagStructure)) || is_opaque_type(type))
        Parser::error("invalid operator %s for %s\n", get_code_name(code), get_target_type_name(type).get());
    check_write(operand);
    fix_pointer(operand, func);
    const uint32_t value = load(operand, func);
    const uint32_t one = add_constantf64(get_vector_flags(flags, 1), 1.0);
    const bool increment = (code == CodePreIncrement || code == CodePostIncrement);
    const uint32_t result = add_operator(increment ? CodeAdd : CodeSub, value, one, func);
    store(operand, result, func);
    if(code == CodePostIncrement || code == CodePostDecrement) operand = get_operand(value);
}

uint32_t Compiler::add_operator(uint32_t code, uint32_t value, Function &func) {
    const Flags flags = get_target_flags(value);
    if(code == CodeNegate && tensors.get(get_type(value)))
        return add_value(func, get_operator_opcode(code, flags), get_type(value), {value});
    const bool plain = (flags & (FlagArray | FlagStructure)) == 0 && !is_opaque_type(get_type(value));
    if(plain && (flags & FlagMatrix) && code == CodeNegate) {
        ArrayStack<uint32_t, 4> columns;
        for(uint32_t i = 0; i < get_type_columns(flags); i++)
            columns.append(add_operator(code, add_extract_opcode(func, value, i), func));
        return add_composite(get_type(value), columns, func);
    }
    const SpvOp opcode = plain ? get_operator_opcode(code, flags) : SpvOpNop;
    if(opcode == SpvOpNop || (flags & FlagMatrix)) {
        if(get_constant(value) && plain)
            Parser::error("unknown operator %s for \"%s\" constant\n", get_code_name(code),
                          get_constant(*get_constant(value), false).get());
        Parser::error("invalid operator %s for %s\n", get_code_name(code), get_target_type_name(value).get());
    }
    return add_unary_opcode(func, opcode, flags, value);
}

uint32_t Compiler::add_match(Flags format, uint32_t width, uint32_t value, Function &func) {
    value = add_cast_opcodes(func, format, value);
    if(width > 1 && get_type_width(get_target_flags(value)) == 1) value = add_expand_opcode(func, value, width);
    return value;
}

uint32_t Compiler::add_operator(uint32_t code, uint32_t value_0, uint32_t value_1, Function &func) {
    const Flags flags_0 = get_target_flags(value_0);
    const Flags flags_1 = get_target_flags(value_1);
    const uint32_t type_0 = get_type(value_0);
    const uint32_t type_1 = get_type(value_1);
    const bool equality = (code == CodeEqual || code == CodeNotEqual);
    const Flags other = FlagArray | FlagStructure;
    const bool plain = ((flags_0 | flags_1) & other) == 0 && !is_opaque_type(type_0) && !is_opaque_type(type_1);
    auto fail = [&]() {
        Parser::error("invalid operator %s for %s and %s\n", get_code_name(code), get_target_type_name(value_0).get(),
                      get_target_type_name(value_1).get());
    };
    if(tensors.get(type_0) || tensors.get(type_1)) {
        const uint32_t result = add_tensor_operator(code, value_0, value_1, func);
        if(result == ~0u) fail();
        return result;
    }
    if(equality && ((flags_0 | flags_1) & (other | FlagMatrix))) {
        if(is_opaque_type(type_0) || !is_same_type(type_0, type_1) || get_type_scalars(type_0) > 1024) fail();
        const uint32_t equal = add_equal(value_0, value_1, func);
        return (code == CodeEqual) ? equal : add_operator(CodeLogicalNot, equal, func);
    }
    if(!plain || (flags_0 & FlagFormat) == 0 || (flags_1 & FlagFormat) == 0) fail();

    const bool shift = (code == CodeShiftLeft || code == CodeShiftRight);
    const Flags format = shift ? (flags_0 & (FlagFormat | FlagBits)) : get_common_flags(flags_0, flags_1);
    const SpvOp opcode = get_operator_opcode(code, format);
    if(opcode == SpvOpNop || (shift && (flags_1 & FlagInteger) == 0)) fail();
    if((flags_0 | flags_1) & FlagMatrix) {
        value_0 = add_cast_opcodes(func, format, value_0);
        value_1 = add_cast_opcodes(func, format, value_1);
        const uint32_t result =
            (code == CodeMul) ? add_product(value_0, value_1, func) : add_columns(code, value_0, value_1, func);
        if(result == ~0u) fail();
        return result;
    }

    const uint32_t width_0 = get_type_width(flags_0);
    const uint32_t width_1 = get_type_width(flags_1);
    const uint32_t width = max(width_0, width_1);
    if(width_0 != width_1 && width_0 != 1 && width_1 != 1) fail();
    value_0 = add_cast_opcodes(func, format, value_0);
    if(!shift) value_1 = add_cast_opcodes(func, format, value_1);
    if(code == CodeMul && (format & FlagFloat) && width_0 != width_1) {
        const uint32_t vector = (width_0 > width_1) ? value_0 : value_1;
        const uint32_t scalar = (width_0 > width_1) ? value_1 : value_0;
        // A constant may spare the instruction, which only the plain product knows.
        if(get_constant(scalar) == nullptr && get_constant(vector) == nullptr)
            return add_value(func, SpvOpVectorTimesScalar, get_type(vector), {vector, scalar});
    }
    value_0 = add_expand_opcode(func, value_0, (width_0 == 1) ? width : 1);
    value_1 = add_expand_opcode(func, value_1, (width_1 == 1) ? width : 1);
    const bool relation = equality || (code >= CodeLessThan && code <= CodeGreaterEqual);
    const Flags result = get_vector_flags(relation ? (FlagBool | Flag32Bit) : format, width);
    const uint32_t value = add_binary_opcode(func, opcode, result, value_0, value_1);
    if(!equality || width == 1) return value;
    // Vectors are equal as a whole.
    if(const Constant *constant = get_constant(value)) {
        bool all = true, any = false;
        for(uint32_t i = 0; i < constant->size(); i++) {
            all &= constant->getb32(i);
            any |= constant->getb32(i);
        }
        return add_constantb32((code == CodeEqual) ? all : any);
    }
    return add_value(func, (code == CodeEqual) ? SpvOpAll : SpvOpAny, add_type(FlagBool | Flag32Bit | FlagScalar),
                     {value});
}

// Cooperative matrices of one type are combined element by element, and scaled by numbers; ~0 for anything else.
uint32_t Compiler::add_tensor_operator(uint32_t code, uint32_t value_0, uint32_t value_1, Function &func) {
    if(code != CodeAdd && code != CodeSub && code != CodeMul && code != CodeDiv) return ~0u;
    const uint32_t type_0 = get_type(value_0);
    const uint32_t type_1 = get_type(value_1);
    if(type_0 == type_1)
        return add_value(func, get_operator_opcode(code, get_target_flags(type_0)), type_0, {value_0, value_1});
    const bool first = (tensors.get(type_0) != nullptr);
    const uint32_t number = first ? value_1 : value_0;
    if(code != CodeMul || (get_target_flags(number) & FlagScalar) == 0) return ~0u;
    const uint32_t type = first ? type_0 : type_1;
    const uint32_t factor = add_convert_opcodes(func, get_target_type(type), number);
    if(factor == ~0u) return ~0u;
    return add_value(func, SpvOpMatrixTimesScalar, type, {first ? value_0 : value_1, factor});
}

// Products with a matrix; ~0 if the sizes do not fit.
uint32_t Compiler::add_product(uint32_t value_0, uint32_t value_1, Function &func) {
    const Flags flags_0 = get_target_flags(value_0);
    const Flags flags_1 = get_target_flags(value_1);
    const uint32_t width_0 = get_type_width(flags_0);
    const uint32_t width_1 = get_type_width(flags_1);
    const uint32_t columns_0 = get_type_columns(flags_0);
    const uint32_t columns_1 = get_type_columns(flags_1);
    const Flags format = flags_0 & (FlagFormat | FlagBits);
    if(columns_0 > 1 && columns_1 > 1) {
        if(columns_0 != width_1) return ~0u;
        const uint32_t type = add_type(get_matrix_flags(format, width_0, columns_1));
        return add_value(func, SpvOpMatrixTimesMatrix, type, {value_0, value_1});
    }
    if(columns_0 > 1 && width_1 > 1) {
        if(columns_0 != width_1) return ~0u;
        return add_value(func, SpvOpMatrixTimesVector, add_type(get_vector_flags(format, width_0)), {value_0, value_1});
    }
    if(columns_0 > 1) return add_value(func, SpvOpMatrixTimesScalar, get_type(value_0), {value_0, value_1});
    if(width_0 > 1) {
        if(width_0 != width_1) return ~0u;
        return add_value(func, SpvOpVectorTimesMatrix, add_type(get_vector_flags(format, columns_1)),
                         {value_0, value_1});
    }
    return add_value(func, SpvOpMatrixTimesScalar, get_type(value_1), {value_1, value_0});
}

// What works by component works on a matrix column by column; ~0 if the sizes do not fit.
uint32_t Compiler::add_columns(uint32_t code, uint32_t value_0, uint32_t value_1, Function &func) {
    const Flags flags_0 = get_target_flags(value_0);
    const Flags flags_1 = get_target_flags(value_1);
    const bool matrix_0 = (flags_0 & FlagMatrix);
    const bool matrix_1 = (flags_1 & FlagMatrix);
    if(code != CodeAdd && code != CodeSub && code != CodeDiv && code != CodeMul && code != CodeMod) return ~0u;
    if(matrix_0 && matrix_1 && get_type(value_0) != get_type(value_1)) return ~0u;
    if((!matrix_0 && get_type_width(flags_0) > 1) || (!matrix_1 && get_type_width(flags_1) > 1)) return ~0u;
    const Flags flags = matrix_0 ? flags_0 : flags_1;
    const SpvOp opcode = get_operator_opcode(code, flags);
    const uint32_t width = get_type_width(flags);
    ArrayStack<uint32_t, 4> columns;
    const uint32_t vector_0 = matrix_0 ? ~0u : add_expand_opcode(func, value_0, width);
    const uint32_t vector_1 = matrix_1 ? ~0u : add_expand_opcode(func, value_1, width);
    for(uint32_t i = 0; i < get_type_columns(flags); i++) {
        const uint32_t column_0 = matrix_0 ? add_extract_opcode(func, value_0, i) : vector_0;
        const uint32_t column_1 = matrix_1 ? add_extract_opcode(func, value_1, i) : vector_1;
        columns.append(add_binary_opcode(func, opcode, get_vector_flags(flags, width), column_0, column_1));
    }
    return add_composite(get_type(matrix_0 ? value_0 : value_1), columns, func);
}

// Whether two values of one type are equal in all their parts.
uint32_t Compiler::add_equal(uint32_t value_0, uint32_t value_1, Function &func) {
    const uint32_t type = get_type(value_0);
    const Flags flags = get_target_flags(type);
    if((flags & (FlagArray | FlagStructure | FlagMatrix)) == 0) return add_operator(CodeEqual, value_0, value_1, func);
    uint32_t count = get_target_length(type);
    if((flags & FlagArray) == 0)
        count = (flags & FlagMatrix) ? get_type_columns(flags) : get_target_structure(type).variables.size();
    uint32_t result = ~0u;
    for(uint32_t i = 0; i < count; i++) {
        const uint32_t part_0 = add_extract_opcode(func, value_0, i);
        const uint32_t part_1 = add_extract_opcode(func, value_1, i);
        const uint32_t equal = add_equal(part_0, part_1, func);
        result = (i == 0) ? equal : add_operator(CodeLogicalAnd, result, equal, func);
    }
    return (result != ~0u) ? result : add_constantb32(true);
}

uint32_t Compiler::add_select(uint32_t condition, uint32_t value_0, uint32_t value_1, Function &func) {
    const Flags flags = get_target_flags(condition);
    const Flags flags_0 = get_target_flags(value_0);
    const Flags flags_1 = get_target_flags(value_1);
    const Flags other = FlagArray | FlagStructure;
    auto fail = [&]() {
        Parser::error("invalid operator %s for %s and %s with %s condition\n", get_code_name(CodeSelect),
                      get_target_type_name(value_0).get(), get_target_type_name(value_1).get(),
                      get_target_type_name(condition).get());
    };
    const bool plain = ((flags | flags_0 | flags_1) & other) == 0 && !is_opaque_type(get_type(value_0)) &&
                       !is_opaque_type(get_type(value_1)) && !is_opaque_type(get_type(condition));
    const Flags format = get_common_flags(flags_0, flags_1);
    if(!plain || (flags & FlagBool) == 0 || format == FlagNone) fail();
    const Flags shape = FlagVector | FlagMatrix;
    if((flags_0 & shape) != (flags_1 & shape)) fail();
    const uint32_t width = get_type_width(flags_0);
    const uint32_t condition_width = get_type_width(flags);
    if(condition_width != 1 && (condition_width != width || (flags_0 & FlagMatrix))) fail();
    value_0 = add_cast_opcodes(func, format, value_0);
    value_1 = add_cast_opcodes(func, format, value_1);
    const Constant *constant = get_constant(condition);
    if(constant && constant->uniform()) return constant->getb32() ? value_0 : value_1;
    if(condition_width == 1) condition = add_expand_opcode(func, condition, width);
    if((flags_0 & FlagMatrix) == 0)
        return add_value(func, SpvOpSelect, get_type(value_0), {condition, value_0, value_1});
    ArrayStack<uint32_t, 4> columns;
    for(uint32_t i = 0; i < get_type_columns(flags_0); i++) {
        const uint32_t column_0 = add_extract_opcode(func, value_0, i);
        const uint32_t column_1 = add_extract_opcode(func, value_1, i);
        columns.append(add_value(func, SpvOpSelect, get_type(column_0), {condition, column_0, column_1}));
    }
    return add_composite(get_type(value_0), columns, func);
}

} // namespace Kolm
