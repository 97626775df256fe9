// Statements of a function body.
//
// Control flow is written in structured blocks while the text is read. Targets that are not known yet are written as ~0
// and kept as word offsets in Function::breaks, continues and switches, or in local lists; the end of the statement
// patches them. Behind a terminator no block is open: statements that stand there are read for their errors and leave
// no words, and a merge block that nothing reaches ends at once. So no dead block ever branches anywhere.

#include "KolmCompiler.h"
#include "KolmCompilerText.h"

namespace Kolm {

namespace {

// [[word]] statement: the control of the flow statement that follows.
const struct FlowControl {
    const char *word;
    const char *keyword;
    uint32_t control;
} flow_controls[] = {
    {"loop", "for", SpvLoopControlDontUnroll},        {"loop", "while", SpvLoopControlDontUnroll},
    {"loop", "do", SpvLoopControlDontUnroll},         {"unroll", "for", SpvLoopControlUnroll},
    {"unroll", "while", SpvLoopControlUnroll},        {"unroll", "do", SpvLoopControlUnroll},
    {"branch", "if", SpvSelectionControlDontFlatten}, {"branch", "switch", SpvSelectionControlDontFlatten},
    {"flatten", "if", SpvSelectionControlFlatten},    {"flatten", "switch", SpvSelectionControlFlatten},
};

void expect(const char *&s, char symbol) {
    if(!Text::accept(s, symbol)) Parser::error("expecting '%c'\n", symbol);
}

// Moves to the ")" that closes what is open at \p s.
void skip_to_close(const char *&s) {
    uint32_t level = 0;
    for(; *s; s++) {
        if(*s == '(') level++;
        if(*s == ')' && level-- == 0) return;
    }
    Parser::error("expecting '%c'\n", ')');
}

} // namespace

void Compiler::set_position(const char *s, const Function &func) {
    if(source && source_offset && !func.internal) *source_offset = uint32_t(s - source);
}

void Compiler::parse_function(const char *, const char *&s, uint32_t &, Function &func, Scope *scope) {
    Text::skip_blank(s);
    if(*s == '{') s++;
    parse_statements(s, func, scope);
}

// statements: { statement } "}"
void Compiler::parse_statements(const char *&s, Function &func, Scope *scope) {
    for(;;) {
        Text::skip_blank(s);
        if(*s == '}') {
            s++;
            return;
        }
        if(*s == '\0') Parser::error("expecting '%c'\n", '}');
        parse_statement(s, func, scope);
    }
}

// A statement where no block is open leaves nothing but its symbols.
void Compiler::parse_statement(const char *&s, Function &func, Scope *scope) {
    Depth depth(*this);
    set_position(s, func);
    if(!is_terminator(func.opcode)) {
        parse_plain_statement(s, func, scope);
        return;
    }
    const uint32_t opcode = func.opcode;
    const uint32_t num_opcodes = func.opcodes.size();
    const uint32_t num_labels = func.labels.size();
    const uint32_t num_functions = func.functions.size();
    const uint32_t num_breaks = func.breaks ? func.breaks->size() : 0;
    const uint32_t num_continues = func.continues ? func.continues->size() : 0;
    const uint32_t num_switches = func.switches ? func.switches->size() : 0;
    parse_plain_statement(s, func, scope);
    func.opcode = opcode;
    func.opcodes.resize(num_opcodes);
    func.labels.resize(num_labels);
    func.functions.resize(num_functions);
    if(func.breaks) func.breaks->resize(num_breaks);
    if(func.continues) func.continues->resize(num_continues);
    if(func.switches) func.switches->resize(num_switches);
}

// statement: ";" | "{" statements | [ "[[" word "]]" ] flow | jump | declaration | expression { "," expression } ";"
void Compiler::parse_plain_statement(const char *&s, Function &func, Scope *scope) {
    Text::skip_blank(s);
    if(*s == ';') {
        s++;
        return;
    }
    if(*s == '{') {
        s++;
        Scope block;
        block.parent = scope;
        parse_statements(s, func, &block);
        return;
    }
    if(s[0] == '[' && s[1] == '[') {
        parse_flow(s, func, scope);
        return;
    }
    if(Text::is_letter(*s)) {
        const char *p = s;
        StringStack<64> name;
        Text::read_name(p, name);
        if(parse_keyword(p, name, func, scope)) {
            s = p;
            return;
        }
    } else if(!Text::is_digit(*s) && (*s == '\0' || strchr("(+-!~.", *s) == nullptr)) {
        Parser::error("can't parse statement\n");
    }
    parse_clause(s, func, scope, ';');
}

// clause: declaration | [ expression { "," expression } ], with its end
void Compiler::parse_clause(const char *&s, Function &func, Scope *scope, char end) {
    if(Text::accept(s, end)) return;
    if(Text::is_letter(*s) && parse_local(s, func, scope)) return;
    for(;;) {
        parse_assignment(s, func, scope);
        Text::skip_blank(s);
        if(*s != ',') break;
        s++;
    }
    expect(s, end);
}

// Statements that begin with a word of the language. Returns false if \p name is none.
bool Compiler::parse_keyword(const char *&s, const String &name, Function &func, Scope *scope) {
    if(name == "if") {
        parse_if(s, func, scope, SpvSelectionControlNone);
    } else if(name == "for") {
        parse_for(s, func, scope, SpvLoopControlNone);
    } else if(name == "while") {
        parse_while(s, func, scope, SpvLoopControlNone);
    } else if(name == "do") {
        parse_do_while(s, func, scope, SpvLoopControlNone);
    } else if(name == "switch") {
        parse_switch(s, func, scope, SpvSelectionControlNone);
    } else if(name == "return") {
        parse_return(s, func, scope);
    } else if(name == "break" || name == "continue") {
        const bool leave = (name == "break");
        Array<uint32_t> *list = leave ? (func.breaks ? func.breaks : func.switches) : func.continues;
        if(list == nullptr) Parser::error(leave ? "break not in the loop or switch\n" : "continue not in the loop\n");
        expect(s, ';');
        add_branch(func);
        list->append(func.opcodes.size() - 1);
    } else if(name == "discard") {
        if(execution_model != SpvExecutionModelFragment) Parser::error("instruction is not valid\n");
        expect(s, ';');
        add_opcode(func, SpvOpKill, {});
    } else if(name == "demote") {
        if(execution_model != SpvExecutionModelFragment) Parser::error("instruction is not valid\n");
        expect(s, ';');
        add_capability(SpvCapabilityDemoteToHelperInvocation);
        add_opcode(func, SpvOpDemoteToHelperInvocationEXT, {});
    } else if(name == "case" || name == "default") {
        Parser::error("%s not in the switch\n", name.get());
    } else if(name == "precision") {
        while(*s && *s != '\n') s++;
    } else if(name == "struct") {
        parse_local_structure(s, func, scope);
    } else if(name == "ignoreIntersectionEXT" || name == "terminateRayEXT") {
        // Words of their own, and functions as well.
        const char *p = s;
        if(!Text::accept(p, ';')) return false;
        s = p;
        const char *no_arguments = ")";
        parse_internal_function(no_arguments, name, func, scope);
    } else {
        return false;
    }
    return true;
}

// return: "return" [ expression ] ";"
void Compiler::parse_return(const char *&s, Function &func, Scope *scope) {
    const bool is_void = (func.type == "void");
    if(Text::accept(s, ';')) {
        if(!is_void) Parser::error("non-void function \"%s\" must return value\n", func.name.get());
        add_opcode(func, SpvOpReturn, {});
        return;
    }
    if(is_void) Parser::error("void function \"%s\" can't return value\n", func.name.get());
    const uint32_t value = parse_value(s, add_type(func.type, ~0u, scope), func, scope);
    expect(s, ';');
    add_opcode(func, SpvOpReturnValue, {value});
}

// flow: "[[" word "]]" ( "if" | "for" | "while" | "do" | "switch" ) ...
void Compiler::parse_flow(const char *&s, Function &func, Scope *scope) {
    s += 2;
    StringStack<64> word;
    Text::read_name(s, word);
    Text::skip_blank(s);
    if(s[0] != ']' || s[1] != ']') Parser::error("expecting \"]]\"\n");
    s += 2;
    StringStack<64> keyword;
    Text::read_name(s, keyword);
    for(const FlowControl &flow : flow_controls) {
        if(word != flow.word || keyword != flow.keyword) continue;
        if(keyword == "if")
            parse_if(s, func, scope, SpvSelectionControlMask(flow.control));
        else if(keyword == "switch")
            parse_switch(s, func, scope, SpvSelectionControlMask(flow.control));
        else if(keyword == "for")
            parse_for(s, func, scope, SpvLoopControlMask(flow.control));
        else if(keyword == "while")
            parse_while(s, func, scope, SpvLoopControlMask(flow.control));
        else
            parse_do_while(s, func, scope, SpvLoopControlMask(flow.control));
        return;
    }
    Parser::error("invalid flow \"%s\" for \"%s\"\n", word.get(), keyword.get());
}

// -- Declarations -----------------------------------------------------------------------------------------------------

// declaration: { "const" | precision | "precise" | "invariant" } type { "[" expression "]" } ( "&" view | variables )
bool Compiler::parse_local(const char *&s, Function &func, Scope *scope) {
    const char *p = s;
    bool constant = false;
    bool precision = false;
    StringStack<64> name;
    for(;;) {
        const char *begin = p;
        Text::read_name(p, name);
        if(name == "const") {
            if(constant) Parser::error("too many constant qualifiers\n");
            constant = true;
        } else if(name == "lowp" || name == "mediump" || name == "highp") {
            if(precision) Parser::error("too many precision qualifiers\n");
            precision = true;
        } else if(name != "precise" && name != "invariant") {
            p = begin;
            break;
        }
        Text::skip_blank(p);
        if(*p == ';' || *p == ',') {
            if(constant) Parser::error("unused constant qualifier\n");
            if(precision) Parser::error("unused precision qualifier\n");
        }
    }
    const bool qualified = (constant || precision);
    Text::skip_blank(p);
    const String type = Text::is_letter(*p) ? parse_type(p, scope) : String();
    if(type.empty()) {
        if(!qualified) return false;
        static const char *const flows[] = {"for", "while", "do", "if", "switch"};
        for(const char *flow : flows) {
            if(name == flow) Parser::error("expecting ';'\n");
        }
        Parser::error("unexpected \"%s\"\n", Text::get_token(p).get());
    }
    const char *lengths = p;
    Text::skip_blank(p);
    while(*p == '[') {
        skip_region(p, '[', ']');
        Text::skip_blank(p);
    }
    if(!Text::is_letter(*p) && *p != '&') {
        if(qualified) Parser::error("unexpected \"%s\"\n", Text::get_token(p).get());
        return false;
    }
    s = p;
    if(*p == '&') {
        s++;
        parse_reference(s, type, func, scope);
        return true;
    }
    ArrayStack<uint32_t, 8> dimensions;
    parse_array_lengths(lengths, dimensions, scope);
    parse_local_variables(s, type, dimensions, constant, func, scope);
    return true;
}

// variables: name { "[" expression "]" } [ "=" initialiser ] { "," name ... } ";"
void Compiler::parse_local_variables(const char *&s, const String &type_name, const Array<uint32_t> &dimensions,
                                     bool constant, Function &func, Scope *scope) {
    StringStack<64> name;
    do {
        if(!Text::read_name(s, name)) Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
        // The dimensions behind the name are the outer ones.
        ArrayStack<uint32_t, 8> lengths;
        parse_array_lengths(s, lengths, scope);
        lengths.append(dimensions);
        String type = type_name;
        uint32_t length = get_array_type(type, lengths);
        uint32_t target = add_type(type, length, scope);
        const Flags flags = get_target_flags(target);
        if(!is_value_type(target) && (flags & FlagRayQuery) == 0) Parser::error("unexpected \"%s\"\n", name.get());
        check_name(name, scope);

        Text::skip_blank(s);
        const bool initialized = (*s == '=' && s[1] != '=');
        if(!initialized) {
            if(constant) Parser::error("constants must be initialized\n");
            if(length == 0) Parser::error("invalid array length\n");
            add_local(func, name, type, length, scope).type_target = target;
            continue;
        }
        s++;
        if(constant && parse_local_constant(s, name, type, length, func, scope)) continue;
        const uint32_t value = parse_initial_value(s, target, func, scope);
        if(length == 0) length = get_target_length(target);
        Variable &variable = add_local(func, name, type, length, scope);
        variable.type_target = target;
        if(constant) variable.decorations.append(SpvDecorationConstant, ~0u);
        add_store(func, variable.target, value);
    } while(Text::accept(s, ','));
    expect(s, ';');
}

// Value of an initialiser in the declared type; an unsized array gets the length of the value.
uint32_t Compiler::parse_initial_value(const char *&s, uint32_t &type, Function &func, Scope *scope) {
    Text::skip_blank(s);
    if(*s == '{') return parse_list(s, type, func, scope);
    const uint32_t value = load(parse_operand(s, func, scope), func);
    const uint32_t value_type = get_type(value);
    if(get_target_length(type) == 0) {
        const bool array = (get_target_flags(value_type) & FlagArray);
        if(array && is_same_type(get_target_type(type), get_target_type(value_type))) type = value_type;
    }
    const uint32_t result = is_value_type(type) ? add_convert_opcodes(func, type, value) : ~0u;
    if(result == ~0u)
        Parser::error("can't assign %s to %s\n", get_target_type_name(value).get(), get_target_type_name(type).get());
    return result;
}

// A constant whose value is known here has no place in the module. Returns false if it is not known: then it is a
// variable that nobody may write.
bool Compiler::parse_local_constant(const char *&s, const String &name, const String &type, uint32_t length,
                                    Function &func, Scope *scope) {
    const char *p = s;
    const String text = read_item(p, ';');
    Constant constant;
    const uint32_t old_depth = depth;
    try {
        constant = parse_constant(text, scope);
    } catch(const String &) {
        depth = old_depth;
        return false;
    }
    const uint32_t element = add_type(type, ~0u, scope);
    const uint64_t count = get_type_scalars(element);
    if(count == 0) return false;
    if(length == 0) length = uint32_t(constant.size() / count);
    if(length == 0) return false;
    const uint32_t target = add_type(type, length, scope);
    const Flags flags = get_target_flags(target);
    if(get_type_scalars(target) != constant.size()) {
        const char *value = get_type_name(constant.flags & ~FlagArray);
        Parser::error("can't assign %s to %s\n", get_source_name(value), get_target_type_name(target).get());
    }
    Constant &stored = named_constants.append();
    stored = (flags & FlagStructure) ? constant : constant.convert(flags);
    stored.flags = flags;
    s = p;
    Variable &variable = add_variable(name, type, length, SpvStorageClassFunction, scope);
    variable.function = func.index;
    variable.type_target = target;
    variable.constant = named_constants.size() - 1;
    variable.decorations.append(SpvDecorationConstant, ~0u);
    return true;
}

// struct: "struct" name "{" members "}" [ variables ] ";"
void Compiler::parse_local_structure(const char *&s, Function &func, Scope *scope) {
    StringStack<64> name;
    if(!Text::read_name(s, name)) Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
    expect(s, '{');
    const uint32_t index = parse_local_members(s, name, scope);
    if(Text::accept(s, ';')) return;
    structures[index].usage = true;
    ArrayStack<uint32_t, 8> dimensions;
    parse_array_lengths(s, dimensions, scope);
    parse_local_variables(s, structures[index].name, dimensions, false, func, scope);
}

// -- Selections -------------------------------------------------------------------------------------------------------

// condition: "(" expression ")"
uint32_t Compiler::parse_condition(const char *&s, Function &func, Scope *scope) {
    expect(s, '(');
    const uint32_t type = add_type(FlagBool | Flag32Bit | FlagScalar);
    const uint32_t value = parse_value(s, type, func, scope);
    Text::skip_blank(s);
    if(*s != ')') Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
    s++;
    return value;
}

// The body of a flow statement, in a scope of its own.
void Compiler::parse_body(const char *&s, Function &func, Scope *scope) {
    Scope block;
    block.parent = scope;
    parse_statement(s, func, &block);
}

// The merge block of a flow statement. One that nothing branches to ends at once.
void Compiler::add_merge(Function &func, uint32_t merge, bool reached) {
    add_opcode(func, SpvOpLabel, {merge});
    if(!reached) add_opcode(func, SpvOpUnreachable, {});
}

// if: "if" condition statement [ "else" statement ]
// Blocks: true, [ false, ] merge.
void Compiler::parse_if(const char *&s, Function &func, Scope *scope, SpvSelectionControlMask control) {
    const uint32_t condition = parse_condition(s, func, scope);
    const uint32_t true_label = num_targets++;
    const uint32_t merge = num_targets++;
    add_opcode(func, SpvOpSelectionMerge, {merge, control});
    add_opcode(func, SpvOpBranchConditional, {condition, true_label, ~0u});
    const uint32_t false_offset = func.opcodes.size() - 1; // patched below
    add_opcode(func, SpvOpLabel, {true_label});
    parse_body(s, func, scope);
    bool reached = !is_terminator(func.opcode);
    if(reached) add_branch(func, merge);
    Text::skip_blank(s);
    // kept: whatever begins with these four letters
    if(strncmp(s, "else", 4) == 0) {
        s += 4;
        const uint32_t false_label = num_targets++;
        func.opcodes[false_offset] = false_label;
        add_opcode(func, SpvOpLabel, {false_label});
        parse_body(s, func, scope);
        if(!is_terminator(func.opcode)) {
            add_branch(func, merge);
            reached = true;
        }
    } else {
        func.opcodes[false_offset] = merge;
        reached = true;
    }
    add_merge(func, merge, reached);
}

// switch: "switch" "(" expression ")" "{" { "case" constant ":" | "default" ":" | statement } "}"
// Blocks: one for each run of labels, merge. They are built in a buffer of their own, as OpSwitch names them all.
void Compiler::parse_switch(const char *&s, Function &func, Scope *scope, SpvSelectionControlMask control) {
    expect(s, '(');
    const uint32_t selector = load(parse_operand(s, func, scope), func);
    Text::skip_blank(s);
    if(*s != ')') Parser::error("unexpected \"%s\"\n", Text::get_token(s).get());
    s++;
    const Flags flags = get_target_flags(selector);
    if((flags & FlagInteger) == 0 || get_type_components(flags) != 1 || (flags & FlagArray))
        Parser::error("can't convert %s to %s\n", get_target_type_name(selector).get(), "int");
    expect(s, '{');

    Array<uint32_t> body;
    Array<uint32_t> switches;
    Array<uint32_t> *saved_breaks = func.breaks;
    Array<uint32_t> *saved_continues = func.continues;
    Array<uint32_t> *saved_switches = func.switches;
    const uint32_t saved_opcode = func.opcode;
    const uint32_t num_labels = func.labels.size();
    func.opcodes.swap(body);
    func.breaks = func.continues = nullptr;
    func.switches = &switches;
    func.opcode = SpvOpSwitch; // nothing stands before the first label

    Scope block;
    block.parent = scope;
    ArrayStack<uint64_t, 16> values;
    ArrayStack<uint32_t, 16> labels; // of the values
    uint32_t default_label = ~0u;
    uint32_t label = ~0u; // of the run that goes on
    for(;;) {
        Text::skip_blank(s);
        if(*s == '}') {
            s++;
            break;
        }
        if(*s == '\0') Parser::error("expecting '%c'\n", '}');
        const bool is_case = Text::is_name(s, "case");
        const bool is_default = Text::is_name(s, "default");
        if(!is_case && !is_default) {
            label = ~0u;
            parse_statement(s, func, &block);
            continue;
        }
        set_position(s, func);
        s += is_case ? 4 : 7;
        uint64_t value = 0;
        if(is_case) {
            const char *begin = s;
            while(*s && *s != ':' && *s != ';' && *s != '{') s++;
            const Constant constant = parse_constant(get_text(begin, uint32_t(s - begin)), &block);
            if((constant.flags & (FlagInteger | FlagArray)) == 0 || constant.size() != 1 ||
               (constant.flags & FlagInteger) == 0)
                Parser::error("can't convert %s to %s\n", get_source_name(get_type_name(constant.flags)), "int");
            value = constant.convert(flags).getu64();
            for(uint32_t i = 0; i < values.size(); i++) {
                if(values[i] == value) Parser::error("%d target is already declared\n", int32_t(value));
            }
        } else if(default_label != ~0u) {
            Parser::error("default target is already declared\n");
        }
        expect(s, ':');
        if(label == ~0u) {
            label = num_targets++;
            if(!is_terminator(func.opcode)) add_branch(func, label);
            add_opcode(func, SpvOpLabel, {label});
        }
        if(is_default) {
            default_label = label;
        } else {
            values.append(value);
            labels.append(label);
        }
    }
    const uint32_t merge = num_targets++;
    bool reached = switches.size() || default_label == ~0u;
    if(!is_terminator(func.opcode)) {
        add_branch(func, merge);
        reached = true;
    }
    patch_opcodes(func, switches, merge);

    // The head goes where the body was begun.
    const uint32_t body_opcode = func.opcode;
    func.opcodes.swap(body);
    func.opcode = saved_opcode;
    func.breaks = saved_breaks;
    func.continues = saved_continues;
    func.switches = saved_switches;
    Array<uint32_t> words;
    words.append(selector);
    words.append((default_label != ~0u) ? default_label : merge);
    for(uint32_t i = 0; i < values.size(); i++) {
        words.append(uint32_t(values[i]));
        if(flags & Flag64Bit) words.append(uint32_t(values[i] >> 32));
        words.append(labels[i]);
    }
    add_opcode(func, SpvOpSelectionMerge, {merge, control});
    add_opcode(func, SpvOpSwitch, {}, words);
    for(uint32_t i = num_labels; i < func.labels.size(); i++) func.labels[i] += func.opcodes.size();
    func.opcodes.append(body);
    func.opcode = body_opcode;
    add_merge(func, merge, reached);
}

// -- Loops ------------------------------------------------------------------------------------------------------------

/// Lists of a loop, active in the function for as long as this lives.
struct Compiler::Loop : public NoCopy {
    explicit Loop(Function &func)
        : func(func), saved_breaks(func.breaks), saved_continues(func.continues), saved_switches(func.switches) {
        func.breaks = &breaks;
        func.continues = &continues;
        func.switches = nullptr;
    }
    ~Loop() {
        func.breaks = saved_breaks;
        func.continues = saved_continues;
        func.switches = saved_switches;
    }

    Function &func;
    Array<uint32_t> breaks;
    Array<uint32_t> continues;
    Array<uint32_t> *saved_breaks;
    Array<uint32_t> *saved_continues;
    Array<uint32_t> *saved_switches;
};

// The block that all loops begin with; the first block of the body or of the condition follows.
void Compiler::add_header(Function &func, uint32_t header, uint32_t merge, uint32_t next, uint32_t first,
                          SpvLoopControlMask control) {
    add_branch(func, header);
    add_opcode(func, SpvOpLabel, {header});
    add_opcode(func, SpvOpLoopMerge, {merge, next, control});
    add_branch(func, first);
    add_opcode(func, SpvOpLabel, {first});
}

// while: "while" condition statement
// Blocks: header, condition, body, continue -> header, merge.
void Compiler::parse_while(const char *&s, Function &func, Scope *scope, SpvLoopControlMask control) {
    const uint32_t header = num_targets++;
    const uint32_t next = num_targets++;
    const uint32_t merge = num_targets++;
    const uint32_t body = num_targets++;
    add_header(func, header, merge, next, num_targets++, control);
    const uint32_t condition = parse_condition(s, func, scope);
    add_opcode(func, SpvOpBranchConditional, {condition, body, merge});
    add_opcode(func, SpvOpLabel, {body});
    Loop loop(func);
    parse_body(s, func, scope);
    if(!is_terminator(func.opcode)) add_branch(func, next);
    add_opcode(func, SpvOpLabel, {next});
    add_branch(func, header);
    patch_opcodes(func, loop.continues, next);
    patch_opcodes(func, loop.breaks, merge);
    add_merge(func, merge, true);
}

// do: "do" statement "while" condition ";"
// Blocks: header, body, continue with the condition -> header, merge.
void Compiler::parse_do_while(const char *&s, Function &func, Scope *scope, SpvLoopControlMask control) {
    const uint32_t header = num_targets++;
    const uint32_t next = num_targets++;
    const uint32_t merge = num_targets++;
    add_header(func, header, merge, next, num_targets++, control);
    {
        Loop loop(func);
        parse_body(s, func, scope);
        if(!is_terminator(func.opcode)) add_branch(func, next);
        patch_opcodes(func, loop.continues, next);
        patch_opcodes(func, loop.breaks, merge);
    }
    add_opcode(func, SpvOpLabel, {next});
    Text::skip_blank(s);
    if(!Text::is_name(s, "while")) Parser::error("expecting \"%s\"\n", "while");
    s += 5;
    const uint32_t condition = parse_condition(s, func, scope);
    expect(s, ';');
    add_opcode(func, SpvOpBranchConditional, {condition, header, merge});
    add_merge(func, merge, true);
}

// for: "for" "(" clause ";" [ expression ] ";" clause ")" statement
// Blocks: header, condition or body, body, continue with the last clause -> header, merge.
void Compiler::parse_for(const char *&s, Function &func, Scope *scope, SpvLoopControlMask control) {
    Scope block;
    block.parent = scope;
    expect(s, '(');
    parse_clause(s, func, &block, ';');
    const uint32_t header = num_targets++;
    const uint32_t next = num_targets++;
    const uint32_t merge = num_targets++;
    add_header(func, header, merge, next, num_targets++, control);
    bool reached = false;
    if(!Text::accept(s, ';')) {
        const uint32_t body = num_targets++;
        const uint32_t type = add_type(FlagBool | Flag32Bit | FlagScalar);
        const uint32_t condition = parse_value(s, type, func, &block);
        expect(s, ';');
        add_opcode(func, SpvOpBranchConditional, {condition, body, merge});
        add_opcode(func, SpvOpLabel, {body});
        reached = true;
    }
    const char *step = s; // read again behind the body
    skip_to_close(s);
    s++;
    {
        Loop loop(func);
        parse_body(s, func, &block);
        if(!is_terminator(func.opcode)) add_branch(func, next);
        patch_opcodes(func, loop.continues, next);
        patch_opcodes(func, loop.breaks, merge);
        reached |= (loop.breaks.size() != 0);
    }
    add_opcode(func, SpvOpLabel, {next});
    parse_clause(step, func, &block, ')');
    add_branch(func, header);
    add_merge(func, merge, reached);
}

} // namespace Kolm
