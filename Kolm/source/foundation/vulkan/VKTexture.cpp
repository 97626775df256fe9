#include "VKTexture.h"

#include <stdlib.h>
#include <unistd.h>

#include "KolmLog.h"
#include "VKFormat.h"

namespace Kolm {

VKTexture::VKTexture(VKContext *context)
    : Texture(context->getAdapter()->getIndex()), adapter(context->getAdapter()), context(context->retain()),
      texture_shared(adapter), texture_tiles(adapter) {}

VKTexture::~VKTexture() {
    destroy();
    VKContext::release(context);
}

void VKTexture::clear() {
    destroy();
    Texture::clear();
}

// Nothing is destroyed here: the device may still use it.
void VKTexture::destroy() {
    for(const auto &item : texture_views) context->releaseImageView(item.data);
    texture_views.clear();
    context->releaseImageView(texture_view);
    if(!hasFlag(FlagExtern)) context->releaseImage(texture);
    const bool has_memory = bool(texture_memory);
    context->releaseMemory(texture_memory);
    texture_shared.release(context, has_memory);
    texture_tiles.release(context);
    pixel_format = VK_FORMAT_UNDEFINED;
    texture = VK_NULL_HANDLE;
    texture_view = VK_NULL_HANDLE;
    texture_layout = VK_IMAGE_LAYOUT_UNDEFINED;
    texture_access = 0;
    texture_stages = 0;
    texture_context = nullptr;
    has_host_copies = false;
    used_outside.store_relaxed(0);
}

void VKTexture::setName(const char *name) {
    Texture::setName(name);
    adapter->setObjectName(VK_OBJECT_TYPE_IMAGE, reinterpret_cast<uint64_t>(texture), name);
}

size_t VKTexture::getMemory() const {
    if(hasFlag(FlagSparse)) return size_t(texture_tiles.getMemory());
    return texture_memory ? size_t(texture_memory.size) : Texture::getMemory();
}

VkImageAspectFlags VKTexture::getAspectMask(Format format) {
    if(!Kolm::isDepthFormat(format)) return VK_IMAGE_ASPECT_COLOR_BIT;
    VkImageAspectFlags mask = VK_IMAGE_ASPECT_DEPTH_BIT;
    if(Kolm::isStencilFormat(format)) mask |= VK_IMAGE_ASPECT_STENCIL_BIT;
    return mask;
}

VkImageUsageFlags VKTexture::get_usage_flags() const {
    VkImageUsageFlags usage =
        VK_IMAGE_USAGE_SAMPLED_BIT | VK_IMAGE_USAGE_TRANSFER_SRC_BIT | VK_IMAGE_USAGE_TRANSFER_DST_BIT;
    if(hasFlag(FlagSurface | FlagWrite)) usage |= VK_IMAGE_USAGE_STORAGE_BIT;
    if(hasFlag(FlagTarget))
        usage |= isDepthFormat() ? VK_IMAGE_USAGE_DEPTH_STENCIL_ATTACHMENT_BIT : VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT;
    return usage;
}

VkImageCreateFlags VKTexture::get_create_flags() const {
    VkImageCreateFlags flags = 0;
    if(isCubeType()) flags |= VK_IMAGE_CREATE_CUBE_COMPATIBLE_BIT;
    if(is3DType() && hasFlag(FlagTarget) && adapter->has_maintenance1) flags |= VK_IMAGE_CREATE_2D_ARRAY_COMPATIBLE_BIT;
    if(hasFlag(FlagMutable)) {
        flags |= VK_IMAGE_CREATE_MUTABLE_FORMAT_BIT;
        if(isBlockFormat() && adapter->getVersion() >= VK_API_VERSION_1_1)
            flags |= VK_IMAGE_CREATE_BLOCK_TEXEL_VIEW_COMPATIBLE_BIT;
    }
    if(hasFlag(FlagSparse)) flags |= VK_IMAGE_CREATE_SPARSE_BINDING_BIT | VK_IMAGE_CREATE_SPARSE_RESIDENCY_BIT;
    return flags;
}

// Whether the adapter has what the flags ask for, whatever the format is.
bool VKTexture::is_supported() const {
    const VkPhysicalDeviceFeatures &features = adapter->getFeatures();
    if(hasFlag(FlagSparse)) {
        const bool residency = is3DType() ? features.sparseResidencyImage3D : features.sparseResidencyImage2D;
        if(!features.sparseBinding || !residency || hasMultisample()) return false;
    }
    return (!hasFlag(FlagShared) || adapter->has_external_memory_host_ext) &&
           (!hasFlag(FlagInterop) || adapter->has_external_memory);
}

// Whether the host may copy to and from the image without making the device slower: colours whose units are the same in
// an image of the host.
bool VKTexture::check_host_copies(const VkImageCreateInfo &info) const {
    if(!adapter->getHostImageCopyFeatures().hostImageCopy || isDepthFormat() || hasMultisample() ||
       hasFlag(FlagSparse | FlagTarget | FlagMutable))
        return false;
    auto query = vk_record<VkPhysicalDeviceImageFormatInfo2>(VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_IMAGE_FORMAT_INFO_2);
    query.format = info.format;
    query.type = info.imageType;
    query.tiling = info.tiling;
    query.usage = info.usage | VK_IMAGE_USAGE_HOST_TRANSFER_BIT_EXT;
    query.flags = info.flags;
    auto speed = vk_record<VkHostImageCopyDevicePerformanceQueryEXT>(
        VK_STRUCTURE_TYPE_HOST_IMAGE_COPY_DEVICE_PERFORMANCE_QUERY_EXT);
    auto properties = vk_record<VkImageFormatProperties2>(VK_STRUCTURE_TYPE_IMAGE_FORMAT_PROPERTIES_2, &speed);
    const VkResult result = vkGetPhysicalDeviceImageFormatProperties2(adapter->getAdapter(), &query, &properties);
    return result == VK_SUCCESS && speed.optimalDeviceAccess;
}

bool VKTexture::create_image(VkExternalMemoryHandleTypeFlags handle_types) {
    if(isCubeType() && hasLayers() && !adapter->getFeatures().imageCubeArray) {
        Log::printf(Log::Error, "VKTexture::create(): Cube array texture is not supported\n");
        return false;
    }
    const String description = getDescription();
    auto info = vk_record<VkImageCreateInfo>(VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO);
    info.flags = get_create_flags();
    info.imageType = is3DType() ? VK_IMAGE_TYPE_3D : VK_IMAGE_TYPE_2D;
    info.format = pixel_format;
    info.extent = {texture_width, texture_height, texture_depth};
    info.mipLevels = texture_mipmaps;
    info.arrayLayers = uint32_t(texture_faces) * texture_layers;
    info.samples = VkSampleCountFlagBits(getMultisample());
    // Only rows in their order mean the same to every adapter.
    const bool is_host = (handle_types & VK_EXTERNAL_MEMORY_HANDLE_TYPE_HOST_ALLOCATION_BIT_EXT);
    info.tiling = is_host ? VK_IMAGE_TILING_LINEAR : VK_IMAGE_TILING_OPTIMAL;
    info.usage = get_usage_flags();
    info.sharingMode = VK_SHARING_MODE_EXCLUSIVE;
    info.initialLayout = VK_IMAGE_LAYOUT_UNDEFINED;

    has_host_copies = (handle_types == 0 && check_host_copies(info));
    if(has_host_copies) info.usage |= VK_IMAGE_USAGE_HOST_TRANSFER_BIT_EXT;

    auto external = vk_record<VkExternalMemoryImageCreateInfo>(VK_STRUCTURE_TYPE_EXTERNAL_MEMORY_IMAGE_CREATE_INFO);
    external.handleTypes = handle_types;
    if(handle_types) info.pNext = &external;

    VkImageFormatProperties limits = {};
    const VkResult result = vkGetPhysicalDeviceImageFormatProperties(adapter->getAdapter(), info.format, info.imageType,
                                                                     info.tiling, info.usage, info.flags, &limits);
    if(result != VK_SUCCESS) {
        // A combination that the device does not have is the caller's to know, not an error of the driver.
        if(result != VK_ERROR_FORMAT_NOT_SUPPORTED) VK::error(result);
        Log::printf(Log::Error, "VKTexture::create(): can't get %s texture properties\n", description.get());
        return false;
    }
    VkImage image = VK_NULL_HANDLE;
    if(!is_supported() || info.extent.width > limits.maxExtent.width || info.extent.height > limits.maxExtent.height ||
       info.extent.depth > limits.maxExtent.depth || info.mipLevels > limits.maxMipLevels ||
       info.arrayLayers > limits.maxArrayLayers || (info.samples & limits.sampleCounts) == 0 ||
       VK::error(vkCreateImage(adapter->getDevice(), &info, nullptr, &image))) {
        Log::printf(Log::Error, "VKTexture::create(): can't create %s texture\n", description.get());
        return false;
    }
    texture = image;
    return true;
}

bool VKTexture::create_memory() {
    const VkDevice device = adapter->getDevice();
    VkMemoryRequirements requirements = {};
    vkGetImageMemoryRequirements(device, texture, &requirements);
    const String description = getDescription();
    if(hasFlag(FlagShared) && !texture_shared.allocate(requirements.size)) {
        Log::printf(Log::Error, "VKTexture::create(): can't allocate shared memory for %s texture\n",
                    description.get());
        return false;
    }
    // Drivers may want an image that leaves the process to have its memory alone.
    auto dedicated = vk_record<VkMemoryDedicatedAllocateInfo>(VK_STRUCTURE_TYPE_MEMORY_DEDICATED_ALLOCATE_INFO);
    dedicated.image = texture;
    VkMemoryPropertyFlags flags = VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT;
    if(!texture_shared.isHost()) flags = get_memory_properties(requirements.memoryTypeBits);
    texture_memory = texture_shared.allocateMemory(requirements, flags, hasFlag(FlagInterop),
                                                   adapter->getVersion() >= VK_API_VERSION_1_1 ? &dedicated : nullptr);
    if(!texture_memory) {
        Log::printf(Log::Error, "VKTexture::create(): can't allocate %s texture memory\n", description.get());
        return false;
    }
    if(VK::error(vkBindImageMemory(device, texture, texture_memory.memory, texture_memory.offset))) {
        Log::printf(Log::Error, "VKTexture::create(): can't bind %s texture memory\n", description.get());
        return false;
    }
    if(hasFlag(FlagInterop) && !texture_shared.open(texture_memory.memory)) {
        Log::printf(Log::Error, "VKTexture::create(): can't get %s handle\n", description.get());
        return false;
    }
    return true;
}

// As for buffers, as far as images can lie in such memory: what the host does with a texture takes the same way
// wherever it lies.
VkMemoryPropertyFlags VKTexture::get_memory_properties(uint32_t type_bits) const {
    constexpr VkMemoryPropertyFlags local = VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT;
    constexpr VkMemoryPropertyFlags visible = VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT;
    constexpr VkMemoryPropertyFlags cached = VK_MEMORY_PROPERTY_HOST_CACHED_BIT;
    const auto has_type = [&](VkMemoryPropertyFlags flags) {
        return adapter->findMemoryIndex(type_bits, flags) != VKAdapter::NotFound;
    };
    if(hasFlag(FlagRead) && has_type(visible | cached)) return visible | cached;
    if(hasFlag(FlagWrite) && has_type(local | visible)) return local | visible;
    if(hasFlag(FlagRead | FlagWrite) && has_type(visible)) return visible;
    return local;
}

bool VKTexture::create_objects() {
    static Atomici64 counter;
    image_id = uint64_t(++counter);
    if(texture_name) setName(String(texture_name).get());
    texture_view = create_view(getFullSlice(), texture_format, ViewTexture);
    return texture_view != VK_NULL_HANDLE;
}

bool VKTexture::create(Type type, Format format, const Size &size, uint32_t layers, Flags flags) {
    if(!init(type, format, size, layers, flags)) return false;
    pixel_format = getVKFormat(format);
    if(pixel_format == VK_FORMAT_UNDEFINED || !adapter->checkFormatFeatures(pixel_format, sampled_features)) {
        Log::printf(Log::Error, "VKTexture::create(): %s format is not supported\n", getFormatName());
        clear();
        return false;
    }
    if(create_image(VKShared::getHandleTypes(hasFlag(FlagShared), hasFlag(FlagInterop))) &&
       (hasFlag(FlagSparse) ? create_tiles() : create_memory()) && create_objects())
        return true;
    clear();
    return false;
}

bool VKTexture::create(Type type, Format format, const Size &size, uint32_t layers, Flags flags, VkImage image,
                       VkImageLayout layout) {
    KOLM_ASSERT(image && "VKTexture::create(): image is null");
    if(!init(type, format, size, layers, flags | FlagExtern)) return false;
    pixel_format = getVKFormat(format);
    if(pixel_format == VK_FORMAT_UNDEFINED) {
        Log::printf(Log::Error, "VKTexture::create(): %s format is not supported\n", getFormatName());
        clear();
        return false;
    }
    texture = image;
    setTextureLayout(layout);
    if(create_objects()) return true;
    clear();
    return false;
}

// The second image begins without a layout; what it shows until it is written to is what the driver keeps.
bool VKTexture::create(Texture *src) {
    const VKTexture *src_texture = cast<VKTexture>(src);
    if(!init(src_texture)) return false;
    const String description = getDescription();
    pixel_format = src_texture->pixel_format;
    if(!texture_shared.share(src_texture->texture_shared)) {
        Log::printf(Log::Error, "VKTexture::create(): can't export %s texture\n", description.get());
        clear();
        return false;
    }
    const bool is_host = texture_shared.isHost();
    if(!create_image(VKShared::getHandleTypes(is_host, !is_host)) || !create_memory() || !create_objects()) {
        Log::printf(Log::Error, "VKTexture::create(): can't import %s texture\n", description.get());
        clear();
        return false;
    }
    return true;
}

// views

static VkImageViewType get_view_type(const Texture &texture, const Slice &slice, VKTexture::ViewType type) {
    if(texture.is3DType()) return (type == VKTexture::ViewTarget) ? VK_IMAGE_VIEW_TYPE_2D_ARRAY : VK_IMAGE_VIEW_TYPE_3D;
    const uint32_t num = slice.faces * slice.layers;
    if(slice.faces == 6 && type != VKTexture::ViewTarget)
        return (num > 6) ? VK_IMAGE_VIEW_TYPE_CUBE_ARRAY : VK_IMAGE_VIEW_TYPE_CUBE;
    return (num > 1) ? VK_IMAGE_VIEW_TYPE_2D_ARRAY : VK_IMAGE_VIEW_TYPE_2D;
}

VkImageView VKTexture::create_view(const Slice &slice, Format format, ViewType type) {
    auto info = vk_record<VkImageViewCreateInfo>(VK_STRUCTURE_TYPE_IMAGE_VIEW_CREATE_INFO);
    info.image = texture;
    info.viewType = get_view_type(*this, slice, type);
    info.format = (format == texture_format) ? pixel_format : getVKFormat(format);
    info.subresourceRange.aspectMask = getAspectMask(format);
    // Sampling takes one aspect.
    if(type != ViewTarget && isDepthFormat()) info.subresourceRange.aspectMask = VK_IMAGE_ASPECT_DEPTH_BIT;
    info.subresourceRange.baseMipLevel = slice.mipmap;
    info.subresourceRange.levelCount = slice.mipmaps;
    info.subresourceRange.baseArrayLayer = is3DType() ? 0 : get_layer(slice.face, slice.layer);
    info.subresourceRange.layerCount = slice.faces * slice.layers;
    if(is3DType() && type == ViewTarget) info.subresourceRange.layerCount = getDepth(slice.mipmap);

    // Another format need not have all usages of the image.
    auto usage = vk_record<VkImageViewUsageCreateInfo>(VK_STRUCTURE_TYPE_IMAGE_VIEW_USAGE_CREATE_INFO);
    switch(type) {
    case ViewTexture: usage.usage = VK_IMAGE_USAGE_SAMPLED_BIT; break;
    case ViewSurface: usage.usage = VK_IMAGE_USAGE_STORAGE_BIT; break;
    case ViewTarget:
        usage.usage =
            isDepthFormat() ? VK_IMAGE_USAGE_DEPTH_STENCIL_ATTACHMENT_BIT : VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT;
        break;
    case NumViewTypes: break;
    }
    if(adapter->getVersion() >= VK_API_VERSION_1_1) info.pNext = &usage;

    // Several layers of some faces don't lie side by side.
    const bool contiguous = (slice.layers == 1 || slice.faces == texture_faces);
    const bool is_format = (format == texture_format || (hasFlag(FlagMutable) && info.format != VK_FORMAT_UNDEFINED &&
                                                         isColorFormat() && Kolm::isColorFormat(format)));
    const bool is_type = (type == ViewTexture || (type == ViewSurface && hasFlag(FlagSurface | FlagWrite)) ||
                          (type == ViewTarget && hasFlag(FlagTarget)));
    const bool is_array = (info.viewType != VK_IMAGE_VIEW_TYPE_CUBE_ARRAY || adapter->getFeatures().imageCubeArray);
    VkImageView view = VK_NULL_HANDLE;
    if(!contiguous || !is_format || !is_type || !is_array ||
       VK::error(vkCreateImageView(adapter->getDevice(), &info, nullptr, &view))) {
        const String description = getDescription();
        Log::printf(Log::Error, "VKTexture::getTextureView(): can't create view of %s texture\n", description.get());
        return VK_NULL_HANDLE;
    }
    return view;
}

VkImageView VKTexture::getTextureView(const Slice &slice, Format format, ViewType type) {
    if(!check(slice)) return VK_NULL_HANDLE;
    if(format == FormatUnknown) format = texture_format;
    if(type == ViewTexture && format == texture_format && slice == getFullSlice()) return texture_view;

    uint64_t key = 0;
    const auto append = [&key](uint32_t value, uint32_t bits) { key = (key << bits) | value; };
    append(slice.face, 3);
    append(slice.faces, 3);
    append(slice.layer, 16);
    append(slice.layers, 16);
    append(slice.mipmap, 5);
    append(slice.mipmaps, 5);
    append(format, 7);
    append(type, 2);

    AtomicLock atomic(view_lock);
    if(const VkImageView *view = texture_views.get(key)) return *view;
    const VkImageView view = create_view(slice, format, type);
    if(view) texture_views.append(key, view);
    return view;
}

// layouts

VkAccessFlags VKTexture::getLayoutAccess(VkImageLayout layout) {
    switch(layout) {
    case VK_IMAGE_LAYOUT_GENERAL: return VK_ACCESS_SHADER_READ_BIT | VK_ACCESS_SHADER_WRITE_BIT;
    case VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL: return VK_ACCESS_SHADER_READ_BIT;
    case VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL:
        return VK_ACCESS_COLOR_ATTACHMENT_READ_BIT | VK_ACCESS_COLOR_ATTACHMENT_WRITE_BIT;
    case VK_IMAGE_LAYOUT_DEPTH_STENCIL_ATTACHMENT_OPTIMAL:
        return VK_ACCESS_DEPTH_STENCIL_ATTACHMENT_READ_BIT | VK_ACCESS_DEPTH_STENCIL_ATTACHMENT_WRITE_BIT;
    case VK_IMAGE_LAYOUT_DEPTH_STENCIL_READ_ONLY_OPTIMAL:
        return VK_ACCESS_DEPTH_STENCIL_ATTACHMENT_READ_BIT | VK_ACCESS_SHADER_READ_BIT;
    case VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL: return VK_ACCESS_TRANSFER_READ_BIT;
    case VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL: return VK_ACCESS_TRANSFER_WRITE_BIT;
    case VK_IMAGE_LAYOUT_UNDEFINED: return 0;
    default: break; // layouts that only the application's own commands reach
    }
    return VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
}

VkImageSubresourceRange VKTexture::get_full_range() const {
    return {getAspectMask(), 0, VK_REMAINING_MIP_LEVELS, 0, VK_REMAINING_ARRAY_LAYERS};
}

void VKTexture::setTextureLayout(VKContext::Barriers &barriers, VKContext *ctx, VkImageLayout layout, bool force,
                                 VkAccessFlags access, VkPipelineStageFlags stages) {
    constexpr VkAccessFlags memory_access = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
    setUsed(ctx);
    if(access == 0) access = getLayoutAccess(layout);
    if(stages == 0) stages = ctx->getStages(access);
    const bool same = (layout == texture_layout && access == texture_access);
    if(same && !force && ctx == texture_context && (stages & ~texture_stages) == 0) return;

    ctx->setChanged();
    if(ctx != texture_context) adapter->setChanged();
    if(barriers.num_images == VKContext::MaxBarriers) ctx->barrier(barriers);
    VkImageMemoryBarrier &barrier = barriers.images[barriers.num_images++];
    barrier = vk_record<VkImageMemoryBarrier>(VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER);
    barrier.srcAccessMask = texture_access;
    barrier.dstAccessMask = access;
    barrier.oldLayout = texture_layout;
    barrier.newLayout = layout;
    barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.image = texture;
    barrier.subresourceRange = get_full_range();
    VkPipelineStageFlags src_stages = texture_stages;
    VkPipelineStageFlags dest_stages = stages;
    // Stages of another queue mean nothing on this one, and a queue of copies alone has no shaders.
    if(ctx != texture_context && texture_access) {
        barrier.srcAccessMask = memory_access;
        src_stages = VK_PIPELINE_STAGE_ALL_COMMANDS_BIT;
    }
    if(dest_stages == 0) {
        barrier.dstAccessMask = memory_access;
        dest_stages = VK_PIPELINE_STAGE_ALL_COMMANDS_BIT;
    }
    barriers.src_stages |= src_stages;
    barriers.dest_stages |= dest_stages;

    // Readers run side by side, and the next writer waits for all of them.
    texture_stages = (same && !force && ctx == texture_context) ? texture_stages | stages : stages;
    texture_layout = layout;
    texture_access = access;
    texture_context = ctx;
}

void VKTexture::setTextureLayout(VKContext *ctx, VkImageLayout layout, bool force, VkAccessFlags access,
                                 VkPipelineStageFlags stages) {
    VKContext::Barriers barriers;
    setTextureLayout(barriers, ctx, layout, force, access, stages);
    ctx->barrier(barriers);
}

void VKTexture::setTextureLayout(VkImageLayout layout, VkAccessFlags access, VkPipelineStageFlags stages) {
    texture_layout = layout;
    texture_access = access ? access : getLayoutAccess(layout);
    texture_stages = stages ? stages : context->getStages(texture_access);
    texture_context = nullptr; // whatever it was
    used_outside.store_relaxed(1);
    adapter->setChanged();
}

} // namespace Kolm
