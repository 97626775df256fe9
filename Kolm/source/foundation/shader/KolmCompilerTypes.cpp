// Types of the compiler: flags, sizes, and the making of types by their internal name.
//
// A type is known by a short text and by nothing else: "f32v3m4" is a matrix of 4 columns of 3 floats, "S[4]" an array
// of a structure, "f32@16" a float whose array elements stand 16 bytes apart. One text gives one id.

#include "KolmCompiler.h"
#include "KolmLog.h"

namespace Kolm {

namespace {

// Names of all numeric types, by format, bits, width and columns.
struct NumericNames {
    char names[192][12] = {};
    constexpr NumericNames() {
        for(uint32_t i = 0; i < 192; i++) {
            char *s = names[i];
            const uint32_t bits = (i / 16) % 3;
            *s++ = "fuib"[i / 48];
            *s++ = "136"[bits];
            *s++ = "624"[bits];
            if((i / 4) % 4) {
                *s++ = 'v';
                *s++ = char('1' + (i / 4) % 4);
            }
            if(i % 4) {
                *s++ = 'm';
                *s++ = char('1' + i % 4);
            }
        }
    }
};
constexpr NumericNames numeric_names;

// Position in the table of names; ~0 for what is not numeric.
constexpr uint32_t get_type_code(uint64_t flags) {
    uint32_t code = 0;
    switch(flags & Compiler::FlagFormat) {
    case Compiler::FlagFloat: code = 0; break;
    case Compiler::FlagUInt: code = 48; break;
    case Compiler::FlagSInt: code = 96; break;
    case Compiler::FlagBool: code = 144; break;
    default: return ~0u;
    }
    switch(flags & Compiler::FlagBits) {
    case Compiler::Flag16Bit: break;
    case Compiler::Flag32Bit: code += 16; break;
    case Compiler::Flag64Bit: code += 32; break;
    default: return ~0u;
    }
    code += 4 * uint32_t((flags & Compiler::FlagVector) / Compiler::FlagVector2);
    code += uint32_t((flags & Compiler::FlagMatrix) / Compiler::FlagMatrix2);
    return code;
}

constexpr uint64_t OpaqueFlags = Compiler::FlagImage | Compiler::FlagImageBuffer | Compiler::FlagSampledImage |
                                 Compiler::FlagSampler | Compiler::FlagAcceleration | Compiler::FlagRayQuery |
                                 Compiler::FlagStructure | Compiler::FlagFunction | Compiler::FlagVoid;

bool begins(const char *name, const char *word) { return strncmp(name, word, strlen(word)) == 0; }

uint32_t read_number(const char *&s) {
    uint32_t ret = 0;
    for(; *s >= '0' && *s <= '9'; s++) ret = ret * 10 + uint32_t(*s - '0');
    return ret;
}

} // namespace

// -- Flags ------------------------------------------------------------------------------------------------------------

uint32_t Compiler::get_type_bits(Flags flags) {
    if(flags & Flag16Bit) return 16;
    if(flags & Flag32Bit) return 32;
    if(flags & Flag64Bit) return 64;
    return 0;
}

uint32_t Compiler::get_type_width(Flags flags) { return 1 + uint32_t((flags & FlagVector) / FlagVector2); }

uint32_t Compiler::get_type_columns(Flags flags) { return 1 + uint32_t((flags & FlagMatrix) / FlagMatrix2); }

uint32_t Compiler::get_type_components(Flags flags) { return get_type_width(flags) * get_type_columns(flags); }

uint32_t Compiler::get_type_alignment(Flags flags) {
    const uint32_t bytes = get_type_bits(flags) / 8;
    const uint32_t width = get_type_width(flags);
    return bytes * ((width > 2) ? 4 : width);
}

uint32_t Compiler::get_type_size(Flags flags) { return get_type_alignment(flags) * get_type_columns(flags); }

const char *Compiler::get_type_name(Flags flags) {
    if(flags & FlagVoid) return "void";
    if(flags & Flags(OpaqueFlags)) return "";
    const uint32_t code = get_type_code(flags);
    return (code != ~0u) ? numeric_names.names[code] : "";
}

Compiler::Flags Compiler::get_type_flags(const char *name) {
    const char *s = name;
    Flags flags = FlagNone;
    switch(*s) {
    case 'f': flags = FlagFloat; break;
    case 'u': flags = FlagUInt; break;
    case 'i': flags = FlagSInt; break;
    case 'b': flags = FlagBool; break;
    default: break;
    }
    bool valid = (flags != FlagNone);
    if(valid) {
        const uint32_t bits = read_number(++s);
        flags |= (bits == 16) ? Flag16Bit : (bits == 32) ? Flag32Bit : (bits == 64) ? Flag64Bit : FlagNone;
        valid = (flags & FlagBits) != 0;
    }
    if(valid && *s == 'v') {
        const uint32_t width = read_number(++s);
        valid = (width >= 2 && width <= 4);
        flags |= Flags(FlagVector2 * (width - 1)) | FlagComposite;
        if(valid && *s == 'm') {
            const uint32_t columns = read_number(++s);
            valid = (columns >= 2 && columns <= 4);
            flags |= Flags(FlagMatrix2 * (columns - 1));
        }
    } else {
        flags |= FlagScalar;
    }
    if(!valid || (*s && *s != '[' && *s != '@')) Parser::error("unknown type \"%s\"\n", name);
    if(strchr(s, '[')) flags |= FlagArray;
    return flags;
}

Compiler::Flags Compiler::get_vector_flags(Flags flags, uint32_t width) {
    flags &= FlagFormat | FlagBits;
    return (width > 1) ? flags | FlagComposite | Flags(FlagVector2 * (width - 1)) : flags | FlagScalar;
}

Compiler::Flags Compiler::get_matrix_flags(Flags flags, uint32_t width, uint32_t columns) {
    flags = get_vector_flags(flags, width);
    return (columns > 1) ? flags | Flags(FlagMatrix2 * (columns - 1)) : flags;
}

uint32_t Compiler::get_swizzle(char c) {
    switch(c) {
    case 'x':
    case 'r':
    case 's': return 0;
    case 'y':
    case 'g':
    case 't': return 1;
    case 'z':
    case 'b':
    case 'p': return 2;
    case 'w':
    case 'a':
    case 'q': return 3;
    default: return ~0u;
    }
}

// -- What is known of an id -------------------------------------------------------------------------------------------

uint32_t Compiler::add_target(uint32_t type) {
    const uint32_t target = num_targets++;
    if(const Target *info = targets.get(type)) {
        Target value = *info;
        value.type = type;
        targets.append(target, value);
    }
    return target;
}

void Compiler::add_target_flags(uint32_t target, Flags flags, uint32_t type, uint32_t length, uint32_t name) {
    Target value;
    value.flags = flags;
    value.type = type;
    value.length = length;
    value.name = name;
    targets.append(target, value);
}

void Compiler::add_target_decoration(uint32_t target, uint32_t decoration, uint32_t value) {
    SmallMap *decorations = target_decorations.get(target);
    if(decorations == nullptr) decorations = &target_decorations.append(target, SmallMap());
    decorations->append(decoration, value);
}

Compiler::Flags Compiler::get_target_flags(uint32_t target) const {
    if(const Target *info = targets.get(target)) return info->flags;
    Log::printf(Log::Error, "Compiler::get_target_flags(): invalid target %u\n", target);
    return FlagNone;
}

uint32_t Compiler::get_target_type(uint32_t target) const {
    if(const Target *info = targets.get(target)) return info->type;
    Log::printf(Log::Error, "Compiler::get_target_type(): invalid target %u\n", target);
    return 0;
}

uint32_t Compiler::get_target_length(uint32_t target) const {
    if(const Target *info = targets.get(target)) return info->length;
    Log::printf(Log::Error, "Compiler::get_target_length(): invalid target %u\n", target);
    return 0;
}

uint32_t Compiler::get_target_components(uint32_t target) const {
    if(const Target *info = targets.get(target)) return get_type_components(info->flags);
    Log::printf(Log::Error, "Compiler::get_target_components(): invalid target %u\n", target);
    return 0;
}

bool Compiler::is_type(uint32_t target) const {
    // only a type is what its own name stands for
    const Target *info = targets.get(target);
    if(info == nullptr) return false;
    if(info->name != ~0u) return type_targets.getValue(info->name) == target;
    return (info->flags & FlagPointer) != 0 && pointer_types.get(target) != nullptr;
}

uint32_t Compiler::get_type(uint32_t target) const {
    if(is_type(target)) return target;
    return get_target_type(target);
}

String Compiler::get_internal_type_name(uint32_t target) const {
    const Target *info = targets.get(target);
    if(info == nullptr) {
        Log::printf(Log::Error, "Compiler::get_target_type_name(): invalid target %u\n", target);
        return String();
    }
    if(info->name == ~0u && (info->flags & FlagPointer)) return get_internal_type_name(info->type);
    return (info->name != ~0u) ? String(type_targets.getName(info->name)) : String(get_type_name(info->flags));
}

String Compiler::get_target_type_name(uint32_t target) const { return get_source_name(get_internal_type_name(target)); }

Compiler::Structure &Compiler::get_target_structure(uint32_t target) { return get_structure(get_type(target)); }

bool Compiler::is_same_type(uint32_t type_0, uint32_t type_1) const {
    if(type_0 == type_1) return true;
    const Target *info_0 = targets.get(type_0);
    const Target *info_1 = targets.get(type_1);
    if(info_0 == nullptr || info_1 == nullptr) return false;
    if((info_0->flags & FlagArray) != (info_1->flags & FlagArray)) return false;
    if(info_0->flags & FlagArray) return info_0->length == info_1->length && is_same_type(info_0->type, info_1->type);
    if((info_0->flags & FlagStructure) == 0 || (info_1->flags & FlagStructure) == 0) return false;
    const uint32_t *index_0 = target_indices.get(type_0);
    const uint32_t *index_1 = target_indices.get(type_1);
    return index_0 && index_1 && structures[*index_0].base == structures[*index_1].base;
}

const char *Compiler::get_source_name(const char *type) const {
    const char *const *name = internal_types.get(type);
    return name ? *name : type;
}

String Compiler::get_source_name(const String &type) const {
    // strides and marks of a second layout are no part of what the source says
    StringStack<64> base;
    StringStack<64> tail;
    const char *s = type.get();
    while(*s && *s != '[' && *s != '@' && *s != '.' && strncmp(s, "_format_", 8)) base.append(*s++);
    while(*s) {
        const char *begin = s;
        if(*s == '[') {
            while(*s && *s != ']') s++;
            if(*s) s++;
            // the outermost dimension is the last of the internal name and the first of the source
            StringStack<64> dimension;
            for(const char *c = begin; c < s; c++) dimension.append(*c);
            tail.insert(0, dimension.get());
        } else {
            s++;
            while(*s && *s != '[') s++;
        }
    }
    StringStack<64> ret;
    ret.append(get_source_name(base.get()));
    ret.append(tail.get());
    return String(ret.get());
}

const char *Compiler::get_internal_name(const String &name) const {
    const char *const *type = types.get(name);
    return type ? *type : nullptr;
}

// -- Types ------------------------------------------------------------------------------------------------------------

uint32_t Compiler::add_type(Flags flags, uint32_t length) {
    if(length == ~0u && (flags & FlagArray) == 0) {
        const uint32_t code = get_type_code(flags);
        if(code != ~0u && flag_targets[code]) return flag_targets[code];
    }
    const char *name = get_type_name(flags);
    if(*name == '\0') Parser::error("unknown type \"%s\"\n", name);
    return add_type(name, length, nullptr);
}

// Type that stands under the key; ~0 if there is none.
uint32_t Compiler::find_type(const char *key, uint32_t length) {
    const uint32_t *target = type_targets.get(key, length);
    if(target == nullptr) return ~0u;
    // a structure that anything mentions has to stay in the module
    if(const Target *info = targets.get(*target)) {
        if((info->flags & (FlagStructure | FlagArray)) == FlagStructure) {
            if(const uint32_t *index = target_indices.get(*target)) structures[*index].usage = true;
        }
    }
    return *target;
}

uint32_t Compiler::add_type(const char *name, uint32_t length, const Scope *scope) {
    const uint32_t name_length = uint32_t(strlen(name));
    if(length != ~0u) return add_array(name, name_length, length, scope);

    uint32_t target = find_type(name, name_length);
    if(target != ~0u) return target;

    // a stride matters to arrays only
    const char *mark = strrchr(name, '@');
    if(mark && strchr(mark, ']') == nullptr) {
        const StringStack<64> base = get_text(name, uint32_t(mark - name));
        target = add_type(base.get(), ~0u, scope);
        type_targets.append(name, name_length, target);
        return target;
    }
    if(name_length && name[name_length - 1] == ']') {
        const char *open = strrchr(name, '[');
        if(open == nullptr) Parser::error("unknown type \"%s\"\n", name);
        const StringStack<64> base = get_text(name, uint32_t(open - name));
        const char *s = open + 1;
        return add_type(base.get(), read_number(s), scope);
    }

    // structures come first; one whose name could be taken for another type has a mark in its name
    if(const uint32_t *index = layout_names.get(name, name_length)) {
        structures[*index].usage = true;
        return structures[*index].target;
    }
    if(scope && !is_type_name(name)) {
        const uint32_t index = get_structure(String(name), scope);
        if(index != ~0u) return structures[index].target;
    }

    if(begins(name, "image") || begins(name, "texture")) return add_image(String(name), ~0u);
    if(begins(name, "tensor")) return add_tensor(String(name));
    if(strcmp(name, "samplerShadow") == 0) {
        target = add_type("sampler");
        type_targets.append(name, name_length, target);
        return target;
    }
    if(strcmp(name, "void") == 0) return add_new_type(name, FlagVoid, ~0u, ~0u, SpvOpTypeVoid, {});
    if(strcmp(name, "sampler") == 0) return add_new_type(name, FlagSampler, ~0u, ~0u, SpvOpTypeSampler, {});
    if(begins(name, "sampler")) {
        StringStack<64> image;
        image.append("texture");
        image.append(name + strlen("sampler"));
        const uint32_t type = add_type(image.get());
        const Flags flags = get_target_flags(type) | FlagSampledImage;
        return add_new_type(name, flags, type, ~0u, SpvOpTypeSampledImage, {type});
    }
    if(strcmp(name, "accelerationStructure") == 0) {
        // the type needs one of the two; tracing stages have theirs
        if(!is_tracing()) add_capability(SpvCapabilityRayQueryKHR);
        return add_new_type(name, FlagAcceleration, ~0u, ~0u, SpvOpTypeAccelerationStructureKHR, {});
    }
    if(strcmp(name, "rayQuery") == 0) {
        add_capability(SpvCapabilityRayQueryKHR);
        return add_new_type(name, FlagRayQuery, ~0u, ~0u, SpvOpTypeRayQueryKHR, {});
    }
    return add_numeric_type(name);
}

// Enters a new type under its name and writes its declaration.
uint32_t Compiler::add_new_type(const char *name, Flags flags, uint32_t type, uint32_t length, SpvOp opcode,
                                Words words) {
    const uint32_t target = num_targets++;
    const uint32_t index = type_targets.append(name, uint32_t(strlen(name)), target);
    add_target_flags(target, flags, type, length, index);
    opcodes.append((uint32_t(words.size() + 2) << 16) | opcode);
    opcodes.append(target);
    opcodes.append(words.begin(), uint32_t(words.size()));
    return target;
}

uint32_t Compiler::add_numeric_type(const char *name) {
    const Flags flags = get_type_flags(name);
    const uint32_t code = get_type_code(flags);
    const uint32_t width = get_type_width(flags);
    const uint32_t bits = get_type_bits(flags);
    uint32_t target = 0;
    if(flags & FlagMatrix) {
        if((flags & FlagFloat) == 0) Parser::error("unknown type \"%s\"\n", name);
        const uint32_t type = add_type(get_vector_flags(flags, width));
        target = add_new_type(name, flags, type, ~0u, SpvOpTypeMatrix, {type, get_type_columns(flags)});
    } else if(width > 1) {
        const uint32_t type = add_type(get_vector_flags(flags, 1));
        target = add_new_type(name, flags, type, ~0u, SpvOpTypeVector, {type, width});
    } else if(flags & FlagFloat) {
        target = add_new_type(name, flags, ~0u, ~0u, SpvOpTypeFloat, {bits});
    } else if(flags & FlagInteger) {
        target = add_new_type(name, flags, ~0u, ~0u, SpvOpTypeInt, {bits, (flags & FlagSInt) ? 1u : 0u});
    } else if(bits == 32) {
        target = add_new_type(name, flags, ~0u, ~0u, SpvOpTypeBool, {});
    } else {
        // a bool has no bits, and the module may declare only one
        target = add_type("b32");
        type_targets.append(name, target);
    }
    flag_targets[code] = target;
    if((flags & FlagFloat) && bits != 32) add_capability((bits == 16) ? SpvCapabilityFloat16 : SpvCapabilityFloat64);
    if((flags & FlagInteger) && bits != 32) add_capability((bits == 16) ? SpvCapabilityInt16 : SpvCapabilityInt64);
    return target;
}

uint32_t Compiler::add_array(const char *name, uint32_t name_length, uint32_t length, const Scope *scope) {
    StringStack<64> key = get_text(name, name_length);
    key.append('[');
    String::fromu32(key, length);
    key.append(']');
    uint32_t target = find_type(key.get(), key.size());
    if(target != ~0u) return target;

    const uint32_t type = add_type(name, ~0u, scope);
    const Flags type_flags = get_target_flags(type);
    if(type_flags & FlagVoid) Parser::error("can't add %s type\n", key.get());
    const Flags flags = type_flags | FlagArray;
    if(length == 0) {
        target = add_new_type(key.get(), flags, type, length, SpvOpTypeRuntimeArray, {type});
    } else {
        if(get_type_scalars(type) * uint64_t(length) * 4 > MaxTypeSize) {
            Parser::error("can't add %s type\n", get_source_name(key).get());
        }
        const uint32_t count = add_constantu32(length);
        target = add_new_type(key.get(), flags, type, length, SpvOpTypeArray, {type, count});
    }
    array_types.append(target);
    array_strides.append(get_array_stride(name, type));
    return target;
}

uint32_t Compiler::get_array_stride(const char *name, uint32_t type) const {
    const char *mark = strrchr(name, '@');
    if(mark && strchr(mark, ']') == nullptr) {
        mark++;
        return read_number(mark);
    }
    const Target &info = *targets.get(type);
    if(info.flags & FlagArray) {
        for(uint32_t i = 0; i < array_types.size(); i++) {
            if(array_types[i] != type) continue;
            const uint64_t size = uint64_t(array_strides[i]) * info.length;
            return (array_strides[i] != ~0u && size < MaxTypeSize) ? uint32_t(size) : ~0u;
        }
    }
    if(info.flags & FlagStructure) {
        const Structure &structure = structures[*target_indices.get(type)];
        return (structure.storage == ~0u) ? structure.stride : ~0u;
    }
    if(info.flags & Flags(OpaqueFlags | FlagTensor)) return ~0u;
    return get_type_size(info.flags);
}

uint32_t Compiler::add_tensor(const String &name) {
    // tensor<type, scope, rows, columns, use>
    String type;
    StringStack<64> key;
    uint32_t values[4] = {};
    const char *s = name.get() + strlen("tensor");
    s += Parser::skipSpaces(s);
    if(*s != '<') Parser::error("can't add %s type\n", name.get());
    s++;
    uint32_t count = 0;
    while(count < 5) {
        s += Parser::skipSpaces(s);
        StringStack<64> text;
        for(uint32_t level = 0; *s && (level || (*s != ',' && *s != '>')); s++) {
            if(*s == '(') level++;
            if(*s == ')' && level) level--;
            text.append(*s);
        }
        while(text.size() && uint8_t(text.get()[text.size() - 1]) <= ' ') text.removeBack(1);
        if(*s == '\0' || text.empty()) Parser::error("can't add %s type\n", name.get());
        if(count == 0) {
            const char *internal = get_internal_name(text);
            type = internal ? String(internal) : String(text.get());
        } else {
            const Constant constant = parse_constant(text, &global, true);
            if(constant.size() != 1) Parser::error("can't add %s type\n", name.get());
            values[count - 1] = uint32_t(constant.geti64());
        }
        count++;
        if(*s++ == '>') break;
    }
    if(count != 5) Parser::error("can't add %s type\n", name.get());

    const Flags flags = get_type_flags(type);
    if((flags & FlagScalar) == 0 || (flags & FlagBool)) Parser::error("can't add %s type\n", name.get());
    key.append("tensor<");
    key.append(type.get());
    for(uint32_t i = 0; i < 4; i++) {
        key.append(", ");
        String::fromu32(key, values[i]);
    }
    key.append(">");
    uint32_t target = find_type(key.get(), key.size());
    if(target == ~0u) {
        add_capability(SpvCapabilityCooperativeMatrixKHR);
        const uint32_t component = add_type(type);
        const uint32_t scope = add_constanti32(int32_t(values[0]));
        const uint32_t rows = add_constanti32(int32_t(values[1]));
        const uint32_t columns = add_constanti32(int32_t(values[2]));
        const uint32_t use = add_constanti32(int32_t(values[3]));
        target = add_new_type(key.get(), FlagTensor | FlagComposite | (flags & (FlagFormat | FlagBits)), component, ~0u,
                              SpvOpTypeCooperativeMatrixKHR, {component, scope, rows, columns, use});
        Tensor tensor;
        tensor.type = type;
        tensor.rows = values[1];
        tensor.columns = values[2];
        tensors.append(target, tensor);
    }
    if(!type_targets.get(name)) type_targets.append(name, target);
    return target;
}

uint32_t Compiler::add_image(const String &name, uint32_t format) {
    static constexpr struct {
        const char *shape;
        SpvDim dim;
        Flags flags;
    } shapes[] = {
        {"2D", SpvDim2D, FlagImage2D},
        {"3D", SpvDim3D, FlagImage3D},
        {"Cube", SpvDimCube, FlagImageCube},
        {"Buffer", SpvDimBuffer, FlagImageBuffer},
    };

    // the format may stand in the name already
    StringStack<64> base;
    const char *mark = strstr(name.get(), "_format_");
    if(mark) {
        const char *s = mark + strlen("_format_");
        format = read_number(s);
        base = get_text(name.get(), uint32_t(mark - name.get()));
    } else {
        base.append(name.get());
    }
    StringStack<64> key;
    key.append(base.get());
    if(format != ~0u) {
        key.append("_format_");
        String::fromu32(key, format);
    }
    const uint32_t found = find_type(key.get(), key.size());
    if(found != ~0u) return found;

    const bool texture = begins(base.get(), "texture");
    const char *s = base.get();
    if(texture)
        s += strlen("texture");
    else if(begins(s, "image"))
        s += strlen("image");
    Flags flags = FlagNone;
    SpvDim dim = SpvDim2D;
    for(const auto &shape : shapes) {
        if(!begins(s, shape.shape)) continue;
        s += strlen(shape.shape);
        flags = shape.flags;
        dim = shape.dim;
        break;
    }
    if(flags == FlagNone || s == base.get()) Parser::error("can't add %s image\n", name.get());

    const Flags sample = (*s == 'I') ? FlagSInt : (*s == 'U') ? FlagUInt : FlagFloat;
    const bool is_64 = (strstr(s, "64") != nullptr);
    if(format != ~0u) {
        const bool is_signed = (format >= 21 && format <= 29) || format == 41;
        const bool is_unsigned = (format >= 30 && format <= 40);
        // kept: all 64-bit images are unsigned, and "r64i" fits only a signed image
        if((is_signed && sample != FlagSInt) || (is_unsigned && sample != FlagUInt) ||
           (!is_signed && !is_unsigned && sample != FlagFloat)) {
            Parser::error("invalid format %u for %s image\n", format, get_source_name(base.get()));
        }
    }
    const bool wide = is_64 || format == 40 || format == 41;
    const bool array = (strstr(s, "Array") != nullptr);
    const bool shadow = (strstr(s, "Shadow") != nullptr);
    const bool multisample = (strstr(s, "MS") != nullptr);
    flags |= sample | (wide ? Flag64Bit : Flag32Bit);
    if(array) flags |= FlagImageArray;
    if(shadow) flags |= FlagImageShadow;
    if(multisample) flags |= FlagImageMultisample;
    if(texture) flags |= FlagImageTexture;
    if(format != ~0u) flags |= FlagImageFormat;

    if(array) {
        if(dim != SpvDim2D) {
            add_capability(SpvCapabilitySampledCubeArray);
            if(!texture) add_capability(SpvCapabilityImageCubeArray);
        } else if(multisample) {
            add_capability(SpvCapabilityImageMSArray);
        }
    }
    if(multisample && !texture) add_capability(SpvCapabilityStorageImageMultisample);
    if(dim == SpvDimBuffer) add_capability(texture ? SpvCapabilitySampledBuffer : SpvCapabilityImageBuffer);
    if(wide) {
        add_capability(SpvCapabilityInt64ImageEXT);
        add_capability(SpvCapabilityInt64);
    }
    if(format != ~0u) {
        if((format >= 6 && format <= 20) || (format >= 25 && format <= 29) || (format >= 34 && format <= 41)) {
            add_capability(SpvCapabilityStorageImageExtendedFormats);
        }
    }

    const uint32_t type = add_type(FlagScalar | sample | (wide ? Flag64Bit : Flag32Bit));
    const uint32_t target = add_new_type(key.get(), flags, type, ~0u, SpvOpTypeImage,
                                         {type, dim, shadow ? 1u : 0u, array ? 1u : 0u, multisample ? 1u : 0u,
                                          texture ? 1u : 2u, (format != ~0u) ? format : 0u});
    return target;
}

// -- Pointers ---------------------------------------------------------------------------------------------------------

uint32_t Compiler::add_pointer(const String &type, uint32_t length, uint32_t storage, const Scope *scope) {
    if(storage >= ~1u) Parser::error("invalid storage class\n");
    return add_pointer(add_type(type.get(), length, scope), storage);
}

uint32_t Compiler::add_pointer(uint32_t type, uint32_t storage) {
    if(storage >= ~1u) Parser::error("invalid storage class\n");
    StringStack<31> key;
    String::fromu32(key, type);
    key.append("_ptr_");
    String::fromu32(key, storage);
    if(const uint32_t *target = type_targets.get(key)) return *target;

    const uint32_t target = num_targets++;
    type_targets.append(key, target);
    add_target_flags(target, get_target_flags(type) | FlagPointer, type, ~0u);
    pointer_types.append(target, storage);
    if(storage == SpvStorageClassStorageBuffer) pointers.append(opcodes.size());
    opcodes.append((4u << 16) | SpvOpTypePointer);
    opcodes.append(target);
    opcodes.append(storage);
    opcodes.append(type);
    return target;
}

uint32_t Compiler::add_variable_type(Variable &variable) {
    if(variable.type_target == ~0u) variable.type_target = add_type(variable.type.get(), variable.length, &global);
    return variable.type_target;
}

uint32_t Compiler::add_variable_pointer(Variable &variable) {
    return add_pointer(add_variable_type(variable), variable.storage);
}

} // namespace Kolm
