// Operators on constants: the folding of instructions, and the operations that give a known result whatever the other
// operand is.
//
// Values are held in 64 bits and cut to the width of their type after every step, so that a folded result has the bits
// that the instruction would give. What the instruction leaves undefined is defined here: division by zero gives 0,
// shift counts are taken modulo the width.

#include <math.h>

#include "KolmCompiler.h"

namespace Kolm {

namespace {

uint32_t get_width(Compiler::Flags flags) {
    const uint32_t bits = Compiler::get_type_bits(flags);
    return bits ? bits : 32;
}

uint64_t get_mask(uint32_t width) { return (width == 64) ? ~uint64_t(0) : (uint64_t(1) << width) - 1; }

int64_t divide_signed(int64_t a, int64_t b) {
    if(b == 0) return 0;
    if(b == -1) return int64_t(uint64_t(0) - uint64_t(a)); // the one quotient that does not fit wraps
    return a / b;
}

int64_t remainder_signed(int64_t a, int64_t b) { return (b == 0 || b == -1) ? 0 : a % b; }

int64_t modulo_signed(int64_t a, int64_t b) {
    const int64_t r = remainder_signed(a, b);
    return (r && (r < 0) != (b < 0)) ? r + b : r;
}

bool compare(SpvOp opcode, const Compiler::Constant &a, uint32_t i, const Compiler::Constant &b, uint32_t j) {
    switch(opcode) {
    case SpvOpLogicalEqual: return a.getb32(i) == b.getb32(j);
    case SpvOpLogicalNotEqual: return a.getb32(i) != b.getb32(j);
    case SpvOpLogicalOr: return a.getb32(i) || b.getb32(j);
    case SpvOpLogicalAnd: return a.getb32(i) && b.getb32(j);
    case SpvOpIEqual: return a.getu64(i) == b.getu64(j);
    case SpvOpINotEqual: return a.getu64(i) != b.getu64(j);
    case SpvOpUGreaterThan: return a.getu64(i) > b.getu64(j);
    case SpvOpSGreaterThan: return a.geti64(i) > b.geti64(j);
    case SpvOpUGreaterThanEqual: return a.getu64(i) >= b.getu64(j);
    case SpvOpSGreaterThanEqual: return a.geti64(i) >= b.geti64(j);
    case SpvOpULessThan: return a.getu64(i) < b.getu64(j);
    case SpvOpSLessThan: return a.geti64(i) < b.geti64(j);
    case SpvOpULessThanEqual: return a.getu64(i) <= b.getu64(j);
    case SpvOpSLessThanEqual: return a.geti64(i) <= b.geti64(j);
    default: break;
    }
    const float64_t x = a.getf64(i);
    const float64_t y = b.getf64(j);
    switch(opcode) {
    case SpvOpFOrdEqual: return x == y;
    case SpvOpFUnordEqual: return !(x < y || x > y);
    case SpvOpFOrdNotEqual: return x < y || x > y;
    case SpvOpFUnordNotEqual: return x != y;
    case SpvOpFOrdLessThan: return x < y;
    case SpvOpFUnordLessThan: return !(x >= y);
    case SpvOpFOrdGreaterThan: return x > y;
    case SpvOpFUnordGreaterThan: return !(x <= y);
    case SpvOpFOrdLessThanEqual: return x <= y;
    case SpvOpFUnordLessThanEqual: return !(x > y);
    case SpvOpFOrdGreaterThanEqual: return x >= y;
    case SpvOpFUnordGreaterThanEqual: return !(x < y);
    default: return false;
    }
}

float64_t calculate(SpvOp opcode, float64_t x, float64_t y) {
    switch(opcode) {
    case SpvOpFAdd: return x + y;
    case SpvOpFSub: return x - y;
    case SpvOpFMul: return x * y;
    case SpvOpFDiv: return x / y;
    case SpvOpFRem: return fmod(x, y);
    case SpvOpFMod: return x - y * floor(x / y);
    default: return 0.0;
    }
}

uint64_t calculate(SpvOp opcode, const Compiler::Constant &a, uint32_t i, const Compiler::Constant &b, uint32_t j) {
    const uint32_t width = get_width(a.flags);
    const uint64_t x = a.getu64(i);
    const uint64_t y = b.getu64(j);
    const uint32_t count = uint32_t(y & (width - 1));
    switch(opcode) {
    case SpvOpIAdd: return x + y;
    case SpvOpISub: return x - y;
    case SpvOpIMul: return x * y;
    case SpvOpUDiv: return y ? x / y : 0;
    case SpvOpUMod: return y ? x % y : 0;
    case SpvOpSDiv: return uint64_t(divide_signed(a.geti64(i), b.geti64(j)));
    case SpvOpSRem: return uint64_t(remainder_signed(a.geti64(i), b.geti64(j)));
    case SpvOpSMod: return uint64_t(modulo_signed(a.geti64(i), b.geti64(j)));
    case SpvOpShiftLeftLogical: return x << count;
    case SpvOpShiftRightLogical: return (x & get_mask(width)) >> count;
    case SpvOpShiftRightArithmetic: return uint64_t(a.geti64(i) >> count);
    case SpvOpBitwiseOr: return x | y;
    case SpvOpBitwiseXor: return x ^ y;
    case SpvOpBitwiseAnd: return x & y;
    default: return 0;
    }
}

enum Kind { KindNone, KindFloat, KindInteger, KindBool };

Kind get_kind(SpvOp opcode) {
    switch(opcode) {
    case SpvOpFAdd:
    case SpvOpFSub:
    case SpvOpFMul:
    case SpvOpFDiv:
    case SpvOpFRem:
    case SpvOpFMod: return KindFloat;
    case SpvOpIAdd:
    case SpvOpISub:
    case SpvOpIMul:
    case SpvOpUDiv:
    case SpvOpUMod:
    case SpvOpSDiv:
    case SpvOpSRem:
    case SpvOpSMod:
    case SpvOpShiftLeftLogical:
    case SpvOpShiftRightLogical:
    case SpvOpShiftRightArithmetic:
    case SpvOpBitwiseOr:
    case SpvOpBitwiseXor:
    case SpvOpBitwiseAnd: return KindInteger;
    default: break;
    }
    if(opcode >= SpvOpLogicalEqual && opcode <= SpvOpLogicalAnd) return KindBool;
    if(opcode >= SpvOpIEqual && opcode <= SpvOpFUnordGreaterThanEqual) return KindBool;
    return KindNone;
}

} // namespace

Compiler::Constant Compiler::Constant::unary(SpvOp opcode, Flags to) const {
    Constant result(to);
    for(uint32_t i = 0; i < size(); i++) {
        switch(opcode) {
        case SpvOpConvertFToU: result.setu64(i, getu64(i)); break;
        case SpvOpConvertFToS: result.seti64(i, geti64(i)); break;
        case SpvOpConvertSToF:
        case SpvOpConvertUToF:
        case SpvOpFConvert: result.setf64(i, getf64(i)); break;
        case SpvOpUConvert: result.setu64(i, getu64(i)); break;
        case SpvOpSConvert: result.seti64(i, geti64(i)); break;
        case SpvOpBitcast:
            if((flags & FlagInteger) && (to & FlagInteger) && get_width(flags) == get_width(to)) {
                result.setu64(i, getu64(i));
            } else if((flags & FlagFloat) && (flags & Flag32Bit) && (to & FlagInteger) && (to & Flag32Bit)) {
                result.setu64(i, getBits(i));
            } else if((flags & FlagInteger) && (flags & Flag32Bit) && (to & FlagFloat) && (to & Flag32Bit)) {
                const uint32_t bits = uint32_t(getu64(i));
                float32_t value;
                memcpy(&value, &bits, sizeof(value));
                if(value != value) return Constant(); // the bits of a NaN do not outlive a widening
                result.setf64(i, float64_t(value));
            } else {
                return Constant();
            }
            break;
        case SpvOpSNegate: result.setu64(i, uint64_t(0) - getu64(i)); break;
        case SpvOpFNegate: result.setf64(i, -getf64(i)); break;
        case SpvOpLogicalNot: result.setb32(i, !getb32(i)); break;
        case SpvOpNot: result.setu64(i, ~getu64(i)); break;
        default: return Constant();
        }
    }
    return result;
}

Compiler::Constant Compiler::Constant::binary(SpvOp opcode, const Constant &other, Flags to) const {
    const Kind kind = get_kind(opcode);
    if(kind == KindNone || empty() || other.empty()) return Constant();
    const uint32_t count = max(size(), other.size());
    if((size() != count && size() != 1) || (other.size() != count && other.size() != 1)) return Constant();
    if(((flags | other.flags | to) & (FlagStructure | FlagArray))) return Constant();
    Constant result(to);
    for(uint32_t k = 0; k < count; k++) {
        const uint32_t i = (size() == 1) ? 0 : k;
        const uint32_t j = (other.size() == 1) ? 0 : k;
        if(kind == KindFloat)
            result.setf64(k, calculate(opcode, getf64(i), other.getf64(j)));
        else if(kind == KindInteger)
            result.setu64(k, calculate(opcode, *this, i, other, j));
        else
            result.setb32(k, compare(opcode, *this, i, other, j));
    }
    return result;
}

// The lists of these three are not symmetric: an arithmetic shift by 0 and an exclusive or with 0 stay as they are.

bool Compiler::is_left_redundant(SpvOp opcode, const Constant &constant) const {
    if(constant.empty() || !constant.uniform()) return false;
    switch(opcode) {
    case SpvOpIAdd:
    case SpvOpBitwiseOr: return constant.getu64() == 0;
    case SpvOpFAdd: return constant.getf64() == 0.0;
    case SpvOpIMul: return constant.getu64() == 1;
    case SpvOpFMul: return constant.getf64() == 1.0;
    case SpvOpLogicalOr: return !constant.getb32();
    case SpvOpLogicalAnd: return constant.getb32();
    default: return false;
    }
}

bool Compiler::is_right_redundant(SpvOp opcode, const Constant &constant) const {
    if(is_left_redundant(opcode, constant)) return true;
    if(constant.empty() || !constant.uniform()) return false;
    switch(opcode) {
    case SpvOpISub:
    case SpvOpShiftRightLogical:
    case SpvOpShiftLeftLogical: return constant.getu64() == 0;
    case SpvOpFSub: return constant.getf64() == 0.0;
    case SpvOpUDiv:
    case SpvOpSDiv: return constant.getu64() == 1;
    case SpvOpFDiv: return constant.getf64() == 1.0;
    default: return false;
    }
}

Compiler::Constant Compiler::get_redundant_value(SpvOp opcode, const Constant &constant, Flags flags) const {
    if(constant.empty() || !constant.uniform()) return Constant();
    uint64_t value = 0;
    switch(opcode) {
    case SpvOpFMul:
        if(constant.getf64() != 0.0) return Constant();
        break;
    case SpvOpIMul:
    case SpvOpBitwiseAnd:
        if(constant.getu64() != 0) return Constant();
        break;
    case SpvOpLogicalOr:
        if(!constant.getb32()) return Constant();
        value = 1;
        break;
    case SpvOpLogicalAnd:
        if(constant.getb32()) return Constant();
        break;
    default: return Constant();
    }
    Constant result(flags);
    const uint32_t count = get_type_components(flags);
    for(uint32_t i = 0; i < count; i++) result.setu64(i, value);
    return result;
}

} // namespace Kolm
