#include "ShaderModule.h"

#include "Output.h"

#include <Ostrevan.h>

#include <algorithm>
#include <string.h>

namespace {

// Numbers of the module format, as published.

enum Op : uint32_t {
    OpNop = 0,
    OpName = 5,
    OpExtension = 10,
    OpExecutionMode = 16,
    OpCapability = 17,
    OpTypeVoid = 19,
    OpTypeBool = 20,
    OpTypeInt = 21,
    OpTypeFloat = 22,
    OpTypeVector = 23,
    OpTypeMatrix = 24,
    OpTypeImage = 25,
    OpTypeSampler = 26,
    OpTypeSampledImage = 27,
    OpTypeArray = 28,
    OpTypeRuntimeArray = 29,
    OpTypeStruct = 30,
    OpTypePointer = 32,
    OpConstant = 43,
    OpVariable = 59,
    OpDecorate = 71,
    OpMemberDecorate = 72,
    OpTypeAccelerationStructureKHR = 5341,
};

enum Storage : uint32_t {
    StorageInput = 1,
    StorageOutput = 3,
    StoragePushConstant = 9,
    StorageStorageBuffer = 12,
};

enum Decoration : uint32_t {
    DecorationBufferBlock = 3,
    DecorationRowMajor = 4,
    DecorationArrayStride = 6,
    DecorationMatrixStride = 7,
    DecorationLocation = 30,
    DecorationComponent = 31,
    DecorationBinding = 33,
    DecorationDescriptorSet = 34,
    DecorationOffset = 35,
};

std::string get_capability(uint32_t capability) {
    const char *name = Ostrevan::ShaderCompiler::getCapabilityName(capability);
    return name ? name : std::to_string(capability);
}

constexpr uint32_t magic = 0x07230203, header_size = 5, local_size = 17;
constexpr uint32_t max_bound = 1 << 22, max_depth = 64;

std::string get_text(const uint32_t *words, uint32_t num) {
    const char *text = reinterpret_cast<const char *>(words);
    return std::string(text, strnlen(text, num * sizeof(uint32_t)));
}

// The compiler gives resources names of its own making.
bool is_made_name(const std::string &name) {
    return name.empty() ||
           (name.compare(0, 2, "_f") == 0 && name.find_first_not_of("0123456789abcdef_", 2) == std::string::npos);
}

void append_number(std::string &json, const char *name, uint64_t value) {
    json += std::string(",\"") + name + "\":" + std::to_string(value);
}

} // namespace

bool ShaderModule::load(const uint32_t *words, size_t size) {
    if(size < header_size || words[0] != magic || words[3] > max_bound) return false;
    objects.assign(words[3], Object());
    for(size_t i = header_size; i < size; i += words[i] >> 16) {
        const uint32_t *op = words + i;
        const uint32_t length = op[0] >> 16, opcode = op[0] & 0xFFFF;
        if(length == 0 || length > size - i) return false;
        const auto object = [&](uint32_t index) -> Object * {
            return (index < length && op[index] < objects.size()) ? &objects[op[index]] : nullptr;
        };
        switch(opcode) {
        case OpCapability:
            if(length == 2) capabilities.push_back(op[1]);
            break;
        case OpExtension: extensions.push_back(get_text(op + 1, length - 1)); break;
        case OpExecutionMode:
            if(length == 6 && op[2] == local_size) memcpy(group, op + 3, sizeof(group));
            break;
        case OpName:
            if(Object *target = object(1)) target->name = get_text(op + 2, length - 2);
            break;
        case OpDecorate:
            if(Object *target = object(1); target && length > 2) {
                const uint32_t value = (length > 3) ? op[3] : 0;
                switch(op[2]) {
                case DecorationLocation: target->location = value; break;
                case DecorationComponent: target->component = value; break;
                case DecorationBinding: target->binding = value; break;
                case DecorationDescriptorSet: target->set = value; break;
                case DecorationArrayStride: target->array_stride = value; break;
                case DecorationBufferBlock: target->buffer_block = true; break;
                }
            }
            break;
        case OpMemberDecorate:
            if(Object *target = object(1); target && length > 3) {
                Member &member = target->members[op[2]];
                if(op[3] == DecorationRowMajor) member.row_major = true;
                if(op[3] == DecorationOffset && length > 4) member.offset = op[4];
                if(op[3] == DecorationMatrixStride && length > 4) member.matrix_stride = op[4];
            }
            break;
        case OpVariable:
            if(object(1) && object(2) && length > 3) variables.push_back({op[2], op[1], op[3]});
            break;
        case OpConstant:
            if(Object *target = object(2); target && length > 3) target->type = op;
            break;
        case OpTypeVoid:
        case OpTypeBool:
        case OpTypeInt:
        case OpTypeFloat:
        case OpTypeVector:
        case OpTypeMatrix:
        case OpTypeImage:
        case OpTypeSampler:
        case OpTypeSampledImage:
        case OpTypeArray:
        case OpTypeRuntimeArray:
        case OpTypeStruct:
        case OpTypePointer:
        case OpTypeAccelerationStructureKHR:
            if(Object *target = object(1)) target->type = op;
            break;
        }
    }
    return true;
}

const ShaderModule::Object &ShaderModule::get(uint32_t id) const {
    static const Object none;
    return (id < objects.size()) ? objects[id] : none;
}

uint32_t ShaderModule::get_opcode(uint32_t id) const {
    const uint32_t *op = get(id).type;
    return op ? op[0] & 0xFFFF : uint32_t(OpNop);
}

// 0 if there is no such operand: no id is 0.
uint32_t ShaderModule::get_operand(uint32_t id, uint32_t index) const {
    const uint32_t *op = get(id).type;
    return (op && index < (op[0] >> 16)) ? op[index] : 0;
}

// Bytes of a type in a block; 0 for what has none, as an array without length.
uint64_t ShaderModule::get_size(uint32_t type, const Member &member, uint32_t depth) const {
    if(depth > max_depth) return 0;
    switch(get_opcode(type)) {
    case OpTypeInt:
    case OpTypeFloat: return get_operand(type, 2) / 8;
    case OpTypeBool: return 4;
    case OpTypeVector: return get_size(get_operand(type, 2), member, depth + 1) * get_operand(type, 3);
    case OpTypeMatrix: {
        const uint32_t columns = get_operand(type, 3), rows = get_operand(get_operand(type, 2), 3);
        const uint64_t scalar = get_size(get_operand(get_operand(type, 2), 2), member, depth + 1);
        const uint64_t last = scalar * (member.row_major ? columns : rows);
        return uint64_t(member.matrix_stride) * ((member.row_major ? rows : columns) - 1) + last;
    }
    case OpTypeArray: {
        const uint32_t length = get_operand(get_operand(type, 3), 3);
        const uint64_t size = get_size(get_operand(type, 2), member, depth + 1);
        return get(type).array_stride ? uint64_t(get(type).array_stride) * length : size * length;
    }
    case OpTypeStruct: {
        uint64_t size = 0;
        for(uint32_t i = 2; i < (get(type).type[0] >> 16); i++) {
            const auto it = get(type).members.find(i - 2);
            const Member info = (it != get(type).members.end()) ? it->second : Member();
            size = std::max(size, info.offset + get_size(get_operand(type, i), info, depth + 1));
        }
        return size;
    }
    case OpTypePointer: return 8;
    default: return 0;
    }
}

// Name of a type in GLSL; the dimensions of an array stand behind.
std::string ShaderModule::get_type(uint32_t type, uint32_t depth) const {
    if(depth > max_depth) return "";
    const uint32_t inner = get_operand(type, 2);
    // Prefix of vectors, images and matrices by their scalar.
    const auto get_prefix = [this](uint32_t scalar) -> std::string {
        const uint32_t bits = get_operand(scalar, 2);
        switch(get_opcode(scalar)) {
        case OpTypeBool: return "b";
        case OpTypeInt:
            return ((bits == 32) ? "" : "i" + std::to_string(bits)) +
                   (get_operand(scalar, 3) ? (bits == 32 ? "i" : "") : "u");
        case OpTypeFloat: return (bits == 64) ? "d" : (bits == 16) ? "f16" : "";
        default: return "";
        }
    };
    switch(get_opcode(type)) {
    case OpTypeBool: return "bool";
    case OpTypeInt: {
        const std::string bits = (inner == 32) ? "" : std::to_string(inner) + "_t";
        return (get_operand(type, 3) ? "int" : "uint") + bits;
    }
    case OpTypeFloat: return (inner == 64) ? "double" : (inner == 16) ? "float16_t" : "float";
    case OpTypeVector: return get_prefix(inner) + "vec" + std::to_string(get_operand(type, 3));
    case OpTypeMatrix: {
        const std::string columns = std::to_string(get_operand(type, 3)), rows = std::to_string(get_operand(inner, 3));
        return get_prefix(get_operand(inner, 2)) + "mat" + columns + (columns == rows ? "" : "x" + rows);
    }
    case OpTypeSampler: return "sampler";
    case OpTypeAccelerationStructureKHR: return "accelerationStructureEXT";
    case OpTypeSampledImage: {
        std::string name = get_type(inner, depth + 1);
        const size_t pos = name.find("texture");
        return (pos == std::string::npos) ? name : name.replace(pos, 7, "sampler");
    }
    case OpTypeImage: {
        static constexpr const char *dims[] = {"1D", "2D", "3D", "Cube", "2DRect", "Buffer", "Subpass"};
        const uint32_t dim = get_operand(type, 3);
        return get_prefix(inner) + (get_operand(type, 7) == 2 ? "image" : "texture") + (dim < 7 ? dims[dim] : "") +
               (get_operand(type, 6) ? "MS" : "") + (get_operand(type, 5) ? "Array" : "");
    }
    case OpTypeArray: {
        // the outer length stands first
        std::string name = get_type(inner, depth + 1);
        const size_t pos = std::min(name.find('['), name.size());
        return name.insert(pos, "[" + std::to_string(get_operand(get_operand(type, 3), 3)) + "]");
    }
    case OpTypeRuntimeArray: {
        std::string name = get_type(inner, depth + 1);
        return name.insert(std::min(name.find('['), name.size()), "[]");
    }
    case OpTypeStruct: return is_made_name(get(type).name) ? "struct" : get(type).name;
    default: return "";
    }
}

// Kind of a resource, in the words of the kernel's and the pipeline's setters; "combined" is a texture with its sampler.
std::string ShaderModule::get_kind(const Variable &variable, uint32_t type) const {
    switch(get_opcode(type)) {
    case OpTypeSampler: return "sampler";
    case OpTypeSampledImage: return "combined";
    case OpTypeAccelerationStructureKHR: return "tracing";
    case OpTypeImage:
        if(get_operand(type, 7) == 2) return "surface";
        return (get_operand(type, 3) == 5) ? "texel" : "texture";
    default: return (variable.storage == StorageStorageBuffer || get(type).buffer_block) ? "storage" : "uniform";
    }
}

void ShaderModule::append_name(std::string &json, uint32_t id) const {
    if(is_made_name(get(id).name)) return;
    json += ",\"name\":";
    appendJson(json, get(id).name.c_str());
}

void ShaderModule::append_interface(std::string &json, uint32_t storage) const {
    std::vector<Variable> sorted;
    for(const Variable &variable : variables) {
        if(variable.storage == storage && get(variable.id).location != None) sorted.push_back(variable);
    }
    std::sort(sorted.begin(), sorted.end(), [this](const Variable &a, const Variable &b) {
        const Object &x = get(a.id), &y = get(b.id);
        return (x.location != y.location) ? x.location < y.location : x.component + 1 < y.component + 1;
    });
    const char *comma = "";
    for(const Variable &variable : sorted) {
        const Object &object = get(variable.id);
        json += std::string(comma) + "{\"location\":" + std::to_string(object.location);
        if(object.component != None) append_number(json, "component", object.component);
        append_name(json, variable.id);
        json += ",\"type\":";
        appendJson(json, get_type(get_operand(variable.type, 3)).c_str());
        json += "}";
        comma = ",";
    }
}

void ShaderModule::append_bindings(std::string &json) const {
    std::vector<Variable> sorted;
    for(const Variable &variable : variables) {
        if(get(variable.id).binding != None) sorted.push_back(variable);
    }
    std::sort(sorted.begin(), sorted.end(), [this](const Variable &a, const Variable &b) {
        const Object &x = get(a.id), &y = get(b.id);
        return (x.set != y.set) ? x.set < y.set : (x.binding != y.binding) ? x.binding < y.binding : a.id < b.id;
    });
    const char *comma = "";
    for(const Variable &variable : sorted) {
        uint32_t type = get_operand(variable.type, 3);
        uint64_t count = 1; // 0 for an array whose length the application gives
        for(uint32_t depth = 0; depth < max_depth; depth++) {
            const uint32_t opcode = get_opcode(type);
            if(opcode != OpTypeArray && opcode != OpTypeRuntimeArray) break;
            count *= (opcode == OpTypeArray) ? get_operand(get_operand(type, 3), 3) : 0;
            type = get_operand(type, 2);
        }
        json += std::string(comma) + "{\"set\":" + std::to_string(get(variable.id).set);
        append_number(json, "binding", get(variable.id).binding);
        append_name(json, variable.id);
        json += ",\"kind\":\"" + get_kind(variable, type) + "\",\"type\":";
        appendJson(json, get_type(type).c_str());
        append_number(json, "count", count);
        if(get_opcode(type) == OpTypeStruct) append_number(json, "size", get_size(type, Member()));
        json += "}";
        comma = ",";
    }
}

std::string ShaderModule::getJson() const {
    std::string json;
    if(group[0]) {
        json += "\"workgroup\":[" + std::to_string(group[0]) + "," + std::to_string(group[1]) + "," +
                std::to_string(group[2]) + "],";
    }
    json += "\"capabilities\":[";
    for(size_t i = 0; i < capabilities.size(); i++) json += (i ? ",\"" : "\"") + get_capability(capabilities[i]) + "\"";
    json += "],\"extensions\":[";
    for(size_t i = 0; i < extensions.size(); i++) {
        if(i) json += ",";
        appendJson(json, extensions[i].c_str());
    }
    json += "],\"inputs\":[";
    append_interface(json, StorageInput);
    json += "],\"outputs\":[";
    append_interface(json, StorageOutput);
    json += "],\"bindings\":[";
    append_bindings(json);
    json += "]";
    for(const Variable &variable : variables) {
        if(variable.storage == StoragePushConstant)
            append_number(json, "constants", get_size(get_operand(variable.type, 3), Member()));
    }
    return json;
}
