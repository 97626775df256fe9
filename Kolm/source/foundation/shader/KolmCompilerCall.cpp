// Calls of functions that the shader defines: overloads, arguments, inlining.

#include "KolmCompiler.h"
#include "KolmCompilerText.h"
#include "KolmLog.h"

namespace Kolm {

namespace {

// Conversions that a pass of the overload resolution may apply to an argument. Those of the last one are of the
// published language and come when nothing else fits.
struct Conversion {
    uint32_t pass;
    Compiler::Flags from, to;
};
constexpr Compiler::Flags F16 = Compiler::FlagFloat | Compiler::Flag16Bit;
constexpr Compiler::Flags F32 = Compiler::FlagFloat | Compiler::Flag32Bit;
constexpr Compiler::Flags F64 = Compiler::FlagFloat | Compiler::Flag64Bit;
constexpr Compiler::Flags U32 = Compiler::FlagUInt | Compiler::Flag32Bit;
constexpr Compiler::Flags U64 = Compiler::FlagUInt | Compiler::Flag64Bit;
constexpr Compiler::Flags I32 = Compiler::FlagSInt | Compiler::Flag32Bit;
constexpr Compiler::Flags I64 = Compiler::FlagSInt | Compiler::Flag64Bit;
constexpr Conversion conversions[] = {
    {1, U32, I32}, {1, I32, U32}, {1, F32, U32}, {2, U32, F32}, {2, I32, F32}, {2, F32, I32},
    {3, F32, F16}, {3, F16, F32}, {4, F32, F64}, {4, I32, F64}, {4, U32, F64}, {4, I32, I64},
    {4, I32, U64}, {4, U32, U64}, {4, U32, I64}, {4, I64, U64}, {4, I64, F64}, {4, U64, F64},
};
constexpr uint32_t NumPasses = 5;

bool is_block_opcode(uint32_t opcode) { return opcode >= SpvOpLoopMerge && opcode <= SpvOpSwitch; }

// Words of a value instruction, from the third on, that are ids; the others are literals.
uint32_t get_num_ids(uint32_t opcode, uint32_t count) {
    switch(opcode) {
    case SpvOpCompositeExtract: return 1;
    case SpvOpVectorShuffle:
    case SpvOpCompositeInsert: return 2;
    default: return count;
    }
}

// Instructions that give a value of nothing but their operands.
bool is_value_opcode(uint32_t opcode) {
    switch(opcode) {
#define COPY_N(NUM)
#define COPY_R(NUM)
#define COPY_T(NUM)
#define COPY_C(NUM) case NUM:
#define SPV_OP(NUM, NAME, KIND) COPY_##KIND(NUM)
#include "KolmSpirvOps.inc"
#undef COPY_N
#undef COPY_R
#undef COPY_T
#undef COPY_C
        return true;
    default: return false;
    }
}

} // namespace

// arguments: [ expression { "," expression } ] ")"
void Compiler::parse_arguments(const char *&s, Operands &args, uint32_t places, Function &func, Scope *scope) {
    if(Text::accept(s, ')')) return;
    const char *begin = s;
    StringStack<64> word;
    if(Text::read_name(begin, word) && word == "void" && Text::accept(begin, ')')) {
        s = begin;
        return;
    }
    do {
        const uint32_t index = args.size();
        if(index > 255) Parser::error("too many operands\n");
        Operand operand = parse_operand(s, func, scope);
        const bool place = (index < 32) && ((places >> index) & 1);
        if(!operand.place() || !place)
            operand = get_operand(load(operand, func));
        else
            fix_pointer(operand, func);
        args.append(operand);
    } while(Text::accept(s, ','));
    Text::skip_blank(s);
    if(*s != ')') Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
    s++;
}

String Compiler::get_signature(const Operands &args) {
    String signature("(");
    for(uint32_t i = 0; i < args.size(); i++) {
        signature.append(get_internal_type_name(get_operand_type(args[i])));
        signature.append(";");
    }
    return signature;
}

// call: name "(" arguments ")"
uint32_t Compiler::parse_shader_function(const char *&s, const String &name, Function &func, Scope *scope) {
    // What some function of the name wants as a place must not be read yet.
    uint32_t places = 0;
    for(uint32_t i = find_function(name); i != ~0u; i = functions[i].next) {
        const Array<Argument> &arguments = functions[i].arguments;
        for(uint32_t k = 0; k < arguments.size() && k < 32; k++) {
            if(arguments[k].pass != PassIn) places |= 1u << k;
        }
    }
    const char *begin = s;
    ArrayStack<Operand, 4> args;
    parse_arguments(s, args, places, func, scope);
    const String signature = get_signature(args);
    const uint32_t index = resolve_function(name, args, func);
    if(index == ~0u) {
        // A name of the language with other arguments.
        if(internal_functions.get(name)) {
            s = begin;
            return parse_internal_function(s, name, func, scope);
        }
        if(external_functions.get(name)) {
            s = begin;
            return parse_external_function(s, name, func, scope);
        }
        Parser::error("unknown function %s%s)\n", name.get(), signature.get());
    }
    return add_call(functions[index], args, func);
}

// Keeps, argument by argument, the functions that fit in the first pass in which one fits. The arguments are cast to
// what the function found wants.
uint32_t Compiler::resolve_function(const String &name, Operands &args, Function &func) {
    ArrayStack<uint32_t, 16> candidates;
    for(uint32_t i = find_function(name); i != ~0u; i = functions[i].next) {
        if(functions[i].arguments.size() == args.size()) candidates.append(i);
    }
    const String signature = (options & OptionConvert) ? get_signature(args) : String();
    bool converted = false;
    for(uint32_t k = 0; k < args.size() && candidates.size(); k++) {
        const uint32_t type = get_operand_type(args[k]);
        const Flags flags = get_target_flags(type);
        const Flags format = flags & (FlagFormat | FlagBits);
        const Flags shape = flags & ~(FlagFormat | FlagBits);
        const bool plain = (flags & (FlagArray | FlagStructure)) == 0 && !is_opaque_type(type);
        ArrayStack<uint32_t, 16> fits;
        for(uint32_t pass = 0; pass < NumPasses && fits.empty(); pass++) {
            for(uint32_t i = 0; i < candidates.size(); i++) {
                const Function &candidate = functions[candidates[i]];
                const uint32_t wanted = add_variable_type(variables[candidate.arguments[k].variable]);
                const Flags to = get_target_flags(wanted);
                bool fit = (pass == 0) && is_same_type(type, wanted);
                for(const Conversion &conversion : conversions) {
                    if(conversion.pass != pass || !plain || (to & ~(FlagFormat | FlagBits)) != shape) continue;
                    fit |= (conversion.from == format && conversion.to == (to & (FlagFormat | FlagBits)));
                }
                if(fit) fits.append(uint32_t(candidates[i]));
            }
            if(pass && fits.size() && args[k].target != ~0u && get_constant(args[k].target) == nullptr)
                converted = true;
        }
        candidates.copy(fits);
    }
    if(candidates.empty()) return ~0u;
    Function &found = functions[candidates[0]];
    found.usage = true;
    if(converted && (options & OptionConvert))
        Log::printf(Log::Warning, "Compiler::parse_shader_function(): %s%s) function used with %s) arguments\n",
                    name.get(), found.signature.get(), signature.get());
    for(uint32_t k = 0; k < args.size(); k++) {
        if(found.arguments[k].pass != PassIn) continue;
        const uint32_t wanted = add_variable_type(variables[found.arguments[k].variable]);
        const uint32_t value = add_convert_opcodes(func, wanted, load(args[k], func));
        KOLM_ASSERT(value != ~0u && "Compiler::parse_shader_function(): unknown type cast");
        args[k] = get_operand(value);
    }
    return found.index;
}

// Parameters that are written go through a local variable, which is written back after the call, unless the argument
// is itself a whole local variable of the type.
uint32_t Compiler::add_call(Function &callee, Operands &args, Function &func) {
    uint32_t result = ~0u;
    if(inline_function(callee, args, result, func)) return result;

    bool known = false;
    for(uint32_t i = 0; i < func.functions.size(); i++) known |= (func.functions[i] == callee.index);
    if(!known) func.functions.append(callee.index);

    struct Copy {
        uint32_t index = 0;    // of the argument
        uint32_t variable = 0; // index of the local that stands for it
    };
    ArrayStack<Copy, 4> copies;
    ArrayStack<uint32_t, 16> words;
    words.append(callee.target);
    for(uint32_t k = 0; k < args.size(); k++) {
        const Argument &argument = callee.arguments[k];
        const Operand &operand = args[k];
        if(argument.pass == PassIn) {
            words.append(load(operand, func));
            continue;
        }
        if(!operand.place()) Parser::error("invalid target for %s operator\n", callee.name.get());
        if(argument.pass == PassOpaque) {
            words.append(get_pointer(operand, func));
            continue;
        }
        check_write(operand);
        const uint32_t type = add_variable_type(variables[argument.variable]);
        bool direct = operand.whole && operand.pointer != ~0u && operand.num_swizzle == 0 && operand.type == type &&
                      operand.storage == SpvStorageClassFunction;
        for(uint32_t i = 0; i < k; i++) {
            if(callee.arguments[i].pass != PassIn && args[i].variable == operand.variable) direct = false;
        }
        if(direct) {
            words.append(operand.pointer);
            continue;
        }
        Variable &variable = add_temporary(type, func);
        if(argument.pass == PassInOut) {
            const uint32_t value = add_convert_opcodes(func, type, load(operand, func));
            if(value == ~0u)
                Parser::error("can't convert %s to %s\n", get_operand_type_name(operand).get(),
                              get_target_type_name(type).get());
            add_store(func, variable.target, value);
        }
        words.append(variable.target);
        Copy &copy = copies.append();
        copy.index = k;
        copy.variable = variable.index;
    }
    const uint32_t type = add_type(callee.type, ~0u, &global);
    result = add_value(func, SpvOpFunctionCall, type, words);
    for(uint32_t i = 0; i < copies.size(); i++) {
        Variable &variable = variables[copies[i].variable];
        const uint32_t value = add_load(func, add_variable_type(variable), variable.target);
        store(args[copies[i].index], value, func);
    }
    return (callee.type == "void") ? ~0u : result;
}

// -- Inlining ---------------------------------------------------------------------------------------------------------

// Copies the words of a function that is marked for it, is one block, takes values alone and is known already. Its
// locals vanish: a load gives what was stored last.
bool Compiler::inline_function(const Function &callee, const Operands &args, uint32_t &result, Function &func) {
    if((callee.control & SpvFunctionControlInline) == 0 || !callee.compiled || callee.labels.size()) return false;
    if(callee.arguments.size() != args.size() || callee.type == "void" || callee.index == func.index) return false;
    for(uint32_t i = 0; i < callee.arguments.size(); i++) {
        if(callee.arguments[i].pass != PassIn) return false;
    }
    const Array<uint32_t> &opcodes = callee.opcodes;
    if(opcodes.size() > MaxInline) return false;
    for(uint32_t i = 0; i < opcodes.size(); i += get_size(opcodes[i])) {
        if(is_block_opcode(get_opcode(opcodes[i]))) return false;
    }

    // Ids of the callee to ids of the caller. Of a local it is the value that it holds, ~0 for none.
    struct Pair {
        uint32_t from = 0;
        uint32_t to = 0;
    };
    ArrayStack<Pair, 32> locals;
    ArrayStack<Pair, 32> values;
    auto find = [](Array<Pair> &pairs, uint32_t from) -> Pair * {
        for(uint32_t i = pairs.size(); i > 0; i--) {
            if(pairs.get()[i - 1].from == from) return &pairs.get()[i - 1];
        }
        return nullptr;
    };
    auto append = [](Array<Pair> &pairs, uint32_t from, uint32_t to) {
        Pair &pair = pairs.append();
        pair.from = from;
        pair.to = to;
    };
    for(uint32_t i = 0; i < callee.variables.size(); i++) {
        const Variable &variable = variables[callee.variables[i]];
        append(locals, variable.target, variable.initializer);
    }
    for(uint32_t i = 0; i < callee.arguments.size(); i++) {
        const uint32_t value = args[i].target;
        append(values, callee.arguments[i].target, value);
        if(Pair *local = find(locals, variables[callee.arguments[i].variable].target)) local->to = value;
    }

    ArrayStack<uint32_t, 128> words;
    ArrayStack<Pair, 32> pending; // id in the caller, its type
    uint32_t opcode = SpvOpNop;
    for(uint32_t i = 0; i < opcodes.size(); i += get_size(opcodes[i])) {
        const uint32_t *word = opcodes.get() + i;
        const uint32_t size = get_size(word[0]);
        opcode = get_opcode(word[0]);
        auto map = [&](uint32_t from) {
            const Pair *pair = find(values, from);
            return pair ? pair->to : from;
        };
        if(opcode == SpvOpVariable) {
            append(locals, word[2], ~0u);
            continue;
        }
        if(opcode == SpvOpStore && size == 3) {
            if(Pair *local = find(locals, word[1])) {
                local->to = map(word[2]);
                continue;
            }
        } else if(opcode == SpvOpLoad) {
            const Pair *local = find(locals, word[3]);
            if(local && local->to != ~0u) {
                append(values, word[2], local->to);
                continue;
            }
        } else if(opcode == SpvOpReturnValue) {
            result = map(word[1]);
            func.opcodes.append(words);
            for(uint32_t k = 0; k < pending.size(); k++) add_target(pending[k].to);
            return true;
        } else if(is_value_opcode(opcode)) {
            const uint32_t target = num_targets + pending.size();
            append(pending, target, word[1]);
            append(values, word[2], target);
            words.append(word[0]);
            words.append(word[1]);
            words.append(target);
            const uint32_t ids = get_num_ids(opcode, size - 3);
            for(uint32_t k = 3; k < size; k++) words.append((k - 3 < ids) ? map(word[k]) : word[k]);
            continue;
        }
        break;
    }
    if(options & OptionInline)
        Log::printf(Log::Warning, "Compiler::parse_shader_function(): can't inline %s%s) function opcode %u\n",
                    callee.name.get(), callee.signature.get(), opcode);
    return false;
}

} // namespace Kolm
