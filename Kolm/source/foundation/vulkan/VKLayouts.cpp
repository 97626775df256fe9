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
    pipeline_layouts.clear([&](VkPipelineLayout layout) { context->releasePipelineLayout(layout); });
    set_layouts.clear([&](VkDescriptorSetLayout layout) { context->releaseDescriptorLayout(layout); });
}

uint32_t VKLayouts::SetKey::getHash() const {
    uint32_t hash = bindings.size() * 2 + (update_after_bind ? 1 : 0);
    for(const Binding &binding : bindings) {
        for(const uint32_t value : {binding.binding, uint32_t(binding.type), binding.count, uint32_t(binding.stages)})
            hash = value + hash * 131;
    }
    return hash;
}

bool VKLayouts::SetKey::operator==(const SetKey &key) const {
    if(bindings.size() != key.bindings.size() || update_after_bind != key.update_after_bind) return false;
    for(uint32_t i = 0; i < bindings.size(); i++) {
        if(bindings[i] != key.bindings[i]) return false;
    }
    return true;
}

uint32_t VKLayouts::PipelineKey::getHash() const {
    uint64_t hash = num;
    for(uint32_t i = 0; i < num; i++) hash = reinterpret_cast<uint64_t>(sets[i]) + hash * 131;
    return uint32_t(hash ^ (hash >> 32));
}

bool VKLayouts::PipelineKey::operator==(const PipelineKey &key) const {
    return num == key.num && memcmp(sets, key.sets, sizeof(*sets) * num) == 0;
}

VkDescriptorSetLayout VKLayouts::getSetLayout(VkDevice device, const Binding *bindings, uint32_t num,
                                              bool update_after_bind) {
    KOLM_ASSERT(num <= MaxBindings && "VKLayouts::getSetLayout(): invalid number of bindings");
    return set_layouts.get({Array<Binding>(num, bindings), update_after_bind}, [&]() {
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
        const VkResult result = vkCreateDescriptorSetLayout(device, &info, nullptr, &layout);
        return VK::error(result) ? VkDescriptorSetLayout(VK_NULL_HANDLE) : layout;
    });
}

VkPipelineLayout VKLayouts::getPipelineLayout(VkDevice device, const VkDescriptorSetLayout *sets, uint32_t num) {
    KOLM_ASSERT(num <= MaxSets && "VKLayouts::getPipelineLayout(): invalid number of sets");
    PipelineKey key = {num, {}};
    for(uint32_t i = 0; i < num; i++) key.sets[i] = sets[i];
    return pipeline_layouts.get(key, [&]() {
        auto info = vk_record<VkPipelineLayoutCreateInfo>(VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO);
        info.setLayoutCount = num;
        info.pSetLayouts = sets;
        VkPipelineLayout layout = VK_NULL_HANDLE;
        const VkResult result = vkCreatePipelineLayout(device, &info, nullptr, &layout);
        return VK::error(result) ? VkPipelineLayout(VK_NULL_HANDLE) : layout;
    });
}

} // namespace Kolm
