// Places of members in memory.
//
// The published rules: a member stands at the next multiple of its alignment. Under std140 the elements of arrays, the
// columns of matrices and structures are aligned to 16 bytes at least. A float behind a vec3 fills its gap, but the
// elements of a vec3 array stand 16 bytes apart.
//
// Types are known by name alone, but the stride belongs to an array type and the offsets to a structure type. Where
// they differ from those of the plain name (packed as std430, columns first), the name says so: "f32@16[4]" is an array
// whose elements stand 16 bytes apart, "S.140" a structure laid out for std140, "S.140r" with rows first. Values of
// such types are converted member by member, see add_convert_opcodes.

#include "KolmCompiler.h"

namespace Kolm {

namespace {

uint64_t align_size(uint64_t size, uint32_t alignment) { return (size + alignment - 1) / alignment * alignment; }

} // namespace

Compiler::LayoutInfo Compiler::get_layout(String &type, uint32_t length, Packing packing, bool row_major) {
    LayoutInfo info;
    if(length != ~0u) {
        // an array: of elements that lie at multiples of the stride
        const char *mark = strrchr(type.get(), '@');
        if(mark && strchr(mark, ']') == nullptr) type.removeBack(type.size() - uint32_t(mark - type.get()));
        const LayoutInfo element = get_layout(type, ~0u, packing, row_major);
        info.alignment = element.alignment;
        if(packing == PackingStd140) info.alignment = uint32_t(align_size(info.alignment, 16));
        const uint64_t stride = align_size(element.size, info.alignment);
        if(stride * max(length, 1u) > MaxTypeSize) Parser::error("can't add %s[%u] type\n", type.get(), length);
        info.stride = uint32_t(stride);
        info.size = stride * length;
        info.matrix_stride = element.matrix_stride;
        info.row_major = element.row_major;
        const uint32_t plain = get_array_stride(type.get(), add_type(type, ~0u, &global));
        if(plain != info.stride) {
            type.append("@");
            String::fromu32(type, info.stride);
        }
        return info;
    }

    // an array of an array has its inner lengths in the name
    if(type.size() && type.get()[type.size() - 1] == ']') {
        const char *open = strrchr(type.get(), '[');
        String element(get_text(type.get(), uint32_t(open - type.get())).get());
        const uint32_t inner = String::tou32(open + 1, 10, nullptr);
        info = get_layout(element, inner, packing, row_major);
        element.append("[");
        String::fromu32(element, inner);
        element.append("]");
        type = element;
        return info;
    }

    const uint32_t target = add_type(type, ~0u, &global);
    Flags flags = get_target_flags(target);
    if(flags & FlagStructure) {
        const uint32_t index = add_layout_structure(get_structure(target).index, packing, row_major);
        const Structure &structure = structures[index];
        type = structure.name;
        info.alignment = structure.alignment;
        info.size = (structure.stride != ~0u) ? structure.stride : 0;
        return info;
    }
    flags &= FlagFormat | FlagBits | FlagVector | FlagMatrix;
    if(flags & FlagMatrix) {
        const uint32_t width = row_major ? get_type_columns(flags) : get_type_width(flags);
        const uint32_t count = row_major ? get_type_width(flags) : get_type_columns(flags);
        info.alignment = get_type_alignment(get_vector_flags(flags, width));
        // 16-bit vectors of 3 and 4 are the one case where alignment and size agree already
        if(packing == PackingStd140) info.alignment = uint32_t(align_size(info.alignment, 16));
        info.matrix_stride = info.alignment;
        info.size = uint64_t(info.alignment) * count;
        info.row_major = row_major;
        return info;
    }
    info.alignment = get_type_alignment(flags);
    info.size = get_type_bits(flags) / 8 * get_type_width(flags);
    return info;
}

// Layout of all members without a change to the structure. Members that say row_major or column_major themselves have
// decoration 4 or 5, those that say an offset decoration 35, an alignment decoration 44.
void Compiler::get_structure_layout(Structure &structure, Packing packing, bool row_major, Array<MemberLayout> &members,
                                    LayoutInfo &info) {
    uint64_t offset = 0;
    info.alignment = 1;
    for(uint32_t i = 0; i < structure.variables.size(); i++) {
        const Variable &variable = variables[structure.variables[i]];
        MemberLayout &member = members.append(MemberLayout());
        TypeText type = variable.type;
        bool rows = row_major;
        if(variable.explicit_major) rows = variable.decorations.has(SpvDecorationRowMajor);
        member.info = get_layout(type, variable.length, packing, rows);
        member.type.append(type);

        uint32_t alignment = max(member.info.alignment, 1u);
        if(const uint32_t *value = variable.decorations.get(SpvDecorationAlignment)) {
            if(*value == 0 || *value > 0x10000 || !is_pow2(*value)) Parser::error("invalid layout qualifiers\n");
            alignment = max(alignment, *value);
        }
        if(const uint32_t *value = structure.complete ? nullptr : variable.decorations.get(SpvDecorationOffset)) {
            if(*value < offset || *value % max(member.info.alignment, 1u)) {
                Parser::error("invalid \"%s\" member offset\n", variable.name.get());
            }
            offset = *value;
        }
        offset = align_size(offset, alignment);
        member.offset = offset;
        offset += member.info.size;
        if(offset > MaxTypeSize) Parser::error("can't add %s type\n", get_source_name(structure.name).get());
        info.alignment = max(info.alignment, member.info.alignment);
    }
    if(packing == PackingStd140) info.alignment = uint32_t(align_size(info.alignment, 16));
    info.size = offset;
    info.stride = uint32_t(align_size(offset, info.alignment));
}

uint32_t Compiler::add_layout_structure(uint32_t index, Packing packing, bool row_major) {
    Structure &source = structures[structures[index].base];
    if(!source.complete) Parser::error("unknown type \"%s\"\n", source.name.get());
    if(packing == source.packing && row_major == source.row_major) return source.index;

    StringStack<64> name;
    name.append(source.name);
    name.append(packing == PackingStd140 ? ".140" : ".430");
    if(row_major) name.append("r");
    if(const uint32_t *found = layout_names.get(name)) return *found;

    // most structures lie the same in every layout
    ArrayStack<MemberLayout, 8> members;
    LayoutInfo info;
    get_structure_layout(source, packing, row_major, members, info);
    bool same = (info.alignment == source.alignment && info.stride == source.stride);
    for(uint32_t i = 0; i < members.size() && same; i++) {
        const Variable &variable = variables[source.variables[i]];
        const MemberLayout &member = members[i];
        const uint32_t *offset = variable.decorations.get(SpvDecorationOffset);
        same = offset && *offset == member.offset && variable.type == member.type;
        if(member.info.matrix_stride == ~0u) continue;
        const uint32_t *stride = variable.decorations.get(SpvDecorationMatrixStride);
        same = same && stride && *stride == member.info.matrix_stride;
        same = same && variable.decorations.has(SpvDecorationRowMajor) == member.info.row_major;
    }
    if(same) {
        layout_names.append(name, source.index);
        return source.index;
    }

    const uint32_t base = source.index;
    Structure &structure = add_structure(name, nullptr);
    structure.base = base;
    structure.packing = packing;
    structure.row_major = row_major;
    structure.usage = true;
    layout_names.append(name, structure.index);
    const Structure &old = structures[base];
    for(uint32_t i = 0; i < old.variables.size(); i++) {
        const Variable &from = variables[old.variables[i]];
        Variable &variable = add_variable(String(), from.type, from.length, from.storage, nullptr);
        variable.name = from.name;
        variable.structure = structure.index;
        variable.member = i;
        variable.decorations = from.decorations;
        variable.decorations.remove(SpvDecorationOffset);
        variable.decorations.remove(SpvDecorationMatrixStride);
        if(!from.explicit_major) {
            variable.decorations.remove(SpvDecorationRowMajor);
            variable.decorations.remove(SpvDecorationColMajor);
        }
        variable.explicit_major = from.explicit_major;
        structure.variables.append(variable.index);
        structure.scope.variables.append(variable.name, variable.index);
    }
    create_structure(structure, true);
    return structure.index;
}

void Compiler::create_structure(Structure &structure, bool memory) {
    if(structure.variables.empty()) Parser::error("unfinished structure declaration\n");
    if(memory) {
        ArrayStack<MemberLayout, 8> members;
        LayoutInfo info;
        get_structure_layout(structure, structure.packing, structure.row_major, members, info);
        for(uint32_t i = 0; i < members.size(); i++) {
            Variable &variable = variables[structure.variables[i]];
            const MemberLayout &member = members[i];
            variable.type = member.type;
            variable.decorations.append(SpvDecorationOffset, uint32_t(member.offset));
            variable.decorations.remove(SpvDecorationAlignment);
            if(!variable.explicit_major || member.info.matrix_stride == ~0u) {
                variable.decorations.remove(SpvDecorationRowMajor);
                variable.decorations.remove(SpvDecorationColMajor);
            }
            if(member.info.matrix_stride != ~0u) {
                variable.decorations.append(member.info.row_major ? SpvDecorationRowMajor : SpvDecorationColMajor, ~0u);
                variable.decorations.append(SpvDecorationMatrixStride, member.info.matrix_stride);
            }
        }
        structure.size = info.size;
        structure.stride = info.stride;
        structure.alignment = info.alignment;
        structure.memory = true;
    } else {
        for(uint32_t i = 0; i < structure.variables.size(); i++) {
            Variable &variable = variables[structure.variables[i]];
            variable.decorations.remove(SpvDecorationAlignment);
            variable.decorations.remove(SpvDecorationRowMajor);
            variable.decorations.remove(SpvDecorationColMajor);
        }
    }

    ArrayStack<uint32_t, 32> types;
    for(uint32_t i = 0; i < structure.variables.size(); i++) {
        types.append(add_variable_type(variables[structure.variables[i]]));
    }
    structure.opcode_offset = opcodes.size();
    add_opcode(SpvOpTypeStruct, {structure.target}, types);
    structure.opcode_size = opcodes.size() - structure.opcode_offset;
    structure.complete = true;
    const uint32_t name = type_targets.append(structure.name, structure.target);
    add_target_flags(structure.target, FlagStructure, ~0u, ~0u, name);
}

} // namespace Kolm
