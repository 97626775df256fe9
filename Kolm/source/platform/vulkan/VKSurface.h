// VKSurface.h: the images and the render pass that a target draws to, given by a window or by the application.

#pragma once

#include "KolmSurface.h"

#include "VK.h"

namespace Kolm {

class VKContext;

/// Owns nothing but a share of its context. Without a context it is empty until the caller sets one.
class VKSurface : public Surface {
public:
    explicit VKSurface(VKContext *context = nullptr);
    ~VKSurface() override;

    Platform getPlatform() const override { return PlatformVK; }

    void setContext(VKContext *context);
    VKContext *getContext() const { return context; }
    VKAdapter *getAdapter() const;

#define VK_SURFACE_HANDLE(TYPE, NAME, FIELD)        \
    void set##NAME(TYPE handle) { FIELD = handle; } \
    TYPE get##NAME() const { return FIELD; }
    VK_SURFACE_HANDLE(VkImage, ColorImage, color_image)
    VK_SURFACE_HANDLE(VkImage, DepthImage, depth_image)
    VK_SURFACE_HANDLE(VkImageView, ColorImageView, color_image_view)
    VK_SURFACE_HANDLE(VkImageView, DepthImageView, depth_image_view)
    VK_SURFACE_HANDLE(VkRenderPass, RenderPass, render_pass)
    VK_SURFACE_HANDLE(VkFramebuffer, Framebuffer, framebuffer)
#undef VK_SURFACE_HANDLE

    /// Vulkan's formats of the surface's formats.
    VkFormat getColorPixelFormat() const;
    VkFormat getDepthPixelFormat() const;

private:
    VKContext *context = nullptr;
    VkImage color_image = VK_NULL_HANDLE;
    VkImage depth_image = VK_NULL_HANDLE;
    VkImageView color_image_view = VK_NULL_HANDLE;
    VkImageView depth_image_view = VK_NULL_HANDLE;
    VkRenderPass render_pass = VK_NULL_HANDLE;
    VkFramebuffer framebuffer = VK_NULL_HANDLE;
};

} // namespace Kolm
