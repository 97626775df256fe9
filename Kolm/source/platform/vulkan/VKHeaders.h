// The Vulkan declarations, without prototypes: every function is looked up at run time. Extensions that are younger
// than the oldest headers we build with are declared here with the numbers of the Vulkan registry.

#pragma once

#ifndef VK_NO_PROTOTYPES
#define VK_NO_PROTOTYPES
#endif
#include <vulkan/vulkan.h>

#ifndef VK_KHR_cooperative_matrix
#define VK_KHR_cooperative_matrix 1
#define VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_COOPERATIVE_MATRIX_FEATURES_KHR VkStructureType(1000506000)
#define VK_STRUCTURE_TYPE_COOPERATIVE_MATRIX_PROPERTIES_KHR VkStructureType(1000506001)

typedef enum VkComponentTypeKHR {
    VK_COMPONENT_TYPE_FLOAT16_KHR = 0,
    VK_COMPONENT_TYPE_FLOAT32_KHR = 1,
    VK_COMPONENT_TYPE_MAX_ENUM_KHR = 0x7FFFFFFF
} VkComponentTypeKHR;

typedef enum VkScopeKHR { VK_SCOPE_SUBGROUP_KHR = 3, VK_SCOPE_MAX_ENUM_KHR = 0x7FFFFFFF } VkScopeKHR;

typedef struct VkCooperativeMatrixPropertiesKHR {
    VkStructureType sType;
    void *pNext;
    uint32_t MSize;
    uint32_t NSize;
    uint32_t KSize;
    VkComponentTypeKHR AType;
    VkComponentTypeKHR BType;
    VkComponentTypeKHR CType;
    VkComponentTypeKHR ResultType;
    VkBool32 saturatingAccumulation;
    VkScopeKHR scope;
} VkCooperativeMatrixPropertiesKHR;

typedef struct VkPhysicalDeviceCooperativeMatrixFeaturesKHR {
    VkStructureType sType;
    void *pNext;
    VkBool32 cooperativeMatrix;
    VkBool32 cooperativeMatrixRobustBufferAccess;
} VkPhysicalDeviceCooperativeMatrixFeaturesKHR;

typedef VkResult(VKAPI_PTR *PFN_vkGetPhysicalDeviceCooperativeMatrixPropertiesKHR)(
    VkPhysicalDevice physicalDevice, uint32_t *pPropertyCount, VkCooperativeMatrixPropertiesKHR *pProperties);
#endif

#ifndef VK_EXT_host_image_copy
#define VK_EXT_host_image_copy 1
#define VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_HOST_IMAGE_COPY_FEATURES_EXT VkStructureType(1000270000)
#define VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_HOST_IMAGE_COPY_PROPERTIES_EXT VkStructureType(1000270001)
#define VK_STRUCTURE_TYPE_MEMORY_TO_IMAGE_COPY_EXT VkStructureType(1000270002)
#define VK_STRUCTURE_TYPE_IMAGE_TO_MEMORY_COPY_EXT VkStructureType(1000270003)
#define VK_STRUCTURE_TYPE_COPY_IMAGE_TO_MEMORY_INFO_EXT VkStructureType(1000270004)
#define VK_STRUCTURE_TYPE_COPY_MEMORY_TO_IMAGE_INFO_EXT VkStructureType(1000270005)
#define VK_STRUCTURE_TYPE_HOST_IMAGE_LAYOUT_TRANSITION_INFO_EXT VkStructureType(1000270006)
#define VK_STRUCTURE_TYPE_HOST_IMAGE_COPY_DEVICE_PERFORMANCE_QUERY_EXT VkStructureType(1000270009)
#define VK_IMAGE_USAGE_HOST_TRANSFER_BIT_EXT VkImageUsageFlagBits(0x00400000)

typedef VkFlags VkHostImageCopyFlagsEXT;

typedef struct VkPhysicalDeviceHostImageCopyFeaturesEXT {
    VkStructureType sType;
    void *pNext;
    VkBool32 hostImageCopy;
} VkPhysicalDeviceHostImageCopyFeaturesEXT;

typedef struct VkPhysicalDeviceHostImageCopyPropertiesEXT {
    VkStructureType sType;
    void *pNext;
    uint32_t copySrcLayoutCount;
    VkImageLayout *pCopySrcLayouts;
    uint32_t copyDstLayoutCount;
    VkImageLayout *pCopyDstLayouts;
    uint8_t optimalTilingLayoutUUID[VK_UUID_SIZE];
    VkBool32 identicalMemoryTypeRequirements;
} VkPhysicalDeviceHostImageCopyPropertiesEXT;

typedef struct VkHostImageCopyDevicePerformanceQueryEXT {
    VkStructureType sType;
    void *pNext;
    VkBool32 optimalDeviceAccess;
    VkBool32 identicalMemoryLayout;
} VkHostImageCopyDevicePerformanceQueryEXT;

typedef struct VkMemoryToImageCopyEXT {
    VkStructureType sType;
    const void *pNext;
    const void *pHostPointer;
    uint32_t memoryRowLength;
    uint32_t memoryImageHeight;
    VkImageSubresourceLayers imageSubresource;
    VkOffset3D imageOffset;
    VkExtent3D imageExtent;
} VkMemoryToImageCopyEXT;

typedef struct VkImageToMemoryCopyEXT {
    VkStructureType sType;
    const void *pNext;
    void *pHostPointer;
    uint32_t memoryRowLength;
    uint32_t memoryImageHeight;
    VkImageSubresourceLayers imageSubresource;
    VkOffset3D imageOffset;
    VkExtent3D imageExtent;
} VkImageToMemoryCopyEXT;

typedef struct VkCopyMemoryToImageInfoEXT {
    VkStructureType sType;
    const void *pNext;
    VkHostImageCopyFlagsEXT flags;
    VkImage dstImage;
    VkImageLayout dstImageLayout;
    uint32_t regionCount;
    const VkMemoryToImageCopyEXT *pRegions;
} VkCopyMemoryToImageInfoEXT;

typedef struct VkCopyImageToMemoryInfoEXT {
    VkStructureType sType;
    const void *pNext;
    VkHostImageCopyFlagsEXT flags;
    VkImage srcImage;
    VkImageLayout srcImageLayout;
    uint32_t regionCount;
    const VkImageToMemoryCopyEXT *pRegions;
} VkCopyImageToMemoryInfoEXT;

typedef struct VkHostImageLayoutTransitionInfoEXT {
    VkStructureType sType;
    const void *pNext;
    VkImage image;
    VkImageLayout oldLayout;
    VkImageLayout newLayout;
    VkImageSubresourceRange subresourceRange;
} VkHostImageLayoutTransitionInfoEXT;

typedef VkResult(VKAPI_PTR *PFN_vkCopyMemoryToImageEXT)(VkDevice device, const VkCopyMemoryToImageInfoEXT *info);
typedef VkResult(VKAPI_PTR *PFN_vkCopyImageToMemoryEXT)(VkDevice device, const VkCopyImageToMemoryInfoEXT *info);
typedef VkResult(VKAPI_PTR *PFN_vkTransitionImageLayoutEXT)(VkDevice device, uint32_t count,
                                                            const VkHostImageLayoutTransitionInfoEXT *transitions);
#endif

namespace Kolm {

/// Vulkan record with its type and chain, everything else zero.
template<class Record> Record vk_record(VkStructureType type, const void *next = nullptr) {
    Record record = {};
    record.sType = type;
    record.pNext = static_cast<decltype(record.pNext)>(const_cast<void *>(next));
    return record;
}

} // namespace Kolm
