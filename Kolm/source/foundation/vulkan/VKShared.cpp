#include "VKShared.h"

#include <stdlib.h>
#include <unistd.h>

namespace Kolm {

bool VKShared::allocate(uint64_t bytes) {
    const size_t alignment =
        size_t(max(adapter->getExternalMemoryHostProperties().minImportedHostPointerAlignment, VkDeviceSize(4096)));
    size = size_t((bytes + alignment - 1) / alignment * alignment);
    if(posix_memalign(&ptr, alignment, size)) {
        ptr = nullptr;
        return false;
    }
    owner = true;
    memset(ptr, 0, size);
    return true;
}

bool VKShared::share(const VKShared &src) {
    ptr = src.ptr;
    size = src.size;
    if(ptr) return true;
    handle = (src.handle >= 0) ? dup(src.handle) : -1;
    import = (handle >= 0);
    return import;
}

bool VKShared::open(VkDeviceMemory memory) {
    auto info = vk_record<VkMemoryGetFdInfoKHR>(VK_STRUCTURE_TYPE_MEMORY_GET_FD_INFO_KHR);
    info.memory = memory;
    info.handleType = VK_EXTERNAL_MEMORY_HANDLE_TYPE_OPAQUE_FD_BIT;
    if(!VK::error(vkGetMemoryFdKHR(adapter->getDevice(), &info, &handle))) return true;
    handle = -1;
    return false;
}

void VKShared::release(VKContext *context, bool has_memory) {
    if(handle >= 0) ::close(handle);
    if(ptr && owner) {
        // The import goes first, and it waits for the frame.
        if(has_memory) context->finish(true, false);
        ::free(ptr);
    }
    ptr = nullptr;
    size = 0;
    owner = false;
    handle = -1;
    import = false;
}

VK::MemoryPtr VKShared::allocateMemory(VkMemoryRequirements requirements, VkMemoryPropertyFlags flags, bool is_export,
                                       const void *next) {
    auto export_info = vk_record<VkExportMemoryAllocateInfo>(VK_STRUCTURE_TYPE_EXPORT_MEMORY_ALLOCATE_INFO, next);
    export_info.handleTypes = VK_EXTERNAL_MEMORY_HANDLE_TYPE_OPAQUE_FD_BIT;
    if(ptr) {
        auto properties =
            vk_record<VkMemoryHostPointerPropertiesEXT>(VK_STRUCTURE_TYPE_MEMORY_HOST_POINTER_PROPERTIES_EXT);
        if(VK::error(vkGetMemoryHostPointerPropertiesEXT(
               adapter->getDevice(), VK_EXTERNAL_MEMORY_HANDLE_TYPE_HOST_ALLOCATION_BIT_EXT, ptr, &properties)))
            return VK::MemoryPtr();
        if(requirements.size > size) return VK::MemoryPtr();
        requirements.memoryTypeBits &= properties.memoryTypeBits;
        requirements.size = size;
        return adapter->allocateMemory(requirements, flags, ptr, is_export ? &export_info : nullptr);
    }
    if(import) {
        auto info = vk_record<VkImportMemoryFdInfoKHR>(VK_STRUCTURE_TYPE_IMPORT_MEMORY_FD_INFO_KHR, next);
        info.handleType = VK_EXTERNAL_MEMORY_HANDLE_TYPE_OPAQUE_FD_BIT;
        info.fd = handle;
        const VK::MemoryPtr memory = adapter->allocateMemory(requirements, flags, nullptr, &info);
        // A successful import owns the descriptor.
        if(memory) handle = -1;
        import = false;
        return memory;
    }
    return adapter->allocateMemory(requirements, flags, nullptr, is_export ? &export_info : nullptr);
}

VkExternalMemoryHandleTypeFlags VKShared::getHandleTypes(bool is_shared, bool is_interop) {
    VkExternalMemoryHandleTypeFlags types = 0;
    if(is_shared) types |= VK_EXTERNAL_MEMORY_HANDLE_TYPE_HOST_ALLOCATION_BIT_EXT;
    if(is_interop) types |= VK_EXTERNAL_MEMORY_HANDLE_TYPE_OPAQUE_FD_BIT;
    return types;
}

} // namespace Kolm
