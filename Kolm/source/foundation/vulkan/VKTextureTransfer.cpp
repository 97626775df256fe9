// VKTextureTransfer.cpp: pixels between images of the host and textures, through transient memory.
//
// Levels go in parts that fit into one transient buffer: whole slices of depth, or rows of one slice. Between a texture
// of blocks and an image of pixels a pixel stands for a block, so that both count in units of the same bytes.
//
// Where the device lets the host copy, and nothing that was recorded is left to run, no transient memory is needed.
//
// Depth and stencil are copied each on their own. In an image they are one pixel: depth first, then stencil.

#include "KolmImage.h"
#include "KolmLog.h"
#include "VKTexture.h"
#include "VKTextureUnits.h"

namespace Kolm {

namespace {

/// One piece of a level: a copy without its buffer, and the bytes of the image that it is about.
struct Part {
    VkBufferImageCopy copy = {};
    Slice slice;       // face, layer and level of the image
    size_t offset = 0; // bytes from the start of that level
    size_t num = 0;    // units
};

/// Calls \p func with all parts of a transfer; false as soon as one call gives it.
template<class Func>
bool for_each_part(const Texture &texture, const Origin &origin, const Slice &slice, const Image &image,
                   const Slice &image_slice, Func func) {
    const TextureUnits units(texture);
    const uint32_t block_width = max(image.getBlockWidth(), 1u), block_height = max(image.getBlockHeight(), 1u);
    for(uint32_t level = 0; level < image_slice.mipmaps; level++) {
        const uint32_t mipmap = image_slice.mipmap + level;
        const Size size = image.getSize(mipmap);
        const uint32_t width = (size.width + block_width - 1) / block_width;
        const uint32_t height = (size.height + block_height - 1) / block_height;
        const size_t row_size = size_t(width) * units.size;
        const uint32_t max_rows = uint32_t(max(size_t(VKContext::UploadSize) / row_size, size_t(1)));
        const uint32_t num_slices = max(max_rows / height, 1u);
        const uint32_t num_rows = min(max_rows, height);
        for(uint32_t layer = 0; layer < image_slice.layers * image_slice.faces; layer++) {
            const uint32_t layer_index = layer / image_slice.faces, face_index = layer % image_slice.faces;
            Part part;
            part.slice =
                Slice(Face(image_slice.face + face_index), Layer(image_slice.layer + layer_index), Mipmap(mipmap));
            part.copy.imageSubresource.mipLevel = slice.mipmap + level;
            part.copy.imageSubresource.baseArrayLayer =
                (slice.layer + layer_index) * texture.getFaces() + slice.face + face_index;
            part.copy.imageSubresource.layerCount = 1;
            for(uint32_t z = 0; z < size.depth; z += num_slices) {
                const uint32_t depth = min(size.depth - z, num_slices);
                for(uint32_t y = 0; y < height; y += num_rows) {
                    const uint32_t rows = min(height - y, num_rows);
                    const Origin base(origin.x >> level, (origin.y >> level) + y * units.height,
                                      (origin.z >> level) + z);
                    units.setRegion(part.copy, base, Size(width, rows, depth), slice.mipmap + level);
                    part.offset = (size_t(z) * height + y) * row_size;
                    part.num = size_t(width) * rows * depth;
                    if(!func(part)) return false;
                }
            }
        }
    }
    return true;
}

} // namespace

bool VKTexture::set(VKContext *ctx, const Origin &origin, const Slice &dest_slice, const Image &image,
                    const Slice &image_slice) {
    if(!check_set(origin, dest_slice, image, image_slice)) return false;
    // Others may use it, and what is recorded comes first.
    const bool is_ready = (texture_layout == VK_IMAGE_LAYOUT_UNDEFINED || texture_layout == getReadLayout());
    if(has_host_copies && is_ready && ctx == context && ctx->isIdle() && !used_outside.load_relaxed())
        return set_host(ctx, origin, dest_slice, image, image_slice);
    const TextureUnits units(*this);
    Array<VkBufferImageCopy> copies;
    VkBuffer buffer = VK_NULL_HANDLE;
    const auto flush = [&]() {
        if(copies.size())
            adapter->vkCmdCopyBufferToImage(ctx->getCommand(), buffer, texture, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL,
                                            copies.size(), copies.get());
        copies.clear();
    };
    const auto get_upload = [&](size_t size) {
        VKContext::Transient upload = ctx->getUploadBuffer(units.alignment, size);
        if(upload || !ctx->isPrimary()) return upload;
        const String description = getDescription();
        Log::printf(Log::Warning, "VKTexture::set(): CPU syncronization for %s texture\n", description.get());
        flush();
        return ctx->finish(true, false) ? ctx->getUploadBuffer(units.alignment, size) : upload;
    };

    setTextureLayout(ctx, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, true);
    const bool status = for_each_part(*this, origin, dest_slice, image, image_slice, [&](Part &part) {
        const uint8_t *src = image.getData(part.slice) + part.offset;
        for(uint32_t i = 0; i < units.num_planes; i++) {
            const VKContext::Transient upload = get_upload(part.num * units.planes[i].size);
            if(!upload) return false;
            units.setPlane(i, upload.data, src, part.num);
            if(upload.buffer != buffer) flush();
            buffer = upload.buffer;
            part.copy.bufferOffset = upload.offset;
            part.copy.imageSubresource.aspectMask = units.planes[i].aspect;
            copies.append(part.copy);
        }
        return true;
    });
    flush();
    setTextureLayout(ctx, getReadLayout());
    if(!status) Log::printf(Log::Error, "VKTexture::set(): can't get upload buffer\n");
    return status;
}

// A part as copies by the host have it, in either direction.
template<class Region, class Pixels>
static Region get_host_region(VkStructureType type, Pixels &image, const Part &part) {
    auto region = vk_record<Region>(type);
    region.pHostPointer = image.getData(part.slice) + part.offset;
    region.imageSubresource = part.copy.imageSubresource;
    region.imageSubresource.aspectMask = VK_IMAGE_ASPECT_COLOR_BIT;
    region.imageOffset = part.copy.imageOffset;
    region.imageExtent = part.copy.imageExtent;
    return region;
}

// All that was recorded has run, and the layout is none or that of reading.
bool VKTexture::set_host(VKContext *ctx, const Origin &origin, const Slice &dest_slice, const Image &image,
                         const Slice &image_slice) {
    const VkDevice device = adapter->getDevice();
    const VkImageLayout layout = getReadLayout();
    bool status = true;
    if(texture_layout != layout) {
        auto transition =
            vk_record<VkHostImageLayoutTransitionInfoEXT>(VK_STRUCTURE_TYPE_HOST_IMAGE_LAYOUT_TRANSITION_INFO_EXT);
        transition.image = texture;
        transition.oldLayout = texture_layout;
        transition.newLayout = layout;
        transition.subresourceRange = get_full_range();
        status = !VK::error(vkTransitionImageLayoutEXT(device, 1, &transition));
        if(status) {
            // What the host wrote is there when the next commands are submitted.
            texture_layout = layout;
            texture_access = getLayoutAccess(layout);
            texture_stages = ctx->getStages(texture_access);
            texture_context = ctx;
            ctx->setChanged();
        }
    }
    auto info = vk_record<VkCopyMemoryToImageInfoEXT>(VK_STRUCTURE_TYPE_COPY_MEMORY_TO_IMAGE_INFO_EXT);
    info.dstImage = texture;
    info.dstImageLayout = layout;
    info.regionCount = 1;
    status = status && for_each_part(*this, origin, dest_slice, image, image_slice, [&](Part &part) {
                 const auto region =
                     get_host_region<VkMemoryToImageCopyEXT>(VK_STRUCTURE_TYPE_MEMORY_TO_IMAGE_COPY_EXT, image, part);
                 info.pRegions = &region;
                 return !VK::error(vkCopyMemoryToImageEXT(device, &info));
             });
    if(!status) Log::printf(Log::Error, "VKTexture::set(): can't copy to texture\n");
    return status;
}

// A texture without contents gets its layout like any other that is read.
bool VKTexture::get_host(VKContext *ctx, const Slice &slice, Image &image, const Slice &image_slice) {
    const VkImageLayout layout = getReadLayout();
    setTextureLayout(ctx, layout);
    bool status = ctx->finish(true, false);
    auto info = vk_record<VkCopyImageToMemoryInfoEXT>(VK_STRUCTURE_TYPE_COPY_IMAGE_TO_MEMORY_INFO_EXT);
    info.srcImage = texture;
    info.srcImageLayout = layout;
    info.regionCount = 1;
    status = status && for_each_part(*this, Origin(), slice, image, image_slice, [&](Part &part) {
                 const auto region =
                     get_host_region<VkImageToMemoryCopyEXT>(VK_STRUCTURE_TYPE_IMAGE_TO_MEMORY_COPY_EXT, image, part);
                 info.pRegions = &region;
                 return !VK::error(vkCopyImageToMemoryEXT(adapter->getDevice(), &info));
             });
    if(!status) Log::printf(Log::Error, "VKTexture::get(): can't copy from texture\n");
    return status;
}

bool VKTexture::get(VKContext *ctx, const Slice &slice, Image &image, const Slice &image_slice) {
    if(!check_get(slice, image, image_slice)) return false;
    if(!ctx->isPrimary()) {
        Log::printf(Log::Error, "VKTexture::get(): can't get download buffer\n");
        return false;
    }
    if(has_host_copies) return get_host(ctx, slice, image, image_slice);
    struct Download {
        VKContext::Transient transient;
        uint32_t plane;
        uint8_t *dest;
        size_t num;
    };
    const TextureUnits units(*this);
    Array<Download> downloads;
    size_t total = 0;
    // The end of a command buffer makes what it wrote visible to the host. The wait gives the transient buffers back to
    // their ring, where their memory stays mapped and nobody writes before the next copy.
    const auto collect = [&]() {
        if(!ctx->finish(true, false)) return false;
        for(uint32_t i = 0; i < downloads.size(); i++) {
            const Download &download = downloads[i];
            ctx->invalidateTransient(download.transient);
            units.getPlane(download.plane, download.dest, download.transient.data, download.num);
        }
        downloads.clear();
        total = 0;
        return true;
    };
    const auto get_download = [&](size_t size) {
        VKContext::Transient download = ctx->getDownloadBuffer(units.alignment, size);
        if(download) return download;
        const String description = getDescription();
        Log::printf(Log::Warning, "VKTexture::get(): CPU syncronization for %s texture\n", description.get());
        return collect() ? ctx->getDownloadBuffer(units.alignment, size) : download;
    };

    setTextureLayout(ctx, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL);
    bool status = for_each_part(*this, Origin(), slice, image, image_slice, [&](Part &part) {
        uint8_t *dest = image.getData(part.slice) + part.offset;
        for(uint32_t i = 0; i < units.num_planes; i++) {
            const size_t size = part.num * units.planes[i].size;
            if(total && total + size > VKContext::UploadSize && !collect()) return false;
            const VKContext::Transient download = get_download(size);
            if(!download) return false;
            part.copy.bufferOffset = download.offset;
            part.copy.imageSubresource.aspectMask = units.planes[i].aspect;
            adapter->vkCmdCopyImageToBuffer(ctx->getCommand(), texture, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL,
                                            download.buffer, 1, &part.copy);
            downloads.append({download, i, dest, part.num});
            total += size;
        }
        return true;
    });
    if(!status) Log::printf(Log::Error, "VKTexture::get(): can't get download buffer\n");
    setTextureLayout(ctx, getReadLayout());
    if(!collect()) status = false;
    return status;
}

} // namespace Kolm
