// Constants: values, their text, and the ids under which the module knows them.

#include "KolmCompiler.h"

#include <math.h>

namespace Kolm {

namespace {

uint64_t wrap_integer(uint64_t value, Compiler::Flags flags) {
    if(flags & Compiler::Flag64Bit) return value;
    if(flags & Compiler::FlagSInt) {
        return (flags & Compiler::Flag16Bit) ? uint64_t(int64_t(int16_t(value))) : uint64_t(int64_t(int32_t(value)));
    }
    return (flags & Compiler::Flag16Bit) ? uint64_t(uint16_t(value)) : uint64_t(uint32_t(value));
}

// Bits of a half float, rounded to the nearest even.
uint16_t get_half(float64_t value) {
    uint64_t bits;
    memcpy(&bits, &value, sizeof(bits));
    const uint16_t sign = uint16_t((bits >> 48) & 0x8000u);
    const int32_t exponent = int32_t((bits >> 52) & 0x7FF) - 1023;
    uint64_t fraction = bits & 0xFFFFFFFFFFFFFull;
    if(exponent == 1024) return uint16_t(sign | 0x7C00u | (fraction ? 0x200u : 0u));
    if(exponent < -25) return sign;
    if(exponent > 15) return uint16_t(sign | 0x7C00u);
    // 42 bits are lost for a normal number, more for a denormal one
    uint32_t shift = 42;
    uint64_t base = 0;
    if(exponent >= -14) {
        base = uint64_t(exponent + 15) << 10;
    } else {
        fraction |= 1ull << 52;
        shift += uint32_t(-14 - exponent);
    }
    const uint64_t rest = fraction & ((1ull << shift) - 1);
    const uint64_t half = 1ull << (shift - 1);
    uint64_t ret = base + (fraction >> shift);
    if(rest > half || (rest == half && (ret & 1))) ret++; // a carry into the exponent is right
    return uint16_t(sign | ret);
}

} // namespace

// -- Values -----------------------------------------------------------------------------------------------------------

bool Compiler::Constant::uniform() const {
    for(uint32_t i = 1; i < values.size(); i++) {
        if(values[i].u64 != values[0].u64) return false;
    }
    return values.size() != 0;
}

float64_t Compiler::Constant::getf64(uint32_t index) const {
    const Value value = values[index];
    if(flags & FlagFloat) return value.f64;
    if(flags & FlagSInt) return float64_t(value.i64);
    return float64_t(value.u64);
}

uint64_t Compiler::Constant::getu64(uint32_t index) const {
    const Value value = values[index];
    if((flags & FlagFloat) == 0) return value.u64;
    // conversion of what does not fit is undefined in the language of this source
    if(!(value.f64 > -9223372036854775808.0)) return (value.f64 == value.f64) ? uint64_t(INT64_MIN) : 0;
    if(value.f64 >= 18446744073709551616.0) return UINT64_MAX;
    return (value.f64 < 0.0) ? uint64_t(int64_t(value.f64)) : uint64_t(value.f64);
}

int64_t Compiler::Constant::geti64(uint32_t index) const {
    const Value value = values[index];
    if((flags & FlagFloat) == 0) return value.i64;
    if(!(value.f64 > -9223372036854775808.0)) return (value.f64 == value.f64) ? INT64_MIN : 0;
    if(value.f64 >= 9223372036854775808.0) return INT64_MAX;
    return int64_t(value.f64);
}

bool Compiler::Constant::getb32(uint32_t index) const {
    const Value value = values[index];
    return (flags & FlagFloat) ? (value.f64 != 0.0) : (value.u64 != 0);
}

void Compiler::Constant::setf64(uint32_t index, float64_t value) {
    Constant temp(FlagFloat | Flag64Bit);
    Value bits;
    bits.f64 = value;
    temp.values.append(bits);
    set(index, temp, 0);
}

void Compiler::Constant::setu64(uint32_t index, uint64_t value) {
    set(index, Constant(FlagUInt | Flag64Bit, value), 0);
}

void Compiler::Constant::seti64(uint32_t index, int64_t value) {
    set(index, Constant(FlagSInt | Flag64Bit, uint64_t(value)), 0);
}

void Compiler::Constant::setb32(uint32_t index, bool value) {
    set(index, Constant(FlagBool | Flag32Bit, value ? 1 : 0), 0);
}

void Compiler::Constant::set(uint32_t index, const Constant &constant, uint32_t from) {
    Value value;
    value.u64 = 0;
    if((constant.flags & FlagFormat) == 0) {
        // the values of a structure have their members' formats already
        value = constant.values[from];
    } else if(flags & FlagFloat) {
        value.f64 = constant.getf64(from);
        if(flags & Flag32Bit) value.f64 = float64_t(float32_t(value.f64));
    } else if(flags & FlagBool) {
        value.u64 = constant.getb32(from) ? 1 : 0;
    } else if(constant.flags & FlagFloat) {
        // a float that does not fit gives the nearest integer of the width
        const float64_t number = constant.getf64(from);
        const uint32_t bits = get_type_bits(flags);
        if(flags & FlagSInt) {
            const int64_t limit = int64_t((1ull << (bits - 1)) - 1);
            value.i64 = clamp(constant.geti64(from), -limit - 1, limit);
        } else if(number > 0.0) {
            value.u64 = min(constant.getu64(from), (bits == 64) ? uint64_t(UINT64_MAX) : (uint64_t(1) << bits) - 1);
        } else {
            value.u64 = wrap_integer(constant.getu64(from), flags);
        }
    } else {
        value.u64 = wrap_integer(constant.getu64(from), flags);
    }
    if(index >= values.size()) values.resize(index + 1, Value(), true);
    values[index] = value;
}

void Compiler::Constant::append(const Constant &constant, uint32_t index) { set(values.size(), constant, index); }

Compiler::Constant Compiler::Constant::convert(Flags to) const {
    Constant ret((flags & ~(FlagFormat | FlagBits)) | (to & (FlagFormat | FlagBits)));
    ret.values.reserve(values.size());
    for(uint32_t i = 0; i < values.size(); i++) ret.append(*this, i);
    return ret;
}

uint64_t Compiler::Constant::getBits(uint32_t index) const {
    const Value value = values[index];
    if(flags & FlagFloat) {
        if(flags & Flag64Bit) return value.u64;
        if(flags & Flag16Bit) return get_half(value.f64);
        const float32_t narrow = float32_t(value.f64);
        uint32_t bits;
        memcpy(&bits, &narrow, sizeof(bits));
        return bits;
    }
    return wrap_integer(value.u64, flags);
}

void Compiler::Constant::wrap() {
    for(uint32_t i = 0; i < values.size(); i++) {
        if(flags & FlagInteger) values[i].u64 = wrap_integer(values[i].u64, flags);
        if(flags & FlagBool) values[i].u64 = values[i].u64 ? 1 : 0;
        if((flags & FlagFloat) && (flags & Flag32Bit)) values[i].f64 = float64_t(float32_t(values[i].f64));
    }
}

// -- Text -------------------------------------------------------------------------------------------------------------

String Compiler::get_constant(const Constant &constant, bool plain) const {
    const Flags scalar = constant.flags & (FlagFormat | FlagBits);
    StringStack<128> text;
    const bool composite = constant.size() > 1;
    if(composite) {
        const char *name = get_type_name(constant.flags & ~FlagArray);
        text.append(plain ? name : get_source_name(name));
        text.append("(");
    }
    for(uint32_t i = 0; i < constant.size(); i++) {
        if(i) text.append(", ");
        if(scalar & FlagFloat) {
            if(plain)
                String::fromf64s(text, constant.getf64(i));
            else
                String::fromf64(text, constant.getf64(i), 12);
        } else if(scalar & FlagBool) {
            text.append(constant.getb32(i) ? "true" : "false");
        } else if(scalar & FlagSInt) {
            String::fromi64(text, constant.geti64(i));
        } else {
            String::fromu64(text, constant.getu64(i));
            text.append("u");
        }
    }
    if(composite) text.append(")");
    return String(text.get());
}

// -- Interning --------------------------------------------------------------------------------------------------------

const Compiler::Constant *Compiler::get_constant(uint32_t target) const {
    const uint32_t *index = constant_indices.get(target);
    return index ? &constants[*index] : nullptr;
}

uint64_t Compiler::get_type_scalars(uint32_t type) const {
    const Target *info = targets.get(type);
    if(info == nullptr || info->length == 0) return 0;
    if(info->flags & FlagArray) return get_type_scalars(info->type) * info->length;
    if(info->flags & FlagStructure) {
        const uint32_t *index = target_indices.get(type);
        uint64_t ret = 0;
        if(index == nullptr) return ret;
        const Structure &structure = structures[*index];
        for(uint32_t i = 0; i < structure.variables.size(); i++) {
            ret += get_type_scalars(variables[structure.variables[i]].type_target);
        }
        return ret;
    }
    if((info->flags & FlagFormat) == 0 || (info->flags & (FlagImage | FlagImageBuffer))) return 1;
    return get_type_components(info->flags);
}

uint32_t Compiler::add_constant(const char *type, const Constant &constant) {
    return add_constant(add_type(type, ~0u, &global), constant);
}

uint32_t Compiler::add_constant(const char *type, uint64_t value) {
    const uint32_t target = add_type(type);
    return add_constant(target, Constant(get_target_flags(target), value));
}

uint32_t Compiler::add_constant(const String &type, const String &text, const Scope *scope) {
    const uint32_t target = add_type(type, ~0u, scope);
    return add_constant(target, parse_constant(text, scope).convert(get_target_flags(target)));
}

uint32_t Compiler::add_constantu32(uint32_t value) {
    return add_constant(add_type(FlagScalar | FlagUInt | Flag32Bit),
                        Constant(FlagScalar | FlagUInt | Flag32Bit, value));
}

uint32_t Compiler::add_constanti32(int32_t value) {
    return add_constant(add_type(FlagScalar | FlagSInt | Flag32Bit),
                        Constant(FlagScalar | FlagSInt | Flag32Bit, uint64_t(int64_t(value))));
}

uint32_t Compiler::add_constantb32(bool value) {
    return add_constant(add_type(FlagScalar | FlagBool | Flag32Bit),
                        Constant(FlagScalar | FlagBool | Flag32Bit, value ? 1 : 0));
}

uint32_t Compiler::add_constantf64(Flags flags, float64_t value) {
    Constant constant(flags);
    const uint32_t count = get_type_components(flags);
    for(uint32_t i = 0; i < count; i++) constant.setf64(i, value);
    return add_constant(add_type(flags & ~FlagArray), constant);
}

uint32_t Compiler::add_zero(uint32_t type) {
    const Flags flags = get_target_flags(type);
    // all bits zero are the zero of every format
    if((flags & (FlagArray | FlagStructure)) == 0) {
        Constant constant(flags);
        constant.values.resize(get_type_components(flags), Constant::Value());
        for(uint32_t i = 0; i < constant.size(); i++) constant.values[i].u64 = 0;
        return add_constant(type, constant);
    }
    StringStack<31> key;
    String::fromu32(key, type);
    key.append("_null");
    if(const uint32_t *target = type_targets.get(key)) return *target;
    const uint32_t target = add_target(type);
    type_targets.append(key, target);
    add_opcode(SpvOpConstantNull, {type, target});
    return target;
}

uint32_t Compiler::add_constant(uint32_t type, const Constant &constant) {
    const uint64_t count = get_type_scalars(type);
    if(count != constant.size() || count == 0 || count > MaxConstants) {
        Parser::error("can't add %sx%u constant\n", get_target_type_name(type).get(), constant.size());
    }
    return add_constant(type, constant, 0, uint32_t(count));
}

// Hash table of constants by type and values.
uint32_t Compiler::find_constant(uint32_t type, const Constant &constant, uint32_t offset, uint32_t count,
                                 uint32_t &hash) const {
    const Constant::Value *values = constant.values.get() + offset;
    uint64_t bits = type * 0x9E3779B97F4A7C15ull;
    for(uint32_t i = 0; i < count; i++) bits = (bits ^ values[i].u64) * 0x9E3779B97F4A7C15ull, bits ^= bits >> 29;
    hash = uint32_t(bits >> 32);
    if(constant_slots.size() == 0) return ~0u;
    const uint32_t mask = constant_slots.size() - 1;
    for(uint32_t i = hash & mask; constant_slots[i]; i = (i + 1) & mask) {
        const uint32_t target = constant_slots[i];
        const Constant &other = constants[*constant_indices.get(target)];
        if(targets.get(target)->type != type || other.size() != count) continue;
        if(memcmp(other.values.get(), values, sizeof(Constant::Value) * count) == 0) return target;
    }
    return ~0u;
}

void Compiler::add_constant_slot(uint32_t target, uint32_t hash) {
    const uint32_t size = constant_slots.size();
    if(constants.size() * 2 > size) {
        // rebuild at twice the size; the hashes are taken again
        constant_slots.resize(max(size * 2, 256u), false, true);
        memset(constant_slots.get(), 0, constant_slots.bytes());
        for(uint32_t i = 1; i < num_targets; i++) {
            const uint32_t *index = constant_indices.get(i);
            if(index == nullptr) continue;
            uint32_t old_hash = 0;
            find_constant(targets.get(i)->type, constants[*index], 0, constants[*index].size(), old_hash);
            insert_constant_slot(i, old_hash);
        }
        return;
    }
    insert_constant_slot(target, hash);
}

void Compiler::insert_constant_slot(uint32_t target, uint32_t hash) {
    const uint32_t mask = constant_slots.size() - 1;
    uint32_t i = hash & mask;
    while(constant_slots[i]) i = (i + 1) & mask;
    constant_slots[i] = target;
}

uint32_t Compiler::add_constant(uint32_t type, const Constant &constant, uint32_t offset, uint32_t count) {
    const Flags flags = get_target_flags(type);

    // one value in its own width, so that equal values are equal bits
    Constant scalar(flags & (FlagFormat | FlagBits));
    const bool composite = (flags & (FlagComposite | FlagArray | FlagStructure)) != 0;
    if(!composite) scalar.append(constant, offset);
    const Constant &source = composite ? constant : scalar;
    const uint32_t start = composite ? offset : 0;

    uint32_t hash = 0;
    const uint32_t found = find_constant(type, source, start, count, hash);
    if(found != ~0u) return found;

    uint32_t target = 0;
    if(!composite) {
        target = add_target(type);
        if(flags & FlagBool) {
            add_opcode(scalar.getb32() ? SpvOpConstantTrue : SpvOpConstantFalse, {type, target});
        } else {
            const uint64_t bits = scalar.getBits(0);
            if(flags & Flag64Bit)
                add_opcode(SpvOpConstant, {type, target, uint32_t(bits), uint32_t(bits >> 32)});
            else
                add_opcode(SpvOpConstant, {type, target, uint32_t(bits)});
        }
    } else {
        // one instruction holds 65535 words
        ArrayStack<uint32_t, 16> elements;
        const Target info = *targets.get(type);
        if((flags & (FlagArray | FlagStructure)) == FlagStructure) {
            const Structure &structure = get_structure(type);
            uint32_t pos = offset;
            for(uint32_t i = 0; i < structure.variables.size(); i++) {
                const uint32_t element = variables[structure.variables[i]].type_target;
                const uint32_t size = uint32_t(get_type_scalars(element));
                elements.append(add_constant(element, constant, pos, size));
                pos += size;
            }
        } else {
            uint32_t length = info.length;
            if((flags & FlagArray) == 0)
                length = (flags & FlagMatrix) ? get_type_columns(flags) : get_type_width(flags);
            const uint32_t size = uint32_t(get_type_scalars(info.type));
            for(uint32_t i = 0; i < length; i++) {
                if(i && memcmp(constant.values.get() + offset + i * size,
                               constant.values.get() + offset + (i - 1) * size, sizeof(Constant::Value) * size) == 0) {
                    elements.append(uint32_t(elements[elements.size() - 1]));
                } else {
                    elements.append(add_constant(info.type, constant, offset + i * size, size));
                }
            }
        }
        if(elements.size() > 65532) {
            Parser::error("can't add %sx%u constant\n", get_target_type_name(type).get(), count);
        }
        target = add_target(type);
        add_opcode(SpvOpConstantComposite, {type, target}, elements);
    }

    Constant &stored = constants.append();
    stored.flags = flags;
    for(uint32_t i = 0; i < count; i++) stored.values.append(source.values.get()[start + i]);
    constant_indices.append(target, constants.size() - 1);
    add_constant_slot(target, hash);
    return target;
}

} // namespace Kolm
