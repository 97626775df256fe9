// Constant expressions: what initialises a constant, gives an array its length or a layout qualifier its number.
//
// They are evaluated while they are read and leave nothing in the module. Arithmetic is that of Constant::binary, so a
// constant expression and a folded one in a body give the same bits. Functions of numbers are rows of a table; those of
// vectors and matrices are few and stand below it.

#include <math.h>

#include "KolmCompiler.h"
#include "KolmCompilerText.h"

namespace Kolm {

namespace {

constexpr float64_t Pi = 3.14159265358979323846;

// Functions of single numbers. Kind: F gives floats, G keeps the format of its arguments.
struct NumberFunction {
    const char *name;
    uint32_t args;
    bool keep;
    float64_t (*func)(const float64_t *x);
};

float64_t get_sign(float64_t x) { return (x > 0.0) ? 1.0 : (x < 0.0) ? -1.0 : 0.0; }
float64_t get_clamp(float64_t x, float64_t lo, float64_t hi) { return (x < lo) ? lo : (x > hi) ? hi : x; }
float64_t get_smooth(float64_t lo, float64_t hi, float64_t x) {
    const float64_t t = get_clamp((x - lo) / (hi - lo), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

#define NUMBER_1(NAME, KEEP, EXPR)                                          \
    {                                                                       \
        NAME, 1, KEEP, [](const float64_t *x) -> float64_t { return EXPR; } \
    }
#define NUMBER_N(NAME, ARGS, KEEP, EXPR)                                       \
    {                                                                          \
        NAME, ARGS, KEEP, [](const float64_t *x) -> float64_t { return EXPR; } \
    }
const NumberFunction number_functions[] = {
    NUMBER_1("radians", false, x[0] * (Pi / 180.0)),
    NUMBER_1("degrees", false, x[0] * (180.0 / Pi)),
    NUMBER_1("sin", false, sin(x[0])),
    NUMBER_1("cos", false, cos(x[0])),
    NUMBER_1("tan", false, tan(x[0])),
    NUMBER_1("asin", false, asin(x[0])),
    NUMBER_1("acos", false, acos(x[0])),
    NUMBER_1("atan", false, atan(x[0])),
    NUMBER_N("atan", 2, false, atan2(x[0], x[1])),
    NUMBER_N("atan2", 2, false, atan2(x[0], x[1])),
    NUMBER_1("sinh", false, sinh(x[0])),
    NUMBER_1("cosh", false, cosh(x[0])),
    NUMBER_1("tanh", false, tanh(x[0])),
    NUMBER_1("asinh", false, asinh(x[0])),
    NUMBER_1("acosh", false, acosh(x[0])),
    NUMBER_1("atanh", false, atanh(x[0])),
    NUMBER_1("exp", false, exp(x[0])),
    NUMBER_1("log", false, log(x[0])),
    NUMBER_1("exp2", false, exp2(x[0])),
    NUMBER_1("log2", false, log2(x[0])),
    NUMBER_1("sqrt", false, sqrt(x[0])),
    NUMBER_1("inversesqrt", false, 1.0 / sqrt(x[0])),
    NUMBER_N("pow", 2, false, pow(x[0], x[1])),
    NUMBER_1("floor", false, floor(x[0])),
    NUMBER_1("ceil", false, ceil(x[0])),
    NUMBER_1("trunc", false, trunc(x[0])),
    NUMBER_1("round", false, rint(x[0])),
    NUMBER_1("roundEven", false, rint(x[0])),
    NUMBER_1("fract", false, x[0] - floor(x[0])),
    NUMBER_1("abs", true, fabs(x[0])),
    NUMBER_1("sign", true, get_sign(x[0])),
    NUMBER_N("min", 2, true, (x[1] < x[0]) ? x[1] : x[0]),
    NUMBER_N("max", 2, true, (x[0] < x[1]) ? x[1] : x[0]),
    NUMBER_N("clamp", 3, true, get_clamp(x[0], x[1], x[2])),
    NUMBER_N("mod", 2, false, x[0] - x[1] * floor(x[0] / x[1])),
    NUMBER_N("mix", 3, false, x[0] * (1.0 - x[2]) + x[1] * x[2]),
    NUMBER_N("step", 2, false, (x[1] < x[0]) ? 0.0 : 1.0),
    NUMBER_N("smoothstep", 3, false, get_smooth(x[0], x[1], x[2])),
    NUMBER_N("fma", 3, false, x[0] * x[1] + x[2]),
};
#undef NUMBER_1
#undef NUMBER_N

uint32_t get_digit(char c) {
    if(c >= '0' && c <= '9') return uint32_t(c - '0');
    if(c >= 'a' && c <= 'f') return uint32_t(c - 'a') + 10;
    if(c >= 'A' && c <= 'F') return uint32_t(c - 'A') + 10;
    return 16;
}

} // namespace

// number: digits, "0x" digits, "0" octal digits, or a float in decimal or hexadecimal form; then a suffix.
// Suffixes: u, l, ul, s, us; f, lf, hf; either case.
bool Compiler::parse_literal(const char *&s, Constant &constant) {
    const char *begin = s;
    const char *p = s;
    const bool hexadecimal = (p[0] == '0' && (p[1] == 'x' || p[1] == 'X'));
    uint64_t mantissa = 0;
    int32_t exponent = 0; // of the radix for fractions and digits that do not fit
    bool is_float = false;
    bool any = false;
    if(hexadecimal) {
        p += 2;
        for(; get_digit(*p) < 16; p++, any = true) {
            if(mantissa >> 60)
                exponent += 4;
            else
                mantissa = mantissa * 16 + get_digit(*p);
        }
        if(*p == '.') {
            is_float = true;
            for(p++; get_digit(*p) < 16; p++, any = true) {
                if(mantissa >> 60) continue;
                mantissa = mantissa * 16 + get_digit(*p);
                exponent -= 4;
            }
        }
        if(any && (*p == 'p' || *p == 'P')) is_float = true;
        if(!any) return false;
    } else {
        for(; Text::is_digit(*p); p++, any = true) {
            if(mantissa > (~uint64_t(0) - 9) / 10)
                exponent += 1;
            else
                mantissa = mantissa * 10 + uint32_t(*p - '0');
        }
        if(*p == '.') {
            is_float = true;
            for(p++; Text::is_digit(*p); p++, any = true) {
                if(mantissa > (~uint64_t(0) - 9) / 10) continue;
                mantissa = mantissa * 10 + uint32_t(*p - '0');
                exponent -= 1;
            }
        }
        if(!any) return false;
    }
    const char mark = hexadecimal ? 'p' : 'e';
    if(*p == mark || *p == char(mark - 32)) {
        const char *q = p + 1;
        const bool negative = (*q == '-');
        if(*q == '-' || *q == '+') q++;
        if(Text::is_digit(*q)) {
            int32_t value = 0;
            for(; Text::is_digit(*q); q++) {
                if(value < 100000) value = value * 10 + (*q - '0');
            }
            exponent += negative ? -value : value;
            is_float = true;
            p = q;
        }
    }

    // The suffix tells the type.
    Flags flags = FlagNone;
    const char a = char(*p | 32);
    const char b = a ? char(p[1] | 32) : '\0';
    uint32_t length = 0;
    if(a == 'l' && b == 'f') {
        flags = FlagFloat | Flag64Bit;
        length = 2;
    } else if(a == 'h' && b == 'f') {
        flags = FlagFloat | Flag16Bit;
        length = 2;
    } else if(a == 'f') {
        flags = FlagFloat | Flag32Bit;
        length = 1;
    } else if(is_float) {
        flags = FlagFloat | Flag32Bit;
    } else if(a == 'u') {
        length = (b == 'l' || b == 's') ? 2 : 1;
        flags = FlagUInt | ((b == 'l') ? Flag64Bit : (b == 's') ? Flag16Bit : Flag32Bit);
    } else if(a == 'l' || a == 's') {
        length = 1;
        flags = FlagSInt | ((a == 'l') ? Flag64Bit : Flag16Bit);
    } else {
        flags = FlagSInt | Flag32Bit;
    }
    const char *digits = begin;
    p += length;
    if(Text::is_word(*p)) return false;
    const bool octal = !hexadecimal && !(flags & FlagFloat) && *digits == '0' && Text::is_digit(digits[1]);
    if(octal) {
        mantissa = 0;
        for(; Text::is_digit(*digits); digits++) {
            if(*digits > '7') return false;
            mantissa = mantissa * 8 + uint32_t(*digits - '0');
        }
    }
    s = p;

    constant.flags = flags | FlagScalar;
    constant.values.clear();
    if(flags & FlagFloat) {
        const float64_t value = hexadecimal ? ldexp(float64_t(mantissa), max(min(exponent, 100000), -100000))
                                            : String::tof64(begin);
        constant.setf64(0, value);
        return true;
    }
    constant.setu64(0, mantissa);
    return true;
}

/// Recursive descent over a constant expression.
struct Compiler::ConstantParser : public NoCopy {
    /// `type` is the id of an array or a structure, ~0 for numbers, and for arrays whose elements are numbers.
    struct Value {
        Constant constant;
        uint32_t type = ~0u;
    };

    ConstantParser(Compiler &compiler, const char *src, const Scope *scope, bool internal)
        : compiler(compiler), s(src), scope(scope), internal(internal) {}

    Compiler &compiler;
    const char *s;
    const Scope *scope;
    bool internal;

    static String get_text(const char *begin, const char *end) {
        String text;
        text.append(begin, uint32_t(end - begin));
        return text;
    }
    static Flags get_shape(const Constant &constant) { return constant.flags & ~(FlagFormat | FlagBits); }
    static bool is_number(const Value &value) {
        return value.type == ~0u && (value.constant.flags & (FlagArray | FlagStructure)) == 0;
    }
    /// The same shape in another format.
    static Flags get_flags(const Constant &constant, Flags format) {
        return get_shape(constant) | (format & (FlagFormat | FlagBits));
    }
    String print(const Value &value) { return compiler.get_constant(value.constant, false); }

    [[noreturn]] void error_operator(uint32_t code, const Value &a) {
        Parser::error("unknown operator %s for \"%s\"\n", get_code_name(code), print(a).get());
    }
    [[noreturn]] void error_operator(uint32_t code, const Value &a, const Value &b) {
        Parser::error("unknown operator %s for \"%s\" and \"%s\"\n", get_code_name(code), print(a).get(),
                      print(b).get());
    }

    void parse(Value &value) {
        parse_binary(value, 0);
        Text::skip_blank(s);
        if(*s == '\0') return;
        uint32_t length = 0;
        uint32_t compound = 0;
        const uint32_t code = read_operator(s, length, compound);
        if(code == CodeUnknown && *s != ')' && *s != ']' && *s != ',' && !Text::is_word(*s) && *s != '(')
            Parser::error("unknown constant operator\n");
        Parser::error("invalid expression\n");
    }

    // expression: unary { operator unary } [ "?" expression ":" expression ]
    void parse_binary(Value &left, uint32_t priority) {
        parse_unary(left);
        for(;;) {
            Text::skip_blank(s);
            uint32_t length = 0;
            uint32_t compound = 0;
            const uint32_t code = read_operator(s, length, compound);
            if(code == CodeUnknown) return;
            if(code == CodeAssign || code == CodePostIncrement || code == CodePostDecrement)
                Parser::error("unknown constant operator\n");
            const uint32_t level = get_code_priority(code);
            if(level < priority) return;
            s += length;
            if(code == CodeSelect) {
                Depth depth(compiler);
                Value a, b;
                parse_binary(a, level);
                if(!Text::accept(s, ':')) Parser::error("invalid expression\n");
                parse_binary(b, level);
                apply_select(left, a, b);
                continue;
            }
            Value right;
            parse_binary(right, level + 1);
            apply_binary(code, left, right);
        }
    }

    void parse_unary(Value &value) {
        Text::skip_blank(s);
        const char c = *s;
        if(c == '-' || c == '!' || c == '~' || c == '+') {
            Depth depth(compiler);
            s++;
            if(*s == c && (c == '-' || c == '+')) Parser::error("unknown constant operator\n");
            parse_unary(value);
            if(c != '+') apply_unary((c == '-') ? CodeNegate : (c == '!') ? CodeLogicalNot : CodeBitwiseNot, value);
            return;
        }
        parse_primary(value);
        for(;;) {
            Text::skip_blank(s);
            if(*s == '.')
                parse_member(value);
            else if(*s == '[')
                parse_index(value);
            else
                return;
        }
    }

    void parse_primary(Value &value) {
        Depth depth(compiler);
        const char *begin = s;
        if(Text::accept(s, '(')) {
            parse_binary(value, 0);
            if(!Text::accept(s, ')')) Parser::error("invalid expression\n");
            return;
        }
        if(Text::is_digit(*s) || (*s == '.' && Text::is_digit(s[1]))) {
            if(!parse_literal(s, value.constant)) Parser::error("can't parse constant \"%s\"\n", begin);
            return;
        }
        if(*s == '{') {
            parse_list(value);
            return;
        }
        StringStack<64> name;
        if(!Text::read_name(s, name)) {
            if(*s == '\0' || *s == ')' || *s == ',') Parser::error("invalid expression\n");
            Parser::error("can't parse constant \"%s\"\n", begin);
        }
        if(name == "true" || name == "false") {
            value.constant.flags = FlagBool | Flag32Bit | FlagScalar;
            value.constant.values.clear();
            value.constant.setb32(0, name == "true");
            return;
        }
        const char *behind = s;
        Text::skip_blank(behind);
        // A type and its arguments.
        const char *type_end = begin;
        const String type = compiler.parse_type(type_end, scope, internal);
        if(type.size()) {
            s = type_end;
            parse_type_constructor(value, type, begin);
            return;
        }
        if(*behind == '(') {
            s = behind;
            parse_call(value, name);
            return;
        }
        parse_name(value, name);
    }

    // constant: the name of one
    void parse_name(Value &value, const String &name) {
        const uint32_t index = compiler.get_variable(name, scope);
        if(index == ~0u) Parser::error("can't parse constant \"%s\"\n", name.get());
        Variable &variable = compiler.variables[index];
        const char *p = s;
        Text::skip_blank(p);
        if(*p == '.' && parse_length(p, variable, name, value)) {
            s = p;
            return;
        }
        if(!variable.decorations.has(SpvDecorationConstant))
            Parser::error("\"%s\" is not a constant variable\n", name.get());
        const Constant *constant = compiler.get_constant(variable);
        if(constant == nullptr) Parser::error("\"%s\" is not a constant variable\n", name.get());
        value.constant = *constant;
        const uint32_t type = compiler.add_variable_type(variable);
        const Flags flags = compiler.get_target_flags(type);
        if(flags & (FlagArray | FlagStructure)) value.type = type;
        value.constant.flags = flags;
    }

    // The length of an array is known whatever it holds.
    bool parse_length(const char *&p, Variable &variable, const String &name, Value &value) {
        const char *q = p + 1;
        StringStack<64> method;
        if(!Text::read_name(q, method)) return false;
        const char *args = q;
        if(!Text::accept(q, '(')) return false;
        while(*q && *q != ')') q++;
        const String text = get_text(args + 1, q);
        if(*q) q++;
        if(method != "length") Parser::error("unknown array function %s(%s)\n", method.get(), text.get());
        if(variable.length == ~0u || variable.length == 0) {
            if(variable.decorations.has(SpvDecorationConstant)) return false;
            Parser::error("\"%s\" is not a constant variable\n", name.get());
        }
        set_integer(value, variable.length);
        p = q;
        return true;
    }

    void set_integer(Value &value, uint64_t number) {
        value.type = ~0u;
        value.constant.flags = FlagSInt | Flag32Bit | FlagScalar;
        value.constant.values.clear();
        value.constant.setu64(0, number);
    }

    // member: "." name | "." swizzle | ".length()"
    void parse_member(Value &value) {
        s++;
        StringStack<64> name;
        if(!Text::read_name(s, name)) Parser::error("invalid expression\n");
        const char *args = s;
        if(Text::accept(s, '(')) {
            while(*s && *s != ')') s++;
            const String text = get_text(args + 1, s);
            if(*s) s++;
            const Flags flags = value.constant.flags;
            if(name != "length" || text.size())
                Parser::error("unknown array function %s(%s)\n", name.get(), text.get());
            if(value.type != ~0u && compiler.get_target_length(value.type) != ~0u)
                set_integer(value, compiler.get_target_length(value.type));
            else if(flags & FlagArray)
                set_integer(value, value.constant.size() / get_type_components(flags & ~FlagArray));
            else
                set_integer(value, (flags & FlagMatrix) ? get_type_columns(flags) : get_type_width(flags));
            return;
        }
        if(value.type != ~0u && compiler.get_target_length(value.type) == ~0u) {
            Structure &structure = compiler.get_target_structure(value.type);
            const uint32_t *index = structure.scope.variables.get(name);
            if(!index)
                Parser::error("can't find \"%s\" member in \"%s\" structure\n", name.get(), structure.name.get());
            uint32_t offset = 0;
            for(uint32_t i = 0; i < structure.variables.size(); i++) {
                const uint32_t type = compiler.add_variable_type(compiler.variables[structure.variables[i]]);
                if(structure.variables[i] == *index) {
                    set_slice(value, type, offset);
                    return;
                }
                offset += uint32_t(compiler.get_type_scalars(type));
            }
        }
        if(!is_number(value) || (value.constant.flags & FlagMatrix) || name.size() > 4)
            Parser::error("invalid swizzle \"%s\" for %s\n", name.get(), print(value).get());
        Constant constant(get_vector_flags(value.constant.flags, name.size()));
        for(uint32_t i = 0; i < name.size(); i++) {
            const uint32_t component = get_swizzle(name[i]);
            if(component >= value.constant.size())
                Parser::error("invalid swizzle \"%s\" for %s\n", name.get(), print(value).get());
            constant.append(value.constant, component);
        }
        value.constant = constant;
    }

    // index: "[" expression "]"
    void parse_index(Value &value) {
        s++;
        Value index;
        parse_binary(index, 0);
        if(!Text::accept(s, ']')) Parser::error("invalid expression\n");
        if(!is_number(index) || (index.constant.flags & FlagInteger) == 0 || index.constant.size() != 1)
            Parser::error("invalid expression\n");
        const uint64_t i = index.constant.getu64();
        const Flags flags = value.constant.flags;
        if(value.type != ~0u) {
            const Target *target = compiler.targets.get(value.type);
            if(target->length == ~0u || i >= target->length) Parser::error("invalid expression\n");
            set_slice(value, target->type, uint32_t(i * compiler.get_type_scalars(target->type)));
            return;
        }
        uint32_t stride = 1;
        Flags element = get_vector_flags(flags, 1);
        if(flags & FlagArray) {
            element = flags & ~FlagArray;
            stride = get_type_components(element);
        } else if(flags & FlagMatrix) {
            stride = get_type_width(flags);
            element = get_vector_flags(flags, stride);
        }
        if(i >= value.constant.size() / stride) Parser::error("invalid expression\n");
        Constant constant(element);
        for(uint32_t k = 0; k < stride; k++) constant.append(value.constant, uint32_t(i) * stride + k);
        value.constant = constant;
    }

    // Part of an array or a structure: the value of a type that begins at a scalar.
    void set_slice(Value &value, uint32_t type, uint32_t offset) {
        const uint32_t count = uint32_t(compiler.get_type_scalars(type));
        const Flags flags = compiler.get_target_flags(type);
        const bool composite = (flags & (FlagArray | FlagStructure));
        Constant constant(flags);
        if(offset + count > value.constant.size()) Parser::error("invalid expression\n");
        for(uint32_t i = 0; i < count; i++) constant.values.append(Constant::Value(value.constant.values[offset + i]));
        value.constant = constant;
        value.type = composite ? type : ~0u;
    }

    struct Entry : public Value {
        void reset() {
            constant.reset();
            type = ~0u;
        }
    };

    // arguments: [ expression { "," expression } ] ")"
    void parse_arguments(StableArray<Entry, 8> &args) {
        if(Text::accept(s, ')')) return;
        do {
            parse_binary(args.append(), 0);
        } while(Text::accept(s, ','));
        if(!Text::accept(s, ')')) Parser::error("invalid expression\n");
    }

    void append(Constant &constant, const Constant &from) {
        if(uint64_t(constant.size()) + from.size() > MaxConstants) Parser::error("constant is too large\n");
        // The values of a structure have their members' formats and are taken as they are.
        const bool plain = (constant.flags & FlagFormat) == 0;
        for(uint32_t i = 0; i < from.size(); i++) {
            if(plain)
                constant.values.append(Constant::Value(from.values[i]));
            else
                constant.append(from, i);
        }
    }

    // constructor: type [ "[" [ expression ] "]" ] "(" arguments ")"
    void parse_type_constructor(Value &value, const String &name, const char *begin) {
        String type = name;
        Text::skip_blank(s);
        uint32_t length = ~0u;
        if(*s == '[') length = compiler.parse_array_length(s, type, scope);
        const char *open = s;
        if(!Text::accept(s, '(')) Parser::error("can't parse constant \"%s\"\n", begin);
        StableArray<Entry, 8> args;
        parse_arguments(args);
        const String text = get_text(open + 1, s - 1);
        if(!construct(value, type, length, args))
            Parser::error("can't parse constant \"%s(%s)\"\n", compiler.get_source_name(type).get(), text.get());
    }

    bool construct(Value &value, const String &type, uint32_t length, StableArray<Entry, 8> &args) {
        if(length != ~0u) {
            const uint32_t element = compiler.add_type(type, ~0u, scope);
            const Flags flags = compiler.get_target_flags(element);
            const uint64_t count = compiler.get_type_scalars(element);
            if(length == 0) length = args.size();
            if(length != args.size() || length == 0) return false;
            value.type = compiler.add_type(type, length, scope);
            value.constant = Constant(flags | FlagArray);
            for(uint32_t i = 0; i < args.size(); i++) {
                if(args[i].constant.size() != count) return false;
                append(value.constant, args[i].constant);
            }
            return true;
        }
        const uint32_t target = compiler.add_type(type, ~0u, scope);
        const Flags flags = compiler.get_target_flags(target);
        if(flags & FlagStructure) {
            Structure &structure = compiler.get_target_structure(target);
            if(structure.variables.size() != args.size()) return false;
            value.type = target;
            value.constant = Constant(flags);
            for(uint32_t i = 0; i < args.size(); i++) {
                const uint32_t member = compiler.add_variable_type(compiler.variables[structure.variables[i]]);
                const Flags member_flags = compiler.get_target_flags(member);
                if(args[i].constant.size() != compiler.get_type_scalars(member)) return false;
                if((member_flags & (FlagStructure | FlagArray)) == 0)
                    args[i].constant = args[i].constant.convert(member_flags);
                append(value.constant, args[i].constant);
            }
            return true;
        }
        if((flags & FlagFormat) == 0 || args.empty()) return false;
        for(uint32_t i = 0; i < args.size(); i++) {
            if(!is_number(args[i])) return false;
        }
        const uint32_t count = get_type_components(flags);
        const uint32_t width = get_type_width(flags);
        const uint32_t columns = get_type_columns(flags);
        Constant constant(flags);
        const Constant &first = args[0].constant;
        if(args.size() == 1 && first.size() == 1) {
            Constant zero(first.flags);
            zero.setu64(0, 0);
            for(uint32_t i = 0; i < count; i++) {
                const bool diagonal = (i / width == i % width);
                constant.append((columns == 1 || diagonal) ? first : zero, 0);
            }
        } else if(args.size() == 1 && columns > 1 && (first.flags & FlagMatrix)) {
            const uint32_t first_width = get_type_width(first.flags);
            const uint32_t first_columns = get_type_columns(first.flags);
            for(uint32_t c = 0; c < columns; c++) {
                for(uint32_t r = 0; r < width; r++) {
                    if(c < first_columns && r < first_width)
                        constant.append(first, c * first_width + r);
                    else
                        constant.setf64(constant.size(), (c == r) ? 1.0 : 0.0);
                }
            }
        } else {
            for(uint32_t i = 0; i < args.size(); i++) {
                if(constant.size() == count) return false;
                for(uint32_t k = 0; k < args[i].constant.size() && constant.size() < count; k++)
                    constant.append(args[i].constant, k);
            }
            if(constant.size() != count) return false;
        }
        value.type = ~0u;
        value.constant = constant;
        return true;
    }

    // list: "{" expression { "," expression } [ "," ] "}": its values in a row; the declared type gives them a shape
    void parse_list(Value &value) {
        s++;
        bool first = true;
        for(;;) {
            Text::skip_blank(s);
            if(Text::accept(s, '}')) break;
            Value item;
            parse_binary(item, 0);
            if(first) {
                value.constant = item.constant;
                value.constant.flags |= FlagArray;
                value.type = ~0u;
            } else {
                append(value.constant, item.constant);
            }
            first = false;
            Text::skip_blank(s);
            if(*s == ',')
                s++;
            else if(*s != '}')
                Parser::error("invalid expression\n");
        }
        if(first) Parser::error("invalid expression\n");
    }

    // call: name "(" arguments ")"
    void parse_call(Value &value, const String &name) {
        const char *open = s++;
        StableArray<Entry, 8> args;
        parse_arguments(args);
        bool numbers = args.size() > 0;
        for(uint32_t i = 0; i < args.size(); i++) numbers &= is_number(args[i]);
        if(numbers && (call_numbers(value, name, args) || call_vectors(value, name, args))) return;
        Parser::error("unknown function \"%s(%s)\"\n", name.get(), get_text(open + 1, s - 1).get());
    }

    bool call_numbers(Value &value, const String &name, StableArray<Entry, 8> &args) {
        const NumberFunction *function = nullptr;
        for(const NumberFunction &f : number_functions) {
            if(f.args == args.size() && name == f.name) function = &f;
        }
        if(!function) return false;
        Flags format = args[0].constant.flags;
        uint32_t width = 1;
        for(uint32_t i = 0; i < args.size(); i++) {
            const Flags flags = args[i].constant.flags;
            if(flags & (FlagMatrix | FlagBool)) return false;
            if(args[i].constant.size() > 1) {
                if(width > 1 && width != args[i].constant.size()) return false;
                width = args[i].constant.size();
            }
            format = get_common_flags(format, flags);
        }
        if(!function->keep && (format & FlagFloat) == 0) format = FlagFloat | Flag32Bit;
        Constant result(get_vector_flags(format, width));
        for(uint32_t k = 0; k < width; k++) {
            float64_t x[3] = {};
            for(uint32_t i = 0; i < args.size(); i++) {
                const Constant &arg = args[i].constant;
                // The argument in the format of the call, as the instruction would get it.
                Constant number(get_vector_flags(format, 1));
                number.append(arg, (arg.size() == 1) ? 0 : k);
                x[i] = number.getf64();
            }
            result.setf64(k, function->func(x));
        }
        value.constant = result;
        value.type = ~0u;
        return true;
    }

    static float64_t get_dot(const Constant &a, const Constant &b) {
        float64_t sum = 0.0;
        for(uint32_t i = 0; i < a.size() && i < b.size(); i++) sum += a.getf64(i) * b.getf64(i);
        return sum;
    }

    bool call_vectors(Value &value, const String &name, StableArray<Entry, 8> &args) {
        const Constant &a = args[0].constant;
        const Constant &b = args[args.size() - 1].constant;
        const Flags scalar = get_vector_flags(a.flags, 1);
        Constant result(scalar);
        const bool floats = (a.flags & FlagFloat) && (b.flags & FlagFloat) && (a.flags & FlagMatrix) == 0;
        if(args.size() == 1 && name == "length" && floats) {
            result.setf64(0, sqrt(get_dot(a, a)));
        } else if(args.size() == 1 && name == "normalize" && floats) {
            result.flags = a.flags;
            const float64_t length = sqrt(get_dot(a, a));
            for(uint32_t i = 0; i < a.size(); i++) result.setf64(i, a.getf64(i) / length);
        } else if(args.size() == 2 && name == "dot" && floats && a.size() == b.size()) {
            result.setf64(0, get_dot(a, b));
        } else if(args.size() == 2 && name == "distance" && floats && a.size() == b.size()) {
            float64_t sum = 0.0;
            for(uint32_t i = 0; i < a.size(); i++) sum += (a.getf64(i) - b.getf64(i)) * (a.getf64(i) - b.getf64(i));
            result.setf64(0, sqrt(sum));
        } else if(args.size() == 2 && name == "cross" && floats && a.size() == 3 && b.size() == 3) {
            result.flags = a.flags;
            for(uint32_t i = 0; i < 3; i++) {
                const uint32_t j = (i + 1) % 3;
                const uint32_t k = (i + 2) % 3;
                result.setf64(i, a.getf64(j) * b.getf64(k) - a.getf64(k) * b.getf64(j));
            }
        } else if(args.size() == 1 && name == "transpose" && (a.flags & FlagMatrix)) {
            const uint32_t width = get_type_width(a.flags);
            const uint32_t columns = get_type_columns(a.flags);
            result.flags = get_matrix_flags(a.flags, columns, width);
            for(uint32_t i = 0; i < width * columns; i++) result.append(a, (i % columns) * width + i / columns);
        } else if(args.size() == 1 && (a.flags & FlagFormat) && name.size() > 10 && name.contains("BitsTo")) {
            const bool from_float = name == "floatBitsToInt" || name == "floatBitsToUint";
            const bool from_int = name == "intBitsToFloat" || name == "uintBitsToFloat";
            if((from_float && (a.flags & FlagFloat) == 0) || (from_int && (a.flags & FlagInteger) == 0)) return false;
            if(!from_float && !from_int) return false;
            const Flags format = from_int ? FlagFloat : (name == "floatBitsToInt") ? FlagSInt : FlagUInt;
            result = a.unary(SpvOpBitcast, get_flags(a, format | Flag32Bit));
            if(result.empty()) return false;
        } else if(args.size() == 1 && (name == "any" || name == "all") && (a.flags & FlagBool)) {
            bool any = false, all = true;
            for(uint32_t i = 0; i < a.size(); i++) {
                any |= a.getb32(i);
                all &= a.getb32(i);
            }
            result.setb32(0, (name == "any") ? any : all);
        } else {
            return false;
        }
        value.constant = result;
        value.type = ~0u;
        return true;
    }

    void apply_unary(uint32_t code, Value &value) {
        const Constant &constant = value.constant;
        const SpvOp opcode = is_number(value) ? get_operator_opcode(code, constant.flags) : SpvOpNop;
        if(opcode == SpvOpNop) error_operator(code, value);
        value.constant = constant.unary(opcode, constant.flags);
    }

    void apply_select(Value &condition, const Value &a, const Value &b) {
        if(!is_number(condition) || condition.constant.size() != 1 || a.constant.size() != b.constant.size())
            error_operator(CodeSelect, a, b);
        const bool first = condition.constant.getb32();
        const Value &from = first ? a : b;
        if(is_number(a) && is_number(b)) {
            const Flags format = get_common_flags(a.constant.flags, b.constant.flags);
            condition.constant = from.constant.convert(get_flags(from.constant, format));
        } else {
            condition.constant = from.constant;
        }
        condition.type = from.type;
    }

    void apply_binary(uint32_t code, Value &left, Value &right) {
        if(!is_number(left) || !is_number(right)) error_operator(code, left, right);
        const Constant &a = left.constant;
        const Constant &b = right.constant;
        const bool shift = (code == CodeShiftLeft || code == CodeShiftRight);
        if(code == CodeMul && ((a.flags | b.flags) & FlagMatrix) && a.size() > 1 && b.size() > 1) {
            multiply(left, right);
            return;
        }
        if(a.size() != b.size() && a.size() != 1 && b.size() != 1) error_operator(code, left, right);
        const Flags format = shift ? a.flags : get_common_flags(a.flags, b.flags);
        if(format == FlagNone) error_operator(code, left, right);
        const SpvOp opcode = get_operator_opcode(code, format);
        if(opcode == SpvOpNop || (shift && (b.flags & FlagInteger) == 0)) error_operator(code, left, right);
        const Constant x = a.convert(get_flags(a, format));
        const Constant y = shift ? b : b.convert(get_flags(b, format));
        const Flags shape = (a.size() >= b.size()) ? get_shape(a) : get_shape(b);
        const bool equality = (code == CodeEqual || code == CodeNotEqual);
        const bool relation = equality || (code >= CodeLessThan && code <= CodeGreaterEqual);
        Constant result = x.binary(
            opcode, y, relation ? (shape | FlagBool | Flag32Bit) : (shape | (format & (FlagFormat | FlagBits))));
        if(result.empty()) error_operator(code, left, right);
        if(equality && result.size() > 1) {
            bool equal = true;
            for(uint32_t i = 0; i < result.size(); i++) equal &= (result.getb32(i) == (code == CodeEqual));
            result = Constant(FlagBool | Flag32Bit | FlagScalar);
            result.setb32(0, equal == (code == CodeEqual));
        }
        left.constant = result;
    }

    // Products of linear algebra; a vector on the left is a row.
    void multiply(Value &left, Value &right) {
        const Constant &a = left.constant;
        const Constant &b = right.constant;
        const bool row = (a.flags & FlagMatrix) == 0;
        const uint32_t a_rows = row ? 1 : get_type_width(a.flags);
        const uint32_t a_columns = row ? a.size() : get_type_columns(a.flags);
        const uint32_t b_rows = get_type_width(b.flags);
        const uint32_t b_columns = (b.flags & FlagMatrix) ? get_type_columns(b.flags) : 1;
        const Flags format = get_common_flags(a.flags, b.flags);
        if(a_columns != b_rows || (format & FlagFloat) == 0) error_operator(CodeMul, left, right);
        Constant result(row                ? get_vector_flags(format, b_columns)
                        : (b_columns == 1) ? get_vector_flags(format, a_rows)
                                           : get_matrix_flags(format, a_rows, b_columns));
        for(uint32_t c = 0; c < b_columns; c++) {
            for(uint32_t r = 0; r < a_rows; r++) {
                float64_t sum = 0.0;
                for(uint32_t k = 0; k < a_columns; k++) sum += a.getf64(k * a_rows + r) * b.getf64(c * b_rows + k);
                result.setf64(c * a_rows + r, sum);
            }
        }
        left.constant = result;
        left.type = ~0u;
    }
};

Compiler::Constant Compiler::parse_constant(const char *src, const Scope *scope, bool internal) {
    ConstantParser parser(*this, src, scope, internal);
    ConstantParser::Value value;
    parser.parse(value);
    return value.constant;
}

} // namespace Kolm
