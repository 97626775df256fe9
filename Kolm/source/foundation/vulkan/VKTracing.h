// VKTracing.h: acceleration structures. Rests on VKBuffer, which gives memory, addresses and the last access.
// Hides the records of geometry, the order of builds, and where a compacted structure lies.

#pragma once

#include "KolmTracing.h"

#include "VKContext.h"

namespace Kolm {

class VKBuffer;

class VKTracing : public Tracing {
public:
    VKTracing(VKContext *context, const Tracing *tracing);
    ~VKTracing() override;

    Platform getPlatform() const override { return PlatformVK; }

    void clear() override;
    bool isCreated() const override { return tracing != VK_NULL_HANDLE; }
    void setName(const char *name) override;
    bool create(Flags flags = DefaultFlags) override;
    /// Gives the memory back; the description stays.
    void release();

    // Recorded on \p context, which is the device's or a sub-device's. Each logs why and returns false.
    bool set(VKContext *context, const Instance *instances, uint32_t num);
    /// Structure i has its scratch memory at offsets[i]. Bottom structures come first whatever their order.
    static bool build(VKContext *context, VKTracing **tracings, uint32_t num, VKBuffer *scratch, const size_t *offsets,
                      Flags flags);
    /// Writes the compacted size, 8 bytes.
    bool copySize(VKContext *context, VKBuffer *buffer, size_t offset);
    /// Submits and waits.
    bool compact(VKContext *context);

    /// Changes when the structure is compacted, or built again after that.
    VkAccelerationStructureKHR getTracing() const { return tracing; }
    VkDeviceAddress getDeviceAddress() const { return tracing_address; }
    VKBuffer *getTracingBuffer() const { return tracing_buffer; }

    /// Records a barrier from the last build, if there is one, to reads in \p stages: 0 for all that can.
    void setRead(VKContext *context, VKContext::Barriers &barriers, VkPipelineStageFlags stages = 0);

private:
    void get_geometries(VkAccelerationStructureGeometryKHR *records, VkAccelerationStructureBuildRangeInfoKHR *ranges,
                        bool has_transforms) const;
    uint32_t get_num_records() const { return geometries.size() + bounds.size() + (num_instances ? 1 : 0); }
    VkAccelerationStructureBuildGeometryInfoKHR get_build_info(const VkAccelerationStructureGeometryKHR *records) const;
    bool check_limits() const;
    bool create_memory(size_t size);
    void release_memory();
    void set_access(VKContext *context, VKContext::Barriers &barriers);
    static void build_tracings(VKContext *context, VKTracing **tracings, uint32_t num, const VkDeviceAddress *scratch,
                               Flags flags);
    bool write_size(VKContext *context, VKContext::QueryResult &result);

    VKAdapter *adapter = nullptr;
    VKContext *context = nullptr;
    VKBuffer *tracing_buffer = nullptr; // memory of the structure, and its last access
    VkAccelerationStructureKHR tracing = VK_NULL_HANDLE;
    VkDeviceAddress tracing_address = 0;
    size_t full_size = 0;    // bytes that a build needs; tracing_size may be less after compact()
    bool is_compact = false; // since the last whole build
};

} // namespace Kolm
