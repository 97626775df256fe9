// VKDeviceTexture.cpp: samplers, textures, tables and sparse memory of the device on Vulkan.

#include "VKBuffer.h"
#include "VKBufferTable.h"
#include "VKDevice.h"
#include "VKFormat.h"
#include "VKSampler.h"
#include "VKTexture.h"
#include "VKTextureTable.h"

namespace Kolm {

bool VKDevice::hasTarget(Format format) const {
    if(isBlockFormat(format)) return false;
    const VkFormat pixel_format = getVKFormat(format);
    const VkFormatFeatureFlags flags =
        isDepthFormat(format) ? VK_FORMAT_FEATURE_DEPTH_STENCIL_ATTACHMENT_BIT : VK_FORMAT_FEATURE_COLOR_ATTACHMENT_BIT;
    return pixel_format != VK_FORMAT_UNDEFINED && adapter->checkFormatFeatures(pixel_format, flags);
}

bool VKDevice::hasTexture(Format format) const {
    const VkPhysicalDeviceFeatures &features = adapter->getFeatures();
    if(isETC2Format(format)) return features.textureCompressionETC2;
    if(isASTCFormat(format)) return features.textureCompressionASTC_LDR;
    if(isBC15Format(format) || isBC67Format(format)) return features.textureCompressionBC;
    const VkFormat pixel_format = getVKFormat(format);
    return pixel_format != VK_FORMAT_UNDEFINED &&
           adapter->checkFormatFeatures(pixel_format, VKTexture::sampled_features);
}

Sampler *VKDevice::createSampler(const Sampler *sampler) { return new VKSampler(context, sampler); }

Texture *VKDevice::createTexture() { return new VKTexture(context); }

BufferTable *VKDevice::createBufferTable() { return new VKBufferTable(context); }

TextureTable *VKDevice::createTextureTable() { return new VKTextureTable(context); }

void VKDevice::release_sampler(Sampler *sampler) { cast<VKSampler>(sampler)->release(); }

void VKDevice::release_texture(Texture *texture) { cast<VKTexture>(texture)->clear(); }

bool VKDevice::set_texture(Texture *texture, const Origin &origin, const Slice &dest_slice, const Image &image,
                           const Slice &image_slice) {
    return cast<VKTexture>(texture)->set(context, origin, dest_slice, image, image_slice);
}

bool VKDevice::get_texture(Texture *texture, const Slice &slice, Image &image, const Slice &image_slice) {
    return cast<VKTexture>(texture)->get(context, slice, image, image_slice);
}

bool VKDevice::copy_texture(Texture *dest, const Origin &origin, const Slice &dest_slice, Texture *src,
                            const Region &region, const Slice &src_slice) {
    return cast<VKTexture>(dest)->copy(context, origin, dest_slice, cast<VKTexture>(src), region, src_slice);
}

bool VKDevice::clear_texture(Texture *texture, const Region &region, const Slice &slice, const void *value) {
    return cast<VKTexture>(texture)->clear(context, region, slice, value);
}

// A fence is signalled by the next submission, which waits for the bind.
bool VKDevice::bind_buffer(Buffer *buffer, const size_t *offsets, const size_t *sizes, uint32_t num, bool bind,
                           Fence *fence) {
    return cast<VKBuffer>(buffer)->bind(context, offsets, sizes, num, bind) && (!fence || signal_fence(fence));
}

bool VKDevice::bind_texture(Texture *texture, const Region *regions, uint32_t num_regions, const Slice *slices,
                            uint32_t num_slices, bool bind, Fence *fence) {
    return cast<VKTexture>(texture)->bind(context, regions, num_regions, slices, num_slices, bind) &&
           (!fence || signal_fence(fence));
}

bool VKDevice::create_mipmaps(Texture *texture, const Slice &slice) {
    return cast<VKTexture>(texture)->createMipmaps(context, slice);
}

bool VKDevice::flush_texture(Texture *texture, const Slice &, Texture::Flags flags) {
    return flush_textures(&texture, 1, flags);
}

// Textures stay readable unless they are to be drawn to.
bool VKDevice::flush_textures(Texture **textures, uint32_t num, Texture::Flags flags) {
    VKContext::Barriers barriers;
    for(uint32_t i = 0; i < num; i++) {
        VKTexture *texture = cast<VKTexture>(textures[i]);
        VkImageLayout layout = texture->getReadLayout();
        VkAccessFlags access = VK_ACCESS_SHADER_READ_BIT;
        if(flags & Texture::FlagSource) access |= VK_ACCESS_TRANSFER_READ_BIT;
        if(flags & texture->getFlags() & (Texture::FlagSurface | Texture::FlagWrite))
            access |= VK_ACCESS_SHADER_WRITE_BIT;
        if(flags & texture->getFlags() & Texture::FlagTarget) {
            layout = texture->isDepthFormat() ? VK_IMAGE_LAYOUT_DEPTH_STENCIL_ATTACHMENT_OPTIMAL
                                              : VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL;
            access = 0;
        }
        texture->setTextureLayout(barriers, context, layout, true, access);
    }
    context->barrier(barriers);
    return true;
}

void VKDevice::setTextureLayout(Texture *texture, VkImageLayout layout) {
    KOLM_ASSERT(texture && "VKDevice::setTextureLayout(): texture is null");
    cast<VKTexture>(texture)->setTextureLayout(layout);
}

bool VKDevice::set_buffer_table(BufferTable *table, uint32_t index, Buffer **buffers, uint32_t num) {
    return cast<VKBufferTable>(table)->set(index, buffers, num);
}

void VKDevice::release_buffer_table(BufferTable *table) { cast<VKBufferTable>(table)->clear(); }

// No recorder knows which textures a shader takes from a table: those without contents get their layout here.
bool VKDevice::set_texture_table(TextureTable *table, uint32_t index, Texture **textures, uint32_t num) {
    if(get_enabled_target() == nullptr) {
        VKContext::Barriers barriers;
        for(uint32_t i = 0; i < num; i++) {
            VKTexture *texture = cast<VKTexture>(textures[i]);
            if(texture && texture->getTextureLayout() == VK_IMAGE_LAYOUT_UNDEFINED)
                texture->setTextureLayout(barriers, context, texture->getReadLayout(), false,
                                          VK_ACCESS_SHADER_READ_BIT);
        }
        context->barrier(barriers);
    }
    return cast<VKTextureTable>(table)->set(index, textures, num);
}

void VKDevice::release_texture_table(TextureTable *table) { cast<VKTextureTable>(table)->clear(); }

} // namespace Kolm
