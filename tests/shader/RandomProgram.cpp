// The generator makes a tree of statements and expressions; the tree prints itself and computes its value.

#include "RandomProgram.h"

#include <memory>

namespace {

enum class Type { Int, UInt, Bool };

const char *get_name(Type type) { return (type == Type::Int) ? "int" : (type == Type::UInt) ? "uint" : "bool"; }

class Random {
public:
    explicit Random(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15ull + 1) {}
    uint32_t get() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return uint32_t(state >> 16);
    }
    uint32_t get(uint32_t size) { return get() % size; }
    bool chance(uint32_t percent) { return get(100) < percent; }

private:
    uint64_t state;
};

// Values of the variables of one call, and what ends a run that takes too long.
struct Frame {
    std::vector<uint32_t> values;
};
struct Budget {
    uint32_t steps = 0;
    bool over() { return ++steps > 30000; }
};

// -- Expressions ------------------------------------------------------------------------------------------------------

struct Expression {
    virtual ~Expression() = default;
    virtual uint32_t run(Frame &frame, Budget &budget) const = 0;
    virtual void print(std::string &text) const = 0;
    // Of the outermost operator; the operands of a higher one need parentheses.
    virtual uint32_t get_priority() const { return 20; }
    Type type = Type::Int;
};
using ExpressionPtr = std::unique_ptr<Expression>;

void print_operand(std::string &text, const Expression &operand, bool parentheses) {
    if(parentheses) text += "(";
    operand.print(text);
    if(parentheses) text += ")";
}

struct Literal : Expression {
    uint32_t run(Frame &, Budget &) const override { return value; }
    void print(std::string &text) const override {
        if(type == Type::Bool) {
            text += value ? "true" : "false";
        } else if(type == Type::UInt) {
            text += hexadecimal ? to_hex() : std::to_string(value);
            text += "u";
        } else if(value == 0x80000000u) {
            text += "(-2147483647 - 1)";
        } else if(int32_t(value) < 0) {
            text += "(" + std::to_string(int32_t(value)) + ")";
        } else {
            text += hexadecimal ? to_hex() : std::to_string(value);
        }
    }
    std::string to_hex() const {
        char buffer[16];
        snprintf(buffer, sizeof(buffer), "0x%x", value);
        return buffer;
    }
    uint32_t value = 0;
    bool hexadecimal = false;
};

struct Load : Expression {
    uint32_t run(Frame &frame, Budget &) const override { return frame.values[index]; }
    void print(std::string &text) const override { text += name; }
    uint32_t index = 0;
    std::string name;
};

// An element of a local array or a component of a local vector of four.
struct LoadElement : Expression {
    uint32_t run(Frame &frame, Budget &budget) const override {
        return frame.values[index + (element->run(frame, budget) & 3)];
    }
    void print(std::string &text) const override {
        text += name + "[";
        element->print(text);
        text += " & 3]";
    }
    uint32_t index = 0;
    std::string name;
    ExpressionPtr element;
};

struct Cast : Expression {
    uint32_t run(Frame &frame, Budget &budget) const override {
        const uint32_t value = operand->run(frame, budget);
        return (type == Type::Bool) ? (value != 0) : value;
    }
    void print(std::string &text) const override {
        text += get_name(type);
        text += "(";
        operand->print(text);
        text += ")";
    }
    ExpressionPtr operand;
};

struct Unary : Expression {
    uint32_t run(Frame &frame, Budget &budget) const override {
        const uint32_t value = operand->run(frame, budget);
        return (symbol == '-') ? 0u - value : (symbol == '~') ? ~value : (value == 0);
    }
    void print(std::string &text) const override {
        text += symbol;
        print_operand(text, *operand, operand->get_priority() < 20);
    }
    uint32_t get_priority() const override { return 13; }
    char symbol = '-';
    ExpressionPtr operand;
};

struct Operator {
    const char *symbol;
    uint32_t priority;
};
enum { Mul, Div, Mod, Add, Sub, Shl, Shr, Lt, Gt, Le, Ge, Eq, Ne, And, Xor, Or, LogicalAnd, LogicalOr, NumOperators };
const Operator operators[NumOperators] = {{"*", 12},  {"/", 12}, {"%", 12}, {"+", 11}, {"-", 11}, {"<<", 10},
                                          {">>", 10}, {"<", 9},  {">", 9},  {"<=", 9}, {">=", 9}, {"==", 8},
                                          {"!=", 8},  {"&", 7},  {"^", 6},  {"|", 5},  {"&&", 4}, {"||", 3}};

struct Binary : Expression {
    uint32_t run(Frame &frame, Budget &budget) const override {
        const uint32_t a = left->run(frame, budget);
        const uint32_t b = right->run(frame, budget);
        return calculate(code, left->type, a, b);
    }
    static uint32_t calculate(uint32_t code, Type operands, uint32_t a, uint32_t b) {
        const bool is_signed = (operands == Type::Int);
        const int32_t x = int32_t(a);
        const int32_t y = int32_t(b);
        switch(code) {
        case Mul: return a * b;
        case Div: return is_signed ? uint32_t(x / y) : a / b;
        case Mod: return is_signed ? uint32_t(x % y) : a % b;
        case Add: return a + b;
        case Sub: return a - b;
        case Shl: return a << b;
        case Shr: return is_signed ? uint32_t(x >> y) : a >> b;
        case Lt: return is_signed ? x < y : a < b;
        case Gt: return is_signed ? x > y : a > b;
        case Le: return is_signed ? x <= y : a <= b;
        case Ge: return is_signed ? x >= y : a >= b;
        case Eq: return a == b;
        case Ne: return a != b;
        case And: return a & b;
        case Xor: return a ^ b;
        case Or: return a | b;
        case LogicalAnd: return a && b;
        default: return a || b;
        }
    }
    void print(std::string &text) const override {
        const uint32_t priority = operators[code].priority;
        print_operand(text, *left, left->get_priority() < priority || extra);
        text += std::string(" ") + operators[code].symbol + " ";
        print_operand(text, *right, right->get_priority() <= priority || extra);
    }
    uint32_t get_priority() const override { return operators[code].priority; }
    uint32_t code = Add;
    bool extra = false; // parentheses where none are needed
    ExpressionPtr left, right;
};

struct Select : Expression {
    uint32_t run(Frame &frame, Budget &budget) const override {
        // Both are evaluated, and none has an effect.
        const uint32_t a = first->run(frame, budget);
        const uint32_t b = second->run(frame, budget);
        return condition->run(frame, budget) ? a : b;
    }
    void print(std::string &text) const override {
        print_operand(text, *condition, condition->get_priority() <= 2);
        text += " ? ";
        print_operand(text, *first, false);
        text += " : ";
        print_operand(text, *second, false);
    }
    uint32_t get_priority() const override { return 2; }
    ExpressionPtr condition, first, second;
};

struct Function;

struct Call : Expression {
    uint32_t run(Frame &frame, Budget &budget) const override;
    void print(std::string &text) const override;
    const Function *function = nullptr;
    std::vector<ExpressionPtr> args;
};

// -- Statements -------------------------------------------------------------------------------------------------------

enum class Flow { Next, Break, Continue, Return };

struct Statement {
    virtual ~Statement() = default;
    virtual Flow run(Frame &frame, Budget &budget, uint32_t &result) const = 0;
    virtual void print(std::string &text, uint32_t level) const = 0;
};
using StatementPtr = std::unique_ptr<Statement>;

void indent(std::string &text, uint32_t level) { text.append(level * 2, ' '); }

struct Block : Statement {
    Flow run(Frame &frame, Budget &budget, uint32_t &result) const override {
        for(const StatementPtr &statement : statements) {
            if(budget.over()) return Flow::Return;
            const Flow flow = statement->run(frame, budget, result);
            if(flow != Flow::Next) return flow;
        }
        return Flow::Next;
    }
    void print(std::string &text, uint32_t level) const override {
        indent(text, level);
        text += "{\n";
        print_inside(text, level + 1);
        indent(text, level);
        text += "}\n";
    }
    void print_inside(std::string &text, uint32_t level) const {
        for(const StatementPtr &statement : statements) statement->print(text, level);
    }
    std::vector<StatementPtr> statements;
};

struct Declare : Statement {
    Flow run(Frame &frame, Budget &budget, uint32_t &) const override {
        for(size_t i = 0; i < values.size(); i++) {
            const uint32_t value = values[i]->run(frame, budget);
            temporary[i] = value;
        }
        for(size_t i = 0; i < values.size(); i++) frame.values[index + i] = temporary[i];
        return Flow::Next;
    }
    void print(std::string &text, uint32_t level) const override {
        indent(text, level);
        const std::string base = get_name(type);
        const std::string vector = (type == Type::Int) ? "ivec4" : "uvec4";
        if(values.size() == 1) {
            text += base + " " + name + " = ";
        } else if(is_vector) {
            text += vector + " " + name + " = " + vector + "(";
        } else {
            text += base + " " + name + "[4] = " + base + "[4](";
        }
        for(size_t i = 0; i < values.size(); i++) {
            if(i) text += ", ";
            values[i]->print(text);
        }
        text += (values.size() == 1) ? ";\n" : ");\n";
    }
    Type type = Type::Int;
    bool is_vector = false;
    uint32_t index = 0;
    std::string name;
    std::vector<ExpressionPtr> values; // one, or four
    mutable uint32_t temporary[4] = {};
};

struct Assign : Statement {
    Flow run(Frame &frame, Budget &budget, uint32_t &) const override {
        const uint32_t place = index + (element ? (element->run(frame, budget) & 3) : 0);
        const uint32_t result = value->run(frame, budget);
        frame.values[place] =
            (code == NumOperators) ? result : Binary::calculate(code, type, frame.values[place], result);
        return Flow::Next;
    }
    void print(std::string &text, uint32_t level) const override {
        indent(text, level);
        text += name;
        if(element) {
            text += "[";
            element->print(text);
            text += " & 3]";
        }
        text += " ";
        if(code != NumOperators) text += operators[code].symbol;
        text += "= ";
        value->print(text);
        text += ";\n";
    }
    Type type = Type::Int;
    uint32_t code = NumOperators;
    uint32_t index = 0;
    std::string name;
    ExpressionPtr element, value;
};

// v.xyzw = v.wzyx, and the like
struct Shuffle : Statement {
    Flow run(Frame &frame, Budget &, uint32_t &) const override {
        uint32_t values[4];
        for(uint32_t i = 0; i < size; i++) values[i] = frame.values[from + source[i]];
        for(uint32_t i = 0; i < size; i++) frame.values[to + dest[i]] = values[i];
        return Flow::Next;
    }
    void print(std::string &text, uint32_t level) const override {
        indent(text, level);
        text += to_name + ".";
        for(uint32_t i = 0; i < size; i++) text += "xyzw"[dest[i]];
        text += " = " + from_name + ".";
        for(uint32_t i = 0; i < size; i++) text += "rgba"[source[i]];
        text += ";\n";
    }
    uint32_t to = 0, from = 0, size = 2;
    uint32_t dest[4] = {}, source[4] = {};
    std::string to_name, from_name;
};

struct If : Statement {
    Flow run(Frame &frame, Budget &budget, uint32_t &result) const override {
        if(condition->run(frame, budget)) return first->run(frame, budget, result);
        return second ? second->run(frame, budget, result) : Flow::Next;
    }
    void print(std::string &text, uint32_t level) const override {
        indent(text, level);
        text += "if(";
        condition->print(text);
        text += ")\n";
        first->print(text, level);
        if(!second) return;
        indent(text, level);
        text += "else\n";
        second->print(text, level);
    }
    ExpressionPtr condition;
    StatementPtr first, second;
};

struct Loop : Statement {
    enum Kind { For, While, DoWhile };
    Flow run(Frame &frame, Budget &budget, uint32_t &result) const override {
        uint32_t &counter = frame.values[index];
        counter = 0;
        if(kind == DoWhile) {
            do {
                if(budget.over()) return Flow::Return;
                const Flow flow = run_body(frame, budget, result);
                if(flow == Flow::Return) return flow;
                if(flow == Flow::Break) break;
            } while(counter < count);
            return Flow::Next;
        }
        for(; counter < count; counter += (kind == For)) {
            if(budget.over()) return Flow::Return;
            const Flow flow = run_body(frame, budget, result);
            if(flow == Flow::Return) return flow;
            if(flow == Flow::Break) break;
        }
        return Flow::Next;
    }
    Flow run_body(Frame &frame, Budget &budget, uint32_t &result) const {
        if(kind != For) frame.values[index]++;
        return body->run(frame, budget, result);
    }
    void print(std::string &text, uint32_t level) const override {
        const std::string limit = std::to_string(count);
        indent(text, level);
        if(kind == For) {
            text += "for(int " + name + " = 0; " + name + " < " + limit + "; " + name + "++)\n";
            body->print(text, level);
            return;
        }
        text += "int " + name + " = 0;\n";
        indent(text, level);
        text += (kind == While) ? "while(" + name + " < " + limit + ") {\n" : std::string("do {\n");
        indent(text, level + 1);
        text += name + " += 1;\n";
        static_cast<const Block &>(*body).print_inside(text, level + 1);
        indent(text, level);
        text += (kind == While) ? "}\n" : "} while(" + name + " < " + limit + ");\n";
    }
    Kind kind = For;
    uint32_t index = 0, count = 1;
    std::string name;
    StatementPtr body;
};

struct Switch : Statement {
    struct Case {
        bool is_default = false;
        uint32_t value = 0;
        bool leaves = true; // ends with a break
        Block block;
    };
    Flow run(Frame &frame, Budget &budget, uint32_t &result) const override {
        const uint32_t value = selector->run(frame, budget) & 7;
        size_t first = cases.size();
        for(size_t i = 0; i < cases.size(); i++) {
            if(!cases[i]->is_default && cases[i]->value == value) first = i;
        }
        for(size_t i = 0; i < cases.size() && first == cases.size(); i++) {
            if(cases[i]->is_default) first = i;
        }
        for(size_t i = first; i < cases.size(); i++) {
            const Flow flow = cases[i]->block.run(frame, budget, result);
            if(flow != Flow::Next) return flow;
            if(cases[i]->leaves) break;
        }
        return Flow::Next;
    }
    void print(std::string &text, uint32_t level) const override {
        indent(text, level);
        text += "switch((";
        selector->print(text);
        text += (selector->type == Type::Int) ? ") & 7) {\n" : ") & 7u) {\n";
        for(const auto &item : cases) {
            indent(text, level);
            text += item->is_default
                        ? std::string("default:\n")
                        : "case " + std::to_string(item->value) + ((selector->type == Type::Int) ? "" : "u") + ":\n";
            item->block.print(text, level + 1);
            if(item->leaves) {
                indent(text, level + 1);
                text += "break;\n";
            }
        }
        indent(text, level);
        text += "}\n";
    }
    ExpressionPtr selector;
    std::vector<std::unique_ptr<Case>> cases;
};

struct Jump : Statement {
    Flow run(Frame &frame, Budget &budget, uint32_t &result) const override {
        if(flow == Flow::Return) result = value->run(frame, budget);
        return flow;
    }
    void print(std::string &text, uint32_t level) const override {
        indent(text, level);
        if(flow == Flow::Return) {
            text += "return ";
            value->print(text);
            text += ";\n";
        } else {
            text += (flow == Flow::Break) ? "break;\n" : "continue;\n";
        }
    }
    Flow flow = Flow::Return;
    ExpressionPtr value;
};

// -- Functions --------------------------------------------------------------------------------------------------------

struct Function {
    std::string name;
    Type type = Type::UInt;
    bool is_inline = false;
    uint32_t num_values = 0;
    struct Parameter {
        std::string name;
        Type type;
        uint32_t index;
        bool is_out;
    };
    std::vector<Parameter> parameters;
    Block body;

    uint32_t call(Frame &frame, Budget &budget) const {
        uint32_t result = 0;
        body.run(frame, budget, result);
        return result;
    }
    void print(std::string &text) const {
        if(is_inline) text += "inline ";
        text += get_name(type);
        text += " " + name + "(";
        for(size_t i = 0; i < parameters.size(); i++) {
            if(i) text += ", ";
            if(parameters[i].is_out) text += "inout ";
            text += get_name(parameters[i].type);
            text += " " + parameters[i].name;
        }
        text += ") {\n";
        body.print_inside(text, 1);
        text += "}\n";
    }
};

uint32_t Call::run(Frame &frame, Budget &budget) const {
    if(budget.over()) return 0;
    Frame inner;
    inner.values.resize(function->num_values);
    for(size_t i = 0; i < args.size(); i++) inner.values[function->parameters[i].index] = args[i]->run(frame, budget);
    return function->call(inner, budget);
}

void Call::print(std::string &text) const {
    text += function->name + "(";
    for(size_t i = 0; i < args.size(); i++) {
        if(i) text += ", ";
        args[i]->print(text);
    }
    text += ")";
}

// A call that writes its arguments: the last parameters, which are plain variables or elements here.
struct CallStatement : Statement {
    Flow run(Frame &frame, Budget &budget, uint32_t &) const override {
        if(budget.over()) return Flow::Return;
        Frame inner;
        inner.values.resize(function->num_values);
        std::vector<uint32_t> places(args.size());
        for(size_t i = 0; i < args.size(); i++) {
            if(const auto *load = dynamic_cast<const LoadElement *>(args[i].get()))
                places[i] = load->index + (load->element->run(frame, budget) & 3);
            else if(const auto *variable = dynamic_cast<const Load *>(args[i].get()))
                places[i] = variable->index;
            inner.values[function->parameters[i].index] = args[i]->run(frame, budget);
        }
        const uint32_t result = function->call(inner, budget);
        for(size_t i = 0; i < args.size(); i++) {
            if(function->parameters[i].is_out) frame.values[places[i]] = inner.values[function->parameters[i].index];
        }
        frame.values[index] = result;
        return Flow::Next;
    }
    void print(std::string &text, uint32_t level) const override {
        indent(text, level);
        text += name + " = " + function->name + "(";
        for(size_t i = 0; i < args.size(); i++) {
            if(i) text += ", ";
            args[i]->print(text);
        }
        text += ");\n";
    }
    const Function *function = nullptr;
    uint32_t index = 0;
    std::string name;
    std::vector<ExpressionPtr> args;
};

// -- Generator --------------------------------------------------------------------------------------------------------

class Generator {
public:
    Generator(uint64_t seed, uint32_t number) : random(seed), prefix(std::to_string(number)) {}

    std::vector<std::unique_ptr<Function>> functions; // the last one is the program

    void generate() {
        const uint32_t num_helpers = random.get(4);
        for(uint32_t i = 0; i < num_helpers; i++) generate_function("f" + prefix + "_" + std::to_string(i), true);
        generate_function("p" + prefix, false);
    }

private:
    struct Variable {
        std::string name;
        Type type;
        uint32_t index;
        bool is_array;
        bool is_vector;
        bool locked; // a loop counts with it
    };

    template<class Node> static std::unique_ptr<Node> make(Type type) {
        auto node = std::make_unique<Node>();
        node->type = type;
        return node;
    }

    void generate_function(const std::string &name, bool helper) {
        functions.push_back(std::make_unique<Function>());
        Function &function = *functions.back();
        current = &function;
        function.name = name;
        function.type = helper && random.chance(50) ? Type::Int : Type::UInt;
        function.is_inline = helper && random.chance(40);
        variables.clear();
        loops = switches = 0;
        if(helper) {
            const uint32_t count = random.get(4);
            for(uint32_t i = 0; i < count; i++) {
                Variable variable = add_variable(random.chance(50) ? Type::Int : Type::UInt, false, false);
                const bool is_out = !function.is_inline && random.chance(25);
                function.parameters.push_back({variable.name, variable.type, variable.index, is_out});
            }
        }
        const bool simple = function.is_inline && random.chance(70);
        generate_statements(function.body, simple ? 2 : (helper ? 5 : 9), simple ? 9 : 0);
        auto result = std::make_unique<Jump>();
        result->value = expression(function.type, 4);
        function.body.statements.push_back(std::move(result));
        current = nullptr;
    }

    Variable add_variable(Type type, bool is_array, bool is_vector, const char *letter = "v") {
        Variable variable = {
            letter + std::to_string(current->num_values), type, current->num_values, is_array, is_vector, false};
        current->num_values += (is_array || is_vector) ? 4 : 1;
        variables.push_back(variable);
        return variable;
    }

    ExpressionPtr literal(Type type) {
        auto node = make<Literal>(type);
        static const uint32_t special[] = {0, 1, 2, 3, 7, 31, 255, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFFFFFE};
        node->value = random.chance(50) ? special[random.get(11)] : random.get() >> random.get(32);
        if(type == Type::Bool) node->value &= 1;
        node->hexadecimal = random.chance(20);
        return node;
    }

    ExpressionPtr load(Type type) {
        std::vector<const Variable *> fits;
        for(const Variable &variable : variables) {
            if(variable.type == type) fits.push_back(&variable);
        }
        if(fits.empty()) return literal(type);
        return load(*fits[random.get(uint32_t(fits.size()))]);
    }

    ExpressionPtr load(const Variable &variable) {
        if(!variable.is_array && !variable.is_vector) {
            auto node = make<Load>(variable.type);
            node->index = variable.index;
            node->name = variable.name;
            return node;
        }
        auto node = make<LoadElement>(variable.type);
        node->index = variable.index;
        node->name = variable.name;
        node->element = element();
        return node;
    }

    // Printed in front of "& 3", so it binds closer.
    ExpressionPtr element() {
        for(const Variable &variable : variables) {
            if(variable.type == Type::Int && !variable.is_array && !variable.is_vector && random.chance(40)) {
                auto node = make<Load>(Type::Int);
                node->index = variable.index;
                node->name = variable.name;
                return node;
            }
        }
        auto node = make<Literal>(Type::Int);
        node->value = random.get(4);
        return node;
    }

    static ExpressionPtr binary(uint32_t code, Type type, ExpressionPtr left, ExpressionPtr right) {
        auto node = make<Binary>(type);
        node->code = code;
        node->left = std::move(left);
        node->right = std::move(right);
        return node;
    }

    static ExpressionPtr constant(Type type, uint32_t value) {
        auto node = make<Literal>(type);
        node->value = value;
        return node;
    }

    ExpressionPtr expression(Type type, uint32_t depth) {
        if(depth == 0 || random.chance(12)) return random.chance(70) ? load(type) : literal(type);
        const uint32_t kind = random.get(100);
        if(type == Type::Bool) {
            if(kind < 55) {
                const Type operands = random.chance(50) ? Type::Int : Type::UInt;
                auto left = expression(operands, depth - 1);
                auto right = expression(operands, depth - 1);
                return binary(Lt + random.get(6), type, std::move(left), std::move(right));
            }
            if(kind < 80) {
                auto left = expression(type, depth - 1);
                auto right = expression(type, depth - 1);
                return binary(LogicalAnd + random.get(2), type, std::move(left), std::move(right));
            }
            if(kind < 90) {
                auto node = make<Unary>(type);
                node->symbol = '!';
                node->operand = expression(type, depth - 1);
                return node;
            }
            auto node = make<Cast>(type);
            node->operand = expression(random.chance(50) ? Type::Int : Type::UInt, depth - 1);
            return node;
        }
        if(kind < 55) return arithmetic(type, depth);
        if(kind < 65) {
            auto node = make<Unary>(type);
            node->symbol = random.chance(50) ? '-' : '~';
            node->operand = expression(type, depth - 1);
            return node;
        }
        if(kind < 77) {
            auto node = make<Select>(type);
            node->condition = expression(Type::Bool, depth - 1);
            node->first = expression(type, depth - 1);
            node->second = expression(type, depth - 1);
            return node;
        }
        if(kind < 88) {
            auto node = make<Cast>(type);
            const Type from = random.chance(20) ? Type::Bool : (type == Type::Int) ? Type::UInt : Type::Int;
            node->operand = expression(from, depth - 1);
            return node;
        }
        for(const auto &function : functions) {
            if(function.get() == current || function->type != type || !random.chance(60)) continue;
            bool plain = true;
            for(const auto &parameter : function->parameters) plain &= !parameter.is_out;
            if(!plain || loops > 1) continue;
            auto node = make<Call>(type);
            node->function = function.get();
            for(const auto &parameter : function->parameters)
                node->args.push_back(expression(parameter.type, depth - 1));
            return node;
        }
        return arithmetic(type, depth);
    }

    ExpressionPtr arithmetic(Type type, uint32_t depth) {
        static const uint32_t codes[] = {Mul, Div, Mod, Add, Sub, Add, Sub, Shl, Shr, And, Xor, Or};
        const uint32_t code = codes[random.get(12)];
        auto left = expression(type, depth - 1);
        auto right = expression(type, depth - 1);
        switch(code) {
        case Mod: left = binary(And, type, std::move(left), constant(type, 0x7FFFFFFF)); [[fallthrough]];
        case Div:
            right = binary(And, type, std::move(right), constant(type, 15));
            right = binary(Add, type, std::move(right), constant(type, 1));
            break;
        case Shl:
        case Shr: right = binary(And, type, std::move(right), constant(type, 31)); break;
        default: break;
        }
        auto node = binary(code, type, std::move(left), std::move(right));
        static_cast<Binary &>(*node).extra = random.chance(15);
        return node;
    }

    const Variable *pick(bool (*test)(const Variable &)) {
        std::vector<const Variable *> fits;
        for(const Variable &variable : variables) {
            if(test(variable)) fits.push_back(&variable);
        }
        return fits.empty() ? nullptr : fits[random.get(uint32_t(fits.size()))];
    }

    // Names of a block end with it; the places of the frame are never used twice.
    void generate_block(Block &block, uint32_t count, uint32_t level) {
        const size_t size = variables.size();
        generate_statements(block, count, level);
        variables.erase(variables.begin() + ptrdiff_t(size), variables.end());
    }

    StatementPtr new_block(uint32_t count, uint32_t level) {
        auto block = std::make_unique<Block>();
        generate_block(*block, count, level);
        return block;
    }

    void generate_statements(Block &block, uint32_t count, uint32_t level) {
        for(uint32_t i = 0; i < count; i++) block.statements.push_back(statement(level));
    }

    StatementPtr declare() {
        auto node = std::make_unique<Declare>();
        const uint32_t form = random.get(10);
        node->type = random.chance(50) ? Type::Int : Type::UInt;
        const bool is_array = (form == 0);
        node->is_vector = (form == 1);
        for(uint32_t i = 0; i < ((is_array || node->is_vector) ? 4u : 1u); i++)
            node->values.push_back(expression(node->type, 2));
        const Variable variable = add_variable(node->type, is_array, node->is_vector);
        node->index = variable.index;
        node->name = variable.name;
        return node;
    }

    StatementPtr statement(uint32_t level) {
        const uint32_t kind = random.get(100);
        if(kind < 25 || variables.empty()) return declare();
        if(kind < 55 || level > 3) return assign();
        if(kind < 72) {
            auto node = std::make_unique<If>();
            node->condition = expression(Type::Bool, 3);
            node->first = new_block(1 + random.get(3), level + 1);
            if(random.chance(50)) node->second = new_block(1 + random.get(3), level + 1);
            return node;
        }
        if(kind < 83 && loops < 3) return loop(level);
        if(kind < 89) return choice(level);
        if(kind < 94) return call_statement();
        if(level > 0 && kind < 98) return jump();
        return shuffle();
    }

    StatementPtr assign() {
        const Variable *variable = pick([](const Variable &v) { return !v.locked && v.type != Type::Bool; });
        if(!variable) return declare();
        const Variable target = *variable;
        auto node = std::make_unique<Assign>();
        node->type = target.type;
        node->index = target.index;
        node->name = target.name;
        if(target.is_array || target.is_vector) node->element = element();
        static const uint32_t codes[] = {Mul, Add, Sub, And, Xor, Or};
        if(random.chance(40)) node->code = codes[random.get(6)];
        node->value = expression(target.type, 3);
        return node;
    }

    StatementPtr loop(uint32_t level) {
        auto node = std::make_unique<Loop>();
        node->kind = Loop::Kind(random.get(3));
        node->count = 1 + random.get(6);
        const size_t size = variables.size();
        const Variable counter = add_variable(Type::Int, false, false, "k");
        variables.back().locked = true;
        node->index = counter.index;
        node->name = counter.name;
        const uint32_t saved = switches;
        switches = 0;
        loops++;
        node->body = new_block(1 + random.get(4), level + 1);
        loops--;
        switches = saved;
        variables.erase(variables.begin() + ptrdiff_t(size), variables.end());
        if(node->kind == Loop::For) return node;
        // The counter of the other kinds is a variable of the block around them.
        auto block = std::make_unique<Block>();
        block->statements.push_back(std::move(node));
        return block;
    }

    StatementPtr choice(uint32_t level) {
        auto node = std::make_unique<Switch>();
        node->selector = expression(random.chance(50) ? Type::Int : Type::UInt, 3);
        const uint32_t count = 1 + random.get(4);
        const uint32_t place = random.get(count + 2); // of the default
        uint32_t value = random.get(3);
        switches++;
        for(uint32_t i = 0; i < count; i++) {
            auto item = std::make_unique<Switch::Case>();
            item->is_default = (i == place);
            item->value = value;
            if(!item->is_default) value += 1 + random.get(2);
            item->leaves = random.chance(70);
            generate_block(item->block, 1 + random.get(2), level + 1);
            node->cases.push_back(std::move(item));
        }
        switches--;
        // A break in a case ends the switch, which the interpreter sees as the end of the statement.
        auto block = std::make_unique<SwitchBlock>();
        block->statement = std::move(node);
        return block;
    }

    struct SwitchBlock : Statement {
        Flow run(Frame &frame, Budget &budget, uint32_t &result) const override {
            const Flow flow = statement->run(frame, budget, result);
            return (flow == Flow::Break) ? Flow::Next : flow;
        }
        void print(std::string &text, uint32_t level) const override { statement->print(text, level); }
        StatementPtr statement;
    };

    StatementPtr jump() {
        auto node = std::make_unique<Jump>();
        const uint32_t kind = random.get(3);
        if(kind == 0 && (loops || switches)) {
            node->flow = Flow::Break;
        } else if(kind == 1 && loops && !switches) {
            node->flow = Flow::Continue;
        } else {
            node->value = expression(current->type, 3);
        }
        return node;
    }

    StatementPtr call_statement() {
        for(const auto &function : functions) {
            if(function.get() == current || loops > 1) continue;
            const Variable *variable = pick([](const Variable &v) { return !v.locked && !v.is_array && !v.is_vector; });
            if(!variable || variable->type != function->type) continue;
            auto node = std::make_unique<CallStatement>();
            node->function = function.get();
            node->index = variable->index;
            node->name = variable->name;
            bool fits = true;
            std::vector<uint32_t> used;
            for(const auto &parameter : function->parameters) {
                if(!parameter.is_out) {
                    node->args.push_back(expression(parameter.type, 2));
                    continue;
                }
                const Variable *found = nullptr;
                for(const Variable &v : variables) {
                    bool again = v.locked || v.type != parameter.type;
                    for(uint32_t index : used) again |= (index == v.index);
                    if(!again && (!found || random.chance(40))) found = &v;
                }
                if(!found) {
                    fits = false;
                    break;
                }
                used.push_back(found->index);
                node->args.push_back(load(*found));
            }
            // The result is stored last, so it may not be one of the places that are written back.
            for(uint32_t index : used) fits &= (index != node->index);
            if(fits) return node;
        }
        return assign();
    }

    StatementPtr shuffle() {
        const Variable *to = pick([](const Variable &v) { return v.is_vector; });
        if(!to) return assign();
        const Variable *from = to;
        for(const Variable &v : variables) {
            if(v.is_vector && v.type == to->type && random.chance(50)) from = &v;
        }
        auto node = std::make_unique<Shuffle>();
        node->to = to->index;
        node->from = from->index;
        node->to_name = to->name;
        node->from_name = from->name;
        node->size = 2 + random.get(3);
        uint32_t order[4] = {0, 1, 2, 3};
        for(uint32_t i = 3; i > 0; i--) std::swap(order[i], order[random.get(i + 1)]);
        for(uint32_t i = 0; i < node->size; i++) {
            node->dest[i] = order[i];
            node->source[i] = random.get(4);
        }
        return node;
    }

    Random random;
    std::string prefix;
    std::vector<Variable> variables;
    Function *current = nullptr;
    uint32_t loops = 0;
    uint32_t switches = 0;
};

} // namespace

RandomModule create_random_module(uint32_t seed, uint32_t num_programs) {
    RandomModule module;
    module.source = "#version 450\n"
                    "layout(local_size_x = 1) in;\n"
                    "layout(std430, binding = 0) buffer Results { uint results[]; };\n";
    std::string body;
    uint64_t next = uint64_t(seed) << 24;
    for(uint32_t i = 0; i < num_programs; i++) {
        for(;;) {
            Generator generator(++next, i);
            generator.generate();
            const Function &program = *generator.functions.back();
            Frame frame;
            frame.values.resize(program.num_values);
            Budget budget;
            const uint32_t result = program.call(frame, budget);
            if(budget.steps > 20000) continue; // takes too long to be of use
            for(const auto &function : generator.functions) function->print(module.source);
            module.expected.push_back(result);
            break;
        }
        body += "  results[" + std::to_string(i) + "] = p" + std::to_string(i) + "();\n";
    }
    module.source += "void main() {\n" + body + "}\n";
    return module;
}
