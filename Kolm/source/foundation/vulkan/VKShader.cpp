#include "VKShader.h"

#include "KolmFile.h"
#include "KolmLog.h"
#include "KolmSHA1.h"
#include "KolmSpirv.h"
#include "KolmStream.h"

namespace Kolm {

namespace {

constexpr uint32_t spirv_magic = 0x07230203;
constexpr uint32_t header_size = 5;    // words
constexpr uint32_t local_size_id = 38; // execution mode whose operands are constants

// Stage and execution model of each shader type.
constexpr struct {
    Shader::Type type;
    VkShaderStageFlagBits stage;
    SpvExecutionModel model;
} stages[] = {
    {Shader::TypeVertex, VK_SHADER_STAGE_VERTEX_BIT, SpvExecutionModelVertex},
    {Shader::TypeControl, VK_SHADER_STAGE_TESSELLATION_CONTROL_BIT, SpvExecutionModelTessellationControl},
    {Shader::TypeEvaluate, VK_SHADER_STAGE_TESSELLATION_EVALUATION_BIT, SpvExecutionModelTessellationEvaluation},
    {Shader::TypeGeometry, VK_SHADER_STAGE_GEOMETRY_BIT, SpvExecutionModelGeometry},
    {Shader::TypeFragment, VK_SHADER_STAGE_FRAGMENT_BIT, SpvExecutionModelFragment},
    {Shader::TypeCompute, VK_SHADER_STAGE_COMPUTE_BIT, SpvExecutionModelGLCompute},
    {Shader::TypeTask, VK_SHADER_STAGE_TASK_BIT_EXT, SpvExecutionModelTaskEXT},
    {Shader::TypeMesh, VK_SHADER_STAGE_MESH_BIT_EXT, SpvExecutionModelMeshEXT},
    {Shader::TypeRayGen, VK_SHADER_STAGE_RAYGEN_BIT_KHR, SpvExecutionModelRayGenerationKHR},
    {Shader::TypeRayMiss, VK_SHADER_STAGE_MISS_BIT_KHR, SpvExecutionModelMissKHR},
    {Shader::TypeClosest, VK_SHADER_STAGE_CLOSEST_HIT_BIT_KHR, SpvExecutionModelClosestHitKHR},
    {Shader::TypeFirstHit, VK_SHADER_STAGE_ANY_HIT_BIT_KHR, SpvExecutionModelAnyHitKHR},
    {Shader::TypeIntersection, VK_SHADER_STAGE_INTERSECTION_BIT_KHR, SpvExecutionModelIntersectionKHR},
    {Shader::TypeCallable, VK_SHADER_STAGE_CALLABLE_BIT_KHR, SpvExecutionModelCallableKHR},
};

bool has_capability(const VKAdapter &adapter, uint32_t capability, const char *&name) {
    const VkPhysicalDeviceFeatures &core = adapter.getFeatures();
    const VkSubgroupFeatureFlags operations = adapter.getSubgroupProperties().supportedOperations;
    switch(capability) {
#define CAPABILITY(NUM, NAME, CONDITION) \
    case NUM:                            \
        name = #NAME;                    \
        return (CONDITION);
#include "VKCapabilities.inc"
    default: return true;
    }
}

// Without the extensions that nothing in the module stands on: half floats came with this one before Vulkan had them,
// and drivers refuse to hear of what they were not asked for.
Array<uint32_t> get_module(const Array<uint32_t> &opcodes) {
    static constexpr char half_float[] = "SPV_AMD_gpu_shader_half_float";
    Array<uint32_t> module = opcodes;
    for(uint32_t i = header_size; i < module.size();) {
        const uint32_t length = module[i] >> 16;
        const uint32_t opcode = module[i] & 0xFFFF;
        if(opcode == SpvOpFunction) break;
        if(opcode == SpvOpExtension && (length - 1) * sizeof(uint32_t) >= sizeof(half_float) &&
           memcmp(module.get() + i + 1, half_float, sizeof(half_float)) == 0) {
            module.remove(i, length);
        } else {
            i += length;
        }
    }
    return module;
}

} // namespace

VKShader::VKShader(VKContext *context) : Shader(context->getAdapter()->getIndex()), context(context->retain()) {}

VKShader::~VKShader() {
    clear();
    VKContext::release(context);
}

// Pipelines don't need the module once they are created.
void VKShader::clear() {
    if(shader) vkDestroyShaderModule(context->getDevice(), shader, nullptr);
    shader = VK_NULL_HANDLE;
    shader_type = TypeUnknown;
    entry_name.clear();
    bindings.release();
    subgroup_size = 0;
    memset(group_size, 0, sizeof(group_size));
    memset(hash, 0, sizeof(hash));
}

bool VKShader::saveState(Stream &stream) const { return stream.write(hash, sizeof(hash)) == sizeof(hash); }

VkShaderStageFlags VKShader::getStageFlags(Shader::Mask mask) {
    VkShaderStageFlags flags = 0;
    for(const auto &stage : stages) {
        if(mask & Mask(1u << stage.type)) flags |= stage.stage;
    }
    return flags;
}

bool VKShader::set_macros(State &state) const {
    return state.set_macro("KOLM_GLSL", "1") && state.set_macro("KOLM_VK", "1") &&
           set_vendor(state, context->getAdapter()->getProperties().vendorID) && Shader::set_macros(state);
}

// Vulkan's dialect of text is GLSL, which the own compiler takes.
bool VKShader::compile(Type type, const String &src, State &state) { return compile_glsl(type, src, state); }

bool VKShader::compile(Type type, const Array<uint32_t> &opcodes, State &state) {
    clear();
    shader_name = state.get_name();
    if(!load_module(type, opcodes)) {
        Log::printf(Log::Error, "VKShader::compile(): invalid \"%s\" shader module\n", shader_name.get());
        clear();
        return false;
    }
    if(!check_capabilities(opcodes)) {
        clear();
        return false;
    }
    if(state.is_pragma("export")) {
        const Pragma &pragma = state.get_pragma("export");
        File file;
        if(pragma.arguments.size() && file.open(pragma.arguments[0].get(), "wb"))
            file.write(opcodes.get(), opcodes.bytes());
    }
    if(state.is_pragma("subgroup_size")) {
        const Pragma &pragma = state.get_pragma("subgroup_size");
        if(pragma.arguments.size()) subgroup_size = pragma.arguments[0].tou32();
    }

    const Array<uint32_t> words = get_module(opcodes);
    auto info = vk_record<VkShaderModuleCreateInfo>(VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO);
    info.codeSize = words.bytes();
    info.pCode = words.get();
    VkShaderModule module = VK_NULL_HANDLE;
    if(VK::error(vkCreateShaderModule(context->getDevice(), &info, nullptr, &module))) {
        Log::printf(Log::Error, "VKShader::compile(): can't create \"%s\" shader module\n", shader_name.get());
        clear();
        return false;
    }
    shader = module;
    shader_type = type;
    SHA1 sha;
    sha.update(opcodes.get(), opcodes.bytes());
    sha.finish(hash);
    context->getAdapter()->setObjectName(VK_OBJECT_TYPE_SHADER_MODULE, reinterpret_cast<uint64_t>(shader),
                                         shader_name.get());
    return true;
}

// Checks that instructions fill the module and that it has an entry point of the stage; takes its name and group size.
bool VKShader::load_module(Type type, const Array<uint32_t> &opcodes) {
    SpvExecutionModel model = SpvExecutionModelVertex;
    bool known = false;
    for(const auto &stage : stages) {
        if(stage.type != type) continue;
        model = stage.model;
        known = true;
    }
    if(!known || opcodes.size() < header_size || opcodes[0] != spirv_magic) return false;

    bool has_entry = false;
    uint32_t last_opcode = 0;
    uint32_t entry = 0;
    uint32_t size_ids[3] = {}; // constants of the group size, if it is given by them
    for(uint32_t i = header_size; i < opcodes.size();) {
        const uint32_t length = opcodes[i] >> 16;
        const uint32_t opcode = opcodes[i] & 0xFFFF;
        if(length == 0 || length > opcodes.size() - i) return false;
        const uint32_t *words = opcodes.get() + i;
        if(opcode == SpvOpEntryPoint && length > 3 && words[1] == uint32_t(model) && !has_entry) {
            const char *name = reinterpret_cast<const char *>(words + 3);
            const size_t max_length = (length - 3) * sizeof(uint32_t);
            const size_t name_length = strnlen(name, max_length);
            if(name_length == 0 || name_length == max_length) return false;
            entry = words[2];
            entry_name = name;
            has_entry = true;
        } else if(opcode == SpvOpExecutionMode && length == 6 && words[1] == entry &&
                  words[2] == SpvExecutionModeLocalSize) {
            memcpy(group_size, words + 3, sizeof(group_size));
        } else if(opcode == SpvOpExecutionModeId && length == 6 && words[1] == entry && words[2] == local_size_id) {
            memcpy(size_ids, words + 3, sizeof(size_ids));
        }
        last_opcode = opcode;
        i += length;
    }
    if(last_opcode != SpvOpFunctionEnd) return false;
    load_bindings(opcodes);
    return has_entry && (size_ids[0] == 0 || load_group_size(opcodes, size_ids));
}

bool VKShader::check_capabilities(const Array<uint32_t> &opcodes) const {
    // They come first.
    for(uint32_t i = header_size; i < opcodes.size(); i += opcodes[i] >> 16) {
        if((opcodes[i] & 0xFFFF) != SpvOpCapability) return true;
        const char *name = nullptr;
        if((opcodes[i] >> 16) != 2 || has_capability(*context->getAdapter(), opcodes[i + 1], name)) continue;
        Log::printf(Log::Error, "VKShader::compile(): \"%s\" shader needs %s, which the device does not have\n",
                    shader_name.get(), name);
        return false;
    }
    return true;
}

// Numbers of all resources, and which of them any function touches. The module's instructions were checked.
void VKShader::load_bindings(const Array<uint32_t> &opcodes) {
    // Position of the operand that names a variable; 0 for other instructions.
    const auto get_operand = [](uint32_t opcode) -> uint32_t {
        switch(opcode) {
        case SpvOpLoad:
        case SpvOpAccessChain:
        case SpvOpInBoundsAccessChain:
        case SpvOpArrayLength:
        case SpvOpImageTexelPointer:
        case SpvOpCopyObject: return 3;
        case SpvOpStore: return 1;
        case SpvOpFunctionCall: return 4; // and all behind it
        default: return 0;
        }
    };
    const auto find = [this](uint32_t id) -> Binding * {
        for(uint32_t i = 0; i < bindings.size(); i++) {
            if(bindings[i].id == id) return &bindings[i];
        }
        return nullptr;
    };
    bindings.clear();
    for(uint32_t i = header_size; i < opcodes.size(); i += opcodes[i] >> 16) {
        const uint32_t *words = opcodes.get() + i;
        const uint32_t opcode = words[0] & 0xFFFF;
        const uint32_t length = words[0] >> 16;
        if(opcode == SpvOpDecorate && length == 4 &&
           (words[2] == SpvDecorationBinding || words[2] == SpvDecorationDescriptorSet)) {
            Binding *binding = find(words[1]);
            if(binding == nullptr) {
                binding = &(bindings.append() = Binding());
                binding->id = words[1];
            }
            (words[2] == SpvDecorationBinding ? binding->binding : binding->set) = words[3];
        }
        const uint32_t operand = get_operand(opcode);
        const uint32_t end = (opcode == SpvOpFunctionCall) ? length : min(operand + 1, length);
        for(uint32_t j = operand; operand && j < end; j++) {
            if(Binding *binding = find(words[j])) binding->used = true;
        }
    }
}

// Values of the three constants. The module's instructions were checked.
bool VKShader::load_group_size(const Array<uint32_t> &opcodes, const uint32_t *ids) {
    for(uint32_t i = header_size; i < opcodes.size(); i += opcodes[i] >> 16) {
        const uint32_t *words = opcodes.get() + i;
        if((words[0] & 0xFFFF) != SpvOpConstant || (words[0] >> 16) != 4) continue;
        for(uint32_t j = 0; j < 3; j++) {
            if(words[2] == ids[j]) group_size[j] = words[3];
        }
    }
    return group_size[0] && group_size[1] && group_size[2];
}

} // namespace Kolm
