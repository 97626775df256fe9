// Device memory. Small and medium pieces of device-local memory share heaps, so that the number of memory objects stays
// far below the driver's limit; everything else has an object of its own.
//
// A heap can hold buffers and images side by side: pieces are aligned to the granularity that keeps them apart.
// Host-visible objects are mapped once, for as long as they live. Two pieces of one heap can't be mapped on their own.

#include "KolmLog.h"
#include "VKAdapter.h"

namespace Kolm {

void VKAdapter::create_memory() {
    for(uint32_t i = 0; i < VK_MAX_MEMORY_TYPES; i++) {
        small_memory[i].heap_size = SmallHeapSize;
        small_memory[i].memory_type = i;
        large_memory[i].heap_size = LargeHeapSize;
        large_memory[i].memory_type = i;
        pool_memory[i].memory_type = i;
    }
}

VkMemoryPropertyFlags VKAdapter::getMemoryFlags(uint32_t type) const {
    KOLM_ASSERT(type < getMemoryProperties().memoryTypeCount && "VKAdapter::getMemoryFlags(): invalid memory type");
    return getMemoryProperties().memoryTypes[type].propertyFlags;
}

bool VKAdapter::hasMemoryType(VkMemoryPropertyFlags flags) const { return findMemoryIndex(~0u, flags) != NotFound; }

uint32_t VKAdapter::findMemoryIndex(const VkPhysicalDeviceMemoryProperties &memory, uint32_t type_bits,
                                    VkMemoryPropertyFlags flags, VkMemoryPropertyFlags avoid) {
    for(const VkMemoryPropertyFlags mask : {avoid, VkMemoryPropertyFlags(0)}) {
        for(uint32_t i = 0; i < memory.memoryTypeCount; i++) {
            const VkMemoryPropertyFlags type_flags = memory.memoryTypes[i].propertyFlags;
            if((type_bits & (1u << i)) && (type_flags & flags) == flags && (type_flags & mask) == 0) return i;
        }
    }
    return NotFound;
}

uint32_t VKAdapter::findMemoryIndex(uint32_t type_bits, VkMemoryPropertyFlags flags,
                                    VkMemoryPropertyFlags avoid) const {
    return findMemoryIndex(getMemoryProperties(), type_bits, flags, avoid);
}

uint32_t VKAdapter::getMemoryIndex(uint32_t type_bits, VkMemoryPropertyFlags flags, uint32_t exclude) const {
    const uint32_t bits = (exclude < VK_MAX_MEMORY_TYPES) ? type_bits & ~(1u << exclude) : type_bits;
    const uint32_t index = findMemoryIndex(bits, flags);
    if(index == NotFound)
        Log::printf(Log::Error, "VKAdapter::getMemoryIndex(): can't get 0x%x 0x%x memory\n", type_bits, flags);
    return index;
}

VkResult VKAdapter::allocateDeviceMemory(uint32_t type, uint64_t size, const void *next, VkDeviceMemory &memory) {
    auto flags = vk_record<VkMemoryAllocateFlagsInfo>(VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_FLAGS_INFO, next);
    flags.flags = VK_MEMORY_ALLOCATE_DEVICE_ADDRESS_BIT;
    auto info = vk_record<VkMemoryAllocateInfo>(VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO, next);
    if(getBufferDeviceAddressFeatures().bufferDeviceAddress) info.pNext = &flags;
    info.allocationSize = size;
    info.memoryTypeIndex = type;
    memory = VK_NULL_HANDLE;
    if(size > memory_limit) return VK_ERROR_OUT_OF_DEVICE_MEMORY;
    const VkResult result = vkAllocateMemory(device, &info, nullptr, &memory);
    if(result == VK_SUCCESS) {
        num_allocations++;
        total_allocations++;
    } else {
        memory = VK_NULL_HANDLE;
    }
    return result;
}

void VKAdapter::freeDeviceMemory(VkDeviceMemory memory) {
    if(memory == VK_NULL_HANDLE) return;
    vkFreeMemory(device, memory, nullptr);
    num_allocations--;
}

// Whoever is given host-visible memory later counts on its address: without one the object is of no use.
bool VKAdapter::map_memory(uint32_t type, VkDeviceMemory &memory, uint8_t *&data) {
    if((getMemoryFlags(type) & VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT) == 0) return true;
    void *ptr = nullptr;
    if(VK::error(vkMapMemory(device, memory, 0, VK_WHOLE_SIZE, 0, &ptr))) {
        Log::printf(Log::Error, "VKAdapter::map_memory(): can't map memory\n");
        freeDeviceMemory(memory);
        memory = VK_NULL_HANDLE;
        return false;
    }
    data = static_cast<uint8_t *>(ptr);
    return true;
}

VK::MemoryPtr VKAdapter::allocate_memory(uint32_t type, const VkMemoryRequirements &requirements,
                                         VkMemoryPropertyFlags flags, void *host_ptr, const void *next) {
    const uint64_t size = requirements.size;
    if(host_ptr || next || (flags & VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT) == 0 || size > LargeSize)
        return pool_memory[type].allocate(this, size, host_ptr, next);
    const uint64_t alignment = max(requirements.alignment, getLimits().bufferImageGranularity);
    HeapMemory &heaps = (size <= SmallSize) ? small_memory[type] : large_memory[type];
    return heaps.allocate(this, alignment, size);
}

VK::MemoryPtr VKAdapter::allocateMemory(const VkMemoryRequirements &requirements, VkMemoryPropertyFlags flags,
                                        void *host_ptr, const void *next) {
    VK::MemoryPtr memory;
    const uint32_t type = getMemoryIndex(requirements.memoryTypeBits, flags);
    if(type != NotFound) memory = allocate_memory(type, requirements, flags, host_ptr, next);
    if(!memory && (flags & VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT)) {
        const VkMemoryPropertyFlags host_flags =
            (flags & ~VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT) | VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT;
        const uint32_t host_type = findMemoryIndex(requirements.memoryTypeBits, host_flags);
        if(host_type != NotFound && host_type != type) {
            Log::printf(Log::Warning, "VKAdapter::allocateMemory(): using system memory\n");
            memory = pool_memory[host_type].allocate(this, requirements.size, host_ptr, next);
        }
    }
    if(!memory) {
        const String size = String::fromBytes(requirements.size);
        Log::printf(Log::Error, "VKAdapter::allocateMemory(): can't allocate %s\n", size.get());
    }
    return memory;
}

bool VKAdapter::freeMemory(VK::MemoryPtr &memory) {
    if(!memory) return true;
    if(memory.index != adapter_index) {
        Log::printf(Log::Error, "VKAdapter::freeMemory(): invalid adapter index %u\n", memory.index);
        return false;
    }
    bool ret = false;
    if(memory.pool) {
        ret = pool_memory[memory.type].free(this, memory);
    } else if(memory.size <= SmallSize) {
        ret = small_memory[memory.type].free(this, memory);
    } else if(memory.size <= LargeSize) {
        ret = large_memory[memory.type].free(this, memory);
    } else {
        Log::printf(Log::Error, "VKAdapter::freeMemory(): can't free memory\n");
    }
    memory = VK::MemoryPtr();
    return ret;
}

void VKAdapter::alignRange(uint64_t &offset, uint64_t &size, uint64_t atom, uint64_t limit) {
    const uint64_t begin = offset / atom * atom;
    const uint64_t end = min((offset + size + atom - 1) / atom * atom, limit);
    offset = begin;
    size = end - begin;
}

// A range of the piece as a range of its memory object. Atoms of neighbours are included: that is harmless for a flush,
// and an invalidation sees what the neighbours' owners see as well.
static VkMappedMemoryRange get_mapped_range(const VKAdapter &adapter, const VK::MemoryPtr &memory, uint64_t offset,
                                            uint64_t size) {
    auto range = vk_record<VkMappedMemoryRange>(VK_STRUCTURE_TYPE_MAPPED_MEMORY_RANGE);
    range.memory = memory.memory;
    range.offset = memory.offset + offset;
    range.size = size;
    // Heaps are a multiple of every atom. An object of its own may end within one.
    const uint64_t limit = memory.pool ? memory.offset + memory.size : ~uint64_t(0);
    VKAdapter::alignRange(range.offset, range.size, adapter.getLimits().nonCoherentAtomSize, limit);
    return range;
}

bool VKAdapter::flushMemory(const VK::MemoryPtr &memory, uint64_t offset, uint64_t size) const {
    if(size == 0 || (getMemoryFlags(memory.type) & VK_MEMORY_PROPERTY_HOST_COHERENT_BIT)) return true;
    const VkMappedMemoryRange range = get_mapped_range(*this, memory, offset, size);
    return !VK::error(vkFlushMappedMemoryRanges(device, 1, &range));
}

bool VKAdapter::invalidateMemory(const VK::MemoryPtr &memory, uint64_t offset, uint64_t size) const {
    if(size == 0 || (getMemoryFlags(memory.type) & VK_MEMORY_PROPERTY_HOST_COHERENT_BIT)) return true;
    const VkMappedMemoryRange range = get_mapped_range(*this, memory, offset, size);
    return !VK::error(vkInvalidateMappedMemoryRanges(device, 1, &range));
}

bool VKAdapter::HeapMemory::Heap::create(VKAdapter *adapter, uint32_t type, uint32_t heap_size) {
    if(VK::error(adapter->allocateDeviceMemory(type, heap_size, nullptr, memory))) {
        const String size = String::fromBytes(heap_size);
        Log::printf(Log::Error, "VKAdapter::HeapMemory::Heap::create(): can't allocate %s\n", size.get());
        return false;
    }
    if(!adapter->map_memory(type, memory, data)) return false;
    heap_pool.init(heap_size);
    return true;
}

void VKAdapter::HeapMemory::Heap::release(VKAdapter *adapter) {
    heap_pool.shutdown();
    adapter->freeDeviceMemory(memory);
    memory = VK_NULL_HANDLE;
    data = nullptr;
}

bool VKAdapter::HeapMemory::Heap::allocate(VK::MemoryPtr &ptr, uint32_t alignment, uint32_t size) {
    if(size >= failed_size) return false;
    const uint32_t offset = heap_pool.allocate(alignment, align_up(size, alignment));
    if(offset == HeapPool<8>::InvalidOffset) {
        failed_size = size;
        return false;
    }
    ptr.memory = memory;
    ptr.offset = offset;
    ptr.size = size;
    ptr.pool = false;
    ptr.data = data ? data + offset : nullptr;
    return true;
}

VK::MemoryPtr VKAdapter::HeapMemory::allocate(VKAdapter *adapter, uint64_t alignment, uint64_t size) {
    VK::MemoryPtr ptr;
    ptr.type = memory_type;
    ptr.index = adapter->getIndex();
    AtomicLock atomic(lock);
    if(allocation_heap && allocation_heap->allocate(ptr, uint32_t(alignment), uint32_t(size))) return ptr;
    for(const auto &item : heaps) {
        if(item.data == allocation_heap || !item.data->allocate(ptr, uint32_t(alignment), uint32_t(size))) continue;
        allocation_heap = item.data;
        return ptr;
    }
    Heap *heap = new Heap();
    if(!heap->create(adapter, memory_type, heap_size)) {
        Log::printf(Log::Error, "VKAdapter::HeapMemory::allocate(): can't create heap\n");
        delete heap;
        return VK::MemoryPtr();
    }
    heaps.append(heap->memory, heap);
    allocation_heap = heap;
    if(!heap->allocate(ptr, uint32_t(alignment), uint32_t(size))) {
        const String bytes = String::fromBytes(size);
        Log::printf(Log::Error, "VKAdapter::HeapMemory::allocate(): can't allocate %s\n", bytes.get());
        return VK::MemoryPtr();
    }
    return ptr;
}

bool VKAdapter::HeapMemory::free(VKAdapter *adapter, const VK::MemoryPtr &memory) {
    AtomicLock atomic(lock);
    Heap **found = heaps.get(memory.memory);
    if(found == nullptr) {
        Log::printf(Log::Error, "VKAdapter::HeapMemory::free(): can't free memory\n");
        return false;
    }
    Heap *heap = *found;
    heap->heap_pool.free(uint32_t(memory.offset));
    heap->failed_size = ~0u;
    // One empty heap stays, so that a buffer that comes and goes doesn't bring a memory object along each time.
    if(heap->heap_pool.getAllocations() == 0 && heap != allocation_heap) {
        heaps.remove(memory.memory);
        heap->release(adapter);
        delete heap;
    }
    return true;
}

void VKAdapter::HeapMemory::release(VKAdapter *adapter, const char *name) {
    uint32_t num_allocations = 0;
    uint32_t num_heaps = 0;
    for(const auto &item : heaps) {
        const uint32_t num = item.data->heap_pool.getAllocations();
        num_allocations += num;
        num_heaps += (num != 0);
        item.data->release(adapter);
        delete item.data;
    }
    heaps.clear();
    allocation_heap = nullptr;
    if(num_allocations) {
        Log::printf(Log::Error, "VKAdapter::HeapMemory::release(): %u unreleased %s allocations\n", num_allocations,
                    name);
        Log::printf(Log::Error, "VKAdapter::HeapMemory::release(): %u unreleased %s heaps\n", num_heaps, name);
    }
}

VK::MemoryPtr VKAdapter::PoolMemory::allocate(VKAdapter *adapter, uint64_t size, void *host_ptr, const void *next) {
    auto import =
        vk_record<VkImportMemoryHostPointerInfoEXT>(VK_STRUCTURE_TYPE_IMPORT_MEMORY_HOST_POINTER_INFO_EXT, next);
    import.handleType = VK_EXTERNAL_MEMORY_HANDLE_TYPE_HOST_ALLOCATION_BIT_EXT;
    import.pHostPointer = host_ptr;

    VK::MemoryPtr ptr;
    VkDeviceMemory memory = VK_NULL_HANDLE;
    if(VK::error(adapter->allocateDeviceMemory(memory_type, size, host_ptr ? &import : next, memory))) return ptr;
    ptr.memory = memory;
    ptr.size = size;
    ptr.type = memory_type;
    ptr.index = adapter->getIndex();
    ptr.pool = true;
    ptr.data = static_cast<uint8_t *>(host_ptr);
    if(host_ptr == nullptr && !adapter->map_memory(memory_type, memory, ptr.data)) return VK::MemoryPtr();
    AtomicLock atomic(lock);
    sizes.append(memory, size);
    return ptr;
}

bool VKAdapter::PoolMemory::free(VKAdapter *adapter, const VK::MemoryPtr &memory) {
    {
        AtomicLock atomic(lock);
        if(!sizes.remove(memory.memory)) {
            Log::printf(Log::Error, "VKAdapter::freeMemory(): can't free memory\n");
            return false;
        }
    }
    adapter->freeDeviceMemory(memory.memory);
    return true;
}

void VKAdapter::PoolMemory::release(VKAdapter *adapter) {
    if(sizes.empty()) return;
    Log::printf(Log::Error, "VKAdapter::PoolMemory::release(): %u unreleased allocations\n", sizes.size());
    for(const auto &item : sizes) adapter->freeDeviceMemory(item.key);
    sizes.clear();
}

} // namespace Kolm
