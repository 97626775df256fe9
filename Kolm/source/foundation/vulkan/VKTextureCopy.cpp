// VKTextureCopy.cpp: copies between textures, fills and mipmaps, on the device.

#include <math.h>

#include "KolmFloat.h"
#include "KolmLog.h"
#include "VKTexture.h"
#include "VKTextureUnits.h"

namespace Kolm {

namespace {

Origin get_origin(const Region &region, uint32_t shift) {
    return Origin(region.x >> shift, region.y >> shift, region.z >> shift);
}

Size get_size(const Region &region, uint32_t shift) {
    return Size(max(region.width >> shift, 1u), max(region.height >> shift, 1u), max(region.depth >> shift, 1u));
}

VkOffset3D get_offset(const Origin &origin) { return {int32_t(origin.x), int32_t(origin.y), int32_t(origin.z)}; }

bool is_overlapping(uint32_t a, uint32_t b, uint32_t size) { return a < b + size && b < a + size; }

// One channel of a pixel as what a clear takes: a number of the format's kind.
void get_clear_channel(Format format, const uint8_t *src, uint32_t bits, VkClearColorValue &color, uint32_t index) {
    const bool is_signed = isSignedFormat(format);
    uint32_t word = 0;
    memcpy(&word, src, bits / 8);
    const int32_t number = int32_t(word << (32 - bits)) >> (32 - bits);
    if(isFloatFormat(format)) {
        float16_t half;
        half.bits = uint16_t(word);
        if(bits == 32) {
            memcpy(&color.float32[index], &word, sizeof(word));
        } else {
            color.float32[index] = half.get();
        }
    } else if(isNormFormat(format)) {
        const float64_t scale = float64_t((1ull << (is_signed ? bits - 1 : bits)) - 1);
        const float64_t value = (is_signed ? float64_t(number) : float64_t(word)) / scale;
        color.float32[index] = float32_t(max(value, -1.0));
    } else if(is_signed) {
        color.int32[index] = number;
    } else {
        color.uint32[index] = word;
    }
}

// The pixel as a clear takes it; false for formats whose pixels have to be copied. A clear of an sRGB format encodes
// its argument, so that the byte may come out as its neighbour: only textures that can't be copied to take it.
bool get_clear_color(const Texture &texture, const uint8_t *value, VkClearColorValue &color) {
    const Format format = texture.getFormat();
    color = {};
    if(!isColorFormat(format) || !isPixelFormat(format) || is64BitFormat(format)) return false;
    if(isSRGBFormat(format) && !texture.hasMultisample()) return false;
    const uint32_t components = getFormatComponents(format);
    const uint32_t bits = getFormatPixelSize(format) / components * 8;
    for(uint32_t i = 0; value && i < components; i++) get_clear_channel(format, value + i * bits / 8, bits, color, i);
    if(isSRGBFormat(format)) {
        for(uint32_t i = 0; i < min(components, 3u); i++) {
            float32_t &c = color.float32[i];
            c = (c <= 0.04045f) ? c / 12.92f : powf((c + 0.055f) / 1.055f, 2.4f);
        }
    }
    if(format == FormatBGRAu8n || format == FormatBGRAu8ns) swap(color.uint32[0], color.uint32[2]);
    return true;
}

VkClearDepthStencilValue get_clear_depth(Format format, const uint8_t *value) {
    VkClearDepthStencilValue clear = {};
    if(value == nullptr) return clear;
    uint32_t word = 0;
    switch(format) {
    case FormatDu16:
    case FormatDu16Su8:
        memcpy(&word, value, 2);
        clear.depth = float32_t(word) / 65535.0f;
        clear.stencil = (format == FormatDu16Su8) ? value[2] : 0;
        break;
    case FormatDu24:
    case FormatDu24Su8:
        memcpy(&word, value, 3);
        clear.depth = float32_t(float64_t(word) / 16777215.0);
        clear.stencil = (format == FormatDu24Su8) ? value[3] : 0;
        break;
    default:
        memcpy(&clear.depth, value, sizeof(clear.depth));
        clear.stencil = (format == FormatDf32Su8) ? value[4] : 0;
        break;
    }
    return clear;
}

} // namespace

bool VKTexture::copy(VKContext *ctx, const Origin &origin, const Slice &dest_slice, VKTexture *src,
                     const Region &region, const Slice &src_slice) {
    if(!check_copy(origin, dest_slice, src, region, src_slice)) return false;
    Array<VkImageCopy> copies;
    for(uint32_t i = 0; i < src_slice.mipmaps; i++) {
        for(uint32_t j = 0; j < src_slice.layers; j++) {
            VkImageCopy &copy = copies.append();
            copy.srcSubresource = {src->getAspectMask(), src_slice.mipmap + i,
                                   src->get_layer(src_slice.face, src_slice.layer + j), src_slice.faces};
            copy.dstSubresource = {getAspectMask(), dest_slice.mipmap + i,
                                   get_layer(dest_slice.face, dest_slice.layer + j), src_slice.faces};
            copy.srcOffset = get_offset(get_origin(region, i));
            copy.dstOffset = {int32_t(origin.x >> i), int32_t(origin.y >> i), int32_t(origin.z >> i)};
            const Size size = get_size(region, i);
            copy.extent = {size.width, size.height, size.depth};
        }
    }
    VKContext::Barriers barriers;
    if(src == this) {
        copy_within(ctx, copies, dest_slice, src_slice);
        return true;
    }
    src->setTextureLayout(barriers, ctx, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL);
    setTextureLayout(barriers, ctx, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, true);
    ctx->barrier(barriers);
    adapter->vkCmdCopyImage(ctx->getCommand(), src->texture, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, texture,
                            VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, copies.size(), copies.get());
    src->setTextureLayout(barriers, ctx, src->getReadLayout());
    setTextureLayout(barriers, ctx, getReadLayout());
    ctx->barrier(barriers);
    return true;
}

// Parts that are only read get a layout of their own; those that are read and written have GENERAL.
void VKTexture::copy_within(VKContext *ctx, const Array<VkImageCopy> &copies, const Slice &dest_slice,
                            const Slice &src_slice) {
    const bool overlap = is_overlapping(dest_slice.face, src_slice.face, src_slice.faces) &&
                         is_overlapping(dest_slice.layer, src_slice.layer, src_slice.layers) &&
                         is_overlapping(dest_slice.mipmap, src_slice.mipmap, src_slice.mipmaps);
    const VkImageLayout dest_layout = overlap ? VK_IMAGE_LAYOUT_GENERAL : VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL;
    const VkImageLayout src_layout = overlap ? VK_IMAGE_LAYOUT_GENERAL : VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL;
    const VkAccessFlags access = VK_ACCESS_TRANSFER_READ_BIT | VK_ACCESS_TRANSFER_WRITE_BIT;
    const auto move = [&](VkImageLayout old_layout, VkImageLayout new_layout) {
        for(uint32_t i = 0; !overlap && i < copies.size(); i++) {
            const VkImageSubresourceLayers &part = copies[i].srcSubresource;
            const VkImageSubresourceRange range = {part.aspectMask, part.mipLevel, 1, part.baseArrayLayer,
                                                   part.layerCount};
            ctx->barrier(texture, range, old_layout, new_layout, access, access, VK_PIPELINE_STAGE_TRANSFER_BIT,
                         VK_PIPELINE_STAGE_TRANSFER_BIT);
        }
    };
    setTextureLayout(ctx, dest_layout, true, access);
    move(dest_layout, src_layout);
    adapter->vkCmdCopyImage(ctx->getCommand(), texture, src_layout, texture, dest_layout, copies.size(), copies.get());
    move(src_layout, dest_layout);
    setTextureLayout(ctx, getReadLayout());
}

bool VKTexture::clear(VKContext *ctx, const Region &region, const Slice &slice, const void *data) {
    if(!check_clear(region, slice)) return false;
    const uint8_t *value = static_cast<const uint8_t *>(data);
    const bool whole = (region == getRegion(slice.mipmap));
    VkClearColorValue color;
    const bool has_clear = whole && (isDepthFormat() || get_clear_color(*this, value, color));
    if(!has_clear) {
        if(!hasMultisample()) return fill_region(ctx, region, slice, value);
        const String description = getDescription();
        Log::printf(Log::Error, "VKTexture::clear(): can't clear %s texture%s\n", description.get(),
                    whole ? "" : " region");
        return false;
    }
    Array<VkImageSubresourceRange> ranges;
    for(uint32_t i = 0; i < slice.layers; i++) {
        ranges.append(
            {getAspectMask(), slice.mipmap, slice.mipmaps, get_layer(slice.face, slice.layer + i), slice.faces});
    }
    constexpr VkImageLayout layout = VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL;
    setTextureLayout(ctx, layout, true);
    if(isDepthFormat()) {
        const VkClearDepthStencilValue depth = get_clear_depth(texture_format, value);
        adapter->vkCmdClearDepthStencilImage(ctx->getCommand(), texture, layout, &depth, ranges.size(), ranges.get());
    } else {
        adapter->vkCmdClearColorImage(ctx->getCommand(), texture, layout, &color, ranges.size(), ranges.get());
    }
    setTextureLayout(ctx, getReadLayout());
    return true;
}

// Pixels in transient memory that are copied to all places. Every copy takes the same ones.
bool VKTexture::fill_region(VKContext *ctx, const Region &region, const Slice &slice, const uint8_t *value) {
    const TextureUnits units(*this);
    const uint8_t zeros[32] = {};
    if(value == nullptr) value = zeros;
    const auto get_units = [&units](const Size &size) {
        return Size((size.width + units.width - 1) / units.width, (size.height + units.height - 1) / units.height,
                    size.depth);
    };
    const Size size = get_units(region.getSize());
    const uint32_t max_units = max(MaxFillSize / units.planes[0].size, size.width);
    const uint32_t num = uint32_t(min(uint64_t(size.width) * size.height, uint64_t(max_units)));

    VKContext::Transient uploads[2];
    for(uint32_t i = 0; i < units.num_planes; i++) {
        uploads[i] = ctx->getUploadBuffer(units.alignment, size_t(num) * units.planes[i].size);
        if(!uploads[i] && ctx->isPrimary() && i == 0 && ctx->finish(true, false))
            uploads[i] = ctx->getUploadBuffer(units.alignment, size_t(num) * units.planes[i].size);
        if(!uploads[i]) {
            const String description = getDescription();
            Log::printf(Log::Error, "VKTexture::clear(): can't clear %s texture region\n", description.get());
            return false;
        }
        // The first unit, and then what is there as often as it fits.
        const size_t bytes = size_t(num) * units.planes[i].size;
        size_t filled = units.planes[i].size;
        units.setPlane(i, uploads[i].data, value, 1);
        for(; filled < bytes; filled = min(filled * 2, bytes))
            memcpy(uploads[i].data + filled, uploads[i].data, min(filled, bytes - filled));
    }

    setTextureLayout(ctx, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, true);
    Array<VkBufferImageCopy> copies;
    for(uint32_t plane = 0; plane < units.num_planes; plane++) {
        VkBufferImageCopy copy = {};
        copy.bufferOffset = uploads[plane].offset;
        copy.imageSubresource.aspectMask = units.planes[plane].aspect;
        for(uint32_t i = 0; i < slice.mipmaps; i++) {
            const Origin origin = get_origin(region, i);
            const Size level = get_units(get_size(region, i));
            const uint32_t rows = max(min(num / level.width, level.height), 1u);
            copy.imageSubresource.mipLevel = slice.mipmap + i;
            copy.imageSubresource.layerCount = 1;
            for(uint32_t j = 0; j < slice.layers * slice.faces; j++) {
                copy.imageSubresource.baseArrayLayer =
                    get_layer(slice.face + j % slice.faces, slice.layer + j / slice.faces);
                for(uint32_t z = 0; z < level.depth; z++) {
                    for(uint32_t y = 0; y < level.height; y += rows) {
                        units.setRegion(copy, Origin(origin.x, origin.y + y * units.height, origin.z + z),
                                        Size(level.width, min(rows, level.height - y), 1), slice.mipmap + i);
                        copies.append(copy);
                    }
                }
            }
        }
        adapter->vkCmdCopyBufferToImage(ctx->getCommand(), uploads[plane].buffer, texture,
                                        VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, copies.size(), copies.get());
        copies.clear();
    }
    setTextureLayout(ctx, getReadLayout());
    return true;
}

bool VKTexture::createMipmaps(VKContext *ctx, const Slice &slice) {
    if(!check_mipmaps(slice)) return false;
    constexpr VkFormatFeatureFlags blit_features = VK_FORMAT_FEATURE_BLIT_SRC_BIT | VK_FORMAT_FEATURE_BLIT_DST_BIT;
    if(!adapter->checkFormatFeatures(pixel_format, blit_features) || !ctx->hasQueueFlags(VK_QUEUE_GRAPHICS_BIT)) {
        const String description = getDescription();
        Log::printf(Log::Error, "VKTexture::createMipmaps(): can't create mipmaps for %s texture\n", description.get());
        return false;
    }
    // Whole numbers and depth have no mean: the nearest pixel stands for the others.
    const bool is_linear =
        isColorFormat() && (isNormFormat() || isFloatFormat()) &&
        adapter->checkFormatFeatures(pixel_format, VK_FORMAT_FEATURE_SAMPLED_IMAGE_FILTER_LINEAR_BIT);
    const VkFilter filter = is_linear ? VK_FILTER_LINEAR : VK_FILTER_NEAREST;
    const auto move = [&](uint32_t mipmap, uint32_t num, VkImageLayout old_layout, VkImageLayout new_layout) {
        VkImageSubresourceRange range = get_full_range();
        range.baseMipLevel = mipmap;
        range.levelCount = num;
        ctx->barrier(texture, range, old_layout, new_layout, getLayoutAccess(old_layout), getLayoutAccess(new_layout),
                     VK_PIPELINE_STAGE_TRANSFER_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT);
    };
    constexpr VkImageLayout src_layout = VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL;
    constexpr VkImageLayout dest_layout = VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL;
    setTextureLayout(ctx, dest_layout, true);
    Array<VkImageBlit> blits(slice.layers);
    for(uint32_t mipmap = slice.mipmap + 1; mipmap < slice.mipmap + slice.mipmaps; mipmap++) {
        const Size src_size = getSize(mipmap - 1), dest_size = getSize(mipmap);
        for(uint32_t i = 0; i < slice.layers; i++) {
            const uint32_t layer = get_layer(slice.face, slice.layer + i);
            VkImageBlit &blit = blits[i];
            blit = {};
            blit.srcSubresource = {getAspectMask(), mipmap - 1, layer, slice.faces};
            blit.dstSubresource = {getAspectMask(), mipmap, layer, slice.faces};
            blit.srcOffsets[1] = {int32_t(src_size.width), int32_t(src_size.height), int32_t(src_size.depth)};
            blit.dstOffsets[1] = {int32_t(dest_size.width), int32_t(dest_size.height), int32_t(dest_size.depth)};
        }
        move(mipmap - 1, 1, dest_layout, src_layout);
        adapter->vkCmdBlitImage(ctx->getCommand(), texture, src_layout, texture, dest_layout, blits.size(), blits.get(),
                                filter);
    }
    if(slice.mipmaps > 1) move(slice.mipmap, slice.mipmaps - 1, src_layout, dest_layout);
    setTextureLayout(ctx, getReadLayout());
    return true;
}

} // namespace Kolm
