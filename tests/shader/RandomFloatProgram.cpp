// The generator makes a tree; the tree prints itself and computes its value in doubles, which hold every value exactly.

#include "RandomFloatProgram.h"

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <memory>

namespace {

constexpr double variable_bound = 64.0;   // of all variables but matrices
constexpr double matrix_bound = 8.0;      // of the elements of matrix variables
constexpr double exact_bound = 4194304.0; // of values times two to the number of their binary places
constexpr uint32_t max_steps = 20000;

using Values = std::vector<double>;

struct Random {
    explicit Random(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15ull + 1) {}
    uint32_t get(uint32_t size) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return uint32_t(state >> 16) % size;
    }
    bool chance(uint32_t percent) { return get(100) < percent; }
    uint64_t state;
};

struct Type {
    char kind = 'f';      // float, integer or bool
    uint32_t rows = 1;    // components
    uint32_t columns = 1; // more than one for matrices, which are of floats
    uint32_t size() const { return rows * columns; }
    bool matrix() const { return columns > 1; }
    bool operator==(const Type &t) const { return kind == t.kind && rows == t.rows && columns == t.columns; }
    std::string name() const {
        if(matrix()) return "mat" + std::to_string(columns) + "x" + std::to_string(rows);
        if(rows == 1) return (kind == 'f') ? "float" : (kind == 'i') ? "int" : "bool";
        return std::string((kind == 'f') ? "" : (kind == 'i') ? "i" : "b") + "vec" + std::to_string(rows);
    }
};

std::string number(double value, char kind) {
    char text[32];
    if(kind == 'b') return (value != 0.0) ? "true" : "false";
    snprintf(text, sizeof(text), kind == 'i' ? "%.0f" : (value == floor(value)) ? "%.1f" : "%.6g", value);
    return (value < 0.0) ? "(" + std::string(text) + ")" : text;
}

struct Function;
struct Frame {
    std::vector<Values> variables;
    const Values *input;
    uint32_t *steps;
};

// -- Expressions ------------------------------------------------------------------------------------------------------

struct Node;
using NodePtr = std::unique_ptr<Node>;

// An operation prints "%0", "%1" and so on as its operands, and computes its result from theirs.
using Operation = Values (*)(const std::vector<Values> &args, const Node &node);

struct Node {
    Type type;
    double bound = 0.0;  // no component is larger
    uint32_t places = 0; // binary places behind the point
    std::string text;
    Operation operation = nullptr;
    std::vector<NodePtr> args;
    std::vector<uint32_t> indices;      // of a swizzle and the like
    double value = 0.0;                 // of a literal
    int variable = -1;                  // place in the frame
    int input = -1;                     // first number of the input
    const Function *function = nullptr; // called

    Values eval(Frame &frame) const;
    void print(std::string &out) const {
        for(size_t i = 0; i < text.size(); i++) {
            if(text[i] == '%' && isdigit(text[i + 1]))
                args[size_t(text[++i] - '0')]->print(out);
            else
                out += text[i];
        }
    }
    double weight() const { return ldexp(bound, int(places)); }
};

NodePtr create(Type type, const std::string &text, double bound, uint32_t places, Operation operation = nullptr) {
    auto node = std::make_unique<Node>();
    node->type = type;
    node->text = text;
    node->bound = bound;
    node->places = places;
    node->operation = operation;
    return node;
}

NodePtr literal(double value, char kind = 'f') {
    uint32_t places = 0;
    while(ldexp(value, int(places)) != floor(ldexp(value, int(places)))) places++;
    NodePtr node = create({kind, 1, 1}, number(value, kind), fabs(value), places);
    node->value = value;
    return node;
}

// The operands are taken by reference, since what makes the node may still ask them for their bounds.
template<class... Args> NodePtr with(NodePtr node, Args &&...args) {
    (node->args.push_back(std::move(args)), ...);
    return node;
}

// Component of an argument, which may be a scalar beside vectors.
double at(const Values &values, size_t i) { return values.size() == 1 ? values[0] : values[i]; }

template<double (*function)(double)> Values each(const std::vector<Values> &args, const Node &node) {
    Values ret(node.type.size());
    for(size_t i = 0; i < ret.size(); i++) ret[i] = function(at(args[0], i));
    return ret;
}
template<double (*function)(double, double)> Values each(const std::vector<Values> &args, const Node &node) {
    Values ret(node.type.size());
    for(size_t i = 0; i < ret.size(); i++) ret[i] = function(at(args[0], i), at(args[1], i));
    return ret;
}
double add(double a, double b) { return a + b; }
double sub(double a, double b) { return a - b; }
double mul(double a, double b) { return a * b; }
double min_(double a, double b) { return a < b ? a : b; }
double max_(double a, double b) { return a > b ? a : b; }
double mod_(double a, double b) { return a - b * floor(a / b); }
double step_(double a, double b) { return b < a ? 0.0 : 1.0; }
double div_(double a, double b) { return trunc(a / b); }
double and_(double a, double b) { return double(int64_t(a) & int64_t(b)); }
double or_(double a, double b) { return double(int64_t(a) | int64_t(b)); }
double xor_(double a, double b) { return double(int64_t(a) ^ int64_t(b)); }
double shl(double a, double b) { return ldexp(a, int(b)); }
double shr(double a, double b) { return floor(ldexp(a, -int(b))); }
double less(double a, double b) { return a < b; }
double greater(double a, double b) { return a > b; }
double less_equal(double a, double b) { return a <= b; }
double greater_equal(double a, double b) { return a >= b; }
double equal(double a, double b) { return a == b; }
double not_equal(double a, double b) { return a != b; }
double neg(double a) { return -a; }
double not_(double a) { return a == 0.0; }
double sign_(double a) { return (a > 0.0) - (a < 0.0); }
double abs_(double a) { return fabs(a); }
double floor_(double a) { return floor(a); }
double ceil_(double a) { return ceil(a); }
double trunc_(double a) { return trunc(a); }
double fract_(double a) { return a - floor(a); }
double truth(double a) { return a != 0.0; }
double same(double a) { return a; }

// -- Statements and functions -----------------------------------------------------------------------------------------

enum class Flow { Next, Break, Continue };

struct Statement {
    enum Kind { Assign, If, Loop, Switch, Jump, Call } kind = Assign;
    std::string head; // printed in front of the expression, or as a declaration
    std::string tail; // printed behind it
    NodePtr value;
    NodePtr index;                 // of an element: of a vector, of an array, of a matrix' columns
    int variable = -1;             // written
    std::vector<uint32_t> targets; // components that are written; empty for all
    uint32_t stride = 0;           // components of an indexed part
    uint32_t count = 0;            // of a loop
    Flow flow = Flow::Next;
    bool fits = false; // the variable is brought back into its range
    std::vector<std::vector<std::unique_ptr<Statement>>> blocks;
    std::vector<int> labels; // of the blocks of a switch, -1 for the default
    std::vector<bool> leaves;

    Flow run(Frame &frame) const;
    static Flow run(const std::vector<std::unique_ptr<Statement>> &block, Frame &frame) {
        for(const auto &statement : block) {
            const Flow flow = statement->run(frame);
            if(flow != Flow::Next) return flow;
        }
        return Flow::Next;
    }
    void print(std::string &out, uint32_t level) const;
};
using Block = std::vector<std::unique_ptr<Statement>>;

struct Function {
    std::string name;
    Type type;
    bool is_inline = false;
    struct Parameter {
        Type type;
        int variable;
        bool written;
    };
    std::vector<Parameter> parameters;
    uint32_t num_variables = 0;
    Block body;
    NodePtr result;

    Values call(const std::vector<Values> &args, const Frame &caller, std::vector<Values> *written = nullptr) const {
        Frame frame{std::vector<Values>(num_variables), caller.input, caller.steps};
        for(size_t i = 0; i < args.size(); i++) frame.variables[size_t(parameters[i].variable)] = args[i];
        Statement::run(body, frame);
        const Values ret = result->eval(frame);
        if(written) {
            for(const Parameter &parameter : parameters)
                written->push_back(frame.variables[size_t(parameter.variable)]);
        }
        return ret;
    }
};

Values Node::eval(Frame &frame) const {
    ++*frame.steps;
    if(*frame.steps > max_steps) return Values(type.size(), 0.0);
    Values ret;
    if(variable >= 0) {
        ret = frame.variables[size_t(variable)];
    } else if(input >= 0) {
        ret.assign(frame.input->begin() + input, frame.input->begin() + input + int(type.size()));
    } else if(args.empty() && !function) {
        ret.assign(1, value);
    } else {
        std::vector<Values> values;
        for(const NodePtr &arg : args) values.push_back(arg->eval(frame));
        ret = function ? function->call(values, frame) : operation(values, *this);
    }
    // the tree's own promise, which makes the results exact
    if(*frame.steps <= max_steps && variable < 0) {
        for(const double v : ret) {
            if(fabs(v) > bound || ldexp(v, int(places)) != floor(ldexp(v, int(places)))) {
                fprintf(stderr, "RandomFloatProgram: %g exceeds %g with %u places: %s\n", v, bound, places,
                        text.c_str());
                abort();
            }
        }
    }
    return ret;
}

void fit(Values &values, double bound) {
    for(double &v : values) v = mod_(floor(v), bound);
}

Flow Statement::run(Frame &frame) const {
    if(++*frame.steps > max_steps) return Flow::Break;
    switch(kind) {
    case Assign: {
        Values &dest = frame.variables[size_t(variable)];
        const size_t first = index ? size_t(index->eval(frame)[0]) * stride : 0;
        const Values source = value->eval(frame);
        if(targets.empty() && stride == 0) {
            dest = source;
        } else if(stride) {
            for(size_t i = 0; i < stride; i++) dest[first + i] = source[i];
        } else {
            for(size_t i = 0; i < targets.size(); i++) dest[targets[i]] = at(source, i);
        }
        if(fits) fit(dest, variable_bound);
        return Flow::Next;
    }
    case If:
        if(value->eval(frame)[0] != 0.0) return run(blocks[0], frame);
        return blocks.size() > 1 ? run(blocks[1], frame) : Flow::Next;
    case Loop: {
        Values &counter = frame.variables[size_t(variable)];
        for(counter = {0.0}; counter[0] < count; counter[0]++) {
            if(run(blocks[0], frame) == Flow::Break || *frame.steps > max_steps) break;
        }
        return Flow::Next;
    }
    case Switch: {
        const int selector = int(value->eval(frame)[0]);
        size_t first = labels.size();
        for(size_t i = 0; i < labels.size(); i++) {
            if(labels[i] == selector) first = i;
        }
        for(size_t i = 0; i < labels.size() && first == labels.size(); i++) {
            if(labels[i] < 0) first = i;
        }
        for(size_t i = first; i < labels.size(); i++) {
            const Flow result = run(blocks[i], frame);
            if(result == Flow::Break || leaves[i]) break;
        }
        return Flow::Next;
    }
    case Jump: return (value->eval(frame)[0] != 0.0) ? flow : Flow::Next;
    default: { // a call that writes a variable of the caller
        std::vector<Values> args, written;
        for(const NodePtr &arg : value->args) args.push_back(arg->eval(frame));
        const Values result = value->function->call(args, frame, &written);
        for(size_t i = 0; i < args.size(); i++) {
            if(value->function->parameters[i].written) frame.variables[size_t(value->args[i]->variable)] = written[i];
        }
        frame.variables[size_t(variable)] = result;
        return Flow::Next;
    }
    }
}

void Statement::print(std::string &out, uint32_t level) const {
    const std::string space(level * 2, ' ');
    const auto print_block = [&](const Block &block) {
        for(const auto &statement : block) statement->print(out, level + 1);
    };
    out += space + head;
    if(index) {
        out += "[";
        index->print(out);
        out += "]";
        out += " = ";
    }
    if(value) value->print(out);
    out += tail;
    if(kind == If || kind == Loop) {
        out += " {\n";
        print_block(blocks[0]);
        out += space + "}\n";
        if(blocks.size() > 1) {
            out += space + "else {\n";
            print_block(blocks[1]);
            out += space + "}\n";
        }
    } else if(kind == Switch) {
        out += " {\n";
        for(size_t i = 0; i < blocks.size(); i++) {
            out +=
                space + (labels[i] < 0 ? std::string("default:") : "case " + std::to_string(labels[i]) + ":") + " {\n";
            print_block(blocks[i]);
            out += space + "}\n";
            if(leaves[i]) out += space + "  break;\n";
        }
        out += space + "}\n";
    } else {
        out += "\n";
    }
}

// -- Generator --------------------------------------------------------------------------------------------------------

class Generator {
public:
    Generator(uint64_t seed, uint32_t number) : random(seed), prefix(std::to_string(number)) {}

    std::vector<std::unique_ptr<Function>> functions; // the last one is the program

    void generate() {
        const uint32_t num_helpers = random.get(4);
        for(uint32_t i = 0; i < num_helpers; i++) generate_function("g" + prefix + "_" + std::to_string(i), true);
        generate_function("q" + prefix, false);
    }

private:
    struct Variable {
        std::string name;
        Type type;
        int index;
        uint32_t length; // of an array, otherwise 0
        bool locked;     // a loop counts with it
    };

    // -- Values within their bounds --

    NodePtr fitted(NodePtr node, double bound = variable_bound) {
        const Type type = node->type;
        if(node->places) node = with(create(type, "floor(%0)", node->bound + 1.0, 0, each<floor_>), std::move(node));
        if(node->bound <= bound) return node;
        if(type.kind == 'i') {
            NodePtr mask = literal(bound - 1.0, 'i');
            return with(create(type, "(%0 & %1)", bound, 0, each<and_>), std::move(node), std::move(mask));
        }
        return with(create(type, "mod(%0, %1)", bound, 0, each<mod_>), std::move(node), literal(bound));
    }

    NodePtr shrunk(NodePtr node, double weight) {
        return (node->weight() <= weight) ? std::move(node) : fitted(std::move(node));
    }

    // -- Leaves --

    const Variable *pick(Type type, bool written = false) {
        const Variable *found = nullptr;
        uint32_t count = 0;
        for(const Variable &v : variables) {
            if(v.type == type && !v.length && !(written && v.locked) && random.get(++count) == 0) found = &v;
        }
        return found;
    }

    NodePtr load(const Variable &v) {
        NodePtr node = create(v.type, v.name, v.type.matrix() ? matrix_bound : variable_bound, 0);
        node->variable = v.index;
        return node;
    }

    NodePtr leaf(Type type) {
        if(random.chance(60)) {
            if(const Variable *v = pick(type)) return load(*v);
        }
        if(type.kind == 'b' && type.rows == 1) return literal(random.get(2), 'b');
        if(type.rows == 1 && random.chance(60)) {
            static const double floats[] = {0.0, 1.0, -1.0, 2.0, 0.5, 3.0, -0.25, 7.0, 1.5};
            return literal(type.kind == 'i' ? double(random.get(9)) - 3.0 : floats[random.get(9)], type.kind);
        }
        if(type.kind != 'b' && !type.matrix()) {
            // four vectors of four floats, then as many of integers
            const uint32_t row = random.get(4), column = random.get(5 - type.rows);
            std::string text = std::string(type.kind == 'i' ? "in_i" : "in_f") + "[" + std::to_string(row) + "]";
            if(type.rows < 4) text += "." + std::string("xyzw").substr(column, type.rows);
            NodePtr node = create(type, text, 32.0, 0);
            node->input = int((type.kind == 'i' ? 16 : 0) + row * 4 + column);
            return node;
        }
        return construct(type, 0);
    }

    // An index within a number of elements.
    NodePtr element(uint32_t count, uint32_t depth) {
        if(depth == 0 || random.chance(40)) return literal(random.get(count), 'i');
        NodePtr value = fitted(expression({'i', 1, 1}, depth - 1));
        const bool power = (count & (count - 1)) == 0;
        if(power)
            return with(create({'i', 1, 1}, "(%0 & %1)", count - 1, 0, each<and_>), std::move(value),
                        literal(count - 1, 'i'));
        value = with(create({'i', 1, 1}, "(%0 & %1)", 63.0, 0, each<and_>), std::move(value), literal(63.0, 'i'));
        return with(create({'i', 1, 1}, "(%0 % %1)", count - 1, 0, each<mod_>), std::move(value), literal(count, 'i'));
    }

    NodePtr construct(Type type, uint32_t depth) {
        const double bound = type.matrix() ? matrix_bound : exact_bound;
        NodePtr node = create(type, type.name() + "(", 0.0, 0, [](const std::vector<Values> &args, const Node &) {
            Values ret;
            for(const Values &arg : args) ret.insert(ret.end(), arg.begin(), arg.end());
            return ret;
        });
        for(uint32_t left = type.size(); left;) {
            uint32_t size = type.matrix() ? type.rows : 1 + random.get(left);
            if(size == left && size == type.size()) size = 1 + random.get(size - 1);
            NodePtr arg = expression({type.kind, size, 1}, depth ? depth - 1 : 0);
            if(type.matrix()) arg = fitted(std::move(arg), bound);
            node->text += (node->args.empty() ? "%" : ", %") + std::to_string(node->args.size());
            node->bound = max_(node->bound, arg->bound);
            node->places = uint32_t(max_(node->places, arg->places));
            node->args.push_back(std::move(arg));
            left -= size;
        }
        // what has most may not need most places, so their product counts
        node->text += ")";
        return (type.kind == 'b') ? std::move(node) : shrunk_all(std::move(node));
    }
    NodePtr shrunk_all(NodePtr node) {
        return node->type.matrix() ? std::move(node) : shrunk(std::move(node), exact_bound);
    }

    // -- Expressions --

    NodePtr expression(Type type, uint32_t depth) {
        if(depth == 0 || random.chance(10)) return leaf(type);
        if(type.kind == 'b') return condition(type, depth);
        if(type.matrix()) return matrix(type, depth);
        const uint32_t kind = random.get(100);
        if(kind < 38) return arithmetic(type, depth);
        if(kind < 54) return function(type, depth);
        if(kind < 62) return swizzle(type, depth);
        if(kind < 70 && type.rows > 1) return construct(type, depth);
        if(kind < 76) return select(type, depth);
        if(kind < 82) return cast(type, depth);
        if(kind < 90 && type.kind == 'f') return product(type, depth);
        if(kind < 95) {
            if(NodePtr node = call(type, depth)) return node;
        }
        return indexed(type, depth);
    }

    NodePtr arithmetic(Type type, uint32_t depth) {
        const uint32_t kind = random.get(type.kind == 'i' ? 9 : 4);
        // one of two may be a scalar beside a vector
        Type left_type = type, right_type = type;
        if(type.rows > 1 && random.chance(30)) (random.chance(50) ? left_type : right_type).rows = 1;
        NodePtr left = expression(left_type, depth - 1), right = expression(right_type, depth - 1);
        const auto join = [&](const char *text, double bound, uint32_t places, Operation operation) {
            return with(create(type, text, bound, places, operation), std::move(left), std::move(right));
        };
        if(kind < 2) {
            left = shrunk(std::move(left), exact_bound / 1024);
            right = shrunk(std::move(right), exact_bound / 1024);
            const uint32_t places = uint32_t(max_(left->places, right->places));
            if(places > 8) return fitted(std::move(left_type == type ? left : right));
            const double bound = left->bound + right->bound;
            return kind ? join("(%0 - %1)", bound, places, each<sub>) : join("(%0 + %1)", bound, places, each<add>);
        }
        if(kind == 2) {
            left = shrunk(std::move(left), 1024.0);
            right = shrunk(std::move(right), 1024.0);
            return join("(%0 * %1)", left->bound * right->bound, left->places + right->places, each<mul>);
        }
        if(kind == 3 && type.kind == 'f') {
            const bool minimum = random.chance(50);
            if(left->type.rows < type.rows) std::swap(left, right);
            const uint32_t places = uint32_t(max_(left->places, right->places));
            const double bound = max_(left->bound, right->bound);
            if(ldexp(bound, int(places)) > exact_bound) return fitted(std::move(left));
            return minimum ? join("min(%0, %1)", bound, places, each<min_>)
                           : join("max(%0, %1)", bound, places, each<max_>);
        }
        left = fitted(std::move(left));
        if(kind == 3 || kind == 4) {
            // positive, so that what "%" does to a sign does not matter
            right = literal(1.0 + random.get(9), 'i');
            if(left->type.rows < type.rows) return fitted(std::move(left->type == type ? left : (left = leaf(type))));
            if(kind == 3) return join("(%0 / %1)", left->bound, 0, each<div_>);
            left = with(create(type, "(%0 & %1)", 63.0, 0, each<and_>), std::move(left), literal(63.0, 'i'));
            return join("(%0 % %1)", 63.0, 0, each<mod_>);
        }
        if(kind == 5 || kind == 6) {
            if(left->type.rows < type.rows) left = leaf(type);
            const uint32_t count = random.get(4);
            right = literal(count, 'i');
            if(kind == 5) return join("(%0 << %1)", ldexp(left->bound, int(count)), 0, each<shl>);
            return join("(%0 >> %1)", left->bound, 0, each<shr>);
        }
        right = fitted(std::move(right));
        const double bound = 2.0 * variable_bound;
        return (kind == 7) ? join("(%0 | %1)", bound, 0, each<or_>) : join("(%0 ^ %1)", bound, 0, each<xor_>);
    }

    NodePtr function(Type type, uint32_t depth) {
        NodePtr value = expression(type, depth - 1);
        const double bound = value->bound;
        const uint32_t places = value->places;
        const auto apply = [&](const char *text, double limit, uint32_t digits, Operation operation) {
            return with(create(type, text, limit, digits, operation), std::move(value));
        };
        switch(random.get(type.kind == 'i' ? 5 : 12)) {
        case 0: return apply("(-%0)", bound, places, each<neg>);
        case 1: return apply("abs(%0)", bound, places, each<abs_>);
        case 2: return apply("sign(%0)", 1.0, 0, each<sign_>);
        case 3:
        case 4: {
            const double low = -double(random.get(9)), high = double(random.get(20));
            return with(create(type, "clamp(%0, %1, %2)", max_(-low, high), places,
                               [](const std::vector<Values> &args, const Node &node) {
                                   Values ret(node.type.size());
                                   for(size_t i = 0; i < ret.size(); i++)
                                       ret[i] = min_(max_(args[0][i], args[1][0]), args[2][0]);
                                   return ret;
                               }),
                        std::move(value), literal(low, type.kind), literal(high, type.kind));
        }
        case 5: return apply("floor(%0)", bound + 1.0, 0, each<floor_>);
        case 6: return apply("ceil(%0)", bound + 1.0, 0, each<ceil_>);
        case 7: return apply("trunc(%0)", bound, 0, each<trunc_>);
        case 8: return apply("fract(%0)", 1.0, places, each<fract_>);
        case 9: {
            static const double sizes[] = {1.0, 2.0, 8.0, 32.0};
            NodePtr size = literal(sizes[random.get(4)]);
            const double limit = size->value;
            return with(create(type, "mod(%0, %1)", limit, places, each<mod_>), std::move(value), std::move(size));
        }
        case 10: {
            NodePtr edge = expression(type, depth - 1);
            return with(create(type, "step(%0, %1)", 1.0, 0, each<step_>), std::move(edge), std::move(value));
        }
        default: {
            // a * b + c, which may be one operation or two
            NodePtr a = shrunk(std::move(value), 256.0), b = shrunk(expression(type, depth - 1), 256.0);
            NodePtr c = shrunk(expression(type, depth - 1), 256.0);
            const uint32_t digits = uint32_t(max_(a->places + b->places, c->places));
            const double limit = a->bound * b->bound + c->bound;
            return with(create(type, "fma(%0, %1, %2)", limit, digits,
                               [](const std::vector<Values> &args, const Node &node) {
                                   Values ret(node.type.size());
                                   for(size_t i = 0; i < ret.size(); i++) ret[i] = args[0][i] * args[1][i] + args[2][i];
                                   return ret;
                               }),
                        std::move(a), std::move(b), std::move(c));
        }
        }
    }

    NodePtr swizzle(Type type, uint32_t depth) {
        const uint32_t from = (type.rows == 1) ? 2 + random.get(3) : 2 + random.get(3);
        NodePtr value = expression({type.kind, from, 1}, depth - 1);
        static const char *const sets[] = {"xyzw", "rgba", "stpq"};
        const char *letters = sets[random.get(3)];
        std::string text = "%0.";
        std::vector<uint32_t> indices;
        for(uint32_t i = 0; i < type.rows; i++) {
            indices.push_back(random.get(from));
            text += letters[indices.back()];
        }
        NodePtr node =
            create(type, text, value->bound, value->places, [](const std::vector<Values> &args, const Node &n) {
                Values ret;
                for(const uint32_t i : n.indices) ret.push_back(args[0][i]);
                return ret;
            });
        node->indices = indices;
        // what is not a name or a call needs parentheses
        if(value->text.find('[') != std::string::npos) node->text.replace(0, 2, "(%0)");
        return with(std::move(node), std::move(value));
    }

    NodePtr select(Type type, uint32_t depth) {
        NodePtr a = expression(type, depth - 1), b = expression(type, depth - 1);
        const uint32_t places = uint32_t(max_(a->places, b->places));
        const double bound = max_(a->bound, b->bound);
        if(ldexp(bound, int(places)) > exact_bound) return fitted(std::move(a));
        const bool mixed = random.chance(50) && type.kind == 'f';
        NodePtr test = condition({'b', mixed ? type.rows : 1, 1}, depth);
        return with(create(type, mixed ? "mix(%1, %0, %2)" : "(%2 ? %0 : %1)", bound, places,
                           [](const std::vector<Values> &args, const Node &node) {
                               Values ret(node.type.size());
                               for(size_t i = 0; i < ret.size(); i++)
                                   ret[i] = (at(args[2], i) != 0.0) ? args[0][i] : args[1][i];
                               return ret;
                           }),
                    std::move(a), std::move(b), std::move(test));
    }

    NodePtr cast(Type type, uint32_t depth) {
        if(random.chance(20)) {
            NodePtr value = condition({'b', type.rows, 1}, depth);
            return with(create(type, type.name() + "(%0)", 1.0, 0, each<same>), std::move(value));
        }
        NodePtr value = expression({type.kind == 'i' ? 'f' : 'i', type.rows, 1}, depth - 1);
        const double bound = value->bound;
        return with(create(type, type.name() + "(%0)", bound, 0, each<trunc_>), std::move(value));
    }

    // Dot and cross products, and those with matrices.
    NodePtr product(Type type, uint32_t depth) {
        const uint32_t kind = random.get(3);
        if(type.rows == 1 || (kind == 0 && type.rows == 3)) {
            const uint32_t rows = (type.rows == 1) ? 2 + random.get(3) : 3;
            NodePtr a = shrunk(expression({'f', rows, 1}, depth - 1), 512.0);
            NodePtr b = shrunk(expression({'f', rows, 1}, depth - 1), 512.0);
            const double bound = a->bound * b->bound * rows;
            const uint32_t places = a->places + b->places;
            if(type.rows == 1)
                return with(create(type, "dot(%0, %1)", bound, places,
                                   [](const std::vector<Values> &args, const Node &) {
                                       double sum = 0.0;
                                       for(size_t i = 0; i < args[0].size(); i++) sum += args[0][i] * args[1][i];
                                       return Values{sum};
                                   }),
                            std::move(a), std::move(b));
            return with(
                create(
                    type, "cross(%0, %1)", bound, places,
                    [](const std::vector<Values> &args, const Node &) {
                        const Values &u = args[0], &v = args[1];
                        return Values{u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
                    }),
                std::move(a), std::move(b));
        }
        const uint32_t inner = 2 + random.get(3);
        NodePtr vector = fitted(expression({'f', inner, 1}, depth - 1));
        if(kind == 1) {
            NodePtr m = matrix({'f', type.rows, inner}, depth - 1);
            const double bound = m->bound * vector->bound * inner;
            return with(create(type, "(%0 * %1)", bound, 0, multiply), std::move(m), std::move(vector));
        }
        NodePtr m = matrix({'f', inner, type.rows}, depth - 1);
        const double bound = m->bound * vector->bound * inner;
        return with(create(type, "(%0 * %1)", bound, 0, multiply), std::move(vector), std::move(m));
    }

    // Of matrices and vectors, told apart by the types of the operands.
    static Values multiply(const std::vector<Values> &args, const Node &node) {
        const Type a = node.args[0]->type, b = node.args[1]->type;
        Values ret(node.type.size(), 0.0);
        if(!a.matrix()) { // a row
            for(uint32_t c = 0; c < b.columns; c++)
                for(uint32_t r = 0; r < b.rows; r++) ret[c] += args[0][r] * args[1][c * b.rows + r];
            return ret;
        }
        for(uint32_t c = 0; c < b.columns; c++)
            for(uint32_t r = 0; r < a.rows; r++)
                for(uint32_t k = 0; k < a.columns; k++)
                    ret[c * a.rows + r] += args[0][k * a.rows + r] * args[1][c * b.rows + k];
        return ret;
    }

    NodePtr matrix(Type type, uint32_t depth) {
        const uint32_t kind = depth ? random.get(8) : 0;
        if(kind < 2) {
            if(const Variable *v = pick(type)) return load(*v);
        }
        if(kind == 2) {
            NodePtr m = matrix({'f', type.columns, type.rows}, depth - 1);
            const double bound = m->bound;
            return with(create(type, "transpose(%0)", bound, 0,
                               [](const std::vector<Values> &args, const Node &node) {
                                   const Type t = node.type;
                                   Values ret(t.size());
                                   for(uint32_t c = 0; c < t.columns; c++)
                                       for(uint32_t r = 0; r < t.rows; r++)
                                           ret[c * t.rows + r] = args[0][r * t.columns + c];
                                   return ret;
                               }),
                        std::move(m));
        }
        if(kind == 3) {
            const uint32_t inner = 2 + random.get(3);
            NodePtr a = construct({'f', type.rows, inner}, 0), b = construct({'f', inner, type.columns}, 0);
            const double bound = a->bound * b->bound * inner;
            return with(create(type, "(%0 * %1)", bound, 0, multiply), std::move(a), std::move(b));
        }
        if(kind == 4) {
            NodePtr a = construct(type, depth - 1), b = construct(type, 0);
            const double bound = a->bound + b->bound;
            return with(create(type, "(%0 - %1)", bound, 0, each<sub>), std::move(a), std::move(b));
        }
        if(kind == 5) {
            NodePtr a = construct(type, depth - 1), b = fitted(expression({'f', 1, 1}, depth - 1), matrix_bound);
            const double bound = a->bound * b->bound;
            return with(create(type, "(%1 * %0)", bound, 0, each<mul>), std::move(a), std::move(b));
        }
        if(kind == 6 && type.rows == type.columns) {
            NodePtr s = fitted(expression({'f', 1, 1}, depth - 1), matrix_bound);
            const double bound = s->bound;
            return with(create(type, type.name() + "(%0)", bound, 0,
                               [](const std::vector<Values> &args, const Node &node) {
                                   Values ret(node.type.size(), 0.0);
                                   for(uint32_t i = 0; i < node.type.rows; i++)
                                       ret[i * node.type.rows + i] = args[0][0];
                                   return ret;
                               }),
                        std::move(s));
        }
        return construct(type, depth ? depth - 1 : 0);
    }

    NodePtr condition(Type type, uint32_t depth) {
        if(depth == 0) return leaf(type);
        const uint32_t kind = random.get(10);
        if(type.rows == 1) {
            if(kind < 6) {
                static const struct {
                    const char *text;
                    Operation operation;
                } relations[] = {{"(%0 < %1)", each<less>},        {"(%0 > %1)", each<greater>},
                                 {"(%0 <= %1)", each<less_equal>}, {"(%0 >= %1)", each<greater_equal>},
                                 {"(%0 == %1)", each<equal>},      {"(%0 != %1)", each<not_equal>}};
                const Type operands = {random.chance(60) ? 'f' : 'i', 1, 1};
                const auto &relation = relations[random.get(6)];
                NodePtr a = expression(operands, depth - 1), b = expression(operands, depth - 1);
                return with(create(type, relation.text, 1.0, 0, relation.operation), std::move(a), std::move(b));
            }
            if(kind == 6) {
                NodePtr a = condition({'b', 2 + random.get(3), 1}, depth - 1);
                const bool all = random.chance(50);
                return with(create(type, all ? "all(%0)" : "any(%0)", 1.0, 0,
                                   [](const std::vector<Values> &args, const Node &node) {
                                       double sum = 0.0;
                                       for(const double v : args[0]) sum += v;
                                       return Values{double(node.text[1] == 'l' ? sum == args[0].size() : sum > 0.0)};
                                   }),
                            std::move(a));
            }
            if(kind == 7) {
                const Type operands = {random.chance(60) ? 'f' : 'i', 2 + random.get(3), 1};
                NodePtr a = expression(operands, depth - 1), b = expression(operands, depth - 1);
                return with(create(type, "(%0 == %1)", 1.0, 0,
                                   [](const std::vector<Values> &args, const Node &) {
                                       return Values{double(args[0] == args[1])};
                                   }),
                            std::move(a), std::move(b));
            }
            NodePtr a = condition(type, depth - 1);
            if(kind == 8) return with(create(type, "(!%0)", 1.0, 0, each<not_>), std::move(a));
            NodePtr b = condition(type, depth - 1);
            if(random.chance(50))
                return with(create(type, "(%0 && %1)", 1.0, 0, each<mul>), std::move(a), std::move(b));
            return with(create(type, "(%0 || %1)", 1.0, 0, each<max_>), std::move(a), std::move(b));
        }
        if(kind < 7) {
            static const struct {
                const char *text;
                Operation operation;
            } relations[] = {{"lessThan(%0, %1)", each<less>},
                             {"greaterThan(%0, %1)", each<greater>},
                             {"lessThanEqual(%0, %1)", each<less_equal>},
                             {"greaterThanEqual(%0, %1)", each<greater_equal>},
                             {"equal(%0, %1)", each<equal>},
                             {"notEqual(%0, %1)", each<not_equal>}};
            const Type operands = {random.chance(60) ? 'f' : 'i', type.rows, 1};
            const auto &relation = relations[random.get(6)];
            NodePtr a = expression(operands, depth - 1), b = expression(operands, depth - 1);
            return with(create(type, relation.text, 1.0, 0, relation.operation), std::move(a), std::move(b));
        }
        if(kind == 7) {
            NodePtr a = expression({'i', type.rows, 1}, depth - 1);
            return with(create(type, type.name() + "(%0)", 1.0, 0, each<truth>), std::move(a));
        }
        NodePtr a = condition(type, depth - 1);
        return with(create(type, "not(%0)", 1.0, 0, each<not_>), std::move(a));
    }

    // An element of a vector, of an array, or a column of a matrix.
    NodePtr indexed(Type type, uint32_t depth) {
        const auto pick_part = [](const std::vector<Values> &args, const Node &node) {
            const size_t size = node.type.size(), first = size_t(args[1][0]) * size;
            return Values(args[0].begin() + ptrdiff_t(first), args[0].begin() + ptrdiff_t(first + size));
        };
        for(const Variable &v : variables) {
            if(v.length == 0 || !(v.type == type) || !random.chance(60)) continue;
            NodePtr array = load(v);
            array->type.rows *= v.length; // all of it
            NodePtr index = element(v.length, depth - 1);
            return with(create(type, "%0[%1]", variable_bound, 0, pick_part), std::move(array), std::move(index));
        }
        if(type.rows == 1) {
            const uint32_t rows = 2 + random.get(3);
            NodePtr vector = expression({type.kind, rows, 1}, depth - 1);
            const double bound = vector->bound;
            const uint32_t places = vector->places;
            NodePtr index = element(rows, depth - 1);
            return with(create(type, "(%0)[%1]", bound, places, pick_part), std::move(vector), std::move(index));
        }
        if(type.kind == 'f') {
            const uint32_t columns = 2 + random.get(3);
            NodePtr m = matrix({'f', type.rows, columns}, depth - 1);
            const double bound = m->bound;
            NodePtr index = element(columns, depth - 1);
            return with(create(type, "(%0)[%1]", bound, 0, pick_part), std::move(m), std::move(index));
        }
        return leaf(type);
    }

    NodePtr call(Type type, uint32_t depth) {
        for(const auto &function : functions) {
            if(function.get() == current || !(function->type == type) || loops > 1) continue;
            bool plain = true;
            for(const auto &parameter : function->parameters) plain &= !parameter.written;
            if(!plain) continue;
            NodePtr node = call_node(*function);
            for(const auto &parameter : function->parameters)
                node->args.push_back(fitted(expression(parameter.type, depth - 1)));
            return node;
        }
        return nullptr;
    }

    static NodePtr call_node(const Function &function) {
        std::string text = function.name + "(";
        for(size_t i = 0; i < function.parameters.size(); i++) text += (i ? ", %" : "%") + std::to_string(i);
        NodePtr node = create(function.type, text + ")", variable_bound, 0);
        node->function = &function;
        return node;
    }

    // -- Statements --

    Type random_type(bool matrices = true) {
        if(matrices && random.chance(15)) return {'f', 2 + random.get(3), 2 + random.get(3)};
        return {random.chance(65) ? 'f' : 'i', 1 + random.get(4), 1};
    }

    Variable &add_variable(Type type, uint32_t length = 0) {
        const int index = int(current->num_variables++);
        variables.push_back({"v" + std::to_string(index), type, index, length, false});
        return variables.back();
    }

    NodePtr initial(Type type) {
        if(!type.matrix()) return fitted(expression(type, 3));
        return construct(type, 2);
    }

    std::unique_ptr<Statement> declare() {
        auto statement = std::make_unique<Statement>();
        const Type type = random_type();
        const uint32_t length = (!type.matrix() && random.chance(20)) ? 2 + random.get(3) : 0;
        if(length == 0) {
            statement->value = initial(type);
        } else {
            Type all = type;
            all.rows *= length;
            statement->value =
                create(all, type.name() + "[](", variable_bound, 0, [](const std::vector<Values> &args, const Node &) {
                    Values ret;
                    for(const Values &arg : args) ret.insert(ret.end(), arg.begin(), arg.end());
                    return ret;
                });
            for(uint32_t i = 0; i < length; i++) {
                statement->value->text += (i ? ", %" : "%") + std::to_string(i);
                statement->value->args.push_back(initial(type));
            }
            statement->value->text += ")";
        }
        const Variable &v = add_variable(type, length);
        statement->variable = v.index;
        statement->head = type.name() + " " + v.name + (length ? "[" + std::to_string(length) + "]" : "") + " = ";
        statement->tail = ";";
        return statement;
    }

    std::unique_ptr<Statement> assign() {
        std::vector<const Variable *> fits;
        for(const Variable &v : variables) {
            if(!v.locked && v.type.kind != 'b') fits.push_back(&v);
        }
        if(fits.empty()) return declare();
        const Variable v = *fits[random.get(uint32_t(fits.size()))];
        auto statement = std::make_unique<Statement>();
        statement->variable = v.index;
        statement->tail = ";";
        statement->head = v.name;
        const uint32_t kind = random.get(4);
        if(v.length || (v.type.matrix() && kind == 0) || (v.type.rows > 1 && !v.type.matrix() && kind == 0)) {
            Type part = {v.type.kind, v.length ? v.type.rows : v.type.matrix() ? v.type.rows : 1, 1};
            const uint32_t count = v.length ? v.length : v.type.matrix() ? v.type.columns : v.type.rows;
            statement->index = element(count, 2);
            statement->stride = part.rows;
            statement->value = fitted(expression(part, 3), v.type.matrix() ? matrix_bound : variable_bound);
            return statement;
        }
        if(v.type.matrix()) {
            statement->head += " = ";
            statement->value = initial(v.type);
            return statement;
        }
        if(kind == 1 && v.type.rows > 1) {
            // components in another order
            const uint32_t size = 1 + random.get(v.type.rows);
            uint32_t order[4] = {0, 1, 2, 3};
            for(uint32_t i = v.type.rows - 1; i > 0; i--) std::swap(order[i], order[random.get(i + 1)]);
            statement->head += ".";
            for(uint32_t i = 0; i < size; i++) {
                statement->targets.push_back(order[i]);
                statement->head += "xyzw"[order[i]];
            }
            statement->head += " = ";
            statement->value = fitted(expression({v.type.kind, size, 1}, 3));
            return statement;
        }
        if(kind == 2) {
            // combined with itself, and brought back into the range of variables
            const bool times = random.chance(40);
            NodePtr right = fitted(expression({v.type.kind, random.chance(30) ? 1 : v.type.rows, 1}, 3));
            const double bound = times ? variable_bound * right->bound : variable_bound + right->bound;
            statement->head += times ? " *= " : " += ";
            statement->tail =
                (v.type.kind == 'i') ? "; " + v.name + " &= 63;" : "; " + v.name + " = mod(" + v.name + ", 64.0);";
            statement->fits = true;
            Operation operation = times ? each<mul> : each<add>;
            statement->value = with(create(v.type, "%1", bound, 0, operation), load(v), std::move(right));
            return statement;
        }
        statement->head += " = ";
        statement->value = fitted(expression(v.type, 4));
        return statement;
    }

    std::unique_ptr<Statement> call_statement() {
        for(const auto &function : functions) {
            if(function.get() == current || loops > 1 || !random.chance(70)) continue;
            const Variable *result = pick(function->type, true);
            if(!result) continue;
            auto statement = std::make_unique<Statement>();
            statement->kind = Statement::Call;
            statement->variable = result->index;
            statement->head = result->name + " = ";
            statement->tail = ";";
            statement->value = call_node(*function);
            std::vector<int> used = {result->index};
            bool possible = true;
            for(const auto &parameter : function->parameters) {
                if(!parameter.written) {
                    statement->value->args.push_back(fitted(expression(parameter.type, 2)));
                    continue;
                }
                const Variable *place = pick(parameter.type, true);
                for(const int index : used) possible &= (place && place->index != index);
                if(!possible) break;
                used.push_back(place->index);
                statement->value->args.push_back(load(*place));
            }
            if(possible) return statement;
        }
        return assign();
    }

    void generate_block(Block &block, uint32_t count, uint32_t level) {
        const size_t size = variables.size();
        for(uint32_t i = 0; i < count; i++) block.push_back(generate_statement(level));
        variables.erase(variables.begin() + ptrdiff_t(size), variables.end());
    }

    std::unique_ptr<Statement> generate_statement(uint32_t level) {
        const uint32_t kind = random.get(100);
        if(kind < 25 || variables.empty()) return declare();
        if(kind < 60 || level > 2) return assign();
        auto statement = std::make_unique<Statement>();
        if(kind < 75) {
            statement->kind = Statement::If;
            statement->head = "if(";
            statement->tail = ")";
            statement->value = condition({'b', 1, 1}, 3);
            statement->blocks.resize(1 + random.get(2));
            for(Block &block : statement->blocks) generate_block(block, 1 + random.get(3), level + 1);
            return statement;
        }
        if(kind < 84 && loops < 2) {
            statement->kind = Statement::Loop;
            statement->count = 1 + random.get(4);
            Variable &counter = add_variable({'i', 1, 1});
            counter.locked = true;
            statement->variable = counter.index;
            const std::string name = counter.name;
            statement->head =
                "for(int " + name + " = 0; " + name + " < " + std::to_string(statement->count) + "; " + name + "++)";
            statement->blocks.resize(1);
            loops++;
            const uint32_t saved = switches;
            switches = 0;
            generate_block(statement->blocks[0], 1 + random.get(4), level + 1);
            switches = saved;
            loops--;
            variables.pop_back();
            return statement;
        }
        if(kind < 90) {
            statement->kind = Statement::Switch;
            statement->head = "switch(";
            statement->tail = ")";
            statement->value = element(4, 3);
            const uint32_t count = 1 + random.get(4), place = random.get(count + 1);
            switches++;
            statement->blocks.resize(count);
            for(uint32_t i = 0; i < count; i++) {
                statement->labels.push_back(i == place ? -1 : int(i));
                statement->leaves.push_back(random.chance(70));
                generate_block(statement->blocks[i], 1 + random.get(2), level + 1);
            }
            switches--;
            return statement;
        }
        if(kind < 94 && loops && !switches) {
            statement->kind = Statement::Jump;
            statement->flow = random.chance(50) ? Flow::Break : Flow::Continue;
            statement->head = "if(";
            statement->value = condition({'b', 1, 1}, 2);
            statement->tail = (statement->flow == Flow::Break) ? ") break;" : ") continue;";
            return statement;
        }
        return call_statement();
    }

    void generate_function(const std::string &name, bool helper) {
        functions.push_back(std::make_unique<Function>());
        Function &function = *functions.back();
        current = &function;
        function.name = name;
        function.type = helper ? random_type(false) : Type{'i', 1, 1};
        function.is_inline = helper && random.chance(30);
        variables.clear();
        if(helper) {
            const uint32_t count = random.get(4);
            for(uint32_t i = 0; i < count; i++) {
                const Variable &v = add_variable(random_type(false));
                function.parameters.push_back({v.type, v.index, !function.is_inline && random.chance(30)});
            }
        }
        const uint32_t count = function.is_inline ? 1 + random.get(2) : helper ? 4 : 9;
        for(uint32_t i = 0; i < count; i++) function.body.push_back(generate_statement(0));
        function.result = fitted(expression(function.type, 4));
        if(!helper) {
            // all that was made of the variables counts
            for(const Variable &v : variables) {
                if(v.length || v.type.matrix() || v.type.kind == 'b') continue;
                NodePtr value = load(v);
                NodePtr sum =
                    create({'i', 1, 1}, "", exact_bound, 0, [](const std::vector<Values> &args, const Node &) {
                        double total = args[0][0] * 3.0;
                        for(size_t i = 0; i < args[1].size(); i++) total += args[1][i] * double(i + 1);
                        return Values{mod_(total, 65536.0)};
                    });
                static const char *const weights[] = {"", "", "vec2(1, 2)", "vec3(1, 2, 3)", "vec4(1, 2, 3, 4)"};
                sum->text = (v.type.rows == 1) ? "((%0 * 3 + int(%1)) & 65535)"
                                               : "((%0 * 3 + int(dot(vec" + std::to_string(v.type.rows) + "(%1), " +
                                                     weights[v.type.rows] + "))) & 65535)";
                function.result = with(std::move(sum), std::move(function.result), std::move(value));
            }
        }
        current = nullptr;
    }

public:
    static void print(const Function &function, std::string &out) {
        if(function.is_inline) out += "inline ";
        out += function.type.name() + " " + function.name + "(";
        for(size_t i = 0; i < function.parameters.size(); i++) {
            const auto &parameter = function.parameters[i];
            out += (i ? ", " : "") + std::string(parameter.written ? "inout " : "") + parameter.type.name() + " v" +
                   std::to_string(parameter.variable);
        }
        out += ") {\n";
        for(const auto &statement : function.body) statement->print(out, 1);
        out += "  return ";
        function.result->print(out);
        out += ";\n}\n";
    }

private:
    Random random;
    std::string prefix;
    std::vector<Variable> variables;
    Function *current = nullptr;
    uint32_t loops = 0;
    uint32_t switches = 0;
};

} // namespace

RandomFloatModule create_random_float_module(uint32_t seed, uint32_t num_programs) {
    RandomFloatModule module;
    Random random(seed * 31 + 7);
    Values input;
    for(uint32_t i = 0; i < 32; i++) {
        const int32_t value = int32_t(random.get(65)) - 32;
        input.push_back(value);
        const float number = float(value);
        uint32_t word = uint32_t(value);
        if(i < 16) memcpy(&word, &number, sizeof(word));
        module.input.push_back(word);
    }
    module.source = "#version 450\n"
                    "layout(local_size_x = 1) in;\n"
                    "layout(std430, binding = 0) buffer Results { uint results[]; };\n"
                    "layout(std430, binding = 1) readonly buffer Input { vec4 in_f[4]; ivec4 in_i[4]; };\n";
    std::string body;
    uint64_t next = (uint64_t(seed) << 24) + 0x5EED;
    for(uint32_t i = 0; i < num_programs; i++) {
        for(;;) {
            Generator generator(++next, i);
            generator.generate();
            uint32_t steps = 0;
            const Frame frame{{}, &input, &steps};
            const Values result = generator.functions.back()->call({}, frame);
            if(steps > max_steps) continue; // takes too long to be of use
            for(const auto &function : generator.functions) Generator::print(*function, module.source);
            module.expected.push_back(uint32_t(int32_t(result[0])));
            break;
        }
        body += "  results[" + std::to_string(i) + "] = uint(q" + std::to_string(i) + "());\n";
    }
    module.source += "void main() {\n" + body + "}\n";
    return module;
}
