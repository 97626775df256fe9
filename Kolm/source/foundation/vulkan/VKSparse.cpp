#include "VKSparse.h"

namespace Kolm {

bool VKSparse::change(uint64_t page, const VkMemoryRequirements &requirements, bool bind, VK::MemoryPtr &memory,
                      bool &changed) {
    changed = (bind != (pages.get(page) != nullptr));
    memory = VK::MemoryPtr();
    if(!changed) return true;
    if(!bind) {
        removed.append(page);
        return true;
    }
    memory = adapter->allocateMemory(requirements, VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT);
    if(!memory) return false;
    memory_size += memory.size;
    pages.append(page, memory);
    added.append(page);
    return true;
}

void VKSparse::commit(VKContext *context, bool success) {
    for(uint32_t i = 0; !success && i < added.size(); i++) {
        VK::MemoryPtr memory = pages[added[i]];
        memory_size -= memory.size;
        adapter->freeMemory(memory);
        pages.remove(added[i]);
    }
    for(uint32_t i = 0; success && i < removed.size(); i++) {
        // Regions of one call may overlap.
        VK::MemoryPtr *memory = pages.get(removed[i]);
        if(memory == nullptr) continue;
        memory_size -= memory->size;
        context->releaseMemory(*memory);
        pages.remove(removed[i]);
    }
    added.clear();
    removed.clear();
}

void VKSparse::release(VKContext *context) {
    for(auto &item : pages) context->releaseMemory(item.data);
    pages.clear();
    memory_size = 0;
}

} // namespace Kolm
