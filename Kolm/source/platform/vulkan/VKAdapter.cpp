#include "VKAdapter.h"

#include <stdlib.h>

#include "KolmLog.h"

namespace Kolm {

VKAdapter::VKAdapter(const VkPhysicalDevice *devices, uint32_t num) {
    KOLM_ASSERT(num && num <= MaxDevices && "VKAdapter::VKAdapter(): invalid number of devices");
    for(uint32_t i = 0; i < num; i++) adapters[i] = devices[i];
    adapter_count = num;
    adapter_properties = new Properties();
    load_properties();
}

VKAdapter::~VKAdapter() {
    release();
    delete adapter_properties;
}

// Version, extensions and all records, which are read before any device exists: the choice of an adapter needs them.
void VKAdapter::load_properties() {
    Properties &p = *adapter_properties;
    vkGetPhysicalDeviceProperties(adapters[0], &p.properties);
    vkGetPhysicalDeviceFeatures(adapters[0], &p.features);
    vkGetPhysicalDeviceMemoryProperties(adapters[0], &p.memory);
    api_version = min(p.properties.apiVersion, VK::getVersion());
    has_physical_device_properties2 = (vkGetPhysicalDeviceProperties2 && vkGetPhysicalDeviceFeatures2);
    if(!load_extensions()) return;
    load_flags(api_version);
    load_limits();
    if(!has_physical_device_properties2) return;
    check_host_copies();

    auto features =
        vk_record<VkPhysicalDeviceFeatures2>(VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2, chain_features());
    vkGetPhysicalDeviceFeatures2(adapters[0], &features);
    p.features = features.features;
    check_flags();

    auto properties = vk_record<VkPhysicalDeviceProperties2>(VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2);
#define VK_PROPERTIES(NAME, RECORD, TYPE, CONDITION) \
    p.member##NAME = {};                             \
    if(CONDITION) {                                  \
        p.member##NAME.sType = TYPE;                 \
        p.member##NAME.pNext = properties.pNext;     \
        properties.pNext = &p.member##NAME;          \
    }
#include "VKFeatures.inc"
    vkGetPhysicalDeviceProperties2(adapters[0], &properties);
}

bool VKAdapter::load_extensions() {
    uint32_t num = 0;
    if(VK::error(vkEnumerateDeviceExtensionProperties(adapters[0], nullptr, &num, nullptr))) {
        Log::printf(Log::Error, "VKAdapter::create(): can't get device extensions count\n");
        return false;
    }
    Array<VkExtensionProperties> properties(num);
    if(VK::error(vkEnumerateDeviceExtensionProperties(adapters[0], nullptr, &num, properties.get()))) {
        Log::printf(Log::Error, "VKAdapter::create(): can't get device extensions\n");
        return false;
    }
    device_extensions = " ";
    for(uint32_t i = 0; i < num; i++) {
        const char *name = properties[i].extensionName;
        device_extensions += (strncmp(name, "VK_", 3) == 0) ? name + 3 : name;
        device_extensions += " ";
    }
    return true;
}

static bool is_core(uint32_t version, uint32_t core) { return core && version >= core; }

void VKAdapter::load_flags(uint32_t core_version) {
#define VK_EXTENSION(NAME, FLAG, CORE) \
    FLAG = !VK::isHiddenExtension(NAME) && (checkExtension(NAME) || is_core(core_version, CORE));
#include "VKExtensions.inc"
    check_dependencies();
    // Its own dependencies are part of 1.3.
    if(api_version < VK_API_VERSION_1_3) has_host_image_copy_ext = false;
    // The marker extension is the fallback for debug utils and can't be enabled beside them.
    if(VK::hasDebugUtils()) has_debug_marker_ext = false;
}

// An extension stands on others.
void VKAdapter::check_dependencies() {
    has_spirv_1_4 &= has_shader_float_controls;
    has_acceleration_structure &=
        has_deferred_host_operations && has_buffer_device_address && has_descriptor_indexing_ext;
    has_ray_tracing_pipeline &= has_acceleration_structure && has_spirv_1_4;
    has_ray_query &= has_acceleration_structure && has_spirv_1_4;
    has_mesh_shader_ext &= has_spirv_1_4;
}

// An extension without the feature that it is about is none, and takes along what stands on it.
void VKAdapter::check_flags() {
    Properties &p = *adapter_properties;
    const struct {
        bool &flag;
        VkBool32 feature;
    } rows[] = {
        {has_timeline_semaphore, p.memberTimelineSemaphoreFeatures.timelineSemaphore},
        {has_host_query_reset_ext, p.memberHostQueryResetFeatures.hostQueryReset},
        {has_buffer_device_address, p.memberBufferDeviceAddressFeatures.bufferDeviceAddress},
        {has_subgroup_size_control_ext, p.memberSubgroupSizeFeatures.subgroupSizeControl},
        {has_acceleration_structure, p.memberAccelerationStructureFeatures.accelerationStructure},
        {has_ray_tracing_pipeline, p.memberRayTracingPipelineFeatures.rayTracingPipeline},
        {has_ray_query, p.memberRayQueryFeatures.rayQuery},
        {has_conditional_rendering_ext, p.memberConditionalRenderingFeatures.conditionalRendering},
        {has_mesh_shader_ext, p.memberMeshShaderFeatures.meshShader},
        {has_cooperative_matrix, p.memberCooperativeMatrixFeatures.cooperativeMatrix},
        {has_host_image_copy_ext, p.memberHostImageCopyFeatures.hostImageCopy},
    };
    for(const auto &row : rows) row.flag &= (row.feature != VK_FALSE);
    if(api_version >= VK_API_VERSION_1_1)
        has_shader_draw_parameters &= (p.memberShaderDrawFeatures.shaderDrawParameters != VK_FALSE);
    check_dependencies();
#define VK_FEATURES(NAME, RECORD, TYPE, CONDITION) \
    if(!(CONDITION)) p.member##NAME = {};
#include "VKFeatures.inc"
}

// Whether a validation layer stands before the driver, asked for by the application or by its user.
static bool is_validated() {
    for(const char *name : {"VK_INSTANCE_LAYERS", "VK_LOADER_LAYERS_ENABLE"}) {
        const char *layers = getenv(name);
        if(layers && strstr(layers, "validation")) return true;
    }
    return VK::getValidation();
}

// Copies by the host are used where they leave images in the layouts that shaders read, and in the device's own memory.
void VKAdapter::check_host_copies() {
    if(!has_host_image_copy_ext) return;
    // Layers that are older than the extension call every use of it a mistake.
    if(is_validated()) {
        has_host_image_copy_ext = false;
        return;
    }
    VkImageLayout src_layouts[64], dest_layouts[64];
    auto copies = vk_record<VkPhysicalDeviceHostImageCopyPropertiesEXT>(
        VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_HOST_IMAGE_COPY_PROPERTIES_EXT);
    copies.copySrcLayoutCount = array_size(src_layouts);
    copies.pCopySrcLayouts = src_layouts;
    copies.copyDstLayoutCount = array_size(dest_layouts);
    copies.pCopyDstLayouts = dest_layouts;
    auto properties = vk_record<VkPhysicalDeviceProperties2>(VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2, &copies);
    vkGetPhysicalDeviceProperties2(adapters[0], &properties);
    const auto has_layouts = [](const VkImageLayout *layouts, uint32_t num) {
        uint32_t found = 0;
        for(uint32_t i = 0; i < num; i++)
            found += (layouts[i] == VK_IMAGE_LAYOUT_GENERAL || layouts[i] == VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL);
        return found >= 2;
    };
    const bool is_local =
        (copies.identicalMemoryTypeRequirements || getProperties().deviceType != VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU);
    has_host_image_copy_ext = vkGetPhysicalDeviceImageFormatProperties2 && is_local &&
                              has_layouts(src_layouts, copies.copySrcLayoutCount) &&
                              has_layouts(dest_layouts, copies.copyDstLayoutCount);
}

// Links all feature records whose condition holds and returns the first.
void *VKAdapter::chain_features() {
    Properties &p = *adapter_properties;
    void *next = nullptr;
#define VK_FEATURES(NAME, RECORD, TYPE, CONDITION) \
    if(CONDITION) {                                \
        p.member##NAME.sType = TYPE;               \
        p.member##NAME.pNext = next;               \
        next = &p.member##NAME;                    \
    }
#include "VKFeatures.inc"
    return next;
}

// Features that cost speed or that only debuggers use.
void VKAdapter::disable_features(VkPhysicalDeviceFeatures &features) {
    Properties &p = *adapter_properties;
    features.robustBufferAccess = VK_FALSE;
    p.memberBufferDeviceAddressFeatures.bufferDeviceAddressCaptureReplay = VK_FALSE;
    p.memberBufferDeviceAddressFeatures.bufferDeviceAddressMultiDevice = VK_FALSE;
    p.memberAccelerationStructureFeatures.accelerationStructureCaptureReplay = VK_FALSE;
    p.memberRayTracingPipelineFeatures.rayTracingPipelineShaderGroupHandleCaptureReplay = VK_FALSE;
    p.memberRayTracingPipelineFeatures.rayTracingPipelineShaderGroupHandleCaptureReplayMixed = VK_FALSE;
    // Both need features of extensions that nothing here uses.
    p.memberMeshShaderFeatures.multiviewMeshShader = VK_FALSE;
    p.memberMeshShaderFeatures.primitiveFragmentShadingRateMeshShader = VK_FALSE;
}

VKAdapter::QueueChoice VKAdapter::selectQueues(const VkQueueFamilyProperties *families, uint32_t num) {
    QueueChoice choice;
    for(uint32_t i = 0; i < num; i++) {
        const VkQueueFlags flags = families[i].queueFlags;
        if((flags & VK_QUEUE_GRAPHICS_BIT) && choice.graphics_family == NotFound) choice.graphics_family = i;
        if(flags & VK_QUEUE_COMPUTE_BIT) {
            if(choice.compute_family == NotFound || choice.compute_family == choice.graphics_family)
                choice.compute_family = i;
        }
        if(flags & VK_QUEUE_TRANSFER_BIT) {
            if(choice.copy_family == NotFound || choice.copy_family == choice.graphics_family ||
               choice.copy_family == choice.compute_family)
                choice.copy_family = i;
        }
    }
    const auto get_count = [&](uint32_t family) { return (family == NotFound) ? 0 : families[family].queueCount; };
    const uint32_t num_graphics = get_count(choice.graphics_family);
    if(num_graphics) choice.graphics_index = 0;
    if(get_count(choice.compute_family)) {
        const bool shared = (choice.compute_family == choice.graphics_family);
        choice.compute_index = (shared && num_graphics >= 2) ? 1 : 0;
    }
    if(const uint32_t num_copy = get_count(choice.copy_family)) {
        const bool shared =
            (choice.copy_family == choice.graphics_family || choice.copy_family == choice.compute_family);
        choice.copy_index = shared ? min(num_copy - 1, 2u) : 0;
    }
    return choice;
}

void VKAdapter::load_queues() {
    VkQueueFamilyProperties families[32];
    uint32_t num = array_size(families);
    vkGetPhysicalDeviceQueueFamilyProperties(adapters[0], &num, families);
    const QueueChoice choice = selectQueues(families, num);
    graphics_family = choice.graphics_family;
    graphics_index = choice.graphics_index;
    compute_family = choice.compute_family;
    compute_index = choice.compute_index;
    copy_family = choice.copy_family;
    copy_index = choice.copy_index;
    queues.clear();
    for(uint32_t i = 0; i < num; i++) {
        Queue queue;
        queue.flags = families[i].queueFlags;
        queue.family = i;
        queue.timestamp_bits = families[i].timestampValidBits;
        queues.append(queue);
    }
}

bool VKAdapter::create() {
    KOLM_ASSERT(!isCreated() && "VKAdapter::create(): is already created");
    if(device_extensions.empty() && !load_extensions()) return false;
    load_queues();
    if(graphics_family == NotFound) {
        Log::printf(Log::Error, "VKAdapter::create(): can't find graphics queue family\n");
        return false;
    }
    if(graphics_index == NotFound) {
        Log::printf(Log::Error, "VKAdapter::create(): can't find graphics queue index\n");
        return false;
    }

    // Every distinct family once, with as many queues as the highest index needs.
    const float32_t priorities[3] = {1.0f, 1.0f, 1.0f};
    VkDeviceQueueCreateInfo queue_infos[3] = {};
    uint32_t num_queue_infos = 0;
    const uint32_t wanted[3][2] = {
        {graphics_family, graphics_index}, {compute_family, compute_index}, {copy_family, copy_index}};
    for(const auto &pair : wanted) {
        if(pair[0] == NotFound || pair[1] == NotFound) continue;
        uint32_t i = 0;
        while(i < num_queue_infos && queue_infos[i].queueFamilyIndex != pair[0]) i++;
        VkDeviceQueueCreateInfo &info = queue_infos[i];
        num_queue_infos = max(num_queue_infos, i + 1);
        info.sType = VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO;
        info.queueFamilyIndex = pair[0];
        info.queueCount = max(info.queueCount, pair[1] + 1);
        info.pQueuePriorities = priorities;
    }

    Array<String> names;
#define VK_EXTENSION(NAME, FLAG, CORE) \
    if(FLAG && checkExtension(NAME)) names.append(String("VK_" NAME));
#include "VKExtensions.inc"
    names.append(VK::adapter_extensions);
    Array<const char *> name_ptrs;
    for(uint32_t i = 0; i < names.size(); i++) name_ptrs.append(names[i].get());

    auto features = vk_record<VkPhysicalDeviceFeatures2>(VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2);
    features.features = getFeatures();
    disable_features(features.features);

    auto info = vk_record<VkDeviceCreateInfo>(VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO);
    info.queueCreateInfoCount = num_queue_infos;
    info.pQueueCreateInfos = queue_infos;
    info.enabledExtensionCount = name_ptrs.size();
    info.ppEnabledExtensionNames = name_ptrs.get();
    if(has_physical_device_properties2) {
        features.pNext = chain_features();
        info.pNext = &features;
    } else {
        info.pEnabledFeatures = &features.features;
    }
    auto group = vk_record<VkDeviceGroupDeviceCreateInfo>(VK_STRUCTURE_TYPE_DEVICE_GROUP_DEVICE_CREATE_INFO);
    if(adapter_count > 1) {
        group.physicalDeviceCount = adapter_count;
        group.pPhysicalDevices = adapters;
        group.pNext = info.pNext;
        info.pNext = &group;
    }
    for(uint32_t i = 0; i < VK::adapter_features.size(); i++) {
        VkBaseOutStructure *record = static_cast<VkBaseOutStructure *>(VK::adapter_features[i]);
        record->pNext = static_cast<VkBaseOutStructure *>(const_cast<void *>(info.pNext));
        info.pNext = record;
    }

    VkDevice new_device = VK_NULL_HANDLE;
    if(VK::error(vkCreateDevice(adapters[0], &info, nullptr, &new_device))) {
        Log::printf(Log::Error, "VKAdapter::create(): can't create Vulkan device\n");
        return false;
    }
    is_owner = true;
    if(create(new_device, graphics_family, graphics_index)) {
        is_owner = true;
        return true;
    }
    vkDestroyDevice(new_device, nullptr);
    return false;
}

bool VKAdapter::create(VkDevice dev, uint32_t family, uint32_t index) {
    KOLM_ASSERT(dev && "VKAdapter::create(): device is null");
    KOLM_ASSERT(!isCreated() && "VKAdapter::create(): is already created");
    device = dev;
    is_owner = false;
    if(queues.empty()) {
        // A caller's device: its queues are not known beyond the one that was named.
        load_queues();
        graphics_family = compute_family = copy_family = family;
        graphics_index = compute_index = copy_index = index;
    }
    if(!load_functions()) {
        device = VK_NULL_HANDLE;
        return false;
    }
    create_memory();
    is_created = true;
    return true;
}

bool VKAdapter::load_functions() {
    const struct {
        const char *name;
        void **func;
        bool optional;
    } functions[] = {
#define VK_DEVICE(NAME) {#NAME, reinterpret_cast<void **>(&NAME), false},
#define VK_DEVICE_OPTIONAL(NAME) {#NAME, reinterpret_cast<void **>(&NAME), true},
#include "VKFunctions.inc"
    };
    const bool is_old = (api_version < VK_API_VERSION_1_2);
    for(const auto &function : functions) {
        const PFN_vkVoidFunction ptr = VK::findFunction(device, vkGetDeviceProcAddr, function.name, is_old);
        *function.func = reinterpret_cast<void *>(ptr);
        if(ptr == nullptr && !function.optional) {
            Log::printf(Log::Error, "VKAdapter::create(): can't find \"%s\" function\n", function.name);
            return false;
        }
    }
    return true;
}

void VKAdapter::load_limits() {
    const VkPhysicalDeviceLimits &limits = getLimits();
    const VkSampleCountFlags samples = limits.framebufferColorSampleCounts & limits.framebufferDepthSampleCounts;
    max_texture_samples = 1;
    for(uint32_t i = 2; i <= 8; i *= 2) {
        if(samples & i) max_texture_samples = i;
    }
    texel_alignment = uint32_t(max(limits.minTexelBufferOffsetAlignment, VkDeviceSize(1)));
    uniform_alignment = uint32_t(max(limits.minUniformBufferOffsetAlignment, VkDeviceSize(1)));
    storage_alignment = uint32_t(max(limits.minStorageBufferOffsetAlignment, VkDeviceSize(1)));
    max_dynamic_uniforms = limits.maxDescriptorSetUniformBuffersDynamic;
    max_dynamic_storages = limits.maxDescriptorSetStorageBuffersDynamic;
    video_memory = 0;
    const VkPhysicalDeviceMemoryProperties &memory = getMemoryProperties();
    for(uint32_t i = 0; i < memory.memoryHeapCount; i++) {
        if(memory.memoryHeaps[i].flags & VK_MEMORY_HEAP_DEVICE_LOCAL_BIT) video_memory += memory.memoryHeaps[i].size;
    }
}

void VKAdapter::release() {
    if(!isCreated()) return;
    for(uint32_t i = 0; i < getMemoryProperties().memoryTypeCount; i++) {
        small_memory[i].release(this, "small");
        large_memory[i].release(this, "large");
        pool_memory[i].release(this);
    }
    if(is_owner) vkDestroyDevice(device, nullptr);
    device = VK_NULL_HANDLE;
    is_created = false;
    queues.release();
}

void VKAdapter::releaseContext() {
    if(--num_contexts == 0 && isOutside()) release();
}

bool VKAdapter::checkExtension(const char *name) const { return VK::checkName(device_extensions, name); }

bool VKAdapter::checkFormatFeatures(VkFormat format, VkFormatFeatureFlags flags) const {
    VkFormatProperties properties = {};
    vkGetPhysicalDeviceFormatProperties(adapters[0], format, &properties);
    return properties.optimalTilingFeatures && (properties.optimalTilingFeatures & flags) == flags;
}

String VKAdapter::getName() const { return String(getProperties().deviceName); }

String VKAdapter::getDriverVersion() const { return getVersionName(getProperties().driverVersion); }

String VKAdapter::getVersionName(uint32_t version) {
    const uint32_t major = (version >> 22) & 0x7F;
    const uint32_t minor = (version >> 12) & 0x3FF;
    const uint32_t patch = version & 0xFFF;
    if(version > 0x1FFFFFFF) return String::format("%u.%u.%u.%u", version >> 29, major, minor, patch);
    if(major) return String::format("%u.%u.%u", major, minor, patch);
    if(minor) return String::format("%u.%u", minor, patch);
    if(patch) return String::format("%u", patch);
    return String();
}

uint32_t VKAdapter::getCooperativeMatrixProperties(VkCooperativeMatrixPropertiesKHR *properties, uint32_t num) const {
    if(!has_cooperative_matrix || vkGetPhysicalDeviceCooperativeMatrixPropertiesKHR == nullptr) return 0;
    for(uint32_t i = 0; i < num; i++) {
        properties[i] = {};
        properties[i].sType = VK_STRUCTURE_TYPE_COOPERATIVE_MATRIX_PROPERTIES_KHR;
    }
    uint32_t count = num;
    if(VK::error(vkGetPhysicalDeviceCooperativeMatrixPropertiesKHR(adapters[0], &count, num ? properties : nullptr)))
        return 0;
    return count;
}

SpinLock &VKAdapter::getQueueLock(uint32_t family, uint32_t index) {
    AtomicLock atomic(queue_lock);
    for(uint32_t i = 0; i < num_queue_locks; i++) {
        if(queue_locks[i].family == family && queue_locks[i].index == index) return queue_locks[i].lock;
    }
    // More queues than locks share the last one, which is slow and right.
    if(num_queue_locks == array_size(queue_locks)) return queue_locks[num_queue_locks - 1].lock;
    QueueLock &lock = queue_locks[num_queue_locks++];
    lock.family = family;
    lock.index = index;
    return lock.lock;
}

void VKAdapter::setObjectName(VkObjectType type, uint64_t handle, const char *name) const {
    if(!VK::hasDebugUtils() || vkSetDebugUtilsObjectNameEXT == nullptr || handle == 0) return;
    auto info = vk_record<VkDebugUtilsObjectNameInfoEXT>(VK_STRUCTURE_TYPE_DEBUG_UTILS_OBJECT_NAME_INFO_EXT);
    info.objectType = type;
    info.objectHandle = handle;
    info.pObjectName = name;
    VK::error(vkSetDebugUtilsObjectNameEXT(device, &info));
}

} // namespace Kolm
