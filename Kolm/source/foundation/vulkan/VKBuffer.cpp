#include "VKBuffer.h"

#include "KolmLog.h"
#include "VKFormat.h"

namespace Kolm {

VKBuffer::VKBuffer(VKContext *context)
    : Buffer(context->getAdapter()->getIndex()), adapter(context->getAdapter()), context(context->retain()),
      buffer_pages(adapter), buffer_shared(adapter) {}

VKBuffer::~VKBuffer() {
    destroy();
    VKContext::release(context);
}

void VKBuffer::clear() {
    destroy();
    Buffer::clear();
}

// Nothing is destroyed here: the device may still use it.
void VKBuffer::destroy() {
    context->releaseBufferView(buffer_view);
    if((buffer_flags & FlagExtern) == 0) {
        context->releaseBuffer(buffer);
    } else {
        adapter->setChanged();
    }
    const bool has_memory = bool(buffer_memory);
    context->releaseMemory(buffer_memory);
    buffer_pages.release(context);
    buffer_shared.release(context, has_memory);
    buffer = VK_NULL_HANDLE;
    buffer_view = VK_NULL_HANDLE;
    buffer_access = 0;
    buffer_stages = 0;
    used_context = nullptr;
    used_epoch = 0;
    used_outside.store_relaxed(0);
    written_begin = written_end = 0;
    buffer_address = 0;
}

void VKBuffer::setName(const char *name) {
    Buffer::setName(name);
    adapter->setObjectName(VK_OBJECT_TYPE_BUFFER, reinterpret_cast<uint64_t>(buffer), name);
}

VkBufferUsageFlags VKBuffer::get_usage_flags(Flags flags) const {
    static const struct {
        uint32_t flags;
        VkBufferUsageFlags usage;
    } usages[] = {
        {FlagSource, VK_BUFFER_USAGE_TRANSFER_SRC_BIT},
        {FlagUniform, VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT},
        {FlagStorage, VK_BUFFER_USAGE_STORAGE_BUFFER_BIT},
        {FlagTexel, VK_BUFFER_USAGE_UNIFORM_TEXEL_BUFFER_BIT},
        {FlagIndex, VK_BUFFER_USAGE_INDEX_BUFFER_BIT},
        {FlagVertex, VK_BUFFER_USAGE_VERTEX_BUFFER_BIT},
        {FlagIndirect, VK_BUFFER_USAGE_INDIRECT_BUFFER_BIT},
        {FlagConditional, VK_BUFFER_USAGE_CONDITIONAL_RENDERING_BIT_EXT},
        {FlagBinding, VK_BUFFER_USAGE_SHADER_BINDING_TABLE_BIT_KHR},
        {FlagTracing, VK_BUFFER_USAGE_ACCELERATION_STRUCTURE_BUILD_INPUT_READ_ONLY_BIT_KHR},
        {FlagAccel, VK_BUFFER_USAGE_ACCELERATION_STRUCTURE_STORAGE_BIT_KHR},
        {FlagAddress | FlagTracing | FlagScratch, VK_BUFFER_USAGE_SHADER_DEVICE_ADDRESS_BIT},
    };
    VkBufferUsageFlags usage = VK_BUFFER_USAGE_TRANSFER_DST_BIT;
    for(const auto &row : usages) {
        if(flags & row.flags) usage |= row.usage;
    }
    // A texture buffer of a kernel is a texel slot; scratch memory is written like a storage buffer.
    if(flags & FlagScratch) usage |= VK_BUFFER_USAGE_STORAGE_BUFFER_BIT;
    // Reading a Read buffer back needs no copy from it, but copies out of it do no harm.
    return usage;
}

VkMemoryPropertyFlags VKBuffer::get_memory_properties(Flags flags) const {
    constexpr VkMemoryPropertyFlags local = VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT;
    constexpr VkMemoryPropertyFlags visible = VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT;
    constexpr VkMemoryPropertyFlags cached = VK_MEMORY_PROPERTY_HOST_CACHED_BIT;
    const bool shared = (flags & FlagShared) != 0;
    if(flags & FlagRead) return (!shared && adapter->hasMemoryType(visible | cached)) ? visible | cached : visible;
    if(flags & FlagWrite) return (!shared && adapter->hasMemoryType(local | visible)) ? local | visible : visible;
    return shared ? visible : local;
}

VkAccessFlags VKBuffer::getBufferAccessFlags(Flags flags) {
    static const struct {
        uint32_t flags;
        VkAccessFlags access;
    } accesses[] = {
        {FlagUniform, VK_ACCESS_UNIFORM_READ_BIT},
        {FlagStorage, VK_ACCESS_SHADER_READ_BIT | VK_ACCESS_SHADER_WRITE_BIT},
        {FlagIndirect, VK_ACCESS_INDIRECT_COMMAND_READ_BIT},
        {FlagConditional, VK_ACCESS_CONDITIONAL_RENDERING_READ_BIT_EXT},
        {FlagVertex, VK_ACCESS_VERTEX_ATTRIBUTE_READ_BIT},
        {FlagIndex, VK_ACCESS_INDEX_READ_BIT},
        {FlagTexel, VK_ACCESS_SHADER_READ_BIT},
        {FlagSource, VK_ACCESS_TRANSFER_READ_BIT},
        {FlagAccel | FlagTracing,
         VK_ACCESS_ACCELERATION_STRUCTURE_READ_BIT_KHR | VK_ACCESS_ACCELERATION_STRUCTURE_WRITE_BIT_KHR},
    };
    VkAccessFlags access = 0;
    for(const auto &row : accesses) {
        if(flags & row.flags) access |= row.access;
    }
    return access;
}

bool VKBuffer::create_buffer(Flags flags, size_t size) {
    auto info = vk_record<VkBufferCreateInfo>(VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO);
    info.size = size;
    info.usage = get_usage_flags(flags);
    if(flags & FlagSparse) info.flags |= VK_BUFFER_CREATE_SPARSE_BINDING_BIT | VK_BUFFER_CREATE_SPARSE_RESIDENCY_BIT;
    auto external = vk_record<VkExternalMemoryBufferCreateInfo>(VK_STRUCTURE_TYPE_EXTERNAL_MEMORY_BUFFER_CREATE_INFO);
    external.handleTypes = VKShared::getHandleTypes(flags & FlagShared, flags & FlagInterop);
    if(external.handleTypes) info.pNext = &external;
    VkBuffer new_buffer = VK_NULL_HANDLE;
    if(VK::error(vkCreateBuffer(adapter->getDevice(), &info, nullptr, &new_buffer))) return false;
    buffer = new_buffer;
    return true;
}

bool VKBuffer::create_memory() {
    VkMemoryRequirements requirements = {};
    vkGetBufferMemoryRequirements(adapter->getDevice(), buffer, &requirements);
    if(buffer_flags & FlagScratch) {
        const uint32_t alignment =
            adapter->getAccelerationStructureProperties().minAccelerationStructureScratchOffsetAlignment;
        requirements.alignment = max(requirements.alignment, VkDeviceSize(alignment));
    }
    if(buffer_flags & FlagTracing) requirements.alignment = max(requirements.alignment, VkDeviceSize(16));
    if(buffer_flags & FlagBinding) {
        const uint32_t alignment = adapter->getRayTracingPipelineProperties().shaderGroupBaseAlignment;
        requirements.alignment = max(requirements.alignment, VkDeviceSize(alignment));
    }
    buffer_memory =
        buffer_shared.allocateMemory(requirements, get_memory_properties(buffer_flags), buffer_flags & FlagInterop);
    return bool(buffer_memory);
}

bool VKBuffer::create(Flags flags, size_t size, Format format) {
    if(!init(flags, size, format)) return false;
    const uint32_t pixel_size = getFormatPixelSize(format);
    if((flags & FlagTexel) && (pixel_size == 0 || pixel_size > 64 || getVKFormat(format) == VK_FORMAT_UNDEFINED)) {
        const String description = getDescription();
        Log::printf(Log::Error, "VKBuffer::create(): can't create %s texel buffer\n", description.get());
        clear();
        return false;
    }
    const String description = getDescription();
    const VkPhysicalDeviceFeatures &features = adapter->getFeatures();
    const bool supported = ((flags & FlagSparse) == 0 || (features.sparseBinding && features.sparseResidencyBuffer)) &&
                           ((flags & FlagShared) == 0 || adapter->has_external_memory_host_ext) &&
                           ((flags & FlagInterop) == 0 || adapter->has_external_memory) &&
                           ((flags & FlagConditional) == 0 || adapter->has_conditional_rendering_ext) &&
                           ((flags & (FlagAddress | FlagScratch)) == 0 || adapter->has_buffer_device_address) &&
                           ((flags & (FlagTracing | FlagAccel)) == 0 || adapter->has_acceleration_structure) &&
                           ((flags & FlagBinding) == 0 || adapter->has_ray_tracing_pipeline);
    if(!supported || !create_buffer(flags, size)) {
        Log::printf(Log::Error, "VKBuffer::create(): can't create %s buffer\n", description.get());
        clear();
        return false;
    }
    if(flags & FlagSparse) {
        VkMemoryRequirements requirements = {};
        vkGetBufferMemoryRequirements(adapter->getDevice(), buffer, &requirements);
        if(requirements.alignment == 0 || requirements.alignment > 0x80000000u) {
            Log::printf(Log::Error, "VKBuffer::create(): invalid %s buffer alignment\n", description.get());
            clear();
            return false;
        }
        if(requirements.size % requirements.alignment) {
            Log::printf(Log::Error, "VKBuffer::create(): invalid %s buffer size\n", description.get());
            clear();
            return false;
        }
        buffer_page_size = uint32_t(requirements.alignment);
        page_memory = requirements;
        page_memory.size = requirements.alignment;
        return true;
    }
    VkMemoryRequirements requirements = {};
    vkGetBufferMemoryRequirements(adapter->getDevice(), buffer, &requirements);
    if((flags & FlagShared) && !buffer_shared.allocate(requirements.size)) {
        Log::printf(Log::Error, "VKBuffer::create(): can't allocate shared memory for %s buffer\n", description.get());
        clear();
        return false;
    }
    if(!create_memory()) {
        Log::printf(Log::Error, "VKBuffer::create(): can't allocate %s buffer memory\n", description.get());
        clear();
        return false;
    }
    if(!create_objects()) {
        clear();
        return false;
    }
    if((flags & FlagInterop) && !buffer_shared.open(buffer_memory.memory)) {
        Log::printf(Log::Error, "VKBuffer::create(): can't get %s handle\n", description.get());
        clear();
        return false;
    }
    return true;
}

// Memory binding, view and address.
bool VKBuffer::create_objects() {
    const VkDevice device = adapter->getDevice();
    if(VK::error(vkBindBufferMemory(device, buffer, buffer_memory.memory, buffer_memory.offset))) {
        const String description = getDescription();
        Log::printf(Log::Error, "VKBuffer::create(): can't bind %s buffer memory\n", description.get());
        return false;
    }
    if(buffer_flags & FlagTexel) {
        auto info = vk_record<VkBufferViewCreateInfo>(VK_STRUCTURE_TYPE_BUFFER_VIEW_CREATE_INFO);
        info.buffer = buffer;
        info.format = getVKFormat(buffer_format);
        info.range = buffer_size / getFormatPixelSize(buffer_format) * getFormatPixelSize(buffer_format);
        VkFormatProperties properties = {};
        vkGetPhysicalDeviceFormatProperties(adapter->getAdapter(), info.format, &properties);
        VkBufferView view = VK_NULL_HANDLE;
        if((properties.bufferFeatures & VK_FORMAT_FEATURE_UNIFORM_TEXEL_BUFFER_BIT) == 0 || info.range == 0 ||
           VK::error(vkCreateBufferView(device, &info, nullptr, &view))) {
            Log::printf(Log::Error, "VKBuffer::create(): can't create buffer view\n");
            return false;
        }
        buffer_view = view;
    }
    if(buffer_flags & (FlagAddress | FlagTracing | FlagScratch)) {
        auto info = vk_record<VkBufferDeviceAddressInfo>(VK_STRUCTURE_TYPE_BUFFER_DEVICE_ADDRESS_INFO);
        info.buffer = buffer;
        buffer_address = adapter->vkGetBufferDeviceAddress(device, &info);
    }
    if(buffer_name) setName(String(buffer_name).get());
    return true;
}

bool VKBuffer::create(VKContext *set_context, Flags flags, const void *data, size_t size, Format format) {
    if(!create(flags, size, format)) return false;
    if(data == nullptr || set(set_context, 0, data, size)) return true;
    clear();
    return false;
}

bool VKBuffer::create(Flags flags, size_t size, VkBuffer handle, VkAccessFlags access) {
    KOLM_ASSERT(handle && "VKBuffer::create(): buffer is null");
    if(!init(flags | FlagExtern, size, FormatUnknown)) return false;
    buffer = handle;
    buffer_access = access;
    buffer_stages = context->getStages(access);
    used_outside.store_relaxed(1);
    return true;
}

bool VKBuffer::create(Buffer *src) {
    VKBuffer *src_buffer = cast<VKBuffer>(src);
    if(!init(src)) return false;
    const String description = getDescription();
    if(!buffer_shared.share(src_buffer->buffer_shared)) {
        Log::printf(Log::Error, "VKBuffer::create(): can't export %s buffer\n", description.get());
        clear();
        return false;
    }
    if(!create_buffer(buffer_flags | (buffer_shared.isHost() ? FlagShared : FlagInterop), buffer_size)) {
        Log::printf(Log::Error, "VKBuffer::create(): can't create %s buffer\n", description.get());
        clear();
        return false;
    }
    if(!create_memory()) {
        Log::printf(Log::Error, "VKBuffer::create(): can't import %s buffer\n", description.get());
        clear();
        return false;
    }
    used_outside.store_relaxed(1);
    if(create_objects()) return true;
    clear();
    return false;
}

void VKBuffer::setBufferAccess(VKContext::Barriers &barriers, VKContext *ctx, VkAccessFlags access, bool force,
                               VkPipelineStageFlags stages) {
    const bool is_same = (used_context == ctx && ctx->isPrimary());
    setUsed(ctx);
    const VkPipelineStageFlags dest_stages = stages ? stages : ctx->getStages(access);
    if(!force && !isAccessNeeded(access, dest_stages)) return;
    if(barriers.num_buffers == VKContext::MaxBarriers) ctx->barrier(barriers);
    ctx->setChanged();
    if(!is_same) adapter->setChanged();
    // The first use of a buffer waits for nothing.
    if(buffer_access) {
        VkBufferMemoryBarrier &barrier = barriers.buffers[barriers.num_buffers++];
        barrier = vk_record<VkBufferMemoryBarrier>(VK_STRUCTURE_TYPE_BUFFER_MEMORY_BARRIER);
        barrier.srcAccessMask = buffer_access;
        barrier.dstAccessMask = access;
        barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
        barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
        barrier.buffer = buffer;
        barrier.size = VK_WHOLE_SIZE;
        barriers.src_stages |= buffer_stages;
        barriers.dest_stages |= dest_stages;
    }
    buffer_access = access;
    buffer_stages = dest_stages;
    written_begin = written_end = 0;
}

void VKBuffer::setBufferAccess(VKContext *ctx, VkAccessFlags access, bool force, VkPipelineStageFlags stages) {
    VKContext::Barriers barriers;
    setBufferAccess(barriers, ctx, access, force, stages);
    ctx->barrier(barriers);
}

void VKBuffer::setBufferAccess(VkAccessFlags access) {
    buffer_access = access;
    buffer_stages = context->getStages(access);
    used_outside.store_relaxed(1);
    adapter->setChanged();
}

bool VKBuffer::is_idle(const VKContext *ctx) const {
    if(used_outside.load_relaxed()) return false;
    return used_context == nullptr || (used_context == ctx && ctx->isIdle(used_epoch));
}

// Transfer writes to one buffer run side by side unless their ranges meet.
void VKBuffer::write_access(VKContext *ctx, size_t offset, size_t size) {
    const bool overlap = (offset < written_end && written_begin < offset + size);
    setBufferAccess(ctx, VK_ACCESS_TRANSFER_WRITE_BIT, overlap);
    if(written_begin == written_end) {
        written_begin = offset;
        written_end = offset + size;
    } else {
        written_begin = min(written_begin, offset);
        written_end = max(written_end, offset + size);
    }
}

bool VKBuffer::set(VKContext *ctx, size_t offset, const void *data, size_t size) {
    if(!check_set(offset, size)) {
        Log::printf(Log::Error, "VKBuffer::set(): can't set buffer\n");
        return false;
    }
    if(size == 0) return true;
    if(buffer_flags & FlagWrite) {
        void *dest = map(offset, size);
        if(dest == nullptr) return false;
        memcpy(dest, data, size);
        return unmap();
    }
    if((buffer_flags & FlagSparse) == 0 && buffer_memory.data && is_idle(ctx)) {
        memcpy(buffer_memory.data + offset, data, size);
        return adapter->flushMemory(buffer_memory, offset, size);
    }
    const uint8_t *src = static_cast<const uint8_t *>(data);
    for(size_t i = 0; i < size; i += VKContext::UploadSize) {
        if(!set_data(ctx, offset + i, src + i, min(size - i, size_t(VKContext::UploadSize)))) return false;
    }
    return true;
}

bool VKBuffer::set_data(VKContext *ctx, size_t offset, const uint8_t *data, size_t size) {
    VKContext::Transient upload = ctx->getUploadBuffer(16, size);
    if(!upload && ctx->isPrimary()) {
        const String description = getDescription();
        Log::printf(Log::Warning, "VKBuffer::set(): CPU syncronization for %s buffer\n", description.get());
        if(!ctx->finish(true, false)) return false;
        upload = ctx->getUploadBuffer(16, size);
        if(!upload && size > 1) {
            const size_t half = size / 2;
            return set_data(ctx, offset, data, half) && set_data(ctx, offset + half, data + half, size - half);
        }
    }
    if(!upload) {
        Log::printf(Log::Error, "VKBuffer::set(): can't get upload buffer\n");
        return false;
    }
    memcpy(upload.data, data, size);
    write_access(ctx, offset, size);
    const VkBufferCopy region = {upload.offset, offset, size};
    adapter->vkCmdCopyBuffer(ctx->getCommand(), upload.buffer, buffer, 1, &region);
    return true;
}

bool VKBuffer::get(VKContext *ctx, size_t offset, void *data, size_t size) {
    if(!check_get(offset, size)) return false;
    if(size == 0) return true;
    if(buffer_flags & FlagRead) {
        const void *src = map(offset, size);
        if(src == nullptr) return false;
        memcpy(data, src, size);
        return unmap();
    }
    if((buffer_flags & FlagSource) == 0) {
        Log::printf(Log::Error, "VKBuffer::get(): can't get non-source buffer\n");
        return false;
    }
    if(!ctx->isPrimary()) {
        Log::printf(Log::Error, "VKBuffer::get(): can't get download buffer\n");
        return false;
    }
    // Memory that the host reads fast needs no copy.
    if(buffer_memory.data && (buffer_flags & FlagSparse) == 0 &&
       (adapter->getMemoryFlags(buffer_memory.type) & VK_MEMORY_PROPERTY_HOST_CACHED_BIT)) {
        setBufferAccess(ctx, VK_ACCESS_HOST_READ_BIT);
        if(!ctx->finish(true, false) || !adapter->invalidateMemory(buffer_memory, offset, size)) return false;
        memcpy(data, buffer_memory.data + offset, size);
        return true;
    }
    uint8_t *dest = static_cast<uint8_t *>(data);
    for(size_t i = 0; i < size; i += VKContext::UploadSize) {
        if(!get_data(ctx, offset + i, dest + i, min(size - i, size_t(VKContext::UploadSize)))) return false;
    }
    return true;
}

bool VKBuffer::get_data(VKContext *ctx, size_t offset, uint8_t *data, size_t size) {
    VKContext::Transient download = ctx->getDownloadBuffer(16, size);
    if(!download) {
        const String description = getDescription();
        Log::printf(Log::Warning, "VKBuffer::get(): CPU syncronization for %s buffer\n", description.get());
        if(!ctx->finish(true, false)) return false;
        download = ctx->getDownloadBuffer(16, size);
        if(!download && size > 1) {
            const size_t half = size / 2;
            return get_data(ctx, offset, data, half) && get_data(ctx, offset + half, data + half, size - half);
        }
    }
    if(!download) {
        Log::printf(Log::Error, "VKBuffer::get(): can't get download buffer\n");
        return false;
    }
    setBufferAccess(ctx, VK_ACCESS_TRANSFER_READ_BIT);
    const VkBufferCopy region = {offset, download.offset, size};
    adapter->vkCmdCopyBuffer(ctx->getCommand(), buffer, download.buffer, 1, &region);
    ctx->barrier(download.buffer, download.offset, size, VK_ACCESS_TRANSFER_WRITE_BIT, VK_ACCESS_HOST_READ_BIT);
    // The wait gives the transient buffer back to its ring, where its memory stays mapped and nobody writes before the
    // next copy.
    if(!ctx->finish(true, false)) return false;
    ctx->invalidateTransient(download);
    memcpy(data, download.data, size);
    return true;
}

void *VKBuffer::map(size_t offset, size_t size) {
    if(!check_map(offset, size)) return nullptr;
    if(buffer_memory.data == nullptr) {
        const String description = getDescription();
        Log::printf(Log::Error, "VKBuffer::map(): can't map %s buffer\n", description.get());
        return nullptr;
    }
    if((buffer_flags & FlagRead) && !adapter->invalidateMemory(buffer_memory, 0, buffer_size)) {
        Log::printf(Log::Error, "VKBuffer::map(): can't map buffer\n");
        return nullptr;
    }
    buffer_mapped = true;
    return buffer_memory.data + offset;
}

bool VKBuffer::unmap() {
    if(!check_unmap()) return false;
    buffer_mapped = false;
    if(buffer_flags & FlagWrite) return adapter->flushMemory(buffer_memory, 0, buffer_size);
    return true;
}

bool VKBuffer::copy(VKContext *ctx, size_t offset, VKBuffer *src, size_t src_offset, size_t size) {
    if(!check_copy(offset, src, src_offset, size)) return false;
    if(size == 0) return true;
    if(src == this) {
        if(offset < src_offset + size && src_offset < offset + size) {
            Log::printf(Log::Error, "VKBuffer::copy(): can't copy buffer\n");
            return false;
        }
        setBufferAccess(ctx, VK_ACCESS_TRANSFER_READ_BIT | VK_ACCESS_TRANSFER_WRITE_BIT, true);
    } else {
        src->setBufferAccess(ctx, VK_ACCESS_TRANSFER_READ_BIT);
        write_access(ctx, offset, size);
    }
    const VkBufferCopy region = {src_offset, offset, size};
    adapter->vkCmdCopyBuffer(ctx->getCommand(), src->buffer, buffer, 1, &region);
    return true;
}

bool VKBuffer::clear(VKContext *ctx, Format format, size_t offset, const void *value, size_t size) {
    bool status = true;
    const uint32_t word = get_clear_value(format, value, &status);
    if(!status || !check_clear(offset, size)) {
        Log::printf(Log::Error, "VKBuffer::clear(): can't clear buffer\n");
        return false;
    }
    if(size == 0) return true;
    return fill_data(ctx, offset, size, word);
}

bool VKBuffer::bind(VKContext *ctx, const size_t *offsets, const size_t *sizes, uint32_t num, bool bind) {
    if(!check_bind(offsets, sizes, num)) return false;
    Array<VkSparseMemoryBind> binds;
    bool status = true;
    for(uint32_t i = 0; i < num && status; i++) {
        const size_t begin = offsets[i] / buffer_page_size, end = begin + sizes[i] / buffer_page_size;
        for(size_t page = begin; page < end && status; page++) {
            if(page >= buffer_size / buffer_page_size) {
                const String description = getDescription();
                Log::printf(Log::Error, "VKBuffer::bind(): invalid page index %u for %s buffer\n", uint32_t(page),
                            description.get());
                status = false;
                break;
            }
            VK::MemoryPtr memory;
            bool changed = false;
            status = buffer_pages.change(page, page_memory, bind, memory, changed);
            if(!status || !changed) continue;
            // Pages that lie side by side at both ends are one record.
            const VkDeviceSize offset = page * buffer_page_size;
            VkSparseMemoryBind *last = binds.size() ? &binds.back() : nullptr;
            if(last && last->resourceOffset + last->size == offset && last->memory == memory.memory &&
               (!memory || last->memoryOffset + last->size == memory.offset)) {
                last->size += buffer_page_size;
            } else {
                binds.append({offset, buffer_page_size, memory.memory, memory.offset, 0});
            }
        }
    }
    if(!status) {
        Log::printf(Log::Error, "VKBuffer::bind(): can't bind buffer memory\n");
    } else if(binds.size()) {
        const VkSparseBufferMemoryBindInfo pages = {buffer, binds.size(), binds.get()};
        auto info = vk_record<VkBindSparseInfo>(VK_STRUCTURE_TYPE_BIND_SPARSE_INFO);
        info.bufferBindCount = 1;
        info.pBufferBinds = &pages;
        status = ctx->bindSparse(info, !bind);
        if(!status) Log::printf(Log::Error, "VKBuffer::bind(): can't bind buffer\n");
    }
    buffer_pages.commit(ctx, status);
    return status;
}

// A fill works on whole words. Bytes in front of the first and behind the last one are copied.
bool VKBuffer::fill_data(VKContext *ctx, size_t offset, size_t size, uint32_t word) {
    uint8_t bytes[8];
    for(uint32_t i = 0; i < sizeof(bytes); i++) bytes[i] = uint8_t(word >> (i % 4 * 8));
    const size_t head = min(size, (4 - offset % 4) % 4);
    const size_t tail = (size - head) % 4;
    const size_t body = size - head - tail;
    if(body) {
        uint32_t fill = 0;
        memcpy(&fill, bytes + head % 4, sizeof(fill));
        write_access(ctx, offset + head, body);
        adapter->vkCmdFillBuffer(ctx->getCommand(), buffer, offset + head, body, fill);
    }
    return (head == 0 || set_data(ctx, offset, bytes, head)) &&
           (tail == 0 || set_data(ctx, offset + head + body, bytes + head % 4, tail));
}

} // namespace Kolm
