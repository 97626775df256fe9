#include "VKTracing.h"

#include "KolmLog.h"
#include "VKBuffer.h"

namespace Kolm {

static_assert(sizeof(VkAccelerationStructureInstanceKHR) == Tracing::InstanceSize);
static_assert(sizeof(VkTransformMatrixKHR) == sizeof(Tracing::Instance::transform));

namespace {

constexpr VkPipelineStageFlags build_stage = VK_PIPELINE_STAGE_ACCELERATION_STRUCTURE_BUILD_BIT_KHR;
constexpr VkAccessFlags read_access = VK_ACCESS_ACCELERATION_STRUCTURE_READ_BIT_KHR;
constexpr VkAccessFlags write_access = VK_ACCESS_ACCELERATION_STRUCTURE_WRITE_BIT_KHR;
// Builds read their input as shaders do. The second bit tells this use from that of shaders, whose stages are others.
constexpr VkAccessFlags input_access = VK_ACCESS_SHADER_READ_BIT | read_access;

// The fourth component of a position is left out.
VkFormat get_vertex_format(Format format) {
    switch(format) {
    case FormatRGBf32:
    case FormatRGBAf32: return VK_FORMAT_R32G32B32_SFLOAT;
    case FormatRGf32: return VK_FORMAT_R32G32_SFLOAT;
    case FormatRGBAf16: return VK_FORMAT_R16G16B16A16_SFLOAT;
    case FormatRGf16: return VK_FORMAT_R16G16_SFLOAT;
    default: return VK_FORMAT_UNDEFINED;
    }
}

VkDeviceAddress get_address(const Buffer *buffer, size_t offset) {
    const VKBuffer *vk_buffer = static_cast<const VKBuffer *>(buffer);
    return vk_buffer ? vk_buffer->getDeviceAddress() + offset : 0;
}

VkGeometryInstanceFlagsKHR get_instance_flags(uint32_t flags) {
    static constexpr struct {
        Tracing::InstanceFlags flag;
        VkGeometryInstanceFlagBitsKHR instance_flag;
    } rows[] = {
        {Tracing::InstanceTwoSided, VK_GEOMETRY_INSTANCE_TRIANGLE_FACING_CULL_DISABLE_BIT_KHR},
        {Tracing::InstanceFlip, VK_GEOMETRY_INSTANCE_TRIANGLE_FLIP_FACING_BIT_KHR},
        {Tracing::InstanceOpaque, VK_GEOMETRY_INSTANCE_FORCE_OPAQUE_BIT_KHR},
        {Tracing::InstanceTransparent, VK_GEOMETRY_INSTANCE_FORCE_NO_OPAQUE_BIT_KHR},
    };
    VkGeometryInstanceFlagsKHR instance_flags = 0;
    for(const auto &row : rows) {
        if(flags & row.flag) instance_flags |= row.instance_flag;
    }
    return instance_flags;
}

VkBuildAccelerationStructureFlagsKHR get_build_flags(Tracing::Flags flags) {
    static constexpr struct {
        Tracing::Flags flag;
        VkBuildAccelerationStructureFlagBitsKHR build_flag;
    } rows[] = {
        {Tracing::FlagCompact, VK_BUILD_ACCELERATION_STRUCTURE_ALLOW_COMPACTION_BIT_KHR},
        {Tracing::FlagUpdate, VK_BUILD_ACCELERATION_STRUCTURE_ALLOW_UPDATE_BIT_KHR},
        {Tracing::FlagFastTrace, VK_BUILD_ACCELERATION_STRUCTURE_PREFER_FAST_TRACE_BIT_KHR},
        {Tracing::FlagFastBuild, VK_BUILD_ACCELERATION_STRUCTURE_PREFER_FAST_BUILD_BIT_KHR},
        {Tracing::FlagLowMemory, VK_BUILD_ACCELERATION_STRUCTURE_LOW_MEMORY_BIT_KHR},
    };
    VkBuildAccelerationStructureFlagsKHR build_flags = 0;
    for(const auto &row : rows) {
        if(flags & row.flag) build_flags |= row.build_flag;
    }
    return build_flags;
}

} // namespace

VKTracing::VKTracing(VKContext *context, const Tracing *src)
    : Tracing(context->getAdapter()->getIndex(), src), adapter(context->getAdapter()), context(context->retain()) {}

VKTracing::~VKTracing() {
    release_memory();
    VKContext::release(context);
}

void VKTracing::clear() {
    release();
    Tracing::clear();
}

void VKTracing::release() {
    release_memory();
    tracing_size = build_size = update_size = full_size = 0;
    is_compact = false;
}

void VKTracing::release_memory() {
    context->releaseAccelerationStructure(tracing);
    tracing = VK_NULL_HANDLE;
    tracing_address = 0;
    delete tracing_buffer;
    tracing_buffer = nullptr;
}

void VKTracing::setName(const char *name) {
    Tracing::setName(name);
    adapter->setObjectName(VK_OBJECT_TYPE_ACCELERATION_STRUCTURE_KHR, reinterpret_cast<uint64_t>(tracing),
                           tracing_name.get());
}

// description

// Records of all geometry, in the order of their indices in shaders. A size depends on whether there are transforms,
// not on their addresses.
void VKTracing::get_geometries(VkAccelerationStructureGeometryKHR *records,
                               VkAccelerationStructureBuildRangeInfoKHR *ranges, bool has_transforms) const {
    VkGeometryFlagsKHR flags = 0;
    if(hasFlag(FlagOpaque)) flags |= VK_GEOMETRY_OPAQUE_BIT_KHR;
    if(hasFlag(FlagSingleHit)) flags |= VK_GEOMETRY_NO_DUPLICATE_ANY_HIT_INVOCATION_BIT_KHR;
    uint32_t num = 0;
    const auto append = [&](VkGeometryTypeKHR type, uint32_t count) -> VkAccelerationStructureGeometryDataKHR & {
        VkAccelerationStructureGeometryKHR &record = records[num];
        record = vk_record<VkAccelerationStructureGeometryKHR>(VK_STRUCTURE_TYPE_ACCELERATION_STRUCTURE_GEOMETRY_KHR);
        record.geometryType = type;
        record.flags = flags;
        ranges[num] = {};
        ranges[num].primitiveCount = count;
        num++;
        return record.geometry;
    };
    for(const Geometry &geometry : geometries) {
        const uint32_t count = (geometry.num_indices ? geometry.num_indices : geometry.num_vertices) / 3;
        auto &data = append(VK_GEOMETRY_TYPE_TRIANGLES_KHR, count).triangles;
        data = vk_record<VkAccelerationStructureGeometryTrianglesDataKHR>(
            VK_STRUCTURE_TYPE_ACCELERATION_STRUCTURE_GEOMETRY_TRIANGLES_DATA_KHR);
        data.vertexFormat = get_vertex_format(geometry.vertex_format);
        data.vertexData.deviceAddress = get_address(geometry.vertex_buffer, geometry.vertex_offset);
        data.vertexStride = geometry.vertex_stride;
        data.maxVertex = geometry.num_vertices - 1;
        data.indexType = VK_INDEX_TYPE_NONE_KHR;
        if(geometry.num_indices) {
            data.indexType = (geometry.index_format == FormatRu16) ? VK_INDEX_TYPE_UINT16 : VK_INDEX_TYPE_UINT32;
            data.indexData.deviceAddress = get_address(geometry.index_buffer, geometry.index_offset);
        }
        data.transformData.deviceAddress =
            has_transforms ? 16 : get_address(geometry.transform_buffer, geometry.transform_offset);
    }
    for(const Bounds &bound : bounds) {
        auto &data = append(VK_GEOMETRY_TYPE_AABBS_KHR, bound.num_bounds).aabbs;
        data = vk_record<VkAccelerationStructureGeometryAabbsDataKHR>(
            VK_STRUCTURE_TYPE_ACCELERATION_STRUCTURE_GEOMETRY_AABBS_DATA_KHR);
        data.data.deviceAddress = get_address(bound.buffer, bound.offset);
        data.stride = bound.stride;
    }
    if(num_instances) {
        auto &data = append(VK_GEOMETRY_TYPE_INSTANCES_KHR, num_instances).instances;
        data = vk_record<VkAccelerationStructureGeometryInstancesDataKHR>(
            VK_STRUCTURE_TYPE_ACCELERATION_STRUCTURE_GEOMETRY_INSTANCES_DATA_KHR);
        data.data.deviceAddress = get_address(instance_buffer, instance_offset);
    }
}

VkAccelerationStructureBuildGeometryInfoKHR
VKTracing::get_build_info(const VkAccelerationStructureGeometryKHR *records) const {
    auto info = vk_record<VkAccelerationStructureBuildGeometryInfoKHR>(
        VK_STRUCTURE_TYPE_ACCELERATION_STRUCTURE_BUILD_GEOMETRY_INFO_KHR);
    info.type = (tracing_type == TypeInstances) ? VK_ACCELERATION_STRUCTURE_TYPE_TOP_LEVEL_KHR
                                                : VK_ACCELERATION_STRUCTURE_TYPE_BOTTOM_LEVEL_KHR;
    info.flags = get_build_flags(tracing_flags);
    info.mode = VK_BUILD_ACCELERATION_STRUCTURE_MODE_BUILD_KHR;
    info.geometryCount = get_num_records();
    info.pGeometries = records;
    return info;
}

bool VKTracing::check_limits() const {
    const VkPhysicalDeviceAccelerationStructurePropertiesKHR &limits = adapter->getAccelerationStructureProperties();
    uint64_t num_primitives = 0;
    for(const Geometry &geometry : geometries)
        num_primitives += (geometry.num_indices ? geometry.num_indices : geometry.num_vertices) / 3;
    for(const Bounds &bound : bounds) num_primitives += bound.num_bounds;
    const char *text = nullptr;
    if(!adapter->getAccelerationStructureFeatures().accelerationStructure)
        text = "tracings are not supported";
    else if(num_instances ? num_instances > limits.maxInstanceCount
                          : get_num_records() > limits.maxGeometryCount || num_primitives > limits.maxPrimitiveCount)
        text = "is above the limits of the device";
    if(text == nullptr) return true;
    const String description = getDescription();
    Log::printf(Log::Error, "VKTracing::create(): can't create %s tracing: %s\n", description.get(), text);
    return false;
}

bool VKTracing::create(Flags flags) {
    if(!init(flags) || !check_limits()) return false;
    const uint32_t num = get_num_records();
    Array<VkAccelerationStructureGeometryKHR> records(num);
    Array<VkAccelerationStructureBuildRangeInfoKHR> ranges(num);
    Array<uint32_t> counts(num);
    size_t size = 0;
    for(const bool has_transforms : {false, true}) {
        get_geometries(records.get(), ranges.get(), has_transforms);
        for(uint32_t i = 0; i < num; i++) counts[i] = ranges[i].primitiveCount;
        const VkAccelerationStructureBuildGeometryInfoKHR info = get_build_info(records.get());
        auto sizes = vk_record<VkAccelerationStructureBuildSizesInfoKHR>(
            VK_STRUCTURE_TYPE_ACCELERATION_STRUCTURE_BUILD_SIZES_INFO_KHR);
        vkGetAccelerationStructureBuildSizesKHR(adapter->getDevice(), VK_ACCELERATION_STRUCTURE_BUILD_TYPE_DEVICE_KHR,
                                                &info, counts.get(), &sizes);
        size = max(size, size_t(sizes.accelerationStructureSize));
        build_size = max(build_size, size_t(sizes.buildScratchSize));
        update_size = max(update_size, size_t(sizes.updateScratchSize));
    }
    const uint32_t alignment =
        adapter->getAccelerationStructureProperties().minAccelerationStructureScratchOffsetAlignment;
    scratch_alignment = max(alignment, 1u);
    // A scratch buffer can't be empty.
    build_size = max(build_size, size_t(scratch_alignment));
    update_size = max(update_size, size_t(scratch_alignment));
    full_size = size;
    if(create_memory(size)) return true;
    release();
    return false;
}

bool VKTracing::create_memory(size_t size) {
    tracing_buffer = new VKBuffer(context);
    if(!tracing_buffer->create(Buffer::FlagAccel | Buffer::FlagAddress, size)) {
        const String description = getDescription();
        Log::printf(Log::Error, "VKTracing::create(): can't allocate %s tracing memory\n", description.get());
        return false;
    }
    auto info =
        vk_record<VkAccelerationStructureCreateInfoKHR>(VK_STRUCTURE_TYPE_ACCELERATION_STRUCTURE_CREATE_INFO_KHR);
    info.buffer = tracing_buffer->getBuffer();
    info.size = size;
    info.type = get_build_info(nullptr).type;
    VkAccelerationStructureKHR handle = VK_NULL_HANDLE;
    if(VK::error(vkCreateAccelerationStructureKHR(adapter->getDevice(), &info, nullptr, &handle))) {
        const String description = getDescription();
        Log::printf(Log::Error, "VKTracing::create(): can't create %s tracing\n", description.get());
        return false;
    }
    tracing = handle;
    tracing_size = size;
    auto address_info = vk_record<VkAccelerationStructureDeviceAddressInfoKHR>(
        VK_STRUCTURE_TYPE_ACCELERATION_STRUCTURE_DEVICE_ADDRESS_INFO_KHR);
    address_info.accelerationStructure = tracing;
    tracing_address = vkGetAccelerationStructureDeviceAddressKHR(adapter->getDevice(), &address_info);
    if(tracing_name) setName(String(tracing_name).get());
    return true;
}

// instances

bool VKTracing::set(VKContext *ctx, const Instance *instances, uint32_t num) {
    for(uint32_t i = 0; i < num; i++) {
        if(instances[i].tracing == nullptr || instances[i].tracing->getIndex() == getIndex()) continue;
        Log::printf(Log::Error, "VKTracing::set(): instance %u is of another adapter\n", i);
        return false;
    }
    // Those that are not given are nowhere.
    constexpr uint32_t chunk = 4096;
    Array<VkAccelerationStructureInstanceKHR> records(min(num_instances, chunk));
    VKBuffer *buffer = cast<VKBuffer>(instance_buffer);
    for(uint32_t begin = 0; begin < num_instances; begin += chunk) {
        const uint32_t count = min(num_instances - begin, chunk);
        for(uint32_t i = 0; i < count; i++) {
            VkAccelerationStructureInstanceKHR &record = records[i];
            record = {};
            if(begin + i >= num) continue;
            const Instance &instance = instances[begin + i];
            memcpy(&record.transform, instance.transform, sizeof(record.transform));
            record.instanceCustomIndex = instance.data & 0xFFFFFF;
            record.mask = instance.mask & 0xFF;
            record.instanceShaderBindingTableRecordOffset = instance.offset & 0xFFFFFF;
            record.flags = get_instance_flags(instance.flags);
            if(instance.tracing)
                record.accelerationStructureReference = cast<VKTracing>(instance.tracing)->getDeviceAddress();
        }
        if(!buffer->set(ctx, instance_offset + size_t(begin) * InstanceSize, records.get(),
                        size_t(count) * InstanceSize))
            return false;
    }
    return true;
}

// builds

// The structure is written, and its input read.
void VKTracing::set_access(VKContext *ctx, VKContext::Barriers &barriers) {
    const auto set_input = [&](Buffer *buffer) {
        if(buffer) cast<VKBuffer>(buffer)->setBufferAccess(barriers, ctx, input_access, false, build_stage);
    };
    for(const Geometry &geometry : geometries) {
        set_input(geometry.vertex_buffer);
        if(geometry.num_indices) set_input(geometry.index_buffer);
        set_input(geometry.transform_buffer);
    }
    for(const Bounds &bound : bounds) set_input(bound.buffer);
    if(num_instances) set_input(instance_buffer);
    tracing_buffer->setBufferAccess(barriers, ctx, read_access | write_access, true, build_stage);
}

void VKTracing::setRead(VKContext *ctx, VKContext::Barriers &barriers, VkPipelineStageFlags stages) {
    tracing_buffer->setBufferAccess(barriers, ctx, read_access, false, stages);
}

// One command, whose builds run side by side.
void VKTracing::build_tracings(VKContext *ctx, VKTracing **tracings, uint32_t num, const VkDeviceAddress *scratch,
                               Flags flags) {
    uint32_t num_records = 0;
    for(uint32_t i = 0; i < num; i++) num_records += tracings[i]->get_num_records();
    Array<VkAccelerationStructureGeometryKHR> records(num_records);
    Array<VkAccelerationStructureBuildRangeInfoKHR> ranges(num_records);
    Array<VkAccelerationStructureBuildGeometryInfoKHR> infos(num);
    Array<const VkAccelerationStructureBuildRangeInfoKHR *> range_ptrs(num);
    uint32_t first = 0;
    for(uint32_t i = 0; i < num; i++) {
        const VKTracing *tracing = tracings[i];
        tracing->get_geometries(records.get() + first, ranges.get() + first, false);
        infos[i] = tracing->get_build_info(records.get() + first);
        infos[i].dstAccelerationStructure = tracing->tracing;
        infos[i].scratchData.deviceAddress = scratch[i];
        if((flags & FlagUpdate) && tracing->isBuilt()) {
            infos[i].mode = VK_BUILD_ACCELERATION_STRUCTURE_MODE_UPDATE_KHR;
            infos[i].srcAccelerationStructure = tracing->tracing;
        }
        range_ptrs[i] = ranges.get() + first;
        first += tracing->get_num_records();
    }
    ctx->getAdapter()->vkCmdBuildAccelerationStructuresKHR(ctx->getCommand(), num, infos.get(), range_ptrs.get());
}

bool VKTracing::build(VKContext *ctx, VKTracing **tracings, uint32_t num, VKBuffer *scratch, const size_t *offsets,
                      Flags flags) {
    for(uint32_t i = 0; i < num; i++) {
        VKTracing *tracing = tracings[i];
        // A full build needs the memory that compact() gave away.
        const bool update = (flags & FlagUpdate) && tracing->isBuilt();
        if(!update) tracing->is_compact = false;
        if(update || tracing->tracing_size == tracing->full_size) continue;
        tracing->release_memory();
        if(!tracing->create_memory(tracing->full_size)) {
            tracing->release();
            return false;
        }
    }
    Array<VKTracing *> list;
    Array<VkDeviceAddress> addresses;
    for(const bool is_top : {false, true}) {
        list.clear();
        addresses.clear();
        for(uint32_t i = 0; i < num; i++) {
            if((tracings[i]->tracing_type == TypeInstances) != is_top) continue;
            list.append(tracings[i]);
            addresses.append(scratch->getDeviceAddress() + offsets[i]);
        }
        if(list.empty()) continue;
        VKContext::Barriers barriers;
        for(uint32_t i = 0; i < list.size(); i++) list[i]->set_access(ctx, barriers);
        scratch->setBufferAccess(barriers, ctx, read_access | write_access, true, build_stage);
        ctx->barrier(barriers);
        // What instances refer to is not known here: all builds before come first, for this one and for rays.
        if(is_top) ctx->barrier(build_stage, ctx->getStages(read_access), write_access, read_access);
        build_tracings(ctx, list.get(), list.size(), addresses.get(), flags);
    }
    return true;
}

// compaction

bool VKTracing::write_size(VKContext *ctx, VKContext::QueryResult &result) {
    result = ctx->getQuery(VKContext::QueryCompactSize);
    if(!result) return false;
    VKContext::Barriers barriers;
    setRead(ctx, barriers);
    ctx->barrier(barriers);
    adapter->vkCmdWriteAccelerationStructuresPropertiesKHR(ctx->getCommand(), 1, &tracing,
                                                           VK_QUERY_TYPE_ACCELERATION_STRUCTURE_COMPACTED_SIZE_KHR,
                                                           result.pool, result.index);
    return true;
}

bool VKTracing::copySize(VKContext *ctx, VKBuffer *buffer, size_t offset) {
    VKContext::QueryResult result;
    if(!write_size(ctx, result)) return false;
    buffer->setBufferAccess(ctx, VK_ACCESS_TRANSFER_WRITE_BIT, true);
    adapter->vkCmdCopyQueryPoolResults(ctx->getCommand(), result.pool, result.index, 1, buffer->getBuffer(), offset,
                                       sizeof(uint64_t), VK_QUERY_RESULT_64_BIT | VK_QUERY_RESULT_WAIT_BIT);
    ctx->releaseQuery(result);
    return true;
}

bool VKTracing::compact(VKContext *ctx) {
    if(is_compact) return true;
    if(!ctx->isPrimary()) {
        Log::printf(Log::Error, "VKTracing::compact(): command devices have no queue\n");
        return false;
    }
    VKContext::QueryResult result;
    if(!write_size(ctx, result)) return false;
    uint64_t size = 0;
    bool status = ctx->finish(true, false) && ctx->getQueryValues(result, &size);
    ctx->releaseQuery(result);
    if(!status || size == 0 || size > full_size) {
        Log::printf(Log::Error, "VKTracing::compact(): can't get compacted size\n");
        return false;
    }

    VKBuffer *src_buffer = tracing_buffer;
    const VkAccelerationStructureKHR src = tracing;
    const size_t src_size = tracing_size;
    const VkDeviceAddress src_address = tracing_address;
    tracing_buffer = nullptr;
    tracing = VK_NULL_HANDLE;
    if(!create_memory(size_t(size))) {
        release_memory();
        tracing_buffer = src_buffer;
        tracing = src;
        tracing_size = src_size;
        tracing_address = src_address;
        return false;
    }
    VKContext::Barriers barriers;
    src_buffer->setBufferAccess(barriers, ctx, read_access, false, build_stage);
    tracing_buffer->setBufferAccess(barriers, ctx, write_access, true, build_stage);
    ctx->barrier(barriers);
    auto info = vk_record<VkCopyAccelerationStructureInfoKHR>(VK_STRUCTURE_TYPE_COPY_ACCELERATION_STRUCTURE_INFO_KHR);
    info.src = src;
    info.dst = tracing;
    info.mode = VK_COPY_ACCELERATION_STRUCTURE_MODE_COMPACT_KHR;
    adapter->vkCmdCopyAccelerationStructureKHR(ctx->getCommand(), &info);
    // Released on the context that copies, which may be a sub-device's.
    ctx->releaseAccelerationStructure(src);
    delete src_buffer;
    return is_compact = true;
}

} // namespace Kolm
