#include "VKTable.h"

#include "KolmLog.h"

namespace Kolm {

VKTable::VKTable(VKContext *context, VkDescriptorType type)
    : adapter(context->getAdapter()), context(context->retain()), type(type) {}

VKTable::~VKTable() {
    release();
    VKContext::release(context);
}

bool VKTable::isSupported(const VKAdapter *adapter, VkDescriptorType type, uint32_t size) {
    const VkPhysicalDeviceDescriptorIndexingFeatures &features = adapter->getDescriptorIndexingFeatures();
    const VkPhysicalDeviceDescriptorIndexingProperties &limits = adapter->getDescriptorIndexingProperties();
    if(!features.descriptorBindingPartiallyBound || size > limits.maxUpdateAfterBindDescriptorsInAllPools) return false;
    if(type == VK_DESCRIPTOR_TYPE_STORAGE_BUFFER)
        return features.descriptorBindingStorageBufferUpdateAfterBind &&
               size <= limits.maxDescriptorSetUpdateAfterBindStorageBuffers &&
               size <= limits.maxPerStageDescriptorUpdateAfterBindStorageBuffers;
    return features.descriptorBindingSampledImageUpdateAfterBind &&
           size <= limits.maxDescriptorSetUpdateAfterBindSampledImages &&
           size <= limits.maxPerStageDescriptorUpdateAfterBindSampledImages;
}

bool VKTable::check(const char *name, uint32_t size) const {
    if(isSupported(adapter, type, size)) return true;
    Log::printf(Log::Error, "%s::create(): can't create descriptor layout\n", name);
    return false;
}

bool VKTable::create(const char *name, uint32_t size) {
    const VkDevice device = adapter->getDevice();
    const VKLayouts::Binding binding = getBinding(type, size);
    VKLayouts &layouts = VKLayouts::get(adapter->getIndex());
    layouts.retain();
    has_layouts = true;
    layout = layouts.getSetLayout(device, &binding, 1, true);
    if(layout == VK_NULL_HANDLE) {
        Log::printf(Log::Error, "%s::create(): can't create descriptor layout\n", name);
        release();
        return false;
    }
    const VkDescriptorPoolSize pool_size = {type, size};
    auto pool_info = vk_record<VkDescriptorPoolCreateInfo>(VK_STRUCTURE_TYPE_DESCRIPTOR_POOL_CREATE_INFO);
    pool_info.flags = VK_DESCRIPTOR_POOL_CREATE_UPDATE_AFTER_BIND_BIT;
    pool_info.maxSets = 1;
    pool_info.poolSizeCount = 1;
    pool_info.pPoolSizes = &pool_size;
    if(VK::error(vkCreateDescriptorPool(device, &pool_info, nullptr, &pool))) {
        Log::printf(Log::Error, "%s::create(): can't create descriptor pool\n", name);
        pool = VK_NULL_HANDLE;
        release();
        return false;
    }
    auto info = vk_record<VkDescriptorSetAllocateInfo>(VK_STRUCTURE_TYPE_DESCRIPTOR_SET_ALLOCATE_INFO);
    info.descriptorPool = pool;
    info.descriptorSetCount = 1;
    info.pSetLayouts = &layout;
    if(VK::error(adapter->vkAllocateDescriptorSets(device, &info, &descriptor))) {
        Log::printf(Log::Error, "%s::create(): can't allocate descriptor set\n", name);
        descriptor = VK_NULL_HANDLE;
        release();
        return false;
    }
    return true;
}

// The set goes with its pool, when the frame has passed.
void VKTable::release() {
    context->releaseDescriptorPool(pool);
    if(has_layouts) VKLayouts::get(adapter->getIndex()).release(context);
    has_layouts = false;
    layout = VK_NULL_HANDLE;
    pool = VK_NULL_HANDLE;
    descriptor = VK_NULL_HANDLE;
}

void VKTable::setName(const char *name) {
    adapter->setObjectName(VK_OBJECT_TYPE_DESCRIPTOR_SET, reinterpret_cast<uint64_t>(descriptor), name);
}

VkWriteDescriptorSet VKTable::getWrite(uint32_t index, uint32_t num) const {
    auto write = vk_record<VkWriteDescriptorSet>(VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET);
    write.dstSet = descriptor;
    write.dstArrayElement = index;
    write.descriptorCount = num;
    write.descriptorType = type;
    return write;
}

} // namespace Kolm
