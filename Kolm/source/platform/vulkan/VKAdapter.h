// VKAdapter.h: one physical device and its logical device: what it can do, its queues, its memory and the functions
// that are called through it. Rests on VK. Hides how extensions and features are found and how memory is divided.

#pragma once

#include "KolmHeapPool.h"
#include "KolmMap.h"

#include "VK.h"

namespace Kolm {

/// Contexts on several threads may share an adapter: memory and queues are locked, everything else is read-only after
/// create().
class VKAdapter : public Allocated, private NoCopy {
public:
    static constexpr uint32_t MaxDevices = 8;
    static constexpr uint32_t SmallSize = 1u << 16;      // largest piece of a small heap, bytes
    static constexpr uint32_t LargeSize = 1u << 24;      // largest piece of a large heap, bytes
    static constexpr uint32_t SmallHeapSize = 16u << 20; // bytes of one small heap
    static constexpr uint32_t LargeHeapSize = 128u << 20;
    static constexpr uint32_t NotFound = ~0u;

    /// Everything that the driver tells about a device. Records whose condition does not hold stay zero.
    struct Properties {
        VkPhysicalDeviceProperties properties;
        VkPhysicalDeviceFeatures features;
        VkPhysicalDeviceMemoryProperties memory;
#define VK_FEATURES(NAME, RECORD, TYPE, CONDITION) RECORD member##NAME;
#define VK_PROPERTIES(NAME, RECORD, TYPE, CONDITION) RECORD member##NAME;
#include "VKFeatures.inc"
    };

    /// One created queue.
    struct Queue {
        VkQueueFlags flags = 0;
        uint32_t family = 0;
        uint32_t timestamp_bits = 0; // that count, 0 without timestamps
    };

    /// Which families and queues serve graphics, compute and copies. ~0 where there is none.
    struct QueueChoice {
        uint32_t graphics_family = NotFound;
        uint32_t graphics_index = NotFound;
        uint32_t compute_family = NotFound;
        uint32_t compute_index = NotFound;
        uint32_t copy_family = NotFound;
        uint32_t copy_index = NotFound;
    };

    VKAdapter(const VkPhysicalDevice *devices, uint32_t num);
    ~VKAdapter();

    /// Creates the logical device. Expects an adapter that isn't created. False and one line on failure.
    bool create();
    /// Takes a device that the caller made and destroys. Unset queues become \p family and \p index.
    bool create(VkDevice device, uint32_t family, uint32_t index);
    /// Reports leaked memory and destroys the device, which is idle.
    void release();
    bool isCreated() const { return is_created; }
    /// Whether the device is the caller's.
    bool isOutside() const { return !is_owner; }

    /// Counts contexts. A caller's device is let go with the last of them: it may be destroyed from then on.
    void retainContext() { num_contexts++; }
    void releaseContext();

    uint32_t getIndex() const { return adapter_index; }
    VkPhysicalDevice getAdapter() const { return adapters[0]; }
    VkDevice getDevice() const { return device; }
    /// Vulkan version that both the instance and the device know.
    uint32_t getVersion() const { return api_version; }
    String getName() const;
    /// Driver version in the packing of the first vendor; an empty string for 0.
    String getDriverVersion() const;
    static String getVersionName(uint32_t driver_version);

    /// VK::error() for submissions and waits: remembers that the device was lost, and tells so once.
    bool error(VkResult result) {
        if(KOLM_UNLIKELY(result == VK_ERROR_DEVICE_LOST) && is_lost++) return true;
        return VK::error(result);
    }
    /// What was recorded can't be run any more, and what it would have done is unknown.
    void setLost() { is_lost++; }
    bool isLost() const { return is_lost.load_relaxed() != 0; }

    /// Grows whenever an object of this device goes away, or another context uses it, or the application: handles
    /// and accesses that were looked at before may be others now. Any thread.
    uint32_t getChanges() const { return uint32_t(num_changes.load_relaxed()); }
    void setChanged() { num_changes++; }

    /// Extension name without "VK_".
    bool checkExtension(const char *name) const;
    /// Whether \p format has all \p flags with optimal tiling.
    bool checkFormatFeatures(VkFormat format, VkFormatFeatureFlags flags) const;

    const VkPhysicalDeviceProperties &getProperties() const { return adapter_properties->properties; }
    const VkPhysicalDeviceLimits &getLimits() const { return adapter_properties->properties.limits; }
    const VkPhysicalDeviceFeatures &getFeatures() const { return adapter_properties->features; }
    const VkPhysicalDeviceMemoryProperties &getMemoryProperties() const { return adapter_properties->memory; }
#define VK_FEATURES(NAME, RECORD, TYPE, CONDITION) \
    const RECORD &get##NAME() const { return adapter_properties->member##NAME; }
#define VK_PROPERTIES(NAME, RECORD, TYPE, CONDITION) VK_FEATURES(NAME, RECORD, TYPE, CONDITION)
#include "VKFeatures.inc"
    /// Fills \p properties, whose size is \p num on entry; returns the number there is.
    uint32_t getCooperativeMatrixProperties(VkCooperativeMatrixPropertiesKHR *properties, uint32_t num) const;

    /// Whether any memory type has all \p flags.
    bool hasMemoryType(VkMemoryPropertyFlags flags) const;
    /// Lowest type of \p type_bits that has all \p flags and is not \p exclude, ~0 and one line if there is none.
    uint32_t getMemoryIndex(uint32_t type_bits, VkMemoryPropertyFlags flags, uint32_t exclude = NotFound) const;
    /// The same without the line. \p avoid are flags that a type should not have: a preference, not a condition.
    uint32_t findMemoryIndex(uint32_t type_bits, VkMemoryPropertyFlags flags, VkMemoryPropertyFlags avoid = 0) const;
    static uint32_t findMemoryIndex(const VkPhysicalDeviceMemoryProperties &memory, uint32_t type_bits,
                                    VkMemoryPropertyFlags flags, VkMemoryPropertyFlags avoid);
    VkMemoryPropertyFlags getMemoryFlags(uint32_t type) const;

    /// Memory for \p requirements with all \p flags; host-visible memory is mapped for as long as it lives. Device-local
    /// requests that fail fall back to the host's memory with a warning. An empty result after one line on failure.
    /// \p host_ptr is imported: page-aligned memory of the caller, who keeps it. \p next extends the allocation.
    VK::MemoryPtr allocateMemory(const VkMemoryRequirements &requirements, VkMemoryPropertyFlags flags,
                                 void *host_ptr = nullptr, const void *next = nullptr);
    /// Gives a piece back and empties \p memory. An empty piece is fine.
    bool freeMemory(VK::MemoryPtr &memory);
    /// Makes the host's writes to a mapped range visible to the device, and the device's to the host. They do nothing
    /// for coherent memory. \p offset and \p size are bytes within the piece.
    bool flushMemory(const VK::MemoryPtr &memory, uint64_t offset, uint64_t size) const;
    bool invalidateMemory(const VK::MemoryPtr &memory, uint64_t offset, uint64_t size) const;
    /// Widens a range of a memory object to whole atoms, which end at \p limit at the latest.
    static void alignRange(uint64_t &offset, uint64_t &size, uint64_t atom, uint64_t limit);

    /// Number of vkAllocateMemory() results that live now, and since creation.
    uint32_t getNumAllocations() const { return uint32_t(num_allocations.load_relaxed()); }
    uint32_t getTotalAllocations() const { return uint32_t(total_allocations.load_relaxed()); }
    /// Allocations above \p size bytes each fail as if the device had no memory left. ~0 for no limit.
    void setMemoryLimit(uint64_t size) { memory_limit = size; }
    /// vkAllocateMemory() and vkFreeMemory() with the counters; device addresses are enabled where the device has them.
    VkResult allocateDeviceMemory(uint32_t type, uint64_t size, const void *next, VkDeviceMemory &memory);
    void freeDeviceMemory(VkDeviceMemory memory);

    /// Choice of queues over families in the order of the driver.
    static QueueChoice selectQueues(const VkQueueFamilyProperties *families, uint32_t num);
    /// One queue can serve several contexts: whoever submits, binds or waits on it holds its lock.
    SpinLock &getQueueLock(uint32_t family, uint32_t index);

    /// Names a Vulkan object in the messages of layers and tools. Does nothing without debug utils.
    void setObjectName(VkObjectType type, uint64_t handle, const char *name) const;

#define VK_DEVICE(NAME) PFN_##NAME NAME = nullptr;
#define VK_DEVICE_OPTIONAL(NAME) VK_DEVICE(NAME)
#include "VKFunctions.inc"

    volatile bool has_device_features = false; // the record of Device::Features is this adapter's
    bool has_physical_device_properties2 = false;
#define VK_EXTENSION(NAME, FLAG, CORE) bool FLAG = false;
#include "VKExtensions.inc"

    // Limits that are read on hot paths. Alignments are in bytes.
    uint32_t max_texture_samples = 1;
    uint32_t texel_alignment = 1;
    uint32_t uniform_alignment = 1;
    uint32_t storage_alignment = 1;
    uint32_t max_dynamic_uniforms = 0;
    uint32_t max_dynamic_storages = 0;

    uint32_t graphics_family = NotFound;
    uint32_t graphics_index = NotFound;
    uint32_t compute_family = NotFound;
    uint32_t compute_index = NotFound;
    uint32_t copy_family = NotFound;
    uint32_t copy_index = NotFound;
    Array<Queue> queues;

    uint64_t video_memory = 0; // bytes of device-local heaps

private:
    friend class VK;

    /// Divided memory of one type: heaps of one size, each with its own allocator of offsets.
    struct HeapMemory {
        struct Heap : public Allocated {
            VkDeviceMemory memory = VK_NULL_HANDLE;
            uint8_t *data = nullptr;
            uint32_t failed_size = ~0u; // the least size that was refused since the last free
            HeapPool<8> heap_pool;

            bool create(VKAdapter *adapter, uint32_t type, uint32_t heap_size);
            void release(VKAdapter *adapter);
            bool allocate(VK::MemoryPtr &memory, uint32_t alignment, uint32_t size);
        };

        SpinLock lock;
        uint32_t heap_size = 0;
        uint32_t memory_type = 0;
        Map<VkDeviceMemory, Heap *> heaps;
        Heap *allocation_heap = nullptr; // served last; never freed for being empty

        VK::MemoryPtr allocate(VKAdapter *adapter, uint64_t alignment, uint64_t size);
        bool free(VKAdapter *adapter, const VK::MemoryPtr &memory);
        void release(VKAdapter *adapter, const char *name);
    };

    /// Memory objects of their own.
    struct PoolMemory {
        SpinLock lock;
        uint32_t memory_type = 0;
        Map<VkDeviceMemory, uint64_t> sizes;

        VK::MemoryPtr allocate(VKAdapter *adapter, uint64_t size, void *host_ptr, const void *next);
        bool free(VKAdapter *adapter, const VK::MemoryPtr &memory);
        void release(VKAdapter *adapter);
    };

    struct QueueLock {
        uint32_t family = 0;
        uint32_t index = 0;
        SpinLock lock;
    };

    bool load_extensions();
    void load_properties();
    void check_host_copies();
    void load_queues();
    void disable_features(VkPhysicalDeviceFeatures &features);
    void load_limits();
    void load_flags(uint32_t core_version);
    void check_flags();
    void check_dependencies();
    void create_memory();
    bool load_functions();
    void *chain_features();
    /// Maps a new host-visible object; frees it and empties \p memory on failure.
    bool map_memory(uint32_t type, VkDeviceMemory &memory, uint8_t *&data);
    VK::MemoryPtr allocate_memory(uint32_t type, const VkMemoryRequirements &requirements, VkMemoryPropertyFlags flags,
                                  void *host_ptr, const void *next);

    bool is_created = false;
    Atomici32 is_lost;    // by any thread that submits or waits
    bool is_owner = true; // the device is destroyed with the adapter
    uint32_t adapter_count = 0;
    uint32_t adapter_index = 0;
    uint32_t api_version = 0;
    VkPhysicalDevice adapters[MaxDevices] = {};
    Properties *adapter_properties = nullptr;
    VkDevice device = VK_NULL_HANDLE;
    String device_extensions; // names between blanks, without "VK_"

    SpinLock queue_lock; // guards the list of locks
    QueueLock queue_locks[16];
    uint32_t num_queue_locks = 0;

    Atomici32 num_contexts;
    Atomici32 num_changes;
    uint64_t memory_limit = ~0ull; // bytes of one allocation
    Atomici32 num_allocations;
    Atomici32 total_allocations;
    HeapMemory small_memory[VK_MAX_MEMORY_TYPES];
    HeapMemory large_memory[VK_MAX_MEMORY_TYPES];
    PoolMemory pool_memory[VK_MAX_MEMORY_TYPES];
};

} // namespace Kolm
