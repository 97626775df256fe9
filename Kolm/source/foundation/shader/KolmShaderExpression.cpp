// KolmShaderExpression.cpp: the expressions of conditional directives.
//
// An operator stack turns the text into a queue in the order of evaluation; the queue is then run over a stack of
// values. Values are 32-bit and wrap. All operators group from the left, none skips its right side.

#include "KolmShader.h"
#include "KolmShaderScan.h"

namespace Kolm {

using namespace ShaderScan;

namespace {

enum Code : uint8_t {
    CodeNone = 0,
    CodeOpen = 1,
    CodeValue = 2,
    CodeNot = 3,
    CodeNegative = 4,
    CodeMul = 5,
    CodeDiv = 6,
    CodeAdd = 7,
    CodeSub = 8,
    CodeLess = 9,
    CodeGreater = 10,
    CodeLessEqual = 11,
    CodeGreaterEqual = 12,
    CodeEqual = 13,
    CodeNotEqual = 14,
    CodeAnd = 15,
    CodeOr = 16,
    NumCodes,
};

constexpr uint8_t priorities[NumCodes] = {0, 0, 0, 7, 7, 6, 6, 5, 5, 4, 4, 4, 4, 3, 3, 2, 1};

constexpr struct {
    char text[3];
    Code code;
} operators[] = {
    {"<=", CodeLessEqual}, {">=", CodeGreaterEqual}, {"==", CodeEqual}, {"!=", CodeNotEqual},
    {"&&", CodeAnd},       {"||", CodeOr},           {"*", CodeMul},    {"/", CodeDiv},
    {"+", CodeAdd},        {"-", CodeSub},           {"<", CodeLess},   {">", CodeGreater},
};

struct Item {
    Code code;
    int32_t value;
};

// Runs the queue. False if an operator lacks its values or they do not come to one.
bool run_queue(const Array<Item> &queue, int32_t &result) {
    ArrayStack<int32_t, 128> values;
    for(const Item &item : queue) {
        if(item.code == CodeValue) {
            values.append(item.value);
            continue;
        }
        const bool prefix = (item.code == CodeNot || item.code == CodeNegative);
        if(item.code == CodeOpen || values.size() < (prefix ? 1u : 2u)) return false;
        const int32_t b = values.back();
        if(prefix) {
            values.back() = (item.code == CodeNot) ? !b : int32_t(0u - uint32_t(b));
            continue;
        }
        values.removeBack(1);
        int32_t &a = values.back();
        switch(item.code) {
        case CodeMul: a = int32_t(uint32_t(a) * uint32_t(b)); break;
        case CodeDiv: a = b ? int32_t(int64_t(a) / b) : 0; break;
        case CodeAdd: a = int32_t(uint32_t(a) + uint32_t(b)); break;
        case CodeSub: a = int32_t(uint32_t(a) - uint32_t(b)); break;
        case CodeLess: a = (a < b); break;
        case CodeGreater: a = (a > b); break;
        case CodeLessEqual: a = (a <= b); break;
        case CodeGreaterEqual: a = (a >= b); break;
        case CodeEqual: a = (a == b); break;
        case CodeNotEqual: a = (a != b); break;
        case CodeAnd: a = (a && b); break;
        case CodeOr: a = (a || b); break;
        default: return false;
        }
    }
    if(values.size() != 1) return false;
    result = values[0];
    return true;
}

} // namespace

// One expression. `names` limits it to what #ifdef takes.
struct Shader::State::Expression {
    const State &state;
    uint32_t depth = 0;
    uint32_t num_names = 0;
    bool overflow = false; // a limit was passed: no part of the expression counts

    int32_t evaluate(const char *s, bool names) {
        ArrayStack<Code, 128> stack;
        ArrayStack<Item, 128> queue;
        bool operand = true; // a value comes next
        for(;;) {
            s = skip_spaces(s);
            if(*s == '\0' || is_comment(s)) break;
            if(is_name(*s)) {
                const char *begin = s;
                if(is_digit(*s)) {
                    if(names) return -1;
                    uint32_t value = 0;
                    while(is_digit(*s)) value = value * 10 + uint32_t(*s++ - '0');
                    queue.append({CodeValue, int32_t(value)});
                } else {
                    s = skip_name(s);
                    int32_t value;
                    if(names)
                        value = (state.find_macro(begin, uint32_t(s - begin)) != nullptr);
                    else if(s - begin == 7 && memcmp(begin, "defined", 7) == 0)
                        s = read_defined(s, value);
                    else
                        value = get_value(begin, uint32_t(s - begin));
                    if(s == nullptr) return -1;
                    queue.append({CodeValue, value});
                }
                operand = false;
                continue;
            }
            if(*s == '(') {
                stack.append(CodeOpen);
                operand = true;
                s++;
                continue;
            }
            if(*s == ')') {
                while(stack.size() && stack.back() != CodeOpen) pop(stack, queue);
                if(stack.empty()) return -1;
                stack.removeBack(1);
                operand = false;
                s++;
                continue;
            }
            if(operand && ((*s == '!' && s[1] != '=') || (*s == '-' && !names))) {
                stack.append((*s == '!') ? CodeNot : CodeNegative);
                s++;
                continue;
            }
            Code code = CodeNone;
            for(const auto &row : operators) {
                const uint32_t length = row.text[1] ? 2 : 1;
                if(strncmp(s, row.text, length)) continue;
                code = row.code;
                s += length;
                break;
            }
            if(code == CodeNone || (names && code != CodeAnd && code != CodeOr)) return -1;
            while(stack.size() && priorities[stack.back()] >= priorities[code]) pop(stack, queue);
            stack.append(code);
            operand = true;
        }
        while(stack.size()) pop(stack, queue);
        int32_t result = 0;
        return (run_queue(queue, result) && !overflow) ? result : -1;
    }

private:
    static void pop(Array<Code> &stack, Array<Item> &queue) {
        queue.append(Item{stack.back(), 0});
        stack.removeBack(1);
    }

    // NAME or (NAME) behind "defined"; null if it is neither.
    const char *read_defined(const char *s, int32_t &value) const {
        s = skip_spaces(s);
        const bool paren = (*s == '(');
        if(paren) s = skip_spaces(s + 1);
        const char *begin = s;
        s = skip_name(s);
        if(!is_name_start(*begin)) return nullptr;
        value = (state.find_macro(begin, uint32_t(s - begin)) != nullptr);
        if(paren) {
            s = skip_spaces(s);
            if(*s++ != ')') return nullptr;
        }
        return s;
    }

    // Value of a macro; 0 for a name that is none or stands for itself. The limits end macros that name each other.
    int32_t get_value(const char *name, uint32_t length) {
        const Macro *macro = state.find_macro(name, length);
        if(macro == nullptr) return 0;
        if(macro->value.size() == length && memcmp(macro->value.get(), name, length) == 0) return 0;
        if(overflow || depth >= MaxExpressionDepth || ++num_names > MaxExpressionNames) {
            overflow = true;
            return -1;
        }
        depth++;
        const int32_t value = evaluate(macro->value.get(), false);
        depth--;
        return value;
    }
};

int32_t Shader::State::evaluate_value(const char *text) const { return Expression{*this}.evaluate(text, false); }

int32_t Shader::State::evaluate_ifdef(const char *text) const { return Expression{*this}.evaluate(text, true); }

} // namespace Kolm
