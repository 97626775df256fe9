#include "VKLayouts.h"

namespace Kolm {

VKLayouts &VKLayouts::get(uint32_t adapter_index) {
    static VKLayouts layouts[VK::MaxAdapters];
    KOLM_ASSERT(adapter_index < VK::MaxAdapters && "VKLayouts::get(): invalid adapter index");
    return layouts[adapter_index];
}

void VKLayouts::release(VKContext *context) {
    if(--counter) return;
    AtomicLock atomic(lock);
    if(counter) return;
    for(const auto &item : pipeline_layouts) {
        context->releasePipelineLayout(item.data->layout);
        delete item.data;
    }
    for(const auto &item : set_layouts) {
        context->releaseDescriptorLayout(item.data->layout);
        delete item.data;
    }
    pipeline_layouts.clear();
    set_layouts.clear();
}

static bool is_equal(const VKLayouts::Binding &a, const VKLayouts::Binding &b) {
    return a.binding == b.binding && a.type == b.type && a.count == b.count && a.stages == b.stages;
}

VkDescriptorSetLayout VKLayouts::getSetLayout(VkDevice device, const Binding *bindings, uint32_t num,
                                              bool update_after_bind) {
    KOLM_ASSERT(num <= MaxBindings && "VKLayouts::getSetLayout(): invalid number of bindings");
    uint32_t key = num * 2 + (update_after_bind ? 1 : 0);
    for(uint32_t i = 0; i < num; i++) {
        for(const uint32_t value :
            {bindings[i].binding, uint32_t(bindings[i].type), bindings[i].count, uint32_t(bindings[i].stages)})
            key = value + key * 131;
    }

    AtomicLock atomic(lock);
    while(SetLayout **found = set_layouts.get(key)) {
        const SetLayout *set = *found;
        bool equal = (set->bindings.size() == num && set->update_after_bind == update_after_bind);
        for(uint32_t i = 0; equal && i < num; i++) equal = is_equal(set->bindings[i], bindings[i]);
        if(equal) return set->layout;
        key++;
    }

    VkDescriptorSetLayoutBinding records[MaxBindings];
    VkDescriptorBindingFlags flags[MaxBindings];
    for(uint32_t i = 0; i < num; i++) {
        records[i] = {bindings[i].binding, bindings[i].type, bindings[i].count, bindings[i].stages, nullptr};
        flags[i] = VK_DESCRIPTOR_BINDING_UPDATE_AFTER_BIND_BIT | VK_DESCRIPTOR_BINDING_PARTIALLY_BOUND_BIT;
    }
    auto info = vk_record<VkDescriptorSetLayoutCreateInfo>(VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO);
    info.bindingCount = num;
    info.pBindings = records;
    auto flags_info = vk_record<VkDescriptorSetLayoutBindingFlagsCreateInfo>(
        VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_BINDING_FLAGS_CREATE_INFO);
    if(update_after_bind) {
        flags_info.bindingCount = num;
        flags_info.pBindingFlags = flags;
        info.pNext = &flags_info;
        info.flags = VK_DESCRIPTOR_SET_LAYOUT_CREATE_UPDATE_AFTER_BIND_POOL_BIT;
    }
    VkDescriptorSetLayout layout = VK_NULL_HANDLE;
    if(VK::error(vkCreateDescriptorSetLayout(device, &info, nullptr, &layout))) return VK_NULL_HANDLE;

    SetLayout *set = new SetLayout();
    set->bindings = Array<Binding>(num, bindings);
    set->update_after_bind = update_after_bind;
    set->layout = layout;
    set_layouts.append(key, set);
    return layout;
}

VkPipelineLayout VKLayouts::getPipelineLayout(VkDevice device, const VkDescriptorSetLayout *sets, uint32_t num) {
    KOLM_ASSERT(num <= MaxSets && "VKLayouts::getPipelineLayout(): invalid number of sets");
    uint64_t key = num;
    for(uint32_t i = 0; i < num; i++) key = reinterpret_cast<uint64_t>(sets[i]) + key * 131;

    AtomicLock atomic(lock);
    while(PipelineLayout **found = pipeline_layouts.get(key)) {
        const PipelineLayout *pipeline = *found;
        bool equal = (pipeline->sets.size() == num);
        for(uint32_t i = 0; equal && i < num; i++) equal = (pipeline->sets[i] == sets[i]);
        if(equal) return pipeline->layout;
        key++;
    }
    auto info = vk_record<VkPipelineLayoutCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO);
    info.setLayoutCount = num;
    info.pSetLayouts = sets;
    VkPipelineLayout layout = VK_NULL_HANDLE;
    if(VK::error(vkCreatePipelineLayout(device, &info, nullptr, &layout))) return VK_NULL_HANDLE;

    PipelineLayout *pipeline = new PipelineLayout();
    pipeline->sets = Array<VkDescriptorSetLayout>(num, sets);
    pipeline->layout = layout;
    pipeline_layouts.append(key, pipeline);
    return layout;
}

} // namespace Kolm
