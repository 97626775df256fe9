#include "VK.h"

#include <dlfcn.h>

#include "KolmLog.h"
#include "VKAdapter.h"

namespace Kolm {

#define VK_INSTANCE(NAME) PFN_##NAME NAME = nullptr;
#define VK_INSTANCE_OPTIONAL(NAME) VK_INSTANCE(NAME)
#include "VKFunctions.inc"

constinit Atomici32 VK::counter;
bool VK::validation = false;
void *VK::library = nullptr;
bool VK::owner = false;
VkInstance VK::instance = VK_NULL_HANDLE;
uint32_t VK::version = 0;
bool VK::debug_utils = false;
VkDebugUtilsMessengerEXT VK::messenger = VK_NULL_HANDLE;
PFN_vkGetInstanceProcAddr VK::get_proc_address = nullptr;
Array<VKAdapter *> VK::adapters;
String VK::layers;
String VK::extensions;
Array<String> VK::context_extensions;
Array<String> VK::adapter_extensions;
Array<void *> VK::adapter_features;
String VK::hidden_extensions;
VK::Layer VK::layer = nullptr;

namespace {

// Functions that exist before an instance does.
PFN_vkCreateInstance vkCreateInstance = nullptr;
PFN_vkEnumerateInstanceExtensionProperties vkEnumerateInstanceExtensionProperties = nullptr;
PFN_vkEnumerateInstanceLayerProperties vkEnumerateInstanceLayerProperties = nullptr;
PFN_vkEnumerateInstanceVersion vkEnumerateInstanceVersion = nullptr;

constexpr const char *validation_layer = "VK_LAYER_KHRONOS_validation";

// Wanted whenever present. The instance part of the extensions that became core in 1.1 is listed for 1.0 loaders.
constexpr const char *instance_extensions[] = {
    "KHR_surface",
    "KHR_xlib_surface",
    "KHR_get_physical_device_properties2",
    "KHR_device_group_creation",
    "KHR_external_fence_capabilities",
    "KHR_external_memory_capabilities",
    "KHR_external_semaphore_capabilities",
    "EXT_debug_utils",
};

// Application and engine version 1.0.1. It is not the version of Vulkan that is asked for.
constexpr uint32_t engine_version = VK_MAKE_API_VERSION(0, 1, 0, 1);
static_assert(engine_version == 4194305);

Atomici32 num_messages;

// What the loader and the layers report. Objects are named by the messages themselves.
VKAPI_ATTR VkBool32 VKAPI_CALL debug_callback(VkDebugUtilsMessageSeverityFlagBitsEXT severity,
                                              VkDebugUtilsMessageTypeFlagsEXT,
                                              const VkDebugUtilsMessengerCallbackDataEXT *data, void *) {
    num_messages++;
    const bool is_error = (severity & VK_DEBUG_UTILS_MESSAGE_SEVERITY_ERROR_BIT_EXT) != 0;
    Log::printf(is_error ? Log::Error : Log::Warning, "VK::debug(): %s\n", data->pMessage);
    return VK_FALSE;
}

VkDebugUtilsMessengerCreateInfoEXT get_messenger_info() {
    auto info = vk_record<VkDebugUtilsMessengerCreateInfoEXT>(VK_STRUCTURE_TYPE_DEBUG_UTILS_MESSENGER_CREATE_INFO_EXT);
    info.messageSeverity =
        VK_DEBUG_UTILS_MESSAGE_SEVERITY_WARNING_BIT_EXT | VK_DEBUG_UTILS_MESSAGE_SEVERITY_ERROR_BIT_EXT;
    info.messageType = VK_DEBUG_UTILS_MESSAGE_TYPE_GENERAL_BIT_EXT | VK_DEBUG_UTILS_MESSAGE_TYPE_VALIDATION_BIT_EXT |
                       VK_DEBUG_UTILS_MESSAGE_TYPE_PERFORMANCE_BIT_EXT;
    info.pfnUserCallback = debug_callback;
    return info;
}

} // namespace

void VK::retain() { counter++; }

void VK::release() {
    KOLM_ASSERT(counter > 0 && "VK::release(): reference counter is zero");
    if(--counter == 0 && (library || instance)) close();
}

uint32_t VK::getNumMessages() { return uint32_t(num_messages.load_relaxed()); }

bool VK::report_result(VkResult result) {
    switch(result) {
#define VK_RESULT(NAME)                                      \
    case NAME:                                               \
        Log::printf(Log::Error, "VK::error(): %s\n", #NAME); \
        break;
#include "VKResults.inc"
    default: Log::printf(Log::Error, "VK::error(): 0x%08x\n", uint32_t(result)); break;
    }
    return result < 0;
}

bool VK::open() {
    KOLM_ASSERT(!isOpened() && "VK::open(): is already opened");
    if(!load_library() || !load_names() || !create_instance()) {
        close();
        return false;
    }
    owner = true;
    return open(instance, get_proc_address);
}

bool VK::open(VkInstance inst, PFN_vkGetInstanceProcAddr func) {
    KOLM_ASSERT(inst && func && "VK::open(): instance is null");
    KOLM_ASSERT((owner || !isOpened()) && "VK::open(): is already opened");
    instance = inst;
    get_proc_address = func;
    if(version == 0) version = VK_API_VERSION_1_1;
    if(!load_functions(func)) {
        close();
        return false;
    }
    create_messenger();
    if(!create_adapters()) {
        close();
        return false;
    }
    return true;
}

void VK::close() {
    for(uint32_t i = 0; i < adapters.size(); i++) delete adapters[i];
    adapters.release();
    if(messenger) vkDestroyDebugUtilsMessengerEXT(instance, messenger, nullptr);
    if(instance && owner && vkDestroyInstance) vkDestroyInstance(instance, nullptr);
    if(library) dlclose(library);
    messenger = VK_NULL_HANDLE;
    instance = VK_NULL_HANDLE;
    library = nullptr;
    owner = false;
    version = 0;
    debug_utils = false;
    get_proc_address = nullptr;
    layers.release();
    extensions.release();
}

bool VK::load_library() {
    // Sanitizers refuse deep binding.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr int mode = RTLD_LAZY;
#else
    constexpr int mode = RTLD_LAZY | RTLD_DEEPBIND;
#endif
    const char *name = nullptr;
    for(const char *file : {"libvulkan.so", "libvulkan.so.1"}) {
        name = file;
        library = dlopen(name, mode);
        if(library) break;
    }
    if(library == nullptr) {
        Log::printf(Log::Error, "VK::open(): can't load \"%s\" library\n", name);
        return false;
    }
    const struct {
        const char *name;
        void **func;
    } functions[] = {
        {"vkCreateInstance", reinterpret_cast<void **>(&vkCreateInstance)},
        {"vkDestroyInstance", reinterpret_cast<void **>(&vkDestroyInstance)},
        {"vkEnumerateInstanceExtensionProperties", reinterpret_cast<void **>(&vkEnumerateInstanceExtensionProperties)},
        {"vkEnumerateInstanceLayerProperties", reinterpret_cast<void **>(&vkEnumerateInstanceLayerProperties)},
        {"vkGetInstanceProcAddr", reinterpret_cast<void **>(&get_proc_address)},
    };
    for(const auto &function : functions) {
        *function.func = dlsym(library, function.name);
        if(*function.func == nullptr) {
            Log::printf(Log::Error, "VK::open(): can't find \"%s\" function\n", function.name);
            return false;
        }
    }
    vkEnumerateInstanceVersion = reinterpret_cast<PFN_vkEnumerateInstanceVersion>(
        findFunction(VkInstance(VK_NULL_HANDLE), get_proc_address, "vkEnumerateInstanceVersion"));
    return true;
}

// Layers and extensions of the loader, each list as one string of names between blanks.
bool VK::load_names() {
    uint32_t num = 0;
    if(error(vkEnumerateInstanceLayerProperties(&num, nullptr))) {
        Log::printf(Log::Error, "VK::open(): can't get instance layers count\n");
        return false;
    }
    Array<VkLayerProperties> layer_properties(num);
    if(error(vkEnumerateInstanceLayerProperties(&num, layer_properties.get()))) {
        Log::printf(Log::Error, "VK::open(): can't get instance layers\n");
        return false;
    }
    layers = " ";
    for(uint32_t i = 0; i < num; i++) {
        const char *name = layer_properties[i].layerName;
        layers += (strncmp(name, "VK_LAYER_", 9) == 0) ? name + 9 : name;
        layers += " ";
    }

    num = 0;
    if(error(vkEnumerateInstanceExtensionProperties(nullptr, &num, nullptr))) {
        Log::printf(Log::Error, "VK::open(): can't get instance extensions count\n");
        return false;
    }
    Array<VkExtensionProperties> properties(num);
    if(error(vkEnumerateInstanceExtensionProperties(nullptr, &num, properties.get()))) {
        Log::printf(Log::Error, "VK::open(): can't get instance extensions\n");
        return false;
    }
    extensions = " ";
    for(uint32_t i = 0; i < num; i++) {
        const char *name = properties[i].extensionName;
        extensions += (strncmp(name, "VK_", 3) == 0) ? name + 3 : name;
        extensions += " ";
    }
    return true;
}

bool VK::create_instance() {
    // SPIR-V 1.3 and later needs a version above 1.0; what lies behind 1.3 isn't used.
    version = VK_API_VERSION_1_0;
    if(vkEnumerateInstanceVersion) vkEnumerateInstanceVersion(&version);
    version = min(version, uint32_t(VK_API_VERSION_1_3));

    Array<String> names;
    for(const char *name : instance_extensions) {
        if(checkExtension(name)) names.append(String("VK_") + name);
    }
    debug_utils = checkExtension("EXT_debug_utils");
    for(uint32_t i = 0; i < context_extensions.size(); i++) names.append(context_extensions[i]);

    const bool has_validation = validation && checkLayer("KHRONOS_validation") && debug_utils;
    if(validation && !has_validation) Log::printf(Log::Warning, "VK::open(): validation layer is not available\n");
    if(has_validation) names.append("VK_EXT_validation_features");

    Array<const char *> name_ptrs;
    for(uint32_t i = 0; i < names.size(); i++) name_ptrs.append(names[i].get());

    auto application = vk_record<VkApplicationInfo>(VK_STRUCTURE_TYPE_APPLICATION_INFO);
    application.pApplicationName = "KolmApp";
    application.applicationVersion = engine_version;
    application.pEngineName = "KolmEngine";
    application.engineVersion = engine_version;
    application.apiVersion = version;

    // The messenger in the chain covers the creation and the destruction of the instance.
    VkDebugUtilsMessengerCreateInfoEXT messenger_info = get_messenger_info();
    const VkValidationFeatureEnableEXT enables[] = {VK_VALIDATION_FEATURE_ENABLE_SYNCHRONIZATION_VALIDATION_EXT};
    auto validation_features =
        vk_record<VkValidationFeaturesEXT>(VK_STRUCTURE_TYPE_VALIDATION_FEATURES_EXT, &messenger_info);
    validation_features.enabledValidationFeatureCount = array_size(enables);
    validation_features.pEnabledValidationFeatures = enables;

    auto info = vk_record<VkInstanceCreateInfo>(VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO);
    info.pApplicationInfo = &application;
    info.enabledExtensionCount = name_ptrs.size();
    info.ppEnabledExtensionNames = name_ptrs.get();
    if(has_validation) {
        info.pNext = &validation_features;
        info.enabledLayerCount = 1;
        info.ppEnabledLayerNames = &validation_layer;
    }
    if(error(vkCreateInstance(&info, nullptr, &instance))) {
        Log::printf(Log::Error, "VK::open(): can't create Vulkan instance\n");
        instance = VK_NULL_HANDLE;
        return false;
    }
    return true;
}

bool VK::load_functions(PFN_vkGetInstanceProcAddr func) {
    const struct {
        const char *name;
        void **func;
        bool optional;
    } functions[] = {
#define VK_INSTANCE(NAME) {#NAME, reinterpret_cast<void **>(&NAME), false},
#define VK_INSTANCE_OPTIONAL(NAME) {#NAME, reinterpret_cast<void **>(&NAME), true},
#include "VKFunctions.inc"
    };
    for(const auto &function : functions) {
        const PFN_vkVoidFunction ptr = findFunction(instance, func, function.name, version < VK_API_VERSION_1_1);
        *function.func = reinterpret_cast<void *>(ptr);
        if(ptr == nullptr && !function.optional) {
            Log::printf(Log::Error, "VK::open(): can't find \"%s\" function\n", function.name);
            return false;
        }
    }
    return true;
}

void VK::create_messenger() {
    if(!validation || !debug_utils || vkCreateDebugUtilsMessengerEXT == nullptr) return;
    const VkDebugUtilsMessengerCreateInfoEXT info = get_messenger_info();
    if(error(vkCreateDebugUtilsMessengerEXT(instance, &info, nullptr, &messenger))) messenger = VK_NULL_HANDLE;
}

bool VK::create_adapters() {
    if(vkEnumeratePhysicalDeviceGroups && version >= VK_API_VERSION_1_1) {
        uint32_t num = 0;
        if(error(vkEnumeratePhysicalDeviceGroups(instance, &num, nullptr))) {
            Log::printf(Log::Error, "VK::open(): can't get physical device groups count\n");
            return false;
        }
        auto empty = vk_record<VkPhysicalDeviceGroupProperties>(VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_GROUP_PROPERTIES);
        Array<VkPhysicalDeviceGroupProperties> groups(num, empty);
        if(error(vkEnumeratePhysicalDeviceGroups(instance, &num, groups.get()))) {
            Log::printf(Log::Error, "VK::open(): can't get physical device groups\n");
            return false;
        }
        for(uint32_t i = 0; i < min(num, MaxAdapters); i++)
            addAdapter(new VKAdapter(groups[i].physicalDevices, groups[i].physicalDeviceCount));
    } else {
        uint32_t num = 0;
        if(error(vkEnumeratePhysicalDevices(instance, &num, nullptr))) {
            Log::printf(Log::Error, "VK::open(): can't get physical devices count\n");
            return false;
        }
        Array<VkPhysicalDevice> devices(num);
        if(error(vkEnumeratePhysicalDevices(instance, &num, devices.get()))) {
            Log::printf(Log::Error, "VK::open(): can't get physical devices\n");
            return false;
        }
        for(uint32_t i = 0; i < min(num, MaxAdapters); i++) addAdapter(new VKAdapter(&devices[i], 1));
    }
    if(adapters.empty()) {
        Log::printf(Log::Error, "VK::open(): no Vulkan devices are available\n");
        return false;
    }
    return true;
}

VKAdapter *VK::getAdapter(uint32_t index) {
    KOLM_ASSERT(isOpened() && "VK::getAdapter(): is not opened");
    if(index == DefaultIndex) {
        uint32_t vendors[MaxAdapters] = {};
        for(uint32_t i = 0; i < adapters.size(); i++) vendors[i] = adapters[i]->getProperties().vendorID;
        index = selectAdapter(vendors, adapters.size());
    }
    VKAdapter *adapter = nullptr;
    if(index < adapters.size()) {
        adapter = adapters[index];
    } else {
        for(uint32_t i = 0; i < adapters.size() && adapter == nullptr; i++) {
            const VkPhysicalDevicePCIBusInfoPropertiesEXT &info = adapters[i]->getPCIBusInfoProperties();
            if(adapters[i]->has_pci_bus_info_ext && info.pciBus == index) adapter = adapters[i];
        }
        if(adapter == nullptr) {
            Log::printf(Log::Error, "VK::getAdapter(): invalid adapter index %u\n", index);
            return nullptr;
        }
    }
    if(adapter->isLost()) {
        Log::printf(Log::Error, "VK::getAdapter(): %u adapter is lost\n", adapter->getIndex());
        return nullptr;
    }
    if(!adapter->isCreated() && !adapter->create()) {
        Log::printf(Log::Error, "VK::getAdapter(): can't create %u adapter\n", adapter->getIndex());
        return nullptr;
    }
    return adapter;
}

uint32_t VK::addAdapter(VKAdapter *adapter) {
    KOLM_ASSERT(adapter && "VK::addAdapter(): adapter is null");
    // The place of an outside device that was let go is free.
    for(uint32_t i = 0; i < adapters.size(); i++) {
        if(!adapters[i]->isOutside() || adapters[i]->isCreated()) continue;
        delete adapters[i];
        adapters[i] = adapter;
        adapter->adapter_index = i;
        return i;
    }
    if(adapters.size() >= MaxAdapters) return ~0u;
    adapter->adapter_index = adapters.size();
    adapters.append(adapter);
    return adapter->adapter_index;
}

uint32_t VK::selectAdapter(const uint32_t *vendors, uint32_t num) {
    for(uint32_t vendor : {0x10DEu, 0x1002u}) {
        for(uint32_t i = 0; i < num; i++) {
            if(vendors[i] == vendor) return i;
        }
    }
    return 0;
}

bool VK::checkName(const String &list, const char *name) {
    const StringStack<256> word = StringStack<256>(" ") + name + " ";
    return strstr(list.get(), word.get()) != nullptr;
}
bool VK::checkLayer(const char *name) { return checkName(layers, name); }
bool VK::checkExtension(const char *name) { return checkName(extensions, name); }

void VK::addContextExtension(const char *name) { context_extensions.append(String(name)); }
void VK::addAdapterExtension(const char *name) { adapter_extensions.append(String(name)); }
void VK::hideAdapterExtension(const char *name) {
    if(name == nullptr) {
        hidden_extensions.release();
        return;
    }
    hidden_extensions += " ";
    hidden_extensions += name;
    hidden_extensions += " ";
}
void VK::addAdapterFeatures(void *features) { adapter_features.append(features); }

PFN_vkVoidFunction VK::getProcAddress(const char *name) {
    return get_proc_address ? get_proc_address(instance, name) : nullptr;
}

} // namespace Kolm
