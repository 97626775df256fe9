// VK.h: the process-wide side of Vulkan: the loaded library, the instance, the adapters and the one gate for results.
// Rests on core only. Hides how the library is found and how entry points are looked up.

#pragma once

#include "KolmArray.h"
#include "KolmString.h"

#include "VKHeaders.h"

namespace Kolm {

class VKAdapter;

// Functions that are called through the instance: rare ones, the same pointers for every device.
#define VK_INSTANCE(NAME) extern PFN_##NAME NAME;
#define VK_INSTANCE_OPTIONAL(NAME) VK_INSTANCE(NAME)
#include "VKFunctions.inc"

/// Static state of the Vulkan backend. It lives by reference count: every context retains it, and the last release
/// closes it. Not locked: open, close and the adapter list belong to the thread that creates and destroys contexts.
class VK {
public:
    static constexpr uint32_t MaxAdapters = 8;
    static constexpr uint32_t DefaultIndex = ~0u;

    /// A piece of device memory. \p size is the key by which VKAdapter::freeMemory() finds the heap: nobody changes it.
    struct MemoryPtr {
        VkDeviceMemory memory = VK_NULL_HANDLE;
        uint64_t offset = 0;
        uint64_t size = 0;
        uint32_t type = 0;       // memory type
        uint32_t index = 0;      // adapter index
        bool pool = false;       // an allocation of its own
        uint8_t *data = nullptr; // host address of the piece while it is allocated, null if the host can't see it

        explicit operator bool() const { return memory != VK_NULL_HANDLE; }
    };

    static void retain();
    /// Expects a matching retain(). The last one closes Vulkan.
    static void release();

    /// Loads the library, creates an instance and lists the adapters. False and one line if anything is missing.
    static bool open();
    /// The same over a caller's instance, which is not destroyed by close().
    static bool open(VkInstance instance, PFN_vkGetInstanceProcAddr func);
    static void close();
    static bool isOpened() { return instance != VK_NULL_HANDLE; }

    /// Asks for the validation layer with synchronisation checks. Takes effect at the next open(). Every message of the
    /// layer goes to Log. Without the layer on the machine open() warns and goes on.
    static void setValidation(bool enabled) { validation = enabled; }
    static bool getValidation() { return validation; }
    /// Warnings and errors of the validation layer since the start of the process.
    static uint32_t getNumMessages();

    /// Logs a result that is not success. True if it is an error (below zero).
    static bool error(VkResult result) { return KOLM_UNLIKELY(result != VK_SUCCESS) && report_result(result); }

    /// Adapter by index, by PCI bus number for an index past the last, or the default one for ~0. Creates it on first
    /// use. Null and one line on failure.
    static VKAdapter *getAdapter(uint32_t index);
    static uint32_t getNumAdapters() { return adapters.size(); }
    /// Takes the adapter of an outside device into the list, which owns it from then on. Returns its index, ~0 if the
    /// list is full.
    static uint32_t addAdapter(VKAdapter *adapter);
    /// Position of the default adapter: the first of Nvidia, else the first of AMD, else 0.
    static uint32_t selectAdapter(const uint32_t *vendors, uint32_t num);

    /// Names without "VK_LAYER_" and "VK_".
    static bool checkLayer(const char *name);
    static bool checkExtension(const char *name);
    /// Whether a list of blank separated names holds \p name.
    static bool checkName(const String &list, const char *name);

    /// Full names to be enabled at the next open() and at the creation of adapters after the call.
    static void addContextExtension(const char *name);
    static void addAdapterExtension(const char *name);
    /// From the next open() on it is as if no device had the extension, whose name is without "VK_". For drivers whose
    /// extension does harm, and for tests. Null shows all again.
    static void hideAdapterExtension(const char *name);
    static bool isHiddenExtension(const char *name) { return checkName(hidden_extensions, name); }
    /// A feature record, chained into every device creation after the call. The caller keeps it alive.
    static void addAdapterFeatures(void *features);

    static VkInstance getInstance() { return instance; }
    /// Version that the instance was created with.
    static uint32_t getVersion() { return version; }
    static bool hasDebugUtils() { return debug_utils; }
    static PFN_vkVoidFunction getProcAddress(const char *name);

    /// Stands between the library and the driver: takes the name of a function and what was found for it, which may be
    /// null, and returns what is called instead.
    using Layer = PFN_vkVoidFunction (*)(const char *name, PFN_vkVoidFunction func);
    /// Takes effect at the next open(). For tests and tools; null for none.
    static void setLayer(Layer new_layer) { layer = new_layer; }

    /// Looks \p name up as it is, then with the suffixes of extensions. With \p is_old the name without suffix comes
    /// last: loaders and layers give pointers for core functions of later versions too, behind which there is nothing.
    template<class Handle, class Func>
    static PFN_vkVoidFunction findFunction(Handle handle, Func func, const char *name, bool is_old = false) {
        static constexpr const char *suffixes[] = {"", "KHR", "EXT", "AMD", "NV"};
        PFN_vkVoidFunction ptr = nullptr;
        for(uint32_t i = 0; i < 5 && ptr == nullptr; i++) {
            const StringStack<128> full_name = StringStack<128>(name) + suffixes[(i + (is_old ? 1 : 0)) % 5];
            ptr = func(handle, full_name.get());
        }
        return layer ? layer(name, ptr) : ptr;
    }

private:
    friend class VKAdapter;

    static bool load_library();
    static bool load_names();
    static bool create_instance();
    static bool load_functions(PFN_vkGetInstanceProcAddr func);
    static bool create_adapters();
    static void create_messenger();
    static bool report_result(VkResult result);

    static Atomici32 counter;
    static bool validation;
    static void *library;
    static bool owner; // the instance is ours
    static VkInstance instance;
    static uint32_t version;
    static bool debug_utils;
    static VkDebugUtilsMessengerEXT messenger;
    static PFN_vkGetInstanceProcAddr get_proc_address;
    static Array<VKAdapter *> adapters;
    static String layers;
    static String extensions;
    static Array<String> context_extensions;
    static Array<String> adapter_extensions;
    static Array<void *> adapter_features;
    static String hidden_extensions; // names between blanks
    static Layer layer;
};

} // namespace Kolm
