#include "VKBindings.h"

#include "KolmLog.h"
#include "VKLayouts.h"
#include "VKShader.h"
#include "VKTable.h"

namespace Kolm {

namespace {

// The kinds of slots in each set, the same for a set of one kind.
constexpr struct {
    const char *name;
    Parameters::Kind kinds[2];
    VkDescriptorType types[2];
} sets[VKBindings::NumSets] = {
    {"sampler", {Parameters::KindSampler, Parameters::KindSampler}, {VK_DESCRIPTOR_TYPE_SAMPLER}},
    {"image",
     {Parameters::KindTexture, Parameters::KindSurface},
     {VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE, VK_DESCRIPTOR_TYPE_STORAGE_IMAGE}},
    {"buffer",
     {Parameters::KindUniform, Parameters::KindStorage},
     {VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, VK_DESCRIPTOR_TYPE_STORAGE_BUFFER}},
    {"tracing", {Parameters::KindTracing, Parameters::KindTracing}, {VK_DESCRIPTOR_TYPE_ACCELERATION_STRUCTURE_KHR}},
    {"texel", {Parameters::KindTexel, Parameters::KindTexel}, {VK_DESCRIPTOR_TYPE_UNIFORM_TEXEL_BUFFER}},
};

uint32_t get_num_kinds(uint32_t set) { return (sets[set].kinds[0] == sets[set].kinds[1]) ? 1 : 2; }

// Devices have few dynamic offsets: the first slots get them, unless they are declared as fixed.
uint32_t get_dynamic_slots(const Parameters::SlotList &slots, uint32_t max_dynamic) {
    uint32_t mask = 0;
    uint32_t count = 0;
    for(uint32_t i = 0; i < slots.num && count < max_dynamic; i++) {
        if(slots.flags[i] & Parameters::BindFlagFixed) continue;
        mask |= 1u << i;
        count++;
    }
    return mask;
}

} // namespace

VKBindings::VKBindings(VKContext *context, const char *name)
    : adapter(context->getAdapter()), context(context), name(name) {
    for(uint32_t &index : set_indices) index = NoSet;
}

void VKBindings::release() {
    for(uint32_t i = 0; i < NumSets; i++) {
        set_layouts[i] = VK_NULL_HANDLE;
        set_indices[i] = NoSet;
    }
    num_sets = num_tables = 0;
    dynamic_uniforms = dynamic_storages = 0;
    pipeline_layout = VK_NULL_HANDLE;
    ranges.release();
    if(has_layouts) VKLayouts::get(adapter->getIndex()).release(context);
    has_layouts = false;
}

// Two kinds that share a set can't share binding numbers.
bool VKBindings::check_overlap(const Parameters &parameters) const {
    static constexpr struct {
        Parameters::Kind kinds[2];
        const char *text;
    } pairs[] = {
        {{Parameters::KindTexture, Parameters::KindSurface}, "texture and surface"},
        {{Parameters::KindUniform, Parameters::KindStorage}, "uniform and storage"},
    };
    for(const auto &pair : pairs) {
        const Parameters::SlotList a = parameters.getSlots(pair.kinds[0]);
        const Parameters::SlotList b = parameters.getSlots(pair.kinds[1]);
        if(!a.num || !b.num || a.offset >= b.offset + b.num || b.offset >= a.offset + a.num) continue;
        Log::printf(Log::Error, "%s::create(): %s resources overlap\n", name, pair.text);
        return false;
    }
    return true;
}

VkDescriptorSetLayout VKBindings::get_layout(const Parameters &parameters, SetType type) {
    VKLayouts::Binding bindings[VKLayouts::MaxBindings];
    uint32_t num = 0;
    for(uint32_t i = 0; i < get_num_kinds(type); i++) {
        const Parameters::SlotList slots = parameters.getSlots(sets[type].kinds[i]);
        const uint32_t dynamic = (type != SetBuffer) ? 0 : (i == 0) ? dynamic_uniforms : dynamic_storages;
        // An array takes the slots behind its first one.
        for(uint32_t j = 0; j < slots.num; j += slots.getArray(j)) {
            VKLayouts::Binding &binding = bindings[num++];
            binding.binding = slots.offset + j;
            binding.type = sets[type].types[i];
            binding.count = slots.getArray(j);
            binding.stages = slots.masks[j] ? VKShader::getStageFlags(slots.masks[j]) : stages;
            if((dynamic >> j) & 1)
                binding.type =
                    (i == 0) ? VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC : VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC;
            ranges.append(Range{num_sets, binding.binding, 1, binding.stages});
        }
    }
    if(num == 0) return VK_NULL_HANDLE;
    VkDescriptorSetLayout layout = VK_NULL_HANDLE;
    if(type != SetTracing || adapter->getAccelerationStructureFeatures().accelerationStructure)
        layout = VKLayouts::get(adapter->getIndex()).getSetLayout(adapter->getDevice(), bindings, num);
    if(layout) return layout;
    Log::printf(Log::Error, "%s::get_%s_layout(): can't create %s layout\n", name, sets[type].name, sets[type].name);
    Log::printf(Log::Error, "%s::create(): %s layout is null\n", name, sets[type].name);
    return VK_NULL_HANDLE;
}

VkDescriptorSetLayout VKBindings::get_table_layout(const Parameters &parameters, uint32_t index) const {
    const Parameters::TableType type = parameters.getTableType(index);
    KOLM_ASSERT(type < Parameters::NumTableTypes && "VKKernel::get_table_layout(): unknown table type");
    // A table brings its set along, so its layout depends on the table alone.
    const VKLayouts::Binding binding = VKTable::getBinding(
        type == Parameters::TableTypeTexture ? VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE : VK_DESCRIPTOR_TYPE_STORAGE_BUFFER,
        parameters.getTableSize(index));
    VkDescriptorSetLayout layout = VK_NULL_HANDLE;
    if(VKTable::isSupported(adapter, binding.type, binding.count))
        layout = VKLayouts::get(adapter->getIndex()).getSetLayout(adapter->getDevice(), &binding, 1, true);
    if(layout == VK_NULL_HANDLE) Log::printf(Log::Error, "%s::get_table_layout(): can't create table layout\n", name);
    return layout;
}

bool VKBindings::create_layouts(const Parameters &parameters) {
    const Parameters::SlotList uniforms = parameters.getSlots(Parameters::KindUniform);
    const Parameters::SlotList storages = parameters.getSlots(Parameters::KindStorage);
    dynamic_uniforms = get_dynamic_slots(uniforms, adapter->max_dynamic_uniforms);
    dynamic_storages = get_dynamic_slots(storages, adapter->max_dynamic_storages);
    uniform_first = (uniforms.offset < storages.offset || storages.num == 0);

    VkDescriptorSetLayout layouts[VKLayouts::MaxSets];
    for(uint32_t i = 0; i < NumSets; i++) {
        if(parameters.getSlots(sets[i].kinds[0]).num + parameters.getSlots(sets[i].kinds[1]).num == 0) continue;
        set_layouts[i] = get_layout(parameters, SetType(i));
        if(set_layouts[i] == VK_NULL_HANDLE) return false;
        set_indices[i] = num_sets;
        layouts[num_sets++] = set_layouts[i];
    }
    for(uint32_t i = 0; i < parameters.getNumTables(); i++, num_tables++) {
        ranges.append(Range{num_sets, 0, 1, VK_SHADER_STAGE_ALL});
        layouts[num_sets] = get_table_layout(parameters, i);
        if(layouts[num_sets++] == VK_NULL_HANDLE) return false;
    }
    pipeline_layout = VKLayouts::get(adapter->getIndex()).getPipelineLayout(adapter->getDevice(), layouts, num_sets);
    if(pipeline_layout) return true;
    Log::printf(Log::Error, "%s::get_pipeline_layout(): can't create pipeline layout\n", name);
    Log::printf(Log::Error, "%s::create(): pipeline layout is null\n", name);
    return false;
}

bool VKBindings::create(const Parameters &parameters, VkShaderStageFlags new_stages) {
    release();
    stages = new_stages;
    kind_name = parameters.getKindName();
    if(!check_overlap(parameters)) return false;
    uint32_t num = parameters.getNumTables();
    for(const auto &set : sets)
        num += (parameters.getSlots(set.kinds[0]).num + parameters.getSlots(set.kinds[1]).num != 0);
    const uint32_t max_sets = adapter->getLimits().maxBoundDescriptorSets;
    if(num > max_sets) {
        Log::printf(Log::Error, "%s::create(): %u descriptor sets are above the limit of %u\n", name, num, max_sets);
        return false;
    }
    VKLayouts::get(adapter->getIndex()).retain();
    has_layouts = true;
    if(create_layouts(parameters)) return true;
    release();
    return false;
}

// A resource that no layout holds would be read from anywhere.
bool VKBindings::check(const VKShader &shader) const {
    const VkShaderStageFlags stage = VKShader::getStageFlags(Shader::Mask(1u << shader.getType()));
    for(const VKShader::Binding &binding : shader.getBindings()) {
        if(!binding.used) continue;
        const Range *found = nullptr;
        for(const Range &range : ranges) {
            if(range.set == binding.set && range.binding == binding.binding) found = &range;
        }
        if(found == nullptr) {
            Log::printf(Log::Error, "%s::create(): binding %u of set %u is used by the shader and not by the %s\n",
                        name, binding.binding, binding.set, kind_name);
            return false;
        }
        if((found->stages & stage) == 0) {
            Log::printf(Log::Error, "%s::create(): binding %u of set %u is hidden from the %s shader by its mask\n",
                        name, binding.binding, binding.set, shader.getTypeName());
            return false;
        }
    }
    return true;
}

} // namespace Kolm
